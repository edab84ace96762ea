// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/splat_scenes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

namespace vistrel::test {
namespace {

constexpr float kHalfWidth = 0.5F;  // x / z at the right edge
constexpr float kHalfHeight = 0.375F;

float Logit(float opacity) {
    return std::log(opacity / (1.0F - opacity));
}

std::array<float, 3> ColorOf(float u, float v, float layer) {
    constexpr float kPerUnit = 0.28209478F;
    const auto channel = [&](float phase) {
        const float value = 0.5F + 0.4F * std::sin(23.0F * u + phase) * std::cos(17.0F * v + layer);
        return (value - 0.5F) / kPerUnit;
    };
    return {channel(0.0F), channel(1.0F), channel(2.0F)};
}

// How deep the surface lies in the direction u, v of -1..1.
float DepthOf(float u, float v, float layer) {
    const float hills = 4.0F - 1.6F * v + 0.4F * std::sin(5.0F * u + 3.0F * v);
    const bool isInFront = layer == 0.0F && std::hypot(u + 0.3F, v) < 0.4F;
    return (isInFront ? 1.6F : hills) + 0.1F * layer;
}

// Along the surface at u, v; `spacing` is the distance between neighbours in u.
RawGaussian OfSurface(float u, float v, float layer, float spacing) {
    constexpr float kSpread = 0.62F;
    constexpr float kThickness = 0.25F;
    const float depth = DepthOf(u, v, layer);
    const float slope = (DepthOf(u, v + spacing, layer) - depth) / (spacing * kHalfHeight * depth);
    const float tilt = std::atan(std::clamp(slope, -3.0F, 3.0F));
    RawGaussian gaussian{};
    gaussian.position = {u * kHalfWidth * depth, v * kHalfHeight * depth, depth};
    gaussian.colorDc = ColorOf(u, v, layer);
    gaussian.opacityLogit = Logit(0.97F);
    const float across = spacing * depth * kSpread * kHalfWidth;
    gaussian.logScale = {std::log(across), std::log(across / std::cos(tilt)),
                         std::log(across * kThickness)};
    gaussian.rotation = {std::cos(0.5F * tilt), std::sin(0.5F * tilt), 0.0F, 0.0F};
    return gaussian;
}

class Dice {
  public:
    float Normal() { return normal_(random_); }
    float Between(float least, float most) { return least + (most - least) * unit_(random_); }
    std::array<float, 4> Rotation() { return {Normal(), Normal(), Normal(), Normal()}; }
    // Somewhere in view.
    RawGaussian Round(float depth, float scale, float opacity) {
        const float u = Between(-1, 1);
        const float v = Between(-1, 1);
        RawGaussian gaussian{};
        gaussian.position = {u * kHalfWidth * depth, v * kHalfHeight * depth, depth};
        gaussian.colorDc = ColorOf(u, v, depth);
        gaussian.opacityLogit = Logit(opacity);
        gaussian.logScale.fill(std::log(scale));
        gaussian.rotation = Rotation();
        return gaussian;
    }

  private:
    std::mt19937 random_{1};
    std::normal_distribution<float> normal_;
    std::uniform_real_distribution<float> unit_;
};

}  // namespace

PinholeCamera SceneCamera(int width, int height) {
    return FitCamera({1600, 1600, 800, 600, 1600, 1200}, width, height);
}

void ShiftSideways(PinholeCamera& camera, float offset, float distance) {
    const float length = std::hypot(offset, distance);
    const float sine = offset / length;
    const float cosine = distance / length;
    camera.position[0] += offset;
    camera.rows = {{{cosine, 0, sine}, {0, 1, 0}, {-sine, 0, cosine}}};
}

std::vector<RawGaussian> ReliefGaussians(int side) {
    std::vector<RawGaussian> gaussians;
    const float spacing = 2.0F / static_cast<float>(side);
    for (int layer = 0; layer < 2; ++layer) {
        for (int row = 0; row < side; ++row) {
            for (int column = 0; column < side; ++column) {
                const float u = (static_cast<float>(column) + 0.5F) * spacing - 1.0F;
                const float v = (static_cast<float>(row) + 0.5F) * spacing - 1.0F;
                gaussians.push_back(OfSurface(u, v, static_cast<float>(layer), spacing));
            }
        }
    }
    return gaussians;
}

std::vector<RawGaussian> OverlappingGaussians(int side) {
    Dice dice;
    std::vector<RawGaussian> gaussians = ReliefGaussians(side);
    for (RawGaussian& gaussian : gaussians) {
        const float farther = std::exp(0.05F * dice.Normal());
        for (float& value : gaussian.position) value *= farther;
        for (float& value : gaussian.logScale) value += 0.7F + 0.7F * dice.Normal();
        for (float& value : gaussian.rotation) value += 0.5F * dice.Normal();
        gaussian.opacityLogit = 1.5F * dice.Normal();
    }
    return gaussians;
}

std::vector<RawGaussian> NeedleGaussians(int count) {
    Dice dice;
    std::vector<RawGaussian> gaussians;
    for (int i = 0; i < count; ++i) {
        const float depth = dice.Between(1, 8);
        gaussians.push_back(dice.Round(depth, 0.002F * depth, dice.Between(0.1F, 0.98F)));
        gaussians.back().logScale[1] += std::log(30.0F);
    }
    return gaussians;
}

std::vector<RawGaussian> FaintGaussians(int count) {
    Dice dice;
    std::vector<RawGaussian> gaussians;
    for (int i = 0; i < count; ++i) {
        const float depth = dice.Between(1, 8);
        const float scale = 0.03F * depth * std::exp(0.5F * dice.Normal());
        gaussians.push_back(dice.Round(depth, scale, dice.Between(0.001F, 0.1F)));
    }
    return gaussians;
}

std::vector<RawGaussian> WildGaussians(int count) {
    Dice dice;
    std::vector<RawGaussian> gaussians;
    for (int i = 0; i < count; ++i) {
        const float scale = 0.01F * std::exp(2.0F * dice.Normal());
        RawGaussian gaussian =
            dice.Round(dice.Between(0.3F, 5.0F), scale, dice.Between(0.01F, 0.99F));
        for (float& value : gaussian.logScale) value += 0.7F * dice.Normal();
        if (i % 10 == 0) gaussian.position[2] = dice.Between(-3, 0.05F);
        if (i % 10 == 1) gaussian.position[0] *= 4.0F;
        if (i % 10 == 2) gaussian.colorDc[static_cast<std::size_t>(i) % 3] = 5.0F;
        gaussians.push_back(gaussian);
    }
    return gaussians;
}

GaussianScene PackedScene(std::span<const RawGaussian> gaussians) {
    constexpr std::size_t kBlock = 256;
    GaussianScene scene(gaussians.size(), 0);
    std::vector<float> rows(kRawValues * kBlock);
    for (std::size_t first = 0; first < gaussians.size(); first += kBlock) {
        const std::size_t count = std::min(kBlock, gaussians.size() - first);
        for (std::size_t i = 0; i < count; ++i) {
            const auto* const values = reinterpret_cast<const float*>(&gaussians[first + i]);
            for (std::size_t v = 0; v < kRawValues; ++v) rows[v * kBlock + i] = values[v];
        }
        PackGaussians({rows.data(), kBlock}, count, scene.Planes(), first);
    }
    return scene;
}

}  // namespace vistrel::test
