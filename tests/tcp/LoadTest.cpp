// The command link under load: many host threads on one connection, each checking every
// result against what it wrote itself; many connections from one process at once; and a
// connection opened and closed over and over while other threads keep issuing commands.
//
// Counts scale with VAXO_LOAD_SCALE (a factor, default 1); builds with a sanitizer default to a
// tenth, which keeps each test well inside its time there.
#include "SimFixture.h"
#include "SummaryLog.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>
#include <future>
#include <thread>

using namespace vaxotest;
using namespace std::chrono_literals;

namespace {

constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr double kType = 1664, kFirmware = 2.0340;

double loadScale() {
    if (const char* s = std::getenv("VAXO_LOAD_SCALE"); s && *s)
        return std::max(0.001, std::atof(s));
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0.1;
#else
    return 1.0;
#endif
}

int scaled(int count) { return std::max(1, int(count * loadScale())); }

// What one thread has written, and the checks of what it reads back.
struct Checker {
    long long checked = 0;
    long long lost = 0;
    void expect(bool ok) {
        ++checked;
        if (!ok)
            ++lost;
    }
};

// One thread's mix on a shared connection. Every operation is checked: writes must succeed,
// reads must return exactly the thread's own last write. Each thread has its own VR and TABLE
// ranges and its own axis.
void mixedCommands(VaxoHandle h, int thread, int count, Checker& c) {
    const uint32_t vrBase = 1000 + uint32_t(thread) * 100;    // singles 0..39, block 40..79
    const uint32_t stringBase = 20000 + uint32_t(thread) * 64; // one VR per character
    const uint32_t tableBase = 10000 + uint32_t(thread) * 100;
    double vr[40] = {}, table[40] = {}, block[8] = {};
    double speed = 0;
    std::string text;
    for (int i = 0; i < count; ++i) {
        const double value = thread * 1e6 + i + 0.25;
        const uint32_t slot = uint32_t(i / 10) % 40;
        switch (i % 10) {
        case 0:
            c.expect(vaxo_SetVrValue(h, vrBase + slot, value) == 0);
            vr[slot] = value;
            break;
        case 1: {
            double back = -1;
            c.expect(vaxo_GetVrValue(h, vrBase + slot, &back) == 0 && back == vr[slot]);
            break;
        }
        case 2:
            c.expect(vaxo_SetTableValue(h, tableBase + slot, value) == 0);
            table[slot] = value;
            break;
        case 3: {
            double back = -1;
            c.expect(vaxo_GetTableValue(h, tableBase + slot, &back) == 0 && back == table[slot]);
            break;
        }
        case 4:
            for (int k = 0; k < 8; ++k)
                block[k] = value + k;
            c.expect(vaxo_SetMultiVrValues(h, vrBase + 40, 8, block) == 0);
            break;
        case 5: {
            double back[8] = {};
            c.expect(vaxo_GetMultiVrValues(h, vrBase + 40, 8, back) == 0 && std::equal(back, back + 8, block));
            break;
        }
        case 6:
            text = "thread " + std::to_string(thread) + " says " + std::to_string(i);
            c.expect(vaxo_SetVrString(h, stringBase, text.c_str()) == 0);
            break;
        case 7: {
            std::string back;
            c.expect(vaxo_GetVrString4c(
                         h, stringBase, [](void* u, const char* t, uint32_t n) { static_cast<std::string*>(u)->assign(t, n); },
                         &back) == 0 &&
                     back == text);
            break;
        }
        case 8:
            // The controller has axes 0 to 7: one each for the first eight threads; the others
            // read parameters every thread shares.
            if (thread < 8) {
                speed = value;
                c.expect(vaxo_SetAxisParameter_SPEED(h, uint32_t(thread), speed) == 0);
            } else {
                double version = 0;
                c.expect(vaxo_GetSystemParameter_VERSION(h, &version) == 0 && version == kFirmware);
            }
            break;
        case 9: {
            double back = -1;
            if (thread < 8)
                c.expect(vaxo_GetAxisParameter_SPEED(h, uint32_t(thread), &back) == 0 && back == speed);
            else
                c.expect(vaxo_GetSystemParameter_CONTROL(h, &back) == 0 && back == kType);
            break;
        }
        }
    }
}

} // namespace

TEST_F(SimConnection, LoadSixteenThreadsOnOneConnection) {
    open({.controllerType = kType, .firmware = kFirmware});
    sim->clearRequests();
    const int threads = 16, perThread = scaled(10000);
    std::vector<Checker> checks(threads);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
        pool.emplace_back([&, t] { mixedCommands(h, t, perThread, checks[std::size_t(t)]); });
    for (auto& th : pool)
        th.join();
    long long checked = 0, lost = 0;
    for (const auto& c : checks) {
        checked += c.checked;
        lost += c.lost;
    }
    EXPECT_EQ(checked, (long long)threads * perThread);
    EXPECT_EQ(lost, 0);
    VaxoTest::summaryAdd("load_commands_checked", checked);
    VaxoTest::summaryAdd("data_lost", lost);
}

// 64 connections, each to its own simulated controller, all busy at once.
TEST(Load, SixtyFourConnectionsAtOnce) {
    const int links = 64, perLink = scaled(400);
    std::atomic<long long> checked{0}, lost{0};
    std::vector<std::thread> pool;
    for (int l = 0; l < links; ++l) {
        pool.emplace_back([&, l, seed = freshSeed()] {
            Vaxo::Sim::Simulator sim({.seed = seed, .controllerType = kType, .firmware = kFirmware, .vrCount = 32768, .tableCount = 12000, .recordRequests = false});
            const uint16_t port = sim.start();
            VaxoHandle h = nullptr;
            const ::VersionInfo v{1, 2, 1, 1196};
            Checker c;
            if (port == 0 || vaxo_CreateContext(&v, nullptr, nullptr, &h) != 0) {
                ++lost;
                return;
            }
            vaxo_SetTcpHostName(h, "127.0.0.1");
            vaxo_SetTcpPort(h, port);
            vaxo_SetTcpCommandTimeout(h, 10000);
            c.expect(vaxo_OpenConnection(h) == 0);
            mixedCommands(h, l % 16, perLink, c);
            // Each link talks to its own controller: what this one holds is this link's only.
            c.expect(sim.vr(1000 + uint32_t(l % 16) * 100) != 0);
            c.expect(vaxo_CloseConnection(h) == 0);
            vaxo_DestroyContext(h);
            sim.stop();
            checked += c.checked;
            lost += c.lost;
        });
    }
    for (auto& th : pool)
        th.join();
    EXPECT_EQ(lost.load(), 0);
    EXPECT_EQ(checked.load(), (long long)links * (perLink + 3));
    VaxoTest::summaryAdd("load_commands_checked", checked.load());
    VaxoTest::summaryAdd("data_lost", lost.load());
}

// One handle opened and closed again and again while other threads issue commands: each
// command either succeeds, with exactly the data of this thread, or is refused as
// Disconnected; nothing crashes, hangs or reads another command's reply.
TEST_F(SimConnection, LoadOpenCloseCyclesWhileCommandsRun) {
    open({});
    const int cycles = scaled(150);
    std::atomic<bool> done{false};
    std::atomic<long long> ok{0}, refused{0}, wrong{0};
    // What went wrong, for the failure message.
    std::mutex notesMutex;
    std::vector<std::string> notes;
    auto note = [&](std::string text) {
        std::lock_guard lock(notesMutex);
        if (notes.size() < 8)
            notes.push_back(std::move(text));
    };
    auto hex = [](uint64_t e) {
        char b[24];
        std::snprintf(b, sizeof b, "0x%llx", static_cast<unsigned long long>(e));
        return std::string(b);
    };
    std::vector<std::thread> pool;
    for (int t = 0; t < 4; ++t) {
        pool.emplace_back([&, t] {
            const uint32_t index = 500 + uint32_t(t);
            // Values written count up; a read must see one between the last write acknowledged
            // and the last one attempted (a write cut off by a close may or may not have landed).
            double acked = 0, attempted = 0;
            for (int i = 1; !done; ++i) {
                const double value = t * 1e7 + i;
                attempted = value;
                const uint64_t w = vaxo_SetVrValue(h, index, value);
                if (w == 0)
                    acked = value;
                double back = -1;
                const uint64_t r = vaxo_GetVrValue(h, index, &back);
                for (uint64_t e : {w, r}) {
                    (e == 0 ? ok : e == kDisconnected ? refused : wrong)++;
                    if (e != 0 && e != kDisconnected)
                        note("thread " + std::to_string(t) + ": code " + hex(e));
                }
                if (r == 0 && acked != 0 && !(back >= acked && back <= attempted)) {
                    ++wrong;
                    note("thread " + std::to_string(t) + ": read " + std::to_string(back) + " after writing " +
                         std::to_string(acked) + ".." + std::to_string(attempted));
                }
                if (r == kDisconnected) // a host would not spin on a closed link either
                    std::this_thread::sleep_for(200us);
            }
        });
    }
    long long opened = 0;
    for (int c = 0; c < cycles; ++c) {
        EXPECT_EQ(vaxo_CloseConnection(h), 0u);
        std::this_thread::sleep_for(1ms);
        const uint64_t e = vaxo_OpenConnection(h);
        EXPECT_EQ(e, 0u) << "cycle " << c;
        opened += e == 0;
        std::this_thread::sleep_for(2ms);
    }
    done = true;
    for (auto& th : pool)
        th.join();
    std::string seen;
    for (const std::string& n : notes)
        seen += "\n  " + n;
    EXPECT_EQ(wrong.load(), 0) << seen;
    EXPECT_GT(ok.load(), 0);
    EXPECT_EQ(opened, cycles);
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u);
    VaxoTest::summaryAdd("load_commands_checked", ok.load() + refused.load());
    VaxoTest::summaryAdd("data_lost", wrong.load());
}
