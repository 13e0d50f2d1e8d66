// Entry parsers of the directory and process listings.
#include "shared/parsers/ListReplyParsers.h"

#include <cstring>
#include <limits>

namespace Vaxo::Ubrix::Shared {

namespace {
void copyName(std::string_view item, char* name, std::size_t nameSize) noexcept {
    const std::size_t n = item.size() < nameSize - 1 ? item.size() : nameSize - 1;
    if (n != 0)
        std::memcpy(name, item.data(), n);
    name[n] = '\0';
}

template <class T>
bool nextValue(std::string_view& rest, T& value) noexcept {
    std::string_view item;
    return nextArg(rest, item) && from_chars(item, value) == ErrorCode::Success;
}
} // namespace

bool parseFileEntryCore(std::string_view line, FileInfo& info, char* name, std::size_t nameSize) noexcept {
    std::string_view rest = line.data() ? line : std::string_view("", 0);
    std::string_view item;
    if (!nextArg(rest, item) || equalsNoCase(item, "TABLE"))
        return false;
    copyName(item, name, nameSize);

    FileInfo parsed{};
    std::int32_t field6 = 0;
    std::int32_t field7 = 0;
    if (!nextValue(rest, parsed.size) || !nextValue(rest, parsed.crc) || !nextValue(rest, parsed.lines) ||
        !nextValue(rest, parsed.type))
        return false;
    if (!nextValue(rest, field6))
        return false;
    parsed.flags |= FileFlags::HasField6;
    if (!nextValue(rest, field7))
        return false;
    parsed.flags |= FileFlags::HasField7;
    info = parsed;
    return true;
}

bool parseProcessInfoEntryCore(std::string_view line, ProcessInfo& info, char* name, std::size_t nameSize) noexcept {
    std::string_view rest = line.data() ? line : std::string_view("", 0);
    ProcessInfo parsed{};
    parsed.load = std::numeric_limits<double>::quiet_NaN();
    std::string_view item;
    if (!nextValue(rest, parsed.process) || !nextArg(rest, item))
        return false;
    copyName(item, name, nameSize);
    if (!nextValue(rest, parsed.state) || !nextValue(rest, parsed.priority) || !nextValue(rest, parsed.line) ||
        !nextValue(rest, parsed.ticks) || !nextValue(rest, parsed.cycles))
        return false;
    // Optional load, then optional marker; a marker may also stand where the load would be.
    bool first = true;
    while (nextArg(rest, item)) {
        if (item == "*") {
            parsed.flags = ProcessFlags::Marked;
        } else if (first && !item.empty()) {
            if (from_chars(item, parsed.load) != ErrorCode::Success)
                return false;
        }
        first = false;
    }
    info = parsed;
    return true;
}

} // namespace Vaxo::Ubrix::Shared
