// SPDX-License-Identifier: GPL-3.0-or-later
// Compiled twice. One of the objects holds AVX2 instructions, so nothing here may leave a function
// behind that the linker could take for the rest of the program: no templates, no inline functions
// of the standard library.
#include "engine/image_resampler.h"

#ifndef VISTREL_RESAMPLER
#define VISTREL_RESAMPLER ResampleBaseline
#endif

#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb_image_resize2.h>

namespace vistrel {
namespace {

struct Rows {
    const RowSource* source;
    const RowSink* sink;
};

const void* ReadRow(void* /*scratch*/, const void* /*input*/, int /*pixels*/, int x, int y,
                    void* context) {
    const RowSource& source = *static_cast<const Rows*>(context)->source;
    return source.row(source.context, y) + (static_cast<long>(x) * 4);
}

void WriteRow(const void* output, int /*pixels*/, int y, void* context) {
    const RowSink& sink = *static_cast<const Rows*>(context)->sink;
    sink.row(sink.context, y, static_cast<const unsigned char*>(output));
}

bool Build(STBIR_RESIZE& resize, bool fastAlpha, int shares) {
    stbir_free_samplers(&resize);
    stbir_set_non_pm_alpha_speed_over_quality(&resize, fastAlpha ? 1 : 0);
    return stbir_build_samplers_with_splits(&resize, shares) != 0;
}

// Beside the weighted colours the library carries unweighted ones along, for places where alpha
// vanishes. Without them it is a third faster and, as long as there are no such places, comes to
// the same bytes, provided that it works in the same order: it estimates for both ways whether to
// begin with the rows or the columns, and the estimates differ for a few shapes.
bool BuildFastest(STBIR_RESIZE& resize, bool opaque, int shares) {
    if (!Build(resize, false, shares)) return false;
    if (!opaque) return true;
    const int order = resize.samplers->vertical_first;
    if (!Build(resize, true, shares)) return false;
    return resize.samplers->vertical_first == order || Build(resize, false, shares);
}

// The library makes fewer shares of a few rows; then the last ones have nothing to do.
bool MakeShare(STBIR_RESIZE& resize, int number) {
    return number >= resize.splits || stbir_resize_extended_split(&resize, number, 1) != 0;
}

}  // namespace

bool VISTREL_RESAMPLER(const RowSource& source, int side, const RowSink& sink, const Share& share) {
    // STBIR_RGBA is the layout whose colours are not premultiplied by alpha; STBIR_RGBA_PM is the
    // premultiplied one, and STBIR_4CHANNEL does not weight by alpha at all. The remaining settings
    // are those of the library's one-call form.
    STBIR_RESIZE resize;
    stbir_resize_init(&resize, nullptr, source.width, source.height, 0, nullptr, side, side, 0,
                      STBIR_RGBA, STBIR_TYPE_UINT8);
    Rows rows{&source, &sink};
    stbir_set_user_data(&resize, &rows);
    stbir_set_pixel_callbacks(&resize, ReadRow, WriteRow);
    const bool done =
        BuildFastest(resize, source.opaque, share.count) && MakeShare(resize, share.number);
    stbir_free_samplers(&resize);
    return done;
}

}  // namespace vistrel
