// Runs N vaxo_GetVrValue commands against a simulated controller in a child process, for
// counting the library's instructions under callgrind: scripts/bench.sh runs it with N and 2N
// and divides the difference by N, which leaves the cost of one command (caller and reader
// thread, user space) without the open, the close and the process start.
//   bench_CommandCostDriver N
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include <vaxo/vaxo.h>

#include "bench/BenchWorld.h"
#include "sim/ForkedSimulator.h"

int main(int argc, char** argv) {
    const long n = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000;
    if (n < 0)
        return 2;
    Vaxo::Sim::ForkedSimulator controller(VaxoBench::simConfig());
    const std::uint16_t port = controller.port();
    if (port == 0)
        return 1;
    VaxoHandle h = VaxoBench::openContext(port);
    int rc = vaxo_OpenConnection(h) == 0 ? 0 : 1;
    double v = 0;
    for (long i = 0; i < n && rc == 0; ++i)
        if (vaxo_GetVrValue(h, 12, &v) != 0)
            rc = 1;
    vaxo_DestroyContext(h);
    std::printf("%ld commands, pid %d\n", n, int(getpid()));
    return rc;
}
