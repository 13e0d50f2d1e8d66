// Request encoders and reply readers of the VR and TABLE commands, VR strings and bits.
#include "tcp/commands/Variables.h"

#include <algorithm>
#include <cmath>

#include "tcp/commands/ReplyFraming.h"

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


namespace {

// Appends elements one after the other, keeping the first error.
struct Encoder {
    Shared::Token& t;
    ErrorCode e = ErrorCode::Success;
    template <class B>
    Encoder& tok(KnownTokens k, B& b) {
        if (!failed(e)) e = t.appendToken(k, b);
        return *this;
    }
    template <class B>
    Encoder& val(double v, B& b) {
        if (!failed(e)) e = t.appendValue(v, b);
        return *this;
    }
    template <class B>
    Encoder& text(std::string_view s, B& b) {
        if (!failed(e)) e = t.appendToken(KnownTokens::QUOTES, b);
        if (!failed(e)) e = t.appendString(s, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::QUOTES, b);
        return *this;
    }
    template <class B>
    ErrorCode zero(B& b) {
        if (!failed(e)) e = t.appendZeroToken(b);
        return e;
    }
};

// Bytes of CLOSEBRACKETS and ZERO, the end of a chunk request.
unsigned tailLength(Shared::Token& t) {
    Shared::TokenBuffer160 tail;
    t.appendToken(KnownTokens::CLOSEBRACKETS, tail);
    t.appendZeroToken(tail);
    return tail.length();
}

} // namespace

ErrorCode checkQuotedText(Shared::Token& t, std::string_view text) {
    unsigned short quotes;
    if (ErrorCode e = t.getTokenCode(KnownTokens::QUOTES, quotes); failed(e))
        return e;
    if (quotes <= 0xFF && text.find(char(quotes)) != std::string_view::npos)
        return ErrorCode::BadArgument;
    return ErrorCode::Success;
}

// ---- multi-value reads ----

ErrorCode CmdGetMultiValues::send(KnownTokens token, unsigned start, unsigned count, double* out) {
    m_out = out;
    m_count = count;
    Shared::TokenBuffer160 b;
    Encoder enc{m_connection.token()};
    enc.tok(token, b).tok(KnownTokens::OPENBRACKETS, b).val(start, b).tok(KnownTokens::COMMA, b).val(count, b);
    enc.tok(KnownTokens::COMMA, b).val(1, b).tok(KnownTokens::CLOSEBRACKETS, b);
    if (ErrorCode e = enc.zero(b); failed(e))
        return e;
    return m_connection.sendTokenbuffer(b);
}

ErrorCode CmdGetMultiValues::readReply() {
    double n = 0;
    if (ErrorCode e = readStandardResponse(&n, nullptr); failed(e))
        return setError(e);
    // The values follow the count; a count that is not what was asked leaves the reply's
    // length in doubt only when it is not a count at all.
    if (!(n >= 0 && n <= 4294967295.0 && n == std::floor(n)))
        return setError(ErrorCode::BadResponse);
    const auto got = static_cast<std::uint32_t>(n);
    const unsigned timeout = m_connection.commandTimeout();
    Shared::Token& t = m_connection.token();
    for (std::uint32_t k = 0; k < got; ++k) {
        double v = 0;
        if (ErrorCode e = t.ReadNumber(v, m_connection.port(), timeout); failed(e))
            return setError(e);
        if (k < m_count)
            m_out[k] = v;
    }
    return setError(got == m_count ? ErrorCode::Success : ErrorCode::BadResponse);
}

// ---- multi-value writes ----

ErrorCode CmdSetMultiValues::sendChunks(KnownTokens token, unsigned start, unsigned count, const double* values) {
    Shared::Token& t = m_connection.token();
    unsigned size = 0;
    if (ErrorCode e = t.NumberSize(size); failed(e))
        return e;
    const unsigned perRequest = valuesPerChunk(t.GetRemoteBufferSize(), size);
    if (perRequest == 0)
        return ErrorCode::BadArgument;
    const unsigned limit = t.GetRemoteBufferSize();
    const unsigned tail = tailLength(t);
    Shared::TokenBuffer160 b;
    for (unsigned offset = 0; offset < count;) {
        const unsigned most = std::min(perRequest, count - offset);
        b.clear();
        Encoder enc{t};
        enc.tok(token, b).tok(KnownTokens::OPENBRACKETS, b).val(double(start) + offset, b);
        // Up to `most` values; fewer when longer token codes or escapes would not let them fit.
        unsigned n = 0;
        while (n < most && !failed(enc.e)) {
            const unsigned before = b.length();
            enc.tok(KnownTokens::COMMA, b).val(values[offset + n], b).tok(KnownTokens::CLOSEBRACKETS, b);
            enc.zero(b);
            if (!failed(enc.e) && n > 0 && Shared::escapedLengthEstimate(b.data(), b.length()) > limit) {
                b.setLength(before);
                break;
            }
            b.setLength(b.length() - tail);
            ++n;
        }
        enc.tok(KnownTokens::CLOSEBRACKETS, b);
        ErrorCode e = enc.zero(b);
        if (!failed(e))
            e = m_connection.sendTokenbuffer(b);
        if (failed(e)) {
            if (m_replies == 0)
                return e;
            // Requests already on the wire are answered: read those, then report this.
            m_sendError = e;
            return ErrorCode::Success;
        }
        ++m_replies;
        offset += n;
    }
    return ErrorCode::Success;
}

ErrorCode CmdSetMultiValues::sendBlock(KnownTokens token, unsigned start, unsigned count, const double* values) {
    Shared::Token& t = m_connection.token();
    unsigned size = 0;
    if (ErrorCode e = t.NumberSize(size); failed(e))
        return e;
    const unsigned perBlock = valuesPerBlock(blockSize(t.GetControllerType()), size);

    // The header's answer is read here, before anything else is queued: the send lock is held
    // and the reader thread has nothing left to read. A link closing meanwhile ends the wait.
    if (ErrorCode e = m_connection.waitCommandQueueEmpty(); failed(e))
        return e;
    Shared::TokenBuffer1024 b;
    Encoder enc{t};
    enc.tok(token, b).tok(KnownTokens::OPENBRACKETS, b).val(start, b).tok(KnownTokens::COMMA, b);
    enc.val(double(start) + count - 1, b).tok(KnownTokens::COMMA, b).val(2, b).tok(KnownTokens::CLOSEBRACKETS, b);
    if (ErrorCode e = enc.zero(b); failed(e))
        return e;
    if (ErrorCode e = m_connection.sendTokenbuffer(b); failed(e))
        return e;
    if (ErrorCode e = m_connection.GetResponse(nullptr, nullptr); failed(e)) {
        // A lost or garbled answer leaves the link out of step, as in a reply read.
        if (IsFatalError(e))
            m_connection.ReportFatal();
        return e;
    }
    // Each value travels as in any request (NUMBER, its bytes, EOX), with nothing between them.
    for (unsigned offset = 0; offset < count; offset += perBlock) {
        const unsigned n = std::min(perBlock, count - offset);
        b.clear();
        for (unsigned k = 0; k < n; ++k)
            if (ErrorCode e = t.appendValue(values[offset + k], b); failed(e))
                return e;
        if (ErrorCode e = m_connection.sendTokenbuffer(b, Shared::SendPlain); failed(e))
            return e;
    }
    // The controller answers the data once it has all of it; an empty run has none to answer.
    m_replies = count > 0 ? 1 : 0;
    return ErrorCode::Success;
}

ErrorCode CmdSetMultiValues::readReply() {
    ErrorCode first = ErrorCode::Success;
    for (unsigned k = 0; k < m_replies; ++k) {
        const ErrorCode e = readStandardResponse(nullptr, nullptr);
        if (failed(e) && !failed(first))
            first = e;
        // A refused request still leaves the link in step; anything else ends reading.
        if (failed(e) && !Shared::EnumBitOps::hasAny(e, ErrorCode::ControllerBit))
            break;
    }
    return setError(failed(first) ? first : m_sendError);
}

ErrorCode CmdSetMultiVR::send(unsigned start, unsigned count, const double* values) {
    if (!m_connection.token().SupportsBlockValueWrites())
        return ErrorCode::NotSupported;
    return sendBlock(KnownTokens::VRVALUES, start, count, values);
}

ErrorCode CmdSetMultiTABLE::send(unsigned start, unsigned count, const double* values) {
    if (m_connection.token().SupportsBlockValueWrites())
        return sendBlock(KnownTokens::TABLEVALUES, start, count, values);
    return sendChunks(KnownTokens::TABLE, start, count, values);
}

// ---- VR strings ----

ErrorCode CmdSetVrString::send(unsigned index, std::string_view text) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = checkQuotedText(t, text); failed(e))
        return e;
    Shared::TokenBuffer160 b;
    Encoder enc{t};
    enc.tok(KnownTokens::VR, b).tok(KnownTokens::OPENBRACKETS, b).val(index, b).tok(KnownTokens::CLOSEBRACKETS, b);
    enc.tok(KnownTokens::ASSIGN, b);
    if (!failed(enc.e))
        enc.e = t.appendByte(0x01, b);
    enc.text(text, b).tok(KnownTokens::EOX, b);
    if (ErrorCode e = enc.zero(b); failed(e))
        return e;
    return m_connection.sendTokenbuffer(b);
}

ErrorCode VrStringReplyParser::feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) {
    consumed = 0;
    if (m_ended || length == 0)
        return ErrorCode::Success;
    const char c = data[0];
    if (c == '\0') {
        m_ended = true; // left for the standard response
        return ErrorCode::Success;
    }
    switch (m_state) {
    case State::Length:
        if (c >= '0' && c <= '9') {
            m_length = m_length * 10 + unsigned(c - '0');
            if (m_length > 0xFFFFFFFFull)
                return ErrorCode::BadResponse;
            m_digits = true;
        } else if (c == kSeparator && m_digits) {
            m_state = m_withText && m_length > 0 ? State::Text : State::Done;
        } else {
            return ErrorCode::BadResponse;
        }
        break;
    case State::Text:
        if (m_sink)
            m_sink(m_user, &c, 1);
        if (++m_taken == m_length)
            m_state = State::Done;
        break;
    case State::Done:
        return ErrorCode::BadResponse;
    }
    consumed = 1;
    return ErrorCode::Success;
}

ErrorCode CmdGetVrStringBase::sendRequest(unsigned index, bool withText) {
    Shared::TokenBuffer160 b;
    Encoder enc{m_connection.token()};
    const char separator[1] = {VrStringReplyParser::kSeparator};
    enc.tok(KnownTokens::PRINT, b).tok(KnownTokens::LENB, b).tok(KnownTokens::OPENBRACKETS, b);
    enc.tok(KnownTokens::VRSTRING, b).tok(KnownTokens::OPENBRACKETS, b).val(index, b).tok(KnownTokens::CLOSEBRACKETS, b);
    enc.tok(KnownTokens::EOX, b).tok(KnownTokens::CLOSEBRACKETS, b).tok(KnownTokens::EOX, b);
    enc.tok(KnownTokens::OPENSQUAREBRACKETS, b).val(0, b).tok(KnownTokens::CLOSESQUAREBRACKETS, b);
    enc.tok(KnownTokens::SEMICOLON, b).text(std::string_view(separator, 1), b).tok(KnownTokens::EOX, b);
    enc.tok(KnownTokens::SEMICOLON, b);
    if (withText) {
        enc.tok(KnownTokens::VRSTRING, b).tok(KnownTokens::OPENBRACKETS, b).val(index, b);
        enc.tok(KnownTokens::CLOSEBRACKETS, b).tok(KnownTokens::EOX, b).tok(KnownTokens::SEMICOLON, b);
    }
    enc.tok(KnownTokens::COLON, b);
    if (ErrorCode e = enc.zero(b); failed(e))
        return e;
    return m_connection.sendTokenbuffer(b);
}

ErrorCode CmdGetVrStringBase::readString(bool withText, VrStringReplyParser::Sink sink, void* user,
                                         std::uint64_t& length) {
    VrStringReplyParser parser(withText, sink, user);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    ErrorCode e = stringReplyRead(m_connection, id(), parser, &reply);
    if (!failed(e) && !parser.complete())
        e = ErrorCode::BadResponse;
    length = parser.textLength();
    return e;
}

ErrorCode CmdGetVrStringLen::readReply() {
    std::uint64_t length = 0;
    const ErrorCode e = readString(false, nullptr, nullptr, length);
    if (!failed(e))
        *m_length = unsigned(length);
    return setError(e);
}

ErrorCode CmdGetVrStringToBuffer::readReply() {
    struct Target {
        char* buffer;
        unsigned capacity;
        unsigned pos;
    } target{m_buffer, *m_size, 0};
    auto sink = [](void* user, const char* data, unsigned n) {
        auto* t = static_cast<Target*>(user);
        for (unsigned k = 0; k < n; ++k, ++t->pos)
            if (t->pos < t->capacity)
                t->buffer[t->pos] = data[k];
    };
    std::uint64_t length = 0;
    ErrorCode e = readString(true, sink, &target, length);
    if (!failed(e)) {
        *m_size = unsigned(length + 1);
        if (length < target.capacity)
            m_buffer[length] = '\0';
        else
            e = ErrorCode::BufferTooSmall;
    }
    return setError(e);
}

ErrorCode CmdGetVrStringToString::readReply() {
    m_out->clear();
    auto sink = [](void* user, const char* data, unsigned n) { static_cast<std::string*>(user)->append(data, n); };
    std::uint64_t length = 0;
    return setError(readString(true, sink, m_out, length));
}

ErrorCode CmdGetVrStringStream::readReply() {
    struct Stream {
        const Shared::DataStreamFn* sink;
        Shared::DataStreamPacket packet{};
        char chunk[256] = {};
        unsigned fill = 0;
        HostCalls calls;
        void flush() {
            packet.length = fill;
            calls(*sink, packet, static_cast<const char*>(chunk));
            ++packet.sequence;
            fill = 0;
        }
    } stream{m_sink, {}, {}, 0, {}};
    auto sink = [](void* user, const char* data, unsigned n) {
        auto* s = static_cast<Stream*>(user);
        for (unsigned k = 0; k < n; ++k) {
            s->chunk[s->fill++] = data[k];
            if (s->fill == sizeof s->chunk)
                s->flush();
        }
    };
    std::uint64_t length = 0;
    const ErrorCode e = readString(true, sink, &stream, length);
    if (!failed(e)) {
        if (stream.fill)
            stream.flush();
        stream.flush(); // the end of the text
    }
    return setError(stream.calls.result(e));
}

} // namespace Vaxo::Ubrix::TCP
