// Request encoders and reply decoders of the parameter-block commands.
#include "tcp/commands/ParamBlocks.h"

#include <cmath>

#include "shared/parsers/FromChars.h"
#include "shared/prmblk/PrmBlkReply.h"

namespace Vaxo::Ubrix::TCP {

using Shared::trimSpace;

// ---- CmdPrmBlk ----

ErrorCode CmdPrmBlk::begin(Buffer& b, double first) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = t.appendToken(KnownTokens::PRMBLK, b); failed(e))
        return e;
    if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, b); failed(e))
        return e;
    return t.appendValue(first, b);
}

ErrorCode CmdPrmBlk::item(Buffer& b, double v) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = t.appendToken(KnownTokens::COMMA, b); failed(e))
        return e;
    return t.appendValue(v, b);
}

ErrorCode CmdPrmBlk::finish(Buffer& b) {
    Shared::Token& t = m_connection.token();
    if (ErrorCode e = t.appendToken(KnownTokens::CLOSEBRACKETS, b); failed(e))
        return e;
    if (ErrorCode e = t.appendZeroToken(b); failed(e))
        return e;
    return m_connection.sendTokenbuffer(b);
}

bool CmdPrmBlk::checkBlockOk(int block) {
    return block >= 0 && unsigned(block) < m_connection.prmblk().maxPrmBlkCount();
}

ErrorCode CmdPrmBlk::sendDeleteBlock(int block) {
    Buffer b;
    if (block < 0) {
        if (ErrorCode e = begin(b, 9); failed(e))
            return e;
    } else {
        if (ErrorCode e = begin(b, 8); failed(e))
            return e;
        if (ErrorCode e = item(b, block); failed(e))
            return e;
    }
    return finish(b);
}

ErrorCode CmdPrmBlk::sendFetchValues(int block, bool changed) {
    m_expectText = true;
    Buffer b;
    if (ErrorCode e = begin(b, changed ? 4 : 3); failed(e))
        return e;
    if (ErrorCode e = item(b, block); failed(e))
        return e;
    return finish(b);
}

ErrorCode CmdPrmBlk::readReplyText() {
    // Read through the port's buffer one byte at a time: a fetch reply of many values arrives
    // in a few segments, and a socket read per byte would cost more than the whole exchange.
    m_reply.reset();
    const unsigned timeout = m_connection.commandTimeout();
    char c = 0;
    while (!m_reply.done()) {
        std::uint32_t consumed = 0;
        ErrorCode e = m_connection.ReadBytes(&c, 1, timeout);
        if (!failed(e))
            e = m_reply.feedData(&c, 1, consumed);
        if (failed(e))
            return e;
    }
    // The 0x00 is the first byte of the standard response.
    if (ErrorCode e = m_connection.UnReadBytes(&c, 1); failed(e))
        return e;
    return readStandardResponse(&m_value, nullptr);
}

ErrorCode CmdPrmBlk::readReply() {
    return setError(m_expectText ? readReplyText() : readStandardResponse(&m_value, nullptr));
}

// ---- CmdPrmBlk_ReadSupport ----

ErrorCode CmdPrmBlk_ReadSupport::send(unsigned query) {
    Buffer b;
    if (ErrorCode e = begin(b, query); failed(e))
        return e;
    return finish(b);
}

ErrorCode CmdPrmBlk_ReadSupport::readReply() {
    const ErrorCode e = CmdPrmBlk::readReply();
    if (m_result)
        *m_result = failed(e) ? 0 : result();
    return e;
}

unsigned CmdPrmBlk_ReadSupport::result() const {
    const double v = m_value;
    if (!(v >= 0) || v > 4294967295.0 || v != std::floor(v))
        return 0;
    return unsigned(v);
}

// ---- CmdPrmBlk_Define ----

ErrorCode CmdPrmBlk_Define::sendDefineNumeric(int m, int block, int code, const unsigned* indices, unsigned count) {
    if (!indices || count == 0 || !checkBlockOk(block))
        return ErrorCode::BadArgument;
    Buffer b;
    if (ErrorCode e = begin(b, m); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    if (ErrorCode e = item(b, code); failed(e)) return e;
    if (ErrorCode e = m_connection.token().appendToken(KnownTokens::COMMA, b); failed(e)) return e;
    if (ErrorCode e = appendIndexRuns(m_connection.token(), b, indices, count); failed(e)) return e;
    return finish(b);
}

ErrorCode CmdPrmBlk_Define::sendDefineVr(int m, int block, const unsigned* indices, unsigned count) {
    return sendDefineNumeric(m, block, Shared::paramBlockWireCode(ParamBlockType::PrmBlkVr), indices, count);
}

ErrorCode CmdPrmBlk_Define::sendDefineTable(int m, int block, const unsigned* indices, unsigned count) {
    return sendDefineNumeric(m, block, Shared::paramBlockWireCode(ParamBlockType::PrmBlkTable), indices, count);
}

ErrorCode CmdPrmBlk_Define::appendName(Buffer& b, std::string_view name) {
    Shared::Token& t = m_connection.token();
    const auto open = name.find('(');
    if (open == std::string_view::npos)
        return t.appendToken_SystemVariable(b, trimSpace(name));
    // NAME(n): the variable, then ( n ).
    const std::string_view head = trimSpace(name.substr(0, open));
    std::string_view rest = name.substr(open + 1);
    const auto close = rest.find(')');
    if (head.empty() || close == std::string_view::npos || !trimSpace(rest.substr(close + 1)).empty())
        return ErrorCode::BadArgument;
    unsigned index = 0;
    if (failed(Shared::from_chars(trimSpace(rest.substr(0, close)), index)))
        return ErrorCode::BadArgument;
    if (ErrorCode e = t.appendToken_SystemVariable(b, head); failed(e))
        return e;
    if (ErrorCode e = t.appendToken(KnownTokens::OPENBRACKETS, b); failed(e))
        return e;
    if (ErrorCode e = t.appendValue(double(index), b); failed(e))
        return e;
    return t.appendToken(KnownTokens::CLOSEBRACKETS, b);
}

template <class Name>
ErrorCode CmdPrmBlk_Define::sendProgVar(int m, int block, std::string_view program, int qualifier,
                                        const Name* names, unsigned count) {
    if (!names || count == 0 || program.empty() || !checkBlockOk(block))
        return ErrorCode::BadArgument;
    for (unsigned i = 0; i < count; ++i)
        if (Shared::isEmpty(names[i]))
            return ErrorCode::BadArgument;
    Shared::Token& t = m_connection.token();
    Buffer b;
    auto quoted = [&](std::string_view text) {
        if (ErrorCode e = t.appendToken(KnownTokens::COMMA, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::QUOTES, b); failed(e)) return e;
        if (ErrorCode e = t.appendString(text, b); failed(e)) return e;
        if (ErrorCode e = t.appendToken(KnownTokens::QUOTES, b); failed(e)) return e;
        return t.appendToken(KnownTokens::EOX, b);
    };
    if (ErrorCode e = begin(b, m); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    if (ErrorCode e = item(b, Shared::paramBlockWireCode(ParamBlockType::PrmBlkProgVar)); failed(e)) return e;
    if (ErrorCode e = quoted(program); failed(e)) return e;
    if (ErrorCode e = item(b, qualifier); failed(e)) return e;
    for (unsigned i = 0; i < count; ++i)
        if (ErrorCode e = quoted(std::string_view(names[i])); failed(e))
            return e;
    return finish(b);
}

ErrorCode CmdPrmBlk_Define::sendDefineProgVar(int m, int block, std::string_view program, int qualifier,
                                              const std::string_view* names, unsigned count) {
    return sendProgVar(m, block, program, qualifier, names, count);
}

ErrorCode CmdPrmBlk_Define::sendDefineProgVar(int m, int block, std::string_view program, int qualifier,
                                              const char* const* names, unsigned count) {
    return sendProgVar(m, block, program, qualifier, names, count);
}

ErrorCode CmdPrmBlk_Define::sendDefineIO(int m, int block, const Shared::Range* ranges, unsigned count) {
    if (!ranges || count == 0 || !checkBlockOk(block))
        return ErrorCode::BadArgument;
    for (unsigned i = 0; i < count; ++i)
        if (ranges[i].count > 64)
            return ErrorCode::OutOfRange;
    Buffer b;
    if (ErrorCode e = begin(b, m); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    if (ErrorCode e = item(b, Shared::paramBlockWireCode(ParamBlockType::PrmBlkIO)); failed(e)) return e;
    for (unsigned i = 0; i < count; ++i) {
        if (ErrorCode e = item(b, ranges[i].first); failed(e)) return e;
        if (ErrorCode e = item(b, double(ranges[i].first) + double(ranges[i].count)); failed(e)) return e;
    }
    return finish(b);
}

// ---- CmdPrmBlk_FetchNumeric ----

ErrorCode CmdPrmBlk_FetchNumeric::sendFetchValues(int block, bool changed, const int* axes, unsigned axisCount,
                                                  const Shared::Range* ranges, unsigned rangeCount) {
    m_expectText = true;
    Shared::Token& t = m_connection.token();
    Buffer b;
    if (ErrorCode e = begin(b, changed ? 4 : 3); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    for (unsigned i = 0; axes && i < axisCount; ++i)
        if (ErrorCode e = item(b, axes[i]); failed(e)) return e;
    for (unsigned i = 0; ranges && i < rangeCount; ++i) {
        if (ranges[i].count == 0)
            continue;
        if (ErrorCode e = item(b, ranges[i].first); failed(e)) return e;
        if (ranges[i].count > 1) {
            if (ErrorCode e = t.appendToken(KnownTokens::RANGE, b); failed(e)) return e;
            if (ErrorCode e = t.appendValue(double(ranges[i].first) + double(ranges[i].count) - 1, b); failed(e))
                return e;
        }
    }
    return finish(b);
}

ErrorCode CmdPrmBlk_FetchNumeric::sendFetchValues(int block, bool changed, bool flag) {
    m_expectText = true;
    Buffer b;
    if (ErrorCode e = begin(b, changed ? 4 : 3); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    if (ErrorCode e = item(b, flag ? 1 : 0); failed(e)) return e;
    return finish(b);
}

ErrorCode CmdPrmBlk_FetchNumeric::readReply() {
    if (ErrorCode e = setError(readReplyText()); failed(e))
        return e;
    return setError(m_isWords ? Shared::decodePrmBlkValues(text(), m_words) : Shared::decodePrmBlkValues(text(), m_doubles));
}

// ---- CmdPrmBlk_FetchVariant ----

ErrorCode CmdPrmBlk_FetchVariant::readReplyVariantValues() {
    if (ErrorCode e = readReplyText(); failed(e))
        return e;
    return Shared::decodePrmBlkTexts(text(), m_values, m_blockSize, m_mask);
}

} // namespace Vaxo::Ubrix::TCP
