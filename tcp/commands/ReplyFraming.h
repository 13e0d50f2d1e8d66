// Reply framing: the reply text read one byte at a time into a parser, then the standard
// response. The timeout runs from the last byte received (a zero command timeout sets no
// limit); each silent spell after data gets at most one unknown-token nudge, so that a
// controller waiting for more input answers. Each byte is an exact read through the port's
// read-ahead buffer: a reply that arrives in one segment costs one socket read, not one a byte.
#pragma once

#include <chrono>

#include "tcp/commands/Command.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

template <class Parser>
ErrorCode stringReplyRead(Connection_TCP& connection, std::uint32_t awaitedId, Parser& parser,
                          stStandardCmdReply* reply = nullptr) {
    using Clock = std::chrono::steady_clock;
    auto lastByte = Clock::now();
    const unsigned int limit = connection.commandTimeout();
    const auto timeout = std::chrono::milliseconds(limit);
    int lastRead = -1;
    std::uint32_t consumed = 0;
    bool nudged = false;
    char byte = 0;
    ErrorCode result = ErrorCode::Success;
    do {
        if (lastRead == 0 && !nudged) {
            result = connection.forceACK(awaitedId);
            if (failed(result))
                return result;
            nudged = true;
        }
        unsigned int got = 1;
        result = connection.ReadBytes(&byte, 1, 1);
        if (result == ErrorCode::Timeout) {
            got = 0;
            result = ErrorCode::Success;
        } else if (failed(result)) {
            return result;
        }
        lastRead = int(got);
        consumed = 0;
        if (got) {
            lastByte = Clock::now();
            result = parser.feedData(&byte, 1, consumed);
            if (failed(result))
                return result;
            if (consumed == 0 && !parser.done())
                return ErrorCode::BadResponse;
            nudged = false;
        }
    } while (!parser.done() && (lastRead == 0 || consumed != 0) && (limit == 0 || Clock::now() - lastByte < timeout));

    if (!parser.done() && lastRead == 0)
        return ErrorCode::Timeout;
    if (lastRead > 0 && consumed == 0) {
        result = connection.UnReadBytes(&byte, 1);
        if (failed(result))
            return result;
    }
    if (reply)
        return connection.GetResponse(reply->value, reply->status);
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::TCP
