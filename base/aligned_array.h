// SPDX-License-Identifier: GPL-3.0-or-later
// Large arrays for vector instructions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/failures.h"

namespace vistrel {

// Memory at an address that is a multiple of 64 bytes. Where it is large, the system is asked for
// large pages, which come into being many times faster. Throws std::bad_alloc. Any thread.
[[nodiscard]] void* AllocateAligned(std::size_t bytes);

// `size` values that begin as whatever the memory holds. One object is for one thread at a time.
template <typename T>
class AlignedArray {
  public:
    AlignedArray() = default;
    explicit AlignedArray(std::size_t size)
        : values_(static_cast<T*>(AllocateAligned(size * sizeof(T)))), size_(size) {}

    // Makes room for at least `size` values; none is kept where that needs new memory.
    void Reserve(std::size_t size) {
        if (size <= size_) return;
        values_.reset();
        size_ = 0;
        *this = AlignedArray(size);
    }

    [[nodiscard]] T* data() const { return values_.get(); }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] T& operator[](std::size_t i) const { return values_.get()[i]; }

  private:
    struct Free {
        void operator()(T* values) const { std::free(values); }
    };
    std::unique_ptr<T, Free> values_;
    std::size_t size_ = 0;
};

// The same memory for the standard library's containers. What they make room for begins as whatever
// the memory holds unless they are told a value: `resize(n)` touches nothing.
template <typename T>
struct AlignedAllocator {
    using value_type = T;

    AlignedAllocator() = default;
    template <typename U>
    explicit AlignedAllocator(const AlignedAllocator<U>& /*other*/) {}

    [[nodiscard]] T* allocate(std::size_t count) {
        if (count > SIZE_MAX / sizeof(T)) FailForMemory();
        return static_cast<T*>(AllocateAligned(count * sizeof(T)));
    }
    void deallocate(T* values, std::size_t /*count*/) { std::free(values); }

    template <typename U>
    void construct(U* value) {
        ::new (static_cast<void*>(value)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* value, Arguments&&... arguments) {
        ::new (static_cast<void*>(value)) U(std::forward<Arguments>(arguments)...);
    }

    template <typename U>
    bool operator==(const AlignedAllocator<U>& /*other*/) const {
        return true;
    }
};

template <typename T>
using AlignedVector = std::vector<T, AlignedAllocator<T>>;

}  // namespace vistrel
