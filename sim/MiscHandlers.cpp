// Scope, trigger, position switches, registration, frame groups and the project-key registry.
// Requests (numbers in brackets, lists with "first RANGE last" runs, texts in QUOTES):
//   SCOPE(1) | SCOPE(1, period) | SCOPE(1, period, start, end, vr...) |
//   SCOPE(1, period, start, end, PARAMETER, axis...) | SCOPE(0)
//   TRIGGER
//   PSWITCH(sw, 1, output, state, set, reset [, set, reset ...]) [AXIS(a)] | PSWITCH(sw, 0)
//   REGIST(mode [, channel, source, edge [, window [, open, close]]]) [AXIS(a)]
//   FRAME_GROUP(g) -> "g [table]: a,b,c" CR LF, no standard response
//   FRAME_GROUP(g, table, axis...) | FRAME_GROUP(g, -1)
//   PROJECT_KEY("key")
//   PROJECT_KEY_REGISTRY(0) clear | (1) list: names one a line, then the standard response |
//   (2, "name", "key") store | (3, "name") use
#include "sim/MiscHandlers.h"

#include "sim/Controller.h"
#include "sim/Simulator.h"

#include <cmath>
#include <string_view>

namespace Vaxo::Sim {
namespace {

struct Arg {
    ItemKind kind = ItemKind::Number;  // Number, Text or SysVar
    double value = 0;
    std::string_view text;  // Text: the bytes; SysVar: the name
    std::uint16_t code = 0;
};

constexpr std::size_t kMaxListItems = 65536;

// OPENBRACKETS item {COMMA item} CLOSEBRACKETS; an item is a number, a text, a system variable,
// or "first RANGE last", which stands for every whole number from first to last.
std::uint16_t readList(Args& a, std::vector<Arg>& out) {
    out.clear();
    if (!a.accept("OPENBRACKETS")) return Status::OpenBracketExpected;
    for (;;) {
        const Item* it = a.take();
        if (!it) return Status::CloseRoundBracketExpected;
        Arg arg;
        arg.kind = it->kind;
        if (it->kind == ItemKind::Number) {
            arg.value = it->value;
            if (a.accept("RANGE")) {
                double last;
                if (!a.number(last)) return Status::OperandExpected;
                if (arg.value != std::floor(arg.value) || last != std::floor(last) || last < arg.value ||
                    last - arg.value >= double(kMaxListItems))
                    return Status::ParameterOutOfRange;
                for (double v = arg.value; v < last; ++v) out.push_back({ItemKind::Number, v, {}, 0});
                arg.value = last;
            }
        } else if (it->kind == ItemKind::Text) {
            arg.text = it->text;
        } else if (it->kind == ItemKind::SysVar) {
            arg.text = it->name;
            arg.code = it->code;
        } else {
            return Status::OperandExpected;
        }
        out.push_back(arg);
        if (out.size() > kMaxListItems) return Status::ParameterOutOfRange;
        if (a.accept("CLOSEBRACKETS")) return 0;
        if (!a.accept("COMMA")) return a.atEnd() ? Status::CloseRoundBracketExpected : Status::CommaExpected;
    }
}

// [MODIFIER AXIS (a)] and the end of the request; axis -1 when there is no modifier.
std::uint16_t readAxisPart(Args& a, int& axis) {
    axis = -1;
    if (a.accept("MODIFIER")) {
        if (!a.accept("AXIS")) return Status::ModifierNotAllowed;
        std::vector<double> v;
        if (auto st = a.bracketed(v)) return st;
        std::size_t i;
        if (v.size() != 1 || !indexOf(v[0], MiscState::kAxes, i)) return Status::ParameterOutOfRange;
        axis = int(i);
    }
    return a.atEnd() ? 0 : Status::ExtraCharsAtEoln;
}

bool isNumber(const Arg& x) { return x.kind == ItemKind::Number; }
bool allNumbers(const std::vector<Arg>& args, std::size_t from) {
    for (std::size_t k = from; k < args.size(); ++k)
        if (!isNumber(args[k])) return false;
    return true;
}
bool whole(const Arg& x, double lo, double hi, int& out) {
    if (!isNumber(x) || x.value != std::floor(x.value) || x.value < lo || x.value > hi) return false;
    out = int(x.value);
    return true;
}

// ---------------------------------------------------------------- scope

void onScope(Exchange& x) {
    auto& s = miscState(x.controller);
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    int mode = 0;
    if (!whole(args[0], 0, 1, mode)) return x.fail(Status::ParameterOutOfRange);
    if (mode == 0) {
        if (args.size() != 1) return x.fail(Status::ExtraCharsAtEoln);
        s.scope.armed = false;
        return x.answer(0);
    }
    MiscState::Scope next = s.scope;
    if (args.size() >= 2) {
        int period = 0;
        if (!whole(args[1], 1, 1e6, period)) return x.fail(Status::ParameterOutOfRange);
        next.period = period;
    }
    if (args.size() == 3 || args.size() == 4) return x.fail(Status::OperandExpected);
    if (args.size() >= 5) {
        const auto& mem = x.controller.tableMemory();
        int start = 0, end = 0;
        if (!whole(args[2], 0, double(mem.size()) - 1, start) || !whole(args[3], start, double(mem.size()) - 1, end))
            return x.fail(Status::TableIndexRangeError);
        next.tableStart = std::uint32_t(start);
        next.tableEnd = std::uint32_t(end);
        std::size_t first = 4;
        next.parameter.clear();
        next.parameterCode = 0;
        if (args[4].kind == ItemKind::SysVar) {
            next.parameter = std::string(args[4].text);
            next.parameterCode = args[4].code;
            first = 5;
        }
        if (first >= args.size() || !allNumbers(args, first)) return x.fail(Status::OperandExpected);
        const double limit = next.parameter.empty() ? double(x.controller.vr().size()) : double(MiscState::kAxes);
        next.channels.clear();
        for (std::size_t k = first; k < args.size(); ++k) {
            int ch = 0;
            if (!whole(args[k], 0, limit - 1, ch)) return x.fail(Status::ParameterOutOfRange);
            next.channels.push_back(std::uint32_t(ch));
        }
        if (next.channels.size() > std::size_t(end - start + 1)) return x.fail(Status::TableIndexRangeError);
    }
    next.armed = true;
    s.scope = std::move(next);
    x.answer(0);
}

// Fills the capture area with the channels' present values, sample after sample.
void onTrigger(Exchange& x) {
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    auto& s = miscState(x.controller);
    ++s.scope.triggers;
    const auto& sc = s.scope;
    if (sc.armed && !sc.channels.empty()) {
        auto& mem = x.controller.tableMemory();
        const std::size_t n = sc.channels.size();
        const std::size_t samples = (sc.tableEnd - sc.tableStart + 1) / n;
        const std::uint16_t axisCode = x.controller.codeOf("AXIS");
        for (std::size_t k = 0; k < samples; ++k)
            for (std::size_t c = 0; c < n; ++c)
                mem[sc.tableStart + k * n + c] =
                    sc.parameter.empty() ? x.controller.vr()[sc.channels[c]]
                                         : x.controller.modifiedParameter(sc.parameterCode, axisCode, sc.channels[c]);
    }
    x.answer(0);
}

// ---------------------------------------------------------------- position switches, registration

void onPSwitch(Exchange& x) {
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    int axis = -1;
    if (auto st = readAxisPart(x.args, axis)) return x.fail(st);
    if (!allNumbers(args, 0)) return x.fail(Status::OperandExpected);
    int sw = 0, on = 0;
    if (!whole(args[0], 0, MiscState::kSwitches - 1, sw)) return x.fail(Status::ParameterOutOfRange);
    if (args.size() < 2 || !whole(args[1], 0, 1, on)) return x.fail(Status::ParameterOutOfRange);
    auto& s = miscState(x.controller);
    if (on == 0) {
        if (args.size() != 2 || axis >= 0) return x.fail(Status::ExtraCharsAtEoln);
        s.switches[sw].on = false;
        return x.answer(0);
    }
    MiscState::Switch entry;
    if (args.size() < 6 || (args.size() - 4) % 2 != 0) return x.fail(Status::OperandExpected);
    if (!whole(args[2], 0, 255, entry.output) || !whole(args[3], 0, 1, entry.state))
        return x.fail(Status::ParameterOutOfRange);
    for (std::size_t k = 4; k < args.size(); ++k) entry.positions.push_back(args[k].value);
    entry.on = true;
    entry.axis = axis;
    s.switches[sw] = std::move(entry);
    x.answer(0);
}

void onRegist(Exchange& x) {
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    int axis = -1;
    if (auto st = readAxisPart(x.args, axis)) return x.fail(st);
    if (!allNumbers(args, 0)) return x.fail(Status::OperandExpected);
    // One mode, or mode, channel, source, edge with an optional window flag and its two positions.
    if (args.size() != 1 && args.size() != 4 && args.size() != 5 && args.size() != 7)
        return x.fail(Status::OperandExpected);
    std::vector<double> values;
    for (const auto& a : args) values.push_back(a.value);
    miscState(x.controller).regist[axis] = std::move(values);
    x.answer(0);
}

// ---------------------------------------------------------------- frame groups

void onFrameGroup(Exchange& x) {
    auto& s = miscState(x.controller);
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (!allNumbers(args, 0)) return x.fail(Status::OperandExpected);
    int group = 0;
    if (!whole(args[0], 0, MiscState::kFrameGroups - 1, group)) return x.fail(Status::ParameterOutOfRange);
    if (args.size() == 1) {
        std::string line;
        if (!s.frameGroupReply.empty()) {
            line.swap(s.frameGroupReply);
        } else {
            auto it = s.frameGroups.find(std::uint32_t(group));
            line = std::to_string(group) + " [" + std::to_string(it == s.frameGroups.end() ? 0 : it->second.tableIndex) + "]:";
            if (it != s.frameGroups.end())
                for (std::size_t k = 0; k < it->second.axes.size(); ++k)
                    line += (k ? "," : "") + std::to_string(it->second.axes[k]);
            line += "\r\n";
        }
        x.reply.insert(x.reply.end(), line.begin(), line.end());
        return;
    }
    if (args.size() == 2 && args[1].value == -1) {
        s.frameGroups.erase(std::uint32_t(group));
        return x.answer(0);
    }
    MiscState::FrameGroup g;
    int table = 0;
    if (!whole(args[1], 0, double(x.controller.tableMemory().size()) - 1, table))
        return x.fail(Status::TableIndexRangeError);
    if (args.size() < 3) return x.fail(Status::OperandExpected);
    g.tableIndex = std::uint32_t(table);
    for (std::size_t k = 2; k < args.size(); ++k) {
        int axis = 0;
        if (!whole(args[k], 0, MiscState::kAxes - 1, axis)) return x.fail(Status::ParameterOutOfRange);
        for (int seen : g.axes)
            if (seen == axis) return x.fail(Status::ParameterOutOfRange);
        g.axes.push_back(axis);
    }
    s.frameGroups[std::uint32_t(group)] = std::move(g);
    x.answer(0);
}

// ---------------------------------------------------------------- project keys

void onProjectKey(Exchange& x) {
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (args.size() != 1 || args[0].kind != ItemKind::Text) return x.fail(Status::QuotesExpected);
    miscState(x.controller).projectKey = std::string(args[0].text);
    x.answer(0);
}

void onProjectKeyRegistry(Exchange& x) {
    auto& s = miscState(x.controller);
    std::vector<Arg> args;
    if (auto st = readList(x.args, args)) return x.fail(st);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    int function = 0;
    if (!whole(args[0], 0, 3, function)) return x.fail(Status::ParameterOutOfRange);
    const std::size_t texts[] = {0, 0, 2, 1};
    if (args.size() != 1 + texts[function]) return x.fail(Status::OperandExpected);
    for (std::size_t k = 1; k < args.size(); ++k)
        if (args[k].kind != ItemKind::Text) return x.fail(Status::QuotesExpected);
    switch (function) {
    case 0:
        s.keyRegistry.clear();
        s.activeKeyName.clear();
        return x.answer(0);
    case 1: {
        std::string names;
        for (const auto& [name, key] : s.keyRegistry) names += name + "\r\n";
        return x.answerText(names);
    }
    case 2:
        if (args[1].text.empty()) return x.fail(Status::ParameterOutOfRange);
        s.keyRegistry[std::string(args[1].text)] = std::string(args[2].text);
        return x.answer(0);
    default:
        if (!s.keyRegistry.count(std::string(args[1].text))) return x.fail(Status::VariableNotFound);
        s.activeKeyName = std::string(args[1].text);
        return x.answer(0);
    }
}

} // namespace

MiscState& miscState(Controller& c) { return c.extension<MiscState>(); }

MiscState miscSnapshot(Simulator& sim) {
    return sim.withState([](Controller& c) { return miscState(c); });
}

void setFrameGroupReply(Simulator& sim, std::string bytes) {
    sim.withState([&](Controller& c) { miscState(c).frameGroupReply = std::move(bytes); });
}

void registerMiscHandlers(Dispatch& d) {
    d.add("SCOPE", &onScope);
    d.add("TRIGGER", &onTrigger);
    d.add("PSWITCH", &onPSwitch);
    d.add("REGIST", &onRegist);
    d.add("FRAME_GROUP", &onFrameGroup);
    d.add("PROJECT_KEY", &onProjectKey);
    d.add("PROJECT_KEY_REGISTRY", &onProjectKeyRegistry);
}

} // namespace Vaxo::Sim
