// Random bytes, biased towards the characters the parsers care about, fed to every parser in
// random chunk sizes: nothing may crash, overrun or consume more than it was given. Run under
// the sanitizers this is what catches out-of-bounds writes.
#include "shared/parsers/ReplyParsers.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace Vaxo::Ubrix::Shared;
using namespace std::string_literals;

namespace {

std::string randomReply(std::mt19937& rng) {
    static const std::string alphabet = "0123456789,[]: \t\r\n\0*-+.OKokTABLExe"s;
    std::uniform_int_distribution<int> len(0, 1500), pick(0, int(alphabet.size()) - 1), raw(0, 255),
        kind(0, 3);
    std::string s(std::size_t(len(rng)), '\0');
    for (auto& c : s)
        c = kind(rng) == 0 ? char(raw(rng)) : alphabet[std::size_t(pick(rng))];
    return s;
}

template <class Feed>
void feedInChunks(std::mt19937& rng, const std::string& bytes, Feed feed) {
    std::uniform_int_distribution<std::uint32_t> chunk(1, 64);
    std::size_t at = 0;
    while (at < bytes.size()) {
        const std::uint32_t n = std::min<std::uint32_t>(chunk(rng), std::uint32_t(bytes.size() - at));
        std::uint32_t consumed = 0xFFFFFFFF;
        const bool more = feed(bytes.data() + at, n, consumed);
        ASSERT_LE(consumed, n);
        if (!more || consumed == 0)
            return;
        at += consumed;
    }
}

TEST(RandomBytes, NoParserMisbehaves) {
    std::mt19937 rng(std::random_device{}());
    const auto seed = rng();
    rng.seed(seed);
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    for (int round = 0; round < 400; ++round) {
        const std::string bytes = randomReply(rng);

        char small[16];
        CharTerminatedReplyParser ct(small, sizeof small, round % 2 ? "\r\n" : nullptr, 2);
        feedInChunks(rng, bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return ct.feedData(d, n, c) == ErrorCode::Success && !ct.done();
        });
        ct.trimTerminator();
        ct.terminate();

        std::string text;
        ToStringParser ts(text);
        feedInChunks(rng, bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return ts.feedData(d, n, c) == ErrorCode::Success && !ts.done();
        });
        EXPECT_EQ(text.find('\0'), std::string::npos);

        int i = 0;
        unsigned u = 0;
        bool b = false;
        std::pair<unsigned, unsigned> pr;
        ReplyHolder<int, unsigned, bool, std::pair<unsigned, unsigned>> holder(i, u, b, pr);
        NumericReplyParser np(holder);
        feedInChunks(rng, bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return np.feedData(d, n, c) == ErrorCode::Success && !np.done();
        });

        std::size_t entries = 0;
        auto onFile = [&](FileInfo, std::string_view name) { entries += name.size() < 132; };
        DirReplyParser dir(onFile);
        feedInChunks(rng, bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return dir.Feed(d, n, c) == ErrorCode::Success && !dir.IsDone();
        });
        auto onProc = [&](ProcessInfo, std::string_view name) { entries += name.size() < 132; };
        ProcessReplyParser proc(onProc);
        feedInChunks(rng, bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return proc.Feed(d, n, c) == ErrorCode::Success && !proc.IsDone();
        });

        int array[4];
        std::uint32_t count = 0;
        FrameGroupReplyParser::ReadGroupData data;
        data.array = round % 3 ? array : nullptr;
        data.count = &count;
        data.capacity = 4;
        data.onElement = [&](int) { ++entries; };
        FrameGroupReplyParser fg;
        fg.Start(&data);
        feedInChunks(rng, std::to_string(round) + bytes, [&](const char* d, std::uint32_t n, std::uint32_t& c) {
            return fg.Feed(d, n, c) == ErrorCode::Success && !fg.IsDone();
        });
        EXPECT_LE(count, 4u);

        stString out{small, sizeof small};
        from_chars(bytes.data(), bytes.data() + std::min<std::size_t>(bytes.size(), 20), out);
        EXPECT_LE(out.size, 21u);
    }
}

} // namespace
