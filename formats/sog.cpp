// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sog.h"

namespace vistrel {

bool ReadSog(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WriteSog(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/, ByteSink& /*sink*/) {
}

}  // namespace vistrel
