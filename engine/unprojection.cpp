// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/unprojection.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string>

#include "base/log.h"
#include "engine/gaussian_pieces.h"
#include "engine/unprojection_kernel.h"

namespace vistrel {
namespace {

CameraStretch StretchOf(float focalPx, int width, int height, int internalResolution) {
    const double focal = static_cast<double>(focalPx) * internalResolution;
    const double focalX = focal / width;
    const double focalY = focal / height;
    return {internalResolution / (2 * focalX), internalResolution / (2 * focalY)};
}

// Six decimals with a point, whatever the locale.
std::string Fixed(double value) {
    std::array<char, 336> text{};  // the longest double has 309 digits before the point
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

}  // namespace

void UnprojectGaussians(GaussianSet& gaussians, float focalPx, int width, int height,
                        int internalResolution) {
    const CameraStretch stretch = StretchOf(focalPx, width, height, internalResolution);
    LogInfo("  Unprojection scales: sx=" + Fixed(stretch.x) + "  sy=" + Fixed(stretch.y) +
            "  sz=" + Fixed(1.0));

    const auto count = static_cast<std::size_t>(gaussians.count);
    ForEachPiece(count, [&](std::size_t first, std::size_t inPiece) {
        StretchMeans(stretch, gaussians.means.data.data() + 3 * first, inPiece);
        StretchEllipsoids(stretch, gaussians.scales.data.data() + 3 * first,
                          gaussians.quaternions.data.data() + 4 * first, inPiece);
    });
    LogInfo("  Unprojection complete for " + std::to_string(gaussians.count) + " Gaussians.");
}

}  // namespace vistrel
