// PRMBLK: parameter blocks defined per connection, fetched in full or as the entries changed
// since that block's (and axis's) last fetch.
//
//   PRMBLK(5) / PRMBLK(6)                 -> standard response: maximum blocks / entries per block
//   PRMBLK(m, block, code, list)          -> define (m 0) or append (m 1); value 0
//        code 0 axis / 1 system: system variables, each optionally followed by (n)
//        code 2 VR / 3 TABLE:    index or first RANGE last, comma-separated
//        code 4 program:         "program" EOX, qualifier, then "name" EOX ...
//        code 5 I/O:             first, end (end exclusive, at most 64 channels) pairs
//   PRMBLK(3|4, block [, axis | first RANGE last ...])
//                                -> text "v0,v1,..." (3) or "index:value,..." (4), then value 0;
//                                   with several axes the index runs on over the axes; I/O
//                                   blocks take one number (a flag) and answer words in hex
//   PRMBLK(8, block) / PRMBLK(9)                 -> delete one block / all blocks
#include "sim/ParamBlockHandlers.h"

#include "sim/IOHandlers.h"

#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace Vaxo::Sim {
namespace {

constexpr std::uint32_t kChannels = IOState::kDigitalChannels;

struct Entry {
    std::uint32_t index = 0;       // VR / TABLE index; I/O first channel; parameter's (n)
    std::uint32_t end = 0;         // I/O: one past the last channel
    std::uint16_t code = 0;        // parameter: system-variable code
    bool hasIndex = false;         // parameter written as NAME(n)
    std::string name;              // program variable
};

struct Block {
    int code = 0;
    std::string program;
    double qualifier = 0;
    std::vector<Entry> entries;
    // What the host was last sent, per axis (-1: a block without axes).
    std::map<long, std::vector<std::optional<std::string>>> sent;
};

struct State {
    ParamBlockLimits limits;
    std::map<std::uint32_t, std::map<int, Block>> blocks;  // connection -> block -> definition
    std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>> programs;
};

const std::unordered_set<std::string_view>& parameterNames(bool axis) {
    static const std::unordered_set<std::string_view> axisNames = {
#define VAXO_PARAM(kind, name, access) VAXO_SIM_PARAM_##kind(name)
#define VAXO_SIM_PARAM_Axis(name) #name,
#define VAXO_SIM_PARAM_System(name)
#define VAXO_SIM_PARAM_Process(name)
#define VAXO_SIM_PARAM_Slot(name)
#include <vaxo/NamedParams.def>
#undef VAXO_SIM_PARAM_Axis
#undef VAXO_SIM_PARAM_System
    };
    static const std::unordered_set<std::string_view> systemNames = {
#define VAXO_SIM_PARAM_Axis(name)
#define VAXO_SIM_PARAM_System(name) #name,
#include <vaxo/NamedParams.def>
#undef VAXO_SIM_PARAM_Axis
#undef VAXO_SIM_PARAM_System
#undef VAXO_SIM_PARAM_Process
#undef VAXO_SIM_PARAM_Slot
#undef VAXO_PARAM
    };
    return axis ? axisNames : systemNames;
}

std::string formatDouble(double v) {
    std::array<char, 64> buf{};
    auto [end, ec] = std::to_chars(buf.data(), buf.data() + buf.size(), v);
    return ec == std::errc() ? std::string(buf.data(), end) : std::string("0");
}

std::string formatHex(std::uint64_t v) {
    std::array<char, 32> buf{};
    auto [end, ec] = std::to_chars(buf.data(), buf.data() + buf.size(), v, 16);
    std::string s(buf.data(), ec == std::errc() ? end : buf.data());
    for (char& c : s)
        if (c >= 'a' && c <= 'f') c = char(c - 'a' + 'A');
    return s;
}

bool wholeNumber(double v, double limit, std::uint32_t& out) {
    std::size_t i;
    if (!indexOf(v, static_cast<std::size_t>(limit), i)) return false;
    out = static_cast<std::uint32_t>(i);
    return true;
}

// The value of entry e of block b for one axis, as the controller prints it.
std::string valueOf(Exchange& x, State& s, const Block& b, const Entry& e, long axis) {
    Controller& c = x.controller;
    switch (b.code) {
    case 0: {
        const std::uint16_t axisModifier = c.codeOf("AXIS");
        return formatDouble(c.modifiedParameter(e.code, axisModifier, std::uint32_t(axis < 0 ? 0 : axis)));
    }
    case 1:
        return formatDouble(e.hasIndex ? c.modifiedParameter(e.code, 0, e.index) : c.systemParameter(e.code));
    case 2:
        return formatDouble(c.vr()[e.index]);
    case 3:
        return formatDouble(c.tableMemory()[e.index]);
    case 4: {
        auto p = s.programs.find(b.program);
        if (p == s.programs.end()) return "0";
        auto v = p->second.find(e.name);
        return v == p->second.end() ? std::string("0") : v->second;
    }
    default: {
        // A channel reads as set when its input (as the controller reads it) or its output is on.
        const IOState& io = ioState(c);
        std::uint64_t word = 0;
        for (std::uint32_t ch = e.index; ch < e.end; ++ch)
            if (ch < kChannels && (io.input(ch) || io.outputs[ch])) word |= std::uint64_t(1) << (ch - e.index);
        return formatHex(word);
    }
    }
}

// The entries of a define or append; 0 or the status to answer.
std::uint16_t parseEntries(Exchange& x, const State& s, Block& b, std::vector<Entry>& out) {
    Args& a = x.args;
    switch (b.code) {
    case 0:
    case 1:
        while (a.accept("COMMA")) {
            const Item* it = a.take();
            if (!it || it->kind != ItemKind::SysVar) return Status::VariableNotFound;
            if (!parameterNames(b.code == 0).count(it->name)) return Status::VariableNotFound;
            Entry e;
            e.code = it->code;
            if (a.accept("OPENBRACKETS")) {
                double n;
                if (!a.number(n) || !wholeNumber(n, 65536, e.index)) return Status::ParameterOutOfRange;
                if (!a.accept("CLOSEBRACKETS")) return Status::CloseRoundBracketExpected;
                e.hasIndex = true;
            }
            out.push_back(std::move(e));
        }
        break;
    case 2:
    case 3: {
        const std::size_t size = b.code == 2 ? x.controller.vr().size() : x.controller.tableMemory().size();
        while (a.accept("COMMA")) {
            double v, last;
            std::uint32_t first, end;
            if (!a.number(v) || !wholeNumber(v, double(size), first)) return Status::ParameterOutOfRange;
            end = first;
            if (a.accept("RANGE")) {
                if (!a.number(last) || !wholeNumber(last, double(size), end) || end < first)
                    return Status::ParameterOutOfRange;
            }
            if (end - first >= s.limits.maxEntries + 1u && s.limits.enforceEntries) return Status::ParameterOutOfRange;
            for (std::uint32_t i = first; i <= end; ++i) {
                Entry e;
                e.index = i;
                out.push_back(e);
            }
        }
        break;
    }
    case 4:
        return Status::ParameterOutOfRange;  // program blocks: parseProgramEntries
    default:
        while (a.accept("COMMA")) {
            double f, e;
            Entry en;
            if (!a.number(f) || !wholeNumber(f, kChannels, en.index)) return Status::ParameterOutOfRange;
            if (!a.accept("COMMA")) return Status::CommaExpected;
            if (!a.number(e) || !wholeNumber(e, kChannels + 1.0, en.end) || en.end < en.index ||
                en.end - en.index > 64)
                return Status::ParameterOutOfRange;
            out.push_back(en);
        }
        break;
    }
    if (!a.accept("CLOSEBRACKETS")) return Status::CloseRoundBracketExpected;
    if (!a.atEnd()) return Status::ExtraCharsAtEoln;
    return 0;
}

// Program variables: , "program" EOX , qualifier , "name" EOX ...
std::uint16_t parseProgramEntries(Exchange& x, std::string& program, double& qualifier, std::vector<Entry>& out) {
    Args& a = x.args;
    std::string_view text;
    if (!a.accept("COMMA")) return Status::CommaExpected;
    if (!a.text(text)) return Status::QuotesExpected;
    a.accept("EOX");
    program.assign(text);
    if (!a.accept("COMMA")) return Status::CommaExpected;
    if (!a.number(qualifier)) return Status::OperandExpected;
    while (a.accept("COMMA")) {
        if (!a.text(text) || text.empty()) return Status::QuotesExpected;
        a.accept("EOX");
        Entry e;
        e.name.assign(text);
        out.push_back(std::move(e));
    }
    if (!a.accept("CLOSEBRACKETS")) return Status::CloseRoundBracketExpected;
    if (!a.atEnd()) return Status::ExtraCharsAtEoln;
    return 0;
}

void onDefine(Exchange& x, State& s, std::map<int, Block>& mine, bool append) {
    double bv, cv;
    std::uint32_t id, code;
    if (!x.args.accept("COMMA") || !x.args.number(bv)) return x.fail(Status::CommaExpected);
    if (!wholeNumber(bv, s.limits.maxBlocks, id)) return x.fail(Status::ParameterOutOfRange);
    if (!x.args.accept("COMMA") || !x.args.number(cv)) return x.fail(Status::CommaExpected);
    if (!wholeNumber(cv, 6, code)) return x.fail(Status::ParameterOutOfRange);
    auto existing = mine.find(int(id));
    if (append && (existing == mine.end() || existing->second.code != int(code)))
        return x.fail(Status::ParameterOutOfRange);

    Block fresh;
    fresh.code = int(code);
    std::vector<Entry> entries;
    std::uint16_t st = 0;
    if (code == 4) {
        st = parseProgramEntries(x, fresh.program, fresh.qualifier, entries);
        if (!st && append && fresh.program != existing->second.program) st = Status::ParameterOutOfRange;
    } else {
        st = parseEntries(x, s, fresh, entries);
    }
    if (st) return x.fail(st);
    if (entries.empty()) return x.fail(Status::OperandExpected);
    const std::size_t total = entries.size() + (append ? existing->second.entries.size() : 0);
    if (s.limits.enforceEntries && total > s.limits.maxEntries) return x.fail(Status::ParameterOutOfRange);

    Block& b = append ? existing->second : (mine[int(id)] = std::move(fresh));
    for (auto& e : entries) b.entries.push_back(std::move(e));
    b.sent.clear();
    x.answer(0);
}

void onFetch(Exchange& x, State& s, std::map<int, Block>& mine, bool changed) {
    double bv;
    if (!x.args.accept("COMMA") || !x.args.number(bv)) return x.fail(Status::CommaExpected);
    auto it = bv >= 0 && bv == double(int(bv)) ? mine.find(int(bv)) : mine.end();
    if (it == mine.end()) return x.fail(Status::ParameterOutOfRange);
    Block& b = it->second;
    std::vector<long> axes;
    while (x.args.accept("COMMA")) {
        double first, last;
        if (!x.args.number(first)) return x.fail(Status::OperandExpected);
        last = first;
        if (x.args.accept("RANGE") && !x.args.number(last)) return x.fail(Status::OperandExpected);
        if (!(first >= 0) || last < first || last - first > 1024) return x.fail(Status::ParameterOutOfRange);
        for (double a = first; a <= last; ++a) axes.push_back(long(a));
    }
    if (!x.args.accept("CLOSEBRACKETS")) return x.fail(Status::CloseRoundBracketExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    // Only axis blocks are per axis; the I/O block's number is a flag.
    if (b.code != 0 || axes.empty()) axes.assign(1, b.code == 0 ? 0 : -1);

    std::string text;
    const std::size_t size = b.entries.size();
    for (std::size_t a = 0; a < axes.size(); ++a) {
        auto& sent = b.sent[axes[a]];
        sent.resize(size);
        for (std::size_t k = 0; k < size; ++k) {
            std::string v = valueOf(x, s, b, b.entries[k], axes[a]);
            if (changed && sent[k] && *sent[k] == v) continue;
            if (!text.empty()) text += ',';
            if (changed) {
                text += std::to_string(a * size + k);
                text += ':';
            }
            text += v;
            sent[k] = std::move(v);
        }
    }
    x.answerText(text);
}

void onPrmblk(Exchange& x) {
    State& s = x.controller.extension<State>();
    auto& mine = s.blocks[x.session.connection()];
    double op;
    if (!x.args.accept("OPENBRACKETS")) return x.fail(Status::OpenBracketExpected);
    if (!x.args.number(op)) return x.fail(Status::OperandExpected);
    auto closed = [&] { return x.args.accept("CLOSEBRACKETS") && x.args.atEnd(); };
    if (op == 5 || op == 6) {
        if (!closed()) return x.fail(Status::CloseRoundBracketExpected);
        return x.answer(op == 5 ? s.limits.maxBlocks : s.limits.maxEntries);
    }
    if (op == 9) {
        if (!closed()) return x.fail(Status::CloseRoundBracketExpected);
        mine.clear();
        return x.answer(0);
    }
    if (op == 8) {
        double bv;
        if (!x.args.accept("COMMA") || !x.args.number(bv)) return x.fail(Status::CommaExpected);
        if (!closed()) return x.fail(Status::CloseRoundBracketExpected);
        auto it = bv >= 0 && bv == double(int(bv)) ? mine.find(int(bv)) : mine.end();
        if (it == mine.end()) return x.fail(Status::ParameterOutOfRange);
        mine.erase(it);
        return x.answer(0);
    }
    if (op == 0 || op == 1) return onDefine(x, s, mine, op == 1);
    if (op == 3 || op == 4) return onFetch(x, s, mine, op == 4);
    x.fail(Status::ParameterOutOfRange);
}

} // namespace

void registerParamBlockHandlers(Dispatch& d) { d.add("PRMBLK", &onPrmblk); }

void setParamBlockLimits(Simulator& sim, const ParamBlockLimits& limits) {
    sim.withState([&](Controller& c) { c.extension<State>().limits = limits; });
}

void setProgramVariable(Simulator& sim, std::string_view program, std::string_view name, std::string_view value) {
    sim.withState([&](Controller& c) {
        c.extension<State>().programs[std::string(program)][std::string(name)] = std::string(value);
    });
}

std::size_t paramBlockCount(Simulator& sim, std::uint32_t connection) {
    return sim.withState([&](Controller& c) {
        auto& blocks = c.extension<State>().blocks;
        auto it = blocks.find(connection);
        return it == blocks.end() ? std::size_t(0) : it->second.size();
    });
}

} // namespace Vaxo::Sim
