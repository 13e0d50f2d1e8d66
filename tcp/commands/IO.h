// Digital and analogue I/O commands. All but the analogue write are the array form of CmdArray:
// the token, then the values in brackets separated by commas (or the token alone), then ZERO;
// each is answered by the standard response.
#pragma once

#include <cmath>
#include <cstdint>

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// A channel argument that is not given.
inline constexpr unsigned int kNoChannel = 0xFFFFFFFFu;

// The controller's double cut to 32 bits the way an integer conversion through 64 bits does;
// values that no integer holds (NaN, infinities, beyond +-2^63) become 0.
inline std::uint32_t cutToU32(double v) noexcept {
    if (!std::isfinite(v) || v <= -9.2e18 || v >= 9.2e18)
        return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(v));
}
inline std::int32_t cutToI32(double v) noexcept { return static_cast<std::int32_t>(cutToU32(v)); }

// The range reads: first and last channel, 0xFFFFFFFF where absent. Answered by one number, the
// channels as a bit mask (bit 0 = first channel), stored even when the status is an error.
class CmdChannelRange : public CmdArray {
public:
    CmdChannelRange(Connection_TCP& c, unsigned int& mask) : CmdArray(c), m_mask(mask) {}
    ErrorCode readReply() override;

protected:
    // Sends token(first) or token(first, last) after the range rules; absentFirstOk lets an
    // absent first with an absent last send the bare token.
    ErrorCode sendRange(KnownTokens token, unsigned int first, unsigned int last, bool absentFirstOk);

private:
    unsigned int& m_mask;
};

// IN, IN(first), IN(first, last)
class CmdIN : public CmdChannelRange {
public:
    using CmdChannelRange::CmdChannelRange;
    ErrorCode send(unsigned int first, unsigned int last) { return sendRange(KnownTokens::IN, first, last, true); }
};

// READ_OP(first), READ_OP(first, last); first is required.
class CmdReadOP : public CmdChannelRange {
public:
    using CmdChannelRange::CmdChannelRange;
    ErrorCode send(unsigned int first, unsigned int last) {
        return sendRange(KnownTokens::READ_OP, first, last, false);
    }
};

// OP                      -> the outputs as a mask (stored only on success)
// OP(value)               -> sets the 32 outputs from a mask
// OP(first, last, value)  -> sets first..last from value, bit 0 for first
class CmdOP : public CmdArray {
public:
    explicit CmdOP(Connection_TCP& c, unsigned int* mask = nullptr) : CmdArray(c), m_mask(mask) {}
    ErrorCode send() { return CmdArray::send(KnownTokens::OP, 0, static_cast<const double*>(nullptr)); }
    ErrorCode send(unsigned int value) { return CmdArray::send(KnownTokens::OP, 1, &value); }
    ErrorCode send(unsigned int a, unsigned int b, unsigned int c) {
        const unsigned int values[3] = {a, b, c};
        return CmdArray::send(KnownTokens::OP, 3, values);
    }
    ErrorCode readReply() override;

private:
    unsigned int* m_mask;
};

// An analogue read: token(channel), the value cut to a signed 32-bit integer on success.
class CmdAnalogRead : public CmdArray {
public:
    CmdAnalogRead(Connection_TCP& c, int& value) : CmdArray(c), m_value(value) {}
    ErrorCode readReply() override;

protected:
    int& m_value;
};

// AIN(channel)
class CmdAIN : public CmdAnalogRead {
public:
    using CmdAnalogRead::CmdAnalogRead;
    ErrorCode send(unsigned int channel) { return CmdArray::send(KnownTokens::AIN, 1, &channel); }
};

// AOUT(channel)
class CmdGetAOUT : public CmdAnalogRead {
public:
    using CmdAnalogRead::CmdAnalogRead;
    ErrorCode send(unsigned int channel) { return CmdArray::send(KnownTokens::AOUT, 1, &channel); }
};

// AOUT ( channel ) ASSIGN value ZERO, built directly in a token buffer.
class CmdSetAOUT : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(unsigned int channel, int value);
};

// INVERT_IN(channel): 1 when the input is inverted.
class CmdGetInvertIn : public CmdArray {
public:
    CmdGetInvertIn(Connection_TCP& c, bool& on) : CmdArray(c), m_on(on) {}
    ErrorCode send(unsigned int channel) { return CmdArray::send(KnownTokens::INVERT_IN, 1, &channel); }
    ErrorCode readReply() override;

private:
    bool& m_on;
};

// INVERT_IN(channel, 1 | 0); the standard reply's status only.
class CmdSetInvertIn : public CmdArray {
public:
    explicit CmdSetInvertIn(Connection_TCP& c) : CmdArray(c) {}
    ErrorCode send(unsigned int channel, bool on) {
        const unsigned int values[2] = {channel, on ? 1u : 0u};
        return CmdArray::send(KnownTokens::INVERT_IN, 2, values);
    }
};

} // namespace Vaxo::Ubrix::TCP
