// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/simd_targets.h"

#include <hwy/highway.h>

namespace vistrel::test {

std::vector<std::int64_t> SimdTargets() {
    return hwy::SupportedAndGeneratedTargets();
}

std::string SimdTargetName(std::int64_t target) {
    return hwy::TargetName(target);
}

ForcedSimdTarget::ForcedSimdTarget(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
}

ForcedSimdTarget::~ForcedSimdTarget() {
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().DeInit();
}

}  // namespace vistrel::test
