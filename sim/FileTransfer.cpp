// The simulated controller's file-transfer server (see FileTransfer.h).
#include "sim/FileTransfer.h"

#include "sim/Listener.h"
#include "sim/ProgramStore.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <array>
#include <cctype>
#include <cstdio>

#include <zlib.h>

namespace Vaxo::Sim {

namespace {

constexpr char SOH = 0x01, STX = 0x02, ETX = 0x03, ESC = '\\', SEP = 0x1F;

// Bytes that end a run of plain upload data, and the escape letter of each data byte (0: bare).
constexpr std::array<bool, 256> kDataStop = [] {
    std::array<bool, 256> t{};
    for (char c : {SOH, STX, ETX, ESC})
        t[static_cast<unsigned char>(c)] = true;
    return t;
}();
constexpr std::array<char, 256> kEscapeOf = [] {
    std::array<char, 256> t{};
    t[static_cast<unsigned char>(ESC)] = '\\';
    t[1] = 'h';
    t[2] = 's';
    t[3] = 'e';
    return t;
}();

// Appends the escaped form of data to out, runs of bare bytes in one step.
void appendEscapedData(std::string& out, const std::uint8_t* data, std::size_t size) {
    out.reserve(out.size() + size + size / 8 + 16);
    std::size_t i = 0;
    while (i < size) {
        std::size_t j = i;
        while (j < size && !kEscapeOf[data[j]])
            ++j;
        out.append(reinterpret_cast<const char*>(data) + i, j - i);
        if (j == size)
            break;
        out.push_back(ESC);
        out.push_back(kEscapeOf[data[j]]);
        i = j + 1;
    }
}

// A control text: one STX opens it, ETX ends it. `twice` opens it with two STX, which a
// client must take the same way.
std::string control(std::string_view text, bool twice) {
    std::string s;
    s.push_back(STX);
    if (twice)
        s.push_back(STX);
    s.append(text);
    s.push_back(ETX);
    return s;
}

// The CRC text in the form the behaviour asks for; every form but Empty reads back as the
// number with "%lx".
std::string crcText(std::uint16_t crc, FileTransferServer::CrcForm form) {
    using F = FileTransferServer::CrcForm;
    const auto v = static_cast<unsigned long>(crc);
    char buf[48];
    switch (form) {
    case F::Upper: std::snprintf(buf, sizeof buf, "CRC=%lX", v); break;
    case F::Prefix0x: std::snprintf(buf, sizeof buf, "CRC=0x%lx", v); break;
    case F::Prefix0X: std::snprintf(buf, sizeof buf, "CRC=0X%lX", v); break;
    case F::Blanks: std::snprintf(buf, sizeof buf, "CRC= \t%lx", v); break;
    case F::Plus: std::snprintf(buf, sizeof buf, "CRC=+%lx", v); break;
    case F::Trailing: std::snprintf(buf, sizeof buf, "CRC=%lx;", v); break;
    case F::Empty: std::snprintf(buf, sizeof buf, "CRC="); break;
    case F::Lower:
    default: std::snprintf(buf, sizeof buf, "CRC=%lx", v); break;
    }
    return buf;
}

// Raw inflate fed piece by piece as compressed data arrives, so that little is left to do when
// the upload ends.
class StreamInflater {
public:
    StreamInflater() = default;
    ~StreamInflater() { end(); }
    StreamInflater(const StreamInflater&) = delete;
    StreamInflater& operator=(const StreamInflater&) = delete;

    void begin() {
        end();
        m_stream = z_stream{};
        m_active = inflateInit2(&m_stream, -15) == Z_OK;
        m_rc = m_active ? Z_OK : Z_STREAM_ERROR;
        m_out.clear();
    }
    void feed(const std::uint8_t* data, std::size_t size) {
        if (!m_active || m_rc != Z_OK || size == 0)
            return;
        m_stream.next_in = const_cast<Bytef*>(data);
        m_stream.avail_in = static_cast<uInt>(size);
        while (m_rc == Z_OK && m_stream.avail_in > 0) {
            const std::size_t used = m_out.size();
            const std::size_t room = std::max<std::size_t>(size * 4, 65536);
            m_out.resize(used + room);
            m_stream.next_out = m_out.data() + used;
            m_stream.avail_out = static_cast<uInt>(room);
            m_rc = inflate(&m_stream, Z_NO_FLUSH);
            m_out.resize(used + (room - m_stream.avail_out));
            if (m_rc == Z_BUF_ERROR)
                m_rc = Z_OK; // needs more input
        }
        if (m_rc == Z_STREAM_END && m_stream.avail_in > 0)
            m_rc = Z_DATA_ERROR; // bytes after the end of the stream
    }
    // True when the stream ended exactly with the data given; the inflated bytes go to out.
    bool finish(std::vector<std::uint8_t>& out) {
        const bool ok = m_active && m_rc == Z_STREAM_END;
        out.swap(m_out);
        end();
        return ok;
    }
    void end() {
        if (m_active)
            inflateEnd(&m_stream);
        m_active = false;
    }

private:
    z_stream m_stream{};
    bool m_active = false;
    int m_rc = Z_OK;
    std::vector<std::uint8_t> m_out;
};

// Parses the bytes between SOH and STX.
bool parseHeader(const std::string& h, TransferRecord& r) {
    if (h.size() > 3 && h.compare(0, 3, "SD:") == 0) {
        r.kind = 1;
        r.name = h.substr(3);
        return true;
    }
    if (h.size() < 5 || h.compare(0, 2, "00") != 0 || h[2] < '0' || h[2] > '7' || h[3] < '0' || h[3] > '9')
        return false;
    r.flags = std::uint8_t(h[2] - '0');
    r.storage = std::uint8_t(h[3] - '0');
    r.download = (r.flags & 4) != 0;
    if (h[4] == SEP) {
        if (h.size() < 8 || h[5] != '1' || h[6] != SEP)
            return false;
        r.kind = 3;
        r.name = h.substr(7);
    } else {
        r.kind = 2;
        r.name = h.substr(4);
    }
    return !r.name.empty();
}

std::string keyOf(const TransferRecord& r) {
    switch (r.kind) {
    case 1: return "SD:" + r.name;
    case 3: return "/" + r.name;
    default: return r.name;
    }
}

// Program name and type number of a program-directory file name ("MAIN.bas" -> "MAIN", 0).
std::pair<std::string, int> programOf(const std::string& file) {
    static const std::pair<const char*, int> types[] = {
        {".bas", 0}, {".enc", 1}, {".gco", 2}, {".txt", 3}, {".iec", 4}, {".tmp", 6}, {".bin", 8},
        {".mvc", 9}, {".bal", 12}, {".ebl", 13}, {".vtx", 15}, {".recp", 21}, {".alrm", 22},
    };
    auto dot = file.rfind('.');
    if (dot == std::string::npos)
        return {file, 0};
    std::string ext = file.substr(dot);
    for (auto& c : ext)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    for (auto& [e, t] : types)
        if (ext == e)
            return {file.substr(0, dot), t};
    return {file, 0};
}

} // namespace

void FileTransferServer::attach(Simulator& sim) { sim_ = &sim; }

namespace {

// crcTables[0] is the byte table, built bit by bit; crcTables[k][v] is the CRC register after
// byte v followed by k zero bytes, each row built from the one before with the byte table.
using CrcTables = std::array<std::array<std::uint16_t, 256>, 8>;
const CrcTables& crcTables() {
    static const CrcTables tables = [] {
        CrcTables t{};
        for (unsigned v = 0; v < 256; ++v) {
            std::uint16_t crc = std::uint16_t(v << 8);
            for (int b = 0; b < 8; ++b)
                crc = (crc & 0x8000) ? std::uint16_t((crc << 1) ^ 0x8005) : std::uint16_t(crc << 1);
            t[0][v] = crc;
        }
        for (unsigned k = 1; k < 8; ++k)
            for (unsigned v = 0; v < 256; ++v)
                t[k][v] = std::uint16_t((t[k - 1][v] << 8) ^ t[0][t[k - 1][v] >> 8]);
        return t;
    }();
    return tables;
}

} // namespace

std::uint16_t simCrc16(const std::uint8_t* data, std::size_t length) {
    const auto& table = crcTables()[0];
    std::uint16_t crc = 0;
    for (std::size_t i = 0; i < length; ++i)
        crc = std::uint16_t((crc << 8) ^ table[((crc >> 8) ^ data[i]) & 0xFF]);
    return crc;
}

std::uint16_t simCrc16Update(std::uint16_t crc, const std::uint8_t* data, std::size_t length) {
    // Eight bytes per step: the register's two bytes fold into the first two data bytes, and
    // each of the eight bytes is then pushed through the rest of the block by its own table.
    const auto& t = crcTables();
    for (; length >= 8; length -= 8, data += 8) {
        const unsigned hi = unsigned(data[0]) ^ (crc >> 8);
        const unsigned lo = unsigned(data[1]) ^ (crc & 0xFF);
        crc = std::uint16_t(t[7][hi] ^ t[6][lo] ^ t[5][data[2]] ^ t[4][data[3]] ^ t[3][data[4]] ^ t[2][data[5]] ^
                            t[1][data[6]] ^ t[0][data[7]]);
    }
    for (; length; --length, ++data)
        crc = std::uint16_t((crc << 8) ^ t[0][((crc >> 8) ^ *data) & 0xFF]);
    return crc;
}

FileTransferServer::~FileTransferServer() { stop(); }

std::uint16_t FileTransferServer::start(std::uint16_t port) {
    if (listenFd_ >= 0)
        return port_;
    std::uint16_t bound = 0;
    const int fd = listenOnLoopback(port, 16, bound);
    if (fd < 0)
        return 0;
    port_ = bound;
    listenFd_ = fd;
    stopping_ = false;
    acceptThread_ = std::thread([this] { acceptLoop(); });
    return port_;
}

void FileTransferServer::stop() {
    if (listenFd_ < 0)
        return;
    stopping_ = true;
    ::shutdown(listenFd_, SHUT_RDWR);
    if (acceptThread_.joinable())
        acceptThread_.join();
    ::close(listenFd_);
    listenFd_ = -1;
    std::list<std::unique_ptr<Conn>> conns;
    {
        std::lock_guard lock(connMutex_);
        conns.swap(conns_);
    }
    for (auto& c : conns) {
        ::shutdown(c->fd, SHUT_RDWR);
        if (c->thread.joinable())
            c->thread.join();
        ::close(c->fd);
    }
}

void FileTransferServer::acceptLoop() {
    while (!stopping_) {
        pollfd p{listenFd_, POLLIN, 0};
        int r = ::poll(&p, 1, 50);
        if (r <= 0)
            continue;
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            continue;
        int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        std::lock_guard lock(connMutex_);
        for (auto it = conns_.begin(); it != conns_.end();) {
            if ((*it)->done) {
                (*it)->thread.join();
                ::close((*it)->fd);
                it = conns_.erase(it);
            } else {
                ++it;
            }
        }
        auto c = std::make_unique<Conn>();
        c->fd = fd;
        Conn* raw = c.get();
        conns_.push_back(std::move(c));
        raw->thread = std::thread([this, raw] {
            serve(*raw);
            raw->done = true;
        });
    }
}

bool FileTransferServer::sendAll(int fd, const std::string& bytes) {
    std::size_t off = 0;
    while (off < bytes.size()) {
        ssize_t n = ::send(fd, bytes.data() + off, bytes.size() - off, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        off += std::size_t(n);
    }
    return true;
}

void FileTransferServer::setBehaviour(Behaviour b) {
    std::lock_guard lock(mutex_);
    behaviour_ = std::move(b);
}

void FileTransferServer::putFile(const std::string& key, std::vector<std::uint8_t> data) {
    std::lock_guard lock(mutex_);
    files_[key].data = std::move(data);
}

std::optional<std::vector<std::uint8_t>> FileTransferServer::file(const std::string& key) const {
    std::lock_guard lock(mutex_);
    auto it = files_.find(key);
    if (it == files_.end())
        return std::nullopt;
    return it->second.data;
}

std::optional<StoredFile> FileTransferServer::stored(const std::string& key) const {
    std::lock_guard lock(mutex_);
    auto it = files_.find(key);
    if (it == files_.end())
        return std::nullopt;
    return it->second;
}

std::vector<std::string> FileTransferServer::names() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> out;
    for (auto& [k, v] : files_)
        out.push_back(k);
    return out;
}

std::vector<TransferRecord> FileTransferServer::transfers() const {
    std::lock_guard lock(mutex_);
    return records_;
}

void FileTransferServer::clearTransfers() {
    std::lock_guard lock(mutex_);
    records_.clear();
}

void FileTransferServer::serve(Conn& c) {
    using Clock = std::chrono::steady_clock;
    enum { Idle, Header, Data, DataEscape } st = Idle;
    std::string header;
    TransferRecord rec;
    Behaviour b;
    std::size_t count = 0;
    bool abortSent = false, xoffSent = false, xonSent = false;
    std::size_t countAtXon = 0;
    Clock::time_point xoffAt;
    std::vector<char> buf(1 << 18);
    // The CRC of an upload's payload runs along as the data arrives: payload[0, crcDone).
    std::uint16_t crcRun = 0;
    // A compressed upload is inflated as it arrives: payload[0, inflateDone) is in.
    StreamInflater inflater;
    std::size_t inflateDone = 0;
    std::size_t crcDone = 0;
    bool leave = false;
    // Reading paused once per upload (Behaviour::pauseReadingAfter): until when.
    bool pauseDone = false;
    bool paused = false;
    Clock::time_point dataSince{};
    Clock::time_point pausedUntil{};
    auto text = [&](std::string_view t) { return control(t, b.doubleStx); };

    auto finish = [&](TransferRecord& r) {
        std::lock_guard lock(mutex_);
        records_.push_back(std::move(r));
        r = TransferRecord{};
    };
    // The link goes down under the client: no answer, the transfer recorded as cut off.
    auto hangUp = [&](TransferRecord& r, const char* why) {
        r.failure = why;
        finish(r);
        ::shutdown(c.fd, SHUT_RDWR);
        leave = true;
    };
    // Each transfer is recorded before its answer goes out, so a client that has the answer
    // finds the record.
    auto download = [&](TransferRecord& r) -> std::string {
        std::optional<std::vector<std::uint8_t>> data;
        {
            std::lock_guard lock(mutex_);
            auto it = files_.find(keyOf(r));
            if (it != files_.end())
                data = it->second.data;
        }
        if (!data && sim_ && r.kind == 2) {
            std::string program = programOf(r.name).first;
            sim_->withState([&](Controller& ctl) {
                if (const StoredProgram* p = programStore(ctl).find(program))
                    data.emplace(p->text.begin(), p->text.end());
            });
        }
        if (b.stall)
            return {};
        if (!data) {
            r.failure = "no such file";
            return text("ABORT");
        }
        std::string out = text("FILE");
        if (b.closeAfter < data->size()) {
            appendEscapedData(out, data->data(), b.closeAfter);
            sendAll(c.fd, out);
            hangUp(r, "closed");
            return {};
        }
        std::size_t limit = std::min(b.abortAfter, data->size());
        appendEscapedData(out, data->data(), limit);
        if (limit < data->size()) {
            out += text(b.abortText);
            r.failure = "aborted";
        } else {
            std::uint16_t crc = simCrc16Update(0, data->data(), data->size());
            r.crc = crc;
            out += text(crcText(b.wrongCrc ? std::uint16_t(crc ^ 1) : crc, b.crcForm));
            r.ok = true;
        }
        return out;
    };
    auto endUpload = [&](TransferRecord& r) -> std::string {
        r.crc = simCrc16Update(crcRun, r.payload.data() + crcDone, r.payload.size() - crcDone);
        StoredFile f;
        f.kind = r.kind;
        f.storage = r.storage;
        f.autorun = (r.flags & 2) != 0;
        if (r.failure.empty()) {
            if (r.flags & 1) {
                inflater.feed(r.payload.data() + inflateDone, r.payload.size() - inflateDone);
                if (!inflater.finish(f.data))
                    r.failure = "inflate failed";
            } else if (b.keepWire) {
                f.data = r.payload;
            } else {
                f.data.swap(r.payload); // the record keeps no bytes
            }
        }
        if (!b.keepWire)
            std::vector<std::uint8_t>().swap(r.payload);
        if (r.failure.empty()) {
            r.ok = true;
            const std::string key = keyOf(r);
            if (sim_ && r.kind == 2) {
                auto [program, type] = programOf(r.name);
                std::string text(f.data.begin(), f.data.end());
                sim_->withState([&, program = program, type = type](Controller& ctl) {
                    programStore(ctl).put(program, std::move(text), type);
                });
            }
            if (onStored) {
                {
                    std::lock_guard lock(mutex_);
                    files_[key] = f;
                }
                onStored(key, f);
            } else {
                std::lock_guard lock(mutex_);
                files_[key] = std::move(f);
            }
        }
        if (xoffSent && xonSent)
            afterXon_ = count - countAtXon;
        if (abortSent || b.stall)
            return {};
        if (!r.failure.empty())
            return text("ABORT");
        return text(crcText(b.wrongCrc ? std::uint16_t(r.crc ^ 1) : r.crc, b.crcForm));
    };
    auto finishAndAnswer = [&](TransferRecord& r, const std::string& answer) {
        finish(r);
        if (!answer.empty())
            sendAll(c.fd, answer);
    };
    // A client whose controller has stopped reading: its bytes pile up in the socket buffers
    // until it gives up and closes the link.
    auto stopReading = [&](TransferRecord& r) {
        r.failure = "stopped reading";
        finish(r);
        while (!stopping_) {
            pollfd p{c.fd, POLLRDHUP, 0};
            int n = ::poll(&p, 1, 20);
            if (n < 0 && errno != EINTR)
                break;
            if (n > 0 && (p.revents & (POLLRDHUP | POLLHUP | POLLERR)))
                break;
        }
        leave = true;
    };

    while (!stopping_ && !leave) {
        if (xoffSent && !xonSent) {
            if (Clock::now() - xoffAt >= std::chrono::milliseconds(b.xoffMs)) {
                countAtXon = count;
                xonSent = true;
                sendAll(c.fd, text("XON"));
            }
        }
        if (!abortSent && b.abortAfterMs && (st == Data || st == DataEscape) &&
            Clock::now() - dataSince >= std::chrono::milliseconds(b.abortAfterMs)) {
            // Sent whether or not the data is being read: an abort on a congested link.
            abortSent = true;
            rec.failure = "aborted";
            sendAll(c.fd, text(b.abortText));
        }
        if (paused) {
            // Congested on purpose: nothing is read, so the client's writes fill the buffers.
            if (Clock::now() < pausedUntil) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                continue;
            }
            paused = false;
        }
        pollfd p{c.fd, POLLIN, 0};
        int r = ::poll(&p, 1, 5);
        if (r < 0 && errno != EINTR)
            break;
        if (r <= 0)
            continue;
        std::size_t want = buf.size();
        if (b.slowReadMs && (st == Data || st == DataEscape)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(b.slowReadMs));
            want = 64 * 1024;
        }
        ssize_t n = ::recv(c.fd, buf.data(), want, 0);
        if (n <= 0)
            break;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buf.data());
        for (ssize_t i = 0; i < n && !leave; ++i) {
            const char ch = buf[std::size_t(i)];
            switch (st) {
            case Idle:
                if (ch == SOH) {
                    header.clear();
                    st = Header;
                } else {
                    // Between transfers only a header may start: a second ETX, or data after
                    // the end, is no part of any transfer.
                    ++stray_;
                }
                break;
            case Header:
                if (ch == STX) {
                    rec = TransferRecord{};
                    rec.header = std::string(1, SOH) + header + std::string(1, STX);
                    {
                        std::lock_guard lock(mutex_);
                        b = behaviour_;
                    }
                    if (!parseHeader(header, rec)) {
                        rec.kind = 0;
                        rec.failure = "bad header";
                        sendAll(c.fd, text("ABORT"));
                        finish(rec);
                        st = Idle;
                    } else if (rec.download) {
                        std::string answer = download(rec);
                        if (!leave)
                            finishAndAnswer(rec, answer);
                        st = Idle;
                    } else {
                        count = 0;
                        crcRun = 0;
                        inflateDone = 0;
                        if (rec.flags & 1)
                            inflater.begin();
                        crcDone = 0;
                        abortSent = xoffSent = xonSent = false;
                        pauseDone = false;
                        dataSince = Clock::now();
                        st = Data;
                    }
                } else if (header.size() > 300) {
                    st = Idle;
                } else {
                    header.push_back(ch);
                }
                break;
            case Data:
            case DataEscape:
                if (st == DataEscape) {
                    if (b.keepWire)
                        rec.wire.push_back(std::uint8_t(ch));
                    ++count;
                    int v = ch == '\\' ? '\\' : ch == 'h' ? 1 : ch == 's' ? 2 : ch == 'e' ? 3 : -1;
                    if (v < 0 && rec.failure.empty())
                        rec.failure = "bad escape";
                    rec.payload.push_back(std::uint8_t(v));
                    st = Data;
                } else if (ch == ETX) {
                    rec.endedByEtx = true;
                    std::string answer = endUpload(rec);
                    finishAndAnswer(rec, answer);
                    st = Idle;
                    break;
                } else if (!kDataStop[bytes[i]]) {
                    // A run of plain data bytes in one step.
                    ssize_t j = i;
                    while (j < n && !kDataStop[bytes[j]])
                        ++j;
                    if (b.keepWire)
                        rec.wire.insert(rec.wire.end(), bytes + i, bytes + j);
                    rec.payload.insert(rec.payload.end(), bytes + i, bytes + j);
                    count += std::size_t(j - i);
                    i = j - 1;
                } else {
                    if (b.keepWire)
                        rec.wire.push_back(std::uint8_t(ch));
                    ++count;
                    if (ch == ESC) {
                        st = DataEscape;
                    } else { // a bare SOH or STX
                        if (rec.failure.empty())
                            rec.failure = "bare control byte in data";
                        rec.payload.push_back(std::uint8_t(ch));
                    }
                }
                if (!xoffSent && count >= b.xoffAfter) {
                    xoffSent = true;
                    xoffAt = Clock::now();
                    sendAll(c.fd, text("XOFF"));
                }
                if (!abortSent && count >= b.abortAfter) {
                    abortSent = true;
                    rec.failure = "aborted";
                    sendAll(c.fd, text(b.abortText));
                }
                if (count >= b.closeAfter) {
                    hangUp(rec, "closed");
                } else if (count >= b.stopReadingAfter) {
                    stopReading(rec);
                } else if (!pauseDone && count >= b.pauseReadingAfter) {
                    // The rest of this read is handled; the next read waits out the pause.
                    pauseDone = true;
                    paused = true;
                    pausedUntil = Clock::now() + std::chrono::milliseconds(b.pauseReadingMs);
                }
                break;
            }
        }
        if (!leave && (st == Data || st == DataEscape)) {
            crcRun = simCrc16Update(crcRun, rec.payload.data() + crcDone, rec.payload.size() - crcDone);
            crcDone = rec.payload.size();
            if (rec.flags & 1) {
                inflater.feed(rec.payload.data() + inflateDone, rec.payload.size() - inflateDone);
                inflateDone = rec.payload.size();
            }
        }
    }
}

} // namespace Vaxo::Sim
