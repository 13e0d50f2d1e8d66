// Case-insensitive comparison of ASCII text, one character at a time. The two overloads
// answer different questions on purpose:
//   iequals(const char*, const char*)  -- is the first text a prefix of the second?
//   iequals(string_view, string_view)  -- are the two texts the same, length included?
// The extension lookup relies on the first, the type-name lookup on the second.
#pragma once

#include <string_view>

namespace Vaxo::Ubrix::Shared {

constexpr char asciiLower(char c) noexcept { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

// True when every character of `prefix`, up to its terminator, equals the character of `text`
// at the same place, ignoring case. An empty prefix matches any text; a null text matches
// nothing.
constexpr bool iequals(const char* prefix, const char* text) noexcept {
    if (prefix == nullptr || text == nullptr)
        return false;
    for (; *prefix != '\0'; ++prefix, ++text)
        if (asciiLower(*prefix) != asciiLower(*text)) // stops at text's terminator too
            return false;
    return true;
}

constexpr bool iequals(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (asciiLower(a[i]) != asciiLower(b[i]))
            return false;
    return true;
}

} // namespace Vaxo::Ubrix::Shared
