// vaxo_simd: the simulated controller as a standalone process on 127.0.0.1.
//   vaxo_simd [--port N] [--seed N] [--type N] [--firmware X] [--sysvar16] [--quiet]
#include "sim/Simulator.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unistd.h>

namespace {
volatile std::sig_atomic_t g_stop = 0;
void onSignal(int) { g_stop = 1; }

void usage() {
    std::fprintf(stderr,
                 "usage: vaxo_simd [--port N] [--seed N] [--type N] [--firmware X] [--sysvar16] [--quiet]\n"
                 "  --port      TCP port on 127.0.0.1 (default 3240; 0 = any free port)\n"
                 "  --seed      token code shuffle (default: random)\n"
                 "  --type      controller type, CONTROL (default 1664)\n"
                 "  --firmware  firmware version, VERSION (default 2.0330)\n"
                 "  --sysvar16  the token table has 16-bit system-variable tokens\n");
}
} // namespace

int main(int argc, char** argv) {
    Vaxo::Sim::Config cfg;
    cfg.seed = std::random_device{}();
    cfg.recordRequests = false;
    unsigned long port = 3240;
    bool quiet = false;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) {
                usage();
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--port") port = std::strtoul(value(), nullptr, 10);
        else if (a == "--seed") cfg.seed = static_cast<std::uint32_t>(std::strtoul(value(), nullptr, 10));
        else if (a == "--type") cfg.controllerType = std::strtod(value(), nullptr);
        else if (a == "--firmware") cfg.firmware = std::strtod(value(), nullptr);
        else if (a == "--sysvar16") cfg.systemVariable16 = true;
        else if (a == "--quiet") quiet = true;
        else {
            usage();
            return a == "--help" || a == "-h" ? 0 : 2;
        }
    }
    if (port > 65535) {
        usage();
        return 2;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    Vaxo::Sim::Simulator sim(cfg);
    const std::uint16_t p = sim.start(static_cast<std::uint16_t>(port));
    if (p == 0) {
        std::fprintf(stderr, "vaxo_simd: cannot listen on 127.0.0.1:%lu: %s\n", port, std::strerror(errno));
        return 1;
    }
    if (!quiet)
        std::printf("vaxo_simd listening on 127.0.0.1:%u (seed %u, type %g, firmware %.4f%s)\n", unsigned(p),
                    unsigned(cfg.seed), cfg.controllerType, cfg.firmware, cfg.systemVariable16 ? ", 16-bit system variables" : "");
    std::fflush(stdout);
    while (!g_stop) ::pause();
    sim.stop();
    return 0;
}
