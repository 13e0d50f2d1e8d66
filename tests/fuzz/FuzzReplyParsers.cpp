// Every reply parser fed the same arbitrary bytes in arbitrary chunks: none may crash, read
// past what it was given, or report having consumed more than it was given. The entry
// parsers, the number parsers and the from_chars family then take the whole input as one
// item. The first byte also sets the chunk size (1 + byte mod 7).
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
    // A terminator seen twice, and an overflow callback that makes room by starting over.
    CharTerminatedReplyParser flushing(buffer, 8, ">>", 2,
                                       [](char*&, std::uint32_t&, void*&) { return true; });
    drive(flushing, data, size, feedData, doneData);
    if (flushing.done())
        flushing.trimTerminator();
    std::string s;
    ToStringParser str(s);
    drive(str, data, size, feedData, doneData);
    std::uint32_t bytes = 0;
    auto sink = [&](const DataStreamPacket& p, const char*) { bytes += p.length; };
    ForwardingParser<decltype(sink)> forward(sink);
    drive(forward, data, size, feedData, doneData);
    // The three ways of keeping a text agree on where it ends and what it holds.
    if (bytes != s.size() || forward.done() != str.done() || text.done() != str.done() || text.length() != s.size())
        std::abort();

    int a = 0;
    unsigned b = 0;
    ReplyHolder<int, unsigned> holder(a, b);
    NumericReplyParser<ReplyHolder<int, unsigned>> numeric(holder);
    drive(numeric, data, size, feedData, doneData);
    bool on = false;
    std::pair<unsigned, unsigned> pair;
    long wide = 0;
    ReplyHolder<bool, std::pair<unsigned, unsigned>, long> mixed(on, pair, wide);
    NumericReplyParser<decltype(mixed)> numericMixed(mixed);
    drive(numericMixed, data, size, feedData, doneData);
    ReplyHolder<> none;
    NumericReplyParser<ReplyHolder<>> numericNone(none);
    drive(numericNone, data, size, feedData, doneData);

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
    if (count > 16)
        std::abort();
    // Without an array the elements go to the callable.
    std::uint32_t streamed = 0;
    FrameGroupReplyParser::ReadGroupData toCallable;
    toCallable.count = &count;
    toCallable.onElement = [&](int) { ++streamed; };
    frames.Start(&toCallable);
    drive(frames, data, size, feedList, doneList);

    // The line-level parsers on the whole input as one line (0x00-terminated for NumParser).
    const std::string line(reinterpret_cast<const char*>(data), size);
    const std::string_view view0(line);
    FileInfo info;
    ProcessInfo process;
    char name[132];
    char tiny[1];
    parseFileEntry(view0, info, name);
    parseFileEntry(view0, info, tiny);
    parseProcessInfoEntry(view0, process, name);
    NumParser::parseNum(line.c_str(), wide);
    NumParser::parseNum(line.c_str(), a);
    NumParser::parseNum(line.c_str(), b);
    NumParser::parseNum(line.c_str(), on);
    NumParser::parseNum(line.c_str(), pair);
    unsigned long uwide = 0;
    NumParser::parseNum(line.c_str(), uwide);

    // The from_chars family on the whole input.
    const char* first = reinterpret_cast<const char*>(data);
    const char* last = first + size;
    double d;
    long l;
    unsigned u;
    std::uint64_t u64;
    std::int32_t i32;
    bool flag;
    enum class State : std::uint8_t {} state;
    std::string_view view;
    from_chars(first, last, d);
    from_chars(first, last, l);
    from_chars(first, last, l, 16);
    from_chars(first, last, u);
    from_chars(first, last, u64, 16);
    from_chars(first, last, i32);
    from_chars(first, last, state);
    from_chars(first, last, flag);
    from_chars(first, last, flag, 16);
    from_chars(first, last, view);
    char copy[32];
    stString small{copy, sizeof copy};
    if (from_chars(first, last, small) == ErrorCode::Success && (small.size != size + 1 || copy[size] != 0))
        std::abort();
    stString sizeOnly{nullptr, 0};
    if (from_chars(first, last, sizeOnly) != ErrorCode::BufferTooSmall || sizeOnly.size != size + 1)
        std::abort();
    // The item splitter: every item lies inside the text.
    std::string_view rest = view0.data() ? view0 : std::string_view("", 0), item;
    while (nextArg(rest, item))
        if (!item.empty() && (item.data() < line.data() || item.data() + item.size() > line.data() + line.size()))
            std::abort();
    return 0;
}
