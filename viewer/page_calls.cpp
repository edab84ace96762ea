#include "viewer/page_calls.h"

#include <algorithm>
#include <locale>
#include <sstream>

namespace vistrel {
namespace {

// The locale of the process must not put its commas into scripts.
std::wostringstream PlainStream() {
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}

std::wstring WithSlashes(std::wstring path) {
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

std::wstring PageUrl(const std::wstring& folder) {
    const std::wstring path = WithSlashes(folder);
    // Three slashes in all; an absolute path brings the third itself.
    return (path.starts_with(L'/') ? L"file://" : L"file:///") + path + L"/gaus3d.html?nreso=1";
}

}  // namespace

std::wstring StereoModeCall(int mode) {
    std::wostringstream call = PlainStream();
    call << L"if(typeof ChgstFromNative==='function'){ChgstFromNative(" << mode << L")}";
    return call.str();
}

std::wstring FocusDepthCall(double focus, double depth) {
    std::wostringstream call = PlainStream();
    call << L"if(typeof SetFocusFromNative==='function'){SetFocusFromNative(" << focus << L","
         << depth << L")}";
    return call.str();
}

std::wstring SwapEyesCall(bool swap) {
    const std::wstring value = swap ? L"true" : L"false";
    return L"if(typeof SwapFromNative==='function'){SwapFromNative(" + value + L")}";
}

std::wstring FileCall(const std::wstring& path) {
    std::wstring escaped;
    for (const wchar_t letter : WithSlashes(path)) {
        if (letter == L'\'') escaped += L'\\';
        escaped += letter;
    }
    return L"if(typeof FileFromNative==='function'){FileFromNative('" + escaped + L"')}";
}

std::wstring StartPageUrl(const std::wstring& folder) {
    return PageUrl(folder) + L"&mode=0";
}

std::wstring SceneUrl(const std::wstring& folder, const std::wstring& path, bool sharp) {
    std::wstring url = PageUrl(folder) + (sharp ? L"&mode=0" : L"&mode=1") + L"&nst=1";
    if (path.empty()) return url;
    url += L"&openFile=";
    for (const wchar_t letter : WithSlashes(path)) {
        if (letter == L' ') {
            url += L"%20";
        } else {
            url += letter;
        }
    }
    return url;
}

}  // namespace vistrel
