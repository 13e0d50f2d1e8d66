// Parameters over the wire: every named getter and setter, the typed forms by token with their
// rounding and range rules, port parameters without a PORT modifier, string-valued system
// parameters and BASE.
#include "SimFixture.h"

#include <cmath>
#include <functional>

#include "sim/MotionHandlers.h"
#include "shared/protocol/KnownTokens.h"

using namespace vaxotest;
using Vaxo::Sim::ItemKind;
using Vaxo::Ubrix::Shared::KnownTokens;

namespace {

constexpr uint64_t kNotSupported = 0x0100000002ull;
constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kOutOfRange = 0x0100000017ull;
constexpr uint64_t kReadOnly = 0x0400000000ull | 21;

constexpr uint32_t kAxis = 3, kProcess = 2, kSlot = 1;

struct Named {
    const char* kind;      // "Axis", "System", "Process", "Slot"
    const char* name;
    std::function<uint64_t(VaxoHandle, double*)> get;
    std::function<uint64_t(VaxoHandle, double)> set; // empty for read-only parameters
};

const std::vector<Named>& namedParameters() {
    static const std::vector<Named> list = [] {
        std::vector<Named> v;
#define VAXO_PARAM(kind, name, access) VAXO_ROW_##kind(name, access)
#define VAXO_SETTER_RW(call) call
#define VAXO_SETTER_RO(call) nullptr
#define VAXO_ROW_Axis(name, access)                                                                     \
    v.push_back({"Axis", #name, [](VaxoHandle h, double* x) { return vaxo_GetAxisParameter_##name(h, kAxis, x); }, \
                 VAXO_SETTER_##access(([](VaxoHandle h, double x) { return VAXO_SET_Axis_##access(name); }))});
#define VAXO_ROW_System(name, access)                                                                   \
    v.push_back({"System", #name, [](VaxoHandle h, double* x) { return vaxo_GetSystemParameter_##name(h, x); }, \
                 VAXO_SETTER_##access(([](VaxoHandle h, double x) { return VAXO_SET_System_##access(name); }))});
#define VAXO_ROW_Process(name, access)                                                                  \
    v.push_back({"Process", #name,                                                                      \
                 [](VaxoHandle h, double* x) { return vaxo_GetProcessParameter_##name(h, kProcess, x); }, \
                 VAXO_SETTER_##access(([](VaxoHandle h, double x) { return VAXO_SET_Process_##access(name); }))});
#define VAXO_ROW_Slot(name, access)                                                                     \
    v.push_back({"Slot", #name, [](VaxoHandle h, double* x) { return vaxo_GetSlotParameter_##name(h, kSlot, x); }, \
                 VAXO_SETTER_##access(([](VaxoHandle h, double x) { return VAXO_SET_Slot_##access(name); }))});
#define VAXO_SET_Axis_RW(name) vaxo_SetAxisParameter_##name(h, kAxis, x)
#define VAXO_SET_System_RW(name) vaxo_SetSystemParameter_##name(h, x)
#define VAXO_SET_Process_RW(name) vaxo_SetProcessParameter_##name(h, kProcess, x)
#define VAXO_SET_Slot_RW(name) vaxo_SetSlotParameter_##name(h, kSlot, x)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
        return v;
    }();
    return list;
}

class Parameters : public SimConnection {
protected:
    std::vector<Vaxo::Sim::Request> take() {
        auto r = sim->requests();
        sim->clearRequests();
        return r;
    }
    static const char* modifierOf(std::string_view kind) {
        return kind == "Axis" ? "AXIS" : kind == "Process" ? "PROC" : kind == "Slot" ? "SLOT" : nullptr;
    }
    static uint32_t indexOf(std::string_view kind) {
        return kind == "Axis" ? kAxis : kind == "Process" ? kProcess : kSlot;
    }
    double simValue(const Named& p) const {
        const char* m = modifierOf(p.kind);
        return m ? sim->parameter(p.name, m, indexOf(p.kind)) : sim->systemParameter(p.name);
    }
    void setSimValue(const Named& p, double v) {
        const char* m = modifierOf(p.kind);
        if (m)
            sim->setParameter(p.name, m, indexOf(p.kind), v);
        else
            sim->setSystemParameter(p.name, v);
    }
    // The decoded request: the variable, MODIFIER m ( index ) for per-object kinds, = value.
    void expectRequest(const Vaxo::Sim::Request& r, const Named& p, const double* value) const {
        std::vector<std::string> words = {p.name};
        if (const char* m = modifierOf(p.kind)) {
            words.insert(words.end(), {"MODIFIER", m, "OPENBRACKETS", std::to_string(indexOf(p.kind)), "CLOSEBRACKETS"});
        }
        std::string expected;
        for (const auto& w : words)
            expected += (expected.empty() ? "" : " ") + w;
        ASSERT_FALSE(r.items.empty());
        EXPECT_EQ(r.items.front().kind, ItemKind::SysVar) << p.name;
        EXPECT_EQ(r.items.front().code, sim->codeOf(p.name)) << p.name;
        const std::string s = r.str();
        EXPECT_EQ(s.substr(0, expected.size()), expected) << p.kind << " " << p.name;
        const std::size_t base = modifierOf(p.kind) ? 6 : 1;
        if (value) {
            ASSERT_EQ(r.items.size(), base + 2) << s;
            EXPECT_TRUE(r.items[base].isToken("ASSIGN")) << s;
            EXPECT_EQ(r.items[base + 1].value, *value) << s;
        } else {
            EXPECT_EQ(r.items.size(), base) << s;
        }
        EXPECT_EQ(r.status, 0) << s;
    }
};

TEST_F(Parameters, EveryNamedGetterAndSetter) {
    open({.controllerType = 1664, .firmware = 2.0330});
    const auto& list = namedParameters();
    std::size_t getters = 0, setters = 0;
    double seed = 1000.5;
    for (const Named& p : list) {
        SCOPED_TRACE(std::string(p.kind) + " " + p.name);
        seed += 1;
        setSimValue(p, seed);
        double v = 0;
        ASSERT_EQ(p.get(h, &v), 0u);
        ++getters;
        auto reqs = take();
        ASSERT_EQ(reqs.size(), 1u);
        expectRequest(reqs[0], p, nullptr);
        // Parameters the motion model keeps up to date move on their own; the rest read back.
        if (std::string_view(p.kind) != "Axis" || simValue(p) == seed) {
            EXPECT_EQ(v, seed);
        }
        if (!p.set)
            continue;
        const double written = -seed / 4;
        ASSERT_EQ(p.set(h, written), 0u);
        ++setters;
        reqs = take();
        ASSERT_EQ(reqs.size(), 1u);
        expectRequest(reqs[0], p, &written);
        EXPECT_EQ(simValue(p), written);
    }
    EXPECT_EQ(getters + setters, 508u);
    EXPECT_EQ(getters, 203u + 79u + 8u + 1u);
}

TEST_F(Parameters, ReadingSpeedOfAxisThreeSendsExactBytes) {
    open({.controllerType = 206, .firmware = 1.50});
    ieee = false;
    sim->setParameter("SPEED", "AXIS", 3, 250);
    double v = 0;
    ASSERT_EQ(vaxo_GetAxisParameter_SPEED(h, 3, &v), 0u);
    EXPECT_EQ(v, 250);
    const auto reqs = take();
    ASSERT_EQ(reqs.size(), 1u);
    const uint16_t code = sim->codeOf("SPEED");
    ASSERT_LT(code, 512);
    const auto var = code < 256 ? cat(tok("SYSTEMVARIABLE"), std::vector<uint8_t>{uint8_t(code)})
                                : cat(tok("SYSTEMVARIABLE2"), std::vector<uint8_t>{uint8_t(code - 256)});
    EXPECT_EQ(reqs[0].bytes, cat(var, tok("MODIFIER"), tok("AXIS"), tok("OPENBRACKETS"), num(3),
                                 tok("CLOSEBRACKETS"), tok("ZERO")));
}

TEST_F(Parameters, TypedFormsRoundAndRefuseOutOfRange) {
    open({.controllerType = 1664, .firmware = 2.0330});
    const auto speed = uint32_t(KnownTokens::SPEED);
    auto setSim = [&](double v) { sim->setParameter("SPEED", "AXIS", 2, v); };

    setSim(2.5);
    int32_t i32 = 0;
    ASSERT_EQ(vaxo_GetAxisParameterInt32Value(h, speed, 2, &i32), 0u);
    EXPECT_EQ(i32, 3);
    setSim(-2.5);
    ASSERT_EQ(vaxo_GetAxisParameterInt32Value(h, speed, 2, &i32), 0u);
    EXPECT_EQ(i32, -3);
    setSim(2147483647.4);
    ASSERT_EQ(vaxo_GetAxisParameterInt32Value(h, speed, 2, &i32), 0u);
    EXPECT_EQ(i32, 2147483647);

    struct Refused {
        double value;
        std::function<uint64_t()> read; // must leave its output at its sentinel
    };
    uint32_t u32 = 77;
    int64_t i64 = 77;
    uint64_t u64 = 77;
    i32 = 77;
    bool b = true;
    const std::vector<Refused> refused = {
        {-1, [&] { return vaxo_GetAxisParameterUInt32Value(h, speed, 2, &u32); }},
        {4294967295.5, [&] { return vaxo_GetAxisParameterUInt32Value(h, speed, 2, &u32); }},
        {2147483647.5, [&] { return vaxo_GetAxisParameterInt32Value(h, speed, 2, &i32); }},
        {-2147483648.6, [&] { return vaxo_GetAxisParameterInt32Value(h, speed, 2, &i32); }},
        {std::ldexp(1.0, 63), [&] { return vaxo_GetAxisParameterInt64Value(h, speed, 2, &i64); }},
        {std::ldexp(1.0, 64), [&] { return vaxo_GetAxisParameterUInt64Value(h, speed, 2, &u64); }},
        {-0.6, [&] { return vaxo_GetAxisParameterUInt64Value(h, speed, 2, &u64); }},
        {NAN, [&] { return vaxo_GetAxisParameterBoolValue(h, speed, 2, &b); }},
        {INFINITY, [&] { return vaxo_GetAxisParameterInt64Value(h, speed, 2, &i64); }},
    };
    for (const Refused& r : refused) {
        setSim(r.value);
        EXPECT_EQ(r.read(), kOutOfRange) << r.value;
    }
    EXPECT_EQ(u32, 77u);
    EXPECT_EQ(i32, 77);
    EXPECT_EQ(i64, 77);
    EXPECT_EQ(u64, 77u);
    EXPECT_TRUE(b);

    setSim(-0.4);
    ASSERT_EQ(vaxo_GetAxisParameterUInt32Value(h, speed, 2, &u32), 0u);
    EXPECT_EQ(u32, 0u);
    setSim(0.3);
    ASSERT_EQ(vaxo_GetAxisParameterBoolValue(h, speed, 2, &b), 0u);
    EXPECT_TRUE(b);
    setSim(0);
    ASSERT_EQ(vaxo_GetAxisParameterBoolValue(h, speed, 2, &b), 0u);
    EXPECT_FALSE(b);
    setSim(std::ldexp(1.0, 62));
    ASSERT_EQ(vaxo_GetAxisParameterInt64Value(h, speed, 2, &i64), 0u);
    EXPECT_EQ(i64, int64_t(1) << 62);

    // 64-bit writes a double cannot hold: nothing sent.
    take();
    EXPECT_EQ(vaxo_SetAxisParameterInt64Value(h, speed, 2, (int64_t(1) << 53) + 1), kOutOfRange);
    EXPECT_EQ(vaxo_SetAxisParameterUInt64Value(h, speed, 2, ~uint64_t(0)), kOutOfRange);
    EXPECT_EQ(vaxo_SetSystemParameterInt64Value(h, uint32_t(KnownTokens::WDOG), INT64_MAX), kOutOfRange);
    EXPECT_TRUE(take().empty());
    ASSERT_EQ(vaxo_SetAxisParameterUInt64Value(h, speed, 2, uint64_t(1) << 63), 0u);
    EXPECT_EQ(sim->parameter("SPEED", "AXIS", 2), std::ldexp(1.0, 63));
    ASSERT_EQ(vaxo_SetAxisParameterInt64Value(h, speed, 2, INT64_MIN), 0u);
    EXPECT_EQ(sim->parameter("SPEED", "AXIS", 2), -std::ldexp(1.0, 63));
    ASSERT_EQ(vaxo_SetAxisParameterBoolValue(h, speed, 2, true), 0u);
    EXPECT_EQ(sim->parameter("SPEED", "AXIS", 2), 1);

    // Every kind by token, each with its modifier.
    ASSERT_EQ(vaxo_SetProcessParameterUInt32Value(h, uint32_t(KnownTokens::TICKS), 4, 1234), 0u);
    EXPECT_EQ(sim->parameter("TICKS", "PROC", 4), 1234);
    ASSERT_EQ(vaxo_SetSlotParameterInt32Value(h, uint32_t(KnownTokens::SERIAL_NUMBER), 1, -5), 0u);
    EXPECT_EQ(sim->parameter("SERIAL_NUMBER", "SLOT", 1), -5);
    ASSERT_EQ(vaxo_SetPortParameterDoubleValue(h, uint32_t(KnownTokens::ADDRESS), 1, 7), 0u);
    EXPECT_EQ(sim->parameter("ADDRESS", "PORT", 1), 7);
    double d = 0;
    ASSERT_EQ(vaxo_GetPortParameterDoubleValue(h, uint32_t(KnownTokens::ADDRESS), 1, &d), 0u);
    EXPECT_EQ(d, 7);
    ASSERT_EQ(vaxo_SetSystemParameterDoubleValue(h, uint32_t(KnownTokens::WDOG), 1), 0u);
    EXPECT_EQ(sim->systemParameter("WDOG"), 1);

    // Not a parameter, or not a token at all: refused without traffic. Read-only parameters
    // come back as the controller's error.
    take();
    EXPECT_EQ(vaxo_GetSystemParameterDoubleValue(h, uint32_t(KnownTokens::VR), &d), kBadArgument);
    EXPECT_EQ(vaxo_GetSystemParameterDoubleValue(h, 100000, &d), kBadArgument);
    EXPECT_EQ(vaxo_GetAxisParameterDoubleValue(h, speed, 0x80000000u, &d), kBadArgument);
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(vaxo_SetAxisParameterDoubleValue(h, uint32_t(KnownTokens::DPOS), 0, 1), kReadOnly);
    EXPECT_EQ(vaxo_SetSystemParameterDoubleValue(h, uint32_t(KnownTokens::VERSION), 1), kReadOnly);
}

TEST_F(Parameters, PortParametersWithoutPortModifier) {
    open({.controllerType = 1664, .firmware = 2.0330, .portModifier = false});
    ASSERT_EQ(sim->codeOf("PORT"), 0xFFFF);
    double d = 0;
    int32_t i = 0;
    EXPECT_EQ(vaxo_GetPortParameterDoubleValue(h, uint32_t(KnownTokens::ADDRESS), 0, &d), kNotSupported);
    EXPECT_EQ(vaxo_SetPortParameterDoubleValue(h, uint32_t(KnownTokens::ADDRESS), 0, 1), kNotSupported);
    EXPECT_EQ(vaxo_GetPortParameterInt32Value(h, uint32_t(KnownTokens::ADDRESS), 0, &i), kNotSupported);
    EXPECT_TRUE(take().empty());
    // The link is untouched.
    ASSERT_EQ(vaxo_GetAxisParameter_SPEED(h, 0, &d), 0u);
}

TEST_F(Parameters, SystemParameterStrings) {
    open({.controllerType = 1664, .firmware = 2.0330});
    const auto ip = uint32_t(KnownTokens::IP_ADDRESS);
    ASSERT_EQ(vaxo_SetSystemParameterStringValue(h, ip, "192.168.0.250"), 0u);
    auto reqs = take();
    ASSERT_EQ(reqs.size(), 1u);
    EXPECT_EQ(reqs[0].str(), "IP_ADDRESS ASSIGN <01> \"192.168.0.250\" EOX");

    char buffer[32];
    uint32_t size = sizeof buffer;
    ASSERT_EQ(vaxo_GetSystemParameterStringValue4a(h, ip, buffer, &size), 0u);
    EXPECT_STREQ(buffer, "192.168.0.250");
    EXPECT_EQ(size, 14u);
    size = 4;
    EXPECT_EQ(vaxo_GetSystemParameterStringValue4a(h, ip, buffer, &size), 0x010000000Eull);
    EXPECT_EQ(size, 14u);
    std::string text;
    ASSERT_EQ(vaxo_GetSystemParameterStringValue4b(h, ip, [](void* user, const char* t, uint32_t n) {
        static_cast<std::string*>(user)->assign(t, n);
    }, &text), 0u);
    EXPECT_EQ(text, "192.168.0.250");
    reqs = take();
    ASSERT_EQ(reqs.size(), 3u);
    EXPECT_EQ(reqs[0].str(), "PRINT IP_ADDRESS");
    EXPECT_EQ(vaxo_SetSystemParameterStringValue(h, uint32_t(KnownTokens::VERSION), "x"), kReadOnly);
}

TEST_F(Parameters, AxisBase) {
    open({.controllerType = 1664, .firmware = 2.0330});
    int32_t axes[3] = {0, 1, 2};
    ASSERT_EQ(vaxo_SetMultiAxisBase(h, axes, 3), 0u);
    ASSERT_EQ(vaxo_SetAxisBase(h, 5), 0u);
    const auto reqs = take();
    ASSERT_EQ(reqs.size(), 2u);
    EXPECT_EQ(reqs[0].bytes, cat(tok("BASE"), tok("OPENBRACKETS"), num(0), tok("COMMA"), num(1), tok("COMMA"), num(2),
                                 tok("CLOSEBRACKETS"), tok("ZERO")));
    EXPECT_EQ(reqs[1].bytes, cat(tok("BASE"), tok("OPENBRACKETS"), num(5), tok("CLOSEBRACKETS"), tok("ZERO")));
    const auto base = sim->withState([](Vaxo::Sim::Controller& c) { return c.extension<Vaxo::Sim::MotionAxes>().base(); });
    EXPECT_EQ(base, (std::vector<uint32_t>{5}));
    // No axes: BASE alone, which leaves the selection as it is.
    EXPECT_EQ(vaxo_SetMultiAxisBase(h, axes, 0), 0u);
    const auto empty = take();
    ASSERT_EQ(empty.size(), 1u);
    EXPECT_EQ(empty[0].bytes, cat(tok("BASE"), tok("ZERO")));
    EXPECT_EQ(sim->withState([](Vaxo::Sim::Controller& c) { return c.extension<Vaxo::Sim::MotionAxes>().base(); }),
              (std::vector<uint32_t>{5}));
    EXPECT_EQ(vaxo_SetAxisBase(h, 99) & 0x0400000000ull, 0x0400000000ull);
}

} // namespace
