#include "sim/Controller.h"

#include <algorithm>
#include <cmath>

namespace Vaxo::Sim {

#define VAXO_SIM_FAMILY(name) void register##name##Handlers(Dispatch&);
#include "sim/Families.def"
#undef VAXO_SIM_FAMILY

namespace {

// System parameters a host may read but not write.
constexpr std::string_view kReadOnlySystem[] = {
    "CONTROL", "ERROR_AXIS", "FLASH_STATUS", "INPUTS0", "INPUTS1", "MOTION_ERROR", "MOTION_ERROR_COUNT", "MPE_MODE",
    "NIN", "NIO", "NOP", "N_ANA_IN", "N_ANA_OUT", "PLC_ERROR", "PLC_OVERFLOW", "PLC_RUN", "PROCNUMBER",
    "SCOPE_TRIGGER_POS", "SYSTEM_ERROR", "SYSTEM_LOAD", "TSIZE", "UNIT_ERROR", "VERSION", "VRSIZE",
};

constexpr std::uint64_t modifiedKey(std::uint16_t code, std::uint16_t modifier, std::uint32_t index) noexcept {
    return (std::uint64_t(code) << 48) | (std::uint64_t(modifier) << 32) | index;
}

} // namespace

bool indexOf(double v, std::size_t size, std::size_t& index) noexcept {
    if (!(v >= 0) || v != std::floor(v) || v >= static_cast<double>(size)) return false;
    index = static_cast<std::size_t>(v);
    return true;
}

// ---------------------------------------------------------------- Args

bool Args::accept(std::string_view token) noexcept {
    if (atEnd() || !items_[pos_].isToken(token)) return false;
    ++pos_;
    return true;
}

bool Args::number(double& v) noexcept {
    if (atEnd() || items_[pos_].kind != ItemKind::Number) return false;
    v = items_[pos_++].value;
    return true;
}

bool Args::text(std::string_view& t) noexcept {
    if (atEnd() || items_[pos_].kind != ItemKind::Text) return false;
    t = items_[pos_++].text;
    return true;
}

std::uint16_t Args::bracketed(std::vector<double>& values) {
    values.clear();
    if (!accept("OPENBRACKETS")) return Status::OpenBracketExpected;
    for (;;) {
        double v;
        if (!number(v)) return Status::OperandExpected;
        values.push_back(v);
        if (accept("CLOSEBRACKETS")) return 0;
        if (!accept("COMMA")) return atEnd() ? Status::CloseRoundBracketExpected : Status::CommaExpected;
    }
}

// ---------------------------------------------------------------- Controller

Controller::Controller(Config cfg)
    : cfg_(cfg), table_(cfg.seed, cfg.systemVariable16, cfg.bracketedHeader, cfg.portModifier), defaults_(TokenTable::defaults()) {
#define VAXO_SIM_FAMILY(name) register##name##Handlers(dispatch_);
#include "sim/Families.def"
#undef VAXO_SIM_FAMILY
    vr_.assign(cfg_.vrCount, 0.0);
    tableMem_.assign(cfg_.tableCount, 0.0);
    std::uint16_t maxVar = 0;
    for (const auto& e : table_.entries())
        if (e.kind == 'V') maxVar = std::max(maxVar, e.code);
    system_.assign(std::size_t(maxVar) + 1, 0.0);
    systemReadOnly_.assign(std::size_t(maxVar) + 1, 0);
    for (auto name : kReadOnlySystem)
        if (auto* e = table_.find(name, 'V')) systemReadOnly_[e->code] = 1;
    auto init = [&](std::string_view name, double v) {
        if (auto* e = table_.find(name, 'V')) system_[e->code] = v;
    };
    init("CONTROL", cfg_.controllerType);
    init("VERSION", cfg_.firmware);
    init("VRSIZE", static_cast<double>(cfg_.vrCount));
    init("TSIZE", static_cast<double>(cfg_.tableCount));
    init("SERIAL_NUMBER", 10000 + cfg_.seed % 90000);
    init("NIO", 32);
    init("NIN", 16);
    init("NOP", 16);
    init("N_ANA_IN", 4);
    init("N_ANA_OUT", 4);
    init("PROCNUMBER", 22);
    init("SERVO_PERIOD", 1000);
    init("LAST_AXIS", 7);
}

std::uint16_t Controller::codeOf(std::string_view name) const noexcept {
    const TokenEntry* e = table_.find(name);
    return e ? e->code : 0xFFFF;
}

bool Controller::sysVarBodge() const noexcept {
    return !cfg_.systemVariable16 && compareFirmware(cfg_.firmware, kSysVarBodgeFirmware) >= 0;
}

double Controller::systemParameter(std::uint16_t code) const noexcept {
    return code < system_.size() ? system_[code] : 0.0;
}

void Controller::setSystemParameter(std::uint16_t code, double v) {
    if (code < system_.size()) system_[code] = v;
}

bool Controller::systemReadOnly(std::uint16_t code) const noexcept {
    return code < systemReadOnly_.size() && systemReadOnly_[code];
}

double Controller::modifiedParameter(std::uint16_t code, std::uint16_t modifier, std::uint32_t index) const noexcept {
    auto it = modified_.find(modifiedKey(code, modifier, index));
    return it == modified_.end() ? 0.0 : it->second;
}

void Controller::setModifiedParameter(std::uint16_t code, std::uint16_t modifier, std::uint32_t index, double v) {
    modified_[modifiedKey(code, modifier, index)] = v;
}

void Controller::record(const Request& r) {
    if (!cfg_.recordRequests) return;
    std::lock_guard lock(recordMutex_);
    if (records_.size() >= cfg_.maxRecorded && !records_.empty()) records_.pop_front();
    records_.push_back(r);
}

std::vector<Request> Controller::requests() const {
    std::lock_guard lock(recordMutex_);
    return {records_.begin(), records_.end()};
}

void Controller::clearRequests() {
    std::lock_guard lock(recordMutex_);
    records_.clear();
}

// ---------------------------------------------------------------- Session

Session::Session(Controller& c, std::uint32_t connection) : c_(c), connection_(connection) {
    in_.reserve(4096);
}

bool Session::escaped() const noexcept {
    switch (phase_) {
    case Phase::Table: return false;
    case Phase::Reset: return true;
    case Phase::Typed: return !isTms320Type(c_.config().controllerType);
    case Phase::Versioned: return c_.config().firmware >= kEscapingFirmware;
    }
    return true;
}

std::size_t Session::remoteBuffer() const noexcept {
    if (phase_ != Phase::Versioned) return 124;
    return compareFirmware(c_.config().firmware, kLongRequestFirmware) >= 0 ? 200 : 124;
}

NumberFormat Session::format() const noexcept {
    return phase_ == Phase::Table || phase_ == Phase::Reset ? NumberFormat::Tms320 : formatOfType(c_.config().controllerType);
}

void Session::feed(const std::uint8_t* data, std::size_t n) {
    if (head_ > 0 && head_ == in_.size()) {
        in_.clear();
        head_ = 0;
    } else if (head_ > 4096 && head_ * 2 > in_.size()) {
        in_.erase(in_.begin(), in_.begin() + static_cast<std::ptrdiff_t>(head_));
        head_ = 0;
    }
    in_.insert(in_.end(), data, data + n);
}

void Session::expectValues(std::size_t values, std::string command, std::function<void(Exchange&)> done) {
    intake_.remaining = values;
    intake_.command = std::move(command);
    intake_.done = std::move(done);
    intake_.data.clear();
    intake_.items.clear();
}

bool Session::takeValues(bool& refused) {
    const SymbolCodes& sym = c_.table().symbols();
    const NumberFormat f = format();
    const std::size_t width = numberSize(f);
    refused = false;
    while (intake_.remaining) {
        const std::uint8_t* p = in_.data() + head_;
        const std::size_t avail = in_.size() - head_;
        std::size_t pos = 0;
        // A token code: one byte, or EXTENDED_TOKEN and the code's distance from it.
        auto code = [&](std::uint16_t& c) {
            if (pos >= avail) return false;
            const std::uint8_t b = p[pos++];
            if (b != sym.extended) {
                c = b;
                return true;
            }
            if (pos >= avail) return false;
            c = static_cast<std::uint16_t>(sym.extended + p[pos++]);
            return true;
        };
        std::uint16_t c = 0;
        if (!code(c)) return false;
        if (c != sym.number) return refused = true;
        if (avail - pos < width) return false;
        const std::uint8_t* number = p + pos;
        pos += width;
        if (!code(c)) return false;
        if (c != sym.eox) return refused = true;
        Item it;
        it.kind = ItemKind::Number;
        it.value = getNumber(number, f);
        intake_.items.push_back(std::move(it));
        intake_.data.insert(intake_.data.end(), p, p + pos);
        head_ += pos;
        --intake_.remaining;
    }
    return true;
}

bool Session::next(Outgoing& out) {
    if (closed_) return false;
    for (;;) {
        const std::size_t avail = in_.size() - head_;
        if (intake_.remaining) {
            bool refused = false;
            if (!takeValues(refused)) return false;
            if (refused) {  // what has arrived of the block goes with it
                intake_.data.insert(intake_.data.end(), in_.begin() + static_cast<std::ptrdiff_t>(head_), in_.end());
                head_ = in_.size();
                intake_.remaining = 0;
            }
            req_.kind = RequestKind::DataBlock;
            req_.raw.swap(intake_.data);
            req_.bytes = req_.raw;
            req_.items.swap(intake_.items);
            intake_.items.clear();
            req_.escaped = false;
            req_.format = format();
            req_.status = 0;
            auto done = std::move(intake_.done);
            intake_.done = nullptr;
            if (refused) answer(out, Status::NumberExpected, intake_.command, nullptr);
            else answer(out, 0, intake_.command, &done);
            return true;
        }
        if (avail == 0) return false;
        const DecodeContext ctx{phase_ == Phase::Table ? c_.defaultTable() : c_.table(), format(), escaped(),
                                phase_ == Phase::Versioned && c_.sysVarBodge()};
        const DecodeOutcome o = decodeRequest(ctx, in_.data() + head_, avail, req_);
        switch (o.result) {
        case DecodeResult::NeedMore:
            if (avail <= kMaxRequest) return false;
            // a request that never ends: give up on everything buffered
            req_.raw.assign(in_.begin() + static_cast<std::ptrdiff_t>(head_), in_.end());
            req_.bytes.clear();
            req_.items.clear();
            head_ = in_.size();
            answer(out, Status::CommandLineTooLong, {}, nullptr);
            return true;
        case DecodeResult::Nudge:
            head_ += o.consumed;
            c_.countNudge();
            continue;
        case DecodeResult::Complete:
        case DecodeResult::Error:
            head_ += o.consumed;
            // A request longer than the controller's buffer is refused whatever it holds.
            answer(out, o.status ? o.status : req_.bytes.size() > remoteBuffer() ? Status::CommandLineTooLong : 0,
                   req_.command(), nullptr);
            return true;
        }
    }
}

void Session::answer(Outgoing& out, std::uint16_t decodeStatus, std::string_view command,
                     const std::function<void(Exchange&)>* block) {
    req_.connection = connection_;
    req_.sequence = c_.nextSequence();
    out.bytes.clear();
    out.effects = c_.faults().take(command);
    const Phase before = phase_;
    Exchange x{c_, *this, req_, Args(req_.items, 1), format(), out.bytes, scratch_};
    if (out.effects.errorStatus) {
        x.fail(out.effects.errorStatus);
    } else if (out.effects.replaceWithText) {
        x.answerText(out.effects.text);
    } else if (decodeStatus) {
        x.fail(decodeStatus);
    } else {
        Handler h = nullptr;
        if (!block && !req_.items.empty()) {
            const Item& first = req_.items.front();
            h = c_.dispatch().find(first.name);
            if (!h && first.kind == ItemKind::SysVar) h = c_.dispatch().find(Dispatch::kSystemVariable);
        }
        if (!block && !h) {
            x.fail(Status::CommandNotRecognised);
        } else {
            std::lock_guard lock(c_.mutex());
            if (block) (*block)(x);
            else h(x);
        }
    }
    req_.status = x.status;
    // The open sequence: CONTROL is answered in the reset format, from VERSION on the type's.
    if (x.status == 0 && req_.kind == RequestKind::Command && req_.items.size() == 1) {
        const Item& first = req_.items.front();
        if (first.isToken("TOKENTABLE")) phase_ = Phase::Reset;
        else if (first.kind == ItemKind::SysVar && first.name == "CONTROL" && before == Phase::Reset) phase_ = Phase::Typed;
        else if (first.kind == ItemKind::SysVar && first.name == "VERSION" && (before == Phase::Reset || before == Phase::Typed))
            phase_ = Phase::Versioned;
    }
    if (out.effects.replaceWithGarbage) out.bytes.assign(out.effects.garbage.begin(), out.effects.garbage.end());
    c_.record(req_);
}

std::vector<std::uint8_t> Session::handle(const std::uint8_t* data, std::size_t n) {
    std::vector<std::uint8_t> all;
    feed(data, n);
    Outgoing o;
    while (next(o)) {
        const std::size_t keep = std::min({o.bytes.size(), o.effects.stopAfter, o.effects.closeAfter});
        all.insert(all.end(), o.bytes.begin(), o.bytes.begin() + static_cast<std::ptrdiff_t>(keep));
        if (o.effects.closeAfter != FaultEffects::kNever) {
            closed_ = true;
            break;
        }
    }
    return all;
}

} // namespace Vaxo::Sim
