// The file-transfer link, rule by rule, against the simulated controller's file-transfer
// server. Each row is one rule of the link in our own words: what goes on the wire (headers,
// flags, escapes, the one ETX) and how the loader reads the controller's texts (one or two STX,
// every form of the CRC number, ABORT, silence, congestion). The expected bytes are written
// here from the rule, not taken from the loader's encoder.
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <functional>
#include <thread>

#include "LoaderTestUtil.h"

using namespace loadertest;
using Behaviour = Vaxo::Sim::FileTransferServer::Behaviour;
using CrcForm = Vaxo::Sim::FileTransferServer::CrcForm;
using Vaxo::Sim::TransferRecord;
using Vaxo::Ubrix::Shared::ErrorCode;
using Vaxo::Ubrix::Shared::FileType;
using Vaxo::Ubrix::Shared::TextFileLoader;

namespace {

// File data on the wire: `\` as `\\`, 0x01 as `\h`, 0x02 as `\s`, 0x03 as `\e`, others bare.
Bytes escapedByRule(const Bytes& in) {
    Bytes out;
    for (std::uint8_t c : in) {
        const char* pair = c == '\\' ? "\\\\" : c == 1 ? "\\h" : c == 2 ? "\\s" : c == 3 ? "\\e" : nullptr;
        if (pair) {
            out.push_back(std::uint8_t(pair[0]));
            out.push_back(std::uint8_t(pair[1]));
        } else {
            out.push_back(c);
        }
    }
    return out;
}

enum class Dir { Upload, Download };

struct Rule {
    const char* rule;
    Dir dir = Dir::Upload;
    const char* remote = "PROG";
    std::size_t size = 3000;   // bytes of the file (mixed content, every escape in it)
    int level = 0;             // compression level of an upload
    TextFileLoader::Options options{0, 1, 0};
    FileType type = FileType::Binary;
    std::uint32_t mode = 1;
    int timeout = 5000;
    std::function<void(Behaviour&)> fault = [](Behaviour&) {};
    int cancelAfterMs = -1;
    ErrorCode expect = ErrorCode::Success;
    const char* logged = "";    // a log line the rule requires ("" none)
    const char* notLogged = ""; // a log line the rule forbids ("" none)
    // What the controller saw: "" nothing at all, else the exact header bytes.
    std::string header = "";
    // Checks of the controller's record of the transfer (null: none beyond the header).
    std::function<void(const TransferRecord&, const Bytes& data)> check = nullptr;
};

void PrintTo(const Rule& r, std::ostream* os) { *os << r.rule; }

void etxEnds(const TransferRecord& r, const Bytes&) {
    EXPECT_TRUE(r.endedByEtx) << "the data was not ended by ETX: " << r.failure;
}

std::string hdr(const std::string& body) { return "\x01" + body + "\x02"; }

const Rule kRules[] = {
    // Headers and flags.
    {.rule = "A program-directory upload starts SOH, '00', flags, storage, name, STX",
     .options = {0, 1, 3},
     .header = hdr("0003PROG"),
     .check = etxEnds},
    {.rule = "Flags: 2 when the item runs at power-up",
     .options = {1, 1, 0},
     .header = hdr("0020PROG")},
    {.rule = "Flags: 1 when the data is compressed and option 2 says so",
     .level = 6,
     .options = {1, 1, 5},
     .header = hdr("0035PROG")},
    {.rule = "Flags: compressed data without option 2 sets no flag", // stored as it came
     .level = 6,
     .options = {0, 0, 0},
     .header = hdr("0000PROG")},
    {.rule = "A path goes as kind 3: SOH '00' flags storage 0x1F '1' 0x1F path STX",
     .remote = "/flash/a.txt",
     .options = {0, 1, 2},
     .header = hdr("0002\x1f" "1\x1f" "flash/a.txt")},
    {.rule = "A memory-card upload: SOH 'SD:' name STX, no flags digit",
     .remote = "SD:log.txt",
     .options = {1, 1, 4},
     .header = hdr("SD:log.txt")},
    {.rule = "A compressed upload to the memory card sends nothing and is not supported",
     .remote = "SD:log.txt",
     .level = 6,
     .expect = ErrorCode::NotSupported},
    {.rule = "A download from the memory card sends nothing and is not supported",
     .dir = Dir::Download,
     .remote = "SD:log.txt",
     .expect = ErrorCode::NotSupported},
    {.rule = "A compressed program goes as temp, its extension added to the name",
     .level = 6,
     .type = FileType::Basic,
     .header = hdr("0010PROG.bas")},
    {.rule = "A download asks with its destination's header and flag 4",
     .dir = Dir::Download,
     .header = hdr("0040PROG")},

    // Data, CRC and the end of the data.
    {.rule = "Data escapes exactly the four bytes; one ETX ends it",
     .size = 4096,
     .header = hdr("0000PROG"),
     .check =
         [](const TransferRecord& r, const Bytes& data) {
             EXPECT_TRUE(r.wire == escapedByRule(data));
             EXPECT_TRUE(r.endedByEtx);
         }},
    {.rule = "Mode 3 sends the same bytes in 1024-byte chunks",
     .size = 10000,
     .mode = 3,
     .header = hdr("0000PROG"),
     .check = [](const TransferRecord& r, const Bytes& data) { EXPECT_TRUE(r.wire == escapedByRule(data)); }},
    {.rule = "Mode 0 waits for no CRC: a silent controller still takes the file",
     .mode = 0,
     .fault = [](Behaviour& b) { b.stall = true; },
     .header = hdr("0000PROG"),
     .check = etxEnds},
    {.rule = "A wrong CRC fails the upload",
     .fault = [](Behaviour& b) { b.wrongCrc = true; },
     .expect = ErrorCode::Fail,
     .logged = "File transfer failed. CRC wrong (Local=$",
     .notLogged = "Uploaded ",
     .header = hdr("0000PROG")},

    // Control texts: opened by one STX, or two.
    {.rule = "A text opened by one STX is heard", .header = hdr("0000PROG")},
    {.rule = "A text opened by two STX is heard the same",
     .fault = [](Behaviour& b) { b.doubleStx = true; },
     .header = hdr("0000PROG")},
    {.rule = "A download: FILE, data and CRC texts each opened by one STX",
     .dir = Dir::Download,
     .size = 5000,
     .logged = "Downloaded ",
     .header = hdr("0040PROG")},
    {.rule = "A download: the same texts opened by two STX",
     .dir = Dir::Download,
     .size = 5000,
     .fault = [](Behaviour& b) { b.doubleStx = true; },
     .logged = "Downloaded ",
     .header = hdr("0040PROG")},

    // The CRC number is read as "%lx" reads it.
    {.rule = "CRC digits in upper case",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Upper; },
     .header = hdr("0000PROG")},
    {.rule = "CRC with a 0x prefix",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Prefix0x; },
     .header = hdr("0000PROG")},
    {.rule = "CRC with a 0X prefix",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Prefix0X; },
     .header = hdr("0000PROG")},
    {.rule = "CRC after blanks",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Blanks; },
     .header = hdr("0000PROG")},
    {.rule = "CRC with a plus sign",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Plus; },
     .header = hdr("0000PROG")},
    {.rule = "CRC followed by other text",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Trailing; },
     .header = hdr("0000PROG")},
    {.rule = "A CRC text with no number is a bad response",
     .fault = [](Behaviour& b) { b.crcForm = CrcForm::Empty; },
     .expect = ErrorCode::BadResponse,
     .header = hdr("0000PROG")},
    {.rule = "A download whose CRC is wrong fails and logs no Downloaded line",
     .dir = Dir::Download,
     .fault = [](Behaviour& b) { b.wrongCrc = true; },
     .expect = ErrorCode::Fail,
     .logged = "File transfer failed. CRC wrong (Local=$",
     .notLogged = "Downloaded ",
     .header = hdr("0040PROG")},

    // ABORT and other texts.
    {.rule = "ABORT ends the upload, and the data still ends with ETX",
     .size = 300000,
     .fault =
         [](Behaviour& b) {
             b.abortAfter = 1000;
         },
     .expect = ErrorCode::Fail,
     .logged = "File transfer aborted by the Movicor.",
     .header = hdr("0000PROG"),
     .check = etxEnds},
    {.rule = "An empty text is a prefix of ABORT",
     .size = 300000,
     .fault =
         [](Behaviour& b) {
             b.abortAfter = 1000;
             b.abortText = "";
         },
     .expect = ErrorCode::Fail,
     .logged = "File transfer aborted by the Movicor.",
     .header = hdr("0000PROG")},
    {.rule = "A text longer than the loader's buffer is BufferTooSmall",
     .size = 300000,
     .fault =
         [](Behaviour& b) {
             b.abortAfter = 1000;
             b.abortText = std::string(300, 'a');
         },
     .expect = ErrorCode::BufferTooSmall,
     .header = hdr("0000PROG")},

    // Congestion and silence.
    {.rule = "A cancel on a congested link: the ETX still goes, before the link drops",
     .size = 24u << 20,
     .timeout = 10000,
     .fault =
         [](Behaviour& b) {
             b.pauseReadingAfter = 100000;
             b.pauseReadingMs = 2500;
         },
     .cancelAfterMs = 500,
     .expect = ErrorCode::Fail,
     .logged = "File transfer cancelled.",
     .header = hdr("0000PROG"),
     .check =
         [](const TransferRecord& r, const Bytes& data) {
             EXPECT_TRUE(r.endedByEtx) << r.failure;
             EXPECT_LT(r.payload.size(), data.size());
             EXPECT_EQ(r.failure, ""); // whole escapes up to the ETX
         }},
    {.rule = "An abort on a congested link: the ETX still goes",
     .size = 24u << 20,
     .timeout = 10000,
     .fault =
         [](Behaviour& b) {
             b.pauseReadingAfter = 100000;
             b.pauseReadingMs = 2500;
             b.abortAfterMs = 500; // while the link is full
         },
     .expect = ErrorCode::Fail,
     .logged = "File transfer aborted by the Movicor.",
     .header = hdr("0000PROG"),
     .check =
         [](const TransferRecord& r, const Bytes& data) {
             EXPECT_TRUE(r.endedByEtx);
             EXPECT_LT(r.payload.size(), data.size());
             EXPECT_EQ(r.failure, "aborted"); // (an escape cut in two would have swallowed the ETX)
         }},
    {.rule = "A silent controller is noticed after the timeout, while data is still going out",
     .size = 32u << 20,
     .timeout = 1000,
     .fault =
         [](Behaviour& b) {
             b.stall = true;
             b.slowReadMs = 20;
         },
     .expect = ErrorCode::Timeout,
     .logged = "Data receive timeout",
     .header = hdr("0000PROG"),
     .check =
         [](const TransferRecord& r, const Bytes& data) {
             EXPECT_TRUE(r.endedByEtx);
             EXPECT_LT(r.payload.size(), data.size()) << "the whole file went before the silence was noticed";
         }},
    {.rule = "A silent controller on a download is noticed after the timeout",
     .dir = Dir::Download,
     .timeout = 1000,
     .fault = [](Behaviour& b) { b.stall = true; },
     .expect = ErrorCode::Timeout,
     .logged = "Data receive timeout",
     .notLogged = "Downloaded ",
     .header = hdr("0040PROG")},
};

class LinkRules : public ::testing::TestWithParam<Rule> {};

// Waits for the server's record of the transfer: the controller may still be reading what the
// loader wrote before it dropped the link.
std::optional<TransferRecord> awaitRecord(Vaxo::Sim::FileTransferServer& server, bool expectOne) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(expectOne ? 30 : 0);
    for (;;) {
        auto recs = server.transfers();
        if (!recs.empty())
            return recs.front();
        if (std::chrono::steady_clock::now() >= until)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

TEST_P(LinkRules, OnTheWire) {
    const Rule& r = GetParam();
    Vaxo::Sim::FileTransferServer server;
    const std::uint16_t port = server.start();
    ASSERT_NE(port, 0);
    Events events;
    TextFileLoader loader(events.callback());
    loader.setFirmwareVersion(2.0335);
    ASSERT_EQ(loader.OpenConnection("127.0.0.1", port, 2000), ErrorCode::Success);

    const Bytes data = mixed(r.size, 17);
    const fs::path local = tempDir() / "rule.local";
    const bool upload = r.dir == Dir::Upload;
    if (upload)
        writeFile("rule.local", data);
    else
        server.putFile("PROG", data);
    Behaviour b;
    r.fault(b);
    server.setBehaviour(b);

    std::thread canceller;
    if (r.cancelAfterMs >= 0)
        canceller = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(r.cancelAfterMs));
            loader.Cancel();
        });
    const auto t0 = std::chrono::steady_clock::now();
    const ErrorCode rc = loader.TransferFile(upload ? TextFileLoader::kUpload : TextFileLoader::kDownload, r.remote,
                                             local.string(), r.type, r.mode, r.level, r.options, r.timeout, {});
    const auto took = std::chrono::steady_clock::now() - t0;
    if (canceller.joinable())
        canceller.join();

    EXPECT_EQ(rc, r.expect) << std::hex << std::uint64_t(rc) << "\n" << events.all();
    EXPECT_LT(took, std::chrono::milliseconds(r.timeout + 20000)); // against hangs only
    if (*r.logged) {
        EXPECT_TRUE(events.has(r.logged)) << events.all();
    }
    if (*r.notLogged) {
        EXPECT_FALSE(events.has(r.notLogged)) << events.all();
    }
    if (!upload && r.expect != ErrorCode::Success) {
        EXPECT_FALSE(fs::exists(local)) << "a failed download left its partial file";
    }
    if (!upload && r.expect == ErrorCode::Success) {
        EXPECT_TRUE(readFile(local) == data);
    }

    const auto rec = awaitRecord(server, !r.header.empty());
    if (r.header.empty()) {
        EXPECT_FALSE(rec.has_value()) << "the controller saw a transfer: " << rec->header;
    } else {
        ASSERT_TRUE(rec.has_value());
        EXPECT_EQ(rec->header, r.header);
        if (r.check)
            r.check(*rec, data);
        if (upload && r.expect == ErrorCode::Success && r.level == 0) {
            EXPECT_TRUE(rec->payload == data);
        }
    }
    loader.CloseConnection();
    server.stop();
    EXPECT_EQ(server.strayBytes(), 0u) << "bytes after the one ETX";
    std::error_code ec;
    fs::remove(local, ec);
}

std::string ruleName(const ::testing::TestParamInfo<Rule>& info) {
    std::string name;
    bool upper = true;
    for (const char* p = info.param.rule; *p; ++p) {
        const char c = *p;
        if (std::isalnum(static_cast<unsigned char>(c))) {
            name.push_back(upper ? char(std::toupper(static_cast<unsigned char>(c))) : c);
            upper = false;
        } else {
            upper = true;
        }
    }
    return std::to_string(info.index) + "_" + name.substr(0, 60);
}

INSTANTIATE_TEST_SUITE_P(Table, LinkRules, ::testing::ValuesIn(kRules), ruleName);

} // namespace
