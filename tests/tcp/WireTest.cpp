// End to end over the wire: open sequence, exact request bytes with this run's token codes,
// both number formats, and the controller's answers.
#include "SimFixture.h"

#include <functional>

#include "shared/protocol/KnownTokens.h"

using namespace vaxotest;

namespace {

struct Profile {
    const char* name;
    double type;
    double firmware;
    bool ieee;
    bool escapes;
};

class Wire : public SimConnection, public ::testing::WithParamInterface<Profile> {};

} // namespace

TEST_P(Wire, VrAndTableRoundTripsWithExactBytes) {
    const Profile p = GetParam();
    open({.controllerType = p.type, .firmware = p.firmware});
    ieee = p.ieee;

    double fw = 0;
    ASSERT_EQ(vaxo_GetFirmwareVersionNumber(h, &fw), 0u);
    EXPECT_DOUBLE_EQ(fw, p.firmware);

    ASSERT_EQ(vaxo_SetVrValue(h, 12, 2.5), 0u);
    EXPECT_EQ(sim->vr(12), 2.5);
    double v = 0;
    ASSERT_EQ(vaxo_GetVrValue(h, 12, &v), 0u);
    EXPECT_EQ(v, 2.5);
    ASSERT_EQ(vaxo_SetTableValue(h, 3, 12.0), 0u);
    EXPECT_EQ(sim->table(3), 12.0);
    ASSERT_EQ(vaxo_GetTableValue(h, 3, &v), 0u);
    EXPECT_EQ(v, 12.0);

    const auto reqs = sim->requests();
    ASSERT_EQ(reqs.size(), 4u);
    const auto zero = tok("ZERO");
    const std::vector<std::vector<uint8_t>> expected = {
        cat(tok("VR"), tok("OPENBRACKETS"), num(12), tok("CLOSEBRACKETS"), tok("ASSIGN"), num(2.5), zero),
        cat(tok("VR"), tok("OPENBRACKETS"), num(12), tok("CLOSEBRACKETS"), zero),
        cat(tok("TABLE"), tok("OPENBRACKETS"), num(3), tok("COMMA"), num(12), tok("CLOSEBRACKETS"), zero),
        cat(tok("TABLE"), tok("OPENBRACKETS"), num(3), tok("CLOSEBRACKETS"), zero),
    };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(reqs[i].bytes, expected[i]) << reqs[i].str();
        EXPECT_EQ(reqs[i].raw, p.escapes ? escaped(expected[i]) : expected[i]) << reqs[i].str();
        EXPECT_EQ(reqs[i].status, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Controllers, Wire,
                         ::testing::Values(Profile{"Tms320", 206, 1.50, false, false},
                                           Profile{"Arm", 1664, 2.0340, true, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(SimConnection, OpenSequenceAndReopen) {
    startSim({.controllerType = 1664, .firmware = 2.0330});
    makeContext();
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    EXPECT_TRUE(vaxo_IsConnected(h));
    EXPECT_EQ(vaxo_OpenConnection(h), 0u) << "open while open does nothing";
    // The open asked for the type, then the firmware.
    const auto reqs = sim->requests();
    ASSERT_GE(reqs.size(), 2u);
    EXPECT_EQ(reqs[reqs.size() - 2].command(), "CONTROL");
    EXPECT_EQ(reqs.back().command(), "VERSION");
    EXPECT_EQ(reqs[reqs.size() - 2].format, Vaxo::Sim::NumberFormat::Tms320);

    EXPECT_EQ(vaxo_CloseConnection(h), 0u);
    EXPECT_FALSE(vaxo_IsConnected(h));
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u) << "the connection opens again after close";
    sim->setVr(7, 42);
    ASSERT_EQ(vaxo_GetVrValue(h, 7, &v), 0u);
    EXPECT_EQ(v, 42);
    bool connectedEvent = false;
    for (auto& t : events.texts)
        connectedEvent |= t == "Connected to 127.0.0.1";
    EXPECT_TRUE(connectedEvent);
}

TEST_F(SimConnection, RefusedControllerTypeLeavesEverythingClosed) {
    startSim({.controllerType = 0, .firmware = 2.0330});
    makeContext();
    EXPECT_EQ(vaxo_OpenConnection(h), 0x810000000Aull);
    EXPECT_FALSE(vaxo_IsConnected(h));
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0100000015ull);
    // Nothing is left half-open: the simulator sees the link go away.
    for (int i = 0; i < 200 && sim->connectionCount() != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(sim->connectionCount(), 0u);
}

TEST_F(SimConnection, ControllerErrorStatusBecomesControllerError) {
    open({});
    sim->faults().errorStatus(19, {.command = "VR", .count = 1});
    double v = -1;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0x0400000013ull);
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), 0u) << "the link stays usable after a controller error";
}

// ---------------------------------------------------------------------------------------------
// The rules of the VR, TABLE, parameter, motion and parameter-block requests, one row each: the
// controller, what the host calls, the exact requests the controller must receive (escapes
// removed; none when nothing may be sent) and the outcome. After a row whose outcome leaves the
// link in step, the next command must still succeed; after one that cannot, the link is down.

namespace {

using Bytes = std::vector<uint8_t>;
using Vaxo::Sim::NumberFormat;

constexpr uint64_t kOk = 0;
constexpr uint64_t kNotSupported = 0x0100000002ull;
constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kBufferTooSmall = 0x010000000Eull;
constexpr uint64_t kDisconnected = 0x0100000015ull;
constexpr uint64_t kRemoteBuffer = 0x8100000008ull;
constexpr uint64_t kBadResponse = 0x810000000Bull;
constexpr uint64_t kController = 0x0400000000ull;

class WireRules;

struct Rule {
    const char* rule;
    double firmware;
    double type;
    std::function<void(WireRules&)> before;  // set-up whose traffic is not part of the rule
    std::function<uint64_t(WireRules&)> call;
    std::function<std::vector<Bytes>(const WireRules&)> requests;
    uint64_t result;
    bool linkStays = true;
    std::function<void(WireRules&)> after = nullptr;  // further checks of the outcome
    std::vector<const char*> oneByte = {};             // tokens whose codes must be one byte
};

class WireRules : public SimConnection {
public:
    using SimConnection::h;
    using SimConnection::sim;

    void openOn(const Rule& r) {
        Vaxo::Sim::Config cfg{.controllerType = r.type, .firmware = r.firmware};
        cfg.seed = freshSeed();
        for (;; ++cfg.seed) {
            Vaxo::Sim::TokenTable t(cfg.seed, false);
            bool ok = true;
            for (const char* n : r.oneByte)
                ok = ok && t.find(n)->code < t.symbols().extended;
            if (ok)
                break;
        }
        sim = std::make_unique<Vaxo::Sim::Simulator>(cfg);
        port = sim->start();
        ASSERT_NE(port, 0);
        makeContext();
        ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    }
    void close() {
        if (h)
            vaxo_DestroyContext(h);
        h = nullptr;
        if (sim)
            sim->stop();
        sim.reset();
    }

    Bytes t(std::string_view name) const { return tok(name); }
    template <class... Parts>
    Bytes join(const Parts&... parts) const {
        return cat(parts...);
    }
    Bytes v(double x) const { return num(x); }
    // token ( a , b ... ) ZERO
    Bytes call(std::string_view token, std::initializer_list<double> args) const {
        Bytes out = tok(token);
        bool first = true;
        for (double a : args) {
            out = cat(out, tok(first ? "OPENBRACKETS" : "COMMA"), num(a));
            first = false;
        }
        return cat(out, tok("CLOSEBRACKETS"), tok("ZERO"));
    }
    Bytes axisPart(double axis) const {
        return cat(tok("MODIFIER"), tok("AXIS"), tok("OPENBRACKETS"), num(axis), tok("CLOSEBRACKETS"));
    }
    // The system-variable prefix of a parameter first in its request: one byte of code after
    // SYSTEMVARIABLE, or code - 256 after SYSTEMVARIABLE2.
    Bytes sysvar(std::string_view name) const {
        const uint16_t code = sim->codeOf(name);
        return code < 256 ? cat(tok("SYSTEMVARIABLE"), Bytes{uint8_t(code)})
                          : cat(tok("SYSTEMVARIABLE2"), Bytes{uint8_t(code - 256)});
    }
    // A standard response whose status is the given number, exactly as the controller sends it.
    std::string responseWithStatus(double status) const {
        Bytes b;
        Vaxo::Sim::putNumber(b, 0, NumberFormat::Ieee64);
        Vaxo::Sim::putNumber(b, status, NumberFormat::Ieee64);
        return std::string(b.begin(), b.end());
    }
    // VR ( 0 ) ASSIGN <01> QUOTES text QUOTES EOX ZERO whose size as the size check counts it
    // (one escape when anything needs one, one more for a final 0x1B) is `size`.
    std::string textForRequestOf(unsigned size) const {
        const Bytes fixed = cat(t("VR"), t("OPENBRACKETS"), v(0), t("CLOSEBRACKETS"), t("ASSIGN"), Bytes{0x01},
                                t("QUOTES"), t("QUOTES"), t("EOX"), t("ZERO"));
        const unsigned counted = unsigned(fixed.size()) + 1 + (fixed.back() == 0x1B ? 1 : 0);
        char fill = 'a';
        while (fill == char(sim->codeOf("QUOTES")))
            ++fill;
        return std::string(size - counted, fill);
    }
    std::vector<Bytes> vrString(const std::string& text) const {
        return {cat(t("VR"), t("OPENBRACKETS"), v(0), t("CLOSEBRACKETS"), t("ASSIGN"), Bytes{0x01}, t("QUOTES"),
                    Bytes(text.begin(), text.end()), t("QUOTES"), t("EOX"), t("ZERO"))};
    }
    // TABLE ( start , v0 ... ) ZERO requests of the given group sizes.
    std::vector<Bytes> tableChunks(unsigned start, const double* values, std::initializer_list<unsigned> groups) const {
        std::vector<Bytes> out;
        unsigned offset = 0;
        for (unsigned n : groups) {
            Bytes r = cat(t("TABLE"), t("OPENBRACKETS"), v(start + offset));
            for (unsigned k = 0; k < n; ++k)
                r = cat(r, t("COMMA"), v(values[offset + k]));
            out.push_back(cat(r, t("CLOSEBRACKETS"), t("ZERO")));
            offset += n;
        }
        return out;
    }

    double values[64] = {};
    double out[8] = {};
    uint64_t mask = 0;
    std::string text;
};

const char* const kChunkTokens[] = {"TABLE", "OPENBRACKETS", "CLOSEBRACKETS", "COMMA", "NUMBER", "EOX", "ZERO"};

std::vector<Rule> rules() {
    using W = WireRules;
    const auto none = [](const W&) { return std::vector<Bytes>{}; };
    const auto status = [](double s) {
        return [s](W& w) { w.sim->faults().garbage(w.responseWithStatus(s), {"VR", 1}); };
    };
    const auto readVr = [](W& w) {
        double x;
        return vaxo_GetVrValue(w.h, 1, &x);
    };
    // VR ( 1 ) = 4: the write whose reply status the status rows vary.
    const auto setVr1 = [](W& w) { return vaxo_SetVrValue(w.h, 1, 4); };
    const auto vrWrite1 = [](const W& w) {
        return std::vector<Bytes>{
            w.join(w.t("VR"), w.t("OPENBRACKETS"), w.v(1), w.t("CLOSEBRACKETS"), w.t("ASSIGN"), w.v(4), w.t("ZERO"))};
    };
    const std::vector<const char*> chunkTokens(std::begin(kChunkTokens), std::end(kChunkTokens));
    const auto fill = [](W& w) {
        for (int k = 0; k < 64; ++k)
            w.values[k] = 100 + k;
    };
    const Rule table[] = {
        // ---- VR and TABLE, single values
        {"a VR read is VR ( index ) ZERO", 2.0330, 1664, nullptr, [](W& w) { return vaxo_GetVrValue(w.h, 12, w.out); },
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {12})}; }, kOk},
        {"a VR write is VR ( index ) ASSIGN value ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetVrValue(w.h, 12, 2.5); },
         [](const W& w) {
             return std::vector<Bytes>{w.join(w.t("VR"), w.t("OPENBRACKETS"), w.v(12), w.t("CLOSEBRACKETS"), w.t("ASSIGN"),
                                     w.v(2.5), w.t("ZERO"))};
         },
         kOk},
        {"a TABLE write is TABLE ( index , value ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetTableValue(w.h, 3, 12); },
         [](const W& w) { return std::vector<Bytes>{w.call("TABLE", {3, 12})}; }, kOk},
        {"a bit write is SET_BIT ( bit , index ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetVrBit(w.h, 3, 7); },
         [](const W& w) { return std::vector<Bytes>{w.call("SET_BIT", {3, 7})}; }, kOk},
        {"a VR string is VR ( index ) ASSIGN <01> QUOTES text QUOTES EOX ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetVrString(w.h, 0, "Hi"); }, [](const W& w) { return w.vrString("Hi"); }, kOk},
        {"a text holding the QUOTES byte is refused, nothing sent", 2.0330, 1664, nullptr,
         [](W& w) {
             w.text = std::string("a") + char(w.sim->codeOf("QUOTES")) + "b";
             return vaxo_SetVrString(w.h, 0, w.text.c_str());
         },
         none, kBadArgument},

        // ---- multi-value reads and writes
        {"a multi read is VRVALUES ( start , count , 1 ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_GetMultiVrValues(w.h, 5, 3, w.out); },
         [](const W& w) { return std::vector<Bytes>{w.call("VRVALUES", {5, 3, 1})}; }, kOk},
        {"an empty multi read still asks: VRVALUES ( start , 0 , 1 ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_GetMultiVrValues(w.h, 5, 0, w.out); },
         [](const W& w) { return std::vector<Bytes>{w.call("VRVALUES", {5, 0, 1})}; }, kOk},
        {"an empty TABLE read still asks: TABLEVALUES ( start , 0 , 1 ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_GetMultiTableValues(w.h, 7, 0, w.out); },
         [](const W& w) { return std::vector<Bytes>{w.call("TABLEVALUES", {7, 0, 1})}; }, kOk},
        {"an empty multi read on a closed link is Disconnected", 2.0330, 1664,
         [](W& w) { ASSERT_EQ(vaxo_CloseConnection(w.h), 0u); },
         [](W& w) { return vaxo_GetMultiVrValues(w.h, 5, 0, w.out); }, none, kDisconnected, false},
        {"a multi VR write at the gate (2.0325) is NotSupported, nothing sent", 2.0325, 1664, nullptr,
         [](W& w) { return vaxo_SetMultiVrValues(w.h, 0, 3, w.values); }, none, kNotSupported},
        {"a multi VR write on 1.0325 (release below the gate) is NotSupported, nothing sent", 1.0325, 1664, nullptr,
         [](W& w) { return vaxo_SetMultiVrValues(w.h, 0, 3, w.values); }, none, kNotSupported},
        {"an empty multi VR write at the gate is NotSupported, nothing sent", 2.0325, 1664, nullptr,
         [](W& w) { return vaxo_SetMultiVrValues(w.h, 0, 0, w.values); }, none, kNotSupported},
        {"a block write: header ( first , last , 2 ), then each value as NUMBER bytes EOX", 2.0330, 1664,
         [](W& w) {
             w.values[0] = 1.5;
             w.values[1] = -2;
             w.values[2] = 3.25;
         },
         [](W& w) { return vaxo_SetMultiVrValues(w.h, 10, 3, w.values); },
         [](const W& w) {
             return std::vector<Bytes>{w.call("VRVALUES", {10, 12, 2}), w.join(w.v(1.5), w.v(-2), w.v(3.25))};
         },
         kOk, true, [](W& w) { EXPECT_EQ(w.sim->vr(11), -2); }},
        {"an empty block write is its header alone: ( start , start - 1 , 2 )", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 10, 0, w.values); },
         [](const W& w) { return std::vector<Bytes>{w.call("TABLEVALUES", {10, 9, 2})}; }, kOk},
        {"a block write on type 770 carries 51 values per 512-byte block, all taken", 2.0330, 1770, fill,
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 0, 60, w.values); },
         [](const W& w) {
             Bytes data;
             for (int k = 0; k < 60; ++k)
                 data = w.join(data, w.v(w.values[k]));
             return std::vector<Bytes>{w.call("TABLEVALUES", {0, 59, 2}), data};
         },
         kOk, true, [](W& w) { EXPECT_EQ(w.sim->table(59), 159); }},
        {"TABLE chunks on 3.0273: 124-byte buffer, (124 - 15) / 11 = 9 values each", 3.0273, 1664, fill,
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 40, 20, w.values); },
         [](const W& w) { return w.tableChunks(40, w.values, {9, 9, 2}); }, kOk, true, nullptr, chunkTokens},
        {"TABLE chunks on 4.0273: 200-byte buffer, (200 - 15) / 11 = 16 values each", 4.0273, 1664, fill,
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 40, 20, w.values); },
         [](const W& w) { return w.tableChunks(40, w.values, {16, 4}); }, kOk, true, nullptr, chunkTokens},
        {"after a refused TABLE chunk the replies to the others are still read", 3.0273, 1664,
         [fill](W& w) {
             fill(w);
             w.sim->faults().errorStatus(65, {"TABLE", 1});
         },
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 40, 20, w.values); },
         [](const W& w) { return w.tableChunks(40, w.values, {9, 9, 2}); }, kController | 65, true,
         [](W& w) { EXPECT_EQ(w.sim->table(59), 119) << "the later chunks were written"; }, chunkTokens},
        {"TABLE chunks on 5.0273: 200-byte buffer too", 5.0273, 1664, fill,
         [](W& w) { return vaxo_SetMultiTableValues(w.h, 0, 17, w.values); },
         [](const W& w) { return w.tableChunks(0, w.values, {16, 1}); }, kOk, true, nullptr, chunkTokens},

        // ---- the remote buffer by firmware
        {"on 4.0273 a request of 200 bytes is taken", 4.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(200); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         [](const W& w) { return w.vrString(w.text); }, kOk},
        {"on 4.0273 a request of 201 bytes is refused, nothing sent", 4.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(201); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         none, kRemoteBuffer},
        {"on 5.0273 a request of 200 bytes is taken", 5.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(200); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         [](const W& w) { return w.vrString(w.text); }, kOk},
        {"on 5.0273 a request of 201 bytes is refused, nothing sent", 5.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(201); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         none, kRemoteBuffer},
        {"on 3.0273 a request of 124 bytes is taken", 3.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(124); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         [](const W& w) { return w.vrString(w.text); }, kOk},
        {"on 3.0273 a request of 125 bytes is refused, nothing sent", 3.0273, 1664,
         [](W& w) { w.text = w.textForRequestOf(125); }, [](W& w) { return vaxo_SetVrString(w.h, 0, w.text.c_str()); },
         none, kRemoteBuffer},

        // ---- the status of a standard response
        {"status 2.5 is controller error 2", 2.0330, 1664, status(2.5), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kController | 2},
        {"status 2.9 is controller error 2", 2.0330, 1664, status(2.9), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kController | 2},
        {"status 65535.5 is controller error 65535", 2.0330, 1664, status(65535.5), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kController | 65535},
        {"status 65536 cannot be a status: BadResponse", 2.0330, 1664, status(65536), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kBadResponse, false},
        {"status -1 cannot be a status: BadResponse", 2.0330, 1664, status(-1), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kBadResponse, false},
        {"a status that is not a number: BadResponse", 2.0330, 1664, status(std::nan("")), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kBadResponse, false},
        {"an infinite status: BadResponse", 2.0330, 1664, status(HUGE_VAL), readVr,
         [](const W& w) { return std::vector<Bytes>{w.call("VR", {1})}; }, kBadResponse, false},

        // ---- the status of a write's value-and-status reply: rounded, 32 bits
        {"a VR write's status 2.5 rounds to controller error 3", 2.0330, 1664, status(2.5),
         setVr1, vrWrite1,
         kController | 3},
        {"a VR write's status 2.4 rounds to controller error 2", 2.0330, 1664, status(2.4),
         setVr1, vrWrite1,
         kController | 2},
        {"a VR write's status 65536 is controller error 65536", 2.0330, 1664, status(65536),
         setVr1, vrWrite1,
         kController | 65536},
        {"a parameter write's status 18.6 rounds to controller error 19", 2.0330, 1664,
         [](W& w) { w.sim->faults().garbage(w.responseWithStatus(18.6), {"SPEED", 1}); },
         [](W& w) { return vaxo_SetAxisParameter_SPEED(w.h, 3, 250); },
         [](const W& w) {
             return std::vector<Bytes>{w.join(w.sysvar("SPEED"), w.axisPart(3), w.t("ASSIGN"), w.v(250), w.t("ZERO"))};
         },
         kController | 19},

        // ---- motion
        {"FORWARD names its axis: FORWARD MODIFIER AXIS ( axis ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_Forward(w.h, 2); },
         [](const W& w) { return std::vector<Bytes>{w.join(w.t("FORWARD"), w.axisPart(2), w.t("ZERO"))}; }, kOk},
        {"FORWARD names a negative axis too, which the controller refuses", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_Forward(w.h, -1); },
         [](const W& w) { return std::vector<Bytes>{w.join(w.t("FORWARD"), w.axisPart(-1), w.t("ZERO"))}; },
         kController | 19},
        {"REVERSE names a negative axis too", 2.0330, 1664, nullptr, [](W& w) { return vaxo_Reverse(w.h, -4); },
         [](const W& w) { return std::vector<Bytes>{w.join(w.t("REVERSE"), w.axisPart(-4), w.t("ZERO"))}; },
         kController | 19},
        {"a move on axis -1 carries no AXIS modifier", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_MoveRel(w.h, 10, -1); }, [](const W& w) { return std::vector<Bytes>{w.call("MOVE", {10})}; },
         kOk},
        {"a move on axis 3: MOVEABS ( v ) MODIFIER AXIS ( 3 ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_MoveAbs(w.h, 5.5, 3); },
         [](const W& w) {
             return std::vector<Bytes>{w.join(w.t("MOVEABS"), w.t("OPENBRACKETS"), w.v(5.5), w.t("CLOSEBRACKETS"),
                                     w.axisPart(3), w.t("ZERO"))};
         },
         kOk},
        {"MOVECIRCSP with option -1 and speed 0 sends five values", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_MoveCircSp(w.h, -1, 10, 0, 5, 0, 1, 0, -1); },
         [](const W& w) { return std::vector<Bytes>{w.call("MOVECIRCSP", {10, 0, 5, 0, 1})}; }, kOk},

        // ---- parameters and the axis base
        {"an axis parameter read: sysvar MODIFIER AXIS ( 3 ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_GetAxisParameter_SPEED(w.h, 3, w.out); },
         [](const W& w) { return std::vector<Bytes>{w.join(w.sysvar("SPEED"), w.axisPart(3), w.t("ZERO"))}; }, kOk},
        {"an axis parameter write: sysvar MODIFIER AXIS ( 3 ) ASSIGN value ZERO", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_SetAxisParameter_SPEED(w.h, 3, 250); },
         [](const W& w) {
             return std::vector<Bytes>{w.join(w.sysvar("SPEED"), w.axisPart(3), w.t("ASSIGN"), w.v(250), w.t("ZERO"))};
         },
         kOk},
        {"a named axis parameter of axis 0x80000000 is refused, nothing sent", 2.0330, 1664, nullptr,
         [](W& w) { return vaxo_GetAxisParameter_SPEED(w.h, 0x80000000u, w.out); }, none, kBadArgument},
        {"a typed axis parameter of axis 0x80000000 is refused, nothing sent", 2.0330, 1664, nullptr,
         [](W& w) {
             return vaxo_GetAxisParameterDoubleValue(w.h, uint32_t(Vaxo::Ubrix::Shared::KnownTokens::SPEED), 0x80000000u,
                                                     w.out);
         },
         none, kBadArgument},
        {"BASE ( a , b , c ) ZERO", 2.0330, 1664, nullptr,
         [](W& w) {
             int32_t axes[3] = {0, 1, 2};
             return vaxo_SetMultiAxisBase(w.h, axes, 3);
         },
         [](const W& w) { return std::vector<Bytes>{w.call("BASE", {0, 1, 2})}; }, kOk},
        {"no axes: BASE ZERO", 2.0330, 1664, nullptr,
         [](W& w) {
             int32_t axes[1] = {0};
             return vaxo_SetMultiAxisBase(w.h, axes, 0);
         },
         [](const W& w) { return std::vector<Bytes>{w.join(w.t("BASE"), w.t("ZERO"))}; }, kOk},

        // ---- parameter blocks: fetch of changed values on one axis
        {"a changed index past the block size but below the capacity is written and marked", 2.0330, 1664,
         [](W& w) {
             uint32_t indices[3] = {1, 2, 3};
             int32_t block = -1;
             ASSERT_EQ(vaxo_ParamBlockDefineVr(w.h, indices, 3, &block), 0u);
             ASSERT_EQ(block, 0);
             w.sim->faults().textReply("5:1.5,1:2", {"PRMBLK", 1});
         },
         [](W& w) { return vaxo_ParamBlockFetchChangedVr(w.h, 0, w.out, 8, &w.mask); },
         [](const W& w) { return std::vector<Bytes>{w.call("PRMBLK", {4, 0})}; }, kOk, true,
         [](W& w) {
             EXPECT_EQ(w.out[5], 1.5);
             EXPECT_EQ(w.out[1], 2);
             EXPECT_EQ(w.mask, (1u << 5) | (1u << 1));
         }},
        {"a changed index at the capacity is BufferTooSmall", 2.0330, 1664,
         [](W& w) {
             uint32_t indices[3] = {1, 2, 3};
             int32_t block = -1;
             ASSERT_EQ(vaxo_ParamBlockDefineVr(w.h, indices, 3, &block), 0u);
             w.sim->faults().textReply("8:1", {"PRMBLK", 1});
         },
         [](W& w) { return vaxo_ParamBlockFetchChangedVr(w.h, 0, w.out, 8, &w.mask); },
         [](const W& w) { return std::vector<Bytes>{w.call("PRMBLK", {4, 0})}; }, kBufferTooSmall},
    };
    return std::vector<Rule>(std::begin(table), std::end(table));
}

} // namespace

TEST_F(WireRules, EveryRuleOnTheWire) {
    const auto table = rules();
    for (const Rule& r : table) {
        SCOPED_TRACE(r.rule);
        openOn(r);
        if (HasFatalFailure())
            return;
        if (r.before)
            r.before(*this);
        sim->clearRequests();
        EXPECT_EQ(r.call(*this), r.result);
        const auto reqs = sim->requests();
        const auto want = r.requests(*this);
        EXPECT_EQ(reqs.size(), want.size());
        for (std::size_t k = 0; k < std::min(want.size(), reqs.size()); ++k) {
            EXPECT_EQ(reqs[k].bytes, want[k]) << k << ": " << reqs[k].str();
            if (r.result == kOk) {
                EXPECT_EQ(reqs[k].status, 0) << k << ": " << reqs[k].str();
            }
        }
        if (r.after)
            r.after(*this);
        double x;
        if (r.linkStays)
            EXPECT_EQ(vaxo_GetVrValue(h, 1, &x), 0u) << "the link stays in step";
        else
            EXPECT_EQ(vaxo_GetVrValue(h, 1, &x), kDisconnected) << "the link is down";
        close();
    }
    RecordProperty("rules", int(table.size()));
}
