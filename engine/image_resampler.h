// SPDX-License-Identifier: GPL-3.0-or-later
// The resampler behind ResizeToSquare, once for every x86-64 processor and once for those with
// AVX2. Both give the same bytes: the library is deterministic as long as nothing fuses
// multiplications and additions.
#pragma once

#include "engine/image_resizing.h"

namespace vistrel {

// A share of the result's rows: the `number`th (from 0) of `count`, from the top.
struct Share {
    int number = 0;
    int count = 1;
};

// Makes one share of the rows. False when there is not enough memory or the size is beyond the
// library. Threads may make different shares of one picture side by side.
using Resampler = bool(const RowSource& source, int side, const RowSink& sink, const Share& share);

[[nodiscard]] Resampler ResampleBaseline;
[[nodiscard]] Resampler ResampleAvx2;  // only where the processor has AVX2

}  // namespace vistrel
