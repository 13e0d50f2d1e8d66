// Transfers that go wrong, one scenario per row: the controller hangs up, stalls, stops reading,
// pauses without resuming, aborts or answers a wrong CRC; the local file cannot be read or the
// disk fills up; the host cancels. Each must end with its own result and log line within its
// timeout, leave no partial download behind, and leave the loader able to run the next
// transfer byte for byte.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <optional>
#include <thread>

#include "LoaderTestUtil.h"
#include "SummaryLog.h"

using namespace loadertest;
using Behaviour = Vaxo::Sim::FileTransferServer::Behaviour;
using Vaxo::Ubrix::Shared::ErrorCode;
using Vaxo::Ubrix::Shared::systemError;

namespace {

enum class Dir { Upload, Download };
enum class Local { File, Directory, DiskFull };

struct Scenario {
    const char* name;
    Dir dir;
    void (*fault)(Behaviour&);
    Local local = Local::File;
    int timeout = 400;          // the transfer's timeout, ms
    int cancelAfter = -1;       // ms after the start; -1: no cancel
    ErrorCode expect = ErrorCode::Fail;
    const char* logLine = "";   // "": the result alone tells the fault
    // Larger than the loopback socket buffers on both sides together, so that the sender is
    // still sending when the controller stops reading or pauses it.
    bool big = false;
};

void none(Behaviour&) {}

void PrintTo(const Scenario& s, std::ostream* os) { *os << s.name; }

// Lowers the largest file this process may write, with SIGXFSZ ignored so that a write past it
// fails with EFBIG instead of ending the process; restores both on scope exit. Each test runs in
// a process of its own, so nothing else is affected.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit lower = m_old;
        lower.rlim_cur = bytes;
        m_ok = ::setrlimit(RLIMIT_FSIZE, &lower) == 0;
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    bool ok() const { return m_ok; }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
    bool m_ok = false;
};

const Scenario kScenarios[] = {
    {"UploadControllerHangsUp", Dir::Upload, [](Behaviour& b) { b.closeAfter = 200000; }, Local::File, 5000, -1,
     ErrorCode::Fail, "Error in file transfer."},
    {"DownloadControllerHangsUp", Dir::Download, [](Behaviour& b) { b.closeAfter = 200000; }, Local::File, 5000, -1,
     ErrorCode::Fail, "File transfer link lost"},
    {"UploadStall", Dir::Upload, [](Behaviour& b) { b.stall = true; }, Local::File, 400, -1, ErrorCode::Timeout},
    {"DownloadStall", Dir::Download, [](Behaviour& b) { b.stall = true; }, Local::File, 400, -1, ErrorCode::Timeout,
     "Data receive timeout"},
    {"UploadControllerStopsReading", Dir::Upload, [](Behaviour& b) { b.stopReadingAfter = 100000; }, Local::File,
     400, -1, ErrorCode::Timeout, "", true},
    {"UploadXoffWithoutXon", Dir::Upload,
     [](Behaviour& b) {
         b.xoffAfter = 1000;
         b.xoffMs = 3600000;
     },
     Local::File, 400, -1, ErrorCode::Timeout, "Received: XOFF", true},
    {"UploadAbort", Dir::Upload, [](Behaviour& b) { b.abortAfter = 5000; }, Local::File, 5000, -1, ErrorCode::Fail,
     "File transfer aborted by the Movicor."},
    {"DownloadAbort", Dir::Download, [](Behaviour& b) { b.abortAfter = 5000; }, Local::File, 5000, -1,
     ErrorCode::Fail, "File transfer aborted by the Movicor."},
    {"UploadWrongCrc", Dir::Upload, [](Behaviour& b) { b.wrongCrc = true; }, Local::File, 5000, -1, ErrorCode::Fail,
     "File transfer failed. CRC wrong (Local=$"},
    {"DownloadWrongCrc", Dir::Download, [](Behaviour& b) { b.wrongCrc = true; }, Local::File, 5000, -1,
     ErrorCode::Fail, "File transfer failed. CRC wrong (Local=$"},
    {"DownloadDiskFull", Dir::Download, none, Local::DiskFull, 5000, -1, systemError(EFBIG), ""},
    {"UploadFromDirectory", Dir::Upload, none, Local::Directory, 5000, -1, systemError(EISDIR), "Error reading "},
    {"DownloadIntoDirectory", Dir::Download, none, Local::Directory, 5000, -1, systemError(EISDIR),
     "Error opening "},
    // The controller answers nothing: the sender waits for its CRC, the receiver on the link.
    {"CancelWhileBothWait", Dir::Upload, [](Behaviour& b) { b.stall = true; }, Local::File, 60000, 200,
     ErrorCode::Fail, "File transfer cancelled."},
    {"CancelDownload", Dir::Download, [](Behaviour& b) { b.stall = true; }, Local::File, 60000, 200,
     ErrorCode::Fail, "File transfer cancelled."},
    // The sender is blocked on a full link: only a bounded write lets the cancel through. The
    // ETX that ends the data then waits for room up to the timeout, and the controller never
    // reads again.
    {"CancelWhileTheLinkIsFull", Dir::Upload, [](Behaviour& b) { b.stopReadingAfter = 100000; }, Local::File, 2000,
     300, ErrorCode::Fail, "File transfer cancelled.", true},
    {"CancelWhilePaused", Dir::Upload,
     [](Behaviour& b) {
         b.xoffAfter = 1000;
         b.xoffMs = 3600000;
     },
     Local::File, 60000, 300, ErrorCode::Fail, "File transfer cancelled.", true},
};


class FaultTest : public LoaderTest, public ::testing::WithParamInterface<Scenario> {};

TEST_P(FaultTest, EndsWithItsResultAndTheNextTransferWorks) {
    const Scenario& s = GetParam();
    const std::string name = s.name;
    const bool isUpload = s.dir == Dir::Upload;
    const Bytes data = mixed(s.big ? 24u << 20 : 1u << 20, 11);

    fs::path local = tempDir() / (name + ".local");
    if (s.local == Local::Directory)
        fs::create_directories(local);
    else if (isUpload)
        writeFile(name + ".local", data);
    if (!isUpload)
        server.putFile(name, data);

    Behaviour b;
    s.fault(b);
    server.setBehaviour(b);

    std::thread canceller;
    if (s.cancelAfter >= 0)
        canceller = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(s.cancelAfter));
            loader->Cancel();
        });
    ErrorCode rc;
    const auto t0 = std::chrono::steady_clock::now();
    {
        std::optional<FileSizeLimit> limit;
        if (s.local == Local::DiskFull) {
            limit.emplace(64 * 1024);
            ASSERT_TRUE(limit->ok());
        }
        rc = isUpload ? upload(name, local, 0, 1, s.timeout) : download(name, local, s.timeout);
    }
    const auto took = std::chrono::steady_clock::now() - t0;
    if (canceller.joinable())
        canceller.join();

    EXPECT_EQ(rc, s.expect) << std::hex << std::uint64_t(rc) << "\n" << events.all();
    if (*s.logLine) {
        EXPECT_TRUE(events.has(s.logLine)) << events.all();
    }
    // An upper bound against hangs only: the timeout (or the cancel) ends it well before.
    EXPECT_LT(took, std::chrono::milliseconds((s.cancelAfter >= 0 ? s.cancelAfter : s.timeout) + 10000));
    EXPECT_NE(loader->state() & Loader::StateFinished, 0u);
    if (!isUpload && s.local != Local::Directory) {
        EXPECT_FALSE(fs::exists(local)) << "a partial download was left behind";
    }
    std::error_code ec;
    fs::remove_all(local, ec);

    // The same loader goes on: a round trip byte for byte.
    server.setBehaviour({});
    const Bytes again = mixed(300000, 3);
    fs::path next = writeFile(name + ".next", again);
    fs::path back = tempDir() / (name + ".back");
    ASSERT_EQ(upload(name + ".next", next, 0, 1, 10000), ErrorCode::Success) << events.all();
    ASSERT_EQ(download(name + ".next", back, 10000), ErrorCode::Success) << events.all();
    const bool lost = server.file(name + ".next") != again || readFile(back) != again;
    EXPECT_FALSE(lost);
    VaxoTest::summaryAdd("data_lost", lost ? 1 : 0);
    fs::remove(next, ec);
    fs::remove(back, ec);
    if (!HasFailure())
        VaxoTest::summaryAdd("scenario_passed", 1);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FaultTest, ::testing::ValuesIn(kScenarios),
                         [](const ::testing::TestParamInfo<Scenario>& info) { return std::string(info.param.name); });

} // namespace
