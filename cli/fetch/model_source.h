// SPDX-License-Identifier: GPL-3.0-or-later
// Where the network's file is to be had, as options and environment tell it.
#pragma once

#include <string>

#include "cli/fetch/model_file.h"
#include "download/file_request.h"

namespace vistrel {

// $HF_ENDPOINT takes the place of the hub's scheme and host. $HF_TOKEN is told to the hub alone.
// $SSL_CERT_FILE names the certificates to trust. Throws std::runtime_error where one of them
// cannot be what it should be. Main thread.
[[nodiscard]] FileSource ModelSource(const ModelFetchOptions& options);

// The name of the file at that address.
[[nodiscard]] std::string FileNameIn(const std::string& url);

}  // namespace vistrel
