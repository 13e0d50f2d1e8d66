// Parameters with a modifier (AXIS, PROC, SLOT, PORT) with defaults and read-only refusal,
// string-valued system parameters, BASE, and PRINT of parameters, numbers, texts and VR strings.
//
// Every system variable the library knows gets a handler here; requests that are neither a
// modifier form nor a string assignment go on to the plain system-parameter handler. Values
// with a modifier live in the controller's parameter storage (Controller::modifiedParameter),
// which the motion model writes too.
#include "sim/Controller.h"
#include "sim/MotionHandlers.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <unordered_map>

namespace Vaxo::Sim {
namespace {

// Per-object parameters a host may read but not write, as (name, modifier).
struct ReadOnly {
    std::string_view name;
    std::string_view modifier;
};
constexpr ReadOnly kReadOnly[] = {
#define VAXO_PARAM(kind, name, access) VAXO_RO_##kind##_##access(name)
#define VAXO_RO_Axis_RO(name) {#name, "AXIS"},
#define VAXO_RO_Process_RO(name) {#name, "PROC"},
#define VAXO_RO_Slot_RO(name) {#name, "SLOT"},
#define VAXO_RO_System_RO(name)
#define VAXO_RO_Axis_RW(name)
#define VAXO_RO_Process_RW(name)
#define VAXO_RO_Slot_RW(name)
#define VAXO_RO_System_RW(name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
};

// What an axis holds before anybody sets it (everything else starts at 0).
struct Default {
    std::string_view name;
    double value;
};
constexpr Default kAxisDefaults[] = {
    {"UNITS", 1},        {"SPEED", 100},       {"ACCEL", 1000},      {"DECEL", 1000},      {"JOGSPEED", 10},
    {"CREEP", 10},       {"FE_LIMIT", 2000},   {"FE_RANGE", 1000},   {"FS_LIMIT", 200000}, {"RS_LIMIT", -200000},
    {"REP_DIST", 200000}, {"DATUM_IN", -1},    {"FWD_IN", -1},       {"REV_IN", -1},       {"FHOLD_IN", -1},
    {"IDLE", -1},        {"P_GAIN", 1},        {"DAC_SCALE", 1},     {"FHSPEED", 100},     {"FASTDEC", 0},
};

// Objects per modifier: AXIS follows the motion model's axis count.
constexpr std::size_t kProcesses = 32;
constexpr std::size_t kSlots = 8;
constexpr std::size_t kPorts = 4;

struct ParameterState {
    bool seeded = false;
    std::unordered_map<std::uint16_t, std::string> strings;  // string-valued system parameters
};

bool readOnly(std::string_view name, std::string_view modifier) {
    for (const ReadOnly& r : kReadOnly)
        if (r.name == name && r.modifier == modifier) return true;
    return false;
}

void seedAxes(Controller& c) {
    ParameterState& s = c.extension<ParameterState>();
    if (s.seeded) return;
    s.seeded = true;
    const TokenEntry* axis = c.table().find("AXIS", 'M');
    if (!axis) return;
    const std::size_t axes = c.extension<MotionAxes>().axisCount();
    for (const Default& d : kAxisDefaults) {
        const TokenEntry* e = c.table().find(d.name, 'V');
        if (!e) continue;
        for (std::size_t i = 0; i < axes; ++i)
            if (c.modifiedParameter(e->code, axis->code, std::uint32_t(i)) == 0)
                c.setModifiedParameter(e->code, axis->code, std::uint32_t(i), d.value);
    }
}

std::size_t objectsOf(Controller& c, std::string_view modifier) {
    if (modifier == "AXIS") return c.extension<MotionAxes>().axisCount();
    if (modifier == "PROC") return kProcesses;
    if (modifier == "SLOT") return kSlots;
    if (modifier == "PORT") return kPorts;
    return 0;
}

// name MODIFIER m ( i ) [ASSIGN v]
void onModified(Exchange& x, const Item& var) {
    Controller& c = x.controller;
    x.args.accept("MODIFIER");
    const Item* m = x.args.take();
    if (!m || m->kind != ItemKind::Token || m->tokenKind != 'M') return x.fail(Status::ModifierNotAllowed);
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    std::size_t index;
    if (x.scratch.size() != 1 || !indexOf(x.scratch[0], objectsOf(c, m->name), index))
        return x.fail(Status::ParameterOutOfRange);
    seedAxes(c);
    const auto i = static_cast<std::uint32_t>(index);
    if (x.args.atEnd()) return x.answer(c.modifiedParameter(var.code, m->code, i));
    double v;
    if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
    if (!x.args.number(v)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (readOnly(var.name, m->name)) return x.fail(Status::ValueIsReadOnly);
    c.setModifiedParameter(var.code, m->code, i, v);
    x.answer(0);
}

// name ASSIGN <01> "text" [EOX]
void onStringAssign(Exchange& x, const Item& var) {
    x.args.accept("ASSIGN");
    x.args.take();
    std::string_view text;
    if (!x.args.text(text)) return x.fail(Status::QuotesExpected);
    x.args.accept("EOX");
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (x.controller.systemReadOnly(var.code)) return x.fail(Status::ValueIsReadOnly);
    x.controller.extension<ParameterState>().strings[var.code] = std::string(text);
    x.answer(0);
}

void onParameter(Exchange& x) {
    const Item& var = x.request.items.front();
    const auto& items = x.request.items;
    const std::size_t pos = x.args.position();
    if (pos < items.size() && items[pos].isToken("MODIFIER")) return onModified(x, var);
    if (pos + 1 < items.size() && items[pos].isToken("ASSIGN") && items[pos + 1].kind == ItemKind::Raw)
        return onStringAssign(x, var);
    if (Handler h = x.controller.dispatch().find(Dispatch::kSystemVariable)) return h(x);
    x.fail(Status::CommandNotRecognised);
}

// BASE ( axis {, axis} ): the axes later motion commands without AXIS go to.
void onBase(Exchange& x) {
    MotionAxes& m = x.controller.extension<MotionAxes>();
    // BASE alone changes nothing and answers the first axis of the selection.
    if (x.args.atEnd()) return x.answer(m.base().empty() ? 0.0 : static_cast<double>(m.base().front()));
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.empty() || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::vector<std::uint32_t> axes;
    for (double v : x.scratch) {
        std::size_t a;
        if (!indexOf(v, m.axisCount(), a)) return x.fail(Status::ParameterOutOfRange);
        axes.push_back(static_cast<std::uint32_t>(a));
    }
    m.setBase(std::move(axes));
    x.answer(0);
}

// ---- PRINT ----

std::string formatNumber(double v, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, v);
    return text;
}

// The bytes of VR(i), VR(i + 1), ... up to the first 0.
std::string vrString(const std::vector<double>& vr, std::size_t i) {
    std::string s;
    for (; i < vr.size(); ++i) {
        const auto b = static_cast<unsigned char>(static_cast<long long>(vr[i]) & 0xFF);
        if (b == 0) break;
        s.push_back(static_cast<char>(b));
    }
    return s;
}

// [ decimals ] after a number item; 4 decimals without.
bool decimalsOf(Args& a, int& decimals) {
    decimals = 4;
    if (!a.accept("OPENSQUAREBRACKETS")) return true;
    double d;
    if (!a.number(d) || !a.accept("CLOSESQUAREBRACKETS") || d < 0 || d > 15) return false;
    decimals = static_cast<int>(d);
    return true;
}

// VRSTRING ( i ) [EOX]
std::uint16_t vrStringArg(Exchange& x, std::size_t& index) {
    if (auto st = x.args.bracketed(x.scratch)) return st;
    if (x.scratch.size() != 1 || !indexOf(x.scratch[0], x.controller.vr().size(), index))
        return Status::ParameterOutOfRange;
    x.args.accept("EOX");
    return 0;
}

// One print item into out; 0 or the status to answer.
std::uint16_t printItem(Exchange& x, std::string& out) {
    Controller& c = x.controller;
    const Item* it = x.args.take();
    if (!it) return Status::OperandExpected;
    int decimals = 4;
    if (it->isToken("LENB")) {
        std::size_t i;
        if (!x.args.accept("OPENBRACKETS") || !x.args.accept("VRSTRING")) return Status::OperandExpected;
        if (auto st = vrStringArg(x, i)) return st;
        if (!x.args.accept("CLOSEBRACKETS")) return Status::CloseRoundBracketExpected;
        x.args.accept("EOX");
        if (!decimalsOf(x.args, decimals)) return Status::NumberExpected;
        out += formatNumber(double(vrString(c.vr(), i).size()), decimals);
        return 0;
    }
    if (it->isToken("VRSTRING")) {
        std::size_t i;
        if (auto st = vrStringArg(x, i)) return st;
        out += vrString(c.vr(), i);
        return 0;
    }
    if (it->kind == ItemKind::Text) {
        out += it->text;
        x.args.accept("EOX");
        return 0;
    }
    if (it->kind == ItemKind::Number) {
        if (!decimalsOf(x.args, decimals)) return Status::NumberExpected;
        out += formatNumber(it->value, decimals);
        return 0;
    }
    if (it->kind == ItemKind::SysVar) {
        double v;
        if (x.args.accept("MODIFIER")) {
            const Item* m = x.args.take();
            if (!m || m->kind != ItemKind::Token || m->tokenKind != 'M') return Status::ModifierNotAllowed;
            if (auto st = x.args.bracketed(x.scratch)) return st;
            std::size_t index;
            if (x.scratch.size() != 1 || !indexOf(x.scratch[0], objectsOf(c, m->name), index))
                return Status::ParameterOutOfRange;
            seedAxes(c);
            v = c.modifiedParameter(it->code, m->code, static_cast<std::uint32_t>(index));
        } else {
            const auto& strings = c.extension<ParameterState>().strings;
            if (auto s = strings.find(it->code); s != strings.end()) {
                out += s->second;
                return 0;
            }
            v = c.systemParameter(it->code);
        }
        if (!decimalsOf(x.args, decimals)) return Status::NumberExpected;
        out += formatNumber(v, decimals);
        return 0;
    }
    return Status::OperandExpected;
}

// PRINT item {; item} [;] [:]: the items printed one after the other; a line end unless the
// list ends with a semicolon.
void onPrint(Exchange& x) {
    std::string out;
    bool lineEnd = true;
    while (!x.args.atEnd() && !x.args.accept("COLON")) {
        if (auto st = printItem(x, out)) return x.fail(st);
        lineEnd = !x.args.accept("SEMICOLON");
        if (lineEnd && !x.args.atEnd() && !x.args.accept("COLON")) return x.fail(Status::ExtraCharsAtEoln);
        if (lineEnd) break;
    }
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (lineEnd) out += "\r\n";
    x.answerText(out);
}

} // namespace

void registerParametersHandlers(Dispatch& d) {
#define VAXO_TOKEN(name, kind) \
    if (kind == 'V') d.add(#name, &onParameter);
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
    d.add("BASE", &onBase);
    d.add("PRINT", &onPrint);
}

} // namespace Vaxo::Sim
