// `vaxo watch KIND ITEMS... [--axis N] [--interval MS] [--count N]`: defines a parameter block
// on the controller, fetches it at an interval and prints only what changed.
//   vaxo watch vr 0-9 20         vaxo watch axis MPOS DPOS IDLE --axis 1       vaxo watch system WDOG
#include <CLI/CLI.hpp>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

std::atomic<bool> g_stop{false};
void onSignal(int) { g_stop = true; }

struct Args {
    std::string kind;
    std::vector<std::string> items;
    int32_t axis = 0;
    uint32_t interval = 500;
    uint32_t count = 0;
};

// "3" or "0-9" -> indices; false on a malformed item.
bool indices(const std::vector<std::string>& items, std::vector<uint32_t>& out) {
    for (const auto& it : items) {
        unsigned long a = 0, b = 0;
        char* end = nullptr;
        a = std::strtoul(it.c_str(), &end, 10);
        if (end == it.c_str())
            return false;
        b = a;
        if (*end == '-') {
            const char* second = end + 1;
            b = std::strtoul(second, &end, 10);
            if (end == second)
                return false;
        }
        if (*end || b < a || b - a > 100000)
            return false;
        for (unsigned long i = a; i <= b; ++i)
            out.push_back(uint32_t(i));
    }
    return true;
}

int run(Session& s, Args& a) {
    std::vector<uint32_t> idx;
    std::vector<const char*> names;
    for (const auto& n : a.items)
        names.push_back(n.c_str());
    const bool numeric = a.kind == "vr" || a.kind == "table";
    if (numeric && !indices(a.items, idx)) {
        std::fprintf(stderr, "vaxo: watch %s takes indices or ranges such as 0-9\n", a.kind.c_str());
        return 2;
    }
    if (int rc = s.open())
        return rc;
    const VaxoHandle h = s.handle();
    int32_t block = -1;
    uint64_t e = 0;
    if (a.kind == "vr") e = vaxo_ParamBlockDefineVr(h, idx.data(), uint32_t(idx.size()), &block);
    else if (a.kind == "table") e = vaxo_ParamBlockDefineTable(h, idx.data(), uint32_t(idx.size()), &block);
    else if (a.kind == "axis") e = vaxo_ParamBlockDefineAxis(h, names.data(), uint32_t(names.size()), &block);
    else e = vaxo_ParamBlockDefineSystem(h, names.data(), uint32_t(names.size()), &block);
    if (s.check(e, "ParamBlockDefine"))
        return 1;

    const auto n = uint32_t(numeric ? idx.size() : names.size());
    auto label = [&](uint32_t i) {
        if (a.kind == "vr") return "VR(" + std::to_string(idx[i]) + ")";
        if (a.kind == "table") return "TABLE(" + std::to_string(idx[i]) + ")";
        if (a.kind == "axis") return a.items[i] + " AXIS(" + std::to_string(a.axis) + ")";
        return a.items[i];
    };
    auto fetch = [&](std::vector<double>& v, bool all) {
        uint64_t changed = 0;
        if (a.kind == "vr")
            return all ? vaxo_ParamBlockFetchAllVr(h, block, v.data(), n)
                       : vaxo_ParamBlockFetchChangedVr(h, block, v.data(), n, &changed);
        if (a.kind == "table")
            return all ? vaxo_ParamBlockFetchAllTable(h, block, v.data(), n)
                       : vaxo_ParamBlockFetchChangedTable(h, block, v.data(), n, &changed);
        if (a.kind == "axis")
            return all ? vaxo_ParamBlockFetchAllAxisParam5a(h, block, a.axis, v.data(), n)
                       : vaxo_ParamBlockFetchChangedAxisParam6a(h, block, a.axis, v.data(), n, &changed);
        return all ? vaxo_ParamBlockFetchAllSystem(h, block, v.data(), n)
                   : vaxo_ParamBlockFetchChangedSystem(h, block, v.data(), n, &changed);
    };

    std::signal(SIGINT, onSignal);
    std::vector<double> shown(n), now(n);
    int rc = 0;
    for (uint32_t round = 0; !g_stop && (a.count == 0 || round < a.count); ++round) {
        if (round)
            std::this_thread::sleep_for(std::chrono::milliseconds(a.interval));
        if (s.check(fetch(now, round == 0), round == 0 ? "ParamBlockFetchAll" : "ParamBlockFetchChanged")) {
            rc = 1;
            break;
        }
        for (uint32_t i = 0; i < n; ++i) {
            if (round && now[i] == shown[i])
                continue;
            shown[i] = now[i];
            s.report().row("changes", {{"round", std::to_string(round), "#" + std::to_string(round)},
                                       {"name", Report::quote(label(i)), label(i)},
                                       {"value", Report::number(now[i]), Report::number(now[i])}});
        }
        std::fflush(stdout);
    }
    vaxo_ParamBlockDelete(h, block);
    return rc;
}

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("watch", "fetch a parameter block at an interval, printing only what changed");
    sub->add_option("kind", a->kind, "vr, table, axis or system")
        ->required()
        ->check(CLI::IsMember({"vr", "table", "axis", "system"}));
    sub->add_option("items", a->items, "indices / ranges (vr, table) or parameter names (axis, system)")->required();
    sub->add_option("--axis", a->axis, "axis of an axis block")->capture_default_str();
    sub->add_option("--interval", a->interval, "ms between fetches")->capture_default_str()->check(CLI::Range(1u, 3600000u));
    sub->add_option("--count", a->count, "fetches before stopping (0: until Ctrl-C)")->capture_default_str();
    cmds.add(sub, [a](Session& s) { return run(s, *a); });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
