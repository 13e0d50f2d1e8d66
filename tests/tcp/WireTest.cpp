// End to end over the wire: open sequence, exact request bytes with this run's token codes,
// both number formats, and the controller's answers.
#include "SimFixture.h"

using namespace vaxotest;

namespace {

struct Profile {
    const char* name;
    double type;
    double firmware;
    bool ieee;
    bool escapes;
};

class Wire : public SimConnection, public ::testing::WithParamInterface<Profile> {};

} // namespace

TEST_P(Wire, VrAndTableRoundTripsWithExactBytes) {
    const Profile p = GetParam();
    open({.controllerType = p.type, .firmware = p.firmware});
    ieee = p.ieee;

    double fw = 0;
    ASSERT_EQ(vaxo_GetFirmwareVersionNumber(h, &fw), 0u);
    EXPECT_DOUBLE_EQ(fw, p.firmware);

    ASSERT_EQ(vaxo_SetVrValue(h, 12, 2.5), 0u);
    EXPECT_EQ(sim->vr(12), 2.5);
    double v = 0;
    ASSERT_EQ(vaxo_GetVrValue(h, 12, &v), 0u);
    EXPECT_EQ(v, 2.5);
    ASSERT_EQ(vaxo_SetTableValue(h, 3, 12.0), 0u);
    EXPECT_EQ(sim->table(3), 12.0);
    ASSERT_EQ(vaxo_GetTableValue(h, 3, &v), 0u);
    EXPECT_EQ(v, 12.0);

    const auto reqs = sim->requests();
    ASSERT_EQ(reqs.size(), 4u);
    const auto zero = tok("ZERO");
    const std::vector<std::vector<uint8_t>> expected = {
        cat(tok("VR"), tok("OPENBRACKETS"), num(12), tok("CLOSEBRACKETS"), tok("ASSIGN"), num(2.5), zero),
        cat(tok("VR"), tok("OPENBRACKETS"), num(12), tok("CLOSEBRACKETS"), zero),
        cat(tok("TABLE"), tok("OPENBRACKETS"), num(3), tok("COMMA"), num(12), tok("CLOSEBRACKETS"), zero),
        cat(tok("TABLE"), tok("OPENBRACKETS"), num(3), tok("CLOSEBRACKETS"), zero),
    };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(reqs[i].bytes, expected[i]) << reqs[i].str();
        EXPECT_EQ(reqs[i].raw, p.escapes ? escaped(expected[i]) : expected[i]) << reqs[i].str();
        EXPECT_EQ(reqs[i].status, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Controllers, Wire,
                         ::testing::Values(Profile{"Tms320", 206, 1.50, false, false},
                                           Profile{"Arm", 1664, 2.0340, true, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(SimConnection, OpenSequenceAndReopen) {
    startSim({.controllerType = 1664, .firmware = 2.0330});
    makeContext();
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    EXPECT_TRUE(vaxo_IsConnected(h));
    EXPECT_EQ(vaxo_OpenConnection(h), 0u) << "open while open does nothing";
    // The open asked for the type, then the firmware.
    const auto reqs = sim->requests();
    ASSERT_GE(reqs.size(), 2u);
    EXPECT_EQ(reqs[reqs.size() - 2].command(), "CONTROL");
    EXPECT_EQ(reqs.back().command(), "VERSION");
    EXPECT_EQ(reqs[reqs.size() - 2].format, Vaxo::Sim::NumberFormat::Tms320);

    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_FALSE(vaxo_IsConnected(h));
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u) << "the connection opens again after close";
    sim->setVr(7, 42);
    ASSERT_EQ(vaxo_GetVrValue(h, 7, &v), 0u);
    EXPECT_EQ(v, 42);
    bool connectedEvent = false;
    for (auto& t : events.texts)
        connectedEvent |= t == "Connected to 127.0.0.1";
    EXPECT_TRUE(connectedEvent);
}

TEST_F(SimConnection, RefusedControllerTypeLeavesEverythingClosed) {
    startSim({.controllerType = 0, .firmware = 2.0330});
    makeContext();
    EXPECT_EQ(vaxo_OpenConnection(h), 0x810000000Aull);
    EXPECT_FALSE(vaxo_IsConnected(h));
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    // Nothing is left half-open: the simulator sees the link go away.
    for (int i = 0; i < 200 && sim->connectionCount() != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(sim->connectionCount(), 0u);
}

TEST_F(SimConnection, ControllerErrorStatusBecomesControllerError) {
    open({});
    sim->faults().errorStatus(19, {.command = "VR", .count = 1});
    double v = -1;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0400000013ull);
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u) << "the link stays usable after a controller error";
}
