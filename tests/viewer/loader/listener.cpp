// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/viewer/loader/listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace vistrel::test {
namespace {

void Check(int result, const char* what) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Listener::Listener(int type) : socket_(socket(AF_INET, type | SOCK_CLOEXEC, 0)) {
    Check(socket_, "socket");
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    Check(bind(socket_, plain, size), "bind");
    if (type == SOCK_STREAM) Check(listen(socket_, 10), "listen");
    Check(getsockname(socket_, plain, &size), "getsockname");
    address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

Listener::~Listener() {
    close(socket_);
}

bool Listener::IsReached() const {
    pollfd waiting = {socket_, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
}

}  // namespace vistrel::test
