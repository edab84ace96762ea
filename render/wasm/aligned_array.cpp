// SPDX-License-Identifier: GPL-3.0-or-later
// Memory where there are neither pages to choose nor a system to ask.
#include "base/aligned_array.h"

#include <cstdint>

#include "base/failures.h"

namespace vistrel {

void* AllocateAligned(std::size_t bytes) {
    constexpr std::size_t kLine = 64;
    if (bytes > SIZE_MAX - kLine) FailForMemory();
    void* const memory = std::aligned_alloc(kLine, (bytes / kLine + 1) * kLine);
    if (memory == nullptr) FailForMemory();
    return memory;
}

}  // namespace vistrel
