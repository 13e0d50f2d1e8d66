// A loopback listener on an ephemeral port and the test's end of an accepted connection, for
// tests that drive a port against bytes they send themselves.
#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace {

// A loopback listener on an ephemeral port.
struct Listener {
    int fd = -1;
    std::uint16_t port = 0;
    explicit Listener(int backlog = 4) {
        fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
        EXPECT_EQ(::listen(fd, backlog), 0);
        socklen_t len = sizeof a;
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
        port = ntohs(a.sin_port);
    }
    int accept() { return ::accept(fd, nullptr, nullptr); }
    ~Listener() { ::close(fd); }
};

struct Peer {
    int fd;
    ~Peer() {
        if (fd >= 0)
            ::close(fd);
    }
    void send(std::string_view data) { ASSERT_EQ(::send(fd, data.data(), data.size(), MSG_NOSIGNAL), ssize_t(data.size())); }
    std::string recv(std::size_t n) {
        std::string s(n, '\0');
        std::size_t got = 0;
        while (got < n) {
            ssize_t r = ::recv(fd, s.data() + got, n - got, 0);
            if (r <= 0)
                break;
            got += std::size_t(r);
        }
        s.resize(got);
        return s;
    }
    void close() {
        ::close(fd);
        fd = -1;
    }
};

} // namespace
