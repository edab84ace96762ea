#include "viewer/user_data_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

// Empty where the variable is missing or no absolute path, which then does not count.
std::filesystem::path AbsolutePathIn(const char* variable) {
    const char* const value = std::getenv(variable);
    const std::filesystem::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path DataFolder() {
    const std::filesystem::path data = AbsolutePathIn("XDG_DATA_HOME");
    if (!data.empty()) return data;
    const std::filesystem::path home = AbsolutePathIn("HOME");
    return home.empty() ? home : home / ".local" / "share";
}

}  // namespace

std::wstring MakeUserDataFolder() {
    const std::filesystem::path data = DataFolder();
    if (data.empty()) return {};
    const std::filesystem::path folder = data / "Vistrel" / "WebView2";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return FromPath(folder);
}

}  // namespace vistrel
