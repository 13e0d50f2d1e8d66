/* Scope, frame groups, triggers, position switches, registration, project keys: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_MISC_H
#define VAXO_VAXO_MISC_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Scope and trigger ------------------------------------------------------
 * SCOPE(1 [, period [, table start, table end, channels]]) arms a capture into TABLE memory,
 * SCOPE(0) stops it, TRIGGER starts the armed capture. period: servo cycles between samples.
 * Channel lists go as runs (three or more consecutive numbers as first..last). */

/** SCOPE(1): arms the capture with the controller's current settings. */
VAXO_API ErrorCode vaxo_ScopeOn1(VaxoHandle h);
/** SCOPE(1, period); period >= 1, else BadArgument without traffic. */
VAXO_API ErrorCode vaxo_ScopeOn2(VaxoHandle h, int32_t period);
/** SCOPE(1, period, tableStart, tableEnd, vrs...): captures the listed VRs into TABLE(tableStart..tableEnd).
 *  period >= 1, tableEnd >= tableStart and count >= 1, else BadArgument without traffic. */
VAXO_API ErrorCode vaxo_ScopeOn6(VaxoHandle h, int32_t period, uint32_t tableStart, uint32_t tableEnd,
                                 const uint32_t* vrs, uint32_t count);
/** SCOPE(1, period, tableStart, tableEnd, PARAMETER, axes...): captures one axis parameter (its
 *  KnownTokens value, e.g. MPOS) of each listed axis. */
VAXO_API ErrorCode vaxo_ScopeOn7(VaxoHandle h, int32_t period, uint32_t tableStart, uint32_t tableEnd,
                                 uint32_t parameter, const uint32_t* axes, uint32_t count);
/** SCOPE(0). */
VAXO_API ErrorCode vaxo_ScopeOff(VaxoHandle h);
/** TRIGGER: starts the capture armed by SCOPE. */
VAXO_API ErrorCode vaxo_Trigger(VaxoHandle h);

/* ---- Position switches -------------------------------------------------------
 * PSWITCH(switch, 1, output, state, set, reset [, set, reset ...]) [AXIS(axis)]; axis < 0 uses
 * the BASE axis. PSWITCH(switch, 0) switches it off. */

VAXO_API ErrorCode vaxo_PSwitch(VaxoHandle h, int32_t sw, int32_t output, int32_t state, double setPosition,
                                double resetPosition, int32_t axis);
/** positions: count values, set/reset pairs (count even and > 0). */
VAXO_API ErrorCode vaxo_PSwitchMulti(VaxoHandle h, int32_t sw, int32_t output, int32_t state,
                                     const double* positions, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_PSwitchOff(VaxoHandle h, int32_t sw);

/* ---- Registration -------------------------------------------------------------
 * REGIST(mode) or REGIST(mode, channel, source, edge [, window [, open, close]]), then
 * AXIS(axis) when axis >= 0. window 0 drops the two window positions, window < 0 the flag too. */

VAXO_API ErrorCode vaxo_Regist3(VaxoHandle h, int32_t mode, int32_t axis);
VAXO_API ErrorCode vaxo_Regist9(VaxoHandle h, int32_t mode, int32_t channel, int32_t source, int32_t edge,
                                int32_t window, double openPosition, double closePosition, int32_t axis);

/* ---- Frame groups ----------------------------------------------------------------
 * A frame group: its number, the TABLE index of its frame offsets and its axes. A group that
 * is not defined reads as no axes.
 * The reply to a read is one line, "group [tableIndex]: axis,axis,...". A read the controller
 * refuses (its reply starts with no digit) returns the controller's error and the link stays;
 * a group with more axes than the caller's array holds returns BufferTooSmall after the rest
 * of the line has been read, and the link stays in step. */

/** In/out record of vaxo_GetFrameGroup2. */
typedef struct VaxoFrameGroup {
    uint32_t group;      /* in: the group to read */
    uint32_t tableIndex; /* out */
    int32_t* axes;       /* in: where the axes go, or null to count them only */
    uint32_t capacity;   /* in: elements axes holds */
    uint32_t count;      /* out: axes stored (or counted when axes is null) */
} VaxoFrameGroup;

/** FRAME_GROUP(group, tableIndex, axes...); count >= 1 and no negative axis, else BadArgument. */
VAXO_API ErrorCode vaxo_SetFrameGroup(VaxoHandle h, uint32_t group, uint32_t tableIndex, const int32_t* axes,
                                      uint32_t count);
/** FRAME_GROUP(group, -1). */
VAXO_API ErrorCode vaxo_DeleteFrameGroup(VaxoHandle h, uint32_t group);
/** FRAME_GROUP(group): count is in/out (capacity of axes in, axes stored out); more axes
 *  than the capacity is BufferTooSmall. */
VAXO_API ErrorCode vaxo_GetFrameGroup(VaxoHandle h, uint32_t group, uint32_t* tableIndex, int32_t* axes,
                                      uint32_t* count);
VAXO_API ErrorCode vaxo_GetFrameGroup2(VaxoHandle h, VaxoFrameGroup* frame);

/* ---- Project keys ------------------------------------------------------------------
 * Passed through to the controller's PROJECT_KEY and PROJECT_KEY_REGISTRY; texts go quoted. */

VAXO_API ErrorCode vaxo_ProjectKey(VaxoHandle h, const char* key);
VAXO_API ErrorCode vaxo_ProjectKeyRegistryClear(VaxoHandle h);
/** Calls cb once with the registry's names, one per line. */
VAXO_API ErrorCode vaxo_ProjectKeyRegistryList(VaxoHandle h, VaxoTextCb cb, void* user);
VAXO_API ErrorCode vaxo_ProjectKeyRegistryStore(VaxoHandle h, const char* name, const char* key);
VAXO_API ErrorCode vaxo_ProjectKeyRegistryUse(VaxoHandle h, const char* name);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_MISC_H */
