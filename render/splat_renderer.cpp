// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/splat_renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

#include "base/aligned_array.h"
#include "base/failures.h"
#include "base/workers.h"
#include "render/depth_order.h"
#include "render/projection.h"
#include "render/row_lists.h"
#include "render/tile_blending.h"
#include "render/tile_lists.h"

namespace vistrel {
namespace {

struct View {
    PinholeCamera camera;
    PixelTarget target;
    float* inverseDepths = nullptr;  // in place of the target
};

// A scene as one eye sees it.
class EyeScene {
  public:
    void Reserve(std::size_t places, bool hasOwnLooks) {
        shapes_.Reserve(places);
        columns_.Reserve(places);
        if (hasOwnLooks) looks_.Reserve(places);
    }
    [[nodiscard]] SplatLook* Looks() const { return looks_.data(); }
    [[nodiscard]] ProjectedPiece PieceAt(std::size_t first, SplatLook* looks,
                                         TileRange* rows) const {
        return {shapes_.data() + first, looks + first, columns_.data() + first, rows};
    }
    [[nodiscard]] ProjectedScene Whole(const SplatLook* looks) const {
        return {shapes_.data(), looks, columns_.data()};
    }
    [[nodiscard]] std::size_t Bytes() const {
        return shapes_.size() * sizeof(SplatShape) + looks_.size() * sizeof(SplatLook) +
               columns_.size() * sizeof(TileRange);
    }

  private:
    AlignedArray<SplatShape> shapes_;
    AlignedArray<SplatLook> looks_;
    AlignedArray<TileRange> columns_;
};

// What a worker needs for itself.
struct WorkSpace {
    AlignedArray<TileRange> rows{kPieceSize};
    AlignedArray<TileRange> otherRows{kPieceSize};
    DepthOrder order;
    TileLists tiles;
    AlignedArray<float> values{kTileValues};
};

TileRange Joined(TileRange a, TileRange b) {
    if (a.first > a.last) return b;
    if (b.first > b.last) return a;
    return {std::min(a.first, b.first), std::max(a.last, b.last)};
}

std::size_t TilesAlong(int pixels) {
    return static_cast<std::size_t>((pixels + kTileSide - 1) / kTileSide);
}

// Of neighbouring Gaussians that begin at a multiple of kShareBlock; a multiple of 32.
std::size_t ShareOf(std::size_t count, float share) {
    constexpr std::size_t kRound = 32;
    if (!(share < 1.0F)) return count;
    const auto wanted = static_cast<std::size_t>(std::max(share, 0.0F) * static_cast<float>(count));
    return std::min(count, (wanted / kRound + 1) * kRound);
}

// Projects those of a piece of the scene that are drawn, to places that follow each other. Returns
// how many they are.
std::size_t ProjectShare(const GaussianPlanes& planes, const PinholeCamera& camera,
                         const SplatStyle& style, std::size_t first, const ProjectedPiece& piece) {
    const std::size_t end = std::min(first + kPieceSize, planes.stride);
    std::size_t done = 0;
    for (std::size_t block = first; block < end; block += kShareBlock) {
        const std::size_t count = ShareOf(std::min(kShareBlock, end - block), style.share);
        ProjectGaussians(
            planes, camera, style, block, count,
            {piece.shapes + done, piece.looks + done, piece.columns + done, piece.rows + done});
        done += count;
    }
    return done;
}

bool AreEyes(const PinholeCamera& a, const PinholeCamera& b) {
    std::array<float, 3> moved{};  // along each row
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            moved[row] += a.rows[row][i] * (b.position[i] - a.position[i]);
        }
    }
    constexpr float kRounding = 1e-4F;
    constexpr float kRoundingOfPlaces = 5e-7F;
    const float rounding =
        kRounding * std::abs(moved[0]) +
        kRoundingOfPlaces * std::hypot(a.position[0], a.position[1], a.position[2]);
    return a.rows == b.rows && a.focalX == b.focalX && a.focalY == b.focalY &&
           a.centreY == b.centreY && a.height == b.height &&
           std::hypot(moved[1], moved[2]) <= rounding;
}

void CheckSize(const PinholeCamera& camera) {
    const auto fits = [](int side) { return side > 0 && side <= kLargestPictureSide; };
    if (!fits(camera.width) || !fits(camera.height)) {
        FailForArgument("a picture has 1 to 32768 pixels on each side");
    }
}

}  // namespace

class SplatRenderer::Buffers {
  public:
    explicit Buffers(int threads)
        : workers_(threads), spaces_(static_cast<std::size_t>(workers_.Count())) {}

    void Draw(const GaussianScene& scene, const SplatStyle& style, std::span<const View> views) {
        const std::size_t places = scene.Planes().stride;
        for (std::size_t eye = 0; eye < views.size(); ++eye) {
            eyes_[eye].Reserve(places, HasOwnLooks(scene, eye));
        }
        lists_.resize((places + kPieceSize - 1) / kPieceSize);
        workers_.Run(lists_.size(), [&](std::size_t piece, int worker) {
            Project(scene, style, views, piece, spaces_[static_cast<std::size_t>(worker)]);
        });
        if (views[0].inverseDepths != nullptr) ColorByDepth(places);
        workers_.Run(TilesAlong(views[0].camera.height), [&](std::size_t row, int worker) {
            DrawRow(scene, views, static_cast<int>(row), spaces_[static_cast<std::size_t>(worker)]);
        });
    }

    [[nodiscard]] std::size_t Bytes() const {
        std::size_t sum = 0;
        for (const EyeScene& eye : eyes_) sum += eye.Bytes();
        for (const RowLists& lists : lists_) sum += lists.Bytes();
        for (const WorkSpace& space : spaces_) sum += space.order.Bytes() + space.tiles.Bytes();
        return sum;
    }

  private:
    // Colours without harmonics are the same for both eyes, as is all else in a look.
    static bool HasOwnLooks(const GaussianScene& scene, std::size_t eye) {
        return eye == 0 || scene.Degree() > 0;
    }
    [[nodiscard]] SplatLook* LooksOf(const GaussianScene& scene, std::size_t eye) const {
        return eyes_[HasOwnLooks(scene, eye) ? eye : 0].Looks();
    }

    void Project(const GaussianScene& scene, const SplatStyle& style, std::span<const View> views,
                 std::size_t piece, WorkSpace& space) {
        const std::size_t first = piece * kPieceSize;
        std::size_t count = 0;
        for (std::size_t eye = 0; eye < views.size(); ++eye) {
            TileRange* const own = eye == 0 ? space.rows.data() : space.otherRows.data();
            count = ProjectShare(scene.Planes(), views[eye].camera, style, first,
                                 eyes_[eye].PieceAt(first, LooksOf(scene, eye), own));
            if (eye > 0)
                std::transform(own, own + count, space.rows.data(), space.rows.data(), Joined);
        }
        const std::span<const TileRange> rows(space.rows.data(), count);
        lists_[piece].Fill(rows, TilesAlong(views[0].camera.height));
    }

    // Of what does not show it may be anything.
    void ColorByDepth(std::size_t places) {
        workers_.Run(lists_.size(), [&](std::size_t piece, int) {
            const std::size_t end = std::min((piece + 1) * kPieceSize, places);
            for (std::size_t i = piece * kPieceSize; i < end; ++i) {
                SplatLook& look = eyes_[0].Looks()[i];
                look.redGreen = look.depth > 0.0F ? InverseDepthAsColor(look.depth) : 0;
            }
        });
    }

    void DrawRow(const GaussianScene& scene, std::span<const View> views, int row,
                 WorkSpace& space) {
        const auto listOf = [row](const RowLists& lists) {
            return lists.Of(static_cast<std::size_t>(row));
        };
        const SplatLook* const looks = eyes_[0].Looks();
        std::size_t most = 0;
        for (const RowLists& lists : lists_) most += listOf(lists).size();
        space.order.Begin(most);
        for (std::size_t piece = 0; piece < lists_.size(); ++piece) {
            space.order.Add(piece * kPieceSize, listOf(lists_[piece]), looks);
        }
        const std::span<const std::uint32_t> order = space.order.Sort(looks);
        for (std::size_t eye = 0; eye < views.size(); ++eye) {
            const ProjectedScene projected = eyes_[eye].Whole(LooksOf(scene, eye));
            const std::size_t columns = TilesAlong(views[eye].camera.width);
            space.tiles.Fill(projected, order, row, columns);
            for (std::size_t column = 0; column < columns; ++column) {
                DrawOne(projected, views[eye], row, static_cast<int>(column), space);
            }
        }
    }

    static void DrawOne(const ProjectedScene& projected, const View& view, int row, int column,
                        WorkSpace& space) {
        TileTarget part;
        part.left = column * kTileSide;
        part.top = row * kTileSide;
        part.width = std::min(kTileSide, view.camera.width - part.left);
        part.height = std::min(kTileSide, view.camera.height - part.top);
        part.rowBytes = view.target.rowBytes;
        const auto top = static_cast<std::size_t>(part.top);
        const auto left = static_cast<std::size_t>(part.left);
        if (view.inverseDepths != nullptr) {
            part.rowDepths = static_cast<std::size_t>(view.camera.width);
            part.inverseDepths = view.inverseDepths + top * part.rowDepths + left;
        } else {
            part.pixels = view.target.pixels + top * part.rowBytes + 4 * left;
        }
        const std::span<const std::uint32_t> order =
            space.tiles.Of(static_cast<std::size_t>(column));
        DrawTile({projected.shapes, projected.looks, order.data(), order.size()}, part,
                 space.values.data());
    }

    Workers workers_;
    std::vector<WorkSpace> spaces_;  // one for each worker
    std::array<EyeScene, 2> eyes_;
    std::vector<RowLists> lists_;  // one for each piece of the scene
};

SplatRenderer::SplatRenderer(int threads) : buffers_(std::make_unique<Buffers>(threads)) {}

SplatRenderer::~SplatRenderer() = default;

void SplatRenderer::Draw(const GaussianScene& scene, const PinholeCamera& camera,
                         const PixelTarget& target, const SplatStyle& style) {
    CheckSize(camera);
    buffers_->Draw(scene, style, std::array{View{camera, target}});
}

void SplatRenderer::DrawPair(const GaussianScene& scene, const PinholeCamera& leftCamera,
                             const PixelTarget& left, const PinholeCamera& rightCamera,
                             const PixelTarget& right, const SplatStyle& style) {
    CheckSize(leftCamera);
    CheckSize(rightCamera);
    if (!AreEyes(leftCamera, rightCamera)) {
        FailForArgument("the cameras are not those of a pair of eyes");
    }
    buffers_->Draw(scene, style, std::array{View{leftCamera, left}, View{rightCamera, right}});
}

void SplatRenderer::DrawInverseDepths(const GaussianScene& scene, const PinholeCamera& camera,
                                      std::span<float> inverseDepths) {
    CheckSize(camera);
    const std::size_t pixels =
        static_cast<std::size_t>(camera.width) * static_cast<std::size_t>(camera.height);
    if (inverseDepths.size() != pixels) FailForArgument("each pixel has room for one depth");
    buffers_->Draw(scene, {}, std::array{View{camera, {}, inverseDepths.data()}});
}

std::size_t SplatRenderer::Bytes() const {
    return buffers_->Bytes();
}

}  // namespace vistrel
