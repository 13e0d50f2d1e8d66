// The subcommand registry and the command line: global options, then one leaf subcommand.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {

namespace {
std::map<std::string, SetupFn>& registry() {
    static std::map<std::string, SetupFn> r;
    return r;
}
} // namespace

bool registerCommand(const char* id, SetupFn fn) {
    registry()[id] = fn;
    return true;
}

const std::map<std::string, SetupFn>& registeredCommands() { return registry(); }

const RunFn* Commands::chosen() const {
    for (const auto& [sub, run] : m_list)
        if (sub->parsed())
            return &run;
    return nullptr;
}

void buildApp(CLI::App& app, Options& options, Commands& cmds) {
    app.add_option("--host", options.host, "controller host name or IPv4 address (none: embedded simulated controller)");
    app.add_option("--port", options.port, "controller command port")->capture_default_str();
    app.add_option("--file-port", options.filePort, "controller file-transfer port (0: the library's default)")
        ->capture_default_str();
    app.add_option("--connect-timeout", options.connectTimeout, "connect timeout in ms")->capture_default_str();
    app.add_option("--timeout", options.commandTimeout, "command timeout in ms")->capture_default_str();
    app.add_flag("--json", options.json, "print results as one JSON object");
    app.add_option("--log", options.logFile, "append every library event to FILE as a timestamped line");
    app.add_flag("-v,--verbose", options.verbose, "show the library's events on stderr");
    app.require_subcommand(1);
    app.failure_message(CLI::FailureMessage::help);
    for (const auto& [id, setup] : registeredCommands())
        setup(app, cmds);
}

int runCommandLine(int argc, const char* const* argv) {
    CLI::App app{"vaxo: remote-control a Movicor motion controller over TCP (no --host: embedded simulated controller)",
                 "vaxo"};
    Options options;
    Commands cmds;
    buildApp(app, options, cmds);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    const RunFn* run = cmds.chosen();
    if (!run) {
        std::fprintf(stderr, "%s", app.help().c_str());
        return 2;
    }
    Session session(options);
    const int rc = (*run)(session);
    session.report().finish();
    session.close();
    return rc;
}

int parseNested(const std::vector<std::string>& args, Options& options, Commands& cmds, const RunFn*& run) {
    CLI::App app{"vaxo trace: run one subcommand and show every byte it exchanges", "vaxo trace"};
    buildApp(app, options, cmds);
    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& e) {
        run = nullptr;
        return app.exit(e);
    }
    run = cmds.chosen();
    if (!run) {
        std::fprintf(stderr, "%s", app.help().c_str());
        return 2;
    }
    return 0;
}

} // namespace vaxo::tool
