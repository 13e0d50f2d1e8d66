// Flat functions of the EtherCAT master.
#include "api/Flat.h"

#include <string_view>

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

static_assert(VAXO_ETHERCAT_OPERATIONAL == 8 && VAXO_ETHERCAT_INIT == 1, "network states travel as their numbers");

extern "C" {

VAXO_API ErrorCode vaxo_Ethercat_StartNetwork2(VaxoHandle h, int32_t slot) {
    return call(h, [&](IConnection& c) { return c.Ethercat_StartNetwork(slot); });
}
VAXO_API ErrorCode vaxo_Ethercat_StartNetwork3(VaxoHandle h, int32_t slot, uint32_t option) {
    return call(h, [&](IConnection& c) { return c.Ethercat_StartNetwork(slot, option); });
}
VAXO_API ErrorCode vaxo_Ethercat_StartNetwork4(VaxoHandle h, int32_t slot, uint32_t option, int32_t arg) {
    return call(h, [&](IConnection& c) { return c.Ethercat_StartNetwork(slot, option, arg); });
}
VAXO_API ErrorCode vaxo_Ethercat_StopNetwork(VaxoHandle h, int32_t slot) {
    return call(h, [&](IConnection& c) { return c.Ethercat_StopNetwork(slot); });
}
VAXO_API ErrorCode vaxo_Ethercat_CheckSlaveOnline(VaxoHandle h, int32_t slot, int32_t position, bool* online) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CheckSlaveOnline(slot, position, *online); }, online);
}
VAXO_API ErrorCode vaxo_Ethercat_CheckSlaveOnline_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CheckSlaveOnline_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_CheckNumberOfSlaves(VaxoHandle h, int32_t slot, uint32_t* count) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CheckNumberOfSlaves(slot, *count); }, count);
}
VAXO_API ErrorCode vaxo_Ethercat_CheckNumberOfSlaves_VR(VaxoHandle h, int32_t slot, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CheckNumberOfSlaves_VR(slot, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAddress(VaxoHandle h, int32_t slot, int32_t position, int32_t* address) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetSlaveAddress(slot, position, *address); }, address);
}
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAddress_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetSlaveAddress_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAxis(VaxoHandle h, int32_t slot, int32_t position, int32_t* axis) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetSlaveAxis(slot, position, *axis); }, axis);
}
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAxis_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetSlaveAxis_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetState(VaxoHandle h, int32_t slot, uint32_t state, int32_t position) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetState(slot, state, position); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetState(VaxoHandle h, int32_t slot, uint32_t* state) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetState(slot, *state); }, state);
}
VAXO_API ErrorCode vaxo_Ethercat_GetState_VR(VaxoHandle h, int32_t slot, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetState_VR(slot, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence2(VaxoHandle h, int32_t slot) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SendResetSequence(slot); });
}
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence3(VaxoHandle h, int32_t slot, int32_t position) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SendResetSequence(slot, position); });
}
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence4(VaxoHandle h, int32_t slot, int32_t position, int32_t arg) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SendResetSequence(slot, position, arg); });
}
VAXO_API ErrorCode vaxo_Ethercat_DisplayNetworkConfig(VaxoHandle h, int32_t slot) {
    return call(h, [&](IConnection& c) { return c.Ethercat_DisplayNetworkConfig(slot); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetStatusMaskAndTriggerPattern(VaxoHandle h, int32_t slot, int32_t position,
                                                                 int32_t mask, int32_t pattern) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetStatusMaskAndTriggerPattern(slot, position, mask, pattern); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetStatusMaskAndTriggerPattern_VR(VaxoHandle h, int32_t slot, int32_t position,
                                                                    int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetStatusMaskAndTriggerPattern_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetStatusMaskAndTriggerPattern(VaxoHandle h, int32_t slot, int32_t position,
                                                                 uint32_t* mask, uint32_t* pattern) {
    return call(
        h, [&](IConnection& c) { return c.Ethercat_GetStatusMaskAndTriggerPattern(slot, position, *mask, *pattern); },
        mask, pattern);
}
VAXO_API ErrorCode vaxo_Ethercat_GetStatusMaskAndTriggerPattern_VR(VaxoHandle h, int32_t slot, int32_t position,
                                                                    int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetStatusMaskAndTriggerPattern_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetSync0StartTime(VaxoHandle h, int32_t value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetSync0StartTime(value); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetSync0StartTime_VR(VaxoHandle h, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetSync0StartTime_VR(vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetDistrClockMaster(VaxoHandle h, int32_t slot, int32_t position, int32_t value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetDistrClockMaster(slot, position, value); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetDistrClockMaster_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetDistrClockMaster_VR(slot, position, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetEmergencyMsgControl(VaxoHandle h, int32_t slot, int32_t value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_SetEmergencyMsgControl(slot, value); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetEmergencyMsgControl(VaxoHandle h, int32_t slot, uint32_t* value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetEmergencyMsgControl(slot, *value); }, value);
}
VAXO_API ErrorCode vaxo_Ethercat_GetEmergencyMsgControl_VR(VaxoHandle h, int32_t slot, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetEmergencyMsgControl_VR(slot, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_GetSlave_ESC_Register(VaxoHandle h, int32_t slot, int32_t position, int32_t address,
                                                       int32_t size, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_GetSlave_ESC_Register(slot, position, address, size, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_SetSlave_ESC_Register(VaxoHandle h, int32_t slot, int32_t position, int32_t address,
                                                       const char* data, uint32_t size) {
    return call(
        h,
        [&](IConnection& c) {
            return c.Ethercat_SetSlave_ESC_Register(slot, position, address, std::string_view(data, size));
        },
        data);
}
VAXO_API ErrorCode vaxo_Ethercat_CoRead(VaxoHandle h, int32_t slot, int32_t position, uint32_t index, uint32_t subindex,
                                        uint32_t type, double* value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoRead(slot, position, index, subindex, type, *value); },
                value);
}
VAXO_API ErrorCode vaxo_Ethercat_CoReadAxis(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                            uint32_t type, double* value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoReadAxis(axis, index, subindex, type, *value); }, value);
}
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_Value7a(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                                 uint32_t subindex, uint32_t type, double value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoWrite_Value(slot, position, index, subindex, type, value); });
}
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_Value7b(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                                 uint32_t subindex, uint32_t type, const char* text) {
    return call(
        h,
        [&](IConnection& c) {
            return c.Ethercat_CoWrite_Value(slot, position, index, subindex, type, std::string_view(text));
        },
        text);
}
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_VR(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                            uint32_t subindex, uint32_t type, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoWrite_VR(slot, position, index, subindex, type, vr); });
}
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_Value6a(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                     uint32_t type, double value) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoWriteAxis_Value(axis, index, subindex, type, value); });
}
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_Value6b(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                     uint32_t type, const char* text) {
    return call(
        h,
        [&](IConnection& c) {
            return c.Ethercat_CoWriteAxis_Value(axis, index, subindex, type, std::string_view(text));
        },
        text);
}
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_VR(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                uint32_t type, int32_t vr) {
    return call(h, [&](IConnection& c) { return c.Ethercat_CoWriteAxis_VR(axis, index, subindex, type, vr); });
}

} // extern "C"
