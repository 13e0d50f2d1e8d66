// Runs N vaxo_GetVrValue commands against a simulated controller in a child process, for
// counting the library's instructions under callgrind: scripts/bench.sh runs it with N and 2N
// and divides the difference by N, which leaves the cost of one command (caller and reader
// thread, user space) without the open, the close and the process start.
//   bench_CommandCostDriver N
#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

#include <vaxo/vaxo.h>

#include "bench/BenchWorld.h"
#include "sim/Simulator.h"

int main(int argc, char** argv) {
    const long n = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000;
    int portPipe[2], lifePipe[2];
    if (n < 0 || pipe(portPipe) != 0 || pipe(lifePipe) != 0)
        return 2;
    const pid_t child = fork();
    if (child == 0) {
        close(portPipe[0]);
        close(lifePipe[1]);
        Vaxo::Sim::Simulator sim(VaxoBench::simConfig());
        const std::uint16_t port = sim.start();
        [[maybe_unused]] ssize_t w = write(portPipe[1], &port, sizeof port);
        char c;
        while (read(lifePipe[0], &c, 1) > 0) {
        }
        sim.stop();
        _exit(0);
    }
    close(portPipe[1]);
    close(lifePipe[0]);
    std::uint16_t port = 0;
    if (read(portPipe[0], &port, sizeof port) != sizeof port || port == 0)
        return 1;
    VaxoHandle h = VaxoBench::openContext(port);
    int rc = vaxo_OpenConnection(h) == 0 ? 0 : 1;
    double v = 0;
    for (long i = 0; i < n && rc == 0; ++i)
        if (vaxo_GetVrValue(h, 12, &v) != 0)
            rc = 1;
    vaxo_DestroyContext(h);
    close(lifePipe[1]);
    waitpid(child, nullptr, 0);
    std::printf("%ld commands, pid %d\n", n, int(getpid()));
    return rc;
}
