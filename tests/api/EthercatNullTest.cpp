// Every flat function of the EtherCAT master refuses a null handle, and a null result or data
// pointer, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

TEST(EthercatNull, HandleAndResultPointers) {
    bool b;
    uint32_t u, u2;
    int32_t i;
    double d;
    const std::vector<NullCase> cases = {
        {"StartNetwork2", [](VaxoHandle h) { return vaxo_Ethercat_StartNetwork2(h, 0); }, {}},
        {"StartNetwork3", [](VaxoHandle h) { return vaxo_Ethercat_StartNetwork3(h, 0, 0); }, {}},
        {"StartNetwork4", [](VaxoHandle h) { return vaxo_Ethercat_StartNetwork4(h, 0, 0, 0); }, {}},
        {"StopNetwork", [](VaxoHandle h) { return vaxo_Ethercat_StopNetwork(h, 0); }, {}},
        {"CheckSlaveOnline", [&](VaxoHandle h) { return vaxo_Ethercat_CheckSlaveOnline(h, 0, 0, &b); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CheckSlaveOnline(h, 0, 0, nullptr); }}},
        {"CheckSlaveOnline_VR", [](VaxoHandle h) { return vaxo_Ethercat_CheckSlaveOnline_VR(h, 0, 0, 1); }, {}},
        {"CheckNumberOfSlaves", [&](VaxoHandle h) { return vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &u); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CheckNumberOfSlaves(h, 0, nullptr); }}},
        {"CheckNumberOfSlaves_VR", [](VaxoHandle h) { return vaxo_Ethercat_CheckNumberOfSlaves_VR(h, 0, 1); }, {}},
        {"GetSlaveAddress", [&](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAddress(h, 0, 0, &i); },
         {[](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAddress(h, 0, 0, nullptr); }}},
        {"GetSlaveAddress_VR", [](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAddress_VR(h, 0, 0, 1); }, {}},
        {"GetSlaveAxis", [&](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAxis(h, 0, 0, &i); },
         {[](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAxis(h, 0, 0, nullptr); }}},
        {"GetSlaveAxis_VR", [](VaxoHandle h) { return vaxo_Ethercat_GetSlaveAxis_VR(h, 0, 0, 1); }, {}},
        {"SetState", [](VaxoHandle h) { return vaxo_Ethercat_SetState(h, 0, 8, -1); }, {}},
        {"GetState", [&](VaxoHandle h) { return vaxo_Ethercat_GetState(h, 0, &u); },
         {[](VaxoHandle h) { return vaxo_Ethercat_GetState(h, 0, nullptr); }}},
        {"GetState_VR", [](VaxoHandle h) { return vaxo_Ethercat_GetState_VR(h, 0, 1); }, {}},
        {"GetSlave_ESC_Register", [](VaxoHandle h) { return vaxo_Ethercat_GetSlave_ESC_Register(h, 0, 0, 0, 1, 1); }, {}},
        {"SetSlave_ESC_Register", [](VaxoHandle h) { return vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 0, 0, "\1", 1); },
         {[](VaxoHandle h) { return vaxo_Ethercat_SetSlave_ESC_Register(h, 0, 0, 0, nullptr, 1); }}},
        {"SendResetSequence2", [](VaxoHandle h) { return vaxo_Ethercat_SendResetSequence2(h, 0); }, {}},
        {"SendResetSequence3", [](VaxoHandle h) { return vaxo_Ethercat_SendResetSequence3(h, 0, 0); }, {}},
        {"SendResetSequence4", [](VaxoHandle h) { return vaxo_Ethercat_SendResetSequence4(h, 0, 0, 0); }, {}},
        {"SetStatusMaskAndTriggerPattern",
         [](VaxoHandle h) { return vaxo_Ethercat_SetStatusMaskAndTriggerPattern(h, 0, 0, 1, 1); }, {}},
        {"SetStatusMaskAndTriggerPattern_VR",
         [](VaxoHandle h) { return vaxo_Ethercat_SetStatusMaskAndTriggerPattern_VR(h, 0, 0, 1); }, {}},
        {"GetStatusMaskAndTriggerPattern",
         [&](VaxoHandle h) { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); },
         {[&](VaxoHandle h) { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, nullptr, &u2); },
          [&](VaxoHandle h) { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, nullptr); }}},
        {"GetStatusMaskAndTriggerPattern_VR",
         [](VaxoHandle h) { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern_VR(h, 0, 0, 1); }, {}},
        {"DisplayNetworkConfig", [](VaxoHandle h) { return vaxo_Ethercat_DisplayNetworkConfig(h, 0); }, {}},
        {"SetSync0StartTime", [](VaxoHandle h) { return vaxo_Ethercat_SetSync0StartTime(h, 0); }, {}},
        {"SetSync0StartTime_VR", [](VaxoHandle h) { return vaxo_Ethercat_SetSync0StartTime_VR(h, 1); }, {}},
        {"SetDistrClockMaster", [](VaxoHandle h) { return vaxo_Ethercat_SetDistrClockMaster(h, 0, 0, 1); }, {}},
        {"SetDistrClockMaster_VR", [](VaxoHandle h) { return vaxo_Ethercat_SetDistrClockMaster_VR(h, 0, 0, 1); }, {}},
        {"SetEmergencyMsgControl", [](VaxoHandle h) { return vaxo_Ethercat_SetEmergencyMsgControl(h, 0, 1); }, {}},
        {"GetEmergencyMsgControl", [&](VaxoHandle h) { return vaxo_Ethercat_GetEmergencyMsgControl(h, 0, &u); },
         {[](VaxoHandle h) { return vaxo_Ethercat_GetEmergencyMsgControl(h, 0, nullptr); }}},
        {"GetEmergencyMsgControl_VR", [](VaxoHandle h) { return vaxo_Ethercat_GetEmergencyMsgControl_VR(h, 0, 1); }, {}},
        {"CoRead", [&](VaxoHandle h) { return vaxo_Ethercat_CoRead(h, 0, 0, 0x6060, 0, 2, &d); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CoRead(h, 0, 0, 0x6060, 0, 2, nullptr); }}},
        {"CoReadAxis", [&](VaxoHandle h) { return vaxo_Ethercat_CoReadAxis(h, 0, 0x6060, 0, 2, &d); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CoReadAxis(h, 0, 0x6060, 0, 2, nullptr); }}},
        {"CoWrite_Value7a", [](VaxoHandle h) { return vaxo_Ethercat_CoWrite_Value7a(h, 0, 0, 0x6060, 0, 2, 1); }, {}},
        {"CoWrite_Value7b", [](VaxoHandle h) { return vaxo_Ethercat_CoWrite_Value7b(h, 0, 0, 0x1008, 0, 9, "t"); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CoWrite_Value7b(h, 0, 0, 0x1008, 0, 9, nullptr); }}},
        {"CoWrite_VR", [](VaxoHandle h) { return vaxo_Ethercat_CoWrite_VR(h, 0, 0, 0x6060, 0, 2, 1); }, {}},
        {"CoWriteAxis_Value6a", [](VaxoHandle h) { return vaxo_Ethercat_CoWriteAxis_Value6a(h, 0, 0x6060, 0, 2, 1); }, {}},
        {"CoWriteAxis_Value6b", [](VaxoHandle h) { return vaxo_Ethercat_CoWriteAxis_Value6b(h, 0, 0x1008, 0, 9, "t"); },
         {[](VaxoHandle h) { return vaxo_Ethercat_CoWriteAxis_Value6b(h, 0, 0x1008, 0, 9, nullptr); }}},
        {"CoWriteAxis_VR", [](VaxoHandle h) { return vaxo_Ethercat_CoWriteAxis_VR(h, 0, 0x6060, 0, 2, 1); }, {}},
    };
    expectNullRefusals(cases, 40u);
}

} // namespace
