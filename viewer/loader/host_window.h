// The window around the browser.
#pragma once

class QWidget;

namespace vistrel::loader {

// The browser is drawn by the graphics card, and a window learns only when it is made that it holds
// such a part. So one that is not made yet gets a hidden part of the kind; without, it vanishes and
// comes back when the browser joins it.
void PrepareHostWindow(QWidget& host);

}  // namespace vistrel::loader
