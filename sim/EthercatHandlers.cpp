// EtherCAT master commands of the simulated controller.
//
// ETHERCAT ( function , ... ) ZERO; a VR index of -1 means "answer in the reply", any other
// index receives the answer and the reply's value is 0. Functions and their values:
//   0 slot [, option [, arg]]            start the network: every online slave goes to Op
//   1 slot                               stop it: every slave back to Init
//   2 slot, position, vr                 1 if the slave is online
//   3 slot, vr                           number of slaves
//   4 slot, position, vr                 slave's address;  5: its axis (-1 none)
//   33 slot, state, position             set the state of one slave, or (position -1) of all
//   34 slot [, vr]                       network state
//   49 slot, position, address, size, vr read 1-4 ESC register bytes, first byte lowest
//   50 slot, position, address, size, -1, data      write them
//   100 slot [, position [, arg]]        reset sequence (counted)
//   121 slot, position, -1, mask, pattern | slot, position, vr (mask VR(vr), pattern VR(vr+1))
//   122 slot, position                   "mask pattern\r\n", then the standard response
//   122 slot, position, vr               mask into VR(vr), pattern into VR(vr+1)
//   135 slot                             display the configuration (counted)
//   145 -1, value | vr                   SYNC0 start time
//   147 slot, position, -1, value | slot, position, vr      distributed-clock master
//   224 slot, value;  225 slot [, vr]    emergency message control
// CO_READ ( slot , position , index , subindex , type , vr ) and CO_READ_AXIS ( axis , index ,
// subindex , type , vr ) read a CANopen object; CO_WRITE / CO_WRITE_AXIS take the same values
// and, after a VR index of -1, the value (a number or a quoted text), else the VR's value.
#include "sim/EthercatHandlers.h"

#include "sim/Controller.h"

#include <cmath>
#include <string_view>

namespace Vaxo::Sim {
namespace {

constexpr std::uint16_t kSlaveError = 87;
constexpr std::uint16_t kInvalidEcAxis = 282;
constexpr std::uint16_t kOutOfRange = Status::ParameterOutOfRange;

// OPENBRACKETS number {COMMA number} [COMMA text] CLOSEBRACKETS, end of request.
std::uint16_t parseValues(Exchange& x, std::string* text, bool* hasText) {
    x.scratch.clear();
    if (hasText) *hasText = false;
    if (!x.args.accept("OPENBRACKETS")) return Status::OpenBracketExpected;
    for (;;) {
        double v;
        std::string_view t;
        if (x.args.number(v)) {
            x.scratch.push_back(v);
        } else if (text && x.args.text(t)) {
            *text = std::string(t);
            *hasText = true;
            if (!x.args.accept("CLOSEBRACKETS")) return Status::CloseRoundBracketExpected;
            break;
        } else {
            return Status::OperandExpected;
        }
        if (x.args.accept("CLOSEBRACKETS")) break;
        if (!x.args.accept("COMMA")) return x.args.atEnd() ? Status::CloseRoundBracketExpected : Status::CommaExpected;
    }
    return x.args.atEnd() ? 0 : Status::ExtraCharsAtEoln;
}

bool whole(double v, std::int32_t& out) {
    if (!(v >= -2147483648.0 && v <= 2147483647.0) || v != std::floor(v)) return false;
    out = static_cast<std::int32_t>(v);
    return true;
}

EthercatNetwork* networkOf(Exchange& x, double slot) {
    std::int32_t s;
    if (!whole(slot, s)) return nullptr;
    auto& nets = ethercatState(x.controller).networks;
    auto it = nets.find(s);
    return it == nets.end() ? nullptr : &it->second;
}

EthercatSlave* slaveOf(EthercatNetwork& net, double position) {
    std::size_t i;
    if (!indexOf(position, net.slaves.size(), i)) return nullptr;
    return &net.slaves[i];
}

// The VR a VR index names, or null for -1 (and for an invalid index, with *bad set).
double* vrOf(Exchange& x, double index, bool& bad) {
    bad = false;
    if (index == -1) return nullptr;
    std::size_t i;
    if (!indexOf(index, x.controller.vr().size(), i)) {
        bad = true;
        return nullptr;
    }
    return &x.controller.vr()[i];
}

// Answers value in the reply (VR index -1) or stores it in the VR.
void result(Exchange& x, double vrIndex, double value) {
    bool bad;
    double* vr = vrOf(x, vrIndex, bad);
    if (bad) return x.fail(kOutOfRange);
    if (!vr) return x.answer(value);
    *vr = value;
    x.answer(0);
}

// Two results: in VR(vr) and VR(vr + 1), or as one line of text, the two numbers apart by a space.
void resultPair(Exchange& x, const double* vrIndex, std::uint32_t a, std::uint32_t b) {
    if (!vrIndex) return x.answerText(std::to_string(a) + " " + std::to_string(b) + "\r\n");
    std::size_t i;
    if (!indexOf(*vrIndex, x.controller.vr().size() - 1, i)) return x.fail(kOutOfRange);
    x.controller.vr()[i] = a;
    x.controller.vr()[i + 1] = b;
    x.answer(0);
}

// A value given after -1, or taken from the VR the index names.
bool valueOrVr(Exchange& x, const std::vector<double>& v, std::size_t at, double& out) {
    if (v.size() == at + 2 && v[at] == -1) {
        out = v[at + 1];
        return true;
    }
    if (v.size() != at + 1) return false;
    bool bad;
    const double* vr = vrOf(x, v[at], bad);
    if (!vr) return false;
    out = *vr;
    return true;
}

bool validState(double s) {
    return s == EcState::Init || s == EcState::PreOp || s == EcState::Bootstrap || s == EcState::SafeOp ||
           s == EcState::Op;
}

void onEthercat(Exchange& x) {
    if (auto st = parseValues(x, nullptr, nullptr)) return x.fail(st);
    const std::vector<double> v = x.scratch;
    if (v.size() < 2) return x.fail(kOutOfRange);
    const double fn = v[0];
    EthercatState& ec = ethercatState(x.controller);

    // Functions without a slot first.
    if (fn == 145) {
        double value;
        std::int32_t t;
        if (!valueOrVr(x, v, 1, value) || !whole(value, t)) return x.fail(kOutOfRange);
        ec.sync0StartTime = t;
        return x.answer(0);
    }

    EthercatNetwork* net = networkOf(x, v[1]);
    if (!net) return x.fail(kOutOfRange);
    auto slave = [&](std::size_t at) -> EthercatSlave* { return v.size() > at ? slaveOf(*net, v[at]) : nullptr; };
    const std::size_t n = v.size();

    switch (static_cast<int>(fn == std::floor(fn) ? fn : -1)) {
    case 0:
        if (n > 4) break;
        net->startArgs.assign(v.begin() + 2, v.end());
        net->running = true;
        net->state = EcState::Op;
        for (auto& s : net->slaves) s.state = s.online ? EcState::Op : EcState::Init;
        return x.answer(0);
    case 1:
        if (n != 2) break;
        net->running = false;
        net->state = EcState::Init;
        for (auto& s : net->slaves) s.state = EcState::Init;
        return x.answer(0);
    case 2:
        if (n != 4) break;
        if (auto* s = slave(2)) return result(x, v[3], s->online ? 1 : 0);
        return x.fail(kOutOfRange);
    case 3:
        if (n != 3) break;
        return result(x, v[2], double(net->slaves.size()));
    case 4:
    case 5:
        if (n != 4) break;
        if (auto* s = slave(2)) return result(x, v[3], fn == 4 ? s->address : s->axis);
        return x.fail(kOutOfRange);
    case 33: {
        if (n != 4 || !validState(v[2])) break;
        const auto state = static_cast<std::uint32_t>(v[2]);
        if (v[3] == -1) {
            net->state = state;
            for (auto& s : net->slaves) s.state = state;
            return x.answer(0);
        }
        auto* s = slave(3);
        if (!s) break;
        if (!s->online) return x.fail(kSlaveError);
        s->state = state;
        return x.answer(0);
    }
    case 34:
        if (n == 2) return x.answer(net->state);
        if (n == 3) return result(x, v[2], net->state);
        break;
    case 49:
    case 50: {
        auto* s = slave(2);
        std::int32_t address, size;
        if (!s || n != (fn == 49 ? 6u : 7u) || !whole(v[3], address) || !whole(v[4], size) || address < 0 ||
            size < 1 || size > 4)
            break;
        if (!s->online) return x.fail(kSlaveError);
        if (fn == 49) {
            std::uint32_t value = 0;
            for (std::int32_t i = 0; i < size; ++i) value |= std::uint32_t(s->esc[std::uint32_t(address + i)]) << (8 * i);
            return result(x, v[5], value);
        }
        if (v[5] != -1 || !(v[6] >= 0 && v[6] < 4294967296.0)) break;
        const auto data = static_cast<std::uint32_t>(v[6]);
        for (std::int32_t i = 0; i < size; ++i) s->esc[std::uint32_t(address + i)] = std::uint8_t(data >> (8 * i));
        return x.answer(0);
    }
    case 100:
        if (n > 4) break;
        if (n == 2) {
            ++net->resets;
            return x.answer(0);
        }
        if (auto* s = slave(2)) {
            ++s->resets;
            return x.answer(0);
        }
        break;
    case 121: {
        auto* s = slave(2);
        if (!s) break;
        if (n == 6 && v[3] == -1) {
            s->statusMask = static_cast<std::uint32_t>(static_cast<std::int64_t>(v[4]));
            s->triggerPattern = static_cast<std::uint32_t>(static_cast<std::int64_t>(v[5]));
            return x.answer(0);
        }
        std::size_t i;
        if (n != 4 || !indexOf(v[3], x.controller.vr().size() - 1, i)) break;
        s->statusMask = static_cast<std::uint32_t>(static_cast<std::int64_t>(x.controller.vr()[i]));
        s->triggerPattern = static_cast<std::uint32_t>(static_cast<std::int64_t>(x.controller.vr()[i + 1]));
        return x.answer(0);
    }
    case 122: {
        auto* s = slave(2);
        if (!s || n > 4) break;
        return resultPair(x, n == 4 ? &v[3] : nullptr, s->statusMask, s->triggerPattern);
    }
    case 135:
        if (n != 2) break;
        ++ec.displays;
        return x.answer(0);
    case 147: {
        auto* s = slave(2);
        double value;
        std::int32_t t;
        if (!s || !valueOrVr(x, v, 3, value) || !whole(value, t)) break;
        s->distrClock = t;
        return x.answer(0);
    }
    case 224: {
        std::int32_t t;
        if (n != 3 || !whole(v[2], t)) break;
        net->emergencyMsgControl = static_cast<std::uint32_t>(t);
        return x.answer(0);
    }
    case 225:
        if (n == 2) return x.answer(net->emergencyMsgControl);
        if (n == 3) return result(x, v[2], net->emergencyMsgControl);
        break;
    default:
        break;
    }
    x.fail(kOutOfRange);
}

// The slave a CANopen command names: (slot, position) or an axis. Fails the exchange when none.
EthercatSlave* coSlave(Exchange& x, bool byAxis, std::size_t& next) {
    const auto& v = x.scratch;
    if (byAxis) {
        next = 1;
        std::int32_t axis;
        if (v.empty() || !whole(v[0], axis) || axis < 0) return x.fail(kInvalidEcAxis), nullptr;
        for (auto& [slot, net] : ethercatState(x.controller).networks)
            for (auto& s : net.slaves)
                if (s.axis == axis) return &s;
        return x.fail(kInvalidEcAxis), nullptr;
    }
    next = 2;
    EthercatNetwork* net = v.size() >= 2 ? networkOf(x, v[0]) : nullptr;
    EthercatSlave* s = net ? slaveOf(*net, v[1]) : nullptr;
    if (!s) x.fail(kOutOfRange);
    return s;
}

void onCoAccess(Exchange& x, bool byAxis, bool write) {
    std::string text;
    bool hasText = false;
    if (auto st = parseValues(x, write ? &text : nullptr, &hasText)) return x.fail(st);
    std::size_t at = 0;
    EthercatSlave* s = coSlave(x, byAxis, at);
    if (!s) return;
    const std::vector<double> v = x.scratch;
    // index, subindex, type, vr [, value]
    if (v.size() < at + 4) return x.fail(Status::OperandExpected);
    std::int32_t index, sub, type;
    if (!whole(v[at], index) || !whole(v[at + 1], sub) || !whole(v[at + 2], type) || index < 0 || sub < 0)
        return x.fail(kOutOfRange);
    if (!s->online) return x.fail(kSlaveError);
    const auto key = std::make_pair(std::uint32_t(index), std::uint32_t(sub));
    const double vrIndex = v[at + 3];
    if (!write) {
        if (v.size() != at + 4) return x.fail(Status::ExtraCharsAtEoln);
        auto it = s->objects.find(key);
        if (it == s->objects.end() || it->second.isText) return x.fail(kSlaveError);
        return result(x, vrIndex, it->second.value);
    }
    CoObject obj;
    if (hasText) {
        if (v.size() != at + 4 || vrIndex != -1) return x.fail(Status::ExtraCharsAtEoln);
        obj.text = text;
        obj.isText = true;
    } else if (!valueOrVr(x, v, at + 3, obj.value)) {
        return x.fail(kOutOfRange);
    }
    s->objects[key] = obj;
    x.answer(0);
}

void onCoRead(Exchange& x) { onCoAccess(x, false, false); }
void onCoReadAxis(Exchange& x) { onCoAccess(x, true, false); }
void onCoWrite(Exchange& x) { onCoAccess(x, false, true); }
void onCoWriteAxis(Exchange& x) { onCoAccess(x, true, true); }

} // namespace

std::map<std::int32_t, EthercatNetwork> EthercatState::defaultNetworks() {
    EthercatNetwork net;
    net.slaves.resize(2);
    for (std::size_t i = 0; i < net.slaves.size(); ++i) {
        net.slaves[i].address = 1001 + std::int32_t(i);
        net.slaves[i].axis = std::int32_t(i);
    }
    return {{0, net}};
}

EthercatState& ethercatState(Controller& c) { return c.extension<EthercatState>(); }

void registerEthercatHandlers(Dispatch& d) {
    d.add("ETHERCAT", &onEthercat);
    d.add("CO_READ", &onCoRead);
    d.add("CO_READ_AXIS", &onCoReadAxis);
    d.add("CO_WRITE", &onCoWrite);
    d.add("CO_WRITE_AXIS", &onCoWriteAxis);
}

} // namespace Vaxo::Sim
