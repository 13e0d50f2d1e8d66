// Replies whose text is a few numbers, one per line ("12\r\n"), before the standard response.
// NumParser reads one number the way strtol does, ReplyHolder stores the numbers into the
// caller's variables in order, NumericReplyParser cuts the text into lines for it.
#pragma once

#include <vaxo/Types.hpp>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Vaxo::Ubrix::Shared {

// Base-10 conversion with strtol's rules: leading white space and a sign are accepted,
// conversion stops at the first character that is not a digit, trailing text is not an
// error (and text without digits reads as 0). The 32-bit forms keep the low 32 bits.
struct NumParser {
    static ErrorCode parseNum(const char* text, long& value) noexcept;
    static ErrorCode parseNum(const char* text, unsigned long& value) noexcept;
    static ErrorCode parseNum(const char* text, int& value) noexcept;
    static ErrorCode parseNum(const char* text, unsigned int& value) noexcept;
    static ErrorCode parseNum(const char* text, bool& value) noexcept;
    // Two numbers on one line, separated by blanks and/or one comma ("3, 7" or "3 7").
    static ErrorCode parseNum(const char* text, std::pair<unsigned int, unsigned int>& value) noexcept;

    // Enumerations arrive as their number.
    template <class E>
        requires std::is_enum_v<E>
    static ErrorCode parseNum(const char* text, E& value) noexcept {
        long raw = 0;
        ErrorCode err = parseNum(text, raw);
        if (err == ErrorCode::Success)
            value = E(std::underlying_type_t<E>(raw));
        return err;
    }
};

// Holds references to the caller's result variables and fills them, one line each, in order.
// The holder with no value types is never done and rejects every line: a reply that should
// carry no text must end at its 0x00.
template <class... Ts>
class ReplyHolder {
public:
    explicit ReplyHolder(Ts&... outputs) noexcept : m_outputs(outputs...) {}

    ErrorCode parseLine(const char* line) noexcept {
        return parseLineCore(line, std::index_sequence_for<Ts...>{});
    }
    bool done() const noexcept { return sizeof...(Ts) != 0 && m_count == sizeof...(Ts); }
    std::uint32_t count() const noexcept { return m_count; }

private:
    template <std::size_t... I>
    ErrorCode parseLineCore(const char* line, std::index_sequence<I...>) noexcept {
        // A line arriving when nothing more is expected is not this reply's.
        if constexpr (sizeof...(Ts) == 0) {
            (void)line;
            return ErrorCode::BadResponse;
        } else {
            if (m_count >= sizeof...(Ts))
                return ErrorCode::BadResponse;
            ErrorCode err = ErrorCode::Success;
            // Exactly one index matches the count of values stored so far.
            (void)((I == m_count ? (err = NumParser::parseNum(line, std::get<I>(m_outputs)), true) : false) || ...);
            if (err == ErrorCode::Success)
                ++m_count;
            return err;
        }
    }

    std::tuple<Ts&...> m_outputs;
    std::uint32_t m_count = 0;
};

// Feeds the reply text line by line to its holder. 0x0A ends a line, 0x0D is skipped, 0x00
// ends the text and is left for the standard response; once the holder is done nothing more
// is consumed. A line holds at most LineSize - 1 characters, longer ones give BufferTooSmall.
template <class Holder, std::size_t LineSize = 128>
class NumericReplyParser {
    static_assert(LineSize >= 2);

public:
    explicit NumericReplyParser(Holder& holder) noexcept : m_holder(holder) {}

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) noexcept {
        consumed = 0;
        if (m_holder.done() || m_ended)
            return ErrorCode::Success;
        while (consumed < length && !m_holder.done()) {
            const char c = data[consumed];
            if (c == '\0') {
                m_ended = true;
                break;
            }
            ++consumed;
            if (c == '\r')
                continue;
            if (c == '\n') {
                if (m_fill >= LineSize)
                    return ErrorCode::BufferTooSmall;
                m_line[m_fill] = '\0';
                ErrorCode err = m_holder.parseLine(m_line);
                m_fill = 0;
                if (err != ErrorCode::Success)
                    return err;
                continue;
            }
            // The buffer holds LineSize characters; the last one is needed for the 0x00 that
            // ends the line, which the check at 0x0A above enforces.
            if (m_fill >= LineSize)
                return ErrorCode::BufferTooSmall;
            m_line[m_fill++] = c;
        }
        return ErrorCode::Success;
    }

    // Done once every value is stored or the text ended at 0x00; the framing loop then reads
    // the standard response, whose status tells why a value may be missing.
    bool done() const noexcept { return m_ended || m_holder.done(); }
    // Whether every expected value was stored.
    bool complete() const noexcept { return m_holder.done(); }

private:
    Holder& m_holder;
    char m_line[LineSize] = {};
    std::size_t m_fill = 0;
    bool m_ended = false;
};

} // namespace Vaxo::Ubrix::Shared
