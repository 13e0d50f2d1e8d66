// Program and command-line commands.
#include "tcp/commands/Programs.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode CmdEx::send(unsigned option) {
    Shared::Token& t = m_connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken(KnownTokens::EX, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::OPENBRACKETS, b);
    if (!failed(e)) e = t.appendValue(double(option), b);
    if (!failed(e)) e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

ErrorCode CmdEx::readReply() {
    char ack[3];
    if (ErrorCode e = m_connection.ReadBytes(ack, 3, m_connection.commandTimeout()); failed(e))
        return setError(e);
    if (ack[0] != 'O' || ack[1] != 'K' || ack[2] != 0x1D)
        return setError(ErrorCode::BadResponse);
    return setError(readStandardResponse(&m_value, nullptr));
}

} // namespace Vaxo::Ubrix::TCP
