// The one shape of every flat function: handle check, then out-pointer and callback
// checks, then one call of the connection's operation.
#pragma once

#include <string_view>

#include <vaxo/IConnection.hpp>
#include <vaxo/Types.hpp>
#include <vaxo/vaxo.h>

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
    return std::uint64_t(op(*connection(h)));
}

// Function pointers are checked the same way.
template <typename Fn>
inline const void* required(Fn* fn) {
    return reinterpret_cast<const void*>(fn);
}

} // namespace Vaxo::Ubrix::Api
