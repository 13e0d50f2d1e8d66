// The byte stream the protocol layers read and write, whatever carries it.
#pragma once

#include "shared/transport/ISniffer.h"

#include <vaxo/Types.hpp>

#include <cstdint>
#include <string>

namespace Vaxo::Ubrix::Shared {

class Port {
public:
    // The callback is the owning connection's and must outlive the port.
    explicit Port(const EventCallback& eventLogger) : m_eventLogger(eventLogger) {}
    virtual ~Port() = default;
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    virtual ErrorCode Close() = 0;
    virtual ErrorCode Write(const char* data, unsigned int length) = 0;
    // Reads exactly `size` bytes; `timeout` bounds each wait for data (0: no limit).
    virtual ErrorCode Read(char* buffer, unsigned int size, unsigned int timeout) = 0;
    // Puts bytes back in front of the unread ones; the next read returns them first.
    virtual ErrorCode UnRead(const char* data, unsigned int length) = 0;
    // Reads what is there, up to `size` bytes, waiting at most `timeout` for the first.
    virtual ErrorCode Read(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout) = 0;
    virtual void setWriteSniffer(ISniffer* sniffer) = 0;
    virtual void setReadSniffer(ISniffer* sniffer) = 0;
    virtual bool isOpened() const = 0;
    virtual std::uint16_t portNumber() const = 0;
    virtual std::string hostName() const = 0;

    const EventCallback& eventLogger() const { return m_eventLogger; }

protected:
    const EventCallback& m_eventLogger;
};

} // namespace Vaxo::Ubrix::Shared
