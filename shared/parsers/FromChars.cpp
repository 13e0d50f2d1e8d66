// Conversions of reply items into values, and the item splitter the list parsers use.
#include "shared/parsers/FromChars.h"

#include <cstring>

#include "shared/filetype/IEquals.h"

namespace Vaxo::Ubrix::Shared {

namespace detail {
ErrorCode fromCharsResult(std::errc ec, const char* stop, const char* last) noexcept {
    if (ec == std::errc::result_out_of_range)
        return ErrorCode::OutOfRange;
    if (ec != std::errc() || stop != last)
        return ErrorCode::BadArgument;
    return ErrorCode::Success;
}
} // namespace detail

bool equalsNoCase(std::string_view a, std::string_view b) noexcept { return iequals(a, b); }

ErrorCode from_chars(const char* first, const char* last, double& value, int /*base*/) noexcept {
    if (last < first)
        return ErrorCode::BadArgument;
    if (last - first > 1 && *first == '+' && first[1] != '-')
        ++first;
    double parsed = 0.0;
    auto [stop, ec] = std::from_chars(first, last, parsed, std::chars_format::general);
    ErrorCode err = detail::fromCharsResult(ec, stop, last);
    if (err == ErrorCode::Success)
        value = parsed;
    return err;
}

ErrorCode from_chars(const char* first, const char* last, bool& value, int base) noexcept {
    if (last < first)
        return ErrorCode::BadArgument;
    const std::string_view word(first, std::size_t(last - first));
    if (equalsNoCase(word, "TRUE") || equalsNoCase(word, "ON")) {
        value = true;
        return ErrorCode::Success;
    }
    if (equalsNoCase(word, "FALSE") || equalsNoCase(word, "OFF")) {
        value = false;
        return ErrorCode::Success;
    }
    long long number = 0;
    ErrorCode err = from_chars(first, last, number, base);
    if (err == ErrorCode::Success) {
        value = number != 0;
        return err;
    }
    // The controller prints some flags in its number format ("1.0000").
    double real = 0.0;
    if (base == 10 && from_chars(first, last, real) == ErrorCode::Success) {
        value = real != 0.0;
        return ErrorCode::Success;
    }
    return err;
}

ErrorCode from_chars(const char* first, const char* last, stString& value, int /*base*/) noexcept {
    if (last < first)
        return ErrorCode::BadArgument;
    const std::size_t length = std::size_t(last - first);
    if (length >= value.size) {
        value.size = length >= UINT32_MAX ? UINT32_MAX : std::uint32_t(length + 1);
        return ErrorCode::BufferTooSmall;
    }
    if (value.buffer != nullptr) {
        if (length != 0)
            std::memcpy(value.buffer, first, length);
        value.buffer[length] = '\0';
    }
    value.size = std::uint32_t(length + 1);
    return ErrorCode::Success;
}

ErrorCode from_chars(const char* first, const char* last, std::string_view& value, int /*base*/) noexcept {
    if (last < first)
        return ErrorCode::BadArgument;
    value = std::string_view(first, std::size_t(last - first));
    return ErrorCode::Success;
}

std::string_view trimBlanks(std::string_view text) noexcept {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool nextArg(std::string_view& rest, std::string_view& item, char separator) noexcept {
    if (rest.data() == nullptr)
        return false;
    const std::size_t pos = rest.find(separator);
    if (pos == std::string_view::npos) {
        item = trimBlanks(rest);
        rest = std::string_view();
    } else {
        item = trimBlanks(rest.substr(0, pos));
        rest = rest.substr(pos + 1);
    }
    return true;
}

} // namespace Vaxo::Ubrix::Shared
