// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_splat_drawing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace vistrel::test {
namespace {

using Vector3 = std::array<float, 3>;
using Matrix3 = std::array<Vector3, 3>;

constexpr float kNearest = 0.01F;           // depth below which nothing is drawn
constexpr float kLowPass = 0.3F;            // pixels squared, added to each projected covariance
constexpr float kFaintest = 1.0F / 255.0F;  // weaker contributions are left out
constexpr float kMostOpaque = 0.99F;
constexpr float kCovered = 1e-4F;  // pixels that let through less take nothing more
constexpr float kSidewaysLimit =
    1.3F;  // times the picture's half: where the projection is linearised
constexpr float kDcToValue = 0.28209478F;

float Dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// A Gaussian on the picture: opacity * exp(-(a dx^2 + 2 b dx dy + c dy^2) / 2).
struct Splat {
    float x;
    float y;
    float a;
    float b;
    float c;
    float varianceY;  // pixels squared
    float opacity;
    float reach;  // largest a dx^2 + 2 b dx dy + c dy^2 that is not too faint
    Vector3 color;
};

// The columns of the rotation, each times its scale: covariance = sum of their outer products.
Matrix3 ScaledAxes(const RawGaussian& gaussian) {
    const auto& q = gaussian.rotation;
    const float norm = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    const float inverse = norm > 0.0F ? 1.0F / norm : 0.0F;
    const float w = q[0] * inverse;
    const float x = q[1] * inverse;
    const float y = q[2] * inverse;
    const float z = q[3] * inverse;
    Matrix3 axes = {{{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)},
                     {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)},
                     {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)}}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float scale = std::exp(gaussian.logScale[axis]);
        for (float& value : axes[axis]) value *= scale;
    }
    return axes;
}

Vector3 ToCamera(const PinholeCamera& camera, const Vector3& position) {
    const Vector3 offset = {position[0] - camera.position[0], position[1] - camera.position[1],
                            position[2] - camera.position[2]};
    return {Dot(camera.rows[0], offset), Dot(camera.rows[1], offset), Dot(camera.rows[2], offset)};
}

// The slope x/z (or y/z) at which the projection is linearised, kept near the picture: far outside
// it the linear form would stretch a Gaussian across the whole picture.
float LimitedSlope(float slope, float centre, float focal, int size) {
    const float least = -centre / focal;
    const float most = (static_cast<float>(size) - centre) / focal;
    const float margin = (kSidewaysLimit - 1.0F) * 0.5F * (most - least);
    return std::clamp(slope, least - margin, most + margin);
}

// The covariance on the picture: xx, xy, yy in pixels squared.
Vector3 ProjectCovariance(const RawGaussian& gaussian, const PinholeCamera& camera,
                          const Vector3& point) {
    const float slopeX =
        LimitedSlope(point[0] / point[2], camera.centreX, camera.focalX, camera.width);
    const float slopeY =
        LimitedSlope(point[1] / point[2], camera.centreY, camera.focalY, camera.height);
    Vector3 towardsX{};
    Vector3 towardsY{};
    for (std::size_t i = 0; i < 3; ++i) {
        towardsX[i] = (camera.rows[0][i] - slopeX * camera.rows[2][i]) * camera.focalX / point[2];
        towardsY[i] = (camera.rows[1][i] - slopeY * camera.rows[2][i]) * camera.focalY / point[2];
    }
    Vector3 covariance = {kLowPass, 0.0F, kLowPass};
    for (const Vector3& axis : ScaledAxes(gaussian)) {
        const float u = Dot(towardsX, axis);
        const float v = Dot(towardsY, axis);
        covariance[0] += u * u;
        covariance[1] += u * v;
        covariance[2] += v * v;
    }
    return covariance;
}

// Nothing for a Gaussian that does not show.
std::optional<Splat> Project(const RawGaussian& gaussian, const PinholeCamera& camera,
                             const Vector3& point) {
    const float opacity = 1.0F / (1.0F + std::exp(-gaussian.opacityLogit));
    if (!(opacity >= kFaintest)) return std::nullopt;
    const Vector3 covariance = ProjectCovariance(gaussian, camera, point);
    const float determinant = covariance[0] * covariance[2] - covariance[1] * covariance[1];
    if (!(determinant > 0.0F) || !std::isfinite(determinant)) return std::nullopt;

    Splat splat{};
    splat.x = camera.focalX * point[0] / point[2] + camera.centreX;
    splat.y = camera.focalY * point[1] / point[2] + camera.centreY;
    splat.a = covariance[2] / determinant;
    splat.b = -covariance[1] / determinant;
    splat.c = covariance[0] / determinant;
    splat.varianceY = covariance[2];
    splat.opacity = opacity;
    splat.reach = 2.0F * std::log(opacity / kFaintest);
    bool finite = std::isfinite(splat.x) && std::isfinite(splat.y);
    for (std::size_t i = 0; i < 3; ++i) {
        const float value = 0.5F + kDcToValue * gaussian.colorDc[i];
        finite = finite && std::isfinite(value);
        splat.color[i] = std::max(0.0F, value);
    }
    return finite ? std::optional(splat) : std::nullopt;
}

// The pixels whose centres lie in middle +- half, as [first, last) within 0..size.
std::pair<int, int> PixelRange(float middle, float half, int size) {
    if (!std::isfinite(middle) || !(half >= 0.0F)) return {0, 0};
    const auto limit = static_cast<float>(size);
    const float first = std::clamp(std::ceil(middle - half - 0.5F), 0.0F, limit);
    const float last = std::clamp(std::floor(middle + half - 0.5F) + 1.0F, 0.0F, limit);
    return {static_cast<int>(first), static_cast<int>(last)};
}

void BlendRow(const Splat& splat, int row, PlainPicture& picture) {
    const float dy = static_cast<float>(row) + 0.5F - splat.y;
    // Columns where a dx^2 + 2 b dx dy + c dy^2 <= reach: the two roots of a quadratic.
    const float root = splat.b * splat.b * dy * dy - splat.a * (splat.c * dy * dy - splat.reach);
    if (!(root >= 0.0F)) return;
    const auto [first, last] =
        PixelRange(splat.x - splat.b * dy / splat.a, std::sqrt(root) / splat.a, picture.width);
    const std::size_t start =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(picture.width);
    for (int column = first; column < last; ++column) {
        const std::size_t pixel = start + static_cast<std::size_t>(column);
        float& through = picture.through[pixel];
        if (through < kCovered) continue;
        const float dx = static_cast<float>(column) + 0.5F - splat.x;
        const float power = splat.a * dx * dx + 2.0F * splat.b * dx * dy + splat.c * dy * dy;
        const float alpha = std::min(kMostOpaque, splat.opacity * std::exp(-0.5F * power));
        const float weight = alpha * through;
        for (std::size_t i = 0; i < 3; ++i) picture.rgb[3 * pixel + i] += weight * splat.color[i];
        through -= weight;
    }
}

void Blend(const Splat& splat, PlainPicture& picture) {
    const auto [first, last] =
        PixelRange(splat.y, std::sqrt(splat.reach * splat.varianceY), picture.height);
    for (int row = first; row < last; ++row) BlendRow(splat, row, picture);
}

}  // namespace

PlainPicture DrawPlainly(std::span<const RawGaussian> gaussians, const PinholeCamera& camera) {
    std::vector<std::pair<float, std::uint32_t>> order;  // depth, index
    order.reserve(gaussians.size());
    for (std::size_t i = 0; i < gaussians.size(); ++i) {
        const float depth = ToCamera(camera, gaussians[i].position)[2];
        if (depth > kNearest) order.emplace_back(depth, static_cast<std::uint32_t>(i));
    }
    std::sort(order.begin(), order.end());

    PlainPicture picture;
    picture.width = camera.width;
    picture.height = camera.height;
    const std::size_t pixels =
        static_cast<std::size_t>(camera.width) * static_cast<std::size_t>(camera.height);
    picture.rgb.assign(3 * pixels, 0.0F);
    picture.through.assign(pixels, 1.0F);
    for (const auto& [depth, index] : order) {
        const RawGaussian& gaussian = gaussians[index];
        const auto splat = Project(gaussian, camera, ToCamera(camera, gaussian.position));
        if (splat) Blend(*splat, picture);
    }
    return picture;
}

}  // namespace vistrel::test
