// Programs, processes, the command line and the directory against the simulated controller:
// exact request bytes, the program store and process table, the command-line interpreter,
// text replies into small buffers and a reply that stops half-way.
#include "SimFixture.h"

#include <functional>
#include <thread>

#include <vaxo/IConnection.hpp>

#include "sim/ProgramStore.h"

using namespace vaxotest;
using Vaxo::Ubrix::Shared::IConnection;

namespace {

constexpr uint64_t kControllerError = 0x0400000000ull;
constexpr uint64_t kBufferTooSmall = 0x010000000Eull;
constexpr uint64_t kTimeout = 0x8100000006ull;
constexpr uint64_t kDisconnected = 0x0100000015ull;

class Programs : public SimConnection {
protected:
    IConnection& conn() { return *reinterpret_cast<IConnection*>(h); }
    std::vector<uint8_t> quoted(std::string_view text) const {
        std::vector<uint8_t> body(text.begin(), text.end());
        return cat(tok("QUOTES"), body, tok("QUOTES"));
    }

    struct Dirent {
        std::string name;
        VaxoFileInfo info;
    };
    std::vector<Dirent> dir() {
        std::vector<Dirent> out;
        EXPECT_EQ(vaxo_Dir(
                      h, [](void* u, const VaxoFileInfo* i, const char* n) {
                          static_cast<std::vector<Dirent>*>(u)->push_back({n, *i});
                      },
                      &out),
                  0u);
        return out;
    }
    struct Proc {
        std::string name;
        VaxoProcessInfo info;
    };
    std::vector<Proc> processList() {
        std::vector<Proc> out;
        EXPECT_EQ(vaxo_GetProcessList(
                      h, [](void* u, const VaxoProcessInfo* i, const char* n) {
                          static_cast<std::vector<Proc>*>(u)->push_back({n, *i});
                      },
                      &out),
                  0u);
        return out;
    }
    std::string executeText(const char* line, uint64_t* code = nullptr) {
        std::string text;
        const uint64_t e = vaxo_ExecuteWithResponse4c(
            h, line, [](void* u, const char* t, uint32_t n) { static_cast<std::string*>(u)->assign(t, n); }, &text);
        if (code)
            *code = e;
        else
            EXPECT_EQ(e, 0u) << line;
        return text;
    }
};

} // namespace

TEST_F(Programs, RequestBytesPerCommand) {
    open({.controllerType = 1664, .firmware = 2.0340});
    Vaxo::Sim::putProgram(*sim, "MAIN", "VR(1)=1\r\n");
    const auto Z = tok("ZERO");
    const auto C = tok("COMMA");
    std::string text;
    uint16_t value = 0;
    bool exists = false;
    auto noFile = [](void*, const VaxoFileInfo*, const char*) {};
    auto noProc = [](void*, const VaxoProcessInfo*, const char*) {};
    auto noText = [](void*, const char*, uint32_t) {};

    struct Case {
        const char* what;
        std::function<uint64_t()> call;
        std::vector<uint8_t> bytes;
    };
    const std::vector<Case> cases = {
        {"Execute", [&] { return vaxo_Execute(h, "VR(2)=3"); }, cat(tok("EXECUTE"), quoted("VR(2)=3"), Z)},
        {"ExecuteWithResponse", [&] { return vaxo_ExecuteWithResponse4c(h, "PRINT 1", noText, nullptr); },
         cat(tok("EXECUTE"), quoted("PRINT 1"), C, num(1), C, num(1), Z)},
        {"Ex", [&] { return vaxo_Ex(h, 0); }, cat(tok("EX"), tok("OPENBRACKETS"), num(0), tok("CLOSEBRACKETS"), Z)},
        {"New", [&] { return vaxo_New(h, "AUX"); }, cat(tok("NEW"), quoted("AUX"), tok("EOX"), Z)},
        {"Select without type", [&] { return vaxo_Select(h, "MAIN", 0); }, cat(tok("SELECT"), quoted("MAIN"), Z)},
        {"Select with type", [&] { return vaxo_Select(h, "LIB", 3); },
         cat(tok("SELECT"), quoted("LIB"), C, num(3), Z)},
        {"RunProgram2", [&] { return vaxo_RunProgram2(h, "MAIN"); }, cat(tok("RUN"), quoted("MAIN"), Z)},
        {"RunProgram3", [&] { return vaxo_RunProgram3(h, "AUX", 4); }, cat(tok("RUN"), quoted("AUX"), C, num(4), Z)},
        {"StopProgram3", [&] { return vaxo_StopProgram3(h, "AUX", 4); },
         cat(tok("STOP"), quoted("AUX"), C, num(4), Z)},
        {"StopProgram2", [&] { return vaxo_StopProgram2(h, "MAIN"); }, cat(tok("STOP"), quoted("MAIN"), Z)},
        {"Halt", [&] { return vaxo_Halt(h); }, cat(tok("HALT"), Z)},
        {"FileExists", [&] { return vaxo_FileExists(h, "MAIN", &exists); }, cat(tok("IS_PROG"), quoted("MAIN"), Z)},
        {"Dir", [&] { return vaxo_Dir(h, noFile, nullptr); }, cat(tok("DIR"), quoted("B"), Z)},
        {"GetProcessList", [&] { return vaxo_GetProcessList(h, noProc, nullptr); },
         cat(tok("PROCESS"), quoted("X1"), Z)},
        {"EdProg sendZ", [&] { return uint64_t(conn().EditProgramValue("MAIN", "", 10, -1, -1, value)); },
         cat(tok("EDPROG1"), quoted("MAIN"), C, quoted(""), C, num(10), C, num(-1), C, num(-1), Z)},
        {"EdProg line", [&] { return uint64_t(conn().EditProgram("MAIN", "VR(2)=2", 2, 2, 0, text)); },
         cat(tok("EDPROG1"), quoted("MAIN"), C, quoted("VR(2)=2"), C, num(2), C, num(2), C, num(0), Z)},
        {"File CRC", [&] { return uint64_t(conn().FileCommandValue("CRC", "MAIN", "", value)); },
         cat(tok("FILE"), quoted("CRC"), tok("SPACE"), quoted("MAIN"), tok("SPACE"), quoted(""), Z)},
        {"Delete without flag", [&] { return vaxo_Delete(h, "AUX", false); },
         cat(tok("DEL"), quoted("AUX"), tok("EOX"), Z)},
        {"Delete with flag", [&] { return vaxo_Delete(h, "LIB", true); },
         cat(tok("DEL"), quoted("LIB"), num(0), tok("EOX"), Z)},
        {"ClearVariables", [&] { return vaxo_ClearVariables(h); }, cat(tok("CLEAR"), Z)},
    };
    for (const auto& c : cases) {
        sim->clearRequests();
        EXPECT_EQ(c.call(), 0u) << c.what;
        const auto reqs = sim->requests();
        ASSERT_EQ(reqs.size(), 1u) << c.what;
        EXPECT_EQ(reqs[0].bytes, c.bytes) << c.what << ": " << reqs[0].str();
        EXPECT_EQ(reqs[0].status, 0) << c.what << ": " << reqs[0].str();
    }
    EXPECT_TRUE(exists);
}

TEST_F(Programs, StoreProcessesAndListings) {
    open({});
    EXPECT_TRUE(dir().empty()) << "header and OK only: no entry";
    double v;
    ASSERT_EQ(vaxo_GetVrValue(h, 0, &v), 0u) << "nothing of the listing is left on the link";

    Vaxo::Sim::putProgram(*sim, "MAIN", "123456789");
    Vaxo::Sim::putProgram(*sim, "Motion", "VR(1)=1\r\nVR(2)=2\r\n", 3);
    ASSERT_EQ(vaxo_New(h, "aux"), 0u);
    EXPECT_EQ(vaxo_New(h, "AUX"), kControllerError | 58) << "program already exists";
    auto files = dir();
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0].name, "MAIN");
    EXPECT_EQ(files[0].info.size, 9u);
    EXPECT_EQ(files[0].info.crc, 0xFEE8u) << "CRC-16/UMTS check value";
    EXPECT_EQ(files[0].info.flags, 6u);
    EXPECT_EQ(files[1].name, "MOTION");
    EXPECT_EQ(files[1].info.lines, 2);
    EXPECT_EQ(files[1].info.type, 3);
    EXPECT_EQ(files[2].name, "AUX");

    bool exists = true;
    ASSERT_EQ(vaxo_FileExists(h, "nope", &exists), 0u);
    EXPECT_FALSE(exists);
    ASSERT_EQ(vaxo_FileExists(h, "motion", &exists), 0u);
    EXPECT_TRUE(exists);

    // SELECT's text reply, and its refusal (a bare standard response) leaves the link in step.
    ASSERT_EQ(vaxo_Select(h, "motion", 0), 0u);
    EXPECT_EQ(Vaxo::Sim::selectedProgram(*sim), "MOTION");
    EXPECT_EQ(vaxo_Select(h, "missing", 0), kControllerError | 27);
    ASSERT_EQ(vaxo_GetVrValue(h, 0, &v), 0u);

    ASSERT_EQ(vaxo_RunProgram2(h, "MAIN"), 0u);
    ASSERT_EQ(vaxo_RunProgram3(h, "MOTION", 7), 0u);
    EXPECT_EQ(vaxo_RunProgram3(h, "AUX", 7), kControllerError | 20) << "process 7 is taken";
    EXPECT_EQ(vaxo_RunProgram2(h, "missing"), kControllerError | 27);
    auto procs = processList();
    ASSERT_EQ(procs.size(), 2u);
    EXPECT_EQ(procs[0].name, "MAIN");
    EXPECT_EQ(procs[0].info.process, 0);
    EXPECT_EQ(procs[0].info.flags, 0u);
    EXPECT_EQ(procs[1].name, "MOTION");
    EXPECT_EQ(procs[1].info.process, 7);
    EXPECT_EQ(procs[1].info.cycles, 107u);
    EXPECT_DOUBLE_EQ(procs[1].info.load, 7.5);
    EXPECT_EQ(procs[1].info.flags, 1u) << "the selected program's process is marked";

    EXPECT_EQ(vaxo_StopProgram3(h, "MAIN", 7), kControllerError | 75);
    ASSERT_EQ(vaxo_StopProgram3(h, "MOTION", 7), 0u);
    EXPECT_EQ(processList().size(), 1u);
    EXPECT_EQ(vaxo_Delete(h, "MAIN", false), kControllerError | 30) << "running";
    ASSERT_EQ(vaxo_Delete(h, "MAIN", true), 0u);
    ASSERT_EQ(vaxo_RunProgram2(h, "AUX"), 0u);
    ASSERT_EQ(vaxo_Halt(h), 0u);
    EXPECT_TRUE(processList().empty());
    EXPECT_EQ(dir().size(), 2u);
}

TEST_F(Programs, EditLinesAndRemoteCrc) {
    open({.controllerType = 206, .firmware = 1.50}); // four-byte numbers carry the results too
    ieee = false;
    Vaxo::Sim::putProgram(*sim, "EDIT", "A\r\nC\r\n");
    uint16_t value = 0;
    std::string reply;
    ASSERT_EQ(uint64_t(conn().EditProgramValue("EDIT", "B", 2, 2, -1, value)), 0u);
    EXPECT_EQ(value, 3u);
    ASSERT_EQ(uint64_t(conn().EditProgram("EDIT", "", 0, 2, -1, reply)), 0u);
    EXPECT_EQ(reply, "B");
    EXPECT_EQ(*Vaxo::Sim::programText(*sim, "edit"), "A\r\nB\r\nC\r\n");
    ASSERT_EQ(uint64_t(conn().EditProgramValue("EDIT", "", 10, -1, -1, value)), 0u);
    EXPECT_EQ(value, 3u);

    const uint16_t expected = Vaxo::Sim::ProgramStore::crc16("A\r\nB\r\nC\r\n");
    ASSERT_EQ(uint64_t(conn().FileCommandValue("CRC", "edit", "", value)), 0u);
    EXPECT_EQ(value, expected);
    EXPECT_EQ(uint64_t(conn().FileCommandValue("CRC", "none", "", value)), kControllerError | 27);
}

TEST_F(Programs, CommandLineInterpreter) {
    open({});
    sim->setTable(2, 7);
    ASSERT_EQ(vaxo_Execute(h, "VR(3)=5"), 0u);
    EXPECT_EQ(sim->vr(3), 5);
    ASSERT_EQ(vaxo_Execute(h, "speed axis(2) = 12.5 : VR(4) = VR(3) * 2"), 0u);
    EXPECT_EQ(sim->parameter("SPEED", "AXIS", 2), 12.5);
    EXPECT_EQ(sim->vr(4), 10);

    EXPECT_EQ(executeText("PRINT 1+2"), "3.0000\r\n");
    EXPECT_EQ(executeText("PRINT VR(3), TABLE(2)"), "5.0000 7.0000\r\n");
    EXPECT_EQ(executeText("PRINT SPEED AXIS(2)"), "12.5000\r\n");
    EXPECT_EQ(executeText("PRINT \"v=\";VR(4);"), "v=10.0000");
    EXPECT_EQ(executeText("VR(9)=1"), "");

    EXPECT_EQ(vaxo_Execute(h, "NOSUCHNAME=1"), kControllerError | 64);
    uint64_t e = 0;
    executeText("PRINT VR(", &e);
    EXPECT_EQ(e, kControllerError | 4);

    // Streamed: one packet per byte, then one of length 0.
    struct Stream {
        std::string text;
        std::vector<uint32_t> lengths, sequences;
    } s;
    ASSERT_EQ(vaxo_ExecuteWithResponse4b(
                  h, "PRINT 42",
                  [](void* u, const VaxoDataStreamPacket* p, const char* d) {
                      auto* st = static_cast<Stream*>(u);
                      st->text.append(d, p->length);
                      st->lengths.push_back(p->length);
                      st->sequences.push_back(p->sequence);
                  },
                  &s),
              0u);
    EXPECT_EQ(s.text, "42.0000\r\n");
    ASSERT_EQ(s.lengths.size(), s.text.size() + 1);
    EXPECT_EQ(s.lengths.back(), 0u);
    EXPECT_EQ(s.sequences.back(), s.text.size());

    // CLEAR resets the VRs.
    ASSERT_EQ(vaxo_ClearVariables(h), 0u);
    EXPECT_EQ(sim->vr(3), 0);
}

TEST_F(Programs, ResponseIntoTooSmallBufferReportsSizeNeeded) {
    open({});
    char buffer[32];
    uint32_t size = 4;
    EXPECT_EQ(vaxo_ExecuteWithResponse4a(h, "PRINT 12345", buffer, &size), kBufferTooSmall);
    EXPECT_EQ(size, 13u) << "\"12345.0000\\r\\n\" and its terminator";
    EXPECT_EQ(std::string(buffer, 4), "1234");
    size = 12;
    EXPECT_EQ(vaxo_ExecuteWithResponse4a(h, "PRINT 12345", buffer, &size), kBufferTooSmall) << "no room for 0x00";
    size = 13;
    ASSERT_EQ(vaxo_ExecuteWithResponse4a(h, "PRINT 12345", buffer, &size), 0u);
    EXPECT_STREQ(buffer, "12345.0000\r\n");
    EXPECT_EQ(size, 13u);
}

TEST_F(Programs, ReplyStoppingMidwayTimesOutFromLastByteWithOneNudgePerSilence) {
    open({}, 300);
    // The first bytes come after a silence of 150 ms, then the reply stops: two silent spells.
    sim->faults().delay(std::chrono::milliseconds(150), {.command = "EXECUTE", .count = 1});
    sim->faults().stopAfter(4, {.command = "EXECUTE", .count = 1});
    const auto t0 = std::chrono::steady_clock::now();
    uint64_t e = 0;
    executeText("PRINT 12345", &e);
    const auto elapsed = std::chrono::steady_clock::now() - t0;
    EXPECT_EQ(e, kTimeout);
    EXPECT_GE(elapsed, std::chrono::milliseconds(150 + 300)) << "the timeout counts from the last byte";
    EXPECT_LT(elapsed, std::chrono::milliseconds(5000));
    for (int i = 0; i < 200 && sim->nudgesSeen() < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    // At most one nudge per silent spell. The first may be skipped: when the reader's first
    // silent read comes while the caller still holds the send lock, the nudge is not sent and
    // counts as sent for that spell (slow builds see this).
    EXPECT_GE(sim->nudgesSeen(), 1u);
    EXPECT_LE(sim->nudgesSeen(), 2u);

    // The timeout is fatal: the reader pump has stopped.
    double v;
    EXPECT_EQ(vaxo_GetVrValue(h, 1, &v), kDisconnected);
    EXPECT_EQ(vaxo_Execute(h, "VR(1)=1"), kDisconnected);
    EXPECT_EQ(vaxo_Dir(h, [](void*, const VaxoFileInfo*, const char*) {}, nullptr), kDisconnected);
}

TEST(ProgramStore, CrcAndLines) {
    EXPECT_EQ(Vaxo::Sim::ProgramStore::crc16("123456789"), 0xFEE8);
    EXPECT_EQ(Vaxo::Sim::ProgramStore::crc16(""), 0);
    const auto lines = Vaxo::Sim::ProgramStore::lines("a\r\nb\nc");
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Vaxo::Sim::ProgramStore::join(lines), "a\r\nb\r\nc\r\n");
}
