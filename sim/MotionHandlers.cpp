// Motion commands of the simulated controller: the modelled moves and stops, and the set-up
// commands that are decoded, checked, kept and acknowledged.
//
// Request shape of every one: command [( v0 , v1 ... )] [MODIFIER AXIS ( n )]. With the modifier
// the values go to axes n, n+1, ...; without it to the BASE axes in order.
#include "sim/MotionHandlers.h"

#include "sim/Controller.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Vaxo::Sim {

// ---------------------------------------------------------------- MotionAxes

MotionAxes::~MotionAxes() {
    if (!ticker_.joinable()) return;
    {
        std::lock_guard lock(c_->mutex());
        stop_ = true;
    }
    cv_.notify_all();
    ticker_.join();
}

void MotionAxes::setAxisCount(std::size_t n) {
    axes_.resize(n);
    base_.clear();
    for (std::size_t i = 0; i < n; ++i) base_.push_back(static_cast<std::uint32_t>(i));
    if (c_) publish();
}

MotionAxes::AxisView MotionAxes::axis(std::size_t index) const {
    AxisView v;
    if (index >= axes_.size()) return v;
    const Axis& a = axes_[index];
    v.dpos = a.pos;
    v.mpos = a.mpos;
    v.speed = std::fabs(a.vel);
    v.idle = !a.active && a.pending.empty();
    v.mtype = a.active ? a.current.type : MoveType::Idle;
    v.ntype = a.pending.empty() ? MoveType::Idle : a.pending.front().type;
    v.buffered = a.pending.size();
    if (a.active && a.current.kind != Move::Continuous && !a.stopping) v.remain = std::fabs(a.target - a.pos);
    return v;
}

std::vector<double> MotionAxes::lastArgs(const std::string& command, std::size_t axis) const {
    auto it = last_.find({command, axis});
    return it == last_.end() ? std::vector<double>{} : it->second;
}

void MotionAxes::record(const std::string& command, std::size_t axis, std::vector<double> args) {
    last_[{command, axis}] = std::move(args);
}

void MotionAxes::freeze(bool frozen) {
    if (frozen) advance();
    frozen_ = frozen;
    lastTick_ = std::chrono::steady_clock::now();
    cv_.notify_all();
}

void MotionAxes::step(unsigned cycles) {
    if (!c_) return;  // nothing has moved yet
    const double dt = std::chrono::duration<double>(period()).count();
    for (unsigned k = 0; k < cycles; ++k) tick(dt);
    publish();
}

void MotionAxes::attach(Controller& c) {
    if (c_) return;
    c_ = &c;
    const TokenTable& t = c.table();
    auto var = [&](const char* name) -> std::uint16_t {
        const TokenEntry* e = t.find(name, 'V');
        return e ? e->code : 0xFFFF;
    };
    const TokenEntry* axisModifier = t.find("AXIS", 'M');
    codes_ = {axisModifier ? axisModifier->code : std::uint16_t(0xFFFF),
              var("DPOS"), var("MPOS"), var("IDLE"), var("MTYPE"), var("NTYPE"), var("REMAIN"), var("VP_SPEED"),
              var("SPEED"), var("FORCE_SPEED"), var("ACCEL"), var("DECEL"), var("SERVO_PERIOD")};
    // Axes nobody has set up yet get a usable profile.
    for (std::size_t i = 0; i < axes_.size(); ++i)
        if (param(codes_.speed, i) == 0 && param(codes_.accel, i) == 0 && param(codes_.decel, i) == 0) {
            setParam(codes_.speed, i, 100);
            setParam(codes_.accel, i, 1000);
            setParam(codes_.decel, i, 1000);
        }
    lastTick_ = std::chrono::steady_clock::now();
    publish();
    ticker_ = std::thread([this] { run(); });
}

double MotionAxes::param(std::uint16_t code, std::size_t axis) const {
    if (code == 0xFFFF || codes_.axis == 0xFFFF) return 0;
    return c_->modifiedParameter(code, codes_.axis, static_cast<std::uint32_t>(axis));
}

void MotionAxes::setParam(std::uint16_t code, std::size_t axis, double v) {
    if (code == 0xFFFF || codes_.axis == 0xFFFF) return;
    c_->setModifiedParameter(code, codes_.axis, static_cast<std::uint32_t>(axis), v);
}

std::chrono::microseconds MotionAxes::period() const {
    double us = c_ ? c_->systemParameter(codes_.servoPeriod) : 1000.0;
    if (!(us >= 100 && us <= 20000)) us = 1000;
    return std::chrono::microseconds(static_cast<long long>(us));
}

bool MotionAxes::moving() const {
    return std::any_of(axes_.begin(), axes_.end(), [](const Axis& a) { return a.active || !a.pending.empty(); });
}

void MotionAxes::publish() {
    for (std::size_t i = 0; i < axes_.size(); ++i) {
        const AxisView v = axis(i);
        setParam(codes_.dpos, i, v.dpos);
        setParam(codes_.mpos, i, v.mpos);
        setParam(codes_.idle, i, v.idle ? -1.0 : 0.0);
        setParam(codes_.mtype, i, v.mtype);
        setParam(codes_.ntype, i, v.ntype);
        setParam(codes_.remain, i, v.remain);
        setParam(codes_.vpSpeed, i, v.speed);
    }
}

// The servo clock's thread: sleeps while nothing moves, else wakes once a servo period.
void MotionAxes::run() {
    std::unique_lock lock(c_->mutex());
    while (!stop_) {
        if (frozen_ || !moving()) {
            cv_.wait(lock);
            lastTick_ = std::chrono::steady_clock::now();
            continue;
        }
        cv_.wait_for(lock, period());
        if (!stop_) advance();
    }
}

void MotionAxes::advance() {
    const auto now = std::chrono::steady_clock::now();
    if (frozen_ || !moving()) {
        lastTick_ = now;
        return;
    }
    const auto p = period();
    auto cycles = static_cast<std::uint64_t>((now - lastTick_) / p);
    if (cycles == 0) return;
    lastTick_ += p * static_cast<std::int64_t>(cycles);
    constexpr std::uint64_t kMaxCatchUp = 100000;  // a stalled clock does not replay hours
    if (cycles > kMaxCatchUp) {
        cycles = kMaxCatchUp;
        lastTick_ = now;
    }
    const double dt = std::chrono::duration<double>(p).count();
    for (std::uint64_t k = 0; k < cycles && moving(); ++k) tick(dt);
    publish();
}

void MotionAxes::tick(double dt) {
    for (std::size_t i = 0; i < axes_.size(); ++i) {
        Axis& a = axes_[i];
        a.mpos = a.pos;
        if (!a.active && !a.pending.empty()) start(a);
        if (a.active) tickAxis(i, a, dt);
    }
}

void MotionAxes::start(Axis& a) {
    a.current = a.pending.front();
    a.pending.pop_front();
    a.active = true;
    a.stopping = false;
    switch (a.current.kind) {
    case Move::Linear: a.target = a.current.relative ? a.pos + a.current.value : a.current.value; break;
    case Move::Home: a.target = 0; break;
    case Move::Continuous: break;
    }
}

namespace {

// Changes v towards want by at most up (speeding up) or down (slowing down) per cycle; a
// rate of 0 or less changes at once.
double ramp(double v, double want, double up, double down, double dt) {
    const bool faster = std::fabs(want) > std::fabs(v) && (want * v >= 0);
    const double rate = faster ? up : down;
    if (!(rate > 0)) return want;
    const double stepMax = rate * dt;
    if (std::fabs(want - v) <= stepMax) return want;
    return v + (want > v ? stepMax : -stepMax);
}

} // namespace

void MotionAxes::tickAxis(std::size_t index, Axis& a, double dt) {
    const double forced = a.current.forceSpeed ? param(codes_.forceSpeed, index) : 0.0;
    const double speed = std::max(0.0, forced > 0 ? forced : param(codes_.speed, index));
    const double accel = param(codes_.accel, index);
    const double decel = param(codes_.decel, index);
    auto finish = [&] {
        a.vel = 0;
        a.mpos = a.pos;  // settled
        a.active = false;
        a.stopping = false;
        if (a.current.kind == Move::Home && a.pos == a.target) a.pos = a.mpos = 0;  // the origin is here
    };
    if (a.stopping) {
        a.vel = ramp(a.vel, 0, accel, decel, dt);
        a.pos += a.vel * dt;
        if (a.vel == 0) finish();
        return;
    }
    if (a.current.kind == Move::Continuous) {
        a.vel = ramp(a.vel, a.current.value * speed, accel, decel, dt);
        a.pos += a.vel * dt;
        return;
    }
    const double d = a.target - a.pos;
    if (std::fabs(d) <= 1e-12) {
        a.pos = a.target;
        return finish();
    }
    const double dir = d > 0 ? 1.0 : -1.0;
    // The fastest speed from which the axis still stops at the end point.
    const double reachable = decel > 0 ? std::sqrt(2 * decel * std::fabs(d)) : std::numeric_limits<double>::infinity();
    a.vel = ramp(a.vel, dir * std::min(speed, reachable), accel, decel, dt);
    const double stepLen = a.vel * dt;
    if (stepLen * dir >= std::fabs(d)) {
        a.pos = a.target;
        return finish();
    }
    a.pos += stepLen;
}

bool MotionAxes::queue(std::size_t axis, const Move& m) {
    Axis& a = axes_[axis];
    if (a.pending.size() >= kMaxBuffered) return false;
    a.pending.push_back(m);
    if (!a.active) start(a);
    cv_.notify_all();
    return true;
}

void MotionAxes::modify(std::size_t axis, double position) {
    Axis& a = axes_[axis];
    if (a.active && !a.stopping && a.current.kind == Move::Linear) {
        a.target = position;
        return;
    }
    Move m;
    m.type = MoveType::MoveModify;
    m.value = position;
    queue(axis, m);
}

void MotionAxes::cancel(std::size_t axis, int mode) {
    Axis& a = axes_[axis];
    if (mode == 1 || mode == 2) a.pending.clear();
    if (mode != 1 && a.active) a.stopping = true;
}

void MotionAxes::definePosition(std::size_t axis, double position) {
    Axis& a = axes_[axis];
    const double offset = position - a.pos;
    a.pos += offset;
    a.mpos += offset;
    a.target += offset;
}

// ---------------------------------------------------------------- handlers

namespace {

struct Decoded {
    std::vector<double> values;
    bool hasAxis = false;
    std::size_t axis = 0;
};

// command [( values )] [MODIFIER AXIS ( n )]: 0, or the status to answer.
std::uint16_t decode(Exchange& x, Decoded& out, std::size_t minValues, std::size_t maxValues, bool axisAllowed) {
    MotionAxes& m = x.controller.extension<MotionAxes>();
    if (const Item* p = x.args.peek(); p && p->isToken("OPENBRACKETS"))
        if (auto st = x.args.bracketed(out.values)) return st;
    if (x.args.accept("MODIFIER")) {
        if (!axisAllowed) return Status::ModifierNotAllowed;
        if (!x.args.accept("AXIS")) return Status::ModifierNotAllowed;
        if (auto st = x.args.bracketed(x.scratch)) return st;
        if (x.scratch.size() != 1 || !indexOf(x.scratch[0], m.axisCount(), out.axis))
            return Status::ParameterOutOfRange;
        out.hasAxis = true;
    }
    if (!x.args.atEnd()) return Status::ExtraCharsAtEoln;
    if (out.values.size() < minValues) return Status::OperandExpected;
    if (out.values.size() > maxValues) return Status::CloseRoundBracketExpected;
    return 0;
}

// The axis value k goes to: n + k with AXIS(n), else the k-th BASE axis. false when there is none.
bool axisFor(const MotionAxes& m, const Decoded& d, std::size_t k, std::size_t& axis) {
    if (d.hasAxis) axis = d.axis + k;
    else if (k < m.base().size()) axis = m.base()[k];
    else return false;
    return axis < m.axisCount();
}

// Brings the clock to now before a command changes the axes, publishes after.
struct Motion {
    explicit Motion(Exchange& x) : m(x.controller.extension<MotionAxes>()) {
        m.attach(x.controller);
        m.advance();
    }
    ~Motion() {
        m.publish();
        m.wake();
    }
    MotionAxes& m;
};

void linear(Exchange& x, int type, bool relative, bool forceSpeed) {
    Motion mo(x);
    Decoded d;
    if (auto st = decode(x, d, 1, mo.m.axisCount(), true)) return x.fail(st);
    std::vector<std::size_t> axes(d.values.size());
    for (std::size_t k = 0; k < d.values.size(); ++k)
        if (!axisFor(mo.m, d, k, axes[k])) return x.fail(Status::ParameterOutOfRange);
    for (std::size_t k = 0; k < axes.size(); ++k)
        if (mo.m.axis(axes[k]).buffered >= MotionAxes::kMaxBuffered) return x.fail(Status::ParameterOutOfRange);
    for (std::size_t k = 0; k < axes.size(); ++k) {
        MotionAxes::Move mv;
        mv.type = type;
        mv.relative = relative;
        mv.forceSpeed = forceSpeed;
        mv.value = d.values[k];
        mo.m.queue(axes[k], mv);
    }
    x.answer(0);
}

void onMove(Exchange& x) { linear(x, MoveType::Move, true, false); }
void onMoveSp(Exchange& x) { linear(x, MoveType::Move, true, true); }
void onMoveAbs(Exchange& x) { linear(x, MoveType::MoveAbs, false, false); }
void onMoveAbsSp(Exchange& x) { linear(x, MoveType::MoveAbs, false, true); }

// A command for one axis: AXIS(n) or the first BASE axis.
template <class Apply>
void single(Exchange& x, std::size_t minValues, std::size_t maxValues, bool axisAllowed, Apply apply) {
    Motion mo(x);
    Decoded d;
    if (auto st = decode(x, d, minValues, maxValues, axisAllowed)) return x.fail(st);
    std::size_t axis;
    if (!axisFor(mo.m, d, 0, axis)) return x.fail(Status::ParameterOutOfRange);
    if (auto st = apply(mo.m, axis, d.values)) return x.fail(st);
    x.answer(0);
}

// FORWARD and REVERSE always carry MODIFIER AXIS ( n ); without it they are refused.
void continuous(Exchange& x, int type, double direction) {
    if (const Item* p = x.args.peek(); !p || !p->isToken("MODIFIER")) return x.fail(Status::OperandExpected);
    single(x, 0, 0, true, [&](MotionAxes& m, std::size_t axis, const std::vector<double>&) -> std::uint16_t {
        // A running move stops first; the continuous move follows once it has.
        m.cancel(axis, 2);
        MotionAxes::Move mv;
        mv.type = type;
        mv.kind = MotionAxes::Move::Continuous;
        mv.value = direction;
        m.queue(axis, mv);
        return 0;
    });
}

void onForward(Exchange& x) { continuous(x, MoveType::Forward, 1.0); }
void onReverse(Exchange& x) { continuous(x, MoveType::Reverse, -1.0); }

void onMoveModify(Exchange& x) {
    single(x, 1, 1, true, [](MotionAxes& m, std::size_t axis, const std::vector<double>& v) -> std::uint16_t {
        m.modify(axis, v[0]);
        return 0;
    });
}

// CANCEL [( mode )]: 0 the running move, 1 the buffered ones, 2 both.
void onCancel(Exchange& x) {
    single(x, 0, 1, true, [](MotionAxes& m, std::size_t axis, const std::vector<double>& v) -> std::uint16_t {
        const double mode = v.empty() ? 0 : v[0];
        if (mode != 0 && mode != 1 && mode != 2) return Status::ParameterOutOfRange;
        m.cancel(axis, static_cast<int>(mode));
        return 0;
    });
}

// RAPIDSTOP [( mode )]: every axis stops and forgets its buffered moves.
void onRapidStop(Exchange& x) {
    Motion mo(x);
    Decoded d;
    if (auto st = decode(x, d, 0, 1, false)) return x.fail(st);
    if (!d.values.empty() && (d.values[0] < 0 || d.values[0] > 2)) return x.fail(Status::ParameterOutOfRange);
    for (std::size_t i = 0; i < mo.m.axisCount(); ++i) mo.m.cancel(i, 2);
    x.answer(0);
}

// DATUM ( mode ): 0 clears the motion errors; 1 to 6 home the axis: it moves to 0, which then
// becomes its origin.
void onDatum(Exchange& x) {
    single(x, 1, 1, true, [](MotionAxes& m, std::size_t axis, const std::vector<double>& v) -> std::uint16_t {
        std::size_t mode;
        if (!indexOf(v[0], 7, mode)) return Status::ParameterOutOfRange;
        if (mode == 0) return 0;
        MotionAxes::Move mv;
        mv.type = MoveType::Datum;
        mv.kind = MotionAxes::Move::Home;
        return m.queue(axis, mv) ? 0 : Status::ParameterOutOfRange;
    });
}

// DEFPOS ( p0 , p1 ... ): the axes' positions become these values.
void onDefPos(Exchange& x) {
    Motion mo(x);
    Decoded d;
    if (auto st = decode(x, d, 1, mo.m.axisCount(), true)) return x.fail(st);
    std::vector<std::size_t> axes(d.values.size());
    for (std::size_t k = 0; k < d.values.size(); ++k)
        if (!axisFor(mo.m, d, k, axes[k])) return x.fail(Status::ParameterOutOfRange);
    for (std::size_t k = 0; k < axes.size(); ++k) mo.m.definePosition(axes[k], d.values[k]);
    x.answer(0);
}

// The commands that are checked, kept per axis and acknowledged: name, fewest and most values,
// and whether an AXIS modifier may follow.
struct SetUp {
    std::string_view name;
    std::size_t minValues, maxValues;
    bool axisAllowed;
};
constexpr SetUp kSetUp[] = {
    {"MOVECIRC", 5, 5, true},      {"MOVECIRCSP", 5, 7, true}, {"MHELICAL", 6, 7, true},
    {"MHELICALSP", 6, 9, true},    {"MSPHERICAL", 7, 7, true}, {"MSPHERICALSP", 7, 9, true},
    {"MOVEABSSEQ", 4, 7, true},    {"MOVEPICK", 2, 3, true},   {"MOVELINK", 5, 7, true},
    {"CONNECT", 2, 3, true},       {"CONNPATH", 2, 2, true},   {"CAM", 4, 4, true},
    {"CAMBOX", 5, 7, true},        {"ADDAX", 1, 1, true},      {"ADD_DAC", 1, 1, true},
    {"BACKLASH", 1, 4, true},      {"ENCODER_RATIO", 2, 2, true}, {"STEP_RATIO", 2, 2, true},
    {"SET_MOTION", 1, 5, false},   {"SET_MOTIONSP", 1, 9, false},
};

void onSetUp(Exchange& x) {
    const std::string_view name = x.request.command();
    const SetUp* s = std::find_if(std::begin(kSetUp), std::end(kSetUp), [&](const SetUp& e) { return e.name == name; });
    if (s == std::end(kSetUp)) return x.fail(Status::CommandNotRecognised);
    MotionAxes& m = x.controller.extension<MotionAxes>();
    Decoded d;
    if (auto st = decode(x, d, s->minValues, s->maxValues, s->axisAllowed)) return x.fail(st);
    std::size_t axis = 0;
    if (s->axisAllowed && !axisFor(m, d, 0, axis)) return x.fail(Status::ParameterOutOfRange);
    m.record(std::string(name), axis, d.values);
    x.answer(0);
}

} // namespace

void registerMotionHandlers(Dispatch& d) {
    d.add("MOVE", &onMove);
    d.add("MOVESP", &onMoveSp);
    d.add("MOVEABS", &onMoveAbs);
    d.add("MOVEABSSP", &onMoveAbsSp);
    d.add("MOVEMODIFY", &onMoveModify);
    d.add("FORWARD", &onForward);
    d.add("REVERSE", &onReverse);
    d.add("CANCEL", &onCancel);
    d.add("RAPIDSTOP", &onRapidStop);
    d.add("DATUM", &onDatum);
    d.add("DEFPOS", &onDefPos);
    for (const SetUp& s : kSetUp) d.add(s.name, &onSetUp);
}

} // namespace Vaxo::Sim
