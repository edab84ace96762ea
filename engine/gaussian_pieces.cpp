// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/gaussian_pieces.h"

#include <algorithm>

#include "base/workers.h"

namespace vistrel {

void ForEachPiece(std::size_t total, const PieceWork& work) {
    // Few enough that threads seldom meet in one of the large pages that fresh memory comes in.
    constexpr std::size_t kGaussians = std::size_t{1} << 16;
    const std::size_t pieces = (total + kGaussians - 1) / kGaussians;
    // Starting threads for a few Gaussians takes longer than they do.
    Workers workers(pieces > 1 ? 0 : 1);
    workers.Run(pieces, [&](std::size_t piece, int /*worker*/) {
        const std::size_t first = piece * kGaussians;
        work(first, std::min(kGaussians, total - first));
    });
}

}  // namespace vistrel
