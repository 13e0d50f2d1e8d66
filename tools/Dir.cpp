// `vaxo dir`: the controller's program directory.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

void onFile(void* user, const VaxoFileInfo* info, const char* name) {
    auto& r = *static_cast<Report*>(user);
    char crc[16];
    std::snprintf(crc, sizeof crc, "%04X", unsigned(info->crc));
    r.row("files", {{"name", Report::quote(name), name},
                    {"type", std::to_string(info->type), "type " + std::to_string(info->type)},
                    {"size", std::to_string(info->size), std::to_string(info->size) + " B"},
                    {"crc", std::to_string(info->crc), std::string("crc ") + crc},
                    {"lines", std::to_string(info->lines), std::to_string(info->lines) + " lines"}});
}

void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("dir", "list the programs and files on the controller");
    cmds.add(sub, [](Session& s) {
        if (int rc = s.open())
            return rc;
        // The callback runs on the reader thread; the report is only touched from there until
        // the call returns.
        return s.check(vaxo_Dir(s.handle(), onFile, &s.report()), "Dir");
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
