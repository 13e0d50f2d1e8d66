// Digital and analogue I/O of the simulated controller: inputs that tests set, outputs the
// client sets, analogue channels and the inversion of inputs.
//
//     setDigitalInput(sim, 3, true);     // IN(3) now answers 1 (or 0 with INVERT_IN(3, 1))
//     digitalOutput(sim, 5)              // after OP(5, 5, 1): true
#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

namespace Vaxo::Sim {

class Controller;
class Dispatch;
class Simulator;

void registerIOHandlers(Dispatch& d);

struct IOState {
    static constexpr std::uint32_t kDigitalChannels = 256;
    static constexpr std::uint32_t kAnalogueChannels = 64;
    std::bitset<kDigitalChannels> inputs;    // the raw input levels
    std::bitset<kDigitalChannels> outputs;
    std::bitset<kDigitalChannels> inverted;  // INVERT_IN: the input reads the other way
    std::vector<double> analogueIn = std::vector<double>(kAnalogueChannels, 0.0);
    std::vector<double> analogueOut = std::vector<double>(kAnalogueChannels, 0.0);

    // An input as the controller reads it: the level, inverted when INVERT_IN is on.
    bool input(std::uint32_t ch) const { return inputs[ch] != inverted[ch]; }
};

// The I/O state; the caller holds the controller's mutex.
IOState& ioState(Controller& c);

// Locked accessors for tests. Channels beyond the controller's are ignored (reads give 0).
void setDigitalInput(Simulator& sim, std::uint32_t channel, bool on);
bool digitalOutput(Simulator& sim, std::uint32_t channel);
void setDigitalOutput(Simulator& sim, std::uint32_t channel, bool on);
bool inputInverted(Simulator& sim, std::uint32_t channel);
void setAnalogueInput(Simulator& sim, std::uint32_t channel, double value);
double analogueOutput(Simulator& sim, std::uint32_t channel);

} // namespace Vaxo::Sim
