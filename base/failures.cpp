// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/failures.h"

#include <new>
#include <stdexcept>

namespace vistrel {

void FailForMemory() {
    throw std::bad_alloc();
}

void FailForLength(const char* what) {
    throw std::length_error(what);
}

void FailForArgument(const char* what) {
    throw std::invalid_argument(what);
}

}  // namespace vistrel
