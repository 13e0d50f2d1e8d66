// The command engine under load and under faults: replies paired with their requests across
// threads, the silence rule of the framing loop, fatal errors stopping the pump, close while
// commands wait, a peer that goes away.
#include "SimFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <thread>

#include "shared/parsers/TextReplyParsers.h"
#include "shared/factory/Factory.h"
#include "tcp/commands/ReplyFraming.h"
#include "tcp/commands/Variables.h"
#include "tcp/connection/Connection_TCP.h"

using namespace vaxotest;
using Err = Vaxo::Ubrix::Shared::ErrorCode;
namespace TCP = Vaxo::Ubrix::TCP;

namespace {

TCP::Connection_TCP& conn(VaxoHandle h) {
    return dynamic_cast<TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
}

// Sends a VR read but frames its reply as a text: a value whose bytes hold no 0x00 reads as
// text, which drives the framing loop and its nudges with a reply the controller already has.
class CmdVrAsText : public TCP::CmdArray {
public:
    CmdVrAsText(TCP::Connection_TCP& c, std::string& out) : CmdArray(c), m_out(out) {}
    Err send(unsigned index) { return CmdArray::send(Vaxo::Ubrix::Shared::KnownTokens::VR, 1, &index); }
    Err readReply() override {
        Vaxo::Ubrix::Shared::ToStringParser parser(m_out);
        return setError(TCP::stringReplyRead(m_connection, id(), parser));
    }

private:
    std::string& m_out;
};

} // namespace

TEST_F(SimConnection, ManyThreadsEachReadBackOnlyWhatTheyWrote) {
    open({});
    constexpr int kThreads = 8, kRounds = 2000;
    std::atomic<int> mismatches{0}, failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRounds; ++i) {
                const uint32_t index = 100 + t * 10 + i % 10;
                const double value = t * 1e6 + i;
                if (vaxo_SetVrValue(h, index, value) != 0)
                    ++failures;
                double back = -1;
                if (vaxo_GetVrValue(h, index, &back) != 0)
                    ++failures;
                if (back != value)
                    ++mismatches;
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(mismatches.load(), 0);
}

TEST_F(SimConnection, TextReplyThatStopsTimesOutAfterOneNudge) {
    open({.controllerType = 1664, .firmware = 2.0340}, 300);
    sim->setVr(5, 1.2345678901234567e-3); // eight non-zero bytes
    sim->faults().stopAfter(3, {.command = "VR", .count = 1});
    const auto nudgesBefore = sim->nudgesSeen();
    std::string text;
    const auto started = std::chrono::steady_clock::now();
    const Err result = conn(h).execute<CmdVrAsText>([](CmdVrAsText& c) { return c.send(5); }, text);
    const auto elapsed = std::chrono::steady_clock::now() - started;
    EXPECT_EQ(result, Err::Timeout);
    EXPECT_EQ(text.size(), 3u);
    EXPECT_GE(elapsed, std::chrono::milliseconds(290));
    EXPECT_LT(elapsed, std::chrono::milliseconds(3000));
    for (int i = 0; i < 100 && sim->nudgesSeen() == nudgesBefore; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    // One nudge for the silence after the third byte; a loaded machine may also leave the first
    // byte later than one silent read, which is a spell (and a nudge) of its own.
    EXPECT_GE(sim->nudgesSeen() - nudgesBefore, 1u) << "one nudge per silent spell";
    EXPECT_LE(sim->nudgesSeen() - nudgesBefore, 2u) << "one nudge per silent spell";

    // The timeout is fatal: the pump has stopped and later commands are refused.
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 5, &v), 0x0100000015ull);
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_EQ(vaxo_OpenConnection(h), 0u) << "a fatal error does not prevent a new open";
    EXPECT_EQ(vaxo_GetVrValue(h, 5, &v), 0u);
}

TEST_F(SimConnection, TrickledReplyDoesNotTimeOutWhileBytesFlow) {
    open({}, 200);
    sim->setVr(9, 77);
    sim->faults().trickle(std::chrono::milliseconds(40), {.command = "VR", .count = 1});
    double v = 0;
    EXPECT_EQ(vaxo_GetVrValue(h, 9, &v), 0u) << "the whole reply takes longer than the timeout";
    EXPECT_EQ(v, 77);
}

TEST_F(SimConnection, StandardResponseThatStopsTimesOutAndStopsThePump) {
    open({}, 250);
    sim->faults().stopAfter(5, {.command = "VR", .count = 1});
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x8100000006ull);
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    EXPECT_TRUE(vaxo_IsConnected(h)) << "the port stays as it is until the host closes";
}

TEST_F(SimConnection, CloseWhileCommandsWaitFinishesThemWithDisconnected) {
    open({});
    sim->faults().delay(std::chrono::milliseconds(3000), {.command = "VR", .count = 0});
    std::vector<std::future<uint64_t>> waiting;
    for (int i = 0; i < 3; ++i)
        waiting.push_back(std::async(std::launch::async, [&] {
            double v;
            return uint64_t(vaxo_GetVrValue(h, 1, &v));
        }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    for (auto& f : waiting)
        EXPECT_EQ(f.get(), 0x0100000015ull);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(2000));
    sim->faults().clear();
}

TEST_F(SimConnection, PeerThatGoesAwayMakesTheNextCommandFailFast) {
    open({}, 10000);
    sim->closeConnections();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto started = std::chrono::steady_clock::now();
    double v;
    EXPECT_NE(vaxo_GetVrValue(h, 1, &v), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(2000));
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_EQ(vaxo_OpenConnection(h), 0u);
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u);
}

TEST_F(SimConnection, CommandsFromThePumpThreadAreRefused) {
    open({});
    auto& c = conn(h);
    std::string text;
    Err inside = Err::Success;
    // A reply callback runs on the pump thread; a command issued from it would wait on itself.
    class CmdCallsBack : public TCP::CmdArray {
    public:
        CmdCallsBack(TCP::Connection_TCP& c, Err& inside) : CmdArray(c), m_inside(inside) {}
        Err readReply() override {
            double v;
            m_inside = m_connection.GetVrValue(1, v);
            return CmdArray::readReply();
        }
        Err& m_inside;
    };
    EXPECT_EQ(c.execute<CmdCallsBack>([](CmdCallsBack& cmd) {
        unsigned i = 1;
        return cmd.send(Vaxo::Ubrix::Shared::KnownTokens::VR, 1, &i);
    }, inside), Err::Success);
    EXPECT_EQ(inside, Err::NotSupported);
}

TEST_F(SimConnection, ConnectTimeoutAgainstAFullBacklog) {
    // A loopback listener that never accepts, with its backlog filled.
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(listen(listener, 0), 0);
    socklen_t len = sizeof addr;
    getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len);
    std::vector<int> fillers;
    for (int i = 0; i < 8; ++i) {
        int s = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        connect(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        fillers.push_back(s);
    }
    port = ntohs(addr.sin_port);
    makeContext();
    ASSERT_EQ(vaxo_SetTcpConnectTimeout(h, 200), 0u);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(vaxo_OpenConnection(h), 0x8100000006ull);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(3000));
    EXPECT_FALSE(vaxo_IsConnected(h));
    for (int s : fillers)
        close(s);
    close(listener);
}
