/* Motion commands: flat functions. Included by <vaxo/vaxo.h>.
 *
 * An axis argument below 0 means "no axis" (except for vaxo_Forward and vaxo_Reverse, below):
 * the request carries no AXIS modifier and the controller applies the command to the axes
 * selected with vaxo_SetAxisBase. Otherwise the
 * command applies to that axis (multi-value forms: to that axis and the ones after it).
 * Trailing optional values are left out of the request while they hold their "unused" value:
 * an option or mode of -1, a speed or link position of 0. */
#ifndef VAXO_VAXO_MOTION_H
#define VAXO_VAXO_MOTION_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Linear moves: MOVE, MOVEABS, MOVESP (at FORCE_SPEED), MOVEABSSP; MOVEMODIFY changes the end point */
VAXO_API ErrorCode vaxo_MoveRel(VaxoHandle h, double distance, int32_t axis);
VAXO_API ErrorCode vaxo_MoveAbs(VaxoHandle h, double position, int32_t axis);
VAXO_API ErrorCode vaxo_MoveRelSp(VaxoHandle h, double distance, int32_t axis);
VAXO_API ErrorCode vaxo_MoveAbsSp(VaxoHandle h, double position, int32_t axis);
/** Interpolated moves of count axes; values holds count numbers (may be null when count is 0). */
VAXO_API ErrorCode vaxo_MoveRelMulti(VaxoHandle h, double* distances, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_MoveAbsMulti(VaxoHandle h, double* positions, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_MoveRelSpMulti(VaxoHandle h, double* distances, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_MoveAbsSpMulti(VaxoHandle h, double* positions, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_MoveModify(VaxoHandle h, double position, int32_t axis);

/* ---- Sequences from TABLE: MOVEABSSEQ(tableStart, points, axes, mode, speed, endSpeed, option).
 * The absolute form always sends all seven values; the relative form drops option -1, then
 * endSpeed 0, then speed 0. Both go out under the MOVEABSSEQ token. */
VAXO_API ErrorCode vaxo_MoveRelSeq(VaxoHandle h, int32_t axis, int32_t tableStart, int32_t points, int32_t axes,
                                   int32_t mode, double speed, double endSpeed, int32_t option);
VAXO_API ErrorCode vaxo_MoveAbsSeq(VaxoHandle h, int32_t axis, int32_t tableStart, int32_t points, int32_t axes,
                                   int32_t mode, double speed, double endSpeed, int32_t option);

/* ---- Circles, helices and spheres (axis first) ---------------------------------------------
 * MOVECIRC(end1, end2, centre1, centre2, direction)
 * MOVECIRCSP(..., direction [, speed [, option]])          option -1 dropped, then speed 0
 * MHELICAL(..., direction, distance3 [, mode])             mode -1 dropped
 * MHELICALSP(..., distance3 [, mode [, speed [, option]]]) option -1, speed 0, mode -1 dropped
 * MSPHERICAL(end1, end2, end3, mid1, mid2, mid3, mode)
 * MSPHERICALSP(..., mode [, speed [, option]])              option -1 dropped, then speed 0 */
VAXO_API ErrorCode vaxo_MoveCirc(VaxoHandle h, int32_t axis, double end1, double end2, double centre1, double centre2,
                                 int32_t direction);
VAXO_API ErrorCode vaxo_MoveCircSp(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                   double centre2, int32_t direction, double speed, int32_t option);
VAXO_API ErrorCode vaxo_MoveHelical(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                    double centre2, int32_t direction, double distance3, int32_t mode);
VAXO_API ErrorCode vaxo_MoveHelicalSp(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                      double centre2, int32_t direction, double distance3, int32_t mode, double speed,
                                      int32_t option);
VAXO_API ErrorCode vaxo_MoveSpherical(VaxoHandle h, int32_t axis, double end1, double end2, double end3, double mid1,
                                      double mid2, double mid3, int32_t mode);
VAXO_API ErrorCode vaxo_MoveSphericalSp(VaxoHandle h, int32_t axis, double end1, double end2, double end3,
                                        double mid1, double mid2, double mid3, int32_t mode, double speed,
                                        int32_t option);

/* ---- Linked moves --------------------------------------------------------------------------
 * MOVEPICK(distance, tableStart [, option])                                  option -1 dropped
 * MOVELINK(distance, linkDistance, linkAccel, linkDecel, linkAxis [, linkOption [, linkPosition]])
 * CAMBOX(tableStart, tableEnd, multiplier, linkDistance, linkAxis [, linkOption [, linkPosition]])
 *                                              linkPosition 0 dropped, then linkOption -1
 * CAM(tableStart, tableEnd, multiplier, distance)
 * CONNECT(ratio, drivingAxis [, mode])                                       mode 0 dropped
 * CONNPATH(ratio, drivingAxis) */
VAXO_API ErrorCode vaxo_MovePick(VaxoHandle h, double distance, int32_t tableStart, int32_t option, int32_t axis);
VAXO_API ErrorCode vaxo_MoveLink(VaxoHandle h, double distance, double linkDistance, double linkAccel,
                                 double linkDecel, int32_t linkAxis, int32_t linkOption, double linkPosition,
                                 int32_t axis);
VAXO_API ErrorCode vaxo_Cam(VaxoHandle h, double tableStart, double tableEnd, double multiplier, double distance,
                            int32_t axis);
VAXO_API ErrorCode vaxo_CamBox(VaxoHandle h, double tableStart, double tableEnd, double multiplier,
                               double linkDistance, int32_t linkAxis, int32_t linkOption, double linkPosition,
                               int32_t axis);
/** CAMBOX with the caller's values as they are (count numbers). */
VAXO_API ErrorCode vaxo_CamBoxMulti(VaxoHandle h, double* values, uint32_t count, int32_t axis);
VAXO_API ErrorCode vaxo_Connect(VaxoHandle h, double ratio, int32_t drivingAxis, uint32_t mode, int32_t axis);
VAXO_API ErrorCode vaxo_ConnPath(VaxoHandle h, double ratio, int32_t drivingAxis, int32_t axis);

/* ---- Continuous moves and stops -------------------------------------------------------------
 * CANCEL(mode) and DATUM(mode) take the mode first; RAPIDSTOP stops every axis, with its mode
 * only when mode is not null. FORWARD and REVERSE always name their axis (AXIS(axis), a negative
 * axis too, which the controller refuses with its own error); they never go to the BASE axes. */
VAXO_API ErrorCode vaxo_Forward(VaxoHandle h, int32_t axis);
VAXO_API ErrorCode vaxo_Reverse(VaxoHandle h, int32_t axis);
VAXO_API ErrorCode vaxo_Cancel(VaxoHandle h, int32_t mode, int32_t axis);
VAXO_API ErrorCode vaxo_RapidStop(VaxoHandle h, int32_t* mode);
VAXO_API ErrorCode vaxo_Datum(VaxoHandle h, int32_t mode, int32_t axis);

/* ---- Positions ------------------------------------------------------------------------------ */
VAXO_API ErrorCode vaxo_DefPos(VaxoHandle h, double position, int32_t axis);
VAXO_API ErrorCode vaxo_DefPosMulti(VaxoHandle h, double* positions, uint32_t count, int32_t axis);

/* ---- Axis set-up: ADDAX, ADD_DAC (the 2-argument forms go to the BASE axis), BACKLASH(1,
 * distance, speed, accel) / BACKLASH(0), ENCODER_RATIO(mposCount, inputCount),
 * STEP_RATIO(outputCount, dposCount) */
VAXO_API ErrorCode vaxo_AddAx2(VaxoHandle h, int32_t linkedAxis);
VAXO_API ErrorCode vaxo_AddAx3(VaxoHandle h, int32_t linkedAxis, int32_t axis);
VAXO_API ErrorCode vaxo_AddDac2(VaxoHandle h, int32_t linkedAxis);
VAXO_API ErrorCode vaxo_AddDac3(VaxoHandle h, int32_t linkedAxis, int32_t axis);
VAXO_API ErrorCode vaxo_Backlash(VaxoHandle h, double distance, double speed, double accel, int32_t axis);
VAXO_API ErrorCode vaxo_BacklashDisable(VaxoHandle h, int32_t axis);
VAXO_API ErrorCode vaxo_EncoderRatio(VaxoHandle h, int32_t mposCount, int32_t inputCount, int32_t axis);
VAXO_API ErrorCode vaxo_StepRatio(VaxoHandle h, int32_t outputCount, int32_t dposCount, int32_t axis);

/* ---- SET_MOTION(v1 ...) and SET_MOTIONSP(v1 ...): the digit counts the arguments with the handle,
 * so vaxo_SetMotion3 sends two values and vaxo_SetMotionSp10 nine. */
VAXO_API ErrorCode vaxo_SetMotion3(VaxoHandle h, double v1, double v2);
VAXO_API ErrorCode vaxo_SetMotion4(VaxoHandle h, double v1, double v2, double v3);
VAXO_API ErrorCode vaxo_SetMotion5(VaxoHandle h, double v1, double v2, double v3, double v4);
VAXO_API ErrorCode vaxo_SetMotion6(VaxoHandle h, double v1, double v2, double v3, double v4, double v5);
VAXO_API ErrorCode vaxo_SetMotionSp3(VaxoHandle h, double v1, double v2);
VAXO_API ErrorCode vaxo_SetMotionSp4(VaxoHandle h, double v1, double v2, double v3);
VAXO_API ErrorCode vaxo_SetMotionSp5(VaxoHandle h, double v1, double v2, double v3, double v4);
VAXO_API ErrorCode vaxo_SetMotionSp6(VaxoHandle h, double v1, double v2, double v3, double v4, double v5);
VAXO_API ErrorCode vaxo_SetMotionSp7(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6);
VAXO_API ErrorCode vaxo_SetMotionSp8(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7);
VAXO_API ErrorCode vaxo_SetMotionSp9(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7, double v8);
VAXO_API ErrorCode vaxo_SetMotionSp10(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7, double v8, double v9);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_MOTION_H */
