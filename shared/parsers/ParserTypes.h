// Plain records produced by the reply parsers and handed to the host's callbacks. They also
// appear in the public C header, so they stay standard-layout with fixed-width fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Vaxo::Ubrix::Shared {

// One piece of a streamed text reply. The text parsers fill the sequence number and the byte
// count; the other fields are zero for them.
struct DataStreamPacket {
    std::uint32_t sequence; // 0 for the first packet, one more after each callback call
    std::uint32_t length;   // bytes in this packet (0 for the packet that ends the text)
    std::uint64_t total;    // total bytes of the stream when known in advance, else 0
    std::uint32_t flags;    // reserved for streams that carry more than text, else 0
    std::uint32_t reserved; // always 0
};

// The flags of a directory entry. The last two items of a listing line set one bit each once
// they parse; their values are not looked at.
enum class FileFlags : std::uint32_t {
    None = 0,
    HasField6 = 1u << 1,
    HasField7 = 1u << 2,
};

constexpr FileFlags operator|(FileFlags a, FileFlags b) noexcept {
    return FileFlags(std::uint32_t(a) | std::uint32_t(b));
}
constexpr FileFlags operator&(FileFlags a, FileFlags b) noexcept {
    return FileFlags(std::uint32_t(a) & std::uint32_t(b));
}
constexpr FileFlags& operator|=(FileFlags& a, FileFlags b) noexcept { return a = a | b; }

// One line of the controller's directory listing ("name,size,crc,lines,type,a,b"). The name
// travels beside the record as a separate text.
struct FileInfo {
    std::int32_t type;   // fifth item of the line
    std::uint32_t size;  // second item
    std::uint32_t crc;   // third item
    std::int32_t lines;  // fourth item
    FileFlags flags;     // HasField6 | HasField7 for every well-formed line
};

enum class ProcessFlags : std::uint32_t {
    None = 0,
    Marked = 1u << 0, // the controller marked the entry with "*"
};

// One line of the controller's process list:
//   process, name, state, priority, line, ticks, cycles [, load] [, *]
// The process name travels beside the record as a separate text. A missing or empty load is
// a quiet NaN.
struct ProcessInfo {
    std::int32_t process;
    std::int32_t state;
    std::int32_t priority;
    std::int32_t line;
    std::uint64_t ticks;
    std::uint64_t cycles;
    double load;
    ProcessFlags flags;
    std::uint32_t reserved; // always 0
};

// A caller's character buffer and its size; on return the size is the size needed
// (text length + 1 for the terminating 0x00).
struct stString {
    char* buffer;
    std::uint32_t size;
};

static_assert(std::is_standard_layout_v<DataStreamPacket> && std::is_trivially_copyable_v<DataStreamPacket>);
static_assert(std::is_standard_layout_v<FileInfo> && std::is_trivially_copyable_v<FileInfo>);
static_assert(std::is_standard_layout_v<ProcessInfo> && std::is_trivially_copyable_v<ProcessInfo>);
static_assert(sizeof(DataStreamPacket) == 24 && sizeof(FileInfo) == 20 && sizeof(ProcessInfo) == 48);
static_assert(offsetof(ProcessInfo, ticks) == 16 && offsetof(ProcessInfo, load) == 32);

} // namespace Vaxo::Ubrix::Shared
