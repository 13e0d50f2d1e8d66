// `vaxo download REMOTE LOCAL`: fetches a file from the controller with a progress bar; the
// transfer carries its CRC, which the library checks.
#include <CLI/CLI.hpp>

#include "tools/Progress.h"
#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Args {
    std::string remote;
    std::string local;
    uint32_t type = 0;
    uint32_t mode = 0;
    int32_t timeout = 10000;
};

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("download", "fetch a file from the controller (progress bar, CRC check)");
    sub->add_option("remote", a->remote, "name on the controller")->required();
    sub->add_option("local", a->local, "local file to write")->required();
    sub->add_option("--type", a->type, "file type 0..26")->check(CLI::Range(0u, 26u));
    sub->add_option("--mode", a->mode, "transfer mode")->capture_default_str();
    sub->add_option("--transfer-timeout", a->timeout, "transfer timeout in ms")->capture_default_str();
    cmds.add(sub, [a](Session& s) {
        if (int rc = s.open())
            return rc;
        ProgressBar bar("download", s.report().json());
        const uint64_t e = vaxo_DownloadFile(s.handle(), a->remote.c_str(), a->local.c_str(), a->type, a->mode,
                                             a->timeout, s.filePort(), ProgressBar::callback, &bar);
        if (s.check(e, "DownloadFile"))
            return 1;
        uint64_t crc = 0;
        s.report().field("downloaded", a->remote);
        s.report().field("local", a->local);
        if (vaxo_GetLocalFileCRC(s.handle(), a->local.c_str(), false, &crc) == 0)
            s.report().field("crc", double(crc));
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
