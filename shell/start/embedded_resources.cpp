// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/embedded_resources.h"

#include <QResource>

// The assembler takes megabytes in no time, a compiler does not.
asm(".pushsection .rodata\n"
    ".balign 16\n"
    ".hidden vistrel_embedded\n"
    ".global vistrel_embedded\n"
    "vistrel_embedded:\n"
    ".incbin \"" VISTREL_EMBEDDED
    "\"\n"
    ".popsection\n");
extern "C" const unsigned char vistrel_embedded[];  // NOLINT: the assembler's name

namespace vistrel {

void RegisterEmbeddedResources() {
    [[maybe_unused]] static const bool kDone = QResource::registerResource(vistrel_embedded);
}

}  // namespace vistrel
