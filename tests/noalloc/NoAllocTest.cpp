// The command path does not allocate once it is warm: a counting operator new (replaced for
// this test program only) watches whole VR and TABLE reads and writes through the flat
// interface. The simulated controller runs in a child process forked before any thread
// exists, so every allocation counted is the library's, on the caller's or the reader thread.
// Also here: the pump's queue, whose ring keeps its storage, keeps its order across growth.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>

#include <vaxo/vaxo.h>

#include "CountingNew.h"
#include "SummaryLog.h"
#include "shared/receive/SafeQueue.h"
#include "sim/ForkedSimulator.h"

namespace {

using VaxoTest::g_allocations;

TEST(NoAlloc, WarmCommandsDoNotAllocate) {
    Vaxo::Sim::ForkedSimulator controller(
        Vaxo::Sim::Config{.seed = 77, .controllerType = 1664, .firmware = 2.0340, .recordRequests = false});
    ASSERT_NE(controller.port(), 0);
    VaxoHandle h = nullptr;
    const VersionInfo v{1, 2, 1, 1196};
    ASSERT_EQ(vaxo_CreateContext(&v, nullptr, nullptr, &h), 0u);
    ASSERT_EQ(vaxo_SetTcpHostName(h, "127.0.0.1"), 0u);
    ASSERT_EQ(vaxo_SetTcpPort(h, controller.port()), 0u);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);

    struct Case {
        const char* name;
        std::function<uint64_t(int)> call;
    };
    double value = 0;
    const Case cases[] = {
        {"GetVrValue", [&](int) { return vaxo_GetVrValue(h, 12, &value); }},
        {"SetVrValue", [&](int i) { return vaxo_SetVrValue(h, 13, i * 0.5); }},
        {"GetTableValue", [&](int) { return vaxo_GetTableValue(h, 40, &value); }},
        {"SetTableValue", [&](int i) { return vaxo_SetTableValue(h, 41, i * 0.25); }},
    };
    constexpr int kWarmUp = 200, kCounted = 500;
    for (const Case& c : cases) {
        for (int i = 0; i < kWarmUp; ++i)
            ASSERT_EQ(c.call(i), 0u) << c.name;
        const std::uint64_t before = g_allocations.load();
        for (int i = 0; i < kCounted; ++i)
            ASSERT_EQ(c.call(i), 0u) << c.name;
        const std::uint64_t allocations = g_allocations.load() - before;
        EXPECT_EQ(allocations, 0u) << c.name << ": " << allocations << " allocations in " << kCounted << " commands";
        VaxoTest::summaryAdd("command_path_allocations", static_cast<long long>(allocations));
    }
    // The values went where they were meant to: the writes above are not dropped.
    ASSERT_EQ(vaxo_GetVrValue(h, 13, &value), 0u);
    EXPECT_EQ(value, (kCounted - 1) * 0.5);
    ASSERT_EQ(vaxo_GetTableValue(h, 41, &value), 0u);
    EXPECT_EQ(value, (kCounted - 1) * 0.25);
    EXPECT_EQ(vaxo_DestroyContext(h), 0u);
}

TEST(NoAlloc, PumpQueueKeepsOrderAcrossGrowthAndWrap) {
    Vaxo::Ubrix::Shared::SafeQueue<int> q;
    int next = 0, expect = 0;
    // Interleaved pushes and pops move the ring's head around before each growth, so the
    // copy into the larger ring has to unwrap it.
    for (int round = 1; round <= 6; ++round) {
        for (int i = 0; i < round * 11; ++i)
            q.Push(next++);
        for (int i = 0; i < round * 7; ++i)
            ASSERT_EQ(q.Pop(), expect++);
    }
    while (!q.IsEmpty())
        ASSERT_EQ(q.Pop(0), expect++);
    EXPECT_EQ(expect, next);
    const std::uint64_t before = g_allocations.load();
    for (int i = 0; i < 1000; ++i) {
        q.Push(i);
        ASSERT_EQ(q.Pop(), i);
    }
    EXPECT_EQ(g_allocations.load() - before, 0u);
}

} // namespace
