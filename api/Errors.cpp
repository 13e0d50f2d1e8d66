// The flat interface's error text: the description of any ErrorCode, handed to the host's
// callback.
#include <vaxo/vaxo.h>

#include "shared/errors/Errors.h"

VAXO_API void vaxo_GetErrorString(uint64_t code, VaxoTextCb cb, void* user) {
    namespace S = Vaxo::Ubrix::Shared;
    if (cb == nullptr)
        return;
    std::string_view text;
    try {
        text = S::_ErrorString(S::ErrorCode(code));
    } catch (...) {
        // Only a first-time system error can fail (memory); nothing may leave a C function.
        text = S::unknownError().errorDescr();
    }
    // Every description is a literal or a cached string: terminated and valid past the call.
    cb(user, text.data(), static_cast<uint32_t>(text.size()));
}
