// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_end.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>
#include <vector>

extern char** environ;

namespace vistrel {
namespace {

using Words = std::vector<std::string>;

std::vector<char*> PointersTo(const Words& words) {
    std::vector<char*> pointers;
    // They are only read.
    for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// The program of the first word, found as a shell finds it, with no signal held back as it is here.
// Without input and output where it is `silent`. Returns an error, or 0.
int Start(const Words& words, const Words& environment, bool silent, pid_t& process) {
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_t files{};
    posix_spawn_file_actions_init(&files);
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (silent) posix_spawn_file_actions_addopen(&files, file, "/dev/null", O_RDWR, 0);
    }
    const int error = posix_spawnp(&process, words.front().c_str(), &files, &attributes,
                                   PointersTo(words).data(), PointersTo(environment).data());
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    return error;
}

Words EnvironmentWith(const Words& more) {
    Words all;
    for (char** word = environ; *word != nullptr; ++word) all.emplace_back(*word);
    for (const std::string& word : more) {
        const std::string name = word.substr(0, word.find('=') + 1);
        std::erase_if(all, [&](const std::string& old) { return old.starts_with(name); });
        all.push_back(word);
    }
    return all;
}

std::string HowItEnded(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("was ended by a signal: ") + strsignal(WTERMSIG(status));
    }
    return WEXITSTATUS(status) == 0 ? "" : "has exit status " + std::to_string(WEXITSTATUS(status));
}

bool IsSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool HasDesktop() {
    if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) return false;
    if (IsSet("DBUS_SESSION_BUS_ADDRESS")) return true;
    std::error_code ignored;
    return IsSet("XDG_RUNTIME_DIR") &&
           std::filesystem::exists(std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "bus",
                                   ignored);
}

}  // namespace

std::string RunShellCommand(const std::string& command, const BatchCounts& counts,
                            const std::filesystem::path& outputDir, Interrupts& interrupts) {
    const Words environment =
        EnvironmentWith({"VISTREL_CONVERTED=" + std::to_string(counts.converted),
                         "VISTREL_FAILED=" + std::to_string(counts.failed),
                         "VISTREL_SKIPPED=" + std::to_string(counts.skipped),
                         "VISTREL_OUTPUT_DIR=" + outputDir.native()});
    std::fflush(stdout);  // what the command prints comes behind the log
    pid_t process = 0;
    const int error = Start({"/bin/sh", "-c", command}, environment, false, process);
    if (error != 0) return std::string("could not be started: ") + std::strerror(error);
    std::thread watcher([&] {
        siginfo_t ended{};
        while (waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
        interrupts.Wake();
    });
    // Until it is waited for below, the number stays that of this process.
    while (const int signal = interrupts.Wait()) kill(process, signal);
    watcher.join();
    int status = 0;
    waitpid(process, &status, 0);
    return HowItEnded(status);
}

void NotifyDesktop(const std::string& text) {
    constexpr int kPatience = 3;  // seconds
    constexpr int kMilliseconds = 1000;
    if (!HasDesktop()) return;
    const Words words = {"gdbus", "call", "--session", "--timeout", std::to_string(kPatience),
                         "--dest", "org.freedesktop.Notifications", "--object-path",
                         "/org/freedesktop/Notifications", "--method",
                         "org.freedesktop.Notifications.Notify",
                         // As texts of GVariant.
                         "\"Vistrel\"", "uint32 0", "\"vistrel\"", "\"Vistrel\"", '"' + text + '"',
                         "@as []", "@a{sv} {}", "int32 -1"};
    pid_t process = 0;
    if (Start(words, EnvironmentWith({}), true, process) != 0) return;
    const auto ended = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    if (ended < 0) return;
    pollfd source = {ended, POLLIN, 0};
    if (poll(&source, 1, kPatience * kMilliseconds) > 0) waitpid(process, nullptr, 0);
    close(ended);
}

}  // namespace vistrel
