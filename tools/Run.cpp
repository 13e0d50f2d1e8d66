// `vaxo run PROGRAM [--proc N]` and `vaxo stop PROGRAM [--proc N]`.
#include <CLI/CLI.hpp>

#include <optional>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Args {
    std::string program;
    std::optional<uint32_t> proc;
};

void add(CLI::App& app, Commands& cmds, bool start) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand(start ? "run" : "stop", start ? "start a program" : "stop a program");
    sub->add_option("program", a->program, "program name")->required();
    sub->add_option("--proc", a->proc, "process to run it on (default: the controller chooses)");
    cmds.add(sub, [a, start](Session& s) {
        if (int rc = s.open())
            return rc;
        const uint32_t proc = a->proc.value_or(0xFFFFFFFFu);
        const uint64_t e = start ? vaxo_RunProgram3(s.handle(), a->program.c_str(), proc)
                                 : vaxo_StopProgram3(s.handle(), a->program.c_str(), proc);
        if (s.check(e, start ? "RunProgram" : "StopProgram"))
            return 1;
        s.report().field(start ? "started" : "stopped", a->program);
        return 0;
    });
}

void setup(CLI::App& app, Commands& cmds) {
    add(app, cmds, true);
    add(app, cmds, false);
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
