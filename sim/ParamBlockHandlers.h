// The simulated controller's parameter blocks: limits, and the program variables that program
// variable blocks read. Block definitions are kept per client connection. VR, TABLE, system and
// axis parameters come from the controller's memory and parameter storage, I/O words from the
// I/O family's state (a channel is set when its input or its output is on).
#pragma once

#include "sim/Simulator.h"

#include <cstdint>
#include <string_view>

namespace Vaxo::Sim {

struct ParamBlockLimits {
    unsigned maxBlocks = 16;      // answered to PRMBLK(5)
    unsigned maxEntries = 256;    // answered to PRMBLK(6)
    bool enforceEntries = true;   // refuse definitions beyond maxEntries (off: accept any number)
};

void setParamBlockLimits(Simulator& sim, const ParamBlockLimits& limits);
// The text a program variable block reports for program.name; unset variables read "0".
void setProgramVariable(Simulator& sim, std::string_view program, std::string_view name, std::string_view value);
// Blocks defined on one connection (1 for the first connection accepted).
std::size_t paramBlockCount(Simulator& sim, std::uint32_t connection);

} // namespace Vaxo::Sim
