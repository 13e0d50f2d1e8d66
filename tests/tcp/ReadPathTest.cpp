// How replies are read off the command link: text replies through the port's read-ahead
// buffer, the command timeout the link was opened with, a zero timeout that waits without
// limit, a token table that arrives slowly but steadily, and host callables that throw while
// a listing is read.
#include "SimFixture.h"

#include <sys/resource.h>

#include <future>
#include <string>
#include <thread>

#include "tcp/connection/Connection_TCP.h"

using namespace vaxotest;
using namespace std::chrono_literals;
namespace TCP = Vaxo::Ubrix::TCP;
namespace Shared = Vaxo::Ubrix::Shared;

namespace {

constexpr uint64_t kTimeout = 0x8100000006ull;
constexpr uint64_t kFailPlain = 0x0100000001ull;

TCP::Connection_TCP& conn(VaxoHandle h) {
    return dynamic_cast<TCP::Connection_TCP&>(*reinterpret_cast<Shared::IConnection*>(h));
}

// Every call of the read sniffer: the bytes in order, and how many socket reads brought them.
struct ReadLog final : Shared::ISniffer {
    std::mutex mutex;
    std::string bytes;
    std::size_t calls = 0;
    void sniff(const char* data, unsigned int length) override {
        std::lock_guard lock(mutex);
        bytes.append(data, length);
        ++calls;
    }
};

// Runs f on its own thread and gives up on the whole program if it hangs.
template <class F>
auto bounded(F&& f, std::chrono::milliseconds limit = 30s) {
    auto future = std::async(std::launch::async, std::forward<F>(f));
    if (future.wait_for(limit) != std::future_status::ready) {
        std::fprintf(stderr, "FATAL: a call did not return within %lld ms\n", static_cast<long long>(limit.count()));
        std::_Exit(1);
    }
    return future.get();
}

double processCpuMs() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return (u.ru_utime.tv_sec + u.ru_stime.tv_sec) * 1e3 + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e3;
}

class ReadPath : public SimConnection {};

} // namespace

// Twenty text replies of 210 bytes, each arriving in one piece: a handful of socket reads per
// reply on both ends together, where one read a byte would be over 4000. The read sniffer
// still sees every byte of the link once, in order.
TEST_F(ReadPath, TextRepliesAreReadThroughTheReadAheadBuffer) {
    startSim({});
    makeContext();
    ReadLog log;
    conn(h).setReadSniffer(&log);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    std::string text;
    for (int i = 0; text.size() < 210; ++i)
        text += char('A' + i % 26);
    std::size_t afterOpen;
    {
        std::lock_guard lock(log.mutex);
        afterOpen = log.bytes.size();
    }
    constexpr int kReplies = 20;
    sim->faults().textReply(text, {"EXECUTE", kReplies});
    for (int i = 0; i < kReplies; ++i) {
        char buffer[512];
        uint32_t size = sizeof buffer;
        ASSERT_EQ(vaxo_ExecuteWithResponse4a(h, "PRINT 1", buffer, &size), 0u) << i;
        ASSERT_EQ(std::string(buffer, size - 1), text) << i;
    }
    conn(h).setReadSniffer(nullptr);
    const std::size_t reads = log.calls + sim->socketReads();
    RecordProperty("socket_reads", std::to_string(reads));
    EXPECT_LT(reads, 600u) << log.calls << " by the library, " << sim->socketReads() << " by the controller";

    // What the sniffer saw after the open: twenty identical replies, back to back, each the
    // text, its 0x00 and a standard response; nothing twice, nothing missing.
    const std::string seen = log.bytes.substr(afterOpen);
    ASSERT_EQ(seen.size() % kReplies, 0u);
    const std::string one = seen.substr(0, seen.size() / kReplies);
    ASSERT_EQ(one.substr(0, text.size()), text);
    EXPECT_LE(one.size(), text.size() + 1 + 2 * 10);
    std::string expected;
    for (int i = 0; i < kReplies; ++i)
        expected += one;
    EXPECT_EQ(seen, expected);
}

// A command timeout set on an open link waits for the next open: the controller answering with
// 80 ms between bytes is fine for the link opened with 2000 ms although 20 ms is now set; once
// reopened, 20 ms holds and the same reply times out.
TEST_F(ReadPath, CommandTimeoutIsTheOneTakenAtOpen) {
    open({}, 2000);
    ASSERT_EQ(vaxo_SetTcpCommandTimeout(h, 20), 0u);
    uint32_t setting = 0;
    ASSERT_EQ(vaxo_GetTcpCommandTimeout(h, &setting), 0u);
    EXPECT_EQ(setting, 20u);
    sim->setVr(7, 2.5);
    sim->faults().trickle(80ms, {"VR", 1});
    double v = 0;
    EXPECT_EQ(bounded([&] { return vaxo_GetVrValue(h, 7, &v); }), 0u);
    EXPECT_EQ(v, 2.5);
    EXPECT_TRUE(vaxo_IsConnected(h));

    ASSERT_EQ(vaxo_CloseConnection(h), 0u);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    sim->faults().trickle(80ms, {"VR", 1});
    EXPECT_EQ(bounded([&] { return vaxo_GetVrValue(h, 7, &v); }), kTimeout);
}

// A zero command timeout waits as long as the controller takes, for a standard response and for
// a text reply alike, and waits asleep: the process spends far less CPU than the wait lasts.
TEST_F(ReadPath, ZeroCommandTimeoutWaitsWithoutLimit) {
    open({}, 0);
    sim->setVr(3, 4.0);
    sim->faults().delay(400ms, {"VR", 1});
    sim->faults().delay(400ms, {"EXECUTE", 1});
    sim->faults().textReply("late", {"EXECUTE", 1});
    const double cpuBefore = processCpuMs();
    const auto started = std::chrono::steady_clock::now();
    double v = 0;
    EXPECT_EQ(bounded([&] { return vaxo_GetVrValue(h, 3, &v); }), 0u);
    EXPECT_EQ(v, 4.0);
    char buffer[16];
    uint32_t size = sizeof buffer;
    EXPECT_EQ(bounded([&] { return vaxo_ExecuteWithResponse4a(h, "PRINT 1", buffer, &size); }), 0u);
    EXPECT_EQ(std::string(buffer), "late");
    const double wallMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    EXPECT_GE(wallMs, 800.0);
    EXPECT_LT(processCpuMs() - cpuBefore, wallMs / 2) << "waiting must not spin";
    EXPECT_TRUE(vaxo_IsConnected(h));
}

// The token table in pieces with pauses well under the command timeout, the whole of it taking
// several times that timeout: only a silence would fail the read, so the open succeeds.
TEST_F(ReadPath, SlowButSteadyTokenTableOpens) {
    startSim({});
    makeContext(300);
    const std::size_t size = sim->tokens().text().size();
    sim->faults().trickle(60ms, {"TOKENTABLE", 1}, size / 20 + 1);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(bounded([&] { return vaxo_OpenConnection(h); }), 0u);
    EXPECT_GT(std::chrono::steady_clock::now() - started, 600ms) << "the table was not trickled";
    double v = 0;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u);
}

// A host callable that throws while a reply is read: it is not called again, the rest of the
// reply is read so the link stays in step, the operation returns the non-fatal FailPlain, and
// the next command succeeds.
TEST_F(ReadPath, ThrowingHostCallableKeepsTheLink) {
    open({});
    TCP::Connection_TCP& c = conn(h);
    ASSERT_EQ(uint64_t(c.New("ALPHA")), 0u);
    ASSERT_EQ(uint64_t(c.New("BETA")), 0u);
    ASSERT_EQ(uint64_t(c.RunProgram("ALPHA", 1)), 0u);
    ASSERT_EQ(uint64_t(c.RunProgram("BETA", 2)), 0u);
    ASSERT_EQ(uint64_t(c.SetVrString(40, "some text")), 0u);
    const int axes[] = {1, 2, 3};
    ASSERT_EQ(uint64_t(c.SetFrameGroup(2, 100, axes, 3)), 0u);

    struct Row {
        const char* name;
        std::function<uint64_t(int& calls)> run;
    };
    auto thrower = [](int& calls) { return [&calls](auto&&...) { ++calls; throw std::runtime_error("host"); }; };
    const std::vector<Row> rows = {
        {"Dir", [&](int& n) { return uint64_t(c.Dir(Shared::FileInfoFn(thrower(n)))); }},
        {"GetProcessList", [&](int& n) { return uint64_t(c.GetProcessList(Shared::ProcessInfoFn(thrower(n)))); }},
        {"ExecuteWithResponse stream",
         [&](int& n) {
             sim->faults().textReply("several bytes of text", {"EXECUTE", 1});
             return uint64_t(c.ExecuteWithResponse("PRINT 1", Shared::DataStreamFn(thrower(n))));
         }},
        {"GetVrString stream", [&](int& n) { return uint64_t(c.GetVrString(40, Shared::DataStreamFn(thrower(n)))); }},
        {"GetFrameGroup callable",
         [&](int& n) {
             unsigned int table = 0;
             return uint64_t(c.GetFrameGroup(2, table, std::function<void(int)>(thrower(n))));
         }},
    };
    for (const Row& row : rows) {
        int calls = 0;
        EXPECT_EQ(bounded([&] { return row.run(calls); }), kFailPlain) << row.name;
        EXPECT_EQ(calls, 1) << row.name;
        double v = 0;
        EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u) << row.name << ": the next command";
        EXPECT_TRUE(vaxo_IsConnected(h)) << row.name;
    }
}
