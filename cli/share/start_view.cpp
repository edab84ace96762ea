// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/start_view.h"

#include <algorithm>
#include <cmath>

#include "base/workers.h"
#include "render/gaussian_packing.h"
#include "render/gaussian_scene.h"
#include "render/picture.h"
#include "render/pictures/webp_encoding.h"
#include "render/seen_depths.h"
#include "render/splat_renderer.h"
#include "render/window_view.h"

namespace vistrel {
namespace {

constexpr int kPosterSide = 1280;

PinholeCamera PosterCamera(const std::optional<PhotographCamera>& photograph) {
    if (!photograph) {
        return WindowCamera({.general = true}, {.width = kPosterSide, .height = kPosterSide},
                            kPosterSide, kPosterSide);
    }
    const float longest = static_cast<float>(std::max(photograph->width, photograph->height));
    const float scale = std::min(1.0F, static_cast<float>(kPosterSide) / longest);
    const auto side = [scale](std::uint32_t pixels) {
        return std::max(1, static_cast<int>(std::lround(scale * static_cast<float>(pixels))));
    };
    return FitCamera(*photograph, side(photograph->width), side(photograph->height));
}

GaussianScene Packed(const RawScene& raw) {
    constexpr std::size_t kPiece = std::size_t{1} << 14;  // a multiple of 32
    GaussianScene scene(raw.Count(), raw.Degree());
    Workers workers;
    workers.Run((raw.Count() + kPiece - 1) / kPiece, [&](std::size_t piece, int /*worker*/) {
        const std::size_t first = piece * kPiece;
        PackGaussians(raw.RowsFrom(first), std::min(kPiece, raw.Count() - first), scene.Planes(),
                      first);
    });
    return scene;
}

std::vector<std::byte> DrawPoster(SplatRenderer& renderer, const GaussianScene& scene,
                                  const PinholeCamera& camera) {
    constexpr int kPosterQuality = 80;  // it is looked at for a second
    Picture picture(camera.width, camera.height);
    renderer.Draw(scene, camera, picture.Target(), kWindowStyle);
    return EncodeWebp(picture, kPosterQuality);
}

}  // namespace

StartView LookAt(const RawScene& scene, bool wantsPoster) {
    StartView view = {.camera = scene.Facts().camera};
    if (!view.camera && !wantsPoster) return view;
    const GaussianScene packed = Packed(scene);
    const PinholeCamera camera = PosterCamera(view.camera);
    SplatRenderer renderer;
    if (view.camera) view.depths = SeenDepths(renderer, packed, camera);
    if (wantsPoster) view.poster = DrawPoster(renderer, packed, camera);
    return view;
}

}  // namespace vistrel
