// Sending a request (see TokenSend.h).
#include "shared/protocol/TokenSend.h"

#include "shared/transport/Port.h"

namespace Vaxo::Ubrix::Shared {

unsigned escapedLengthEstimate(const unsigned char* data, unsigned length) {
    if (length == 0)
        return 0;
    unsigned estimate = length;
    for (unsigned i = 0; i + 1 < length; ++i) {
        if (needsEscaping(data[i])) {
            ++estimate;
            break;
        }
    }
    if (data[length - 1] == kEscapeByte)
        ++estimate;
    return estimate;
}

ErrorCode sendTokenbuffer(Port& port, const ControllerCapabilities& caps, const unsigned char* data, unsigned length,
                          unsigned flags) {
    const unsigned limit = caps.GetRemoteBufferSize();
    const bool checkSize = (flags & SendCheckSize) != 0;
    if (checkSize && length > limit)
        return ErrorCode::Remote_TokenBuffer;

    const char* bytes = reinterpret_cast<const char*>(data);
    if (!(flags & SendEscape) || !caps.IsCommunicationsEscaped())
        return port.Write(bytes, length);

    const unsigned estimate = escapedLengthEstimate(data, length);
    if (estimate == length)
        return port.Write(bytes, length);
    if (checkSize && estimate > limit)
        return ErrorCode::Remote_TokenBuffer;

    char chunk[2 * kEscapeChunk];
    for (unsigned start = 0; start < length; start += kEscapeChunk) {
        const unsigned end = length - start > kEscapeChunk ? start + kEscapeChunk : length;
        unsigned out = 0;
        for (unsigned i = start; i < end; ++i) {
            if (needsEscaping(data[i]))
                chunk[out++] = char(kEscapeByte);
            chunk[out++] = char(data[i]);
        }
        // The controller takes a 0x01 that ends a write as it stands: its escape is dropped.
        if (out >= 2 && chunk[out - 1] == 0x01 && chunk[out - 2] == char(kEscapeByte)) {
            chunk[out - 2] = 0x01;
            --out;
        }
        if (ErrorCode e = port.Write(chunk, out); failed(e))
            return e;
    }
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
