// The file-transfer link's receive state machine fed arbitrary bytes: it may not crash or
// overrun, a control text may not grow past its limit, it may not hand out more data than it
// was given, and how the bytes are cut into reads may not change anything it reports.
#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shared/fileloader/ReceiveParser.h"

using namespace Vaxo::Ubrix::Shared;

namespace {

// What the parser reported, in order. Data runs may come in more hand-overs when the input
// comes in more reads, so consecutive runs are kept as one.
struct Record final : ReceiveParser::Sink {
    std::vector<std::pair<char, std::string>> events;
    std::size_t dataBytes = 0;
    ErrorCode data(const unsigned char* bytes, std::size_t length) override {
        if (length == 0)
            std::abort(); // an empty hand-over hides a bookkeeping slip
        const std::string_view run(reinterpret_cast<const char*>(bytes), length);
        if (!events.empty() && events.back().first == 'D')
            events.back().second.append(run);
        else
            events.emplace_back('D', run);
        dataBytes += length;
        return ErrorCode::Success;
    }
    ErrorCode control(std::string_view text, const ReceiveParser::ControlText& meaning) override {
        if (text.size() > ReceiveParser::kControlMax)
            std::abort();
        events.emplace_back(char('0' + int(meaning.kind)), std::string(text) + "|" + std::to_string(meaning.crc));
        return ErrorCode::Success;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    // The first byte chooses how the rest is cut into reads.
    const std::size_t step = 1 + data[0] % 13;
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    const std::size_t length = size - 1;

    ReceiveParser whole;
    Record a;
    const ErrorCode ra = whole.feed(bytes, length, a);

    ReceiveParser pieces;
    Record b;
    ErrorCode rb = ErrorCode::Success;
    for (std::size_t pos = 0; pos < length && rb == ErrorCode::Success; pos += step) {
        const std::size_t n = std::min(step, length - pos);
        rb = pieces.feed(bytes + pos, n, b);
    }

    if (a.dataBytes > length || b.dataBytes > length)
        std::abort();
    if (ra != rb || a.events != b.events)
        std::abort();
    if (ra == ErrorCode::Success && whole.state() != pieces.state())
        std::abort();
    return 0;
}
