// Request layouts of the motion commands.
#include "tcp/commands/Motion.h"

namespace Vaxo::Ubrix::TCP {

unsigned trimTrailing(const double* values, unsigned count, std::initializer_list<double> unused) {
    for (double marker : unused) {
        if (count == 0 || values[count - 1] != marker)
            break;
        --count;
    }
    return count;
}

// The argument-less form always names its axis, a negative one included.
ErrorCode CmdMotion::send_0(int axis) { return sendEncoded(0, nullptr, axis, AxisPart::Always); }

ErrorCode CmdMotion::send_1(double arg, int axis) { return send_m(1, &arg, axis); }

ErrorCode CmdMotion::send_m(unsigned count, const double* args, int axis) {
    return sendEncoded(count, args, axis, AxisPart::WhenGiven);
}

ErrorCode CmdMotion::sendEncoded(unsigned count, const double* args, int axis, AxisPart part) {
    if (count > 0 && !args)
        return ErrorCode::BadArgument;
    Shared::TokenBuffer160 b;
    if (ErrorCode e = encode(b, count, args, axis, part); failed(e))
        return e;
    return m_connection.sendTokenbuffer(b);
}

ErrorCode CmdMoveCirc::send(int axis, double end1, double end2, double centre1, double centre2, int direction) {
    const double v[] = {end1, end2, centre1, centre2, double(direction)};
    return send_m(5, v, axis);
}

ErrorCode CmdMoveCircSp::send(int axis, double end1, double end2, double centre1, double centre2, int direction,
                              double speed, int option) {
    const double v[] = {end1, end2, centre1, centre2, double(direction), speed, double(option)};
    return send_m(trimTrailing(v, 7, {-1.0, 0.0}), v, axis);
}

ErrorCode CmdMoveHelical::send(int axis, double end1, double end2, double centre1, double centre2, int direction,
                               double distance3, int mode) {
    const double v[] = {end1, end2, centre1, centre2, double(direction), distance3, double(mode)};
    return send_m(trimTrailing(v, 7, {-1.0}), v, axis);
}

ErrorCode CmdMoveHelicalSp::send(int axis, double end1, double end2, double centre1, double centre2, int direction,
                                 double distance3, int mode, double speed, int option) {
    const double v[] = {end1, end2, centre1, centre2, double(direction), distance3, double(mode), speed, double(option)};
    return send_m(trimTrailing(v, 9, {-1.0, 0.0, -1.0}), v, axis);
}

ErrorCode CmdMoveSpherical::send(int axis, double end1, double end2, double end3, double mid1, double mid2,
                                 double mid3, int mode) {
    const double v[] = {end1, end2, end3, mid1, mid2, mid3, double(mode)};
    return send_m(7, v, axis);
}

ErrorCode CmdMoveSphericalSp::send(int axis, double end1, double end2, double end3, double mid1, double mid2,
                                   double mid3, int mode, double speed, int option) {
    const double v[] = {end1, end2, end3, mid1, mid2, mid3, double(mode), speed, double(option)};
    return send_m(trimTrailing(v, 9, {-1.0, 0.0}), v, axis);
}

ErrorCode CmdMoveSeq::send(int axis, int tableStart, int points, int axes, int mode, double speed, double endSpeed,
                           int option) {
    const double v[] = {double(tableStart), double(points), double(axes), double(mode), speed, endSpeed,
                        double(option)};
    const unsigned shortened = trimTrailing(v, 7, {-1.0, 0.0, 0.0});
    return send_m(m_relative ? shortened : 7, v, axis);
}

ErrorCode CmdMovePick::send(double distance, int tableStart, int option, int axis) {
    const double v[] = {distance, double(tableStart), double(option)};
    return send_m(trimTrailing(v, 3, {-1.0}), v, axis);
}

ErrorCode CmdMoveLink::send(double distance, double linkDistance, double linkAccel, double linkDecel, int linkAxis,
                            int linkOption, double linkPosition, int axis) {
    const double v[] = {distance, linkDistance, linkAccel, linkDecel, double(linkAxis), double(linkOption), linkPosition};
    return send_m(trimTrailing(v, 7, {0.0, -1.0}), v, axis);
}

ErrorCode CmdCamBox::send(double tableStart, double tableEnd, double multiplier, double linkDistance, int linkAxis,
                          int linkOption, double linkPosition, int axis) {
    const double v[] = {tableStart, tableEnd, multiplier, linkDistance, double(linkAxis), double(linkOption), linkPosition};
    return send_m(trimTrailing(v, 7, {0.0, -1.0}), v, axis);
}

ErrorCode CmdConnect::send(double ratio, int drivingAxis, unsigned mode, int axis) {
    const double v[] = {ratio, double(drivingAxis), double(mode)};
    return send_m(trimTrailing(v, 3, {0.0}), v, axis);
}

ErrorCode CmdBacklash::send(double distance, double speed, double accel, int axis) {
    const double v[] = {1.0, distance, speed, accel};
    return send_m(4, v, axis);
}

ErrorCode CmdBacklash::sendDisable(int axis) { return send_1(0.0, axis); }

} // namespace Vaxo::Ubrix::TCP
