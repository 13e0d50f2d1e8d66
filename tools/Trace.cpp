// `vaxo trace SUBCOMMAND ...`: runs one subcommand with the connection's sniffers installed.
#include "tools/Trace.h"

#include <CLI/CLI.hpp>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <vaxo/IConnection.hpp>

#include "tools/Tool.h"

namespace vaxo::tool {

namespace {
Vaxo::Ubrix::Shared::IConnection* connectionOf(VaxoHandle h) {
    // The context handle is the connection itself.
    return reinterpret_cast<Vaxo::Ubrix::Shared::IConnection*>(h);
}

std::string hexLines(const char* arrow, const std::string& bytes) {
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 16) {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%s %04zx ", i ? "  " : arrow, i);
        out += buf;
        for (std::size_t j = i; j < i + 16 && j < bytes.size(); ++j) {
            std::snprintf(buf, sizeof buf, " %02x", unsigned(static_cast<unsigned char>(bytes[j])));
            out += buf;
        }
        out += '\n';
    }
    return out;
}

double ieee(const std::string& b, std::size_t at) {
    std::uint64_t bits = 0;
    for (int i = 7; i >= 0; --i)
        bits = (bits << 8) | static_cast<unsigned char>(b[at + std::size_t(i)]);
    return std::bit_cast<double>(bits);
}

std::string printable(const std::string& s) {
    std::string out;
    for (unsigned char c : s) {
        if (c == '\r') out += "\\r";
        else if (c == '\n') out += "\\n";
        else if (c >= 0x20 && c < 0x7F) out += char(c);
        else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02x", unsigned(c));
            out += buf;
        }
    }
    return out;
}
} // namespace

Trace::Trace() : m_write(*this, true), m_read(*this, false) {}

void Trace::attach(VaxoHandle h) {
    connectionOf(h)->setWriteSniffer(&m_write);
    connectionOf(h)->setReadSniffer(&m_read);
}

void Trace::detach(VaxoHandle h) {
    connectionOf(h)->setWriteSniffer(nullptr);
    connectionOf(h)->setReadSniffer(nullptr);
}

std::size_t Trace::loadTable(const std::string& text) {
    std::size_t stored = 0;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find("\r\n", pos);
        if (end == std::string::npos)
            end = text.size();
        const std::string line = text.substr(pos, end - pos);
        pos = end + 2;
        if (line == "[EOT]")
            break;
        if (line.size() < 3 || !std::strchr("CVMSET", line[0]) || !std::isdigit(static_cast<unsigned char>(line[1])))
            continue;
        std::size_t i = 1;
        unsigned code = 0;
        while (i < line.size() && std::isdigit(static_cast<unsigned char>(line[i])))
            code = code * 10 + unsigned(line[i++] - '0');
        const std::size_t comma = line.find(',', i);
        const std::string name = line.substr(i, comma == std::string::npos ? std::string::npos : comma - i);
        if (name.empty())
            continue;
        (line[0] == 'V' ? m_variables : m_tokens)[code] = name;
        ++stored;
        if (line[0] == 'V')
            continue;
        if (name == "NUMBER") m_number = code;
        else if (name == "EOX") m_eox = code;
        else if (name == "EXTENDED_TOKEN") m_extended = code;
        else if (name == "QUOTES") m_quotes = code;
        else if (name == "SYSTEMVARIABLE") m_sysvar = code;
        else if (name == "SYSTEMVARIABLE2") m_sysvar2 = code;
        else if (name == "SYSTEMVARIABLE16") m_sysvar16 = code;
    }
    return stored;
}

std::string Trace::tokenName(unsigned code) const {
    auto it = m_tokens.find(code);
    if (it != m_tokens.end())
        return it->second;
    char buf[16];
    std::snprintf(buf, sizeof buf, "?%u", code);
    return buf;
}

std::string Trace::decodeRequest(const std::string& raw) const {
    // Requests to controllers that want it are escaped: 0x1B before a 0x1B or 0x01.
    std::string b;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == 0x1B && i + 1 < raw.size() && (raw[i + 1] == 0x1B || raw[i + 1] == 0x01))
            ++i;
        b += raw[i];
    }
    std::string out;
    auto emit = [&](const std::string& s) {
        if (!out.empty())
            out += ' ';
        out += s;
    };
    const std::size_t width = m_ieee ? 8 : 4;
    for (std::size_t i = 0; i < b.size();) {
        unsigned code = static_cast<unsigned char>(b[i++]);
        if (code == m_extended && i < b.size())
            code += static_cast<unsigned char>(b[i++]);
        if (code == m_number && i + width <= b.size()) {
            if (m_ieee)
                emit(Report::number(ieee(b, i)));
            else
                emit("#" + printable(b.substr(i, width)));
            i += width;
            if (i < b.size() && static_cast<unsigned char>(b[i]) == m_eox)
                ++i;
            continue;
        }
        if ((code == m_sysvar || code == m_sysvar2 || code == m_sysvar16) && i < b.size()) {
            unsigned v = static_cast<unsigned char>(b[i++]);
            if (code == m_sysvar2)
                v += 256;
            if (code == m_sysvar16 && i < b.size())
                v |= unsigned(static_cast<unsigned char>(b[i++])) << 8;
            auto it = m_variables.find(v);
            emit(it != m_variables.end() ? it->second : "sysvar?" + std::to_string(v));
            continue;
        }
        if (code == m_quotes) {
            const std::size_t end = b.find(char(m_quotes), i);
            const std::size_t stop = end == std::string::npos ? b.size() : end;
            emit("\"" + printable(b.substr(i, stop - i)) + "\"");
            i = end == std::string::npos ? b.size() : end + 1;
            continue;
        }
        emit(tokenName(code));
    }
    return out;
}

std::string Trace::decodeReply(const std::string& b) const {
    const std::size_t width = m_ieee ? 8 : 4;
    std::string text = b;
    std::string response;
    if (m_ieee && b.size() >= 2 * width) {
        const double value = ieee(b, b.size() - 16);
        const double status = ieee(b, b.size() - 8);
        if (std::isfinite(value) && std::isfinite(status) && status == std::floor(status) && std::fabs(status) < 1e6) {
            response = "value " + Report::number(value) + " status " + Report::number(status);
            text.resize(b.size() - 16);
        }
    }
    std::string out;
    if (!text.empty())
        out = "\"" + printable(text) + "\"";
    if (!response.empty())
        out += (out.empty() ? "" : " ") + response;
    return out;
}

void Trace::opened() {
    std::lock_guard lock(m_mutex);
    const std::size_t records = loadTable(m_openRead);
    std::printf("trace: open wrote %zu bytes, read %zu bytes (token table of %zu records)\n", m_openWritten,
                m_openRead.size(), records);
    m_openRead.clear();
    m_live = true;
}

void Trace::flush() {
    std::lock_guard lock(m_mutex);
    flushLocked();
}

void Trace::flushLocked() {
    if (m_pendingRead.empty())
        return;
    const std::string out = hexLines("<-", m_pendingRead) + "        " + decodeReply(m_pendingRead) + "\n";
    m_pendingRead.clear();
    std::fputs(out.c_str(), stdout);
    std::fflush(stdout);
}

void Trace::sniffed(bool write, const char* data, unsigned length) {
    std::lock_guard lock(m_mutex);
    const std::string bytes(data, length);
    if (!m_live) {
        if (write)
            m_openWritten += length;
        else
            m_openRead += bytes;
        return;
    }
    if (!write) {
        m_pendingRead += bytes;
        return;
    }
    flushLocked();
    const std::string out = hexLines("->", bytes) + "        " + decodeRequest(bytes) + "\n";
    std::fputs(out.c_str(), stdout);
    std::fflush(stdout);
}

// ---- the subcommand ------------------------------------------------------------------------

namespace {
void setup(CLI::App& app, Commands& cmds) {
    auto* sub = app.add_subcommand("trace", "run a subcommand showing every byte it exchanges, tokens decoded")
                    ->prefix_command();
    sub->footer("example: vaxo trace vr get 3");
    cmds.add(sub, [sub](Session& s) {
        std::vector<std::string> args = sub->remaining();
        if (args.empty()) {
            std::fprintf(stderr, "%s", sub->help().c_str());
            return 2;
        }
        Options nested = s.options();
        Commands inner;
        const RunFn* run = nullptr;
        if (int rc = parseNested(args, nested, inner, run); !run)
            return rc;
        s.enableTrace();
        return (*run)(s);
    });
}
} // namespace
VAXO_TOOL_COMMAND(setup);

} // namespace vaxo::tool
