// SPDX-License-Identifier: GPL-3.0-or-later
// The values of as many Gaussians as a vector has lanes.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <array>
#include <cstddef>

#include "render/gaussian_scene.h"

#if defined(VISTREL_RENDER_GAUSSIAN_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_GAUSSIAN_LANES_INL_H_
#undef VISTREL_RENDER_GAUSSIAN_LANES_INL_H_
#else
#define VISTREL_RENDER_GAUSSIAN_LANES_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::ScalableTag<float>;
using Floats = hn::Vec<Tag>;
using FloatMask = hn::Mask<Tag>;
using IntTag = hn::RebindToSigned<Tag>;
using Ints = hn::Vec<IntTag>;

struct Vector3 {
    Floats x, y, z;
};

HWY_INLINE Floats Set(float value) {
    return hn::Set(Tag(), value);
}

HWY_INLINE Floats Clamped(Floats v, float least, float most) {
    return hn::Min(hn::Max(v, Set(least)), Set(most));
}

HWY_INLINE Floats Dot(const Vector3& a, const Vector3& b) {
    return hn::MulAdd(a.x, b.x, hn::MulAdd(a.y, b.y, hn::Mul(a.z, b.z)));
}

HWY_INLINE Floats Load(const GaussianPlanes& planes, Plane plane, std::size_t i) {
    return hn::LoadU(Tag(), planes.Of(plane) + i);
}

HWY_INLINE Ints LoadInts(const GaussianPlanes& planes, Plane plane, std::size_t i) {
    return hn::BitCast(IntTag(), Load(planes, plane, i));
}

HWY_INLINE void StoreInts(Ints values, const GaussianPlanes& planes, Plane plane, std::size_t i) {
    hn::StoreU(hn::BitCast(Tag(), values), Tag(), planes.Of(plane) + i);
}

HWY_INLINE Ints SignedLowHalf(Ints pair) {
    return hn::ShiftRight<16>(hn::ShiftLeft<16>(pair));
}

HWY_INLINE Ints LowHalf(Ints pair) {
    return hn::And(pair, hn::Set(IntTag(), 0xFFFF));
}

HWY_INLINE Ints HighHalf(Ints pair) {
    const hn::RebindToUnsigned<IntTag> du;
    return hn::BitCast(IntTag(), hn::ShiftRight<16>(hn::BitCast(du, pair)));
}

// Two values of 16 bits as one of 32.
HWY_INLINE Ints Pair(Ints low, Ints high) {
    return hn::Or(LowHalf(low), hn::ShiftLeft<16>(high));
}

// A channel of a colour in its units.
HWY_INLINE Ints PackedColor(Floats value) {
    const Floats units = Clamped(hn::Mul(value, Set(1.0F / kColorUnit)), 0.0F, 65535.0F);
    return hn::NearestInt(hn::IfThenElseZero(hn::Eq(value, value), units));
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
