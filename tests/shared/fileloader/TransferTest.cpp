// Uploads and downloads against the simulated controller's file-transfer server: byte-exact
// round trips, escapes and CRC on the wire, deflate, flow control, abort texts, the default
// timeout and argument checks. The faults of a transfer have their own table (FaultTest.cpp).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "LoaderTestUtil.h"
#include "SummaryLog.h"
#include "shared/fileloader/Crc16.h"

using namespace loadertest;
using Vaxo::Ubrix::Shared::crc16Update;

namespace {

// No bare control byte, and every backslash starts a known escape pair.
::testing::AssertionResult wireIsEscaped(const Bytes& wire) {
    for (std::size_t i = 0; i < wire.size(); ++i) {
        std::uint8_t c = wire[i];
        if (c == 1 || c == 2 || c == 3)
            return ::testing::AssertionFailure() << "bare byte " << int(c) << " at " << i;
        if (c == '\\') {
            if (i + 1 >= wire.size() || std::string_view("\\hse").find(char(wire[i + 1])) == std::string_view::npos)
                return ::testing::AssertionFailure() << "bad escape at " << i;
            ++i;
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace

TEST_F(LoaderTest, RoundTripsPlainAndCompressedByteForByte) {
    const std::pair<const char*, Bytes> files[] = {{"all.bin", everyByte()}, {"mixed.bin", mixed(5u << 20)}};
    for (const auto& [name, data] : files) {
        fs::path local = writeFile(name, data);
        for (int level : {0, 1, 6, 9}) {
            SCOPED_TRACE(std::string(name) + " level " + std::to_string(level));
            server.clearTransfers();
            ASSERT_EQ(upload(name, local, level), ErrorCode::Success) << events.all();
            auto rec = server.transfers().at(0);
            EXPECT_TRUE(wireIsEscaped(rec.wire));
            EXPECT_EQ(rec.header, std::string("\x01" "00") + (level ? '1' : '0') + "0" + name + "\x02");
            ASSERT_EQ(server.file(name), data); // inflated by zlib in the server when compressed
            // The CRC covers the unescaped (compressed) bytes and matches the local computation.
            std::uint64_t local_crc = 0;
            ASSERT_EQ(Loader::GetLocalFileCRC(local.string(), level != 0, local_crc, level ? level : 6),
                      ErrorCode::Success);
            EXPECT_EQ(local_crc, rec.crc);
            EXPECT_EQ(crc16Update(0, rec.payload.data(), rec.payload.size()), rec.crc);
            if (level) {
                EXPECT_LT(rec.payload.size(), data.size() + data.size() / 50 + 64);
            }

            fs::path back = tempDir() / (std::string("back_") + name);
            ASSERT_EQ(download(name, back), ErrorCode::Success) << events.all();
            const bool lost = readFile(back) != data || server.file(name) != data;
            EXPECT_FALSE(lost);
            VaxoTest::summaryAdd("data_lost", lost ? 1 : 0);
        }
    }
    EXPECT_TRUE(events.has("Uploaded "));
    EXPECT_TRUE(events.has("Downloaded "));
}

TEST_F(LoaderTest, SplitAndGatheredWritesPutTheSameBytesOnTheWire) {
    fs::path local = writeFile("split.bin", mixed(200000, 5));
    ASSERT_EQ(upload("g.bin", local), ErrorCode::Success);
    loader->setGatherWrites(false);
    ASSERT_EQ(upload("s.bin", local), ErrorCode::Success);
    auto recs = server.transfers();
    ASSERT_EQ(recs.size(), 2u);
    EXPECT_EQ(recs[0].wire, recs[1].wire);
}

TEST_F(LoaderTest, CompressedProgramTravelsAsTempWithItsExtension) {
    fs::path local = writeFile("prog.bas", mixed(5000));
    ASSERT_EQ(upload("PROG", local, 6, 1, 3000, FileType::Basic), ErrorCode::Success) << events.all();
    EXPECT_TRUE(server.file("PROG.bas").has_value());
    ASSERT_EQ(upload("RAW", local, 6, 1, 3000, FileType::Binary), ErrorCode::Success);
    EXPECT_TRUE(server.file("RAW").has_value()); // binary goes as it is
}

TEST_F(LoaderTest, DestinationKindsReachTheirStores) {
    Bytes data = everyByte(1);
    fs::path local = writeFile("kinds.bin", data);
    ASSERT_EQ(upload("SD:card.bin", local), ErrorCode::Success);
    ASSERT_EQ(upload("/flash/dir.bin", local), ErrorCode::Success);
    EXPECT_EQ(server.file("SD:card.bin"), data);
    EXPECT_EQ(server.file("/flash/dir.bin"), data);
    fs::path back = tempDir() / "kinds_back.bin";
    ASSERT_EQ(download("/flash/dir.bin", back), ErrorCode::Success);
    EXPECT_EQ(readFile(back), data);
}

TEST_F(LoaderTest, XoffPausesTheSenderUntilXon) {
    // Larger than what the loopback buffers hold: a sender that ignored XOFF would be done
    // long before the XON.
    fs::path local = writeFile("xoff.bin", mixed(8u << 20, 2));
    Vaxo::Sim::FileTransferServer::Behaviour b;
    b.xoffAfter = 1000;
    b.xoffMs = 600;
    server.setBehaviour(b);
    auto t0 = std::chrono::steady_clock::now();
    ASSERT_EQ(upload("xoff.bin", local, 0, 3, 30000), ErrorCode::Success) << events.all();
    EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(600));
    EXPECT_GT(server.bytesAfterXon(), 0u);
    EXPECT_NE(server.bytesAfterXon(), Vaxo::Sim::FileTransferServer::kNever);
    EXPECT_EQ(server.file("xoff.bin"), readFile(local));
    EXPECT_TRUE(events.has("Received: XOFF"));
}

TEST_F(LoaderTest, ControllerAbortIsACaseInsensitivePrefix) {
    fs::path local = writeFile("abort.bin", mixed(300000, 4));
    for (const char* text : {"ABORT", "ab", "Abo"}) {
        Vaxo::Sim::FileTransferServer::Behaviour b;
        b.abortAfter = 100;
        b.abortText = text;
        server.setBehaviour(b);
        EXPECT_EQ(upload("abort.bin", local, 0, 3), ErrorCode::Fail) << text;
        EXPECT_TRUE(events.has("File transfer aborted by the Movicor.")) << text;
        EXPECT_NE(loader->state() & Loader::StateAborted, 0u);
    }
    // "abx" is not a prefix of any keyword: ignored, and the transfer completes.
    Vaxo::Sim::FileTransferServer::Behaviour b;
    b.abortAfter = 100;
    b.abortText = "abx";
    server.setBehaviour(b);
    EXPECT_EQ(upload("abort2.bin", local, 0, 3, 1000), ErrorCode::Timeout); // the server withholds its CRC
}

TEST_F(LoaderTest, TimeoutOfZeroBehavesAsFiveSeconds) {
    fs::path local = writeFile("zero.bin", everyByte());
    Vaxo::Sim::FileTransferServer::Behaviour b;
    b.stall = true;
    server.setBehaviour(b);
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(upload("zero.bin", local, 0, 1, 0), ErrorCode::Timeout);
    auto took = std::chrono::steady_clock::now() - t0;
    EXPECT_GE(took, std::chrono::milliseconds(4900));
    EXPECT_LT(took, std::chrono::milliseconds(8000));
}

TEST_F(LoaderTest, OpeningTwiceGivesReopen) {
    EXPECT_EQ(loader->OpenConnection("127.0.0.1", port, 2000), ErrorCode::Reopen);
    EXPECT_EQ(loader->CloseConnection(), ErrorCode::Success);
    EXPECT_EQ(loader->OpenConnection("", port, 2000), ErrorCode::Success); // the default host
}

TEST_F(LoaderTest, EncryptedTypeOnOldFirmwareFailsBeforeAnyByte) {
    fs::path local = writeFile("enc.bin", everyByte());
    loader->setFirmwareVersion(2.0334);
    for (FileType t : {FileType::EncryptedBasic, FileType::EncryptedBasicLibrary,
                       FileType::EncryptedRealtimeBasicLibrary})
        EXPECT_EQ(upload("enc.enc", local, 0, 1, 3000, t), ErrorCode::BadArgument);
    EXPECT_TRUE(events.has("Transferring encrypted items is not supported before MV f/w v2.0335"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(server.transfers().empty());
    loader->setFirmwareVersion(2.0335);
    EXPECT_EQ(upload("enc.enc", local, 0, 1, 3000, FileType::EncryptedBasic), ErrorCode::Success);
}

TEST_F(LoaderTest, LocalFileThatCannotBeOpenedGivesTheSystemError) {
    const std::string missing = (tempDir() / "no_such_file.bin").string();
    EXPECT_EQ(upload("x.bin", missing, 0, 0), Vaxo::Ubrix::Shared::systemError(ENOENT));
    EXPECT_TRUE(events.has("Error opening " + missing + ", error(2): ")) << events.all();
    EXPECT_EQ(download("x.bin", tempDir() / "no_dir" / "x.bin"), Vaxo::Ubrix::Shared::systemError(ENOENT));
}

TEST_F(LoaderTest, BadRemoteNameAndUnknownDownload) {
    fs::path local = writeFile("bad.bin", everyByte(1));
    EXPECT_EQ(upload("", local), ErrorCode::BadArgument);
    EXPECT_TRUE(events.has("Error in remote destination"));
    EXPECT_EQ(download("nothing.bin", tempDir() / "nothing.bin"), ErrorCode::Fail); // answered ABORT
}

TEST_F(LoaderTest, ProgressStartsAtZeroAndEndsAtTwo) {
    fs::path local = writeFile("progress.bin", mixed(100000));
    std::vector<Vaxo::Ubrix::Shared::ProgressInfo> seen;
    std::mutex m;
    auto fn = [&](const Vaxo::Ubrix::Shared::ProgressInfo& p) {
        std::lock_guard lock(m);
        seen.push_back(p);
    };
    ASSERT_EQ(loader->TransferFile(Loader::kUpload, "p.bin", local.string(), FileType::Binary, 1, 0, {}, 3000, fn),
              ErrorCode::Success);
    ASSERT_GE(seen.size(), 3u); // start, after each of four chunks, end
    EXPECT_EQ(seen.front().state, 0u);
    EXPECT_EQ(seen.back().state, 2u);
    EXPECT_EQ(seen.back().done, 100000u);
    EXPECT_EQ(seen.back().total, 100000u);
}
