// SPDX-License-Identifier: GPL-3.0-or-later
// The axes of many ellipsoids at once, one ellipsoid per vector lane.
//
// An ellipsoid is given as a 3 x 3 matrix B, of which it is the image of the unit ball; its
// covariance is B B^T. The axes are found by one-sided Jacobi rotations: the columns of B are
// turned against each other, pair by pair, until all are orthogonal, and are the axes then. B B^T
// stays what it was on the way. The covariance itself is never formed, so the thin axes of flat and
// needle-shaped ellipsoids keep their digits. (J. Demmel, K. Veselic: Jacobi's method is more
// accurate than QR, 1992.)
//
// Compiled once for every instruction set: include only from a file that uses foreach_target.h.
#include <cstddef>

#include "engine/double_lanes-inl.h"

#if defined(VISTREL_ENGINE_ELLIPSOID_AXES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VISTREL_ENGINE_ELLIPSOID_AXES_INL_H_
#undef VISTREL_ENGINE_ELLIPSOID_AXES_INL_H_
#else
#define VISTREL_ENGINE_ELLIPSOID_AXES_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vistrel {
namespace HWY_NAMESPACE {

// A rotation is one long chain of dependent instructions. Several blocks of lanes go through it
// side by side, step by step, so that the processor need not wait; more than four gain little.
constexpr std::size_t kBlocks = 4;

// Two or three sweeps do nearly always. The bound ends the work on what never converges.
constexpr int kMaxSweeps = 12;

struct Vector3 {
    Doubles x, y, z;
};

struct Matrix3 {
    Vector3 c0, c1, c2;  // columns
};

HWY_INLINE Doubles Dot(const Vector3& a, const Vector3& b) {
    return MulAdd(a.z, b.z, MulAdd(a.y, b.y, Mul(a.x, b.x)));
}

HWY_INLINE Vector3 Scaled(const Vector3& v, const Doubles& factor) {
    return {Mul(v.x, factor), Mul(v.y, factor), Mul(v.z, factor)};
}

// a b + c
HWY_INLINE Vector3 MulAdd(const Doubles& a, const Vector3& b, const Vector3& c) {
    return {MulAdd(a, b.x, c.x), MulAdd(a, b.y, c.y), MulAdd(a, b.z, c.z)};
}

// c - a b
HWY_INLINE Vector3 NegMulAdd(const Doubles& a, const Vector3& b, const Vector3& c) {
    return {NegMulAdd(a, b.x, c.x), NegMulAdd(a, b.y, c.y), NegMulAdd(a, b.z, c.z)};
}

HWY_INLINE Vector3 Cross(const Vector3& a, const Vector3& b) {
    return {MulSub(a.y, b.z, Mul(a.z, b.y)), MulSub(a.z, b.x, Mul(a.x, b.z)),
            MulSub(a.x, b.y, Mul(a.y, b.x))};
}

HWY_INLINE Vector3 IfThenElse(const Mask& mask, const Vector3& yes, const Vector3& no) {
    return {IfThenElse(mask, yes.x, no.x), IfThenElse(mask, yes.y, no.y),
            IfThenElse(mask, yes.z, no.z)};
}

// What a rotation of the columns p and q is made of, and what it leaves to tell.
struct PairState {
    Floats normP;       // |p|^2 before
    Floats normQ;       // |q|^2 before
    Floats difference;  // |q|^2 - |p|^2 before
    Floats product;     // p . q before
    Floats cosine;      // of the angle, but for a common factor near 1
    Floats sine;
};

// The angle, at most 45 degrees, that makes p and q orthogonal: tan(2 angle) = 2 product /
// difference. Single precision will do, since what is left over is smaller by seven digits and the
// next sweep sees it. Both floors lie far below the precision of a result; they keep the squares
// from becoming denormal numbers, which are slow, and make 0 / 0 a rotation by nothing.
HWY_INLINE void FindAngles(PairState (&pairs)[kBlocks]) {
    const Floats floor = SetFloats(1e-18F);
    Floats far[kBlocks];
    Floats near[kBlocks];
    Floats square[kBlocks];
    Floats rough[kBlocks];
    for (std::size_t i = 0; i < kBlocks; ++i) {
        const PairState& pair = pairs[i];
        const Floats twice = hn::Add(pair.product, pair.product);
        const Floats kept = hn::IfThenElseZero(hn::Gt(hn::Abs(twice), floor), twice);
        far[i] = hn::Xor(kept, hn::And(pair.difference, hn::SignBit(FloatTag())));
        near[i] = hn::Add(hn::Abs(pair.difference), floor);
        square[i] = hn::MulAdd(near[i], near[i], hn::Mul(far[i], far[i]));
    }
    for (std::size_t i = 0; i < kBlocks; ++i) rough[i] = RoughReciprocalSqrt(square[i]);
    for (std::size_t i = 0; i < kBlocks; ++i) {
        const Floats half = hn::Mul(hn::Mul(square[i], SetFloats(0.5F)), rough[i]);
        rough[i] = hn::Mul(rough[i], hn::NegMulAdd(half, rough[i], SetFloats(1.5F)));
    }
    for (std::size_t i = 0; i < kBlocks; ++i) {
        near[i] = hn::MulAdd(square[i], rough[i], near[i]);
        square[i] = hn::MulAdd(near[i], near[i], hn::Mul(far[i], far[i]));
    }
    for (std::size_t i = 0; i < kBlocks; ++i) rough[i] = RoughReciprocalSqrt(square[i]);
    for (std::size_t i = 0; i < kBlocks; ++i) {
        pairs[i].cosine = hn::Mul(near[i], rough[i]);
        pairs[i].sine = hn::Mul(far[i], rough[i]);
    }
}

HWY_INLINE PairState Measure(const Vector3& p, const Vector3& q) {
    const Doubles normP = Dot(p, p);
    const Doubles normQ = Dot(q, q);
    PairState pair;
    pair.normP = ToFloats(normP);
    pair.normQ = ToFloats(normQ);
    pair.difference = ToFloats(Sub(normQ, normP));
    pair.product = ToFloats(Dot(p, q));
    return pair;
}

// The angle may be rough, but the rotation must not stretch: cosine and sine are normalised in
// double precision.
HWY_INLINE void Rotate(const PairState& pair, Vector3& p, Vector3& q) {
    const Doubles roughCosine = ToDoubles(pair.cosine);
    const Doubles roughSine = ToDoubles(pair.sine);
    const Doubles excess =
        MulAdd(roughCosine, roughCosine, MulSub(roughSine, roughSine, SetDoubles(1.0)));
    const Doubles correction = Correction(excess);
    const Doubles cosine = Mul(roughCosine, correction);
    const Doubles sine = Mul(roughSine, correction);
    const Vector3 before = p;
    p = NegMulAdd(sine, q, Scaled(before, cosine));
    q = MulAdd(sine, before, Scaled(q, cosine));
}

template <Vector3 Matrix3::* P, Vector3 Matrix3::* Q>
HWY_INLINE void RotatePair(Matrix3 (&matrices)[kBlocks], PairState (&pairs)[kBlocks]) {
    for (std::size_t i = 0; i < kBlocks; ++i) pairs[i] = Measure(matrices[i].*P, matrices[i].*Q);
    FindAngles(pairs);
    for (std::size_t i = 0; i < kBlocks; ++i) Rotate(pairs[i], matrices[i].*P, matrices[i].*Q);
}

// The square of v, but never so small as to be denormal.
HWY_INLINE Floats SafeSquare(const Floats& v) {
    const Floats safe = hn::Max(hn::Abs(v), SetFloats(1e-16F));
    return hn::Mul(safe, safe);
}

// Whether a rotation met columns at less than 84 degrees, that is, may have shortened one of them.
HWY_INLINE FloatMask WasOblique(const PairState& pair) {
    const Floats limit =
        hn::MulAdd(hn::Mul(pair.normP, SetFloats(0.01F)), pair.normQ, SetFloats(1e-30F));
    return hn::Gt(SafeSquare(pair.product), limit);
}

// Whether the columns of a block are orthogonal after a sweep. Two things are left of the products
// that it met: the rotation of columns 0 and 2 has turned the product of 1 and 2 partly into one of
// 0 and 1, and no rotation is better than its rounded angle. Let both be below 1e-8 of the longest
// axis times the longer of the two columns, or 1e-15 of the longest axis squared; the lengths are
// those before the sweep, so they must have stayed. Not a number counts as finished.
HWY_INLINE bool IsOrthogonal(const PairState& pair01, const PairState& pair02,
                             const PairState& pair12) {
    const Floats products =
        hn::Add(hn::Add(hn::Abs(pair01.product), hn::Abs(pair02.product)), hn::Abs(pair12.product));
    const Floats turned = hn::Abs(hn::Mul(pair02.sine, pair12.product));
    const Floats left = hn::MulAdd(products, SetFloats(1e-6F), turned);
    const Floats norm = hn::Add(pair02.normP, pair12.normP);
    const Floats limit = hn::MulAdd(norm, SetFloats(1e-16F), SetFloats(1e-30F));
    const FloatMask oblique =
        hn::Or(hn::Or(WasOblique(pair01), WasOblique(pair02)), WasOblique(pair12));
    return hn::AllFalse(FloatTag(), hn::Or(oblique, hn::Gt(SafeSquare(left), limit)));
}

// Makes the columns of every matrix orthogonal. The longest column must have a length near 1;
// columns that hold infinity or not a number become not a number.
HWY_INLINE void OrthogonaliseColumns(Matrix3 (&matrices)[kBlocks]) {
    PairState pairs01[kBlocks];
    PairState pairs02[kBlocks];
    PairState pairs12[kBlocks];
    for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
        RotatePair<&Matrix3::c0, &Matrix3::c1>(matrices, pairs01);
        RotatePair<&Matrix3::c0, &Matrix3::c2>(matrices, pairs02);
        RotatePair<&Matrix3::c1, &Matrix3::c2>(matrices, pairs12);
        bool done = true;
        for (std::size_t i = 0; i < kBlocks; ++i) {
            done &= IsOrthogonal(pairs01[i], pairs02[i], pairs12[i]);
        }
        if (done) return;
    }
}

// Swaps where b is longer than a. The norms are squared lengths.
HWY_INLINE void LongerFirst(Vector3& a, Vector3& b, Doubles& normA, Doubles& normB) {
    const Mask swap = Lt(normA, normB);
    const Vector3 formerA = a;
    const Doubles formerNormA = normA;
    a = IfThenElse(swap, b, a);
    b = IfThenElse(swap, formerA, b);
    normA = Max(formerNormA, normB);
    normB = Min(formerNormA, normB);
}

// Some vector at right angles to the unit vector v, not shorter than 0.6.
HWY_INLINE Vector3 AnyPerpendicular(const Vector3& v) {
    const Doubles zero = SetDoubles(0.0);
    const Mask awayFromX = Lt(Abs(v.x), SetDoubles(0.6));
    return {IfThenElse(awayFromX, zero, Neg(v.y)), IfThenElse(awayFromX, Neg(v.z), v.x),
            IfThenElseZero(awayFromX, v.y)};
}

// The unit vectors along orthogonal columns that are sorted by length, as a right-handed system.
// Where there is no length, hence no direction, any that completes the system is taken.
HWY_INLINE Matrix3 Directions(const Matrix3& sorted, const Doubles& longestNorm) {
    const Doubles one = SetDoubles(1.0);
    const Doubles zero = SetDoubles(0.0);
    const Mask hasFirst = Gt(longestNorm, SetDoubles(1e-20));
    Matrix3 unit;
    unit.c0 =
        IfThenElse(hasFirst, Scaled(sorted.c0, ReciprocalSqrt(longestNorm)), {one, zero, zero});

    // Rounding has left a very short column askew; without its share of the first it is not.
    const Vector3 rest = NegMulAdd(Dot(unit.c0, sorted.c1), unit.c0, sorted.c1);
    const Mask hasSecond = Gt(Dot(rest, rest), SetDoubles(1e-20));
    const Vector3 second = IfThenElse(hasSecond, rest, AnyPerpendicular(unit.c0));
    unit.c1 = Scaled(second, ReciprocalSqrt(Dot(second, second)));
    unit.c2 = Cross(unit.c0, unit.c1);
    return unit;
}

}  // namespace HWY_NAMESPACE
}  // namespace vistrel
HWY_AFTER_NAMESPACE();

#endif
