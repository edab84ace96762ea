// SPDX-License-Identifier: GPL-3.0-or-later
// What there is to say about a command, from which its manual page and its completions are made.
#pragma once

#include <string>
#include <vector>

namespace vistrel {

struct OptionText {
    std::vector<std::string> names;    // "--size"; of a file that stands alone "FILE"
    std::string value;                 // what its value is called; empty: it takes none
    std::string help;                  // further lines are "  NAME: text", one for each value
    std::vector<std::string> choices;  // all values there are; empty: others
    bool isRequired = false;
    bool isRepeated = false;
};

struct TextSection {
    struct Item {
        std::string name;  // empty: the text is a paragraph
        std::string text;
    };
    std::string title;
    std::vector<Item> items;
};

struct CommandText {
    std::string name;
    std::string summary;      // a sentence
    std::string description;  // more than that; empty: there is nothing more
    std::vector<OptionText> options;
    std::vector<OptionText> files;  // what stands on the command line without an option; their text
                                    // may be in the description
    std::vector<CommandText> subcommands;
    std::vector<TextSection> sections;  // in the manual page, behind the options
    std::vector<std::string> examples;  // command lines
};

// Whether its value is the name of a file, or of a folder.
[[nodiscard]] bool TakesFile(const OptionText& option);
[[nodiscard]] bool TakesFolder(const OptionText& option);

// The endings, such as ".ply", of which its text speaks.
[[nodiscard]] std::vector<std::string> EndingsIn(const std::string& help);

// The beginning of a help text, where there is room for one line.
[[nodiscard]] std::string ShortHelp(const std::string& help);

}  // namespace vistrel
