// Parameter blocks end to end: exact PRMBLK requests with this run's codes, identifier rules,
// fetch-all and fetch-changed against the simulated controller's live state, every failure
// code, malformed replies, and several threads on one connection.
#include "SimFixture.h"

#include <atomic>
#include <thread>

#include "sim/IOHandlers.h"
#include "sim/ParamBlockHandlers.h"

using namespace vaxotest;

namespace {

constexpr uint64_t kBadArgument = 0x010000000C, kFail = 0x8100000001, kDisconnected = 0x0100000015,
                   kInvalid = 0x0100000016, kOutOfRange = 0x0100000017, kCapacity = 0x0100000018,
                   kBufferTooSmall = 0x010000000E, kBadResponse = 0x810000000B;

class ParamBlocks : public SimConnection {
protected:
    void openWith(Vaxo::Sim::ParamBlockLimits limits = {}) {
        startSim({.controllerType = 1664, .firmware = 2.0330});
        Vaxo::Sim::setParamBlockLimits(*sim, limits);
        makeContext();
        ASSERT_EQ(vaxo_OpenConnection(h), 0u);
        sim->clearRequests();
    }
    // PRMBLK ( args... ) ZERO, each argument a value or a ready byte sequence.
    std::vector<uint8_t> prmblk(std::vector<std::vector<uint8_t>> items) const {
        std::vector<uint8_t> out = cat(tok("PRMBLK"), tok("OPENBRACKETS"));
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (i)
                out = cat(out, tok("COMMA"));
            out = cat(out, items[i]);
        }
        return cat(out, tok("CLOSEBRACKETS"), tok("ZERO"));
    }
    std::vector<uint8_t> range(double a, double b) const { return cat(num(a), tok("RANGE"), num(b)); }
    int defineVr(std::vector<uint32_t> idx) {
        int32_t id = -7;
        EXPECT_EQ(vaxo_ParamBlockDefineVr(h, idx.data(), uint32_t(idx.size()), &id), 0u);
        return id;
    }
};

TEST_F(ParamBlocks, WireFormsOfDefinesFetchesAndDeletes) {
    openWith();
    const int a = defineVr({1, 2, 3, 7, 8});
    const int b = defineVr({3, 2, 1});
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 1);
    Range io[] = {{10, 64}, {0, 1}};
    int32_t c = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineIO(h, io, 2, &c), 0u);
    const char* names[] = {"SPEED", "UNITS(3)"};
    int32_t d = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineAxis(h, names, 2, &d), 0u);
    const char* vars[] = {"x"};
    int32_t e = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineProgVar(h, "MAIN", 7, vars, 1, &e), 0u);
    double out[16];
    Range axes{2, 3};
    ASSERT_EQ(vaxo_ParamBlockFetchAllAxisParam5b(h, d, axes, out, 16), 0u);
    uint64_t words[2];
    ASSERT_EQ(vaxo_ParamBlockFetchAllIO(h, c, true, words, 2), 0u);
    ASSERT_EQ(vaxo_ParamBlockDelete(h, a), 0u);
    ASSERT_EQ(vaxo_ParamBlockDeleteAll(h), 0u);

    // A system variable after the first element of a request, in the prefix scheme of this
    // run's code.
    auto sysvar = [&](const char* n) {
        const uint16_t code = sim->codeOf(n);
        if (code < 256)
            return cat(tok("SYSTEMVARIABLE"), std::vector<uint8_t>{uint8_t(code)});
        if (!sim->controller().sysVarBodge())
            return cat(tok("SYSTEMVARIABLE2"), std::vector<uint8_t>{uint8_t(code - 256)});
        const uint16_t ext = sim->codeOf("EXTENDED_TOKEN");
        const uint8_t high = uint8_t(code >> 8);
        return cat(tok("SYSTEMVARIABLE"), std::vector<uint8_t>{uint8_t(code & 0xFF)},
                   high < ext ? std::vector<uint8_t>{high} : std::vector<uint8_t>{uint8_t(ext), uint8_t(high - ext)});
    };
    auto quoted = [&](std::string_view t) {
        return cat(tok("QUOTES"), std::vector<uint8_t>(t.begin(), t.end()), tok("QUOTES"), tok("EOX"));
    };
    const std::vector<std::vector<uint8_t>> expected = {
        prmblk({num(5)}),
        prmblk({num(6)}),
        prmblk({num(0), num(0), num(2), range(1, 3), range(7, 8)}),
        prmblk({num(0), num(1), num(2), num(3), num(2), num(1)}),
        prmblk({num(0), num(2), num(5), num(10), num(74), num(0), num(1)}),
        prmblk({num(0), num(3), num(0), sysvar("SPEED"), cat(sysvar("UNITS"), tok("OPENBRACKETS"), num(3), tok("CLOSEBRACKETS"))}),
        prmblk({num(0), num(4), num(4), quoted("MAIN"), num(7), quoted("x")}),
        prmblk({num(3), num(3), range(2, 4)}),
        prmblk({num(3), num(2), num(1)}),
        prmblk({num(8), num(0)}),
        prmblk({num(9)}),
    };
    const auto reqs = sim->requests();
    ASSERT_EQ(reqs.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(reqs[i].bytes, expected[i]) << i << ": " << reqs[i].str();
        EXPECT_EQ(reqs[i].status, 0) << reqs[i].str();
    }

    // Too wide an I/O run is refused before any traffic.
    sim->clearRequests();
    Range wide[] = {{0, 65}};
    int32_t f = 5;
    EXPECT_EQ(vaxo_ParamBlockDefineIO(h, wide, 1, &f), kOutOfRange);
    EXPECT_EQ(f, -1);
    EXPECT_TRUE(sim->requests().empty());
}

TEST_F(ParamBlocks, IdentifierRules) {
    openWith({.maxBlocks = 4});
    EXPECT_EQ(defineVr({1}), 0);
    EXPECT_EQ(defineVr({2}), 1);
    ASSERT_EQ(vaxo_ParamBlockDelete(h, 0), 0u);
    EXPECT_EQ(defineVr({3}), 2) << "a delete keeps the local identifier";

    // A define the controller refuses frees its slot for the next one.
    sim->faults().errorStatus(19, {.command = "PRMBLK", .count = 1});
    uint32_t idx = 4;
    int32_t id = 9;
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, &idx, 1, &id), 0x0400000013u);
    EXPECT_EQ(id, -1);
    EXPECT_EQ(defineVr({4}), 3);

    // Every identifier taken: Fail, nothing sent.
    sim->clearRequests();
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, &idx, 1, &id), kFail);
    EXPECT_EQ(id, -1);
    EXPECT_TRUE(sim->requests().empty());
}

TEST_F(ParamBlocks, FetchChangedReportsExactlyTheChangedVrs) {
    openWith();
    std::vector<uint32_t> idx(40);
    for (uint32_t i = 0; i < 40; ++i) {
        idx[i] = 100 + i;
        sim->setVr(100 + i, i * 0.5);
    }
    const int id = defineVr(idx);
    double all[40];
    ASSERT_EQ(vaxo_ParamBlockFetchAllVr(h, id, all, 40), 0u);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(all[i], i * 0.5);

    sim->setVr(103, -1.25);
    sim->setVr(117, 1e20);
    sim->setVr(139, 7);
    double out[40];
    std::fill(std::begin(out), std::end(out), 42.0);
    uint64_t mask = 0;
    ASSERT_EQ(vaxo_ParamBlockFetchChangedVr(h, id, out, 40, &mask), 0u);
    EXPECT_EQ(mask, (1ull << 3) | (1ull << 17) | (1ull << 39));
    for (int i = 0; i < 40; ++i) {
        const double want = i == 3 ? -1.25 : i == 17 ? 1e20 : i == 39 ? 7.0 : 42.0;
        EXPECT_EQ(out[i], want) << i;
    }
    // Nothing changed since: empty reply, mask 0, outputs untouched.
    mask = ~0ull;
    ASSERT_EQ(vaxo_ParamBlockFetchChangedVr(h, id, out, 40, &mask), 0u);
    EXPECT_EQ(mask, 0u);
    EXPECT_EQ(out[3], -1.25);
    EXPECT_EQ(out[0], 42.0);
}

TEST_F(ParamBlocks, AxisSystemIoAndProgramBlocks) {
    openWith();
    const char* axisNames[] = {"SPEED", "ACCEL"};
    int32_t ax = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineAxis(h, axisNames, 2, &ax), 0u);
    for (uint32_t a = 0; a < 3; ++a) {
        sim->setParameter("SPEED", "AXIS", a, 10 + a);
        sim->setParameter("ACCEL", "AXIS", a, 100 + a);
    }
    double v[6] = {};
    int32_t axes[] = {2, 0};
    ASSERT_EQ(vaxo_ParamBlockFetchAllAxisParam6a(h, ax, axes, 2, v, 6), 0u);
    EXPECT_EQ(std::vector<double>(v, v + 4), (std::vector<double>{12, 102, 10, 100}));
    uint64_t masks[2] = {9, 9};
    ASSERT_EQ(vaxo_ParamBlockFetchChangedAxisParam7a(h, ax, axes, 2, v, 6, masks), 0u);
    EXPECT_EQ(masks[0] | masks[1], 0u) << "the fetch of all values was the last look";
    sim->setParameter("ACCEL", "AXIS", 0, 5);
    ASSERT_EQ(vaxo_ParamBlockFetchChangedAxisParam7a(h, ax, axes, 2, v, 6, masks), 0u);
    EXPECT_EQ(masks[0], 0u);
    EXPECT_EQ(masks[1], 2u);
    EXPECT_EQ(v[3], 5);

    const char* sysNames[] = {"SERVO_PERIOD", "AIN0"};
    int32_t sys = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineSystem(h, sysNames, 2, &sys), 0u);
    sim->setSystemParameter("SERVO_PERIOD", 250);
    double s[2];
    ASSERT_EQ(vaxo_ParamBlockFetchAllSystem(h, sys, s, 2), 0u);
    EXPECT_EQ(s[0], 250);

    Range io[] = {{8, 8}, {0, 64}};
    int32_t iob = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineIO(h, io, 2, &iob), 0u);
    Vaxo::Sim::setDigitalInput(*sim, 9, true);
    Vaxo::Sim::setDigitalInput(*sim, 63, true);
    uint64_t words[2];
    ASSERT_EQ(vaxo_ParamBlockFetchAllIO(h, iob, false, words, 2), 0u);
    EXPECT_EQ(words[0], 0x2u);
    EXPECT_EQ(words[1], (1ull << 63) | (1ull << 9));

    const char* vars[] = {"count", "name", "flag"};
    int32_t pv = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineProgVar(h, "MAIN", 0, vars, 3, &pv), 0u);
    double d;
    EXPECT_EQ(vaxo_ParamBlockGetProgDoubleValue(h, pv, 0, &d), kFail) << "nothing fetched yet";
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "count", "-12");
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "name", "hello");
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "flag", "1.0000");
    ASSERT_EQ(vaxo_ParamBlockFetchAllProgVar(h, pv), 0u);
    int64_t i64;
    ASSERT_EQ(vaxo_ParamBlockGetProgInt64Value(h, pv, 0, &i64), 0u);
    EXPECT_EQ(i64, -12);
    uint32_t u32 = 3;
    EXPECT_EQ(vaxo_ParamBlockGetProgUInt32Value(h, pv, 0, &u32), kOutOfRange);
    EXPECT_EQ(u32, 3u);
    bool flag = false;
    ASSERT_EQ(vaxo_ParamBlockGetProgBoolValue(h, pv, 2, &flag), 0u);
    EXPECT_TRUE(flag);
    char text[8];
    uint32_t size = sizeof text;
    ASSERT_EQ(vaxo_ParamBlockGetProgStrValue5a(h, pv, 1, text, &size), 0u);
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(vaxo_ParamBlockGetProgDoubleValue(h, pv, 3, &d), kBadArgument);
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "name", "world");
    uint64_t mask = 0;
    ASSERT_EQ(vaxo_ParamBlockFetchChangedProgVar(h, pv, &mask), 0u);
    EXPECT_EQ(mask, 2u);
    size = sizeof text;
    ASSERT_EQ(vaxo_ParamBlockGetProgStrValue5a(h, pv, 1, text, &size), 0u);
    EXPECT_STREQ(text, "world");
}

TEST_F(ParamBlocks, FailureCodes) {
    openWith({.maxBlocks = 8, .maxEntries = 4, .enforceEntries = false});
    uint32_t five[] = {1, 3, 5, 7, 9};
    int32_t id = 0;
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, five, 0, &id), kBadArgument) << "empty list";
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, five, 5, &id), kCapacity) << "controller holds more than the mirror may";
    EXPECT_EQ(id, -1);
    const int vr = defineVr({1, 2});
    double out[4];
    EXPECT_EQ(vaxo_ParamBlockFetchAllVr(h, vr, out, 1), kBufferTooSmall);
    EXPECT_EQ(vaxo_ParamBlockFetchAllVr(h, vr, out, 0), kBadArgument);
    EXPECT_EQ(vaxo_ParamBlockFetchAllVr(h, 7, out, 4), kInvalid);
    EXPECT_EQ(vaxo_ParamBlockFetchAllVr(h, -1, out, 4), kInvalid);
    EXPECT_EQ(vaxo_ParamBlockAppendVr(h, 6, five, 1), kFail) << "unknown identifier";
    EXPECT_EQ(vaxo_ParamBlockAppendVr(h, vr, five, 3), kCapacity);
    const char* empty[] = {""};
    const char* one[] = {"v"};
    EXPECT_EQ(vaxo_ParamBlockDefineProgVar(h, "P", 0, empty, 1, &id), kBadArgument);
    EXPECT_EQ(vaxo_ParamBlockDefineProgVar(h, "", 0, one, 1, &id), kBadArgument);
    const char* notAxis[] = {"VERSION"};
    EXPECT_EQ(vaxo_ParamBlockDefineAxis(h, notAxis, 1, &id), 0x0400000040u) << "the controller's unknown parameter";
    const char* unknown[] = {"NO_SUCH_PARAMETER"};
    EXPECT_NE(vaxo_ParamBlockDefineSystem(h, unknown, 1, &id), 0u);

    // A changed item without a colon is a fatal BadResponse; no crash.
    std::string garbage = "5,6";
    garbage.append(16, '\0');
    sim->faults().garbage(garbage, {.command = "PRMBLK", .count = 1});
    uint64_t mask;
    EXPECT_EQ(vaxo_ParamBlockFetchChangedVr(h, vr, out, 4, &mask), kBadResponse);

    vaxo_CloseConnection(h);
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, five, 1, &id), kDisconnected);
    EXPECT_EQ(vaxo_ParamBlockFetchAllVr(h, vr, out, 4), kDisconnected);
    EXPECT_EQ(vaxo_ParamBlockDelete(h, vr), kDisconnected);
}

// Called from a reply callback, which runs on the reader thread: refused, never waited for.
TEST_F(ParamBlocks, RefusedOnTheReaderThread) {
    openWith();
    struct Seen {
        VaxoHandle h;
        std::vector<uint64_t> results;
    } seen{h, {}};
    auto cb = [](void* user, const VaxoDataStreamPacket*, const char*) {
        auto* s = static_cast<Seen*>(user);
        if (!s->results.empty())
            return;
        uint32_t idx = 1;
        int32_t id;
        double v;
        s->results.push_back(vaxo_ParamBlockDefineVr(s->h, &idx, 1, &id));
        s->results.push_back(vaxo_ParamBlockFetchAllVr(s->h, 0, &v, 1));
        s->results.push_back(vaxo_ParamBlockDelete(s->h, 0));
    };
    vaxo_ExecuteWithResponse4b(h, "PRINT 1", cb, &seen);
    // Every one is a command: the reader thread is refused before the block is looked at.
    EXPECT_EQ(seen.results, (std::vector<uint64_t>{0x0100000002, 0x0100000002, 0x0100000002}));
}

TEST_F(ParamBlocks, ZeroLimitIsBadArgument) {
    openWith({.maxBlocks = 0});
    uint32_t idx = 1;
    int32_t id = 0;
    EXPECT_EQ(vaxo_ParamBlockDefineVr(h, &idx, 1, &id), kBadArgument);
    EXPECT_EQ(sim->requests().size(), 2u) << "only the two limit queries";
}

TEST_F(ParamBlocks, ThreadsShareOneConnection) {
    openWith({.maxBlocks = 64});
    for (uint32_t i = 0; i < 16; ++i)
        sim->setVr(i, i);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 10; ++round) {
                uint32_t idx[4] = {uint32_t(t), uint32_t(t + 1), uint32_t(t + 4), 15};
                int32_t id = -1;
                if (vaxo_ParamBlockDefineVr(h, idx, 4, &id) != 0) {
                    ++failures;
                    continue;
                }
                double v[4];
                uint64_t mask = 0;
                if (vaxo_ParamBlockFetchAllVr(h, id, v, 4) != 0 || v[0] != t || v[3] != 15)
                    ++failures;
                if (vaxo_ParamBlockFetchChangedVr(h, id, v, 4, &mask) != 0 || mask != 0)
                    ++failures;
                // Another thread's block may be fetched or deleted meanwhile: both are fine.
                vaxo_ParamBlockFetchAllVr(h, id ^ 1, v, 4);
                if (vaxo_ParamBlockDelete(h, id) != 0)
                    ++failures;
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(failures.load(), 0);
}

} // namespace
