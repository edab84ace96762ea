// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/projection.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/projection.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "render/harmonics-inl.h"
#include "render/projection_geometry-inl.h"
#include "render/vector_math-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

static_assert(sizeof(SplatShape) == 4 * sizeof(float));
static_assert(sizeof(SplatLook) == 4 * sizeof(float));

// Pixels whose centres lie in middle +- half, as the tiles that they lie in: first | last << 16.
// `shows` loses the lanes without any.
HWY_INLINE Ints TilesWithin(Floats middle, Floats half, int size, FloatMask& shows) {
    constexpr int kTileBits = 5;
    static_assert(1 << kTileBits == kTileSide);
    const Floats corner = hn::Sub(middle, Set(0.5F));
    const auto limit = static_cast<float>(size);
    const Floats first = hn::Max(hn::Ceil(hn::Sub(corner, half)), Set(0.0F));
    const Floats last = hn::Min(hn::Floor(hn::Add(corner, half)), Set(limit - 1.0F));
    shows = hn::And(shows, hn::Le(first, last));
    const auto tile = [&](Floats pixel) HWY_ATTR {
        return hn::ShiftRight<kTileBits>(hn::ConvertTo(IntTag(), hn::IfThenElseZero(shows, pixel)));
    };
    return hn::Or(tile(first), hn::ShiftLeft<16>(tile(last)));
}

HWY_INLINE void StoreRange(Ints packed, FloatMask shows, TileRange* to) {
    static_assert(sizeof(TileRange) == sizeof(std::int32_t));
    const Ints nothing = hn::Set(IntTag(), kNoTiles.first | kNoTiles.last << 16);
    const Ints range = hn::IfThenElse(hn::RebindMask(IntTag(), shows), packed, nothing);
    hn::StoreU(range, IntTag(), reinterpret_cast<std::int32_t*>(to));
}

// The opacity in its units when it is spread over what the low-pass filter makes of a Gaussian.
HWY_INLINE Ints FadedOpacity(Ints opacity, const Footprint& footprint) {
    const Tag d;
    // One that hides nothing at all is no number.
    const Floats kept = hn::Max(hn::Div(footprint.area, footprint.determinant), Set(1e-30F));
    const Floats units =
        hn::MulAdd(Log2(d, kept), Set(0.5F / kOpacityUnit), hn::ConvertTo(d, opacity));
    return hn::NearestInt(Clamped(units, 0.0F, 65535.0F));
}

HWY_INLINE void ProjectVector(const GaussianPlanes& planes, const PinholeCamera& camera,
                              const SplatStyle& style, const Projection& projection,
                              std::size_t from, const ProjectedPiece& piece, std::size_t to) {
    const Tag d;
    const Vector3 offset = {hn::Sub(Load(planes, Plane::X, from), Set(camera.position[0])),
                            hn::Sub(Load(planes, Plane::Y, from), Set(camera.position[1])),
                            hn::Sub(Load(planes, Plane::Z, from), Set(camera.position[2]))};
    const Vector3 point = Turned(camera, offset);
    const Footprint footprint = ProjectCovariance(planes, camera, projection, from, point);

    const Ints blueOpacity = LoadInts(planes, Plane::BlueOpacity, from);
    Ints opacity = HighHalf(blueOpacity);
    if (style.keepsArea) opacity = FadedOpacity(opacity, footprint);
    const Floats reach = hn::MulAdd(hn::ConvertTo(d, opacity), Set(kOpacityUnit),
                                    Set(kFaintestLog + kReachAboveOne));
    // Comparisons with what is not a number fail. An opacity of 0 stands for nothing, not 1/256.
    FloatMask shows = hn::And(hn::Gt(point.z, Set(style.nearest)), hn::Ge(reach, Set(0.0F)));
    shows = hn::And(shows, hn::And(hn::Lt(footprint.determinant, Set(kInfinity)),
                                   hn::Lt(point.z, Set(kInfinity))));
    constexpr float kFarthest = 1e9F;  // pixels
    shows = hn::And(shows, hn::And(hn::Lt(hn::Abs(footprint.x), Set(kFarthest)),
                                   hn::Lt(hn::Abs(footprint.y), Set(kFarthest))));
    const Floats ofReach = hn::Mul(reach, Set(1.0F / kHalfLog2e));
    const Floats halfWidth = hn::Sqrt(hn::Mul(ofReach, footprint.xx));
    const Floats halfHeight = hn::Sqrt(hn::Mul(ofReach, footprint.yy));
    const Ints columns = TilesWithin(footprint.x, halfWidth, camera.width, shows);
    const Ints rows = TilesWithin(footprint.y, halfHeight, camera.height, shows);

    Ints redGreen = LoadInts(planes, Plane::RedGreen, from);
    Ints blueAndOpacity = blueOpacity;
    if (planes.degree > 0) {
        const Vector3 color = HarmonicsColor(planes, from, offset);
        const auto packed = [&](Floats channel) HWY_ATTR {
            return PackedColor(hn::Min(Set(style.brightest), channel));
        };
        redGreen = Pair(packed(color.x), packed(color.y));
        blueAndOpacity = Pair(packed(color.z), opacity);
    } else if (style.keepsArea) {
        blueAndOpacity = Pair(blueOpacity, opacity);
    }
    const Floats farness = style.byDistance ? hn::Sqrt(Dot(point, point)) : point.z;
    const Floats across = hn::Mul(Set(kHalfLog2e), hn::Div(footprint.yy, footprint.determinant));
    const Floats perYy = hn::Div(Set(1.0F), footprint.yy);
    hn::StoreInterleaved4(footprint.x, footprint.y, across, hn::Neg(hn::Mul(footprint.xy, perYy)),
                          d, &piece.shapes[to].x);
    hn::StoreInterleaved4(hn::Mul(Set(kHalfLog2e), perYy), hn::BitCast(d, redGreen),
                          hn::BitCast(d, blueAndOpacity), farness, d, &piece.looks[to].down);

    StoreRange(columns, shows, piece.columns + to);
    StoreRange(rows, shows, piece.rows + to);
}

void ProjectAll(const GaussianPlanes& planes, const PinholeCamera& camera, const SplatStyle& style,
                std::size_t first, std::size_t count, const ProjectedPiece& piece) {
    const Projection projection = ProjectionOf(camera, style.enlargement);
    const std::size_t lanes = hn::Lanes(Tag());
    for (std::size_t i = 0; i < count; i += lanes) {
        ProjectVector(planes, camera, style, projection, first + i, piece, i);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vistrel {

HWY_EXPORT(ProjectAll);

void ProjectGaussians(const GaussianPlanes& planes, const PinholeCamera& camera,
                      const SplatStyle& style, std::size_t first, std::size_t count,
                      const ProjectedPiece& piece) {
    HWY_DYNAMIC_DISPATCH(ProjectAll)(planes, camera, style, first, count, piece);
}

}  // namespace vistrel
#endif
