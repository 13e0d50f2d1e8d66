// System, axis, process, slot and port parameters: a system-variable token, for the
// per-object kinds followed by MODIFIER, the kind's modifier and the index in brackets.
#pragma once

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// sysvar(code) [ MODIFIER modifier ( index ) ] [ = value ] ZERO
template <class Buffer>
ErrorCode encodeParameter(Shared::Token& t, Buffer& b, unsigned short code, const KnownTokens* modifier, int index,
                          const double* value) {
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

class CmdGetParamWithModifier : public CmdGetSysVar {
public:
    using CmdGetSysVar::CmdGetSysVar;
    ErrorCode send(unsigned short code, KnownTokens modifier, int index) { return sendParameter(code, &modifier, index); }
};

class CmdSetSysVar : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
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
        return sendParameter(code, &modifier, index, v);
    }
};

} // namespace Vaxo::Ubrix::TCP
