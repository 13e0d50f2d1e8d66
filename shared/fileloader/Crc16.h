// The CRC the file-transfer link checks every byte of file data with: CRC-16/UMTS
// (polynomial 0x8005, initial value 0, no reflection, no final XOR; 0xFEE8 over "123456789").
// Table-driven, eight bytes per step (slice-by-8).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// Continues `crc` over `length` bytes; start with 0.
std::uint16_t crc16Update(std::uint16_t crc, const void* data, std::size_t length) noexcept;

// The running CRC of one transfer. The loader selects its algorithm by name ("CRC-16", the only
// one the link knows), starts it, feeds it and reads the value.
class CrcCalculator {
public:
    // True when the name is known (case-insensitive); the CRC is then also started.
    bool select(std::string_view name) noexcept;
    void start() noexcept { m_crc = 0; }
    void add(const void* data, std::size_t length) noexcept { m_crc = crc16Update(m_crc, data, length); }
    std::uint64_t value() const noexcept { return m_crc; }

private:
    std::uint16_t m_crc = 0;
};

} // namespace Vaxo::Ubrix::Shared
