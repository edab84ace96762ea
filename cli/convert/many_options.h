// SPDX-License-Identifier: GPL-3.0-or-later
// What conversions of many files are asked for beside what one is.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vistrel {

// What happens where a scene is there already.
enum class ConflictChoice {
    Cancel,  // nothing at all is converted
    Overwrite,
    Rename,  // the new scene gets the first free number
    Skip,    // the photograph is not converted
};

// Every `count`-th file, beginning with the one of this number, from 1.
struct ListPart {
    std::size_t number = 1;
    std::size_t count = 1;
};

struct ManyOptions {
    std::filesystem::path inputDir;  // empty: `files` are converted
    bool isRecursive = false;        // with the folders below inputDir
    std::vector<std::filesystem::path> files;
    std::filesystem::path outputDir;  // is made where it is missing
    std::string ending = ".ply";      // of the scenes' names, which says the format
    ConflictChoice onConflict = ConflictChoice::Cancel;
    ListPart part = {};
    std::filesystem::path report;  // empty: none is written
    std::string then;              // for the shell, after the end; may be empty
};

}  // namespace vistrel
