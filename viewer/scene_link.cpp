#include "viewer/scene_link.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

bool IsCapital(wchar_t letter) {
    return letter >= L'A' && letter <= L'Z';
}

std::wstring EndingOf(const std::wstring& path) {
    return FromPath(ToPath(path).extension());
}

bool PageCanBeTold(const std::wstring& path) {
    const auto hasOtherMeaning = [](wchar_t letter) {
        return std::wstring_view(L"#&%+\\").find(letter) != std::wstring_view::npos ||
               letter < L' ' || letter == L'\x7f' || (letter >= 0xd800 && letter <= 0xdfff);
    };
    const std::wstring ending = EndingOf(path);
    return std::none_of(path.begin(), path.end(), hasOtherMeaning) &&
           std::none_of(ending.begin(), ending.end(), IsCapital);
}

}  // namespace

SceneLink::SceneLink(const std::wstring& folder) : folder_(ToPath(folder)) {}

SceneLink::~SceneLink() {
    Remove();
}

std::wstring SceneLink::PathFor(const std::wstring& path) {
    Remove();
    if (PageCanBeTold(path)) return path;

    std::wstring ending = EndingOf(path);
    std::transform(ending.begin(), ending.end(), ending.begin(), [](wchar_t letter) {
        return IsCapital(letter) ? static_cast<wchar_t>(letter + (L'a' - L'A')) : letter;
    });
    // Several programs of one user share the folder.
    std::filesystem::path link =
        folder_ / ("scene-" + std::to_string(getpid()) + ToPath(ending).native());
    std::error_code error;
    std::filesystem::remove(link, error);  // of a killed program that had this number
    std::filesystem::create_symlink(ToPath(path), link, error);
    if (error) return path;
    link_ = std::move(link);
    return FromPath(link_);
}

void SceneLink::Remove() {
    std::error_code ignored;
    if (!link_.empty()) std::filesystem::remove(link_, ignored);
    link_.clear();
}

}  // namespace vistrel
