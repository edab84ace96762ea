// SPDX-License-Identifier: GPL-3.0-or-later
// A scene as files know it: what every reader gives and every writer takes.
//
// The frame is that of the photograph's camera: x to the right, y down, z forward, in the scene's
// own unit of length. Formats that lie otherwise are turned by their readers and writers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/aligned_array.h"

namespace vistrel {

// Spherical harmonics of degree 0 (the same colour from everywhere) to 3.
inline constexpr int kMostHarmonicsDegree = 3;

// How many basis functions there are up to `degree`.
[[nodiscard]] constexpr std::size_t HarmonicsCount(int degree) {
    const auto next = static_cast<std::size_t>(degree) + 1;
    return next * next;
}

inline constexpr std::size_t kMostGaussians = std::size_t{1} << 29;

// The values of a Gaussian, in this order.
struct RawGaussian {
    std::array<float, 3> position;  // centre
    std::array<float, 3> colorDc;   // (sRGB value - 0.5) / 0.28209478, red, green, blue
    float opacityLogit;             // ln(o / (1 - o)), o in 0..1; may be infinite
    std::array<float, 3> logScale;  // natural logarithms of the standard deviations along its own
                                    // axes; minus infinity: flat
    std::array<float, 4> rotation;  // quaternion w, x, y, z from its own axes to the scene's; need
                                    // not be normalised
};
inline constexpr std::size_t kRawValues = sizeof(RawGaussian) / sizeof(float);

// Places of the values.
inline constexpr std::size_t kPositionRow = 0;
inline constexpr std::size_t kColorRow = 3;
inline constexpr std::size_t kOpacityRow = 6;
inline constexpr std::size_t kScaleRow = 7;
inline constexpr std::size_t kRotationRow = 10;
inline constexpr std::size_t kHarmonicsRow = kRawValues;

// Behind these, for a degree above 0, the coefficients of the other basis functions in the order of
// 3DGS files (Kerbl et al. 2023; degree 1: those of -y, z, -x): all of red, then all of green, then
// all of blue. They are added to the sRGB value; the direction is from the eye to the centre.
[[nodiscard]] constexpr std::size_t RawValues(int degree) {
    return kRawValues + 3 * (HarmonicsCount(degree) - 1);
}

// Rows of values: that of value v begins at values + v * stride.
struct RawRows {
    const float* values = nullptr;
    std::size_t stride = 0;
};

// The camera that took a photograph: at the origin, looking along z.
struct PhotographCamera {
    float focalX = 0.0F;  // pixels of the photograph, like the three below
    float focalY = 0.0F;
    float centreX = 0.0F;
    float centreY = 0.0F;
    std::uint32_t width = 0;  // the photograph's size in pixels, at least 1
    std::uint32_t height = 0;
};

// What is known of a scene before its Gaussians.
struct SceneFacts {
    std::size_t count = 0;  // of Gaussians, at most kMostGaussians
    int degree = 0;         // of the harmonics, 0 to kMostHarmonicsDegree
    // Of the photograph that the scene was made from, where the file tells it.
    std::optional<PhotographCamera> camera = {};
};

// A scene in memory, 4 bytes for each value. One object is for one writing thread, or for any
// number of reading ones.
class RawScene {
  public:
    RawScene() = default;
    // The values begin as whatever the memory holds. Throws std::bad_alloc.
    explicit RawScene(const SceneFacts& facts);

    [[nodiscard]] const SceneFacts& Facts() const { return facts_; }
    [[nodiscard]] std::size_t Count() const { return facts_.count; }
    [[nodiscard]] int Degree() const { return facts_.degree; }

    // The value `row` of all Gaussians, Count() of them, at a multiple of 64 bytes.
    [[nodiscard]] float* Row(std::size_t row) const { return values_.data() + row * stride_; }
    // Those of the Gaussians from place `first` on.
    [[nodiscard]] RawRows RowsFrom(std::size_t first) const {
        return {values_.data() + first, stride_};
    }

    // Leaves out all but the first `count` <= Count(); the memory stays.
    void Shorten(std::size_t count) { facts_.count = count; }

  private:
    SceneFacts facts_;
    std::size_t stride_ = 0;  // a multiple of 32, at least Count()
    AlignedArray<float> values_;
};

}  // namespace vistrel
