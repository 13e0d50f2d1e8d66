// The controller's request decoder: token codes of one or two bytes, values in the link's number
// format, quoted texts, the three system-variable schemes, escapes removed on escaping links.
#pragma once

#include "sim/Request.h"
#include "sim/TokenTable.h"

#include <cstddef>
#include <cstdint>

namespace Vaxo::Sim {

struct DecodeContext {
    const TokenTable& table;
    NumberFormat format;
    bool escaped;  // 0x1B X stands for X
    bool bodge;    // SYSTEMVARIABLE after the first element carries its high byte as a token code
};

enum class DecodeResult : std::uint8_t {
    Complete,  // a request ended by ZERO; `consumed` bytes make it up
    NeedMore,  // the bytes end inside a request
    Nudge,     // an unknown-token nudge between requests; skip `consumed` bytes, no reply
    Error,     // undecodable: `consumed` reaches through the next ZERO; answer `status`
};

struct DecodeOutcome {
    DecodeResult result = DecodeResult::NeedMore;
    std::size_t consumed = 0;
    std::uint16_t status = 0;
};

// Decodes the request at the start of data[0, n). On Complete and Error, out.raw, out.bytes and
// out.items describe it (items decoded before a fault are kept); otherwise out is unspecified.
// out's vectors are reused, so repeated calls do not allocate once they have grown.
DecodeOutcome decodeRequest(const DecodeContext& ctx, const std::uint8_t* data, std::size_t n, Request& out);

// Controller status numbers the simulated controller answers with.
namespace Status {
constexpr std::uint16_t CommandNotRecognised = 1;
constexpr std::uint16_t OperandExpected = 4;
constexpr std::uint16_t AssignmentExpected = 5;
constexpr std::uint16_t QuotesExpected = 6;
constexpr std::uint16_t ExtraCharsAtEoln = 10;
constexpr std::uint16_t CloseRoundBracketExpected = 16;
constexpr std::uint16_t CommaExpected = 17;
constexpr std::uint16_t ParameterOutOfRange = 19;
constexpr std::uint16_t ValueIsReadOnly = 21;
constexpr std::uint16_t ModifierNotAllowed = 22;
constexpr std::uint16_t VariableNotFound = 64;
constexpr std::uint16_t TableIndexRangeError = 65;
constexpr std::uint16_t OpenBracketExpected = 97;
constexpr std::uint16_t NumberExpected = 98;
constexpr std::uint16_t CommandLineTooLong = 223;
} // namespace Status

} // namespace Vaxo::Sim
