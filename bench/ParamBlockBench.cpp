// Reading 64 VRs: one parameter-block fetch of all values, one fetch of the changed values
// (one VR changed per round, and none), and 64 single vaxo_GetVrValue calls, side by side
// against the simulated controller. The counter "vrs_per_s" compares them directly.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <vaxo/vaxo.h>

#include "sim/Simulator.h"

namespace {

constexpr uint32_t kEntries = 64;
constexpr uint32_t kFirst = 1000;

struct World {
    Vaxo::Sim::Simulator sim{Vaxo::Sim::Config{.seed = 4321, .controllerType = 1664, .firmware = 2.0340,
                                               .recordRequests = false}};
    VaxoHandle h = nullptr;
    int32_t block = -1;

    World() {
        const uint16_t port = sim.start();
        const VersionInfo v{1, 2, 1, 1196};
        vaxo_CreateContext(&v, [](void*, uint32_t, uint64_t, const char*, uint32_t) {}, nullptr, &h);
        vaxo_SetTcpHostName(h, "127.0.0.1");
        vaxo_SetTcpPort(h, port);
        if (vaxo_OpenConnection(h) != 0)
            std::fprintf(stderr, "cannot open the simulated controller\n");
        std::vector<uint32_t> idx(kEntries);
        for (uint32_t i = 0; i < kEntries; ++i) {
            idx[i] = kFirst + i;
            sim.setVr(kFirst + i, 1.5 * i);
        }
        if (vaxo_ParamBlockDefineVr(h, idx.data(), kEntries, &block) != 0)
            std::fprintf(stderr, "cannot define the block\n");
    }
    ~World() {
        vaxo_DestroyContext(h);
        sim.stop();
    }
};

World& world() {
    static World w;
    return w;
}

void finish(benchmark::State& state) {
    state.counters["vrs_per_s"] = benchmark::Counter(double(state.iterations()) * kEntries, benchmark::Counter::kIsRate);
}

void BM_FetchAll64(benchmark::State& state) {
    World& w = world();
    double values[kEntries];
    for (auto _ : state) {
        if (vaxo_ParamBlockFetchAllVr(w.h, w.block, values, kEntries) != 0) {
            state.SkipWithError("fetch failed");
            break;
        }
        benchmark::DoNotOptimize(values);
    }
    finish(state);
}

void BM_FetchChanged64_OneChanged(benchmark::State& state) {
    World& w = world();
    double values[kEntries];
    uint64_t mask = 0;
    static double n = 0; // the benchmark runs this function several times: never repeat a value
    // The block's first fetch of the changed values reports every entry (nothing was fetched
    // before); the shuffled repetitions may run this benchmark first, so start from a fetch.
    vaxo_ParamBlockFetchAllVr(w.h, w.block, values, kEntries);
    for (auto _ : state) {
        w.sim.setVr(kFirst + 7, ++n); // a locked store in the controller: negligible here
        const uint64_t e = vaxo_ParamBlockFetchChangedVr(w.h, w.block, values, kEntries, &mask);
        if (e != 0 || mask != (1u << 7)) {
            state.SkipWithError(("fetch failed: " + std::to_string(e) + " mask " + std::to_string(mask)).c_str());
            break;
        }
    }
    finish(state);
}

void BM_FetchChanged64_NoneChanged(benchmark::State& state) {
    World& w = world();
    double values[kEntries];
    uint64_t mask = 0;
    vaxo_ParamBlockFetchAllVr(w.h, w.block, values, kEntries);
    for (auto _ : state) {
        if (vaxo_ParamBlockFetchChangedVr(w.h, w.block, values, kEntries, &mask) != 0 || mask != 0) {
            state.SkipWithError("fetch failed");
            break;
        }
    }
    finish(state);
}

void BM_SingleGetVrValue64(benchmark::State& state) {
    World& w = world();
    double values[kEntries];
    for (auto _ : state) {
        bool ok = true;
        for (uint32_t i = 0; i < kEntries; ++i)
            ok = vaxo_GetVrValue(w.h, kFirst + i, &values[i]) == 0 && ok;
        if (!ok) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(values);
    }
    finish(state);
}

BENCHMARK(BM_FetchAll64)->UseRealTime();
BENCHMARK(BM_FetchChanged64_OneChanged)->UseRealTime();
BENCHMARK(BM_FetchChanged64_NoneChanged)->UseRealTime();
BENCHMARK(BM_SingleGetVrValue64)->UseRealTime();

} // namespace
