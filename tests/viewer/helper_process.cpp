#include "tests/viewer/helper_process.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vistrel::test {
namespace {

std::string Read(pid_t process, const char* name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// 0 when there is no such process.
pid_t ParentOf(pid_t process) {
    const std::string stat = Read(process, "stat");
    // "123 (name) S 45 ...", where the name may hold anything.
    const std::size_t end = stat.rfind(')');
    return end == std::string::npos ? 0 : std::atoi(stat.c_str() + end + 3);
}

bool DescendsFromThis(pid_t process) {
    while (process > 1 && process != getpid()) process = ParentOf(process);
    return process == getpid();
}

}  // namespace

std::vector<pid_t> HelperProcesses(std::string_view type) {
    const std::string wanted = "--type=" + std::string(type);
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process <= 0 || Read(process, "cmdline").find(wanted) == std::string::npos) continue;
        if (DescendsFromThis(process)) found.push_back(process);
    }
    return found;
}

}  // namespace vistrel::test
