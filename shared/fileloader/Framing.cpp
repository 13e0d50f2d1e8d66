// The framing of the file-transfer link (see Framing.h).
#include "shared/fileloader/Framing.h"

#include <algorithm>
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

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101ull;
constexpr std::uint64_t kHighs = 0x8080808080808080ull;

// Whether the eight bytes of w may hold a byte that needs an escape: a byte below 4 (0x00 is
// a false alarm, settled by the byte-wise look that follows) or a backslash.
constexpr bool mayNeedEscape(std::uint64_t w) noexcept {
    const std::uint64_t below4 = (w - kOnes * 4) & ~w & kHighs;
    const std::uint64_t b = w ^ (kOnes * 0x5C);
    const std::uint64_t backslash = (b - kOnes) & ~b & kHighs;
    return (below4 | backslash) != 0;
}

} // namespace

std::size_t escapeInto(char* out, const unsigned char* data, std::size_t length) noexcept {
    char* o = out;
    std::size_t i = 0;
    while (i < length) {
        // Skip eight plain bytes at a time, then settle the rest of the run byte by byte.
        std::size_t j = i;
        for (;;) {
            for (; j + 8 <= length; j += 8) {
                std::uint64_t w;
                std::memcpy(&w, data + j, 8);
                if (mayNeedEscape(w))
                    break;
            }
            const std::size_t end = std::min(j + 8, length);
            while (j < end && !s_escapeLetters[data[j]])
                ++j;
            if (j == length || s_escapeLetters[data[j]])
                break; // a false alarm (a 0x00 byte) goes on with the next word
        }
        std::memcpy(o, data + i, j - i);
        o += j - i;
        if (j == length)
            break;
        *o++ = kESC;
        *o++ = s_escapeLetters[data[j]];
        i = j + 1;
    }
    return std::size_t(o - out);
}

void appendEscaped(std::string& out, const unsigned char* data, std::size_t length) {
    const std::size_t start = out.size();
    out.resize(start + 2 * length);
    out.resize(start + escapeInto(out.data() + start, data, length));
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
