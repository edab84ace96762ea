// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/chosen_model.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "base/whole_file.h"

namespace vistrel {
namespace {

// The code unit that an escape \uXXXX at the start of `json` stands for.
std::optional<unsigned> EscapedUnit(std::string_view json) {
    constexpr std::size_t kLength = 6;
    if (json.size() < kLength || !json.starts_with("\\u")) return std::nullopt;
    unsigned unit = 0;
    for (const char digit : json.substr(2, kLength - 2)) {
        constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
        const std::size_t value = kDigits.find(digit);
        if (value == kDigits.npos) return std::nullopt;
        unit = unit * 16 + static_cast<unsigned>(value % 16);
    }
    return unit;
}

bool IsFirstOfPair(std::optional<unsigned> unit) {
    return unit && *unit >= 0xD800 && *unit <= 0xDBFF;
}

bool IsSecondOfPair(std::optional<unsigned> unit) {
    return unit && *unit >= 0xDC00 && *unit <= 0xDFFF;
}

// A byte of a file name that is no UTF-8 is half of a surrogate pair in the file, which the library
// takes for an error. Here it becomes a zero with the byte behind it; a zero itself ends a name,
// and gets another one behind it. Halves that stand for no byte become U+FFFD.
std::string WithoutHalfPairs(std::string_view json) {
    constexpr std::size_t kEscape = 6;
    std::string whole;
    while (!json.empty()) {
        const std::optional<unsigned> unit = EscapedUnit(json);
        std::size_t taken = 1;
        if (IsFirstOfPair(unit) && IsSecondOfPair(EscapedUnit(json.substr(kEscape)))) {
            taken = 2 * kEscape;
            whole += json.substr(0, taken);
        } else if (unit == 0U) {
            taken = kEscape;
            whole += "\\u0000\\u0000";
        } else if (unit >= 0xDC80U && unit <= 0xDCFFU) {
            taken = kEscape;
            whole.append("\\u0000\\u00").append(json.substr(4, 2));
        } else if (IsFirstOfPair(unit) || IsSecondOfPair(unit)) {
            taken = kEscape;
            whole += "\\ufffd";
        } else {
            taken = json.size() > 1 && json.front() == '\\' ? 2 : 1;
            whole += json.substr(0, taken);
        }
        json.remove_prefix(taken);
    }
    return whole;
}

// The file name in a text that WithoutHalfPairs has touched.
std::filesystem::path NameIn(const std::string& text) {
    constexpr unsigned kBytes = 0xDC00;  // as text_encoding.h has bytes that are no UTF-8
    const std::wstring wide = FromUtf8(text);
    std::wstring name;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        if (wide[i] != L'\0') {
            name += wide[i];
            continue;
        }
        if (wide[i + 1] == L'\0') break;
        name += static_cast<wchar_t>(kBytes + static_cast<unsigned>(wide[++i]));
    }
    return ToPath(name);
}

}  // namespace

std::filesystem::path ChosenModel() {
    const auto text = ReadWholeFile(ToPath(SettingsFile()));
    if (!text) return ToPath(FirstModel());
    const auto settings = nlohmann::json::parse(WithoutHalfPairs(*text), nullptr, false);
    if (!settings.is_object()) return {};
    const auto model = settings.find("modelPath");
    if (model == settings.end() || !model->is_string()) return {};
    return NameIn(model->get_ref<const std::string&>());
}

}  // namespace vistrel
