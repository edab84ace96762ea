// SPDX-License-Identifier: GPL-3.0-or-later
// An X server that shows its screen to nobody, for machines without a display.
#pragma once

#include <sys/types.h>

#include "cli/picture_size.h"
#include "cli/snapshot/work_folder.h"

namespace vistrel {

class VirtualDisplay {
  public:
    // Starts Xvfb with one screen and makes it the display of this process and its children. Nobody
    // else can reach it. Before the first other thread. Throws std::runtime_error.
    explicit VirtualDisplay(PictureSize screen);
    // Ends it; the end of the process does so too.
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  private:
    WorkFolder folder_;
    pid_t server_ = 0;
};

}  // namespace vistrel
