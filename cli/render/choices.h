// SPDX-License-Identifier: GPL-3.0-or-later
// Options whose value is one of the names of a table, the order of which is that of an enumeration.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {

// Rows of a table have a `name` and a `help`.
template <typename Table>
std::vector<std::string> NamesOf(const Table& table) {
    std::vector<std::string> names;
    names.reserve(table.size());
    for (const auto& row : table) names.emplace_back(row.name);
    return names;
}

template <typename Table>
std::string HelpOf(std::string_view intro, const Table& table) {
    std::string help(intro);
    for (const auto& row : table)
        help.append("\n  ").append(row.name).append(": ").append(row.help);
    return help;
}

// The enumerator of a name that is in the table.
template <typename Enumeration, typename Table>
Enumeration ChoiceOf(std::string_view name, const Table& table) {
    const auto found =
        std::ranges::find_if(table, [name](const auto& row) { return row.name == name; });
    return static_cast<Enumeration>(found - table.begin());
}

}  // namespace vistrel
