// SPDX-License-Identifier: GPL-3.0-or-later
// From the words into which the viewer page packs Gaussians to a scene's planes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "render/gaussian_scene.h"

namespace vistrel {

// What the smallest and the largest values stand for.
struct SparkRange {
    float least = 0.0F;
    float most = 1.0F;
};
struct SparkEncoding {
    SparkRange color = {0.0F, 1.0F};
    SparkRange logScale = {-12.0F, 9.0F};  // natural logarithms
    std::array<SparkRange, kMostHarmonicsDegree> harmonics = {{{-1, 1}, {-1, 1}, {-1, 1}}};
};

// Words of 32 bits, the lowest bits first. A Gaussian has four:
//
//   0  red, green, blue, opacity   8 bits each: the ends of the encoding's range, 0 and 1
//   1  x, y                        half-precision floats
//   2  z                           half-precision float
//      u, v                        8 bits each: the rotation's axis, folded from an octahedron onto
//                                  a square with corners at 0 and 255
//   3  scale x, y, z               8 bits each: 0 is none at all, 1 and 255 the ends of the range
//      angle                       8 bits: of the rotation about the axis, 0 to pi
//
// Harmonics are signed numbers of 7, 8 and 6 bits for degree 1, 2 and 3, in two, four and four
// words: red, green and blue of the first function, then of the next one, without gaps. The largest
// and its opposite stand for the ends of the range.
struct SparkWords {
    const std::uint32_t* gaussians = nullptr;
    // Of degree 1 and so on; those up to the scene's degree are there.
    std::array<const std::uint32_t*, kMostHarmonicsDegree> harmonics{};
};

inline constexpr std::size_t kSparkWords = 4;
inline constexpr std::array<std::size_t, kMostHarmonicsDegree> kSparkHarmonicsWords = {2, 4, 4};

// Unpacks for one encoding. Constant after construction; any thread.
class SparkUnpacker {
  public:
    explicit SparkUnpacker(const SparkEncoding& encoding);

    // Unpacks the Gaussians `order` of the words into the planes from place `first` on. Those
    // without a finite centre and those without any size are not drawn.
    void Unpack(const SparkWords& words, std::span<const std::uint16_t> order,
                const GaussianPlanes& planes, std::size_t first) const;

  private:
    static constexpr std::size_t kBytes = 256;
    void UnpackOne(const SparkWords& words, std::size_t i, const GaussianPlanes& planes,
                   std::size_t to) const;
    void UnpackHarmonics(const SparkWords& words, std::size_t i, const GaussianPlanes& planes,
                         std::size_t to) const;

    std::array<std::uint16_t, kBytes> color_;    // in units of kColorUnit
    std::array<std::uint16_t, kBytes> opacity_;  // in units of kOpacityUnit
    std::array<float, kBytes> scale_;
    std::array<float, kBytes> cosine_;  // of half the rotation's angle
    std::array<float, kBytes> sine_;
    std::array<std::uint16_t, kBytes> colorHalf_;
    std::array<std::array<std::uint16_t, kBytes>, kMostHarmonicsDegree> harmonics_;
};

}  // namespace vistrel
