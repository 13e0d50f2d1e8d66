// The controller link over TCP (see Port_TCP.h).
#include "shared/transport/Port_TCP.h"

#include <algorithm>
#include <cstring>

namespace Vaxo::Ubrix::Shared {

bool IsSetSendBufferSize0Needed(double /*firmwareVersion*/, unsigned int controllerType) {
    unsigned int t = controllerType % 1000;
    return !(t >= 499 && t <= 503);
}

Port_TCP::Port_TCP(const EventCallback& eventLogger) : Port(eventLogger), m_socket(eventLogger) {}

Port_TCP::~Port_TCP() { Close(); }

std::string Port_TCP::hostName() const {
    std::lock_guard lock(m_hostMutex);
    return m_hostName;
}

ErrorCode Port_TCP::Open(std::string_view host, std::uint16_t port, unsigned int timeout, bool keepalive) {
    ErrorCode rc = m_socket.Open(host, port, timeout, keepalive);
    if (rc == ErrorCode::Success) {
        m_portNumber.store(port);
        {
            std::lock_guard lock(m_hostMutex);
            m_hostName.assign(host);
        }
        std::lock_guard lock(m_readMutex);
        m_position = 0;
        m_count = 0;
    }
    return rc;
}

ErrorCode Port_TCP::Close() {
    // The socket close wakes a reader blocked inside Read, so the read mutex comes free soon.
    m_socket.Close();
    std::lock_guard lock(m_readMutex);
    m_position = 0;
    m_count = 0;
    return ErrorCode::Success;
}

ErrorCode Port_TCP::Write(const char* data, unsigned int length) {
    std::lock_guard lock(m_writeMutex);
    ErrorCode rc = m_socket.Write(data, length, 0);
    if (rc == ErrorCode::Success) {
        if (ISniffer* sniffer = m_writeSniffer.load())
            sniffer->sniff(data, length);
    }
    return rc;
}

ErrorCode Port_TCP::Write(const char* data, unsigned int length, unsigned int timeout,
                          const std::atomic<bool>* stop, unsigned int* written) {
    std::lock_guard lock(m_writeMutex);
    ErrorCode rc = m_socket.WriteBounded(data, length, timeout, stop, written);
    if (rc == ErrorCode::Success) {
        if (ISniffer* sniffer = m_writeSniffer.load())
            sniffer->sniff(data, length);
    }
    return rc;
}

unsigned int Port_TCP::takeBuffered(char* buffer, unsigned int size) {
    unsigned int n = std::min(m_count, size);
    if (n) {
        std::memcpy(buffer, m_buffer + m_position, n);
        m_position += n;
        m_count -= n;
        if (m_count == 0)
            m_position = 0;
    }
    return n;
}

ErrorCode Port_TCP::Read(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout) {
    std::lock_guard lock(m_readMutex);
    got = takeBuffered(buffer, size);
    if (got == size)
        return ErrorCode::Success;
    m_position = 0;
    m_count = 0;
    unsigned int n = 0;
    ErrorCode rc = m_socket.Read(buffer + got, size - got, n, timeout, 0);
    if (rc == ErrorCode::Success && n > 0) {
        if (ISniffer* sniffer = m_readSniffer.load())
            sniffer->sniff(buffer + got, n);
        got += n;
    }
    return rc;
}

ErrorCode Port_TCP::Read(char* buffer, unsigned int size, unsigned int timeout) {
    // An exact read goes on while bytes are wanted. With a zero timeout each socket wait would
    // be a poll, so the loop would spin; it blocks in the wait instead, without limit.
    const unsigned int wait = timeout == 0 ? kInfiniteTimeout : timeout;
    std::lock_guard lock(m_readMutex);
    unsigned int done = takeBuffered(buffer, size);
    while (done < size) {
        // The buffer is empty here: fill it from the start, taking whatever has arrived, so
        // that the reads after this one are served without a socket read.
        m_position = 0;
        unsigned int n = 0;
        ErrorCode rc = m_socket.Read(m_buffer, kBufferSize, n, wait, 0);
        if (rc != ErrorCode::Success)
            return rc;
        if (n == 0)
            continue; // the peer closed: the socket is closed now and the next read fails on it
        m_count = n;
        if (ISniffer* sniffer = m_readSniffer.load())
            sniffer->sniff(m_buffer, n);
        done += takeBuffered(buffer + done, size - done);
    }
    return ErrorCode::Success;
}

ErrorCode Port_TCP::UnRead(const char* data, unsigned int length) {
    std::lock_guard lock(m_readMutex);
    if (length == 0)
        return ErrorCode::Success;
    if (length <= m_position) {
        m_position -= length;
        std::memcpy(m_buffer + m_position, data, length);
    } else {
        if (length + m_count > kBufferSize)
            return ErrorCode::BufferTooSmall;
        std::memmove(m_buffer + length, m_buffer + m_position, m_count);
        std::memcpy(m_buffer, data, length);
        m_position = 0;
    }
    m_count += length;
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
