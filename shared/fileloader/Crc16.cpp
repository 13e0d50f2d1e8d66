// CRC-16/UMTS, slice-by-8 (see Crc16.h).
#include "shared/fileloader/Crc16.h"

#include <array>

#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

namespace {

using Tables = std::array<std::array<std::uint16_t, 256>, 8>;

// Row 0 is the classic byte table; row k is the CRC of a byte followed by k zero bytes, so that
// eight bytes fold into the CRC with eight independent look-ups.
constexpr Tables makeTables() {
    Tables t{};
    for (unsigned b = 0; b < 256; ++b) {
        std::uint16_t c = std::uint16_t(b << 8);
        for (int i = 0; i < 8; ++i)
            c = std::uint16_t((c & 0x8000) ? (c << 1) ^ 0x8005 : (c << 1));
        t[0][b] = c;
    }
    for (unsigned k = 1; k < 8; ++k)
        for (unsigned b = 0; b < 256; ++b) {
            std::uint16_t prev = t[k - 1][b];
            t[k][b] = std::uint16_t((prev << 8) ^ t[0][prev >> 8]);
        }
    return t;
}

constexpr Tables s_tables = makeTables();

} // namespace

std::uint16_t crc16Update(std::uint16_t crc, const void* data, std::size_t length) noexcept {
    const auto* p = static_cast<const unsigned char*>(data);
    const auto& t = s_tables;
    while (length >= 8) {
        unsigned x = crc ^ (unsigned(p[0]) << 8 | p[1]);
        crc = std::uint16_t(t[7][x >> 8] ^ t[6][x & 0xFF] ^ t[5][p[2]] ^ t[4][p[3]] ^ t[3][p[4]] ^ t[2][p[5]] ^
                            t[1][p[6]] ^ t[0][p[7]]);
        p += 8;
        length -= 8;
    }
    while (length--)
        crc = std::uint16_t((crc << 8) ^ t[0][((crc >> 8) ^ *p++) & 0xFF]);
    return crc;
}

bool CrcCalculator::select(std::string_view name) noexcept {
    if (!iequals(name, std::string_view("CRC-16")))
        return false;
    start();
    return true;
}

} // namespace Vaxo::Ubrix::Shared
