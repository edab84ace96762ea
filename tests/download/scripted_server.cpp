// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/download/scripted_server.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <tuple>
#include <utility>

namespace vistrel::test {
namespace {

// A proxy that this machine may have has no part in the tests.
[[maybe_unused]] const bool kWithoutProxy = [] {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY",
                             "no_proxy", "NO_PROXY"}) {
        unsetenv(name);
    }
    return true;
}();

void Check(bool succeeded, const char* call) {
    if (!succeeded) throw std::system_error(errno, std::generic_category(), call);
}

// A socket bound to a free port of 127.0.0.1, and that port.
std::pair<int, int> BoundSocket() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Check(socket >= 0, "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    Check(bind(socket, plain, size) == 0, "bind");
    Check(getsockname(socket, plain, &size) == 0, "getsockname");
    return {socket, ntohs(address.sin_port)};
}

}  // namespace

Connection::~Connection() {
    if (socket_ >= 0) close(socket_);
}

std::string Connection::ReadRequest() {
    std::string head;
    char byte = 0;
    while (!head.ends_with("\r\n\r\n") && recv(socket_, &byte, 1, 0) == 1) head.push_back(byte);
    return head;
}

bool Connection::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void Connection::Reset() {
    const linger hard{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    close(std::exchange(socket_, -1));
}

void Connection::WaitUntilClosed() {
    std::array<char, 4096> unread{};
    while (recv(socket_, unread.data(), unread.size(), 0) > 0) {
    }
}

ScriptedServer::ScriptedServer(Script script) {
    std::tie(socket_, port_) = BoundSocket();
    Check(listen(socket_, SOMAXCONN) == 0, "listen");
    thread_ = std::thread([socket = socket_, script = std::move(script)] {
        for (;;) {
            const int accepted = accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted < 0) return;
            Connection connection(accepted);
            script(connection);
        }
    });
}

ScriptedServer::ScriptedServer(std::string answer)
    : ScriptedServer([answer = std::move(answer)](Connection& connection) {
          connection.ReadRequest();
          connection.Send(answer);
      }) {}

ScriptedServer::~ScriptedServer() {
    shutdown(socket_, SHUT_RDWR);  // ends the accept
    thread_.join();
    close(socket_);
}

std::string ScriptedServer::Url(std::string_view path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

DeafPort::DeafPort() {
    std::tie(socket_, port_) = BoundSocket();
}

DeafPort::~DeafPort() {
    close(socket_);
}

}  // namespace vistrel::test
