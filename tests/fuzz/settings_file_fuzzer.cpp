// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as the settings file. Loading takes from it what has its type and nothing else; saving
// leaves JSON that says the same again, in which the members of others are as they were. What the
// commands choose is found, and nothing else is changed.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>

#include "cli/chosen_model.h"
#include "tests/fuzz/json_generator.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/scratch_folder.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/support/plain_json.h"
#include "tests/ui/unusual_settings.h"
#include "ui/settings.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

using fuzz::Require;

constexpr std::array kOurs = {"modelPath",  "outputDir",   "outputFilename",
                              "stereoMode", "isSwapped",   "focus",
                              "depth",      "isSharpMode", "executionProvider"};

// Of the target's own, for as long as it runs.
const std::filesystem::path& SettingsFolder() {
    static const test::TemporaryFolder scratch = fuzz::MakeScratchFolder();
    static const std::filesystem::path folder = [] {
        setenv("HOME", scratch.Path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", scratch.Path().c_str(), 1);
        std::filesystem::create_directory(scratch / "Vistrel");
        return scratch / "Vistrel";
    }();
    return folder;
}

const AppSettings& Unusual() {
    static const AppSettings settings = test::UnusualSettings();
    return settings;
}

// Byte order marks at the start of texts survive the library only when they are escaped.
QJsonDocument Parse(std::string text) {
    for (auto mark = text.find("\xEF\xBB\xBF", 1); mark != text.npos;
         mark = text.find("\xEF\xBB\xBF", mark))
        text.replace(mark, 3, "\\ufeff");
    return QJsonDocument::fromJson(QByteArray::fromStdString(text));
}

QString UpToZero(const QString& text) {
    return text.left(text.indexOf(QChar(0)));
}

void RequireText(const std::wstring& loaded, const QJsonValue& value,
                 const std::wstring& fallback) {
    Require(FromWide(loaded) ==
            (value.isString() ? UpToZero(value.toString()) : FromWide(fallback)));
}

bool IsWholeNumber(const QJsonValue& value) {
    const double number = value.toDouble(-1);
    return number >= 0 && number <= std::numeric_limits<std::uint32_t>::max() &&
           number == std::floor(number);
}

void RequireWholeNumber(std::int32_t loaded, const QJsonValue& value) {
    const qint64 expected = IsWholeNumber(value) ? static_cast<qint64>(value.toDouble()) : 0;
    Require(static_cast<std::uint32_t>(loaded) == expected);
}

void RequireFlag(bool loaded, const QJsonValue& value, bool fallback) {
    Require(loaded == (IsWholeNumber(value) ? value.toDouble() != 0 : fallback));
}

bool IsAscii(const QString& text) {
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 128; });
}

void RequireNumber(double loaded, const QJsonValue& value, double fallback) {
    Require(std::isfinite(loaded));
    const QString text = value.isString() ? UpToZero(value.toString()) : QString();
    if (!IsAscii(text)) return;
    const QString start = text.trimmed().left(1);
    bool isPlain = false;
    const double plain = text.toDouble(&isPlain);
    if (start.isEmpty() || !QStringLiteral("+-.0123456789").contains(start)) {
        Require(loaded == fallback);
    } else if (isPlain && std::isfinite(plain) && std::abs(plain) > DBL_MIN) {
        // Below, doubles have less than their full precision, which counts as not to be held.
        Require(loaded == plain);
    }
}

void RequireLoaded(const AppSettings& loaded, const QJsonObject& object) {
    RequireText(loaded.modelPath, object["modelPath"], L"");
    RequireText(loaded.outputDir, object["outputDir"], Unusual().outputDir);
    RequireText(loaded.outputFilename, object["outputFilename"], Unusual().outputFilename);
    RequireWholeNumber(loaded.stereoMode, object["stereoMode"]);
    RequireWholeNumber(loaded.executionProvider, object["executionProvider"]);
    RequireFlag(loaded.isSwapped, object["isSwapped"], false);
    RequireFlag(loaded.isSharpMode, object["isSharpMode"], true);
    RequireNumber(loaded.focus, object["focus"], 0.0);
    RequireNumber(loaded.depth, object["depth"], 30.0);
}

void RequireUnusual(const AppSettings& settings) {
    const AppSettings& before = Unusual();
    Require(settings.modelPath == before.modelPath && settings.outputDir == before.outputDir);
    Require(settings.outputFilename == before.outputFilename);
    Require(settings.stereoMode == before.stereoMode && settings.isSwapped == before.isSwapped);
    Require(settings.focus == before.focus && settings.depth == before.depth);
    Require(settings.isSharpMode == before.isSharpMode);
    Require(settings.executionProvider == before.executionProvider);
}

std::string SixDigits(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

bool IsOurs(const QString& name) {
    return std::ranges::any_of(kOurs,
                               [&](const char* ours) { return name == QLatin1String(ours); });
}

using Members = std::map<QString, QJsonValue>;

Members MembersOf(const QJsonObject& object) {
    Members members;
    for (auto member = object.begin(); member != object.end(); ++member)
        members[member.key()] = member.value();
    return members;
}

bool IsSame(const QJsonValue& a, const QJsonValue& b);

bool IsSame(const Members& a, const Members& b) {
    return std::ranges::equal(a, b, [](const auto& left, const auto& right) {
        return left.first == right.first && IsSame(left.second, right.second);
    });
}

// The library's own comparison minds the order of names, which differs for a few odd ones between
// an object and what is read of its text.
bool IsSame(const QJsonValue& a, const QJsonValue& b) {
    if (a.isObject() && b.isObject())
        return IsSame(MembersOf(a.toObject()), MembersOf(b.toObject()));
    if (!a.isArray() || !b.isArray()) return a == b;
    return std::ranges::equal(a.toArray(), b.toArray(),
                              [](const auto& x, const auto& y) { return IsSame(x, y); });
}

Members MembersOfOthers(const QJsonObject& object) {
    Members members = MembersOf(object);
    std::erase_if(members, [](const auto& member) { return IsOurs(member.first); });
    return members;
}

void RequireSaved(const std::string& text, const AppSettings& settings, const QJsonObject& former) {
    Require(test::IsJson(text));
    const QJsonObject object = Parse(text).object();
    Require(IsSame(MembersOfOthers(object), MembersOfOthers(former)));
    Require(object["modelPath"].toString() == FromWide(settings.modelPath));
    Require(object["outputDir"].toString() == FromWide(settings.outputDir));
    Require(object["outputFilename"].toString() == FromWide(settings.outputFilename));
    for (const char* const name : {"stereoMode", "executionProvider", "isSwapped", "isSharpMode"})
        Require(IsWholeNumber(object[QLatin1String(name)]));
    Require(object["focus"].toString().toStdString() == SixDigits(settings.focus));
    Require(object["depth"].toString().toStdString() == SixDigits(settings.depth));
}

void RequireChosen(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
    try {
        ChooseModel("/new");
    } catch (const std::runtime_error&) {
        Require(test::ReadFile(file) == text);
        return;
    }
    Require(ChosenModel() == "/new");
    const QJsonDocument former = Parse(text);
    if (!former.isObject()) return;  // the two libraries differ in what they bear
    QJsonObject expected = former.object();
    expected.insert("modelPath", "/new");
    Require(IsSame(expected, Parse(test::ReadFile(file)).object()));
}

void RunOne(const std::string& text) {
    const std::filesystem::path file = SettingsFolder() / "settings.json";
    RequireChosen(file, text);
    std::ofstream(file, std::ios::binary) << text;
    const QJsonDocument document = Parse(text);
    AppSettings settings = Unusual();
    settings.Load();
    if (document.isObject()) {
        RequireLoaded(settings, document.object());
    } else {
        RequireUnusual(settings);
    }

    settings.Save();
    const std::string saved = test::ReadFile(file);
    RequireSaved(saved, settings, document.object());
    Require(std::distance(std::filesystem::directory_iterator(SettingsFolder()),
                          std::filesystem::directory_iterator()) == 1);

    AppSettings again = Unusual();
    again.Load();
    RequireLoaded(again, Parse(saved).object());
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    if (seed % 2 == 1) return LLVMFuzzerMutate(data, size, most);
    const std::string text = vistrel::fuzz::AnySettingsText(seed);
    size = std::min(text.size(), most);
    std::copy_n(text.begin(), size, data);
    return size;
}
