// The command link's socket (see Socket.h).
#include "shared/transport/Socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace Vaxo::Ubrix::Shared {

namespace {

std::string errnoText(int err) {
    char buf[256];
    // GNU strerror_r returns a pointer that may or may not be buf.
    const char* text = strerror_r(err, buf, sizeof buf);
    return text ? std::string(text) : std::string();
}

// Waits for the descriptor to become ready. Returns what poll returns. poll rather than
// select: a host with many open files may hand us a descriptor beyond FD_SETSIZE.
int waitReady(int fd, short events, unsigned int timeout) {
    pollfd p{fd, events, 0};
    int ms = timeout == kInfiniteTimeout ? -1 : int(timeout > 0x7FFFFFFFu ? 0x7FFFFFFFu : timeout);
    for (;;) {
        int r = ::poll(&p, 1, ms);
        if (r < 0 && errno == EINTR)
            continue;
        return r;
    }
}

bool setNonBlocking(int fd, bool on) {
    int value = on ? 1 : 0;
    return ::ioctl(fd, FIONBIO, &value) == 0;
}

// The host name is resolved as a name first; a failed resolution falls back to inet_addr with
// the result passed through ntohl, as the link has always done it.
in_addr_t resolveHost(const std::string& host) {
    // A dotted address resolves to itself: no need to go through the resolver, which is not
    // free of shared state when many links open at once.
    in_addr numeric{};
    if (::inet_pton(AF_INET, host.c_str(), &numeric) == 1)
        return numeric.s_addr;
    hostent entry{};
    hostent* result = nullptr;
    int herr = 0;
    std::vector<char> work(2048);
    for (;;) {
        int rc = ::gethostbyname_r(host.c_str(), &entry, work.data(), work.size(), &result, &herr);
        if (rc == ERANGE && work.size() < 65536) {
            work.resize(work.size() * 2);
            continue;
        }
        break;
    }
    if (result && result->h_addrtype == AF_INET && result->h_addr_list && result->h_addr_list[0]) {
        in_addr_t a;
        std::memcpy(&a, result->h_addr_list[0], sizeof a);
        return a;
    }
    return ntohl(::inet_addr(host.c_str()));
}

} // namespace

bool setTcpKeepalive(int descriptor) {
    int on = 1, idle = 10, interval = 3, count = 3;
    bool ok = ::setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) == 0;
    ok = (::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof idle) == 0) && ok;
    ok = (::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &interval, sizeof interval) == 0) && ok;
    ok = (::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPCNT, &count, sizeof count) == 0) && ok;
    return ok;
}

Socket::Socket(const EventCallback& eventLogger) : m_eventLogger(eventLogger) {}

Socket::~Socket() { Close(); }

void Socket::queueEvent(EventType type, std::uint64_t value, std::string text) {
    std::lock_guard lock(m_eventMutex);
    m_events.push_back({type, value, std::move(text)});
}

void Socket::deliverEvents() {
    std::unique_lock lock(m_eventMutex);
    if (m_delivering)
        return; // the thread handing them out takes this one too, in its turn
    m_delivering = true;
    while (!m_events.empty()) {
        Event event = std::move(m_events.front());
        m_events.pop_front();
        lock.unlock();
        try {
            if (m_eventLogger)
                m_eventLogger(event.type, event.value, event.text);
        } catch (...) {
            // A host's callback that throws loses its event, not the link.
        }
        lock.lock();
    }
    m_delivering = false;
}

void Socket::AddLogEvent(EventType type, std::uint64_t value, std::string_view text) {
    queueEvent(type, value, std::string(text));
    deliverEvents();
}

std::string Socket::hostName() const {
    std::lock_guard lock(m_hostMutex);
    return m_hostName;
}

ErrorCode Socket::failWithErrno(int err) {
    ErrorCode code = systemError(err);
    AddLogEvent(EventType::Error, code, errnoText(err));
    Close();
    return code;
}

ErrorCode Socket::Open(std::string_view hostView, std::uint16_t port, unsigned int timeout, bool keepalive) {
    Close();
    std::string host(hostView);

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = resolveHost(host);

    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd == -1) {
        ErrorCode code = systemError(errno);
        AddLogEvent(EventType::Error, code, "");
        return code;
    }
    {
        std::unique_lock lock(m_useMutex);
        m_descriptor.store(fd, std::memory_order_release);
    }

    // Everything done to the descriptor is done holding the use lock shared: a Close on another
    // thread then waits until we let go, and the number is never one that was handed on.
    enum { Connected, Quiet, Failed, TimedOut, Gone } outcome = Connected;
    int err = 0;
    bool keepaliveFailed = false;
    {
        std::shared_lock lock(m_useMutex);
        if (m_descriptor.load(std::memory_order_acquire) != fd) {
            outcome = Gone;
        } else if (!setNonBlocking(fd, true)) {
            outcome = Quiet;
        } else if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 &&
                   (err = errno) != EINPROGRESS && err != EAGAIN) {
            outcome = Failed;
        } else {
            if (err == EINPROGRESS || err == EAGAIN) {
                const int r = waitReady(fd, POLLOUT, timeout);
                if (r < 0)
                    err = errno, outcome = Failed;
                else if (r == 0)
                    outcome = TimedOut;
            }
            if (outcome == Connected && !setNonBlocking(fd, false))
                outcome = Quiet;
            if (outcome == Connected && keepalive)
                keepaliveFailed = !setTcpKeepalive(fd);
        }
    }
    switch (outcome) {
    case Connected:
        break;
    case Quiet: // the descriptor would not change mode: closed without a report
        Close();
        return ErrorCode::Success;
    case Failed: {
        ErrorCode code = systemError(err);
        AddLogEvent(EventType::Error, code, "");
        Close();
        return code;
    }
    case TimedOut:
        AddLogEvent(EventType::Error, ErrorCode::Timeout, "Timeout connecting to the port");
        Close();
        return ErrorCode::Timeout;
    case Gone:
        return ErrorCode::Abort;
    }
    if (keepaliveFailed)
        AddLogEvent(EventType::Warning, 0, "Failed to set keepalive option");

    {
        std::unique_lock lock(m_useMutex);
        if (m_descriptor.load(std::memory_order_acquire) != fd)
            return ErrorCode::Abort; // closed by another thread while connecting
        {
            std::lock_guard host_lock(m_hostMutex);
            m_hostName = host;
        }
        queueEvent(EventType::Information, 0, "Connected to " + host);
    }
    deliverEvents();
    return ErrorCode::Success;
}

void Socket::Close() {
    {
        // Wake any reader or writer blocked on the link before waiting for them to leave; the
        // shared hold makes sure the descriptor shut down is still this socket's.
        std::shared_lock lock(m_useMutex);
        const int fd = m_descriptor.load(std::memory_order_acquire);
        if (fd == -1)
            return;
        ::shutdown(fd, SHUT_RDWR);
    }
    {
        std::unique_lock lock(m_useMutex);
        const int fd = m_descriptor.exchange(-1, std::memory_order_acq_rel);
        if (fd == -1)
            return; // another thread closed it meanwhile
        ::close(fd);
        std::string host;
        {
            std::lock_guard hostLock(m_hostMutex);
            host.swap(m_hostName);
        }
        if (!host.empty())
            queueEvent(EventType::Information, 0, "Disconnected from " + host);
    }
    deliverEvents();
}

void Socket::SetNoDelay(bool on) {
    int value = on ? 1 : 0;
    bool ok;
    {
        std::shared_lock lock(m_useMutex);
        ok = ::setsockopt(m_descriptor.load(), IPPROTO_TCP, TCP_NODELAY, &value, sizeof value) == 0;
    }
    if (!ok)
        AddLogEvent(EventType::Warning, 0, "Failed to set no-delay option");
}

void Socket::SetSendBufferSize(int size) {
    bool ok;
    {
        std::shared_lock lock(m_useMutex);
        ok = ::setsockopt(m_descriptor.load(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size) == 0;
    }
    if (!ok)
        AddLogEvent(EventType::Warning, 0, "Failed to set send buffer size");
}

ErrorCode Socket::Write(const char* data, unsigned int length, int flags) {
    ssize_t sent;
    int err = 0;
    {
        std::shared_lock lock(m_useMutex);
        int fd = m_descriptor.load(std::memory_order_acquire);
        if (fd == -1) {
            sent = -1;
            err = EBADF;
        } else {
            // A peer that has gone must give an error here, never a SIGPIPE in the host.
            do {
                sent = ::send(fd, data, length, flags | MSG_NOSIGNAL);
            } while (sent < 0 && errno == EINTR);
            err = errno;
        }
    }
    if (sent == -1) {
        ErrorCode code = systemError(err);
        AddLogEvent(EventType::Error, code, errnoText(err));
        Close();
        return code;
    }
    if (std::size_t(sent) != length) {
        Close();
        return ErrorCode::SocketWrite;
    }
    return ErrorCode::Success;
}

ErrorCode Socket::WriteBounded(const char* data, unsigned int length, unsigned int timeout,
                               const std::atomic<bool>* stop, unsigned int* written) {
    constexpr unsigned int kSlice = 50; // ms between looks at `stop`
    using Clock = std::chrono::steady_clock;
    std::size_t done = 0;
    if (written)
        *written = 0;
    auto lastProgress = Clock::now();
    auto stopped = [&] { return stop && stop->load(std::memory_order_acquire); };
    while (done < length) {
        ssize_t sent = -1;
        int err = 0;
        {
            std::shared_lock lock(m_useMutex);
            int fd = m_descriptor.load(std::memory_order_acquire);
            if (fd == -1) {
                err = EBADF;
            } else {
                do {
                    sent = ::send(fd, data + done, length - done, MSG_DONTWAIT | MSG_NOSIGNAL);
                } while (sent < 0 && errno == EINTR);
                err = errno;
                if (sent < 0 && (err == EAGAIN || err == EWOULDBLOCK)) {
                    // Full: wait a slice for room, unless the caller has already given up.
                    sent = 0;
                    if (!stopped()) {
                        unsigned int waited = unsigned(
                            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - lastProgress)
                                .count());
                        unsigned int left = timeout == kInfiniteTimeout ? kSlice
                                            : waited >= timeout       ? 0
                                                                      : timeout - waited;
                        if (left > 0 && waitReady(fd, POLLOUT, std::min(left, kSlice)) < 0)
                            err = errno, sent = -1;
                    }
                }
            }
        }
        if (sent < 0) {
            ErrorCode code = systemError(err);
            AddLogEvent(EventType::Error, code, errnoText(err));
            Close();
            return code;
        }
        if (sent > 0) {
            done += std::size_t(sent);
            if (written)
                *written = unsigned(done);
            lastProgress = Clock::now();
            continue;
        }
        const bool timedOut = timeout != kInfiniteTimeout &&
                              Clock::now() - lastProgress >= std::chrono::milliseconds(timeout);
        if (stopped() || timedOut)
            return timedOut && !stopped() ? ErrorCode::Timeout : ErrorCode::Abort;
    }
    return ErrorCode::Success;
}

ErrorCode Socket::Read(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout, int flags) {
    got = 0;
    if (size == 0)
        return ErrorCode::Success; // recv would report 0 bytes as a closed link
    enum { Ready, Idle, Failed } outcome;
    ssize_t count = 0;
    int err = 0;
    {
        std::shared_lock lock(m_useMutex);
        int fd = m_descriptor.load(std::memory_order_acquire);
        if (fd == -1) {
            outcome = Failed;
            err = EBADF;
        } else {
            int r = waitReady(fd, POLLIN, timeout);
            if (r < 0) {
                outcome = Failed;
                err = errno;
            } else if (r == 0) {
                outcome = Idle;
            } else {
                outcome = Ready;
                do {
                    count = ::recv(fd, buffer, size, flags);
                } while (count < 0 && errno == EINTR);
                err = errno;
            }
        }
    }
    switch (outcome) {
    case Failed:
        return failWithErrno(err);
    case Idle:
        return timeout != 0 ? ErrorCode::Timeout : ErrorCode::Success;
    case Ready:
        break;
    }
    if (count == -1)
        return failWithErrno(err);
    if (count == 0) {
        Close(); // the peer closed the link
        return ErrorCode::Success;
    }
    if (count < 1) {
        AddLogEvent(EventType::Error, ErrorCode::SocketRead, "Unexpected received byte count");
        Close();
        return ErrorCode::SocketRead;
    }
    got = unsigned(count);
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
