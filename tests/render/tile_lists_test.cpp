// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/tile_lists.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 200;
constexpr std::size_t kColumns = 10;
constexpr std::size_t kRows = 7;
constexpr std::size_t kTiles = kColumns * kRows;

// A scene, projected and filed under the tiles of each row.
class Filed {
  public:
    explicit Filed(const std::vector<RawGaussian>& gaussians)
        : scene_(test::PackedScene(gaussians)),
          shapes_(scene_.Planes().stride),
          looks_(shapes_.size()),
          columns_(shapes_.size()),
          rows_(shapes_.size()),
          lists_(kRows) {
        ProjectGaussians(scene_.Planes(), test::SceneCamera(kWidth, kHeight), {}, 0, shapes_.size(),
                         {shapes_.data(), looks_.data(), columns_.data(), rows_.data()});
        for (std::size_t row = 0; row < kRows; ++row) {
            std::vector<std::uint32_t> order;
            for (std::size_t i = 0; i < rows_.size(); ++i) {
                const bool reaches = rows_[i].first <= row && row <= rows_[i].last;
                if (reaches) order.push_back(static_cast<std::uint32_t>(i));
            }
            lists_[row].Fill({shapes_.data(), looks_.data(), columns_.data()}, order,
                             static_cast<int>(row), kColumns);
        }
    }

    [[nodiscard]] std::size_t Count() const { return shapes_.size(); }
    [[nodiscard]] std::span<const std::uint32_t> Of(std::size_t tile) const {
        return lists_[tile / kColumns].Of(tile % kColumns);
    }
    [[nodiscard]] bool Shows(std::size_t i) const { return columns_[i].first <= columns_[i].last; }

    // Whether any pixel of the tile takes something from Gaussian `i`.
    [[nodiscard]] bool Reaches(std::size_t i, std::size_t tile) const {
        const int left = static_cast<int>(tile % kColumns) * kTileSide;
        const int top = static_cast<int>(tile / kColumns) * kTileSide;
        for (int y = top; y < std::min(top + kTileSide, kHeight); ++y) {
            for (int x = left; x < std::min(left + kTileSide, kWidth); ++x) {
                if (Covers(i, x, y)) return true;
            }
        }
        return false;
    }

  private:
    [[nodiscard]] bool Covers(std::size_t i, int x, int y) const {
        const SplatShape& shape = shapes_[i];
        const SplatLook& look = looks_[i];
        const float log = static_cast<float>(look.blueOpacity >> 16U) * kOpacityUnit + kFaintestLog;
        const float dy = static_cast<float>(y) + 0.5F - shape.y;
        const float u = static_cast<float>(x) + 0.5F - shape.x + shape.lean * dy;
        constexpr float kClearly = 0.01F;  // not on the edge, where rounding decides
        return log - shape.across * u * u - look.down * dy * dy > -kReachAboveOne + kClearly;
    }

    GaussianScene scene_;
    std::vector<SplatShape> shapes_;
    std::vector<SplatLook> looks_;
    std::vector<TileRange> columns_;
    std::vector<TileRange> rows_;
    std::vector<TileLists> lists_;  // one for each row
};

void ExpectAllAreFiled(const Filed& filed) {
    std::size_t missing = 0;
    for (std::size_t tile = 0; tile < kTiles; ++tile) {
        const auto list = filed.Of(tile);
        for (std::size_t i = 0; i < filed.Count(); ++i) {
            const bool isFiled = std::ranges::binary_search(list, static_cast<std::uint32_t>(i));
            if (filed.Shows(i) && filed.Reaches(i, tile) && !isFiled) ++missing;
        }
    }
    EXPECT_EQ(missing, 0U);
}

TEST(TileLists, EveryTileHasWhatReachesIntoIt) {
    ExpectAllAreFiled(Filed(test::WildGaussians(200)));
    ExpectAllAreFiled(Filed(test::NeedleGaussians(200)));
}

TEST(TileLists, OrderStays) {
    const Filed filed(test::OverlappingGaussians(40));
    for (std::size_t tile = 0; tile < kTiles; ++tile) {
        EXPECT_TRUE(std::ranges::is_sorted(filed.Of(tile)));
    }
}

TEST(TileLists, SlantedNeedleIsNotFiledUnderTheWholeBoxAroundIt) {
    RawGaussian needle = test::NeedleGaussians(1)[0];
    needle.position = {0, 0, 2};
    needle.logScale = {std::log(0.2F), std::log(0.001F), std::log(0.001F)};
    const float turn = 0.25F * std::atan(1.0F) * 2.0F;
    needle.rotation = {std::cos(turn), 0, 0, std::sin(turn)};
    const Filed filed({needle});
    std::size_t tiles = 0;
    for (std::size_t tile = 0; tile < kTiles; ++tile) tiles += filed.Of(tile).size();
    EXPECT_GE(tiles, 5U);
    EXPECT_LE(tiles, 20U);
}

TEST(TileLists, MostExtremeShapesStayWithinTheirColumns) {
    std::vector<SplatShape> shapes;
    std::vector<SplatLook> looks;
    for (const float across : {1e-38F, 1.0F}) {
        for (const float lean : {-1e30F, -1e19F, 1e19F, 1e30F}) {
            for (const float down : {1e-38F, 1.0F}) {
                shapes.push_back({.x = 100, .y = 20, .across = across, .lean = lean});
                looks.push_back({.down = down, .redGreen = 0, .blueOpacity = ~0U, .depth = 1});
            }
        }
    }
    const std::vector<TileRange> columns(shapes.size(), TileRange{2, 5});
    std::vector<std::uint32_t> order(shapes.size());
    std::iota(order.begin(), order.end(), 0U);
    TileLists lists;
    lists.Fill({shapes.data(), looks.data(), columns.data()}, order, 0, kColumns);
    for (const std::size_t column : {0U, 1U, 6U, 7U, 8U, 9U}) EXPECT_TRUE(lists.Of(column).empty());
}

TEST(TileLists, IndicesBehindTheLastAreValid) {
    const Filed filed(test::FaintGaussians(3));
    for (std::size_t tile = 0; tile < kTiles; ++tile) {
        const auto list = filed.Of(tile);
        for (std::size_t i = 0; i < kOrderPadding; ++i) {
            EXPECT_LT(list.data()[list.size() + i], filed.Count());
        }
    }
}

}  // namespace
}  // namespace vistrel
