// CRC-16/UMTS and the link's framing: check value, table against a bitwise CRC and against
// Debian's python3-crcmod, destinations, headers, escapes and the receive state machine.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "LoaderTestUtil.h"
#include "shared/fileloader/Crc16.h"
#include "shared/fileloader/Framing.h"
#include "shared/fileloader/ReceiveParser.h"

using namespace Vaxo::Ubrix::Shared;
using namespace loadertest;

TEST(Crc16, CheckValueAndNameSelection) {
    EXPECT_EQ(crc16Update(0, "123456789", 9), 0xFEE8);
    CrcCalculator c;
    EXPECT_FALSE(c.select("CRC-32"));
    EXPECT_TRUE(c.select("crc-16"));
    c.add("12345", 5);
    c.add("6789", 4); // split feeding gives the same value
    EXPECT_EQ(c.value(), 0xFEE8u);
}

TEST(Crc16, SliceBy8AgreesWithByteTableAtEveryLengthAndOffset) {
    Bytes data = mixed(4096, 3);
    for (std::size_t off = 0; off < 9; ++off)
        for (std::size_t len : {0u, 1u, 7u, 8u, 9u, 15u, 16u, 17u, 63u, 1000u, 4000u})
            ASSERT_EQ(crc16Update(0, data.data() + off, len), Vaxo::Sim::simCrc16(data.data() + off, len))
                << off << "/" << len;
}

// The CRC of a generated file, by python3-crcmod (an implementation not written here).
static long crcmodOf(const fs::path& p) {
    std::string cmd = "/usr/bin/python3 -c \"import crcmod,sys; f=crcmod.mkCrcFun(0x18005, initCrc=0, rev=False, "
                      "xorOut=0); print(f(open(sys.argv[1],'rb').read()))\" '" +
                      p.string() + "'";
    FILE* pipe = popen(cmd.c_str(), "r");
    if (!pipe)
        return -1;
    long v = -1;
    if (std::fscanf(pipe, "%ld", &v) != 1)
        v = -1;
    pclose(pipe);
    return v;
}

TEST(Crc16, AgreesWithPythonCrcmodOnGeneratedFiles) {
    for (auto& [name, data] : {std::pair{"crc_all.bin", everyByte(3)}, std::pair{"crc_mixed.bin", mixed(300000, 9)}}) {
        fs::path p = writeFile(name, data);
        std::uint64_t crc = 0;
        ASSERT_EQ(TextFileLoader::GetLocalFileCRC(p.string(), false, crc), ErrorCode::Success);
        EXPECT_EQ(long(crc), crcmodOf(p)) << name;
    }
}

TEST(Framing, DestinationKinds) {
    struct Case {
        const char* remote;
        ErrorCode rc;
        int kind;
        const char* bare;
    } cases[] = {
        {"MAIN.bas", ErrorCode::Success, 2, "MAIN.bas"},
        {"SD:log.txt", ErrorCode::Success, 1, "log.txt"},
        {"sd:LOG.TXT", ErrorCode::Success, 1, "LOG.TXT"},
        {"/flash/cfg.txt", ErrorCode::Success, 3, "flash/cfg.txt"},
        {"dir/a.bin", ErrorCode::Success, 3, "dir/a.bin"},
        {"", ErrorCode::BadArgument, 0, ""},
        {"SD:", ErrorCode::BadArgument, 0, ""},
        {"/", ErrorCode::BadArgument, 0, ""},
        {"bad\x01name", ErrorCode::BadArgument, 0, ""},
        {"a\"b", ErrorCode::BadArgument, 0, ""},
    };
    for (const auto& c : cases) {
        int kind = 0;
        std::string bare;
        ASSERT_EQ(GetDestination(c.remote, kind, bare), c.rc) << c.remote;
        if (c.rc == ErrorCode::Success) {
            EXPECT_EQ(kind, c.kind) << c.remote;
            EXPECT_EQ(bare, c.bare) << c.remote;
        }
    }
    int kind = 0;
    std::string bare;
    EXPECT_EQ(GetDestination(std::string(256, 'a'), kind, bare), ErrorCode::BadArgument);
}

TEST(Framing, HeadersOfTheThreeKinds) {
    EXPECT_EQ(makeHeader(1, "log.txt", 3, 1), std::string("\x01SD:log.txt\x02"));
    EXPECT_EQ(makeHeader(2, "MAIN.bas", 2, 0), std::string("\x01" "0020MAIN.bas\x02"));
    EXPECT_EQ(makeHeader(3, "a/b", 1, 7), std::string("\x01" "0017\x1f" "1\x1f" "a/b\x02"));
}

TEST(Framing, EscapesExactlyTheFourBytes) {
    const unsigned char in[] = {'a', '\\', 0x01, 0x02, 0x03, 0x04, 0x1F, 0x00, 'z'};
    std::string out;
    appendEscaped(out, in, sizeof in);
    EXPECT_EQ(out, std::string("a\\\\\\h\\s\\e\x04\x1f", 11) + std::string(1, '\0') + "z");
}

namespace {

// The escaped form one byte at a time, as the link defines it.
std::string escapeByByte(const Bytes& in) {
    std::string out;
    for (std::uint8_t c : in) {
        if (char letter = escapeLetter(c)) {
            out.push_back('\\');
            out.push_back(letter);
        } else {
            out.push_back(char(c));
        }
    }
    return out;
}

struct Collect : ReceiveParser::Sink {
    Bytes bytes;
    std::vector<std::string> texts;
    ErrorCode data(const unsigned char* b, std::size_t n) override {
        bytes.insert(bytes.end(), b, b + n);
        return ErrorCode::Success;
    }
    ErrorCode control(std::string_view t, const ReceiveParser::ControlText&) override {
        texts.emplace_back(t);
        return ErrorCode::Success;
    }
};

} // namespace

TEST(Framing, WordAtATimeEscapeMatchesTheByteRuleAndParsesBack) {
    // Escapable bytes and 0x00 (which the word test must not take for one) at every position
    // of a word, in runs of every length around the word size.
    std::mt19937 rng(3);
    const std::uint8_t pool[] = {0x00, 0x01, 0x02, 0x03, 0x04, '\\', 0x5B, 0x5D, 0x80, 0xFF, 'a', 0x7F};
    for (int round = 0; round < 2000; ++round) {
        Bytes in(rng() % 40);
        for (auto& b : in)
            b = rng() % 3 ? std::uint8_t('a' + rng() % 26) : pool[rng() % std::size(pool)];
        std::string out(2 * in.size(), '\0');
        out.resize(escapeInto(out.data(), in.data(), in.size()));
        ASSERT_EQ(out, escapeByByte(in)) << round;

        // Back through the receive state machine, the stream cut at a random place.
        std::string wire = std::string("\x02" "FILE\x03") + out + "\x02" "CRC=1\x03";
        ReceiveParser parser;
        Collect sink;
        const std::size_t cut = rng() % (wire.size() + 1);
        ASSERT_EQ(parser.feed(wire.data(), cut, sink), ErrorCode::Success);
        ASSERT_EQ(parser.feed(wire.data() + cut, wire.size() - cut, sink), ErrorCode::Success);
        EXPECT_EQ(sink.bytes, in) << round;
        EXPECT_EQ(sink.texts, (std::vector<std::string>{"FILE", "CRC=1"}));
    }
}

TEST(ReceiveParser, ControlTextsAndTheirErrors) {
    struct Row {
        std::string wire;
        ErrorCode rc;
        ReceiveParser::Control kind;
        std::uint64_t crc;
    };
    using C = ReceiveParser::Control;
    const Row rows[] = {
        // One STX opens a text; a second one right after it opens it again.
        {"\x02" "CRC=fee8\x03", ErrorCode::Success, C::Crc, 0xFEE8},
        {"\x02\x02" "CRC=fee8\x03", ErrorCode::Success, C::Crc, 0xFEE8},
        {"junk\x02" "XON\x03", ErrorCode::Success, C::Xon, 0},          // bytes between texts are ignored
        {"\x02" "x\x02" "XOFF\x03", ErrorCode::Success, C::Xoff, 0},     // an STX starts the text anew
        {"\x02" "FILE\x03" "ab\\\x02" "XON\x03", ErrorCode::Success, C::Xon, 0}, // even after an escape
        // The CRC number as "%lx" reads it.
        {"\x02" "CRC=1A2B\x03", ErrorCode::Success, C::Crc, 0x1A2B},
        {"\x02" "CRC=0x1a2b\x03", ErrorCode::Success, C::Crc, 0x1A2B},
        {"\x02" "CRC=0X1A2B\x03", ErrorCode::Success, C::Crc, 0x1A2B},
        {"\x02" "CRC= \t1A2B\x03", ErrorCode::Success, C::Crc, 0x1A2B},
        {"\x02" "CRC=+ff\x03", ErrorCode::Success, C::Crc, 0xFF},
        {"\x02" "CRC=ffz\x03", ErrorCode::Success, C::Crc, 0xFF},
        {"\x02" "CRC=-1\x03", ErrorCode::Success, C::Crc, ~0ull},
        {"\x02" "CRC=\x03", ErrorCode::BadResponse, C::Other, 0},
        {"\x02" "CRC= \x03", ErrorCode::BadResponse, C::Other, 0},
        {"\x02" "CRC=zz\x03", ErrorCode::BadResponse, C::Other, 0},
        {"\x02" "CRC=123456789abcdef0123\x03", ErrorCode::BadResponse, C::Other, 0},
        // "CRC=" and "FILE" begin the text as written.
        {"\x02" "crc=1A\x03", ErrorCode::Success, C::Other, 0},
        {"\x02" "file\x03" "x", ErrorCode::Success, C::Other, 0},
        // ABORT, XON, XOFF: the text is a case-insensitive prefix of the keyword.
        {"\x02" "ab\x03", ErrorCode::Success, C::Abort, 0},
        {"\x02\x03", ErrorCode::Success, C::Abort, 0}, // the empty text is a prefix of ABORT
        {"\x02" "ABORTED\x03", ErrorCode::Success, C::Other, 0}, // longer than the keyword
        {"\x02" "xOn\x03", ErrorCode::Success, C::Xon, 0},
        {"\x02" "XOF\x03", ErrorCode::Success, C::Xoff, 0},
        {"\x02" "X\x03", ErrorCode::Success, C::Xon, 0}, // a prefix of both: XON wins
        {"\x02" + std::string(300, 'a') + "\x03", ErrorCode::BufferTooSmall, C::Other, 0},
        {"\x02" "FILE\x03" "ab\\q", ErrorCode::BadResponse, C::File, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.wire);
        struct Last : ReceiveParser::Sink {
            ReceiveParser::ControlText seen;
            ErrorCode data(const unsigned char*, std::size_t) override { return ErrorCode::Success; }
            ErrorCode control(std::string_view, const ReceiveParser::ControlText& m) override {
                seen = m;
                return ErrorCode::Success;
            }
        } sink;
        ReceiveParser parser;
        EXPECT_EQ(parser.feed(r.wire.data(), r.wire.size(), sink), r.rc);
        EXPECT_EQ(sink.seen.kind, r.kind);
        EXPECT_EQ(sink.seen.crc, r.crc);
    }
}

TEST(Crc16, SimulatorsSliceBy8AgreesWithItsByteTable) {
    const Bytes data = mixed(5000, 9);
    for (std::size_t split : {0u, 1u, 7u, 8u, 9u, 4093u}) {
        std::uint16_t c = Vaxo::Sim::simCrc16Update(0, data.data(), split);
        c = Vaxo::Sim::simCrc16Update(c, data.data() + split, data.size() - split);
        EXPECT_EQ(c, Vaxo::Sim::simCrc16(data.data(), data.size())) << split;
    }
}
