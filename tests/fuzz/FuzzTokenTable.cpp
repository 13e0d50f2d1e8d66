// The token-table reader fed arbitrary bytes, then looked up and used to encode.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "shared/protocol/Token.h"
#include "shared/protocol/TokenBuffer.h"

using namespace Vaxo::Ubrix::Shared;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const EventCallback quiet = [](EventType, std::uint64_t, std::string_view) {};
    Token token(quiet);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (token.LoadTokenTable(text) == ErrorCode::Success) {
        TokenBuffer160 b;
        unsigned short code;
        for (int k = 0; k < int(KnownTokens_Count); ++k)
            if (token.getTokenCode(KnownTokens(k), code) == ErrorCode::Success)
                token.appendTokenCode(code, b);
        token.appendTokenWithModifierOrIndexer(b, "SPEED AXIS(3)");
    }
    return 0;
}
