#include <gtest/gtest.h>

#include "SimTestUtil.h"
#include "sim/TokenTable.h"
#include "sim/Wire.h"

#include <map>
#include <set>
#include <sstream>

using namespace Vaxo::Sim;

TEST(SimWire, Tms320WordsOfThePublishedFormat) {
    struct Case { std::uint32_t word; double value; };
    const Case cases[] = {
        {0x80000000u, 0.0}, {0x00000000u, 1.0}, {0x01000000u, 2.0}, {0xFF800000u, -1.0}, {0x00400000u, 1.5},
        {0x00C00000u, -1.5}, {0xFF000000u, 0.5}, {0x02200000u, 5.0}, {0x00800000u, -2.0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tmsToFloat(c.word), c.value) << std::hex << c.word;
        EXPECT_EQ(floatToTms(c.value), c.word) << c.value;
    }
    for (double v : {3.25, -0.001, 123456.0, -7.75e10, 1e-30})
        EXPECT_FLOAT_EQ(float(tmsToFloat(floatToTms(v))), float(v)) << v;
    EXPECT_EQ(floatToTms(1e-60), 0x80000000u);  // below the range: zero
}

TEST(SimWire, NumbersLeastSignificantByteFirst) {
    std::vector<std::uint8_t> b;
    putNumber(b, 1.0, NumberFormat::Ieee64);
    EXPECT_EQ(b, (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
    b.clear();
    putNumber(b, 2.0, NumberFormat::Tms320);
    EXPECT_EQ(b, (std::vector<std::uint8_t>{0, 0, 0, 1}));
    EXPECT_EQ(getNumber(b.data(), NumberFormat::Tms320), 2.0);
}

TEST(SimWire, ControllerClassesAndFirmwareOrder) {
    EXPECT_TRUE(isTms320Type(206));
    EXPECT_TRUE(isTms320Type(1299));
    EXPECT_FALSE(isTms320Type(266));
    EXPECT_FALSE(isTms320Type(1266));
    EXPECT_FALSE(isTms320Type(1664));
    // The release compares exactly as the double holds it: 4.0273 and 5.0273 lie just above the
    // long-request release, 3.0273 on it, 1.0325 just below the block-write release.
    const struct {
        double a, b;
        int expected;
    } rows[] = {
        {2.0273, 2.0273, 0},  {3.0273, 2.0273, -1}, {2.0300, 2.0273, 1},
        {4.0273, kLongRequestFirmware, 1}, {5.0273, kLongRequestFirmware, 1},
        {1.0325, kBlockWriteFirmware, -1}, {2.0326, kBlockWriteFirmware, 1}, {2.0325, kBlockWriteFirmware, 0},
        {2.0338, kSysVarBodgeFirmware, -1}, {2.0340, kSysVarBodgeFirmware, 1},
    };
    for (const auto& r : rows)
        EXPECT_EQ(compareFirmware(r.a, r.b), r.expected) << r.a << " vs " << r.b;
}

namespace {
struct Row {
    std::string name;
    char kind;
};
const Row kKnownRows[] = {
#define VAXO_TOKEN(N, K) {#N, K},
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
};

struct Parsed {
    char kind;
    unsigned code;
    std::string name;
    std::string rest;
};
// An independent reading of the table text: one record per CR LF line.
std::vector<Parsed> parseTable(const std::string& text) {
    std::vector<Parsed> out;
    std::istringstream in(text);
    std::string line;
    bool ended = false;
    while (std::getline(in, line)) {
        EXPECT_FALSE(line.empty() || line.back() != '\r') << "record without CR LF";
        line.pop_back();
        if (line == "[EOT]") { ended = true; continue; }
        EXPECT_FALSE(ended) << "data after the end marker";
        if (line[0] == '[') continue;
        Parsed p{line[0], 0, {}, {}};
        std::size_t i = 1;
        while (i < line.size() && std::isdigit(static_cast<unsigned char>(line[i]))) p.code = p.code * 10 + unsigned(line[i++] - '0');
        const std::size_t comma = line.find(',', i);
        p.name = line.substr(i, comma == std::string::npos ? std::string::npos : comma - i);
        if (comma != std::string::npos) p.rest = line.substr(comma + 1);
        out.push_back(p);
    }
    EXPECT_TRUE(ended);
    return out;
}
} // namespace

TEST(SimTokenTable, EveryKnownNameWithShuffledCodes) {
    for (bool sv16 : {false, true}) {
        TokenTable t(1234, sv16);
        const auto recs = parseTable(t.text());
        std::map<std::string, Parsed> first;
        std::set<unsigned> tokenCodes, varCodes;
        for (const auto& r : recs) {
            if (first.count(r.name)) continue;  // a later record of the same name is never used
            first[r.name] = r;
            auto& codes = r.kind == 'V' ? varCodes : tokenCodes;
            EXPECT_TRUE(codes.insert(r.code).second) << "code used twice: " << r.name;
        }
        for (const auto& k : kKnownRows) {
            if (k.name == "SYSTEMVARIABLE16" && !sv16) continue;
            ASSERT_TRUE(first.count(k.name)) << k.name;
            EXPECT_EQ(first[k.name].kind, k.kind) << k.name;
        }
        EXPECT_EQ(first.count("SYSTEMVARIABLE16"), sv16 ? 1u : 0u);
        const unsigned E = first["EXTENDED_TOKEN"].code;
        EXPECT_LE(E, 255u);
        EXPECT_LT(first["UNKNOWN"].code, E);
        EXPECT_LT(first["QUOTES"].code, E);
        EXPECT_NE(first["ZERO"].code, 200u);
        EXPECT_NE(first["TOKENTABLE"].code, 0u);
        EXPECT_EQ(tokenCodes.count(1) + tokenCodes.count(27), 0u);
        EXPECT_GT(std::count_if(tokenCodes.begin(), tokenCodes.end(), [&](unsigned c) { return c > E; }), 20);
        const unsigned maxVar = *varCodes.rbegin();
        if (sv16) EXPECT_GE(maxVar, 512u); else EXPECT_LT(maxVar, 512u);
        EXPECT_LT(first["CONTROL"].code, 512u);
        EXPECT_LT(first["VERSION"].code, 512u);
        // the duplicates come after the first record and carry codes the controller does not use
        for (auto dup : {"VR", "VERSION"}) {
            auto n = std::count_if(recs.begin(), recs.end(), [&](const Parsed& r) { return r.name == dup; });
            EXPECT_EQ(n, 2) << dup;
        }
        EXPECT_EQ(t.find("VR")->code, first["VR"].code);
        EXPECT_EQ(first["HALF_TURN"].rest, "-12.5000");
        EXPECT_EQ(first["PI"].rest, "3.1416");
    }
}

TEST(SimTokenTable, SeedDecidesTheCodes) {
    TokenTable a(1, false), b(1, false), c(2, false);
    EXPECT_EQ(a.text(), b.text());
    int differ = 0;
    for (auto name : {"VR", "TABLE", "ZERO", "NUMBER", "MOVE", "SPEED", "VERSION"})
        differ += a.find(name)->code != c.find(name)->code;
    EXPECT_GE(differ, 5);
}
