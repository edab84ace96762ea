// SPDX-License-Identifier: GPL-3.0-or-later
// What tests of the settings begin with, to see what a file leaves alone.
#pragma once

#include "ui/settings.h"

namespace vistrel::test {

// A record with none of the defaults.
[[nodiscard]] inline AppSettings UnusualSettings() {
    AppSettings settings;
    settings.modelPath = L"/m/モデル.onnx";
    settings.outputDir = L"/o";
    settings.outputFilename = L"o.ply";
    settings.stereoMode = 3;
    settings.isSwapped = true;
    settings.focus = -12.5;
    settings.depth = 77.25;
    settings.isSharpMode = false;
    settings.executionProvider = 1;
    return settings;
}

}  // namespace vistrel::test
