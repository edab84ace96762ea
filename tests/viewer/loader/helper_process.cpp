// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/viewer/loader/helper_process.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace vistrel::test {
namespace {

constexpr std::string_view kName = "QtWebEngineProc";  // as the kernel cuts it

struct Process {
    pid_t parent = 0;
    bool isHelper = false;
};

std::map<pid_t, Process> AllProcesses() {
    std::map<pid_t, Process> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process <= 0) continue;
        std::ifstream file(entry.path() / "stat", std::ios::binary);
        // "123 (name) S 45 ...", where the name may hold anything.
        const std::string stat = {std::istreambuf_iterator<char>(file), {}};
        const std::size_t end = stat.rfind(')');
        if (end == std::string::npos) continue;
        processes[process] = {std::atoi(stat.c_str() + end + 3),
                              stat.find('(' + std::string(kName) + ')') != std::string::npos};
    }
    return processes;
}

}  // namespace

std::vector<pid_t> PageProcesses() {
    std::map<pid_t, Process> processes = AllProcesses();
    std::set<pid_t> parents;
    for (const auto& [number, process] : processes) parents.insert(process.parent);
    // Pages run at the ends of the tree: helpers that this process has started itself start them.
    std::vector<pid_t> found;
    for (const auto& [number, process] : processes) {
        if (!process.isHelper || parents.contains(number) || process.parent == getpid()) continue;
        pid_t ancestor = process.parent;
        while (ancestor > 1 && ancestor != getpid()) ancestor = processes[ancestor].parent;
        if (ancestor == getpid()) found.push_back(number);
    }
    return found;
}

}  // namespace vistrel::test
