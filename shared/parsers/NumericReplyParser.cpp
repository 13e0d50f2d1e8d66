// strtol-style number reading for the line-by-line numeric replies.
#include "shared/parsers/NumericReplyParser.h"

#include <cerrno>
#include <cstdlib>

namespace Vaxo::Ubrix::Shared {

namespace {
// strtol always sets the end pointer when given one; the null check only guards a C library
// that would not.
ErrorCode readLong(const char* text, long& value, const char** stop) noexcept {
    char* end = nullptr;
    errno = 0;
    const long parsed = std::strtol(text, &end, 10);
    if (end == nullptr)
        return systemError(errno);
    value = parsed;
    if (stop != nullptr)
        *stop = end;
    return ErrorCode::Success;
}
} // namespace

ErrorCode NumParser::parseNum(const char* text, long& value) noexcept { return readLong(text, value, nullptr); }

ErrorCode NumParser::parseNum(const char* text, unsigned long& value) noexcept {
    long raw = 0;
    ErrorCode err = readLong(text, raw, nullptr);
    if (err == ErrorCode::Success)
        value = static_cast<unsigned long>(raw);
    return err;
}

ErrorCode NumParser::parseNum(const char* text, int& value) noexcept {
    long raw = 0;
    ErrorCode err = readLong(text, raw, nullptr);
    if (err == ErrorCode::Success)
        value = static_cast<int>(static_cast<std::uint32_t>(static_cast<unsigned long>(raw)));
    return err;
}

ErrorCode NumParser::parseNum(const char* text, unsigned int& value) noexcept {
    long raw = 0;
    ErrorCode err = readLong(text, raw, nullptr);
    if (err == ErrorCode::Success)
        value = static_cast<std::uint32_t>(static_cast<unsigned long>(raw));
    return err;
}

ErrorCode NumParser::parseNum(const char* text, bool& value) noexcept {
    long raw = 0;
    ErrorCode err = readLong(text, raw, nullptr);
    if (err == ErrorCode::Success)
        value = raw != 0;
    return err;
}

ErrorCode NumParser::parseNum(const char* text, std::pair<unsigned int, unsigned int>& value) noexcept {
    long first = 0;
    long second = 0;
    const char* stop = nullptr;
    ErrorCode err = readLong(text, first, &stop);
    if (err != ErrorCode::Success)
        return err;
    while (*stop == ' ' || *stop == '\t')
        ++stop;
    if (*stop == ',')
        ++stop;
    err = readLong(stop, second, nullptr);
    if (err != ErrorCode::Success)
        return err;
    value.first = static_cast<std::uint32_t>(static_cast<unsigned long>(first));
    value.second = static_cast<std::uint32_t>(static_cast<unsigned long>(second));
    return ErrorCode::Success;
}

} // namespace Vaxo::Ubrix::Shared
