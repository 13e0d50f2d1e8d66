// Digital and analogue I/O commands of the simulated controller.
#include "sim/IOHandlers.h"

#include "sim/Controller.h"
#include "sim/Simulator.h"

#include <cmath>

namespace Vaxo::Sim {
namespace {

constexpr std::uint16_t kInvalidIoChannel = 71;

bool channelOf(double v, std::uint32_t count, std::uint32_t& ch) {
    std::size_t i;
    if (!indexOf(v, count, i)) return false;
    ch = static_cast<std::uint32_t>(i);
    return true;
}

// A 32-bit mask from a number: a whole number in [0, 2^32).
bool maskOf(double v, std::uint32_t& mask) {
    if (!(v >= 0 && v < 4294967296.0) || v != std::floor(v)) return false;
    mask = static_cast<std::uint32_t>(v);
    return true;
}

// Values in brackets, or none when the request ends after the command.
std::uint16_t optionalValues(Exchange& x) {
    x.scratch.clear();
    if (x.args.atEnd()) return 0;
    if (auto st = x.args.bracketed(x.scratch)) return st;
    return x.args.atEnd() ? 0 : Status::ExtraCharsAtEoln;
}

// Channels first..last (at most 32) of a bank as a mask, bit 0 for first.
template <class Bit>
void answerRange(Exchange& x, Bit bit) {
    const auto& v = x.scratch;
    std::uint32_t first = 0, last = 31;
    if (v.size() > 2) return x.fail(Status::ParameterOutOfRange);
    if (v.size() >= 1 && !channelOf(v[0], IOState::kDigitalChannels, first)) return x.fail(kInvalidIoChannel);
    last = v.size() == 1 ? first : last;
    if (v.size() == 2 && !channelOf(v[1], IOState::kDigitalChannels, last)) return x.fail(kInvalidIoChannel);
    if (last < first || last - first > 31) return x.fail(kInvalidIoChannel);
    std::uint32_t mask = 0;
    for (std::uint32_t ch = first; ch <= last; ++ch)
        if (bit(ch)) mask |= 1u << (ch - first);
    x.answer(mask);
}

// IN                 -> inputs 0-31 as a mask
// IN(ch)             -> 1 or 0
// IN(first, last)    -> inputs first..last as a mask, bit 0 = first
void onIn(Exchange& x) {
    if (auto st = optionalValues(x)) return x.fail(st);
    IOState& io = ioState(x.controller);
    answerRange(x, [&](std::uint32_t ch) { return io.input(ch); });
}

// READ_OP(ch), READ_OP(first, last): like IN for the outputs; a channel is required.
void onReadOp(Exchange& x) {
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    IOState& io = ioState(x.controller);
    answerRange(x, [&](std::uint32_t ch) { return io.outputs[ch]; });
}

// OP                      -> outputs 0-31 as a mask
// OP(mask)                -> outputs 0-31 from the mask
// OP(first, last, value)  -> outputs first..last from value, bit 0 = first
void onOp(Exchange& x) {
    if (auto st = optionalValues(x)) return x.fail(st);
    IOState& io = ioState(x.controller);
    const auto& v = x.scratch;
    if (v.empty()) {
        x.scratch.clear();
        return answerRange(x, [&](std::uint32_t ch) { return io.outputs[ch]; });
    }
    std::uint32_t first = 0, last = 31, value = 0;
    if (v.size() == 1) {
        if (!maskOf(v[0], value)) return x.fail(Status::ParameterOutOfRange);
    } else if (v.size() == 3) {
        if (!channelOf(v[0], IOState::kDigitalChannels, first) || !channelOf(v[1], IOState::kDigitalChannels, last) ||
            last < first || last - first > 31)
            return x.fail(kInvalidIoChannel);
        if (!maskOf(v[2], value)) return x.fail(Status::ParameterOutOfRange);
    } else {
        return x.fail(Status::ParameterOutOfRange);
    }
    for (std::uint32_t ch = first; ch <= last; ++ch) io.outputs[ch] = (value >> (ch - first)) & 1u;
    x.answer(0);
}

// AIN(ch) -> the analogue input
void onAin(Exchange& x) {
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    std::uint32_t ch;
    if (x.scratch.size() != 1 || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (!channelOf(x.scratch[0], IOState::kAnalogueChannels, ch)) return x.fail(kInvalidIoChannel);
    x.answer(ioState(x.controller).analogueIn[ch]);
}

// AOUT(ch)             -> the analogue output
// AOUT(ch) ASSIGN v    -> sets it
void onAout(Exchange& x) {
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    std::uint32_t ch;
    if (x.scratch.size() != 1) return x.fail(Status::CloseRoundBracketExpected);
    if (!channelOf(x.scratch[0], IOState::kAnalogueChannels, ch)) return x.fail(kInvalidIoChannel);
    auto& out = ioState(x.controller).analogueOut;
    if (x.args.atEnd()) return x.answer(out[ch]);
    double v;
    if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
    if (!x.args.number(v)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    out[ch] = v;
    x.answer(0);
}

// INVERT_IN(ch)        -> 1 when inverted
// INVERT_IN(ch, on)    -> sets the inversion (on is 1 or 0)
void onInvertIn(Exchange& x) {
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (!x.args.atEnd() || x.scratch.empty() || x.scratch.size() > 2) return x.fail(Status::ExtraCharsAtEoln);
    std::uint32_t ch;
    if (!channelOf(x.scratch[0], IOState::kDigitalChannels, ch)) return x.fail(kInvalidIoChannel);
    auto& inv = ioState(x.controller).inverted;
    if (x.scratch.size() == 1) return x.answer(inv[ch] ? 1 : 0);
    if (x.scratch[1] != 0 && x.scratch[1] != 1) return x.fail(Status::ParameterOutOfRange);
    inv[ch] = x.scratch[1] == 1;
    x.answer(0);
}

template <class F>
decltype(auto) locked(Simulator& sim, F&& f) {
    return sim.withState([&](Controller& c) { return f(ioState(c)); });
}

} // namespace

IOState& ioState(Controller& c) { return c.extension<IOState>(); }

void setDigitalInput(Simulator& sim, std::uint32_t channel, bool on) {
    locked(sim, [&](IOState& io) {
        if (channel < IOState::kDigitalChannels) io.inputs[channel] = on;
    });
}
bool digitalOutput(Simulator& sim, std::uint32_t channel) {
    return locked(sim, [&](IOState& io) { return channel < IOState::kDigitalChannels && io.outputs[channel]; });
}
void setDigitalOutput(Simulator& sim, std::uint32_t channel, bool on) {
    locked(sim, [&](IOState& io) {
        if (channel < IOState::kDigitalChannels) io.outputs[channel] = on;
    });
}
bool inputInverted(Simulator& sim, std::uint32_t channel) {
    return locked(sim, [&](IOState& io) { return channel < IOState::kDigitalChannels && io.inverted[channel]; });
}
void setAnalogueInput(Simulator& sim, std::uint32_t channel, double value) {
    locked(sim, [&](IOState& io) {
        if (channel < IOState::kAnalogueChannels) io.analogueIn[channel] = value;
    });
}
double analogueOutput(Simulator& sim, std::uint32_t channel) {
    return locked(sim, [&](IOState& io) { return channel < IOState::kAnalogueChannels ? io.analogueOut[channel] : 0.0; });
}

void registerIOHandlers(Dispatch& d) {
    d.add("IN", &onIn);
    d.add("READ_OP", &onReadOp);
    d.add("OP", &onOp);
    d.add("AIN", &onAin);
    d.add("AOUT", &onAout);
    d.add("INVERT_IN", &onInvertIn);
}

} // namespace Vaxo::Sim
