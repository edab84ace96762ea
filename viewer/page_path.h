// SPDX-License-Identifier: GPL-3.0-or-later
// How the path of a file gets to the page: what an address or a script does to it on the way.
//
// Any thread; nothing throws. Three things happen to a path. Backslashes become slashes. In an
// address only blanks are encoded, and in a script only quotes are escaped, as the page expects it;
// a path that would not arrive whole is told under another name (viewer/scene_link.h). And what
// goes to the browser is text, so bytes of file names that are none get encoded last.
#pragma once

#include <string>
#include <string_view>

namespace vistrel {

// The address of a folder or file, with three slashes in front of an absolute path.
[[nodiscard]] std::wstring FileAddress(const std::wstring& path);
// A folder's path as part of such an address: what would end the path or stand for something else
// there is percent-encoded.
[[nodiscard]] std::wstring FolderInAddress(const std::wstring& folder);
// As a value of an address behind the "?".
[[nodiscard]] std::wstring QueryPath(const std::wstring& path);
// Between single quotes of a script.
[[nodiscard]] std::wstring ScriptPath(const std::wstring& path);

// Whether the page finds the scene at `path` by its QueryPath: nothing in it means something else
// there, and its ending is in small letters, by which the page tells the formats.
[[nodiscard]] bool PageCanBeTold(const std::wstring& path);

// The address and the script as text that any browser takes. A byte of a file name that is no UTF-8
// (base/text_encoding.h) and, in an address, a control character are percent-encoded: behind the
// "?" twice, so that they are encoded still in the value that the page reads there, which it uses
// as an address.
[[nodiscard]] std::wstring BrowserAddress(std::wstring_view address);
[[nodiscard]] std::wstring BrowserScript(std::wstring_view script);

}  // namespace vistrel
