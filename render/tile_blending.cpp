// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/tile_blending.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/tile_blending.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "render/strip_blending-inl.h"
#include "render/tile_setup-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

void BeginTile(float* values) {
    for (float* rows = values; rows != values + kTileValues; rows += kRowsValues) {
        std::fill_n(rows, kThrough, 0.0F);
        std::fill_n(rows + kThrough, kChannelValues, 1.0F);
    }
}

// Closes the pixels that let hardly anything through: nothing comes of what they would still take,
// and numbers too small for the processor's fast paths never arise. Whether all of the tile's are
// closed.
bool CloseCovered(const TileTarget& target, float* values) {
    constexpr float kCovered = 1e-4F;
    const Tag d;
    const std::size_t lanes = hn::Lanes(d);
    Floats most = hn::Zero(d);
    for (int row = 0; row < kTileSide; row += static_cast<int>(kRowsAtOnce)) {
        float* const rows = RowsFrom(values, row) + kThrough;
        const std::size_t own = row < target.height ? kRowsAtOnce * kTileSide : 0;
        for (std::size_t i = 0; i < kChannelValues; i += lanes) {
            const Floats through = hn::LoadU(d, rows + i);
            const Floats left = hn::IfThenElseZero(hn::Ge(through, Set(kCovered)), through);
            hn::StoreU(left, d, rows + i);
            if (i < own) most = hn::Max(most, left);
        }
    }
    return hn::AllFalse(d, hn::Gt(most, hn::Zero(d)));
}

// Where a strip that covers the columns first..last begins: where its vectors lie within single
// lines of the cache, if there is such a place.
template <std::int32_t kColumns>
HWY_INLINE std::int32_t StripStart(std::int32_t first, std::int32_t last) {
    constexpr std::int32_t kAligned = 8;
    const std::int32_t start = (last - kColumns + kAligned) & -kAligned;
    return start <= first ? std::max(start, 0) : first;
}

void BlendBatch(const Batch& batch, std::size_t count, float* values) {
    constexpr std::int32_t kNarrow = 8;
    constexpr std::int32_t kWide = 2 * kNarrow;
    // Worth while where vectors are that short.
    constexpr std::int32_t kNarrowest = kVectorColumns == kNarrow / 2 ? kNarrow / 2 : 0;
    static_assert(static_cast<float>(kWide) == kWidestStrip);
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t first = batch.firstColumn[i];
        const std::int32_t last = batch.lastColumn[i];
        const RowRange all = {batch.firstRow[i], batch.lastRow[i]};
        if (all.first > all.last || first > last) continue;
        if (last - first < kNarrowest) {
            if constexpr (kNarrowest > 0) BlendStrip<kNarrowest>(batch, i, first, all, values);
        } else if (last - first < kNarrow) {
            BlendStrip<kNarrow>(batch, i, StripStart<kNarrow>(first, last), all, values);
        } else if (last - first < kWide) {
            BlendStrip<kWide>(batch, i, StripStart<kWide>(first, last), all, values);
        } else {
            for (std::int32_t column = first; column <= last; column += kWide) {
                const RowRange rows = RowsOfStrip<kWide>(batch, i, column, all);
                if (rows.first > rows.last) continue;
                if (last - column < kNarrow) {
                    BlendStrip<kNarrow>(batch, i, column, rows, values);
                } else {
                    BlendStrip<kWide>(batch, i, column, rows, values);
                }
            }
        }
    }
}

HWY_INLINE Ints ToByte(Floats value) {
    return hn::NearestInt(hn::Mul(Clamped(value, 0.0F, 1.0F), Set(255.0F)));
}

// One byte for each channel of a vector of pixels.
HWY_INLINE Ints ToPixels(Floats red, Floats green, Floats blue, Floats through) {
    const Ints low = hn::Or(ToByte(red), hn::ShiftLeft<8>(ToByte(green)));
    const Ints covered = hn::ShiftLeft<24>(ToByte(hn::Sub(Set(1.0F), through)));
    return hn::Or(hn::Or(low, hn::ShiftLeft<16>(ToByte(blue))), covered);
}

// A vector of pixels of each of kRowsAtOnce rows, which lie kTileSide pixels behind each other.
HWY_INLINE void StorePixels(const float* values, std::uint32_t* pixels) {
    const hn::RebindToUnsigned<IntTag> du;
    const auto packed = [&](std::size_t at) HWY_ATTR {
        const auto load = [&](std::size_t channel) HWY_ATTR {
            return hn::LoadU(Tag(), values + channel * kChannelValues + at);
        };
        return hn::BitCast(du, ToPixels(load(0), load(1), load(2), load(3)));
    };
#if HWY_TARGET == HWY_SCALAR
    hn::StoreU(packed(0), du, pixels);
#else
    if constexpr (kRowsAtOnce == 1) {
        hn::StoreU(packed(0), du, pixels);
    } else {
        const auto low = packed(0);
        const auto high = packed(hn::Lanes(du));
        hn::StoreU(hn::ConcatEven(du, high, low), du, pixels);
        hn::StoreU(hn::ConcatOdd(du, high, low), du, pixels + kTileSide);
    }
#endif
}

void StoreTile(const TileTarget& target, const float* values) {
    const std::size_t lanes = hn::Lanes(IntTag());
    constexpr std::size_t kSide = kTileSide;
    HWY_ALIGN std::uint32_t pixels[kRowsAtOnce * kSide];
    for (int row = 0; row < target.height; row += static_cast<int>(kRowsAtOnce)) {
        const float* const rows = RowsFrom(values, row);
        for (std::size_t i = 0; i < kSide; i += lanes) {
            StorePixels(rows + kRowsAtOnce * i, pixels + i);
        }
        const int end = std::min(row + static_cast<int>(kRowsAtOnce), target.height);
        for (int part = 0; part < end - row; ++part) {
            std::memcpy(target.pixels + static_cast<std::size_t>(row + part) * target.rowBytes,
                        pixels + static_cast<std::size_t>(part) * kSide,
                        sizeof(std::uint32_t) * static_cast<std::size_t>(target.width));
        }
    }
}

// Once for a picture of depths, and so in no hurry.
void StoreInverseDepths(const TileTarget& target, const float* values) {
    constexpr float kUpperHalf = 65536.0F;
    constexpr float kUnit = kInverseDepthUnit / kColorUnit;
    for (int row = 0; row < target.height; ++row) {
        const float* const rows =
            RowsFrom(values, row) + static_cast<std::size_t>(row) % kRowsAtOnce;
        float* const to = target.inverseDepths + static_cast<std::size_t>(row) * target.rowDepths;
        for (std::size_t column = 0; column < static_cast<std::size_t>(target.width); ++column) {
            const float* const red = rows + kRowsAtOnce * column;
            const float covered = 1.0F - red[kThrough];
            const float sum = kUnit * (kUpperHalf * red[0] + red[kChannelValues]);
            to[column] = covered < kFaintest ? 0.0F : sum / covered;
        }
    }
}

// Tells the processor's cache what the batch that begins at `first` will read.
void PrefetchBatch(const TileSplats& splats, std::size_t first) {
    const std::size_t end = std::min(first + kBatch, splats.count);
    for (std::size_t i = first; i < end; ++i) {
        hwy::Prefetch(splats.shapes + splats.order[i]);
        hwy::Prefetch(splats.looks + splats.order[i]);
    }
}

// How many Gaussians are blended from one look for covered pixels to the next. A look takes as long
// as some ten Gaussians do, or more where vectors are short.
constexpr std::size_t kBetweenChecks = HWY_TARGET == HWY_WASM ? 4 * kBatch : kBatch;

void DrawWholeTile(const TileSplats& splats, const TileTarget& target, float* values) {
    PrefetchBatch(splats, 0);
    BeginTile(values);
    Batch batch;
    const std::size_t lanes = hn::Lanes(Tag());
    for (std::size_t i = 0; i < splats.count; i += kBatch) {
        const std::size_t count = std::min(kBatch, splats.count - i);
        const BatchSplats near(splats, i);
        for (std::size_t j = 0; j < count; j += lanes) {
            PrepareVector(near.At(j), target, batch, j);
        }
        PrefetchBatch(splats, i + kBatch);
        BlendBatch(batch, count, values);
        if (i % kBetweenChecks == 0 && CloseCovered(target, values)) break;
    }
    if (target.inverseDepths != nullptr) {
        StoreInverseDepths(target, values);
    } else {
        StoreTile(target, values);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vistrel {

HWY_EXPORT(DrawWholeTile);

void DrawTile(const TileSplats& splats, const TileTarget& target, float* values) {
    HWY_DYNAMIC_DISPATCH(DrawWholeTile)(splats, target, values);
}

}  // namespace vistrel
#endif
