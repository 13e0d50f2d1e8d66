// Runs one test of this binary in a fresh process of its own, with extra environment, and
// waits for it with a deadline: for tests that must not share the process with the suite's
// threads (a thread limit, a hang to be caught, sanitizers that refuse threads after fork).
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

extern char** environ;

namespace vaxotest {

struct SpawnResult {
    bool hung = false;
    int status = 0; // as waitpid reports it
    std::string describe() const {
        if (hung)
            return "hung";
        if (WIFSIGNALED(status))
            return "signal " + std::to_string(WTERMSIG(status)) + (WTERMSIG(status) == SIGALRM ? " (hung)" : "");
        return WEXITSTATUS(status) ? "exit " + std::to_string(WEXITSTATUS(status)) : "";
    }
};

inline SpawnResult runSelf(const std::string& test, const std::string& env, std::chrono::seconds deadline) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string name = env.substr(0, env.find('=') + 1);
    std::vector<std::string> vars;
    for (char** e = environ; *e; ++e)
        if (std::string_view(*e).rfind(name, 0) != 0 && std::string_view(*e).rfind("GTEST_", 0) != 0)
            vars.emplace_back(*e);
    vars.push_back(env);
    std::vector<char*> envp;
    for (auto& v : vars)
        envp.push_back(v.data());
    envp.push_back(nullptr);
    std::string filter = "--gtest_filter=" + test;
    std::string brief = "--gtest_brief=1";
    char* argv[] = {const_cast<char*>(self.c_str()), filter.data(), brief.data(), nullptr};
    SpawnResult result;
    pid_t pid = -1;
    if (posix_spawn(&pid, self.c_str(), nullptr, nullptr, argv, envp.data()) != 0) {
        result.status = 127 << 8;
        return result;
    }
    const auto until = std::chrono::steady_clock::now() + deadline;
    pid_t done = 0;
    while ((done = waitpid(pid, &result.status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (done == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &result.status, 0);
        result.hung = true;
    }
    return result;
}

} // namespace vaxotest
