// A C++ host: the flat interface wrapped in a small RAII class that turns ErrorCodes into
// exceptions, then a short session: values, a named parameter, a move watched until idle.
// Usage: cpp_host [host [port]]
#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <vaxo/FileType.hpp>
#include <vaxo/IConnection.hpp>
#include <vaxo/ISniffer.hpp>
#include <vaxo/vaxo.h>

// Counts the raw bytes of the link: a host's own sniffer, set before the open so that it sees
// every byte of the session.
class ByteCounter : public Vaxo::Ubrix::Shared::ISniffer {
public:
    void sniff(const char*, unsigned int length) override { m_bytes += length; }
    unsigned long bytes() const { return m_bytes.load(); }

private:
    std::atomic<unsigned long> m_bytes{0};
};

class Controller {
public:
    Controller(const std::string& host, std::uint16_t port, ByteCounter& written, ByteCounter& read) {
        const VersionInfo version{1, 2, 1, 1196};
        auto onEvent = [](void*, std::uint32_t type, std::uint64_t, const char* text, std::uint32_t length) {
            if (type == 0)  // errors only
                std::cerr << "event: " << std::string(text, length) << '\n';
        };
        check(vaxo_CreateContext(&version, onEvent, nullptr, &m_h), "CreateContext");
        vaxo_SetTcpHostName(m_h, host.c_str());
        vaxo_SetTcpPort(m_h, port);
        vaxo_SetTcpConnectTimeout(m_h, 3000);
        // The context handle is the connection's class interface.
        auto* connection = reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(m_h);
        connection->setWriteSniffer(&written);
        connection->setReadSniffer(&read);
        check(vaxo_OpenConnection(m_h), "OpenConnection");
    }
    ~Controller() { vaxo_DestroyContext(m_h); }
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    VaxoHandle handle() const { return m_h; }

    static void check(ErrorCode e, const char* what) {
        if (e == 0)
            return;
        std::string text;
        vaxo_GetErrorString(e, [](void* u, const char* t, std::uint32_t n) { static_cast<std::string*>(u)->assign(t, n); },
                            &text);
        throw std::runtime_error(std::string(what) + " failed: " + text);
    }

    std::vector<double> vrs(std::uint32_t start, std::uint32_t count) {
        std::vector<double> v(count);
        check(vaxo_GetMultiVrValues(m_h, start, count, v.data()), "GetMultiVrValues");
        return v;
    }

private:
    VaxoHandle m_h = nullptr;
};

int main(int argc, char** argv) try {
    const std::string host = argc > 1 ? argv[1] : "127.0.0.1";
    const auto port = static_cast<std::uint16_t>(argc > 2 ? std::stoi(argv[2]) : 3240);
    ByteCounter written, read; // outlive the context that reports to them
    Controller c(host, port, written, read);
    const VaxoHandle h = c.handle();

    for (std::uint32_t i = 0; i < 4; ++i)
        Controller::check(vaxo_SetVrValue(h, i, i * 10.0), "SetVrValue");
    std::cout << "cpp_host: VR(0..3) =";
    for (double v : c.vrs(0, 4))
        std::cout << ' ' << v;
    std::cout << '\n';

    Controller::check(vaxo_SetAxisParameter_SPEED(h, 1, 1000), "SPEED");
    // The same parameter by token number, from the installed token list.
    double speed = 0;
    Controller::check(vaxo_GetAxisParameterDoubleValue(h, VAXO_TOKEN_SPEED, 1, &speed), "SPEED by token");
    // The library's file-type table.
    using namespace Vaxo::Ubrix::Shared;
    const FileType basic = ProgTypeFromName("basic");
    std::cout << "cpp_host: SPEED by token = " << speed << ", type basic = " << int(basic) << " ("
              << FileExt(basic) << ", encrypted " << IsEncryptedType(basic) << ")\n";
    if (speed != 1000 || basic != FileType::Basic || ProgTypeFromExt(".bas") != basic)
        return 1;
    Controller::check(vaxo_SetAxisParameter_ACCEL(h, 1, 10000), "ACCEL");
    Controller::check(vaxo_SetAxisParameter_DECEL(h, 1, 10000), "DECEL");
    Controller::check(vaxo_MoveRel(h, 25, 1), "MoveRel");
    double idle = 0, dpos = 0;
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Controller::check(vaxo_GetAxisParameter_IDLE(h, 1, &idle), "IDLE");
    } while (idle == 0 && std::chrono::steady_clock::now() < until);
    Controller::check(vaxo_GetAxisParameter_DPOS(h, 1, &dpos), "DPOS");
    std::cout << "cpp_host: axis 1 " << (idle != 0 ? "idle" : "still moving") << " at " << dpos << '\n';
    std::cout << "cpp_host: ok\n";
    std::cout << "cpp_host: sniffed " << written.bytes() << " bytes written, " << read.bytes() << " read\n";
    return idle != 0 && written.bytes() > 0 && read.bytes() > 0 ? 0 : 1;
} catch (const std::exception& e) {
    std::cerr << "cpp_host: " << e.what() << '\n';
    return 1;
}
