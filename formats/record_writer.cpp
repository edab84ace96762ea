// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/record_writer.h"

#include <algorithm>
#include <vector>

#include "base/workers.h"
#include "formats/scene_sink.h"

namespace vistrel {

void WriteRecords(std::size_t count, std::size_t recordBytes, int threads, ByteSink& sink,
                  const EncodePiece& encode) {
    Workers workers(threads);
    // Enough at a time that the threads seldom wait for each other.
    const std::size_t most = 16 * kScenePiece * static_cast<std::size_t>(workers.Count());
    std::vector<std::byte> records(std::min(count, most) * recordBytes);
    for (std::size_t begin = 0; begin < count; begin += most) {
        const std::size_t inRound = std::min(most, count - begin);
        workers.Run((inRound + kScenePiece - 1) / kScenePiece,
                    [&](std::size_t piece, int /*worker*/) {
                        const std::size_t first = piece * kScenePiece;
                        encode(begin + first, std::min(kScenePiece, inRound - first),
                               records.data() + first * recordBytes);
                    });
        sink.Append(std::span<const std::byte>(records.data(), inRound * recordBytes));
    }
}

}  // namespace vistrel
