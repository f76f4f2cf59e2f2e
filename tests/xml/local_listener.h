#pragma once
// A TCP listener on 127.0.0.1 that a test hands out as a URL and later asks whether
// anything connected to it: code that must never reach the network is pointed at it.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace quillmark::testing {

class LocalListener {
public:
    LocalListener() {
        socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = 0;  // any free port
        socklen_t length = sizeof address;
        if (socket_ < 0 || ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(socket_, 16) != 0 || ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        port_ = ntohs(address.sin_port);
    }
    ~LocalListener() {
        if (socket_ >= 0) ::close(socket_);
    }
    LocalListener(const LocalListener&) = delete;
    LocalListener& operator=(const LocalListener&) = delete;

    bool listening() const { return port_ != 0; }
    // "http://127.0.0.1:PORT/" followed by `path`.
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }
    // Whether a connection is waiting (the listener never blocks).
    bool receivedConnection() const {
        const int connection = ::accept(socket_, nullptr, nullptr);
        if (connection < 0) return false;
        ::close(connection);
        return true;
    }

private:
    int socket_ = -1;
    int port_ = 0;
};

}  // namespace quillmark::testing
