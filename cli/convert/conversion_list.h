// SPDX-License-Identifier: GPL-3.0-or-later
// The files of a conversion of many, before the first is converted.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/convert/many_options.h"
#include "cli/convert/photograph_folder.h"

namespace vistrel {

struct ListedFile {
    std::filesystem::path input;
    std::filesystem::path output = {};
    std::string name = {};  // for the user
    bool isScene = false;
};

struct ConversionList {
    std::vector<ListedFile> files;
    std::vector<UnreadPlace> unread;
};

// A command line that would lose something.
class WrongList : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// All that is asked for, in an order and under names that are the same each time as long as the
// folders of the photographs are. With ConflictChoice::Rename outputs may be equal. Throws
// WrongList where two files of the command line would become one. Any thread, like all below.
[[nodiscard]] ConversionList ListConversions(const ManyOptions& options);

// Leaves the files of this part.
void TakePart(const ListPart& part, std::vector<ListedFile>& files);

// Whether the output is there already, as something that a scene may be. Throws
// std::filesystem::filesystem_error when the disk does not tell.
[[nodiscard]] bool IsThere(const std::filesystem::path& output);

// The first output that is, by a link, one of the inputs or the network (which may be empty);
// writing it would lose them. Empty: there is none. Throws std::filesystem::filesystem_error.
[[nodiscard]] std::filesystem::path OutputThatIsAnInput(const std::vector<ListedFile>& files,
                                                        const std::filesystem::path& model);

}  // namespace vistrel
