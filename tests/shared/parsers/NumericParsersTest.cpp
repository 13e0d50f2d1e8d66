// Numeric line replies, strtol-style numbers and the from_chars conversions.
#include "FeedHelpers.h"

#include "shared/parsers/FromChars.h"
#include "shared/parsers/NumericReplyParser.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using namespace Vaxo::Ubrix::Shared;
using namespace std::string_literals;
using ParserTest::feedBytes;

namespace {

enum class NetState : std::uint16_t { Init = 1, PreOp = 2, Op = 8 };

TEST(NumericReplyParser, StoresValueAndLeavesZeroForStandardResponse) {
    int value = -1;
    ReplyHolder<int> holder(value);
    NumericReplyParser parser(holder);
    auto r = feedBytes(parser, "12\r\n\0"s);
    EXPECT_EQ(r.error, ErrorCode::Success);
    EXPECT_EQ(value, 12);
    EXPECT_TRUE(parser.done());
    EXPECT_EQ(r.used, 4u); // the 0x00 stays on the wire
    std::uint32_t consumed = 7;
    EXPECT_EQ(parser.feedData("\0", 1, consumed), ErrorCode::Success);
    EXPECT_EQ(consumed, 0u);
}

TEST(NumericReplyParser, SeveralTypedValuesInOrder) {
    bool b = false;
    unsigned u = 0;
    NetState st{};
    std::pair<unsigned, unsigned> pr{};
    ReplyHolder<bool, unsigned, NetState, std::pair<unsigned, unsigned>> holder(b, u, st, pr);
    NumericReplyParser parser(holder);
    auto r = feedBytes(parser, "  -3\n4294967297 tail\n8\n3, 7\nextra"s);
    EXPECT_EQ(r.error, ErrorCode::Success);
    EXPECT_TRUE(parser.complete());
    EXPECT_TRUE(b);
    EXPECT_EQ(u, 1u); // low 32 bits of the converted long
    EXPECT_EQ(st, NetState::Op);
    EXPECT_EQ(pr, std::make_pair(3u, 7u));
    EXPECT_EQ(holder.count(), 4u);
}

TEST(NumericReplyParser, ZeroBeforeAllValuesEndsTheText) {
    int a = 0, b = 0;
    ReplyHolder<int, int> holder(a, b);
    NumericReplyParser parser(holder);
    auto r = feedBytes(parser, "5\n\0"s);
    EXPECT_TRUE(parser.done());
    EXPECT_FALSE(parser.complete());
    EXPECT_EQ(r.used, 2u);
    EXPECT_EQ(a, 5);
}

TEST(NumericReplyParser, LineLimit) {
    int v = 0;
    for (std::size_t len : {126u, 127u, 128u, 129u}) {
        ReplyHolder<int> holder(v);
        NumericReplyParser parser(holder);
        auto r = feedBytes(parser, std::string(len, '1').replace(0, 1, "7") + "\n");
        EXPECT_EQ(r.error, len <= 127 ? ErrorCode::Success : ErrorCode::BufferTooSmall) << len;
    }
}

TEST(NumericReplyParser, HolderWithoutValuesRejectsAnyLine) {
    ReplyHolder<> holder;
    NumericReplyParser parser(holder);
    EXPECT_EQ(feedBytes(parser, "0\n"s).error, ErrorCode::BadResponse);
    ReplyHolder<> quiet;
    NumericReplyParser ok(quiet);
    EXPECT_EQ(feedBytes(ok, "\0"s).used, 0u);
    EXPECT_TRUE(ok.done());
}

TEST(NumParser, StrtolRules) {
    long l = 1;
    EXPECT_EQ(NumParser::parseNum("abc", l), ErrorCode::Success);
    EXPECT_EQ(l, 0);
    EXPECT_EQ(NumParser::parseNum(" +42x", l), ErrorCode::Success);
    EXPECT_EQ(l, 42);
    int i = 0;
    EXPECT_EQ(NumParser::parseNum("-2147483649", i), ErrorCode::Success);
    EXPECT_EQ(i, INT_MAX); // low 32 bits of -2^31 - 1
    unsigned long ul = 0;
    EXPECT_EQ(NumParser::parseNum("-1", ul), ErrorCode::Success);
    EXPECT_EQ(ul, ULONG_MAX);
}

struct BoolCase {
    std::string text;
    ErrorCode error;
    bool value;
};

TEST(FromChars, BoolWordsAndNumbers) {
    const BoolCase cases[] = {
        {"TRUE", ErrorCode::Success, true},   {"on", ErrorCode::Success, true},
        {"FALSE", ErrorCode::Success, false}, {"Off", ErrorCode::Success, false},
        {"0", ErrorCode::Success, false},     {"-7", ErrorCode::Success, true},
        {"1.0000", ErrorCode::Success, true}, {"0.000", ErrorCode::Success, false},
        {"yes", ErrorCode::BadArgument, false}, {"", ErrorCode::BadArgument, false},
    };
    for (const auto& c : cases) {
        bool v = !c.value;
        EXPECT_EQ(from_chars(c.text, v), c.error) << c.text;
        if (c.error == ErrorCode::Success) {
            EXPECT_EQ(v, c.value) << c.text;
        }
    }
}

TEST(FromChars, NumbersNeedTheWholeRange) {
    const char* t = "123";
    int v = 0;
    EXPECT_EQ(from_chars(t + 2, t, v), ErrorCode::BadArgument);
    EXPECT_EQ(from_chars(std::string_view("12x"), v), ErrorCode::BadArgument);
    EXPECT_EQ(from_chars(std::string_view("+12"), v), ErrorCode::Success);
    EXPECT_EQ(v, 12);
    std::uint32_t u = 5;
    EXPECT_EQ(from_chars(std::string_view("4294967296"), u), ErrorCode::OutOfRange);
    EXPECT_EQ(from_chars(std::string_view("-1"), u), ErrorCode::BadArgument);
    EXPECT_EQ(u, 5u);
    EXPECT_EQ(from_chars(std::string_view("ff"), u, 16), ErrorCode::Success);
    EXPECT_EQ(u, 255u);
    double d = 0;
    EXPECT_EQ(from_chars(std::string_view("-1.5e3"), d), ErrorCode::Success);
    EXPECT_EQ(d, -1500.0);
}

TEST(FromChars, IntoCallerString) {
    const std::string_view text = "hello";
    char buf[6] = "#####";
    stString fits{buf, 6};
    EXPECT_EQ(from_chars(text, fits), ErrorCode::Success);
    EXPECT_STREQ(buf, "hello");
    EXPECT_EQ(fits.size, 6u);

    stString small{buf, 5};
    EXPECT_EQ(from_chars(text, small), ErrorCode::BufferTooSmall);
    EXPECT_EQ(small.size, 6u);

    stString probe{nullptr, 100};
    EXPECT_EQ(from_chars(text, probe), ErrorCode::Success);
    EXPECT_EQ(probe.size, 6u);
    EXPECT_EQ(from_chars(text.data() + 1, text.data(), probe), ErrorCode::BadArgument);

    std::string_view view;
    EXPECT_EQ(from_chars(text.data(), text.data() + 3, view), ErrorCode::Success);
    EXPECT_EQ(view, "hel");
    EXPECT_EQ(view.data(), text.data());
}

} // namespace
