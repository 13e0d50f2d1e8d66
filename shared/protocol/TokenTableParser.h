// The controller's token table as it arrives after a TOKENTABLE request: CR LF terminated text
// records, ended by the line "[EOT]". The parser is fed bytes and never touches a socket, so the
// table reader, the tests and the fuzzer all drive the same code.
#pragma once

#include "shared/protocol/TokenMapByName.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Vaxo::Ubrix::Shared {

// One record of the controller's table. The attributes are kept as parsed; no encoder reads
// them. 'C': numbers[0..5] and flags; 'V': numbers[0] and flags; 'M': numbers[0..2];
// 'T': value (the constant).
struct TokenDef {
    char kind = 0; // 'C', 'V', 'M', 'S', 'E', 'T'; 0 in a look-up means any kind
    std::uint16_t code = 0;
    std::string name;
    std::uint32_t numbers[6] = {};
    std::uint8_t flags = 0;
    double value = 0.0;
};

class TokenTableParser {
public:
    // Longer names do not occur in any table; such a record is dropped (its line skipped) so a
    // garbled stream cannot make the index grow without bound.
    static constexpr std::size_t kMaxNameLength = 255;

    explicit TokenTableParser(TokenMapByName<TokenDef>& map) : m_map(map) {}

    // Feeds one byte; true once the end marker is complete. Bytes after that are not looked at.
    bool feed(char c);
    // Feeds up to `length` bytes; returns how many were taken (all of them, or up to and
    // including the byte that completed the end marker).
    std::size_t feed(const char* data, std::size_t length);

    bool done() const { return m_state == State::Done; }
    // A record of an unknown kind was met: every further byte is ignored.
    bool ignoring() const { return m_state == State::Ignore; }
    std::size_t recordsStored() const { return m_stored; }
    std::size_t recordsDropped() const { return m_dropped; }
    void reset();

private:
    enum class State : std::uint8_t {
        LineStart, // the first character selects the record kind
        Code,      // code digits
        Name,      // name up to ',' (CR for 'S' and 'E')
        Number,    // attribute numbers, each ended by any non-digit
        Flags,     // flag letters up to '>'
        Value,     // 'T' value with four implied decimals
        AfterRecord, // LF starts the next record, anything else skips the line
        SkipLine,  // wait for CR LF
        Marker,    // match "EOT]" CR LF
        Ignore,    // unknown record kind: nothing more is understood
        Done,
    };

    void startRecord(char kind);
    void store();
    void flag(char c);
    void skipLine(char c);

    TokenMapByName<TokenDef>& m_map;
    State m_state = State::LineStart;
    TokenDef m_record;
    unsigned m_numberIndex = 0;
    unsigned m_numbersWanted = 0;
    unsigned m_match = 0;
    std::uint32_t m_code = 0;
    double m_value = 0.0;
    bool m_negative = false;
    std::size_t m_stored = 0;
    std::size_t m_dropped = 0;
};

} // namespace Vaxo::Ubrix::Shared
