// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/unprojection_kernel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/unprojection_kernel.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "engine/ellipsoid_axes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

constexpr std::size_t kMostFloatLanes = 16;

struct Quaternions {
    Doubles w, x, y, z;
};

// Rotation matrices of quaternions that are taken as they are, whatever their length.
HWY_INLINE Matrix3 RotationMatrices(const Quaternions& q) {
    const Doubles one = SetDoubles(1.0);
    const Doubles x2 = Add(q.x, q.x);
    const Doubles y2 = Add(q.y, q.y);
    const Doubles z2 = Add(q.z, q.z);
    const Doubles xx = Mul(q.x, x2);
    const Doubles yy = Mul(q.y, y2);
    const Doubles wx = Mul(q.w, x2);
    const Doubles wy = Mul(q.w, y2);
    const Doubles wz = Mul(q.w, z2);
    return {
        {Sub(one, MulAdd(q.z, z2, yy)), MulAdd(q.x, y2, wz), MulSub(q.x, z2, wy)},
        {MulSub(q.x, y2, wz), Sub(one, MulAdd(q.z, z2, xx)), MulAdd(q.y, z2, wx)},
        {MulAdd(q.x, z2, wy), MulSub(q.y, z2, wx), Sub(one, Add(xx, yy))},
    };
}

// Quaternions of rotation matrices: of the four formulas, the one whose leading component is not
// small. Each gives the quaternion times four times that component, which the normalisation takes
// out again.
HWY_INLINE Quaternions RotationQuaternions(const Matrix3& m) {
    const Doubles one = SetDoubles(1.0);
    const Mask leadW = Gt(Add(Add(m.c0.x, m.c1.y), m.c2.z), SetDoubles(0.0));
    const Mask leadX = And(Gt(m.c0.x, m.c1.y), Gt(m.c0.x, m.c2.z));
    const Mask leadY = Gt(m.c1.y, m.c2.z);
    const auto select = [&](const Doubles& w, const Doubles& x, const Doubles& y,
                            const Doubles& z) HWY_ATTR {
        return IfThenElse(leadW, w, IfThenElse(leadX, x, IfThenElse(leadY, y, z)));
    };

    const Doubles plus = Add(m.c0.x, m.c1.y);
    const Doubles minus = Sub(m.c0.x, m.c1.y);
    const Doubles aboveZ = Add(one, m.c2.z);
    const Doubles belowZ = Sub(one, m.c2.z);
    const Doubles wx = Sub(m.c1.z, m.c2.y);
    const Doubles wy = Sub(m.c2.x, m.c0.z);
    const Doubles wz = Sub(m.c0.y, m.c1.x);
    const Doubles xy = Add(m.c1.x, m.c0.y);
    const Doubles xz = Add(m.c2.x, m.c0.z);
    const Doubles yz = Add(m.c2.y, m.c1.z);
    const Doubles w = select(Add(aboveZ, plus), wx, wy, wz);
    const Doubles x = select(wx, Add(belowZ, minus), xy, xz);
    const Doubles y = select(wy, xy, Sub(belowZ, minus), yz);
    const Doubles z = select(wz, xz, yz, Sub(aboveZ, plus));

    const Doubles square = MulAdd(w, w, MulAdd(x, x, MulAdd(y, y, Mul(z, z))));
    const Doubles factor = ReciprocalSqrt(square);
    return {Mul(w, factor), Mul(x, factor), Mul(y, factor), Mul(z, factor)};
}

// Brings the longest column of each matrix to a length near 1 by a power of two and returns the
// power that undoes it.
HWY_INLINE Doubles Normalise(Matrix3& m) {
    // A double's exponent field e stands for 2^(e - 1023). The root of the sum of all squares is
    // near 2^((e - 1023) / 2), so its inverse has the field (3 x 1023 - e) / 2.
    constexpr std::uint64_t kField = 0x7FF0000000000000;
    constexpr int kShift = 52;
    const hn::RebindToUnsigned<DoubleTag> bits;
    const Doubles square = Add(Add(Dot(m.c0, m.c0), Dot(m.c1, m.c1)), Dot(m.c2, m.c2));
    Doubles down;
    Doubles up;
    for (std::size_t i = 0; i < kHalves; ++i) {
        const auto twice = hn::Sub(hn::Set(bits, std::uint64_t{3 * 1023} << kShift),
                                   hn::BitCast(bits, square.half[i]));
        const auto field = hn::And(hn::ShiftRight<1>(twice), hn::Set(bits, kField));
        down.half[i] = hn::BitCast(DoubleTag(), field);
        up.half[i] = hn::BitCast(DoubleTag(),
                                 hn::Sub(hn::Set(bits, std::uint64_t{2 * 1023} << kShift), field));
    }
    m.c0 = Scaled(m.c0, down);
    m.c1 = Scaled(m.c1, down);
    m.c2 = Scaled(m.c2, down);
    return up;
}

// The matrices S Q diag(s), whose images of the unit ball are the stretched ellipsoids.
HWY_INLINE Matrix3 LoadStretched(const Doubles& stretchX, const Doubles& stretchY,
                                 const float* HWY_RESTRICT scales,
                                 const float* HWY_RESTRICT quaternions) {
    Floats w, x, y, z;
    hn::LoadInterleaved4(FloatTag(), quaternions, w, x, y, z);
    Matrix3 m = RotationMatrices({ToDoubles(w), ToDoubles(x), ToDoubles(y), ToDoubles(z)});
    hn::LoadInterleaved3(FloatTag(), scales, x, y, z);
    const auto stretch = [&](Vector3& column, const Doubles& scale) HWY_ATTR {
        column.x = Mul(column.x, Mul(scale, stretchX));
        column.y = Mul(column.y, Mul(scale, stretchY));
        column.z = Mul(column.z, scale);
    };
    stretch(m.c0, ToDoubles(x));
    stretch(m.c1, ToDoubles(y));
    stretch(m.c2, ToDoubles(z));
    return m;
}

// `m` has orthogonal columns; `factor` is what the lengths lack.
HWY_INLINE void StoreEllipsoids(Matrix3 m, const Doubles& factor, float* HWY_RESTRICT scales,
                                float* HWY_RESTRICT quaternions) {
    Doubles norm0 = Dot(m.c0, m.c0);
    Doubles norm1 = Dot(m.c1, m.c1);
    Doubles norm2 = Dot(m.c2, m.c2);
    LongerFirst(m.c0, m.c1, norm0, norm1);
    LongerFirst(m.c0, m.c2, norm0, norm2);
    LongerFirst(m.c1, m.c2, norm1, norm2);

    // Not a number is not greater than 0 either, so no such scale leaves this function.
    const auto scale = [&](const Doubles& norm) HWY_ATTR {
        return ToFloats(IfThenElseZero(Gt(norm, SetDoubles(0.0)), Mul(Sqrt(norm), factor)));
    };
    hn::StoreInterleaved3(scale(norm0), scale(norm1), scale(norm2), FloatTag(), scales);

    const Quaternions q = RotationQuaternions(Directions(m, norm0));
    hn::StoreInterleaved4(ToFloats(q.w), ToFloats(q.x), ToFloats(q.y), ToFloats(q.z), FloatTag(),
                          quaternions);
}

HWY_INLINE void StretchBlocks(const Doubles& stretchX, const Doubles& stretchY,
                              float* HWY_RESTRICT scales, float* HWY_RESTRICT quaternions) {
    const std::size_t lanes = hn::Lanes(FloatTag());
    Matrix3 matrices[kBlocks];
    Doubles factors[kBlocks];
    for (std::size_t i = 0; i < kBlocks; ++i) {
        matrices[i] =
            LoadStretched(stretchX, stretchY, scales + 3 * lanes * i, quaternions + 4 * lanes * i);
        factors[i] = Normalise(matrices[i]);
    }
    OrthogonaliseColumns(matrices);
    for (std::size_t i = 0; i < kBlocks; ++i) {
        StoreEllipsoids(matrices[i], factors[i], scales + 3 * lanes * i,
                        quaternions + 4 * lanes * i);
    }
}

void StretchAllEllipsoids(const CameraStretch& stretch, float* scales, float* quaternions,
                          std::size_t count) {
    const Doubles stretchX = SetDoubles(stretch.x);
    const Doubles stretchY = SetDoubles(stretch.y);
    const std::size_t step = kBlocks * hn::Lanes(FloatTag());
    std::size_t i = 0;
    for (; i + step <= count; i += step) {
        StretchBlocks(stretchX, stretchY, scales + 3 * i, quaternions + 4 * i);
    }
    if (i == count) return;

    // The last few, filled up with ellipsoids of no size.
    float lastScales[3 * kBlocks * kMostFloatLanes] = {};
    float lastQuaternions[4 * kBlocks * kMostFloatLanes] = {};
    const std::size_t left = count - i;
    std::copy_n(scales + 3 * i, 3 * left, lastScales);
    std::copy_n(quaternions + 4 * i, 4 * left, lastQuaternions);
    StretchBlocks(stretchX, stretchY, lastScales, lastQuaternions);
    std::copy_n(lastScales, 3 * left, scales + 3 * i);
    std::copy_n(lastQuaternions, 4 * left, quaternions + 4 * i);
}

// The coordinates of three vectors' worth of points repeat the pattern x, y, z a whole number of
// times, whatever the number of lanes.
void StretchAllMeans(const CameraStretch& stretch, float* means, std::size_t count) {
    const double factors[3] = {stretch.x, stretch.y, 1.0};
    const std::size_t lanes = hn::Lanes(FloatTag());
    const std::size_t doubleLanes = lanes / kHalves;
    HWY_ALIGN double pattern[3 * kMostFloatLanes];
    for (std::size_t i = 0; i < 3 * lanes; ++i) pattern[i] = factors[i % 3];

    std::size_t i = 0;
    for (; i + 3 * lanes <= 3 * count; i += 3 * lanes) {
        for (std::size_t part = 0; part < 3; ++part) {
            float* const values = means + i + part * lanes;
            Doubles factor;
            for (std::size_t half = 0; half < kHalves; ++half) {
                factor.half[half] =
                    hn::Load(DoubleTag(), pattern + part * lanes + half * doubleLanes);
            }
            const Doubles product = Mul(ToDoubles(hn::LoadU(FloatTag(), values)), factor);
            hn::StoreU(ToFloats(product), FloatTag(), values);
        }
    }
    for (; i < 3 * count; ++i) means[i] = static_cast<float>(means[i] * factors[i % 3]);
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vistrel {

HWY_EXPORT(StretchAllEllipsoids);
HWY_EXPORT(StretchAllMeans);

void StretchMeans(const CameraStretch& stretch, float* means, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(StretchAllMeans)(stretch, means, count);
}

void StretchEllipsoids(const CameraStretch& stretch, float* scales, float* quaternions,
                       std::size_t count) {
    HWY_DYNAMIC_DISPATCH(StretchAllEllipsoids)(stretch, scales, quaternions, count);
}

}  // namespace vistrel
#endif
