// `vaxo info`: what the controller is and which library talks to it.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("info", "controller type, processes, firmware, API version");
    cmds.add(sub, [](Session& s) {
        if (int rc = s.open())
            return rc;
        auto& r = s.report();
        std::string api;
        vaxo_GetApiVersionStr(s.handle(), collectText, &api);
        double fw = 0, type = 0, procs = 0;
        if (s.check(vaxo_GetFirmwareVersionNumber(s.handle(), &fw), "GetFirmwareVersionNumber") ||
            s.check(vaxo_GetSystemParameter_CONTROL(s.handle(), &type), "GetSystemParameter_CONTROL"))
            return 1;
        r.field("api_version", api);
        r.field("controller_type", type);
        r.field("firmware", fw);
        // Optional facts: a controller without them still gets its info printed.
        if (vaxo_GetSystemParameter_PROCNUMBER(s.handle(), &procs) == 0)
            r.field("processes", procs);
        double serial = 0, vrs = 0, table = 0;
        if (vaxo_GetSystemParameter_SERIAL_NUMBER(s.handle(), &serial) == 0)
            r.field("serial_number", serial);
        if (vaxo_GetSystemParameter_VRSIZE(s.handle(), &vrs) == 0)
            r.field("vr_size", vrs);
        if (vaxo_GetSystemParameter_TSIZE(s.handle(), &table) == 0)
            r.field("table_size", table);
        r.field("embedded_simulator", s.embedded());
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
