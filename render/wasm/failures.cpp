// SPDX-License-Identifier: GPL-3.0-or-later
// The module ends; the worker around it tells why.
#include "base/failures.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace vistrel {

void FailForMemory() {
    __builtin_trap();
}

void FailForLength(const char* /*what*/) {
    __builtin_trap();
}

void FailForArgument(const char* /*what*/) {
    __builtin_trap();
}

}  // namespace vistrel

// The standard library's own would print why, which takes three quarters of the module, and is told
// nobody.
void* operator new(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (memory == nullptr) vistrel::FailForMemory();
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}

void std::__libcpp_verbose_abort(const char* /*format*/, ...) {
    __builtin_trap();
}
