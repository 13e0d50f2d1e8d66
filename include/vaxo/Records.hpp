// Plain records and callables of the class interface: what listings, progress reports and
// streamed replies deliver, and what parameter blocks take.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>

#include <vaxo/Types.hpp>

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

// Progress of a file transfer: bytes done, bytes in total, state 0 at the start, 2 at the end.
struct ProgressInfo {
    std::uint64_t done;
    std::uint64_t total;
    std::uint32_t state;
    std::uint32_t reserved; // always 0
};

// One run of I/O channels for parameter blocks.
struct Range {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

// A callable of a listing or a streamed text that throws is not called again; the rest of the
// reply is still read, the link stays up, and the operation returns FailPlain (0x0100000001).
using DataStreamFn = std::function<void(const DataStreamPacket&, const char*)>;
using FileInfoFn = std::function<void(const FileInfo&, std::string_view)>;
using ProcessInfoFn = std::function<void(const ProcessInfo&, std::string_view)>;
using ProgressFn = std::function<void(const ProgressInfo&)>;
using TextFn = std::function<bool(std::string_view)>;

} // namespace Vaxo::Ubrix::Shared
