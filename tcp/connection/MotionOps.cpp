// Operations of the motion family.
#include "tcp/commands/Motion.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

namespace {

// A list of values to go out: none is fine, a count without values is not.
bool badList(const double* values, unsigned count) { return count > 0 && !values; }

} // namespace

#define VAXO_MOTION_1(op, cls)                                                                                   \
    ErrorCode Connection_TCP::op(double value, int axis) {                                                       \
        return execute<cls>([&](cls& c) { return c.send_1(value, axis); });                                      \
    }
#define VAXO_MOTION_M(op, cls)                                                                                   \
    ErrorCode Connection_TCP::op(const double* values, unsigned int count, int axis) {                           \
        if (badList(values, count))                                                                              \
            return refused(ErrorCode::BadArgument);                                                              \
        return execute<cls>([&](cls& c) { return c.send_m(count, values, axis); });                              \
    }
VAXO_MOTION_1(MoveRel, CmdMoveRel)
VAXO_MOTION_1(MoveAbs, CmdMoveAbs)
VAXO_MOTION_1(MoveRelSp, CmdMoveRelSp)
VAXO_MOTION_1(MoveAbsSp, CmdMoveAbsSp)
VAXO_MOTION_1(MoveModify, CmdMoveModify)
VAXO_MOTION_1(DefPos, CmdDefPos)
VAXO_MOTION_M(MoveRelMulti, CmdMoveRel)
VAXO_MOTION_M(MoveAbsMulti, CmdMoveAbs)
VAXO_MOTION_M(MoveRelSpMulti, CmdMoveRelSp)
VAXO_MOTION_M(MoveAbsSpMulti, CmdMoveAbsSp)
VAXO_MOTION_M(DefPosMulti, CmdDefPos)
VAXO_MOTION_M(CamBoxMulti, CmdCamBox)
#undef VAXO_MOTION_1
#undef VAXO_MOTION_M

ErrorCode Connection_TCP::MoveRelSeq(int axis, int tableStart, int points, int axes, int mode, double speed,
                                     double endSpeed, int option) {
    return execute<CmdMoveRelSeq>(
        [&](CmdMoveRelSeq& c) { return c.send(axis, tableStart, points, axes, mode, speed, endSpeed, option); });
}
ErrorCode Connection_TCP::MoveAbsSeq(int axis, int tableStart, int points, int axes, int mode, double speed,
                                     double endSpeed, int option) {
    return execute<CmdMoveAbsSeq>(
        [&](CmdMoveAbsSeq& c) { return c.send(axis, tableStart, points, axes, mode, speed, endSpeed, option); });
}
ErrorCode Connection_TCP::MoveCirc(int axis, double end1, double end2, double centre1, double centre2,
                                   int direction) {
    return execute<CmdMoveCirc>(
        [&](CmdMoveCirc& c) { return c.send(axis, end1, end2, centre1, centre2, direction); });
}
ErrorCode Connection_TCP::MoveCircSp(int axis, double end1, double end2, double centre1, double centre2,
                                     int direction, double speed, int option) {
    return execute<CmdMoveCircSp>(
        [&](CmdMoveCircSp& c) { return c.send(axis, end1, end2, centre1, centre2, direction, speed, option); });
}
ErrorCode Connection_TCP::MoveHelical(int axis, double end1, double end2, double centre1, double centre2,
                                      int direction, double distance3, int mode) {
    return execute<CmdMoveHelical>([&](CmdMoveHelical& c) {
        return c.send(axis, end1, end2, centre1, centre2, direction, distance3, mode);
    });
}
ErrorCode Connection_TCP::MoveHelicalSp(int axis, double end1, double end2, double centre1, double centre2,
                                        int direction, double distance3, int mode, double speed, int option) {
    return execute<CmdMoveHelicalSp>([&](CmdMoveHelicalSp& c) {
        return c.send(axis, end1, end2, centre1, centre2, direction, distance3, mode, speed, option);
    });
}
ErrorCode Connection_TCP::MoveSpherical(int axis, double end1, double end2, double end3, double mid1, double mid2,
                                        double mid3, int mode) {
    return execute<CmdMoveSpherical>(
        [&](CmdMoveSpherical& c) { return c.send(axis, end1, end2, end3, mid1, mid2, mid3, mode); });
}
ErrorCode Connection_TCP::MoveSphericalSp(int axis, double end1, double end2, double end3, double mid1,
                                          double mid2, double mid3, int mode, double speed, int option) {
    return execute<CmdMoveSphericalSp>([&](CmdMoveSphericalSp& c) {
        return c.send(axis, end1, end2, end3, mid1, mid2, mid3, mode, speed, option);
    });
}
ErrorCode Connection_TCP::MovePick(double distance, int tableStart, int option, int axis) {
    return execute<CmdMovePick>([&](CmdMovePick& c) { return c.send(distance, tableStart, option, axis); });
}
ErrorCode Connection_TCP::MoveLink(double distance, double linkDistance, double linkAccel, double linkDecel,
                                   int linkAxis, int linkOption, double linkPosition, int axis) {
    return execute<CmdMoveLink>([&](CmdMoveLink& c) {
        return c.send(distance, linkDistance, linkAccel, linkDecel, linkAxis, linkOption, linkPosition, axis);
    });
}
ErrorCode Connection_TCP::Forward(int axis) {
    return execute<CmdForward>([&](CmdForward& c) { return c.send_0(axis); });
}
ErrorCode Connection_TCP::Reverse(int axis) {
    return execute<CmdReverse>([&](CmdReverse& c) { return c.send_0(axis); });
}
ErrorCode Connection_TCP::Cancel(int mode, int axis) {
    return execute<CmdCancel>([&](CmdCancel& c) { return c.send_1(double(mode), axis); });
}
ErrorCode Connection_TCP::RapidStop(const int* mode) {
    return execute<CmdRapidStop>([&](CmdRapidStop& c) { return c.send(mode); });
}
ErrorCode Connection_TCP::Datum(int mode, int axis) {
    return execute<CmdDatum>([&](CmdDatum& c) { return c.send_1(double(mode), axis); });
}
ErrorCode Connection_TCP::Connect(double ratio, int drivingAxis, Shared::ConnectMode mode, int axis) {
    return execute<CmdConnect>([&](CmdConnect& c) { return c.send(ratio, drivingAxis, unsigned(mode), axis); });
}
ErrorCode Connection_TCP::ConnPath(double ratio, int drivingAxis, int axis) {
    const double v[] = {ratio, double(drivingAxis)};
    return execute<CmdConnPath>([&](CmdConnPath& c) { return c.send_m(2, v, axis); });
}
ErrorCode Connection_TCP::Cam(double tableStart, double tableEnd, double multiplier, double distance, int axis) {
    const double v[] = {tableStart, tableEnd, multiplier, distance};
    return execute<CmdCam>([&](CmdCam& c) { return c.send_m(4, v, axis); });
}
ErrorCode Connection_TCP::CamBox(double tableStart, double tableEnd, double multiplier, double linkDistance,
                                 int linkAxis, int linkOption, double linkPosition, int axis) {
    return execute<CmdCamBox>([&](CmdCamBox& c) {
        return c.send(tableStart, tableEnd, multiplier, linkDistance, linkAxis, linkOption, linkPosition, axis);
    });
}
ErrorCode Connection_TCP::AddAx(int linkedAxis, int axis) {
    return execute<CmdAddAx>([&](CmdAddAx& c) { return c.send_1(double(linkedAxis), axis); });
}
ErrorCode Connection_TCP::AddDac(int linkedAxis, int axis) {
    return execute<CmdAddDac>([&](CmdAddDac& c) { return c.send_1(double(linkedAxis), axis); });
}
ErrorCode Connection_TCP::Backlash(double distance, double speed, double accel, int axis) {
    return execute<CmdBacklash>([&](CmdBacklash& c) { return c.send(distance, speed, accel, axis); });
}
ErrorCode Connection_TCP::BacklashDisable(int axis) {
    return execute<CmdBacklash>([&](CmdBacklash& c) { return c.sendDisable(axis); });
}
ErrorCode Connection_TCP::EncoderRatio(int mposCount, int inputCount, int axis) {
    const double v[] = {double(mposCount), double(inputCount)};
    return execute<CmdEncoderRatio>([&](CmdEncoderRatio& c) { return c.send_m(2, v, axis); });
}
ErrorCode Connection_TCP::StepRatio(int outputCount, int dposCount, int axis) {
    const double v[] = {double(outputCount), double(dposCount)};
    return execute<CmdStepRatio>([&](CmdStepRatio& c) { return c.send_m(2, v, axis); });
}
ErrorCode Connection_TCP::SetMotion(const double* values, unsigned int count) {
    if (badList(values, count) || count > CmdSetMotion::kMaxValues)
        return refused(ErrorCode::BadArgument);
    return execute<CmdSetMotion>([&](CmdSetMotion& c) { return c.send(values, count); });
}
ErrorCode Connection_TCP::SetMotionSp(const double* values, unsigned int count) {
    if (badList(values, count) || count > CmdSetMotionSp::kMaxValues)
        return refused(ErrorCode::BadArgument);
    return execute<CmdSetMotionSp>([&](CmdSetMotionSp& c) { return c.send(values, count); });
}

} // namespace Vaxo::Ubrix::TCP
