// The frame-group reply parser: a small state machine over single bytes.
#include "shared/parsers/FrameGroupReplyParser.h"

#include "shared/parsers/FromChars.h"

namespace Vaxo::Ubrix::Shared {

namespace {
constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
} // namespace

void FrameGroupReplyParser::Start(ReadGroupData* data) noexcept {
    m_data = data;
    m_current = '\0';
    m_digitCount = 0;
    m_state = Group;
    m_stored = 0;
    m_error = ErrorCode::Success;
    if (data != nullptr && data->count != nullptr)
        *data->count = 0;
}

bool FrameGroupReplyParser::collect(char c) noexcept {
    if (m_digitCount >= MaxDigits)
        return false;
    m_digits[m_digitCount++] = c;
    return true;
}

ErrorCode FrameGroupReplyParser::expect(char c, char wanted, std::int32_t next) noexcept {
    if (isBlank(c))
        return ErrorCode::Success;
    if (c != wanted)
        return ErrorCode::BadResponse;
    m_digitCount = 0;
    m_state = next;
    return ErrorCode::Success;
}

ErrorCode FrameGroupReplyParser::step(char c) {
    switch (m_state) {
    case Group:
        if (isDigit(c))
            return collect(c) ? ErrorCode::Success : ErrorCode::BadResponse;
        if (m_digitCount == 0 || from_chars(m_digits, m_digits + m_digitCount, m_data->group) != ErrorCode::Success)
            return ErrorCode::BadResponse;
        // The byte that ended the number may already be the "[".
        m_state = BeforeBracket;
        return step(c);
    case BeforeBracket:
        return expect(c, '[', Bracketed);
    case Bracketed:
        if (isDigit(c))
            return collect(c) ? ErrorCode::Success : ErrorCode::BadResponse;
        if (c != ']' || from_chars(m_digits, m_digits + m_digitCount, m_data->bracketed) != ErrorCode::Success)
            return ErrorCode::BadResponse;
        m_state = BeforeColon;
        return ErrorCode::Success;
    case BeforeColon:
        return expect(c, ':', List);
    case List:
        if (isBlank(c))
            return ErrorCode::Success;
        if (isDigit(c))
            return collect(c) ? ErrorCode::Success : ErrorCode::BadResponse;
        if (m_digitCount != 0) {
            int element = 0;
            if (from_chars(m_digits, m_digits + m_digitCount, element) != ErrorCode::Success)
                return ErrorCode::BadResponse;
            m_digitCount = 0;
            if (m_data->array == nullptr) {
                if (m_data->onElement)
                    m_data->onElement(element);
            } else if (m_stored >= m_data->capacity) {
                return ErrorCode::BufferTooSmall;
            } else {
                m_data->array[m_stored++] = element;
                if (m_data->count != nullptr)
                    *m_data->count = m_stored;
            }
        }
        if (c != ',')
            m_state = Done;
        return ErrorCode::Success;
    default:
        return ErrorCode::Success;
    }
}

ErrorCode FrameGroupReplyParser::Feed(const char* data, std::uint32_t length, std::uint32_t& consumed) {
    consumed = 0;
    if (m_data == nullptr)
        return ErrorCode::BadArgument;
    ErrorCode err = ErrorCode::Success;
    while (consumed < length && m_state != Done && m_state != Error) {
        m_current = data[consumed++];
        err = step(m_current);
        if (err != ErrorCode::Success) {
            m_state = Error;
            m_error = err;
        }
    }
    if (m_state == Error && m_error == ErrorCode::Success)
        m_error = ErrorCode::BadResponse;
    return m_state == Error ? m_error : ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
