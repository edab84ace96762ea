// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/size_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace vistrel {
namespace {

// Files whose length is a function of the count.
class Packer {
  public:
    explicit Packer(double (*length)(double)) : length_(length) {}

    std::optional<PackedScene> Fill(std::size_t most, std::uint64_t room) {
        tried.clear();
        return FillRoom(most, room, [this](std::size_t count) {
            tried.push_back(count);
            return std::string(static_cast<std::size_t>(length_(static_cast<double>(count))), 'x');
        });
    }

    std::vector<std::size_t> tried;

  private:
    double (*length_)(double);
};

double Proportional(double count) {
    return 60 + 16 * count;
}

// The most important Gaussians take more bytes than the others.
double Uneven(double count) {
    return 60 + 160 * std::pow(count, 0.8);
}

TEST(SizeSearch, AllAreTakenWhereTheyFit) {
    Packer packer(Proportional);
    const auto packed = packer.Fill(1000, 16'060);
    ASSERT_TRUE(packed);
    EXPECT_EQ(packed->count, 1000U);
    EXPECT_EQ(packed->bytes.size(), 16'060U);
    EXPECT_EQ(packer.tried.size(), 1U);
}

TEST(SizeSearch, RoomIsFilledInFourAttempts) {
    for (double (*const length)(double) : {Proportional, Uneven}) {
        Packer packer(length);
        for (const std::uint64_t room : {20'000U, 100'000U, 1'000'000U, 5'000'000U}) {
            const auto packed = packer.Fill(1'000'000, room);
            ASSERT_TRUE(packed);
            EXPECT_LE(packed->bytes.size(), room);
            EXPECT_GE(static_cast<double>(packed->bytes.size()), 0.99 * static_cast<double>(room));
            EXPECT_LE(packer.tried.size(), 4U);
        }
    }
}

TEST(SizeSearch, FewGaussiansFillWhatTheyCan) {
    Packer packer(Proportional);
    for (std::size_t count = 1; count < 9; ++count) {
        const auto packed = packer.Fill(50, 60 + 16 * count);
        ASSERT_TRUE(packed);
        EXPECT_EQ(packed->count, count);
    }
}

TEST(SizeSearch, LengthsOutOfProportionStillComeDownToTheRoom) {
    Packer packer([](double count) { return count < 10 ? 100.0 + count : 1e6; });
    const auto packed = packer.Fill(1'000'000, 200);
    ASSERT_TRUE(packed);
    EXPECT_LE(packed->bytes.size(), 200U);
}

TEST(SizeSearch, RoomForLessThanOneIsTooLittle) {
    Packer packer(Proportional);
    EXPECT_FALSE(packer.Fill(1000, 75));
    EXPECT_FALSE(packer.Fill(1, 0));
    EXPECT_EQ(packer.tried.size(), 1U);
    EXPECT_EQ(packer.Fill(1000, 76)->count, 1U);
}

}  // namespace
}  // namespace vistrel
