// The controller on a loopback port, spoken to with raw bytes.
#include <gtest/gtest.h>

#include "SimTestUtil.h"

#include <thread>

using namespace Vaxo::Sim;
using namespace SimTest;
using Clock = std::chrono::steady_clock;

namespace {

// Opens a raw connection through table, CONTROL and VERSION on an IEEE controller that escapes.
struct Link {
    Simulator& sim;
    Client cl;
    explicit Link(Simulator& s) : sim(s), cl(s.port()) {
        EXPECT_TRUE(cl.ok());
        cl.send({0x00, 0xC8});
        EXPECT_EQ(cl.readTable(), sim.tokens().text());
        cl.send(escape(Enc(sim.tokens(), NumberFormat::Tms320).var("CONTROL").zero()));
        EXPECT_EQ(cl.recv(8), standard(sim.config().controllerType, 0, NumberFormat::Tms320));
        cl.send(escape(enc().var("VERSION").zero()));
        EXPECT_EQ(cl.recv(16), standard(sim.config().firmware, 0, NumberFormat::Ieee64));
    }
    Enc enc() const { return Enc(sim.tokens(), NumberFormat::Ieee64); }
    Bytes getVr(double i) { return escape(enc().tok("VR").tok("OPENBRACKETS").num(i).tok("CLOSEBRACKETS").zero()); }
    Bytes setVr(double i, double v) {
        return escape(enc().tok("VR").tok("OPENBRACKETS").num(i).tok("CLOSEBRACKETS").tok("ASSIGN").num(v).zero());
    }
};

Bytes ok(double v = 0) { return standard(v, 0, NumberFormat::Ieee64); }

} // namespace

TEST(SimServer, ManyClientsAtOnceEachWithItsOwnVrs) {
    Simulator sim({.seed = 99});
    ASSERT_NE(sim.start(), 0);
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            Link l(sim);
            // pipelined: 50 writes in one go, then reads one by one
            Bytes burst;
            for (int i = 0; i < 50; ++i) {
                auto r = l.setVr(t * 100 + i, t * 1000 + i);
                burst.insert(burst.end(), r.begin(), r.end());
            }
            l.cl.send(burst);
            if (l.cl.recv(50 * 16) != [] { Bytes all; for (int i = 0; i < 50; ++i) { auto r = ok(); all.insert(all.end(), r.begin(), r.end()); } return all; }())
                ++failures;
            for (int i = 0; i < 50; ++i) {
                l.cl.send(l.getVr(t * 100 + i));
                if (l.cl.recv(16) != ok(t * 1000 + i)) ++failures;
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(sim.vr(349), 3049);
    EXPECT_EQ(sim.requests().size(), 6u * (3 + 100));
    sim.stop();
    EXPECT_EQ(sim.connectionCount(), 0u);
}

TEST(SimServer, DelayAndTrickle) {
    Simulator sim({.seed = 4});
    ASSERT_NE(sim.start(), 0);
    Link l(sim);
    sim.faults().delay(std::chrono::milliseconds(150), {"VR"});
    auto t0 = Clock::now();
    l.cl.send(l.getVr(1));
    EXPECT_EQ(l.cl.recv(16), ok());
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(140));
    sim.faults().trickle(std::chrono::milliseconds(20));
    t0 = Clock::now();
    l.cl.send(l.getVr(1));
    Bytes first = l.cl.recv(1);
    EXPECT_EQ(first.size(), 1u);
    EXPECT_LT(Clock::now() - t0, std::chrono::milliseconds(100));
    Bytes rest = l.cl.recv(15);
    first.insert(first.end(), rest.begin(), rest.end());
    EXPECT_EQ(first, ok());
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(15 * 20 - 10));
}

TEST(SimServer, StopMidReplyThenSilenceAndNudges) {
    Simulator sim({.seed = 8});
    ASSERT_NE(sim.start(), 0);
    Link l(sim);
    sim.setVr(3, 77);
    sim.faults().stopAfter(3);
    l.cl.send(l.getVr(3));
    const Bytes full = ok(77);
    EXPECT_EQ(l.cl.recv(16, 300), Bytes(full.begin(), full.begin() + 3));
    EXPECT_FALSE(l.cl.eof());
    l.cl.send({std::uint8_t(sim.tokens().symbols().unknown)});  // the host's nudge: no reply
    EXPECT_TRUE(l.cl.recv(1, 200).empty());
    EXPECT_EQ(sim.nudgesSeen(), 1u);
    l.cl.send(l.getVr(3));  // the controller still answers later requests
    EXPECT_EQ(l.cl.recv(16), ok(77));
}

TEST(SimServer, ClosingTheConnection) {
    Simulator sim({.seed = 12});
    ASSERT_NE(sim.start(), 0);
    {
        Link l(sim);
        sim.faults().closeAfter(4);
        l.cl.send(l.getVr(0));
        EXPECT_EQ(l.cl.recv(16).size(), 4u);
        EXPECT_TRUE(l.cl.eof());
    }
    Link l2(sim);
    EXPECT_EQ(sim.connectionCount(), 1u);
    sim.closeConnections();
    l2.cl.recv(1, 1000);
    EXPECT_TRUE(l2.cl.eof());
    Link l3(sim);  // the listener is still there
    l3.cl.send(l3.getVr(0));
    EXPECT_EQ(l3.cl.recv(16), ok());
}

TEST(SimServer, TmsControllerWithoutEscapingAndAFreshSeedPerRun) {
    const auto seed = static_cast<std::uint32_t>(Clock::now().time_since_epoch().count());
    Simulator sim({.seed = seed, .controllerType = 206, .firmware = 1.40});
    ASSERT_NE(sim.start(), 0);
    Client cl(sim.port());
    cl.send({0x00, 0xC8});
    EXPECT_EQ(cl.readTable(), sim.tokens().text());
    Enc tms(sim.tokens(), NumberFormat::Tms320);
    cl.send(escape(Enc(tms).var("CONTROL").zero()));
    EXPECT_EQ(cl.recv(8), standard(206, 0, NumberFormat::Tms320));
    cl.send(Enc(tms).var("VERSION").zero());
    EXPECT_EQ(floatToTms(1.40), floatToTms(getNumber(cl.recv(8).data(), NumberFormat::Tms320)));
    cl.send(Enc(tms).tok("TABLE").tok("OPENBRACKETS").num(27).tok("COMMA").num(1.5).tok("CLOSEBRACKETS").zero());
    EXPECT_EQ(cl.recv(8), standard(0, 0, NumberFormat::Tms320));
    EXPECT_EQ(sim.table(27), 1.5);
    const auto reqs = sim.requests();
    ASSERT_EQ(reqs.size(), 4u);
    EXPECT_FALSE(reqs[3].escaped);
    EXPECT_EQ(reqs[3].raw, Enc(tms).tok("TABLE").tok("OPENBRACKETS").num(27).tok("COMMA").num(1.5).tok("CLOSEBRACKETS").zero());
    sim.stop();
    EXPECT_NE(sim.start(), 0);  // and it can listen again
}
