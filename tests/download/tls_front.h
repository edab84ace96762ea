// SPDX-License-Identifier: GPL-3.0-or-later
// TLS in front of a plain server of the test's own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/temporary_folder.h"

namespace vistrel::test {

class TlsFront {
  public:
    // Passes connections on to `plainPort`. `names` are those in the certificate, as for OpenSSL's
    // subjectAltName. Throws std::runtime_error when it does not start.
    explicit TlsFront(int plainPort, const std::string& names = "DNS:localhost,IP:127.0.0.1");
    ~TlsFront();
    TlsFront(const TlsFront&) = delete;
    TlsFront& operator=(const TlsFront&) = delete;

    // "https://HOST:PORT" + `path`.
    [[nodiscard]] std::string Url(std::string_view host = "127.0.0.1",
                                  std::string_view path = "/model") const;
    // Trusting this file is trusting the front.
    [[nodiscard]] std::string Authorities() const { return folder_ / "certificate.pem"; }

  private:
    TemporaryFolder folder_;
    pid_t process_ = -1;
    int input_ = -1;  // the process ends when this is closed
    int port_ = 0;
};

}  // namespace vistrel::test
