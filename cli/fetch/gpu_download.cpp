// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_download.h"

#include <stdexcept>

namespace vistrel {

std::filesystem::path DownloadGpuPackage(const GpuOptions& /*options*/, LongStep& /*step*/) {
    throw std::runtime_error("the package cannot be fetched yet: bring it with --from");
}

}  // namespace vistrel
