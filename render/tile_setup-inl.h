// SPDX-License-Identifier: GPL-3.0-or-later
// What blending needs to know of the Gaussians of a tile, found for a vector of them at a time.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "render/gaussian_lanes-inl.h"
#include "render/tile_blending.h"
#include "render/vector_math-inl.h"

#if defined(VISTREL_RENDER_TILE_SETUP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_TILE_SETUP_INL_H_
#undef VISTREL_RENDER_TILE_SETUP_INL_H_
#else
#define VISTREL_RENDER_TILE_SETUP_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

// Vectors of more than eight lanes hold two rows, since most Gaussians are narrow.
constexpr std::size_t kRowsAtOnce = hn::MaxLanes(Tag()) > 8 ? 2 : 1;

// How many Gaussians are prepared before they are blended.
constexpr std::size_t kBatch = 64;

// Blending goes down the rows of a strip. Where no exponent changes by more than this on the way,
// the steps are multiplications; else each row has a power of its own.
constexpr float kGentle = 50.0F;
constexpr float kWidestStrip = 16.0F;

template <typename T>
using BatchOf = std::array<T, kBatch>;

// Distances are those from a Gaussian's middle to the centre of the tile's first pixel.
struct Batch {
    HWY_ALIGN BatchOf<float> dx;
    HWY_ALIGN BatchOf<float> dy;
    HWY_ALIGN BatchOf<float> across;
    HWY_ALIGN BatchOf<float> lean;
    HWY_ALIGN BatchOf<float> down;
    HWY_ALIGN BatchOf<float> logOpacity;
    HWY_ALIGN BatchOf<float> red;
    HWY_ALIGN BatchOf<float> green;
    HWY_ALIGN BatchOf<float> blue;
    HWY_ALIGN BatchOf<float> bend;  // what the factor from row to row (see kRowsAtOnce) changes by
    HWY_ALIGN BatchOf<float> halfHeight;
    // Pixels of the tile in the box around the Gaussian, the last ones included. None: the first
    // row lies behind the last.
    HWY_ALIGN BatchOf<std::int32_t> firstColumn;
    HWY_ALIGN BatchOf<std::int32_t> lastColumn;
    HWY_ALIGN BatchOf<std::int32_t> firstRow;
    HWY_ALIGN BatchOf<std::int32_t> lastRow;
    HWY_ALIGN BatchOf<std::int32_t> gentle;  // 0 or not
};

// The pixels within middle +- half, cut to those of the tile.
HWY_INLINE void StoreRange(Floats middle, Floats half, std::int32_t* first, std::int32_t* last) {
    constexpr auto kEnd = static_cast<float>(kTileSide);
    const Floats begin = hn::Max(hn::Ceil(hn::Sub(middle, half)), Set(0.0F));
    const Floats end = hn::Min(hn::Floor(hn::Add(middle, half)), Set(kEnd - 1.0F));
    hn::StoreU(hn::ConvertTo(IntTag(), hn::Min(begin, Set(kEnd))), IntTag(), first);
    hn::StoreU(hn::ConvertTo(IntTag(), hn::Max(end, Set(-1.0F))), IntTag(), last);
}

// The values of as many splats as a vector has lanes.
struct SplatLanes {
    Floats x, y, across, lean, down;
    Ints redGreen, blueOpacity;
};

// The splats of a batch, which begins at place `first` of the order.
#if HWY_TARGET == HWY_WASM
// Nothing gathers here, and nothing fetches ahead: a load that waits for memory would hold up all
// that is computed behind it. So they are copied first, by loads that do not wait for each other.
class BatchSplats {
  public:
    HWY_INLINE BatchSplats(const TileSplats& splats, std::size_t first) {
        const std::size_t lanes = hn::Lanes(Tag());
        const std::size_t count = std::min(kBatch, splats.count - first);
        for (std::size_t i = 0; i < hwy::RoundUpTo(count, lanes); ++i) {
            shapes_[i] = splats.shapes[splats.order[first + i]];
            looks_[i] = splats.looks[splats.order[first + i]];
        }
    }

    HWY_INLINE SplatLanes At(std::size_t i) const {
        const Tag d;
        SplatLanes lanes;
        Floats redGreen;
        Floats blueOpacity;
        Floats depth;
        hn::LoadInterleaved4(d, &shapes_[i].x, lanes.x, lanes.y, lanes.across, lanes.lean);
        hn::LoadInterleaved4(d, &looks_[i].down, lanes.down, redGreen, blueOpacity, depth);
        lanes.redGreen = hn::BitCast(IntTag(), redGreen);
        lanes.blueOpacity = hn::BitCast(IntTag(), blueOpacity);
        return lanes;
    }

  private:
    BatchOf<SplatShape> shapes_;
    BatchOf<SplatLook> looks_;
};
#else
class BatchSplats {
  public:
    HWY_INLINE BatchSplats(const TileSplats& splats, std::size_t first)
        : shapes_(reinterpret_cast<const float*>(splats.shapes)),
          looks_(reinterpret_cast<const float*>(splats.looks)),
          order_(splats.order + first) {}

    HWY_INLINE SplatLanes At(std::size_t i) const {
        const Tag d;
        const IntTag di;
        const auto indices = hn::LoadU(hn::RebindToUnsigned<IntTag>(), order_ + i);
        const Ints place = hn::ShiftLeft<2>(hn::BitCast(di, indices));
        const auto gather = [&](const float* base, std::int32_t part)
                                HWY_ATTR { return hn::GatherIndex(d, base + part, place); };
        return {gather(shapes_, 0),
                gather(shapes_, 1),
                gather(shapes_, 2),
                gather(shapes_, 3),
                gather(looks_, 0),
                hn::BitCast(di, gather(looks_, 1)),
                hn::BitCast(di, gather(looks_, 2))};
    }

  private:
    const float* shapes_;
    const float* looks_;
    const std::uint32_t* order_;
};
#endif

HWY_INLINE void PrepareVector(const SplatLanes& splats, const TileTarget& target, Batch& batch,
                              std::size_t i) {
    const Tag d;
    const IntTag di;
    const auto& [x, y, across, lean, down, redGreen, blueOpacity] = splats;
    const Floats dx = hn::Sub(Set(static_cast<float>(target.left) + 0.5F), x);
    const Floats dy = hn::Sub(Set(static_cast<float>(target.top) + 0.5F), y);
    const auto color = [&](Ints units)
                           HWY_ATTR { return hn::Mul(hn::ConvertTo(d, units), Set(kColorUnit)); };
    const Floats logOpacity =
        hn::MulAdd(hn::ConvertTo(d, HighHalf(blueOpacity)), Set(kOpacityUnit), Set(kFaintestLog));
    hn::StoreU(dx, d, batch.dx.data() + i);
    hn::StoreU(dy, d, batch.dy.data() + i);
    hn::StoreU(across, d, batch.across.data() + i);
    hn::StoreU(lean, d, batch.lean.data() + i);
    hn::StoreU(down, d, batch.down.data() + i);
    hn::StoreU(logOpacity, d, batch.logOpacity.data() + i);
    hn::StoreU(color(LowHalf(redGreen)), d, batch.red.data() + i);
    hn::StoreU(color(HighHalf(redGreen)), d, batch.green.data() + i);
    hn::StoreU(color(LowHalf(blueOpacity)), d, batch.blue.data() + i);

    // across (dx + lean dy)^2 + down dy^2, by dy^2
    const Floats perDySquared = hn::MulAdd(hn::Mul(across, lean), lean, down);
    constexpr auto kStep = static_cast<float>(kRowsAtOnce);
    const Floats bend = hn::Max(hn::Mul(Set(-2.0F * kStep * kStep), perDySquared), Set(-126.0F));
    hn::StoreU(Exp2(d, bend), d, batch.bend.data() + i);

    const Floats reach = hn::Add(logOpacity, Set(kReachAboveOne));
    const Floats perDown = hn::Div(reach, down);
    const Floats halfHeight = hn::Sqrt(perDown);
    const Floats halfWidth =
        hn::Sqrt(hn::MulAdd(hn::Mul(lean, lean), perDown, hn::Div(reach, across)));
    hn::StoreU(halfHeight, d, batch.halfHeight.data() + i);
    StoreRange(hn::Neg(dx), halfWidth, batch.firstColumn.data() + i, batch.lastColumn.data() + i);
    StoreRange(hn::Neg(dy), halfHeight, batch.firstRow.data() + i, batch.lastRow.data() + i);

    // From the row in which a column is at its brightest to the farthest row, at most: the exponent
    // changes by perDySquared times the square of the way.
    const Floats widest = hn::Add(halfWidth, Set(kWidestStrip));
    const Floats drift = hn::Div(hn::Mul(hn::Abs(hn::Mul(across, lean)), widest), perDySquared);
    const Floats way = hn::Add(hn::Add(halfHeight, Set(kStep)), drift);
    const FloatMask gentle = hn::Le(hn::Mul(perDySquared, hn::Mul(way, way)), Set(kGentle));
    hn::StoreU(hn::VecFromMask(di, hn::RebindMask(di, gentle)), di, batch.gentle.data() + i);
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
