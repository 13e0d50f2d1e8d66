// System, axis, process, slot and port parameters: a system-variable token, for the
// per-object kinds followed by MODIFIER, the kind's modifier and the index in brackets.
#pragma once

#include <string>
#include <string_view>

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// sysvar(code) [ MODIFIER modifier ( index ) ] [ = value ] ZERO. An axis, process, slot or port
// number is 0 to 0x7FFFFFFF: a negative one (an unsigned number above 0x7FFFFFFF on its way
// here) is BadArgument, nothing sent.
template <class Buffer>
ErrorCode encodeParameter(Shared::Token& t, Buffer& b, unsigned short code, const KnownTokens* modifier, int index,
                          const double* value) {
    if (modifier && index < 0)
        return ErrorCode::BadArgument;
    if (ErrorCode e = t.appendToken_SystemVariable(b, code); failed(e))
        return e;
    if (modifier) {
        if (ErrorCode e = t.appendToken(KnownTokens::MODIFIER, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(*modifier, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, b); failed(e)) return e;
        if (ErrorCode e = t.appendValue(double(index), b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::CLOSEBRACKETS, b); failed(e)) return e;
    }
    if (value) {
        if (ErrorCode e = t.appendToken(KnownTokens::ASSIGN, b); failed(e)) return e;
        if (ErrorCode e = t.appendValue(*value, b); failed(e)) return e;
    }
    return t.appendZeroToken(b);
}

class CmdGetSysVar : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(unsigned short code) { return sendParameter(code, nullptr, 0); }

protected:
    ErrorCode sendParameter(unsigned short code, const KnownTokens* modifier, int index) {
        Shared::TokenBuffer160 b;
        if (ErrorCode e = encodeParameter(m_connection.token(), b, code, modifier, index, nullptr); failed(e))
            return e;
        return m_connection.sendTokenbuffer(b);
    }
};

// Only the modifier tokens (kind 'M') may follow MODIFIER.
inline ErrorCode checkModifier(KnownTokens modifier) {
    return Shared::Token::getKnownTokenType(modifier) == 'M' ? ErrorCode::Success : ErrorCode::NotSupported;
}

class CmdGetParamWithModifier : public CmdGetSysVar {
public:
    using CmdGetSysVar::CmdGetSysVar;
    ErrorCode send(unsigned short code, KnownTokens modifier, int index) {
        if (ErrorCode e = checkModifier(modifier); failed(e))
            return e;
        return sendParameter(code, &modifier, index);
    }
};

class CmdSetSysVar : public CmdValueStatusAck {
public:
    using CmdValueStatusAck::CmdValueStatusAck;
    ErrorCode send(unsigned short code, double v) { return sendParameter(code, nullptr, 0, v); }

protected:
    ErrorCode sendParameter(unsigned short code, const KnownTokens* modifier, int index, double v) {
        Shared::TokenBuffer160 b;
        if (ErrorCode e = encodeParameter(m_connection.token(), b, code, modifier, index, &v); failed(e))
            return e;
        return m_connection.sendTokenbuffer(b);
    }
};

class CmdSetParamWithModifier : public CmdSetSysVar {
public:
    using CmdSetSysVar::CmdSetSysVar;
    ErrorCode send(unsigned short code, KnownTokens modifier, int index, double v) {
        if (ErrorCode e = checkModifier(modifier); failed(e))
            return e;
        return sendParameter(code, &modifier, index, v);
    }
};

// Per-kind forwarders: the modifier fixed.
template <KnownTokens Modifier>
class CmdGetParamT : public CmdGetParamWithModifier {
public:
    using CmdGetParamWithModifier::CmdGetParamWithModifier;
    ErrorCode send(unsigned short code, int index) { return CmdGetParamWithModifier::send(code, Modifier, index); }
};
template <KnownTokens Modifier>
class CmdSetParamT : public CmdSetParamWithModifier {
public:
    using CmdSetParamWithModifier::CmdSetParamWithModifier;
    ErrorCode send(unsigned short code, int index, double v) {
        return CmdSetParamWithModifier::send(code, Modifier, index, v);
    }
};
using CmdGetAxisParam = CmdGetParamT<KnownTokens::AXIS>;
using CmdSetAxisParam = CmdSetParamT<KnownTokens::AXIS>;
using CmdGetProcessParam = CmdGetParamT<KnownTokens::PROC>;
using CmdSetProcessParam = CmdSetParamT<KnownTokens::PROC>;
using CmdGetSlotParam = CmdGetParamT<KnownTokens::SLOT>;
using CmdSetSlotParam = CmdSetParamT<KnownTokens::SLOT>;
using CmdGetPortParam = CmdGetParamT<KnownTokens::PORT>;
using CmdSetPortParam = CmdSetParamT<KnownTokens::PORT>;

// BASE ( axis 0 , axis 1 ... ) ZERO, answered by the standard response; no axes: BASE ZERO.
class CmdSetAxisBase : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(const int* axes, unsigned count) {
        if (count > 0 && !axes)
            return ErrorCode::BadArgument;
        return CmdArray::send(KnownTokens::BASE, count, axes);
    }
};

// ---- string-valued system parameters ----

// PRINT sysvar(code) ZERO: the controller prints the text and a line end, then the standard
// response. The text comes back without the line end.
class CmdGetSysVarStrBase : public Command {
public:
    CmdGetSysVarStrBase(Connection_TCP& c, std::string* out) : Command(c), m_out(out) {}
    ErrorCode sendVar(KnownTokens parameter);
    ErrorCode sendVar(std::string_view name);
    ErrorCode readReply() override;

protected:
    ErrorCode sendCode(unsigned short code);
    std::string* m_out;
};

// sysvar(code) = <01> QUOTES text QUOTES EOX ZERO, answered by the standard response.
class CmdSetSysVarStr : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned short code, std::string_view text);
    ErrorCode send(KnownTokens parameter, std::string_view text);
    ErrorCode send(std::string_view name, std::string_view text);
};

} // namespace Vaxo::Ubrix::TCP
