// `vaxo ps`: the processes running on the controller.
#include <CLI/CLI.hpp>

#include <cmath>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

void onProcess(void* user, const VaxoProcessInfo* p, const char* name) {
    auto& r = *static_cast<Report*>(user);
    r.row("processes", {{"process", std::to_string(p->process), "proc " + std::to_string(p->process)},
                        {"program", Report::quote(name), name},
                        {"state", std::to_string(p->state), "state " + std::to_string(p->state)},
                        {"line", std::to_string(p->line), "line " + std::to_string(p->line)},
                        {"priority", std::to_string(p->priority), "prio " + std::to_string(p->priority)},
                        {"load", Report::number(p->load), std::isnan(p->load) ? "" : "load " + Report::number(p->load)}});
}

void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("ps", "list the processes running on the controller");
    cmds.add(sub, [](Session& s) {
        if (int rc = s.open())
            return rc;
        return s.check(vaxo_GetProcessList(s.handle(), onProcess, &s.report()), "GetProcessList");
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
