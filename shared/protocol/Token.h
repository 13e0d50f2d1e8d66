// One connection's view of the controller's token table: the records read at connect time,
// the built-in codes used before (and as fallback for) the table, the cache of the library's
// known tokens, and the element encoders that write requests into token buffers. Token is also
// the controller's capability record (it derives from ControllerCapabilities).
//
// Token has no lock of its own: the table is read at connect, and encoding runs under the
// command engine's send lock, which also guards the cache.
#pragma once

#include "shared/protocol/ControllerCapabilities.h"
#include "shared/protocol/KnownTokens.h"
#include "shared/protocol/TokenBuffer.h"
#include "shared/protocol/TokenMapByName.h"
#include "shared/protocol/TokenTableParser.h"

#include <vaxo/Types.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

class Port;

// The status number of a standard response: truncated toward zero to a 16-bit status; 0 is
// success, any other status the controller error 0x400000000 | status. A number that is not
// finite, or whose whole part lies outside 0..65535, cannot be a status: BadResponse.
ErrorCode replyStatus(double number, unsigned short& status);

// The status of the value-and-status reply to a VR or parameter write: rounded to the nearest
// whole number (x + 0.5, floored) and kept to 32 bits; 0 is success, any other status the
// controller error 0x400000000 | status. A number that is not finite, or that rounds outside
// 0..0xFFFFFFFF, cannot be a status: BadResponse.
ErrorCode writeAckStatus(double number);

class Token : public ControllerCapabilities {
public:
    using TokenDef = Shared::TokenDef;

    // A built-in definition: known before the table is read, overwritten by the table's code.
    struct BuiltinTokenDef : TokenDef {
        BuiltinTokenDef(std::string_view name, char kind, std::uint16_t code)
            : defaultKind(kind), defaultCode(code) {
            this->name.assign(name);
            loadDefault();
        }
        void loadDefault() {
            kind = defaultKind;
            code = defaultCode;
        }
        char defaultKind;
        std::uint16_t defaultCode;
    };
    struct TokenTOKENTABLE : BuiltinTokenDef {
        TokenTOKENTABLE() : BuiltinTokenDef("TOKENTABLE", 'C', 0) {}
    };
    struct TokenZERO : BuiltinTokenDef {
        TokenZERO() : BuiltinTokenDef("ZERO", 'S', 200) {}
    };
    struct TokenEXTENDED : BuiltinTokenDef {
        TokenEXTENDED() : BuiltinTokenDef("EXTENDED_TOKEN", 'S', 255) {}
    };
    struct TokenUNKNOWN : BuiltinTokenDef {
        TokenUNKNOWN() : BuiltinTokenDef("UNKNOWN", 'S', 57) {}
    };

    // The callback is the connection's, held by reference; it must outlive the Token.
    explicit Token(const EventCallback& eventLogger);
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;

    // Empties the known-token cache, restores the built-in codes and the capability defaults.
    void resetCachedTokens();

    // The most bytes a table may take before its end marker. No controller's table comes near
    // it; a controller that never ends its table is refused with TokenTable.
    static constexpr std::uint64_t kMaxTableBytes = 1u << 20;

    // Requests the controller's table and parses it. The previous table is dropped first, so a
    // reconnect never resolves names against another controller's records. Only a silence of
    // `timeout` fails the read (each byte waits at most that long); a slow but steady table
    // takes as long as it takes, up to kMaxTableBytes.
    ErrorCode ReadTokenTable(Port& port, unsigned timeout);
    // The same, for a table that is already at hand: parses it and takes the built-in codes
    // from it. TokenTable when the end marker is missing or the table lacks a built-in name.
    ErrorCode LoadTokenTable(std::string_view table);

    ErrorCode getToken(std::string_view name, const TokenDef*& out, char kind) const;
    ErrorCode getToken_Variable(std::string_view name, const TokenDef*& out) const {
        return getToken(name, out, 'V');
    }
    ErrorCode getTokenCode(KnownTokens k, unsigned short& code);
    ErrorCode getTokenCode(std::string_view name, unsigned short& code, char kind) const;
    bool hasToken(KnownTokens k) {
        unsigned short code;
        return getTokenCode(k, code) == ErrorCode::Success;
    }
    static std::string_view getKnownTokenName(KnownTokens k) { return Shared::getKnownTokenName(k); }
    static char getKnownTokenType(KnownTokens k) { return Shared::getKnownTokenType(k); }

    unsigned short tokenUnknownCode() const { return m_tokenUNKNOWN.code; }
    unsigned short tokenExtendedCode() const { return m_tokenEXTENDED.code; }
    unsigned short tokenZeroCode() const { return m_tokenZERO.code; }
    unsigned short tokenTableCode() const { return m_tokenTOKENTABLE.code; }
    std::size_t tableSize() const { return m_map.size(); }

    ControllerCapabilities& controllerCapabilities() { return *this; }
    const ControllerCapabilities& controllerCapabilities() const { return *this; }

    // The value-and-status reply of a write: a value, then a status read by writeAckStatus.
    ErrorCode GetResponse(double* value, Port& port, unsigned timeout);

    void AddLogEvent(EventType type, std::uint64_t value, std::string_view text) const;
    void AddLogEvent(EventType type, ErrorCode code, std::string_view text) const {
        AddLogEvent(type, std::uint64_t(code), text);
    }

    // "NAME", "NAME(index)" or "NAME MODIFIER(index)", white space allowed around each part.
    // The main name is looked up with any kind, the modifier with kind 'M'.
    ErrorCode SplitTokenExpression(std::string_view expr, const TokenDef*& main, const TokenDef*& modifier,
                                   int& index, bool& hasIndex);

    // ---- element encoders: an error leaves what was appended before it in place ----

    // One byte below the EXTENDED_TOKEN code E; otherwise E and then code - E.
    template <class Buffer>
    ErrorCode appendTokenCode(unsigned short code, Buffer& buffer) const {
        const unsigned short extended = m_tokenEXTENDED.code;
        if (code < extended) {
            buffer.append(static_cast<unsigned char>(code));
        } else {
            const unsigned char bytes[2] = {static_cast<unsigned char>(extended),
                                            static_cast<unsigned char>(code - extended)};
            buffer.append(bytes, 2);
        }
        return ErrorCode::Success;
    }
    template <class Buffer>
    ErrorCode appendToken(KnownTokens k, Buffer& buffer) {
        unsigned short code;
        if (ErrorCode e = getTokenCode(k, code); failed(e))
            return e;
        return appendTokenCode(code, buffer);
    }
    template <class Buffer>
    ErrorCode appendToken(const TokenDef* def, Buffer& buffer) const {
        if (!def)
            return ErrorCode::BadArgument;
        return appendTokenCode(def->code, buffer);
    }
    template <class Buffer>
    ErrorCode appendToken(std::string_view name, char kind, Buffer& buffer) const {
        const TokenDef* def;
        if (ErrorCode e = getToken(name, def, kind); failed(e))
            return e;
        return appendTokenCode(def->code, buffer);
    }
    // The end of every command request.
    template <class Buffer>
    ErrorCode appendZeroToken(Buffer& buffer) const {
        return appendTokenCode(m_tokenZERO.code, buffer);
    }
    template <class Buffer>
    ErrorCode appendByte(unsigned char b, Buffer& buffer) const {
        buffer.append(b);
        return ErrorCode::Success;
    }
    // NUMBER, the value in this controller's format, EOX.
    template <class Buffer>
    ErrorCode appendValue(double v, Buffer& buffer) {
        if (ErrorCode e = appendToken(KnownTokens::NUMBER, buffer); failed(e))
            return e;
        if (ErrorCode e = StoreNumber(v, buffer); failed(e))
            return e;
        return appendToken(KnownTokens::EOX, buffer);
    }
    // The text's bytes as they stand: no terminator, no quotes.
    template <class Buffer>
    ErrorCode appendString(std::string_view text, Buffer& buffer) const {
        buffer.append(reinterpret_cast<const unsigned char*>(text.data()), unsigned(text.size()));
        return ErrorCode::Success;
    }
    template <class Buffer>
    ErrorCode appendString(const char* text, Buffer& buffer) const {
        return appendString(std::string_view(text ? text : ""), buffer);
    }
    template <class Buffer>
    ErrorCode appendString(const char* text, unsigned length, Buffer& buffer) const {
        return appendString(std::string_view(text, text ? length : 0), buffer);
    }

    // A system variable by code, in whichever prefix scheme this controller takes:
    // - SYSTEMVARIABLE16, low byte, high byte when the controller has that token;
    // - SYSTEMVARIABLE + code (< 256) or SYSTEMVARIABLE2 + code - 256 (< 512) as the first
    //   element of a request, or always when the bodge is off;
    // - otherwise SYSTEMVARIABLE, the low byte, and the high byte written as a token code.
    template <class Buffer>
    ErrorCode appendToken_SystemVariable(Buffer& buffer, unsigned short code) {
        const unsigned char low = static_cast<unsigned char>(code & 0xFF);
        const unsigned char high = static_cast<unsigned char>(code >> 8);
        if (Is16bitSysVarsToken()) {
            if (ErrorCode e = appendToken(KnownTokens::SYSTEMVARIABLE16, buffer); failed(e))
                return e;
            buffer.append(low);
            buffer.append(high);
            return ErrorCode::Success;
        }
        if (buffer.empty() || !Is16bitSysVarsBodge()) {
            if (code <= 255) {
                if (ErrorCode e = appendToken(KnownTokens::SYSTEMVARIABLE, buffer); failed(e))
                    return e;
                buffer.append(low);
                return ErrorCode::Success;
            }
            if (code <= 511) {
                if (ErrorCode e = appendToken(KnownTokens::SYSTEMVARIABLE2, buffer); failed(e))
                    return e;
                buffer.append(static_cast<unsigned char>(code - 256));
                return ErrorCode::Success;
            }
            return ErrorCode::Remote_TokenBuffer;
        }
        if (ErrorCode e = appendToken(KnownTokens::SYSTEMVARIABLE, buffer); failed(e))
            return e;
        buffer.append(low);
        return appendTokenCode(high, buffer);
    }
    template <class Buffer>
    ErrorCode appendToken_SystemVariable(Buffer& buffer, std::string_view name) {
        const TokenDef* def;
        if (ErrorCode e = getToken(name, def, 'V'); failed(e)) {
            logUndefinedSystemVariable(e, name);
            return e;
        }
        return appendToken_SystemVariable(buffer, def->code);
    }

    // "VAR", "VAR MODIFIER(i)" or "COMMAND(i)", encoded by the kinds of its tokens.
    template <class Buffer>
    ErrorCode appendTokenWithModifierOrIndexer(Buffer& buffer, std::string_view expr) {
        const TokenDef* main = nullptr;
        const TokenDef* modifier = nullptr;
        int index = 0;
        bool hasIndex = false;
        if (ErrorCode e = SplitTokenExpression(expr, main, modifier, index, hasIndex); failed(e))
            return e;
        if (modifier) {
            if (modifier->kind != 'M')
                return logBadArgument("Unexpected token for modifier");
            if (main->kind != 'V')
                return logBadArgument("Expecting system variable token with modifier");
            if (ErrorCode e = appendToken_SystemVariable(buffer, main->code); failed(e))
                return e;
            if (ErrorCode e = appendToken(KnownTokens::MODIFIER, buffer); failed(e))
                return e;
            if (ErrorCode e = appendTokenCode(modifier->code, buffer); failed(e))
                return e;
        } else if (hasIndex) {
            if (main->kind != 'C')
                return logBadArgument("Expecting command token with index");
            if (ErrorCode e = appendTokenCode(main->code, buffer); failed(e))
                return e;
        } else {
            if (main->kind != 'V')
                return logBadArgument("Expecting system variable token");
            if (ErrorCode e = appendToken_SystemVariable(buffer, main->code); failed(e))
                return e;
        }
        if (hasIndex) {
            if (ErrorCode e = appendToken(KnownTokens::OPENBRACKETS, buffer); failed(e))
                return e;
            if (ErrorCode e = appendValue(double(index), buffer); failed(e))
                return e;
            if (ErrorCode e = appendToken(KnownTokens::CLOSEBRACKETS, buffer); failed(e))
                return e;
        }
        return ErrorCode::Success;
    }

private:
    ErrorCode logBadArgument(std::string_view text) const;
    void logUndefinedSystemVariable(ErrorCode e, std::string_view name) const;
    // Copies the four built-in codes from the table; TokenTable when one is missing.
    ErrorCode adoptBuiltinCodes();

    const EventCallback& m_eventLogger;
    TokenMapByName<TokenDef> m_map;
    TokenTOKENTABLE m_tokenTOKENTABLE;
    TokenZERO m_tokenZERO;
    TokenEXTENDED m_tokenEXTENDED;
    TokenUNKNOWN m_tokenUNKNOWN;
    const TokenDef* m_knownTokens[KnownTokens_Count] = {};
};

} // namespace Vaxo::Ubrix::Shared
