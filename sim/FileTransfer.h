// The simulated controller's file-transfer server: a loopback TCP port of its own, next to the
// command port of Simulator. Tests start it beside the Simulator:
//
//     Vaxo::Sim::FileTransferServer files;
//     uint16_t port = files.start();        // 127.0.0.1, ephemeral port
//     ... vaxo_UploadFile(h, "PROG", path, ..., port, ...) ...
//     files.file("PROG")                    // the stored bytes
//
// Per connection it reads transfers one after the other. A header is SOH, then "SD:" name
// (kind 1), or "00" flags storage name (kind 2), or "00" flags storage 0x1F "1" 0x1F name
// (kind 3), then STX. An upload's data follows escaped (`\\`, `\h`, `\s`, `\e` for `\`, 0x01,
// 0x02, 0x03) up to a bare ETX; the server checks the escapes, computes the CRC-16/UMTS of the
// unescaped bytes, inflates them (raw deflate) when flag 1 is set, stores the file and answers
// STX "CRC=<hex>" ETX. A header with flag 4 asks for a file: the answer is STX "FILE" ETX, the
// escaped bytes, STX "CRC=<hex>" ETX, or STX "ABORT" ETX for an unknown file. Every control text
// is opened by one STX (two with Behaviour::doubleStx). A memory-card header ("SD:") has no
// flags digit, so it is always an upload. Bad escapes, a bare SOH or STX in the data, a failed
// inflate or a bad header are answered with ABORT; bytes between transfers are counted as stray.
//
// Files are kept under the key the header names: the bare name for kind 2, "SD:" name for
// kind 1, "/" path for kind 3. `onStored` lets the program store of the command side learn of
// each upload.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Vaxo::Sim {

class Simulator;

// CRC-16/UMTS (the server's own, independent of the library's). simCrc16Update continues a CRC
// eight bytes per step; simCrc16 is the plain byte-at-a-time form it is checked against.
std::uint16_t simCrc16(const std::uint8_t* data, std::size_t length);
std::uint16_t simCrc16Update(std::uint16_t crc, const std::uint8_t* data, std::size_t length);

struct StoredFile {
    std::vector<std::uint8_t> data; // as stored (inflated when it came compressed)
    int kind = 2;
    std::uint8_t storage = 0;
    bool autorun = false;
};

// One transfer as the server saw it.
struct TransferRecord {
    int kind = 0;                      // 1, 2, 3; 0 for a header that did not parse
    std::string name;                  // bare name from the header
    std::string header;                // header bytes from SOH to STX
    std::uint8_t flags = 0;
    std::uint8_t storage = 0;
    bool download = false;
    std::vector<std::uint8_t> wire;    // data bytes as received, escapes included, ETX excluded
    std::vector<std::uint8_t> payload; // unescaped data (compressed bytes when compressed)
    std::uint16_t crc = 0;             // CRC of payload
    bool endedByEtx = false;           // the data ended with the one ETX the client must send
    bool ok = false;                   // stored (upload) or sent (download)
    std::string failure;               // why not
};

class FileTransferServer {
public:
    static constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

    // The form of the CRC text the server answers with. All but Empty read back as the number
    // with "%lx": lower- or upper-case digits, a 0x or 0X prefix, leading blanks, a sign, or
    // text after the digits. Empty has no number at all.
    enum class CrcForm { Lower, Upper, Prefix0x, Prefix0X, Blanks, Plus, Trailing, Empty };

    // What the server does to the next transfers (until changed). Each fault of the link has
    // its switch: a pause before XON, an abort, a wrong CRC, the CRC's text form, two STX
    // before each text, silence (stall), a hang-up, a controller that stops reading for good
    // and one that stops reading for a while.
    struct Behaviour {
        std::size_t xoffAfter = kNever;   // after this many data bytes of an upload, send XOFF ...
        unsigned xoffMs = 0;              // ... and XON this long after
        std::size_t abortAfter = kNever;  // after this many data bytes, send the abort text
        unsigned abortAfterMs = 0;        // or this long after the data began (0: never), read or not
        std::string abortText = "ABORT";
        bool wrongCrc = false;            // answer a CRC that is off by one bit
        bool stall = false;               // silence: read everything, answer nothing
        bool doubleStx = false;           // open each control text with two STX instead of one
        CrcForm crcForm = CrcForm::Lower;
        std::size_t pauseReadingAfter = kNever; // after this many data bytes of an upload, read
        unsigned pauseReadingMs = 0;            // nothing for this long (the link congests)
        unsigned slowReadMs = 0;          // a slow reader: wait this long before each read of
                                          // at most 64 KiB
        std::size_t closeAfter = kNever;  // after this many data bytes (either way), close the link
        std::size_t stopReadingAfter = kNever; // after this many data bytes of an upload, read
                                               // nothing more until the client closes the link
        bool keepWire = true;             // keep the received bytes (wire and payload) in the
                                          // transfer records
    };

    FileTransferServer() = default;
    ~FileTransferServer();
    FileTransferServer(const FileTransferServer&) = delete;
    FileTransferServer& operator=(const FileTransferServer&) = delete;

    // Listens on 127.0.0.1:port (0: ephemeral) and returns the port; 0 on failure.
    std::uint16_t start(std::uint16_t port = 0);
    void stop();
    std::uint16_t port() const noexcept { return port_; }

    void setBehaviour(Behaviour b);
    void putFile(const std::string& key, std::vector<std::uint8_t> data);
    std::optional<std::vector<std::uint8_t>> file(const std::string& key) const;
    std::optional<StoredFile> stored(const std::string& key) const;
    std::vector<std::string> names() const;
    std::vector<TransferRecord> transfers() const;
    void clearTransfers();
    // Data bytes of the last upload that arrived after the XON (kNever before any XON): a sender
    // that obeys XOFF still has data left when the XON comes.
    std::size_t bytesAfterXon() const noexcept { return afterXon_.load(); }
    // Bytes that arrived outside any transfer (between an ETX and the next SOH): a client that
    // ends its data with more than one ETX, or sends data after it, shows here.
    std::size_t strayBytes() const noexcept { return stray_.load(); }

    std::function<void(const std::string& key, const StoredFile&)> onStored;

    // Joins the command side's program store: program-directory uploads (kind 2) are stored
    // there too, under the name without its extension (upper case) and the type its extension
    // names, so that DIR lists them and FILE "CRC" reports them; downloads of names this server
    // has not stored come from there. Call before start(); the simulator must outlive the server.
    void attach(Simulator& sim);

private:
    struct Conn {
        int fd = -1;
        std::thread thread;
        std::atomic<bool> done{false};
    };
    void acceptLoop();
    void serve(Conn& c);
    bool sendAll(int fd, const std::string& bytes);

    Simulator* sim_ = nullptr;
    mutable std::mutex mutex_;
    Behaviour behaviour_;
    std::map<std::string, StoredFile> files_;
    std::vector<TransferRecord> records_;
    std::atomic<std::size_t> afterXon_{kNever};
    std::atomic<std::size_t> stray_{0};

    std::uint16_t port_ = 0;
    int listenFd_ = -1;
    std::atomic<bool> stopping_{false};
    std::thread acceptThread_;
    std::mutex connMutex_;
    std::list<std::unique_ptr<Conn>> conns_;
};

} // namespace Vaxo::Sim
