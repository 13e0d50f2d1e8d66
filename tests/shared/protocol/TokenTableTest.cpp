// The token table: the known-token list, the record parser fed with bytes, the name index,
// the cached look-ups, and reading the table from a port.
#include "WireTestSupport.h"

#include <gtest/gtest.h>

using namespace wire_test;

TEST(KnownTokensList, RowsMatchTheirEnumeratorsAndKinds) {
    EXPECT_TRUE(Tokens_CheckIntegrity());
    struct {
        KnownTokens k;
        unsigned value;
        const char* name;
        char kind;
    } const rows[] = {
        {KnownTokens::TOKENTABLE, 0, "TOKENTABLE", 'C'},   {KnownTokens::OPENBRACKETS, 4, "OPENBRACKETS", 'S'}, {KnownTokens::UNKNOWN, 14, "UNKNOWN", 'S'},
        {KnownTokens::MODIFIER, 23, "MODIFIER", 'S'},      {KnownTokens::ACCEL, 62, "ACCEL", 'V'},              {KnownTokens::REG_INPUTS, 255, "REG_INPUTS", 'V'},
        {KnownTokens::REGIST, 256, "REGIST", 'C'},         {KnownTokens::REGIST_CONTROL, 257, "REGIST_CONTROL", 'V'},
        {KnownTokens::CONTROL, 281, "CONTROL", 'V'},       {KnownTokens::REMOTE_PROG_VERSION, 363, "REMOTE_PROG_VERSION", 'V'},
        {KnownTokens::AXIS, 364, "AXIS", 'M'},             {KnownTokens::PORT, 367, "PORT", 'M'},               {KnownTokens::RANGE, 386, "RANGE", 'S'},
        {KnownTokens::PROJECT_KEY_REGISTRY, 400, "PROJECT_KEY_REGISTRY", 'C'},
    };
    for (auto& r : rows) {
        EXPECT_EQ(unsigned(r.k), r.value) << r.name;
        EXPECT_EQ(getKnownTokenName(r.k), r.name);
        EXPECT_EQ(getKnownTokenType(r.k), r.kind) << r.name;
    }
}

namespace {

struct ParsedTable {
    TokenMapByName<TokenDef> map;
    TokenTableParser parser{map};
    explicit ParsedTable(std::string_view text) { parser.feed(text.data(), text.size()); }
    const TokenDef* find(std::string_view n, char k) const { return map.find(n, k); }
};

} // namespace

TEST(TokenTableParser, EveryRecordKind) {
    ParsedTable t("C17MOVE,1,2,3,4,5,6,cofbdez>\r\n"
                  "V300CONTROL,7,wmde>\r\n"
                  "M364AXIS,10,20,30\r\n"
                  "S4OPENBRACKETS\r\n"
                  "E9SOMETHING\r\n"
                  "T40PI,31416\r\n"
                  "T41NEG,-12.5000\r\n"
                  "T42SMALL,125\r\n"
                  "[EOT]\r\n");
    ASSERT_TRUE(t.parser.done());
    EXPECT_EQ(t.map.size(), 8u);

    const TokenDef* c = t.find("MOVE", 'C');
    ASSERT_TRUE(c);
    EXPECT_EQ(c->code, 17);
    for (unsigned i = 0; i < 6; ++i)
        EXPECT_EQ(c->numbers[i], i + 1);
    EXPECT_EQ(c->flags, 0x01 | 0x02 | 0x04 | 0x08 | 0x20 | 0x40);

    const TokenDef* v = t.find("CONTROL", 'V');
    ASSERT_TRUE(v);
    EXPECT_EQ(v->code, 300);
    EXPECT_EQ(v->numbers[0], 7u);
    EXPECT_EQ(v->flags, 0x0F);

    const TokenDef* m = t.find("AXIS", 'M');
    ASSERT_TRUE(m);
    EXPECT_EQ(m->numbers[2], 30u);
    EXPECT_EQ(t.find("OPENBRACKETS", 'S')->code, 4);
    EXPECT_EQ(t.find("SOMETHING", 'E')->code, 9);
    EXPECT_DOUBLE_EQ(t.find("PI", 'T')->value, 3.1416);
    EXPECT_DOUBLE_EQ(t.find("NEG", 'T')->value, -12.5);
    EXPECT_DOUBLE_EQ(t.find("SMALL", 'T')->value, 0.0125);

    // Kind 0 takes any kind; a wrong kind or a different case finds nothing.
    EXPECT_EQ(t.find("MOVE", 0), c);
    EXPECT_EQ(t.find("MOVE", 'V'), nullptr);
    EXPECT_EQ(t.find("move", 0), nullptr);
    EXPECT_EQ(t.find("MOVEX", 0), nullptr);
    EXPECT_EQ(t.find("", 0), nullptr);
}

TEST(TokenTableParser, FlagsMayFollowTheLastNumberDirectly) {
    ParsedTable t("V5A,7w>\r\nV6B,8>\r\nC7C,1,2,3,4,5,6>\r\n[EOT]\r\n");
    ASSERT_TRUE(t.parser.done());
    EXPECT_EQ(t.find("A", 'V')->flags, 0x01);
    EXPECT_EQ(t.find("B", 'V')->numbers[0], 8u);
    EXPECT_EQ(t.find("C", 'C')->numbers[5], 6u);
}

TEST(TokenTableParser, DuplicateNameResolvesToTheFirst) {
    ParsedTable t("S10DUP\r\nS11DUP\r\nV12DUP,0,>\r\n[EOT]\r\n");
    EXPECT_EQ(t.map.size(), 3u);
    EXPECT_EQ(t.find("DUP", 'S')->code, 10);
    EXPECT_EQ(t.find("DUP", 'V')->code, 12);
    EXPECT_EQ(t.find("DUP", 0)->code, 10);
}

TEST(TokenTableParser, EndMarkerVariants) {
    struct {
        const char* text;
        bool done;
        bool ignoring;
    } const cases[] = {
        {"S1A\r\n[EOT]\r\n", true, false},
        {"[EOT]\r\n", true, false},
        {"[COMMENT]\r\n[EOT]\r\n", true, false},          // another bracketed line is ignored
        {"[EOT]\rX", false, false},                      // lone CR: not the end
        {"[EOT]\rXEOT]\r\n", true, false},               // ... the match goes on in later bytes
        {"[EOT]\n", false, false},
        {"S1A\r\nQ1BAD\r\n[EOT]\r\n", false, true},       // unknown record kind: ignore the rest
        {"S1A\r\n\r\n[EOT]\r\n", false, true},            // an empty line is not a record either
        {"C1A,1,2,3,4,5,6>junk\r\r\n[EOT]\r\n", true, false}, // skipping to CR LF restarts on CR
    };
    for (auto& c : cases) {
        ParsedTable t(c.text);
        EXPECT_EQ(t.parser.done(), c.done) << c.text;
        EXPECT_EQ(t.parser.ignoring(), c.ignoring) << c.text;
    }
}

TEST(TokenTableParser, StopsTakingBytesAtTheEndMarker) {
    TokenMapByName<TokenDef> map;
    TokenTableParser parser(map);
    std::string text = "S1A\r\n[EOT]\r\nS2B\r\n";
    EXPECT_EQ(parser.feed(text.data(), text.size()), text.size() - 5);
    EXPECT_EQ(map.size(), 1u);
}

TEST(TokenTableParser, OverlongNameIsDroppedAndLineSkipped) {
    std::string text = "S1" + std::string(300, 'N') + "\r\nS2OK\r\n[EOT]\r\n";
    ParsedTable t(text);
    EXPECT_TRUE(t.parser.done());
    EXPECT_EQ(t.parser.recordsDropped(), 1u);
    EXPECT_EQ(t.map.size(), 1u);
    EXPECT_TRUE(t.find("OK", 'S'));
}

TEST(TokenTableParser, ManyFirstLettersOfOneLength) {
    // Every byte value as first character of a two-character name: 255 lists fit, the 256th
    // letter is dropped rather than aliasing another list.
    TokenMapByName<TokenDef> map;
    for (int c = 0; c < 256; ++c) {
        TokenDef d;
        d.kind = 'S';
        d.code = std::uint16_t(c);
        d.name = {char(c), 'x'};
        map.add(d);
    }
    EXPECT_EQ(map.size(), 255u);
    for (int c = 0; c < 255; ++c)
        ASSERT_EQ(map.find(std::string{char(c), 'x'}, 'S')->code, c);
    EXPECT_EQ(map.find(std::string{char(255), 'x'}, 'S'), nullptr);
}

TEST(TokenTable, CachedLookUpRemembersMissingTokens) {
    Events ev;
    Token token(ev.callback);
    ASSERT_EQ(token.LoadTokenTable(table({"S20NUMBER", "V300CONTROL,0,>"})), ErrorCode::Success);
    unsigned short code = 1;
    EXPECT_EQ(token.getTokenCode(KnownTokens::NUMBER, code), ErrorCode::Success);
    EXPECT_EQ(code, 20);
    EXPECT_EQ(token.getTokenCode(KnownTokens::CONTROL, code), ErrorCode::Success);
    EXPECT_EQ(code, 300);
    EXPECT_FALSE(token.hasToken(KnownTokens::SYSTEMVARIABLE16));
    EXPECT_EQ(token.getTokenCode(KnownTokens::SYSTEMVARIABLE16, code), ErrorCode::NotSupported);
    // Uncached form: any kind, failure sets 0.
    EXPECT_EQ(token.getTokenCode("CONTROL", code, 0), ErrorCode::Success);
    EXPECT_EQ(token.getTokenCode("CONTROL", code, 'C'), ErrorCode::NotSupported);
    EXPECT_EQ(code, 0);
    const TokenDef* def = nullptr;
    EXPECT_EQ(token.getToken_Variable("CONTROL", def), ErrorCode::Success);
    ASSERT_TRUE(def);
    EXPECT_EQ(def->code, 300);
    EXPECT_EQ(token.getToken("NOPE", def, 0), ErrorCode::NotSupported);
    EXPECT_EQ(def, nullptr);
    // A known token of the wrong kind in the table does not count.
    ASSERT_EQ(token.LoadTokenTable(table({"V21NUMBER,0,>"})), ErrorCode::Success);
    EXPECT_FALSE(token.hasToken(KnownTokens::NUMBER));
    EXPECT_FALSE(token.hasToken(KnownTokens::CONTROL)); // the previous table is gone
}

TEST(TokenTable, BuiltinCodesComeFromTheTableAndFallBackToDefaults) {
    Events ev;
    Token token(ev.callback);
    EXPECT_EQ(token.tokenTableCode(), 0);
    EXPECT_EQ(token.tokenZeroCode(), 200);
    EXPECT_EQ(token.tokenExtendedCode(), 255);
    EXPECT_EQ(token.tokenUnknownCode(), 57);
    ASSERT_EQ(token.LoadTokenTable(table({}, 230, 201, 300, 1)), ErrorCode::Success);
    EXPECT_EQ(token.tokenTableCode(), 1);
    EXPECT_EQ(token.tokenZeroCode(), 201);
    EXPECT_EQ(token.tokenExtendedCode(), 230);
    EXPECT_EQ(token.tokenUnknownCode(), 300);
    // A table that lacks one of them is refused and the defaults stay.
    EXPECT_EQ(token.LoadTokenTable("S230EXTENDED_TOKEN\r\nS201ZERO\r\n[EOT]\r\n"), ErrorCode::TokenTable);
    EXPECT_EQ(token.tokenExtendedCode(), 255);
    EXPECT_EQ(token.tokenZeroCode(), 200);
    EXPECT_TRUE(ev.has("Token table has no TOKENTABLE", ErrorCode::TokenTable));
    EXPECT_EQ(token.LoadTokenTable("S1A\r\n"), ErrorCode::TokenTable);
}

TEST(TokenTable, ReadFromPortSendsTheRequestAndUsesTheNewCodes) {
    Events ev;
    Token token(ev.callback);
    ScriptPort port(ev.callback);
    port.input = table({"C300VR,0,0,0,0,0,0,>"}, 230, 201) + "next reply";
    ASSERT_EQ(token.ReadTokenTable(port, 100), ErrorCode::Success);
    ASSERT_EQ(port.writes.size(), 1u);
    EXPECT_EQ(port.writes[0], bytes({0x00, 0xC8}));
    EXPECT_EQ(port.input, "next reply"); // nothing behind the marker is taken
    unsigned short code;
    EXPECT_EQ(token.getTokenCode(KnownTokens::VR, code), ErrorCode::Success);
    EXPECT_EQ(code, 300);
    // Every table request is made with the default codes, whatever the last table said.
    port.writes.clear();
    port.input = table({});
    ASSERT_EQ(token.ReadTokenTable(port, 100), ErrorCode::Success);
    EXPECT_EQ(port.writes[0], bytes({0x00, 0xC8}));
}

TEST(TokenTable, ReadFailuresAreLoggedAndReturned) {
    Events ev;
    Token token(ev.callback);
    ScriptPort port(ev.callback);
    // An unknown record kind: the rest is ignored, so the read runs into the timeout although
    // the end marker follows.
    port.input = "S1A\r\nX\r\n[EOT]\r\n";
    EXPECT_EQ(token.ReadTokenTable(port, 5), ErrorCode::Timeout);
    EXPECT_TRUE(ev.has("Error reading ReadTokenTable response from controller", ErrorCode::Timeout));

    port.writeError = systemError(32);
    EXPECT_EQ(token.ReadTokenTable(port, 5), systemError(32));
    EXPECT_TRUE(ev.has("Error writing ReadTokenTable command", systemError(32)));
}

// A controller that never ends its table but never falls silent either: bracketed lines, over
// and over. The read takes the bound's worth of bytes and gives up with TokenTable; every read
// waits the full timeout it was given, not what is left of some total.
TEST(TokenTable, EndlessTableIsRefusedAtTheSizeBound) {
    struct EndlessPort final : Port {
        explicit EndlessPort(const EventCallback& cb) : Port(cb) {}
        std::uint64_t served = 0;
        std::vector<unsigned> timeouts;
        ErrorCode Close() override { return ErrorCode::Success; }
        ErrorCode Write(const char*, unsigned int) override { return ErrorCode::Success; }
        ErrorCode Read(char* buffer, unsigned int size, unsigned int timeout) override {
            static constexpr char kLine[] = "[MORE]\r\n";
            if (timeouts.empty() || timeouts.back() != timeout)
                timeouts.push_back(timeout);
            for (unsigned i = 0; i < size; ++i)
                buffer[i] = kLine[served++ % (sizeof kLine - 1)];
            return ErrorCode::Success;
        }
        ErrorCode UnRead(const char*, unsigned int) override { return ErrorCode::Success; }
        ErrorCode Read(char* b, unsigned int size, unsigned int& got, unsigned int t) override {
            got = size;
            return Read(b, size, t);
        }
        void setWriteSniffer(ISniffer*) override {}
        void setReadSniffer(ISniffer*) override {}
        bool isOpened() const override { return true; }
        std::uint16_t portNumber() const override { return 0; }
        std::string hostName() const override { return {}; }
    };
    Events ev;
    Token token(ev.callback);
    EndlessPort port(ev.callback);
    EXPECT_EQ(token.ReadTokenTable(port, 250), ErrorCode::TokenTable);
    EXPECT_EQ(port.served, Token::kMaxTableBytes);
    EXPECT_EQ(port.timeouts, std::vector<unsigned>{250});
}
