// The fetch reply without a socket: collecting the text up to its 0x00, and decoding it as
// all values, as changed "index:value" items over one or several axes, as I/O words and as
// program-variable texts.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "shared/prmblk/PrmBlkReply.h"

using namespace Vaxo::Ubrix::Shared;

namespace {

// Feeds the bytes in chunks of `step` and returns what was consumed in all.
std::size_t feed(PrmBlkReplyText& r, std::string_view bytes, std::size_t step, ErrorCode& last) {
    std::size_t pos = 0;
    last = ErrorCode::Success;
    while (pos < bytes.size() && !r.done()) {
        std::uint32_t consumed = 0;
        const auto n = std::uint32_t(std::min(step, bytes.size() - pos));
        last = r.feedData(bytes.data() + pos, n, consumed);
        if (last != ErrorCode::Success)
            break;
        pos += consumed;
    }
    return pos;
}

} // namespace

TEST(PrmBlkReplyText, StopsBeforeTheZeroInAnyChunking) {
    const std::string bytes("1.5,2,3\0\x00\x01", 10);
    for (std::size_t step : {1u, 2u, 3u, 64u}) {
        PrmBlkReplyText r;
        ErrorCode e;
        EXPECT_EQ(feed(r, bytes, step, e), 7u) << step;
        EXPECT_EQ(e, ErrorCode::Success);
        EXPECT_TRUE(r.done());
        EXPECT_EQ(r.text(), "1.5,2,3");
        std::uint32_t consumed = 9;
        EXPECT_EQ(r.feedData("x", 1, consumed), ErrorCode::Success);
        EXPECT_EQ(consumed, 0u) << "nothing more once done";
    }
}

TEST(PrmBlkReplyText, TextBeyondTheLimitIsNotAFetchReply) {
    PrmBlkReplyText r;
    const std::string chunk(64 * 1024, '7');
    std::uint32_t consumed = 0;
    ErrorCode e = ErrorCode::Success;
    std::size_t total = 0;
    while (e == ErrorCode::Success && total <= PrmBlkReplyText::kMaxText) {
        e = r.feedData(chunk.data(), std::uint32_t(chunk.size()), consumed);
        total += consumed;
    }
    EXPECT_EQ(e, ErrorCode::BadResponse);
    EXPECT_EQ(total, PrmBlkReplyText::kMaxText);
}

TEST(PrmBlkReply, DecodesAllAndChangedValues) {
    struct Case {
        const char* name;
        std::string_view text;
        unsigned axes, blockSize, capacity;
        bool changed;
        ErrorCode result;
        std::vector<double> values;   // after decoding, starting from all -1
        std::vector<std::uint64_t> masks;
    };
    const std::vector<Case> cases = {
        {"all in order", " 1.5, -2e3 ,7\r\n", 1, 3, 3, false, ErrorCode::Success, {1.5, -2000, 7}, {}},
        {"all, empty reply", "", 1, 3, 3, false, ErrorCode::Success, {-1, -1, -1}, {}},
        {"all, more than the capacity", "1,2,3,4", 1, 3, 3, false, ErrorCode::BufferTooSmall, {1, 2, 3}, {}},
        {"all, empty item", "1,,3", 1, 3, 3, false, ErrorCode::BadResponse, {1, -1, -1}, {}},
        {"all, not a number", "1,x", 1, 2, 2, false, ErrorCode::BadResponse, {1, -1}, {}},
        {"changed, one axis", "2:9.5,0:4", 1, 3, 3, true, ErrorCode::Success, {4, -1, 9.5}, {0b101}},
        {"changed, empty reply", "", 1, 3, 3, true, ErrorCode::Success, {-1, -1, -1}, {0}},
        {"changed, over two axes", "1:5,3:6", 2, 2, 4, true, ErrorCode::Success, {-1, 5, -1, 6}, {0b10, 0b10}},
        {"changed, no colon", "1:5,7", 1, 3, 3, true, ErrorCode::BadResponse, {-1, 5, -1}, {0b10}},
        {"changed, index not a number", "a:5", 1, 3, 3, true, ErrorCode::BadResponse, {-1, -1, -1}, {0}},
        {"changed, index past the capacity", "3:1", 1, 3, 3, true, ErrorCode::BufferTooSmall, {-1, -1, -1}, {0}},
        // Below the capacity, an index at or past the block size is still written and marked.
        {"changed, one axis, past the block", "5:1,3:2", 1, 3, 6, true, ErrorCode::Success, {-1, -1, -1, 2, -1, 1},
         {0b101000}},
        {"changed, one axis, bit of index mod 64", "66:7", 1, 3, 67, true, ErrorCode::Success,
         [] { std::vector<double> v(67, -1); v[66] = 7; return v; }(), {0b100}},
        {"changed, past the axes goes to the last", "4:1", 2, 2, 6, true, ErrorCode::Success,
         {-1, -1, -1, -1, 1, -1}, {0, 0b100}},
    };
    for (const Case& c : cases) {
        std::vector<double> values(c.capacity, -1);
        std::vector<std::uint64_t> masks(c.axes, ~0ull);
        const PrmBlkOutput<double> out{values.data(), c.capacity, c.changed ? masks.data() : nullptr, c.axes,
                                       c.blockSize, 10};
        EXPECT_EQ(decodePrmBlkValues(c.text, out), c.result) << c.name;
        EXPECT_EQ(values, c.values) << c.name;
        if (c.changed) {
            EXPECT_EQ(masks, c.masks) << c.name;
        }
    }
}

TEST(PrmBlkReply, ChangedBitsFoldPastSixtyFourEntries) {
    std::vector<double> values(70, 0);
    std::uint64_t mask = 0;
    const PrmBlkOutput<double> out{values.data(), 70, &mask, 1, 70, 10};
    ASSERT_EQ(decodePrmBlkValues("65:1,3:2", out), ErrorCode::Success);
    EXPECT_EQ(mask, 0b1010u) << "entry 65 shares bit 1";
}

TEST(PrmBlkReply, WordsInTheBaseAsked) {
    std::uint64_t words[2] = {};
    const PrmBlkOutput<std::uint64_t> hex{words, 2, nullptr, 1, 2, 16}, decimal{words, 2, nullptr, 1, 2, 10};
    EXPECT_EQ(decodePrmBlkValues("ff,10", hex), ErrorCode::Success);
    EXPECT_EQ(words[0], 255u);
    EXPECT_EQ(words[1], 16u);
    EXPECT_EQ(decodePrmBlkValues("ff", decimal), ErrorCode::BadResponse);
    EXPECT_EQ(decodePrmBlkValues("18446744073709551615,10", decimal), ErrorCode::Success);
    EXPECT_EQ(words[0], ~0ull);
}

TEST(PrmBlkReply, ProgramVariableTexts) {
    PrmBlkValueArrayT<PrmBlkString> texts;
    ASSERT_EQ(decodePrmBlkTexts("-12, hello ,1.0000", texts, 3, nullptr), ErrorCode::Success);
    EXPECT_TRUE(texts.isSet());
    EXPECT_EQ(texts[0].view(), "-12");
    EXPECT_EQ(texts[1].view(), "hello");
    EXPECT_EQ(texts[2].view(), "1.0000");

    std::uint64_t mask = ~0ull;
    ASSERT_EQ(decodePrmBlkTexts("1:world", texts, 3, &mask), ErrorCode::Success);
    EXPECT_EQ(mask, 0b10u);
    EXPECT_EQ(texts[0].view(), "-12") << "entries not named keep their text";
    EXPECT_EQ(texts[1].view(), "world");

    PrmBlkValueArrayT<PrmBlkString> fresh;
    EXPECT_EQ(decodePrmBlkTexts("a,b,c,d", fresh, 3, nullptr), ErrorCode::BufferTooSmall);
    EXPECT_FALSE(fresh.isSet()) << "a failed decode does not count as fetched";
    EXPECT_EQ(decodePrmBlkTexts("3:x", fresh, 3, &mask), ErrorCode::BufferTooSmall);
    EXPECT_EQ(decodePrmBlkTexts("x", fresh, 3, &mask), ErrorCode::BadResponse);
}
