// Flat functions of the motion commands.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

namespace {

// An input list may be null only when it is empty.
template <typename Op>
std::uint64_t callWithList(VaxoHandle h, const double* values, uint32_t count, Op&& op) {
    if (h && count > 0 && !values)
        return std::uint64_t(Shared::ErrorCode::BadArgument);
    return call(h, std::forward<Op>(op));
}

} // namespace

extern "C" {

#define VAXO_FLAT_1(name, arg)                                                                                   \
    VAXO_API ErrorCode vaxo_##name(VaxoHandle h, double arg, int32_t axis) {                                     \
        return call(h, [&](IConnection& c) { return c.name(arg, axis); });                                       \
    }
#define VAXO_FLAT_M(name)                                                                                        \
    VAXO_API ErrorCode vaxo_##name(VaxoHandle h, double* values, uint32_t count, int32_t axis) {                 \
        return callWithList(h, values, count, [&](IConnection& c) { return c.name(values, count, axis); });      \
    }
VAXO_FLAT_1(MoveRel, distance)
VAXO_FLAT_1(MoveAbs, position)
VAXO_FLAT_1(MoveRelSp, distance)
VAXO_FLAT_1(MoveAbsSp, position)
VAXO_FLAT_1(MoveModify, position)
VAXO_FLAT_1(DefPos, position)
VAXO_FLAT_M(MoveRelMulti)
VAXO_FLAT_M(MoveAbsMulti)
VAXO_FLAT_M(MoveRelSpMulti)
VAXO_FLAT_M(MoveAbsSpMulti)
VAXO_FLAT_M(DefPosMulti)
VAXO_FLAT_M(CamBoxMulti)
#undef VAXO_FLAT_1
#undef VAXO_FLAT_M

VAXO_API ErrorCode vaxo_MoveRelSeq(VaxoHandle h, int32_t axis, int32_t tableStart, int32_t points, int32_t axes,
                                   int32_t mode, double speed, double endSpeed, int32_t option) {
    return call(h, [&](IConnection& c) {
        return c.MoveRelSeq(axis, tableStart, points, axes, mode, speed, endSpeed, option);
    });
}
VAXO_API ErrorCode vaxo_MoveAbsSeq(VaxoHandle h, int32_t axis, int32_t tableStart, int32_t points, int32_t axes,
                                   int32_t mode, double speed, double endSpeed, int32_t option) {
    return call(h, [&](IConnection& c) {
        return c.MoveAbsSeq(axis, tableStart, points, axes, mode, speed, endSpeed, option);
    });
}
VAXO_API ErrorCode vaxo_MoveCirc(VaxoHandle h, int32_t axis, double end1, double end2, double centre1, double centre2,
                                 int32_t direction) {
    return call(h, [&](IConnection& c) { return c.MoveCirc(axis, end1, end2, centre1, centre2, direction); });
}
VAXO_API ErrorCode vaxo_MoveCircSp(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                   double centre2, int32_t direction, double speed, int32_t option) {
    return call(h, [&](IConnection& c) {
        return c.MoveCircSp(axis, end1, end2, centre1, centre2, direction, speed, option);
    });
}
VAXO_API ErrorCode vaxo_MoveHelical(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                    double centre2, int32_t direction, double distance3, int32_t mode) {
    return call(h, [&](IConnection& c) {
        return c.MoveHelical(axis, end1, end2, centre1, centre2, direction, distance3, mode);
    });
}
VAXO_API ErrorCode vaxo_MoveHelicalSp(VaxoHandle h, int32_t axis, double end1, double end2, double centre1,
                                      double centre2, int32_t direction, double distance3, int32_t mode, double speed,
                                      int32_t option) {
    return call(h, [&](IConnection& c) {
        return c.MoveHelicalSp(axis, end1, end2, centre1, centre2, direction, distance3, mode, speed, option);
    });
}
VAXO_API ErrorCode vaxo_MoveSpherical(VaxoHandle h, int32_t axis, double end1, double end2, double end3, double mid1,
                                      double mid2, double mid3, int32_t mode) {
    return call(h, [&](IConnection& c) { return c.MoveSpherical(axis, end1, end2, end3, mid1, mid2, mid3, mode); });
}
VAXO_API ErrorCode vaxo_MoveSphericalSp(VaxoHandle h, int32_t axis, double end1, double end2, double end3,
                                        double mid1, double mid2, double mid3, int32_t mode, double speed,
                                        int32_t option) {
    return call(h, [&](IConnection& c) {
        return c.MoveSphericalSp(axis, end1, end2, end3, mid1, mid2, mid3, mode, speed, option);
    });
}
VAXO_API ErrorCode vaxo_MovePick(VaxoHandle h, double distance, int32_t tableStart, int32_t option, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.MovePick(distance, tableStart, option, axis); });
}
VAXO_API ErrorCode vaxo_MoveLink(VaxoHandle h, double distance, double linkDistance, double linkAccel,
                                 double linkDecel, int32_t linkAxis, int32_t linkOption, double linkPosition,
                                 int32_t axis) {
    return call(h, [&](IConnection& c) {
        return c.MoveLink(distance, linkDistance, linkAccel, linkDecel, linkAxis, linkOption, linkPosition, axis);
    });
}
VAXO_API ErrorCode vaxo_Cam(VaxoHandle h, double tableStart, double tableEnd, double multiplier, double distance,
                            int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Cam(tableStart, tableEnd, multiplier, distance, axis); });
}
VAXO_API ErrorCode vaxo_CamBox(VaxoHandle h, double tableStart, double tableEnd, double multiplier,
                               double linkDistance, int32_t linkAxis, int32_t linkOption, double linkPosition,
                               int32_t axis) {
    return call(h, [&](IConnection& c) {
        return c.CamBox(tableStart, tableEnd, multiplier, linkDistance, linkAxis, linkOption, linkPosition, axis);
    });
}
VAXO_API ErrorCode vaxo_Connect(VaxoHandle h, double ratio, int32_t drivingAxis, uint32_t mode, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Connect(ratio, drivingAxis, mode, axis); });
}
VAXO_API ErrorCode vaxo_ConnPath(VaxoHandle h, double ratio, int32_t drivingAxis, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.ConnPath(ratio, drivingAxis, axis); });
}
VAXO_API ErrorCode vaxo_Forward(VaxoHandle h, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Forward(axis); });
}
VAXO_API ErrorCode vaxo_Reverse(VaxoHandle h, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Reverse(axis); });
}
VAXO_API ErrorCode vaxo_Cancel(VaxoHandle h, int32_t mode, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Cancel(mode, axis); });
}
VAXO_API ErrorCode vaxo_RapidStop(VaxoHandle h, int32_t* mode) {
    return call(h, [&](IConnection& c) { return c.RapidStop(mode); });
}
VAXO_API ErrorCode vaxo_Datum(VaxoHandle h, int32_t mode, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Datum(mode, axis); });
}
VAXO_API ErrorCode vaxo_AddAx2(VaxoHandle h, int32_t linkedAxis) {
    return call(h, [&](IConnection& c) { return c.AddAx(linkedAxis, -1); });
}
VAXO_API ErrorCode vaxo_AddAx3(VaxoHandle h, int32_t linkedAxis, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.AddAx(linkedAxis, axis); });
}
VAXO_API ErrorCode vaxo_AddDac2(VaxoHandle h, int32_t linkedAxis) {
    return call(h, [&](IConnection& c) { return c.AddDac(linkedAxis, -1); });
}
VAXO_API ErrorCode vaxo_AddDac3(VaxoHandle h, int32_t linkedAxis, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.AddDac(linkedAxis, axis); });
}
VAXO_API ErrorCode vaxo_Backlash(VaxoHandle h, double distance, double speed, double accel, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.Backlash(distance, speed, accel, axis); });
}
VAXO_API ErrorCode vaxo_BacklashDisable(VaxoHandle h, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.BacklashDisable(axis); });
}
VAXO_API ErrorCode vaxo_EncoderRatio(VaxoHandle h, int32_t mposCount, int32_t inputCount, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.EncoderRatio(mposCount, inputCount, axis); });
}
VAXO_API ErrorCode vaxo_StepRatio(VaxoHandle h, int32_t outputCount, int32_t dposCount, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.StepRatio(outputCount, dposCount, axis); });
}

VAXO_API ErrorCode vaxo_SetMotion3(VaxoHandle h, double v1, double v2) {
    const double v[] = {v1, v2};
    return call(h, [&](IConnection& c) { return c.SetMotion(v, 2); });
}
VAXO_API ErrorCode vaxo_SetMotion4(VaxoHandle h, double v1, double v2, double v3) {
    const double v[] = {v1, v2, v3};
    return call(h, [&](IConnection& c) { return c.SetMotion(v, 3); });
}
VAXO_API ErrorCode vaxo_SetMotion5(VaxoHandle h, double v1, double v2, double v3, double v4) {
    const double v[] = {v1, v2, v3, v4};
    return call(h, [&](IConnection& c) { return c.SetMotion(v, 4); });
}
VAXO_API ErrorCode vaxo_SetMotion6(VaxoHandle h, double v1, double v2, double v3, double v4, double v5) {
    const double v[] = {v1, v2, v3, v4, v5};
    return call(h, [&](IConnection& c) { return c.SetMotion(v, 5); });
}
VAXO_API ErrorCode vaxo_SetMotionSp3(VaxoHandle h, double v1, double v2) {
    const double v[] = {v1, v2};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 2); });
}
VAXO_API ErrorCode vaxo_SetMotionSp4(VaxoHandle h, double v1, double v2, double v3) {
    const double v[] = {v1, v2, v3};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 3); });
}
VAXO_API ErrorCode vaxo_SetMotionSp5(VaxoHandle h, double v1, double v2, double v3, double v4) {
    const double v[] = {v1, v2, v3, v4};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 4); });
}
VAXO_API ErrorCode vaxo_SetMotionSp6(VaxoHandle h, double v1, double v2, double v3, double v4, double v5) {
    const double v[] = {v1, v2, v3, v4, v5};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 5); });
}
VAXO_API ErrorCode vaxo_SetMotionSp7(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6) {
    const double v[] = {v1, v2, v3, v4, v5, v6};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 6); });
}
VAXO_API ErrorCode vaxo_SetMotionSp8(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7) {
    const double v[] = {v1, v2, v3, v4, v5, v6, v7};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 7); });
}
VAXO_API ErrorCode vaxo_SetMotionSp9(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7, double v8) {
    const double v[] = {v1, v2, v3, v4, v5, v6, v7, v8};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 8); });
}
VAXO_API ErrorCode vaxo_SetMotionSp10(VaxoHandle h, double v1, double v2, double v3, double v4, double v5, double v6, double v7, double v8, double v9) {
    const double v[] = {v1, v2, v3, v4, v5, v6, v7, v8, v9};
    return call(h, [&](IConnection& c) { return c.SetMotionSp(v, 9); });
}

} // extern "C"
