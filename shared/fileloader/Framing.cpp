// The framing of the file-transfer link (see Framing.h).
#include "shared/fileloader/Framing.h"

#include <cstdio>

#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

void appendEscaped(std::string& out, const unsigned char* data, std::size_t length) {
    std::size_t run = 0;
    for (std::size_t i = 0; i < length; ++i) {
        char letter = escapeLetter(data[i]);
        if (!letter)
            continue;
        out.append(reinterpret_cast<const char*>(data) + run, i - run);
        out.push_back(kESC);
        out.push_back(letter);
        run = i + 1;
    }
    out.append(reinterpret_cast<const char*>(data) + run, length - run);
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
