// The rules of the program, I/O and EtherCAT commands as one table, against the simulated
// controller: what each request puts on the wire, which replies it takes, what it returns and
// which of the caller's variables it writes, and whether the link is still in step afterwards.
// Written from what the controller and the commands are meant to do, one row per rule.
#include "SimFixture.h"

#include <functional>
#include <optional>

#include <vaxo/IConnection.hpp>

#include "sim/EthercatHandlers.h"
#include "sim/ProgramStore.h"

using namespace vaxotest;
using Vaxo::Ubrix::Shared::IConnection;

namespace {

constexpr uint64_t kController = 0x0400000000ull;
constexpr uint64_t kBadArgument = 0x010000000Cull;
constexpr uint64_t kBufferTooSmall = 0x010000000Eull;
constexpr uint64_t kBadResponse = 0x810000000Bull;
constexpr uint64_t kRemoteTokenBuffer = 0x8100000008ull;
constexpr uint32_t kNone = VAXO_NO_CHANNEL;

class ReplyRules : public SimConnection {
protected:
    void SetUp() override {
        open({.controllerType = 1664, .firmware = 2.0340});
        sim->withState([](Vaxo::Sim::Controller& c) {
            Vaxo::Sim::EthercatSlave s;
            s.address = 1001;
            s.online = true;
            Vaxo::Sim::ethercatState(c).networks[0].slaves = {s};
        });
    }
    IConnection& conn() { return *reinterpret_cast<IConnection*>(h); }

    std::vector<uint8_t> quoted(std::string_view text) const {
        return cat(tok("QUOTES"), std::vector<uint8_t>(text.begin(), text.end()), tok("QUOTES"));
    }
    // token ( v0 , v1 ... ) ZERO, or token ZERO without values.
    std::vector<uint8_t> array(std::string_view token, std::vector<double> values) const {
        std::vector<uint8_t> out = tok(token);
        if (!values.empty()) {
            out = cat(out, tok("OPENBRACKETS"));
            for (std::size_t i = 0; i < values.size(); ++i)
                out = cat(out, i ? tok("COMMA") : std::vector<uint8_t>{}, num(values[i]));
            out = cat(out, tok("CLOSEBRACKETS"));
        }
        return cat(out, tok("ZERO"));
    }
    // A standard response as this (IEEE) controller sends it.
    static std::string response(double value, double status) {
        std::string s(16, '\0');
        std::memcpy(s.data(), &value, 8);
        std::memcpy(s.data() + 8, &status, 8);
        return s;
    }
};

// What a rule expects on the wire: the exact request, or nothing at all.
struct Wire {
    std::optional<std::vector<uint8_t>> request; // nullopt: no request may leave the library
};

struct Rule {
    const char* rule;
    std::function<void()> arrange;   // faults and controller state before the call
    std::function<uint64_t()> call;
    uint64_t result;
    Wire wire;
    std::function<void()> check;     // the caller's variables afterwards
};

} // namespace

TEST_F(ReplyRules, ProgramsIoAndEthercatFollowTheirRules) {
    bool b = false;
    uint32_t u = 0, u2 = 0;
    int32_t i = 0;
    std::string text;
    const std::string tooLong(2000, 'X'); // beyond any remote buffer
    const std::string longName(140, 'N');
    const std::string hugeName(1100, 'H');
    std::vector<std::string> names;
    auto dir = [&] {
        names.clear();
        return uint64_t(conn().Dir([&](const Vaxo::Ubrix::Shared::FileInfo&, std::string_view n) {
            names.emplace_back(n);
        }));
    };
    auto none = [] {};
    auto status = [&](uint16_t st, const char* command) {
        return [this, st, command] { sim->faults().errorStatus(st, {command}); };
    };
    auto text_ = [&](std::string t, const char* command) {
        return [this, t, command] { sim->faults().textReply(t, {command}); };
    };
    auto program = [&](std::string name) { return [this, name] { Vaxo::Sim::putProgram(*sim, name, "A\r\n"); }; };
    const auto Z = tok("ZERO");
    const auto C = tok("COMMA");

    const std::vector<Rule> rules = {
        // ---- command line and programs
        {"EXECUTE sends the quoted line and takes the standard response's status", none,
         [&] { return vaxo_Execute(h, "VR(1)=2"); }, 0, {cat(tok("EXECUTE"), quoted("VR(1)=2"), Z)}, none},
        {"a status n becomes the controller error n", status(19, "EXECUTE"),
         [&] { return vaxo_Execute(h, "VR(1)=2"); }, kController | 19, {cat(tok("EXECUTE"), quoted("VR(1)=2"), Z)},
         none},
        {"a request longer than the controller's buffer is refused before sending", none,
         [&] { return vaxo_Execute(h, tooLong.c_str()); }, kRemoteTokenBuffer, {std::nullopt}, none},
        {"ExecuteWithResponse asks for the printed text: , 1 , 1 after the line", none,
         [&] { return uint64_t(conn().ExecuteWithResponse("PRINT 7", text)); }, 0,
         {cat(tok("EXECUTE"), quoted("PRINT 7"), C, num(1), C, num(1), Z)},
         [&] { EXPECT_EQ(text, "7.0000\r\n"); }},
        {"EX is acknowledged by O K 0x1D, then the standard response", none, [&] { return vaxo_Ex(h, 3); }, 0,
         {array("EX", {3})}, none},
        {"RUN without a process sends no COMMA and no number", program("MAIN"),
         [&] { return vaxo_RunProgram2(h, "MAIN"); }, 0, {cat(tok("RUN"), quoted("MAIN"), Z)}, none},
        {"STOP with a process sends COMMA and the number", none, [&] { return vaxo_StopProgram3(h, "MAIN", 0); },
         0, {cat(tok("STOP"), quoted("MAIN"), C, num(0), Z)}, none},
        {"HALT goes out as a bare array command", none, [&] { return vaxo_Halt(h); }, 0, {cat(tok("HALT"), Z)},
         none},
        {"CLEAR", none, [&] { return vaxo_ClearVariables(h); }, 0, {cat(tok("CLEAR"), Z)}, none},
        {"NEW ends its name with EOX", none, [&] { return vaxo_New(h, "AUX"); }, 0,
         {cat(tok("NEW"), quoted("AUX"), tok("EOX"), Z)}, none},
        {"DEL with the flag clear: no number", none, [&] { return vaxo_Delete(h, "AUX", false); }, 0,
         {cat(tok("DEL"), quoted("AUX"), tok("EOX"), Z)}, none},
        {"SELECT with type 0 sends only the quoted name; text up to \" selected\\r\\n\"", none,
         [&] { return vaxo_Select(h, "MAIN", 0); }, 0, {cat(tok("SELECT"), quoted("MAIN"), Z)},
         [&] { EXPECT_EQ(Vaxo::Sim::selectedProgram(*sim), "MAIN"); }},
        {"a refused SELECT is the standard response alone: its error, link kept", none,
         [&] { return vaxo_Select(h, "NOPE", 0); }, kController | 27, {cat(tok("SELECT"), quoted("NOPE"), Z)},
         none},
        {"IS_PROG: true when the value is non-zero", none, [&] { return vaxo_FileExists(h, "MAIN", &b); }, 0,
         {cat(tok("IS_PROG"), quoted("MAIN"), Z)}, [&] { EXPECT_TRUE(b); }},
        {"DIR \"B\": header skipped, one call per file line, an OK line ends it", program("AUX2"), dir, 0,
         {cat(tok("DIR"), quoted("B"), Z)}, [&] { EXPECT_EQ(names, (std::vector<std::string>{"MAIN", "AUX2"})); }},
        {"a directory name over 131 characters is cut to 131", program(longName), dir, 0,
         {cat(tok("DIR"), quoted("B"), Z)}, [&] {
             ASSERT_EQ(names.size(), 3u);
             EXPECT_EQ(names[2], longName.substr(0, 131));
         }},
        {"PROCESS \"X1\": one call per process", none,
         [&] { return vaxo_GetProcessList(h, [](void*, const VaxoProcessInfo*, const char*) {}, nullptr); }, 0,
         {cat(tok("PROCESS"), quoted("X1"), Z)}, none},

        // ---- digital and analogue I/O
        {"IN(0, 31) sends two values", none, [&] { return vaxo_GetDIn4(h, 0, 31, &u); }, 0, {array("IN", {0, 31})},
         none},
        {"IN(0, 32) is BadArgument and sends nothing", none, [&] { return vaxo_GetDIn4(h, 0, 32, &u); },
         kBadArgument, {std::nullopt}, none},
        {"IN(5, 3) is BadArgument", none, [&] { return vaxo_GetDIn4(h, 5, 3, &u); }, kBadArgument, {std::nullopt},
         none},
        {"IN with neither channel is a bare IN", none, [&] { return vaxo_GetDIn4(h, kNone, kNone, &u); }, 0,
         {array("IN", {})}, none},
        {"READ_OP with neither channel is BadArgument", none, [&] { return vaxo_GetDOut4(h, kNone, kNone, &u); },
         kBadArgument, {std::nullopt}, none},
        {"a range read keeps the mask of a reply with an error status",
         [&] { u = 0; sim->faults().garbage(response(6, 71), {"IN"}); },
         [&] { return vaxo_GetDIn4(h, 0, 3, &u); }, kController | 71, {array("IN", {0, 3})},
         [&] { EXPECT_EQ(u, 6u); }},
        {"the 32 inputs read keeps the mask of a reply with an error status",
         [&] { u = 0; sim->faults().garbage(response(4, 71), {"IN"}); },
         [&] { return vaxo_GetDIn32(h, &u); }, kController | 71, {array("IN", {})}, [&] { EXPECT_EQ(u, 4u); }},
        {"the inversion read stores only on success", [&] { b = true; sim->faults().garbage(response(0, 71), {"INVERT_IN"}); },
         [&] { return vaxo_GetInvertIN(h, 1, &b); }, kController | 71, {array("INVERT_IN", {1})},
         [&] { EXPECT_TRUE(b); }},
        {"a single-channel read stores its value only on success", [&] { b = true; sim->faults().garbage(response(0, 71), {"IN"}); },
         [&] { return vaxo_GetDIn3(h, 2, &b); }, kController | 71, {array("IN", {2})}, [&] { EXPECT_TRUE(b); }},
        {"OP with no values stores the mask only on success", [&] { u = 1; sim->faults().garbage(response(9, 71), {"OP"}); },
         [&] { return vaxo_GetDOut32(h, &u); }, kController | 71, {array("OP", {})}, [&] { EXPECT_EQ(u, 1u); }},
        {"an analogue read stores its value only on success", [&] { i = 55; sim->faults().garbage(response(9, 71), {"AOUT"}); },
         [&] { return vaxo_GetAOut(h, 1, &i); }, kController | 71, {array("AOUT", {1})}, [&] { EXPECT_EQ(i, 55); }},
        {"the single-channel output write repeats the channel, then 1 or 0", none,
         [&] { return vaxo_SetDOut3(h, 6, true); }, 0, {array("OP", {6, 6, 1})}, none},
        {"AOUT(channel) = value", none, [&] { return vaxo_SetAOut(h, 2, 7); },
         0, {cat(tok("AOUT"), tok("OPENBRACKETS"), num(2), tok("CLOSEBRACKETS"), tok("ASSIGN"), num(7), Z)}, none},

        // ---- EtherCAT
        {"CheckNumberOfSlaves(0) sends 3, 0, -1", none, [&] { return vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &u); }, 0,
         {array("ETHERCAT", {3, 0, -1})}, none},
        {"its VR form sends the VR in place of -1", none,
         [&] { return vaxo_Ethercat_CheckNumberOfSlaves_VR(h, 0, 10); }, 0, {array("ETHERCAT", {3, 0, 10})}, none},
        {"StartNetwork2 sends two values", none, [&] { return vaxo_Ethercat_StartNetwork2(h, 0); }, 0,
         {array("ETHERCAT", {0, 0})}, none},
        {"StartNetwork4 sends four", none, [&] { return vaxo_Ethercat_StartNetwork4(h, 0, 0, 2); }, 0,
         {array("ETHERCAT", {0, 0, 0, 2})}, none},
        {"a reply read with an error status leaves the result as it was",
         [&] { u = 77; sim->faults().errorStatus(19, {"ETHERCAT"}); },
         [&] { return vaxo_Ethercat_CheckNumberOfSlaves(h, 0, &u); }, kController | 19,
         {array("ETHERCAT", {3, 0, -1})}, [&] { EXPECT_EQ(u, 77u); }},
        {"the mask and pattern come as one line, then the standard response", none,
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); }, 0,
         {array("ETHERCAT", {122, 0, 0})}, [&] {
             EXPECT_EQ(u, 0x0Fu);
             EXPECT_EQ(u2, 0x05u);
         }},
        {"the pair's two numbers may stand apart by a comma", text_("7, 9\r\n", "ETHERCAT"),
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); }, 0,
         {array("ETHERCAT", {122, 0, 0})}, [&] {
             EXPECT_EQ(u, 7u);
             EXPECT_EQ(u2, 9u);
         }},
        {"a pair line with one number reads the second as 0", text_("12\r\n", "ETHERCAT"),
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); }, 0,
         {array("ETHERCAT", {122, 0, 0})}, [&] {
             EXPECT_EQ(u, 12u);
             EXPECT_EQ(u2, 0u);
         }},
        {"the pair's numbers read as strtol does", text_("  7 9 tail\r\n", "ETHERCAT"),
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); }, 0,
         {array("ETHERCAT", {122, 0, 0})}, [&] {
             EXPECT_EQ(u, 7u);
             EXPECT_EQ(u2, 9u);
         }},
        {"a refused pair read leaves both as they were", status(19, "ETHERCAT"),
         [&] { return vaxo_Ethercat_GetStatusMaskAndTriggerPattern(h, 0, 0, &u, &u2); }, kController | 19,
         {array("ETHERCAT", {122, 0, 0})}, [&] {
             EXPECT_EQ(u, 7u);
             EXPECT_EQ(u2, 9u);
         }},

        // ---- frame groups (the array and refusal forms the library chose)
        {"a group larger than the caller's array: BufferTooSmall, the line drained", none,
         [&] {
             uint32_t table = 0, count = 2;
             int32_t axes[2];
             return vaxo_GetFrameGroup(h, 1, &table, axes, &count);
         },
         kBufferTooSmall, {array("FRAME_GROUP", {1})}, none},
        {"a refused group read returns the controller's error", none,
         [&] {
             uint32_t table = 0, count = 2;
             int32_t axes[2];
             return vaxo_GetFrameGroup(h, 100000, &table, axes, &count);
         },
         kController | 19, {array("FRAME_GROUP", {100000})}, none},

        // ---- rules that end the link: last
        {"a directory line over 1023 characters is BadResponse", program(hugeName), dir, kBadResponse,
         {cat(tok("DIR"), quoted("B"), Z)}, none},
    };

    // The group read above finds three axes.
    const int32_t axes[] = {0, 1, 2};
    ASSERT_EQ(vaxo_SetFrameGroup(h, 1, 10, axes, 3), 0u);
    ASSERT_EQ(vaxo_Ethercat_SetStatusMaskAndTriggerPattern(h, 0, 0, 0x0F, 0x05), 0u);

    double v = 0;
    for (const auto& r : rules) {
        SCOPED_TRACE(r.rule);
        r.arrange();
        sim->clearRequests();
        EXPECT_EQ(r.call(), r.result);
        const auto reqs = sim->requests();
        if (!r.wire.request) {
            EXPECT_TRUE(reqs.empty());
        } else {
            ASSERT_EQ(reqs.size(), 1u);
            EXPECT_EQ(reqs[0].bytes, *r.wire.request) << reqs[0].str();
        }
        r.check();
        sim->faults().clear();
        if (r.result & 0x8000000000ull && r.result != kRemoteTokenBuffer) {
            EXPECT_FALSE(vaxo_IsConnected(h) && vaxo_GetVrValue(h, 3, &v) == 0) << "a fatal error ends the link";
            continue;
        }
        // The next command pairs with its own reply.
        sim->setVr(3, 4.5);
        ASSERT_EQ(vaxo_GetVrValue(h, 3, &v), 0u);
        EXPECT_EQ(v, 4.5);
    }
}

TEST_F(ReplyRules, ExAcknowledgementOtherThanOkIsBadResponse) {
    for (const char* ack : {"OX\x1D", "OK\x1C", "ok\x1D"}) {
        SCOPED_TRACE(ack);
        sim->faults().garbage(std::string(ack, 3) + response(0, 0), {"EX"});
        EXPECT_EQ(vaxo_Ex(h, 0), kBadResponse);
        double v = 0;
        EXPECT_EQ(vaxo_GetVrValue(h, 0, &v), 0x0100000015ull) << "BadResponse is fatal: the reader has stopped";
        ASSERT_EQ(vaxo_CloseConnection(h), 0u);
        ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    }
    EXPECT_EQ(vaxo_Ex(h, 0), 0u);
}
