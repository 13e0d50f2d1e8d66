// `vaxo sim`: the simulated controller as a server on 127.0.0.1 until Ctrl-C (or --duration),
// with its file-transfer server beside it.
//   vaxo sim --port 0 --port-file /tmp/ports    (the file gets "<command port> <file port>")
#include <CLI/CLI.hpp>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <random>
#include <thread>

#include "sim/FileTransfer.h"
#include "sim/Simulator.h"
#include "tools/Tool.h"

namespace vaxo::tool {
namespace {

std::atomic<bool> g_stop{false};
void onSignal(int) { g_stop = true; }

struct Args {
    uint16_t port = 3240;
    uint16_t filePort = 0;
    std::optional<uint32_t> seed;
    double type = 1664;
    double firmware = 2.0330;
    bool sysvar16 = false;
    std::string portFile;
    double duration = 0;
};

int run(Session& s, Args& a) {
    Vaxo::Sim::Config cfg;
    cfg.seed = a.seed ? *a.seed : std::random_device{}();
    cfg.controllerType = a.type;
    cfg.firmware = a.firmware;
    cfg.systemVariable16 = a.sysvar16;
    cfg.recordRequests = false;
    Vaxo::Sim::Simulator sim(cfg);
    const uint16_t port = sim.start(a.port);
    if (port == 0) {
        std::fprintf(stderr, "vaxo sim: cannot listen on 127.0.0.1:%u: %s\n", unsigned(a.port), std::strerror(errno));
        return 1;
    }
    Vaxo::Sim::FileTransferServer files;
    files.attach(sim);
    const uint16_t filePort = files.start(a.filePort);
    if (filePort == 0) {
        std::fprintf(stderr, "vaxo sim: cannot listen on 127.0.0.1:%u for file transfer: %s\n", unsigned(a.filePort),
                     std::strerror(errno));
        sim.stop();
        return 1;
    }
    if (!a.portFile.empty()) {
        // Written whole under a temporary name, then renamed: a reader never sees half a file.
        const std::string tmp = a.portFile + ".tmp";
        std::ofstream(tmp) << port << ' ' << filePort << '\n';
        std::rename(tmp.c_str(), a.portFile.c_str());
    }
    if (s.options().json)
        std::printf("{\"port\":%u,\"file_port\":%u,\"seed\":%u}\n", unsigned(port), unsigned(filePort), unsigned(cfg.seed));
    else
        std::printf("vaxo sim listening on 127.0.0.1:%u, file transfer on 127.0.0.1:%u (seed %u, type %g, firmware "
                    "%.4f%s)\n",
                    unsigned(port), unsigned(filePort), unsigned(cfg.seed), cfg.controllerType, cfg.firmware,
                    cfg.systemVariable16 ? ", 16-bit system variables" : "");
    std::fflush(stdout);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(a.duration);
    while (!g_stop && (a.duration <= 0 || std::chrono::steady_clock::now() < until))
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    files.stop();
    sim.stop();
    return 0;
}

void setup(CLI::App& app, Commands& cmds) {
    auto a = std::make_shared<Args>();
    auto* sub = app.add_subcommand("sim", "run the simulated controller as a server on 127.0.0.1");
    sub->add_option("--port", a->port, "command port (0: any free port)")->capture_default_str();
    sub->add_option("--file-port", a->filePort, "file-transfer port (0: any free port)")->capture_default_str();
    sub->add_option("--seed", a->seed, "token code shuffle (default: random)");
    sub->add_option("--type", a->type, "controller type, CONTROL")->capture_default_str();
    sub->add_option("--firmware", a->firmware, "firmware version, VERSION")->capture_default_str();
    sub->add_flag("--sysvar16", a->sysvar16, "the token table has 16-bit system-variable tokens");
    sub->add_option("--port-file", a->portFile, "write \"<port> <file port>\" to this file once listening");
    sub->add_option("--duration", a->duration, "stop after this many seconds (0: until Ctrl-C)");
    cmds.add(sub, [a](Session& s) { return run(s, *a); });
}
} // namespace
VAXO_TOOL_COMMAND(setup);
} // namespace vaxo::tool
