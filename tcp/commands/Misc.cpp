// Request encoders and reply readers of the scope, trigger, position-switch, registration,
// frame-group and project-key commands.
#include "tcp/commands/Misc.h"

#include "shared/protocol/TokenLists.h"

namespace Vaxo::Ubrix::TCP {

// ---------------------------------------------------------------- MiscRequest

MiscRequest::MiscRequest(Shared::Token& token, KnownTokens command) : m_token(token) {
    m_error = m_token.appendToken(command, m_buffer);
}

bool MiscRequest::separator() {
    if (failed(m_error))
        return false;
    if (m_closed) { // an item after the list was closed is a bug of the caller
        m_error = ErrorCode::BadArgument;
        return false;
    }
    m_error = m_token.appendToken(m_open ? KnownTokens::COMMA : KnownTokens::OPENBRACKETS, m_buffer);
    m_open = true;
    return !failed(m_error);
}

void MiscRequest::close() {
    if (failed(m_error) || m_closed)
        return;
    m_closed = true;
    if (m_open)
        m_error = m_token.appendToken(KnownTokens::CLOSEBRACKETS, m_buffer);
}

MiscRequest& MiscRequest::number(double v) {
    if (separator())
        m_error = m_token.appendValue(v, m_buffer);
    return *this;
}

MiscRequest& MiscRequest::numbers(const double* values, unsigned count) {
    if (!failed(m_error) && (values == nullptr || count == 0))
        m_error = ErrorCode::BadArgument;
    for (unsigned i = 0; i < count && !failed(m_error); ++i)
        number(values[i]);
    return *this;
}

MiscRequest& MiscRequest::text(std::string_view s) {
    if (failed(m_error))
        return *this;
    unsigned short quotes = 0;
    if (m_error = m_token.getTokenCode(KnownTokens::QUOTES, quotes); failed(m_error))
        return *this;
    // The controller ends the text at the first QUOTES code.
    if (quotes < 256 && s.find(char(quotes)) != std::string_view::npos) {
        m_error = ErrorCode::BadArgument;
        return *this;
    }
    if (!separator())
        return *this;
    m_error = m_token.appendToken(KnownTokens::QUOTES, m_buffer);
    if (!failed(m_error))
        m_error = m_token.appendString(s, m_buffer);
    if (!failed(m_error))
        m_error = m_token.appendToken(KnownTokens::QUOTES, m_buffer);
    return *this;
}

MiscRequest& MiscRequest::indices(const unsigned int* values, unsigned count) {
    if (!failed(m_error) && (values == nullptr || count == 0))
        m_error = ErrorCode::BadArgument;
    if (separator())
        m_error = Shared::appendIndices(values, count, m_token, m_buffer);
    return *this;
}

MiscRequest& MiscRequest::parameter(unsigned int knownToken) {
    if (failed(m_error))
        return *this;
    const auto k = KnownTokens(knownToken);
    if (knownToken >= Shared::KnownTokens_Count || Shared::getKnownTokenType(k) != 'V') {
        m_error = ErrorCode::BadArgument;
        return *this;
    }
    unsigned short code = 0;
    if (m_error = m_token.getTokenCode(k, code); failed(m_error))
        return *this;
    if (separator())
        m_error = m_token.appendToken_SystemVariable(m_buffer, code);
    return *this;
}

MiscRequest& MiscRequest::axis(int axis) {
    close();
    if (failed(m_error) || axis < 0)
        return *this;
    m_error = m_token.appendToken(KnownTokens::MODIFIER, m_buffer);
    if (!failed(m_error)) m_error = m_token.appendToken(KnownTokens::AXIS, m_buffer);
    if (!failed(m_error)) m_error = m_token.appendToken(KnownTokens::OPENBRACKETS, m_buffer);
    if (!failed(m_error)) m_error = m_token.appendValue(double(axis), m_buffer);
    if (!failed(m_error)) m_error = m_token.appendToken(KnownTokens::CLOSEBRACKETS, m_buffer);
    return *this;
}

ErrorCode MiscRequest::finish() {
    close();
    if (!failed(m_error))
        m_error = m_token.appendZeroToken(m_buffer);
    return m_error;
}

ErrorCode CmdMiscAck::sendRequest(MiscRequest& request) {
    if (ErrorCode e = request.finish(); failed(e))
        return e;
    return m_connection.sendTokenbuffer(request.buffer());
}

// ---------------------------------------------------------------- scope and trigger

namespace {
constexpr double kOn = 1;
constexpr double kOff = 0;

// The header shared by the capture forms: ( 1 , period , start , end
ErrorCode scopeHeader(MiscRequest& r, int period, unsigned tableStart, unsigned tableEnd) {
    if (period < 1 || tableEnd < tableStart)
        return ErrorCode::BadArgument;
    r.number(kOn).number(period).number(tableStart).number(tableEnd);
    return r.error();
}
} // namespace

ErrorCode CmdScope::sendOn(int period) {
    if (period == 0)
        return ErrorCode::BadArgument;
    MiscRequest r(m_connection.token(), KnownTokens::SCOPE);
    r.number(kOn);
    if (period >= 0)
        r.number(period);
    return sendRequest(r);
}

ErrorCode CmdScope::sendOnVr(int period, unsigned tableStart, unsigned tableEnd, const unsigned* vrs, unsigned count) {
    MiscRequest r(m_connection.token(), KnownTokens::SCOPE);
    if (ErrorCode e = scopeHeader(r, period, tableStart, tableEnd); failed(e))
        return e;
    r.indices(vrs, count);
    return sendRequest(r);
}

ErrorCode CmdScope::sendOnAxisParameter(int period, unsigned tableStart, unsigned tableEnd, unsigned parameter,
                                        const unsigned* axes, unsigned count) {
    MiscRequest r(m_connection.token(), KnownTokens::SCOPE);
    if (ErrorCode e = scopeHeader(r, period, tableStart, tableEnd); failed(e))
        return e;
    r.parameter(parameter).indices(axes, count);
    return sendRequest(r);
}

ErrorCode CmdScope::sendOff() {
    MiscRequest r(m_connection.token(), KnownTokens::SCOPE);
    r.number(kOff);
    return sendRequest(r);
}

ErrorCode CmdTrigger::send() {
    MiscRequest r(m_connection.token(), KnownTokens::TRIGGER);
    return sendRequest(r);
}

// ---------------------------------------------------------------- position switches

ErrorCode CmdPSwitch::send(int sw, int output, int state, double setPosition, double resetPosition, int axis) {
    const double positions[2] = {setPosition, resetPosition};
    return sendMulti(sw, output, state, positions, 2, axis);
}

ErrorCode CmdPSwitch::sendMulti(int sw, int output, int state, const double* positions, unsigned count, int axis) {
    if (sw < 0 || positions == nullptr || count == 0 || count % 2 != 0)
        return ErrorCode::BadArgument;
    MiscRequest r(m_connection.token(), KnownTokens::PSWITCH);
    r.number(sw).number(kOn).number(output).number(state).numbers(positions, count).axis(axis);
    return sendRequest(r);
}

ErrorCode CmdPSwitch::sendOff(int sw) {
    if (sw < 0)
        return ErrorCode::BadArgument;
    MiscRequest r(m_connection.token(), KnownTokens::PSWITCH);
    r.number(sw).number(kOff);
    return sendRequest(r);
}

// ---------------------------------------------------------------- registration

ErrorCode CmdRegist::send(int mode, int axis) {
    MiscRequest r(m_connection.token(), KnownTokens::REGIST);
    r.number(mode).axis(axis);
    return sendRequest(r);
}

ErrorCode CmdRegist::send(int mode, int channel, int source, int edge, int window, double openPosition,
                          double closePosition, int axis) {
    const double values[7] = {double(mode), double(channel), double(source), double(edge),
                              double(window), openPosition, closePosition};
    unsigned count = 7;
    if (window <= 0)
        count = 5; // no window: its positions mean nothing
    if (window < 0)
        count = 4; // the controller's default window setting
    MiscRequest r(m_connection.token(), KnownTokens::REGIST);
    r.numbers(values, count).axis(axis);
    return sendRequest(r);
}

// ---------------------------------------------------------------- frame groups

ErrorCode CmdFrameGroup::send(MiscRequest& request) {
    if (ErrorCode e = request.finish(); failed(e))
        return e;
    return m_connection.sendTokenbuffer(request.buffer());
}

ErrorCode CmdFrameGroup::sendRead(unsigned group) {
    MiscRequest r(m_connection.token(), KnownTokens::FRAME_GROUP);
    r.number(group);
    return send(r);
}

ErrorCode CmdFrameGroup::sendSet(unsigned group, unsigned tableIndex, const int* axes, unsigned count) {
    if (axes == nullptr || count == 0)
        return ErrorCode::BadArgument;
    MiscRequest r(m_connection.token(), KnownTokens::FRAME_GROUP);
    r.number(group).number(tableIndex);
    for (unsigned i = 0; i < count; ++i) {
        if (axes[i] < 0)
            return ErrorCode::BadArgument;
        r.number(axes[i]);
    }
    return send(r);
}

ErrorCode CmdFrameGroup::sendDelete(unsigned group) {
    MiscRequest r(m_connection.token(), KnownTokens::FRAME_GROUP);
    r.number(group).number(-1);
    return send(r);
}

ErrorCode CmdFrameGroup::readReply() {
    if (m_data == nullptr)
        return setError(readStandardResponse(nullptr, nullptr));
    return setError(readGroup());
}

ErrorCode CmdFrameGroup::ignoreLine() {
    const unsigned timeout = m_connection.commandTimeout();
    char byte = 0;
    do {
        if (ErrorCode e = m_connection.ReadBytes(&byte, 1, timeout); failed(e))
            return e;
    } while (byte != '\n');
    return ErrorCode::Success;
}

ErrorCode CmdFrameGroup::readGroup() {
    const unsigned timeout = m_connection.commandTimeout();
    m_parser.Start(m_data);
    bool first = true;
    while (!m_parser.IsDone()) {
        char byte = 0;
        if (ErrorCode e = m_connection.ReadBytes(&byte, 1, timeout); failed(e))
            return e;
        if (first && !(byte >= '0' && byte <= '9')) {
            // Not a listing: the controller refused the request with a standard response.
            if (ErrorCode e = m_connection.UnReadBytes(&byte, 1); failed(e))
                return e;
            const ErrorCode e = readStandardResponse(nullptr, nullptr);
            return failed(e) ? e : ErrorCode::BadResponse;
        }
        first = false;
        std::uint32_t consumed = 0;
        if (ErrorCode e = m_parser.Feed(&byte, 1, consumed); failed(e)) {
            // An array too small leaves the link in step: the rest of the line is dropped.
            if (e == ErrorCode::BufferTooSmall && byte != '\n')
                if (ErrorCode d = ignoreLine(); failed(d))
                    return d;
            return e;
        }
    }
    if (m_parser.LastChar() != '\n')
        return ignoreLine();
    return ErrorCode::Success;
}

// ---------------------------------------------------------------- project keys

ErrorCode CmdProjectKey::send(std::string_view key) {
    MiscRequest r(m_connection.token(), KnownTokens::PROJECT_KEY);
    r.text(key);
    return sendRequest(r);
}

ErrorCode CmdProjectKeyRegistry::send(Function function, std::string_view name, std::string_view key) {
    MiscRequest r(m_connection.token(), KnownTokens::PROJECT_KEY_REGISTRY);
    r.number(function);
    if (function == Store || function == Use)
        r.text(name);
    if (function == Store)
        r.text(key);
    if (ErrorCode e = r.finish(); failed(e))
        return e;
    return m_connection.sendTokenbuffer(r.buffer());
}

ErrorCode CmdProjectKeyRegistry::readReply() {
    if (m_text == nullptr)
        return setError(readStandardResponse(nullptr, nullptr));
    return readReplyToString(*m_text);
}

} // namespace Vaxo::Ubrix::TCP
