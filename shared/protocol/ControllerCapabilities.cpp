// Controller capabilities: processor classification, firmware gates, and the two number
// formats the controllers put on the wire.
#include "shared/protocol/ControllerCapabilities.h"

#include "shared/protocol/Token.h"
#include "shared/transport/Port.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace Vaxo::Ubrix::Shared {

namespace {

// One row per processor range, tried in order; the first match wins.
struct ProcessorRule {
    unsigned from, to;
    ControllerCapabilities::Processor processor;
    const char* log;
};

constexpr ProcessorRule s_processorRules[] = {
    {0, 265, ControllerCapabilities::ProcessorTMS320, "Selected processor TMS320"},
    {267, 299, ControllerCapabilities::ProcessorTMS320, "Selected processor TMS320"},
    {770, 770, ControllerCapabilities::ProcessorFRIX, "Selected processor FRIX"},
    {771, 999, ControllerCapabilities::ProcessorARM, "Selected processor ARM"},
    {700, 700, ControllerCapabilities::ProcessorFRIX, "Selected processor FRIX"},
    {504, 699, ControllerCapabilities::ProcessorARM, "Selected processor ARM"},
    {701, 769, ControllerCapabilities::ProcessorARM, "Selected processor ARM"},
    {499, 503, ControllerCapabilities::ProcessorSOFTCT, "Selected processor SOFTCT"},
    {464, 464, ControllerCapabilities::ProcessorMIPS, "Selected processor MIPS"},
    {465, 498, ControllerCapabilities::ProcessorARM, "Selected processor ARM"},
    {266, 266, ControllerCapabilities::ProcessorMIPS, "Selected processor MIPS"},
    {400, 400, ControllerCapabilities::ProcessorSIMULATOR, "Selected processor SIMULATOR"},
    {0, 999, ControllerCapabilities::ProcessorARM, "Selected processor ARM"},
};

template <class T>
std::string withNumber(const char* prefix, T number) {
    char digits[64];
    const auto res = std::to_chars(digits, digits + sizeof digits, number);
    std::string text(prefix);
    text.append(digits, res.ptr);
    text += ')';
    return text;
}

constexpr std::uint32_t s_tmsZero = 0x80000000u;
constexpr std::uint32_t s_tmsMaxPositive = 0x7F7FFFFFu; // (2 - 2^-23) * 2^127
constexpr std::uint32_t s_tmsMaxNegative = 0x7F800000u; // -2^128

std::uint32_t tmsWord(int exponent, bool negative, std::uint32_t fraction) {
    return (std::uint32_t(exponent) << 24) | (negative ? 0x00800000u : 0u) | (fraction & 0x007FFFFFu);
}

} // namespace

// The fractions are compared exactly as the doubles hold them: every gate is written against
// this comparison, so 4.0273 (whose fraction lies a few ulps above that of 2.0273) passes the
// 2.0273 gate while 3.0273 (the same fraction bits) does not.
int compareFwVer(double a, double b) {
    double intA = 0.0, intB = 0.0;
    const double fracA = std::modf(a, &intA);
    const double fracB = std::modf(b, &intB);
    if (fracB > fracA)
        return -1;
    if (fracA > fracB)
        return 1;
    return int(intB - intA);
}

ControllerCapabilities::ControllerCapabilities(Token& owner, const EventCallback& eventLogger)
    : m_token(owner), m_eventLogger(eventLogger) {}

void ControllerCapabilities::logEvent(EventType type, std::uint64_t value, std::string_view text) const {
    if (m_eventLogger)
        m_eventLogger(type, value, text);
}

void ControllerCapabilities::logError(ErrorCode code, std::string_view text) const {
    logEvent(EventType::Error, std::uint64_t(code), text);
}

bool ControllerCapabilities::SetControllerType(unsigned type) {
    logEvent(EventType::Information, 0, withNumber("SetControllerType(", type));
    if (type == 0)
        return false;
    const unsigned t = type % 1000;
    for (const ProcessorRule& rule : s_processorRules) {
        if (t < rule.from || t > rule.to)
            continue;
        logEvent(EventType::Information, 0, rule.log);
        m_processorType = rule.processor;
        break;
    }
    const bool tms = m_processorType == ProcessorTMS320;
    m_floatingPointFormat = tms ? s_fpFormatTms320 : s_fpFormatIeee64;
    m_communicationsEscaped = !tms;
    m_controllerType = type;
    return true;
}

bool ControllerCapabilities::SetControllerVersion(double version) {
    logEvent(EventType::Information, 0, withNumber("SetControllerVersion(", version));
    if (version == 0.0)
        return false;
    m_remoteBufferSize = compareFwVer(version, s_fwRemoteBuffer200) >= 0 ? s_remoteBufferSizeNew : s_remoteBufferSizeOld;
    m_16bitSysVarsBodge = compareFwVer(version, s_fwSysVar16Bodge) >= 0;
    m_16bitSysVarsToken = m_token.hasToken(KnownTokens::SYSTEMVARIABLE16);
    m_communicationsEscaped = version >= s_fwEscapedComms;
    m_controllerVersion = version;
    return true;
}

void ControllerCapabilities::Reset() {
    m_floatingPointFormat = s_fpFormatTms320;
    m_processorType = ProcessorNone;
    m_communicationsEscaped = true;
    m_16bitSysVarsBodge = false;
    m_controllerVersion = 0.0;
    m_controllerType = 0;
    m_remoteBufferSize = s_remoteBufferSizeOld;
}

ErrorCode ControllerCapabilities::NumberSize(unsigned& size) const {
    switch (m_floatingPointFormat) {
    case s_fpFormatTms320: size = 4; return ErrorCode::Success;
    case s_fpFormatIeee64: size = 8; return ErrorCode::Success;
    default:
        size = 0;
        logError(ErrorCode::UnknownFloatingPointFormat, "Unknown floating point format");
        return ErrorCode::UnknownFloatingPointFormat;
    }
}

ErrorCode ControllerCapabilities::ReadBytes(char* buffer, unsigned size, unsigned& got, unsigned timeout,
                                            Port& port) const {
    return port.Read(buffer, size, got, timeout);
}

ErrorCode ControllerCapabilities::UnReadBytes(const char* data, unsigned length, Port& port) const {
    return port.UnRead(data, length);
}

ErrorCode ControllerCapabilities::ReadRawNumber(unsigned char* bytes, unsigned count, Port& port,
                                                unsigned timeout) const {
    const ErrorCode e = port.Read(reinterpret_cast<char*>(bytes), count, timeout);
    if (failed(e))
        logError(e, "Error reading 32 bit number from controller");
    return e;
}

ErrorCode ControllerCapabilities::ReadTms320Number(double& value, Port& port, unsigned timeout) const {
    unsigned char b[4];
    if (const ErrorCode e = ReadRawNumber(b, 4, port, timeout); failed(e))
        return e;
    const std::uint32_t word = std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 |
                               std::uint32_t(b[3]) << 24;
    value = TmsToFloat(word);
    return ErrorCode::Success;
}

ErrorCode ControllerCapabilities::ReadIEEE64Number(double& value, Port& port, unsigned timeout) const {
    unsigned char b[8];
    if (const ErrorCode e = ReadRawNumber(b, 8, port, timeout); failed(e))
        return e;
    std::uint64_t bits = 0;
    for (int i = 7; i >= 0; --i)
        bits = bits << 8 | b[i];
    value = std::bit_cast<double>(bits);
    return ErrorCode::Success;
}

ErrorCode ControllerCapabilities::ReadNumber(double& value, Port& port, unsigned timeout) const {
    switch (m_floatingPointFormat) {
    case s_fpFormatTms320: return ReadTms320Number(value, port, timeout);
    case s_fpFormatIeee64: return ReadIEEE64Number(value, port, timeout);
    default:
        logError(ErrorCode::UnknownFloatingPointFormat, "Unknown floating point format");
        return ErrorCode::UnknownFloatingPointFormat;
    }
}

void ControllerCapabilities::Tms320Bytes(double value, unsigned char (&out)[4]) {
    // Narrow without undefined behaviour: beyond the float range means beyond the format's.
    float f;
    if (std::isnan(value))
        f = std::numeric_limits<float>::quiet_NaN();
    else if (value > double(std::numeric_limits<float>::max()))
        f = std::numeric_limits<float>::infinity();
    else if (value < -double(std::numeric_limits<float>::max()))
        f = -std::numeric_limits<float>::infinity();
    else
        f = float(value);
    const std::uint32_t word = FloatToTms(f);
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<unsigned char>(word >> (8 * i));
}

void ControllerCapabilities::Ieee64Bytes(double value, unsigned char (&out)[8]) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i)
        out[i] = static_cast<unsigned char>(bits >> (8 * i));
}

ErrorCode ControllerCapabilities::EncodeNumber(double value, unsigned char (&out)[8], unsigned& size) const {
    switch (m_floatingPointFormat) {
    case s_fpFormatTms320: {
        unsigned char b[4];
        Tms320Bytes(value, b);
        std::memcpy(out, b, 4);
        size = 4;
        return ErrorCode::Success;
    }
    case s_fpFormatIeee64:
        Ieee64Bytes(value, out);
        size = 8;
        return ErrorCode::Success;
    default:
        size = 0;
        logError(ErrorCode::UnknownFloatingPointFormat, "Unknown floating point format");
        return ErrorCode::UnknownFloatingPointFormat;
    }
}

// TMS320C3x value: exponent e, and a 24-bit two's-complement mantissa made of the sign bit and
// the fraction with an implied 1 after the sign: positive 01.f * 2^e, negative 10.f * 2^e.
float ControllerCapabilities::TmsToFloat(std::uint32_t word) {
    const int e = static_cast<std::int8_t>(word >> 24);
    if (e == -128)
        return 0.0f;
    const bool negative = (word & 0x00800000u) != 0;
    const std::uint32_t f = word & 0x007FFFFFu;
    if (e >= -126 && !(negative && f == 0 && e == 127)) {
        // In IEEE normal range: build the single directly.
        std::uint32_t bits;
        if (!negative)
            bits = std::uint32_t(e + 127) << 23 | f;
        else if (f == 0) // -2 * 2^e = -1.0 * 2^(e+1)
            bits = 0x80000000u | std::uint32_t(e + 128) << 23;
        else // -(2 - .f) * 2^e = -1.(2^23 - f) * 2^e
            bits = 0x80000000u | std::uint32_t(e + 127) << 23 | ((0x00800000u - f) & 0x007FFFFFu);
        return std::bit_cast<float>(bits);
    }
    if (e == 127) // -2^128 is beyond IEEE single: it rounds to minus infinity
        return -std::numeric_limits<float>::infinity();
    // e = -127: below the IEEE normal range; the exact value rounded to the nearest single.
    const double mantissa = negative ? double(std::int32_t(f) - 0x01000000) : double(f + 0x00800000u);
    return float(std::ldexp(mantissa, e - 23));
}

std::uint32_t ControllerCapabilities::FloatToTms(float value) {
    if (std::isnan(value) || value == 0.0f)
        return s_tmsZero;
    if (std::isinf(value))
        return value > 0 ? s_tmsMaxPositive : s_tmsMaxNegative;
    int ex = 0;
    const double fr = std::frexp(std::fabs(double(value)), &ex); // |value| = fr * 2^ex, fr in [0.5, 1)
    const auto m = static_cast<std::uint32_t>(std::ldexp(fr, 24)); // exact: a single has 24 significant bits
    int e;
    std::uint32_t f;
    if (value > 0) {
        e = ex - 1;
        f = m - 0x00800000u;
    } else if (m == 0x00800000u) { // -2^(ex-1) = -2 * 2^(ex-2)
        e = ex - 2;
        f = 0;
    } else { // -m * 2^(ex-24) = -(2^24 - f) * 2^(e-23) with e = ex-1
        e = ex - 1;
        f = 0x01000000u - m;
    }
    if (e < -127) // too small for the format
        return s_tmsZero;
    return tmsWord(e, value < 0, f);
}

} // namespace Vaxo::Ubrix::Shared
