// The error texts for hosts: the description (flat interface) and the name (extension) of any
// ErrorCode, handed to the host's callback.
#include <vaxo/vaxo.h>
#include <vaxo/vaxox.h>

#include "shared/errors/Errors.h"

namespace {

// Hands the name or the description of a code to the host's callback.
template <typename Lookup>
void describeTo(uint64_t code, VaxoTextCb cb, void* user, Lookup lookup, std::string_view fallback) {
    namespace S = Vaxo::Ubrix::Shared;
    if (cb == nullptr)
        return;
    std::string_view text;
    try {
        text = lookup(S::ErrorCode(code));
    } catch (...) {
        // Only a first-time system error can fail (memory); nothing may leave a C function.
        text = fallback;
    }
    // Every text is a literal or a cached string: terminated and valid past the call.
    cb(user, text.data(), static_cast<uint32_t>(text.size()));
}

} // namespace

VAXO_API void vaxo_GetErrorString(uint64_t code, VaxoTextCb cb, void* user) {
    namespace S = Vaxo::Ubrix::Shared;
    describeTo(code, cb, user, [](S::ErrorCode c) { return S::_ErrorString(c); }, S::unknownError().errorDescr());
}

VAXO_API void vaxox_GetErrorName(uint64_t code, VaxoTextCb cb, void* user) {
    namespace S = Vaxo::Ubrix::Shared;
    describeTo(code, cb, user, [](S::ErrorCode c) { return S::_ErrorName(c); }, S::unknownError().errorName());
}
