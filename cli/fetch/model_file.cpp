// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/model_file.h"

#include <stdexcept>

namespace vistrel {

int FetchModel(const ModelFetchOptions& /*options*/) {
    throw std::runtime_error("the network cannot be fetched yet");
}

int CheckModel(const ModelFetchOptions& /*options*/, const std::filesystem::path& /*file*/) {
    throw std::runtime_error("files cannot be checked yet");
}

}  // namespace vistrel
