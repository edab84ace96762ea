// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_resizing.h"

#include <stdexcept>

#include "engine/image_resampler.h"

namespace vistrel {

void ResizeToSquare(const RowSource& source, int side, const RowSink& sink) {
    Resampler* const resample =
        __builtin_cpu_supports("avx2") != 0 ? &ResampleAvx2 : &ResampleBaseline;
    if (!resample(source, side, sink)) throw std::runtime_error("stb_image_resize failed");
}

}  // namespace vistrel
