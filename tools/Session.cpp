// The tool's session: creates the context, starts the embedded simulated controller when no
// host is given, logs the library's events, reports errors by name and description.
#include "tools/Tool.h"
#include "tools/Trace.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "shared/errors/Errors.h"
#include "sim/FileTransfer.h"
#include "sim/Simulator.h"

namespace vaxo::tool {

void collectText(void* user, const char* text, uint32_t length) {
    static_cast<std::string*>(user)->assign(text, length);
}

std::string errorName(uint64_t code) {
    return std::string(Vaxo::Ubrix::Shared::_ErrorName(Vaxo::Ubrix::Shared::ErrorCode(code)));
}

std::string errorText(uint64_t code) {
    return std::string(Vaxo::Ubrix::Shared::_ErrorString(Vaxo::Ubrix::Shared::ErrorCode(code)));
}

// ---- Report ------------------------------------------------------------------------------

std::string Report::quote(const std::string& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += char(c);
            }
        }
    }
    return out + "\"";
}

std::string Report::number(double v) {
    if (!std::isfinite(v))
        return "null";
    char buf[32];
    if (v == std::floor(v) && std::fabs(v) < 1e15) {
        std::snprintf(buf, sizeof buf, "%.0f", v);
        return buf;
    }
    std::snprintf(buf, sizeof buf, "%.17g", v);
    // The shortest text that reads back as the same double.
    for (int p = 1; p <= 17; ++p) {
        char shorter[32];
        std::snprintf(shorter, sizeof shorter, "%.*g", p, v);
        if (std::strtod(shorter, nullptr) == v)
            return shorter;
    }
    return buf;
}

void Report::field(const std::string& key, double v) {
    flushHook();
    if (m_json)
        m_fields.emplace_back(key, number(v));
    else
        std::printf("%-24s %s\n", key.c_str(), number(v).c_str());
}

void Report::field(const std::string& key, const std::string& v) {
    flushHook();
    if (m_json)
        m_fields.emplace_back(key, quote(v));
    else
        std::printf("%-24s %s\n", key.c_str(), v.c_str());
}

void Report::field(const std::string& key, bool v) {
    flushHook();
    if (m_json)
        m_fields.emplace_back(key, v ? "true" : "false");
    else
        std::printf("%-24s %s\n", key.c_str(), v ? "true" : "false");
}

void Report::row(const std::string& list, std::vector<Cell> cells) {
    flushHook();
    if (!m_json) {
        std::string line;
        for (const auto& c : cells) {
            char buf[256];
            std::snprintf(buf, sizeof buf, "%-14s", c.text.c_str());
            line += buf;
            line += ' ';
        }
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        std::printf("%s\n", line.c_str());
        return;
    }
    std::string obj = "{";
    for (std::size_t i = 0; i < cells.size(); ++i)
        obj += (i ? "," : "") + quote(cells[i].key) + ":" + cells[i].json;
    obj += "}";
    for (auto& [name, rows] : m_lists)
        if (name == list) {
            rows.push_back(obj);
            return;
        }
    m_lists.push_back({list, {obj}});
}

void Report::flushHook() {
    if (beforePrint)
        beforePrint();
}

void Report::finish() {
    flushHook();
    if (!m_json || (m_fields.empty() && m_lists.empty()))
        return;
    std::string out = "{";
    bool first = true;
    for (const auto& [k, v] : m_fields) {
        out += (first ? "" : ",") + quote(k) + ":" + v;
        first = false;
    }
    for (const auto& [name, rows] : m_lists) {
        out += (first ? "" : ",") + quote(name) + ":[";
        for (std::size_t i = 0; i < rows.size(); ++i)
            out += (i ? "," : "") + rows[i];
        out += "]";
        first = false;
    }
    std::printf("%s}\n", out.c_str());
    m_fields.clear();
    m_lists.clear();
}

// ---- Session -----------------------------------------------------------------------------

namespace {
void eventThunk(void* user, uint32_t type, uint64_t value, const char* text, uint32_t length) {
    static_cast<Session*>(user)->onEvent(type, value, text, length);
}

const char* eventTypeName(uint32_t type) {
    switch (type) {
    case 0: return "ERROR";
    case 1: return "WARNING";
    default: return "INFO";
    }
}
} // namespace

Session::Session(Options options) : m_options(std::move(options)), m_report(m_options.json) {
    if (!m_options.logFile.empty()) {
        m_log = std::fopen(m_options.logFile.c_str(), "a");
        if (!m_log)
            std::fprintf(stderr, "vaxo: cannot open log file %s\n", m_options.logFile.c_str());
    }
    const VersionInfo v{1, 2, 1, 1196};
    if (const uint64_t e = vaxo_CreateContext(&v, eventThunk, this, &m_handle)) {
        check(e, "CreateContext");
        m_handle = nullptr;
    }
}

Session::~Session() {
    close();
    if (m_handle)
        vaxo_DestroyContext(m_handle);
    m_trace.reset();
    if (m_log)
        std::fclose(m_log);
}

void Session::onEvent(uint32_t type, uint64_t value, const char* text, uint32_t length) {
    if (!m_log && !m_options.verbose)
        return;
    char stamp[32];
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tm);
    std::lock_guard lock(m_logMutex);
    if (m_log) {
        std::fprintf(m_log, "%s %-7s 0x%010llx %.*s\n", stamp, eventTypeName(type),
                     static_cast<unsigned long long>(value), int(length), text);
        std::fflush(m_log);
    }
    if (m_options.verbose)
        std::fprintf(stderr, "%s %-7s 0x%010llx %.*s\n", stamp, eventTypeName(type),
                     static_cast<unsigned long long>(value), int(length), text);
}

void Session::enableTrace() {
    if (m_trace)
        return;
    m_trace = std::make_unique<Trace>();
    // What the controller answered is shown before the result it gave.
    m_report.beforePrint = [t = m_trace.get()] { t->flush(); };
}

uint16_t Session::filePort() const {
    if (m_files)
        return m_files->port();
    return m_options.filePort;
}

int Session::open() {
    if (m_open)
        return 0;
    if (!m_handle)
        return 1;
    std::string host = m_options.host;
    uint16_t port = m_options.port;
    if (host.empty()) {
        Vaxo::Sim::Config cfg;
        cfg.recordRequests = false;
        m_sim = std::make_unique<Vaxo::Sim::Simulator>(cfg);
        port = m_sim->start();
        m_files = std::make_unique<Vaxo::Sim::FileTransferServer>();
        m_files->attach(*m_sim);
        if (port == 0 || m_files->start() == 0) {
            std::fprintf(stderr, "vaxo: cannot start the embedded simulated controller\n");
            return 1;
        }
        host = "127.0.0.1";
    }
    vaxo_SetTcpHostName(m_handle, host.c_str());
    vaxo_SetTcpPort(m_handle, port);
    vaxo_SetTcpConnectTimeout(m_handle, m_options.connectTimeout);
    vaxo_SetTcpCommandTimeout(m_handle, m_options.commandTimeout);
    if (m_trace)
        m_trace->attach(m_handle);
    if (const uint64_t e = vaxo_OpenConnection(m_handle)) {
        std::fprintf(stderr, "vaxo: cannot connect to %s:%u (connect timeout %u ms)\n", host.c_str(), unsigned(port),
                     m_options.connectTimeout);
        check(e, "OpenConnection");
        return 1;
    }
    m_open = true;
    if (m_trace) {
        // Numbers travel as IEEE doubles unless the controller type says TMS320 (type mod 1000
        // at most 299, except 266).
        double type = 0;
        if (vaxo_GetSystemParameter_CONTROL(m_handle, &type) == 0) {
            const long t = long(type) % 1000;
            m_trace->setIeee(!(t <= 299 && t != 266));
        }
        m_trace->opened();
    }
    if (!m_options.json)
        std::printf("connected to %s:%u%s\n", host.c_str(), unsigned(port),
                    m_sim ? " (embedded simulated controller)" : "");
    return 0;
}

void Session::close() {
    if (m_trace && m_handle) {
        m_trace->detach(m_handle);
        m_trace->flush();
    }
    if (m_open && m_handle)
        vaxo_CloseConnection(m_handle);
    m_open = false;
    if (m_files)
        m_files->stop();
    if (m_sim)
        m_sim->stop();
    m_files.reset();
    m_sim.reset();
}

int Session::check(uint64_t code, const char* what) const {
    if (code == 0)
        return 0;
    if (m_trace)
        m_trace->flush();
    const std::string name = errorName(code);
    const std::string text = errorText(code);
    std::fprintf(stderr, "%s failed: 0x%010llx %s: %s\n", what, static_cast<unsigned long long>(code), name.c_str(),
                 text.c_str());
    if (m_options.json)
        std::printf("{\"error\":{\"operation\":%s,\"code\":%llu,\"name\":%s,\"description\":%s}}\n",
                    Report::quote(what).c_str(), static_cast<unsigned long long>(code), Report::quote(name).c_str(),
                    Report::quote(text).c_str());
    return 1;
}

} // namespace vaxo::tool
