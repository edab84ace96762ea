// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/command_text.h"

#include <algorithm>
#include <regex>

namespace vistrel {

bool TakesFile(const OptionText& option) {
    return option.value == "FILE" || option.value.starts_with("PATH");
}

bool TakesFolder(const OptionText& option) {
    return option.value == "DIR";
}

std::vector<std::string> EndingsIn(const std::string& help) {
    static const std::regex ending(R"((?:^|[\s(])(\.[a-z0-9]+(?:\.[a-z]+)?)(?=[\s,;:)]|$))");
    std::vector<std::string> endings;
    for (std::sregex_iterator found(help.begin(), help.end(), ending), end; found != end; ++found) {
        if (std::ranges::find(endings, (*found)[1].str()) == endings.end()) {
            endings.push_back((*found)[1].str());
        }
    }
    return endings;
}

std::string ShortHelp(const std::string& help) {
    constexpr std::size_t kRoom = 64;
    std::string beginning = help.substr(0, help.find_first_of("\n;["));
    const bool isCut = beginning.size() > kRoom;
    if (isCut) beginning.resize(beginning.rfind(' ', kRoom));
    beginning.resize(beginning.find_last_not_of(" ,:(") + 1);
    return beginning + (isCut ? " ..." : "");
}

}  // namespace vistrel
