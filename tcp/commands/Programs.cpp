// Program, process, command-line and directory commands: request encoders and reply readers.
#include "tcp/commands/Programs.h"

#include <cmath>

#include "shared/parsers/ListReplyParsers.h"
#include "shared/parsers/TextReplyParsers.h"
#include "tcp/commands/ReplyFraming.h"

namespace Vaxo::Ubrix::TCP {

namespace {

// Builds a request with `encode` in a 160-byte buffer and writes it; nothing is written when
// encoding fails.
template <class Encode>
ErrorCode sendBuilt(Connection_TCP& connection, Encode&& encode) {
    Shared::Token& t = connection.token();
    Shared::TokenBuffer160 b;
    ErrorCode e = encode(t, b);
    if (!failed(e))
        e = t.appendZeroToken(b);
    return failed(e) ? e : connection.sendTokenbuffer(b, Shared::SendDefault);
}

// Reads a listing one byte at a time with the command timeout until the parser is done. A
// listing that ends at 0x00 is followed by the standard response; one that ends at an "OK"
// line is not.
template <class Parser>
ErrorCode readListing(Connection_TCP& connection, Parser& parser) {
    const unsigned timeout = connection.commandTimeout();
    char byte = 0;
    while (!parser.IsDone()) {
        if (ErrorCode e = connection.ReadBytes(&byte, 1, timeout); failed(e))
            return e;
        std::uint32_t consumed = 0;
        if (ErrorCode e = parser.Feed(&byte, 1, consumed); failed(e))
            return e;
    }
    if (parser.LastChar() != '\0')
        return ErrorCode::Success;
    if (ErrorCode e = connection.UnReadBytes(&byte, 1); failed(e))
        return e;
    return connection.GetResponse(nullptr, nullptr);
}

// Calls the host's callable for each entry through HostCalls.
template <class Fn>
struct GuardedSink {
    explicit GuardedSink(const Fn& f) : fn(f) {}
    const Fn& fn;
    HostCalls calls;
    template <class Info>
    void operator()(const Info& info, std::string_view name) {
        calls(fn, info, name);
    }
};

// The SELECT reply: text up to " selected\r\n"; a 0x00 before any text is the start of a bare
// standard response (the controller refused) and ends the text unconsumed.
class SelectReplyParser {
public:
    SelectReplyParser(char* buffer, std::uint32_t capacity) : m_inner(buffer, capacity, " selected\r\n", 1) {}
    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) {
        if (length > 0 && m_inner.length() == 0 && data[0] == '\0') {
            consumed = 0;
            m_refused = true;
            return ErrorCode::Success;
        }
        return m_inner.feedData(data, length, consumed);
    }
    bool done() const { return m_refused || m_inner.done(); }

private:
    Shared::CharTerminatedReplyParser m_inner;
    bool m_refused = false;
};

} // namespace

ErrorCode readValueReply(Command& command, std::uint16_t& result) {
    Shared::CharTerminatedReplyParser parser(nullptr, 0);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    ErrorCode e = stringReplyRead(command.connection(), command.id(), parser, &reply);
    if (!failed(e)) {
        if (value >= 0 && value <= 65535 && value == std::floor(value))
            result = static_cast<std::uint16_t>(value);
        else
            e = ErrorCode::OutOfRange;
    }
    return command.setError(e);
}

// ---- command line ----

ErrorCode CmdExecute::send(std::string_view text) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::EXECUTE, b);
        return failed(e) ? e : appendQuoted(t, text, b);
    });
}

ErrorCode CmdExecuteWithResponse::send(std::string_view text) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::EXECUTE, b);
        if (!failed(e)) e = appendQuoted(t, text, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = t.appendValue(1.0, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = t.appendValue(1.0, b);
        return e;
    });
}

ErrorCode CmdEx::send(unsigned option) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::EX, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::OPENBRACKETS, b);
        if (!failed(e)) e = t.appendValue(double(option), b);
        if (!failed(e)) e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
        return e;
    });
}

ErrorCode CmdEx::readReply() {
    char ack[3];
    if (ErrorCode e = m_connection.ReadBytes(ack, 3, m_connection.commandTimeout()); failed(e))
        return setError(e);
    if (ack[0] != 'O' || ack[1] != 'K' || ack[2] != 0x1D)
        return setError(ErrorCode::BadResponse);
    return setError(readStandardResponse(&m_value, nullptr));
}

// ---- programs and processes ----

ErrorCode CmdProcessBase::sendFor(KnownTokens token, std::string_view program, unsigned process) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(token, b);
        if (!failed(e)) e = appendQuoted(t, program, b);
        if (!failed(e) && process != kNoProcess) {
            e = t.appendToken(KnownTokens::COMMA, b);
            if (!failed(e)) e = t.appendValue(double(process), b);
        }
        return e;
    });
}

ErrorCode CmdClear::send() {
    return sendBuilt(m_connection, [](Shared::Token& t, Shared::TokenBuffer160& b) {
        return t.appendToken(KnownTokens::CLEAR, b);
    });
}

ErrorCode CmdNew::send(std::string_view file) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::NEW, b);
        if (!failed(e)) e = appendQuoted(t, file, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::EOX, b);
        return e;
    });
}

ErrorCode CmdDelete::send(std::string_view file, bool flag) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::DEL, b);
        if (!failed(e)) e = appendQuoted(t, file, b);
        if (!failed(e) && flag) e = t.appendValue(0.0, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::EOX, b);
        return e;
    });
}

ErrorCode CmdSelect::send(std::string_view file, unsigned fileType) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::SELECT, b);
        if (!failed(e)) e = appendQuoted(t, file, b);
        if (!failed(e) && fileType != 0) {
            e = t.appendToken(KnownTokens::COMMA, b);
            if (!failed(e)) e = t.appendValue(double(fileType), b);
        }
        return e;
    });
}

ErrorCode CmdSelect::readReply() {
    SelectReplyParser parser(m_reply, kReplySize);
    stStandardCmdReply reply{};
    return setError(stringReplyRead(m_connection, id(), parser, &reply));
}

ErrorCode CmdIsFile::send(std::string_view file) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::IS_PROG, b);
        return failed(e) ? e : appendQuoted(t, file, b);
    });
}

ErrorCode CmdIsFile::readReply() {
    const ErrorCode e = readStandardResponse(&m_value, nullptr);
    if (!failed(e) && m_exists)
        *m_exists = getResult();
    return setError(e);
}

ErrorCode CmdDir::send() {
    return sendBuilt(m_connection, [](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::DIR, b);
        return failed(e) ? e : appendQuoted(t, "B", b);
    });
}

ErrorCode CmdDir::readReply() {
    GuardedSink<Shared::FileInfoFn> sink(m_onFile);
    Shared::DirReplyParser<GuardedSink<Shared::FileInfoFn>> parser(sink);
    const ErrorCode e = readListing(m_connection, parser);
    return setError(sink.calls.result(e));
}

ErrorCode CmdProcess::send() {
    return sendBuilt(m_connection, [](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::PROCESS, b);
        return failed(e) ? e : appendQuoted(t, "X1", b);
    });
}

ErrorCode CmdProcess::readReply() {
    GuardedSink<Shared::ProcessInfoFn> sink(m_onProcess);
    Shared::ProcessReplyParser<GuardedSink<Shared::ProcessInfoFn>> parser(sink);
    const ErrorCode e = readListing(m_connection, parser);
    return setError(sink.calls.result(e));
}

// ---- program edits and file queries ----

ErrorCode CmdEdProg::send(std::string_view program, std::string_view line, int mode, std::optional<int> first,
                          std::optional<int> second) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::EDPROG1, b);
        if (!failed(e)) e = appendQuoted(t, program, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = appendQuoted(t, line, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = t.appendValue(double(mode), b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = t.appendValue(double(first.value_or(kNotGiven)), b);
        if (!failed(e)) e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e)) e = t.appendValue(double(second.value_or(kNotGiven)), b);
        return e;
    });
}

ErrorCode CmdFile::send(std::string_view first, std::string_view second, std::string_view third) {
    return sendBuilt(m_connection, [&](Shared::Token& t, Shared::TokenBuffer160& b) {
        ErrorCode e = t.appendToken(KnownTokens::FILE, b);
        if (!failed(e)) e = appendQuoted(t, first, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::SPACE, b);
        if (!failed(e)) e = appendQuoted(t, second, b);
        if (!failed(e)) e = t.appendToken(KnownTokens::SPACE, b);
        if (!failed(e)) e = appendQuoted(t, third, b);
        return e;
    });
}

} // namespace Vaxo::Ubrix::TCP
