// Motion commands: moves, stops, position definitions, links between axes.
//
// Almost every one is a CmdMotion: the command token, its numeric arguments in brackets, and,
// when an axis is given (axis >= 0), MODIFIER AXIS ( axis ); without it the controller applies
// the command to the axes selected with BASE. The three request forms:
//   send_0(axis)              token MODIFIER AXIS ( axis ) ZERO, whatever the axis (a negative
//                             one too: the controller answers for it)
//   send_1(arg, axis)         token ( arg ) [MODIFIER AXIS ( axis )] ZERO
//   send_m(count, args, axis) token [( args[0] , args[1] ... )] [MODIFIER AXIS ( axis )] ZERO
// All are sent escaped with the size check, and answered by the standard response.
#pragma once

#include <initializer_list>

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// Number of values left after dropping unused trailing ones: `unused` lists, from the last value
// backwards, the value each one has when it is not used; dropping stops at the first used one.
unsigned trimTrailing(const double* values, unsigned count, std::initializer_list<double> unused);

class CmdMotion : public CmdWriteAck {
public:
    CmdMotion(Connection_TCP& c, KnownTokens token) : CmdWriteAck(c), m_token(token) {}

    ErrorCode send_0(int axis);
    ErrorCode send_1(double arg, int axis);
    ErrorCode send_m(unsigned count, const double* args, int axis);

    // Whether the AXIS modifier is written for a negative axis too (send_0 always writes it).
    enum class AxisPart : bool { WhenGiven, Always };

    // The request bytes of send_m (or, with AxisPart::Always, of send_0), for callers that only
    // encode.
    template <class Buffer>
    ErrorCode encode(Buffer& b, unsigned count, const double* args, int axis, AxisPart part = AxisPart::WhenGiven);

    KnownTokens commandToken() const { return m_token; }

private:
    ErrorCode sendEncoded(unsigned count, const double* args, int axis, AxisPart part);

    KnownTokens m_token;
};

// The commands whose requests are one of the plain forms, one class per token.
#define VAXO_MOTION_COMMANDS(X)                                                                                  \
    X(CmdCancel, CANCEL)                                                                                          \
    X(CmdDatum, DATUM)                                                                                            \
    X(CmdDefPos, DEFPOS)                                                                                          \
    X(CmdForward, FORWARD)                                                                                        \
    X(CmdReverse, REVERSE)                                                                                        \
    X(CmdMoveRel, MOVE)                                                                                           \
    X(CmdMoveRelSp, MOVESP)                                                                                       \
    X(CmdMoveAbs, MOVEABS)                                                                                        \
    X(CmdMoveAbsSp, MOVEABSSP)                                                                                    \
    X(CmdMoveModify, MOVEMODIFY)                                                                                  \
    X(CmdAddDac, ADD_DAC)                                                                                         \
    X(CmdAddAx, ADDAX)                                                                                            \
    X(CmdEncoderRatio, ENCODER_RATIO)                                                                             \
    X(CmdStepRatio, STEP_RATIO)                                                                                   \
    X(CmdConnPath, CONNPATH)                                                                                      \
    X(CmdCam, CAM)

#define VAXO_MOTION_CLASS(cls, tok)                                                                               \
    class cls : public CmdMotion {                                                                                \
    public:                                                                                                       \
        explicit cls(Connection_TCP& c) : CmdMotion(c, KnownTokens::tok) {}                                       \
    };
VAXO_MOTION_COMMANDS(VAXO_MOTION_CLASS)
#undef VAXO_MOTION_CLASS

// The commands with an argument list of their own: the class, the token and the parameters of
// send, which lays the arguments out as the comment above each one says.
#define VAXO_MOTION_SEND_CLASS(cls, tok, params)                                                                  \
    class cls : public CmdMotion {                                                                                \
    public:                                                                                                       \
        explicit cls(Connection_TCP& c) : CmdMotion(c, KnownTokens::tok) {}                                       \
        ErrorCode send params;                                                                                    \
    };

// MOVECIRC ( end1 , end2 , centre1 , centre2 , direction )
VAXO_MOTION_SEND_CLASS(CmdMoveCirc, MOVECIRC, (int axis, double end1, double end2, double centre1, double centre2,
                                               int direction))

// MOVECIRCSP ( end1 , end2 , centre1 , centre2 , direction [, speed [, option]] ): option is
// dropped when -1, and then speed when 0.
VAXO_MOTION_SEND_CLASS(CmdMoveCircSp, MOVECIRCSP, (int axis, double end1, double end2, double centre1, double centre2,
                                                   int direction, double speed, int option))

// MHELICAL ( end1 , end2 , centre1 , centre2 , direction , distance3 [, mode] ): mode dropped when -1.
VAXO_MOTION_SEND_CLASS(CmdMoveHelical, MHELICAL, (int axis, double end1, double end2, double centre1, double centre2,
                                                  int direction, double distance3, int mode))

// MHELICALSP ( ... , distance3 [, mode [, speed [, option]]] ): option dropped when -1, then
// speed when 0, then mode when -1.
VAXO_MOTION_SEND_CLASS(CmdMoveHelicalSp, MHELICALSP, (int axis, double end1, double end2, double centre1,
                                                      double centre2, int direction, double distance3, int mode,
                                                      double speed, int option))

// MSPHERICAL ( end1 , end2 , end3 , mid1 , mid2 , mid3 , mode )
VAXO_MOTION_SEND_CLASS(CmdMoveSpherical, MSPHERICAL, (int axis, double end1, double end2, double end3, double mid1,
                                                      double mid2, double mid3, int mode))

// MSPHERICALSP ( ... , mode [, speed [, option]] ): option dropped when -1, then speed when 0.
VAXO_MOTION_SEND_CLASS(CmdMoveSphericalSp, MSPHERICALSP, (int axis, double end1, double end2, double end3, double mid1,
                                                          double mid2, double mid3, int mode, double speed, int option))

// MOVEABSSEQ ( tableStart , points , axes , mode , speed , endSpeed , option ). The absolute
// form always sends all seven values, though the shortened count is worked out as for the
// relative form. The relative sequence goes out under the same token (the controller's
// firmware has no separate relative token in use here); option dropped when -1, then endSpeed
// and speed when 0.
class CmdMoveSeq : public CmdMotion {
public:
    CmdMoveSeq(Connection_TCP& c, bool relative) : CmdMotion(c, KnownTokens::MOVEABSSEQ), m_relative(relative) {}
    ErrorCode send(int axis, int tableStart, int points, int axes, int mode, double speed, double endSpeed,
                   int option);

private:
    bool m_relative;
};
class CmdMoveAbsSeq : public CmdMoveSeq {
public:
    explicit CmdMoveAbsSeq(Connection_TCP& c) : CmdMoveSeq(c, false) {}
};
class CmdMoveRelSeq : public CmdMoveSeq {
public:
    explicit CmdMoveRelSeq(Connection_TCP& c) : CmdMoveSeq(c, true) {}
};

// MOVEPICK ( distance , tableStart [, option] ): option dropped when -1.
VAXO_MOTION_SEND_CLASS(CmdMovePick, MOVEPICK, (double distance, int tableStart, int option, int axis))

// MOVELINK ( distance , linkDistance , linkAccel , linkDecel , linkAxis [, linkOption [, linkPosition]] ):
// linkPosition dropped when 0, then linkOption when -1.
VAXO_MOTION_SEND_CLASS(CmdMoveLink, MOVELINK, (double distance, double linkDistance, double linkAccel,
                                               double linkDecel, int linkAxis, int linkOption, double linkPosition,
                                               int axis))

// CAMBOX ( tableStart , tableEnd , multiplier , linkDistance , linkAxis [, linkOption [, linkPosition]] ),
// trimmed as MOVELINK; the multi form sends the caller's values as they are.
VAXO_MOTION_SEND_CLASS(CmdCamBox, CAMBOX, (double tableStart, double tableEnd, double multiplier, double linkDistance,
                                           int linkAxis, int linkOption, double linkPosition, int axis))

// CONNECT ( ratio , drivingAxis [, mode] ): mode dropped when 0.
VAXO_MOTION_SEND_CLASS(CmdConnect, CONNECT, (double ratio, int drivingAxis, unsigned mode, int axis))

#undef VAXO_MOTION_SEND_CLASS

// BACKLASH ( 1 , distance , speed , accel ) switches compensation on; BACKLASH ( 0 ) off.
class CmdBacklash : public CmdMotion {
public:
    explicit CmdBacklash(Connection_TCP& c) : CmdMotion(c, KnownTokens::BACKLASH) {}
    ErrorCode send(double distance, double speed, double accel, int axis);
    ErrorCode sendDisable(int axis);
};

// RAPIDSTOP [( mode )] ZERO: no axis, every axis stops.
class CmdRapidStop : public CmdArray {
public:
    explicit CmdRapidStop(Connection_TCP& c) : CmdArray(c) {}
    ErrorCode send(const int* mode) { return CmdArray::send(KnownTokens::RAPIDSTOP, mode ? 1u : 0u, mode); }
};

// SET_MOTION ( v0 , ... ) ZERO with at most 5 values, SET_MOTIONSP with at most 9.
template <KnownTokens Token, unsigned MaxValues>
class CmdSetMotionT : public CmdArray {
public:
    static constexpr unsigned kMaxValues = MaxValues;
    explicit CmdSetMotionT(Connection_TCP& c) : CmdArray(c) {}
    ErrorCode send(const double* values, unsigned count) {
        if (count > kMaxValues || (count > 0 && !values))
            return ErrorCode::BadArgument;
        return CmdArray::send(Token, count, values);
    }
};
using CmdSetMotion = CmdSetMotionT<KnownTokens::SET_MOTION, 5>;
using CmdSetMotionSp = CmdSetMotionT<KnownTokens::SET_MOTIONSP, 9>;

template <class Buffer>
ErrorCode CmdMotion::encode(Buffer& b, unsigned count, const double* args, int axis, AxisPart part) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = t.appendToken(m_token, b); failed(e)) return e;
    if (count > 0) {
        if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, b); failed(e)) return e;
        for (unsigned k = 0; k < count; ++k) {
            if (k > 0)
                if (ErrorCode e = t.appendToken(KnownTokens::COMMA, b); failed(e)) return e;
            if (ErrorCode e = t.appendValue(args[k], b); failed(e)) return e;
        }
        if (ErrorCode e = t.appendToken(KnownTokens::CLOSEBRACKETS, b); failed(e)) return e;
    }
    if (axis >= 0 || part == AxisPart::Always) {
        if (ErrorCode e = t.appendToken(KnownTokens::MODIFIER, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::AXIS, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, b); failed(e)) return e;
        if (ErrorCode e = t.appendValue(double(axis), b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::CLOSEBRACKETS, b); failed(e)) return e;
    }
    return t.appendZeroToken(b);
}

} // namespace Vaxo::Ubrix::TCP
