// One IPv4 stream socket to the controller: bounded connect, bounded reads, whole-block writes.
// Every failure is returned as an ErrorCode and reported to the owner's event callback; a fatal
// failure closes the socket so that the next operation fails fast.
#pragma once

#include <vaxo/Types.hpp>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// A timeout of this value waits without limit.
inline constexpr unsigned int kInfiniteTimeout = 0xFFFFFFFFu;

// Keepalive settings used on the command link: probe after 10 s idle, every 3 s, 3 times.
bool setTcpKeepalive(int descriptor);

class Socket {
public:
    // The callback is the owner's and must outlive the socket.
    explicit Socket(const EventCallback& eventLogger);
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    ErrorCode Open(std::string_view host, std::uint16_t port, unsigned int timeout, bool keepalive);
    void Close();
    void SetNoDelay(bool on);
    void SetSendBufferSize(int size);
    ErrorCode Write(const char* data, unsigned int length, int flags);
    // Writes the whole block without ever blocking for long: while the link takes no more
    // bytes it waits in slices of at most 50 ms, gives up with Timeout after `timeout` ms
    // without progress, and with Abort once `stop` (may be null) is set. The link stays open
    // then, possibly with part of the block sent: the owner decides whether it can go on, and
    // `written` (may be null) tells it how many bytes went.
    // Failures of the link itself are reported and close it as in Write.
    ErrorCode WriteBounded(const char* data, unsigned int length, unsigned int timeout,
                           const std::atomic<bool>* stop, unsigned int* written = nullptr);
    ErrorCode Read(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout, int flags);

    bool isOpened() const { return m_descriptor.load(std::memory_order_acquire) != -1; }
    std::string hostName() const;
    // Events reach the owner's callback in the order they were raised, never from under one of
    // the socket's locks, and never nested: an event raised while this socket's callback runs
    // (on any thread) is handed out by the thread already handing them out, once the callback
    // has returned.
    void AddLogEvent(EventType type, std::uint64_t value, std::string_view text);
    void AddLogEvent(EventType type, ErrorCode code, std::string_view text) {
        AddLogEvent(type, std::uint64_t(code), text);
    }

private:
    struct Event {
        EventType type;
        std::uint64_t value;
        std::string text;
    };
    // Appends an event in the order of the state changes (called under m_useMutex for the
    // "Connected to " and "Disconnected from " events); deliverEvents hands them out.
    void queueEvent(EventType type, std::uint64_t value, std::string text);
    void deliverEvents();

    // Reports errno as a system error with its description, closes, returns the code.
    ErrorCode failWithErrno(int err);

    const EventCallback& m_eventLogger;
    std::atomic<int> m_descriptor{-1};
    // Reads and writes run at the same time on their own threads and hold this shared while
    // they are inside a system call; Close takes it exclusively so that the descriptor is never
    // released (and possibly reused) under a running call. Close shuts the link down first
    // (holding it shared, so that the descriptor is still this socket's), so a blocked reader or
    // writer returns at once.
    mutable std::shared_mutex m_useMutex;
    mutable std::mutex m_hostMutex;
    std::string m_hostName;
    std::mutex m_eventMutex;
    std::deque<Event> m_events;
    bool m_delivering = false;
};

} // namespace Vaxo::Ubrix::Shared
