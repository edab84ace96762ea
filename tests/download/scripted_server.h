// SPDX-License-Identifier: GPL-3.0-or-later
// A server on this machine whose every answer the test writes down byte by byte.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace vistrel::test {

inline const std::string kOkHead = "HTTP/1.1 200 OK\r\n";

// One accepted connection, in the hands of the script. Closes in order at the end of the script.
class Connection {
  public:
    explicit Connection(int socket) : socket_(socket) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The head of the next request, with its blank line; what came of it when the client closes.
    std::string ReadRequest();
    // Returns false when the client is gone.
    bool Send(std::string_view bytes);
    // Ends the connection the hard way instead. Nothing more can be sent.
    void Reset();
    // Returns when the client has closed its side.
    void WaitUntilClosed();

  private:
    int socket_;
};

// Listens on 127.0.0.1 and gives one connection after another to the script, on its own thread.
class ScriptedServer {
  public:
    using Script = std::function<void(Connection& connection)>;

    explicit ScriptedServer(Script script);
    // A script that every request has the same answer to.
    explicit ScriptedServer(std::string answer);
    // Waits for the script that runs.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] int Port() const { return port_; }
    // "http://127.0.0.1:PORT" + `path`.
    [[nodiscard]] std::string Url(std::string_view path = "/model") const;

  private:
    int socket_;
    int port_;
    std::thread thread_;
};

// A port of this machine that nothing listens on as long as the object lives.
class DeafPort {
  public:
    DeafPort();
    ~DeafPort();
    DeafPort(const DeafPort&) = delete;
    DeafPort& operator=(const DeafPort&) = delete;

    [[nodiscard]] int Port() const { return port_; }

  private:
    int socket_;
    int port_;
};

}  // namespace vistrel::test
