// `vaxo upload LOCAL [REMOTE]`: sends a file to the controller with a progress bar, then
// compares the controller's CRC of the stored program with the file's own.
#include <CLI/CLI.hpp>

#include <filesystem>

#include "tools/Progress.h"
#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

struct Args {
    std::string local;
    std::string remote;
    uint32_t type = 0;
    uint32_t mode = 1;
    int32_t level = 0;
    bool autorun = false;
    uint32_t storage = 0;
    int32_t timeout = 10000;
    bool noCheck = false;
};

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("upload", "send a file to the controller (progress bar, CRC check)");
    sub->add_option("local", a->local, "local file")->required()->check(CLI::ExistingFile);
    sub->add_option("remote", a->remote, "name on the controller (default: the file's name without extension)");
    sub->add_option("--type", a->type, "file type 0..26 (0: program)")->check(CLI::Range(0u, 26u));
    sub->add_option("--mode", a->mode, "0 plain, 1 with the controller's CRC handshake, 3 in 1024-byte chunks")
        ->capture_default_str();
    sub->add_option("--level", a->level, "compression level 0 (none) .. 9")->check(CLI::Range(0, 9));
    sub->add_flag("--autorun", a->autorun, "run at power-up");
    sub->add_option("--storage", a->storage, "storage area 0..9")->check(CLI::Range(0u, 9u));
    sub->add_option("--transfer-timeout", a->timeout, "transfer timeout in ms")->capture_default_str();
    sub->add_flag("--no-check", a->noCheck, "skip the CRC comparison after the transfer");
    cmds.add(sub, [a](Session& s) {
        std::string remote = a->remote;
        if (remote.empty())
            remote = std::filesystem::path(a->local).filename().string();
        if (int rc = s.open())
            return rc;
        ProgressBar bar("upload", s.report().json());
        const uint64_t e = vaxo_UploadFile(s.handle(), remote.c_str(), a->local.c_str(), a->type, a->mode, a->level,
                                           a->autorun ? 1 : 0, a->level > 0 ? 1 : 0, uint8_t(a->storage), a->timeout,
                                           s.filePort(), ProgressBar::callback, &bar);
        if (s.check(e, "UploadFile"))
            return 1;
        auto& r = s.report();
        r.field("uploaded", remote);
        r.field("bytes", double(bar.total()));
        if (a->noCheck)
            return 0;
        uint64_t local = 0, stored = 0;
        if (s.check(vaxo_GetLocalFileCRC(s.handle(), a->local.c_str(), false, &local), "GetLocalFileCRC"))
            return 1;
        const std::string program = std::filesystem::path(remote).stem().string();
        if (s.check(vaxo_GetRemoteFileCRC(s.handle(), program.c_str(), &stored), "GetRemoteFileCRC"))
            return 1;
        r.field("local_crc", double(local));
        r.field("remote_crc", double(stored));
        r.field("crc_match", local == stored);
        if (local != stored) {
            std::fprintf(stderr, "vaxo: CRC mismatch: local %04llX, controller %04llX\n",
                         static_cast<unsigned long long>(local), static_cast<unsigned long long>(stored));
            return 1;
        }
        return 0;
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
