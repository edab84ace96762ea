// The browser's helper processes.
#pragma once

#include <sys/types.h>

#include <string_view>
#include <vector>

namespace vistrel::test {

// The descendants of this process that the browser started as `type`: "renderer", "zygote", ...
[[nodiscard]] std::vector<pid_t> HelperProcesses(std::string_view type);

}  // namespace vistrel::test
