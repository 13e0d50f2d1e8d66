// The file-transfer link's receive state machine (see ReceiveParser.h).
#include "shared/fileloader/ReceiveParser.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "shared/fileloader/Framing.h"
#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

namespace {

// Bytes that end a run of plain file data.
constexpr std::array<bool, 256> s_dataStops = [] {
    std::array<bool, 256> t{};
    t[static_cast<unsigned char>(kESC)] = true;
    t[static_cast<unsigned char>(kSTX)] = true;
    return t;
}();

} // namespace

ErrorCode ReceiveParser::interpret(std::string_view text, ControlText& out) {
    out = ControlText{};
    // The texts are compared as C strings: a NUL inside ends the comparison there.
    const std::string s(text);
    const char* t = s.c_str();
    if (std::strncmp(t, "CRC=", 4) == 0) {
        // strtoul with base 16 is what "%lx" reads by.
        const char* first = t + 4;
        char* end = nullptr;
        errno = 0;
        const unsigned long value = std::strtoul(first, &end, 16);
        if (end == first || errno == ERANGE)
            return ErrorCode::BadResponse;
        out.kind = Control::Crc;
        out.crc = value;
    } else if (std::strncmp(t, "FILE", 4) == 0) {
        out.kind = Control::File;
    } else if (iequals(t, "ABORT")) {
        out.kind = Control::Abort;
    } else if (iequals(t, "XON")) {
        out.kind = Control::Xon;
    } else if (iequals(t, "XOFF")) {
        out.kind = Control::Xoff;
    }
    return ErrorCode::Success;
}

void ReceiveParser::openText() noexcept {
    // STX moves any state to 1, and in state 1 the same byte empties the text and moves on to
    // 2: both steps at once.
    m_control.clear();
    m_state = 2;
}

ErrorCode ReceiveParser::flush(Sink& sink) {
    if (m_out.empty())
        return ErrorCode::Success;
    ErrorCode rc = sink.data(m_out.data(), m_out.size());
    m_out.clear();
    return rc;
}

ErrorCode ReceiveParser::feed(const char* bytes, std::size_t length, Sink& sink) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes);
    std::size_t i = 0;
    ErrorCode rc = ErrorCode::Success;
    while (i < length && rc == ErrorCode::Success) {
        const char c = char(p[i]);
        switch (m_state) {
        case 3: {
            // The common case: a run of plain data, copied in one step.
            std::size_t j = i;
            while (j < length && !s_dataStops[p[j]])
                ++j;
            if (j > i) {
                m_out.insert(m_out.end(), p + i, p + j);
                i = j;
                continue;
            }
            if (c == kESC) {
                m_state = 4;
                ++i;
                break;
            }
            openText();
            ++i;
            break;
        }
        case 4: {
            if (c == kSTX) {
                openText();
                ++i;
                break;
            }
            const int v = unescapeLetter(c);
            if (v < 0) {
                rc = ErrorCode::BadResponse;
                break;
            }
            m_out.push_back(static_cast<unsigned char>(v));
            m_state = 3;
            ++i;
            break;
        }
        default:
            ++i;
            if (c == kSTX) {
                openText();
            } else if (m_state == 2) {
                if (c == kETX) {
                    // Data before the text is complete before the text is read.
                    if (rc = flush(sink); rc != ErrorCode::Success)
                        break;
                    ControlText meaning;
                    rc = interpret(m_control, meaning);
                    if (rc == ErrorCode::Success)
                        rc = sink.control(m_control, meaning);
                    m_state = meaning.kind == Control::File && rc == ErrorCode::Success ? 3 : 0;
                } else if (m_control.size() >= kControlMax) {
                    rc = ErrorCode::BufferTooSmall;
                } else {
                    m_control.push_back(c);
                }
            }
            // Between texts anything but STX is ignored.
            break;
        }
    }
    ErrorCode flushed = flush(sink);
    return rc != ErrorCode::Success ? rc : flushed;
}

} // namespace Vaxo::Ubrix::Shared
