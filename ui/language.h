// SPDX-License-Identifier: GPL-3.0-or-later
// Which of the two languages the user reads.
//
// Thread of the event loop.
#pragma once

namespace vistrel {

// Whether it is Japanese: the language subtag of the first of the system's languages.
[[nodiscard]] bool IsJapaneseUser();

// Puts Qt's own texts (standard buttons, file dialogs) into the language of ours. Called once, when
// the application object is there and gUiText is set. Without Qt's translations on the machine its
// texts stay English.
void InstallQtTranslation();

}  // namespace vistrel
