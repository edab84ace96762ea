// SPDX-License-Identifier: GPL-3.0-or-later
// The loader library: a shared object called WebView2Loader.dll beside the program, the only part
// that knows the browser.
#pragma once

#include "viewer/web_view.h"

namespace vistrel {

// What the loader library exports; null when the library is missing or is not ours, and the reason
// is in the log. Resolved once per process, except that a failure is tried again by the next call.
// Thread of the event loop; nothing throws.
[[nodiscard]] CreateWebViewEnvironmentFunction* LoadWebViewFactory();

}  // namespace vistrel
