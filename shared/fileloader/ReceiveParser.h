// What the controller sends on the file-transfer link, taken apart byte by byte: its control
// texts (STX STX text ETX) and, after "FILE", the escaped file data up to the STX of the closing
// text. It never touches a socket; the loader's receive worker feeds it what it reads, and the
// fuzz target feeds it anything.
//
// Receive states:
//   0  between texts; STX moves to 1
//   1  one STX seen; a second STX starts a text (state 2), any other byte returns to 0
//   2  control text up to ETX; STX here moves back to 1
//   3  file data: `\` starts an escape (state 4), STX starts a text, anything else is data
//   4  the escape letter: `s` 0x02, `h` 0x01, `\` `\`, `e` 0x03; back to 3
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

class ReceiveParser {
public:
    static constexpr std::size_t kControlMax = 256; // longest control text

    enum class Control { Crc, File, Abort, Xon, Xoff, Other };

    // What a finished control text means. "CRC=" and "FILE" are case-insensitive prefixes of
    // the text; "ABORT", "XON" and "XOFF" match when the text is a case-insensitive prefix of
    // the keyword ("ab" aborts), as the controller has always been answered. A CRC text whose
    // number does not parse gives BadResponse.
    struct ControlText {
        Control kind = Control::Other;
        std::uint64_t crc = 0;
    };
    static ErrorCode interpret(std::string_view text, ControlText& out);

    // Receives the parser's output in wire order: data bytes before a control text are handed
    // over before the text.
    class Sink {
    public:
        virtual ~Sink() = default;
        virtual ErrorCode data(const unsigned char* bytes, std::size_t length) = 0;
        // `text` as received; `meaning` as interpret() read it.
        virtual ErrorCode control(std::string_view text, const ControlText& meaning) = 0;
    };

    // Passes `length` bytes through the state machine. Stops at the first error: a sink's, an
    // unknown escape letter or a bad CRC number (BadResponse), or a control text longer than
    // kControlMax (BufferTooSmall); the parser is then left where it stopped.
    ErrorCode feed(const char* bytes, std::size_t length, Sink& sink);

    int state() const noexcept { return m_state; }
    void reset() noexcept {
        m_state = 0;
        m_control.clear();
        m_out.clear();
    }

private:
    ErrorCode flush(Sink& sink);

    int m_state = 0;
    std::string m_control;
    std::vector<unsigned char> m_out; // unescaped data not yet handed over
};

} // namespace Vaxo::Ubrix::Shared
