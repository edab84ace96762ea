// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply.h"

namespace vistrel {

bool ReadPly(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WritePly(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/, ByteSink& /*sink*/) {
}

}  // namespace vistrel
