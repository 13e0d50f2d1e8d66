// Digital and analogue I/O: the channel range rules and the reply readers.
#include "tcp/commands/IO.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode CmdChannelRange::sendRange(KnownTokens token, unsigned int first, unsigned int last, bool absentFirstOk) {
    if (first == kNoChannel) {
        if (absentFirstOk && last == kNoChannel)
            return CmdArray::send(token, 0, static_cast<const unsigned int*>(nullptr));
        return ErrorCode::BadArgument;
    }
    if (last == kNoChannel)
        return CmdArray::send(token, 1, &first);
    // At most 32 channels, in ascending order, so that the mask fits 32 bits.
    if (last < first || last - first > 31)
        return ErrorCode::BadArgument;
    const unsigned int range[2] = {first, last};
    return CmdArray::send(token, 2, range);
}

ErrorCode CmdChannelRange::readReply() {
    double value = 0;
    unsigned short status = 0;
    const ErrorCode e = readStandardResponse(&value, &status);
    // The mask travels before the status: it is kept whatever the status says.
    if (!failed(e) || status != 0)
        m_mask = cutToU32(value);
    return setError(e);
}

ErrorCode CmdOP::readReply() {
    double value = 0;
    const ErrorCode e = readStandardResponse(&value, nullptr);
    if (!failed(e) && m_mask)
        *m_mask = cutToU32(value);
    return setError(e);
}

ErrorCode CmdAnalogRead::readReply() {
    double value = 0;
    const ErrorCode e = readStandardResponse(&value, nullptr);
    if (!failed(e))
        m_value = cutToI32(value);
    return setError(e);
}

ErrorCode CmdGetInvertIn::readReply() {
    double value = 0;
    const ErrorCode e = readStandardResponse(&value, nullptr);
    if (!failed(e))
        m_on = value != 0;
    return setError(e);
}

ErrorCode CmdSetAOUT::send(unsigned int channel, int value) {
    Shared::Token& t = m_connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = t.appendToken(KnownTokens::AOUT, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::OPENBRACKETS, b);
    if (!failed(e)) e = t.appendValue(double(channel), b);
    if (!failed(e)) e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
    if (!failed(e)) e = t.appendToken(KnownTokens::ASSIGN, b);
    if (!failed(e)) e = t.appendValue(double(value), b);
    if (!failed(e)) e = t.appendZeroToken(b);
    return failed(e) ? e : m_connection.sendTokenbuffer(b);
}

} // namespace Vaxo::Ubrix::TCP
