// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/aligned_array.h"

#include <sys/mman.h>

#include <cstdint>

#include "base/failures.h"

namespace vistrel {

void* AllocateAligned(std::size_t bytes) {
    constexpr std::size_t kLine = 64;
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    const std::size_t alignment = bytes < 2 * kLargePage ? kLine : kLargePage;
    if (bytes > SIZE_MAX - kLargePage) FailForMemory();
    const std::size_t whole = (bytes + alignment - 1) / alignment * alignment;
    void* const memory = std::aligned_alloc(alignment, whole > 0 ? whole : alignment);
    if (memory == nullptr) FailForMemory();
    // Refused where the system has none; then the pages are small ones.
    if (alignment == kLargePage) static_cast<void>(madvise(memory, whole, MADV_HUGEPAGE));
    return memory;
}

}  // namespace vistrel
