// Drives a parser the way the framing loop does: one byte per call, stopping at the first
// byte the parser does not take or once it is done.
#pragma once

#include <vaxo/Types.hpp>

#include <cstdint>
#include <string_view>

namespace ParserTest {

using Vaxo::Ubrix::Shared::ErrorCode;

struct FeedResult {
    ErrorCode error = ErrorCode::Success;
    std::size_t used = 0; // bytes consumed
};

template <class P>
FeedResult feedBytes(P& parser, std::string_view bytes) {
    FeedResult r;
    for (char c : bytes) {
        std::uint32_t consumed = 0;
        if constexpr (requires { parser.feedData(&c, 1u, consumed); })
            r.error = parser.feedData(&c, 1, consumed);
        else
            r.error = parser.Feed(&c, 1, consumed);
        r.used += consumed;
        if (r.error != ErrorCode::Success || consumed == 0)
            break;
        if constexpr (requires { parser.done(); }) {
            if (parser.done())
                break;
        } else if (parser.IsDone()) {
            break;
        }
    }
    return r;
}

} // namespace ParserTest
