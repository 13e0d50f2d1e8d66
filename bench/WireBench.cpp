// One command at a time and many commands on one connection, each beside the limits it is
// compared with, in the same run:
//  - vaxo_GetVrValue against the simulated controller; a raw-socket client sending identical
//    bytes from one thread; a minimal client built like the engine (caller writes under a lock,
//    one reader thread wakes it); libmodbus reading one holding register from libmodbus's own
//    server on another loopback port. Latency rows report percentiles as counters.
//  - vaxo_GetVrValue from 1 to 16 host threads on one connection, the engine-shaped client with
//    as many callers, and a raw client keeping as many requests in flight from one thread.
//  - the simulated controller's own cost per request (decode and answer, no socket).
//  - text replies of 210 bytes: replies per second and socket reads per reply.
#include "bench/BenchWorld.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <thread>

#include <modbus/modbus.h>

#include "sim/Controller.h"

namespace {

using namespace VaxoBench;

void BM_Library_GetVrValue(benchmark::State& state) {
    World& w = World::get();
    Latencies lat;
    double v;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        if (vaxo_GetVrValue(w.h, 12, &v) != 0) {
            state.SkipWithError("GetVrValue failed");
            break;
        }
        lat.add(t0);
    }
    lat.report(state);
}

// Text replies: the controller answers every EXECUTE with the same 210-byte text, read into a
// caller's buffer. Replies per second, and socket reads per reply on both ends together (the
// library's counted by its read sniffer, which is called once per socket read that brought
// bytes; the controller's by the simulator).
void BM_Library_TextReply(benchmark::State& state) {
    World& w = World::get();
    auto& c = dynamic_cast<Vaxo::Ubrix::TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(w.h));
    struct ReadCounter final : Vaxo::Ubrix::Shared::ISniffer {
        std::atomic<std::size_t> calls{0};
        void sniff(const char*, unsigned int) override { calls.fetch_add(1, std::memory_order_relaxed); }
    } counter;
    std::string text;
    for (int i = 0; text.size() < 210; ++i)
        text += char('A' + i % 26);
    w.sim.faults().textReply(text, {"EXECUTE", 0});
    c.setReadSniffer(&counter);
    const std::size_t simBefore = w.sim.socketReads();
    char buffer[512];
    for (auto _ : state) {
        std::uint32_t size = sizeof buffer;
        if (vaxo_ExecuteWithResponse4a(w.h, "PRINT 1", buffer, &size) != 0 || size != text.size() + 1) {
            state.SkipWithError("ExecuteWithResponse failed");
            break;
        }
    }
    c.setReadSniffer(nullptr);
    w.sim.faults().clear();
    const double replies = double(state.iterations());
    state.SetItemsProcessed(state.iterations());
    state.counters["replies_per_s"] = benchmark::Counter(replies, benchmark::Counter::kIsRate);
    state.counters["reads_per_reply"] = double(counter.calls.load() + w.sim.socketReads() - simBefore) / replies;
}

void BM_RawSocket_PingPong(benchmark::State& state) {
    World& w = World::get();
    const int fd = rawSession(w);
    Latencies lat;
    char reply[kVrReplySize];
    for (auto _ : state) {
        const auto t0 = Clock::now();
        send(fd, w.vrRequest.data(), w.vrRequest.size(), MSG_NOSIGNAL);
        if (!readExactly(fd, reply, sizeof reply)) {
            state.SkipWithError("raw read failed");
            break;
        }
        lat.add(t0);
    }
    close(fd);
    lat.report(state);
}

// The engine's shape without the library: callers write under a lock and queue a waiter;
// one reader thread reads each reply and wakes its waiter.
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
        char reply[kVrReplySize];
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
            const bool ok = readExactly(m_fd, reply, sizeof reply);
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

// Shared by the threads of one run: the first thread creates it, the last one to leave
// destroys it.
EngineShaped* g_engine = nullptr;

void BM_EngineShaped_Call(benchmark::State& state) {
    if (state.thread_index() == 0)
        g_engine = new EngineShaped(World::get());
    Latencies lat;
    const CpuMeter cpu;
    for (auto _ : state) { // the framework starts every thread's loop together, after the setup above
        const auto t0 = Clock::now();
        g_engine->call();
        lat.add(t0);
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0) {
        lat.report(state);
        cpu.report(state);
        delete g_engine;
        g_engine = nullptr;
    }
}

void BM_Library_Threads(benchmark::State& state) {
    World& w = World::get();
    double v;
    const uint32_t index = 100 + uint32_t(state.thread_index());
    const CpuMeter cpu;
    for (auto _ : state)
        benchmark::DoNotOptimize(vaxo_GetVrValue(w.h, index, &v));
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0)
        cpu.report(state);
}

// One thread keeps `depth` identical requests in flight on one raw socket: each reply read
// lets one more request go out, replacements written together before the next read.
void BM_RawSocket_Pipelined(benchmark::State& state) {
    World& w = World::get();
    const int depth = int(state.range(0));
    const int fd = rawSession(w);
    std::vector<char> burst;
    for (int i = 0; i < depth; ++i)
        burst.insert(burst.end(), w.vrRequest.begin(), w.vrRequest.end());
    const std::size_t reqSize = w.vrRequest.size();
    send(fd, burst.data(), burst.size(), MSG_NOSIGNAL);
    std::vector<char> in(64 * 1024);
    std::size_t have = 0;  // unread reply bytes in `in`
    std::size_t owed = 0;  // replies taken whose replacement is not yet written
    std::size_t inFlight = std::size_t(depth);
    const CpuMeter cpu;
    for (auto _ : state) {
        if (have < kVrReplySize) {
            if (owed) {
                send(fd, burst.data(), owed * reqSize, MSG_NOSIGNAL);
                inFlight += owed;
                owed = 0;
            }
            while (have < kVrReplySize) {
                const ssize_t r = recv(fd, in.data() + have, in.size() - have, 0);
                if (r <= 0) {
                    state.SkipWithError("raw read failed");
                    break;
                }
                have += std::size_t(r);
            }
            if (have < kVrReplySize)
                break;
        }
        // Consume one reply from the front; keep the rest at the start of the buffer.
        have -= kVrReplySize;
        std::memmove(in.data(), in.data() + kVrReplySize, have);
        --inFlight;
        ++owed;
    }
    // Drain what is still in flight so the next run starts on a quiet link.
    std::size_t left = inFlight * kVrReplySize - std::min(have, inFlight * kVrReplySize);
    while (left) {
        const ssize_t r = recv(fd, in.data(), std::min(left, in.size()), 0);
        if (r <= 0)
            break;
        left -= std::size_t(r);
    }
    close(fd);
    state.SetItemsProcessed(state.iterations());
    cpu.report(state);
}

// The simulated controller's own work per request: decoding VR(12) and answering it, without
// the socket. Compare with the round trips above: it is a small part of them.
void BM_Sim_VrRequest(benchmark::State& state) {
    World& w = World::get();
    Vaxo::Sim::Controller ctl(simConfig());
    Vaxo::Sim::Session session(ctl, 1);
    Vaxo::Sim::Outgoing out;
    const auto* req = reinterpret_cast<const std::uint8_t*>(w.vrRequest.data());
    // The open sequence puts the session in the state the library left it in.
    for (const auto& bytes : w.openWrites) {
        session.feed(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        while (session.next(out)) {
        }
    }
    for (auto _ : state) {
        session.feed(req, w.vrRequest.size());
        if (!session.next(out) || out.bytes.size() != kVrReplySize) {
            state.SkipWithError("the simulated controller did not answer");
            break;
        }
        benchmark::DoNotOptimize(out.bytes.data());
    }
    state.SetItemsProcessed(state.iterations());
}

// libmodbus's client reading one holding register from libmodbus's own server, which runs in
// a thread of this process on its own loopback port.
class ModbusPeer {
public:
    ModbusPeer() {
        m_server = modbus_new_tcp("127.0.0.1", 0);
        m_mapping = modbus_mapping_new(0, 0, 16, 0);
        m_listen = modbus_tcp_listen(m_server, 1);
        sockaddr_in a{};
        socklen_t len = sizeof a;
        getsockname(m_listen, reinterpret_cast<sockaddr*>(&a), &len);
        const int port = ntohs(a.sin_port);
        m_thread = std::thread([this] { serve(); });
        m_client = modbus_new_tcp("127.0.0.1", port);
        if (modbus_connect(m_client) != 0) {
            modbus_free(m_client);
            m_client = nullptr;
        }
    }
    ~ModbusPeer() {
        if (m_client) {
            modbus_close(m_client);
            modbus_free(m_client);
        } else {
            shutdown(m_listen, SHUT_RDWR);
        }
        m_thread.join();
        close(m_listen);
        modbus_mapping_free(m_mapping);
        modbus_free(m_server);
    }
    bool read(std::uint16_t& value) { return m_client && modbus_read_registers(m_client, 3, 1, &value) == 1; }
    static ModbusPeer& get() {
        static ModbusPeer p;
        return p;
    }

private:
    void serve() {
        int s = m_listen;
        if (modbus_tcp_accept(m_server, &s) < 0)
            return;
        std::uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
        for (;;) {
            const int n = modbus_receive(m_server, query);
            if (n > 0)
                modbus_reply(m_server, query, n, m_mapping);
            else if (n < 0)
                break; // the client closed
        }
        modbus_close(m_server);
    }
    modbus_t* m_server = nullptr;
    modbus_t* m_client = nullptr;
    modbus_mapping_t* m_mapping = nullptr;
    int m_listen = -1;
    std::thread m_thread;
};

void BM_Modbus_ReadRegister(benchmark::State& state) {
    ModbusPeer& p = ModbusPeer::get();
    Latencies lat;
    std::uint16_t v = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        if (!p.read(v)) {
            state.SkipWithError("libmodbus read failed");
            break;
        }
        lat.add(t0);
    }
    lat.report(state);
}

constexpr double kMin = 0.4;          // seconds per throughput run
constexpr std::int64_t kSamples = 10000; // round trips per latency run
// The script repeats every run and shuffles the repetitions; a fixed sample count keeps a
// repetition that meets a burst of load from shrinking the others.

} // namespace

BENCHMARK(BM_RawSocket_PingPong)->UseRealTime()->Iterations(kSamples);
BENCHMARK(BM_EngineShaped_Call)->UseRealTime()->Iterations(kSamples);
BENCHMARK(BM_Library_GetVrValue)->UseRealTime()->Iterations(kSamples);
BENCHMARK(BM_Modbus_ReadRegister)->UseRealTime()->Iterations(kSamples);
BENCHMARK(BM_Library_Threads)->UseRealTime()->MinTime(kMin)->ThreadRange(1, 16);
BENCHMARK(BM_EngineShaped_Call)->Name("BM_EngineShaped_Threads")->UseRealTime()->MinTime(kMin)->ThreadRange(1, 16);
BENCHMARK(BM_RawSocket_Pipelined)->UseRealTime()->MinTime(kMin)->RangeMultiplier(2)->Range(1, 16);
BENCHMARK(BM_Sim_VrRequest)->MinTime(kMin);
BENCHMARK(BM_Library_TextReply)->UseRealTime()->MinTime(kMin);
