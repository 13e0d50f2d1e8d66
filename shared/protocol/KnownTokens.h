// The token names the library itself uses, as an enumeration and a table of (value, name,
// kind). Both are expanded from <vaxo/Tokens.def>, so they cannot drift apart; the codes behind
// the names come from each controller's own table at connect time.
#pragma once

#include <cstddef>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// Scoped: several names (FILE, IN, TABLE, ...) would otherwise shadow common identifiers.
enum class KnownTokens : unsigned short {
#define VAXO_TOKEN(name, kind) name,
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
};

inline constexpr unsigned KnownTokens_Count = unsigned(KnownTokens::PROJECT_KEY_REGISTRY) + 1;

static_assert(KnownTokens_Count == 401, "the known-token list has 401 rows");
static_assert(unsigned(KnownTokens::REGIST) == 256, "row positions are the enumerator values");

struct stKnownToken {
    KnownTokens token;
    std::string_view name;
    char kind;
};

inline constexpr stKnownToken _token_names[] = {
#define VAXO_TOKEN(name, kind) {KnownTokens::name, #name, kind},
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
};

static_assert(std::size(_token_names) == KnownTokens_Count);

// True when every row holds its own row number as its enumerator value.
bool Tokens_CheckIntegrity();

constexpr std::string_view getKnownTokenName(KnownTokens k) {
    return unsigned(k) < KnownTokens_Count ? _token_names[unsigned(k)].name : std::string_view();
}
constexpr char getKnownTokenType(KnownTokens k) {
    return unsigned(k) < KnownTokens_Count ? _token_names[unsigned(k)].kind : '\0';
}

} // namespace Vaxo::Ubrix::Shared
