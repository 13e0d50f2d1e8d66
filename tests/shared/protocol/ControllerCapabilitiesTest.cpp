// Controller capabilities: processor classification, firmware gates, the number formats and
// the TMS320 conversions.
#include "shared/protocol/ControllerCapabilities.h"
#include "shared/protocol/Token.h"
#include "shared/transport/Port.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace Vaxo::Ubrix::Shared;

namespace {

struct Event {
    EventType type;
    std::uint64_t value;
    std::string text;
};

struct CapsFixture : ::testing::Test {
    std::vector<Event> events;
    EventCallback log = [this](EventType t, std::uint64_t v, std::string_view s) {
        events.push_back({t, v, std::string(s)});
    };
    Token token{log};
    ControllerCapabilities& caps = token.controllerCapabilities();

    bool logged(const std::string& text) const {
        for (const Event& e : events)
            if (e.text == text)
                return true;
        return false;
    }
};

// Serves a fixed byte string, then times out.
class BytePort : public Port {
public:
    BytePort(const EventCallback& log, std::string bytes) : Port(log), m_bytes(std::move(bytes)) {}
    ErrorCode Close() override { return ErrorCode::Success; }
    ErrorCode Write(const char*, unsigned) override { return ErrorCode::Success; }
    ErrorCode Read(char* buffer, unsigned size, unsigned) override {
        if (m_bytes.size() - m_pos < size)
            return ErrorCode::Timeout;
        m_bytes.copy(buffer, size, m_pos);
        m_pos += size;
        return ErrorCode::Success;
    }
    ErrorCode UnRead(const char*, unsigned) override { return ErrorCode::Success; }
    ErrorCode Read(char*, unsigned, unsigned& got, unsigned) override {
        got = 0;
        return ErrorCode::Success;
    }
    void setWriteSniffer(ISniffer*) override {}
    void setReadSniffer(ISniffer*) override {}
    bool isOpened() const override { return true; }
    std::uint16_t portNumber() const override { return 0; }
    std::string hostName() const override { return {}; }

private:
    std::string m_bytes;
    std::size_t m_pos = 0;
};

struct ByteSink {
    std::vector<unsigned char> bytes;
    void append(const unsigned char* p, unsigned n) { bytes.insert(bytes.end(), p, p + n); }
};

// The TMS320 value of a word, computed independently of the implementation (exact in double).
double tmsReference(std::uint32_t w) {
    const int e = static_cast<std::int8_t>(w >> 24);
    if (e == -128)
        return 0.0;
    const double frac = double(w & 0x7FFFFF) / double(1 << 23);
    return std::ldexp(((w & 0x800000) ? -2.0 : 1.0) + frac, e);
}

// Words whose value is an IEEE single normal number.
bool isNormalisedWord(std::uint32_t w) {
    const double v = tmsReference(w);
    return v != 0.0 && std::fabs(v) >= FLT_MIN && std::fabs(v) <= FLT_MAX;
}

// Floats the TMS320 format holds exactly: zero, every normal number, and the subnormals that
// the format's smallest exponent reaches (positive from 2^-127, negative beyond it).
bool isTmsRepresentable(float x) {
    if (x == 0.0f)
        return true;
    if (!std::isfinite(x))
        return false;
    if (std::fabs(x) >= FLT_MIN)
        return true;
    const float limit = std::ldexp(1.0f, -127);
    return x > 0 ? x >= limit : -x > limit;
}

} // namespace

TEST_F(CapsFixture, DefaultsAndResetKeepTheSysVar16Flag) {
    EXPECT_EQ(caps.GetFloatingPointFormat(), 1u);
    EXPECT_EQ(caps.GetProcessorType(), 0u);
    EXPECT_TRUE(caps.IsCommunicationsEscaped());
    EXPECT_EQ(caps.GetRemoteBufferSize(), 124u);
    EXPECT_FALSE(caps.Is16bitSysVarsBodge());
    EXPECT_FALSE(caps.Is16bitSysVarsToken());

    ASSERT_EQ(token.LoadTokenTable("C0TOKENTABLE,0,0,0,0,0,0>\r\nS200ZERO\r\nS255EXTENDED_TOKEN\r\n"
                                   "S57UNKNOWN\r\nS99SYSTEMVARIABLE16\r\n[EOT]\r\n"),
              ErrorCode::Success);
    ASSERT_TRUE(caps.SetControllerType(464));
    ASSERT_TRUE(caps.SetControllerVersion(99.0338001));
    EXPECT_TRUE(caps.Is16bitSysVarsToken());
    EXPECT_TRUE(caps.Is16bitSysVarsBodge());
    caps.Reset();
    EXPECT_TRUE(caps.Is16bitSysVarsToken());
    EXPECT_FALSE(caps.Is16bitSysVarsBodge());
    EXPECT_EQ(caps.GetControllerType(), 0u);
    EXPECT_EQ(caps.GetControllerVersion(), 0.0);
    EXPECT_EQ(caps.GetFloatingPointFormat(), 1u);
    EXPECT_EQ(caps.GetRemoteBufferSize(), 124u);
}

TEST_F(CapsFixture, ProcessorClassificationByTypeModulo1000) {
    using C = ControllerCapabilities;
    const struct {
        unsigned type;
        std::uint32_t processor;
        const char* name;
    } rows[] = {
        {1, C::ProcessorTMS320, "TMS320"},    {265, C::ProcessorTMS320, "TMS320"},
        {266, C::ProcessorMIPS, "MIPS"},      {1266, C::ProcessorMIPS, "MIPS"},
        {299, C::ProcessorTMS320, "TMS320"},  {1000, C::ProcessorTMS320, "TMS320"},
        {300, C::ProcessorARM, "ARM"},        {399, C::ProcessorARM, "ARM"},
        {400, C::ProcessorSIMULATOR, "SIMULATOR"}, {2400, C::ProcessorSIMULATOR, "SIMULATOR"},
        {463, C::ProcessorARM, "ARM"},        {464, C::ProcessorMIPS, "MIPS"},
        {465, C::ProcessorARM, "ARM"},        {498, C::ProcessorARM, "ARM"},
        {499, C::ProcessorSOFTCT, "SOFTCT"},  {503, C::ProcessorSOFTCT, "SOFTCT"},
        {504, C::ProcessorARM, "ARM"},        {699, C::ProcessorARM, "ARM"},
        {700, C::ProcessorFRIX, "FRIX"},      {701, C::ProcessorARM, "ARM"},
        {769, C::ProcessorARM, "ARM"},        {770, C::ProcessorFRIX, "FRIX"},
        {771, C::ProcessorARM, "ARM"},        {999, C::ProcessorARM, "ARM"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.type);
        events.clear();
        caps.Reset();
        ASSERT_TRUE(caps.SetControllerType(r.type));
        EXPECT_EQ(caps.GetProcessorType(), r.processor);
        EXPECT_EQ(caps.GetControllerType(), r.type);
        const bool tms = r.processor == C::ProcessorTMS320;
        EXPECT_EQ(caps.GetFloatingPointFormat(), tms ? 1u : 2u);
        EXPECT_EQ(caps.IsCommunicationsEscaped(), !tms);
        ASSERT_EQ(events.size(), 2u);
        EXPECT_EQ(events[0].text, "SetControllerType(" + std::to_string(r.type) + ")");
        EXPECT_EQ(events[0].type, EventType::Information);
        EXPECT_EQ(events[1].text, std::string("Selected processor ") + r.name);
    }

    ASSERT_TRUE(caps.SetControllerType(504));
    EXPECT_FALSE(caps.SetControllerType(0));
    EXPECT_EQ(caps.GetControllerType(), 504u);
    EXPECT_EQ(caps.GetProcessorType(), std::uint32_t(C::ProcessorARM));
}

TEST(CompareFwVer, ReleaseFirstThenReversedIntegerPart) {
    const struct {
        double a, b;
        int expected;
    } rows[] = {
        {2.0273, 2.0273, 0},  {3.0273, 2.0273, -1},     {2.0300, 2.0273, 1},   {2.0273, 2.0300, -1},
        {1.5, 99.5, 98}, {99.5, 1.5, -98}, {1.0273, 99.0273, 1}, {99.0273, 1.0273, -1},  {99.0338, 99.0338001, -1}, {2.9, 3.1, 1},
        {99.0338001, 99.0338001, 0},
    };
    for (const auto& r : rows)
        EXPECT_EQ(compareFwVer(r.a, r.b), r.expected) << r.a << " vs " << r.b;
}

// The fractions compare as the doubles hold them, with no tolerance: firmware numbers of the
// same release but another integer part can lie a few ulps either side of the gate's fraction.
TEST(CompareFwVer, EveryGateAgainstFirmwareOfTheSameReleaseComparesExactly) {
    const struct {
        double a, gate;
        int expected;
    } rows[] = {
        {1.0273, 2.0273, 1},  {3.0273, 2.0273, -1}, {4.0273, 2.0273, 1},  {5.0273, 2.0273, 1},
        {98.0273, 2.0273, -1}, {100.0273, 2.0273, -1},
        {1.0325, 2.0325, -1}, {3.0325, 2.0325, -1}, {4.0325, 2.0325, -1}, {5.0325, 2.0325, -1},
        {1.0331, 2.0331, -1}, {3.0331, 2.0331, -1}, {4.0331, 2.0331, -2}, {5.0331, 2.0331, -3},
        {98.0331, 2.0331, 1},
        {1.0335, 2.0335, 1},  {3.0335, 2.0335, -1}, {4.0335, 2.0335, -2}, {5.0335, 2.0335, -3},
        {1.0338001, 99.0338001, 1}, {98.0338001, 99.0338001, 1}, {100.0338001, 99.0338001, -1},
    };
    for (const auto& r : rows)
        EXPECT_EQ(compareFwVer(r.a, r.gate), r.expected) << r.a << " vs " << r.gate;
}

TEST_F(CapsFixture, VersionGates) {
    const struct {
        double version;
        unsigned buffer;
        bool bodge, escaped, blockValues;
    } rows[] = {
        // The release decides first, so 1.50 passes every gate; only escaping compares plainly.
        {1.50, 200, true, false, true},      {1.51, 200, true, true, true},
        {2.0272, 124, false, true, false},   {2.0273, 200, false, true, false},
        {3.0273, 124, false, true, false},   {2.0325, 200, false, true, false},
        {2.0326, 200, false, true, true},    {99.0338, 200, false, true, true},
        {4.0273, 200, false, true, false},   {5.0273, 200, false, true, false},
        {1.0273, 200, false, false, false},  {1.0325, 200, false, false, false},
        {3.0325, 200, false, true, false},   {1.0338001, 200, true, false, true},
        {99.0338001, 200, true, true, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.version);
        caps.Reset();
        ASSERT_TRUE(caps.SetControllerType(504)); // ARM: escaped until the version says otherwise
        ASSERT_TRUE(caps.SetControllerVersion(r.version));
        EXPECT_EQ(caps.GetRemoteBufferSize(), r.buffer);
        EXPECT_EQ(caps.Is16bitSysVarsBodge(), r.bodge);
        EXPECT_EQ(caps.IsCommunicationsEscaped(), r.escaped);
        EXPECT_EQ(caps.SupportsBlockValueWrites(), r.blockValues);
        EXPECT_FALSE(caps.Is16bitSysVarsToken()); // no table read
        EXPECT_EQ(caps.GetControllerVersion(), r.version);
    }
    EXPECT_TRUE(logged("SetControllerVersion(2.0273)"));
    EXPECT_FALSE(caps.SetControllerVersion(0.0));
    EXPECT_EQ(caps.GetControllerVersion(), 99.0338001);
}

TEST_F(CapsFixture, NumbersOnTheWireInBothFormats) {
    unsigned size = 0;
    ByteSink tms;
    ASSERT_EQ(caps.NumberSize(size), ErrorCode::Success);
    EXPECT_EQ(size, 4u);
    ASSERT_EQ(caps.StoreNumber(-1.5, tms), ErrorCode::Success);
    EXPECT_EQ(tms.bytes, (std::vector<unsigned char>{0x00, 0x00, 0xC0, 0x00})); // e 0, sign, f .5
    ByteSink huge; // beyond the single range: saturates instead of overflowing
    ASSERT_EQ(caps.StoreNumber(1e300, huge), ErrorCode::Success);
    EXPECT_EQ(huge.bytes, (std::vector<unsigned char>{0xFF, 0xFF, 0x7F, 0x7F}));

    double v = 0;
    BytePort tmsPort(log, std::string("\x00\x00\x00\x80\x00\x00\xC0\x00\x01", 9));
    ASSERT_EQ(caps.ReadNumber(v, tmsPort, 10), ErrorCode::Success);
    EXPECT_EQ(v, 0.0);
    ASSERT_EQ(caps.ReadNumber(v, tmsPort, 10), ErrorCode::Success);
    EXPECT_EQ(v, -1.5);
    EXPECT_EQ(caps.ReadNumber(v, tmsPort, 10), ErrorCode::Timeout);
    EXPECT_TRUE(logged("Error reading 32 bit number from controller"));

    ASSERT_TRUE(caps.SetControllerType(504));
    ASSERT_EQ(caps.NumberSize(size), ErrorCode::Success);
    EXPECT_EQ(size, 8u);
    ByteSink ieee;
    ASSERT_EQ(caps.StoreNumber(1.0, ieee), ErrorCode::Success);
    EXPECT_EQ(ieee.bytes, (std::vector<unsigned char>{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
    BytePort ieeePort(log, std::string(ieee.bytes.begin(), ieee.bytes.end()) + "abc");
    ASSERT_EQ(caps.ReadNumber(v, ieeePort, 10), ErrorCode::Success);
    EXPECT_EQ(v, 1.0);
    events.clear();
    EXPECT_EQ(caps.ReadNumber(v, ieeePort, 10), ErrorCode::Timeout);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].type, EventType::Error);
    EXPECT_EQ(events[0].value, std::uint64_t(ErrorCode::Timeout));
    EXPECT_EQ(events[0].text, "Error reading 32 bit number from controller");
}

TEST(Tms320, KnownWords) {
    using C = ControllerCapabilities;
    const struct {
        std::uint32_t word;
        float value;
    } rows[] = {
        {0x80000000, 0.0f},  {0x00000000, 1.0f},   {0x01000000, 2.0f},  {0xFF000000, 0.5f},
        {0x00800000, -2.0f}, {0xFF800000, -1.0f},  {0x00C00000, -1.5f}, {0x00400000, 1.5f},
        {0x7F7FFFFF, FLT_MAX}, {0x82000000, FLT_MIN}, {0x81000000, std::ldexp(1.0f, -127)},
        {0x7E800000, -std::ldexp(1.0f, 127)}, {0x81800000, -FLT_MIN},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(C::TmsToFloat(r.word), r.value) << std::hex << r.word;
        EXPECT_EQ(C::FloatToTms(r.value), r.word) << r.value;
    }
    EXPECT_EQ(C::TmsToFloat(0x80123456), 0.0f); // exponent -128 is zero whatever follows
    EXPECT_EQ(C::TmsToFloat(0x7F800000), -std::numeric_limits<float>::infinity()); // -2^128
    EXPECT_EQ(C::FloatToTms(-std::numeric_limits<float>::infinity()), 0x7F800000u);
    EXPECT_EQ(C::FloatToTms(std::numeric_limits<float>::infinity()), 0x7F7FFFFFu);
    EXPECT_EQ(C::FloatToTms(std::numeric_limits<float>::quiet_NaN()), 0x80000000u);
    EXPECT_EQ(C::FloatToTms(-0.0f), 0x80000000u);
    EXPECT_EQ(C::FloatToTms(std::numeric_limits<float>::denorm_min()), 0x80000000u);
}

TEST(Tms320, RoundTripsOverPowersOfTwoAndExtremes) {
    using C = ControllerCapabilities;
    for (int e = -128; e <= 127; ++e)
        for (std::uint32_t sign : {0u, 0x800000u})
            for (std::uint32_t f : {0u, 1u, 2u, 0x400000u, 0x7FFFFEu, 0x7FFFFFu}) {
                const std::uint32_t w = std::uint32_t(e) << 24 | sign | f;
                if (!isNormalisedWord(w))
                    continue;
                EXPECT_EQ(C::TmsToFloat(w), float(tmsReference(w))) << std::hex << w;
                EXPECT_EQ(C::FloatToTms(C::TmsToFloat(w)), w) << std::hex << w;
            }
}

TEST(Tms320, RoundTripsOverALargeSample) {
    using C = ControllerCapabilities;
    std::mt19937 rng(20240601u);
    unsigned words = 0, floats = 0;
    for (int i = 0; i < 400000; ++i) {
        const std::uint32_t w = rng();
        if (isNormalisedWord(w)) {
            ++words;
            ASSERT_EQ(C::TmsToFloat(w), float(tmsReference(w))) << std::hex << w;
            ASSERT_EQ(C::FloatToTms(C::TmsToFloat(w)), w) << std::hex << w;
        }
        const float x = std::bit_cast<float>(std::uint32_t(rng()));
        if (isTmsRepresentable(x)) {
            ++floats;
            ASSERT_EQ(C::TmsToFloat(C::FloatToTms(x)), x) << std::hexfloat << x;
        }
    }
    // Subnormals at the format's lower edge, where only one of the neighbours is representable.
    for (std::uint32_t k = (1u << 22) - 4; k < (1u << 22) + 4000; ++k)
        for (float x : {std::bit_cast<float>(k), -std::bit_cast<float>(k)})
            if (isTmsRepresentable(x)) {
                ++floats;
                ASSERT_EQ(C::TmsToFloat(C::FloatToTms(x)), x) << std::hexfloat << x;
            }
    EXPECT_GT(words, 390000u);
    EXPECT_GT(floats, 390000u);
}
