// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/ffmpeg_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

extern char** environ;

namespace vistrel {
namespace {

struct Running {
    std::mutex mutex;
    std::set<pid_t> processes;  // guarded by mutex; not yet waited for, so that each is ours

    static Running& All() {
        static Running all;
        return all;
    }
};

[[noreturn]] void Fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

// How the new process begins.
class SpawnOptions {
  public:
    SpawnOptions() {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
        // A group of its own, so that Ctrl-C in a terminal reaches only this process, which then
        // decides; and no signal is held back or ignored as it may be here.
        sigset_t none;
        sigemptyset(&none);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnOptions() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnOptions(const SpawnOptions&) = delete;
    SpawnOptions& operator=(const SpawnOptions&) = delete;

    void Pass(int from, int as) { posix_spawn_file_actions_adddup2(&files_, from, as); }
    void PassNothing(int as) {
        posix_spawn_file_actions_addopen(&files_, as, "/dev/null", O_WRONLY, 0);
    }

    // 0, or what went wrong.
    [[nodiscard]] int Spawn(pid_t& process, const char* program, char* const* arguments) const {
        return posix_spawnp(&process, program, &files_, &attributes_, arguments, environ);
    }

  private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

std::vector<char*> Pointers(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    // They are only read.
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

// Without the name of the part that speaks: "[libx264 @ 0x55d0] ".
std::string_view WithoutSpeaker(std::string_view line) {
    const std::size_t end = line.find("] ");
    return line.starts_with('[') && end != std::string_view::npos ? line.substr(end + 2) : line;
}

// Several lines as one that is not too long.
std::string AsOneLine(std::string_view text) {
    constexpr std::size_t kLongest = 300;
    std::string line;
    while (!text.empty() && line.size() < kLongest) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view words = WithoutSpeaker(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (words.empty()) continue;
        if (!line.empty()) line += "; ";
        line += words;
    }
    return line.substr(0, kLongest);
}

std::string HowItEnded(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("it was ended by a signal: ") + strsignal(WTERMSIG(status));
    }
    return "its exit status is " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

// When the other one throws, the destructor runs, since this one has made the object.
FfmpegProcess::FfmpegProcess(const std::vector<std::string>& arguments, int output)
    : FfmpegProcess() {
    Start(arguments, output);
}

FfmpegProcess::~FfmpegProcess() {
    if (process_ > 0) {
        kill(-process_, SIGKILL);  // and what it has started, should it be a script
        static_cast<void>(WaitForEnd());
    }
    if (input_ >= 0) close(input_);
    if (words_ >= 0) close(words_);
}

void FfmpegProcess::Start(const std::vector<std::string>& arguments, int output) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        Fail(errno, "ffmpeg");
    }
    input_ = ends[0];
    words_ = memfd_create("ffmpeg", MFD_CLOEXEC);
    std::vector<std::string> all = {"ffmpeg", "-hide_banner", "-nostdin", "-v", "error", "-y"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    SpawnOptions options;
    options.Pass(ends[1], STDIN_FILENO);
    options.PassNothing(STDOUT_FILENO);
    options.Pass(words_, STDERR_FILENO);
    constexpr int kOutputNumber = 3;
    options.Pass(output, kOutputNumber);
    Running& running = Running::All();
    const std::lock_guard lock(running.mutex);
    pid_t process = -1;
    const int error = words_ < 0 ? errno : options.Spawn(process, "ffmpeg", Pointers(all).data());
    close(ends[1]);
    if (error == ENOENT) {
        throw std::runtime_error(
            "movies are made by the program ffmpeg, which is not there; on Debian, it comes with "
            "the package ffmpeg");
    }
    if (error != 0) Fail(error, "ffmpeg");
    process_ = process;
    running.processes.insert(process);
}

bool FfmpegProcess::Write(std::span<const std::byte> bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = send(input_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

void FfmpegProcess::Finish() {
    shutdown(input_, SHUT_WR);
    const int status = WaitForEnd();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
    std::string words = Words();
    throw std::runtime_error("ffmpeg failed: " + (words.empty() ? HowItEnded(status) : words));
}

void FfmpegProcess::End() const {
    if (process_ > 0) kill(-process_, SIGKILL);
}

// It stays in the list until its number is free for another process.
int FfmpegProcess::WaitForEnd() {
    siginfo_t ended = {};
    while (waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    Running& running = Running::All();
    const std::lock_guard lock(running.mutex);
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    running.processes.erase(std::exchange(process_, -1));
    return status;
}

std::string FfmpegProcess::Words() const {
    constexpr std::size_t kMost = 4096;
    std::string words(kMost, '\0');
    const ssize_t size = pread(words_, words.data(), words.size(), 0);
    words.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    ReplaceAll(words, kOutput, "the movie");
    return AsOneLine(words);
}

void EndFfmpegProcesses() {
    Running& running = Running::All();
    running.mutex.lock();  // for good
    for (const pid_t process : running.processes) kill(-process, SIGKILL);
}

}  // namespace vistrel
