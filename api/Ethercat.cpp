// Flat functions of the EtherCAT master.
#include "api/Flat.h"

#include <string_view>

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

static_assert(VAXO_ETHERCAT_OPERATIONAL == 8 && VAXO_ETHERCAT_INIT == 1, "network states travel as their numbers");

extern "C" {

VAXO_FLAT_PASS(Ethercat_StartNetwork2, Ethercat_StartNetwork, (int32_t slot), (slot))
VAXO_FLAT_PASS(Ethercat_StartNetwork3, Ethercat_StartNetwork, (int32_t slot, uint32_t option), (slot, option))
VAXO_FLAT_PASS(Ethercat_StartNetwork4, Ethercat_StartNetwork,
               (int32_t slot, uint32_t option, int32_t arg), (slot, option, arg))
VAXO_FLAT_PASS(Ethercat_StopNetwork, Ethercat_StopNetwork, (int32_t slot), (slot))
VAXO_FLAT_OUT(Ethercat_CheckSlaveOnline, Ethercat_CheckSlaveOnline,
              (int32_t slot, int32_t position, bool* online), (slot, position, *online), online)
VAXO_FLAT_PASS(Ethercat_CheckSlaveOnline_VR, Ethercat_CheckSlaveOnline_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_FLAT_OUT(Ethercat_CheckNumberOfSlaves, Ethercat_CheckNumberOfSlaves,
              (int32_t slot, uint32_t* count), (slot, *count), count)
VAXO_FLAT_PASS(Ethercat_CheckNumberOfSlaves_VR, Ethercat_CheckNumberOfSlaves_VR, (int32_t slot, int32_t vr), (slot, vr))
VAXO_FLAT_OUT(Ethercat_GetSlaveAddress, Ethercat_GetSlaveAddress,
              (int32_t slot, int32_t position, int32_t* address), (slot, position, *address), address)
VAXO_FLAT_PASS(Ethercat_GetSlaveAddress_VR, Ethercat_GetSlaveAddress_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_FLAT_OUT(Ethercat_GetSlaveAxis, Ethercat_GetSlaveAxis,
              (int32_t slot, int32_t position, int32_t* axis), (slot, position, *axis), axis)
VAXO_FLAT_PASS(Ethercat_GetSlaveAxis_VR, Ethercat_GetSlaveAxis_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_FLAT_PASS(Ethercat_SetState, Ethercat_SetState,
               (int32_t slot, uint32_t state, int32_t position), (slot, state, position))
VAXO_FLAT_OUT(Ethercat_GetState, Ethercat_GetState, (int32_t slot, uint32_t* state), (slot, *state), state)
VAXO_FLAT_PASS(Ethercat_GetState_VR, Ethercat_GetState_VR, (int32_t slot, int32_t vr), (slot, vr))
VAXO_FLAT_PASS(Ethercat_SendResetSequence2, Ethercat_SendResetSequence, (int32_t slot), (slot))
VAXO_FLAT_PASS(Ethercat_SendResetSequence3, Ethercat_SendResetSequence,
               (int32_t slot, int32_t position), (slot, position))
VAXO_FLAT_PASS(Ethercat_SendResetSequence4, Ethercat_SendResetSequence,
               (int32_t slot, int32_t position, int32_t arg), (slot, position, arg))
VAXO_FLAT_PASS(Ethercat_DisplayNetworkConfig, Ethercat_DisplayNetworkConfig, (int32_t slot), (slot))
VAXO_FLAT_PASS(Ethercat_SetStatusMaskAndTriggerPattern, Ethercat_SetStatusMaskAndTriggerPattern,
               (int32_t slot, int32_t position, int32_t mask, int32_t pattern), (slot, position, mask, pattern))
VAXO_FLAT_PASS(Ethercat_SetStatusMaskAndTriggerPattern_VR, Ethercat_SetStatusMaskAndTriggerPattern_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_API ErrorCode vaxo_Ethercat_GetStatusMaskAndTriggerPattern(VaxoHandle h, int32_t slot, int32_t position,
                                                                 uint32_t* mask, uint32_t* pattern) {
    return call(
        h, [&](IConnection& c) { return c.Ethercat_GetStatusMaskAndTriggerPattern(slot, position, *mask, *pattern); },
        mask, pattern);
}
VAXO_FLAT_PASS(Ethercat_GetStatusMaskAndTriggerPattern_VR, Ethercat_GetStatusMaskAndTriggerPattern_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_FLAT_PASS(Ethercat_SetSync0StartTime, Ethercat_SetSync0StartTime, (int32_t value), (value))
VAXO_FLAT_PASS(Ethercat_SetSync0StartTime_VR, Ethercat_SetSync0StartTime_VR, (int32_t vr), (vr))
VAXO_FLAT_PASS(Ethercat_SetDistrClockMaster, Ethercat_SetDistrClockMaster,
               (int32_t slot, int32_t position, int32_t value), (slot, position, value))
VAXO_FLAT_PASS(Ethercat_SetDistrClockMaster_VR, Ethercat_SetDistrClockMaster_VR,
               (int32_t slot, int32_t position, int32_t vr), (slot, position, vr))
VAXO_FLAT_PASS(Ethercat_SetEmergencyMsgControl, Ethercat_SetEmergencyMsgControl,
               (int32_t slot, int32_t value), (slot, value))
VAXO_FLAT_OUT(Ethercat_GetEmergencyMsgControl, Ethercat_GetEmergencyMsgControl,
              (int32_t slot, uint32_t* value), (slot, *value), value)
VAXO_FLAT_PASS(Ethercat_GetEmergencyMsgControl_VR, Ethercat_GetEmergencyMsgControl_VR,
               (int32_t slot, int32_t vr), (slot, vr))
VAXO_FLAT_PASS(Ethercat_GetSlave_ESC_Register, Ethercat_GetSlave_ESC_Register,
               (int32_t slot, int32_t position, int32_t address, int32_t size, int32_t vr),
               (slot, position, address, size, vr))
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
VAXO_FLAT_OUT(Ethercat_CoReadAxis, Ethercat_CoReadAxis,
              (int32_t axis, uint32_t index, uint32_t subindex, uint32_t type, double* value),
              (axis, index, subindex, type, *value), value)
VAXO_FLAT_PASS(Ethercat_CoWrite_Value7a, Ethercat_CoWrite_Value,
               (int32_t slot, int32_t position, uint32_t index, uint32_t subindex, uint32_t type, double value),
               (slot, position, index, subindex, type, value))
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_Value7b(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                                 uint32_t subindex, uint32_t type, const char* text) {
    return call(
        h,
        [&](IConnection& c) {
            return c.Ethercat_CoWrite_Value(slot, position, index, subindex, type, std::string_view(text));
        },
        text);
}
VAXO_FLAT_PASS(Ethercat_CoWrite_VR, Ethercat_CoWrite_VR,
               (int32_t slot, int32_t position, uint32_t index, uint32_t subindex, uint32_t type, int32_t vr),
               (slot, position, index, subindex, type, vr))
VAXO_FLAT_PASS(Ethercat_CoWriteAxis_Value6a, Ethercat_CoWriteAxis_Value,
               (int32_t axis, uint32_t index, uint32_t subindex, uint32_t type, double value),
               (axis, index, subindex, type, value))
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_Value6b(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                     uint32_t type, const char* text) {
    return call(
        h,
        [&](IConnection& c) {
            return c.Ethercat_CoWriteAxis_Value(axis, index, subindex, type, std::string_view(text));
        },
        text);
}
VAXO_FLAT_PASS(Ethercat_CoWriteAxis_VR, Ethercat_CoWriteAxis_VR,
               (int32_t axis, uint32_t index, uint32_t subindex, uint32_t type, int32_t vr),
               (axis, index, subindex, type, vr))

} // extern "C"
