// The token table, the known-token cache and token expressions (see Token.h).
#include "shared/protocol/Token.h"

#include "shared/transport/Port.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <string>

namespace Vaxo::Ubrix::Shared {

namespace {

// Marks a known token this controller does not have, so that later look-ups fail at once.
const TokenDef s_undefinedToken{};

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }
bool isNameChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A small cursor over a token expression.
struct Scanner {
    std::string_view text;
    std::size_t pos = 0;

    bool atEnd() const { return pos >= text.size(); }
    bool skipSpace() {
        std::size_t start = pos;
        while (!atEnd() && isSpace(text[pos]))
            ++pos;
        return pos != start;
    }
    std::string_view name() {
        std::size_t start = pos;
        while (!atEnd() && isNameChar(text[pos]))
            ++pos;
        return text.substr(start, pos - start);
    }
    bool accept(char c) {
        if (!atEnd() && text[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    }
    // "( digits )" with white space allowed inside.
    bool index(int& value) {
        if (!accept('('))
            return false;
        skipSpace();
        std::size_t start = pos;
        while (!atEnd() && isDigit(text[pos]))
            ++pos;
        if (pos == start)
            return false;
        unsigned long long v = 0;
        auto [ptr, ec] = std::from_chars(text.data() + start, text.data() + pos, v);
        (void)ptr;
        if (ec != std::errc() || v > static_cast<unsigned long long>(INT_MAX))
            return false;
        value = int(v);
        skipSpace();
        return accept(')');
    }
};

} // namespace

Token::Token(const EventCallback& eventLogger)
    : ControllerCapabilities(*this, eventLogger), m_eventLogger(eventLogger) {
    resetCachedTokens();
}

void Token::AddLogEvent(EventType type, std::uint64_t value, std::string_view text) const {
    if (m_eventLogger)
        m_eventLogger(type, value, text);
}

void Token::resetCachedTokens() {
    for (auto& entry : m_knownTokens)
        entry = nullptr;
    m_tokenTOKENTABLE.loadDefault();
    m_tokenZERO.loadDefault();
    m_tokenEXTENDED.loadDefault();
    m_tokenUNKNOWN.loadDefault();
    Reset();
}

ErrorCode Token::getToken(std::string_view name, const TokenDef*& out, char kind) const {
    out = m_map.find(name, kind);
    return out ? ErrorCode::Success : ErrorCode::NotSupported;
}

ErrorCode Token::getTokenCode(KnownTokens k, unsigned short& code) {
    if (unsigned(k) >= KnownTokens_Count)
        return ErrorCode::BadArgument;
    const TokenDef*& entry = m_knownTokens[unsigned(k)];
    if (entry == &s_undefinedToken)
        return ErrorCode::NotSupported;
    if (!entry) {
        const TokenDef* def = m_map.find(getKnownTokenName(k), getKnownTokenType(k));
        if (!def) {
            entry = &s_undefinedToken;
            return ErrorCode::NotSupported;
        }
        entry = def;
    }
    code = entry->code;
    return ErrorCode::Success;
}

ErrorCode Token::getTokenCode(std::string_view name, unsigned short& code, char kind) const {
    const TokenDef* def = m_map.find(name, kind);
    if (!def) {
        code = 0;
        return ErrorCode::NotSupported;
    }
    code = def->code;
    return ErrorCode::Success;
}

ErrorCode Token::adoptBuiltinCodes() {
    BuiltinTokenDef* builtins[] = {&m_tokenZERO, &m_tokenTOKENTABLE, &m_tokenEXTENDED, &m_tokenUNKNOWN};
    ErrorCode result = ErrorCode::Success;
    for (BuiltinTokenDef* b : builtins) {
        if (const TokenDef* def = m_map.find(b->name, b->defaultKind)) {
            b->code = def->code;
        } else if (result == ErrorCode::Success) {
            // Every controller table carries these; without one we cannot talk to it.
            AddLogEvent(EventType::Error, ErrorCode::TokenTable, "Token table has no " + b->name);
            result = ErrorCode::TokenTable;
        }
    }
    if (failed(result)) {
        for (BuiltinTokenDef* b : builtins)
            b->loadDefault();
    }
    return result;
}

ErrorCode Token::ReadTokenTable(Port& port, unsigned timeout) {
    resetCachedTokens();
    m_map.clear();

    TokenBuffer<160, 160> request;
    appendTokenCode(m_tokenTOKENTABLE.code, request);
    appendTokenCode(m_tokenZERO.code, request);
    if (ErrorCode e = port.Write(request.chars(), request.length()); failed(e)) {
        AddLogEvent(EventType::Error, e, "Error writing ReadTokenTable command");
        return e;
    }

    // One byte per read: the port's read-ahead makes that cheap, and nothing behind the end
    // marker is taken from the stream.
    TokenTableParser parser(m_map);
    for (std::uint64_t taken = 0;; ++taken) {
        if (taken == kMaxTableBytes)
            return ErrorCode::TokenTable;
        char c;
        if (ErrorCode e = port.Read(&c, 1, timeout); failed(e)) {
            AddLogEvent(EventType::Error, e, "Error reading ReadTokenTable response from controller");
            return e;
        }
        if (parser.feed(c))
            break;
    }
    if (!parser.done())
        return ErrorCode::TokenTable;
    return adoptBuiltinCodes();
}

ErrorCode Token::LoadTokenTable(std::string_view table) {
    resetCachedTokens();
    m_map.clear();
    TokenTableParser parser(m_map);
    parser.feed(table.data(), table.size());
    if (!parser.done())
        return ErrorCode::TokenTable;
    return adoptBuiltinCodes();
}

ErrorCode replyStatus(double number, unsigned short& status) {
    status = 0;
    if (!std::isfinite(number))
        return ErrorCode::BadResponse;
    const double whole = std::trunc(number);
    if (whole < 0.0 || whole > 65535.0)
        return ErrorCode::BadResponse;
    status = static_cast<unsigned short>(whole);
    return controllerError(status);
}

ErrorCode writeAckStatus(double number) {
    if (!std::isfinite(number))
        return ErrorCode::BadResponse;
    const double rounded = std::floor(number + 0.5);
    if (rounded < 0.0 || rounded > 4294967295.0)
        return ErrorCode::BadResponse;
    const auto status = static_cast<std::uint32_t>(rounded);
    return status == 0 ? ErrorCode::Success : ErrorCode(0x0400000000ull | status);
}

ErrorCode Token::GetResponse(double* value, Port& port, unsigned timeout) {
    double v = 0.0;
    if (ErrorCode e = ReadNumber(v, port, timeout); failed(e))
        return e;
    if (value)
        *value = v;
    double s = 0.0;
    if (ErrorCode e = ReadNumber(s, port, timeout); failed(e))
        return e;
    return writeAckStatus(s);
}

ErrorCode Token::logBadArgument(std::string_view text) const {
    AddLogEvent(EventType::Error, ErrorCode::BadArgument, text);
    return ErrorCode::BadArgument;
}

void Token::logUndefinedSystemVariable(ErrorCode e, std::string_view name) const {
    std::string text("Undefined system variable: ");
    text.append(name);
    AddLogEvent(EventType::Error, e, text);
}

ErrorCode Token::SplitTokenExpression(std::string_view expr, const TokenDef*& main, const TokenDef*& modifier,
                                      int& index, bool& hasIndex) {
    main = nullptr;
    modifier = nullptr;
    index = 0;
    hasIndex = false;

    Scanner s{expr};
    s.skipSpace();
    std::string_view mainName = s.name();
    std::string_view modifierName;
    bool ok = !mainName.empty();
    if (ok) {
        const bool spaced = s.skipSpace();
        if (s.atEnd()) {
            // NAME alone
        } else if (s.text[s.pos] == '(') {
            ok = s.index(index);
            hasIndex = ok;
        } else if (spaced) {
            modifierName = s.name();
            ok = !modifierName.empty();
            if (ok) {
                s.skipSpace();
                ok = s.index(index);
                hasIndex = ok;
            }
        } else {
            ok = false;
        }
        if (ok) {
            s.skipSpace();
            ok = s.atEnd();
        }
    }
    if (!ok) {
        hasIndex = false;
        index = 0;
        std::string text("Expected expression of type 'TOKEN MODIFIER(index)' or 'TOKEN(index)' parsing ");
        text.append(expr);
        AddLogEvent(EventType::Error, ErrorCode::BadArgument, text);
        return ErrorCode::BadArgument;
    }

    if (ErrorCode e = getToken(mainName, main, 0); failed(e)) {
        std::string text("Main token not found while parsing ");
        text.append(expr);
        AddLogEvent(EventType::Error, e, text);
        return e;
    }
    if (!modifierName.empty()) {
        if (ErrorCode e = getToken(modifierName, modifier, 'M'); failed(e))
            return e;
    }
    return ErrorCode::Success;
}

bool Tokens_CheckIntegrity() {
    for (unsigned i = 0; i < KnownTokens_Count; ++i) {
        if (unsigned(_token_names[i].token) != i)
            return false;
    }
    return true;
}

} // namespace Vaxo::Ubrix::Shared
