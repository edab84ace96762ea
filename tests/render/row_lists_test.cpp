// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/row_lists.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vistrel {
namespace {

std::vector<std::uint16_t> ListOf(const RowLists& lists, std::size_t row) {
    const auto list = lists.Of(row);
    return {list.begin(), list.end()};
}

TEST(RowLists, PlacesAreFiledUnderEachRowOfTheirRange) {
    RowLists lists;
    lists.Fill(std::vector<TileRange>{{0, 0}, {1, 2}, kNoTiles, {0, 2}}, 3);
    EXPECT_EQ(ListOf(lists, 0), (std::vector<std::uint16_t>{0, 3}));
    EXPECT_EQ(ListOf(lists, 1), (std::vector<std::uint16_t>{1, 3}));
    EXPECT_EQ(ListOf(lists, 2), (std::vector<std::uint16_t>{1, 3}));
}

TEST(RowLists, NothingShowsNowhere) {
    RowLists lists;
    lists.Fill({}, 2);
    EXPECT_TRUE(ListOf(lists, 0).empty());
    EXPECT_TRUE(ListOf(lists, 1).empty());
}

TEST(RowLists, FillingAgainForgetsWhatWasFiled) {
    RowLists lists;
    lists.Fill(std::vector<TileRange>{{0, 4}}, 5);
    lists.Fill(std::vector<TileRange>{kNoTiles, {0, 0}}, 2);
    EXPECT_EQ(ListOf(lists, 0), (std::vector<std::uint16_t>{1}));
    EXPECT_TRUE(ListOf(lists, 1).empty());
}

TEST(RowLists, LastPlaceOfAFullPieceIsFiled) {
    RowLists lists;
    lists.Fill(std::vector<TileRange>(kPieceSize, {0, 0}), 1);
    EXPECT_EQ(lists.Of(0).size(), kPieceSize);
    EXPECT_EQ(lists.Of(0).back(), kPieceSize - 1);
}

}  // namespace
}  // namespace vistrel
