// The command link when the controller misbehaves: a peer that goes away at every byte of a
// reply, replies that stall, trickle, turn to garbage or come in the wrong shape, token tables
// that never end or lack the protocol's own names, and a controller error on every operation.
// Each scenario must end with its error code within a bound, and the link must open again and
// carry a real command afterwards.
#include "SimFixture.h"
#include "SummaryLog.h"

#include <array>
#include <cstdio>
#include <functional>
#include <future>
#include <thread>
#include <tuple>
#include <type_traits>

#include "sim/ProgramStore.h"
#include "tcp/connection/Connection_TCP.h"

using namespace vaxotest;
using namespace std::chrono_literals;
namespace TCP = Vaxo::Ubrix::TCP;
using Err = Vaxo::Ubrix::Shared::ErrorCode;

namespace {

constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr uint64_t kTimeout = 0x8100000006ull;
constexpr uint64_t kTokenTable = 0x8100000005ull;
constexpr uint64_t kBadResponse = 0x810000000bull;
constexpr uint64_t kControllerBit = 0x0400000000ull;
constexpr uint64_t kSystemBit = 0x0200000000ull;

TCP::Connection_TCP& conn(VaxoHandle h) {
    return dynamic_cast<TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
}

// Runs f on its own thread and gives up on the whole program if it has not returned within
// `limit`: a hang must fail the run, not stall it.
template <class F>
auto bounded(F&& f, std::chrono::milliseconds limit = 10s) {
    auto future = std::async(std::launch::async, std::forward<F>(f));
    if (future.wait_for(limit) != std::future_status::ready) {
        std::fprintf(stderr, "FATAL: a call did not return within %lld ms\n", static_cast<long long>(limit.count()));
        std::fflush(stderr);
        std::_Exit(1);
    }
    return future.get();
}

struct ByteCounter final : Vaxo::Ubrix::Shared::ISniffer {
    std::atomic<std::size_t> bytes{0};
    void sniff(const char*, unsigned int length) override { bytes += length; }
};

// One reply shape, driven through a public operation: `run` issues it and reports its code;
// `check` says whether a successful run brought back what the controller holds.
struct Shape {
    const char* name;
    std::function<void(Vaxo::Sim::Simulator&)> prepare;
    std::function<uint64_t(VaxoHandle, std::string&)> run;
    std::string expected;      // what run writes into its text on success
    std::size_t nudges;        // unknown-token nudges one silent spell provokes
};

std::vector<Shape> shapes() {
    return {
        {"numeric",
         [](Vaxo::Sim::Simulator& s) { s.setVr(7, 1234.5); },
         [](VaxoHandle h, std::string& out) {
             double v = 0;
             const uint64_t e = vaxo_GetVrValue(h, 7, &v);
             out = std::to_string(v);
             return e;
         },
         std::to_string(1234.5), 0},
        {"text",
         [](Vaxo::Sim::Simulator& s) {
             const std::string text = "a text of the controller";
             for (std::size_t k = 0; k <= text.size(); ++k)
                 s.setVr(uint32_t(200 + k), k < text.size() ? text[k] : 0);
         },
         [](VaxoHandle h, std::string& out) {
             out.clear();
             return uint64_t(vaxo_GetVrString4c(
                 h, 200, [](void* u, const char* t, uint32_t n) { static_cast<std::string*>(u)->assign(t, n); }, &out));
         },
         "a text of the controller", 1},
        {"list",
         [](Vaxo::Sim::Simulator& s) {
             Vaxo::Sim::putProgram(s, "MAIN", "VR(1)=1\r\n");
             Vaxo::Sim::putProgram(s, "HOMING", "VR(2)=2\r\n");
             Vaxo::Sim::putProgram(s, "CYCLE", "VR(3)=3\r\n");
         },
         [](VaxoHandle h, std::string& out) {
             out.clear();
             return uint64_t(vaxo_Dir(
                 h, [](void* u, const VaxoFileInfo*, const char* n) { *static_cast<std::string*>(u) += std::string(n) + ";"; },
                 &out));
         },
         "MAIN;HOMING;CYCLE;", 0},
    };
}

class FaultScenarios : public SimConnection {
protected:
    // After a failure: the link closes, opens again and carries a real command.
    void expectRecovers(const std::string& where) {
        EXPECT_EQ(bounded([&] { return vaxo_CloseConnection(h); }), 0u) << where;
        EXPECT_FALSE(conn(h).readerPump().isRunning()) << where;
        ASSERT_EQ(bounded([&] { return vaxo_OpenConnection(h); }), 0u) << where;
        const double marker = double(++m_marker);
        ASSERT_EQ(vaxo_SetVrValue(h, 3, marker), 0u) << where;
        double back = -1;
        ASSERT_EQ(vaxo_GetVrValue(h, 3, &back), 0u) << where;
        EXPECT_EQ(back, marker) << where;
        EXPECT_EQ(sim->vr(3), marker) << where;
    }
    static void passed() { VaxoTest::summaryAdd("scenario_passed", 1); }
    // The link recovers; the scenario counts as passed when nothing failed.
    void recovers(const std::string& where) {
        expectRecovers(where);
        if (!HasFailure())
            passed();
    }
    // The context and the simulated controller go, for the next row.
    void closeRow() {
        vaxo_DestroyContext(h);
        h = nullptr;
        sim->stop();
    }
    void endRow(const std::string& where) {
        recovers(where);
        closeRow();
    }

    int m_marker = 0;
};

} // namespace

// A peer that closes after any number of bytes of a reply: the operation fails on the closed
// link (never success, never a hang) and the link opens again.
TEST_F(FaultScenarios, PeerCloseAtEveryBytePositionOfAReply) {
    for (const Shape& shape : shapes()) {
        open({});
        shape.prepare(*sim);
        ByteCounter counter;
        conn(h).setReadSniffer(&counter);
        std::string text;
        ASSERT_EQ(shape.run(h, text), 0u) << shape.name;
        ASSERT_EQ(text, shape.expected) << shape.name;
        const std::size_t length = counter.bytes;
        conn(h).setReadSniffer(nullptr);
        ASSERT_GT(length, 0u);
        for (std::size_t pos = 0; pos < length; ++pos) {
            const std::string where = std::string(shape.name) + " closed after " + std::to_string(pos) + " bytes";
            sim->faults().closeAfter(pos, {.command = "", .count = 1});
            const uint64_t e = bounded([&] { return shape.run(h, text); });
            EXPECT_TRUE((e & kSystemBit) || e == kDisconnected) << where << ": " << std::hex << e;
            EXPECT_FALSE(vaxo_IsConnected(h)) << where;
            double v;
            EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected) << where;
            recovers(where);
        }
        closeRow();
    }
}

// A reply that stops in the middle: Timeout after the command timeout of silence, with one
// nudge where the framing loop waits for a text, and the pump stopped; bytes that keep coming
// slowly never time out.
TEST_F(FaultScenarios, StallAndTrickleMidReply) {
    for (const Shape& shape : shapes()) {
        open({}, 300);
        shape.prepare(*sim);
        const std::string name = shape.name;
        std::string text;

        sim->faults().stopAfter(4, {.command = "", .count = 1});
        const auto nudges = sim->nudgesSeen();
        EXPECT_EQ(bounded([&] { return shape.run(h, text); }), kTimeout) << name;
        for (int i = 0; i < 100 && sim->nudgesSeen() - nudges < shape.nudges; ++i)
            std::this_thread::sleep_for(2ms);
        // One nudge for the silence after the last byte; a loaded machine may also leave the
        // first byte later than one silent read, which is a spell (and a nudge) of its own.
        EXPECT_GE(sim->nudgesSeen() - nudges, shape.nudges) << name;
        EXPECT_LE(sim->nudgesSeen() - nudges, shape.nudges + 1) << name;
        double v;
        EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected) << name << ": the timeout stops the pump";
        recovers(name + " stalled");

        // Several times the timeout in all, but never the timeout between two bytes.
        ASSERT_EQ(vaxo_SetTcpCommandTimeout(h, 100), 0u);
        expectRecovers(name + " before trickle");
        sim->faults().trickle(8ms, {.command = "", .count = 1});
        EXPECT_EQ(bounded([&] { return shape.run(h, text); }), 0u) << name << " trickled";
        EXPECT_EQ(text, shape.expected) << name << " trickled";
        if (!HasFailure())
            passed();

        closeRow();
    }
}

// Bytes that are not the reply asked for. Each row says what the library must make of them;
// a reply it cannot take apart stops the pump (BadResponse or Timeout), one it can take apart
// leaves the link in step.
TEST_F(FaultScenarios, GarbageAndWrongShapedReplies) {
    struct Row {
        const char* name;
        const char* shape;
        std::function<void(Vaxo::Sim::Faults&)> arm;
        uint64_t expected;
        bool inStep; // the next command works without reopening
    };
    const std::string nan16(16, '\xFF');
    const std::vector<Row> rows = {
        // A standard response whose status is no status at all.
        {"numeric, NaN value and status", "numeric", [&](auto& f) { f.garbage(nan16, {"", 1}); }, kBadResponse, false},
        // Too short for a standard response: the read waits for the rest.
        {"numeric, three bytes", "numeric", [](auto& f) { f.garbage("abc", {"", 1}); }, kTimeout, false},
        // A text where a number is expected: the text's bytes read as a status are not one.
        {"numeric answered with a text", "numeric",
         [](auto& f) { f.textReply("ABCDEFGHIJKLMNOPQRSTUVWXYZ", {"", 1}); }, kBadResponse, false},
        // A text that is not the form asked for.
        {"text, not a length and text", "text", [](auto& f) { f.garbage("no length", {"", 1}); }, kBadResponse, false},
        // A text that never ends in 0x00.
        {"text, unterminated", "text", [](auto& f) { f.garbage("12", {"", 1}); }, kTimeout, false},
        // A listing line that is not a file entry.
        {"list, malformed line", "list", [](auto& f) { f.garbage("Header\r\nnot,a,file\r\n", {"", 1}); }, kBadResponse,
         false},
        // A number where a text is expected: its first byte (0x00 for 0.0) ends an empty text,
        // which a VR string read cannot take but a listing can.
        {"text answered with a number", "text", [](auto& f) { f.garbage(std::string(16, '\0'), {"", 1}); },
         kBadResponse, false},
        {"list answered with a number", "list", [](auto& f) { f.garbage(std::string(16, '\0'), {"", 1}); }, 0, true},
    };
    for (const Row& row : rows) {
        const Shape* shape = nullptr;
        const auto all = shapes();
        for (const Shape& s : all)
            if (std::string_view(s.name) == row.shape)
                shape = &s;
        ASSERT_NE(shape, nullptr);
        open({}, 300);
        shape->prepare(*sim);
        row.arm(sim->faults());
        std::string text;
        const uint64_t e = bounded([&] { return shape->run(h, text); });
        EXPECT_EQ(e, row.expected) << row.name << ": " << std::hex << e;
        if (row.inStep) {
            ASSERT_EQ(shape->run(h, text), 0u) << row.name;
            EXPECT_EQ(text, shape->expected) << row.name;
        } else {
            double v;
            EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected) << row.name << ": the pump has stopped";
        }
        endRow(row.name);
    }
}

// Token tables the open cannot use: it fails with its code within the command timeout (plus
// a margin; a table that keeps coming is ended by its size instead), leaves no port and no
// reader thread behind, and the next open works.
TEST_F(FaultScenarios, TokenTablesThatCannotBeUsed) {
    struct Row {
        const char* name;
        std::function<void(Vaxo::Sim::Faults&)> arm;
        uint64_t expected;
        uint32_t timeout = 800;
    };
    std::string manyRecords;
    for (int i = 0; manyRecords.size() < 64 * 1024; ++i)
        manyRecords += "C" + std::to_string(1000 + i % 9000) + "FILLER" + std::to_string(i % 97) + ",1,2,3,4,5,6,c>\r\n";
    const std::vector<Row> rows = {
        {"stalls in the middle", [](auto& f) { f.stopAfter(300, {"TOKENTABLE", 1}); }, kTimeout},
        {"never ends, in bracketed lines", [](auto& f) {
             std::string lines;
             for (int i = 0; i < 256; ++i)
                 lines += "[MORE]\r\n";
             f.stopAfter(300, {"TOKENTABLE", 1});
             f.endless(lines, {"TOKENTABLE", 1});
         }, kTokenTable, 20000}, // steady bytes never time out: the size bound ends it
        {"never ends, fast", [&](auto& f) {
             f.stopAfter(300, {"TOKENTABLE", 1});
             f.endless(manyRecords, {"TOKENTABLE", 1});
         }, kTokenTable, 20000}, // the size bound, not the time, ends this one
        {"ends without the protocol's names",
         [](auto& f) { f.garbage("C1TOKENTABLE,0,0,0,0,0,0>\r\nV5VR,0>\r\n[EOT]\r\n", {"TOKENTABLE", 1}); }, kTokenTable},
        {"a record of an unknown kind", [](auto& f) { f.garbage("Q1WHAT\r\n[EOT]\r\n", {"TOKENTABLE", 1}); }, kTimeout},
    };
    for (const Row& row : rows) {
        startSim({});
        makeContext(row.timeout);
        row.arm(sim->faults());
        const auto started = std::chrono::steady_clock::now();
        const auto limit = std::chrono::milliseconds(row.timeout) + 5s;
        EXPECT_EQ(bounded([&] { return vaxo_OpenConnection(h); }, limit), row.expected) << row.name;
        EXPECT_LT(std::chrono::steady_clock::now() - started, limit) << row.name;
        EXPECT_FALSE(vaxo_IsConnected(h)) << row.name;
        EXPECT_FALSE(conn(h).port().isOpened()) << row.name;
        EXPECT_FALSE(conn(h).readerPump().isRunning()) << row.name;
        for (int i = 0; i < 500 && sim->connectionCount() != 0; ++i)
            std::this_thread::sleep_for(2ms);
        EXPECT_EQ(sim->connectionCount(), 0u) << row.name << ": the controller sees the link go";
        sim->faults().clear();
        endRow(row.name);
    }
}

// The operation lists name their types as the connection's namespace sees them.
namespace Vaxo::Ubrix::TCP::faultops {

// Arguments for any operation of the lists: numbers are 1, texts "A", arrays hold a few such
// elements, outputs have room, callbacks do nothing.
template <class T>
T plainValue() {
    if constexpr (std::is_arithmetic_v<T>)
        return T(1);
    else if constexpr (std::is_same_v<T, std::string_view> || std::is_same_v<T, const char*>)
        return T("A");
    else
        return T{};
}

template <class T>
struct ArgSlot {
    T value = plainValue<T>();
    T arg() { return value; }
};

template <class F>
struct NoOp;
template <class R, class... A>
struct NoOp<std::function<R(A...)>> {
    static std::function<R(A...)> make() {
        return [](A...) -> R {
            if constexpr (!std::is_void_v<R>)
                return R{};
        };
    }
};

template <class T>
struct ArgSlot<T&> {
    using V = std::remove_const_t<T>;
    static V make() {
        if constexpr (requires { NoOp<V>::make(); })
            return NoOp<V>::make();
        else if constexpr (std::is_arithmetic_v<V>)
            return V(8); // sizes and capacities: room for a few elements
        else
            return V{};
    }
    V value = make();
    T& arg() { return value; }
};

template <class T>
struct ArgSlot<T*> {
    using V = std::remove_const_t<T>;
    std::array<V, 64> values = [] {
        std::array<V, 64> a{};
        a.fill(plainValue<V>());
        return a;
    }();
    T* arg() { return values.data(); }
};

template <class... Args>
Err callWithPlainArgs(TCP::Connection_TCP& c, Err (TCP::Connection_TCP::*op)(Args...)) {
    std::tuple<ArgSlot<Args>...> slots;
    return std::apply([&](auto&... s) { return (c.*op)(s.arg()...); }, slots);
}

struct Operation {
    const char* name;
    Err (*call)(TCP::Connection_TCP&);
};

// Every operation of the command families. File transfer is left out: it reads and writes
// local files and opens a second link of its own.
inline const Operation kOperations[] = {
#define VAXO_OP(name, params)                                                                                       \
    {#name, [](TCP::Connection_TCP& c) {                                                                            \
         return callWithPlainArgs(c, static_cast<Err(TCP::Connection_TCP::*) params>(&TCP::Connection_TCP::name)); \
     }},
#include <vaxo/ops/Management.def>
#include <vaxo/ops/Variables.def>
#include <vaxo/ops/Parameters.def>
#include <vaxo/ops/Motion.def>
#include <vaxo/ops/Programs.def>
#include <vaxo/ops/IO.def>
#include <vaxo/ops/Ethercat.def>
#include <vaxo/ops/Misc.def>
#include <vaxo/ops/ParamBlocks.def>
#undef VAXO_OP
};

} // namespace Vaxo::Ubrix::TCP::faultops

// A controller that refuses every request with a status: every operation that reaches it
// reports exactly that controller error, and the link stays in step for the next command.
TEST_F(FaultScenarios, ControllerErrorOnEveryOperation) {
    open({.controllerType = 1664, .firmware = 2.0340}, 2000);
    constexpr uint16_t kStatus = 123;
    auto& c = conn(h);
    std::size_t reached = 0;
    using Vaxo::Ubrix::TCP::faultops::kOperations;
    for (const auto& op : kOperations) {
        sim->clearRequests();
        sim->faults().errorStatus(kStatus, {.command = "", .count = 0});
        const uint64_t e = uint64_t(bounded([&] { return op.call(c); }));
        sim->faults().clear();
        const bool sent = !sim->requests().empty();
        if (sent) {
            ++reached;
            EXPECT_EQ(e, kControllerBit | kStatus) << op.name << ": " << std::hex << e;
        }
        // In step: a real command right after reads its own reply.
        sim->setVr(3, double(reached) + 0.5);
        double back = -1;
        ASSERT_EQ(vaxo_GetVrValue(h, 3, &back), 0u) << "after " << op.name;
        ASSERT_EQ(back, double(reached) + 0.5) << "after " << op.name;
        if (sent && !HasFailure())
            passed();
    }
    // Nearly every operation talks to the controller; the few that do not refuse plain
    // arguments locally or keep state on the host.
    EXPECT_GT(reached, std::size(kOperations) * 3 / 4);
}

// A block write waits, under the send lock, for the reader to finish the commands queued
// before it. Closing the link at that moment, or a fatal error in one of those commands, must
// end the wait: the close completes and every waiter gets its code.
TEST_F(FaultScenarios, BlockWriteWaitingForTheQueueWhenTheLinkGoes) {
    for (const bool fatal : {false, true}) {
        const std::string name = fatal ? "fatal error in a queued command" : "close";
        open({}, fatal ? 500 : 5000);
        // Every VR answer cut short: the first read waits for the rest of its reply until the
        // timeout, a fatal error, while the others queue up behind it. Or every VR answer
        // held back for longer than the test takes.
        if (fatal)
            sim->faults().stopAfter(5, {.command = "VR", .count = 0});
        else
            sim->faults().delay(3000ms, {.command = "VR", .count = 0});
        auto read = [&] {
            return std::async(std::launch::async, [&] {
                double v;
                return uint64_t(vaxo_GetVrValue(h, 1, &v));
            });
        };
        std::vector<std::future<uint64_t>> reads;
        reads.push_back(read());
        for (int i = 0; i < 2000 && sim->requests().empty(); ++i)
            std::this_thread::sleep_for(1ms);
        reads.push_back(read());
        reads.push_back(read());
        std::this_thread::sleep_for(50ms);
        std::vector<double> values(300, 2.5);
        auto write = std::async(std::launch::async, [&] {
            return uint64_t(vaxo_SetMultiVrValues(h, 10, uint32_t(values.size()), values.data()));
        });
        std::this_thread::sleep_for(50ms);
        if (!fatal) {
            EXPECT_EQ(bounded([&] { return vaxo_CloseConnection(h); }, 5s), 0u) << name;
        }
        const uint64_t first = bounded([&] { return reads[0].get(); }, 5s);
        EXPECT_EQ(first, fatal ? kTimeout : kDisconnected) << name;
        for (std::size_t i = 1; i < reads.size(); ++i)
            EXPECT_EQ(bounded([&] { return reads[i].get(); }, 5s), kDisconnected) << name;
        EXPECT_EQ(bounded([&] { return write.get(); }, 5s), kDisconnected) << name;
        sim->faults().clear();
        expectRecovers(name);
        ASSERT_EQ(vaxo_SetMultiVrValues(h, 10, uint32_t(values.size()), values.data()), 0u) << name;
        EXPECT_EQ(sim->vr(10 + 299), 2.5) << name;
        if (!HasFailure())
            passed();
        closeRow();
    }
}

// The answer to a block write's header is read on the caller's thread. Losing it leaves the
// link out of step just as a lost reply does: the pump stops rather than let the next command
// read the late answer as its own.
TEST_F(FaultScenarios, BlockWriteHeaderAnswerLost) {
    open({}, 300);
    sim->faults().stopAfter(3, {.command = "VRVALUES", .count = 1});
    std::vector<double> values(40, 7.0);
    EXPECT_EQ(bounded([&] { return uint64_t(vaxo_SetMultiVrValues(h, 0, 40, values.data())); }), kTimeout);
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected);
    recovers("header answer lost");
}

// While the open sequence asks for the controller's type and firmware, the link is not yet
// open to other threads: their commands are refused instead of going out encoded for a
// controller the library does not know yet.
TEST_F(FaultScenarios, CommandsDuringTheOpenSequenceAreRefused) {
    startSim({});
    makeContext();
    sim->faults().delay(300ms, {.command = "CONTROL", .count = 1});
    auto opening = std::async(std::launch::async, [&] { return uint64_t(vaxo_OpenConnection(h)); });
    auto controlAsked = [&] {
        for (const auto& r : sim->requests())
            if (r.command() == "CONTROL")
                return true;
        return false;
    };
    for (int i = 0; i < 250 && !controlAsked(); ++i)
        std::this_thread::sleep_for(1ms);
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected);
    EXPECT_EQ(bounded([&] { return opening.get(); }), 0u);
    for (const auto& r : sim->requests())
        EXPECT_NE(r.command(), "VR") << "nothing but the open sequence went out";
    recovers("after open");
}
