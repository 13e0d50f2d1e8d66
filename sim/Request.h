// What the simulated controller understood of one request. Tests assert on these records.
#pragma once

#include "sim/Wire.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vaxo::Sim {

enum class ItemKind : std::uint8_t {
    Token,   // a token of kind 'C', 'S', 'M', 'E' or 'T' (code of one or two bytes)
    Number,  // NUMBER, 4 or 8 bytes in the controller's format, EOX: one item
    Text,    // QUOTES, the text's bytes, QUOTES: one item
    SysVar,  // a system-variable prefix and its code bytes: one item naming the variable
    Raw,     // a bare byte 0x01 where a token was due (the marker in front of a string value)
};

// How a system variable was written.
enum class SysVarScheme : std::uint8_t {
    None,
    Single,  // SYSTEMVARIABLE, code (code <= 255)
    Second,  // SYSTEMVARIABLE2, code - 256 (256 <= code <= 511)
    Wide,    // SYSTEMVARIABLE16, low byte, high byte
    Bodge,   // SYSTEMVARIABLE, low byte, then the high byte as a token code (not first in the request)
};

struct Item {
    ItemKind kind = ItemKind::Token;
    std::string_view name;    // Token, SysVar: the name as in the table (static storage)
    char tokenKind = 0;       // Token: 'C', 'S', 'M', 'E', 'T'; SysVar: 'V'
    std::uint16_t code = 0;   // Token: the token code; SysVar: the system-variable code
    SysVarScheme scheme = SysVarScheme::None;
    double value = 0.0;       // Number: the value as decoded; Token of kind 'T': the constant
    std::uint8_t byte = 0;    // Raw: the byte
    std::string text;         // Text: the bytes between the two QUOTES

    bool isToken(std::string_view n) const noexcept { return kind == ItemKind::Token && name == n; }
    bool isNumber() const noexcept { return kind == ItemKind::Number; }
};

enum class RequestKind : std::uint8_t {
    Command,    // a token request ended by ZERO
    DataBlock,  // the values of a block transfer (NUMBER bytes EOX each; no escaping, no ZERO)
};

// One decoded request.
//  - raw: the bytes exactly as received, escapes included, through the final ZERO code;
//  - bytes: the same after un-escaping (equal to raw on links that do not escape);
//  - items: the decoded elements in order, without the final ZERO (a data block holds one
//    Number item per value);
//  - status: the status the controller answered (0 success; else the controller error number).
// A request that could not be decoded keeps the items decoded before the fault and its status
// is non-zero. Unknown-token nudges between requests are not requests; see nudgesSeen().
struct Request {
    RequestKind kind = RequestKind::Command;
    std::uint32_t connection = 0;   // 1 for the first connection accepted, 2 for the next, ...
    std::uint64_t sequence = 0;     // order of arrival over all connections
    bool escaped = false;           // the link was escaping when it arrived
    NumberFormat format = NumberFormat::Tms320;  // number format it was decoded with
    std::uint16_t status = 0;
    std::vector<std::uint8_t> raw;
    std::vector<std::uint8_t> bytes;
    std::vector<Item> items;

    // Name of the first item: the command token or the system variable ("" if none).
    std::string_view command() const noexcept { return items.empty() ? std::string_view{} : items.front().name; }
    // Items as words: token and variable names, numbers in shortest form, texts in double
    // quotes, raw bytes as <01>; e.g. "VR OPENBRACKETS 12 CLOSEBRACKETS ASSIGN 2.5".
    std::string str() const;
};

} // namespace Vaxo::Sim
