#include "sim/TokenTable.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace Vaxo::Sim {
namespace {

struct NameKind {
    std::string_view name;
    char kind;
    double constant = 0.0;
};

// Every name the library resolves.
constexpr NameKind kKnown[] = {
#define VAXO_TOKEN(name, kind) {#name, kind},
#include <vaxo/Tokens.def>
#undef VAXO_TOKEN
};

// Names the controller has besides: protocol symbols the library only meets in the table, a few
// language words, constants and 'E' records. Names that clash with a known name are skipped.
constexpr NameKind kExtras[] = {
    {"ZERO", 'S'}, {"EXTENDED_TOKEN", 'S'},
    {"IF", 'C'}, {"THEN", 'C'}, {"ELSE", 'C'}, {"ENDIF", 'C'}, {"WHILE", 'C'}, {"WEND", 'C'},
    {"WAIT", 'C'}, {"GOTO", 'C'}, {"GOSUB", 'C'}, {"RETURN", 'C'}, {"FOR", 'C'}, {"TO", 'C'},
    {"NEXT", 'C'}, {"REPEAT", 'C'}, {"UNTIL", 'C'}, {"ABS", 'C'}, {"SQR", 'C'}, {"SIN", 'C'},
    {"COS", 'C'}, {"TRON", 'C'}, {"TROFF", 'C'}, {"LIST", 'C'},
    {"BATTERY_LOW", 'V'}, {"POWER_UP", 'V'}, {"COMMSERROR", 'V'}, {"LOCKED", 'V'}, {"TIME", 'V'},
    {"DATE", 'V'},
    {"COMMENT", 'E'}, {"LABEL", 'E'},
    {"PI", 'T', 3.1416}, {"ON", 'T', 1.0}, {"OFF", 'T', 0.0}, {"TRUE", 'T', -1.0}, {"FALSE", 'T', 0.0},
    {"HALF_TURN", 'T', -12.5},
};

// Seeded Fisher-Yates with the generator's raw output, so a seed means the same table everywhere.
template <class T>
void shuffle(std::vector<T>& v, std::mt19937& rng) {
    for (std::size_t i = v.size(); i > 1; --i) std::swap(v[i - 1], v[rng() % i]);
}

std::string flagsFrom(std::mt19937& rng, std::string_view letters) {
    std::string s;
    for (char c : letters)
        if (rng() % 3 == 0) s.push_back(c);
    return s;
}

} // namespace

TokenTable TokenTable::defaults() {
    TokenTable t;
    t.entries_ = {{"TOKENTABLE", 'C', 0}, {"ZERO", 'S', 200}, {"EXTENDED_TOKEN", 'S', 255}, {"UNKNOWN", 'S', 57}};
    t.index();
    return t;
}

TokenTable::TokenTable(std::uint32_t seed, bool systemVariable16, bool bracketedHeader, bool portModifier) {
    std::mt19937 rng(seed);
    std::vector<NameKind> tokens, vars;
    auto known = [&](std::string_view n) {
        return std::any_of(std::begin(kKnown), std::end(kKnown), [&](const NameKind& k) { return k.name == n; });
    };
    for (const auto& k : kKnown) {
        if (k.name == "SYSTEMVARIABLE16" && !systemVariable16) continue;
        if (k.name == "PORT" && !portModifier) continue;
        (k.kind == 'V' ? vars : tokens).push_back(k);
    }
    for (const auto& k : kExtras)
        if (!known(k.name)) (k.kind == 'V' ? vars : tokens).push_back(k);

    // Token codes: one byte below E, two bytes (E, code - E) above it. 0x01 and 0x1B stay free
    // (they are the link's own marker and escape bytes).
    const auto E = static_cast<std::uint16_t>(96 + rng() % 129);
    std::vector<std::uint16_t> control;  // non-printing one-byte codes for QUOTES and UNKNOWN
    for (std::uint16_t c = 2; c < 32; ++c)
        if (c != 9 && c != 10 && c != 13 && c != 27) control.push_back(c);
    shuffle(control, rng);
    const std::uint16_t quotes = control[0], unknown = control[1];
    std::vector<std::uint16_t> pool;
    for (std::uint16_t c = 0; c <= E + 255; ++c)
        if (c != 1 && c != 27 && c != E && c != quotes && c != unknown) pool.push_back(c);
    shuffle(pool, rng);
    auto take = [&](auto refuse) {
        auto it = std::find_if(pool.begin(), pool.end(), [&](std::uint16_t c) { return !refuse(c); });
        const std::uint16_t c = *it;
        pool.erase(it);
        return c;
    };
    for (const auto& k : tokens) {
        TokenEntry e{k.name, k.kind, 0, k.constant, false};
        if (k.name == "EXTENDED_TOKEN") e.code = E;
        else if (k.name == "QUOTES") e.code = quotes;
        else if (k.name == "UNKNOWN") e.code = unknown;
        // the built-in codes must move, or a library that kept its defaults would pass
        else if (k.name == "ZERO") e.code = take([](std::uint16_t c) { return c == 200 || c == 0; });
        else if (k.name == "TOKENTABLE") e.code = take([](std::uint16_t c) { return c == 0 || c == 200; });
        else e.code = take([](std::uint16_t) { return false; });
        entries_.push_back(e);
    }

    // System-variable codes: below 512 unless the controller has 16-bit system-variable tokens.
    // CONTROL and VERSION are read before the library knows about 16-bit tokens, so they stay
    // below 512 in any case.
    std::vector<std::uint16_t> vpool;
    for (std::uint16_t c = 0; c < (systemVariable16 ? 2048 : 512); ++c) vpool.push_back(c);
    shuffle(vpool, rng);
    for (const auto& k : vars) {
        const bool early = k.name == "CONTROL" || k.name == "VERSION";
        auto it = std::find_if(vpool.begin(), vpool.end(), [&](std::uint16_t c) { return !early || c < 512; });
        entries_.push_back({k.name, 'V', *it, 0.0, false});
        vpool.erase(it);
    }

    shuffle(entries_, rng);
    // A second record of a name already sent, after the first: the library must use the first.
    entries_.push_back({"VR", 'C', take([](std::uint16_t) { return false; }), 0.0, true});
    entries_.push_back({"VERSION", 'V', vpool.front(), 0.0, true});
    index();
    render(bracketedHeader, seed);
}

void TokenTable::index() {
    std::uint16_t maxToken = 0, maxVar = 0;
    for (const auto& e : entries_) (e.kind == 'V' ? maxVar : maxToken) = std::max(e.kind == 'V' ? maxVar : maxToken, e.code);
    tokenIndex_.assign(std::size_t(maxToken) + 1, -1);
    sysVarIndex_.assign(std::size_t(maxVar) + 1, -1);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& e = entries_[i];
        if (e.duplicate) continue;
        auto& slot = (e.kind == 'V' ? sysVarIndex_ : tokenIndex_)[e.code];
        if (slot < 0) slot = static_cast<std::int32_t>(i);
        if (e.name == "ZERO") sym_.zero = e.code;
        else if (e.name == "EXTENDED_TOKEN") sym_.extended = e.code;
        else if (e.name == "UNKNOWN") sym_.unknown = e.code;
        else if (e.name == "TOKENTABLE") sym_.tokenTable = e.code;
        else if (e.name == "NUMBER") sym_.number = e.code;
        else if (e.name == "EOX") sym_.eox = e.code;
        else if (e.name == "QUOTES") sym_.quotes = e.code;
        else if (e.name == "SYSTEMVARIABLE") sym_.sysVar = e.code;
        else if (e.name == "SYSTEMVARIABLE2") sym_.sysVar2 = e.code;
        else if (e.name == "SYSTEMVARIABLE16") sym_.sysVar16 = e.code;
    }
}

void TokenTable::render(bool bracketedHeader, std::uint32_t seed) {
    std::mt19937 rng(seed ^ 0x5EEDu);
    std::string& s = text_;
    s.reserve(entries_.size() * 32);
    if (bracketedHeader) s += "[TOKENS]\r\n";
    char buf[96];
    for (const auto& e : entries_) {
        const std::string name(e.name);
        switch (e.kind) {
        case 'C': {
            std::snprintf(buf, sizeof buf, "C%u%s,%u,%u,%u,%u,%u,%u,", unsigned(e.code), name.c_str(), unsigned(rng() % 8),
                          unsigned(rng() % 8), unsigned(rng() % 4), unsigned(rng() % 4), unsigned(rng() % 2),
                          unsigned(rng() % 2));
            s += buf;
            s += flagsFrom(rng, "cofbde");
            s += ">\r\n";
            break;
        }
        case 'V':
            std::snprintf(buf, sizeof buf, "V%u%s,%u,", unsigned(e.code), name.c_str(), unsigned(rng() % 4));
            s += buf;
            s += flagsFrom(rng, "wmde");
            s += ">\r\n";
            break;
        case 'M':
            std::snprintf(buf, sizeof buf, "M%u%s,%u,%u,%u\r\n", unsigned(e.code), name.c_str(), unsigned(rng() % 4),
                          unsigned(rng() % 4), unsigned(rng() % 4));
            s += buf;
            break;
        case 'T': {
            // four implied decimals: -12.5 is sent as -12.5000
            const long scaled = std::lround(e.constant * 10000.0);
            const long mag = scaled < 0 ? -scaled : scaled;
            std::snprintf(buf, sizeof buf, "T%u%s,%s%ld.%04ld\r\n", unsigned(e.code), name.c_str(), scaled < 0 ? "-" : "",
                          mag / 10000, mag % 10000);
            s += buf;
            break;
        }
        default:  // 'S' and 'E'
            std::snprintf(buf, sizeof buf, "%c%u%s\r\n", e.kind, unsigned(e.code), name.c_str());
            s += buf;
        }
    }
    s += "[EOT]\r\n";
}

const TokenEntry* TokenTable::token(std::uint16_t code) const noexcept {
    if (code >= tokenIndex_.size() || tokenIndex_[code] < 0) return nullptr;
    return &entries_[static_cast<std::size_t>(tokenIndex_[code])];
}

const TokenEntry* TokenTable::sysVar(std::uint16_t code) const noexcept {
    if (code >= sysVarIndex_.size() || sysVarIndex_[code] < 0) return nullptr;
    return &entries_[static_cast<std::size_t>(sysVarIndex_[code])];
}

const TokenEntry* TokenTable::find(std::string_view name, char kind) const noexcept {
    for (const auto& e : entries_)
        if (e.name == name && (kind == 0 || e.kind == kind)) return &e;
    return nullptr;
}

} // namespace Vaxo::Sim
