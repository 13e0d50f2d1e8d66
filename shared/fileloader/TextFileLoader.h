// Whole-file transfer between the host and the controller over a TCP link of its own (default
// port 10001): upload (host file to controller) and download (controller file to host file),
// every data byte checked with CRC-16/UMTS, optional raw-deflate compression on the way out and
// XON/XOFF flow control from the controller. Framing and headers: Framing.h.
//
// One transfer runs at a time per loader, on two workers: the send worker writes the header,
// the data and ETX and decides the outcome; the receive worker reads the controller's control
// texts (and, for a download, the file data). They share the state word, the XOFF flag and the
// CRCs under one mutex and wait on one condition variable.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <vaxo/Records.hpp>
#include <vaxo/Types.hpp>

#include "shared/fileloader/Crc16.h"
#include "shared/fileloader/ReceiveParser.h"
#include "shared/filetype/FileType.h"
#include "shared/transport/Port_TCP.h"

namespace Vaxo::Ubrix::Shared {

class TextFileLoader {
public:
    static constexpr std::uint16_t kDefaultPort = 10001;
    static constexpr int kDefaultTimeout = 5000;
    static constexpr double kFwEncryptedItems = 2.0335; // encrypted types need this firmware or later

    // Bits of the state word.
    static constexpr std::uint32_t StateCancelled = 1;
    static constexpr std::uint32_t StateAborted = 2;
    static constexpr std::uint32_t StateCrcReceived = 4;
    static constexpr std::uint32_t StateFinished = 8;
    static constexpr std::uint32_t StateError = 16;

    // Direction 1 is a download; any other value an upload.
    static constexpr std::uint32_t kDownload = 1;
    static constexpr std::uint32_t kUpload = 0;

    // The option bytes of a transfer: option 1 = the item runs at power-up, option 2 = tell the
    // controller the data is compressed, option 3 = the storage area digit (0..9).
    struct Options {
        std::uint8_t autorun = 0;
        std::uint8_t compressedFlag = 1;
        std::uint8_t storage = 0;
    };

    // The callback is copied; progress and log lines are delivered from the workers.
    explicit TextFileLoader(EventCallback logger);
    ~TextFileLoader();
    TextFileLoader(const TextFileLoader&) = delete;
    TextFileLoader& operator=(const TextFileLoader&) = delete;

    // The host an empty host name stands for (the owning connection's).
    void setDefaultHost(std::string host);
    // The controller's firmware version for the encrypted-item gate (compareFwVer).
    void setFirmwareVersion(double version) { m_firmware.store(version); }
    // true (the default): a chunk's escaped output goes in one write; false: each run of plain
    // bytes and each escape pair in a write of its own. The controller sees the same bytes.
    void setGatherWrites(bool on) { m_gatherWrites.store(on); }

    // Empty host: the default host; port 0: 10001. An open link gives Reopen.
    ErrorCode OpenConnection(std::string_view host, std::uint16_t port, unsigned int timeout);
    // Cancels a running transfer, then closes the link.
    ErrorCode CloseConnection();
    bool isOpen() const { return m_port.isOpened(); }

    // Runs one transfer to its end. mode 0: plain transfer, no handshake; non-zero: the
    // controller's CRC is awaited and checked (mode 3 sends 1024-byte chunks, others 32768).
    // level 1..9 compresses an upload, 0 does not. timeout (ms) below 1 means 5000; it bounds
    // each wait: for room on the link, for XON, for the CRC, and for the next bytes from the
    // controller (only what the controller sends restarts that one, so with a handshake the
    // controller must be heard within it, also while data is still going out). A download
    // always reads the controller's answer, whatever the mode. A failed or cancelled download
    // removes its partial file.
    ErrorCode TransferFile(std::uint32_t direction, std::string_view remote, std::string_view local, FileType type,
                           std::uint32_t mode, int level, Options options, int timeout, ProgressFn progress);
    // Sets the cancelled flag; both workers stop at their next check.
    void Cancel();

    // True for a transfer the link has no form for: a download from the memory card ("SD:"),
    // or a compressed upload to it. TransferFile refuses these with NotSupported before any
    // byte is sent; a caller can ask before it opens the link.
    static bool Unsupported(std::uint32_t direction, std::string_view remote, int level);

    // The CRC an upload of the file would carry (of the deflated bytes, at `level`, when
    // compressed).
    static ErrorCode GetLocalFileCRC(std::string_view path, bool compressed, std::uint64_t& crc, int level = 6);

    // The state word of the last transfer (for diagnostics and tests).
    std::uint32_t state() const;

private:
    ErrorCode sendData();
    ErrorCode sendUpload();
    ErrorCode sendDownloadRequest();
    ErrorCode recvData();
    void sendThreadFunc();
    void recvThreadFunc();

    // Waits while XOFF is set and no flag is in the state word. false: stop sending.
    bool waitWritable(bool& timedOut);
    ErrorCode writeData(const unsigned char* data, std::size_t length, bool& timedOut);
    // One write on the link, bounded by the timeout and stopped by m_stopWrites; `written`
    // (may be null) receives how many bytes went.
    ErrorCode writeLink(const char* data, std::size_t length, unsigned int* written = nullptr);
    static bool cardCannotCarry(std::uint32_t direction, int kind, int level);
    ErrorCode handleControl(std::string_view text, const ReceiveParser::ControlText& meaning);
    // After a failed transfer the link is closed (dropLink) and opened again, with the
    // parameters of the last OpenConnection, when the next transfer starts (relinkIfNeeded).
    void dropLink();
    ErrorCode relinkIfNeeded();
    ErrorCode outcome(bool timedOut, bool failedOther);
    void progress(std::uint64_t done, std::uint64_t total, std::uint32_t state);
    void log(EventType type, std::uint64_t value, const std::string& text);
    void touch();
    double elapsedSeconds() const;

    EventCallback m_logger; // before m_port, which keeps a reference to it
    Port_TCP m_port;
    std::mutex m_hostMutex; // the host fields and m_relink
    std::string m_defaultHost = "127.0.0.1";
    std::string m_openHost;
    std::uint16_t m_openPort = kDefaultPort;
    unsigned int m_openTimeout = 0;
    bool m_relink = false;
    std::atomic<double> m_firmware{99.0};
    std::atomic<bool> m_gatherWrites{true};
    std::mutex m_transferMutex; // one transfer at a time

    // The running transfer's parameters (written before the workers start).
    std::uint32_t m_direction = kUpload;
    std::string m_remote;
    std::string m_bareName;
    std::string m_local;
    int m_kind = 2;
    FileType m_type = FileType::Basic;
    std::uint32_t m_mode = 0;
    int m_level = 0;
    Options m_options;
    unsigned int m_timeout = kDefaultTimeout;
    ProgressFn m_progress;
    std::chrono::steady_clock::time_point m_started;
    std::uint64_t m_total = 0;
    std::atomic<std::uint64_t> m_bytes{0};
    std::vector<char> m_escaped; // room for the sender's escaped chunk, kept between chunks
    char m_owedLetter = 0;       // the second half of an escape pair a stopped write cut off
    // Set by Cancel, an abort from the controller or a failed receive worker: a write waiting
    // for room on the link gives up.
    std::atomic<bool> m_stopWrites{false};

    // Shared by the workers under m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_cv;
    std::uint32_t m_state = 0;
    bool m_xoff = false;
    std::uint64_t m_localCrc = 0;
    std::uint64_t m_remoteCrc = 0;
    ErrorCode m_sendResult = ErrorCode::Success;
    ErrorCode m_recvResult = ErrorCode::Success;
    std::atomic<std::int64_t> m_lastActivity{0}; // steady clock, ms
};

} // namespace Vaxo::Ubrix::Shared
