// `vaxo crc NAME` (the controller's CRC of a stored program) and `vaxo crc --local FILE`.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Args {
    std::string name;
    bool local = false;
    bool compressed = false;
};

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("crc", "CRC-16 of a program on the controller, or of a local file (--local)");
    sub->add_option("name", a->name, "program name (or local path with --local)")->required();
    sub->add_flag("--local", a->local, "the CRC an upload of this local file carries");
    sub->add_flag("--compressed", a->compressed, "with --local: of the deflated bytes");
    cmds.add(sub, [a](Session& s) {
        uint64_t crc = 0;
        if (a->local) {
            if (s.check(vaxo_GetLocalFileCRC(s.handle(), a->name.c_str(), a->compressed, &crc), "GetLocalFileCRC"))
                return 1;
        } else {
            if (int rc = s.open())
                return rc;
            if (s.check(vaxo_GetRemoteFileCRC(s.handle(), a->name.c_str(), &crc), "GetRemoteFileCRC"))
                return 1;
        }
        char hex[16];
        std::snprintf(hex, sizeof hex, "%04llX", static_cast<unsigned long long>(crc));
        s.report().field("name", a->name);
        s.report().field("crc", double(crc));
        s.report().field("crc_hex", std::string(hex));
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
