// Hand encoding of requests with a run's codes, and a raw loopback client.
#pragma once

#include "sim/Simulator.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace SimTest {

using Bytes = std::vector<std::uint8_t>;
using Vaxo::Sim::NumberFormat;

inline void ieee(Bytes& b, double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, 8);
    for (int i = 0; i < 8; ++i) b.push_back(std::uint8_t(bits >> (8 * i)));
}

// Builds one request the way a host writes it, from the table's codes.
class Enc {
public:
    Enc(const Vaxo::Sim::TokenTable& t, NumberFormat f) : t_(t), f_(f) {}
    Enc& code(std::uint16_t c) {
        const std::uint16_t E = t_.symbols().extended;
        if (c < E) {
            b_.push_back(std::uint8_t(c));
        } else {
            b_.push_back(std::uint8_t(E));
            b_.push_back(std::uint8_t(c - E));
        }
        return *this;
    }
    Enc& tok(std::string_view name) {
        const auto* e = t_.find(name);
        EXPECT_TRUE(e && e->kind != 'V') << name;
        return code(e ? e->code : 0);
    }
    Enc& num(double v) {
        tok("NUMBER");
        if (f_ == NumberFormat::Ieee64) ieee(b_, v);
        else Vaxo::Sim::putNumber(b_, v, f_);
        return tok("EOX");
    }
    Enc& text(std::string_view s) {
        tok("QUOTES");
        b_.insert(b_.end(), s.begin(), s.end());
        return tok("QUOTES");
    }
    Enc& raw(std::uint8_t x) {
        b_.push_back(x);
        return *this;
    }
    // SYSTEMVARIABLE / SYSTEMVARIABLE2 / SYSTEMVARIABLE16 by the code and `wide`; bodge: high byte as a token code
    Enc& var(std::string_view name, bool wide = false, bool bodge = false) {
        const auto* e = t_.find(name, 'V');
        EXPECT_TRUE(e) << name;
        const std::uint16_t c = e ? e->code : 0;
        if (wide) return tok("SYSTEMVARIABLE16").raw(std::uint8_t(c)).raw(std::uint8_t(c >> 8));
        if (bodge) return tok("SYSTEMVARIABLE").raw(std::uint8_t(c)).code(std::uint16_t(c >> 8));
        if (c < 256) return tok("SYSTEMVARIABLE").raw(std::uint8_t(c));
        return tok("SYSTEMVARIABLE2").raw(std::uint8_t(c - 256));
    }
    Bytes zero() { return tok("ZERO").b_; }
    const Bytes& bytes() const { return b_; }

private:
    const Vaxo::Sim::TokenTable& t_;
    NumberFormat f_;
    Bytes b_;
};

// 0x1B and 0x01 preceded by 0x1B.
inline Bytes escape(const Bytes& in) {
    Bytes out;
    for (auto c : in) {
        if (c == 0x1B || c == 0x01) out.push_back(0x1B);
        out.push_back(c);
    }
    return out;
}

// A standard response in format f.
inline Bytes standard(double value, double status, NumberFormat f) {
    Bytes b;
    Vaxo::Sim::putNumber(b, value, f);
    Vaxo::Sim::putNumber(b, status, f);
    return b;
}

class Client {
public:
    explicit Client(std::uint16_t port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_port = htons(port);
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ok_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
        const int one = 1;
        ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    ~Client() { ::close(fd_); }
    bool ok() const { return ok_; }
    void send(const Bytes& b) { ASSERT_EQ(::send(fd_, b.data(), b.size(), MSG_NOSIGNAL), ssize_t(b.size())); }
    // Up to n bytes, waiting at most ms for each; stops early on silence or end of stream.
    Bytes recv(std::size_t n, int ms = 2000) {
        Bytes out;
        while (out.size() < n) {
            pollfd p{fd_, POLLIN, 0};
            if (::poll(&p, 1, ms) <= 0) break;
            std::uint8_t buf[65536];
            const ssize_t r = ::recv(fd_, buf, std::min(sizeof buf, n - out.size()), 0);
            if (r <= 0) {
                eof_ = true;
                break;
            }
            out.insert(out.end(), buf, buf + r);
        }
        return out;
    }
    // Bytes through the end of the token table.
    std::string readTable() {
        std::string s;
        while (s.size() < 7 || s.compare(s.size() - 7, 7, "[EOT]\r\n") != 0) {
            auto b = recv(1);
            if (b.empty()) break;
            s.push_back(char(b[0]));
        }
        return s;
    }
    bool eof() const { return eof_; }

private:
    int fd_ = -1;
    bool ok_ = false;
    bool eof_ = false;
};

} // namespace SimTest
