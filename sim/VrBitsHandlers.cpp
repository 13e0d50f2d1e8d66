// Single bits of VRs: SET_BIT, CLEAR_BIT and READ_BIT (bit number, VR index), the VR taken as
// an integer.
#include "sim/Controller.h"

#include <cmath>
#include <cstdint>

namespace Vaxo::Sim {
namespace {

enum class BitOp { Set, Clear, Read };

// name ( bit , index ) -> standard response (READ_BIT: value 0 or 1)
void onBit(Exchange& x, BitOp op) {
    auto& vr = x.controller.vr();
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.size() != 2 || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::size_t bit, index;
    if (!indexOf(x.scratch[0], 53, bit) || !indexOf(x.scratch[1], vr.size(), index))
        return x.fail(Status::ParameterOutOfRange);
    const double v = vr[index];
    if (!(std::fabs(v) < 9007199254740992.0)) return x.fail(Status::ParameterOutOfRange);
    auto word = static_cast<std::int64_t>(v);
    const std::int64_t mask = std::int64_t(1) << bit;
    switch (op) {
    case BitOp::Set: vr[index] = static_cast<double>(word | mask); break;
    case BitOp::Clear: vr[index] = static_cast<double>(word & ~mask); break;
    case BitOp::Read: return x.answer((word & mask) ? 1.0 : 0.0);
    }
    x.answer(0);
}

void onSetBit(Exchange& x) { onBit(x, BitOp::Set); }
void onClearBit(Exchange& x) { onBit(x, BitOp::Clear); }
void onReadBit(Exchange& x) { onBit(x, BitOp::Read); }

} // namespace

void registerVrBitsHandlers(Dispatch& d) {
    d.add("SET_BIT", &onSetBit);
    d.add("CLEAR_BIT", &onClearBit);
    d.add("READ_BIT", &onReadBit);
}

} // namespace Vaxo::Sim
