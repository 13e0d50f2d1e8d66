// `vaxo param get|set NAME [--axis N|--proc N|--slot N|--port N] [VALUE]`: any controller
// parameter by name. Names come from the named-parameter list (which also says whether a
// parameter belongs to an axis, a process or a slot, and whether it is writable) and from the
// library's token list for the rest; values go through the generic by-token functions.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <optional>

#include "tools/Tool.h"

namespace vaxo::tool {

namespace {

struct NamedParam {
    const char* name;
    const char* kind;  // "Axis", "System", "Process", "Slot"
    bool writable;
};

constexpr NamedParam kNamed[] = {
#define VAXO_PARAM(kind, name, access) {#name, #kind, std::string_view(#access) == "RW"},
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
};

// The library's token numbering: the row of a name in the token list.
constexpr const char* kTokens[] = {
#define VAXO_TOKEN(name, kind) #name,
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
};

std::optional<uint32_t> tokenIndex(const std::string& name) {
    for (uint32_t i = 0; i < std::size(kTokens); ++i)
        if (name == kTokens[i])
            return i;
    return std::nullopt;
}

const NamedParam* named(const std::string& name) {
    for (const auto& p : kNamed)
        if (name == p.name)
            return &p;
    return nullptr;
}

struct Args {
    std::string name;
    double value = 0;
    std::optional<uint32_t> axis, proc, slot, port;
};

enum class Target { System, Axis, Process, Slot, Port };

// Works out what the parameter is addressed by; prints why not and returns nullopt on a
// mistake.
std::optional<Target> target(const Args& a, const NamedParam* p) {
    const int given = int(a.axis.has_value()) + int(a.proc.has_value()) + int(a.slot.has_value()) +
                      int(a.port.has_value());
    if (given > 1) {
        std::fprintf(stderr, "vaxo: give at most one of --axis, --proc, --slot, --port\n");
        return std::nullopt;
    }
    if (a.axis) return Target::Axis;
    if (a.proc) return Target::Process;
    if (a.slot) return Target::Slot;
    if (a.port) return Target::Port;
    if (p && std::string_view(p->kind) == "Axis") return Target::Axis;   // axis 0
    if (p && std::string_view(p->kind) == "Process") return Target::Process;
    if (p && std::string_view(p->kind) == "Slot") return Target::Slot;
    return Target::System;
}

std::string label(const Args& a, Target t) {
    switch (t) {
    case Target::Axis: return a.name + " AXIS(" + std::to_string(a.axis.value_or(0)) + ")";
    case Target::Process: return a.name + " PROC(" + std::to_string(a.proc.value_or(0)) + ")";
    case Target::Slot: return a.name + " SLOT(" + std::to_string(a.slot.value_or(0)) + ")";
    case Target::Port: return a.name + " PORT(" + std::to_string(a.port.value_or(0)) + ")";
    default: return a.name;
    }
}

int run(Session& s, Args& a, bool set) {
    std::transform(a.name.begin(), a.name.end(), a.name.begin(), [](unsigned char c) { return char(std::toupper(c)); });
    const auto token = tokenIndex(a.name);
    const NamedParam* p = named(a.name);
    if (!token) {
        std::fprintf(stderr, "vaxo: unknown parameter %s (see `vaxo param list`)\n", a.name.c_str());
        return 2;
    }
    if (set && p && !p->writable) {
        std::fprintf(stderr, "vaxo: %s is read-only\n", a.name.c_str());
        return 2;
    }
    const auto t = target(a, p);
    if (!t)
        return 2;
    if (int rc = s.open())
        return rc;
    const VaxoHandle h = s.handle();
    double v = a.value;
    uint64_t e = 0;
    switch (*t) {
    case Target::System:
        e = set ? vaxo_SetSystemParameterDoubleValue(h, *token, v) : vaxo_GetSystemParameterDoubleValue(h, *token, &v);
        break;
    case Target::Axis: {
        const uint32_t n = a.axis.value_or(0);
        e = set ? vaxo_SetAxisParameterDoubleValue(h, *token, n, v) : vaxo_GetAxisParameterDoubleValue(h, *token, n, &v);
        break;
    }
    case Target::Process: {
        const uint32_t n = a.proc.value_or(0);
        e = set ? vaxo_SetProcessParameterDoubleValue(h, *token, n, v)
                : vaxo_GetProcessParameterDoubleValue(h, *token, n, &v);
        break;
    }
    case Target::Slot: {
        const uint32_t n = a.slot.value_or(0);
        e = set ? vaxo_SetSlotParameterDoubleValue(h, *token, n, v) : vaxo_GetSlotParameterDoubleValue(h, *token, n, &v);
        break;
    }
    case Target::Port: {
        const uint32_t n = a.port.value_or(0);
        e = set ? vaxo_SetPortParameterDoubleValue(h, *token, n, v) : vaxo_GetPortParameterDoubleValue(h, *token, n, &v);
        break;
    }
    }
    if (s.check(e, set ? "set parameter" : "get parameter"))
        return 1;
    s.report().field(label(a, *t), v);
    return 0;
}

void addTargets(CLI::App* sub, Args& a) {
    sub->add_option("name", a.name, "parameter name, e.g. SPEED")->required();
    auto* axis = sub->add_option("--axis", a.axis, "axis number");
    auto* proc = sub->add_option("--proc", a.proc, "process number");
    auto* slot = sub->add_option("--slot", a.slot, "slot number");
    auto* port = sub->add_option("--port", a.port, "port number");
    axis->excludes(proc)->excludes(slot)->excludes(port);
    proc->excludes(slot)->excludes(port);
    slot->excludes(port);
}

void setup(CLI::App& app, Commands& cmds) {
    auto* group = app.add_subcommand("param", "read or write a controller parameter by name");
    group->require_subcommand(1);

    auto g = std::make_shared<Args>();
    auto* get = group->add_subcommand("get", "read a parameter");
    addTargets(get, *g);
    cmds.add(get, [g](Session& s) { return run(s, *g, false); });

    auto a = std::make_shared<Args>();
    auto* set = group->add_subcommand("set", "write a parameter");
    addTargets(set, *a);
    set->add_option("value", a->value, "new value")->required();
    cmds.add(set, [a](Session& s) { return run(s, *a, true); });

    auto* list = group->add_subcommand("list", "list the named parameters");
    cmds.add(list, [](Session& s) {
        for (const auto& p : kNamed)
            s.report().row("parameters", {{"name", Report::quote(p.name), p.name},
                                          {"kind", Report::quote(p.kind), p.kind},
                                          {"writable", p.writable ? "true" : "false", p.writable ? "RW" : "RO"}});
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
