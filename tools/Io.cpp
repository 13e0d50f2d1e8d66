// `vaxo io`: digital inputs and outputs 0-31, or one channel; `--set CH ON|OFF`, `--aout CH VALUE`.
#include <CLI/CLI.hpp>

#include <optional>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Args {
    std::optional<uint32_t> channel;
    std::vector<std::string> set;  // channel, on|off|1|0
    std::optional<uint32_t> ain;
};

std::string bits(uint32_t mask) {
    std::string s;
    for (int i = 31; i >= 0; --i) {
        s += (mask >> i) & 1 ? '1' : '0';
        if (i && i % 8 == 0)
            s += '_';
    }
    return s;
}

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("io", "read digital inputs/outputs (0-31 or one channel), set an output");
    sub->add_option("channel", a->channel, "one channel to read (input and output)");
    sub->add_option("--set", a->set, "set an output: CHANNEL on|off")->expected(2)->allow_extra_args(false);
    sub->add_option("--ain", a->ain, "read an analogue input channel");
    cmds.add(sub, [a](Session& s) {
        bool on = false;
        unsigned long channel = 0;
        if (!a->set.empty()) {
            char* end = nullptr;
            channel = std::strtoul(a->set[0].c_str(), &end, 10);
            const std::string& v = a->set[1];
            if (*end || a->set[0].empty() || (v != "on" && v != "off" && v != "1" && v != "0")) {
                std::fprintf(stderr, "vaxo: --set takes CHANNEL on|off\n");
                return 2;
            }
            on = v == "on" || v == "1";
        }
        if (int rc = s.open())
            return rc;
        const VaxoHandle h = s.handle();
        auto& r = s.report();
        if (!a->set.empty()) {
            if (s.check(vaxo_SetDOut3(h, uint32_t(channel), on), "SetDOut"))
                return 1;
            r.field("OP(" + std::to_string(channel) + ")", on);
        }
        if (a->ain) {
            int32_t v = 0;
            if (s.check(vaxo_GetAIn(h, *a->ain, &v), "GetAIn"))
                return 1;
            r.field("AIN(" + std::to_string(*a->ain) + ")", double(v));
        }
        if (a->channel) {
            bool in = false, out = false;
            if (s.check(vaxo_GetDIn3(h, *a->channel, &in), "GetDIn") ||
                s.check(vaxo_GetDOut3(h, *a->channel, &out), "GetDOut"))
                return 1;
            r.field("IN(" + std::to_string(*a->channel) + ")", in);
            r.field("OP(" + std::to_string(*a->channel) + ")", out);
            return 0;
        }
        if (!a->set.empty() || a->ain)
            return 0;
        uint32_t in = 0, out = 0;
        if (s.check(vaxo_GetDIn32(h, &in), "GetDIn32") || s.check(vaxo_GetDOut32(h, &out), "GetDOut32"))
            return 1;
        if (r.json()) {
            r.field("inputs", double(in));
            r.field("outputs", double(out));
        } else {
            r.field("inputs  31..0", bits(in));
            r.field("outputs 31..0", bits(out));
        }
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
