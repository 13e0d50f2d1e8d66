// Text parsers: terminator matching, overflow, the untouched 0x00, streaming packets.
#include "FeedHelpers.h"

#include "shared/parsers/TextReplyParsers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Vaxo::Ubrix::Shared;
using namespace std::string_literals;
using ParserTest::feedBytes;

namespace {

struct CharTermCase {
    const char* name;
    std::string input;
    std::uint32_t capacity;
    const char* terminator;
    std::uint64_t occurrences;
    bool done;
    std::size_t used;
    std::uint64_t length;
    std::string stored; // the first min(length, capacity) bytes of the buffer
};

class CharTerminated : public testing::TestWithParam<CharTermCase> {};

TEST_P(CharTerminated, FeedsLikeTheFramingLoop) {
    const auto& c = GetParam();
    std::vector<char> buffer(c.capacity + 1, '#');
    CharTerminatedReplyParser p(buffer.data(), c.capacity, c.terminator, c.occurrences);
    auto r = feedBytes(p, c.input);
    EXPECT_EQ(r.error, ErrorCode::Success);
    EXPECT_EQ(p.done(), c.done);
    EXPECT_EQ(r.used, c.used);
    EXPECT_EQ(p.length(), c.length);
    EXPECT_EQ(std::string(buffer.data(), std::min<std::uint64_t>(c.length, c.capacity)), c.stored);
    EXPECT_EQ(buffer[c.capacity], '#') << "wrote past the capacity";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CharTerminated,
    testing::Values(
        CharTermCase{"EndsAtZero", "abc\0xyz"s, 10, nullptr, 1, true, 3, 3, "abc"},
        CharTermCase{"EmptyText", "\0"s, 10, nullptr, 1, true, 0, 0, ""},
        CharTermCase{"OverflowCountsOn", "abcdef\0"s, 3, nullptr, 1, true, 6, 6, "abc"},
        CharTermCase{"Selected", "PROG selected\r\n\0"s, 32, " selected\r\n", 1, true, 15, 15, "PROG selected\r\n"},
        CharTermCase{"ZeroIsPlainWithTerminator", "a\0b;"s, 8, ";", 1, true, 4, 4, "a\0b;"s},
        CharTermCase{"SecondOccurrence", "a;b;c"s, 8, ";", 2, true, 4, 4, "a;b;"},
        // A mismatch resets the match without looking at the byte again, so "aaab" never
        // completes "aab".
        CharTermCase{"NaiveRestart", "aaab"s, 8, "aab", 1, false, 4, 4, "aaab"},
        CharTermCase{"NoTerminatorYet", "abc"s, 8, "\n", 1, false, 3, 3, "abc"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CharTerminatedParser, TrimAndTerminate) {
    char buf[32];
    CharTerminatedReplyParser p(buf, sizeof buf, " selected\r\n", 1);
    feedBytes(p, "MAIN selected\r\n");
    p.trimTerminator();
    ASSERT_TRUE(p.terminate());
    EXPECT_STREQ(buf, "MAIN");
    p.resetParsing();
    EXPECT_FALSE(p.done());
    EXPECT_EQ(p.length(), 0u);
}

TEST(CharTerminatedParser, OverflowCallbackMakesRoom) {
    struct Sink {
        std::string flushed;
    };
    char buf[4];
    Sink sink;
    auto flush = [](char*& b, std::uint32_t& cap, void*& user) {
        static_cast<Sink*>(user)->flushed.append(b, cap);
        return true;
    };
    CharTerminatedReplyParser p(buf, sizeof buf, nullptr, 1, flush, &sink);
    feedBytes(p, "0123456789\0"s);
    EXPECT_TRUE(p.done());
    EXPECT_EQ(sink.flushed + std::string(buf, p.length()), "0123456789");
}

TEST(ToStringParser, StopsInFrontOfZero) {
    std::string out = "x";
    ToStringParser p(out);
    auto r = feedBytes(p, "hello\0rest"s);
    EXPECT_TRUE(p.done());
    EXPECT_EQ(r.used, 5u);
    EXPECT_EQ(out, "xhello");
    std::uint32_t consumed = 9;
    EXPECT_EQ(p.feedData("more", 4, consumed), ErrorCode::Success);
    EXPECT_EQ(consumed, 0u);
}

TEST(ForwardingParser, OneCallPerByteAndAFinalEmptyOne) {
    std::vector<DataStreamPacket> packets;
    std::string text;
    auto sink = [&](DataStreamPacket pk, const char* bytes) {
        packets.push_back(pk);
        text.append(bytes, pk.length);
    };
    ForwardingParser p(sink);
    auto r = feedBytes(p, "abc\0"s);
    EXPECT_TRUE(p.done());
    EXPECT_EQ(r.used, 3u);
    EXPECT_EQ(text, "abc");
    ASSERT_EQ(packets.size(), 4u);
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(packets[i].sequence, i);
        EXPECT_EQ(packets[i].length, i < 3 ? 1u : 0u);
        EXPECT_EQ(packets[i].total | packets[i].flags | packets[i].reserved, 0u);
    }
}

} // namespace
