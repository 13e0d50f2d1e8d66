// The simulated controller's token table: every name the library knows plus extras, with codes
// shuffled by a seed, and the text in which the controller sends it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vaxo::Sim {

// One record of the table. Names point to static storage and outlive every table.
struct TokenEntry {
    std::string_view name;
    char kind = 0;            // 'C' command, 'V' system variable, 'M' modifier, 'S' symbol, 'E', 'T' constant
    std::uint16_t code = 0;   // token code; for 'V' the system-variable code
    double constant = 0.0;    // 'T' records: the constant's value
    bool duplicate = false;   // a second record of a name already sent: the controller never uses its code
};

// The protocol symbols the decoder needs at once.
struct SymbolCodes {
    std::uint16_t zero = 200, extended = 255, unknown = 57, tokenTable = 0;
    std::uint16_t number = 0xFFFF, eox = 0xFFFF, quotes = 0xFFFF;
    std::uint16_t sysVar = 0xFFFF, sysVar2 = 0xFFFF, sysVar16 = 0xFFFF;  // 0xFFFF: not in the table
};

class TokenTable {
public:
    // The codes every controller understands before its table has been read: TOKENTABLE 0,
    // ZERO 200, EXTENDED_TOKEN 255, UNKNOWN 57.
    static TokenTable defaults();
    // A table for one run: codes shuffled by seed; SYSTEMVARIABLE16 only when systemVariable16,
    // the PORT modifier only when portModifier.
    TokenTable(std::uint32_t seed, bool systemVariable16, bool bracketedHeader = false, bool portModifier = true);

    const SymbolCodes& symbols() const noexcept { return sym_; }
    const std::vector<TokenEntry>& entries() const noexcept { return entries_; }

    // Records by code: tokens (every kind but 'V') and system variables have separate code spaces.
    const TokenEntry* token(std::uint16_t code) const noexcept;
    const TokenEntry* sysVar(std::uint16_t code) const noexcept;
    // The first record of that name (and kind, 0 = any); null when absent.
    const TokenEntry* find(std::string_view name, char kind = 0) const noexcept;

    // The controller's reply to TOKENTABLE: CR LF terminated records, then "[EOT]" CR LF.
    const std::string& text() const noexcept { return text_; }

private:
    TokenTable() = default;
    void index();
    void render(bool bracketedHeader, std::uint32_t seed);

    std::vector<TokenEntry> entries_;          // in the order sent
    std::vector<std::int32_t> tokenIndex_;     // code -> entry, -1 none
    std::vector<std::int32_t> sysVarIndex_;    // code -> entry, -1 none
    SymbolCodes sym_;
    std::string text_;
};

} // namespace Vaxo::Sim
