// SPDX-License-Identifier: GPL-3.0-or-later
// Command line switches of the browser, which reads them from the environment.
#pragma once

#include <QByteArray>
#include <optional>
#include <string>

namespace vistrel::loader {

// As long as it exists, the environment holds `arguments` (switches separated by blanks) and the
// loader's own switches behind those of the user, each once, and the one with which the browser
// tells screen readers what is on the page, if there are any; and no word on the sandbox unless
// that turns it off (viewer/loader/sandbox.h). The browser reads them when the first
// profile of the process is made. Programs that are started later must not inherit them.
class Switches {
  public:
    explicit Switches(const std::wstring& arguments);
    ~Switches();
    Switches(const Switches&) = delete;
    Switches& operator=(const Switches&) = delete;

  private:
    QByteArray users_;
    bool wereSet_;
    bool accessibilityWasSet_;
    std::optional<QByteArray> sandbox_;  // what was said of it for nothing
};

}  // namespace vistrel::loader
