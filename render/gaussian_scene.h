// SPDX-License-Identifier: GPL-3.0-or-later
// A scene in the form that drawing wants: made once, drawn many times.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/aligned_array.h"
#include "formats/raw_scene.h"

namespace vistrel {

// What a scene holds of a Gaussian beside harmonics: one plane of 32-bit values for each.
enum class Plane : std::uint8_t {
    X,  // centre; x right, y down, z forward in the photograph's camera
    Y,
    Z,
    ScaleX,  // standard deviations along its own axes; linear, not negative
    ScaleY,
    ScaleZ,
    RotationWX,   // two signed 16-bit parts of a unit quaternion in units of 1/32767, low half
    RotationYZ,   // first; all zero: not turned
    RedGreen,     // two unsigned 16-bit values, low half first; see kColorUnit
    BlueOpacity,  // the same and the opacity, see kOpacityUnit; opacity 0: not drawn at all
};
inline constexpr std::size_t kPlanes = 10;

// A colour channel is an sRGB value in these units: 0..8, which also holds what is too bright.
inline constexpr float kColorUnit = 8.0F / 65535.0F;

// An opacity o is kept as log2(o) + 8 in these units, so that 1/256 is the faintest.
inline constexpr float kOpacityUnit = 8.0F / 65535.0F;
inline constexpr float kFaintestLog = -8.0F;

// Planes of `stride` values each lie behind each other, and begin at multiples of 64 bytes.
struct GaussianPlanes {
    float* words = nullptr;  // those that hold integers are to be read as such
    // Half-precision floats: for each of the HarmonicsCount(degree) basis functions red, green and
    // blue. The first function's value is the colour itself, the others add to it. Not there where
    // the degree is 0.
    std::uint16_t* harmonics = nullptr;
    std::size_t stride = 0;
    int degree = 0;

    [[nodiscard]] float* Of(Plane plane) const {
        return words + static_cast<std::size_t>(plane) * stride;
    }
    [[nodiscard]] std::uint16_t* Harmonic(std::size_t function, std::size_t channel) const {
        return harmonics + (3 * function + channel) * stride;
    }
};

// The Gaussians of a scene in memory order, 40 bytes each and 96 more for harmonics of degree 3.
// After it was filled it is constant and any number of threads may draw it.
class GaussianScene {
  public:
    GaussianScene() = default;
    // Room for `count` Gaussians, at most kMostGaussians, which are to be filled by PackGaussians.
    // Throws std::length_error and std::bad_alloc.
    GaussianScene(std::size_t count, int degree);

    [[nodiscard]] std::size_t Count() const { return count_; }
    [[nodiscard]] int Degree() const { return planes_.degree; }
    [[nodiscard]] const GaussianPlanes& Planes() const { return planes_; }
    [[nodiscard]] std::size_t Bytes() const {
        return words_.size() * sizeof(float) + harmonics_.size() * sizeof(std::uint16_t);
    }

  private:
    std::size_t count_ = 0;
    AlignedArray<float> words_;
    AlignedArray<std::uint16_t> harmonics_;
    GaussianPlanes planes_;
};

}  // namespace vistrel
