// Host code that calls back into the library from inside a callback: every kind of callback
// (event, read and write sniffer, file progress, text result, reply packet) times every
// call that changes the link or waits on it (close, destroy, open, a command). Each cell runs
// in a process of its own, started afresh from this test binary with an alarm, so that a hang
// is a failed cell rather than a hung suite, and so that sanitizers that dislike fork see an
// ordinary process.
#include "SimFixture.h"
#include "SpawnSelf.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "sim/FileTransfer.h"
#include "shared/transport/ISniffer.h"
#include "tcp/connection/Connection_TCP.h"

using namespace vaxotest;
using namespace std::chrono_literals;
namespace TCP = Vaxo::Ubrix::TCP;

namespace {

constexpr std::uint64_t kNotSupported = 0x0100000002ull;
constexpr std::uint64_t kDisconnected = 0x0100000015ull;

const char* const kKinds[] = {"event", "readSniffer", "writeSniffer", "progress", "text", "packet"};
const char* const kActions[] = {"close", "destroy", "open", "command"};

struct Cell {
    std::string kind, action;
    VaxoHandle h = nullptr;
    std::atomic<bool> armed{false};
    std::atomic<bool> fired{false};
    std::atomic<bool> destroyed{false};
    std::atomic<bool> onPumpThread{false};
    std::atomic<bool> linkUp{false};
    std::atomic<std::uint64_t> result{~0ull};

    // Runs the cell's action once, from whichever callback meets it first.
    void act() {
        if (!armed.load() || fired.exchange(true))
            return;
        onPumpThread = conn().readerPump().isInPumpThread();
        linkUp = conn().IsConnected();
        if (action == "close") {
            result = vaxo_CloseConnection(h);
        } else if (action == "destroy") {
            destroyed = true;
            result = vaxo_DestroyContext(h);
        } else if (action == "open") {
            result = vaxo_OpenConnection(h);
        } else {
            double v;
            result = vaxo_GetVrValue(h, 1, &v);
        }
    }
    TCP::Connection_TCP& conn() const {
        return dynamic_cast<TCP::Connection_TCP&>(*reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h));
    }
};

Cell* g_cell = nullptr;

struct Sniffer final : Vaxo::Ubrix::Shared::ISniffer {
    void sniff(const char*, unsigned int) override { g_cell->act(); }
};

void eventCb(void*, uint32_t, uint64_t, const char* text, uint32_t length) {
    if (std::string_view(text, length).rfind("Disconnected from ", 0) == 0)
        g_cell->act();
}

} // namespace

// One cell, when the matrix below starts this binary for it; skipped otherwise.
TEST(Reentrancy, OneCell) {
    const char* spec = std::getenv("VAXO_REENTRANCY_CELL");
    if (!spec)
        GTEST_SKIP() << "run by Reentrancy.Matrix, one process per cell";
    alarm(40);
    Cell cell;
    g_cell = &cell;
    const std::string s(spec);
    cell.kind = s.substr(0, s.find('/'));
    cell.action = s.substr(s.find('/') + 1);

    Vaxo::Sim::Config cfg;
    cfg.seed = freshSeed();
    cfg.firmware = 2.0335;
    Vaxo::Sim::Simulator sim(cfg);
    const std::uint16_t port = sim.start();
    ASSERT_NE(port, 0);
    Vaxo::Sim::FileTransferServer files;
    files.attach(sim);
    const std::uint16_t filePort = files.start();

    const ::VersionInfo ver{1, 2, 1, 1196};
    ASSERT_EQ(vaxo_CreateContext(&ver, eventCb, nullptr, &cell.h), 0u);
    vaxo_SetTcpHostName(cell.h, "127.0.0.1");
    vaxo_SetTcpPort(cell.h, port);
    vaxo_SetTcpCommandTimeout(cell.h, 3000);
    ASSERT_EQ(vaxo_OpenConnection(cell.h), 0u);
    ASSERT_EQ(cell.conn().SetFileTransferPort(filePort), Vaxo::Ubrix::Shared::ErrorCode::Success);
    sim.setVr(1, 5);

    Sniffer sniffer;
    if (cell.kind == "readSniffer")
        cell.conn().setReadSniffer(&sniffer);
    if (cell.kind == "writeSniffer")
        cell.conn().setWriteSniffer(&sniffer);
    if (cell.kind == "event")
        sim.faults().closeAfter(0, {.command = "VR"});

    cell.armed = true;
    double v;
    if (cell.kind == "progress") {
        const auto local = std::filesystem::temp_directory_path() / ("vaxo_reentry_" + std::to_string(getpid()));
        std::ofstream(local) << std::string(5000, 'x');
        vaxo_UploadFile(cell.h, "R.bin", local.c_str(), 8, 1, 0, 0, 0, 0, 3000, 0,
                        [](void*, const VaxoProgressInfo*) { g_cell->act(); }, nullptr);
        std::filesystem::remove(local);
    } else if (cell.kind == "text") {
        vaxo_GetVrString4c(cell.h, 1, [](void*, const char*, uint32_t) { g_cell->act(); }, nullptr);
    } else if (cell.kind == "packet") {
        vaxo_GetVrString4b(cell.h, 1, [](void*, const VaxoDataStreamPacket*, const char*) { g_cell->act(); },
                           nullptr);
    } else {
        vaxo_GetVrValue(cell.h, 1, &v);
    }
    for (int i = 0; i < 3000 && !cell.fired; ++i)
        std::this_thread::sleep_for(1ms);
    ASSERT_TRUE(cell.fired.load()) << "the callback was never called";

    // What the call from inside the callback must have given.
    const std::uint64_t r = cell.result.load();
    const bool mustRefuse = cell.onPumpThread || cell.kind == "writeSniffer";
    if (cell.action == "close" || cell.action == "destroy") {
        EXPECT_EQ(r, 0u);
    } else if (mustRefuse && (cell.action == "open" || cell.linkUp)) {
        EXPECT_EQ(r, kNotSupported) << "an open or a command where it would wait on itself";
    } else if (mustRefuse) {
        EXPECT_EQ(r, kDisconnected) << "a command on a link that is down";
    }

    // The link is still usable: close, open, a command, destroy.
    cell.armed = false;
    if (!cell.destroyed) {
        cell.conn().setReadSniffer(nullptr);
        cell.conn().setWriteSniffer(nullptr);
        sim.faults().clear();
        EXPECT_EQ(vaxo_CloseConnection(cell.h), 0u);
        EXPECT_EQ(vaxo_OpenConnection(cell.h), 0u);
        EXPECT_EQ(vaxo_GetVrValue(cell.h, 1, &v), 0u);
        EXPECT_EQ(vaxo_DestroyContext(cell.h), 0u);
    }
    files.stop();
    sim.stop();
}

// Every callback kind times every action, each in its own process with a deadline.
TEST(Reentrancy, Matrix) {
    std::string failures;
    for (const char* kind : kKinds) {
        for (const char* action : kActions) {
            const std::string cell = std::string(kind) + "/" + action;
            const auto outcome = runSelf("Reentrancy.OneCell", "VAXO_REENTRANCY_CELL=" + cell, 90s);
            if (const std::string what = outcome.describe(); !what.empty())
                failures += cell + ": " + what + "\n";
        }
    }
    EXPECT_TRUE(failures.empty()) << failures;
}
