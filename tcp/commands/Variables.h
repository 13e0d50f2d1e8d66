// VR and TABLE commands, and the array form shared by all one-number reads.
#pragma once

#include "shared/protocol/TokenBuffer.h"
#include "tcp/commands/Command.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

// token, then when there are indices: ( index 0 , index 1 ... ), then ZERO. Answered by the
// standard response alone, whose value is the result.
class CmdArray : public Command {
public:
    CmdArray(Connection_TCP& c, double* result = nullptr) : Command(c), m_result(result) {}

    template <class Index>
    ErrorCode send(KnownTokens token, unsigned count, const Index* indices) {
        Shared::TokenBuffer160 buffer;
        if (ErrorCode e = encode(buffer, token, count, indices); failed(e))
            return e;
        return m_connection.sendTokenbuffer(buffer);
    }
    template <class Buffer, class Index>
    ErrorCode encode(Buffer& buffer, KnownTokens token, unsigned count, const Index* indices) {
        Shared::Token& t = m_connection.token();
        if (ErrorCode e = t.appendToken(token, buffer); failed(e))
            return e;
        if (count > 0) {
            if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, buffer); failed(e))
                return e;
            for (unsigned k = 0; k < count; ++k) {
                if (k > 0)
                    if (ErrorCode e = t.appendToken(KnownTokens::COMMA, buffer); failed(e))
                        return e;
                if (ErrorCode e = t.appendValue(double(indices[k]), buffer); failed(e))
                    return e;
            }
            if (ErrorCode e = t.appendToken(KnownTokens::CLOSEBRACKETS, buffer); failed(e))
                return e;
        }
        return t.appendZeroToken(buffer);
    }
    ErrorCode readReply() override { return setError(readStandardResponse(m_result, nullptr)); }

protected:
    double* m_result;
};

class CmdGetVR : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(unsigned index) { return CmdArray::send(KnownTokens::VR, 1, &index); }
};

class CmdGetTABLE : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(unsigned index) { return CmdArray::send(KnownTokens::TABLE, 1, &index); }
};

// A write answered by one value-and-status reply.
class CmdWriteAck : public Command {
public:
    using Command::Command;
    ErrorCode readReply() override { return setError(readStandardResponse(nullptr, nullptr)); }
};

// VR ( index ) = value ZERO
class CmdSetVR : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned index, double value);
};

// TABLE ( index , value ) ZERO: the controller's two-argument TABLE form writes.
class CmdSetTABLE : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned index, double value);
};

} // namespace Vaxo::Ubrix::TCP
