// A progress bar on stderr for file transfers: file size, bytes done, rate.
#pragma once

#include <chrono>
#include <cstdio>

#include <vaxo/vaxo.h>

namespace vaxo::tool {

class ProgressBar {
public:
    explicit ProgressBar(const char* label, bool quiet = false, std::FILE* out = stderr)
        : m_label(label), m_quiet(quiet), m_out(out) {}
    // The library's progress callback; user is the ProgressBar.
    static void callback(void* user, const VaxoProgressInfo* info) {
        static_cast<ProgressBar*>(user)->update(info->done, info->total, info->state);
    }
    void update(uint64_t done, uint64_t total, uint32_t state) {
        ++m_updates;
        m_done = done;
        m_total = total;
        if (m_quiet)
            return;
        const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
        const double rate = secs > 0 ? double(done) / secs : 0.0;
        const int width = 30;
        const int filled = total ? int(double(done) * width / double(total)) : (state == 2 ? width : 0);
        char bar[width + 1];
        for (int i = 0; i < width; ++i)
            bar[i] = i < filled ? '#' : '.';
        bar[width] = 0;
        std::fprintf(m_out, "\r%s [%s] %3d%% %llu/%llu B %.1f kB/s", m_label, bar,
                     total ? int(double(done) * 100 / double(total)) : (state == 2 ? 100 : 0),
                     static_cast<unsigned long long>(done), static_cast<unsigned long long>(total), rate / 1000.0);
        if (state == 2)
            std::fputc('\n', m_out);
        std::fflush(m_out);
    }
    unsigned updates() const { return m_updates; }
    uint64_t done() const { return m_done; }
    uint64_t total() const { return m_total; }

private:
    const char* m_label;
    bool m_quiet;
    std::FILE* m_out;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    unsigned m_updates = 0;
    uint64_t m_done = 0, m_total = 0;
};

} // namespace vaxo::tool
