// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/splat_encoding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tests/support/plain_splat_ply.h"
#include "tests/support/simd_targets.h"
#include "tests/support/special_floats.h"

namespace vistrel {
namespace {

using test::kInfinity;
using test::kNaN;

using Encode = void (*)(std::span<const float>, std::span<float>);

// Runs each case with every instruction set that this processor has.
class SplatEncoding : public testing::Test {
  protected:
    template <typename Function>
    static void WithEveryInstructionSet(Function check) {
        for (const std::int64_t target : test::SimdTargets()) {
            SCOPED_TRACE(test::SimdTargetName(target));
            const test::ForcedSimdTarget forced(target);
            check();
        }
    }
};

std::vector<float> Encoded(Encode encode, const std::vector<float>& linear) {
    std::vector<float> encoded(linear.size());
    encode(linear, encoded);
    return encoded;
}

float Encoded(Encode encode, float linear) {
    return Encoded(encode, std::vector{linear})[0];
}

// Every 2003rd float of all, and all floats around those where a formula changes its course.
const std::vector<float>& Sweep() {
    static const std::vector<float> sweep = [] {
        std::vector<float> values;
        constexpr std::uint64_t kAll = std::uint64_t{1} << 32;
        for (std::uint64_t bits = 0; bits < kAll; bits += 2003) {
            values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        }
        for (const float centre :
             {0.0F, 1e-38F, 1e-10F, 1e-6F, 0.0031308F, 0.04045F, 0.25F, 0.5F, std::sqrt(0.5F),
              0.999999F, 1.0F, std::sqrt(2.0F), 2.0F, 3e38F, kInfinity}) {
            const auto middle = std::bit_cast<std::uint32_t>(centre);
            for (std::uint32_t step = 0; step < 2000; ++step) {
                values.push_back(std::bit_cast<float>(middle + step));
                values.push_back(-std::bit_cast<float>(middle + step));
                values.push_back(std::bit_cast<float>(middle - step));
            }
        }
        return values;
    }();
    return sweep;
}

double UnitInTheLastPlace(double value) {
    return std::ldexp(1.0, std::max(std::ilogb(value), -126) - 23);
}

// Equal, both NaN, or not further apart than `tolerance`.
bool Agree(float a, float b, double tolerance) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return true;
    return std::fabs(double{a} - double{b}) <= tolerance;
}

// The whole sweep against a plain function; `tolerance` says how far apart a linear value's two
// encodings may be.
template <typename Plain, typename Tolerance>
void ExpectSweepAgrees(Encode encode, Plain plain, Tolerance tolerance) {
    const std::vector<float>& sweep = Sweep();
    const std::vector<float> encoded = Encoded(encode, sweep);
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        const float linear = sweep[i];
        const float expected = plain(linear);
        if (Agree(encoded[i], expected, tolerance(linear, expected))) continue;
        FAIL() << linear << " became " << encoded[i] << " instead of " << expected;
    }
}

// A curve value s is rounded to units of its own size before 0.5 is taken away, so these units,
// divided like s itself, measure the result; what is left is rounded once more.
double ColorTolerance(float linear, float expected) {
    const double curve = 1.055 * std::pow(std::fabs(double{linear}), 1 / 2.4);
    if (!std::isfinite(curve)) return 0.0;
    return 3 * UnitInTheLastPlace(curve) / 0.28209478 + UnitInTheLastPlace(expected);
}

double TwoUnits(float /*linear*/, float expected) {
    return 2 * UnitInTheLastPlace(expected);
}

TEST_F(SplatEncoding, ColorsAgreeWithPowfOverAllFloats) {
    WithEveryInstructionSet(
        [] { ExpectSweepAgrees(EncodeColors, test::PlainColor, ColorTolerance); });
}

TEST_F(SplatEncoding, OpacitiesAgreeWithLogfOverAllFloats) {
    WithEveryInstructionSet(
        [] { ExpectSweepAgrees(EncodeOpacities, test::PlainOpacity, TwoUnits); });
}

TEST_F(SplatEncoding, ScalesAgreeWithLogfOverAllFloats) {
    WithEveryInstructionSet([] { ExpectSweepAgrees(EncodeScales, test::PlainScale, TwoUnits); });
}

TEST_F(SplatEncoding, LinearPartOfTheCurveHasTheSameBits) {
    WithEveryInstructionSet([] {
        std::vector<float> dark;
        for (const float value : Sweep()) {
            if (value <= 0.0031308F) dark.push_back(value);
        }
        const std::vector<float> encoded = Encoded(EncodeColors, dark);
        for (std::size_t i = 0; i < dark.size(); ++i) {
            ASSERT_EQ(encoded[i], test::PlainColor(dark[i])) << dark[i];
        }
    });
}

TEST_F(SplatEncoding, BlackAndWhiteLieSymmetrically) {
    WithEveryInstructionSet([] {
        EXPECT_EQ(Encoded(EncodeColors, 0.0F), -0.5F / 0.28209478F);
        EXPECT_NEAR(Encoded(EncodeColors, 1.0F), 1.7725F, 1e-4F);
    });
}

TEST_F(SplatEncoding, ColorThatIsNotFiniteStaysSo) {
    WithEveryInstructionSet([] {
        EXPECT_EQ(Encoded(EncodeColors, kInfinity), kInfinity);
        EXPECT_EQ(Encoded(EncodeColors, -kInfinity), -kInfinity);
        EXPECT_TRUE(std::isnan(Encoded(EncodeColors, kNaN)));
    });
}

TEST_F(SplatEncoding, OpacityIsClampedOnBothSides) {
    WithEveryInstructionSet([] {
        const float opaque = Encoded(EncodeOpacities, 0.999999F);
        const float clear = Encoded(EncodeOpacities, 1e-6F);
        EXPECT_NEAR(opaque, 13.8F, 0.05F);
        EXPECT_NEAR(clear, -13.8F, 0.05F);
        for (const float value : {1.0F, 2.0F, kInfinity}) {
            EXPECT_EQ(Encoded(EncodeOpacities, value), opaque) << value;
        }
        for (const float value : {0.0F, -0.0F, 1e-40F, -1.0F, -kInfinity}) {
            EXPECT_EQ(Encoded(EncodeOpacities, value), clear) << value;
        }
    });
}

TEST_F(SplatEncoding, OpacityThatIsNoNumberIsOpaque) {
    WithEveryInstructionSet([] {
        EXPECT_EQ(Encoded(EncodeOpacities, kNaN), Encoded(EncodeOpacities, 1.0F));
        EXPECT_EQ(Encoded(EncodeOpacities, -kNaN), Encoded(EncodeOpacities, 1.0F));
    });
}

TEST_F(SplatEncoding, HalfTransparentIsExactlyZero) {
    WithEveryInstructionSet([] { EXPECT_EQ(Encoded(EncodeOpacities, 0.5F), 0.0F); });
}

TEST_F(SplatEncoding, TinyScaleIsRaised) {
    WithEveryInstructionSet([] {
        const float least = Encoded(EncodeScales, 1e-10F);
        EXPECT_NEAR(least, -23.03F, 0.005F);
        for (const float value : {0.0F, -0.0F, 9e-11F, 1e-40F, -1.0F, -kInfinity}) {
            EXPECT_EQ(Encoded(EncodeScales, value), least) << value;
        }
    });
}

TEST_F(SplatEncoding, ScaleOfOneIsExactlyZero) {
    WithEveryInstructionSet([] { EXPECT_EQ(Encoded(EncodeScales, 1.0F), 0.0F); });
}

TEST_F(SplatEncoding, ScaleThatIsNotFiniteStaysSo) {
    WithEveryInstructionSet([] {
        EXPECT_EQ(Encoded(EncodeScales, kInfinity), kInfinity);
        EXPECT_TRUE(std::isnan(Encoded(EncodeScales, kNaN)));
    });
}

// The last values of an array do not fill a vector.
TEST_F(SplatEncoding, EveryLengthIsEncodedToItsEnd) {
    WithEveryInstructionSet([] {
        for (const Encode encode : {EncodeColors, EncodeOpacities, EncodeScales}) {
            const std::vector<float> whole = Encoded(encode, std::vector<float>(64, 0.3F));
            for (std::size_t length = 0; length <= 40; ++length) {
                std::vector<float> encoded(length + 1, -7.0F);
                encode(std::vector<float>(length, 0.3F), std::span(encoded).first(length));
                std::vector<float> expected(length, whole[0]);
                expected.push_back(-7.0F);
                ASSERT_EQ(encoded, expected);
            }
        }
    });
}

TEST_F(SplatEncoding, ValuesCanBeEncodedInPlace) {
    WithEveryInstructionSet([] {
        const std::vector<float> linear = {0.1F, 0.2F, 0.3F, 0.4F, 0.5F, 0.6F, 0.7F, 0.8F, 0.9F};
        std::vector<float> values = linear;
        EncodeColors(values, values);
        EXPECT_EQ(values, Encoded(EncodeColors, linear));
    });
}

}  // namespace
}  // namespace vistrel
