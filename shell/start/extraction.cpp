// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/extraction.h"

#include <unistd.h>

#include <QByteArray>
#include <QResource>
#include <QString>
#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"
#include "base/whole_file.h"
#include "shell/start/embedded_resources.h"

namespace vistrel {
namespace {

struct Carried {
    int id;
    const wchar_t* name;
};

constexpr std::array<Carried, 2> kHelpPages = {{{2006, L"help_en.html"}, {2007, L"help_jp.html"}}};
constexpr Carried kLoader = {3001, L"WebView2Loader.dll"};
constexpr std::array<Carried, 5> kWebFiles = {{{2001, L"gaus3d.html"},
                                               {2002, L"three.module.js"},
                                               {2003, L"three.core.js"},
                                               {2004, L"spark.module.js"},
                                               {2005, L"OrbitControls3d.js"}}};

template <typename Files>
bool ExtractAll(const Files& files, const std::wstring& folder) {
    return std::ranges::all_of(files, [&](const Carried& file) {
        return ExtractResourceToFile(file.id, folder + L'/' + file.name);
    });
}

// A temporary folder may be shared by several users, of whom one alone has the first name.
std::optional<std::wstring> MakeWebFolder() {
    const std::optional<std::wstring> temporary = TemporaryFolder();
    if (!temporary) return std::nullopt;
    std::error_code ignored;
    std::filesystem::create_directories(ToPath(*temporary), ignored);
    std::wstring folder = *temporary + L"VistrelWeb";
    if (BelongsToSomebodyElse(folder)) folder += L'-' + std::to_wstring(geteuid());
    if (!MakePrivateFolder(folder)) return std::nullopt;
    return folder;
}

}  // namespace

std::optional<ProgramFiles> ExtractResources(const std::wstring& appDir) {
    ProgramFiles result;
    result.appDir = appDir;
    if (!ExtractAll(kHelpPages, appDir)) return std::nullopt;

    result.loaderPath = appDir + L'/' + kLoader.name;
    // Whatever is there stays for good, so half of one after a loss of power must not be.
    const std::optional<bool> hasLoader = Exists(ToPath(result.loaderPath));
    if (!hasLoader) return std::nullopt;
    if (!*hasLoader && !ExtractResourceToFile(kLoader.id, result.loaderPath, Durability::kOnDisk))
        return std::nullopt;

    const std::optional<std::wstring> webDir = MakeWebFolder();
    if (!webDir || !ExtractWebPage(*webDir)) return std::nullopt;
    result.webDir = *webDir;
    return result;
}

bool ExtractWebPage(const std::wstring& folder) {
    return ExtractAll(kWebFiles, folder);
}

bool ExtractResourceToFile(int id, const std::wstring& path, Durability durability) {
    RegisterEmbeddedResources();
    const QResource resource(QStringLiteral(":/%1").arg(id));
    if (!resource.isValid() || resource.size() <= 0) return false;
    const QByteArray bytes = resource.uncompressedData();
    if (WriteNewFile(ToPath(path), std::as_bytes(std::span(bytes)), durability)) return true;
    // In a folder of root's, where a package put it.
    const std::optional<std::string> there = ReadWholeFile(ToPath(path));
    return there && std::string_view(*there) == std::string_view(bytes);
}

}  // namespace vistrel
