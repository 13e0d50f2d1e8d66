// Plain records produced by the reply parsers and handed to the host's callbacks. They also
// appear in the public C header, so they stay standard-layout with fixed-width fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <vaxo/Records.hpp>

namespace Vaxo::Ubrix::Shared {

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
