// Helpers that write lists and small argument groups into requests, used by the
// parameter-block and scope commands, and a few byte helpers.
#pragma once

#include "shared/protocol/Token.h"

#include <cstdint>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// Text lines sent to the controller end with CR LF.
inline constexpr char szCRNL[] = "\r\n";

// A token table and the request being built with it.
struct TokenAndBuffer {
    explicit TokenAndBuffer(Token& t) : token(t), buffer(t) {}
    Token& token;
    TokenBuffer<160, 160> buffer;
};

inline bool isEmpty(const char* text) { return text == nullptr || *text == '\0'; }
inline bool isEmpty(std::string_view text) { return text.empty(); }

// Packs up to four bytes, the first least significant. Each byte is taken as a signed
// character and sign-extended before the shift, so a byte at or above 0x80 also sets every
// higher bit: the EtherCAT register command relies on exactly that.
inline std::uint32_t ToBigEndian(const char* bytes, unsigned n) {
    std::uint32_t result = 0;
    for (unsigned i = 0; i < n && i < 4; ++i)
        result |= std::uint32_t(std::int32_t(static_cast<signed char>(bytes[i]))) << (8 * i);
    return result;
}
inline std::uint32_t ToBigEndian(const unsigned char* bytes, unsigned n) {
    return ToBigEndian(reinterpret_cast<const char*>(bytes), n);
}

// Indices in the given order; each run of three or more ascending neighbours (each one more
// than the one before) becomes first RANGE last, shorter runs go value by value, items are
// separated by COMMA. One index is one value; none is BadArgument.
template <class Buffer>
ErrorCode appendIndices(const unsigned int* indices, unsigned count, Token& token, Buffer& buffer) {
    if (count == 0 || !indices)
        return ErrorCode::BadArgument;
    unsigned i = 0;
    while (i < count) {
        unsigned end = i + 1; // one past the run
        while (end < count && indices[end] == indices[end - 1] + 1 && indices[end - 1] != UINT32_MAX)
            ++end;
        if (i > 0) {
            if (ErrorCode e = token.appendToken(KnownTokens::COMMA, buffer); failed(e))
                return e;
        }
        if (end - i >= 3) {
            if (ErrorCode e = token.appendValue(double(indices[i]), buffer); failed(e))
                return e;
            if (ErrorCode e = token.appendToken(KnownTokens::RANGE, buffer); failed(e))
                return e;
            if (ErrorCode e = token.appendValue(double(indices[end - 1]), buffer); failed(e))
                return e;
        } else {
            for (unsigned j = i; j < end; ++j) {
                if (j > i) {
                    if (ErrorCode e = token.appendToken(KnownTokens::COMMA, buffer); failed(e))
                        return e;
                }
                if (ErrorCode e = token.appendValue(double(indices[j]), buffer); failed(e))
                    return e;
            }
        }
        i = end;
    }
    return ErrorCode::Success;
}

// Runs of channels (anything with `first` and `count`): value(first) COMMA RANGE
// value(first + count), runs separated by COMMA. A run of more than 64 is OutOfRange, checked
// before anything is written; none is BadArgument.
template <class RangeT, class Buffer>
ErrorCode appendRanges(const RangeT* ranges, unsigned count, Token& token, Buffer& buffer) {
    if (count == 0 || !ranges)
        return ErrorCode::BadArgument;
    for (unsigned i = 0; i < count; ++i) {
        if (ranges[i].count > 64)
            return ErrorCode::OutOfRange;
    }
    for (unsigned i = 0; i < count; ++i) {
        const double first = double(ranges[i].first);
        if (i > 0) {
            if (ErrorCode e = token.appendToken(KnownTokens::COMMA, buffer); failed(e))
                return e;
        }
        if (ErrorCode e = token.appendValue(first, buffer); failed(e))
            return e;
        if (ErrorCode e = token.appendToken(KnownTokens::COMMA, buffer); failed(e))
            return e;
        if (ErrorCode e = token.appendToken(KnownTokens::RANGE, buffer); failed(e))
            return e;
        if (ErrorCode e = token.appendValue(first + double(ranges[i].count), buffer); failed(e))
            return e;
    }
    return ErrorCode::Success;
}

// COMMA, then the value.
inline ErrorCode AddPeriod(TokenAndBuffer& tb, double v) {
    if (ErrorCode e = tb.token.appendToken(KnownTokens::COMMA, tb.buffer); failed(e))
        return e;
    return tb.token.appendValue(v, tb.buffer);
}

} // namespace Vaxo::Ubrix::Shared
