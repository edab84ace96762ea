// SPDX-License-Identifier: GPL-3.0-or-later
// The words that Gaussians are packed into in compressed PLY files; their layout is the table in
// formats/compressed_ply.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/raw_scene.h"

namespace vistrel {

// Gaussians of a chunk, which is shorter at the end of a file.
inline constexpr std::size_t kPlyChunk = 256;

// The ranges of a chunk: of each three values the least, then the greatest ones.
inline constexpr std::array kChunkProperties = {
    "min_x",       "min_y",       "min_z",       "max_x",       "max_y",       "max_z",
    "min_scale_x", "min_scale_y", "min_scale_z", "max_scale_x", "max_scale_y", "max_scale_z",
    "min_r",       "min_g",       "min_b",       "max_r",       "max_g",       "max_b"};
// Places of the ranges in it.
inline constexpr std::size_t kPositionRange = 0;
inline constexpr std::size_t kScaleRange = 6;
inline constexpr std::size_t kColorRange = 12;
using ChunkRanges = std::array<float, kChunkProperties.size()>;

inline constexpr std::array kPackedProperties = {"packed_position", "packed_rotation",
                                                 "packed_scale", "packed_color"};
using PackedGaussian = std::array<std::uint32_t, kPackedProperties.size()>;

[[nodiscard]] RawGaussian UnpackGaussian(const PackedGaussian& packed, const ChunkRanges& ranges);

// The Gaussians of one chunk: those at `places`, 1 to kPlyChunk of them, of a scene that stays.
class ChunkPacker {
  public:
    ChunkPacker(const RawScene& scene, std::span<const std::uint32_t> places);

    [[nodiscard]] const ChunkRanges& Ranges() const { return ranges_; }
    // The Gaussian at places[i].
    [[nodiscard]] PackedGaussian Packed(std::size_t i) const;

  private:
    using Values = std::array<float, kPlyChunk>;

    template <typename Convert>
    void Gather(std::size_t row, std::size_t range, const Convert& convert);
    [[nodiscard]] std::uint32_t Share(std::size_t range, std::size_t i, int bits) const;

    const RawScene& scene_;
    std::span<const std::uint32_t> places_;
    ChunkRanges ranges_{};
    // What has a range, at the place of its least value in `ranges_`.
    std::array<Values, kChunkProperties.size()> values_;
};

[[nodiscard]] float HarmonicOfByte(std::uint8_t byte);
[[nodiscard]] std::uint8_t ByteOfHarmonic(float value);

}  // namespace vistrel
