// Writing an encoded request to the controller: the remote buffer size check and, for
// controllers that need it, escaping of 0x1B and 0x01 in chunks of 512 input bytes so that a
// long request is never copied whole.
#pragma once

#include "shared/protocol/ControllerCapabilities.h"
#include "shared/protocol/TokenBuffer.h"

#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

class Port;

enum SendFlags : unsigned {
    SendPlain = 0,
    SendCheckSize = 1, // refuse a request longer than the controller's remote buffer
    SendEscape = 2,    // escape when the controller's link is escaped
    SendDefault = SendCheckSize | SendEscape,
};

inline constexpr unsigned char kEscapeByte = 0x1B;
inline constexpr unsigned kEscapeChunk = 512;

inline bool needsEscaping(unsigned char b) { return b == 0x1B || b == 0x01; }

// The length the size check compares with R: the body (all but the last byte) counts at most
// one escape, and a last byte of 0x1B one more. A last 0x01 is sent bare and does not count.
unsigned escapedLengthEstimate(const unsigned char* data, unsigned length);

ErrorCode sendTokenbuffer(Port& port, const ControllerCapabilities& caps, const unsigned char* data, unsigned length,
                          unsigned flags);

template <unsigned N, unsigned M>
ErrorCode sendTokenbuffer(Port& port, const ControllerCapabilities& caps, const TokenBuffer<N, M>& buffer,
                          unsigned flags) {
    return sendTokenbuffer(port, caps, buffer.data(), buffer.length(), flags);
}

} // namespace Vaxo::Ubrix::Shared
