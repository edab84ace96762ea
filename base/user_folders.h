// SPDX-License-Identifier: GPL-3.0-or-later
// The user's own folders, and the program's. Any thread; nothing throws.
#pragma once

#include <optional>
#include <string>

namespace vistrel {

// $XDG_DATA_HOME, default ~/.local/share.
[[nodiscard]] std::wstring UserDataFolder();
// Where the browser keeps what pages store: Vistrel/WebView2 in the data folder, which is made
// where it is missing; whether that worked, the browser finds out. Empty, so that the browser keeps
// nothing, where the environment names no such folder.
[[nodiscard]] std::wstring MakeBrowserFolder();
// UserDataFolder() + "/Vistrel/Models/sharp_fp16.onnx".
[[nodiscard]] std::wstring ModelFile();
// UserDataFolder() + "/Vistrel/Runtime": an ONNX Runtime of the user's own, with CUDA for instance.
[[nodiscard]] std::wstring RuntimeFolder();
// The documents folder, where there is none the home folder.
[[nodiscard]] std::wstring DocumentsFolder();
// $XDG_CONFIG_HOME/Vistrel/settings.json, default ~/.config.
[[nodiscard]] std::wstring SettingsFile();
// Folder of the running program, links resolved.
[[nodiscard]] std::wstring ProgramFolder();
// The network of a user without settings: the relief demo of the package in `programFolder`, empty
// where none lies there.
[[nodiscard]] std::wstring FirstModel(const std::wstring& programFolder = ProgramFolder());
// $XDG_STATE_HOME/Vistrel/last_failure, default ~/.local/state.
[[nodiscard]] std::wstring FailureFile();
// Of this user alone: $TMPDIR, else $XDG_RUNTIME_DIR, else /tmp/vistrel-<uid>, which is made where
// it is missing. Nothing where that one belongs to somebody else, is a link or cannot be made. Ends
// in a separator.
[[nodiscard]] std::optional<std::wstring> TemporaryFolder();
// Makes the folder where it is missing, its parent being there, and keeps others out of it. False
// where it belongs to somebody else, is a link or cannot be made.
[[nodiscard]] bool MakePrivateFolder(const std::wstring& path);
// Whether there is something of that name, be it a link, that another user has made.
[[nodiscard]] bool BelongsToSomebodyElse(const std::wstring& path);

}  // namespace vistrel
