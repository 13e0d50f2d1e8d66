// `vaxo trace`: the bytes of every request and reply in hex, with the request's tokens decoded
// by this controller's own token table (captured as it is read at open).
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include <vaxo/vaxo.h>

#include "shared/transport/ISniffer.h"

namespace vaxo::tool {

class Trace {
public:
    Trace();
    // Installs the sniffers on the context's connection (before open).
    void attach(VaxoHandle h);
    // The link is open: decodes the captured token table and prints from now on.
    void opened();
    void detach(VaxoHandle h);
    // Prints the reply bytes gathered since the last request.
    void flush();

    // Token table records: "C12VR,..." -> (kind, code, name). Returns the records stored.
    std::size_t loadTable(const std::string& text);
    // The tokens of one request, space separated.
    std::string decodeRequest(const std::string& bytes) const;
    // A reply: its text, then the standard response when it ends with one.
    std::string decodeReply(const std::string& bytes) const;
    void setIeee(bool ieee) { m_ieee = ieee; }

private:
    struct Side : Vaxo::Ubrix::Shared::ISniffer {
        Side(Trace& t, bool write) : trace(t), isWrite(write) {}
        void sniff(const char* data, unsigned int length) override { trace.sniffed(isWrite, data, length); }
        Trace& trace;
        bool isWrite;
    };
    void sniffed(bool write, const char* data, unsigned length);
    void flushLocked();
    std::string tokenName(unsigned code) const;

    Side m_write;
    Side m_read;
    std::mutex m_mutex;
    bool m_live = false;
    bool m_ieee = true;
    std::size_t m_openWritten = 0;
    std::string m_openRead;
    std::string m_pendingRead;  // a reply arrives in pieces: shown whole
    std::map<unsigned, std::string> m_tokens;    // command, symbol, modifier and constant codes
    std::map<unsigned, std::string> m_variables; // system-variable codes
    unsigned m_number = ~0u, m_eox = ~0u, m_extended = ~0u, m_quotes = ~0u;
    unsigned m_sysvar = ~0u, m_sysvar2 = ~0u, m_sysvar16 = ~0u;
};

} // namespace vaxo::tool
