// SPDX-License-Identifier: GPL-3.0-or-later
// The viewer page's picture of a scene.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/picture_size.h"
#include "viewer/web_view_bridge.h"

namespace vistrel {

struct SnapshotRequest {
    std::wstring pageFolder;
    std::wstring scene;   // absolute; one that the page can be told (viewer/page_path.h)
    int mode = 0;         // number of a StereoMode
    bool sharp = true;    // false: General
    bool swap = false;    // left and right views exchanged
    double focus = 0.0;   // -100 to 100
    double depth = 30.0;  // 0 to 200
    PictureSize size;     // device pixels; the screen's scale is 1
    std::chrono::milliseconds timeout{};
};

// Shows the scene in a window of the picture's size and returns the picture as a PNG file's bytes,
// as soon as it has become what it stays. Runs the event loop meanwhile. Throws std::runtime_error
// with the reason when there is no picture, also when the application exits. Thread of the event
// loop; `factory` must not be empty.
[[nodiscard]] std::vector<std::byte> TakeSnapshot(const SnapshotRequest& request,
                                                  EnvironmentFactory factory);

}  // namespace vistrel
