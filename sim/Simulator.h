// The simulated controller: a token-protocol controller on a loopback TCP port, for tests, the
// demo, the command-line tool and the benchmarks.
//
//     Vaxo::Sim::Simulator sim({.seed = 42, .controllerType = 1664, .firmware = 2.0330});
//     uint16_t port = sim.start();          // 127.0.0.1, ephemeral port
//     ... a client opens 127.0.0.1:port ...
//     sim.requests()                        // every request the controller decoded
//
// The controller serves its token table (codes shuffled by the seed; see TokenTable), decodes
// every request itself (Decoder), answers VR, TABLE and parameter requests from its memory
// (Controller; families of commands in sim/*Handlers.cpp) and can be made to misbehave (Faults).
// One thread per client connection; any number of connections at once.
//
// Wire conventions it keeps:
//  - The first request of a connection is TOKENTABLE with the default codes (00 C8). After the
//    table, requests are escaped and numbers are TMS320 (4 bytes) until CONTROL has been read;
//    from VERSION on the controller type's format applies (IEEE 64 unless the type mod 1000 is
//    at most 299 and not 266), and escaping from firmware 1.51 (see Phase).
//  - A read of one number is answered by the standard response alone (value, then status).
//    A text reply is the text, then the standard response with value 0.
//  - An undecodable request is answered with value 0 and a controller status (Status::...).
//  - The unknown-token nudge between requests is counted (nudgesSeen()) and not answered.
#pragma once

#include "sim/Controller.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace Vaxo::Sim {

class Simulator {
public:
    explicit Simulator(Config cfg = {});
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Listens on 127.0.0.1:port (0: an ephemeral port) and returns the port; 0 if it cannot.
    std::uint16_t start(std::uint16_t port = 0);
    // Closes the listener and every connection and joins their threads. start() may follow.
    void stop();
    std::uint16_t port() const noexcept { return port_; }
    // Closes every client connection (the controller goes away); the listener stays.
    void closeConnections();
    // Client connections currently open.
    std::size_t connectionCount() const;

    Controller& controller() noexcept { return ctl_; }
    const Config& config() const noexcept { return ctl_.config(); }
    const TokenTable& tokens() const noexcept { return ctl_.table(); }
    // This run's code of a token name; for system variables the variable code. 0xFFFF if absent.
    std::uint16_t codeOf(std::string_view name) const noexcept { return ctl_.codeOf(name); }

    std::vector<Request> requests() const { return ctl_.requests(); }
    void clearRequests() { ctl_.clearRequests(); }
    std::size_t nudgesSeen() const noexcept { return ctl_.nudgesSeen(); }
    // Socket reads made on the command links so far, all connections together.
    std::size_t socketReads() const noexcept { return socketReads_.load(std::memory_order_relaxed); }
    Faults& faults() noexcept { return ctl_.faults(); }

    // Memory and parameters (locked; out-of-range reads give 0, writes are ignored).
    double vr(std::uint32_t index) const;
    void setVr(std::uint32_t index, double v);
    double table(std::uint32_t index) const;
    void setTable(std::uint32_t index, double v);
    double systemParameter(std::string_view name) const;
    void setSystemParameter(std::string_view name, double v);
    // A parameter with a modifier, e.g. parameter("SPEED", "AXIS", 3).
    double parameter(std::string_view name, std::string_view modifier, std::uint32_t index) const;
    void setParameter(std::string_view name, std::string_view modifier, std::uint32_t index, double v);
    // Runs f(controller) with the controller's state locked, for family state (extension<T>()).
    template <class F>
    decltype(auto) withState(F&& f) {
        std::lock_guard lock(ctl_.mutex());
        return f(ctl_);
    }

private:
    struct Connection {
        int fd = -1;
        std::thread thread;
        std::atomic<bool> done{false};
    };
    void acceptLoop();
    void serve(Connection& conn, std::uint32_t id);
    bool pause(std::chrono::milliseconds d);  // false when stopping
    void reap(bool all);

    Controller ctl_;
    std::uint16_t port_ = 0;
    int listenFd_ = -1;
    int wakeFd_ = -1;
    std::thread acceptThread_;
    std::atomic<bool> stopping_{false};
    std::atomic<std::size_t> socketReads_{0};
    mutable std::mutex connMutex_;
    std::list<std::unique_ptr<Connection>> conns_;
    std::mutex sleepMutex_;
    std::condition_variable sleepCv_;
};

} // namespace Vaxo::Sim
