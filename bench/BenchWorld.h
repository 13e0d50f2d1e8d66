// What the wire benchmarks share: a simulated controller with one library connection to it,
// the bytes the library wrote while opening and for one VR read, a raw-socket session that
// replays them, and latency percentiles reported as benchmark counters.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include <vaxo/vaxo.h>

#include "shared/transport/ISniffer.h"
#include "sim/Simulator.h"
#include "tcp/connection/Connection_TCP.h"

namespace VaxoBench {

using Clock = std::chrono::steady_clock;

inline constexpr std::uint32_t kSeed = 1234;
inline constexpr double kControllerType = 1664; // IEEE 64 numbers: a VR read answers 16 bytes
inline constexpr std::size_t kVrReplySize = 16;

inline Vaxo::Sim::Config simConfig() {
    return Vaxo::Sim::Config{.seed = kSeed, .controllerType = kControllerType, .firmware = 2.0340,
                             .recordRequests = false};
}

struct Capture : Vaxo::Ubrix::Shared::ISniffer {
    std::mutex m;
    std::vector<std::vector<char>> writes;
    void sniff(const char* data, unsigned int length) override {
        std::lock_guard l(m);
        writes.emplace_back(data, data + length);
    }
};

inline VaxoHandle openContext(std::uint16_t port) {
    VaxoHandle h = nullptr;
    const VersionInfo v{1, 2, 1, 1196};
    vaxo_CreateContext(&v, [](void*, uint32_t, uint64_t, const char*, uint32_t) {}, nullptr, &h);
    vaxo_SetTcpHostName(h, "127.0.0.1");
    vaxo_SetTcpPort(h, port);
    return h;
}

// A simulated controller, a library connection to it, and the bytes the library wrote.
struct World {
    Vaxo::Sim::Simulator sim{simConfig()};
    std::uint16_t port = 0;
    VaxoHandle h = nullptr;
    std::vector<std::vector<char>> openWrites; // token table, CONTROL, VERSION
    std::vector<char> vrRequest;               // VR(12)

    World() {
        port = sim.start();
        h = openContext(port);
        auto& c = dynamic_cast<Vaxo::Ubrix::TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
        Capture cap;
        c.setWriteSniffer(&cap);
        vaxo_OpenConnection(h);
        openWrites = cap.writes;
        cap.writes.clear();
        double value;
        vaxo_GetVrValue(h, 12, &value);
        vrRequest = cap.writes.at(0);
        c.setWriteSniffer(nullptr);
    }
    ~World() {
        vaxo_DestroyContext(h);
        sim.stop();
    }
    static World& get() {
        static World w;
        return w;
    }
};

inline int connectRaw(std::uint16_t port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        close(fd);
        return -1;
    }
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

inline bool readExactly(int fd, char* p, size_t n) {
    while (n) {
        ssize_t r = recv(fd, p, n, 0);
        if (r <= 0)
            return false;
        p += r;
        n -= size_t(r);
    }
    return true;
}

// Replays the library's open on a raw socket, so the controller is in the same state.
inline int rawSession(World& w) {
    int fd = connectRaw(w.port);
    if (fd < 0)
        return -1;
    send(fd, w.openWrites[0].data(), w.openWrites[0].size(), MSG_NOSIGNAL);
    std::string table;
    char buf[4096];
    while (table.find("[EOT]\r\n") == std::string::npos) {
        ssize_t r = recv(fd, buf, sizeof buf, 0);
        if (r <= 0) {
            close(fd);
            return -1;
        }
        table.append(buf, size_t(r));
    }
    send(fd, w.openWrites[1].data(), w.openWrites[1].size(), MSG_NOSIGNAL);
    readExactly(fd, buf, 8);  // CONTROL: TMS320 value and status
    send(fd, w.openWrites[2].data(), w.openWrites[2].size(), MSG_NOSIGNAL);
    readExactly(fd, buf, 16); // VERSION: IEEE 64 value and status
    return fd;
}

// Round-trip samples of one benchmark run, reported as percentile counters (microseconds).
// The chart draws the distributions from these.
class Latencies {
public:
    Latencies() { m_us.reserve(1 << 20); }
    void add(Clock::time_point t0) {
        if (m_us.size() < m_us.capacity())
            m_us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
    }
    void report(benchmark::State& state) {
        if (m_us.empty())
            return;
        std::sort(m_us.begin(), m_us.end());
        static constexpr int kPercentiles[] = {1, 5, 10, 25, 50, 75, 90, 95, 99};
        for (int p : kPercentiles) {
            const std::size_t i = std::min(m_us.size() - 1, m_us.size() * std::size_t(p) / 100);
            state.counters["p" + std::to_string(p) + "_us"] = m_us[i];
        }
    }

private:
    std::vector<double> m_us;
};

// CPU time of the whole process (host threads, reader thread, simulated controller) per
// command, less sensitive than the rates to other work on the machine. Started by one thread
// before the timed loop and reported by it after; the framework sums the counters of all
// threads and kAvgIterations divides by the commands of all threads.
class CpuMeter {
public:
    CpuMeter() : m_start(now()) {}
    void report(benchmark::State& state) const {
        state.counters["cpu_us_per_cmd"] = benchmark::Counter(now() - m_start, benchmark::Counter::kAvgIterations);
    }

private:
    static double now() {
        timespec t{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
        return double(t.tv_sec) * 1e6 + double(t.tv_nsec) / 1e3;
    }
    double m_start;
};

} // namespace VaxoBench
