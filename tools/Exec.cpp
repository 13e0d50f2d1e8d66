// `vaxo exec "TEXT"`: runs one command line on the controller and prints what it printed.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("exec", "execute a command line on the controller, printing its response");
    auto text = std::make_shared<std::string>();
    sub->add_option("text", *text, "the command line, e.g. \"PRINT 1+2\"")->required();
    cmds.add(sub, [text](Session& s) {
        if (int rc = s.open())
            return rc;
        std::string response;
        if (s.check(vaxo_ExecuteWithResponse4c(s.handle(), text->c_str(), collectText, &response), "ExecuteWithResponse"))
            return 1;
        if (s.report().json())
            s.report().field("response", response);
        else
            std::fputs(response.c_str(), stdout);
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
