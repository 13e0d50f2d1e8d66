// What every connection module shares: the version queries and event logging.
#pragma once

#include <vaxo/IConnection.hpp>

#include <atomic>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include "shared/factory/Factory.h"

namespace Vaxo::Ubrix::Shared {

// What the standard library can throw, as the code returned in its place: a system error
// keeps its errno (no thread to be had is EAGAIN), no memory is ENOMEM, anything else is
// unspecified. Called inside a catch block.
inline ErrorCode currentExceptionCode() noexcept {
    try {
        throw;
    } catch (const std::system_error& e) {
        return e.code().value() ? systemError(e.code().value()) : ErrorCode::Api_Unknown;
    } catch (const std::bad_alloc&) {
        return systemError(ENOMEM);
    } catch (...) {
        return ErrorCode::Api_Unknown;
    }
}

class ConnectionBase : public IConnection, public IEventLogger {
public:
    // The controller's factory-default address, used when no host name is set.
    static constexpr std::string_view tcp_default_hostname{"192.168.0.250"};

    // What the flat layer asks of the connection behind it. A table of plain functions rather
    // than virtual members: the class interface's slot order is fixed, and these are no part of it.
    struct Hooks {
        std::shared_ptr<const std::string> (*hostNameText)(const ConnectionBase&);
        bool (*ownThread)(const ConnectionBase&);
    };

    ConnectionBase(EventCallback logger, const Hooks& hooks) : m_logger(std::move(logger)), m_hooks(&hooks) {}

    ErrorCode GetApiVersion(VersionInfo& version) override {
        version = ConnectionFactory::s_ApiVersion;
        return ErrorCode::Success;
    }
    ErrorCode GetApiVersionStr(std::string_view& version) override {
        version = ConnectionFactory::s_ApiVersionStr;
        return ErrorCode::Success;
    }
    void AddLogEvent(EventType type, std::uint64_t value, std::string_view text) override {
        if (m_logger)
            m_logger(type, value, text);
    }
    const EventCallback& eventLogger() const override { return m_logger; }

    // The host name setting as a text that stays alive while the caller holds it.
    std::shared_ptr<const std::string> tcpHostNameText() const { return m_hooks->hostNameText(*this); }
    // True on a thread the connection owns (its reader thread), which cannot delete it.
    bool isOwnThread() const { return m_hooks->ownThread(*this); }

    // Flat calls in progress on this connection. A destroy while one runs (a host's callback
    // destroying the context it was called for) is carried out when the last one leaves.
    void enterFlat() noexcept { m_flatState.fetch_add(1, std::memory_order_acq_rel); }
    void leaveFlat() noexcept {
        if (m_flatState.fetch_sub(1, std::memory_order_acq_rel) == (kDoomed | 1))
            finishDestroy();
    }
    // Marks the connection for deletion; deletes it at once when no flat call runs.
    void destroyWhenIdle() noexcept {
        if ((m_flatState.fetch_or(kDoomed, std::memory_order_acq_rel) & ~kDoomed) == 0)
            finishDestroy();
    }

protected:
    ~ConnectionBase() override = default;

    EventCallback m_logger;

private:
    const Hooks* m_hooks;
    static constexpr std::uint64_t kDoomed = 1ull << 62;

    void finishDestroy() noexcept {
        if (!isOwnThread()) {
            DeleteMe();
            return;
        }
        // The reader thread cannot delete the connection that joins it: a thread of its own
        // does, once the reader has left. Without a thread to be had, the object is left.
        try {
            std::thread([this] { DeleteMe(); }).detach();
        } catch (...) {
        }
    }

    std::atomic<std::uint64_t> m_flatState{0};
};

} // namespace Vaxo::Ubrix::Shared
