// Request encoding: exact bytes of every element encoder, both number formats, the three
// system-variable schemes, token expressions with their messages, list helpers, buffers, the
// standard response, and sending with escaping.
#include "WireTestSupport.h"

#include "shared/protocol/TokenLists.h"
#include "shared/protocol/TokenSend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using namespace wire_test;

namespace {

// EXTENDED_TOKEN is 230 here so that codes at or above it take two bytes.
constexpr int E = 230;

struct Range {
    std::uint32_t first, count;
};

class Encoding : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(token.LoadTokenTable(table({"S1OPENBRACKETS", "S2CLOSEBRACKETS", "S3ASSIGN", "S4NUMBER", "S5EOX",
                                              "S6COMMA", "S7SYSTEMVARIABLE", "S8SYSTEMVARIABLE2", "S11MODIFIER",
                                              "S12RANGE", "C240VR,0,0,0,0,0,0,>", "C20TABLE,0,0,0,0,0,0,>",
                                              "V100UNITS,0,>", "V300CONTROL,0,>", "V600BIG,0,>", "M40AXIS,0,0,0"},
                                             E)),
                  ErrorCode::Success);
    }
    std::string enc() const { return std::string(buf.chars(), buf.length()); }
    // NUMBER, v in the current format, EOX.
    std::string value(double v) {
        TokenBuffer160 b;
        token.StoreNumber(v, b);
        return "\x04" + std::string(b.chars(), b.length()) + "\x05";
    }
    Events ev;
    Token token{ev.callback};
    TokenBuffer160 buf{token};
};

} // namespace

TEST_F(Encoding, TokenCodesBelowAndFromTheExtendedCode) {
    struct {
        unsigned short code;
        std::string bytes;
    } const cases[] = {{0, bytes({0})}, {E - 1, bytes({E - 1})}, {E, bytes({E, 0})}, {E + 5, bytes({E, 5})},
                       {E + 300, bytes({E, (300) & 0xFF})}};
    for (auto& c : cases) {
        buf.clear();
        EXPECT_EQ(token.appendTokenCode(c.code, buf), ErrorCode::Success);
        EXPECT_EQ(enc(), c.bytes) << c.code;
    }
    buf.clear();
    EXPECT_EQ(token.appendToken(KnownTokens::VR, buf), ErrorCode::Success);
    EXPECT_EQ(token.appendToken("TABLE", 'C', buf), ErrorCode::Success);
    EXPECT_EQ(token.appendZeroToken(buf), ErrorCode::Success);
    EXPECT_EQ(token.appendByte(0x7F, buf), ErrorCode::Success);
    EXPECT_EQ(token.appendString("ab\x01", buf), ErrorCode::Success);
    EXPECT_EQ(enc(), bytes({E, 10, 20, 200, 0x7F, 'a', 'b', 1}));
    EXPECT_EQ(token.appendToken(KnownTokens::DIR, buf), ErrorCode::NotSupported);
    EXPECT_EQ(token.appendToken("TABLE", 'V', buf), ErrorCode::NotSupported);
    EXPECT_EQ(buf.length(), 8u); // failures append nothing
}

TEST_F(Encoding, ValuesInBothNumberFormats) {
    ASSERT_EQ(token.GetFloatingPointFormat(), 1u);
    EXPECT_EQ(token.appendValue(1.0, buf), ErrorCode::Success);
    EXPECT_EQ(enc(), bytes({4, 0, 0, 0, 0, 5})); // TMS320 1.0 is the word 0
    buf.clear();
    ASSERT_TRUE(token.SetControllerType(410)); // an ARM controller: IEEE 64
    EXPECT_EQ(token.appendValue(1.0, buf), ErrorCode::Success);
    EXPECT_EQ(enc(), bytes({4, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 5}));
    // A typical variable write: VR(12) = -2.5
    buf.clear();
    token.appendToken(KnownTokens::VR, buf);
    token.appendToken(KnownTokens::OPENBRACKETS, buf);
    token.appendValue(12, buf);
    token.appendToken(KnownTokens::CLOSEBRACKETS, buf);
    token.appendToken(KnownTokens::ASSIGN, buf);
    token.appendValue(-2.5, buf);
    token.appendZeroToken(buf);
    EXPECT_EQ(enc(), bytes({E, 10, 1, 4, 0, 0, 0, 0, 0, 0, 0x28, 0x40, 5, 2, 3, 4, 0, 0, 0, 0, 0, 0, 4, 0xC0, 5, 200}));
}

TEST_F(Encoding, SystemVariablePrefixSchemes) {
    struct Case {
        const char* what;
        unsigned short code;
        bool first;
        std::string bytes;
        ErrorCode rc;
    };
    auto run = [&](const std::vector<Case>& cases) {
        for (auto& c : cases) {
            buf.clear();
            if (!c.first)
                buf.append(0xAA);
            EXPECT_EQ(token.appendToken_SystemVariable(buf, c.code), c.rc) << c.what;
            EXPECT_EQ(enc(), (c.first ? "" : bytes({0xAA})) + c.bytes) << c.what;
        }
    };
    // Two prefixes (no bodge): the same wherever the variable stands.
    run({{"byte", 100, true, bytes({7, 100}), ErrorCode::Success},
         {"second page first", 300, true, bytes({8, 44}), ErrorCode::Success},
         {"second page later", 300, false, bytes({8, 44}), ErrorCode::Success},
         {"too high", 512, true, "", ErrorCode::Remote_TokenBuffer}});
    // The bodge: after the first element, SYSTEMVARIABLE, low byte, high byte as a token code.
    ASSERT_TRUE(token.SetControllerVersion(99.0338001));
    ASSERT_TRUE(token.Is16bitSysVarsBodge());
    run({{"bodge first", 300, true, bytes({8, 44}), ErrorCode::Success},
         {"bodge later", 300, false, bytes({7, 44, 1}), ErrorCode::Success},
         {"bodge high", 600, false, bytes({7, 0x58, 2}), ErrorCode::Success},
         {"bodge extended high", 0xE705, false, bytes({7, 5, E, 1}), ErrorCode::Success},
         {"bodge first too high", 600, true, "", ErrorCode::Remote_TokenBuffer}});
    // With the 16-bit token every code is that token, low byte, high byte.
    ASSERT_EQ(token.LoadTokenTable(table({"S9SYSTEMVARIABLE16"}, E)), ErrorCode::Success);
    ASSERT_TRUE(token.SetControllerVersion(2.0273));
    ASSERT_TRUE(token.Is16bitSysVarsToken());
    run({{"16-bit", 600, true, bytes({9, 0x58, 2}), ErrorCode::Success},
         {"16-bit later", 5, false, bytes({9, 5, 0}), ErrorCode::Success}});
}

TEST_F(Encoding, SystemVariableByName) {
    EXPECT_EQ(token.appendToken_SystemVariable(buf, "CONTROL"), ErrorCode::Success);
    EXPECT_EQ(enc(), bytes({8, 44}));
    EXPECT_EQ(token.appendToken_SystemVariable(buf, "VR"), ErrorCode::NotSupported); // a command
    EXPECT_TRUE(ev.has("Undefined system variable: VR", ErrorCode::NotSupported));
}

TEST_F(Encoding, TokenExpressions) {
    struct {
        const char* expr;
        std::string bytes;
    } const good[] = {
        {"UNITS", bytes({7, 100})},
        {"  UNITS\t", bytes({7, 100})},
        {"UNITS AXIS(3)", bytes({7, 100, 11, 40, 1}) + value(3) + bytes({2})},
        {" UNITS  AXIS ( 3 ) ", bytes({7, 100, 11, 40, 1}) + value(3) + bytes({2})},
        {"VR(5)", bytes({E, 10, 1}) + value(5) + bytes({2})},
        {"VR (0)", bytes({E, 10, 1}) + value(0) + bytes({2})},
    };
    for (auto& g : good) {
        buf.clear();
        EXPECT_EQ(token.appendTokenWithModifierOrIndexer(buf, g.expr), ErrorCode::Success) << g.expr;
        EXPECT_EQ(enc(), g.bytes) << g.expr;
    }

    const std::string shape = "Expected expression of type 'TOKEN MODIFIER(index)' or 'TOKEN(index)' parsing ";
    struct {
        const char* expr;
        ErrorCode rc;
        std::string message;
    } const bad[] = {
        {"", ErrorCode::BadArgument, shape},
        {"UNITS(", ErrorCode::BadArgument, shape + "UNITS("},
        {"UNITS()", ErrorCode::BadArgument, shape + "UNITS()"},
        {"UNITS(x)", ErrorCode::BadArgument, shape + "UNITS(x)"},
        {"UNITS(-1)", ErrorCode::BadArgument, shape + "UNITS(-1)"},
        {"UNITS(99999999999)", ErrorCode::BadArgument, shape + "UNITS(99999999999)"},
        {"UNITS AXIS", ErrorCode::BadArgument, shape + "UNITS AXIS"},
        {"UNITS AXIS(1) x", ErrorCode::BadArgument, shape + "UNITS AXIS(1) x"},
        {"UNITS(1)(2)", ErrorCode::BadArgument, shape + "UNITS(1)(2)"},
        {"UN-ITS", ErrorCode::BadArgument, shape + "UN-ITS"},
        {"(3)", ErrorCode::BadArgument, shape + "(3)"},
        {"NOPE", ErrorCode::NotSupported, "Main token not found while parsing NOPE"},
        {"NOPE AXIS(1)", ErrorCode::NotSupported, "Main token not found while parsing NOPE AXIS(1)"},
        {"AXIS(3)", ErrorCode::BadArgument, "Expecting command token with index"},
        {"VR", ErrorCode::BadArgument, "Expecting system variable token"},
        {"VR AXIS(1)", ErrorCode::BadArgument, "Expecting system variable token with modifier"},
        {"BIG", ErrorCode::Remote_TokenBuffer, ""},
        {"UNITS VR(1)", ErrorCode::NotSupported, ""}, // the modifier must be an 'M' record
    };
    for (auto& b : bad) {
        buf.clear();
        ev.list.clear();
        EXPECT_EQ(token.appendTokenWithModifierOrIndexer(buf, b.expr), b.rc) << b.expr;
        if (!b.message.empty()) {
            EXPECT_TRUE(ev.has(b.message, b.rc)) << b.expr;
        }
        EXPECT_TRUE(buf.empty()) << b.expr;
    }
}

TEST_F(Encoding, IndexAndRangeLists) {
    struct {
        std::vector<unsigned> indices;
        std::string bytes;
    } const cases[] = {
        {{9}, value(9)},
        {{1, 2, 3, 4, 7}, value(1) + "\x0c" + value(4) + "\x06" + value(7)},
        {{5, 6}, value(5) + "\x06" + value(6)},
        {{3, 2, 1}, value(3) + "\x06" + value(2) + "\x06" + value(1)},
        {{1, 2, 3, 5, 6, 7, 8}, value(1) + "\x0c" + value(3) + "\x06" + value(5) + "\x0c" + value(8)},
        {{4, 5, 9, 10, 11}, value(4) + "\x06" + value(5) + "\x06" + value(9) + "\x0c" + value(11)},
    };
    for (auto& c : cases) {
        buf.clear();
        EXPECT_EQ(appendIndices(c.indices.data(), unsigned(c.indices.size()), token, buf), ErrorCode::Success);
        EXPECT_EQ(enc(), c.bytes);
    }
    buf.clear();
    EXPECT_EQ(appendIndices(static_cast<const unsigned*>(nullptr), 0, token, buf), ErrorCode::BadArgument);

    const Range two[] = {{2, 3}, {10, 64}};
    EXPECT_EQ(appendRanges(two, 2, token, buf), ErrorCode::Success);
    EXPECT_EQ(enc(), value(2) + "\x06\x0c" + value(5) + "\x06" + value(10) + "\x06\x0c" + value(74));
    buf.clear();
    const Range tooLong[] = {{0, 1}, {2, 65}};
    EXPECT_EQ(appendRanges(tooLong, 2, token, buf), ErrorCode::OutOfRange);
    EXPECT_TRUE(buf.empty());
    EXPECT_EQ(appendRanges(two, 0, token, buf), ErrorCode::BadArgument);

    TokenAndBuffer tb(token);
    EXPECT_EQ(AddPeriod(tb, 2), ErrorCode::Success);
    EXPECT_EQ(std::string(tb.buffer.chars(), tb.buffer.length()), "\x06" + value(2));
}

TEST(TokenHelpers, ToBigEndianSignExtendsEachByte) {
    struct {
        std::vector<unsigned char> in;
        std::uint32_t out;
    } const cases[] = {{{0x01, 0x02, 0x03, 0x04}, 0x04030201u}, {{0x7F}, 0x7Fu},
                       {{0x80}, 0xFFFFFF80u},                   {{0x01, 0x80}, 0xFFFF8001u},
                       {{0xFF, 0x00}, 0xFFFFFFFFu},             {{}, 0u}};
    for (auto& c : cases)
        EXPECT_EQ(ToBigEndian(c.in.data(), unsigned(c.in.size())), c.out);
    EXPECT_TRUE(isEmpty(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(isEmpty(""));
    EXPECT_FALSE(isEmpty("x"));
}

TEST(TokenBuffers, InlineUntilFullThenGrowsInSteps) {
    TokenBuffer<160, 160> b;
    std::string data(159, 'x');
    b.append(reinterpret_cast<const unsigned char*>(data.data()), 159);
    EXPECT_FALSE(b.isDynamic()); // 159 bytes and the terminator fit inside
    EXPECT_EQ(b[159], 0);
    b.append('y');
    EXPECT_TRUE(b.isDynamic());
    EXPECT_EQ(b.capacity(), 320u);
    EXPECT_EQ(b.length(), 160u);
    EXPECT_EQ(b[159], 'y');
    EXPECT_EQ(b[160], 0);
    b.reserve(100); // back inside, cut to what fits with its terminator
    EXPECT_FALSE(b.isDynamic());
    EXPECT_EQ(b.length(), 159u);
    EXPECT_EQ(b.data()[159], 0);
    b.setLength(500);
    EXPECT_EQ(b.capacity(), 640u);
    EXPECT_EQ(b[400], 0);
    unsigned char* released = b.releaseBuffer();
    EXPECT_EQ(released[0], 'x');
    delete[] released;
    EXPECT_TRUE(b.empty());
    EXPECT_FALSE(b.isDynamic());

    TokenBuffer<1024, 160> big;
    big.setLength(1023);
    EXPECT_FALSE(big.isDynamic());
    big.append(1);
    EXPECT_EQ(big.capacity(), 1120u);

    BufferBase<unsigned int, 128, 32> ints;
    for (unsigned i = 0; i < 200; ++i)
        ints.append(i);
    EXPECT_EQ(ints.capacity(), 224u);
    EXPECT_EQ(ints[199], 199u);
}

TEST(TokenBuffers, MemBufferHoldsAndHandsOnText) {
    MemBuffer<32, 128> a("short");
    EXPECT_EQ(a.view(), "short");
    std::string longText(100, 'z');
    a.setValue(longText);
    EXPECT_TRUE(a.isDynamic());
    EXPECT_EQ(a.capacity(), 128u);
    MemBuffer<512, 128> b;
    a.moveTo(b);
    EXPECT_EQ(b.view(), longText);
    EXPECT_TRUE(a.empty());
    EXPECT_FALSE(a.isDynamic());
    b.resize(3);
    std::string out;
    b.moveTo(out);
    EXPECT_EQ(out, "zzz");
}

// Two status rules. A command's standard response truncates the status toward zero to 16 bits;
// the value-and-status reply of a write rounds it to the nearest whole number and keeps 32 bits.
// What cannot be a status under a rule is BadResponse. Both number formats, so that fractions
// survive the TMS320 rounding too.
TEST(TokenResponse, StandardStatusTruncatesWriteStatusRounds) {
    const double inf = std::numeric_limits<double>::infinity();
    const ErrorCode bad = ErrorCode::BadResponse;
    auto ctrl = [](std::uint64_t n) { return ErrorCode(0x0400000000ull | n); };
    struct {
        double status;
        ErrorCode truncated;  // replyStatus: the standard response
        ErrorCode rounded;    // Token::GetResponse: the reply to a write
        bool tmsToo;          // representable in the 32-bit format
    } const cases[] = {
        {0, ErrorCode::Success, ErrorCode::Success, true},
        {19, ctrl(19), ctrl(19), true},
        {2.5, ctrl(2), ctrl(3), true},
        {2.9, ctrl(2), ctrl(3), true},
        {2.4, ctrl(2), ctrl(2), true},
        {18.6, ctrl(18), ctrl(19), true},
        {0.4, ErrorCode::Success, ErrorCode::Success, true},
        {-0.5, ErrorCode::Success, ErrorCode::Success, true},
        {-0.6, ErrorCode::Success, bad, true},
        {65535.75, ctrl(0xFFFF), ctrl(0x10000), true},
        {65536, bad, ctrl(0x10000), true},
        {-1, bad, bad, true},
        {1e12, bad, bad, true},
        {inf, bad, bad, false},
        {-inf, bad, bad, false},
        {std::nan(""), bad, bad, false},
    };
    for (bool ieee : {false, true}) {
        Events ev;
        Token token(ev.callback);
        if (ieee) {
            ASSERT_TRUE(token.SetControllerType(504));
        }
        ScriptPort port(ev.callback);
        auto number = [&](double v) {
            if (!ieee) {
                unsigned char b[4];
                ControllerCapabilities::Tms320Bytes(v, b);
                return std::string(reinterpret_cast<char*>(b), 4);
            }
            char b[8];
            std::memcpy(b, &v, 8);
            return std::string(b, 8);
        };
        for (auto& c : cases) {
            if (!ieee && !c.tmsToo)
                continue;
            port.input = number(7.5) + number(c.status);
            double value = 0;
            EXPECT_EQ(token.GetResponse(&value, port, 10), c.rounded) << c.status << (ieee ? " ieee" : " tms");
            EXPECT_EQ(value, 7.5);
            EXPECT_TRUE(port.input.empty());
            unsigned short st = 1;
            EXPECT_EQ(replyStatus(c.status, st), c.truncated) << c.status;
        }
        port.input = number(1) + "\x01";
        EXPECT_EQ(token.GetResponse(nullptr, port, 10), ErrorCode::Timeout);
    }
}

namespace {

class Sending : public ::testing::Test {
protected:
    std::vector<std::string> send(const std::string& request, unsigned flags = SendDefault, ErrorCode* rc = nullptr) {
        port.writes.clear();
        ErrorCode r = sendTokenbuffer(port, token, reinterpret_cast<const unsigned char*>(request.data()),
                                      unsigned(request.size()), flags);
        if (rc)
            *rc = r;
        else
            EXPECT_EQ(r, ErrorCode::Success);
        return port.writes;
    }
    Events ev;
    Token token{ev.callback}; // defaults: escaped link, remote buffer 124
    ScriptPort port{ev.callback};
};

using Writes = std::vector<std::string>;

} // namespace

TEST_F(Sending, EscapingOfSingleRequests) {
    ASSERT_TRUE(token.IsCommunicationsEscaped());
    struct {
        std::string in;
        Writes out;
    } const cases[] = {
        {"AB", {"AB"}},
        {bytes({'A', 0x01}), {bytes({'A', 0x01})}},             // trailing 0x01 alone: bare
        {bytes({'A', 0x1B}), {bytes({'A', 0x1B, 0x1B})}},       // trailing ESC: escaped
        {bytes({'A', 0x01, 'B'}), {bytes({'A', 0x1B, 0x01, 'B'})}},
        {bytes({0x1B, 0x01}), {bytes({0x1B, 0x1B, 0x01})}},     // chunk-final 0x01 loses its escape
        {bytes({0x01, 0x1B, 0x01, 0x1B}), {bytes({0x1B, 0x01, 0x1B, 0x1B, 0x1B, 0x01, 0x1B, 0x1B})}},
        {"", {""}},
    };
    for (auto& c : cases)
        EXPECT_EQ(send(c.in), c.out);
    // Without the flag, or on a link that is not escaped, bytes go as they are.
    EXPECT_EQ(send(bytes({0x1B, 'x'}), SendCheckSize), Writes{bytes({0x1B, 'x'})});
    ASSERT_TRUE(token.SetControllerType(100)); // TMS320: not escaped
    EXPECT_EQ(send(bytes({0x1B, 'x'})), Writes{bytes({0x1B, 'x'})});
}

TEST_F(Sending, LongRequestsGoInChunksOf512InputBytes) {
    std::string in(513, 'a');
    in[0] = 0x01;
    Writes w = send(in, SendEscape);
    ASSERT_EQ(w.size(), 2u);
    EXPECT_EQ(w[0].size(), 513u); // 512 input bytes, one escape
    EXPECT_EQ(w[0].substr(0, 3), bytes({0x1B, 0x01, 'a'}));
    EXPECT_EQ(w[1], "a");

    // A 0x01 that ends the first chunk is sent bare; one in the middle of the second is not.
    std::string in2(1024, 'b');
    in2[1] = 0x1B;
    in2[511] = 0x01;
    in2[600] = 0x01;
    w = send(in2, SendEscape);
    ASSERT_EQ(w.size(), 2u);
    EXPECT_EQ(w[0].size(), 513u);
    EXPECT_EQ(w[0].substr(w[0].size() - 2), bytes({'b', 0x01}));
    EXPECT_EQ(w[1].size(), 513u);
    EXPECT_EQ(w[1].substr(600 - 512, 3), bytes({0x1B, 0x01, 'b'}));

    // Without anything to escape it is one write, however long.
    EXPECT_EQ(send(std::string(1500, 'c'), SendEscape).size(), 1u);
}

TEST_F(Sending, SizeCheckAgainstTheRemoteBuffer) {
    ASSERT_EQ(token.GetRemoteBufferSize(), 124u);
    ErrorCode rc;
    EXPECT_TRUE(send(std::string(125, 'a'), SendDefault, &rc).empty());
    EXPECT_EQ(rc, ErrorCode::Remote_TokenBuffer);
    EXPECT_EQ(send(std::string(125, 'a'), SendEscape).size(), 1u); // not checked
    EXPECT_EQ(send(std::string(124, 'a')).size(), 1u);

    // The estimate counts one escape in the body, so 123 bytes with three 0x01 pass and go
    // out longer than the limit; 124 bytes with one 0x01 in the body do not pass.
    std::string threeEscapes(123, 'a');
    threeEscapes[3] = threeEscapes[40] = threeEscapes[80] = 0x01;
    Writes w = send(threeEscapes);
    ASSERT_EQ(w.size(), 1u);
    EXPECT_EQ(w[0].size(), 126u);
    std::string oneEscape(124, 'a');
    oneEscape[10] = 0x01;
    EXPECT_TRUE(send(oneEscape, SendDefault, &rc).empty());
    EXPECT_EQ(rc, ErrorCode::Remote_TokenBuffer);
    // A trailing 0x01 costs nothing, a trailing ESC one byte.
    std::string trailing(124, 'a');
    trailing.back() = 0x01;
    EXPECT_EQ(send(trailing).size(), 1u);
    trailing.back() = 0x1B;
    EXPECT_TRUE(send(trailing, SendDefault, &rc).empty());
    EXPECT_EQ(rc, ErrorCode::Remote_TokenBuffer);

    port.writeError = systemError(104);
    send(bytes({0x01, 'a'}), SendDefault, &rc);
    EXPECT_EQ(rc, systemError(104));
}
