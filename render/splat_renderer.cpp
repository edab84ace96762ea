// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/splat_renderer.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <vector>

#include "render/aligned_array.h"
#include "render/depth_order.h"
#include "render/projection.h"
#include "render/tile_blending.h"
#include "render/tile_lists.h"
#include "render/workers.h"

namespace vistrel {
namespace {

// What a worker needs for itself.
struct WorkSpace {
    AlignedArray<std::uint32_t> tileColumns{kPieceSize};
    AlignedArray<std::uint32_t> tileRows{kPieceSize};
    DepthOrder order;
    AlignedArray<float> values{kTileValues};
};

}  // namespace

class SplatRenderer::Buffers {
  public:
    explicit Buffers(int threads)
        : workers_(threads), spaces_(static_cast<std::size_t>(workers_.Count())) {}

    void Draw(const GaussianScene& scene, const PinholeCamera& camera, const PixelTarget& target) {
        const TileGrid grid = TileGrid::Of(camera.width, camera.height);
        const std::size_t places = scene.Planes().stride;
        shapes_.Reserve(places);
        looks_.Reserve(places);
        lists_.resize((places + kPieceSize - 1) / kPieceSize);
        workers_.Run(lists_.size(), [&](std::size_t piece, int worker) {
            Project(scene, camera, grid, piece, Space(worker));
        });
        // Rows of tiles rather than tiles, since neighbours have much in common.
        workers_.Run(static_cast<std::size_t>(grid.rows), [&](std::size_t row, int worker) {
            for (int column = 0; column < grid.columns; ++column) {
                DrawOne(camera, target, grid, static_cast<int>(row), column, Space(worker));
            }
        });
    }

    [[nodiscard]] std::size_t Bytes() const {
        std::size_t sum = shapes_.size() * sizeof(SplatShape) + looks_.size() * sizeof(SplatLook);
        for (const TileLists& lists : lists_) sum += lists.Bytes();
        return sum;
    }

  private:
    WorkSpace& Space(int worker) { return spaces_[static_cast<std::size_t>(worker)]; }

    void Project(const GaussianScene& scene, const PinholeCamera& camera, const TileGrid& grid,
                 std::size_t piece, WorkSpace& space) {
        const std::size_t first = piece * kPieceSize;
        const std::size_t count = std::min(kPieceSize, scene.Planes().stride - first);
        const ProjectedPiece projected = {shapes_.data() + first, looks_.data() + first,
                                          space.tileColumns.data(), space.tileRows.data()};
        ProjectGaussians(scene.Planes(), camera, first, count, projected);
        lists_[piece].Fill(projected, count, grid);
    }

    void DrawOne(const PinholeCamera& camera, const PixelTarget& target, const TileGrid& grid,
                 int row, int column, WorkSpace& space) {
        const auto tile = static_cast<std::size_t>(row) * static_cast<std::size_t>(grid.columns) +
                          static_cast<std::size_t>(column);
        std::size_t most = 0;
        for (const TileLists& lists : lists_) most += lists.Of(tile).size();
        space.order.Begin(most);
        for (std::size_t piece = 0; piece < lists_.size(); ++piece) {
            space.order.Add(piece * kPieceSize, lists_[piece].Of(tile), shapes_.data(),
                            looks_.data());
        }
        TileTarget part;
        part.left = column * kTileSide;
        part.top = row * kTileSide;
        part.width = std::min(kTileSide, camera.width - part.left);
        part.height = std::min(kTileSide, camera.height - part.top);
        part.rowBytes = target.rowBytes;
        part.pixels = target.pixels + static_cast<std::size_t>(part.top) * target.rowBytes +
                      4 * static_cast<std::size_t>(part.left);
        const std::span<const std::uint32_t> order = space.order.Sort(looks_.data());
        DrawTile({shapes_.data(), looks_.data(), order.data(), order.size()}, part,
                 space.values.data());
    }

    Workers workers_;
    std::vector<WorkSpace> spaces_;  // one for each worker
    AlignedArray<SplatShape> shapes_;
    AlignedArray<SplatLook> looks_;
    std::vector<TileLists> lists_;  // one for each piece of the scene
};

SplatRenderer::SplatRenderer(int threads) : buffers_(std::make_unique<Buffers>(threads)) {}

SplatRenderer::~SplatRenderer() = default;

void SplatRenderer::Draw(const GaussianScene& scene, const PinholeCamera& camera,
                         const PixelTarget& target) {
    const auto fits = [](int side) { return side > 0 && side <= kLargestPictureSide; };
    if (!fits(camera.width) || !fits(camera.height)) {
        throw std::invalid_argument("a picture has 1 to 32768 pixels on each side");
    }
    buffers_->Draw(scene, camera, target);
}

std::size_t SplatRenderer::Bytes() const {
    return buffers_->Bytes();
}

}  // namespace vistrel
