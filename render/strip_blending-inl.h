// SPDX-License-Identifier: GPL-3.0-or-later
// Blends one Gaussian down a strip of a tile that is some columns wide.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "render/tile_blending.h"
#include "render/tile_setup-inl.h"
#include "render/vector_math-inl.h"

#if defined(VISTREL_RENDER_STRIP_BLENDING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_STRIP_BLENDING_INL_H_
#undef VISTREL_RENDER_STRIP_BLENDING_INL_H_
#else
#define VISTREL_RENDER_STRIP_BLENDING_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

constexpr float kFaintest = 1.0F / 255.0F;  // weaker contributions are left out
constexpr float kMostOpaque = 0.99F;

// The values of kRowsAtOnce rows lie together: red, green, blue and what shows through. Within each
// of the four, those of one column follow each other, so that a vector holds the same columns of
// all these rows.
constexpr std::size_t kChannelValues = kRowsAtOnce * kTileRow;
constexpr std::size_t kThrough = 3 * kChannelValues;
constexpr std::size_t kRowsValues = 4 * kChannelValues;

template <typename Value>
HWY_INLINE Value* RowsFrom(Value* values, std::int32_t row) {
    return values + static_cast<std::size_t>(row) / kRowsAtOnce * kRowsValues;
}

struct RowRange {
    std::int32_t first;
    std::int32_t last;
};

// Rows that the Gaussian reaches in the strip of kColumns that begins at `column`, of those in
// `rows`.
template <std::int32_t kColumns>
RowRange RowsOfStrip(const Batch& batch, std::size_t i, std::int32_t column, RowRange rows) {
    const float across = batch.across[i];
    const float lean = batch.lean[i];
    const float down = batch.down[i];
    const float reach = batch.logOpacity[i] + kReachAboveOne;
    const float alongY = across * lean * lean + down;
    const float shear = across * lean / alongY;
    const float begin = batch.dx[i] + static_cast<float>(column);
    const float end = begin + static_cast<float>(kColumns - 1);
    // dx at the highest point of the whole outline; at the lowest it is the opposite.
    const float top = lean * batch.halfHeight[i];
    const auto half = [&](float dx) {
        return std::sqrt(std::max(0.0F, (reach - across * down / alongY * dx * dx) / alongY));
    };
    const float highest = std::clamp(top, begin, end);
    const float lowest = std::clamp(-top, begin, end);
    const float above = -shear * highest - half(highest) - batch.dy[i];
    const float below = -shear * lowest + half(lowest) - batch.dy[i];
    const auto limited = [](float row) {
        constexpr auto kEnd = static_cast<float>(kTileSide);
        return row > -1.0F ? static_cast<std::int32_t>(std::min(row, kEnd)) : -1;
    };
    return {std::max(rows.first, limited(std::ceil(above))),
            std::min(rows.last, limited(std::floor(below)))};
}

// Eight columns of one row, or of two where a vector has room for them; fewer where vectors are
// shorter.
using StripTag = hn::CappedTag<float, 8 * kRowsAtOnce>;
using StripFloats = hn::Vec<StripTag>;
constexpr std::size_t kVectorColumns = hn::MaxLanes(StripTag()) / kRowsAtOnce;

HWY_INLINE StripFloats SetStrip(float value) {
    return hn::Set(StripTag(), value);
}

// The column and the row of each lane.
HWY_INLINE StripFloats LaneColumns() {
    const StripTag d;
    const StripFloats lanes = hn::Iota(d, 0.0F);
    return hn::Floor(hn::Mul(lanes, SetStrip(1.0F / static_cast<float>(kRowsAtOnce))));
}
HWY_INLINE StripFloats LaneRows() {
    return hn::NegMulAdd(LaneColumns(), SetStrip(static_cast<float>(kRowsAtOnce)),
                         hn::Iota(StripTag(), 0.0F));
}

struct StripColors {
    StripFloats red, green, blue;
};

// One vector's worth of pixels. `alpha` is what the Gaussian covers of each.
HWY_INLINE void BlendPixels(StripFloats alpha, const StripColors& colors, float* pixels) {
    const StripTag d;
    const StripFloats through = hn::LoadU(d, pixels + kThrough);
    const StripFloats weight =
        hn::IfThenElseZero(hn::Ge(alpha, SetStrip(kFaintest)),
                           hn::Mul(hn::Min(alpha, SetStrip(kMostOpaque)), through));
    const auto add = [&](float* channel, StripFloats color) HWY_ATTR {
        hn::StoreU(hn::MulAdd(weight, color, hn::LoadU(d, channel)), d, channel);
    };
    add(pixels, colors.red);
    add(pixels + kChannelValues, colors.green);
    add(pixels + 2 * kChannelValues, colors.blue);
    hn::StoreU(hn::Sub(through, weight), d, pixels + kThrough);
}

// A Gaussian's values in every lane.
struct StripSplat {
    HWY_INLINE StripSplat(const Batch& batch, std::size_t i)
        : across(SetStrip(batch.across[i])),
          lean(SetStrip(batch.lean[i])),
          down(SetStrip(batch.down[i])),
          logOpacity(SetStrip(batch.logOpacity[i])),
          colors{SetStrip(batch.red[i]), SetStrip(batch.green[i]), SetStrip(batch.blue[i])} {}

    // The logarithm of what is covered at dy, and u = dx + lean dy.
    HWY_INLINE StripFloats Log(StripFloats u, StripFloats dy) const {
        const StripFloats atRow = hn::NegMulAdd(hn::Mul(down, dy), dy, logOpacity);
        return hn::NegMulAdd(hn::Mul(across, u), u, atRow);
    }
    // What that changes by from dy to dy + kRowsAtOnce.
    HWY_INLINE StripFloats LogStep(StripFloats u, StripFloats dy) const {
        const StripFloats step = SetStrip(static_cast<float>(kRowsAtOnce));
        const StripFloats lag = hn::Mul(lean, step);
        const StripFloats ofDown = hn::Mul(hn::Mul(down, step), hn::Add(hn::Add(dy, dy), step));
        return hn::Neg(hn::MulAdd(hn::Mul(across, lag), hn::Add(hn::Add(u, u), lag), ofDown));
    }

    StripFloats across, lean, down, logOpacity;
    StripColors colors;
};

// Blends `rows` of the strip that begins at `column`; rows beside them that share a vector with
// them take what they are due as well.
template <std::int32_t kColumns>
HWY_INLINE void BlendStrip(const Batch& batch, std::size_t i, std::int32_t column, RowRange rows,
                           float* values) {
    constexpr std::size_t kVectors = static_cast<std::size_t>(kColumns) / kVectorColumns;
    constexpr std::size_t kLanes = hn::MaxLanes(StripTag());
    const StripTag d;
    const StripSplat splat(batch, i);
    const std::size_t offset = kRowsAtOnce * static_cast<std::size_t>(column);
    float* pixels = RowsFrom(values, rows.first) + offset;
    float* const last = RowsFrom(values, rows.last) + offset;
    const auto firstRow = rows.first / static_cast<std::int32_t>(kRowsAtOnce) *
                          static_cast<std::int32_t>(kRowsAtOnce);
    StripFloats dy = hn::Add(LaneRows(), SetStrip(batch.dy[i] + static_cast<float>(firstRow)));
    const StripFloats dx =
        hn::Add(LaneColumns(), SetStrip(batch.dx[i] + static_cast<float>(column)));
    StripFloats u[kVectors];
    for (std::size_t v = 0; v < kVectors; ++v) {
        u[v] = hn::MulAdd(splat.lean, dy,
                          hn::Add(dx, SetStrip(static_cast<float>(v * kVectorColumns))));
    }

    if (batch.gentle[i] == 0) {
        constexpr float kLeast = -20.0F;  // far too faint
        const StripFloats step = SetStrip(static_cast<float>(kRowsAtOnce));
        const StripFloats lag = hn::Mul(splat.lean, step);
        for (; pixels <= last; pixels += kRowsValues) {
            for (std::size_t v = 0; v < kVectors; ++v) {
                const StripFloats log = hn::Max(splat.Log(u[v], dy), SetStrip(kLeast));
                BlendPixels(Exp2Roughly(d, log), splat.colors, pixels + v * kLanes);
                u[v] = hn::Add(u[v], lag);
            }
            dy = hn::Add(dy, step);
        }
        return;
    }

    // Lanes that begin below this are too faint in all rows.
    constexpr float kLeast = -60.0F;
    StripFloats alpha[kVectors];
    StripFloats factor[kVectors];
    for (std::size_t v = 0; v < kVectors; ++v) {
        alpha[v] = Exp2Roughly(d, hn::Max(splat.Log(u[v], dy), SetStrip(kLeast)));
        const StripFloats step = splat.LogStep(u[v], dy);
        factor[v] = Exp2(d, hn::Min(hn::Max(step, SetStrip(kLeast)), SetStrip(-kLeast)));
    }
    const StripFloats bend = SetStrip(batch.bend[i]);
    for (; pixels <= last; pixels += kRowsValues) {
        for (std::size_t v = 0; v < kVectors; ++v) {
            BlendPixels(alpha[v], splat.colors, pixels + v * kLanes);
            alpha[v] = hn::Mul(alpha[v], factor[v]);
            factor[v] = hn::Mul(factor[v], bend);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
