// The framing of the file-transfer link (see Framing.h).
#include "shared/fileloader/Framing.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

namespace {

// escapeLetter for every byte value, looked up once per byte on the hot path.
constexpr std::array<char, 256> s_escapeLetters = [] {
    std::array<char, 256> t{};
    for (unsigned v = 0; v < 256; ++v)
        t[v] = escapeLetter(static_cast<unsigned char>(v));
    return t;
}();

} // namespace

void appendEscaped(std::string& out, const unsigned char* data, std::size_t length) {
    // Room for the worst case first; the bytes then go in with plain stores and memcpy.
    const std::size_t start = out.size();
    out.resize(start + 2 * length);
    char* o = out.data() + start;
    std::size_t i = 0;
    while (i < length) {
        std::size_t j = i;
        while (j < length && !s_escapeLetters[data[j]])
            ++j;
        std::memcpy(o, data + i, j - i);
        o += j - i;
        if (j == length)
            break;
        *o++ = kESC;
        *o++ = s_escapeLetters[data[j]];
        i = j + 1;
    }
    out.resize(std::size_t(o - out.data()));
}

ErrorCode GetDestination(std::string_view remote, int& kind, std::string& bareName) {
    std::string_view name = remote;
    if (name.size() >= 3 && iequals(name.substr(0, 3), std::string_view("SD:"))) {
        kind = 1;
        name.remove_prefix(3);
    } else if (!name.empty() && name.front() == '/') {
        kind = 3;
        name.remove_prefix(1);
    } else if (name.find('/') != std::string_view::npos) {
        kind = 3;
    } else {
        kind = 2;
    }
    if (name.empty() || name.size() > 255)
        return ErrorCode::BadArgument;
    for (char c : name) {
        auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7F || c == '"' || c == '\\')
            return ErrorCode::BadArgument;
    }
    bareName.assign(name);
    return ErrorCode::Success;
}

std::string makeHeader(int kind, std::string_view bareName, std::uint8_t flags, std::uint8_t storage) {
    std::string name(bareName);
    std::string out(name.size() + 16, '\0');
    int n = 0;
    const char f = char('0' + flags);
    const char s = char('0' + storage);
    switch (kind) {
    case 1:
        n = std::snprintf(out.data(), out.size(), "%cSD:%s%c", kSOH, name.c_str(), kSTX);
        break;
    case 2:
        n = std::snprintf(out.data(), out.size(), "%c%02i%c%c%s%c", kSOH, 0, f, s, name.c_str(), kSTX);
        break;
    default:
        n = std::snprintf(out.data(), out.size(), "%c%02i%c%c%c%s%c%s%c", kSOH, 0, f, s, kSEP, "1", kSEP,
                          name.c_str(), kSTX);
        break;
    }
    out.resize(n > 0 ? std::size_t(n) : 0);
    return out;
}

} // namespace Vaxo::Ubrix::Shared
