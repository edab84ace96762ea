// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ksplat.h"

namespace vistrel {

bool ReadKsplat(const SceneInput& /*input*/, SceneSink& /*sink*/) {
    return false;
}

}  // namespace vistrel
