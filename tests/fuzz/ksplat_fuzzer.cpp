// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a scene in .ksplat. The format's headers are almost all padding, which inputs leave
// out: 44 bytes of the file's header and 42 of each section's, then the sections.
#include "formats/ksplat.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "formats/ksplat_section.h"
#include "tests/fuzz/scene_reading.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/support/ksplat_bytes.h"

namespace vistrel {
namespace {

constexpr std::size_t kUsedHeader = 44;
constexpr std::size_t kUsedSectionHeader = 42;
constexpr std::uint32_t kMostSections = 6;  // of which headers are laid out

std::uint32_t SectionsIn(std::string_view bytes) {
    std::uint32_t sections = 0;
    if (bytes.size() >= kUsedHeader) std::memcpy(&sections, bytes.data() + 4, sizeof(sections));
    return std::min(sections, kMostSections);
}

// Takes up to `used` bytes and pads them.
void Expand(std::string_view& bytes, std::size_t used, std::size_t padded, std::string& file) {
    const std::string_view part = bytes.substr(0, used);
    bytes.remove_prefix(part.size());
    file += part;
    if (part.size() == used) file.append(padded - used, '\0');
}

std::string FileOfInput(std::string_view bytes) {
    std::string file;
    const std::uint32_t sections = SectionsIn(bytes);
    Expand(bytes, kUsedHeader, kKsplatHeaderBytes, file);
    for (std::uint32_t i = 0; i < sections; ++i) {
        Expand(bytes, kUsedSectionHeader, kKsplatSectionHeaderBytes, file);
    }
    return file.append(bytes);
}

std::string InputOfFile(std::string_view file) {
    std::string input(file.substr(0, kUsedHeader));
    const std::uint32_t sections = SectionsIn(file);
    file.remove_prefix(kKsplatHeaderBytes);
    for (std::uint32_t i = 0; i < sections; ++i) {
        input += file.substr(0, kUsedSectionHeader);
        file.remove_prefix(kKsplatSectionHeaderBytes);
    }
    return input.append(file);
}

std::string Seed(std::uint16_t level, std::uint16_t degree) {
    test::KsplatSectionParts section = {.degree = degree};
    const std::size_t harmonics = RawValues(degree) - kRawValues;
    for (std::size_t i = 0; i < 3; ++i) {
        section.gaussians.push_back({.position = {1, 2, 3},
                                     .steps = {100, 200, 300},
                                     .harmonics = std::vector<float>(harmonics, 0.5F),
                                     .harmonicBytes = std::vector<std::uint8_t>(harmonics, 9)});
    }
    if (level > 0) {
        section.bucketSize = 1;
        section.bucketSide = 5.0F;
        section.fullBuckets = 1;
        section.partialBuckets = {1, 1};
        section.centres = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    }
    test::KsplatSectionParts plain = section;
    plain.degree = 0;
    for (test::KsplatGaussian& gaussian : plain.gaussians) {
        gaussian.harmonics.clear();
        gaussian.harmonicBytes.clear();
    }
    return InputOfFile(test::KsplatBytes({.level = level, .sections = {section, plain}}));
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = {Seed(0, 0), Seed(0, 1), Seed(1, 0),
                                                   Seed(1, 2), Seed(2, 1), Seed(2, 2)};
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    // The smallest Gaussians have 24 bytes.
    vistrel::fuzz::RunSceneTarget(
        {vistrel::ReadKsplat, ".ksplat", 1.0 / 24},
        vistrel::FileOfInput({reinterpret_cast<const char*>(bytes), size}));
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}
