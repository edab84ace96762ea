// SPDX-License-Identifier: GPL-3.0-or-later
// What Qt does not tell an X11 display of a window. Nothing is done on displays of another kind.
#pragma once

class QByteArray;
class QWindow;

namespace vistrel {

void AskForDarkTitleBar(const QWindow& window);

// Brings the window to the front for the user who has started something under `startupId`, and ends
// the desktop's wait for that. Whether the window will come.
bool AnswerStartup(const QWindow& window, const QByteArray& startupId);

}  // namespace vistrel
