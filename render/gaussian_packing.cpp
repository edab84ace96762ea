// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/gaussian_packing.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/gaussian_packing.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "render/gaussian_lanes-inl.h"
#include "render/vector_math-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

constexpr float kLog2e = 1.442695041F;
constexpr float kDcToValue = 0.28209478F;
constexpr float kHalvesMost = 32768.0F;  // larger coefficients are cut, far beyond any colour

// e^v, cut to what is normal and finite.
HWY_INLINE Floats Exp(Floats v) {
    return Exp2(Tag(), Clamped(hn::Mul(v, Set(kLog2e)), -126.0F, 127.0F));
}

// What the rows hold at one place.
class Place {
  public:
    HWY_INLINE Place(const RawRows& rows, std::size_t i) : rows_(rows), i_(i) {}
    HWY_INLINE Floats At(std::size_t row) const {
        return hn::LoadU(Tag(), rows_.values + row * rows_.stride + i_);
    }

  private:
    const RawRows& rows_;
    std::size_t i_;
};

HWY_INLINE void PackRotation(const Place& place, const GaussianPlanes& planes, std::size_t to) {
    const Floats w = place.At(kRotationRow);
    const Floats x = place.At(kRotationRow + 1);
    const Floats y = place.At(kRotationRow + 2);
    const Floats z = place.At(kRotationRow + 3);
    const Floats square = hn::MulAdd(w, w, hn::MulAdd(x, x, hn::MulAdd(y, y, hn::Mul(z, z))));
    constexpr float kUnit = 32767.0F;
    // One that is too short or too long for its square to be a number turns nothing.
    const FloatMask usable = hn::And(hn::Gt(square, Set(1e-37F)), hn::Lt(square, Set(1e38F)));
    const Floats factor = hn::IfThenElseZero(usable, hn::Div(Set(kUnit), hn::Sqrt(square)));
    const auto part = [&](Floats v) HWY_ATTR {
        return hn::NearestInt(
            Clamped(hn::IfThenElseZero(usable, hn::Mul(v, factor)), -kUnit, kUnit));
    };
    StoreInts(Pair(part(w), part(x)), planes, Plane::RotationWX, to);
    StoreInts(Pair(part(y), part(z)), planes, Plane::RotationYZ, to);
}

// log2 of the opacity in units, 0 where it is not to be drawn.
HWY_INLINE Ints PackedOpacity(Floats logit, FloatMask drawn) {
    const Floats odds = Exp(hn::Neg(logit));
    const Floats log = hn::Neg(Log2(Tag(), hn::Add(Set(1.0F), odds)));
    const Floats units = hn::Mul(hn::Sub(log, Set(kFaintestLog)), Set(1.0F / kOpacityUnit));
    return hn::NearestInt(hn::IfThenElseZero(drawn, Clamped(units, 0.0F, 65535.0F)));
}

// Returns 0 for finite values, else not a number.
HWY_INLINE Floats PackHarmonics(const Place& place, const GaussianPlanes& planes, std::size_t to) {
    const hn::Rebind<hwy::float16_t, Tag> halves;
    const hn::RebindToUnsigned<decltype(halves)> bits;
    const std::size_t functions = HarmonicsCount(planes.degree);
    Floats doubt = hn::Zero(Tag());
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t function = 0; function < functions; ++function) {
            Floats value =
                function == 0
                    ? hn::MulAdd(place.At(kColorRow + channel), Set(kDcToValue), Set(0.5F))
                    : place.At(kRawValues + channel * (functions - 1) + function - 1);
            doubt = hn::MulAdd(value, hn::Zero(Tag()), doubt);
            value = Clamped(value, -kHalvesMost, kHalvesMost);
            hn::StoreU(hn::BitCast(bits, hn::DemoteTo(halves, value)), bits,
                       planes.Harmonic(function, channel) + to);
        }
    }
    return doubt;
}

HWY_INLINE void PackVector(const RawRows& rows, std::size_t from, std::size_t left,
                           const GaussianPlanes& planes, std::size_t to) {
    const Tag d;
    const Place place(rows, from);
    const Floats zero = hn::Zero(d);
    // Stays 0 as long as all values are finite.
    Floats doubt = zero;
    const auto check = [&](Floats v) HWY_ATTR {
        doubt = hn::MulAdd(v, zero, doubt);
        return v;
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        hn::StoreU(check(place.At(axis)), d, planes.words + axis * planes.stride + to);
        // Minus infinity is the logarithm of nothing, a Gaussian that is flat along this axis.
        const Floats log = place.At(kScaleRow + axis);
        const FloatMask flat = hn::Lt(log, Set(-87.0F));
        check(hn::IfThenZeroElse(flat, log));
        hn::StoreU(hn::IfThenZeroElse(flat, Exp(log)), d,
                   planes.words + (3 + axis) * planes.stride + to);
    }
    for (std::size_t i = 0; i < 4; ++i) check(place.At(kRotationRow + i));
    PackRotation(place, planes, to);

    const Floats half = Set(0.5F);
    const Floats dc = Set(kDcToValue);
    const Floats red = hn::MulAdd(check(place.At(kColorRow)), dc, half);
    const Floats green = hn::MulAdd(check(place.At(kColorRow + 1)), dc, half);
    const Floats blue = hn::MulAdd(check(place.At(kColorRow + 2)), dc, half);
    if (planes.degree > 0) doubt = hn::Add(doubt, PackHarmonics(place, planes, to));

    const Floats logit = place.At(kOpacityRow);
    const FloatMask drawn =
        hn::And(hn::And(hn::Eq(doubt, zero), hn::Eq(logit, logit)), hn::FirstN(d, left));
    StoreInts(Pair(PackedColor(red), PackedColor(green)), planes, Plane::RedGreen, to);
    StoreInts(Pair(PackedColor(blue), PackedOpacity(logit, drawn)), planes, Plane::BlueOpacity, to);
}

void PackAll(const RawRows& rows, std::size_t count, const GaussianPlanes& planes,
             std::size_t first) {
    constexpr std::size_t kRound = 32;
    const std::size_t lanes = hn::Lanes(Tag());
    const std::size_t filled = (count + kRound - 1) / kRound * kRound;
    for (std::size_t i = 0; i < filled; i += lanes) {
        PackVector(rows, i, i < count ? count - i : 0, planes, first + i);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vistrel {

HWY_EXPORT(PackAll);

void PackGaussians(const RawRows& rows, std::size_t count, const GaussianPlanes& planes,
                   std::size_t first) {
    HWY_DYNAMIC_DISPATCH(PackAll)(rows, count, planes, first);
}

}  // namespace vistrel
#endif
