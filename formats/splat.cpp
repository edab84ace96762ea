// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/splat.h"

namespace vistrel {

bool ReadSplat(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WriteSplat(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/,
                ByteSink& /*sink*/) {}

}  // namespace vistrel
