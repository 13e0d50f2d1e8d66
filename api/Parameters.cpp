// Flat functions of the parameter family by token: the typed generic forms for every kind,
// string-valued system parameters and the axis base.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

namespace {

using Err = Shared::ErrorCode;

// The controller's number as T: integers rounded to the nearest (halves away from zero), Bool
// true for non-zero; OutOfRange when the rounded number is outside T, and out stays as it was.
template <class T>
Err fromDouble(double v, T& out) {
    if constexpr (std::is_same_v<T, double>) {
        out = v;
    } else if constexpr (std::is_same_v<T, bool>) {
        if (std::isnan(v))
            return Err::OutOfRange;
        out = v != 0;
    } else {
        const double r = std::round(v);
        // The range as doubles, exactly: [min, max + 1).
        constexpr double lo = double(std::numeric_limits<T>::min());
        constexpr double hiExclusive = std::ldexp(1.0, std::numeric_limits<T>::digits);
        if (!(r >= lo && r < hiExclusive))
            return Err::OutOfRange;
        out = static_cast<T>(r);
    }
    return Err::Success;
}

// T as the controller's number: 64-bit integers that a double cannot hold exactly are refused.
template <class T>
Err toDouble(T v, double& out) {
    if constexpr (std::is_integral_v<T> && sizeof(T) == 8) {
        const double d = double(v);
        constexpr double hiExclusive = std::ldexp(1.0, std::numeric_limits<T>::digits);
        if (d >= hiExclusive || static_cast<T>(d) != v)
            return Err::OutOfRange;
        out = d;
    } else {
        out = double(v);
    }
    return Err::Success;
}

template <class T, class Get>
Err getTyped(T* value, Get&& get) {
    double v = 0;
    if (Err e = get(v); failed(e))
        return e;
    return fromDouble(v, *value);
}

template <class T, class Set>
Err setTyped(T value, Set&& set) {
    double v = 0;
    if (Err e = toDouble(value, v); failed(e))
        return e;
    return set(v);
}

ErrorCode copyText(const std::string& text, char* buffer, uint32_t* size) {
    const uint32_t capacity = *size;
    *size = uint32_t(text.size() + 1);
    if (text.size() >= capacity)
        return ErrorCode(Err::BufferTooSmall);
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return 0;
}

} // namespace

// One row per value type: (name part, C type).
#define VAXO_PARAMETER_TYPES(X) \
    X(Bool, bool)               \
    X(Double, double)           \
    X(Int32, int32_t)           \
    X(Int64, int64_t)           \
    X(UInt32, uint32_t)         \
    X(UInt64, uint64_t)

#define VAXO_SYSTEM_TYPED(Name, T)                                                                              \
    VAXO_API ErrorCode vaxo_GetSystemParameter##Name##Value(VaxoHandle h, uint32_t parameter, T* value) {       \
        return call(h, [&](IConnection& c) {                                                                    \
            return getTyped(value, [&](double& v) { return c.GetSystemParameterValue(parameter, v); });         \
        }, value);                                                                                              \
    }                                                                                                           \
    VAXO_API ErrorCode vaxo_SetSystemParameter##Name##Value(VaxoHandle h, uint32_t parameter, T value) {        \
        return call(h, [&](IConnection& c) {                                                                    \
            return setTyped(value, [&](double v) { return c.SetSystemParameterValue(parameter, v); });          \
        });                                                                                                     \
    }

#define VAXO_KIND_TYPED(Kind, Name, T)                                                                          \
    VAXO_API ErrorCode vaxo_Get##Kind##Parameter##Name##Value(VaxoHandle h, uint32_t parameter, uint32_t index, \
                                                               T* value) {                                      \
        return call(h, [&](IConnection& c) {                                                                    \
            return getTyped(value, [&](double& v) { return c.Get##Kind##ParameterValue(parameter, index, v); }); \
        }, value);                                                                                              \
    }                                                                                                           \
    VAXO_API ErrorCode vaxo_Set##Kind##Parameter##Name##Value(VaxoHandle h, uint32_t parameter, uint32_t index, \
                                                               T value) {                                       \
        return call(h, [&](IConnection& c) {                                                                    \
            return setTyped(value, [&](double v) { return c.Set##Kind##ParameterValue(parameter, index, v); });  \
        });                                                                                                     \
    }
#define VAXO_AXIS_TYPED(Name, T) VAXO_KIND_TYPED(Axis, Name, T)
#define VAXO_PROCESS_TYPED(Name, T) VAXO_KIND_TYPED(Process, Name, T)
#define VAXO_SLOT_TYPED(Name, T) VAXO_KIND_TYPED(Slot, Name, T)
#define VAXO_PORT_TYPED(Name, T) VAXO_KIND_TYPED(Port, Name, T)

extern "C" {

VAXO_PARAMETER_TYPES(VAXO_SYSTEM_TYPED)
VAXO_PARAMETER_TYPES(VAXO_AXIS_TYPED)
VAXO_PARAMETER_TYPES(VAXO_PROCESS_TYPED)
VAXO_PARAMETER_TYPES(VAXO_SLOT_TYPED)
VAXO_PARAMETER_TYPES(VAXO_PORT_TYPED)

VAXO_API ErrorCode vaxo_GetSystemParameterStringValue4a(VaxoHandle h, uint32_t parameter, char* buffer,
                                                        uint32_t* size) {
    return call(h, [&](IConnection& c) {
        std::string text;
        const Err e = c.GetSystemParameterString(parameter, text);
        return failed(e) ? ErrorCode(e) : copyText(text, buffer, size);
    }, buffer, size);
}
VAXO_API ErrorCode vaxo_GetSystemParameterStringValue4b(VaxoHandle h, uint32_t parameter, VaxoTextCb cb,
                                                        void* user) {
    return call(h, [&](IConnection& c) {
        std::string text;
        const Err e = c.GetSystemParameterString(parameter, text);
        if (!failed(e))
            cb(user, text.data(), uint32_t(text.size()));
        return e;
    }, Api::required(cb));
}
VAXO_API ErrorCode vaxo_SetSystemParameterStringValue(VaxoHandle h, uint32_t parameter, const char* text) {
    return call(h, [&](IConnection& c) { return c.SetSystemParameterString(parameter, text); }, text);
}

VAXO_API ErrorCode vaxo_SetAxisBase(VaxoHandle h, int32_t axis) {
    return call(h, [&](IConnection& c) { return c.SetAxisBase(axis); });
}
VAXO_API ErrorCode vaxo_SetMultiAxisBase(VaxoHandle h, int32_t* axes, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.SetMultiAxisBase(axes, count); }, axes);
}

} // extern "C"
