// `vaxo vr get|set` and `vaxo table get|set`: one value or a range of VR or TABLE memory.
//   vaxo vr get 10            vaxo vr get 10 --count 5
//   vaxo vr set 10 1.5        vaxo table set 100 1 2 3     (consecutive from 100)
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Memory {
    const char* name;  // "VR" / "TABLE"
    uint64_t (*getOne)(VaxoHandle, uint32_t, double*);
    uint64_t (*setOne)(VaxoHandle, uint32_t, double);
    uint64_t (*getMulti)(VaxoHandle, uint32_t, uint32_t, double*);
    uint64_t (*setMulti)(VaxoHandle, uint32_t, uint32_t, double*);
};

const Memory kVr{"VR", vaxo_GetVrValue, vaxo_SetVrValue, vaxo_GetMultiVrValues, vaxo_SetMultiVrValues};
const Memory kTable{"TABLE", vaxo_GetTableValue, vaxo_SetTableValue, vaxo_GetMultiTableValues,
                    vaxo_SetMultiTableValues};

std::string label(const Memory& m, uint32_t i) { return std::string(m.name) + "(" + std::to_string(i) + ")"; }

void addMemory(CLI::App& app, Commands& cmds, const Memory& m, const char* sub, const char* help) {
    auto* group = app.add_subcommand(sub, help);
    group->require_subcommand(1);

    struct GetArgs {
        uint32_t index = 0;
        uint32_t count = 1;
    };
    auto g = std::make_shared<GetArgs>();
    auto* get = group->add_subcommand("get", "read one value, or --count values from index");
    get->add_option("index", g->index, "first index")->required();
    get->add_option("-n,--count", g->count, "number of values")->check(CLI::Range(1u, 100000u));
    cmds.add(get, [g, &m](Session& s) {
        if (int rc = s.open())
            return rc;
        std::vector<double> values(g->count);
        const uint64_t e = g->count == 1 ? m.getOne(s.handle(), g->index, values.data())
                                         : m.getMulti(s.handle(), g->index, g->count, values.data());
        if (s.check(e, g->count == 1 ? "get value" : "get values"))
            return 1;
        for (uint32_t i = 0; i < g->count; ++i)
            s.report().field(label(m, g->index + i), values[i]);
        return 0;
    });

    struct SetArgs {
        uint32_t index = 0;
        std::vector<double> values;
    };
    auto a = std::make_shared<SetArgs>();
    auto* set = group->add_subcommand("set", "write values from index on (several values: a range)");
    set->add_option("index", a->index, "first index")->required();
    set->add_option("values", a->values, "values to write")->required();
    cmds.add(set, [a, &m](Session& s) {
        if (int rc = s.open())
            return rc;
        const auto n = uint32_t(a->values.size());
        const uint64_t e = n == 1 ? m.setOne(s.handle(), a->index, a->values[0])
                                  : m.setMulti(s.handle(), a->index, n, a->values.data());
        if (s.check(e, n == 1 ? "set value" : "set values"))
            return 1;
        for (uint32_t i = 0; i < n; ++i)
            s.report().field(label(m, a->index + i), a->values[i]);
        return 0;
    });
}

void setup(CLI::App& app, Commands& cmds) {
    addMemory(app, cmds, kVr, "vr", "read or write VR memory");
    addMemory(app, cmds, kTable, "table", "read or write TABLE memory");
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
