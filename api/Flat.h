// The one shape of every flat function: handle check, then out-pointer and callback
// checks, then one call of the connection's operation.
#pragma once

#include <string_view>

#include <vaxo/IConnection.hpp>
#include <vaxo/Types.hpp>
#include <vaxo/vaxo.h>

#include "shared/factory/ConnectionBase.h"

namespace Vaxo::Ubrix::Api {

using Err = Shared::ErrorCode;
using Shared::IConnection;

inline IConnection* connection(VaxoHandle h) { return reinterpret_cast<IConnection*>(h); }
inline VaxoHandle handle(IConnection* c) { return reinterpret_cast<VaxoHandle>(c); }

inline std::string_view text(const char* s) { return s ? std::string_view(s) : std::string_view(); }

// Runs op on the connection after the checks; required are the out-pointers and result
// callbacks that must not be null.
template <typename Op, typename... Required>
inline std::uint64_t call(VaxoHandle h, Op&& op, const Required*... required) {
    if (!h)
        return std::uint64_t(Err::ConnectionContext);
    if ((... || (required == nullptr)))
        return std::uint64_t(Err::BadArgument);
    auto& base = static_cast<Shared::ConnectionBase&>(*connection(h));
    struct Use {
        Shared::ConnectionBase& c;
        explicit Use(Shared::ConnectionBase& b) : c(b) { c.enterFlat(); }
        ~Use() { c.leaveFlat(); }
    } use(base);
    // Nothing the standard library throws (no memory, no thread) crosses into the host.
    try {
        return std::uint64_t(op(*connection(h)));
    } catch (...) {
        return std::uint64_t(Shared::currentExceptionCode());
    }
}

// Function pointers are checked the same way.
template <typename Fn>
inline const void* required(Fn* fn) {
    return reinterpret_cast<const void*>(fn);
}

} // namespace Vaxo::Ubrix::Api

// Flat functions that only check the handle (and their out-pointers) and pass their arguments
// on, one row each: the name after vaxo_, the operation, the parameters after the handle, the
// operation's arguments, and for VAXO_FLAT_OUT the pointers that must not be null.
#define VAXO_WITH_HANDLE(...) VaxoHandle h __VA_OPT__(, ) __VA_ARGS__
#define VAXO_FLAT_PASS(flat, op, params, args)                                                                   \
    VAXO_API ErrorCode vaxo_##flat(VAXO_WITH_HANDLE params) {                                                    \
        return Vaxo::Ubrix::Api::call(h, [&](Vaxo::Ubrix::Shared::IConnection& c) { return c.op args; });        \
    }
#define VAXO_FLAT_OUT(flat, op, params, args, ...)                                                               \
    VAXO_API ErrorCode vaxo_##flat(VAXO_WITH_HANDLE params) {                                                    \
        return Vaxo::Ubrix::Api::call(                                                                           \
            h, [&](Vaxo::Ubrix::Shared::IConnection& c) { return c.op args; }, __VA_ARGS__);                     \
    }
