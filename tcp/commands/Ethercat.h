// EtherCAT master commands: ETHERCAT(function, values...) and the CANopen object commands
// CO_READ, CO_READ_AXIS, CO_WRITE, CO_WRITE_AXIS. Every value travels as a number; results come
// back as the standard response's value, except the status mask and trigger pattern, which
// arrive together as one line of text before the standard response.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <tuple>
#include <utility>

#include "shared/parsers/NumericReplyParser.h"
#include "tcp/commands/IO.h"
#include "tcp/commands/ReplyFraming.h"

namespace Vaxo::Ubrix::TCP {

// The network states the controller reports (the EtherCAT AL state numbers).
enum class EthercatState : unsigned int {
    Init = 1,
    PreOperational = 2,
    Bootstrap = 3,
    SafeOperational = 4,
    Operational = 8,
};

// Start options of ETHERCAT(0, slot, option): 0 starts the network as configured; other
// numbers are passed through as the controller defines them.
enum class EthercatStartOption : unsigned int {
    Default = 0,
};

// The value in a VR-index position meaning "no VR: answer in the reply".
inline constexpr double kNoVr = -1.0;

// ETHERCAT function numbers.
namespace EthercatFn {
inline constexpr double StartNetwork = 0, StopNetwork = 1, CheckSlaveOnline = 2, CheckNumberOfSlaves = 3,
                        GetSlaveAddress = 4, GetSlaveAxis = 5, SetState = 33, GetState = 34,
                        GetSlaveEscRegister = 49, SetSlaveEscRegister = 50, SendResetSequence = 100,
                        SetStatusMaskAndTriggerPattern = 121, GetStatusMaskAndTriggerPattern = 122,
                        DisplayNetworkConfig = 135, SetSync0StartTime = 145, SetDistrClockMaster = 147,
                        SetEmergencyMsgControl = 224, GetEmergencyMsgControl = 225;
}

// token ( v0 , v1 , ... [, "text"] ) ZERO. A text may hold neither 0x00 nor the QUOTES code,
// which would end it early on the controller's side: such a text is BadArgument.
template <class Buffer>
ErrorCode encodeValues(Shared::Token& t, Buffer& b, KnownTokens token, const double* values, unsigned count,
                       const std::string_view* text = nullptr) {
    ErrorCode e = t.appendToken(token, b);
    if (!failed(e) && (count > 0 || text))
        e = t.appendToken(KnownTokens::OPENBRACKETS, b);
    for (unsigned k = 0; k < count && !failed(e); ++k) {
        if (k > 0)
            e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e))
            e = t.appendValue(values[k], b);
    }
    if (text && !failed(e)) {
        unsigned short quotes = 0;
        e = t.getTokenCode(KnownTokens::QUOTES, quotes);
        if (!failed(e))
            for (char ch : *text)
                if (ch == '\0' || (quotes <= 0xFF && static_cast<unsigned char>(ch) == quotes))
                    return ErrorCode::BadArgument;
        if (!failed(e) && count > 0)
            e = t.appendToken(KnownTokens::COMMA, b);
        if (!failed(e))
            e = t.appendToken(KnownTokens::QUOTES, b);
        if (!failed(e))
            e = t.appendString(*text, b);
        if (!failed(e))
            e = t.appendToken(KnownTokens::QUOTES, b);
    }
    if (!failed(e) && (count > 0 || text))
        e = t.appendToken(KnownTokens::CLOSEBRACKETS, b);
    if (!failed(e))
        e = t.appendZeroToken(b);
    return e;
}

// ETHERCAT ( value , value ... ) ZERO; the standard response, status only.
class CmdEthercat : public CmdArray {
public:
    explicit CmdEthercat(Connection_TCP& c) : CmdArray(c) {}
    ErrorCode send(const double* values, unsigned count) {
        return CmdArray::send(KnownTokens::ETHERCAT, count, values);
    }
    ErrorCode send(std::initializer_list<double> values) { return send(values.begin(), unsigned(values.size())); }
};

namespace detail {
inline void convertResult(double v, bool& out) { out = v != 0; }
inline void convertResult(double v, unsigned int& out) { out = cutToU32(v); }
inline void convertResult(double v, int& out) { out = cutToI32(v); }
inline void convertResult(double v, EthercatState& out) { out = EthercatState(cutToU32(v)); }
inline void convertResult(double v, double& out) { out = v; }
} // namespace detail

namespace detail {
template <class T>
inline constexpr bool kNumberResult = true;
template <class A, class B>
inline constexpr bool kNumberResult<std::pair<A, B>> = false;
} // namespace detail

// A CmdEthercat with the caller's result variables. One number comes as the standard
// response's value; a pair, or several results, come as one line of text each before the
// standard response. The results are written only when the controller reports success.
template <class... T>
class CmdEthercatWithReply : public CmdEthercat {
    static_assert(sizeof...(T) >= 1);

public:
    CmdEthercatWithReply(Connection_TCP& c, T&... results) : CmdEthercat(c), m_results(results...) {}
    ErrorCode readReply() override {
        if constexpr (sizeof...(T) == 1 && (detail::kNumberResult<T> && ...)) {
            double value = 0;
            const ErrorCode e = readStandardResponse(&value, nullptr);
            if (!failed(e))
                detail::convertResult(value, std::get<0>(m_results));
            return setError(e);
        } else {
            return readLines(std::index_sequence_for<T...>{});
        }
    }

private:
    template <std::size_t... I>
    ErrorCode readLines(std::index_sequence<I...>);

    std::tuple<T&...> m_results;
};

template <class... T>
template <std::size_t... I>
ErrorCode CmdEthercatWithReply<T...>::readLines(std::index_sequence<I...>) {
    std::tuple<T...> values{};
    Shared::ReplyHolder<T...> holder(std::get<I>(values)...);
    Shared::NumericReplyParser<Shared::ReplyHolder<T...>> parser(holder);
    double value = 0;
    unsigned short status = 0;
    stStandardCmdReply reply{&value, &status};
    ErrorCode e = stringReplyRead(m_connection, id(), parser, &reply);
    // A reply that ends before every line arrived, with a success status, is not this command's.
    if (!failed(e) && !parser.complete())
        e = ErrorCode::BadResponse;
    if (!failed(e))
        ((std::get<I>(m_results) = std::get<I>(values)), ...);
    return setError(e);
}

// The CANopen object reads: the standard response, whose value is the object's value; it is
// stored only when the status is success.
class CmdCoReadBase : public CmdArray {
public:
    CmdCoReadBase(Connection_TCP& c, double& value) : CmdArray(c), m_value(value) {}
    ErrorCode readReply() override {
        double value = 0;
        const ErrorCode e = readStandardResponse(&value, nullptr);
        if (!failed(e))
            m_value = value;
        return setError(e);
    }

private:
    double& m_value;
};

//   CO_READ ( slot , position , index , subindex , type , -1 ) ZERO
class CmdCoRead : public CmdCoReadBase {
public:
    using CmdCoReadBase::CmdCoReadBase;
    ErrorCode send(int slot, int position, unsigned index, unsigned subindex, unsigned type) {
        const double v[] = {double(slot), double(position), double(index), double(subindex), double(type), kNoVr};
        return CmdArray::send(KnownTokens::CO_READ, 6, v);
    }
};

//   CO_READ_AXIS ( axis , index , subindex , type , -1 ) ZERO
class CmdCoReadAxis : public CmdCoReadBase {
public:
    using CmdCoReadBase::CmdCoReadBase;
    ErrorCode send(int axis, unsigned index, unsigned subindex, unsigned type) {
        const double v[] = {double(axis), double(index), double(subindex), double(type), kNoVr};
        return CmdArray::send(KnownTokens::CO_READ_AXIS, 5, v);
    }
};

// The writes: the value goes where the VR form has its VR index, after -1.
//   CO_WRITE ( slot , position , index , subindex , type , vr ) ZERO
//   CO_WRITE ( slot , position , index , subindex , type , -1 , value ) ZERO
//   CO_WRITE ( slot , position , index , subindex , type , -1 , "text" ) ZERO
// and CO_WRITE_AXIS with the axis in place of slot and position.
class CmdCoWriteBase : public CmdArray {
public:
    explicit CmdCoWriteBase(Connection_TCP& c) : CmdArray(c) {}

protected:
    ErrorCode sendValues(KnownTokens token, const double* values, unsigned count,
                         const std::string_view* text = nullptr) {
        Shared::TokenBuffer1024 b;
        if (ErrorCode e = encodeValues(m_connection.token(), b, token, values, count, text); failed(e))
            return e;
        return m_connection.sendTokenbuffer(b);
    }
};

class CmdCoWrite : public CmdCoWriteBase {
public:
    using CmdCoWriteBase::CmdCoWriteBase;
    ErrorCode sendVr(int slot, int position, unsigned index, unsigned subindex, unsigned type, int vr) {
        const double v[] = {double(slot), double(position), double(index), double(subindex), double(type), double(vr)};
        return sendValues(KnownTokens::CO_WRITE, v, 6);
    }
    ErrorCode send(int slot, int position, unsigned index, unsigned subindex, unsigned type, double value) {
        const double v[] = {double(slot), double(position), double(index), double(subindex), double(type), kNoVr, value};
        return sendValues(KnownTokens::CO_WRITE, v, 7);
    }
    ErrorCode send(int slot, int position, unsigned index, unsigned subindex, unsigned type, std::string_view text) {
        const double v[] = {double(slot), double(position), double(index), double(subindex), double(type), kNoVr};
        return sendValues(KnownTokens::CO_WRITE, v, 6, &text);
    }
};

class CmdCoWriteAxis : public CmdCoWriteBase {
public:
    using CmdCoWriteBase::CmdCoWriteBase;
    ErrorCode sendVr(int axis, unsigned index, unsigned subindex, unsigned type, int vr) {
        const double v[] = {double(axis), double(index), double(subindex), double(type), double(vr)};
        return sendValues(KnownTokens::CO_WRITE_AXIS, v, 5);
    }
    ErrorCode send(int axis, unsigned index, unsigned subindex, unsigned type, double value) {
        const double v[] = {double(axis), double(index), double(subindex), double(type), kNoVr, value};
        return sendValues(KnownTokens::CO_WRITE_AXIS, v, 6);
    }
    ErrorCode send(int axis, unsigned index, unsigned subindex, unsigned type, std::string_view text) {
        const double v[] = {double(axis), double(index), double(subindex), double(type), kNoVr};
        return sendValues(KnownTokens::CO_WRITE_AXIS, v, 5, &text);
    }
};

} // namespace Vaxo::Ubrix::TCP
