// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/compressed_ply.h"

namespace vistrel {

bool ReadCompressedPly(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

void WriteCompressedPly(const RawScene& /*scene*/, const SceneWriteOptions& /*options*/,
                        ByteSink& /*sink*/) {}

}  // namespace vistrel
