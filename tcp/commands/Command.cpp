// The command base: ready handshake, error recording and the common reply readers.
#include "tcp/commands/Command.h"

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

void Command::waitReady() {
    // The reply to a short request usually arrives within a few tens of microseconds: a
    // short spin saves the sleep and wake-up of a condition wait in that case.
    for (int i = 0; i < 2000; ++i) {
        if (m_ready.load(std::memory_order_acquire)) {
            // Pass through the mutex once so that setReady has let go of it and of the
            // condition before this command (and its condition) leaves the caller's stack.
            std::lock_guard lock(*m_sync);
            return;
        }
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
    }
    std::unique_lock lock(*m_sync);
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
