// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/man_page.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace vistrel {
namespace {

// `word` stands for itself, where a hyphen in a sentence would become another character.
bool IsLiteral(const std::string& word) {
    const std::size_t start = word.find_first_not_of("([");
    if (start == std::string::npos) return false;
    return word[start] == '-' || word.find("vistrel-") != std::string::npos ||
           word.find('/') != std::string::npos;
}

std::string EscapedCharacters(const std::string& text, bool isLiteral) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += isLiteral ? "\\-" : "-";
                break;
            case '~':
                escaped += "\\(ti";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string Literal(const std::string& text) {
    return EscapedCharacters(text, true);
}

// Lines of a text, none of which begins with what would be a request.
std::string Prose(const std::string& text) {
    constexpr std::size_t kLineWidth = 78;
    std::istringstream words(text);
    std::string lines;
    std::size_t start = 0;  // of the last line
    for (std::string word; words >> word;) {
        std::string escaped = EscapedCharacters(word, IsLiteral(word));
        const bool isFull = lines.size() - start + escaped.size() >= kLineWidth;
        if (!lines.empty()) lines += isFull ? '\n' : ' ';
        if (!lines.empty() && isFull) start = lines.size();
        if (start == lines.size() && (escaped[0] == '.' || escaped[0] == '\'')) lines += "\\&";
        lines += escaped;
    }
    return lines;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Literal(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Literal(text) + "\\fR";
}

// What stands behind the names: its choices, where they are few, or what the value is called.
std::string ValueOf(const OptionText& option) {
    if (option.value.empty() || !option.names.front().starts_with('-')) return "";
    if (option.choices.empty() || option.help.find('\n') != std::string::npos) {
        return " " + Italic(option.value);
    }
    std::string choices;
    for (const std::string& choice : option.choices) {
        choices += (choices.empty() ? " " : "|") + Bold(choice);
    }
    return choices;
}

void WriteHelp(std::ostream& page, const std::string& help) {
    std::istringstream lines(help);
    std::string line;
    std::getline(lines, line);
    page << Prose(line) << '\n';
    bool hasValues = false;
    while (std::getline(lines, line)) {
        if (!hasValues) page << ".RS\n";
        hasValues = true;
        const std::size_t colon = line.find(": ");
        page << ".TP\n"
             << Bold(line.substr(line.find_first_not_of(' '), colon - line.find_first_not_of(' ')))
             << '\n'
             << Prose(line.substr(colon + 2)) << '\n';
    }
    if (hasValues) page << ".RE\n";
}

void WriteOptions(std::ostream& page, const std::vector<OptionText>& options) {
    for (const OptionText& option : options) {
        if (option.help.empty()) continue;
        page << ".TP\n";
        std::string names;
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : ", ") + Bold(name);
        }
        page << names << ValueOf(option) << '\n';
        WriteHelp(page, option.help);
    }
}

std::string Synopsis(const CommandText& command) {
    std::string line = command.options.empty() ? "" : "[" + Italic("OPTION") + "]...";
    for (const OptionText& file : command.files) {
        const std::string name = Italic(file.names.front()) + (file.isRepeated ? "..." : "");
        line += (line.empty() ? "" : " ") + (file.isRequired ? name : "[" + name + "]");
    }
    return line.empty() ? line : line + '\n';
}

void WriteSynopsis(std::ostream& page, const CommandText& command) {
    page << ".SH SYNOPSIS\n";
    page << ".B " << Literal(command.name) << '\n';
    page << Synopsis(command);
    for (const CommandText& subcommand : command.subcommands) {
        page << ".br\n.B " << Literal(command.name + " " + subcommand.name) << '\n'
             << Synopsis(subcommand);
    }
}

void WriteSections(std::ostream& page, const std::vector<TextSection>& sections) {
    for (const TextSection& section : sections) {
        page << ".SH " << section.title << '\n';
        bool isFirst = true;
        for (const TextSection::Item& item : section.items) {
            if (!item.name.empty()) {
                page << ".TP\n" << Bold(item.name) << '\n';
            } else if (!isFirst) {
                page << ".PP\n";
            }
            page << Prose(item.text) << '\n';
            isFirst = false;
        }
    }
}

void WriteExamples(std::ostream& page, const std::vector<std::string>& examples) {
    if (examples.empty()) return;
    page << ".SH EXAMPLES\n.nf\n";
    for (const std::string& example : examples) page << Literal(example) << '\n';
    page << ".fi\n";
}

void WriteOthers(std::ostream& page, const std::string& own, const ManPageFacts& facts) {
    page << ".SH SEE ALSO\n";
    std::string line;
    for (const std::string& name : facts.commands) {
        if (name == own) continue;
        if (!line.empty()) page << line << ",\n";
        line = ".BR " + Literal(name) + " (1)";
    }
    page << line << '\n';
}

}  // namespace

std::string ManPage(const CommandText& command, const ManPageFacts& facts) {
    std::ostringstream page;
    std::string title = command.name;
    std::ranges::transform(title, title.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    std::string summary = command.summary.substr(0, command.summary.find_last_not_of('.') + 1);
    summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
    page << ".TH " << Literal(title) << " 1 " << facts.date << " \"Vistrel " << facts.version
         << "\" \"User Commands\"\n.SH NAME\n"
         << Literal(command.name) << " \\-\n"
         << Prose(summary) << '\n';
    WriteSynopsis(page, command);
    page << ".SH DESCRIPTION\n"
         << Prose(command.description.empty() ? command.summary : command.description) << '\n';
    WriteOptions(page, command.files);
    if (!command.options.empty()) page << ".SH OPTIONS\n";
    WriteOptions(page, command.options);
    if (!command.subcommands.empty()) page << ".SH COMMANDS\n";
    for (const CommandText& subcommand : command.subcommands) {
        page << ".SS " << Literal(subcommand.name) << '\n' << Prose(subcommand.summary) << '\n';
        WriteOptions(page, subcommand.options);
    }
    WriteSections(page, command.sections);
    WriteExamples(page, command.examples);
    WriteOthers(page, command.name, facts);
    return page.str();
}

}  // namespace vistrel
