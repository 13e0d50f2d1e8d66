// File transfer and project loading through the flat interface, against the simulated
// controller and its file-transfer server.
#include "tcp/SimFixture.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <vaxo/IConnection.hpp>

#include "sim/FileTransfer.h"
#include "sim/ProgramStore.h"
#include "SummaryLog.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

fs::path tempPath(const std::string& name) {
    fs::path d = fs::temp_directory_path() / ("vaxo_filesflat_" + std::to_string(::getpid()));
    fs::create_directories(d);
    return d / name;
}
fs::path writeBytes(const std::string& name, const Bytes& b) {
    fs::path p = tempPath(name);
    std::ofstream(p, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
    return p;
}
Bytes readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}
Bytes allBytes() {
    Bytes b;
    for (int r = 0; r < 3; ++r)
        for (int i = 0; i < 256; ++i)
            b.push_back(uint8_t(i));
    return b;
}

struct Progress {
    std::mutex m;
    std::vector<VaxoProgressInfo> seen;
    static void cb(void* user, const VaxoProgressInfo* info) {
        auto* self = static_cast<Progress*>(user);
        std::lock_guard lock(self->m);
        self->seen.push_back(*info);
    }
};

class FilesTest : public vaxotest::SimConnection {
protected:
    void openWithFiles(double firmware = 2.0335) {
        Vaxo::Sim::Config cfg;
        cfg.firmware = firmware;
        open(cfg);
        files.attach(*sim);
        filePort = files.start();
        ASSERT_NE(filePort, 0);
        auto* c = reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h);
        ASSERT_EQ(c->SetFileTransferPort(filePort), Vaxo::Ubrix::Shared::ErrorCode::Success);
    }
    bool logged(const std::string& text) {
        std::lock_guard lock(events.mutex);
        for (auto& t : events.texts)
            if (t.find(text) != std::string::npos)
                return true;
        return false;
    }
    void TearDown() override {
        files.stop();
        SimConnection::TearDown();
    }
    Vaxo::Sim::FileTransferServer files;
    uint16_t filePort = 0;
};

TEST_F(FilesTest, UploadAndDownloadAreByteIdenticalPlainAndCompressed) {
    openWithFiles();
    const Bytes data = allBytes();
    fs::path local = writeBytes("flat_all.bin", data);
    for (int level : {0, 1, 6, 9}) {
        Progress progress;
        ASSERT_EQ(vaxo_UploadFile(h, "DATA.bin", local.c_str(), 8, 1, level, 0, 1, 0, 3000, 0, Progress::cb,
                                  &progress),
                  0u)
            << level;
        EXPECT_EQ(files.file("DATA.bin"), data) << level;
        ASSERT_FALSE(progress.seen.empty());
        EXPECT_EQ(progress.seen.front().state, 0u);
        EXPECT_EQ(progress.seen.back().state, 2u);

        fs::path back = tempPath("flat_back.bin");
        ASSERT_EQ(vaxo_DownloadFile(h, "DATA.bin", back.c_str(), 8, 1, 3000, filePort, nullptr, nullptr), 0u);
        const bool lost = readBytes(back) != data;
        EXPECT_FALSE(lost) << level;
        VaxoTest::summaryAdd("data_lost", lost ? 1 : 0);
    }
    // The upload reached the program store of the command side as well.
    auto text = Vaxo::Sim::programText(*sim, "DATA");
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(Bytes(text->begin(), text->end()), data);
}

TEST_F(FilesTest, LocalAndRemoteCrcAgree) {
    openWithFiles();
    const std::string program = "PRINT 1\r\nVR(3)=\\5\r\n";
    fs::path local = writeBytes("crc.bas", Bytes(program.begin(), program.end()));
    uint64_t localCrc = 0, remoteCrc = 0;
    ASSERT_EQ(vaxo_GetLocalFileCRC(h, local.c_str(), false, &localCrc), 0u);
    EXPECT_EQ(localCrc, Vaxo::Sim::simCrc16(reinterpret_cast<const uint8_t*>(program.data()), program.size()));
    ASSERT_EQ(vaxo_UploadFile(h, "CRCPROG.bas", local.c_str(), 0, 1, 0, 0, 0, 0, 3000, 0, nullptr, nullptr), 0u);
    ASSERT_EQ(vaxo_GetRemoteFileCRC(h, "CRCPROG", &remoteCrc), 0u);
    EXPECT_EQ(remoteCrc, localCrc);
    uint64_t packedCrc = 0;
    EXPECT_EQ(vaxo_GetLocalFileCRC(h, local.c_str(), true, &packedCrc), 0u);
    EXPECT_EQ(vaxo_GetLocalFileCRC(h, tempPath("missing.bas").c_str(), false, &localCrc), 0x200000002ull);
}

TEST_F(FilesTest, EncryptedItemOnOldFirmwareIsRefusedBeforeAnyByte) {
    openWithFiles(2.0334);
    fs::path local = writeBytes("enc.enc", allBytes());
    EXPECT_EQ(vaxo_UploadFile(h, "E.enc", local.c_str(), 1, 1, 0, 0, 0, 0, 3000, 0, nullptr, nullptr),
              0x010000000Cull);
    EXPECT_TRUE(logged("Transferring encrypted items is not supported before MV f/w v2.0335"));
    EXPECT_TRUE(files.transfers().empty());
    EXPECT_EQ(vaxo_UploadFile(h, "B.bin", local.c_str(), 8, 1, 0, 0, 0, 0, 3000, 0, nullptr, nullptr), 0u);
}

TEST_F(FilesTest, CardTransfersTheLinkCannotCarrySendNothing) {
    openWithFiles();
    fs::path local = writeBytes("card.bas", allBytes());
    fs::path into = tempPath("card_back.bin");
    // A download from the card, and a compressed upload to it, have no header to go with.
    EXPECT_EQ(vaxo_DownloadFile(h, "SD:card.bas", into.c_str(), 0, 1, 3000, 0, nullptr, nullptr), 0x0100000002ull);
    EXPECT_EQ(vaxo_UploadFile(h, "SD:card.bas", local.c_str(), 0, 1, 6, 0, 1, 0, 3000, 0, nullptr, nullptr),
              0x0100000002ull);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(files.transfers().empty());
    EXPECT_FALSE(fs::exists(into));
    // A plain upload to the card goes as it is.
    ASSERT_EQ(vaxo_UploadFile(h, "SD:card.bas", local.c_str(), 0, 1, 0, 0, 1, 0, 3000, 0, nullptr, nullptr), 0u);
    EXPECT_EQ(files.file("SD:card.bas"), allBytes());
    EXPECT_EQ(files.strayBytes(), 0u);
}

TEST_F(FilesTest, FailedDownloadLogsNoDownloadedLineAndLeavesNoFile) {
    openWithFiles();
    files.putFile("BAD.bin", allBytes());
    Vaxo::Sim::FileTransferServer::Behaviour b;
    b.wrongCrc = true;
    files.setBehaviour(b);
    fs::path into = tempPath("bad_back.bin");
    EXPECT_EQ(vaxo_DownloadFile(h, "BAD.bin", into.c_str(), 8, 1, 3000, 0, nullptr, nullptr), 0x8100000001ull);
    EXPECT_TRUE(logged("File transfer failed. CRC wrong"));
    EXPECT_FALSE(logged("Downloaded "));
    EXPECT_FALSE(fs::exists(into));
}

TEST_F(FilesTest, ArgumentsAndLinkState) {
    fs::path local = writeBytes("args.bin", allBytes());
    startSim({});
    makeContext();
    // Not connected yet.
    EXPECT_EQ(vaxo_UploadFile(h, "A.bin", local.c_str(), 8, 1, 0, 0, 0, 0, 3000, 1, nullptr, nullptr),
              0x0100000015ull);
    ASSERT_EQ(vaxo_OpenConnection(h), 0u);
    files.attach(*sim);
    filePort = files.start();
    EXPECT_EQ(vaxo_UploadFile(h, "A.bin", local.c_str(), 27, 1, 0, 0, 0, 0, 3000, filePort, nullptr, nullptr),
              0x010000000Cull); // no such file type
    EXPECT_EQ(vaxo_UploadFile(h, "A.bin", local.c_str(), 8, 1, 10, 0, 0, 0, 3000, filePort, nullptr, nullptr),
              0x010000000Cull); // no such level
    EXPECT_EQ(vaxo_UploadFile(h, "A.bin", local.c_str(), 8, 1, 0, 0, 0, 0, 3000, filePort, nullptr, nullptr), 0u);
}

TEST_F(FilesTest, FileTransferPortBelongsToItsConnection) {
    // Contexts created and destroyed in turn often reuse one address: a new one must start from
    // the default, never from what an earlier one set.
    using Vaxo::Ubrix::Shared::IConnection;
    for (int round = 0; round < 4; ++round) {
        const ::VersionInfo v{1, 2, 1, 1196};
        VaxoHandle a = nullptr, b = nullptr;
        ASSERT_EQ(vaxo_CreateContext(&v, nullptr, nullptr, &a), 0u);
        ASSERT_EQ(vaxo_CreateContext(&v, nullptr, nullptr, &b), 0u);
        auto* ca = reinterpret_cast<IConnection*>(a);
        auto* cb = reinterpret_cast<IConnection*>(b);
        uint16_t pa = 0, pb = 0;
        ASSERT_EQ(ca->GetFileTransferPort(pa), Vaxo::Ubrix::Shared::ErrorCode::Success);
        EXPECT_EQ(pa, 10001) << round;
        ca->SetFileTransferPort(uint16_t(20000 + round));
        cb->SetFileTransferPort(0); // 0: the default
        ca->GetFileTransferPort(pa);
        cb->GetFileTransferPort(pb);
        EXPECT_EQ(pa, 20000 + round);
        EXPECT_EQ(pb, 10001);
        vaxo_DestroyContext(a);
        vaxo_DestroyContext(b);
    }
}

TEST_F(FilesTest, ProjectLoadsAndBadProjectNamesItsProblem) {
    openWithFiles();
    const std::string a = "PRINT 1\r\n", b = "PRINT 2\r\n";
    writeBytes("pa.bas", Bytes(a.begin(), a.end()));
    writeBytes("pb.bas", Bytes(b.begin(), b.end()));
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    fs::path good = writeBytes("good.xml", [&] {
        std::string x = head +
                        "<Project><Item Name=\"PA\" FileName=\"pa.bas\" Type=\"basic\" IsAutorun=\"true\"/>"
                        "<Item Name=\"PB\" FileName=\"pb.bas\" Type=\"basic\" Storage=\"2\"/></Project>";
        return Bytes(x.begin(), x.end());
    }());
    ASSERT_EQ(vaxo_LoadProject(h, good.c_str()), 0u);
    EXPECT_EQ(Vaxo::Sim::programText(*sim, "PA"), a);
    EXPECT_EQ(Vaxo::Sim::programText(*sim, "PB"), b);
    EXPECT_TRUE(files.stored("PA.bas")->autorun);
    EXPECT_EQ(files.stored("PB.bas")->storage, 2);

    fs::path bad = writeBytes("bad.xml", [&] {
        std::string x = head + "<Project><Item Name=\"PA\" FileName=\"pa.bas\" Type=\"nonsense\"/></Project>";
        return Bytes(x.begin(), x.end());
    }());
    files.clearTransfers();
    EXPECT_EQ(vaxo_LoadProject(h, bad.c_str()), 0x0100000019ull);
    EXPECT_TRUE(logged("item 1 (PA): unknown \"Type\" \"nonsense\""));
    EXPECT_TRUE(files.transfers().empty());
}

} // namespace
