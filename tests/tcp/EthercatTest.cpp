// The EtherCAT master end to end: the value lists of every function with this run's token
// codes, results in the reply and in VRs, and the CANopen object commands.
#include "SimFixture.h"

#include <functional>

#include "sim/EthercatHandlers.h"

using namespace vaxotest;
using Vaxo::Sim::Controller;
using Vaxo::Sim::EthercatSlave;

namespace {

constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kOutOfRange = 0x0400000000ull | 19;

EthercatSlave slave(int32_t address, int32_t axis, bool online) {
    EthercatSlave s;
    s.address = address;
    s.axis = axis;
    s.online = online;
    return s;
}

class Ethercat : public SimConnection {
protected:
    void SetUp() override {
        open({.controllerType = 1664, .firmware = 2.0330});
        // Slot 0: three slaves, the middle one offline.
        sim->withState([](Controller& c) {
            auto& net = Vaxo::Sim::ethercatState(c).networks[0];
            net.slaves = {slave(1001, 0, true), slave(1002, -1, false), slave(1003, 4, true)};
        });
    }
    template <class F>
    decltype(auto) state(F&& f) {
        return sim->withState([&](Controller& c) { return f(Vaxo::Sim::ethercatState(c)); });
    }
    // token ( v0 , v1 ... [, "text"] ) ZERO
    std::vector<uint8_t> request(std::string_view token, std::vector<double> values, const char* text = nullptr) const {
        std::vector<uint8_t> out = tok(token);
        auto add = [&](const std::vector<uint8_t>& part) { out.insert(out.end(), part.begin(), part.end()); };
        add(tok("OPENBRACKETS"));
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i)
                add(tok("COMMA"));
            add(num(values[i]));
        }
        if (text) {
            add(tok("COMMA"));
            add(tok("QUOTES"));
            out.insert(out.end(), text, text + std::strlen(text));
            add(tok("QUOTES"));
        }
        add(tok("CLOSEBRACKETS"));
        add(tok("ZERO"));
        return out;
    }
};

TEST_F(Ethercat, EveryFunctionSendsItsValueList) {
    bool b;
    uint32_t u, u2;
    int32_t i;
    double d;
    struct Case {
        const char* name;
        std::function<uint64_t()> call;
        std::vector<double> values;
        std::string_view token = "ETHERCAT";
        const char* text = nullptr;
    };
    const std::vector<Case> cases = {
        {"StartNetwork2", [&] { return vaxo_Ethercat_StartNetwork2(h, 0); }, {0, 0}},
        {"StartNetwork3", [&] { return vaxo_Ethercat_StartNetwork3(h, 0, 1); }, {0, 0, 1}},
        {"StartNetwork4", [&] { return vaxo_Ethercat_StartNetwork4(h, 0, 1, 5); }, {0, 0, 1, 5}},
        {"StopNetwork", [&] { return vaxo_Ethercat_StopNetwork(h, 0); }, {1, 0}},
        {"CheckSlaveOnline", [&] { return vaxo_Ethercat_CheckSlaveOnline(h, 0, 1, &b); }, {2, 0, 1, -1}},
        {"CheckSlaveOnline_VR", [&] { return vaxo_Ethercat_CheckSlaveOnline_VR(h, 0, 1, 12); }, {2, 0, 1, 12}},
        {"CheckNumberOfSlaves", [&] { return vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &u); }, {3, 0, -1}},
        {"CheckNumberOfSlaves_VR", [&] { return vaxo_Ethercat_CheckNumberOfSlaves_VR(h, 0, 10); }, {3, 0, 10}},
        {"GetSlaveAddress", [&] { return vaxo_Ethercat_GetSlaveAddress(h, 0, 2, &i); }, {4, 0, 2, -1}},
        {"GetSlaveAddress_VR", [&] { return vaxo_Ethercat_GetSlaveAddress_VR(h, 0, 2, 7); }, {4, 0, 2, 7}},
        {"GetSlaveAxis", [&] { return vaxo_Ethercat_GetSlaveAxis(h, 0, 2, &i); }, {5, 0, 2, -1}},
        {"GetSlaveAxis_VR", [&] { return vaxo_Ethercat_GetSlaveAxis_VR(h, 0, 2, 8); }, {5, 0, 2, 8}},
        {"SetState", [&] { return vaxo_Ethercat_SetState(h, 0, 4, -1); }, {33, 0, 4, -1}},
        {"GetState", [&] { return vaxo_Ethercat_GetState(h, 0, &u); }, {34, 0}},
        {"GetState_VR", [&] { return vaxo_Ethercat_GetState_VR(h, 0, 9); }, {34, 0, 9}},
        {"GetSlave_ESC_Register", [&] { return vaxo_Ethercat_GetSlave_ESC_Register(h, 0, 2, 0x120, 2, 30); },
         {49, 0, 2, 0x120, 2, 30}},
        // 0x80 sign-extends over the byte above it: 0xFFFFFF80.
        {"SetSlave_ESC_Register", [&] { return vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 2, 0x120, "\x80\x01", 2); },
         {50, 0, 2, 0x120, 2, -1, 4294967168.0}},
        {"SendResetSequence2", [&] { return vaxo_Ethercat_SendResetSequence2(h, 0); }, {100, 0}},
        {"SendResetSequence3", [&] { return vaxo_Ethercat_SendResetSequence3(h, 0, 2); }, {100, 0, 2}},
        {"SendResetSequence4", [&] { return vaxo_Ethercat_SendResetSequence4(h, 0, 2, 3); }, {100, 0, 2, 3}},
        {"SetStatusMaskAndTriggerPattern", [&] { return vaxo_Ethercat_SetStatusMaskAndTriggerPattern(h, 0, 2, 15, 5); },
         {121, 0, 2, -1, 15, 5}},
        {"SetStatusMaskAndTriggerPattern_VR",
         [&] { return vaxo_Ethercat_SetStatusMaskAndTriggerPattern_VR(h, 0, 2, 40); }, {121, 0, 2, 40}},
        {"GetStatusMaskAndTriggerPattern",
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 2, &u, &u2); }, {122, 0, 2}},
        {"GetStatusMaskAndTriggerPattern_VR",
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern_VR(h, 0, 2, 20); }, {122, 0, 2, 20}},
        {"DisplayNetworkConfig", [&] { return vaxo_Ethercat_DisplayNetworkConfig(h, 0); }, {135, 0}},
        {"SetSync0StartTime", [&] { return vaxo_Ethercat_SetSync0StartTime(h, 5000); }, {145, -1, 5000}},
        {"SetSync0StartTime_VR", [&] { return vaxo_Ethercat_SetSync0StartTime_VR(h, 40); }, {145, 40}},
        {"SetDistrClockMaster", [&] { return vaxo_Ethercat_SetDistrClockMaster(h, 0, 2, 7); }, {147, 0, 2, -1, 7}},
        {"SetDistrClockMaster_VR", [&] { return vaxo_Ethercat_SetDistrClockMaster_VR(h, 0, 2, 40); }, {147, 0, 2, 40}},
        {"SetEmergencyMsgControl", [&] { return vaxo_Ethercat_SetEmergencyMsgControl(h, 0, 3); }, {224, 0, 3}},
        {"GetEmergencyMsgControl", [&] { return vaxo_Ethercat_GetEmergencyMsgControl(h, 0, &u); }, {225, 0}},
        {"GetEmergencyMsgControl_VR", [&] { return vaxo_Ethercat_GetEmergencyMsgControl_VR(h, 0, 6); }, {225, 0, 6}},
        {"CoWrite_Value7a", [&] { return vaxo_Ethercat_CoWrite_Value7a(h, 0, 2, 0x6060, 0, 2, 8); },
         {0, 2, 0x6060, 0, 2, -1, 8}, "CO_WRITE"},
        {"CoWrite_Value7b", [&] { return vaxo_Ethercat_CoWrite_Value7b(h, 0, 2, 0x1008, 0, 9, "drive"); },
         {0, 2, 0x1008, 0, 9, -1}, "CO_WRITE", "drive"},
        {"CoWrite_VR", [&] { return vaxo_Ethercat_CoWrite_VR(h, 0, 2, 0x6060, 0, 2, 40); },
         {0, 2, 0x6060, 0, 2, 40}, "CO_WRITE"},
        {"CoRead", [&] { return vaxo_Ethercat_CoRead(h, 0, 2, 0x6060, 0, 2, &d); }, {0, 2, 0x6060, 0, 2, -1}, "CO_READ"},
        {"CoWriteAxis_Value6a", [&] { return vaxo_Ethercat_CoWriteAxis_Value6a(h, 4, 0x6081, 0, 7, 2500); },
         {4, 0x6081, 0, 7, -1, 2500}, "CO_WRITE_AXIS"},
        {"CoWriteAxis_Value6b", [&] { return vaxo_Ethercat_CoWriteAxis_Value6b(h, 4, 0x1008, 0, 9, "x y"); },
         {4, 0x1008, 0, 9, -1}, "CO_WRITE_AXIS", "x y"},
        {"CoWriteAxis_VR", [&] { return vaxo_Ethercat_CoWriteAxis_VR(h, 4, 0x6081, 0, 7, 40); },
         {4, 0x6081, 0, 7, 40}, "CO_WRITE_AXIS"},
        {"CoReadAxis", [&] { return vaxo_Ethercat_CoReadAxis(h, 4, 0x6081, 0, 7, &d); }, {4, 0x6081, 0, 7, -1},
         "CO_READ_AXIS"},
    };
    sim->setVr(40, 3);
    sim->setVr(41, 1);
    for (const auto& c : cases) {
        sim->clearRequests();
        EXPECT_EQ(c.call(), 0u) << c.name;
        const auto reqs = sim->requests();
        ASSERT_EQ(reqs.size(), 1u) << c.name;
        EXPECT_EQ(reqs[0].bytes, request(c.token, c.values, c.text)) << c.name << ": " << reqs[0].str();
    }
}

TEST_F(Ethercat, ResultsInTheReply) {
    uint32_t count = 0;
    ASSERT_EQ(vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &count), 0u);
    EXPECT_EQ(count, 3u);
    bool online = true;
    ASSERT_EQ(vaxo_Ethercat_CheckSlaveOnline(h, 0, 1, &online), 0u);
    EXPECT_FALSE(online);
    int32_t v = 0;
    ASSERT_EQ(vaxo_Ethercat_GetSlaveAddress(h, 0, 2, &v), 0u);
    EXPECT_EQ(v, 1003);
    ASSERT_EQ(vaxo_Ethercat_GetSlaveAxis(h, 0, 1, &v), 0u);
    EXPECT_EQ(v, -1) << "a negative axis survives the conversion";

    uint32_t st = 0;
    ASSERT_EQ(vaxo_Ethercat_StartNetwork3(h, 0, VAXO_ETHERCAT_START_DEFAULT), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetState(h, 0, &st), 0u);
    EXPECT_EQ(st, uint32_t(VAXO_ETHERCAT_OPERATIONAL));
    ASSERT_EQ(vaxo_Ethercat_SetState(h, 0, VAXO_ETHERCAT_PREOPERATIONAL, -1), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetState(h, 0, &st), 0u);
    EXPECT_EQ(st, uint32_t(VAXO_ETHERCAT_PREOPERATIONAL));

    ASSERT_EQ(vaxo_Ethercat_SetEmergencyMsgControl(h, 0, 6), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetEmergencyMsgControl(h, 0, &st), 0u);
    EXPECT_EQ(st, 6u);

    // One line "mask pattern", then the standard response.
    ASSERT_EQ(vaxo_Ethercat_SetStatusMaskAndTriggerPattern(h, 0, 2, 0x0F, 0x05), 0u);
    uint32_t mask = 0, pattern = 0;
    ASSERT_EQ(vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 2, &mask, &pattern), 0u);
    EXPECT_EQ(mask, 0x0Fu);
    EXPECT_EQ(pattern, 0x05u);
    // The next command pairs with its own reply: nothing of the text was left behind.
    ASSERT_EQ(vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &count), 0u);
    EXPECT_EQ(count, 3u);

    ASSERT_EQ(vaxo_Ethercat_SetSync0StartTime(h, 5000), 0u);
    ASSERT_EQ(vaxo_Ethercat_SetDistrClockMaster(h, 0, 2, 7), 0u);
    ASSERT_EQ(vaxo_Ethercat_SendResetSequence3(h, 0, 2), 0u);
    state([](Vaxo::Sim::EthercatState& ec) {
        EXPECT_EQ(ec.sync0StartTime, 5000);
        EXPECT_EQ(ec.networks[0].slaves[2].distrClock, 7);
        EXPECT_EQ(ec.networks[0].slaves[2].resets, 1u);
        EXPECT_EQ(ec.networks[0].startArgs, std::vector<double>{0});
    });
}

TEST_F(Ethercat, VrFormsLeaveTheirResultInTheController) {
    sim->setVr(10, -5);
    ASSERT_EQ(vaxo_Ethercat_CheckNumberOfSlaves_VR(h, 0, 10), 0u);
    EXPECT_EQ(sim->vr(10), 3);
    ASSERT_EQ(vaxo_Ethercat_CheckSlaveOnline_VR(h, 0, 0, 11), 0u);
    EXPECT_EQ(sim->vr(11), 1);
    ASSERT_EQ(vaxo_Ethercat_GetSlaveAddress_VR(h, 0, 2, 12), 0u);
    EXPECT_EQ(sim->vr(12), 1003);
    ASSERT_EQ(vaxo_Ethercat_GetSlaveAxis_VR(h, 0, 2, 13), 0u);
    EXPECT_EQ(sim->vr(13), 4);
    ASSERT_EQ(vaxo_Ethercat_GetState_VR(h, 0, 14), 0u);
    EXPECT_EQ(sim->vr(14), VAXO_ETHERCAT_INIT);
    ASSERT_EQ(vaxo_Ethercat_SetEmergencyMsgControl(h, 0, 2), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetEmergencyMsgControl_VR(h, 0, 15), 0u);
    EXPECT_EQ(sim->vr(15), 2);

    sim->setVr(30, 0xF0);
    sim->setVr(31, 0x30);
    ASSERT_EQ(vaxo_Ethercat_SetStatusMaskAndTriggerPattern_VR(h, 0, 0, 30), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetStatusMaskAndTriggerPattern_VR(h, 0, 0, 20), 0u);
    EXPECT_EQ(sim->vr(20), 0xF0);
    EXPECT_EQ(sim->vr(21), 0x30);
    sim->setVr(32, 1234);
    ASSERT_EQ(vaxo_Ethercat_SetSync0StartTime_VR(h, 32), 0u);
    EXPECT_EQ(state([](auto& ec) { return ec.sync0StartTime; }), 1234);

    // The register write packs sign-extended bytes: 0x80 also fills the byte above it.
    ASSERT_EQ(vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 2, 0x120, "\x80\x01", 2), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetSlave_ESC_Register(h, 0, 2, 0x120, 2, 16), 0u);
    EXPECT_EQ(sim->vr(16), 0xFF80);
    ASSERT_EQ(vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 2, 0x120, "\x01\x7F", 2), 0u);
    ASSERT_EQ(vaxo_Ethercat_GetSlave_ESC_Register(h, 0, 2, 0x120, 2, 16), 0u);
    EXPECT_EQ(sim->vr(16), 0x7F01);
}

TEST_F(Ethercat, CanOpenObjects) {
    ASSERT_EQ(vaxo_Ethercat_CoWrite_Value7a(h, 0, 0, 0x6060, 0, 2, 8), 0u);
    double d = 0;
    ASSERT_EQ(vaxo_Ethercat_CoRead(h, 0, 0, 0x6060, 0, 2, &d), 0u);
    EXPECT_EQ(d, 8);
    // Axis 0 is the slave at position 0.
    ASSERT_EQ(vaxo_Ethercat_CoReadAxis(h, 0, 0x6060, 0, 2, &d), 0u);
    EXPECT_EQ(d, 8);
    sim->setVr(50, -2.5);
    ASSERT_EQ(vaxo_Ethercat_CoWriteAxis_VR(h, 4, 0x6081, 0, 7, 50), 0u);
    ASSERT_EQ(vaxo_Ethercat_CoRead(h, 0, 2, 0x6081, 0, 7, &d), 0u);
    EXPECT_EQ(d, -2.5);
    ASSERT_EQ(vaxo_Ethercat_CoWriteAxis_Value6b(h, 4, 0x1008, 0, 9, "drive 1"), 0u);
    state([](Vaxo::Sim::EthercatState& ec) {
        const auto& obj = ec.networks[0].slaves[2].objects[{0x1008, 0}];
        EXPECT_TRUE(obj.isText);
        EXPECT_EQ(obj.text, "drive 1");
    });
    d = 17;
    EXPECT_EQ(vaxo_Ethercat_CoReadAxis(h, 9, 0x6060, 0, 2, &d), 0x0400000000ull | 282) << "no slave drives axis 9";
    EXPECT_EQ(vaxo_Ethercat_CoRead(h, 0, 1, 0x6060, 0, 2, &d), 0x0400000000ull | 87) << "slave offline";
    EXPECT_EQ(d, 17);
}

TEST_F(Ethercat, FailuresLeaveResultsAndSendNothingWhenRefused) {
    int32_t address = 77;
    EXPECT_EQ(vaxo_Ethercat_GetSlaveAddress(h, 0, 9, &address), kOutOfRange);
    EXPECT_EQ(address, 77);
    uint32_t mask = 1, pattern = 2;
    EXPECT_EQ(vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 9, &mask, &pattern), kOutOfRange);
    EXPECT_EQ(mask, 1u);
    EXPECT_EQ(pattern, 2u);
    uint32_t st = 5;
    EXPECT_EQ(vaxo_Ethercat_GetState(h, 3, &st), kOutOfRange) << "no network in slot 3";
    EXPECT_EQ(st, 5u);

    sim->clearRequests();
    EXPECT_EQ(vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 0, 0x120, "", 0), kBadArgument);
    EXPECT_EQ(vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 0, 0x120, "\1\2\3\4\5", 5), kBadArgument);
    const uint16_t quotes = sim->codeOf("QUOTES");
    if (quotes > 0 && quotes <= 0xFF) {
        const char text[] = {'a', char(quotes), 'b', 0};
        EXPECT_EQ(vaxo_Ethercat_CoWrite_Value7b(h, 0, 0, 0x1008, 0, 9, text), kBadArgument)
            << "the quote code inside a text would end it early";
    }
    EXPECT_TRUE(sim->requests().empty());

    ASSERT_EQ(vaxo_CloseConnection(h), 0u);
    uint32_t count = 0;
    EXPECT_EQ(vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &count), 0x0100000015ull);
}

} // namespace
