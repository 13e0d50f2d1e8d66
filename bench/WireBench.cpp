// One command at a time and many threads on one connection: vaxo_GetVrValue against the
// simulated controller, beside a raw-socket client sending identical bytes from one thread
// and a minimal client built like the engine (caller writes under a lock, one reader thread
// wakes it). Latency rows report median and p99 as counters.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <vaxo/vaxo.h>

#include "shared/transport/ISniffer.h"
#include "sim/Simulator.h"
#include "tcp/connection/Connection_TCP.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Capture : Vaxo::Ubrix::Shared::ISniffer {
    std::mutex m;
    std::vector<std::vector<char>> writes;
    void sniff(const char* data, unsigned int length) override {
        std::lock_guard l(m);
        writes.emplace_back(data, data + length);
    }
};

// A simulated controller, a library connection to it, and the bytes the library wrote.
struct World {
    Vaxo::Sim::Simulator sim{Vaxo::Sim::Config{.seed = 1234, .controllerType = 1664, .firmware = 2.0340,
                                               .recordRequests = false}};
    uint16_t port = 0;
    VaxoHandle h = nullptr;
    std::vector<std::vector<char>> openWrites; // token table, CONTROL, VERSION
    std::vector<char> vrRequest;               // VR(12)

    World() {
        port = sim.start();
        const VersionInfo v{1, 2, 1, 1196};
        vaxo_CreateContext(&v, [](void*, uint32_t, uint64_t, const char*, uint32_t) {}, nullptr, &h);
        auto& c = dynamic_cast<Vaxo::Ubrix::TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
        Capture cap;
        c.setWriteSniffer(&cap);
        vaxo_SetTcpHostName(h, "127.0.0.1");
        vaxo_SetTcpPort(h, port);
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

int connectRaw(uint16_t port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

bool readExactly(int fd, char* p, size_t n) {
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
int rawSession(World& w) {
    int fd = connectRaw(w.port);
    send(fd, w.openWrites[0].data(), w.openWrites[0].size(), MSG_NOSIGNAL);
    std::string table;
    char buf[4096];
    while (table.find("[EOT]\r\n") == std::string::npos) {
        ssize_t r = recv(fd, buf, sizeof buf, 0);
        if (r <= 0)
            return -1;
        table.append(buf, size_t(r));
    }
    send(fd, w.openWrites[1].data(), w.openWrites[1].size(), MSG_NOSIGNAL);
    readExactly(fd, buf, 8);  // CONTROL: TMS320 value and status
    send(fd, w.openWrites[2].data(), w.openWrites[2].size(), MSG_NOSIGNAL);
    readExactly(fd, buf, 16); // VERSION: IEEE 64 value and status
    return fd;
}

void report(benchmark::State& state, std::vector<double>& us) {
    if (us.empty())
        return;
    std::sort(us.begin(), us.end());
    state.counters["p50_us"] = us[us.size() / 2];
    state.counters["p99_us"] = us[std::min(us.size() - 1, us.size() * 99 / 100)];
}

void BM_Library_GetVrValue(benchmark::State& state) {
    World& w = World::get();
    std::vector<double> us;
    us.reserve(1 << 20);
    double v;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        if (vaxo_GetVrValue(w.h, 12, &v) != 0)
            state.SkipWithError("GetVrValue failed");
        us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
    }
    report(state, us);
}

void BM_RawSocket_PingPong(benchmark::State& state) {
    World& w = World::get();
    int fd = rawSession(w);
    std::vector<double> us;
    us.reserve(1 << 20);
    char reply[16];
    for (auto _ : state) {
        const auto t0 = Clock::now();
        send(fd, w.vrRequest.data(), w.vrRequest.size(), MSG_NOSIGNAL);
        if (!readExactly(fd, reply, 16))
            state.SkipWithError("raw read failed");
        us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
    }
    close(fd);
    report(state, us);
}

// The engine's shape without the library: callers write under a lock and queue a waiter;
// one reader thread reads each 16-byte reply and wakes its waiter.
class EngineShaped {
public:
    explicit EngineShaped(World& w) : m_request(w.vrRequest), m_fd(rawSession(w)) {
        m_reader = std::thread([this] { read(); });
    }
    ~EngineShaped() {
        m_done = true;
        shutdown(m_fd, SHUT_RDWR);
        m_reader.join();
        close(m_fd);
    }
    bool call() {
        Waiter waiter;
        {
            std::lock_guard l(m_sendMutex);
            if (send(m_fd, m_request.data(), m_request.size(), MSG_NOSIGNAL) < 0)
                return false;
            std::lock_guard q(m_queueMutex);
            m_queue.push_back(&waiter);
        }
        m_queueCv.notify_one();
        std::unique_lock l(waiter.m);
        waiter.cv.wait(l, [&] { return waiter.ready; });
        return true;
    }

private:
    struct Waiter {
        std::mutex m;
        std::condition_variable cv;
        bool ready = false;
    };
    void read() {
        char reply[16];
        for (;;) {
            Waiter* w;
            {
                std::unique_lock l(m_queueMutex);
                m_queueCv.wait_for(l, std::chrono::milliseconds(50), [&] { return !m_queue.empty(); });
                if (m_queue.empty()) {
                    if (m_done)
                        return;
                    continue;
                }
                w = m_queue.front();
                m_queue.pop_front();
            }
            const bool ok = readExactly(m_fd, reply, 16);
            {
                std::lock_guard l(w->m);
                w->ready = true;
            }
            w->cv.notify_all();
            if (!ok)
                m_done = true;
        }
    }
    std::vector<char> m_request;
    int m_fd;
    std::mutex m_sendMutex, m_queueMutex;
    std::condition_variable m_queueCv;
    std::deque<Waiter*> m_queue;
    std::atomic<bool> m_done{false};
    std::thread m_reader;
};

void BM_EngineShaped_Call(benchmark::State& state) {
    static EngineShaped* client = nullptr;
    if (state.thread_index() == 0)
        client = new EngineShaped(World::get());
    std::vector<double> us;
    us.reserve(1 << 20);
    for (auto _ : state) {
        const auto t0 = Clock::now();
        client->call();
        us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0)
        report(state, us);
    if (state.thread_index() == 0) {
        delete client;
        client = nullptr;
    }
}

void BM_Library_Threads(benchmark::State& state) {
    World& w = World::get();
    double v;
    const uint32_t index = 100 + uint32_t(state.thread_index());
    for (auto _ : state)
        benchmark::DoNotOptimize(vaxo_GetVrValue(w.h, index, &v));
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_RawSocket_PingPong)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_EngineShaped_Call)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_Library_GetVrValue)->UseRealTime()->MinTime(1.0);
BENCHMARK(BM_Library_Threads)->UseRealTime()->MinTime(1.0)->Threads(1)->Threads(2)->Threads(4)->Threads(8)->Threads(16);
BENCHMARK(BM_EngineShaped_Call)->Name("BM_EngineShaped_Threads")->UseRealTime()->MinTime(1.0)->Threads(1)->Threads(2)->Threads(8);
