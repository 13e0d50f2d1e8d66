// What every connection module shares: the version queries and event logging.
#pragma once

#include <vaxo/IConnection.hpp>

#include "shared/factory/Factory.h"

namespace Vaxo::Ubrix::Shared {

class ConnectionBase : public IConnection, public IEventLogger {
public:
    // The controller's factory-default address, used when no host name is set.
    static constexpr std::string_view tcp_default_hostname{"192.168.0.250"};

    explicit ConnectionBase(EventCallback logger) : m_logger(std::move(logger)) {}

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

protected:
    ~ConnectionBase() override = default;

    EventCallback m_logger;
};

} // namespace Vaxo::Ubrix::Shared
