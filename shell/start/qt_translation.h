// Qt's own texts (standard buttons, file dialogs) in the language of ours.
#pragma once

namespace vistrel {

// Called once by the entry point, when the application object is there and gUiText is set. Without
// Qt's translations on the machine its texts stay English. Thread of the event loop.
void InstallQtTranslation();

}  // namespace vistrel
