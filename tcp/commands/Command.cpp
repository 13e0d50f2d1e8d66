// The command base: ready handshake, error recording and the common reply readers.
#include "tcp/commands/Command.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "shared/parsers/TextReplyParsers.h"
#include "tcp/commands/ReplyFraming.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

std::atomic<std::uint32_t> Command::s_nextId{0};

Command::Command(Connection_TCP& connection)
    : m_connection(connection),
      m_sync(connection.getCachedSyncObject()),
      m_id(s_nextId.fetch_add(1, std::memory_order_relaxed)) {}

Command::~Command() { m_connection.returnCachedSyncObject(m_sync); }

namespace {

// Waiting for a reply by spinning saves the sleep and wake-up of a condition wait, but only
// while a core is free for the reader thread and the controller's side of the link. So at most
// a few waiters of the process spin at once (one on a two-core machine), and waiters spin only
// while recent spins usually caught their reply within the spin time: a failed spin costs
// credit, a caught one and a wait that slept without trying earn it back, so the spin is
// tried again now and then after it stopped paying.
constexpr auto kSpinTime = std::chrono::microseconds(100);
constexpr int kCreditMax = 16;
constexpr int kFailedSpinCost = 4;

std::atomic<int> s_spinners{0};
std::atomic<int> s_spinCredit{kCreditMax};

int maxSpinners() {
    static const int n = int(std::thread::hardware_concurrency() / 2); // none on one core
    return n;
}

bool takeSpinSlot() {
    if (s_spinCredit.load(std::memory_order_relaxed) <= 0) {
        s_spinCredit.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    int n = s_spinners.load(std::memory_order_relaxed);
    while (n < maxSpinners())
        if (s_spinners.compare_exchange_weak(n, n + 1, std::memory_order_acquire))
            return true;
    return false;
}

void releaseSpinSlot(bool caught) {
    s_spinners.fetch_sub(1, std::memory_order_release);
    int c = s_spinCredit.load(std::memory_order_relaxed);
    const int next = caught ? std::min(c + 1, kCreditMax) : std::max(c - kFailedSpinCost, -kCreditMax);
    s_spinCredit.compare_exchange_strong(c, next, std::memory_order_relaxed);
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

} // namespace

void Command::waitReady() {
    bool ready = m_ready.load(std::memory_order_acquire);
    if (!ready && takeSpinSlot()) {
        const auto deadline = std::chrono::steady_clock::now() + kSpinTime;
        for (int i = 1; !(ready = m_ready.load(std::memory_order_acquire)); ++i) {
            cpuRelax();
            if (i % 32 == 0 && std::chrono::steady_clock::now() >= deadline)
                break;
        }
        releaseSpinSlot(ready);
    }
    std::unique_lock lock(*m_sync);
    // With the flag seen set, passing through the mutex once makes sure that setReady has let
    // go of it and of the condition before this command (and its condition) leaves the
    // caller's stack.
    if (!ready)
        m_readyCondition.wait(lock, [this] { return m_ready.load(std::memory_order_acquire); });
}

void Command::setReady(ErrorCode code) {
    std::lock_guard lock(*m_sync);
    if (code != ErrorCode::Success)
        m_error = code;
    m_ready.store(true, std::memory_order_release);
    m_readyCondition.notify_all();
}

void Command::clearReady() {
    std::lock_guard lock(*m_sync);
    m_ready.store(false, std::memory_order_release);
    m_error = ErrorCode::Success;
}

ErrorCode Command::setError(ErrorCode code) {
    m_error = code;
    if (IsFatalError(code))
        m_connection.ReportFatal();
    return code;
}

ErrorCode Command::forceACK() { return m_connection.forceACK(m_id); }

ErrorCode Command::readStandardResponse(double* value, unsigned short* status) {
    return m_connection.GetResponse(value, status);
}

ErrorCode Command::readValueStatusReply() { return m_connection.GetValueStatusReply(); }

ErrorCode Command::readReplyToBuff(char* buffer, unsigned int& size, bool setErr) {
    Shared::CharTerminatedReplyParser parser(buffer, size);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    ErrorCode result = stringReplyRead(m_connection, m_id, parser, &reply);
    const auto length = parser.length();
    if (result == ErrorCode::Success && length >= size)
        result = ErrorCode::BufferTooSmall;
    else if (length < size)
        buffer[length] = '\0';
    size = unsigned(length + 1);
    if (setErr)
        setError(result);
    return result;
}

ErrorCode Command::readReplyToString(std::string& out) {
    Shared::ToStringParser parser(out);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    return setError(stringReplyRead(m_connection, m_id, parser, &reply));
}

ErrorCode Command::readReplyWithCallback(
    const std::function<void(const Shared::DataStreamPacket&, const char*)>& sink) {
    auto forward = [&sink](const Shared::DataStreamPacket& packet, const char* data) { sink(packet, data); };
    Shared::ForwardingParser<decltype(forward)> parser(forward);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    return setError(stringReplyRead(m_connection, m_id, parser, &reply));
}

ErrorCode CmdPumpPort::readReply() {
    char block[256];
    for (;;) {
        const ErrorCode e = m_connection.ReadBytes(block, sizeof block, 1);
        if (failed(e))
            return setError(e);
    }
}

} // namespace Vaxo::Ubrix::TCP
