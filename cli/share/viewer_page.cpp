// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/viewer_page.h"

#include <cstdint>

// The assembler takes megabytes in no time, a compiler does not.
asm(".pushsection .rodata\n"
    ".balign 16\n"
    ".hidden vistrel_share_page\n"
    ".global vistrel_share_page\n"
    "vistrel_share_page:\n"
    ".incbin \"" VISTREL_SHARE_PAGE
    "\"\n"
    "vistrel_share_page_end:\n"
    ".balign 16\n"
    ".hidden vistrel_share_page_bytes\n"
    ".global vistrel_share_page_bytes\n"
    "vistrel_share_page_bytes:\n"
    ".quad vistrel_share_page_end - vistrel_share_page\n"
    ".popsection\n");
extern "C" const char vistrel_share_page[];               // NOLINT: the assembler's names
extern "C" const std::uint64_t vistrel_share_page_bytes;  // NOLINT

namespace vistrel {

std::string_view ViewerPage() {
    return {vistrel_share_page, vistrel_share_page_bytes};
}

}  // namespace vistrel
