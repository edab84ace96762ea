// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/page_calls.h"

#include <locale>
#include <sstream>

#include "viewer/page_path.h"

namespace vistrel {
namespace {

// The locale of the process must not put its commas into scripts.
std::wostringstream PlainStream() {
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}

std::wstring PageUrl(const std::wstring& folder) {
    return FileAddress(folder) + L"/gaus3d.html?nreso=1";
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
    return L"if(typeof FileFromNative==='function'){FileFromNative('" + ScriptPath(path) + L"')}";
}

std::wstring StartPageUrl(const std::wstring& folder) {
    return PageUrl(folder) + L"&mode=0";
}

std::wstring SceneUrl(const std::wstring& folder, const std::wstring& path, bool sharp) {
    const std::wstring url = PageUrl(folder) + (sharp ? L"&mode=0" : L"&mode=1") + L"&nst=1";
    return path.empty() ? url : url + L"&openFile=" + QueryPath(path);
}

}  // namespace vistrel
