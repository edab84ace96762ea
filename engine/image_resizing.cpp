// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_resizing.h"

#include <cstddef>
#include <stdexcept>

#include "base/workers.h"
#include "engine/image_resampler.h"

namespace vistrel {

void ResizeToSquare(std::span<const RowSource> sources, int side, const RowSink& sink) {
    Resampler* const resample =
        __builtin_cpu_supports("avx2") != 0 ? &ResampleAvx2 : &ResampleBaseline;
    const int shares = static_cast<int>(sources.size());
    Workers(shares).Run(sources.size(), [&](std::size_t i, int /*worker*/) {
        if (!resample(sources[i], side, sink, {static_cast<int>(i), shares})) {
            throw std::runtime_error("stb_image_resize failed");
        }
    });
}

}  // namespace vistrel
