// Module entry point, module loading and the connection registry.
#include "shared/factory/Factory.h"

#include <cerrno>
#include <dlfcn.h>

#include "shared/errors/Errors.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::Shared {

std::string_view connectionTypeName(ConnectionType type) {
    switch (type) {
    case ConnectionType::TCP: return "TCP";
    case ConnectionType::SOFTCT: return "SOFTCT";
    case ConnectionType::Frix7: return "Frix7";
    }
    return "UNKNOWN";
}

void* loadLibrary(const std::string& path, std::string& errorText) {
    void* handle = dlopen(path.c_str(), RTLD_NOW);
    if (handle) {
        errorText.clear();
    } else {
        const char* err = dlerror();
        errorText = err ? err : "";
    }
    return handle;
}

void freeLibrary(void* handle) {
    if (handle)
        dlclose(handle);
}

void* getFactory(void* handle) { return dlsym(handle, "vua_factory"); }

void* _vua_alloc_mark(void* block, std::uint64_t size) {
    if (!block)
        return block;
    *static_cast<std::uint64_t*>(block) = size;
    return static_cast<std::uint64_t*>(block) + 1;
}

ConnectionList& ConnectionList::instance() {
    static ConnectionList list;
    return list;
}

void ConnectionList::registerConnection(IConnection* connection, void* moduleHandle) {
    std::lock_guard lock(m_mutex);
    m_list.push_back({connection, moduleHandle});
}

void* ConnectionList::unregisterConnection(IConnection* connection) {
    std::lock_guard lock(m_mutex);
    for (auto it = m_list.begin(); it != m_list.end(); ++it) {
        if (it->connection == connection) {
            void* module = it->module;
            m_list.erase(it);
            return module;
        }
    }
    return nullptr;
}

std::size_t ConnectionList::size() const {
    std::lock_guard lock(m_mutex);
    return m_list.size();
}

ErrorCode ConnectionFactory::Create(ConnectionType type, EventCallback logger, IConnection*& out,
                                    std::string_view directory) {
    if (out) {
        if (logger)
            logger(EventType::Error, std::uint64_t(ErrorCode::ConnectionContext), {});
        return ErrorCode::ConnectionContext;
    }
    std::string file = "lib";
    file += "Vaxo_Ubrix_";
    file += connectionTypeName(type);
    file += ".so";
    std::string path;
    if (!directory.empty()) {
        path.assign(directory);
        if (path.back() != '/')
            path += '/';
    }
    path += file;

    ErrorCode result = ErrorCode::Success;
    std::string errorText;
    void* module = loadLibrary(path, errorText);
    if (!module) {
        result = ErrorCode::ConnectionModule;
        if (logger)
            logger(EventType::Error, std::uint64_t(result), errorText);
    } else if (auto factory = reinterpret_cast<FactoryFunction>(getFactory(module)); !factory) {
        result = _vuaSystemErrorCode(errno);
        if (logger)
            logger(EventType::Error, std::uint64_t(result), {});
    } else {
        result = factory(std::uint32_t(type), &s_ApiVersion, &logger, &out);
    }
    if (result != ErrorCode::Success) {
        if (out)
            Destroy(out);
        if (module)
            freeLibrary(module);
        return result;
    }
    ConnectionList::instance().registerConnection(out, module);
    return ErrorCode::Success;
}

ErrorCode ConnectionFactory::Destroy(IConnection*& connection) {
    ErrorCode result = ErrorCode::Success;
    if (!connection)
        return ErrorCode::ConnectionContext;
    if (connection->IsConnected()) {
        try {
            result = connection->CloseConnection();
        } catch (...) {
            result = ErrorCode::Api_Unknown;
        }
    }
    IConnection* doomed = connection;
    doomed->DeleteMe();
    if (void* module = ConnectionList::instance().unregisterConnection(doomed))
        freeLibrary(module);
    connection = nullptr;
    return result;
}

} // namespace Vaxo::Ubrix::Shared

using namespace Vaxo::Ubrix::Shared;

extern "C" ErrorCode vua_factory(std::uint32_t type, const VersionInfo* version, EventCallback* logger,
                                 IConnection** out) {
    if (!version || !(*version == ConnectionFactory::s_ApiVersion)) {
        if (logger && *logger)
            (*logger)(EventType::Error, std::uint64_t(ErrorCode::VersionMismatch),
                      _ErrorString(ErrorCode::VersionMismatch));
        return ErrorCode::VersionMismatch;
    }
    if (type != std::uint32_t(ConnectionType::TCP) || !out)
        return ErrorCode::ConnectionContext;
    try {
        *out = new Vaxo::Ubrix::TCP::Connection_TCP(logger ? std::move(*logger) : EventCallback{});
    } catch (...) {
        return ErrorCode::Api_Unknown;
    }
    return ErrorCode::Success;
}
