// VR and TABLE commands (single and multi values), VR strings and bits, and the array form
// shared by all one-number reads.
#pragma once

#include <string>
#include <string_view>

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

// The reply to a VR or parameter write: a value and a status, the status rounded to the nearest
// whole number and kept to 32 bits (a command's standard response truncates it to 16).
class CmdValueStatusAck : public Command {
public:
    using Command::Command;
    ErrorCode readReply() override { return setError(readValueStatusReply()); }
};

// VR ( index ) = value ZERO
class CmdSetVR : public CmdValueStatusAck {
public:
    using CmdValueStatusAck::CmdValueStatusAck;
    ErrorCode send(unsigned index, double value);
};

// TABLE ( index , value ) ZERO: the controller's two-argument TABLE form writes.
class CmdSetTABLE : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned index, double value);
};

// ---- multi-value reads ----

// token ( start , count , 1 ) ZERO. The controller answers with a standard response whose
// value is the number of values, then that many raw numbers in its own format.
class CmdGetMultiValues : public Command {
public:
    using Command::Command;
    ErrorCode send(KnownTokens token, unsigned start, unsigned count, double* out);
    ErrorCode readReply() override;

private:
    double* m_out = nullptr;
    unsigned m_count = 0;
};

class CmdGetMultiVR : public CmdGetMultiValues {
public:
    using CmdGetMultiValues::CmdGetMultiValues;
    ErrorCode send(unsigned start, unsigned count, double* out) {
        return CmdGetMultiValues::send(KnownTokens::VRVALUES, start, count, out);
    }
};

class CmdGetMultiTABLE : public CmdGetMultiValues {
public:
    using CmdGetMultiValues::CmdGetMultiValues;
    ErrorCode send(unsigned start, unsigned count, double* out) {
        return CmdGetMultiValues::send(KnownTokens::TABLEVALUES, start, count, out);
    }
};

// ---- multi-value writes ----

// Two ways to write many values:
//  - chunks: token ( start , v0 , v1 ... ) ZERO, as many values per request as the remote
//    buffer holds, each request answered by one standard response;
//  - block transfer: header token ( first , last , 2 ) ZERO answered at once, then the values,
//    each NUMBER, its bytes, EOX with no separators, block size / (number size + 2) values per
//    block of 512 (type mod 1000 = 770) or 1024 bytes, neither escaped nor size-checked,
//    answered once after the last block (an empty run: the header alone).
class CmdSetMultiValues : public Command {
public:
    using Command::Command;
    ErrorCode sendChunks(KnownTokens token, unsigned start, unsigned count, const double* values);
    ErrorCode sendBlock(KnownTokens token, unsigned start, unsigned count, const double* values);
    ErrorCode readReply() override;

    // Values per chunk request and per block for a controller (0 when the format is unknown).
    static unsigned valuesPerChunk(unsigned remoteBufferSize, unsigned numberSize) {
        return remoteBufferSize > 15 ? (remoteBufferSize - 15) / (numberSize + 3) : 0;
    }
    static unsigned blockSize(unsigned controllerType) { return controllerType % 1000 == 770 ? 512 : 1024; }
    static unsigned valuesPerBlock(unsigned blockSize, unsigned numberSize) { return blockSize / (numberSize + 2); }

protected:
    unsigned m_replies = 0;                       // standard responses still to read
    ErrorCode m_sendError = ErrorCode::Success;   // a send that failed after some requests went out
};

// VRVALUES block transfer; refused on firmware at or below the gate, without traffic.
class CmdSetMultiVR : public CmdSetMultiValues {
public:
    using CmdSetMultiValues::CmdSetMultiValues;
    ErrorCode send(unsigned start, unsigned count, const double* values);
};

// TABLEVALUES block transfer past the gate, chunked TABLE writes before it.
class CmdSetMultiTABLE : public CmdSetMultiValues {
public:
    using CmdSetMultiValues::CmdSetMultiValues;
    ErrorCode send(unsigned start, unsigned count, const double* values);
};

// ---- VR strings ----

// A text travels between two QUOTES tokens: it must not hold that token's byte (BadArgument).
ErrorCode checkQuotedText(Shared::Token& t, std::string_view text);

// VR ( index ) = <01> QUOTES text QUOTES EOX ZERO: the text's bytes go into VR(index),
// VR(index + 1), ... followed by a 0.
class CmdSetVrString : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned index, std::string_view text);
};

// The reply to the VR string reads: the length printed without decimals, the separator, and for
// the string reads the string's bytes; then the standard response. Knowing the length first,
// the reader takes the string's bytes as they come, whatever they are.
class VrStringReplyParser {
public:
    using Sink = void (*)(void* user, const char* data, unsigned length);
    VrStringReplyParser(bool withText, Sink sink, void* user) : m_withText(withText), m_sink(sink), m_user(user) {}

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed);
    bool done() const noexcept { return m_ended; }
    bool complete() const noexcept { return m_state == State::Done; }
    std::uint64_t textLength() const noexcept { return m_length; }

    static constexpr char kSeparator = ',';

private:
    enum class State { Length, Text, Done };
    bool m_withText;
    Sink m_sink;
    void* m_user;
    State m_state = State::Length;
    bool m_ended = false;
    bool m_digits = false;
    std::uint64_t m_length = 0;
    std::uint64_t m_taken = 0;
};

// PRINT LENB ( VRSTRING ( index ) EOX ) EOX [ 0 ] ; "," EOX ; [ VRSTRING ( index ) EOX ; ] : ZERO
class CmdGetVrStringBase : public Command {
public:
    using Command::Command;
    ErrorCode send(unsigned index) { return sendRequest(index, true); }

protected:
    ErrorCode sendRequest(unsigned index, bool withText);
    // Reads the reply, handing the string's bytes to sink; the text length goes to length.
    ErrorCode readString(bool withText, VrStringReplyParser::Sink sink, void* user, std::uint64_t& length);
};

class CmdGetVrStringLen : public CmdGetVrStringBase {
public:
    CmdGetVrStringLen(Connection_TCP& c, unsigned* length) : CmdGetVrStringBase(c), m_length(length) {}
    ErrorCode send(unsigned index) { return sendRequest(index, false); }
    ErrorCode readReply() override;

private:
    unsigned* m_length;
};

// Into a caller's buffer: on return size is the text length + 1; BufferTooSmall when it did
// not fit (the reply is read to its end all the same).
class CmdGetVrStringToBuffer : public CmdGetVrStringBase {
public:
    CmdGetVrStringToBuffer(Connection_TCP& c, char* buffer, unsigned* size)
        : CmdGetVrStringBase(c), m_buffer(buffer), m_size(size) {}
    ErrorCode readReply() override;

private:
    char* m_buffer;
    unsigned* m_size;
};

class CmdGetVrStringToString : public CmdGetVrStringBase {
public:
    CmdGetVrStringToString(Connection_TCP& c, std::string* out) : CmdGetVrStringBase(c), m_out(out) {}
    ErrorCode readReply() override;

private:
    std::string* m_out;
};

// Streams the string in packets of up to 256 bytes, then one packet of length 0.
class CmdGetVrStringStream : public CmdGetVrStringBase {
public:
    CmdGetVrStringStream(Connection_TCP& c, const Shared::DataStreamFn* sink) : CmdGetVrStringBase(c), m_sink(sink) {}
    ErrorCode readReply() override;

private:
    const Shared::DataStreamFn* m_sink;
};

// ---- VR bits: the bit number first, then the VR index ----

template <KnownTokens Op>
class CmdVrBitT : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(unsigned bit, unsigned index) {
        const double args[2] = {double(bit), double(index)};
        return CmdArray::send(Op, 2, args);
    }
};

using CmdSetVrBit = CmdVrBitT<KnownTokens::SET_BIT>;
using CmdClearBit = CmdVrBitT<KnownTokens::CLEAR_BIT>;
using CmdReadBit = CmdVrBitT<KnownTokens::READ_BIT>;

} // namespace Vaxo::Ubrix::TCP
