// What the controller sends on the file-transfer link, taken apart byte by byte: its control
// texts (STX text ETX) and, after "FILE", the escaped file data up to the STX of the next text.
// It never touches a socket; the loader's receive worker feeds it what it reads, and the fuzz
// target feeds it anything.
//
// Receive states:
//   0  between texts; bytes other than STX are ignored
//   1  STX seen: passed in the same step, since the STX itself empties the text and moves to 2
//   2  control text up to ETX; after it back to 0, or to 3 after "FILE"
//   3  file data: `\` starts an escape (state 4), anything else but STX is data
//   4  the escape letter: `s` 0x02, `h` 0x01, `\` `\`, `e` 0x03; back to 3. Any other letter
//      is BadResponse.
// An STX in any state opens a new control text, so one STX opens a text and a second one right
// after it only opens it again.
#pragma once
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

    // What a finished control text means. A text beginning "CRC=" carries the controller's
    // CRC, read as "%lx" reads it (leading blanks, a sign, a 0x or 0X prefix, digits of either
    // case; what follows the digits is ignored); no number, or one beyond 64 bits, gives
    // BadResponse. A text beginning "FILE" starts file data. "ABORT", "XON" and "XOFF" match when
    // the text is a case-insensitive prefix of the keyword ("ab" aborts, and so does an empty
    // text), as the controller has always been answered.
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
    void openText() noexcept;

    int m_state = 0;
    std::string m_control;
    std::vector<unsigned char> m_out; // unescaped data not yet handed over
};

} // namespace Vaxo::Ubrix::Shared
