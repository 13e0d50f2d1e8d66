// The terminator-matching text parser; the string and streaming parsers are inline.
#include "shared/parsers/TextReplyParsers.h"

namespace Vaxo::Ubrix::Shared {

CharTerminatedReplyParser::CharTerminatedReplyParser(char* buffer, std::uint32_t capacity, const char* terminator,
                                                     std::uint64_t occurrences, OverflowFn onOverflow,
                                                     void* user) noexcept
    : m_terminator(terminator),
      m_wanted(occurrences),
      m_termLength(terminator ? std::uint32_t(std::strlen(terminator)) : 0),
      m_buffer(buffer),
      m_capacity(buffer ? capacity : 0),
      m_onOverflow(onOverflow),
      m_user(user) {}

void CharTerminatedReplyParser::resetParsing() noexcept {
    m_done = false;
    m_last = '\0';
    m_match = 0;
    m_seen = 0;
    m_pos = 0;
}

ErrorCode CharTerminatedReplyParser::feedData(const char* data, std::uint32_t length,
                                              std::uint32_t& consumed) noexcept {
    consumed = 0;
    while (!m_done && consumed < length) {
        const char c = data[consumed];
        m_last = c;
        if (m_termLength == 0 && c == '\0') {
            // The text ends here; the 0x00 belongs to the standard response.
            m_done = true;
            break;
        }
        ++consumed;
        if (m_buffer != nullptr) {
            if (m_pos >= m_capacity && m_onOverflow != nullptr && m_onOverflow(m_buffer, m_capacity, m_user))
                m_pos = 0;
            if (m_buffer != nullptr && m_pos < m_capacity)
                m_buffer[m_pos] = c;
        }
        ++m_pos;
        if (m_termLength != 0) {
            // A mismatch restarts the match without comparing this byte with the first
            // terminator byte again.
            if (c == m_terminator[m_match]) {
                if (++m_match == m_termLength) {
                    m_match = 0;
                    if (++m_seen >= m_wanted)
                        m_done = true;
                }
            } else {
                m_match = 0;
            }
        }
    }
    return ErrorCode::Success;
}

void CharTerminatedReplyParser::trimTerminator() noexcept {
    if (m_termLength == 0 || m_buffer == nullptr || m_pos < m_termLength || m_pos > m_capacity)
        return;
    if (std::memcmp(m_buffer + (m_pos - m_termLength), m_terminator, m_termLength) == 0)
        m_pos -= m_termLength;
}

bool CharTerminatedReplyParser::terminate() noexcept {
    if (m_buffer == nullptr || m_pos >= m_capacity)
        return false;
    m_buffer[m_pos] = '\0';
    return true;
}

} // namespace Vaxo::Ubrix::Shared
