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

#define VAXO_FLAT_SEQ(name)                                                                                      \
    VAXO_FLAT_PASS(name, name,                                                                                   \
                   (int32_t axis, int32_t tableStart, int32_t points, int32_t axes, int32_t mode, double speed,  \
                    double endSpeed, int32_t option),                                                            \
                   (axis, tableStart, points, axes, mode, speed, endSpeed, option))
VAXO_FLAT_SEQ(MoveRelSeq)
VAXO_FLAT_SEQ(MoveAbsSeq)
#undef VAXO_FLAT_SEQ
VAXO_FLAT_PASS(MoveCirc, MoveCirc,
               (int32_t axis, double end1, double end2, double centre1, double centre2, int32_t direction),
               (axis, end1, end2, centre1, centre2, direction))
VAXO_FLAT_PASS(MoveCircSp, MoveCircSp,
               (int32_t axis, double end1, double end2, double centre1, double centre2, int32_t direction, double speed,
                int32_t option),
               (axis, end1, end2, centre1, centre2, direction, speed, option))
VAXO_FLAT_PASS(MoveHelical, MoveHelical,
               (int32_t axis, double end1, double end2, double centre1, double centre2, int32_t direction,
                double distance3, int32_t mode),
               (axis, end1, end2, centre1, centre2, direction, distance3, mode))
VAXO_FLAT_PASS(MoveHelicalSp, MoveHelicalSp,
               (int32_t axis, double end1, double end2, double centre1, double centre2, int32_t direction,
                double distance3, int32_t mode, double speed, int32_t option),
               (axis, end1, end2, centre1, centre2, direction, distance3, mode, speed, option))
VAXO_FLAT_PASS(MoveSpherical, MoveSpherical,
               (int32_t axis, double end1, double end2, double end3, double mid1, double mid2, double mid3,
                int32_t mode),
               (axis, end1, end2, end3, mid1, mid2, mid3, mode))
VAXO_FLAT_PASS(MoveSphericalSp, MoveSphericalSp,
               (int32_t axis, double end1, double end2, double end3, double mid1, double mid2, double mid3,
                int32_t mode, double speed, int32_t option),
               (axis, end1, end2, end3, mid1, mid2, mid3, mode, speed, option))
VAXO_FLAT_PASS(MovePick, MovePick,
               (double distance, int32_t tableStart, int32_t option, int32_t axis),
               (distance, tableStart, option, axis))
VAXO_FLAT_PASS(MoveLink, MoveLink,
               (double distance, double linkDistance, double linkAccel, double linkDecel, int32_t linkAxis,
                int32_t linkOption, double linkPosition, int32_t axis),
               (distance, linkDistance, linkAccel, linkDecel, linkAxis, linkOption, linkPosition, axis))
VAXO_FLAT_PASS(Cam, Cam,
               (double tableStart, double tableEnd, double multiplier, double distance, int32_t axis),
               (tableStart, tableEnd, multiplier, distance, axis))
VAXO_FLAT_PASS(CamBox, CamBox,
               (double tableStart, double tableEnd, double multiplier, double linkDistance, int32_t linkAxis,
                int32_t linkOption, double linkPosition, int32_t axis),
               (tableStart, tableEnd, multiplier, linkDistance, linkAxis, linkOption, linkPosition, axis))
VAXO_FLAT_PASS(Connect, Connect,
               (double ratio, int32_t drivingAxis, uint32_t mode, int32_t axis),
               (ratio, drivingAxis, Vaxo::Ubrix::Shared::ConnectMode(mode), axis))
VAXO_FLAT_PASS(ConnPath, ConnPath, (double ratio, int32_t drivingAxis, int32_t axis), (ratio, drivingAxis, axis))
VAXO_FLAT_PASS(Forward, Forward, (int32_t axis), (axis))
VAXO_FLAT_PASS(Reverse, Reverse, (int32_t axis), (axis))
VAXO_FLAT_PASS(Cancel, Cancel, (int32_t mode, int32_t axis), (mode, axis))
VAXO_FLAT_PASS(RapidStop, RapidStop, (int32_t* mode), (mode))
VAXO_FLAT_PASS(Datum, Datum, (int32_t mode, int32_t axis), (mode, axis))
VAXO_FLAT_PASS(AddAx2, AddAx, (int32_t linkedAxis), (linkedAxis, -1))
VAXO_FLAT_PASS(AddAx3, AddAx, (int32_t linkedAxis, int32_t axis), (linkedAxis, axis))
VAXO_FLAT_PASS(AddDac2, AddDac, (int32_t linkedAxis), (linkedAxis, -1))
VAXO_FLAT_PASS(AddDac3, AddDac, (int32_t linkedAxis, int32_t axis), (linkedAxis, axis))
VAXO_FLAT_PASS(Backlash, Backlash,
               (double distance, double speed, double accel, int32_t axis), (distance, speed, accel, axis))
VAXO_FLAT_PASS(BacklashDisable, BacklashDisable, (int32_t axis), (axis))
VAXO_FLAT_PASS(EncoderRatio, EncoderRatio,
               (int32_t mposCount, int32_t inputCount, int32_t axis), (mposCount, inputCount, axis))
VAXO_FLAT_PASS(StepRatio, StepRatio,
               (int32_t outputCount, int32_t dposCount, int32_t axis), (outputCount, dposCount, axis))

// SetMotion and SetMotionSp with 2 to 9 values: the digit of the name counts the handle too.
#define VAXO_VALUES_2 double v1, double v2
#define VAXO_VALUES_3 VAXO_VALUES_2, double v3
#define VAXO_VALUES_4 VAXO_VALUES_3, double v4
#define VAXO_VALUES_5 VAXO_VALUES_4, double v5
#define VAXO_VALUES_6 VAXO_VALUES_5, double v6
#define VAXO_VALUES_7 VAXO_VALUES_6, double v7
#define VAXO_VALUES_8 VAXO_VALUES_7, double v8
#define VAXO_VALUES_9 VAXO_VALUES_8, double v9
#define VAXO_NAMES_2 v1, v2
#define VAXO_NAMES_3 VAXO_NAMES_2, v3
#define VAXO_NAMES_4 VAXO_NAMES_3, v4
#define VAXO_NAMES_5 VAXO_NAMES_4, v5
#define VAXO_NAMES_6 VAXO_NAMES_5, v6
#define VAXO_NAMES_7 VAXO_NAMES_6, v7
#define VAXO_NAMES_8 VAXO_NAMES_7, v8
#define VAXO_NAMES_9 VAXO_NAMES_8, v9
#define VAXO_FLAT_VALUES(name, digit, n)                                                                         \
    VAXO_API ErrorCode vaxo_##name##digit(VaxoHandle h, VAXO_VALUES_##n) {                                       \
        const double v[] = {VAXO_NAMES_##n};                                                                     \
        return call(h, [&](IConnection& c) { return c.name(v, n); });                                            \
    }
// Both take 2 to 5 values; SetMotionSp up to 9.
#define VAXO_FLAT_VALUES_2_TO_5(name)                                                                            \
    VAXO_FLAT_VALUES(name, 3, 2) VAXO_FLAT_VALUES(name, 4, 3) VAXO_FLAT_VALUES(name, 5, 4) VAXO_FLAT_VALUES(name, 6, 5)
VAXO_FLAT_VALUES_2_TO_5(SetMotion)
VAXO_FLAT_VALUES_2_TO_5(SetMotionSp)
VAXO_FLAT_VALUES(SetMotionSp, 7, 6)
VAXO_FLAT_VALUES(SetMotionSp, 8, 7)
VAXO_FLAT_VALUES(SetMotionSp, 9, 8)
VAXO_FLAT_VALUES(SetMotionSp, 10, 9)
#undef VAXO_FLAT_VALUES_2_TO_5
#undef VAXO_FLAT_VALUES

} // extern "C"
