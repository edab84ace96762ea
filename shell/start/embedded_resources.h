// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes that the build put into the program.
#pragma once

namespace vistrel {

// Makes the carried files readable as Qt resources :/NUMBER. Any thread; once is enough.
void RegisterEmbeddedResources();

}  // namespace vistrel
