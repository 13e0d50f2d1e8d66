// Collecting and decoding the reply text of a parameter-block fetch.
#include "shared/prmblk/PrmBlkReply.h"

#include <algorithm>

#include "shared/parsers/FromChars.h"
#include "shared/parsers/TextReplyParsers.h"

namespace Vaxo::Ubrix::Shared {

std::string_view trimSpace(std::string_view s) noexcept {
    constexpr std::string_view blank = " \t\r\n";
    const auto first = s.find_first_not_of(blank);
    if (first == std::string_view::npos)
        return {};
    const auto last = s.find_last_not_of(blank);
    return s.substr(first, last - first + 1);
}

ErrorCode PrmBlkReplyText::feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) {
    consumed = 0;
    if (m_done || length == 0)
        return ErrorCode::Success;
    bool ended = false;
    const std::uint32_t n = textBeforeZero(data, length, ended);
    if (m_text.size() + n > kMaxText)
        return ErrorCode::BadResponse;
    m_text.append(data, n);
    consumed = n;
    m_done = ended;
    return ErrorCode::Success;
}

namespace {

// Calls f(item) for each comma-separated item; an empty text has no items.
template <class F>
ErrorCode forEachItem(std::string_view text, F&& f) {
    text = trimSpace(text);
    if (text.empty())
        return ErrorCode::Success;
    for (;;) {
        const auto comma = text.find(',');
        if (ErrorCode e = f(trimSpace(text.substr(0, comma))); failed(e))
            return e;
        if (comma == std::string_view::npos)
            return ErrorCode::Success;
        text.remove_prefix(comma + 1);
    }
}

ErrorCode parseValue(std::string_view item, double& v, int) {
    if (item.empty())
        return ErrorCode::BadResponse;
    return failed(from_chars(item, v)) ? ErrorCode::BadResponse : ErrorCode::Success;
}
ErrorCode parseValue(std::string_view item, std::uint64_t& v, int base) {
    if (item.empty())
        return ErrorCode::BadResponse;
    return failed(from_chars(item, v, base)) ? ErrorCode::BadResponse : ErrorCode::Success;
}

// "index:rest" -> index and rest; BadResponse without a colon or a decimal index.
ErrorCode splitChanged(std::string_view item, unsigned& index, std::string_view& rest) {
    const auto colon = item.find(':');
    if (colon == std::string_view::npos)
        return ErrorCode::BadResponse;
    if (failed(from_chars(trimSpace(item.substr(0, colon)), index)))
        return ErrorCode::BadResponse;
    rest = trimSpace(item.substr(colon + 1));
    return ErrorCode::Success;
}

template <class T>
ErrorCode decodeValues(std::string_view text, const PrmBlkOutput<T>& out) {
    if (!out.masks) {
        unsigned k = 0;
        return forEachItem(text, [&](std::string_view item) {
            if (k >= out.capacity)
                return ErrorCode::BufferTooSmall;
            T v{};
            if (ErrorCode e = parseValue(item, v, out.base); failed(e))
                return e;
            out.values[k++] = v;
            return ErrorCode::Success;
        });
    }
    for (unsigned a = 0; a < out.axes; ++a)
        out.masks[a] = 0;
    return forEachItem(text, [&](std::string_view item) {
        unsigned index = 0;
        std::string_view rest;
        if (ErrorCode e = splitChanged(item, index, rest); failed(e))
            return e;
        if (index >= out.capacity)
            return ErrorCode::BufferTooSmall;
        const unsigned size = out.blockSize ? out.blockSize : 1;
        const unsigned lastAxis = out.axes ? out.axes - 1 : 0;
        const unsigned axis = std::min(index / size, lastAxis);
        T v{};
        if (ErrorCode e = parseValue(rest, v, out.base); failed(e))
            return e;
        out.values[index] = v;
        out.masks[axis] |= std::uint64_t(1) << ((index - axis * size) % 64);
        return ErrorCode::Success;
    });
}

} // namespace

ErrorCode decodePrmBlkValues(std::string_view text, const PrmBlkOutput<double>& out) {
    return decodeValues(text, out);
}
ErrorCode decodePrmBlkValues(std::string_view text, const PrmBlkOutput<std::uint64_t>& out) {
    return decodeValues(text, out);
}

ErrorCode decodePrmBlkTexts(std::string_view text, PrmBlkValueArrayT<PrmBlkString>& values,
                            unsigned blockSize, std::uint64_t* mask) {
    PrmBlkString* slots = values.values(blockSize);
    if (!mask) {
        unsigned k = 0;
        ErrorCode e = forEachItem(text, [&](std::string_view item) {
            if (k >= blockSize)
                return ErrorCode::BufferTooSmall;
            slots[k++].setValue(item);
            return ErrorCode::Success;
        });
        if (!failed(e))
            values.markSet();
        return e;
    }
    *mask = 0;
    ErrorCode e = forEachItem(text, [&](std::string_view item) {
        unsigned index = 0;
        std::string_view rest;
        if (ErrorCode err = splitChanged(item, index, rest); failed(err))
            return err;
        if (index >= blockSize)
            return ErrorCode::BufferTooSmall;
        slots[index].setValue(rest);
        *mask |= std::uint64_t(1) << (index % 64);
        return ErrorCode::Success;
    });
    if (!failed(e))
        values.markSet();
    return e;
}

} // namespace Vaxo::Ubrix::Shared
