// Figures a test run reports for the end-of-run summary of the CI script: each call appends a
// "key value" line to the file named by VAXO_SUMMARY_FILE (nothing happens when it is unset).
// The CI script sums the values per key, e.g. "scenario_passed 1", "load_commands_checked 160000",
// "data_lost 0".
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace VaxoTest {

inline void summaryAdd(std::string_view key, long long value) {
    const char* path = std::getenv("VAXO_SUMMARY_FILE");
    if (path == nullptr || *path == '\0') {
        return;
    }
    if (std::FILE* f = std::fopen(path, "a")) {
        // One short line per fwrite on an append-mode stream: lines from concurrent test
        // processes do not interleave.
        char line[128];
        int n = std::snprintf(line, sizeof line, "%.*s %lld\n", static_cast<int>(key.size()), key.data(), value);
        if (n > 0) {
            std::fwrite(line, 1, static_cast<std::size_t>(n), f);
        }
        std::fclose(f);
    }
}

} // namespace VaxoTest
