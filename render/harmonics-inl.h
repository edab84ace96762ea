// SPDX-License-Identifier: GPL-3.0-or-later
// Colours that depend on where a Gaussian is seen from.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <cstddef>

#include "render/gaussian_lanes-inl.h"

#if defined(VISTREL_RENDER_HARMONICS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_HARMONICS_INL_H_
#undef VISTREL_RENDER_HARMONICS_INL_H_
#else
#define VISTREL_RENDER_HARMONICS_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

// The real spherical harmonics of degrees 1 to 3 for a direction of length 1, in the order and with
// the signs that 3D Gaussian Splatting files have.
HWY_INLINE void HarmonicsBasis(const Vector3& v, int degree, Floats* HWY_RESTRICT basis) {
    const auto times = [](float factor, Floats a) HWY_ATTR { return hn::Mul(Set(factor), a); };
    basis[1] = times(-0.48860251F, v.y);
    basis[2] = times(0.48860251F, v.z);
    basis[3] = times(-0.48860251F, v.x);
    if (degree < 2) return;
    const Floats xx = hn::Mul(v.x, v.x);
    const Floats yy = hn::Mul(v.y, v.y);
    const Floats zz = hn::Mul(v.z, v.z);
    const Floats xy = hn::Mul(v.x, v.y);
    const Floats yz = hn::Mul(v.y, v.z);
    const Floats xz = hn::Mul(v.x, v.z);
    const Floats difference = hn::Sub(xx, yy);
    basis[4] = times(1.09254843F, xy);
    basis[5] = times(-1.09254843F, yz);
    basis[6] = times(0.31539157F, hn::Sub(hn::Add(zz, zz), hn::Add(xx, yy)));
    basis[7] = times(-1.09254843F, xz);
    basis[8] = times(0.54627422F, difference);
    if (degree < 3) return;
    const Floats three = Set(3.0F);
    const Floats four = Set(4.0F);
    const Floats outer = hn::MulSub(four, zz, hn::Add(xx, yy));
    basis[9] = times(-0.59004359F, hn::Mul(v.y, hn::MulSub(three, xx, yy)));
    basis[10] = times(2.89061144F, hn::Mul(xy, v.z));
    basis[11] = times(-0.45704580F, hn::Mul(v.y, outer));
    basis[12] =
        times(0.37317633F, hn::Mul(v.z, hn::NegMulAdd(three, hn::Add(xx, yy), hn::Add(zz, zz))));
    basis[13] = times(-0.45704580F, hn::Mul(v.x, outer));
    basis[14] = times(1.44530572F, hn::Mul(v.z, difference));
    basis[15] = times(-0.59004359F, hn::Mul(v.x, hn::NegMulAdd(three, yy, xx)));
}

// Red, green and blue seen along `offset`, from the camera to the Gaussian.
HWY_INLINE Vector3 HarmonicsColor(const GaussianPlanes& planes, std::size_t i,
                                  const Vector3& offset) {
    constexpr std::size_t kMostFunctions = HarmonicsCount(kMostHarmonicsDegree);
    Floats basis[kMostFunctions];
    basis[0] = Set(1.0F);
    const Floats perLength = hn::Div(Set(1.0F), hn::Sqrt(Dot(offset, offset)));
    HarmonicsBasis(
        {hn::Mul(offset.x, perLength), hn::Mul(offset.y, perLength), hn::Mul(offset.z, perLength)},
        planes.degree, basis);
    const hn::Rebind<hwy::float16_t, Tag> halves;
    const hn::RebindToUnsigned<decltype(halves)> bits;
    Floats sums[3] = {hn::Zero(Tag()), hn::Zero(Tag()), hn::Zero(Tag())};
    const std::size_t functions = HarmonicsCount(planes.degree);
    for (std::size_t function = 0; function < functions; ++function) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const auto stored = hn::LoadU(bits, planes.Harmonic(function, channel) + i);
            const Floats value = hn::PromoteTo(Tag(), hn::BitCast(halves, stored));
            sums[channel] = hn::MulAdd(basis[function], value, sums[channel]);
        }
    }
    return {sums[0], sums[1], sums[2]};
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
