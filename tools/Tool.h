// Shared pieces of the command-line tool: the session (a context on a real controller or on
// the embedded simulated controller), the output (text or JSON), error reporting and the
// subcommand registry.
//
// Adding a subcommand: a new tools/<Name>.cpp with
//
//     static void setup(CLI::App& app, vaxo::tool::Commands& cmds) {
//         auto* sub = app.add_subcommand("name", "what it does");
//         auto index = std::make_shared<uint32_t>(0);
//         sub->add_option("index", *index)->required();
//         cmds.add(sub, [index](vaxo::tool::Session& s) { ... return 0; });
//     }
//     VAXO_TOOL_COMMAND(setup);
//
// The registry sorts subcommands by name; main() runs the one the command line chose.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vaxo/vaxo.h>

namespace CLI {
class App;
}
namespace Vaxo::Sim {
class Simulator;
class FileTransferServer;
} // namespace Vaxo::Sim

namespace vaxo::tool {

class Trace;

void collectText(void* user, const char* text, uint32_t length);

struct Options {
    std::string host;        // empty: the embedded simulated controller
    uint16_t port = 3240;
    uint16_t filePort = 0;   // file-transfer port; 0: the library's default (embedded: its own)
    uint32_t connectTimeout = 5000;
    uint32_t commandTimeout = 10000;
    bool json = false;
    bool verbose = false;
    std::string logFile;
};

// What a command prints: text lines for people, one JSON object for scripts.
class Report {
public:
    explicit Report(bool json) : m_json(json) {}
    void field(const std::string& key, double v);
    void field(const std::string& key, const std::string& v);
    void field(const std::string& key, bool v);
    // One row of a list (dir, ps, ...): columns as (key, already-formatted JSON value, text).
    struct Cell {
        std::string key;
        std::string json;
        std::string text;
    };
    void row(const std::string& list, std::vector<Cell> cells);
    // Prints what was collected (JSON mode); text mode prints as it goes.
    void finish();
    bool json() const { return m_json; }

    static std::string quote(const std::string& s);
    static std::string number(double v);
    // Called before anything is printed (the trace shows pending traffic first).
    std::function<void()> beforePrint;

private:
    void flushHook();
    bool m_json;
    std::vector<std::pair<std::string, std::string>> m_fields;
    std::vector<std::pair<std::string, std::vector<std::string>>> m_lists;
};

class Session {
public:
    explicit Session(Options options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    VaxoHandle handle() const { return m_handle; }
    // Opens the link (starting the embedded simulated controller when no host is given); prints
    // the error and returns non-zero on failure.
    int open();
    void close();
    bool embedded() const { return m_options.host.empty(); }
    // The port for file transfers (0: the library's default).
    uint16_t filePort() const;
    // Prints a failed call's code, name and description; returns non-zero on failure.
    int check(uint64_t code, const char* what) const;
    const Options& options() const { return m_options; }
    Report& report() { return m_report; }
    Vaxo::Sim::Simulator* simulator() { return m_sim.get(); }
    // Installs the trace sniffers (call before open()).
    void enableTrace();

    void onEvent(uint32_t type, uint64_t value, const char* text, uint32_t length);

private:
    Options m_options;
    Report m_report;
    VaxoHandle m_handle = nullptr;
    std::unique_ptr<Vaxo::Sim::Simulator> m_sim;
    std::unique_ptr<Vaxo::Sim::FileTransferServer> m_files;
    std::mutex m_logMutex;
    std::FILE* m_log = nullptr;
    std::unique_ptr<Trace> m_trace;
    bool m_open = false;
};

using RunFn = std::function<int(Session&)>;

// The leaf subcommands and what each runs.
class Commands {
public:
    void add(CLI::App* sub, RunFn run) { m_list.emplace_back(sub, std::move(run)); }
    // The chosen leaf's run function, or null when none was chosen.
    const RunFn* chosen() const;

private:
    std::vector<std::pair<CLI::App*, RunFn>> m_list;
};

using SetupFn = void (*)(CLI::App& app, Commands& cmds);
bool registerCommand(const char* id, SetupFn fn);
const std::map<std::string, SetupFn>& registeredCommands();

// Builds the whole command line: global options and every registered subcommand.
void buildApp(CLI::App& app, Options& options, Commands& cmds);
// Parses and runs one command line; returns the exit status.
int runCommandLine(int argc, const char* const* argv);
// The subcommand chosen by args (without the program name), for `trace`: parsed with a fresh
// command line; returns its run function through run, or the exit status of a parse error.
int parseNested(const std::vector<std::string>& args, Options& options, Commands& cmds, const RunFn*& run);

#define VAXO_TOOL_COMMAND(fn) [[maybe_unused]] static const bool vaxo_tool_registered_##fn = ::vaxo::tool::registerCommand(__FILE__, fn)

int runDemo(Session& s);

// Names of the controller's error codes, for messages.
std::string errorName(uint64_t code);
std::string errorText(uint64_t code);

} // namespace vaxo::tool
