#include "sim/Wire.h"

#include <cmath>
#include <cstring>

namespace Vaxo::Sim {

std::uint32_t floatToTms(double value) noexcept {
    const float f = static_cast<float>(value);
    if (f == 0.0f || std::isnan(f)) return 0x80000000u;
    int k = 0;
    const double m = std::frexp(static_cast<double>(std::fabs(f)), &k);  // |f| = m * 2^k, m in [0.5, 1)
    int e;
    std::int64_t frac;
    bool negative = f < 0;
    if (!negative) {
        e = k - 1;  // mantissa 2m in [1, 2)
        frac = std::llround((2.0 * m - 1.0) * 8388608.0);
        if (frac >= 8388608) { frac = 0; ++e; }
    } else if (m == 0.5) {
        e = k - 2;  // -2^(k-1) = -2 * 2^(k-2)
        frac = 0;
    } else {
        e = k - 1;  // mantissa -2m in (-2, -1): -2 + frac / 2^23
        frac = std::llround((2.0 - 2.0 * m) * 8388608.0);
        if (frac >= 8388608) { frac = 0; --e; }
    }
    if (e < -127) return 0x80000000u;
    if (e > 127) {  // saturate to the largest magnitude of the sign
        e = 127;
        frac = negative ? 0 : 0x7FFFFF;
    }
    return (static_cast<std::uint32_t>(static_cast<std::uint8_t>(static_cast<std::int8_t>(e))) << 24) |
           (negative ? 0x800000u : 0u) | static_cast<std::uint32_t>(frac);
}

double tmsToFloat(std::uint32_t word) noexcept {
    const int e = static_cast<std::int8_t>(static_cast<std::uint8_t>(word >> 24));
    if (e == -128) return 0.0;
    const double frac = static_cast<double>(word & 0x7FFFFFu) / 8388608.0;
    const double mantissa = (word & 0x800000u) ? -2.0 + frac : 1.0 + frac;
    return std::ldexp(mantissa, e);
}

void putNumber(std::vector<std::uint8_t>& out, double value, NumberFormat f) {
    if (f == NumberFormat::Tms320) {
        const std::uint32_t w = floatToTms(value);
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(w >> (8 * i)));
    } else {
        std::uint64_t bits;
        std::memcpy(&bits, &value, 8);
        for (int i = 0; i < 8; ++i) out.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
    }
}

double getNumber(const std::uint8_t* p, NumberFormat f) noexcept {
    if (f == NumberFormat::Tms320) {
        std::uint32_t w = 0;
        for (int i = 3; i >= 0; --i) w = (w << 8) | p[i];
        return tmsToFloat(w);
    }
    std::uint64_t bits = 0;
    for (int i = 7; i >= 0; --i) bits = (bits << 8) | p[i];
    double v;
    std::memcpy(&v, &bits, 8);
    return v;
}

bool isTms320Type(double controllerType) noexcept {
    if (!(controllerType >= 0) || controllerType > 4294967295.0) return false;
    const auto t = static_cast<std::uint32_t>(controllerType) % 1000;
    return t <= 299 && t != 266;
}

NumberFormat formatOfType(double controllerType) noexcept {
    return isTms320Type(controllerType) ? NumberFormat::Tms320 : NumberFormat::Ieee64;
}

int compareFirmware(double a, double b) noexcept {
    const double releaseA = a - std::trunc(a);
    const double releaseB = b - std::trunc(b);
    if (releaseA < releaseB) return -1;
    if (releaseA > releaseB) return 1;
    return static_cast<int>(std::trunc(b) - std::trunc(a));
}

} // namespace Vaxo::Sim
