// What this connection's controller can do: its processor, the way it writes numbers on the
// wire, the largest request it accepts, escaping and 16-bit system-variable tokens, and the
// firmware gates. The connect sequence reports the controller type and firmware version; the
// encoders and reply readers ask here how to write and read numbers.
#pragma once

#include <vaxo/Types.hpp>

#include <cstdint>

namespace Vaxo::Ubrix::Shared {

class Token;
class Port;

// Firmware comparison behind every version gate. The release (the fraction, such as .0273)
// decides first: b's greater gives -1, a's greater gives 1. With equal releases the result is
// int(b) - int(a) truncated, so the integer parts compare the other way round. Every gate is
// written against exactly this behaviour.
int compareFwVer(double a, double b);

class ControllerCapabilities {
public:
    // Values of GetFloatingPointFormat().
    static constexpr std::uint32_t s_fpFormatTms320 = 1; // TMS320C3x 32-bit, 4 bytes
    static constexpr std::uint32_t s_fpFormatIeee64 = 2; // IEEE-754 double, 8 bytes

    // Values of GetProcessorType().
    enum Processor : std::uint32_t {
        ProcessorNone = 0,
        ProcessorTMS320 = 1,
        ProcessorMIPS = 2,
        ProcessorARM = 3,
        ProcessorSIMULATOR = 4,
        ProcessorSOFTCT = 5,
        ProcessorFRIX = 6,
    };

    static constexpr std::uint32_t s_remoteBufferSizeOld = 124;
    static constexpr std::uint32_t s_remoteBufferSizeNew = 200;

    // Firmware gates (compare with compareFwVer).
    static constexpr double s_fwRemoteBuffer200 = 2.0273;      // >= : remote buffer 200
    static constexpr double s_fwSysVar16Bodge = 99.0338001;    // >= : 16-bit system-variable bodge
    static constexpr double s_fwBlockValues = 2.0325;          // >  : VRVALUES / TABLEVALUES writes
    static constexpr double s_fwFileTransfer = 2.0331;         // >= : newer file-transfer variant
    static constexpr double s_fwEncryptedItems = 2.0335;       // >= : encrypted project items
    static constexpr double s_fwEscapedComms = 1.51;           // >= (plain compare): escaping

    // The owner is the Token deriving from this class (for hasToken); the event callback is
    // the connection's, held by reference, and must outlive this object.
    ControllerCapabilities(Token& owner, const EventCallback& eventLogger);
    ControllerCapabilities(const ControllerCapabilities&) = delete;
    ControllerCapabilities& operator=(const ControllerCapabilities&) = delete;

    // Classifies the processor by type mod 1000 and picks the number format and escaping.
    // False and no change for type 0.
    bool SetControllerType(unsigned type);
    // Sets buffer size, bodge, 16-bit token flag (from the owner's token table, so read the
    // table first) and escaping. False and no change for 0.0.
    bool SetControllerVersion(double version);
    // Back to the defaults; the 16-bit system-variable token flag keeps its value until the
    // next SetControllerVersion.
    void Reset();

    std::uint32_t GetFloatingPointFormat() const { return m_floatingPointFormat; }
    std::uint32_t GetProcessorType() const { return m_processorType; }
    std::uint32_t GetControllerType() const { return m_controllerType; }
    double GetControllerVersion() const { return m_controllerVersion; }
    std::uint32_t GetRemoteBufferSize() const { return m_remoteBufferSize; }
    bool IsCommunicationsEscaped() const { return m_communicationsEscaped; }
    bool Is16bitSysVarsBodge() const { return m_16bitSysVarsBodge; }
    bool Is16bitSysVarsToken() const { return m_16bitSysVarsToken; }

    // Gates against the reported firmware version.
    bool IsFwAtLeast(double gate) const { return compareFwVer(m_controllerVersion, gate) >= 0; }
    bool IsFwAbove(double gate) const { return compareFwVer(m_controllerVersion, gate) > 0; }
    bool SupportsBlockValueWrites() const { return IsFwAbove(s_fwBlockValues); }

    // Bytes one number takes on the wire: 4 (TMS320) or 8 (IEEE 64).
    ErrorCode NumberSize(unsigned& size) const;

    // Reading side: one number in this controller's format from the port.
    ErrorCode ReadNumber(double& value, Port& port, unsigned timeout) const;
    ErrorCode ReadTms320Number(double& value, Port& port, unsigned timeout) const;
    ErrorCode ReadIEEE64Number(double& value, Port& port, unsigned timeout) const;
    ErrorCode ReadRawNumber(unsigned char* bytes, unsigned count, Port& port, unsigned timeout) const;
    ErrorCode ReadBytes(char* buffer, unsigned size, unsigned& got, unsigned timeout, Port& port) const;
    ErrorCode UnReadBytes(const char* data, unsigned length, Port& port) const;

    // Writing side: the bytes of one number, least significant first. EncodeNumber fills
    // `out` (up to 8 bytes) and sets `size`; the Store operations append to any byte buffer
    // with append(const unsigned char*, unsigned).
    ErrorCode EncodeNumber(double value, unsigned char (&out)[8], unsigned& size) const;
    template <class Buffer>
    ErrorCode StoreNumber(double value, Buffer& buffer) const;
    template <class Buffer>
    ErrorCode StoreTms320Number(double value, Buffer& buffer) const;
    template <class Buffer>
    ErrorCode StoreIEEE64Number(double value, Buffer& buffer) const;
    template <class Buffer>
    static ErrorCode StoreBytes(const unsigned char* bytes, unsigned count, Buffer& buffer);

    // TMS320C3x 32-bit floating point: exponent (two's complement) in bits 24-31, sign in bit
    // 23, fraction in bits 0-22; exponent -128 is zero. Values outside the other format
    // saturate (infinities to the extremes); values too small for it become zero.
    static float TmsToFloat(std::uint32_t word);
    static std::uint32_t FloatToTms(float value);
    static void Tms320Bytes(double value, unsigned char (&out)[4]);
    static void Ieee64Bytes(double value, unsigned char (&out)[8]);

    Token& token() const { return m_token; }

protected:
    void logEvent(EventType type, std::uint64_t value, std::string_view text) const;
    void logError(ErrorCode code, std::string_view text) const;

private:
    std::uint32_t m_floatingPointFormat = s_fpFormatTms320;
    std::uint32_t m_processorType = ProcessorNone;
    Token& m_token;
    bool m_communicationsEscaped = true;
    bool m_16bitSysVarsBodge = false;
    bool m_16bitSysVarsToken = false;
    double m_controllerVersion = 0.0;
    std::uint32_t m_controllerType = 0;
    std::uint32_t m_remoteBufferSize = s_remoteBufferSizeOld;
    const EventCallback& m_eventLogger;
};

template <class Buffer>
ErrorCode ControllerCapabilities::StoreBytes(const unsigned char* bytes, unsigned count, Buffer& buffer) {
    buffer.append(bytes, count);
    return ErrorCode::Success;
}

template <class Buffer>
ErrorCode ControllerCapabilities::StoreTms320Number(double value, Buffer& buffer) const {
    unsigned char bytes[4];
    Tms320Bytes(value, bytes);
    return StoreBytes(bytes, 4, buffer);
}

template <class Buffer>
ErrorCode ControllerCapabilities::StoreIEEE64Number(double value, Buffer& buffer) const {
    unsigned char bytes[8];
    Ieee64Bytes(value, bytes);
    return StoreBytes(bytes, 8, buffer);
}

template <class Buffer>
ErrorCode ControllerCapabilities::StoreNumber(double value, Buffer& buffer) const {
    unsigned char bytes[8];
    unsigned size = 0;
    if (const ErrorCode e = EncodeNumber(value, bytes, size); failed(e))
        return e;
    return StoreBytes(bytes, size, buffer);
}

} // namespace Vaxo::Ubrix::Shared
