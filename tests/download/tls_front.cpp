// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/download/tls_front.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace vistrel::test {
namespace {

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    std::array<int, 2> ends{};
};

// A line that holds a number; 0 where there is none.
int ReadNumber(int file) {
    int number = 0;
    char digit = 0;
    while (read(file, &digit, 1) == 1 && digit >= '0' && digit <= '9') {
        number = number * 10 + (digit - '0');
    }
    return number;
}

}  // namespace

TlsFront::TlsFront(int plainPort, const std::string& names) {
    const Pipe in;
    const Pipe out;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.ends[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    std::array<std::string, 6> arguments = {VISTREL_PYTHON, "-B",  VISTREL_TLS_FRONT,
                                            folder_.Path(), names, std::to_string(plainPort)};
    std::array<char*, arguments.size() + 1> pointers{};
    for (std::size_t i = 0; i < arguments.size(); ++i) pointers[i] = arguments[i].data();
    const int failure =
        posix_spawn(&process_, VISTREL_PYTHON, &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in.ends[0]);
    close(out.ends[1]);
    input_ = in.ends[1];
    if (failure == 0) port_ = ReadNumber(out.ends[0]);
    close(out.ends[0]);
    if (port_ == 0) throw std::runtime_error("the TLS front did not start");
}

TlsFront::~TlsFront() {
    close(input_);
    waitpid(process_, nullptr, 0);
}

std::string TlsFront::Url(std::string_view host, std::string_view path) const {
    return "https://" + std::string(host) + ":" + std::to_string(port_) + std::string(path);
}

}  // namespace vistrel::test
