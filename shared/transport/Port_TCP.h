// The controller link over TCP: a socket with a 4096-byte read-ahead buffer that also takes
// bytes back (UnRead), separate read and write locks, and optional sniffers.
#pragma once

#include "shared/transport/Port.h"
#include "shared/transport/Socket.h"

#include <atomic>
#include <mutex>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// The connection keeps its send buffer at 0 bytes after connecting unless the controller is a
// SOFTCT one (type modulo 1000 in 499..503). The firmware version is not consulted.
bool IsSetSendBufferSize0Needed(double firmwareVersion, unsigned int controllerType);

class Port_TCP final : public Port {
public:
    static constexpr unsigned int kBufferSize = 4096;

    explicit Port_TCP(const EventCallback& eventLogger);
    ~Port_TCP() override;

    ErrorCode Open(std::string_view host, std::uint16_t port, unsigned int timeout, bool keepalive);

    ErrorCode Close() override;
    ErrorCode Write(const char* data, unsigned int length) override;
    // Write with a bounded wait for room on the link (Socket::WriteBounded); `written` (may be
    // null) receives the number of bytes sent, also when the write stops part-way.
    ErrorCode Write(const char* data, unsigned int length, unsigned int timeout, const std::atomic<bool>* stop,
                    unsigned int* written = nullptr);
    ErrorCode Read(char* buffer, unsigned int size, unsigned int timeout) override;
    ErrorCode UnRead(const char* data, unsigned int length) override;
    ErrorCode Read(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout) override;
    void setWriteSniffer(ISniffer* sniffer) override { m_writeSniffer.store(sniffer); }
    void setReadSniffer(ISniffer* sniffer) override { m_readSniffer.store(sniffer); }
    bool isOpened() const override { return m_socket.isOpened(); }
    std::uint16_t portNumber() const override { return m_portNumber.load(); }
    std::string hostName() const override;

    void SetNoDelay(bool on) { m_socket.SetNoDelay(on); }
    void SetSendBufferSize(int size) { m_socket.SetSendBufferSize(size); }

private:
    // Hands out up to `size` buffered bytes; the read mutex is held.
    unsigned int takeBuffered(char* buffer, unsigned int size);

    Socket m_socket;
    std::atomic<std::uint16_t> m_portNumber{0};
    mutable std::mutex m_hostMutex;
    std::string m_hostName;
    std::atomic<ISniffer*> m_readSniffer{nullptr};
    std::atomic<ISniffer*> m_writeSniffer{nullptr};
    char m_buffer[kBufferSize];
    unsigned int m_position = 0;
    unsigned int m_count = 0;
    // Recursive: a read sniffer or an event raised inside a read may close the port.
    std::recursive_mutex m_readMutex;
    std::mutex m_writeMutex;
};

} // namespace Vaxo::Ubrix::Shared
