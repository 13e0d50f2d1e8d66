// A simulated controller in a child process, for as long as this object lives: forked before
// the caller starts any thread, it tells its port through a pipe and leaves when the parent
// closes the other pipe (or dies). Programs that count their own allocations or instructions
// use it so that nothing the controller does is counted with them.
#pragma once

#include <cstdint>
#include <sys/wait.h>
#include <unistd.h>

#include "sim/Simulator.h"

namespace Vaxo::Sim {

class ForkedSimulator {
public:
    explicit ForkedSimulator(const Config& config) {
        int portPipe[2];
        if (pipe(portPipe) != 0)
            return;
        if (pipe(m_life) != 0) {
            close(portPipe[0]);
            close(portPipe[1]);
            return;
        }
        m_child = fork();
        if (m_child == 0) {
            close(portPipe[0]);
            close(m_life[1]);
            Simulator sim(config);
            const std::uint16_t port = sim.start();
            [[maybe_unused]] ssize_t w = write(portPipe[1], &port, sizeof port);
            char c;
            while (read(m_life[0], &c, 1) > 0) {
            }
            sim.stop();
            _exit(0);
        }
        close(portPipe[1]);
        close(m_life[0]);
        m_life[0] = -1;
        if (m_child < 0 || read(portPipe[0], &m_port, sizeof m_port) != sizeof m_port)
            m_port = 0;
        close(portPipe[0]);
    }
    ~ForkedSimulator() {
        if (m_life[1] >= 0)
            close(m_life[1]);
        if (m_child > 0)
            waitpid(m_child, nullptr, 0);
    }
    ForkedSimulator(const ForkedSimulator&) = delete;
    ForkedSimulator& operator=(const ForkedSimulator&) = delete;

    // 0 when the child could not be started.
    std::uint16_t port() const { return m_port; }

private:
    pid_t m_child = -1;
    int m_life[2] = {-1, -1};
    std::uint16_t m_port = 0;
};

} // namespace Vaxo::Sim
