// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/tile_lists.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 200;

// A scene that is small enough for one piece, projected and filed.
class Filed {
  public:
    explicit Filed(const std::vector<RawGaussian>& gaussians)
        : scene_(test::PackedScene(gaussians)),
          shapes_(scene_.Planes().stride),
          looks_(shapes_.size()),
          columns_(shapes_.size()),
          rows_(shapes_.size()) {
        const ProjectedPiece piece = {shapes_.data(), looks_.data(), columns_.data(), rows_.data()};
        ProjectGaussians(scene_.Planes(), test::SceneCamera(kWidth, kHeight), 0, shapes_.size(),
                         piece);
        lists_.Fill(piece, shapes_.size(), grid_);
    }

    [[nodiscard]] std::size_t Count() const { return shapes_.size(); }
    [[nodiscard]] const TileGrid& Grid() const { return grid_; }
    [[nodiscard]] auto Of(std::size_t tile) const { return lists_.Of(tile); }
    [[nodiscard]] bool Shows(std::size_t i) const {
        return (columns_[i] & 0xFFFFU) <= columns_[i] >> 16U;
    }

    // Whether any pixel of the tile takes something from Gaussian `i`.
    [[nodiscard]] bool Reaches(std::size_t i, std::size_t tile) const {
        const int left = static_cast<int>(tile) % grid_.columns * kTileSide;
        const int top = static_cast<int>(tile) / grid_.columns * kTileSide;
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
    TileGrid grid_ = TileGrid::Of(kWidth, kHeight);
    std::vector<SplatShape> shapes_;
    std::vector<SplatLook> looks_;
    std::vector<std::uint32_t> columns_;
    std::vector<std::uint32_t> rows_;
    TileLists lists_;
};

void ExpectAllAreFiled(const Filed& filed) {
    std::size_t missing = 0;
    for (std::size_t tile = 0; tile < filed.Grid().Count(); ++tile) {
        const auto list = filed.Of(tile);
        for (std::size_t i = 0; i < filed.Count(); ++i) {
            const bool isFiled = std::ranges::binary_search(list, static_cast<std::uint16_t>(i));
            if (filed.Shows(i) && filed.Reaches(i, tile) && !isFiled) ++missing;
        }
    }
    EXPECT_EQ(missing, 0U);
}

TEST(TileGrid, LastTilesMayStickOut) {
    EXPECT_EQ(TileGrid::Of(64, 65).columns, 2);
    EXPECT_EQ(TileGrid::Of(64, 65).rows, 3);
    EXPECT_EQ(TileGrid::Of(1, 1).Count(), 1U);
}

TEST(TileLists, EveryTileHasWhatReachesIntoIt) {
    ExpectAllAreFiled(Filed(test::WildGaussians(200)));
    ExpectAllAreFiled(Filed(test::NeedleGaussians(200)));
}

TEST(TileLists, PlacesAreInTheirOrder) {
    const Filed filed(test::OverlappingGaussians(40));
    for (std::size_t tile = 0; tile < filed.Grid().Count(); ++tile) {
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
    for (std::size_t tile = 0; tile < filed.Grid().Count(); ++tile) tiles += filed.Of(tile).size();
    EXPECT_GE(tiles, 5U);
    EXPECT_LE(tiles, 20U);
}

}  // namespace
}  // namespace vistrel
