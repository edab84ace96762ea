// SPDX-License-Identifier: GPL-3.0-or-later
// The file dialogs of the windows.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>

class QWidget;

namespace vistrel {

struct FileQuestion {
    bool save = false;    // else a file is opened, which must exist
    QStringList filters;  // "Name (*.a *.b)"; only the name is shown, capitals match too
    std::wstring folder;  // the one to begin in; empty: the current one
    std::wstring file;    // proposal: a name or a whole path, whose folder then counts
    QString suffix;       // appended to a name without a dot
};

// Asks `owner`'s user for a file; nothing means cancelled, or that the owner or the program has
// ended meanwhile. An existing file is only chosen for saving once the user has agreed. Thread of
// the event loop.
//
// The dialog is Qt's own on every desktop, so that the window's keys and these rules hold in it.
// Files whose names are no valid UTF-8 are not listed in it; a proposal with such a name is kept
// byte for byte.
[[nodiscard]] std::optional<std::wstring> AskFile(QWidget* owner, const FileQuestion& question);

}  // namespace vistrel
