// Number formats and controller classification as the simulated controller sees them.
// This is the controller's own side of the wire: nothing here is shared with the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vaxo::Sim {

// How numbers travel on the wire: 4-byte TMS320 words or 8-byte IEEE doubles, both least
// significant byte first.
enum class NumberFormat : std::uint8_t { Tms320 = 1, Ieee64 = 2 };

constexpr std::size_t numberSize(NumberFormat f) noexcept { return f == NumberFormat::Tms320 ? 4 : 8; }

// TMS320C3x 32-bit floating point: bits 31-24 a two's-complement exponent, bit 23 the sign,
// bits 22-0 the fraction. Exponent -128 is zero.
std::uint32_t floatToTms(double value) noexcept;
double tmsToFloat(std::uint32_t word) noexcept;

// Appends value in format f (the TMS320 form goes through single precision first, as the
// controller's processor holds it).
void putNumber(std::vector<std::uint8_t>& out, double value, NumberFormat f);
// Reads a number of format f from exactly numberSize(f) bytes.
double getNumber(const std::uint8_t* p, NumberFormat f) noexcept;

// The controller generation by type number (CONTROL): a type whose value mod 1000 is at most
// 299, except 266, is a TMS320 controller with 4-byte numbers; every other type uses IEEE 64.
bool isTms320Type(double controllerType) noexcept;
NumberFormat formatOfType(double controllerType) noexcept;

// Firmware order as the controller's release notes give it: the fraction (the release) decides
// first, compared exactly as the doubles hold it (1 when a's is greater, -1 when b's is); for
// equal fractions the integer parts decide, b minus a.
int compareFirmware(double a, double b) noexcept;

// Firmware from which requests are escaped (0x1B and 0x01 preceded by 0x1B).
constexpr double kEscapingFirmware = 1.51;
// Firmware from which, without 16-bit system-variable tokens, a system variable after the first
// element of a request carries its high byte as a token code.
constexpr double kSysVarBodgeFirmware = 99.0338001;
// Firmware from which (compareFirmware >= 0) a request may be 200 bytes long instead of 124.
constexpr double kLongRequestFirmware = 2.0273;
// Firmware after which (compareFirmware > 0) VRVALUES and TABLEVALUES take block writes.
constexpr double kBlockWriteFirmware = 2.0325;

} // namespace Vaxo::Sim
