// SPDX-License-Identifier: GPL-3.0-or-later
// A port of this machine that somebody may try to reach.
#pragma once

#include <string>

namespace vistrel::test {

class Listener {
  public:
    // A free port of 127.0.0.1; `type` is SOCK_STREAM or SOCK_DGRAM. Throws std::system_error.
    explicit Listener(int type);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // "127.0.0.1:" and the port.
    [[nodiscard]] const std::string& Address() const { return address_; }
    // Whether anything has come in.
    [[nodiscard]] bool IsReached() const;

  private:
    int socket_;
    std::string address_;
};

}  // namespace vistrel::test
