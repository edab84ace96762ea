// SPDX-License-Identifier: GPL-3.0-or-later
// What the module exports that makes requests.
#pragma once

#include "download/http_request.h"

// The caller owns it.
extern "C" vistrel::HttpRequest* VistrelMakeHttpRequest(const vistrel::HttpSettings& settings);

namespace vistrel {

inline constexpr const char* kHttpModule = "vistrel_http.so";  // in the program's folder
inline constexpr const char* kHttpModuleFunction = "VistrelMakeHttpRequest";

}  // namespace vistrel
