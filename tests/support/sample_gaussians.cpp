// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/sample_gaussians.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <random>

namespace vistrel::test {
namespace {

class Sampler {
  public:
    explicit Sampler(unsigned seed) : engine_(seed) {}

    float Normal() { return normal_(engine_); }
    float Uniform() { return uniform_(engine_); }
    std::size_t Index(std::size_t count) { return engine_() % count; }

    // A network's scales lie around a hundredth, and a few times more or less.
    float Scale() { return 0.01F * std::exp(Normal()); }
    // 1e-3 to 1e-7
    float SmallFactor() { return std::pow(10.0F, -3.0F - 4.0F * Uniform()); }

    // 1e-9 to 1
    float NineDecades() { return std::pow(10.0F, -9.0F * Uniform()); }

    std::array<float, 4> UnitQuaternion() {
        std::array<float, 4> q{};
        float square = 0;
        for (float& value : q) {
            value = Normal();
            square += value * value;
        }
        for (float& value : q) value /= std::sqrt(square);
        return q;
    }

  private:
    std::mt19937 engine_;
    std::normal_distribution<float> normal_;
    std::uniform_real_distribution<float> uniform_;
};

std::array<float, 3> ScalesOf(GaussianShape shape, Sampler& random) {
    const float a = random.Scale();
    const float b = random.Scale();
    const float c = random.Scale();
    switch (shape) {
        case GaussianShape::Isotropic:
            return {a, a, a};
        case GaussianShape::NearlyIsotropic:
            return {a, a * (1 + 3e-7F * random.Uniform()), a * (1 + 3e-7F * random.Uniform())};
        case GaussianShape::TwoEqualScales:
            return {a, b, a};
        case GaussianShape::Flat:
            return {a, b, a * random.SmallFactor()};
        case GaussianShape::Needle:
            return {a * random.SmallFactor(), a, a * random.SmallFactor()};
        case GaussianShape::ZeroScale:
            return {0, a, b};
        case GaussianShape::TwoZeroScales:
            return {0, a, 0};
        case GaussianShape::AllZeroScales:
            return {0, 0, 0};
        case GaussianShape::Graded:
            return {random.NineDecades(), random.NineDecades(), random.NineDecades()};
        case GaussianShape::NegativeScales:
            return {-a, b, -c};
        case GaussianShape::Huge:
            return {a * 1e32F, b * 1e32F, c * 1e32F};
        case GaussianShape::Tiny:
            return {a * 1e-28F, b * 1e-28F, c * 1e-28F};
        default:
            return {a, b, c};
    }
}

std::array<float, 4> QuaternionOf(GaussianShape shape, Sampler& random) {
    std::array<float, 4> q = random.UnitQuaternion();
    if (shape == GaussianShape::AxisAligned) return {1, 0, 0, 0};
    if (shape == GaussianShape::ZeroQuaternion) return {0, 0, 0, 0};
    if (shape == GaussianShape::LongQuaternion) {
        const float length = std::exp2(4 * random.Uniform() - 1);
        for (float& value : q) value *= length;
    }
    return q;
}

AttributeArray EmptyArray(int count, int components) {
    return {.data = {}, .count = count, .components = components};
}

}  // namespace

std::string Name(GaussianShape shape) {
    static constexpr std::array<const char*, kGaussianShapes> kNames = {
        "Anisotropic", "Isotropic",      "NearlyIsotropic", "TwoEqualScales", "Flat",
        "Needle",      "ZeroScale",      "TwoZeroScales",   "AllZeroScales",  "Graded",
        "AxisAligned", "LongQuaternion", "ZeroQuaternion",  "NegativeScales", "Huge",
        "Tiny"};
    return kNames.at(static_cast<std::size_t>(shape));
}

GaussianSet MakeMixedGaussians(const std::vector<GaussianShape>& shapes, int count, unsigned seed) {
    Sampler random(seed);
    GaussianSet set;
    set.count = count;
    set.means = EmptyArray(count, 3);
    set.scales = EmptyArray(count, 3);
    set.quaternions = EmptyArray(count, 4);
    set.colors = EmptyArray(count, 3);
    set.opacities = EmptyArray(count, 1);
    for (int i = 0; i < count; ++i) {
        const GaussianShape shape = shapes[random.Index(shapes.size())];
        for (const float scale : ScalesOf(shape, random)) set.scales.data.push_back(scale);
        for (const float value : QuaternionOf(shape, random)) {
            set.quaternions.data.push_back(value);
        }
        for (int axis = 0; axis < 3; ++axis) set.means.data.push_back(random.Normal());
        for (int channel = 0; channel < 3; ++channel) set.colors.data.push_back(random.Uniform());
        set.opacities.data.push_back(random.Uniform());
    }
    return set;
}

GaussianSet MakeGaussians(GaussianShape shape, int count, unsigned seed) {
    return MakeMixedGaussians({shape}, count, seed);
}

}  // namespace vistrel::test
