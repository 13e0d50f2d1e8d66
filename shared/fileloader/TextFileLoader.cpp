// Whole-file transfer over the file-transfer link (see TextFileLoader.h).
#include "shared/fileloader/TextFileLoader.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include "shared/fileloader/Deflater.h"
#include "shared/fileloader/Framing.h"
#include "shared/fileloader/ReceiveParser.h"
#include "shared/filetype/IEquals.h"
#include "shared/protocol/ControllerCapabilities.h"

namespace Vaxo::Ubrix::Shared {

namespace {

constexpr std::size_t kReadSize = 65536;    // bytes per read from the link
constexpr unsigned int kReadSlice = 50;     // ms: the receive worker looks at the flags this often

std::int64_t nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

template <class... A>
std::string format(const char* fmt, A... args) {
    int n = std::snprintf(nullptr, 0, fmt, args...);
    std::string s(n > 0 ? std::size_t(n) : 0, '\0');
    if (n > 0)
        std::snprintf(s.data(), s.size() + 1, fmt, args...);
    return s;
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool sendsAsIs(FileType t) {
    return t == FileType::Temp || t == FileType::VolatileText || t == FileType::Binary;
}

} // namespace

TextFileLoader::TextFileLoader(EventCallback logger) : m_logger(std::move(logger)), m_port(m_logger) {}

TextFileLoader::~TextFileLoader() { CloseConnection(); }

void TextFileLoader::setDefaultHost(std::string host) {
    std::lock_guard lock(m_hostMutex);
    m_defaultHost = std::move(host);
}

ErrorCode TextFileLoader::OpenConnection(std::string_view host, std::uint16_t port, unsigned int timeout) {
    if (m_port.isOpened())
        return ErrorCode::Reopen;
    std::string h;
    if (host.empty()) {
        std::lock_guard lock(m_hostMutex);
        h = m_defaultHost;
    } else {
        h.assign(host);
    }
    ErrorCode rc = m_port.Open(h, port ? port : kDefaultPort, timeout, false);
    if (rc == ErrorCode::Success) {
        m_port.SetNoDelay(true);
        std::lock_guard lock(m_hostMutex);
        m_openHost = std::move(h);
        m_openPort = port ? port : kDefaultPort;
        m_openTimeout = timeout;
        m_relink = false;
    }
    return rc;
}

ErrorCode TextFileLoader::CloseConnection() {
    Cancel();
    {
        std::lock_guard lock(m_hostMutex);
        m_relink = false;
    }
    return m_port.Close();
}

void TextFileLoader::Cancel() {
    {
        std::lock_guard lock(m_mutex);
        m_state |= StateCancelled;
    }
    m_stopWrites.store(true);
    m_cv.notify_all();
}

ErrorCode TextFileLoader::relinkIfNeeded() {
    std::string host;
    std::uint16_t port;
    unsigned int timeout;
    {
        std::lock_guard lock(m_hostMutex);
        if (!m_relink || m_port.isOpened())
            return ErrorCode::Success;
        m_relink = false;
        host = m_openHost;
        port = m_openPort;
        timeout = m_openTimeout;
    }
    return OpenConnection(host, port, timeout);
}

void TextFileLoader::dropLink() {
    // The controller may still be sending, or be in the middle of the data it was sent: bytes
    // of this transfer must not reach the next one. A fresh link starts clean.
    {
        std::lock_guard lock(m_hostMutex);
        m_relink = true;
    }
    m_port.Close();
}

std::uint32_t TextFileLoader::state() const {
    std::lock_guard lock(m_mutex);
    return m_state;
}

void TextFileLoader::log(EventType type, std::uint64_t value, const std::string& text) {
    if (m_logger)
        m_logger(type, value, text);
}

void TextFileLoader::progress(std::uint64_t done, std::uint64_t total, std::uint32_t state) {
    if (m_progress) {
        ProgressInfo info{done, total, state, 0};
        m_progress(info);
    }
}

void TextFileLoader::touch() { m_lastActivity.store(nowMs()); }

double TextFileLoader::elapsedSeconds() const {
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_started);
    return double(ms.count()) / 1000.0;
}

ErrorCode TextFileLoader::TransferFile(std::uint32_t direction, std::string_view remote, std::string_view local,
                                       FileType type, std::uint32_t mode, int level, Options options, int timeout,
                                       ProgressFn progressFn) {
    std::lock_guard transfer(m_transferMutex);
    if (compareFwVer(m_firmware.load(), kFwEncryptedItems) < 0 && IsEncryptedType(type)) {
        log(EventType::Error, std::uint64_t(ErrorCode::BadArgument),
            "Transferring encrypted items is not supported before MV f/w v2.0335");
        return ErrorCode::BadArgument;
    }
    int kind = 0;
    std::string bare;
    if (ErrorCode rc = GetDestination(remote, kind, bare); rc != ErrorCode::Success) {
        log(EventType::Error, std::uint64_t(rc), "Error in remote destination");
        return rc;
    }
    if (level < 0 || level > 9 || options.storage > 9 || local.empty())
        return ErrorCode::BadArgument;
    if (cardCannotCarry(direction, kind, level))
        return ErrorCode::NotSupported;
    relinkIfNeeded();
    if (!m_port.isOpened())
        return ErrorCode::Disconnected;
    const bool download = direction == kDownload;
    if (!download && level > 0 && !sendsAsIs(type)) {
        // A compressed item of another type travels as temp, its type shown by the extension.
        if (const char* ext = FileExt(type))
            bare += ext;
        type = FileType::Temp;
    }

    m_direction = download ? kDownload : kUpload;
    m_remote.assign(remote);
    m_bareName = std::move(bare);
    m_local.assign(local);
    m_kind = kind;
    m_type = type;
    m_mode = mode;
    m_level = download ? 0 : level;
    m_options = options;
    m_timeout = timeout < 1 ? unsigned(kDefaultTimeout) : unsigned(timeout);
    m_progress = std::move(progressFn);
    m_total = 0;
    m_bytes.store(0);
    if (!download) {
        struct stat st {};
        if (::stat(m_local.c_str(), &st) == 0)
            m_total = std::uint64_t(st.st_size);
    }
    {
        std::lock_guard lock(m_mutex);
        m_sendResult = ErrorCode::Success;
        m_recvResult = ErrorCode::Success;
        m_localCrc = 0;
        m_remoteCrc = 0;
        m_state = 0;
        m_xoff = false;
    }
    m_stopWrites.store(false);
    m_owedLetter = 0;
    m_started = std::chrono::steady_clock::now();
    touch();
    progress(0, m_total, 0);

    // A download always needs the receive worker: the file comes back on it. Without a thread
    // to be had, the transfer is cancelled and that is its result.
    ErrorCode unstarted = ErrorCode::Success;
    std::thread sender, receiver;
    try {
        sender = std::thread([this] { sendThreadFunc(); });
        if (mode != 0 || download)
            receiver = std::thread([this] { recvThreadFunc(); });
    } catch (const std::system_error& e) {
        unstarted = e.code().value() ? systemError(e.code().value()) : ErrorCode::Api_Unknown;
        Cancel();
    }
    if (receiver.joinable())
        receiver.join();
    if (sender.joinable())
        sender.join();
    progress(m_bytes.load(), download ? m_bytes.load() : m_total, 2);
    m_progress = nullptr;

    ErrorCode result = unstarted;
    if (result == ErrorCode::Success) {
        std::lock_guard lock(m_mutex);
        result = m_recvResult != ErrorCode::Success ? m_recvResult : m_sendResult;
    }
    if (result != ErrorCode::Success)
        dropLink();
    return result;
}

void TextFileLoader::sendThreadFunc() {
    ErrorCode rc = sendData();
    {
        std::lock_guard lock(m_mutex);
        m_sendResult = rc;
        m_state |= StateFinished;
        if (rc != ErrorCode::Success)
            m_state |= StateError;
    }
    m_cv.notify_all();
}

void TextFileLoader::recvThreadFunc() {
    ErrorCode rc = recvData();
    if (rc != ErrorCode::Success)
        m_stopWrites.store(true); // a sender stuck on a full link has nobody to wait for
    {
        std::lock_guard lock(m_mutex);
        m_recvResult = rc;
        if (rc != ErrorCode::Success)
            m_state |= StateError;
        m_state |= StateFinished;
    }
    m_cv.notify_all();
}

ErrorCode TextFileLoader::sendData() { return m_direction == kDownload ? sendDownloadRequest() : sendUpload(); }

bool TextFileLoader::waitWritable(bool& timedOut) {
    std::unique_lock lock(m_mutex);
    const auto limit = std::chrono::milliseconds(m_timeout);
    while (m_xoff && m_state == 0) {
        if (m_cv.wait_for(lock, limit) == std::cv_status::timeout && m_xoff && m_state == 0) {
            timedOut = true;
            return false;
        }
    }
    return (m_state & (StateCancelled | StateAborted | StateError)) == 0;
}

ErrorCode TextFileLoader::writeLink(const char* data, std::size_t length, unsigned int* written) {
    // Only what arrives from the controller restarts the receive timeout, never our own writes.
    return m_port.Write(data, unsigned(length), m_timeout, &m_stopWrites, written);
}

namespace {

// The escape letter still owed when a write of escaped data stopped after `sent` of its bytes
// with an escape pair cut in two (0: it stopped between pairs).
char owedLetter(const char* escaped, std::size_t sent) {
    std::size_t i = 0;
    while (i < sent)
        i += escaped[i] == kESC ? 2 : 1;
    return i == sent + 1 ? escaped[sent] : 0;
}

} // namespace

ErrorCode TextFileLoader::writeData(const unsigned char* data, std::size_t length, bool& timedOut) {
    // The escaped form; gathered into one write, or one write per run and per escape pair.
    if (m_gatherWrites.load()) {
        if (m_escaped.size() < 2 * length)
            m_escaped.resize(2 * length);
        const std::size_t n = escapeInto(m_escaped.data(), data, length);
        if (!waitWritable(timedOut))
            return ErrorCode::Abort;
        unsigned int sent = 0;
        ErrorCode rc = writeLink(m_escaped.data(), n, &sent);
        if (rc != ErrorCode::Success && sent < n)
            m_owedLetter = owedLetter(m_escaped.data(), sent);
        return rc;
    }
    std::size_t run = 0;
    auto flushRun = [&](std::size_t end) -> ErrorCode {
        if (end == run)
            return ErrorCode::Success;
        if (!waitWritable(timedOut))
            return ErrorCode::Abort;
        return writeLink(reinterpret_cast<const char*>(data) + run, end - run);
    };
    for (std::size_t i = 0; i < length; ++i) {
        char letter = escapeLetter(data[i]);
        if (!letter)
            continue;
        if (ErrorCode rc = flushRun(i); rc != ErrorCode::Success)
            return rc;
        if (!waitWritable(timedOut))
            return ErrorCode::Abort;
        const char pair[2] = {kESC, letter};
        unsigned int sent = 0;
        if (ErrorCode rc = writeLink(pair, 2, &sent); rc != ErrorCode::Success) {
            if (sent == 1)
                m_owedLetter = letter;
            return rc;
        }
        run = i + 1;
    }
    return flushRun(length);
}

ErrorCode TextFileLoader::sendUpload() {
    log(EventType::Information, 0, format("Uploading %s ...", m_local.c_str()));
    File file(std::fopen(m_local.c_str(), "rb"));
    if (!file) {
        int err = errno;
        ErrorCode rc = systemError(err);
        log(EventType::Error, std::uint64_t(rc),
            format("Error opening %s, error(%i): %s", m_local.c_str(), err, std::strerror(err)));
        return rc;
    }
    const bool compress = m_level > 0;
    Deflater deflater;
    if (compress) {
        if (int z = deflater.init(m_level); z != Z_OK) {
            log(EventType::Error, std::uint64_t(ErrorCode::Compression),
                format("Data compressor initialization error: %d", z));
            return ErrorCode::Compression;
        }
    }

    std::uint8_t flags = 0;
    if (m_options.autorun)
        flags |= kFlagAutorun;
    if (compress && m_options.compressedFlag)
        flags |= kFlagCompressed;
    const std::string header = makeHeader(m_kind, m_bareName, flags, m_options.storage);
    bool timedOut = false;
    bool writeTimedOut = false;
    bool failedOther = false;
    bool stopped = !waitWritable(timedOut);
    if (!stopped) {
        if (ErrorCode rc = writeLink(header.data(), header.size()); rc != ErrorCode::Success) {
            log(EventType::Error, std::uint64_t(rc), "Port write error");
            return outcome(rc == ErrorCode::Timeout, true);
        }
    }

    CrcCalculator crc;
    crc.select("CRC-16");
    const std::size_t chunk = m_mode == 3 ? 1024 : 32768;
    std::vector<unsigned char> in(chunk);
    std::vector<unsigned char> packed;
    std::uint64_t done = 0;
    while (!stopped) {
        std::size_t n = std::fread(in.data(), 1, chunk, file.get());
        if (n < chunk && std::ferror(file.get())) {
            int err = errno;
            log(EventType::Error, std::uint64_t(systemError(err)),
                format("Error reading %s, error(%i): %s", m_local.c_str(), err, std::strerror(err)));
            // No ETX: the controller must not take what it has as the whole file. The link is
            // dropped when the transfer ends, which leaves the controller's copy incomplete.
            return systemError(err);
        }
        const bool last = n < chunk;
        const unsigned char* data = in.data();
        std::size_t length = n;
        if (compress) {
            packed.clear();
            if (int z = deflater.compress(in.data(), n, last, packed); z != Z_OK) {
                log(EventType::Error, std::uint64_t(ErrorCode::Compression), format("Compression error: %d", z));
                return ErrorCode::Compression;
            }
            data = packed.data();
            length = packed.size();
        }
        if (length) {
            crc.add(data, length);
            ErrorCode rc = writeData(data, length, timedOut);
            if (rc == ErrorCode::Abort)
                break; // a flag or a flow-control timeout stopped the sender
            if (rc == ErrorCode::Timeout) {
                // The controller has taken nothing for the whole timeout.
                log(EventType::Error, std::uint64_t(rc), "Port write error");
                timedOut = writeTimedOut = true;
                break;
            }
            if (rc != ErrorCode::Success) {
                log(EventType::Error, std::uint64_t(rc), "Port write error");
                failedOther = true;
                break;
            }
        }
        done += n;
        m_bytes.store(done);
        progress(done, m_total, 1);
        if (last)
            break;
    }

    // The end of the data, also after a cancel, an abort or a failed receive worker: the
    // controller must leave data mode. A stop may have cut an escape pair in two; its letter
    // goes first. This write is not stopped by the flags: on a congested link it waits for room
    // up to the timeout.
    if (!failedOther && !writeTimedOut) {
        char tail[2];
        std::size_t n = 0;
        if (m_owedLetter)
            tail[n++] = m_owedLetter;
        tail[n++] = kETX;
        m_owedLetter = 0;
        if (ErrorCode rc = m_port.Write(tail, unsigned(n), m_timeout, nullptr); rc != ErrorCode::Success) {
            log(EventType::Error, std::uint64_t(rc), "Port write error");
            failedOther = true;
            timedOut = rc == ErrorCode::Timeout;
        }
    }

    if (m_mode != 0 && !failedOther && !timedOut) {
        std::unique_lock lock(m_mutex);
        m_localCrc = crc.value();
        const auto stop = StateCrcReceived | StateAborted | StateCancelled | StateError;
        if (!m_cv.wait_for(lock, std::chrono::milliseconds(m_timeout), [&] { return (m_state & stop) != 0; })) {
            lock.unlock();
            log(EventType::Error, std::uint64_t(ErrorCode::Timeout), "Timeout waiting for CRC.");
            return ErrorCode::Timeout;
        }
    } else {
        std::lock_guard lock(m_mutex);
        m_localCrc = crc.value();
    }
    return outcome(timedOut, failedOther);
}

ErrorCode TextFileLoader::sendDownloadRequest() {
    const std::uint8_t flags = kFlagDownload | (m_options.autorun ? kFlagAutorun : 0);
    const std::string header = makeHeader(m_kind, m_bareName, flags, m_options.storage);
    bool timedOut = false;
    if (waitWritable(timedOut)) {
        if (ErrorCode rc = writeLink(header.data(), header.size()); rc != ErrorCode::Success) {
            log(EventType::Error, std::uint64_t(rc), "Port write error");
            return outcome(rc == ErrorCode::Timeout, true);
        }
    }
    {
        // The receive worker bounds this wait with its own idle timeout.
        std::unique_lock lock(m_mutex);
        const auto stop = StateCrcReceived | StateAborted | StateCancelled | StateError | StateFinished;
        m_cv.wait(lock, [&] { return (m_state & stop) != 0; });
    }
    return outcome(timedOut, false);
}

ErrorCode TextFileLoader::outcome(bool timedOut, bool failedOther) {
    std::uint32_t state;
    std::uint64_t local, remote;
    {
        std::lock_guard lock(m_mutex);
        state = m_state;
        local = m_localCrc;
        remote = m_remoteCrc;
    }
    const bool handshake = m_mode != 0 || m_direction == kDownload;
    if (state & StateCancelled) {
        log(EventType::Error, std::uint64_t(ErrorCode::Fail), "File transfer cancelled.");
        return ErrorCode::Fail;
    }
    if (state & StateAborted) {
        log(EventType::Error, std::uint64_t(ErrorCode::Fail), "File transfer aborted by the Movicor.");
        return ErrorCode::Fail;
    }
    if (timedOut) {
        log(EventType::Error, std::uint64_t(ErrorCode::Timeout), "Operation timed out.");
        return ErrorCode::Timeout;
    }
    if (handshake && (state & StateCrcReceived) && local != remote) {
        log(EventType::Error, std::uint64_t(ErrorCode::Fail),
            format("File transfer failed. CRC wrong (Local=$%lx, Controller=$%lx)", (unsigned long)local,
                   (unsigned long)remote));
        return ErrorCode::Fail;
    }
    if (failedOther || (state & StateError) || (handshake && !(state & StateCrcReceived))) {
        log(EventType::Error, std::uint64_t(ErrorCode::Fail), "Error in file transfer.");
        return ErrorCode::Fail;
    }
    if (m_direction != kDownload)
        log(EventType::Information, 0,
            format("Uploaded %s, (%lu bytes), Duration %lf sec", m_local.c_str(), (unsigned long)m_bytes.load(),
                   elapsedSeconds()));
    return ErrorCode::Success;
}

ErrorCode TextFileLoader::handleControl(std::string_view text, const ReceiveParser::ControlText& meaning) {
    log(EventType::Information, 0, format("Received: %.*s", int(text.size()), text.data()));
    switch (meaning.kind) {
    case ReceiveParser::Control::Crc: {
        std::lock_guard lock(m_mutex);
        m_remoteCrc = meaning.crc;
        m_state |= StateCrcReceived;
        break;
    }
    case ReceiveParser::Control::Abort: {
        std::lock_guard lock(m_mutex);
        m_state |= StateAborted;
        m_stopWrites.store(true);
        break;
    }
    case ReceiveParser::Control::Xon: {
        std::lock_guard lock(m_mutex);
        m_xoff = false;
        break;
    }
    case ReceiveParser::Control::Xoff: {
        std::lock_guard lock(m_mutex);
        m_xoff = true;
        return ErrorCode::Success;
    }
    default:
        return ErrorCode::Success;
    }
    m_cv.notify_all();
    return ErrorCode::Success;
}

namespace {

// Where the receive worker's parser output goes: control texts to the loader, and, for a
// download, file data into the local file and its CRC.
class ReceiveSink final : public ReceiveParser::Sink {
public:
    ReceiveSink(std::FILE* file, CrcCalculator& crc,
                std::function<ErrorCode(std::string_view, const ReceiveParser::ControlText&)> onText)
        : m_file(file), m_crc(crc), m_onText(std::move(onText)) {}
    ErrorCode data(const unsigned char* bytes, std::size_t length) override {
        if (!m_file)
            return ErrorCode::Success; // an upload's controller sends no data; ignore any
        m_crc.add(bytes, length);
        if (std::fwrite(bytes, 1, length, m_file) != length)
            return systemError(errno);
        m_received += length;
        return ErrorCode::Success;
    }
    ErrorCode control(std::string_view text, const ReceiveParser::ControlText& meaning) override {
        return m_onText(text, meaning);
    }
    std::uint64_t received() const { return m_received; }

private:
    std::FILE* m_file;
    CrcCalculator& m_crc;
    std::function<ErrorCode(std::string_view, const ReceiveParser::ControlText&)> m_onText;
    std::uint64_t m_received = 0;
};

} // namespace

ErrorCode TextFileLoader::recvData() {
    const bool download = m_direction == kDownload;
    File file;
    if (download) {
        log(EventType::Information, 0, format("Downloading %s ...", m_remote.c_str()));
        file.reset(std::fopen(m_local.c_str(), "wb"));
        if (!file) {
            int err = errno;
            ErrorCode rc = systemError(err);
            log(EventType::Error, std::uint64_t(rc),
                format("Error opening %s, error(%i): %s", m_local.c_str(), err, std::strerror(err)));
            return rc;
        }
    }

    CrcCalculator crc;
    crc.select("CRC-16");
    ReceiveSink sink(file.get(), crc, [&](std::string_view text, const ReceiveParser::ControlText& meaning) {
        if (download && meaning.kind == ReceiveParser::Control::Crc) {
            // The file's CRC is taken where the controller's arrives: every data byte is in.
            std::lock_guard lock(m_mutex);
            m_localCrc = crc.value();
        }
        return handleControl(text, meaning);
    });
    ReceiveParser parser;
    ErrorCode result = ErrorCode::Success;
    std::vector<char> buffer(kReadSize);
    const std::uint32_t stop = StateCancelled | StateAborted | StateCrcReceived | StateError;
    for (;;) {
        {
            std::lock_guard lock(m_mutex);
            if (m_state & stop)
                break;
        }
        unsigned int got = 0;
        ErrorCode rc = m_port.Read(buffer.data(), unsigned(buffer.size()), got, kReadSlice);
        if (rc == ErrorCode::Timeout || (rc == ErrorCode::Success && got == 0 && m_port.isOpened())) {
            if (nowMs() - m_lastActivity.load() >= std::int64_t(m_timeout)) {
                log(EventType::Error, std::uint64_t(ErrorCode::Timeout), "Data receive timeout");
                result = ErrorCode::Timeout;
                break;
            }
            continue;
        }
        if (rc != ErrorCode::Success || got == 0) {
            // The link is gone: closed by the controller, or by our sender giving up on it after
            // a cancel or an abort, which then decides the outcome.
            std::lock_guard lock(m_mutex);
            if (!(m_state & (StateCancelled | StateAborted))) {
                log(EventType::Error, std::uint64_t(ErrorCode::Fail), "File transfer link lost");
                result = ErrorCode::Fail;
            }
            break;
        }
        touch();
        result = parser.feed(buffer.data(), got, sink);
        if (download) {
            m_bytes.store(sink.received());
            progress(sink.received(), 0, 1);
        }
        if (result != ErrorCode::Success)
            break;
    }

    if (download) {
        struct stat st {};
        const bool regular = ::fstat(::fileno(file.get()), &st) == 0 && S_ISREG(st.st_mode);
        if (std::fclose(file.release()) != 0 && result == ErrorCode::Success)
            result = systemError(errno);
        std::uint32_t state;
        bool crcMatches;
        {
            std::lock_guard lock(m_mutex);
            state = m_state;
            crcMatches = m_localCrc == m_remoteCrc;
        }
        const bool complete = result == ErrorCode::Success && (state & StateCrcReceived) &&
                              !(state & (StateAborted | StateCancelled)) && crcMatches;
        // A file that did not arrive whole is not left behind to pass for the real one (a device
        // such as /dev/null is written to, never removed).
        if (!complete && regular)
            std::remove(m_local.c_str());
        if (complete)
            log(EventType::Information, 0,
                format("Downloaded %s, (%lu bytes), Duration %lf sec", m_remote.c_str(),
                       (unsigned long)sink.received(), elapsedSeconds()));
    }
    if (result == ErrorCode::Success) {
        std::lock_guard lock(m_mutex);
        if (m_state & StateAborted)
            result = ErrorCode::Fail;
    }
    return result;
}

bool TextFileLoader::cardCannotCarry(std::uint32_t direction, int kind, int level) {
    // The memory-card header has no flags digit: nothing in it asks for a file, and nothing
    // says the data is compressed (the card would keep the raw deflate stream).
    return kind == 1 && (direction == kDownload || level > 0);
}

bool TextFileLoader::Unsupported(std::uint32_t direction, std::string_view remote, int level) {
    int kind = 0;
    std::string bare;
    return GetDestination(remote, kind, bare) == ErrorCode::Success && cardCannotCarry(direction, kind, level);
}

ErrorCode TextFileLoader::GetLocalFileCRC(std::string_view path, bool compressed, std::uint64_t& crc, int level) {
    if (path.empty() || (compressed && (level < 1 || level > 9)))
        return ErrorCode::BadArgument;
    File file(std::fopen(std::string(path).c_str(), "rb"));
    if (!file)
        return systemError(errno);
    Deflater deflater;
    if (compressed && deflater.init(level) != Z_OK)
        return ErrorCode::Compression;
    CrcCalculator calc;
    calc.select("CRC-16");
    constexpr std::size_t chunk = 32768;
    std::vector<unsigned char> in(chunk);
    std::vector<unsigned char> packed;
    for (;;) {
        std::size_t n = std::fread(in.data(), 1, chunk, file.get());
        if (n < chunk && std::ferror(file.get()))
            return systemError(errno);
        const bool last = n < chunk;
        if (compressed) {
            packed.clear();
            if (deflater.compress(in.data(), n, last, packed) != Z_OK)
                return ErrorCode::Compression;
            calc.add(packed.data(), packed.size());
        } else {
            calc.add(in.data(), n);
        }
        if (last)
            break;
    }
    crc = calc.value();
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
