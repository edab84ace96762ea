// SPDX-License-Identifier: GPL-3.0-or-later
// Powers and logarithms of 2 in single precision.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <cstdint>

#if defined(VISTREL_RENDER_VECTOR_MATH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_RENDER_VECTOR_MATH_INL_H_
#undef VISTREL_RENDER_VECTOR_MATH_INL_H_
#else
#define VISTREL_RENDER_VECTOR_MATH_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The whole number nearest to v, both as such and shifted to where a float has its exponent.
template <class D, class V>
struct Exponent {
    V whole;
    hn::Vec<hn::RebindToSigned<D>> field;
};

template <class D, class V>
HWY_INLINE Exponent<D, V> NearestExponent(D d, V v) {
    // A number so large that its last bit counts ones. The bits that stand for itself are lost when
    // the sum is shifted.
    const V large = hn::Set(d, 12582912.0F);
    constexpr int kMantissaBits = 23;
    const V sum = hn::Add(v, large);
    const hn::RebindToSigned<D> di;
    return {hn::Sub(sum, large), hn::ShiftLeft<kMantissaBits>(hn::BitCast(di, sum))};
}

template <class D, class V>
HWY_INLINE V TimesPowerOf2(D d, V v, hn::Vec<hn::RebindToSigned<D>> exponentField) {
    const hn::RebindToSigned<D> di;
    return hn::BitCast(d, hn::Add(hn::BitCast(di, v), exponentField));
}

// 2^v to 1e-7 of its value; v within -126..127.
template <class D, class V>
HWY_INLINE V Exp2(D d, V v) {
    const auto exponent = NearestExponent(d, v);
    const V rest = hn::Sub(v, exponent.whole);  // -0.5..0.5
    // The polynomials have the least largest relative error.
    V sum = hn::Set(d, 1.327647213e-3F);
    sum = hn::MulAdd(sum, rest, hn::Set(d, 9.675541451e-3F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 5.550713274e-2F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 2.402211972e-1F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 6.931469671e-1F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 1.000000072F));
    return TimesPowerOf2(d, sum, exponent.field);
}

// 2^v to 8e-5 of its value; v within -126..127.
template <class D, class V>
HWY_INLINE V Exp2Roughly(D d, V v) {
    const auto exponent = NearestExponent(d, v);
    const V rest = hn::Sub(v, exponent.whole);
    V sum = hn::Set(d, 5.517167027e-2F);
    sum = hn::MulAdd(sum, rest, hn::Set(d, 2.426111298e-1F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 6.932609859e-1F));
    sum = hn::MulAdd(sum, rest, hn::Set(d, 9.999280731e-1F));
    return TimesPowerOf2(d, sum, exponent.field);
}

// log2(v) to 3e-6; v positive, normal and finite.
template <class D, class V>
HWY_INLINE V Log2(D d, V v) {
    const hn::RebindToSigned<D> di;
    // The exponent that leaves a mantissa between 2/3 and 4/3.
    constexpr std::int32_t kTwoThirds = 0x3F2AAAAB;
    constexpr int kMantissaBits = 23;
    const auto above = hn::Sub(hn::BitCast(di, v), hn::Set(di, kTwoThirds));
    const auto exponent = hn::ShiftRight<kMantissaBits>(above);
    const V mantissa =
        hn::BitCast(d, hn::Sub(hn::BitCast(di, v), hn::ShiftLeft<kMantissaBits>(exponent)));
    // ln(m) = 2 artanh(t) with t = (m - 1) / (m + 1), at most 0.2 in size.
    const V one = hn::Set(d, 1.0F);
    const V t = hn::Div(hn::Sub(mantissa, one), hn::Add(mantissa, one));
    const V square = hn::Mul(t, t);
    V sum = hn::Set(d, 4.121985831e-1F);  // 2 / (7 ln 2), then 5, 3 and 1
    sum = hn::MulAdd(sum, square, hn::Set(d, 5.770780164e-1F));
    sum = hn::MulAdd(sum, square, hn::Set(d, 9.617966939e-1F));
    sum = hn::MulAdd(sum, square, hn::Set(d, 2.885390082F));
    return hn::MulAdd(sum, t, hn::ConvertTo(d, exponent));
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
