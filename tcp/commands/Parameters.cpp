// Request encoders and reply readers of the string-valued system parameters.
#include "tcp/commands/Parameters.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode CmdGetSysVarStrBase::sendVar(KnownTokens parameter) {
    unsigned short code;
    if (ErrorCode e = m_connection.token().getTokenCode(parameter, code); failed(e))
        return e;
    return sendCode(code);
}

ErrorCode CmdGetSysVarStrBase::sendVar(std::string_view name) {
    unsigned short code;
    if (ErrorCode e = m_connection.token().getTokenCode(name, code, 'V'); failed(e))
        return e;
    return sendCode(code);
}

ErrorCode CmdGetSysVarStrBase::sendCode(unsigned short code) {
    Shared::Token& t = m_connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken(KnownTokens::PRINT, b);
    if (!failed(e)) e = t.appendToken_SystemVariable(b, code);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

ErrorCode CmdGetSysVarStrBase::readReply() {
    m_out->clear();
    const ErrorCode e = readReplyToString(*m_out);
    if (!failed(e)) {
        while (!m_out->empty() && (m_out->back() == '\n' || m_out->back() == '\r'))
            m_out->pop_back();
    }
    return e;
}

ErrorCode CmdSetSysVarStr::send(unsigned short code, std::string_view text) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = checkQuotedText(t, text); failed(e))
        return e;
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken_SystemVariable(b, code);
    if (!failed(e)) e = t.appendToken(KnownTokens::ASSIGN, b);
    if (!failed(e)) e = t.appendByte(0x01, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::QUOTES, b);
    if (!failed(e)) e = t.appendString(text, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::QUOTES, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::EOX, b);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

ErrorCode CmdSetSysVarStr::send(KnownTokens parameter, std::string_view text) {
    unsigned short code;
    if (ErrorCode e = m_connection.token().getTokenCode(parameter, code); failed(e))
        return e;
    return send(code, text);
}

ErrorCode CmdSetSysVarStr::send(std::string_view name, std::string_view text) {
    unsigned short code;
    if (ErrorCode e = m_connection.token().getTokenCode(name, code, 'V'); failed(e))
        return e;
    return send(code, text);
}

} // namespace Vaxo::Ubrix::TCP
