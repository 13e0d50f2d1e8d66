// The simulated controller's program store and process table (the Programs family's state),
// with locked accessors for tests and for other families (file transfer stores uploaded files
// here).
//
//     Vaxo::Sim::putProgram(sim, "MAIN", "PRINT 1\r\n");
//     auto text = Vaxo::Sim::programText(sim, "main");   // names are case-insensitive
//
// Inside a handler (the controller's mutex is held) use programStore(x.controller) directly.
#pragma once

#include "sim/Simulator.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vaxo::Sim {

struct StoredProgram {
    std::string name;  // upper case, as the controller keeps names
    std::string text;  // the program's bytes exactly as stored
    int type = 0;      // the controller's program type number (0: plain program)
};

struct ProcessEntry {
    std::uint32_t process = 0;
    std::string program;
    std::int32_t state = 1;  // 1: running
    std::int32_t priority = 1;
    std::int32_t line = 1;
    std::uint64_t ticks = 0;
    std::uint64_t cycles = 0;
    double load = 0.0;
};

class ProgramStore {
public:
    static constexpr std::uint32_t kProcesses = 22;

    // Adds a program or replaces its text and type.
    StoredProgram& put(std::string_view name, std::string text, int type = 0);
    StoredProgram* find(std::string_view name) noexcept;
    const StoredProgram* find(std::string_view name) const noexcept;
    // Removes the program and whatever runs it; false when there is none.
    bool remove(std::string_view name);
    const std::vector<StoredProgram>& programs() const noexcept { return programs_; }

    // The selected program's name ("" when none).
    std::string selected;
    // Processes in the order they were started.
    std::vector<ProcessEntry> processes;
    bool running(std::string_view program) const noexcept;

    // The program's lines without their line ends, and the text rebuilt from lines (CR LF after
    // each line).
    static std::vector<std::string> lines(std::string_view text);
    static std::string join(const std::vector<std::string>& lines);
    // CRC-16/UMTS (polynomial 0x8005, initial 0, not reflected, no final xor), the CRC the
    // controller reports for a stored program.
    static std::uint16_t crc16(std::string_view data) noexcept;
    static std::string upper(std::string_view s);

private:
    std::vector<StoredProgram> programs_;
};

inline ProgramStore& programStore(Controller& c) { return c.extension<ProgramStore>(); }

// ---- locked accessors ----
inline void putProgram(Simulator& sim, std::string_view name, std::string text, int type = 0) {
    sim.withState([&](Controller& c) { programStore(c).put(name, std::move(text), type); });
}
inline std::optional<std::string> programText(Simulator& sim, std::string_view name) {
    return sim.withState([&](Controller& c) -> std::optional<std::string> {
        const StoredProgram* p = programStore(c).find(name);
        return p ? std::optional<std::string>(p->text) : std::nullopt;
    });
}
inline std::vector<StoredProgram> programs(Simulator& sim) {
    return sim.withState([](Controller& c) { return programStore(c).programs(); });
}
inline std::vector<ProcessEntry> processes(Simulator& sim) {
    return sim.withState([](Controller& c) { return programStore(c).processes; });
}
inline std::string selectedProgram(Simulator& sim) {
    return sim.withState([](Controller& c) { return programStore(c).selected; });
}

} // namespace Vaxo::Sim
