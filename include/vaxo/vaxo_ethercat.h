/* EtherCAT master: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_ETHERCAT_H
#define VAXO_VAXO_ETHERCAT_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Network states reported by vaxo_Ethercat_GetState and taken by vaxo_Ethercat_SetState. */
typedef enum VaxoEthercatState {
    VAXO_ETHERCAT_INIT = 1,
    VAXO_ETHERCAT_PREOPERATIONAL = 2,
    VAXO_ETHERCAT_BOOTSTRAP = 3,
    VAXO_ETHERCAT_SAFEOPERATIONAL = 4,
    VAXO_ETHERCAT_OPERATIONAL = 8
} VaxoEthercatState;

/** Start option of vaxo_Ethercat_StartNetwork3/4: 0 starts the network as configured. */
#define VAXO_ETHERCAT_START_DEFAULT 0u

/* ---- Network ------------------------------------------------------------------
 * slot is the master's slot, position a slave's position on the network. The plain read forms
 * return the answer; the _VR forms have the controller store it in VR(vr) instead. The digit
 * of StartNetwork and SendResetSequence counts the arguments including the handle, and so
 * the values sent after ETHERCAT. A read whose reply carries an error status leaves its result
 * variables as they were. */

VAXO_API ErrorCode vaxo_Ethercat_StartNetwork2(VaxoHandle h, int32_t slot);
VAXO_API ErrorCode vaxo_Ethercat_StartNetwork3(VaxoHandle h, int32_t slot, uint32_t option);
VAXO_API ErrorCode vaxo_Ethercat_StartNetwork4(VaxoHandle h, int32_t slot, uint32_t option, int32_t arg);
VAXO_API ErrorCode vaxo_Ethercat_StopNetwork(VaxoHandle h, int32_t slot);
VAXO_API ErrorCode vaxo_Ethercat_CheckSlaveOnline(VaxoHandle h, int32_t slot, int32_t position, bool* online);
VAXO_API ErrorCode vaxo_Ethercat_CheckSlaveOnline_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_CheckNumberOfSlaves(VaxoHandle h, int32_t slot, uint32_t* count);
VAXO_API ErrorCode vaxo_Ethercat_CheckNumberOfSlaves_VR(VaxoHandle h, int32_t slot, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAddress(VaxoHandle h, int32_t slot, int32_t position, int32_t* address);
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAddress_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAxis(VaxoHandle h, int32_t slot, int32_t position, int32_t* axis);
VAXO_API ErrorCode vaxo_Ethercat_GetSlaveAxis_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr);
/** state: a VaxoEthercatState; position -1 addresses the whole network. */
VAXO_API ErrorCode vaxo_Ethercat_SetState(VaxoHandle h, int32_t slot, uint32_t state, int32_t position);
VAXO_API ErrorCode vaxo_Ethercat_GetState(VaxoHandle h, int32_t slot, uint32_t* state);
VAXO_API ErrorCode vaxo_Ethercat_GetState_VR(VaxoHandle h, int32_t slot, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence2(VaxoHandle h, int32_t slot);
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence3(VaxoHandle h, int32_t slot, int32_t position);
VAXO_API ErrorCode vaxo_Ethercat_SendResetSequence4(VaxoHandle h, int32_t slot, int32_t position, int32_t arg);
VAXO_API ErrorCode vaxo_Ethercat_DisplayNetworkConfig(VaxoHandle h, int32_t slot);

/* ---- Slave status, clocks and emergency messages ------------------------------- */

VAXO_API ErrorCode vaxo_Ethercat_SetStatusMaskAndTriggerPattern(VaxoHandle h, int32_t slot, int32_t position,
                                                                 int32_t mask, int32_t pattern);
/** Takes the mask from VR(vr) and the pattern from VR(vr + 1). */
VAXO_API ErrorCode vaxo_Ethercat_SetStatusMaskAndTriggerPattern_VR(VaxoHandle h, int32_t slot, int32_t position,
                                                                    int32_t vr);
/** The controller answers with one line of text, "mask pattern" (two decimal numbers apart by
 *  blanks or one comma, read as strtol does: a missing number reads as 0), then the standard
 *  response; mask and pattern are written only on success. */
VAXO_API ErrorCode vaxo_Ethercat_GetStatusMaskAndTriggerPattern(VaxoHandle h, int32_t slot, int32_t position,
                                                                 uint32_t* mask, uint32_t* pattern);
/** Stores the mask in VR(vr) and the pattern in VR(vr + 1). */
VAXO_API ErrorCode vaxo_Ethercat_GetStatusMaskAndTriggerPattern_VR(VaxoHandle h, int32_t slot, int32_t position,
                                                                    int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_SetSync0StartTime(VaxoHandle h, int32_t value);
/** Takes the start time from VR(vr). */
VAXO_API ErrorCode vaxo_Ethercat_SetSync0StartTime_VR(VaxoHandle h, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_SetDistrClockMaster(VaxoHandle h, int32_t slot, int32_t position, int32_t value);
VAXO_API ErrorCode vaxo_Ethercat_SetDistrClockMaster_VR(VaxoHandle h, int32_t slot, int32_t position, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_SetEmergencyMsgControl(VaxoHandle h, int32_t slot, int32_t value);
VAXO_API ErrorCode vaxo_Ethercat_GetEmergencyMsgControl(VaxoHandle h, int32_t slot, uint32_t* value);
VAXO_API ErrorCode vaxo_Ethercat_GetEmergencyMsgControl_VR(VaxoHandle h, int32_t slot, int32_t vr);

/* ---- ESC registers ---------------------------------------------------------------- */

/** Reads size bytes of a slave's ESC register at address into VR(vr). */
VAXO_API ErrorCode vaxo_Ethercat_GetSlave_ESC_Register(VaxoHandle h, int32_t slot, int32_t position, int32_t address,
                                                       int32_t size, int32_t vr);
/** Writes 1 to 4 bytes (data[0] to the lowest address) to a slave's ESC register; another size
 *  is BadArgument. Each byte counts as a signed character: a byte from 0x80 up also sets the
 *  bytes above it. */
VAXO_API ErrorCode vaxo_Ethercat_SetSlave_ESC_Register(VaxoHandle h, int32_t slot, int32_t position, int32_t address,
                                                       const char* data, uint32_t size);

/* ---- CANopen objects (by slot and position, or of the drive of an axis) ------------
 * type is the object's data type as the controller numbers it. Values travel as doubles; the b
 * forms write a text (no 0x00 or quote code inside). The _VR writes take the value from VR(vr). */

VAXO_API ErrorCode vaxo_Ethercat_CoRead(VaxoHandle h, int32_t slot, int32_t position, uint32_t index, uint32_t subindex,
                                        uint32_t type, double* value);
VAXO_API ErrorCode vaxo_Ethercat_CoReadAxis(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                            uint32_t type, double* value);
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_Value7a(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                                 uint32_t subindex, uint32_t type, double value);
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_Value7b(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                                 uint32_t subindex, uint32_t type, const char* text);
VAXO_API ErrorCode vaxo_Ethercat_CoWrite_VR(VaxoHandle h, int32_t slot, int32_t position, uint32_t index,
                                            uint32_t subindex, uint32_t type, int32_t vr);
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_Value6a(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                     uint32_t type, double value);
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_Value6b(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                     uint32_t type, const char* text);
VAXO_API ErrorCode vaxo_Ethercat_CoWriteAxis_VR(VaxoHandle h, int32_t axis, uint32_t index, uint32_t subindex,
                                                uint32_t type, int32_t vr);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_ETHERCAT_H */
