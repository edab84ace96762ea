// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/settings.h"

#include <locale.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <locale>
#include <optional>
#include <span>
#include <sstream>
#include <string_view>
#include <system_error>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "base/whole_file.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

// The library drops a byte order mark at the start of a text in the file, unless it is escaped. One
// at the start of the file is no part of a text.
QByteArray EscapeByteOrderMarks(const std::string& json) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    QByteArray escaped;
    std::size_t taken = 0;
    for (auto mark = json.find(kMark, 1); mark != json.npos; mark = json.find(kMark, taken)) {
        escaped.append(json.data() + taken, static_cast<qsizetype>(mark - taken));
        escaped.append("\\ufeff");
        taken = mark + kMark.size();
    }
    return escaped.append(json.data() + taken, static_cast<qsizetype>(json.size() - taken));
}

// Nothing where the text is broken or holds something else.
std::optional<QJsonObject> ParseObject(const std::string& text) {
    const auto document = QJsonDocument::fromJson(EscapeByteOrderMarks(text));
    if (!document.isObject()) return std::nullopt;
    return document.object();
}

std::wstring TextMember(const QJsonObject& object, const char* name, const std::wstring& fallback) {
    const QJsonValue value = object[QLatin1String(name)];
    if (!value.isString()) return fallback;
    const std::wstring text = ToWide(value.toString());
    return text.substr(0, text.find(L'\0'));
}

// A whole number that 32 bits hold; nothing for anything else.
std::optional<std::uint32_t> NumberMember(const QJsonObject& object, const char* name) {
    const QJsonValue value = object[QLatin1String(name)];
    if (!value.isDouble()) return std::nullopt;
    const double number = value.toDouble();
    const bool fits = number >= 0 && number <= std::numeric_limits<std::uint32_t>::max();
    if (!fits || number != std::trunc(number)) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

std::int32_t SignedMember(const QJsonObject& object, const char* name) {
    return static_cast<std::int32_t>(NumberMember(object, name).value_or(0));
}

bool FlagMember(const QJsonObject& object, const char* name, bool fallback) {
    const auto number = NumberMember(object, name);
    return number ? *number != 0 : fallback;
}

// The number that the text begins with: after blanks, with a sign, an exponent or in hexadecimal as
// C has them, and with a point whatever the user's language. Infinities, what is no number, and
// what a double cannot hold (too large, or too small for its full precision) give the fallback.
double ParseDouble(const std::wstring& text, double fallback) {
    static const locale_t kClassic = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string bytes = ToUtf8(text);
    char* end = nullptr;
    errno = 0;
    const double number = strtod_l(bytes.c_str(), &end, kClassic);
    const bool parsed = end != bytes.c_str() && errno != ERANGE && std::isfinite(number);
    return parsed ? number : fallback;
}

QString FormatDouble(double number) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << number;
    return QString::fromStdString(stream.str());
}

QJsonValue ToJson(std::int32_t number) {
    return static_cast<qint64>(static_cast<std::uint32_t>(number));
}

}  // namespace

AppSettings::AppSettings()
    : modelPath(FirstModel()),
      outputDir(DocumentsFolder() + L"/Vistrel"),
      outputFilename(L"output.ply") {}

void AppSettings::Load() {
    const auto text = ReadWholeFile(ToPath(SettingsFile()));
    const auto object = text ? ParseObject(*text) : std::nullopt;
    if (!object) return;
    modelPath = TextMember(*object, "modelPath", L"");
    outputDir = TextMember(*object, "outputDir", outputDir);
    outputFilename = TextMember(*object, "outputFilename", outputFilename);
    stereoMode = SignedMember(*object, "stereoMode");
    isSwapped = FlagMember(*object, "isSwapped", false);
    focus = ParseDouble(TextMember(*object, "focus", L""), 0.0);
    depth = ParseDouble(TextMember(*object, "depth", L""), 30.0);
    isSharpMode = FlagMember(*object, "isSharpMode", true);
    executionProvider = SignedMember(*object, "executionProvider");
}

void AppSettings::Save() const {
    const std::filesystem::path path = ToPath(SettingsFile());
    std::error_code failure;
    std::filesystem::create_directories(path.parent_path(), failure);
    const auto old = ReadWholeFile(path);
    // A file that is there and cannot be read may hold members of others. A broken one is lost.
    if (!old && Exists(path).value_or(true)) return;
    QJsonObject object = ParseObject(old.value_or("")).value_or(QJsonObject());
    object.insert("modelPath", FromWide(modelPath));
    object.insert("outputDir", FromWide(outputDir));
    object.insert("outputFilename", FromWide(outputFilename));
    object.insert("stereoMode", ToJson(stereoMode));
    object.insert("isSwapped", isSwapped ? 1 : 0);
    object.insert("focus", FormatDouble(focus));
    object.insert("depth", FormatDouble(depth));
    object.insert("isSharpMode", isSharpMode ? 1 : 0);
    object.insert("executionProvider", ToJson(executionProvider));
    const std::string bytes = QJsonDocument(object).toJson().toStdString();
    static_cast<void>(WriteNewFile(path, std::as_bytes(std::span(bytes)), Durability::kOnDisk));
}

}  // namespace vistrel
