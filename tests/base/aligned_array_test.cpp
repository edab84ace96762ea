// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/aligned_array.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>

namespace vistrel {
namespace {

TEST(AlignedArray, SmallAndLargeOnesBeginAtALineOfTheCache) {
    constexpr std::uintptr_t kLine = 64;
    for (const std::size_t size : {std::size_t{1}, std::size_t{1000}, std::size_t{3'000'000}}) {
        const AlignedArray<float> array(size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array.data()) % kLine, 0U) << size;
        array[size - 1] = 1.0F;
        EXPECT_EQ(array.size(), size);
    }
}

TEST(AlignedArray, ReservingLessKeepsTheMemory) {
    AlignedArray<int> array(100);
    const int* const before = array.data();
    array.Reserve(50);
    EXPECT_EQ(array.data(), before);
    EXPECT_EQ(array.size(), 100U);
}

TEST(AlignedArray, ReservingMoreGrows) {
    AlignedArray<int> array(100);
    array.Reserve(1000);
    EXPECT_EQ(array.size(), 1000U);
}

TEST(AlignedArray, MoreThanThereIsThrows) {
    EXPECT_THROW(static_cast<void>(AllocateAligned(std::numeric_limits<std::size_t>::max())),
                 std::bad_alloc);
}

TEST(AlignedVector, GrowsByValuesThatItIsToldAndKeepsTheOthers) {
    AlignedVector<int> values = {1, 2};
    values.resize(3, 7);
    values.resize(2'000'000);
    values.resize(3);
    EXPECT_EQ(values, (AlignedVector<int>{1, 2, 7}));
}

}  // namespace
}  // namespace vistrel
