// Connection lifecycle: settings, the open sequence in its fixed order, close, fatal errors,
// and the operations that map one to one onto command classes.
#include "tcp/connection/Connection_TCP.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "tcp/commands/Parameters.h"
#include "tcp/commands/Programs.h"
#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

using Shared::EventType;

namespace {
const Shared::ConnectionBase::Hooks s_hooks{
    [](const Shared::ConnectionBase& c) { return static_cast<const Connection_TCP&>(c).hostNameText(); },
    [](const Shared::ConnectionBase& c) { return static_cast<const Connection_TCP&>(c).inReaderThread(); },
};
} // namespace

Connection_TCP::Connection_TCP(Shared::EventCallback logger)
    : ConnectionBase(std::move(logger), s_hooks), m_port(m_logger), m_token(m_logger) {}

Connection_TCP::~Connection_TCP() {
    try {
        CloseConnection();
    } catch (...) {
    }
    m_paramBlocks.clear();
}

bool Connection_TCP::IsConnected() const {
    return m_connected.load(std::memory_order_acquire) && m_port.isOpened();
}

ErrorCode Connection_TCP::GetFirmwareVersionNumber(double& version) {
    if (!IsConnected())
        return ErrorCode::Disconnected;
    if (m_pump.isInPumpThread())
        return ErrorCode::NotSupported;
    version = m_firmwareVersion.load(std::memory_order_acquire);
    return ErrorCode::Success;
}

ErrorCode Connection_TCP::OpenConnection() {
    // On the pump thread the open would wait for the pump itself; under the send lock for the
    // worker that drains under it.
    if (m_pump.isInPumpThread() || m_pump.holdsSendLock())
        return ErrorCode::NotSupported;
    std::lock_guard lock(m_connectionMutex);
    if (IsConnected())
        return ErrorCode::Success;
    ErrorCode result = ErrorCode::Success;
    try {
        // A link the controller dropped leaves the connected flag set and the pump of the old
        // link behind. The flag goes first, so that no other thread sends on the new link
        // before its open sequence is done; the old pump finishes what it still holds with
        // Disconnected.
        m_connected.store(false, std::memory_order_release);
        if (m_port.isOpened()) {
            result = ErrorCode::Reopen;
        } else {
            m_pump.stop();
            result = openSequence();
        }
    } catch (...) {
        result = Shared::currentExceptionCode();
    }
    if (failed(result)) {
        CloseConnection();
        return result;
    }
    m_connected.store(true, std::memory_order_release);
    return ErrorCode::Success;
}

ErrorCode Connection_TCP::openSequence() {
    m_firmwareVersion.store(0.0);
    m_firmwareWhole = m_firmwareFraction = 0.0;
    adoptCommandTimeout();

    std::string host;
    {
        std::lock_guard lock(m_settingsMutex);
        host = m_hostName->empty() ? std::string(tcp_default_hostname) : *m_hostName;
    }
    const unsigned short port = m_tcpPort.load() ? m_tcpPort.load() : kDefaultPort;
    if (ErrorCode e = m_port.Open(host, port, m_connectTimeout.load(), true); failed(e))
        return e;
    m_port.SetNoDelay(true);
    if (ErrorCode e = m_token.ReadTokenTable(m_port, commandTimeout()); failed(e))
        return e;
    m_pump.start();

    // The two queries go through the command engine before the link counts as connected; only
    // this thread may send until they are answered.
    m_openingThread.store(std::this_thread::get_id(), std::memory_order_release);
    struct OpeningDone {
        std::atomic<std::thread::id>& id;
        ~OpeningDone() { id.store(std::thread::id(), std::memory_order_release); }
    } openingDone{m_openingThread};
    double type = 0;
    ErrorCode e = GetSystemParameter(KnownTokens::CONTROL, type);
    if (!failed(e) && !m_token.SetControllerType(unsigned(type)))
        e = ErrorCode::UnsupportedController;
    double version = 0;
    if (!failed(e))
        e = GetSystemParameter(KnownTokens::VERSION, version);
    if (!failed(e)) {
        m_firmwareVersion.store(version);
        m_firmwareFraction = std::modf(version, &m_firmwareWhole);
        if (!m_token.SetControllerVersion(version))
            e = ErrorCode::UnsupportedController;
    }
    if (failed(e))
        return e;
    if (Shared::IsSetSendBufferSize0Needed(version, unsigned(type)))
        m_port.SetSendBufferSize(0);
    return ErrorCode::Success;
}

ErrorCode Connection_TCP::CloseConnection() {
    std::unique_lock lock(m_connectionMutex, std::defer_lock);
    if (m_pump.isInPumpThread() || m_pump.holdsSendLock()) {
        // From a callback on the pump thread or under the send lock. If an open or close on
        // another thread holds the connection lock, it may be waiting for this thread: take
        // the link down without the lock; the pump leaves once this callback has returned.
        if (!lock.try_lock()) {
            m_connected.store(false, std::memory_order_release);
            m_pump.requestStop();
            return m_port.Close();
        }
    } else {
        lock.lock();
    }
    m_connected.store(false, std::memory_order_release);
    m_firmwareVersion.store(0.0);
    m_firmwareWhole = m_firmwareFraction = 0.0;
    if (m_pump.isRunning())
        m_pump.requestStop();
    // The socket reports "Disconnected from " itself, once per link.
    const ErrorCode result = m_port.Close();
    m_pump.stop();
    return result;
}

void Connection_TCP::ReportFatal() {
    // Not waiting for the worker: a fatal error may be met on a caller's thread that holds the
    // send lock, under which the worker drains. Close waits for it.
    if (m_pump.isRunning())
        m_pump.raiseStop();
}

ErrorCode Connection_TCP::GetResponse(double* value, unsigned short* status) {
    const unsigned timeout = commandTimeout();
    double v = 0;
    if (ErrorCode e = m_token.ReadNumber(v, m_port, timeout); failed(e))
        return e;
    if (value)
        *value = v;
    double s = 0;
    if (ErrorCode e = m_token.ReadNumber(s, m_port, timeout); failed(e))
        return e;
    // The status is truncated to 16 bits (2.9 is status 2); one that cannot be a status at all
    // is BadResponse, which ends the link.
    unsigned short st = 0;
    const ErrorCode e = Shared::replyStatus(s, st);
    if (status)
        *status = st;
    return e;
}

ErrorCode Connection_TCP::forceACK(std::uint32_t id) {
    const ErrorCode e = m_pump.executeIfNoNextCommand(id, [this] {
        const unsigned short code = m_token.tokenUnknownCode();
        const char bytes[2] = {char(code & 0xFF), char(code >> 8)};
        return m_port.Write(bytes, code <= 0xFF ? 1 : 2);
    });
    return e == ErrorCode::Abort ? ErrorCode::Success : e;
}

// ---- settings ----

ErrorCode Connection_TCP::SetTcpHostName(std::string_view host) {
    auto text = std::make_shared<const std::string>(host);
    std::lock_guard lock(m_settingsMutex);
    m_retiredHostName = std::move(m_hostName);
    m_hostName = std::move(text);
    return ErrorCode::Success;
}
ErrorCode Connection_TCP::GetTcpHostName(std::string_view& host) {
    std::lock_guard lock(m_settingsMutex);
    host = *m_hostName;
    return ErrorCode::Success;
}
std::shared_ptr<const std::string> Connection_TCP::hostNameText() const {
    std::lock_guard lock(m_settingsMutex);
    return m_hostName;
}
ErrorCode Connection_TCP::SetTcpPort(unsigned short port) {
    m_tcpPort.store(port);
    return ErrorCode::Success;
}
ErrorCode Connection_TCP::GetTcpPort(unsigned short& port) {
    port = m_tcpPort.load();
    return ErrorCode::Success;
}
ErrorCode Connection_TCP::SetTcpCommandTimeout(unsigned int ms) {
    // Kept for the next open; the link that is open keeps the timeout it was opened with.
    m_commandTimeout.store(ms);
    return ErrorCode::Success;
}
void Connection_TCP::adoptCommandTimeout() {
    m_activeCommandTimeout.store(m_commandTimeout.load(), std::memory_order_relaxed);
}
ErrorCode Connection_TCP::GetTcpCommandTimeout(unsigned int& ms) {
    ms = m_commandTimeout.load();
    return ErrorCode::Success;
}
ErrorCode Connection_TCP::SetTcpConnectTimeout(unsigned int ms) {
    m_connectTimeout.store(ms);
    return ErrorCode::Success;
}
ErrorCode Connection_TCP::GetTcpConnectTimeout(unsigned int& ms) {
    ms = m_connectTimeout.load();
    return ErrorCode::Success;
}

// ---- commands ----

ErrorCode Connection_TCP::Ex(int option) {
    return execute<CmdEx>([&](CmdEx& c) { return c.send(unsigned(option)); });
}

ErrorCode Connection_TCP::GetSystemParameter(KnownTokens parameter, double& value) {
    return execute<CmdGetSysVar>([&](CmdGetSysVar& c) {
        unsigned short code;
        if (ErrorCode e = m_token.getTokenCode(parameter, code); failed(e))
            return e;
        return c.send(code);
    }, &value);
}
ErrorCode Connection_TCP::SetSystemParameter(KnownTokens parameter, double value) {
    return execute<CmdSetSysVar>([&](CmdSetSysVar& c) {
        unsigned short code;
        if (ErrorCode e = m_token.getTokenCode(parameter, code); failed(e))
            return e;
        return c.send(code, value);
    });
}
ErrorCode Connection_TCP::GetParameterWithModifier(KnownTokens parameter, KnownTokens modifier, int index,
                                                   double& value) {
    return execute<CmdGetParamWithModifier>([&](CmdGetParamWithModifier& c) {
        unsigned short code;
        if (ErrorCode e = m_token.getTokenCode(parameter, code); failed(e))
            return e;
        return c.send(code, modifier, index);
    }, &value);
}
ErrorCode Connection_TCP::SetParameterWithModifier(KnownTokens parameter, KnownTokens modifier, int index,
                                                   double value) {
    return execute<CmdSetParamWithModifier>([&](CmdSetParamWithModifier& c) {
        unsigned short code;
        if (ErrorCode e = m_token.getTokenCode(parameter, code); failed(e))
            return e;
        return c.send(code, modifier, index, value);
    });
}

} // namespace Vaxo::Ubrix::TCP
