// SPDX-License-Identifier: GPL-3.0-or-later
// Compiled once per instruction set; the fittest version is chosen at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/splat_encoding.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "engine/splat_encoding.h"

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<D>;
using V = hn::Vec<D>;
using VI = hn::Vec<DI>;

HWY_INLINE V Constant(float value) {
    return hn::Set(D(), value);
}

// The polynomial with the given coefficients, constant term first, by Horner's rule.
template <std::size_t kTerms>
HWY_INLINE V Polynomial(V x, const std::array<float, kTerms>& coefficients) {
    V sum = Constant(coefficients[kTerms - 1]);
    for (std::size_t i = kTerms - 1; i-- > 0;) {
        sum = hn::MulAdd(sum, x, Constant(coefficients[i]));
    }
    return sum;
}

// A positive normal number as (1 + fraction) 2^exponent with 1 + fraction in [sqrt(1/2), sqrt(2)),
// so that numbers near one have exponent zero and keep all their digits. Exact.
struct Split {
    V exponent;
    V fraction;
};

HWY_INLINE Split SplitExponent(V x) {
    const DI di;
    const VI bits = hn::BitCast(di, x);
    const VI exponent =
        hn::ShiftRight<23>(hn::Sub(bits, hn::Set(di, 0x3F3504F3)));  // bits of sqrt(1/2)
    const VI mantissa = hn::Sub(bits, hn::ShiftLeft<23>(exponent));
    return {hn::ConvertTo(D(), exponent), hn::Sub(hn::BitCast(D(), mantissa), Constant(1.0F))};
}

// Natural logarithm of a positive normal number: f - f^2/2 + f^3 P(f) + exponent ln 2. P is the
// minimax polynomial for the relative error of the whole (2^-27); ln 2 comes in two parts, the
// first so short that its product with the exponent is exact.
HWY_INLINE V Logarithm(V x) {
    static constexpr std::array kP = {3.333333135e-01F,  -2.500081956e-01F, 2.000122666e-01F,
                                      -1.662335843e-01F, 1.420175135e-01F,  -1.316017061e-01F,
                                      1.276161820e-01F,  -7.634570450e-02F};
    const auto [exponent, f] = SplitExponent(x);
    const V square = hn::Mul(f, f);
    const V cubic = hn::Mul(hn::Mul(square, f), Polynomial(f, kP));
    const V low = hn::MulAdd(exponent, Constant(-2.12194440e-4F), cubic);
    const V tail = hn::NegMulAdd(square, Constant(0.5F), low);
    return hn::MulAdd(exponent, Constant(0.693359375F), hn::Add(f, tail));
}

// x^0.41666666 (the float nearest to 1/2.4) of a positive normal number, as 2^whole 2^t. The
// exponent of x is multiplied exactly: the power's upper 16 bits and the rest separately, each
// product short enough for a float. |t| stays below 0.71, so its rounding hardly shows.
HWY_INLINE V PowerOfFiveTwelfths(V x) {
    constexpr float kPower = 0.41666666F;
    constexpr float kPowerHigh = 0x1.aaaap-2F;  // kPower cut to 16 bits
    constexpr float kPowerLow = kPower - kPowerHigh;
    // kPower log2(1 + f) / f, absolute error of the product with f at most 2^-28.
    static constexpr std::array kLog = {6.011228561e-01F,  -3.005613089e-01F, 2.003843784e-01F,
                                        -1.503004879e-01F, 1.198569462e-01F,  -9.938310832e-02F,
                                        9.057473391e-02F,  -8.762631565e-02F, 5.225507915e-02F};
    // 2^t, relative error at most 2^-30.
    static constexpr std::array kExp = {1.0F,
                                        6.931471825e-01F,
                                        2.402265519e-01F,
                                        5.550406873e-02F,
                                        9.617720731e-03F,
                                        1.333503402e-03F,
                                        1.553548354e-04F,
                                        1.515044096e-05F};
    const DI di;
    const auto [exponent, f] = SplitExponent(x);
    const V whole = hn::Round(hn::Mul(exponent, Constant(kPower)));
    const V rest = hn::MulAdd(exponent, Constant(kPowerLow),
                              hn::MulSub(exponent, Constant(kPowerHigh), whole));
    const V t = hn::MulAdd(f, Polynomial(f, kLog), rest);
    const VI bits = hn::BitCast(di, Polynomial(t, kExp));
    return hn::BitCast(D(), hn::Add(bits, hn::ShiftLeft<23>(hn::ConvertTo(di, whole))));
}

// Where the functions above do not reach: infinity and NaN are their own logarithm and power.
HWY_INLINE V UnlessNotFinite(V x, V result) {
    return hn::IfThenElse(hn::Lt(x, Constant(std::numeric_limits<float>::infinity())), result, x);
}

struct ColorEncoding {
    HWY_INLINE V operator()(V c) const {
        const V power = UnlessNotFinite(c, PowerOfFiveTwelfths(c));
        const V curve = hn::Sub(hn::Mul(power, Constant(1.055F)), Constant(0.055F));
        const V line = hn::Mul(c, Constant(12.92F));
        const V s = hn::IfThenElse(hn::Le(c, Constant(0.0031308F)), line, curve);
        return hn::Div(hn::Sub(s, Constant(0.5F)), Constant(0.28209478F));
    }
};

// A comparison with NaN is false, so NaN takes the upper bound.
struct OpacityEncoding {
    HWY_INLINE V operator()(V o) const {
        const V upper = Constant(0.999999F);
        const V lower = Constant(1e-6F);
        const V below = hn::IfThenElse(hn::Lt(o, upper), o, upper);
        const V clamped = hn::IfThenElse(hn::Gt(below, lower), below, lower);
        return Logarithm(hn::Div(clamped, hn::Sub(Constant(1.0F), clamped)));
    }
};

struct ScaleEncoding {
    HWY_INLINE V operator()(V s) const {
        const V least = Constant(1e-10F);
        const V clamped = hn::IfThenElse(hn::Lt(s, least), least, s);
        return UnlessNotFinite(clamped, Logarithm(clamped));
    }
};

template <typename Encoding>
HWY_INLINE void EncodeAll(std::span<const float> linear, std::span<float> encoded,
                          Encoding encode) {
    const D d;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t count = linear.size();
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(encode(hn::LoadU(d, &linear[i])), d, &encoded[i]);
    }
    if (i == count) return;
    HWY_ALIGN std::array<float, hn::MaxLanes(D())> last{};
    const std::size_t bytes = (count - i) * sizeof(float);
    std::memcpy(last.data(), &linear[i], bytes);
    hn::Store(encode(hn::Load(d, last.data())), d, last.data());
    std::memcpy(&encoded[i], last.data(), bytes);
}

void EncodeColors(std::span<const float> linear, std::span<float> encoded) {
    EncodeAll(linear, encoded, ColorEncoding());
}

void EncodeOpacities(std::span<const float> linear, std::span<float> encoded) {
    EncodeAll(linear, encoded, OpacityEncoding());
}

void EncodeScales(std::span<const float> linear, std::span<float> encoded) {
    EncodeAll(linear, encoded, ScaleEncoding());
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vistrel {

HWY_EXPORT(EncodeColors);
HWY_EXPORT(EncodeOpacities);
HWY_EXPORT(EncodeScales);

void EncodeColors(std::span<const float> linear, std::span<float> encoded) {
    HWY_DYNAMIC_DISPATCH(EncodeColors)(linear, encoded);
}

void EncodeOpacities(std::span<const float> linear, std::span<float> encoded) {
    HWY_DYNAMIC_DISPATCH(EncodeOpacities)(linear, encoded);
}

void EncodeScales(std::span<const float> linear, std::span<float> encoded) {
    HWY_DYNAMIC_DISPATCH(EncodeScales)(linear, encoded);
}

}  // namespace vistrel
#endif  // HWY_ONCE
