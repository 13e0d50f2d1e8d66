// The link's whole life as a host lives it: open, close and open again from other threads,
// open again after the controller dropped the link, an open that cannot start its reader
// thread, closes racing each other and a reply, the host name read beside a set, and the
// events each open and close raises.
#include "SimFixture.h"
#include "SpawnSelf.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <set>
#include <thread>

#include "tcp/commands/Variables.h"
#include "tcp/connection/Connection_TCP.h"

using namespace vaxotest;
using namespace std::chrono_literals;
using Err = Vaxo::Ubrix::Shared::ErrorCode;
namespace TCP = Vaxo::Ubrix::TCP;

namespace {

constexpr std::uint64_t kDisconnected = 0x0100000015ull;

TCP::Connection_TCP& conn(VaxoHandle h) {
    return dynamic_cast<TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
}

// The link events seen so far, once at least `atLeast` of them have come (an event raised while
// another thread hands out events reaches the callback on that thread, possibly just after the
// call that raised it has returned).
std::vector<std::string> linkEvents(EventLog& log, std::size_t atLeast = 0) {
    for (int i = 0; i < 2000; ++i) {
        std::size_t n = 0;
        {
            std::lock_guard lock(log.mutex);
            for (const auto& t : log.texts)
                n += t.rfind("Connected to ", 0) == 0 || t.rfind("Disconnected from ", 0) == 0;
        }
        if (n >= atLeast)
            break;
        std::this_thread::sleep_for(1ms);
    }
    std::lock_guard lock(log.mutex);
    std::vector<std::string> out;
    for (const auto& t : log.texts)
        if (t.rfind("Connected to ", 0) == 0 || t.rfind("Disconnected from ", 0) == 0)
            out.push_back(t);
    return out;
}

} // namespace

// A pump thread that has been joined is no thread: a thread the host starts afterwards (and
// which may get the old thread's id back) is an ordinary caller.
TEST_F(SimConnection, ReopenFromAThreadStartedAfterTheClose) {
    startSim({});
    makeContext();
    for (int round = 0; round < 4; ++round) {
        ASSERT_EQ(vaxo_OpenConnection(h), 0u) << round;
        ASSERT_EQ(vaxo_CloseConnection(h), 0u) << round;
        std::uint64_t opened = 1, asked = 1;
        double v = -1;
        std::thread([&] {
            opened = vaxo_OpenConnection(h);
            asked = vaxo_GetVrValue(h, 3, &v);
        }).join();
        EXPECT_EQ(opened, 0u) << round;
        EXPECT_EQ(asked, 0u) << round;
        ASSERT_EQ(vaxo_CloseConnection(h), 0u) << round;
    }
}

// The controller drops the link while another thread keeps asking; the host opens again
// without closing first. Nothing but the open sequence may go out until it has finished.
TEST_F(SimConnection, OpenAfterTheControllerDroppedTheLink) {
    open({}, 2000);
    struct Outcome {
        std::chrono::steady_clock::time_point started;
        std::uint64_t result;
    };
    std::vector<Outcome> outcomes;
    std::atomic<bool> stop{false}, opened{false};
    std::atomic<int> askedAfterOpen{0};
    std::thread looper([&] {
        while (!stop.load()) {
            const bool afterOpen = opened.load();
            const auto started = std::chrono::steady_clock::now();
            double v;
            outcomes.push_back({started, vaxo_GetVrValue(h, 2, &v)});
            askedAfterOpen += afterOpen;
        }
    });
    std::this_thread::sleep_for(20ms);
    sim->closeConnections();
    for (int i = 0; i < 2000 && vaxo_IsConnected(h); ++i)
        std::this_thread::sleep_for(1ms);
    ASSERT_FALSE(vaxo_IsConnected(h));
    const auto dropSeen = std::chrono::steady_clock::now();
    // A slow answer inside the open sequence gives the looping thread time to ask meanwhile.
    sim->faults().delay(300ms, {.command = "CONTROL", .count = 1});
    const auto openStarted = std::chrono::steady_clock::now();
    const std::uint64_t reopened = vaxo_OpenConnection(h);
    const auto openDone = std::chrono::steady_clock::now();
    opened = true;
    double v;
    const std::uint64_t next = vaxo_GetVrValue(h, 2, &v);
    for (int i = 0; i < 5000 && askedAfterOpen.load() < 3; ++i)
        std::this_thread::sleep_for(1ms);
    stop = true;
    looper.join();

    EXPECT_EQ(reopened, 0u);
    EXPECT_LT(openDone - openStarted, 4s) << "about one command timeout at most";
    EXPECT_EQ(next, 0u);
    EXPECT_TRUE(vaxo_IsConnected(h));
    std::size_t during = 0, after = 0;
    for (const auto& o : outcomes) {
        if (o.started > dropSeen && o.started < openDone) {
            ++during;
            EXPECT_TRUE(o.result == 0 || o.result == kDisconnected) << std::hex << o.result;
        } else if (o.started > openDone) {
            ++after;
            EXPECT_EQ(o.result, 0u);
        }
    }
    EXPECT_GT(during, 0u) << "the looping thread asked while the open ran";
    EXPECT_GT(after, 0u);
}

// With no thread to be had, the open reports it as an error: nothing is thrown, the port is
// closed and the pump stopped, and a later open works once threads are there again. The child
// process runs as an unprivileged user under a process limit of one, so that it cannot start
// a thread; it is a fresh process, started by the test below.
static int openWithoutThreads(std::uint16_t port) {
    rlimit limit{};
    getrlimit(RLIMIT_NPROC, &limit);
    const rlim_t wanted = limit.rlim_cur;
    limit.rlim_cur = 1;
    if (setrlimit(RLIMIT_NPROC, &limit) != 0 || setgid(65534) != 0 || setuid(65534) != 0)
        return 10;
    const ::VersionInfo ver{1, 2, 1, 1196};
    VaxoHandle c = nullptr;
    if (vaxo_CreateContext(&ver, nullptr, nullptr, &c) != 0 || vaxo_SetTcpHostName(c, "127.0.0.1") != 0 ||
        vaxo_SetTcpPort(c, port) != 0)
        return 11;
    if (vaxo_OpenConnection(c) == 0)
        return 12;
    if (vaxo_IsConnected(c))
        return 13;
    limit.rlim_cur = wanted;
    if (setrlimit(RLIMIT_NPROC, &limit) != 0)
        return 14;
    if (vaxo_OpenConnection(c) != 0)
        return 15;
    double v;
    if (vaxo_GetVrValue(c, 1, &v) != 0)
        return 16;
    return vaxo_DestroyContext(c) == 0 ? 0 : 17;
}

TEST_F(SimConnection, OpenWithoutThreadsToSpare) {
    if (const char* childPort = std::getenv("VAXO_NO_THREADS_PORT")) {
        alarm(60);
        _exit(openWithoutThreads(std::uint16_t(std::atoi(childPort))));
    }
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to run a child as an unprivileged user under a process limit";
    startSim({});
    const auto outcome = runSelf("SimConnection.OpenWithoutThreadsToSpare",
                                 "VAXO_NO_THREADS_PORT=" + std::to_string(port), 90s);
    EXPECT_EQ(outcome.describe(), "")
        << "exit 10 setup, 12 opened, 13 connected, 14 limit, 15 reopen failed, 16 command failed";
}

// Closes of one context from two threads at once touch only that context's socket: another
// context that reopens in a loop meanwhile (and may be given the same descriptor number) is
// never disturbed. The closed context's events alternate as its opens and closes did.
TEST_F(SimConnection, TwoClosesAtOnceLeaveOtherLinksAlone) {
    startSim({});
    makeContext();
    VaxoHandle other = nullptr;
    const ::VersionInfo ver{1, 2, 1, 1196};
    ASSERT_EQ(vaxo_CreateContext(&ver, nullptr, nullptr, &other), 0u);
    vaxo_SetTcpHostName(other, "127.0.0.1");
    vaxo_SetTcpPort(other, port);
    vaxo_SetTcpCommandTimeout(other, 5000);

    const int cycles = std::getenv("VAXO_STRESS_CYCLES") ? std::atoi(std::getenv("VAXO_STRESS_CYCLES")) : 1500;
    std::atomic<bool> done{false};
    std::atomic<int> disturbed{0}, otherCycles{0};
    std::thread reopener([&] {
        while (!done.load()) {
            if (vaxo_OpenConnection(other) != 0) {
                ++disturbed;
                continue;
            }
            double v;
            for (int i = 0; i < 3; ++i)
                if (vaxo_GetVrValue(other, 1, &v) != 0)
                    ++disturbed;
            vaxo_CloseConnection(other);
            ++otherCycles;
        }
    });
    std::atomic<int> go{0};
    for (int i = 0; i < cycles; ++i) {
        ASSERT_EQ(vaxo_OpenConnection(h), 0u) << i;
        go = 0;
        auto closer = [&] {
            ++go;
            while (go.load() < 2) {
            }
            EXPECT_EQ(vaxo_CloseConnection(h), 0u);
        };
        std::thread a(closer), b(closer);
        a.join();
        b.join();
    }
    done = true;
    reopener.join();
    vaxo_DestroyContext(other);
    EXPECT_EQ(disturbed.load(), 0) << "over " << otherCycles.load() << " cycles of the other context";
    const auto seen = linkEvents(events, std::size_t(2 * cycles));
    ASSERT_EQ(seen.size(), std::size_t(2 * cycles));
    for (std::size_t i = 0; i < seen.size(); ++i)
        EXPECT_EQ(seen[i], (i % 2 ? "Disconnected from 127.0.0.1" : "Connected to 127.0.0.1")) << i;
}

// One "Connected to " per open and one "Disconnected from " per close, a second close and a
// close of a dropped link included.
TEST_F(SimConnection, OneEventPerOpenAndPerClose) {
    open({});
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    sim->closeConnections();
    double v;
    for (int i = 0; i < 200 && vaxo_IsConnected(h); ++i) {
        vaxo_GetVrValue(h, 1, &v);
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    const std::vector<std::string> expected{"Connected to 127.0.0.1", "Disconnected from 127.0.0.1",
                                            "Connected to 127.0.0.1", "Disconnected from 127.0.0.1"};
    EXPECT_EQ(linkEvents(events, expected.size()), expected);
}

// The host name handed to the callback stays whole while other threads set new ones.
TEST_F(SimConnection, HostNameReadBesideASet) {
    startSim({});
    makeContext();
    const std::vector<std::string> names{std::string(300, 'a'), "127.0.0.1", std::string(1000, 'b')};
    std::atomic<bool> done{false};
    std::thread setter([&] {
        for (std::size_t i = 0; !done.load(); ++i)
            vaxo_SetTcpHostName(h, names[i % names.size()].c_str());
    });
    struct Check {
        const std::vector<std::string>* names;
        int bad = 0;
        static void cb(void* user, const char* text, uint32_t length) {
            auto* self = static_cast<Check*>(user);
            std::this_thread::yield(); // give the setter its chance while the text is held
            const std::string got(text, length);
            if (std::find(self->names->begin(), self->names->end(), got) == self->names->end())
                ++self->bad;
        }
    } check{&names};
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(vaxo_GetTcpHostName(h, Check::cb, &check), 0u);
    done = true;
    setter.join();
    EXPECT_EQ(check.bad, 0);
}

// A reply read in full keeps its result when a close lands between the read and the wake-up
// of its caller: only commands whose reply was not read are finished with Disconnected.
TEST_F(SimConnection, ReplyReadInFullKeepsItsResultBesideAClose) {
    open({});
    sim->setVr(7, 42.5);
    class CmdReadThenClosed : public TCP::CmdArray {
    public:
        CmdReadThenClosed(TCP::Connection_TCP& c, double* value, std::thread& closer)
            : CmdArray(c, value), m_closer(closer) {}
        Err readReply() override {
            const Err e = CmdArray::readReply();
            // A host thread closes the link now, after the whole reply was read.
            m_closer = std::thread([&c = m_connection] { c.CloseConnection(); });
            for (int i = 0; i < 2000 && m_connection.port().isOpened(); ++i)
                std::this_thread::sleep_for(1ms);
            return e;
        }
        std::thread& m_closer;
    };
    double value = 0;
    std::thread closer;
    const Err result = conn(h).execute<CmdReadThenClosed>([](CmdReadThenClosed& cmd) {
        unsigned i = 7;
        return cmd.send(Vaxo::Ubrix::Shared::KnownTokens::VR, 1, &i);
    }, &value, closer);
    closer.join();
    EXPECT_EQ(result, Err::Success);
    EXPECT_EQ(value, 42.5);
}
