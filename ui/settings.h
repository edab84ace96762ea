// SPDX-License-Identifier: GPL-3.0-or-later
// The user's choices that outlive a run, and the file that keeps them.
//
// The file is $XDG_CONFIG_HOME/Vistrel/settings.json (default ~/.config), one JSON object: texts
// are strings, the others are whole numbers from 0 to 2^32 - 1. Unknown members survive a save.
// Thread of the event loop; nothing throws, failures are silent.
#pragma once

#include <cstdint>
#include <string>

namespace vistrel {

struct AppSettings {
    // Sets the defaults; asks for the documents folder and for FirstModel().
    AppSettings();

    // Leaves the record as it is when the file cannot be read or is broken. Values that are missing
    // or of the wrong type fall back, each in its own way.
    void Load();
    // Writes every value. An old file stays whole when that fails, and as it is when it cannot be
    // read; a broken one is replaced.
    void Save() const;

    std::wstring modelPath;              // full path of the ONNX file; empty: none chosen
    std::wstring outputDir;              // folder proposed for the next output file
    std::wstring outputFilename;         // name proposed for it
    std::int32_t stereoMode = 0;         // number of a StereoMode, not checked on load
    bool isSwapped = false;              // left and right views exchanged
    double focus = 0.0;                  // -100 to 100, not checked on load; kept as text
    double depth = 30.0;                 // 0 to 200, not checked on load; kept as text
    bool isSharpMode = true;             // false: General
    std::int32_t executionProvider = 0;  // index in the provider box: 0 CPU, 1 CUDA
};

}  // namespace vistrel
