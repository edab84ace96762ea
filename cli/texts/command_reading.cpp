// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/command_reading.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace vistrel {
namespace {

std::vector<std::string> SplitAt(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

// The library writes the type as "NAME:CHECK": a check is "{a,b}" for one of several values, or
// again the name of a type.
void ReadType(const std::string& type, OptionText& text) {
    const std::size_t colon = type.find(':');
    text.value = type.substr(0, colon);
    const std::string check = colon == std::string::npos ? "" : type.substr(colon + 1);
    if (check.starts_with('{')) {
        text.choices = SplitAt(check.substr(1, check.find('}') - 1), ',');
    } else if (check == "FILE" || check == "DIR" || check.starts_with("PATH")) {
        text.value = check.substr(0, check.find('('));
    }
}

OptionText TextOf(const CLI::Option& option) {
    OptionText text;
    for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
    const bool takesValue = option.get_expected_max() != 0;
    if (takesValue) ReadType(option.get_type_name(), text);
    if (option.get_positional()) {
        text.names = {option.get_name()};
        text.value = "FILE";
    }
    text.help = option.get_description();
    if (takesValue && !option.get_default_str().empty()) {
        text.help.insert(
            text.help.find('\n') == std::string::npos ? text.help.size() : text.help.find('\n'),
            " [" + option.get_default_str() + "]");
    }
    text.isRequired = option.get_required();
    text.isRepeated = option.get_items_expected_max() > 1;
    return text;
}

}  // namespace

CommandText TextOf(const CLI::App& app) {
    CommandText text;
    text.name = app.get_name();
    text.summary = app.get_description();
    for (const CLI::Option* const option : app.get_options()) {
        (option->get_positional() ? text.files : text.options).push_back(TextOf(*option));
    }
    for (const CLI::App* const subcommand :
         app.get_subcommands([](const CLI::App*) { return true; })) {
        text.subcommands.push_back(TextOf(*subcommand));
    }
    text.examples = SplitAt(app.get_footer(), '\n');
    return text;
}

}  // namespace vistrel
