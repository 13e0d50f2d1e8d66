// The token-table record parser (see TokenTableParser.h).
#include "shared/protocol/TokenTableParser.h"

namespace Vaxo::Ubrix::Shared {

namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr char kMarker[] = "EOT]\r\n"; // after the '['
constexpr unsigned kMarkerLength = sizeof kMarker - 1;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

} // namespace

void TokenTableParser::reset() {
    m_state = State::LineStart;
    m_record = TokenDef{};
    m_numberIndex = m_numbersWanted = m_match = 0;
    m_code = 0;
    m_value = 0.0;
    m_negative = false;
    m_stored = m_dropped = 0;
}

void TokenTableParser::startRecord(char kind) {
    m_record = TokenDef{};
    m_record.kind = kind;
    m_code = 0;
    m_numberIndex = 0;
    m_numbersWanted = kind == 'C' ? 6 : kind == 'V' ? 1 : kind == 'M' ? 3 : 0;
    m_value = 0.0;
    m_negative = false;
    m_state = State::Code;
}

void TokenTableParser::store() {
    m_record.code = std::uint16_t(m_code);
    if (m_map.add(m_record))
        ++m_stored;
    else
        ++m_dropped;
}

void TokenTableParser::flag(char c) {
    static constexpr struct {
        char kind, letter;
        std::uint8_t bit;
    } s_flags[] = {
        {'C', 'c', 0x01}, {'C', 'o', 0x02}, {'C', 'f', 0x04}, {'C', 'b', 0x08}, {'C', 'd', 0x20}, {'C', 'e', 0x40},
        {'V', 'w', 0x01}, {'V', 'm', 0x02}, {'V', 'd', 0x04}, {'V', 'e', 0x08},
    };
    if (c == '>') {
        store();
        m_match = 0;
        m_state = State::SkipLine;
        return;
    }
    for (const auto& f : s_flags) {
        if (f.kind == m_record.kind && f.letter == c)
            m_record.flags |= f.bit;
    }
}

void TokenTableParser::skipLine(char c) {
    if (c == kLineEnd[m_match]) {
        if (++m_match == 2)
            m_state = State::LineStart;
    } else {
        m_match = c == kLineEnd[0] ? 1 : 0; // a CR may begin the line end itself
    }
}

bool TokenTableParser::feed(char c) {
    switch (m_state) {
    case State::LineStart:
        switch (c) {
        case 'C':
        case 'V':
        case 'M':
        case 'S':
        case 'E':
        case 'T':
            startRecord(c);
            break;
        case '[':
            m_match = 0;
            m_state = State::Marker;
            break;
        default:
            m_state = State::Ignore;
            break;
        }
        break;

    case State::Code:
        if (isDigit(c)) {
            m_code = m_code * 10 + std::uint32_t(c - '0');
            break;
        }
        m_state = State::Name;
        [[fallthrough]];
    case State::Name: {
        const bool symbol = m_record.kind == 'S' || m_record.kind == 'E';
        if (c == (symbol ? '\r' : ',')) {
            if (symbol) {
                store();
                m_state = State::AfterRecord;
            } else if (m_record.kind == 'T') {
                m_state = State::Value;
            } else {
                m_state = State::Number;
            }
        } else if (m_record.name.size() >= kMaxNameLength) {
            ++m_dropped;
            m_match = 0;
            m_state = State::SkipLine;
            skipLine(c);
        } else {
            m_record.name.push_back(c);
        }
        break;
    }

    case State::Number:
        if (isDigit(c)) {
            std::uint32_t& n = m_record.numbers[m_numberIndex];
            n = n * 10 + std::uint32_t(c - '0');
            break;
        }
        if (++m_numberIndex < m_numbersWanted)
            break;
        if (m_record.kind == 'M') {
            store(); // the character that ends the third number completes the record
            m_state = State::AfterRecord;
        } else {
            // The character that ends the last number may already be a flag or the '>'.
            m_state = State::Flags;
            flag(c);
        }
        break;

    case State::Flags:
        flag(c);
        break;

    case State::Value:
        if (isDigit(c)) {
            m_value = m_value * 10.0 + double(c - '0');
        } else if (c == '-') {
            m_negative = true;
        } else if (c != '.') {
            m_record.value = m_value / (m_negative ? -10000.0 : 10000.0);
            store();
            m_state = State::AfterRecord;
        }
        break;

    case State::AfterRecord:
        if (c == '\n') {
            m_state = State::LineStart;
        } else {
            m_match = 0;
            m_state = State::SkipLine;
            skipLine(c);
        }
        break;

    case State::SkipLine:
        skipLine(c);
        break;

    case State::Marker:
        if (c == kMarker[m_match]) {
            if (++m_match == kMarkerLength)
                m_state = State::Done;
        } else if (c == ']') {
            // Some other bracketed line: ignore it.
            m_match = 0;
            m_state = State::SkipLine;
        } else {
            m_match = c == kMarker[0] ? 1 : 0;
        }
        break;

    case State::Ignore:
    case State::Done:
        break;
    }
    return m_state == State::Done;
}

std::size_t TokenTableParser::feed(const char* data, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        if (feed(data[i]))
            return i + 1;
    }
    return length;
}

} // namespace Vaxo::Ubrix::Shared
