// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/spz.h"

namespace vistrel {

bool ReadSpz(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WriteSpz(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/, ByteSink& /*sink*/) {
}

}  // namespace vistrel
