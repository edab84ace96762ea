// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/scene_sink.h"

#include <algorithm>
#include <vector>

#include "base/aligned_array.h"
#include "base/workers.h"

namespace vistrel {

void RawSceneSink::Begin(const SceneFacts& facts) {
    scene = RawScene(facts);
}

void RawSceneSink::Take(std::size_t first, std::size_t count, const RawRows& rows) {
    for (std::size_t row = 0; row < RawValues(scene.Degree()); ++row) {
        std::copy_n(rows.values + row * rows.stride, count, scene.Row(row) + first);
    }
}

void DeliverPieces(const SceneFacts& facts, SceneSink& sink, int threads,
                   const DecodePiece& decode) {
    sink.Begin(facts);
    Workers workers(threads);
    const std::size_t values = RawValues(facts.degree) * kScenePiece;
    std::vector<AlignedArray<float>> rows(static_cast<std::size_t>(workers.Count()));
    workers.Run((facts.count + kScenePiece - 1) / kScenePiece, [&](std::size_t piece, int worker) {
        AlignedArray<float>& own = rows[static_cast<std::size_t>(worker)];
        if (own.size() == 0) {
            own = AlignedArray<float>(values);
            std::fill_n(own.data(), values, 0.0F);
        }
        const std::size_t first = piece * kScenePiece;
        const std::size_t count = std::min(kScenePiece, facts.count - first);
        decode(first, count, own.data());
        sink.Take(first, count, {own.data(), kScenePiece});
    });
}

}  // namespace vistrel
