// SPDX-License-Identifier: GPL-3.0-or-later
// .ksplat files for tests, put together by hand.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vistrel::test {

// The numbers as they lie in the file, which are not checked.
struct KsplatGaussian {
    std::array<float, 3> position = {};       // level 0
    std::array<std::uint16_t, 3> steps = {};  // levels 1 and 2
    std::array<float, 3> scale = {1, 1, 1};   // powers of two, or other numbers with few bits
    std::array<float, 4> rotation = {1, 0, 0, 0};
    std::array<std::uint8_t, 4> color = {255, 255, 255, 128};
    std::vector<float> harmonics = {};             // levels 0 and 1
    std::vector<std::uint8_t> harmonicBytes = {};  // level 2
};

struct KsplatSectionParts {
    std::uint16_t degree = 0;
    std::vector<KsplatGaussian> gaussians = {};
    std::uint32_t bucketSize = 0;
    float bucketSide = 0.0F;
    std::uint32_t steps = 0;
    std::uint32_t fullBuckets = 0;
    std::vector<std::uint32_t> partialBuckets = {};  // their lengths
    std::vector<std::array<float, 3>> centres = {};
};

struct KsplatParts {
    std::uint16_t level = 0;
    std::vector<KsplatSectionParts> sections = {};
    float leastHarmonic = 0.0F;
    float mostHarmonic = 0.0F;
};

[[nodiscard]] std::string KsplatBytes(const KsplatParts& parts);

}  // namespace vistrel::test
