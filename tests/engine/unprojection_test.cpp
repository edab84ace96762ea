// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/unprojection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/ellipsoid_geometry.h"
#include "tests/support/plain_unprojection.h"
#include "tests/support/sample_gaussians.h"
#include "tests/support/simd_targets.h"
#include "tests/support/special_floats.h"

namespace vistrel {
namespace {

using test::AxisLengths;
using test::CovarianceOf;
using test::ForcedSimdTarget;
using test::GaussianShape;
using test::kInfinity;
using test::kNaN;
using test::MakeGaussians;
using test::Matrix;
using test::QuaternionAt;
using test::Real;
using test::RelativeDifference;
using test::ResultShapeOf;
using test::RotationOf;
using test::ShapeOf;

constexpr int kSide = 1536;
constexpr int kPixelWidth = 1024;  // 4:3, so the stretch is 0.5, 0.375, 1
constexpr int kPixelHeight = 768;
constexpr std::array<Real, 3> kStretch = {0.5L, 0.375L, 1.0L};
constexpr Real kCovarianceTolerance = 5e-7L;
constexpr Real kScaleTolerance = 3e-7L;

// Unprojects and returns what was logged.
std::string Unproject(GaussianSet& set, int width = kPixelWidth, int height = kPixelHeight) {
    testing::internal::CaptureStdout();
    UnprojectGaussians(set, static_cast<float>(width), width, height, kSide);
    return testing::internal::GetCapturedStdout();
}

void ExpectProperAxes(const GaussianSet& set, std::size_t i) {
    Real square = 0;
    for (const Real value : QuaternionAt(set, i)) square += value * value;
    EXPECT_LT(std::abs(std::sqrt(square) - 1), 2e-7L) << "quaternion of Gaussian " << i;
    const float* scales = &set.scales.data[3 * i];
    EXPECT_GE(scales[0], scales[1]) << "Gaussian " << i;
    EXPECT_GE(scales[1], scales[2]) << "Gaussian " << i;
    EXPECT_GE(scales[2], 0.0F) << "Gaussian " << i;
}

// Gaussian i of `after` against the exact result for the same one of `before`.
void ExpectUnprojected(const GaussianSet& before, const GaussianSet& after, std::size_t i,
                       const std::array<Real, 3>& stretch = kStretch) {
    ExpectProperAxes(after, i);
    const Matrix shape = ShapeOf(before, i, stretch);
    EXPECT_LE(RelativeDifference(CovarianceOf(shape), CovarianceOf(ResultShapeOf(after, i))),
              kCovarianceTolerance)
        << "covariance of Gaussian " << i;
    const std::array<Real, 3> lengths = AxisLengths(shape);
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_LE(std::abs(after.scales.data[3 * i + k] - lengths[k]), kScaleTolerance * lengths[0])
            << "scale " << k << " of Gaussian " << i;
    }
}

void ExpectUnprojected(const GaussianSet& before, const GaussianSet& after) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(before.count); ++i) {
        ExpectUnprojected(before, after, i);
        if (testing::Test::HasFailure()) return;
    }
}

GaussianSet OneGaussian(const std::array<float, 3>& scales) {
    GaussianSet set = MakeGaussians(GaussianShape::AxisAligned, 1, 1);
    set.scales.data.assign(scales.begin(), scales.end());
    return set;
}

// ---- every shape on every instruction set

class UnprojectionOfShape : public testing::TestWithParam<std::tuple<std::int64_t, GaussianShape>> {
  protected:
    ForcedSimdTarget target_{std::get<0>(GetParam())};
    GaussianSet before_ = MakeGaussians(std::get<1>(GetParam()), 5000, 11);
};

TEST_P(UnprojectionOfShape, KeepsCovarianceAndScalesWithinTolerance) {
    GaussianSet after = before_;
    Unproject(after);
    ExpectUnprojected(before_, after);
}

TEST_P(UnprojectionOfShape, AgreesWithIterativeSolver) {
    GaussianSet fast = before_;
    GaussianSet plain = before_;
    Unproject(fast);
    test::PlainUnproject(plain, kPixelWidth, kPixelWidth, kPixelHeight, kSide);
    EXPECT_EQ(fast.means.data, plain.means.data);
    for (std::size_t i = 0; i < static_cast<std::size_t>(before_.count); ++i) {
        const Real largest = plain.scales.data[3 * i];
        for (std::size_t k = 0; k < 3; ++k) {
            ASSERT_LE(std::abs(Real{fast.scales.data[3 * i + k]} - plain.scales.data[3 * i + k]),
                      kScaleTolerance * largest)
                << "scale " << k << " of Gaussian " << i;
        }
        ASSERT_LE(RelativeDifference(CovarianceOf(ResultShapeOf(plain, i)),
                                     CovarianceOf(ResultShapeOf(fast, i))),
                  kCovarianceTolerance)
            << "covariance of Gaussian " << i;
    }
}

std::vector<GaussianShape> AllShapes() {
    std::vector<GaussianShape> shapes;
    for (int i = 0; i < test::kGaussianShapes; ++i) shapes.push_back(static_cast<GaussianShape>(i));
    return shapes;
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, UnprojectionOfShape,
                         testing::Combine(testing::ValuesIn(test::SimdTargets()),
                                          testing::ValuesIn(AllShapes())),
                         [](const auto& instance) {
                             return test::SimdTargetName(std::get<0>(instance.param)) + "_" +
                                    Name(std::get<1>(instance.param));
                         });

// ---- sets of every size, and broken neighbours, on every instruction set

class UnprojectionOnTarget : public testing::TestWithParam<std::int64_t> {
  protected:
    ForcedSimdTarget target_{GetParam()};
};

// The widest block is four times sixteen Gaussians.
TEST_P(UnprojectionOnTarget, EveryCountIsUnprojectedCompletely) {
    for (int count = 0; count <= 2 * 64 + 1; ++count) {
        const GaussianSet before = test::MakeMixedGaussians(AllShapes(), count, 7);
        GaussianSet after = before;
        GaussianSet plain = before;
        Unproject(after);
        test::PlainUnproject(plain, kPixelWidth, kPixelWidth, kPixelHeight, kSide);
        ASSERT_EQ(after.means.data, plain.means.data) << "count " << count;
        ExpectUnprojected(before, after);
        ASSERT_FALSE(HasFailure()) << "count " << count;
    }
}

TEST_P(UnprojectionOnTarget, NothingBehindTheCountIsTouched) {
    const GaussianSet before = MakeGaussians(GaussianShape::Anisotropic, 200, 5);
    for (int count : {0, 1, 5, 64, 67}) {
        GaussianSet after = before;
        after.count = count;
        Unproject(after);
        const auto first = static_cast<std::size_t>(count);
        for (std::size_t i = 3 * first; i < before.means.data.size(); ++i) {
            ASSERT_EQ(after.means.data[i], before.means.data[i]) << "count " << count;
            ASSERT_EQ(after.scales.data[i], before.scales.data[i]) << "count " << count;
        }
        for (std::size_t i = 4 * first; i < before.quaternions.data.size(); ++i) {
            ASSERT_EQ(after.quaternions.data[i], before.quaternions.data[i]) << "count " << count;
        }
    }
}

TEST_P(UnprojectionOnTarget, NonFiniteValuesStayWithTheirGaussian) {
    const GaussianSet good = MakeGaussians(GaussianShape::Anisotropic, 300, 3);
    GaussianSet before = good;
    std::vector<std::size_t> broken;
    for (std::size_t i = 0; i < 300; i += 11) {
        const float bad = std::array{kNaN, kInfinity, -kInfinity}[i % 3];
        const std::size_t place = (i / 11) % 7;
        if (place < 3) {
            before.scales.data[3 * i + place] = bad;
        } else {
            before.quaternions.data[4 * i + place - 3] = bad;
        }
        broken.push_back(i);
    }

    GaussianSet after = before;
    Unproject(after);
    for (std::size_t i = 0; i < 300; ++i) {
        if (std::find(broken.begin(), broken.end(), i) == broken.end()) {
            ExpectUnprojected(before, after, i);
        } else {
            ExpectProperAxes(after, i);
            for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(after.scales.data[3 * i + k], 0.0F);
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_P(UnprojectionOnTarget, NonFiniteMeansStayWithTheirCoordinate) {
    GaussianSet set = MakeGaussians(GaussianShape::Anisotropic, 40, 3);
    GaussianSet plain = set;
    set.means.data[31] = std::numeric_limits<float>::quiet_NaN();
    set.means.data[33] = std::numeric_limits<float>::infinity();
    Unproject(set);
    test::PlainUnproject(plain, kPixelWidth, kPixelWidth, kPixelHeight, kSide);
    EXPECT_TRUE(std::isnan(std::exchange(set.means.data[31], plain.means.data[31])));
    EXPECT_EQ(std::exchange(set.means.data[33], plain.means.data[33]),
              std::numeric_limits<float>::infinity());
    EXPECT_EQ(set.means.data, plain.means.data);
}

TEST_P(UnprojectionOnTarget, ExtremePictureShapesKeepTheTolerances) {
    for (const auto& [width, height] :
         {std::pair{1, 20000}, std::pair{1, 300}, std::pair{20000, 1}}) {
        const GaussianSet before = test::MakeMixedGaussians(AllShapes(), 20000, 21);
        GaussianSet after = before;
        Unproject(after, width, height);
        const std::array<Real, 3> stretch = {0.5L, 0.5L * height / width, 1.0L};
        for (std::size_t i = 0; i < 20000; ++i) {
            ExpectUnprojected(before, after, i, stretch);
            ASSERT_FALSE(HasFailure()) << width << " x " << height;
        }
    }
}

TEST_P(UnprojectionOnTarget, ScalesBeyondTheFloatRangeBecomeInfinite) {
    GaussianSet set = OneGaussian({3e38F, 1.0F, 1.0F});
    set.quaternions.data = {2.0F, 0.0F, 2.0F, 0.0F};  // makes the axis sixteen times as long
    Unproject(set);
    EXPECT_EQ(set.scales.data[0], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isfinite(set.scales.data[2]));
}

TEST_P(UnprojectionOnTarget, ExactlyFlatGaussiansKeepAZeroScale) {
    GaussianSet flat = MakeGaussians(GaussianShape::ZeroScale, 500, 9);
    Unproject(flat);
    for (std::size_t i = 0; i < 500; ++i) ASSERT_EQ(flat.scales.data[3 * i + 2], 0.0F);
}

TEST_P(UnprojectionOnTarget, PointsKeepNoSize) {
    GaussianSet points = MakeGaussians(GaussianShape::AllZeroScales, 100, 9);
    Unproject(points);
    for (const float scale : points.scales.data) ASSERT_EQ(scale, 0.0F);
}

TEST_P(UnprojectionOnTarget, ZeroQuaternionIsTheIdentity) {
    GaussianSet zero = OneGaussian({1, 2, 3});
    GaussianSet identity = zero;
    zero.quaternions.data = {0, 0, 0, 0};
    identity.quaternions.data = {1, 0, 0, 0};
    Unproject(zero);
    Unproject(identity);
    EXPECT_EQ(zero.scales.data, identity.scales.data);
    EXPECT_EQ(zero.quaternions.data, identity.quaternions.data);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, UnprojectionOnTarget, testing::ValuesIn(test::SimdTargets()),
                         [](const auto& target) { return test::SimdTargetName(target.param); });

// ---- what is computed

TEST(Unprojection, SquarePictureHalvesMeansAcrossTheView) {
    GaussianSet set = OneGaussian({1, 1, 1});
    set.means.data = {2.0F, -6.0F, 5.0F};
    Unproject(set, 800, 800);
    EXPECT_EQ(set.means.data, (AttributeValues{1.0F, -3.0F, 5.0F}));
}

TEST(Unprojection, SquarePictureHalvesABallAcrossTheView) {
    GaussianSet set = OneGaussian({0.5F, 0.5F, 0.5F});
    Unproject(set, 800, 800);
    EXPECT_EQ(set.scales.data, (AttributeValues{0.5F, 0.25F, 0.25F}));
}

TEST(Unprojection, AxesAreSortedByTheirNewLength) {
    GaussianSet set = OneGaussian({1, 2, 3});
    Unproject(set, 800, 800);
    EXPECT_FLOAT_EQ(set.scales.data[0], 3.0F);
    EXPECT_FLOAT_EQ(set.scales.data[1], 1.0F);
    EXPECT_FLOAT_EQ(set.scales.data[2], 0.5F);
    const Matrix rotation = RotationOf(QuaternionAt(set, 0));
    EXPECT_NEAR(static_cast<double>(std::abs(rotation[2][0])), 1.0, 1e-6);
    EXPECT_NEAR(static_cast<double>(std::abs(rotation[1][1])), 1.0, 1e-6);
    EXPECT_NEAR(static_cast<double>(std::abs(rotation[0][2])), 1.0, 1e-6);
}

TEST(Unprojection, FocalLengthSetsTheStretch) {
    GaussianSet set = OneGaussian({1, 1, 1});
    set.means.data = {1.0F, 1.0F, 1.0F};
    testing::internal::CaptureStdout();
    UnprojectGaussians(set, 500.0F, 1000, 3000, kSide);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(set.means.data, (AttributeValues{1.0F, 3.0F, 1.0F}));
    EXPECT_FLOAT_EQ(set.scales.data[0], 3.0F);
    EXPECT_FLOAT_EQ(set.scales.data[1], 1.0F);
    EXPECT_FLOAT_EQ(set.scales.data[2], 1.0F);
}

TEST(Unprojection, ColoursAndOpacitiesStay) {
    const GaussianSet before = MakeGaussians(GaussianShape::Anisotropic, 77, 2);
    GaussianSet after = before;
    Unproject(after);
    EXPECT_EQ(after.colors.data, before.colors.data);
    EXPECT_EQ(after.opacities.data, before.opacities.data);
}

TEST(Unprojection, NothingMoves) {
    GaussianSet set = MakeGaussians(GaussianShape::Anisotropic, 77, 2);
    const std::array<const float*, 3> places = {set.means.data.data(), set.scales.data.data(),
                                                set.quaternions.data.data()};
    Unproject(set);
    EXPECT_EQ(places, (std::array<const float*, 3>{set.means.data.data(), set.scales.data.data(),
                                                   set.quaternions.data.data()}));
}

// ---- what is logged

// The lines of a log without their time stamps.
std::vector<std::string> Messages(const std::string& log) {
    constexpr std::size_t kStampLength = 19;
    std::vector<std::string> messages;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        messages.push_back(line.substr(std::min(kStampLength, line.size())));
    }
    return messages;
}

TEST(Unprojection, LogsStretchAndCount) {
    GaussianSet set = MakeGaussians(GaussianShape::Anisotropic, 12, 2);
    EXPECT_EQ(Messages(Unproject(set)),
              (std::vector<std::string>{
                  " - INFO -   Unprojection scales: sx=0.500000  sy=0.375000  sz=1.000000",
                  " - INFO -   Unprojection complete for 12 Gaussians."}));
}

TEST(Unprojection, EmptySetIsLoggedToo) {
    GaussianSet set;
    EXPECT_EQ(Messages(Unproject(set)),
              (std::vector<std::string>{
                  " - INFO -   Unprojection scales: sx=0.500000  sy=0.375000  sz=1.000000",
                  " - INFO -   Unprojection complete for 0 Gaussians."}));
}

}  // namespace
}  // namespace vistrel
