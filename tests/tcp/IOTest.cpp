// Digital and analogue I/O end to end: exact request bytes with this run's token codes, the
// channel range rules, and the simulated controller's answers.
#include "SimFixture.h"

#include <functional>

#include "sim/IOHandlers.h"

using namespace vaxotest;

namespace {

constexpr uint32_t kNone = VAXO_NO_CHANNEL;
constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kInvalidIoChannel = 0x0400000000ull | 71;

class IO : public SimConnection {
protected:
    void SetUp() override { open({.controllerType = 1664, .firmware = 2.0330}); }

    // token ( v0 , v1 ... ) ZERO, or token ZERO without values.
    std::vector<uint8_t> array(std::string_view token, std::vector<double> values) const {
        std::vector<uint8_t> out = tok(token);
        auto add = [&](const std::vector<uint8_t>& part) { out.insert(out.end(), part.begin(), part.end()); };
        if (!values.empty()) {
            add(tok("OPENBRACKETS"));
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (i)
                    add(tok("COMMA"));
                add(num(values[i]));
            }
            add(tok("CLOSEBRACKETS"));
        }
        add(tok("ZERO"));
        return out;
    }
    // Standard response bytes as an IEEE controller sends them.
    static std::string response(double value, double status) {
        std::string s(16, '\0');
        std::memcpy(s.data(), &value, 8);
        std::memcpy(s.data() + 8, &status, 8);
        return s;
    }
};

TEST_F(IO, EachCommandSendsItsExactRequest) {
    bool b = false;
    uint32_t m = 0;
    int32_t a = 0;
    struct Case {
        const char* name;
        std::function<uint64_t()> call;
        std::vector<uint8_t> bytes;
    };
    const std::vector<Case> cases = {
        {"GetDIn3", [&] { return vaxo_GetDIn3(h, 7, &b); }, array("IN", {7})},
        {"GetDIn4", [&] { return vaxo_GetDIn4(h, 0, 31, &m); }, array("IN", {0, 31})},
        {"GetDIn4 first only", [&] { return vaxo_GetDIn4(h, 9, kNone, &m); }, array("IN", {9})},
        {"GetDIn4 none", [&] { return vaxo_GetDIn4(h, kNone, kNone, &m); }, array("IN", {})},
        {"GetDIn32", [&] { return vaxo_GetDIn32(h, &m); }, array("IN", {})},
        {"GetDOut3", [&] { return vaxo_GetDOut3(h, 4, &b); }, array("READ_OP", {4})},
        {"GetDOut4", [&] { return vaxo_GetDOut4(h, 8, 15, &m); }, array("READ_OP", {8, 15})},
        {"GetDOut32", [&] { return vaxo_GetDOut32(h, &m); }, array("OP", {})},
        {"SetDOut3", [&] { return vaxo_SetDOut3(h, 5, true); }, array("OP", {5, 5, 1})},
        {"SetDOut3 off", [&] { return vaxo_SetDOut3(h, 5, false); }, array("OP", {5, 5, 0})},
        {"SetDOut4", [&] { return vaxo_SetDOut4(h, 8, 11, 10); }, array("OP", {8, 11, 10})},
        {"SetDOut32", [&] { return vaxo_SetDOut32(h, 0x81); }, array("OP", {129})},
        {"GetAIn", [&] { return vaxo_GetAIn(h, 2, &a); }, array("AIN", {2})},
        {"GetAOut", [&] { return vaxo_GetAOut(h, 1, &a); }, array("AOUT", {1})},
        {"SetAOut", [&] { return vaxo_SetAOut(h, 1, -300); },
         cat(tok("AOUT"), tok("OPENBRACKETS"), num(1), tok("CLOSEBRACKETS"), tok("ASSIGN"), num(-300), tok("ZERO"))},
        {"GetInvertIN", [&] { return vaxo_GetInvertIN(h, 3, &b); }, array("INVERT_IN", {3})},
        {"SetInvertIN", [&] { return vaxo_SetInvertIN(h, 3, true); }, array("INVERT_IN", {3, 1})},
    };
    for (const auto& c : cases) {
        sim->clearRequests();
        EXPECT_EQ(c.call(), 0u) << c.name;
        const auto reqs = sim->requests();
        ASSERT_EQ(reqs.size(), 1u) << c.name;
        EXPECT_EQ(reqs[0].bytes, c.bytes) << c.name << ": " << reqs[0].str();
        EXPECT_EQ(reqs[0].status, 0) << c.name;
    }
}

TEST_F(IO, RangeRulesRefuseWithoutTraffic) {
    struct Case {
        const char* name;
        bool outputs;
        uint32_t first, last;
    };
    const Case cases[] = {
        {"33 inputs", false, 0, 32},        {"descending inputs", false, 5, 3},
        {"last without first", false, kNone, 5}, {"33 outputs", true, 100, 132},
        {"descending outputs", true, 9, 8},  {"no first output", true, kNone, kNone},
        {"no first, last output", true, kNone, 4},
    };
    for (const auto& c : cases) {
        uint32_t mask = 0xABCD;
        const uint64_t e = c.outputs ? vaxo_GetDOut4(h, c.first, c.last, &mask) : vaxo_GetDIn4(h, c.first, c.last, &mask);
        EXPECT_EQ(e, kBadArgument) << c.name;
        EXPECT_EQ(mask, 0xABCDu) << c.name;
    }
    EXPECT_TRUE(sim->requests().empty());
    uint32_t mask = 0;
    EXPECT_EQ(vaxo_GetDIn4(h, 0, 31, &mask), 0u) << "32 channels are allowed";
}

TEST_F(IO, ResultsComeFromTheController) {
    for (uint32_t ch : {0u, 2u, 31u, 40u})
        Vaxo::Sim::setDigitalInput(*sim, ch, true);
    uint32_t mask = 0;
    ASSERT_EQ(vaxo_GetDIn32(h, &mask), 0u);
    EXPECT_EQ(mask, 0x80000005u);
    ASSERT_EQ(vaxo_GetDIn4(h, 31, 40, &mask), 0u);
    EXPECT_EQ(mask, 0x201u) << "bit 0 is the first channel";
    bool on = false;
    ASSERT_EQ(vaxo_GetDIn3(h, 2, &on), 0u);
    EXPECT_TRUE(on);

    ASSERT_EQ(vaxo_SetInvertIN(h, 2, true), 0u);
    EXPECT_TRUE(Vaxo::Sim::inputInverted(*sim, 2));
    ASSERT_EQ(vaxo_GetInvertIN(h, 2, &on), 0u);
    EXPECT_TRUE(on);
    ASSERT_EQ(vaxo_GetDIn3(h, 2, &on), 0u);
    EXPECT_FALSE(on) << "an inverted input reads the other way";

    ASSERT_EQ(vaxo_SetDOut4(h, 8, 11, 0b1010), 0u);
    EXPECT_FALSE(Vaxo::Sim::digitalOutput(*sim, 8));
    EXPECT_TRUE(Vaxo::Sim::digitalOutput(*sim, 9));
    EXPECT_TRUE(Vaxo::Sim::digitalOutput(*sim, 11));
    ASSERT_EQ(vaxo_SetDOut3(h, 0, true), 0u);
    ASSERT_EQ(vaxo_GetDOut32(h, &mask), 0u);
    EXPECT_EQ(mask, 0xA01u);
    ASSERT_EQ(vaxo_GetDOut4(h, 9, 11, &mask), 0u);
    EXPECT_EQ(mask, 0b101u);
    ASSERT_EQ(vaxo_GetDOut3(h, 8, &on), 0u);
    EXPECT_FALSE(on);
    ASSERT_EQ(vaxo_SetDOut32(h, 0xFFFF0000u), 0u);
    ASSERT_EQ(vaxo_GetDOut32(h, &mask), 0u);
    EXPECT_EQ(mask, 0xFFFF0000u) << "a mask above 2^31 survives the round trip";

    Vaxo::Sim::setAnalogueInput(*sim, 2, -1234.7);
    int32_t a = 0;
    ASSERT_EQ(vaxo_GetAIn(h, 2, &a), 0u);
    EXPECT_EQ(a, -1234) << "cut towards zero";
    ASSERT_EQ(vaxo_SetAOut(h, 1, -300), 0u);
    EXPECT_EQ(Vaxo::Sim::analogueOutput(*sim, 1), -300.0);
    ASSERT_EQ(vaxo_GetAOut(h, 1, &a), 0u);
    EXPECT_EQ(a, -300);
}

TEST_F(IO, ControllerErrorsAndWhatTheResultsKeep) {
    uint32_t mask = 7;
    EXPECT_EQ(vaxo_GetDIn4(h, 300, kNone, &mask), kInvalidIoChannel);
    int32_t a = 99;
    EXPECT_EQ(vaxo_GetAIn(h, 64, &a), kInvalidIoChannel);
    EXPECT_EQ(a, 99) << "an analogue read keeps its result on error";

    // The range reads keep the number even when the status is an error; OP does not.
    sim->faults().garbage(response(5, 71), {"IN"});
    mask = 0;
    EXPECT_EQ(vaxo_GetDIn4(h, 0, 3, &mask), kInvalidIoChannel);
    EXPECT_EQ(mask, 5u);
    sim->faults().garbage(response(6, 71), {"READ_OP"});
    EXPECT_EQ(vaxo_GetDOut4(h, 0, 3, &mask), kInvalidIoChannel);
    EXPECT_EQ(mask, 6u);
    sim->faults().garbage(response(9, 71), {"OP"});
    mask = 1;
    EXPECT_EQ(vaxo_GetDOut32(h, &mask), kInvalidIoChannel);
    EXPECT_EQ(mask, 1u);

    ASSERT_EQ(vaxo_CloseConnection(h), 0u);
    bool on = false;
    EXPECT_EQ(vaxo_GetDIn3(h, 1, &on), 0x0100000015ull);
    EXPECT_EQ(vaxo_GetDIn4(h, 0, 32, &mask), 0x0100000015ull) << "the link is checked first";
}

} // namespace
