// Command line switches of the browser, which reads them from the environment.
#pragma once

#include <string>

namespace vistrel::loader {

// Adds `arguments` (switches separated by blanks) and the loader's own switches to those that the
// user has set, each once. Takes effect when called before the first page of the process.
void SetSwitches(const std::wstring& arguments);

}  // namespace vistrel::loader
