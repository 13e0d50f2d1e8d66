// Motion commands end to end: exact request bytes with this run's token codes (trimming of
// optional values, the AXIS modifier only for an axis >= 0), refusals, and the simulated
// controller's motion model watched through the axis parameters.
#include "SimFixture.h"

#include <functional>
#include <thread>

#include "sim/MotionHandlers.h"

using namespace vaxotest;
using Bytes = std::vector<uint8_t>;

namespace {

constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr uint64_t kControllerError = 0x0400000000ull;

class Motion : public SimConnection {
protected:
    void SetUp() override { open({.controllerType = 1664, .firmware = 2.0330}); }

public:
    // token ( v0 , v1 ... ) [MODIFIER AXIS ( axis )] ZERO
    Bytes req(std::string_view token, std::vector<double> values, int axis = -1) const {
        Bytes out = tok(token);
        for (std::size_t k = 0; k < values.size(); ++k)
            out = cat(out, tok(k == 0 ? "OPENBRACKETS" : "COMMA"), num(values[k]));
        if (!values.empty()) out = cat(out, tok("CLOSEBRACKETS"));
        if (axis >= 0)
            out = cat(out, tok("MODIFIER"), tok("AXIS"), tok("OPENBRACKETS"), num(axis), tok("CLOSEBRACKETS"));
        return cat(out, tok("ZERO"));
    }

protected:
    double axisParam(ErrorCode (*get)(VaxoHandle, uint32_t, double*), uint32_t axis) {
        double v = -12345;
        EXPECT_EQ(get(h, axis, &v), 0u);
        return v;
    }
    // Polls IDLE until the axis stops; false after the timeout.
    bool waitIdle(uint32_t axis, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < end) {
            if (axisParam(vaxo_GetAxisParameter_IDLE, axis) == -1) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
};

struct Case {
    const char* what;
    std::function<ErrorCode(VaxoHandle)> call;
    std::function<Bytes(const Motion&)> expected;
};

} // namespace

// Every family's request layout, with the trimming edge cases.
TEST_F(Motion, RequestBytesOfEveryForm) {
    static int mode2 = 2;
    static double three[] = {1, 2.5, 3};
    static double five[] = {0, 99, 2, 500, 4};
    const std::vector<Case> cases = {
        {"FORWARD on axis 2", [](VaxoHandle h) { return vaxo_Forward(h, 2); },
         [](const Motion& m) { return m.req("FORWARD", {}, 2); }},
        {"REVERSE on axis 0", [](VaxoHandle h) { return vaxo_Reverse(h, 0); },
         [](const Motion& m) { return m.req("REVERSE", {}, 0); }},
        {"MOVE with axis -1 has no modifier", [](VaxoHandle h) { return vaxo_MoveRel(h, 10, -1); },
         [](const Motion& m) { return m.req("MOVE", {10}); }},
        {"MOVEABS on axis 3", [](VaxoHandle h) { return vaxo_MoveAbs(h, 5.5, 3); },
         [](const Motion& m) { return m.req("MOVEABS", {5.5}, 3); }},
        {"MOVESP", [](VaxoHandle h) { return vaxo_MoveRelSp(h, 2, 0); },
         [](const Motion& m) { return m.req("MOVESP", {2}, 0); }},
        {"MOVEABSSP", [](VaxoHandle h) { return vaxo_MoveAbsSp(h, 4, -1); },
         [](const Motion& m) { return m.req("MOVEABSSP", {4}); }},
        {"MOVE of three axes", [](VaxoHandle h) { return vaxo_MoveRelMulti(h, three, 3, 1); },
         [](const Motion& m) { return m.req("MOVE", {1, 2.5, 3}, 1); }},
        {"MOVEABSSP of two axes", [](VaxoHandle h) { return vaxo_MoveAbsSpMulti(h, three, 2, -1); },
         [](const Motion& m) { return m.req("MOVEABSSP", {1, 2.5}); }},
        {"MOVEMODIFY", [](VaxoHandle h) { return vaxo_MoveModify(h, 7, 1); },
         [](const Motion& m) { return m.req("MOVEMODIFY", {7}, 1); }},
        {"MOVECIRCSP option -1 and speed 0: five values",
         [](VaxoHandle h) { return vaxo_MoveCircSp(h, 0, 10, 20, 5, 6, 1, 0.0, -1); },
         [](const Motion& m) { return m.req("MOVECIRCSP", {10, 20, 5, 6, 1}, 0); }},
        {"MOVECIRCSP option -1: six values", [](VaxoHandle h) { return vaxo_MoveCircSp(h, -1, 10, 20, 5, 6, 0, 50, -1); },
         [](const Motion& m) { return m.req("MOVECIRCSP", {10, 20, 5, 6, 0, 50}); }},
        {"MOVECIRCSP with an option keeps speed 0", [](VaxoHandle h) { return vaxo_MoveCircSp(h, 1, 10, 20, 5, 6, 1, 0, 3); },
         [](const Motion& m) { return m.req("MOVECIRCSP", {10, 20, 5, 6, 1, 0, 3}, 1); }},
        {"MOVECIRC", [](VaxoHandle h) { return vaxo_MoveCirc(h, 0, 1, 2, 3, 4, 0); },
         [](const Motion& m) { return m.req("MOVECIRC", {1, 2, 3, 4, 0}, 0); }},
        {"MHELICAL mode -1 dropped", [](VaxoHandle h) { return vaxo_MoveHelical(h, 0, 1, 2, 3, 4, 1, 9, -1); },
         [](const Motion& m) { return m.req("MHELICAL", {1, 2, 3, 4, 1, 9}, 0); }},
        {"MHELICALSP drops option, speed, mode", [](VaxoHandle h) { return vaxo_MoveHelicalSp(h, 0, 1, 2, 3, 4, 1, 9, -1, 0, -1); },
         [](const Motion& m) { return m.req("MHELICALSP", {1, 2, 3, 4, 1, 9}, 0); }},
        {"MHELICALSP keeps a speed", [](VaxoHandle h) { return vaxo_MoveHelicalSp(h, -1, 1, 2, 3, 4, 1, 9, -1, 20, -1); },
         [](const Motion& m) { return m.req("MHELICALSP", {1, 2, 3, 4, 1, 9, -1, 20}); }},
        {"MSPHERICAL", [](VaxoHandle h) { return vaxo_MoveSpherical(h, 0, 1, 2, 3, 4, 5, 6, 0); },
         [](const Motion& m) { return m.req("MSPHERICAL", {1, 2, 3, 4, 5, 6, 0}, 0); }},
        {"MSPHERICALSP", [](VaxoHandle h) { return vaxo_MoveSphericalSp(h, 0, 1, 2, 3, 4, 5, 6, 1, 0, -1); },
         [](const Motion& m) { return m.req("MSPHERICALSP", {1, 2, 3, 4, 5, 6, 1}, 0); }},
        {"MOVEABSSEQ always seven values", [](VaxoHandle h) { return vaxo_MoveAbsSeq(h, -1, 100, 10, 2, 0, 0, 0, -1); },
         [](const Motion& m) { return m.req("MOVEABSSEQ", {100, 10, 2, 0, 0, 0, -1}); }},
        {"relative sequence: same token, trimmed", [](VaxoHandle h) { return vaxo_MoveRelSeq(h, 0, 100, 10, 2, 1, 0, 0, -1); },
         [](const Motion& m) { return m.req("MOVEABSSEQ", {100, 10, 2, 1}, 0); }},
        {"MOVEPICK", [](VaxoHandle h) { return vaxo_MovePick(h, 30, 200, -1, 2); },
         [](const Motion& m) { return m.req("MOVEPICK", {30, 200}, 2); }},
        {"MOVELINK without option", [](VaxoHandle h) { return vaxo_MoveLink(h, 100, 50, 10, 11, 3, -1, 0, 1); },
         [](const Motion& m) { return m.req("MOVELINK", {100, 50, 10, 11, 3}, 1); }},
        {"MOVELINK with option and position", [](VaxoHandle h) { return vaxo_MoveLink(h, 100, 50, 10, 11, 3, 2, 7.5, 1); },
         [](const Motion& m) { return m.req("MOVELINK", {100, 50, 10, 11, 3, 2, 7.5}, 1); }},
        {"CAMBOX with option", [](VaxoHandle h) { return vaxo_CamBox(h, 0, 99, 2, 500, 4, 1, 0, 2); },
         [](const Motion& m) { return m.req("CAMBOX", {0, 99, 2, 500, 4, 1}, 2); }},
        {"CAMBOX as given", [](VaxoHandle h) { return vaxo_CamBoxMulti(h, five, 5, -1); },
         [](const Motion& m) { return m.req("CAMBOX", {0, 99, 2, 500, 4}); }},
        {"CAM", [](VaxoHandle h) { return vaxo_Cam(h, 0, 99, 2, 500, 0); },
         [](const Motion& m) { return m.req("CAM", {0, 99, 2, 500}, 0); }},
        {"CONNECT mode 0 dropped", [](VaxoHandle h) { return vaxo_Connect(h, 2.5, 1, 0, 0); },
         [](const Motion& m) { return m.req("CONNECT", {2.5, 1}, 0); }},
        {"CONNECT with a mode", [](VaxoHandle h) { return vaxo_Connect(h, 2.5, 1, 1, -1); },
         [](const Motion& m) { return m.req("CONNECT", {2.5, 1, 1}); }},
        {"CONNPATH", [](VaxoHandle h) { return vaxo_ConnPath(h, 0.5, 2, 3); },
         [](const Motion& m) { return m.req("CONNPATH", {0.5, 2}, 3); }},
        {"CANCEL mode then axis", [](VaxoHandle h) { return vaxo_Cancel(h, 1, 0); },
         [](const Motion& m) { return m.req("CANCEL", {1}, 0); }},
        {"RAPIDSTOP without mode", [](VaxoHandle h) { return vaxo_RapidStop(h, nullptr); },
         [](const Motion& m) { return m.req("RAPIDSTOP", {}); }},
        {"RAPIDSTOP with mode", [](VaxoHandle h) { return vaxo_RapidStop(h, &mode2); },
         [](const Motion& m) { return m.req("RAPIDSTOP", {2}); }},
        {"DATUM", [](VaxoHandle h) { return vaxo_Datum(h, 0, 4); },
         [](const Motion& m) { return m.req("DATUM", {0}, 4); }},
        {"DEFPOS", [](VaxoHandle h) { return vaxo_DefPos(h, 12, -1); },
         [](const Motion& m) { return m.req("DEFPOS", {12}); }},
        {"DEFPOS of three axes", [](VaxoHandle h) { return vaxo_DefPosMulti(h, three, 3, 0); },
         [](const Motion& m) { return m.req("DEFPOS", {1, 2.5, 3}, 0); }},
        {"ADDAX to BASE", [](VaxoHandle h) { return vaxo_AddAx2(h, 4); },
         [](const Motion& m) { return m.req("ADDAX", {4}); }},
        {"ADDAX", [](VaxoHandle h) { return vaxo_AddAx3(h, 4, 1); },
         [](const Motion& m) { return m.req("ADDAX", {4}, 1); }},
        {"ADD_DAC to BASE", [](VaxoHandle h) { return vaxo_AddDac2(h, 5); },
         [](const Motion& m) { return m.req("ADD_DAC", {5}); }},
        {"ADD_DAC", [](VaxoHandle h) { return vaxo_AddDac3(h, 5, 2); },
         [](const Motion& m) { return m.req("ADD_DAC", {5}, 2); }},
        {"BACKLASH on", [](VaxoHandle h) { return vaxo_Backlash(h, 0.5, 10, 100, -1); },
         [](const Motion& m) { return m.req("BACKLASH", {1, 0.5, 10, 100}); }},
        {"BACKLASH off", [](VaxoHandle h) { return vaxo_BacklashDisable(h, 1); },
         [](const Motion& m) { return m.req("BACKLASH", {0}, 1); }},
        {"ENCODER_RATIO", [](VaxoHandle h) { return vaxo_EncoderRatio(h, 4000, 1000, 0); },
         [](const Motion& m) { return m.req("ENCODER_RATIO", {4000, 1000}, 0); }},
        {"STEP_RATIO", [](VaxoHandle h) { return vaxo_StepRatio(h, 1, 8, -1); },
         [](const Motion& m) { return m.req("STEP_RATIO", {1, 8}); }},
        {"SET_MOTION of two", [](VaxoHandle h) { return vaxo_SetMotion3(h, 1, 2); },
         [](const Motion& m) { return m.req("SET_MOTION", {1, 2}); }},
        {"SET_MOTION of five", [](VaxoHandle h) { return vaxo_SetMotion6(h, 1, 2, 3, 4, 5); },
         [](const Motion& m) { return m.req("SET_MOTION", {1, 2, 3, 4, 5}); }},
        {"SET_MOTIONSP of nine", [](VaxoHandle h) { return vaxo_SetMotionSp10(h, 1, 2, 3, 4, 5, 6, 7, 8, 9); },
         [](const Motion& m) { return m.req("SET_MOTIONSP", {1, 2, 3, 4, 5, 6, 7, 8, 9}); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        sim->clearRequests();
        ASSERT_EQ(c.call(h), 0u);
        const auto reqs = sim->requests();
        ASSERT_EQ(reqs.size(), 1u);
        EXPECT_EQ(reqs[0].bytes, c.expected(*this)) << reqs[0].str();
        EXPECT_EQ(reqs[0].raw, escaped(c.expected(*this)));
        EXPECT_EQ(reqs[0].status, 0);
    }
    // The set-up commands are kept by the controller.
    const auto kept = sim->withState(
        [](Vaxo::Sim::Controller& c) { return c.extension<Vaxo::Sim::MotionAxes>().lastArgs("CONNPATH", 3); });
    EXPECT_EQ(kept, (std::vector<double>{0.5, 2}));
}

TEST_F(Motion, RefusalsAndControllerErrors) {
    // A count without values never reaches the wire.
    EXPECT_EQ(vaxo_MoveRelMulti(h, nullptr, 2, 0), kBadArgument);
    EXPECT_EQ(vaxo_DefPosMulti(h, nullptr, 1, -1), kBadArgument);
    EXPECT_EQ(vaxo_CamBoxMulti(h, nullptr, 5, -1), kBadArgument);
    EXPECT_TRUE(sim->requests().empty());
    // An axis the controller does not have, and a list longer than its axes.
    EXPECT_EQ(vaxo_MoveRel(h, 1, 99), kControllerError | 19);
    double nine[9] = {};
    EXPECT_EQ(vaxo_MoveRelMulti(h, nine, 9, -1), kControllerError | 16);
    EXPECT_EQ(vaxo_Cancel(h, 7, 0), kControllerError | 19);
    // FORWARD and REVERSE name a negative axis too, and the controller refuses it.
    sim->clearRequests();
    EXPECT_EQ(vaxo_Forward(h, -1), kControllerError | 19);
    EXPECT_EQ(vaxo_Reverse(h, -3), kControllerError | 19);
    const auto reqs = sim->requests();
    ASSERT_EQ(reqs.size(), 2u);
    const Bytes axisPart = cat(tok("MODIFIER"), tok("AXIS"), tok("OPENBRACKETS"));
    EXPECT_EQ(reqs[0].bytes, cat(tok("FORWARD"), axisPart, num(-1), tok("CLOSEBRACKETS"), tok("ZERO"))) << reqs[0].str();
    EXPECT_EQ(reqs[1].bytes, cat(tok("REVERSE"), axisPart, num(-3), tok("CLOSEBRACKETS"), tok("ZERO"))) << reqs[1].str();
    // Down links refuse at once.
    ASSERT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_EQ(vaxo_Forward(h, 0), kDisconnected);
    EXPECT_EQ(vaxo_SetMotion3(h, 1, 2), kDisconnected);
}

// A move over the wire, watched through the named axis parameters until it is done.
TEST_F(Motion, MoveRunsUntilIdle) {
    ASSERT_EQ(vaxo_SetAxisParameter_SPEED(h, 1, 400), 0u);
    ASSERT_EQ(vaxo_SetAxisParameter_ACCEL(h, 1, 4000), 0u);
    ASSERT_EQ(vaxo_SetAxisParameter_DECEL(h, 1, 4000), 0u);
    ASSERT_EQ(vaxo_DefPos(h, 10, 1), 0u);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 1), 10);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_IDLE, 1), -1);

    ASSERT_EQ(vaxo_MoveAbs(h, 110, 1), 0u);  // 0.35 s at these rates
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_IDLE, 1), 0);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_MTYPE, 1), Vaxo::Sim::MoveType::MoveAbs);
    double last = 10;
    bool between = false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (axisParam(vaxo_GetAxisParameter_IDLE, 1) != -1 && std::chrono::steady_clock::now() < end) {
        const double dpos = axisParam(vaxo_GetAxisParameter_DPOS, 1);
        EXPECT_GE(dpos, last) << "the axis only moves forward";
        between |= dpos > 10 && dpos < 110;
        last = dpos;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(between) << "positions on the way were seen";
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_IDLE, 1), -1);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 1), 110);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_MPOS, 1), 110);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_REMAIN, 1), 0);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_MTYPE, 1), 0);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 0), 0) << "other axes stay";
}

TEST_F(Motion, ForwardCancelRapidStopAndDatum) {
    ASSERT_EQ(vaxo_SetAxisParameter_SPEED(h, 2, 1000), 0u);
    ASSERT_EQ(vaxo_SetAxisParameter_DECEL(h, 2, 100000), 0u);
    ASSERT_EQ(vaxo_Forward(h, 2), 0u);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_MTYPE, 2), Vaxo::Sim::MoveType::Forward);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const double p = axisParam(vaxo_GetAxisParameter_DPOS, 2);
    EXPECT_GT(p, 0);
    ASSERT_EQ(vaxo_Cancel(h, 0, 2), 0u);
    ASSERT_TRUE(waitIdle(2));
    const double stopped = axisParam(vaxo_GetAxisParameter_DPOS, 2);
    EXPECT_GE(stopped, p);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 2), stopped) << "a cancelled axis stays put";

    ASSERT_EQ(vaxo_Reverse(h, 2), 0u);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_EQ(vaxo_RapidStop(h, nullptr), 0u);
    ASSERT_TRUE(waitIdle(2));
    EXPECT_LT(axisParam(vaxo_GetAxisParameter_DPOS, 2), stopped);

    ASSERT_EQ(vaxo_Datum(h, 3, 2), 0u);
    ASSERT_TRUE(waitIdle(2));
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 2), 0);
}

// The profile on a stopped servo clock, cycle by cycle: each move of 5 units at 10/s with
// 100/s² takes 0.1 s up, 0.4 s at speed and 0.1 s down; the buffered one follows.
TEST_F(Motion, TrapezoidOnSteppedServoClock) {
    using Vaxo::Sim::MotionAxes;
    ASSERT_EQ(vaxo_SetAxisParameter_SPEED(h, 0, 10), 0u);
    ASSERT_EQ(vaxo_SetAxisParameter_ACCEL(h, 0, 100), 0u);
    ASSERT_EQ(vaxo_SetAxisParameter_DECEL(h, 0, 100), 0u);
    ASSERT_EQ(vaxo_Forward(h, 7), 0u);  // attaches the clock
    ASSERT_EQ(vaxo_RapidStop(h, nullptr), 0u);
    ASSERT_TRUE(waitIdle(7));
    auto state = [&](auto f) { return sim->withState([&](Vaxo::Sim::Controller& c) { return f(c.extension<MotionAxes>()); }); };
    state([](MotionAxes& m) { m.freeze(true); return 0; });

    ASSERT_EQ(vaxo_MoveRel(h, 5, -1), 0u);  // BASE axis 0
    ASSERT_EQ(vaxo_MoveRel(h, 5, 0), 0u);   // buffered behind it
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_NTYPE, 0), Vaxo::Sim::MoveType::Move);
    auto view = [&](unsigned cycles) {
        return state([&](MotionAxes& m) { m.step(cycles); return m.axis(0); });
    };
    auto v = view(100);
    EXPECT_NEAR(v.dpos, 0.5, 0.02);
    EXPECT_NEAR(v.speed, 10, 1e-9);
    v = view(450);  // 0.55 s: the first move slows down for its end
    EXPECT_EQ(v.buffered, 1u);
    EXPECT_LT(v.speed, 10);
    EXPECT_GT(v.dpos, 4.5);
    v = view(100);  // 0.65 s: the first move ended at 0.6 s, the second runs
    EXPECT_FALSE(v.idle);
    EXPECT_EQ(v.buffered, 0u);
    EXPECT_GT(v.dpos, 5);
    v = view(500);  // 1.15 s
    EXPECT_FALSE(v.idle);
    v = view(100);
    EXPECT_TRUE(v.idle);
    EXPECT_DOUBLE_EQ(v.dpos, 10);
    EXPECT_EQ(axisParam(vaxo_GetAxisParameter_DPOS, 0), 10);
    state([](MotionAxes& m) { m.freeze(false); return 0; });
}
