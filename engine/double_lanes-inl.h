// SPDX-License-Identifier: GPL-3.0-or-later
// Double precision arithmetic on as many lanes as a float vector has.
//
// The splat attributes are floats and all arithmetic is double precision, so one vector of input
// becomes two vectors of work. `Doubles` is that pair; its operations are those of the vector
// library, half by half, which also gives the processor two independent chains to work on.
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <hwy/highway.h>

#include <cstddef>

#if defined(VISTREL_ENGINE_DOUBLE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_ENGINE_DOUBLE_LANES_INL_H_
#undef VISTREL_ENGINE_DOUBLE_LANES_INL_H_
#else
#define VISTREL_ENGINE_DOUBLE_LANES_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using DoubleTag = hn::ScalableTag<double>;
#if HWY_TARGET == HWY_SCALAR
constexpr std::size_t kHalves = 1;  // one lane has no halves
using FloatTag = hn::ScalableTag<float>;
#else
constexpr std::size_t kHalves = 2;
using FloatTag = hn::Repartition<float, DoubleTag>;
using HalfFloatTag = hn::Half<FloatTag>;
#endif

using Floats = hn::Vec<FloatTag>;
using FloatMask = hn::Mask<FloatTag>;

struct Doubles {
    hn::Vec<DoubleTag> half[kHalves];
};

struct Mask {
    hn::Mask<DoubleTag> half[kHalves];
};

#define VISTREL_UNARY(RESULT, NAME, A)              \
    HWY_INLINE RESULT NAME(const A& a) {            \
        RESULT result;                              \
        for (std::size_t i = 0; i < kHalves; ++i) { \
            result.half[i] = hn::NAME(a.half[i]);   \
        }                                           \
        return result;                              \
    }
#define VISTREL_BINARY(RESULT, NAME, A, B)                   \
    HWY_INLINE RESULT NAME(const A& a, const B& b) {         \
        RESULT result;                                       \
        for (std::size_t i = 0; i < kHalves; ++i) {          \
            result.half[i] = hn::NAME(a.half[i], b.half[i]); \
        }                                                    \
        return result;                                       \
    }
#define VISTREL_TERNARY(RESULT, NAME, A, B, C)                          \
    HWY_INLINE RESULT NAME(const A& a, const B& b, const C& c) {        \
        RESULT result;                                                  \
        for (std::size_t i = 0; i < kHalves; ++i) {                     \
            result.half[i] = hn::NAME(a.half[i], b.half[i], c.half[i]); \
        }                                                               \
        return result;                                                  \
    }

VISTREL_UNARY(Doubles, Abs, Doubles)
VISTREL_UNARY(Doubles, Neg, Doubles)
VISTREL_UNARY(Doubles, Sqrt, Doubles)
VISTREL_BINARY(Doubles, Add, Doubles, Doubles)
VISTREL_BINARY(Doubles, Sub, Doubles, Doubles)
VISTREL_BINARY(Doubles, Mul, Doubles, Doubles)
VISTREL_BINARY(Doubles, Min, Doubles, Doubles)
VISTREL_BINARY(Doubles, Max, Doubles, Doubles)
VISTREL_BINARY(Mask, Gt, Doubles, Doubles)
VISTREL_BINARY(Mask, Lt, Doubles, Doubles)
VISTREL_BINARY(Mask, And, Mask, Mask)
VISTREL_BINARY(Doubles, IfThenElseZero, Mask, Doubles)
VISTREL_TERNARY(Doubles, IfThenElse, Mask, Doubles, Doubles)
VISTREL_TERNARY(Doubles, MulAdd, Doubles, Doubles, Doubles)     // a b + c
VISTREL_TERNARY(Doubles, MulSub, Doubles, Doubles, Doubles)     // a b - c
VISTREL_TERNARY(Doubles, NegMulAdd, Doubles, Doubles, Doubles)  // c - a b

#undef VISTREL_UNARY
#undef VISTREL_BINARY
#undef VISTREL_TERNARY

HWY_INLINE Doubles SetDoubles(double value) {
    Doubles result;
    for (std::size_t i = 0; i < kHalves; ++i) result.half[i] = hn::Set(DoubleTag(), value);
    return result;
}

HWY_INLINE Floats SetFloats(float value) {
    return hn::Set(FloatTag(), value);
}

// Rounds to nearest; what is too large becomes infinite.
HWY_INLINE Floats ToFloats(const Doubles& v) {
#if HWY_TARGET == HWY_SCALAR
    // The library's own conversion stops at the largest finite float on this target.
    return SetFloats(static_cast<float>(hn::GetLane(v.half[0])));
#else
    return hn::Combine(FloatTag(), hn::DemoteTo(HalfFloatTag(), v.half[1]),
                       hn::DemoteTo(HalfFloatTag(), v.half[0]));
#endif
}

HWY_INLINE Doubles ToDoubles(const Floats& v) {
#if HWY_TARGET == HWY_SCALAR
    return {{hn::PromoteTo(DoubleTag(), v)}};
#else
    return {{hn::PromoteTo(DoubleTag(), hn::LowerHalf(HalfFloatTag(), v)),
             hn::PromoteTo(DoubleTag(), hn::UpperHalf(HalfFloatTag(), v))}};
#endif
}

// 1 / sqrt(v) to at least eleven bits; v normal and positive.
HWY_INLINE Floats RoughReciprocalSqrt(const Floats& v) {
#if HWY_TARGET == HWY_SCALAR
    return hn::Div(SetFloats(1.0F), hn::Sqrt(v));
#else
    return hn::ApproximateReciprocalSqrt(v);
#endif
}

// (1 + excess)^(-1/2) by its series; off by less than 1e-13 where |excess| < 1e-3, which is what a
// rough reciprocal square root leaves to be corrected.
HWY_INLINE Doubles Correction(const Doubles& excess) {
    const Doubles inner = NegMulAdd(excess, SetDoubles(0.3125), SetDoubles(0.375));
    const Doubles outer = MulAdd(excess, inner, SetDoubles(-0.5));
    return MulAdd(excess, outer, SetDoubles(1.0));
}

// 1 / sqrt(v); v positive and within the range of floats.
HWY_INLINE Doubles ReciprocalSqrt(const Doubles& v) {
    const Doubles rough = ToDoubles(RoughReciprocalSqrt(ToFloats(v)));
    const Doubles excess = MulSub(v, Mul(rough, rough), SetDoubles(1.0));
    return Mul(rough, Correction(excess));
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
