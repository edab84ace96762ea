// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a .ksplat file; their layout is the table in formats/ksplat.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/input_file.h"
#include "formats/raw_scene.h"

namespace vistrel {

inline constexpr std::size_t kKsplatHeaderBytes = 4096;
inline constexpr std::size_t kKsplatSectionHeaderBytes = 1024;

struct KsplatHeader {
    std::uint32_t sections = 0;
    std::uint32_t gaussians = 0;
    std::size_t level = 0;  // of compression, 0 to 2
    float leastHarmonic = 0.0F;
    float mostHarmonic = 0.0F;
};

// Throws std::runtime_error when it is none.
[[nodiscard]] KsplatHeader ReadKsplatHeader(const InputFile& file);

// One section of a file that stays.
class KsplatSection {
  public:
    // Its header is at `headerPlace`, the section itself at `place`. Throws std::runtime_error when
    // something is wrong with it or when it is not within the file.
    KsplatSection(const InputFile& file, const KsplatHeader& header, std::uint64_t headerPlace,
                  std::uint64_t place);

    // Gaussians.
    [[nodiscard]] std::uint32_t Count() const { return count_; }
    [[nodiscard]] int Degree() const { return degree_; }
    // The place in the file behind the section.
    [[nodiscard]] std::uint64_t End() const { return end_; }

    // The Gaussians from `first` on, at most kScenePiece, into rows that lie so far apart and have
    // harmonics up to `degree`. Any thread.
    void Decode(const InputFile& file, std::size_t first, std::size_t count, int degree,
                float* rows) const;

  private:
    void ParseHeader(const std::array<std::byte, 42>& bytes);
    void ReadBuckets(const InputFile& file, std::uint64_t place);
    [[nodiscard]] std::size_t BucketOf(std::size_t place) const;
    [[nodiscard]] std::size_t ColorOffset() const;
    [[nodiscard]] std::size_t HarmonicsOffset() const;
    [[nodiscard]] std::size_t RecordBytes() const;
    [[nodiscard]] float NumberAt(const std::byte* record, std::size_t index) const;
    [[nodiscard]] float HarmonicAt(const std::byte* record, std::size_t index) const;
    [[nodiscard]] RawGaussian GaussianOf(const std::byte* record) const;
    void Place(RawGaussian& gaussian, std::size_t bucket, const std::byte* record) const;
    void SetHarmonics(const std::byte* record, int degree, float* values) const;

    KsplatHeader header_;
    std::uint32_t count_ = 0;
    std::uint32_t room_ = 0;  // for Gaussians
    int degree_ = 0;
    std::uint32_t bucketSize_ = 0;
    std::uint32_t buckets_ = 0;
    std::uint32_t full_ = 0;
    std::uint32_t partial_ = 0;
    float steps_ = 0.0F;  // in half a bucket's side
    float step_ = 0.0F;   // the scene's length
    std::uint64_t dataPlace_ = 0;
    std::uint64_t end_ = 0;
    std::vector<std::array<float, 3>> centres_;
    std::vector<std::uint64_t> bucketEnds_;  // the place behind the last Gaussian of each
};

}  // namespace vistrel
