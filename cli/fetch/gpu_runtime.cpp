// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_runtime.h"

#include <stdexcept>

namespace vistrel {

int FetchGpuRuntime(const GpuOptions& /*options*/) {
    throw std::runtime_error("the runtime cannot be fetched yet");
}

}  // namespace vistrel
