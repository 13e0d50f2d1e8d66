// Request encoders of the VR and TABLE writes.
#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode CmdSetVR::send(unsigned index, double value) {
    Shared::Token& t = m_connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken(KnownTokens::VR, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::OPENBRACKETS, b);
    if (!failed(e)) e = t.appendValue(double(index), b);
    if (!failed(e)) e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::ASSIGN, b);
    if (!failed(e)) e = t.appendValue(value, b);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

ErrorCode CmdSetTABLE::send(unsigned index, double value) {
    Shared::Token& t = m_connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken(KnownTokens::TABLE, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::OPENBRACKETS, b);
    if (!failed(e)) e = t.appendValue(double(index), b);
    if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
    if (!failed(e)) e = t.appendValue(value, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

} // namespace Vaxo::Ubrix::TCP
