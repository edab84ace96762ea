// SPDX-License-Identifier: GPL-3.0-or-later
// The instruction sets that vector code can be made to run on, one after the other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vistrel::test {

// All that both the program was compiled for and this processor has, best first.
[[nodiscard]] std::vector<std::int64_t> SimdTargets();

// Letters, digits and underscores.
[[nodiscard]] std::string SimdTargetName(std::int64_t target);

// While it lives, code that is chosen at run time runs on `target`. Not for several threads.
class ForcedSimdTarget {
  public:
    explicit ForcedSimdTarget(std::int64_t target);
    ~ForcedSimdTarget();
    ForcedSimdTarget(const ForcedSimdTarget&) = delete;
    ForcedSimdTarget& operator=(const ForcedSimdTarget&) = delete;
};

}  // namespace vistrel::test
