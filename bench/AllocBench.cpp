// Heap use of the library: allocations per command on the command path once it is warm, and
// memory per open connection. The simulated controller runs in a child process forked before
// anything else, so every allocation counted here is the library's (caller and reader thread).
// A counting operator new replaces the global one for this program only.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <new>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <vaxo/vaxo.h>

#include "CountingNew.h"
#include "bench/BenchWorld.h"
#include "sim/Controller.h"
#include "sim/ForkedSimulator.h"
#include "sim/Simulator.h"

namespace {
using VaxoTest::g_allocations;
} // namespace

namespace {

std::uint16_t g_port = 0;

VaxoHandle connection() {
    static VaxoHandle h = [] {
        VaxoHandle c = VaxoBench::openContext(g_port);
        if (vaxo_OpenConnection(c) != 0)
            std::fprintf(stderr, "cannot open the simulated controller\n");
        return c;
    }();
    return h;
}

// Allocations per command after a warm-up, counted over the whole process (caller and reader
// thread) while the commands run.
template <class Call>
void allocationsPerCommand(benchmark::State& state, Call call) {
    VaxoHandle h = connection();
    for (int i = 0; i < 1000; ++i)
        call(h, i);
    const std::uint64_t before = g_allocations.load();
    std::int64_t n = 0;
    for (auto _ : state) {
        if (call(h, int(n++)) != 0) {
            state.SkipWithError("command failed");
            break;
        }
    }
    const std::uint64_t after = g_allocations.load();
    state.counters["allocs_per_cmd"] = n ? double(after - before) / double(n) : 0.0;
}

void BM_Alloc_GetVrValue(benchmark::State& state) {
    allocationsPerCommand(state, [](VaxoHandle h, int) {
        double v;
        return vaxo_GetVrValue(h, 12, &v);
    });
}

void BM_Alloc_SetVrValue(benchmark::State& state) {
    allocationsPerCommand(state, [](VaxoHandle h, int i) { return vaxo_SetVrValue(h, 13, double(i)); });
}

// The simulated controller's side of the same exchange, in this process: decoding and
// answering VR(12) once the session is warm. The bytes are those the library wrote.
void BM_Alloc_SimRequest(benchmark::State& state) {
    VaxoHandle h = VaxoBench::openContext(g_port);
    auto& c = dynamic_cast<Vaxo::Ubrix::TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
    VaxoBench::Capture cap;
    c.setWriteSniffer(&cap);
    double v;
    if (vaxo_OpenConnection(h) != 0 || vaxo_GetVrValue(h, 12, &v) != 0 || cap.writes.size() != 4) {
        state.SkipWithError("cannot capture the open and a VR read");
        vaxo_DestroyContext(h);
        return;
    }
    c.setWriteSniffer(nullptr);
    vaxo_DestroyContext(h);
    Vaxo::Sim::Controller ctl(VaxoBench::simConfig());
    Vaxo::Sim::Session session(ctl, 1);
    Vaxo::Sim::Outgoing out;
    auto feed = [&](const std::vector<char>& bytes) {
        session.feed(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        bool answered = false;
        while (session.next(out))
            answered = true;
        return answered;
    };
    for (const auto& w : cap.writes)
        feed(w);
    for (int i = 0; i < 1000; ++i)
        feed(cap.writes[3]);
    const std::uint64_t before = g_allocations.load();
    std::int64_t n = 0;
    for (auto _ : state) {
        if (!feed(cap.writes[3])) {
            state.SkipWithError("no answer");
            break;
        }
        ++n;
    }
    state.counters["allocs_per_request"] = n ? double(g_allocations.load() - before) / double(n) : 0.0;
}

long residentKiB() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Memory of one open connection: heap in use (mallinfo2) and resident size, each the change
// over opening 64 connections divided by 64. The reader thread's stack counts as far as it is
// touched.
void BM_Memory_PerConnection(benchmark::State& state) {
    constexpr int kConnections = 64;
    double heap = 0, rss = 0;
    for (auto _ : state) {
        std::vector<VaxoHandle> hs;
        const auto heap0 = mallinfo2().uordblks;
        const long rss0 = residentKiB();
        for (int i = 0; i < kConnections; ++i) {
            hs.push_back(VaxoBench::openContext(g_port));
            if (vaxo_OpenConnection(hs.back()) != 0) {
                state.SkipWithError("open failed");
                break;
            }
        }
        heap = double(mallinfo2().uordblks - heap0) / kConnections;
        rss = double(residentKiB() - rss0) * 1024.0 / kConnections;
        for (VaxoHandle h : hs)
            vaxo_DestroyContext(h);
    }
    state.counters["heap_bytes_per_conn"] = heap;
    state.counters["rss_bytes_per_conn"] = rss;
}

} // namespace

BENCHMARK(BM_Alloc_GetVrValue)->UseRealTime()->Iterations(20000);
BENCHMARK(BM_Alloc_SetVrValue)->UseRealTime()->Iterations(20000);
BENCHMARK(BM_Alloc_SimRequest)->Iterations(20000);
BENCHMARK(BM_Memory_PerConnection)->UseRealTime()->Iterations(1);

int main(int argc, char** argv) {
    // The simulated controller lives in a child process forked before any thread exists.
    Vaxo::Sim::ForkedSimulator controller(VaxoBench::simConfig());
    g_port = controller.port();
    if (g_port == 0)
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
