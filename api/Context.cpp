// Flat functions of the context: creation, destruction, version, TCP settings, open/close.
#include "api/Flat.h"
#include "shared/factory/Factory.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Api::required;
using Api::text;
using Err = Shared::ErrorCode;
using Shared::IConnection;

namespace {

// A text the connection keeps, handed to the host's callback once.
template <class Get>
std::uint64_t textTo(VaxoHandle h, VaxoTextCb cb, void* user, Get&& get) {
    return call(
        h,
        [&](IConnection& c) {
            std::string_view v;
            const Err e = get(c, v);
            cb(user, v.data(), std::uint32_t(v.size()));
            return e;
        },
        required(cb));
}

} // namespace

extern "C" {

VAXO_API ErrorCode vaxo_CreateContext(const VersionInfo* version, VaxoEventCb cb, void* user, VaxoHandle* out) {
    if (!version || !out)
        return std::uint64_t(Err::BadArgument);
    // A host that passes no callback gets no events rather than a call through null.
    Shared::EventCallback logger;
    if (cb)
        logger = [cb, user](Shared::EventType type, std::uint64_t value, std::string_view t) {
            cb(user, std::uint32_t(type), value, t.data(), std::uint32_t(t.size()));
        };
    const Shared::VersionInfo v{version->major, version->minor, version->patch, version->build};
    IConnection* connection = nullptr;
    const Err result = vua_factory(std::uint32_t(Shared::ConnectionType::TCP), &v, &logger, &connection);
    if (result == Err::Success)
        *out = Api::handle(connection);
    return std::uint64_t(result);
}

VAXO_API ErrorCode vaxo_DestroyContext(VaxoHandle h) {
    if (!h)
        return std::uint64_t(Err::ConnectionContext);
    IConnection* c = Api::connection(h);
    Err result = Err::Success;
    try {
        result = c->CloseConnection();
    } catch (...) {
        result = Err::Api_Unknown;
    }
    // From inside a callback of this context (or beside another call on it) the object is
    // deleted once that call has returned.
    static_cast<Shared::ConnectionBase*>(c)->destroyWhenIdle();
    return std::uint64_t(result);
}

VAXO_API bool vaxo_IsConnected(VaxoHandle h) { return h && Api::connection(h)->IsConnected(); }

VAXO_API uint32_t vaxo_GetConnectionType(VaxoHandle h) {
    return h ? std::uint32_t(Api::connection(h)->GetConnectionType()) : 0;
}

VAXO_API ErrorCode vaxo_GetApiVersion(VaxoHandle h, VersionInfo* out) {
    return call(h, [&](IConnection& c) {
        Shared::VersionInfo v;
        const Err e = c.GetApiVersion(v);
        *out = VersionInfo{v.major, v.minor, v.patch, v.build};
        return e;
    }, out);
}

VAXO_API ErrorCode vaxo_GetApiVersionStr(VaxoHandle h, VaxoTextCb cb, void* user) {
    return textTo(h, cb, user, [](IConnection& c, std::string_view& v) { return c.GetApiVersionStr(v); });
}

VAXO_API ErrorCode vaxo_SetTcpHostName(VaxoHandle h, const char* host) {
    return call(h, [&](IConnection& c) { return c.SetTcpHostName(text(host)); });
}

VAXO_API ErrorCode vaxo_GetTcpHostName(VaxoHandle h, VaxoTextCb cb, void* user) {
    return call(
        h,
        [&](IConnection& c) {
            // Held until the callback returns, whatever another thread sets meanwhile.
            const auto text = static_cast<Shared::ConnectionBase&>(c).tcpHostNameText();
            cb(user, text->data(), std::uint32_t(text->size()));
            return Err::Success;
        },
        required(cb));
}

VAXO_API ErrorCode vaxo_SetTcpPort(VaxoHandle h, uint16_t port) {
    return call(h, [&](IConnection& c) { return c.SetTcpPort(port); });
}
VAXO_API ErrorCode vaxo_GetTcpPort(VaxoHandle h, uint16_t* port) {
    return call(h, [&](IConnection& c) { return c.GetTcpPort(*port); }, port);
}
VAXO_API ErrorCode vaxo_SetTcpConnectTimeout(VaxoHandle h, uint32_t ms) {
    return call(h, [&](IConnection& c) { return c.SetTcpConnectTimeout(ms); });
}
VAXO_API ErrorCode vaxo_GetTcpConnectTimeout(VaxoHandle h, uint32_t* ms) {
    return call(h, [&](IConnection& c) { unsigned int v = 0; const Err e = c.GetTcpConnectTimeout(v); *ms = v; return e; }, ms);
}
VAXO_API ErrorCode vaxo_SetTcpCommandTimeout(VaxoHandle h, uint32_t ms) {
    return call(h, [&](IConnection& c) { return c.SetTcpCommandTimeout(ms); });
}
VAXO_API ErrorCode vaxo_GetTcpCommandTimeout(VaxoHandle h, uint32_t* ms) {
    return call(h, [&](IConnection& c) { unsigned int v = 0; const Err e = c.GetTcpCommandTimeout(v); *ms = v; return e; }, ms);
}

VAXO_API ErrorCode vaxo_OpenConnection(VaxoHandle h) {
    return call(h, [](IConnection& c) { return c.OpenConnection(); });
}
VAXO_API ErrorCode vaxo_CloseConnection(VaxoHandle h) {
    return call(h, [](IConnection& c) { return c.CloseConnection(); });
}
VAXO_API ErrorCode vaxo_GetFirmwareVersionNumber(VaxoHandle h, double* version) {
    return call(h, [&](IConnection& c) { return c.GetFirmwareVersionNumber(*version); }, version);
}

} // extern "C"
