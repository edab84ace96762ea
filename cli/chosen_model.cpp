// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/chosen_model.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/new_file.h"
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

// As the window writes it: a byte that is no UTF-8 is half of a surrogate pair.
std::string InQuotes(const std::filesystem::path& name) {
    std::string quoted = "\"";
    for (const wchar_t character : FromPath(name)) {
        const auto code = static_cast<unsigned>(character);
        if (code == '"' || code == '\\') {
            quoted.append("\\").push_back(static_cast<char>(code));
        } else if (code < 0x20 || (code >= 0xDC80 && code <= 0xDCFF)) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", code);
            quoted += escape.data();
        } else {
            quoted += ToUtf8(std::wstring(1, character));
        }
    }
    return quoted + '"';
}

// A place in a text that is known to be JSON.
class JsonPlace {
  public:
    explicit JsonPlace(std::string_view text) : text_(text), place_(text.find('{') + 1) {}

    [[nodiscard]] std::size_t Index() const { return place_; }
    [[nodiscard]] char Next() {
        place_ = text_.find_first_not_of(" \t\r\n", place_);
        return text_[place_];
    }
    void Skip() { ++place_; }

    // Takes a value, or a member's name.
    std::string_view TakeValue() {
        const char first = Next();
        const std::size_t begin = place_;
        if (first == '"') {
            TakeText();
        } else if (first == '{' || first == '[') {
            TakeNest();
        } else {
            place_ = text_.find_first_of(",]} \t\r\n", place_);
        }
        return text_.substr(begin, place_ - begin);
    }

  private:
    void TakeText() {
        while (text_[++place_] != '"') {
            if (text_[place_] == '\\') ++place_;
        }
        ++place_;
    }

    void TakeNest() {
        int depth = 0;
        do {
            const char character = text_[place_];
            if (character == '"') {
                TakeText();
                continue;
            }
            if (character == '{' || character == '[') ++depth;
            if (character == '}' || character == ']') --depth;
            ++place_;
        } while (depth > 0);
    }

    std::string_view text_;
    std::size_t place_;
};

// The object `json` with the member "modelPath" of that value. Of several of one name, the last
// counts, or the first, so all of them get it.
std::string WithModel(std::string_view json, const std::string& value) {
    std::string changed;
    std::size_t taken = 0;
    JsonPlace place(json);
    const std::size_t begin = place.Index();
    const bool isEmpty = place.Next() == '}';
    while (place.Next() != '}') {
        const std::string name(place.TakeValue());
        static_cast<void>(place.Next());
        place.Skip();
        static_cast<void>(place.Next());
        const std::size_t start = place.Index();
        static_cast<void>(place.TakeValue());
        if (nlohmann::json::parse(WithoutHalfPairs(name)) == "modelPath") {
            changed.append(json.substr(taken, start - taken)).append(value);
            taken = place.Index();
        }
        if (place.Next() == ',') place.Skip();
    }
    if (taken == 0) {
        changed = std::string(json.substr(0, begin)) + "\n    \"modelPath\": " + value;
        changed += isEmpty ? "\n" : ",";
        taken = isEmpty ? place.Index() : begin;
    }
    return changed.append(json.substr(taken));
}

}  // namespace

void ChooseModel(const std::filesystem::path& model) {
    const std::filesystem::path file = ToPath(SettingsFile());
    std::filesystem::create_directories(file.parent_path());
    const auto text = ReadWholeFile(file);
    if (!text && Exists(file).value_or(true)) {
        throw std::runtime_error(file.native() + ": the settings cannot be read");
    }
    const std::string old = text.value_or("{}\n");
    if (!nlohmann::json::parse(WithoutHalfPairs(old), nullptr, false).is_object()) {
        throw std::runtime_error(file.native() + ": the settings are broken");
    }
    NewFile settings(file, {.durability = Durability::kOnDisk});
    settings.Append(WithModel(old, InQuotes(model)));
    settings.Commit();
}

std::filesystem::path ChosenModel() {
    const auto text = ReadWholeFile(ToPath(SettingsFile()));
    const auto settings =
        nlohmann::json::parse(WithoutHalfPairs(text.value_or("")), nullptr, false);
    if (!settings.is_object()) return ToPath(FirstModel());
    const auto model = settings.find("modelPath");
    if (model == settings.end() || !model->is_string()) return {};
    return NameIn(model->get_ref<const std::string&>());
}

}  // namespace vistrel
