// CRC-16/UMTS and the link's framing: check value, table against a bitwise CRC and against
// Debian's python3-crcmod, destinations, headers and escapes.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "LoaderTestUtil.h"
#include "shared/fileloader/Crc16.h"
#include "shared/fileloader/Framing.h"

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
