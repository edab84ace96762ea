// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/gltf.h"

namespace vistrel {

bool ReadGltf(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WriteGlb(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/, ByteSink& /*sink*/) {
}

}  // namespace vistrel
