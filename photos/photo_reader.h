// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs of every kind, as the conversion takes them.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "engine/photograph.h"
#include "photos/focal_length.h"

namespace vistrel {

struct PhotoReaderOptions {
    FocalChoice focal = {};
    bool convertColours = true;  // by what the file says about them; false: taken for sRGB
    // Receives sentences, without the file's name, that are worth telling although all goes well;
    // on the threads that read. May be empty.
    std::function<void(const std::wstring& path, const std::string& note)> onNote = {};
    // Where it is not empty, the photograph's file, and no path is opened.
    std::vector<std::byte> bytes = {};
    std::filesystem::path modules = ToPath(ProgramFolder()) / "photos";
};

// A reader that knows a photograph's kind by its content, whatever its name says. It throws
// PhotoError with a sentence that does not name the file.
[[nodiscard]] PhotographReader MakePhotoReader(PhotoReaderOptions options);

}  // namespace vistrel
