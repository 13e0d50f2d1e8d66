// Token expressions ("NAME", "NAME(i)", "NAME MODIFIER(i)") of arbitrary text against a real table.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "shared/protocol/Token.h"
#include "shared/protocol/TokenBuffer.h"

using namespace Vaxo::Ubrix::Shared;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const EventCallback quiet = [](EventType, std::uint64_t, std::string_view) {};
    static Token* token = [] {
        auto* t = new Token(quiet);
        std::string table;
        // Every known name with a code, in the controller's record form.
        for (int k = 0; k < int(KnownTokens_Count); ++k) {
            const char kind = getKnownTokenType(KnownTokens(k));
            table += kind;
            table += ',';
            table += std::to_string(k + 1);
            table += ',';
            table += getKnownTokenName(KnownTokens(k));
            table += "\r\n";
        }
        table += "S,200,ZERO\r\nS,255,EXTENDED_TOKEN\r\n[EOT]\r\n";
        t->LoadTokenTable(table);
        return t;
    }();
    const std::string_view expr(reinterpret_cast<const char*>(data), size);
    TokenBuffer160 b;
    token->appendTokenWithModifierOrIndexer(b, expr);
    return 0;
}
