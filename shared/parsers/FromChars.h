// Conversions of reply items into values. Every overload takes the item as a [first, last)
// range and returns an ErrorCode instead of throwing: a range that ends before it starts is
// BadArgument, text that is not a number is BadArgument, a number that does not fit the
// destination is OutOfRange. Numbers must fill the whole range (trim it first, nextArg does).
#pragma once

#include "shared/parsers/ParserTypes.h"

#include <vaxo/Types.hpp>

#include <charconv>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Vaxo::Ubrix::Shared {

namespace detail {
ErrorCode fromCharsResult(std::errc ec, const char* stop, const char* last) noexcept;
} // namespace detail

// Integers in the given base. A leading "+" is accepted (the controller never sends one, but
// a host-typed value may carry it).
template <class T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool>)
ErrorCode from_chars(const char* first, const char* last, T& value, int base = 10) noexcept {
    if (last < first)
        return ErrorCode::BadArgument;
    if constexpr (std::is_signed_v<T>) {
        if (last - first > 1 && *first == '+' && first[1] != '-')
            ++first;
    }
    T parsed{};
    auto [stop, ec] = std::from_chars(first, last, parsed, base);
    ErrorCode err = detail::fromCharsResult(ec, stop, last);
    if (err == ErrorCode::Success)
        value = parsed;
    return err;
}

// Enumerations the controller passes as numbers (the EtherCAT state, for one).
template <class E>
    requires std::is_enum_v<E>
ErrorCode from_chars(const char* first, const char* last, E& value, int base = 10) noexcept {
    std::underlying_type_t<E> raw{};
    ErrorCode err = from_chars(first, last, raw, base);
    if (err == ErrorCode::Success)
        value = E(raw);
    return err;
}

// Decimal or exponent notation; the base is not used.
ErrorCode from_chars(const char* first, const char* last, double& value, int base = 10) noexcept;

// "TRUE" and "ON" are true, "FALSE" and "OFF" false (any case); anything else is read as a
// number, true when non-zero.
ErrorCode from_chars(const char* first, const char* last, bool& value, int base = 10) noexcept;

// Copies the text and a terminating 0x00 into the caller's buffer when it fits (the buffer
// may be null to ask for the size); the size is set to the size needed either way, and
// BufferTooSmall is returned when it did not fit.
ErrorCode from_chars(const char* first, const char* last, stString& value, int base = 10) noexcept;

// The view points into the reply text; it is valid only while that text is.
ErrorCode from_chars(const char* first, const char* last, std::string_view& value, int base = 10) noexcept;

template <class T>
ErrorCode from_chars(std::string_view text, T& value, int base = 10) noexcept {
    return Shared::from_chars(text.data(), text.data() + text.size(), value, base);
}

// Space and tab; line ends are handled by the line parsers before items are split.
constexpr bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view trimBlanks(std::string_view text) noexcept;

// Takes the next separator-delimited item off the front of `rest`, with blanks trimmed.
// Returns false once the items are used up; "a," holds two items, "a" and "". Start with a
// view whose data pointer is not null (an empty line holds one empty item).
bool nextArg(std::string_view& rest, std::string_view& item, char separator = ',') noexcept;

// Case-insensitive comparison of whole texts (ASCII).
bool equalsNoCase(std::string_view a, std::string_view b) noexcept;

} // namespace Vaxo::Ubrix::Shared
