// Parsers for replies whose text is kept as text: into a caller's buffer up to a terminator,
// into a string, or streamed to a callable. The framing loop feeds them one byte per call and
// asks done() after each; the 0x00 that ends a text is never consumed, so it is left for the
// standard response.
#pragma once

#include "shared/parsers/ParserTypes.h"

#include <vaxo/Types.hpp>

#include <cstdint>
#include <cstring>
#include <string>

namespace Vaxo::Ubrix::Shared {

// Collects the text into a caller's buffer until a terminator string has been seen a given
// number of times, or, without a terminator string, until 0x00. The write position counts
// every byte, stored or not, so a text longer than the buffer shows as length() > capacity
// unless the overflow callback makes room (it may flush the buffer, or swap in another one).
class CharTerminatedReplyParser {
public:
    // Called with the buffer, its capacity and the user pointer when the buffer is full;
    // returning true restarts writing at the start of the (possibly new) buffer.
    using OverflowFn = bool (*)(char*& buffer, std::uint32_t& capacity, void*& user);

    CharTerminatedReplyParser(char* buffer, std::uint32_t capacity, const char* terminator = nullptr,
                              std::uint64_t occurrences = 1, OverflowFn onOverflow = nullptr,
                              void* user = nullptr) noexcept;

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) noexcept;
    bool done() const noexcept { return m_done; }

    void resetParsing() noexcept;
    // The text length so far (may exceed the capacity when nothing made room).
    std::uint64_t length() const noexcept { return m_pos; }
    char lastChar() const noexcept { return m_last; }
    // Drops the terminator from the end of the stored text if the text ends with it.
    void trimTerminator() noexcept;
    // Writes 0x00 after the text if there is room; false if there is none.
    bool terminate() noexcept;

private:
    bool m_done = false;
    char m_last = '\0';
    const char* m_terminator;
    std::uint64_t m_wanted;
    std::uint32_t m_match = 0;
    std::uint32_t m_termLength;
    std::uint64_t m_seen = 0;
    char* m_buffer;
    std::uint32_t m_capacity;
    std::uint64_t m_pos = 0;
    OverflowFn m_onOverflow;
    void* m_user;
};

// How many of the bytes come before the first 0x00 (all of them when there is none); `ended`
// is set when a 0x00 was found.
inline std::uint32_t textBeforeZero(const char* data, std::uint32_t length, bool& ended) noexcept {
    const void* zero = std::memchr(data, 0, length);
    ended = zero != nullptr;
    return zero ? std::uint32_t(static_cast<const char*>(zero) - data) : length;
}

// Appends the text to a caller's string.
class ToStringParser {
public:
    explicit ToStringParser(std::string& out) noexcept : m_out(out) {}

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) {
        consumed = 0;
        if (m_done || length == 0)
            return ErrorCode::Success;
        consumed = textBeforeZero(data, length, m_done);
        m_out.append(data, consumed);
        return ErrorCode::Success;
    }
    bool done() const noexcept { return m_done; }

private:
    std::string& m_out;
    bool m_done = false;
};

// Streams the text to a caller's callable taking (DataStreamPacket, const char*). Fed one
// byte per call, it calls once per text byte with a length of 1 and once more, with a length
// of 0, when the terminating 0x00 arrives.
template <class F>
class ForwardingParser {
public:
    explicit ForwardingParser(F& sink) noexcept : m_sink(sink) {}

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed) {
        consumed = 0;
        if (m_done || length == 0)
            return ErrorCode::Success;
        consumed = textBeforeZero(data, length, m_done);
        m_packet.length = consumed;
        m_sink(m_packet, data);
        ++m_packet.sequence;
        return ErrorCode::Success;
    }
    bool done() const noexcept { return m_done; }

private:
    F& m_sink;
    DataStreamPacket m_packet{};
    bool m_done = false;
};

} // namespace Vaxo::Ubrix::Shared
