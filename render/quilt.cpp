// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/quilt.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numbers>
#include <stdexcept>

namespace vistrel {

std::vector<PinholeCamera> QuiltCameras(const PinholeCamera& camera, const QuiltShape& shape,
                                        double degrees, double depth) {
    const int views = shape.Views();
    const double cone = degrees * std::numbers::pi / 180.0;
    std::vector<PinholeCamera> cameras;
    for (int view = 0; view < views; ++view) {
        const double share = views > 1 ? static_cast<double>(view) / (views - 1) - 0.5 : 0.0;
        const double offset = depth * std::tan(cone * share);
        cameras.push_back(EyeOf(camera, static_cast<float>(offset), static_cast<float>(depth)));
    }
    return cameras;
}

Picture DrawQuilt(SplatRenderer& renderer, const GaussianScene& scene, const QuiltShape& shape,
                  std::span<const PinholeCamera> cameras, const SplatStyle& style) {
    if (cameras.empty() || std::ssize(cameras) != shape.Views()) {
        throw std::invalid_argument("a quilt has a camera for each view");
    }
    const int width = cameras[0].width;
    const int height = cameras[0].height;
    if (width > kLargestPictureSide / shape.columns || height > kLargestPictureSide / shape.rows) {
        throw std::invalid_argument("a picture has 1 to 32768 pixels on each side");
    }
    Picture quilt(width * shape.columns, height * shape.rows);
    const auto targetOf = [&](std::size_t view) {
        const int column = static_cast<int>(view) % shape.columns;
        const int row = shape.rows - 1 - static_cast<int>(view) / shape.columns;
        PixelTarget target = quilt.Target();
        target.pixels +=
            static_cast<std::size_t>(row) * static_cast<std::size_t>(height) * target.rowBytes +
            4 * static_cast<std::size_t>(column) * static_cast<std::size_t>(width);
        return target;
    };
    // Two at a time take less than one after the other.
    std::size_t view = 0;
    for (; view + 1 < cameras.size(); view += 2) {
        renderer.DrawPair(scene, cameras[view], targetOf(view), cameras[view + 1],
                          targetOf(view + 1), style);
    }
    if (view < cameras.size()) renderer.Draw(scene, cameras[view], targetOf(view), style);
    return quilt;
}

std::string QuiltSuffix(const QuiltShape& shape, int viewWidth, int viewHeight) {
    std::array<char, 64> text{};
    const double aspect = static_cast<double>(viewWidth) / viewHeight;
    std::snprintf(text.data(), text.size(), "_qs%dx%da%.4g", shape.columns, shape.rows, aspect);
    return text.data();
}

}  // namespace vistrel
