// SPDX-License-Identifier: GPL-3.0-or-later
// Alpha as the rest of the program has it.
#pragma once

#include "photos/decoded_photo.h"

namespace vistrel {

// Colours that were multiplied by their alpha are divided by it; where it is 0, they become black.
void MakeAlphaStraight(DecodedPhoto& photo);

}  // namespace vistrel
