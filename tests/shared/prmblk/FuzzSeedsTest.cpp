// The simulated controller's real replies, as the connection read them: every parameter-block
// fetch reply is decoded again by the socket-free decoder, which must give what the library
// returned. With VAXO_FUZZ_SEEDS=<dir> each recording is also written as a fuzz seed,
// <dir>/<Target>/<name> (normally VAXO_FUZZ_SEEDS=tests/fuzz/corpus); FuzzPrmBlkReply seeds
// start with the byte that tells that target which fetch it decodes.
#include "tcp/SimFixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>

#include <vaxo/IConnection.hpp>

#include "shared/prmblk/PrmBlkReply.h"
#include "shared/transport/ISniffer.h"
#include "sim/ParamBlockHandlers.h"
#include "sim/ProgramStore.h"

using namespace vaxotest;
using Vaxo::Ubrix::Shared::decodePrmBlkTexts;
using Vaxo::Ubrix::Shared::decodePrmBlkValues;
using Vaxo::Ubrix::Shared::IConnection;
using Vaxo::Ubrix::Shared::ISniffer;
using Vaxo::Ubrix::Shared::PrmBlkOutput;
using Vaxo::Ubrix::Shared::PrmBlkReplyText;
using Vaxo::Ubrix::Shared::PrmBlkString;
using Vaxo::Ubrix::Shared::PrmBlkValueArrayT;
using Err = Vaxo::Ubrix::Shared::ErrorCode;

namespace {

struct Recorder final : ISniffer {
    std::mutex mutex;
    std::string bytes;
    void sniff(const char* data, unsigned int length) override {
        std::lock_guard lock(mutex);
        bytes.append(data, length);
    }
    std::string take() {
        std::lock_guard lock(mutex);
        return std::exchange(bytes, {});
    }
};

// The FuzzPrmBlkReply choice byte: kind 0 doubles, 1 hex words, 3 texts; changed values only;
// addressed axes; block size.
constexpr char choice(unsigned kind, bool changed, unsigned axes, unsigned blockSize) {
    return char(kind | (changed ? 4 : 0) | ((axes - 1) << 3) | ((blockSize - 1) << 5));
}

// The reply text in front of the standard response.
std::string replyText(const std::string& bytes) {
    PrmBlkReplyText r;
    std::uint32_t consumed = 0;
    EXPECT_EQ(r.feedData(bytes.data(), std::uint32_t(bytes.size()), consumed), Err::Success);
    EXPECT_TRUE(r.done()) << "the recording holds the whole reply";
    return r.text();
}

class FuzzSeeds : public SimConnection {
protected:
    void SetUp() override {
        open({.controllerType = 1664, .firmware = 2.0330});
        reinterpret_cast<IConnection*>(h)->setReadSniffer(&recorder);
    }
    void TearDown() override {
        if (h)
            reinterpret_cast<IConnection*>(h)->setReadSniffer(nullptr);
        SimConnection::TearDown();
    }
    // Runs one exchange, which must succeed, and returns (and keeps as a seed) what was read.
    std::string record(const char* target, const char* name, std::string prefix, const std::function<uint64_t()>& f) {
        recorder.take();
        EXPECT_EQ(f(), 0u) << name;
        const std::string bytes = recorder.take();
        EXPECT_FALSE(bytes.empty()) << name;
        if (const char* dir = std::getenv("VAXO_FUZZ_SEEDS"); dir && *dir) {
            const std::filesystem::path path = std::filesystem::path(dir) / target;
            std::filesystem::create_directories(path);
            std::ofstream(path / name, std::ios::binary) << prefix << bytes;
        }
        return bytes;
    }

    Recorder recorder;
};

} // namespace

TEST_F(FuzzSeeds, BlockRepliesDecodeAsTheLibraryDecodedThem) {
    for (unsigned i = 0; i < 8; ++i)
        sim->setVr(10 + i, i * 1.25 - 3);
    uint32_t vrs[] = {10, 11, 12, 15, 17};
    int32_t vr = -1, axis = -1, io = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineVr(h, vrs, 5, &vr), 0u);
    double got[9] = {}, again[9] = {};
    uint64_t masks[3] = {}, masksAgain[3] = {};

    auto text = record("FuzzPrmBlkReply", "vr-all", {choice(0, false, 1, 5)},
                       [&] { return vaxo_ParamBlockFetchAllVr(h, vr, got, 9); });
    ASSERT_EQ(decodePrmBlkValues(replyText(text), PrmBlkOutput<double>{again, 9, nullptr, 1, 5, 10}),
              Err::Success);
    EXPECT_EQ(std::vector<double>(again, again + 5), std::vector<double>(got, got + 5));
    EXPECT_EQ(got[1], -1.75);

    sim->setVr(11, 99.5);
    sim->setVr(17, -1e-7);
    text = record("FuzzPrmBlkReply", "vr-changed", {choice(0, true, 1, 5)},
                  [&] { return vaxo_ParamBlockFetchChangedVr(h, vr, got, 9, masks); });
    ASSERT_EQ(decodePrmBlkValues(replyText(text), PrmBlkOutput<double>{again, 9, masksAgain, 1, 5, 10}),
              Err::Success);
    EXPECT_EQ(masksAgain[0], masks[0]);
    EXPECT_EQ(masks[0], 0b10010u);
    EXPECT_EQ(again[4], -1e-7);

    const char* names[] = {"SPEED", "UNITS", "MPOS"};
    ASSERT_EQ(vaxo_ParamBlockDefineAxis(h, names, 3, &axis), 0u);
    const ::Range axes{0, 3};
    text = record("FuzzPrmBlkReply", "axis-all", {choice(0, false, 3, 3)},
                  [&] { return vaxo_ParamBlockFetchAllAxisParam5b(h, axis, axes, got, 9); });
    ASSERT_EQ(decodePrmBlkValues(replyText(text), PrmBlkOutput<double>{again, 9, nullptr, 3, 3, 10}),
              Err::Success);
    EXPECT_EQ(std::vector<double>(again, again + 9), std::vector<double>(got, got + 9));
    sim->setParameter("SPEED", "AXIS", 1, 250);
    text = record("FuzzPrmBlkReply", "axis-changed", {choice(0, true, 3, 3)},
                  [&] { return vaxo_ParamBlockFetchChangedAxisParam6b(h, axis, axes, got, 9, masks); });
    ASSERT_EQ(decodePrmBlkValues(replyText(text), PrmBlkOutput<double>{again, 9, masksAgain, 3, 3, 10}),
              Err::Success);
    EXPECT_EQ(std::vector<uint64_t>(masksAgain, masksAgain + 3), std::vector<uint64_t>(masks, masks + 3));
    EXPECT_EQ(again[3], 250);

    ::Range channels[] = {{0, 64}, {100, 8}};
    ASSERT_EQ(vaxo_ParamBlockDefineIO(h, channels, 2, &io), 0u);
    uint64_t words[2] = {}, wordsAgain[2] = {};
    text = record("FuzzPrmBlkReply", "io-all", {choice(1, false, 1, 2)},
                  [&] { return vaxo_ParamBlockFetchAllIO(h, io, true, words, 2); });
    ASSERT_EQ(decodePrmBlkValues(replyText(text), PrmBlkOutput<uint64_t>{wordsAgain, 2, nullptr, 1, 2, 16}),
              Err::Success);
    EXPECT_EQ(wordsAgain[1], words[1]);
    record("FuzzPrmBlkReply", "io-changed", {choice(1, true, 1, 2)},
           [&] { return vaxo_ParamBlockFetchChangedIO(h, io, false, words, 2, masks); });
}

TEST_F(FuzzSeeds, ProgramVariableAndListingReplies) {
    const char* vars[] = {"count", "name", "flag"};
    int32_t block = -1;
    ASSERT_EQ(vaxo_ParamBlockDefineProgVar(h, "MAIN", 0, vars, 3, &block), 0u);
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "count", "-12");
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "name", "hello");
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "flag", "1.0000");
    const std::string text = record("FuzzPrmBlkReply", "progvar-all", {choice(3, false, 1, 3)},
                                    [&] { return vaxo_ParamBlockFetchAllProgVar(h, block); });
    PrmBlkValueArrayT<PrmBlkString> texts;
    ASSERT_EQ(decodePrmBlkTexts(replyText(text), texts, 3, nullptr), Err::Success);
    EXPECT_EQ(texts[1].view(), "hello");
    Vaxo::Sim::setProgramVariable(*sim, "MAIN", "name", "world");
    uint64_t mask = 0;
    record("FuzzPrmBlkReply", "progvar-changed", {choice(3, true, 1, 3)},
           [&] { return vaxo_ParamBlockFetchChangedProgVar(h, block, &mask); });
    EXPECT_EQ(mask, 0b10u);

    // FuzzReplyParsers feeds every parser the same bytes; its first byte also sets the chunk
    // size, so these seeds start with 0 (chunks of one byte, as the framing loop feeds them).
    Vaxo::Sim::putProgram(*sim, "MAIN", "PRINT 1\r\nWA(10)\r\n");
    Vaxo::Sim::putProgram(*sim, "HOMING", "DATUM(3)\r\n", 1);
    ASSERT_EQ(vaxo_RunProgram3(h, "MAIN", 2), 0u);
    record("FuzzReplyParsers", "sim-dir", {'\0'},
           [&] { return vaxo_Dir(h, [](void*, const VaxoFileInfo*, const char*) {}, nullptr); });
    record("FuzzReplyParsers", "sim-process-list", {'\0'},
           [&] { return vaxo_GetProcessList(h, [](void*, const VaxoProcessInfo*, const char*) {}, nullptr); });
    const int32_t frameAxes[] = {4, 0, 12};
    ASSERT_EQ(vaxo_SetFrameGroup(h, 3, 250, frameAxes, 3), 0u);
    int32_t frameOut[8] = {};
    uint32_t frameCount = 8, table = 0;
    record("FuzzReplyParsers", "sim-frame-group", {'\0'},
           [&] { return vaxo_GetFrameGroup(h, 3, &table, frameOut, &frameCount); });
    char line[64];
    uint32_t size = sizeof line;
    record("FuzzReplyParsers", "sim-execute-text", {'\0'},
           [&] { return vaxo_ExecuteWithResponse4a(h, "PRINT 12", line, &size); });
}
