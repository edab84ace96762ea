// SPDX-License-Identifier: GPL-3.0-or-later
// The geometry of the projection on as many Gaussians as a vector has lanes.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <limits>

#include "render/gaussian_lanes-inl.h"
#include "render/pinhole_camera.h"

#if defined(VISTREL_RENDER_PROJECTION_GEOMETRY_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_PROJECTION_GEOMETRY_INL_H_
#undef VISTREL_RENDER_PROJECTION_GEOMETRY_INL_H_
#else
#define VISTREL_RENDER_PROJECTION_GEOMETRY_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

constexpr float kLowPass = 0.3F;           // pixels squared, added to each projected covariance
constexpr float kHalfLog2e = 0.72134752F;  // e^(-v / 2) = 2^(-kHalfLog2e v)
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The slopes x/z and y/z at which the projection is linearised are kept near the picture: far
// outside it the linear form would stretch a Gaussian across the whole picture.
struct Projection {
    float leastX;
    float mostX;
    float leastY;
    float mostY;
    // Focal lengths times the enlargement.
    float scaleX;
    float scaleY;
};

HWY_INLINE Projection ProjectionOf(const PinholeCamera& camera, float enlargement) {
    constexpr float kMargin = 0.15F;  // of the picture's width or height, on each side
    const auto width = static_cast<float>(camera.width);
    const auto height = static_cast<float>(camera.height);
    return {(-camera.centreX - kMargin * width) / camera.focalX,
            ((1.0F + kMargin) * width - camera.centreX) / camera.focalX,
            (-camera.centreY - kMargin * height) / camera.focalY,
            ((1.0F + kMargin) * height - camera.centreY) / camera.focalY,
            camera.focalX * enlargement,
            camera.focalY * enlargement};
}

HWY_INLINE Vector3 Turned(const PinholeCamera& camera, const Vector3& v) {
    const auto row = [&](std::size_t i) HWY_ATTR {
        const std::array<float, 3>& r = camera.rows[i];
        return Dot({Set(r[0]), Set(r[1]), Set(r[2])}, v);
    };
    return {row(0), row(1), row(2)};
}

// The columns of the rotation matrix of a quaternion.
struct Axes {
    Vector3 first, second, third;
};

HWY_INLINE Axes LoadAxes(const GaussianPlanes& planes, std::size_t i) {
    const Ints wx = LoadInts(planes, Plane::RotationWX, i);
    const Ints yz = LoadInts(planes, Plane::RotationYZ, i);
    // Products of two parts times two are wanted, so the root of two goes into each.
    constexpr float kRootOfTwo = 1.414213562F;
    const Floats unit = Set(kRootOfTwo / 32767.0F);
    const Floats w = hn::Mul(hn::ConvertTo(Tag(), SignedLowHalf(wx)), unit);
    const Floats x = hn::Mul(hn::ConvertTo(Tag(), hn::ShiftRight<16>(wx)), unit);
    const Floats y = hn::Mul(hn::ConvertTo(Tag(), SignedLowHalf(yz)), unit);
    const Floats z = hn::Mul(hn::ConvertTo(Tag(), hn::ShiftRight<16>(yz)), unit);
    const Floats one = Set(1.0F);
    const Floats wx2 = hn::Mul(w, x);
    const Floats wy2 = hn::Mul(w, y);
    const Floats wz2 = hn::Mul(w, z);
    const Floats xx2 = hn::Mul(x, x);
    const Floats zz2 = hn::Mul(z, z);
    const Floats restX = hn::NegMulAdd(y, y, one);
    return {{hn::Sub(restX, zz2), hn::MulAdd(x, y, wz2), hn::MulSub(x, z, wy2)},
            {hn::MulSub(x, y, wz2), hn::Sub(hn::Sub(one, xx2), zz2), hn::MulAdd(y, z, wx2)},
            {hn::MulAdd(x, z, wy2), hn::MulSub(y, z, wx2), hn::Sub(restX, xx2)}};
}

// Middle and covariance on the picture; pixels.
struct Footprint {
    Floats x, y;
    Floats xx, xy, yy;
    Floats determinant;
    Floats area;  // the determinant without the low-pass filter
};

// Squares of the lengths of two vectors of three, their product, and how much of an area they span.
struct Spread {
    Floats uu, uv, vv, area;
};

HWY_INLINE Spread SpreadOf(const Vector3& u, const Vector3& v) {
    // The sum of the squared minors is uu vv - uv uv, without its cancellation.
    const Floats xy = hn::MulSub(u.x, v.y, hn::Mul(u.y, v.x));
    const Floats xz = hn::MulSub(u.x, v.z, hn::Mul(u.z, v.x));
    const Floats yz = hn::MulSub(u.y, v.z, hn::Mul(u.z, v.y));
    return {Dot(u, u), Dot(u, v), Dot(v, v),
            hn::MulAdd(xy, xy, hn::MulAdd(xz, xz, hn::Mul(yz, yz)))};
}

HWY_INLINE Footprint ProjectCovariance(const GaussianPlanes& planes, const PinholeCamera& camera,
                                       const Projection& projection, std::size_t i,
                                       const Vector3& point) {
    const Floats perDepth = hn::Div(Set(1.0F), point.z);
    const Floats slopeX = hn::Mul(point.x, perDepth);
    const Floats slopeY = hn::Mul(point.y, perDepth);
    const auto towards = [&](const std::array<float, 3>& row, Floats slope, float focal) HWY_ATTR {
        const std::array<float, 3>& ahead = camera.rows[2];
        const Floats scale = hn::Mul(Set(focal), perDepth);
        return Vector3{hn::Mul(hn::NegMulAdd(slope, Set(ahead[0]), Set(row[0])), scale),
                       hn::Mul(hn::NegMulAdd(slope, Set(ahead[1]), Set(row[1])), scale),
                       hn::Mul(hn::NegMulAdd(slope, Set(ahead[2]), Set(row[2])), scale)};
    };
    const Vector3 right = towards(
        camera.rows[0], Clamped(slopeX, projection.leastX, projection.mostX), projection.scaleX);
    const Vector3 down = towards(
        camera.rows[1], Clamped(slopeY, projection.leastY, projection.mostY), projection.scaleY);

    const Axes axes = LoadAxes(planes, i);
    const Vector3 scale = {Load(planes, Plane::ScaleX, i), Load(planes, Plane::ScaleY, i),
                           Load(planes, Plane::ScaleZ, i)};
    const auto along = [&](const Vector3& v) HWY_ATTR {
        return Vector3{hn::Mul(Dot(axes.first, v), scale.x), hn::Mul(Dot(axes.second, v), scale.y),
                       hn::Mul(Dot(axes.third, v), scale.z)};
    };
    const Spread spread = SpreadOf(along(right), along(down));
    const Floats lowPass = Set(kLowPass);
    Footprint footprint;
    footprint.x = hn::MulAdd(slopeX, Set(camera.focalX), Set(camera.centreX));
    footprint.y = hn::MulAdd(slopeY, Set(camera.focalY), Set(camera.centreY));
    footprint.xx = hn::Add(spread.uu, lowPass);
    footprint.xy = spread.uv;
    footprint.yy = hn::Add(spread.vv, lowPass);
    footprint.determinant =
        hn::MulAdd(hn::Add(hn::Add(spread.uu, spread.vv), lowPass), lowPass, spread.area);
    footprint.area = spread.area;
    return footprint;
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
