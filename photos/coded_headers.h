// SPDX-License-Identifier: GPL-3.0-or-later
// The heads of pictures coded in HEVC and AV1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vistrel {

struct CodedSize {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

// Of each sequence parameter set (ITU-T H.265, 7.3.2.2) among units with a length of `lengthBytes`
// in front. What is damaged has any size.
[[nodiscard]] std::vector<CodedSize> HevcSizes(std::span<const std::byte> units,
                                               std::size_t lengthBytes);

// The same in the content of a box hvcC, and the `lengthBytes` that it tells.
[[nodiscard]] std::vector<CodedSize> HevcSizesOfConfiguration(std::span<const std::byte> hvcC);
[[nodiscard]] std::size_t HevcLengthBytes(std::span<const std::byte> hvcC);

// Of each sequence header (AV1 Bitstream & Decoding Process Specification, 5.5).
[[nodiscard]] std::vector<CodedSize> Av1Sizes(std::span<const std::byte> units);

}  // namespace vistrel
