// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/virtual_display.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vistrel {
namespace {

// What a client has to know to be let in, in the format of xauth: for any display.
void WriteKey(const std::filesystem::path& path) {
    std::array<char, 16> key{};
    if (getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size())) {
        throw std::runtime_error("no random numbers for the virtual display");
    }
    constexpr std::string_view kName = "MIT-MAGIC-COOKIE-1";
    std::ofstream file(path, std::ios::binary);
    const auto number = [&file](std::size_t value) {
        file.put(static_cast<char>(value >> 8U)).put(static_cast<char>(value & 0xFFU));
    };
    number(0xFFFF);  // any kind of address
    number(0);       // any address
    number(0);       // any display
    number(kName.size());
    file << kName;
    number(key.size());
    file.write(key.data(), key.size());
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.native());
}

// In the child: becomes the server, which writes its display's number to `number`.
[[noreturn]] void BecomeServer(pid_t parent, int number, const std::string& screen,
                               const std::string& key) {
    setsid();  // the terminal's Ctrl-C is for this program alone
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    const int nowhere = open("/dev/null", O_RDWR);
    if (nowhere < 0) _exit(1);
    for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
    const std::string fd = std::to_string(number);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
           "tcp", "-auth", key.c_str(), nullptr);
    _exit(1);
}

// Up to the line's end; empty when the server went before it wrote one.
std::string ReadLine(int file) {
    std::string line;
    for (char letter = '\0'; letter != '\n';) {
        const ssize_t count = read(file, &letter, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return "";
        if (letter != '\n') line += letter;
    }
    return line;
}

void EndServer(pid_t server) {
    kill(server, SIGTERM);
    while (waitpid(server, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

VirtualDisplay::VirtualDisplay(PictureSize screen) {
    const std::filesystem::path key = folder_.Path() / "key";
    WriteKey(key);
    const std::string screenText =
        std::to_string(screen.width) + "x" + std::to_string(screen.height) + "x24";

    std::array<int, 2> number{};
    if (pipe(number.data()) != 0) throw std::runtime_error("no pipe to the virtual display");
    const pid_t self = getpid();
    server_ = fork();
    if (server_ == 0) {
        close(number[0]);
        BecomeServer(self, number[1], screenText, key.native());
    }
    close(number[1]);
    const std::string display = server_ < 0 ? "" : ReadLine(number[0]);
    close(number[0]);
    if (display.empty()) {
        if (server_ > 0) EndServer(server_);
        throw std::runtime_error(
            "there is no display, and no virtual one could be started. Install Xvfb (package "
            "xvfb), or set DISPLAY or WAYLAND_DISPLAY.");
    }
    setenv("DISPLAY", (":" + display).c_str(), 1);
    setenv("XAUTHORITY", key.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
}

VirtualDisplay::~VirtualDisplay() {
    EndServer(server_);
}

}  // namespace vistrel
