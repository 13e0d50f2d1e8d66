// Every reply parser fed the same arbitrary bytes in arbitrary chunks: none may crash, read
// past what it was given, or report having consumed more than it was given.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include "shared/parsers/ReplyParsers.h"

using namespace Vaxo::Ubrix::Shared;

namespace {

template <class Parser, class FeedFn, class DoneFn>
void drive(Parser& p, const std::uint8_t* data, std::size_t size, FeedFn feed, DoneFn done) {
    std::size_t pos = 0;
    const std::size_t step = size ? 1 + data[0] % 7 : 1;
    while (pos < size && !done(p)) {
        std::uint32_t n = std::uint32_t(std::min(step, size - pos)), consumed = 0;
        if (feed(p, reinterpret_cast<const char*>(data + pos), n, consumed) != ErrorCode::Success)
            return;
        if (consumed > n)
            std::abort();
        if (consumed == 0)
            return;
        pos += consumed;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto feedData = [](auto& p, const char* d, std::uint32_t n, std::uint32_t& c) { return p.feedData(d, n, c); };
    auto doneData = [](auto& p) { return p.done(); };
    auto feedList = [](auto& p, const char* d, std::uint32_t n, std::uint32_t& c) { return p.Feed(d, n, c); };
    auto doneList = [](auto& p) { return p.IsDone(); };

    char buffer[64];
    CharTerminatedReplyParser text(buffer, sizeof buffer);
    drive(text, data, size, feedData, doneData);
    CharTerminatedReplyParser selected(buffer, sizeof buffer, " selected\r\n");
    drive(selected, data, size, feedData, doneData);
    std::string s;
    ToStringParser str(s);
    drive(str, data, size, feedData, doneData);

    int a = 0;
    unsigned b = 0;
    ReplyHolder<int, unsigned> holder(a, b);
    NumericReplyParser<ReplyHolder<int, unsigned>> numeric(holder);
    drive(numeric, data, size, feedData, doneData);

    auto onFile = [](const FileInfo&, std::string_view) {};
    DirReplyParser<decltype(onFile)> dir(onFile);
    drive(dir, data, size, feedList, doneList);
    auto onProcess = [](const ProcessInfo&, std::string_view) {};
    ProcessReplyParser<decltype(onProcess)> ps(onProcess);
    drive(ps, data, size, feedList, doneList);

    int elements[16];
    std::uint32_t count = 0;
    FrameGroupReplyParser frames;
    FrameGroupReplyParser::ReadGroupData group;
    group.array = elements;
    group.count = &count;
    group.capacity = 16;
    frames.Start(&group);
    drive(frames, data, size, feedList, doneList);

    // The from_chars family on the whole input.
    const char* first = reinterpret_cast<const char*>(data);
    double d;
    long l;
    bool flag;
    std::string_view view;
    from_chars(first, first + size, d);
    from_chars(first, first + size, l);
    from_chars(first, first + size, l, 16);
    from_chars(first, first + size, flag);
    from_chars(first, first + size, view);
    return 0;
}
