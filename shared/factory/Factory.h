// The library's version, the module entry point, the factory that loads connection
// modules by type name, and the process-wide registry of the connections it made.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <vaxo/IConnection.hpp>
#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

// "TCP", "SOFTCT", "Frix7"; anything else is "UNKNOWN".
std::string_view connectionTypeName(ConnectionType type);

void* loadLibrary(const std::string& path, std::string& errorText);
void freeLibrary(void* handle);
void* getFactory(void* handle);

// Stores size at the start of block and returns the address after it; null stays null.
void* _vua_alloc_mark(void* block, std::uint64_t size);

struct stConnInstance {
    IConnection* connection = nullptr;
    void* module = nullptr;
};

class ConnectionList {
public:
    static ConnectionList& instance();
    void registerConnection(IConnection* connection, void* moduleHandle);
    void* unregisterConnection(IConnection* connection);
    std::size_t size() const;

private:
    ConnectionList() { m_list.reserve(16); }
    mutable std::mutex m_mutex;
    std::vector<stConnInstance> m_list;
};

class ConnectionFactory {
public:
    static constexpr VersionInfo s_ApiVersion{1, 2, 1, 1196};
    static constexpr std::string_view s_ApiVersionStr{"1.2.1-rc1+b8ba2783"};

    static ErrorCode Create(ConnectionType type, EventCallback logger, IConnection*& out, std::string_view directory);
    static ErrorCode Destroy(IConnection*& connection);
    static void initializeStatic() {}
    static void cleanupStatic() {}
};

// What vua_factory looks like to the loader.
using FactoryFunction = ErrorCode (*)(std::uint32_t type, const VersionInfo* version, EventCallback* logger,
                                      IConnection** out);

} // namespace Vaxo::Ubrix::Shared

extern "C" __attribute__((visibility("default"))) Vaxo::Ubrix::Shared::ErrorCode
vua_factory(std::uint32_t type, const Vaxo::Ubrix::Shared::VersionInfo* version,
            Vaxo::Ubrix::Shared::EventCallback* logger, Vaxo::Ubrix::Shared::IConnection** out);
