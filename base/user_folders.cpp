// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/user_folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"
#include "base/whole_file.h"

namespace vistrel {
namespace {

// Empty where the variable is not set.
std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::filesystem::path HomeFolder() {
    const std::string home = Environment("HOME");
    if (!home.empty()) return home;
    std::array<char, 16384> buffer;
    passwd entry = {};
    passwd* found = nullptr;
    getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr ? found->pw_dir : "/";
}

// A folder that the user may move by setting `variable`; relative ones do not count.
std::filesystem::path BaseFolder(const char* variable, const char* belowHome,
                                 const std::filesystem::path& home = HomeFolder()) {
    std::filesystem::path folder = Environment(variable);
    return folder.is_absolute() ? folder : home / belowHome;
}

std::filesystem::path DataFolder(const std::filesystem::path& home = HomeFolder()) {
    return BaseFolder("XDG_DATA_HOME", ".local/share", home);
}

// The value in a line NAME="value" of a shell script without commands, where value is absolute or
// begins with $HOME/. Empty for other lines.
std::filesystem::path FolderInLine(std::string_view line, std::string_view name) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.starts_with(name)) return {};
    line.remove_prefix(name.size());
    if (!line.starts_with("=\"")) return {};
    line.remove_prefix(2);
    std::string value;
    for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) ++i;
        value.push_back(line[i]);
    }
    if (value.find('\0') != value.npos) return {};  // no file's name
    while (value.size() > 1 && value.back() == '/') value.pop_back();
    constexpr std::string_view kHome = "$HOME";
    if (value == kHome) return HomeFolder();
    if (value.starts_with("$HOME/")) return HomeFolder() / value.substr(kHome.size() + 1);
    return value.starts_with('/') ? std::filesystem::path(value) : std::filesystem::path();
}

// What the desktop calls the documents folder, whether it exists or not.
std::filesystem::path NamedDocumentsFolder() {
    std::filesystem::path folder = HomeFolder() / "Documents";
    const auto file = ReadWholeFile(BaseFolder("XDG_CONFIG_HOME", ".config") / "user-dirs.dirs");
    std::string_view rest = file ? std::string_view(*file) : std::string_view();
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::filesystem::path named = FolderInLine(line, "XDG_DOCUMENTS_DIR");
        if (!named.empty()) folder = named;
    }
    return folder;
}

}  // namespace

std::wstring UserDataFolder() {
    return FromPath(DataFolder());
}

std::wstring MakeBrowserFolder() {
    const std::filesystem::path data = DataFolder(Environment("HOME"));
    if (!data.is_absolute()) return {};
    const std::filesystem::path folder = data / "Vistrel" / "WebView2";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return FromPath(folder);
}

std::wstring ModelFile() {
    return UserDataFolder() + L"/Vistrel/Models/sharp_fp16.onnx";
}

std::wstring RuntimeFolder() {
    return UserDataFolder() + L"/Vistrel/Runtime";
}

std::wstring DocumentsFolder() {
    const std::filesystem::path folder = NamedDocumentsFolder();
    std::error_code failure;
    return FromPath(std::filesystem::is_directory(folder, failure) ? folder : HomeFolder());
}

std::wstring SettingsFile() {
    return FromPath(BaseFolder("XDG_CONFIG_HOME", ".config") / "Vistrel" / "settings.json");
}

std::wstring FailureFile() {
    return FromPath(BaseFolder("XDG_STATE_HOME", ".local/state") / "Vistrel" / "last_failure");
}

std::wstring FirstModel(const std::wstring& programFolder) {
    const std::filesystem::path model =
        ToPath(programFolder) / "resources" / "relief" / "vistrel_relief_demo.onnx";
    std::error_code unknown;
    return std::filesystem::is_regular_file(model, unknown) ? FromPath(model) : std::wstring();
}

bool MakePrivateFolder(const std::wstring& path) {
    std::filesystem::path folder = ToPath(path);
    if (!folder.has_filename()) folder = folder.parent_path();
    mkdir(folder.c_str(), S_IRWXU);
    struct stat found = {};
    if (lstat(folder.c_str(), &found) != 0) return false;
    if (!S_ISDIR(found.st_mode) || found.st_uid != geteuid()) return false;
    const bool open = (found.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    return !open || chmod(folder.c_str(), S_IRWXU) == 0;
}

bool BelongsToSomebodyElse(const std::wstring& path) {
    struct stat found = {};
    return lstat(ToPath(path).c_str(), &found) == 0 && found.st_uid != geteuid();
}

std::optional<std::wstring> TemporaryFolder() {
    for (const char* variable : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        const std::string folder = Environment(variable);
        if (folder.empty()) continue;
        std::error_code failure;
        const std::filesystem::path whole = std::filesystem::absolute(folder, failure) / "";
        if (failure) return std::nullopt;
        return FromPath(whole);
    }
    const std::wstring folder = L"/tmp/vistrel-" + std::to_wstring(geteuid());
    if (!MakePrivateFolder(folder)) return std::nullopt;
    return folder + L'/';
}

std::wstring ProgramFolder() {
    std::error_code failure;
    return FromPath(std::filesystem::read_symlink("/proc/self/exe", failure).parent_path());
}

}  // namespace vistrel
