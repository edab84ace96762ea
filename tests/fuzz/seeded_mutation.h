// SPDX-License-Identifier: GPL-3.0-or-later
// Searches that begin at valid inputs without needing files of them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace vistrel::fuzz {

// For LLVMFuzzerCustomMutator: now and then the search goes on from one of `seeds`.
inline std::size_t MutateSeeded(const std::vector<std::string>& seeds, std::uint8_t* data,
                                std::size_t size, std::size_t most, unsigned int random) {
    constexpr std::size_t kTooShort = 4;
    if (size < kTooShort || random % 8 == 0) {
        const std::string& chosen = seeds[(random / 8) % seeds.size()];
        size = std::min(chosen.size(), most);
        std::copy_n(chosen.begin(), size, data);
    }
    return LLVMFuzzerMutate(data, size, most);
}

}  // namespace vistrel::fuzz
