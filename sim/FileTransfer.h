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
// STX STX "CRC=<hex>" ETX. A header with flag 4 asks for a file: the answer is STX STX "FILE"
// ETX, the escaped bytes, STX "CRC=<hex>" ETX, or STX STX "ABORT" ETX for an unknown file.
// Bad escapes, a failed inflate or a bad header are answered with ABORT.
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
    bool ok = false;                   // stored (upload) or sent (download)
    std::string failure;               // why not
};

class FileTransferServer {
public:
    static constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

    // What the server does to the next transfers (until changed).
    struct Behaviour {
        std::size_t xoffAfter = kNever;   // after this many data bytes of an upload, send XOFF ...
        unsigned xoffMs = 0;              // ... and XON this long after
        std::size_t abortAfter = kNever;  // after this many data bytes, send the abort text
        std::string abortText = "ABORT";
        bool wrongCrc = false;            // answer a CRC that is off by one bit
        bool stall = false;               // read everything, answer nothing
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

    std::uint16_t port_ = 0;
    int listenFd_ = -1;
    std::atomic<bool> stopping_{false};
    std::thread acceptThread_;
    std::mutex connMutex_;
    std::list<std::unique_ptr<Conn>> conns_;
};

} // namespace Vaxo::Sim
