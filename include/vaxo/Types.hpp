// Types shared by every part of the class interface: the one result type, the version
// record, event reporting and the connection types.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// Every operation reports one 64-bit code. Bits 0-31: index or number; bit 32: library
// error; bit 33: operating-system errno; bit 34: controller error number; bit 39: fatal.
enum class ErrorCode : std::uint64_t {
    Success = 0,
    ApiBit = 0x0100000000ull,
    SystemBit = 0x0200000000ull,
    ControllerBit = 0x0400000000ull,
    FatalBit = 0x8000000000ull,
    IndexMask = 0x00FFFFFFFFull,
    UnknownSystem = 0x02FFFFFFFFull,

    // The forms in which the library produces its own errors.
    Api_Unknown = 0x8100000000ull,
    Fail = 0x8100000001ull,
    FailPlain = 0x0100000001ull,
    NotSupported = 0x0100000002ull,
    ConnectionModule = 0x8100000003ull,
    ConnectionContext = 0x8100000004ull,
    TokenTable = 0x8100000005ull,
    Timeout = 0x8100000006ull,
    UnknownFloatingPointFormat = 0x8100000007ull,
    Remote_TokenBuffer = 0x8100000008ull,
    UnsupportedController = 0x810000000Aull,
    BadResponse = 0x810000000Bull,
    BadArgument = 0x010000000Cull,
    Reopen = 0x010000000Dull,
    BufferTooSmall = 0x010000000Eull,
    SocketRead = 0x810000000Full,
    SocketWrite = 0x8100000010ull,
    LowLevelError = 0x8100000011ull,
    VersionMismatch = 0x8100000012ull,
    Compression = 0x8100000013ull,
    Abort = 0x8100000014ull,
    Disconnected = 0x0100000015ull,
    InvalidParamBlock = 0x0100000016ull,
    OutOfRange = 0x0100000017ull,
    CapacityExceeded = 0x0100000018ull,
    Project = 0x0100000019ull,
};

constexpr ErrorCode operator|(ErrorCode a, ErrorCode b) noexcept {
    return ErrorCode(std::uint64_t(a) | std::uint64_t(b));
}
constexpr ErrorCode operator&(ErrorCode a, ErrorCode b) noexcept {
    return ErrorCode(std::uint64_t(a) & std::uint64_t(b));
}
constexpr bool operator!(ErrorCode a) noexcept { return a == ErrorCode::Success; }

namespace EnumBitOps {
constexpr bool hasAny(ErrorCode value, ErrorCode mask) noexcept { return (value & mask) != ErrorCode::Success; }
constexpr bool hasAll(ErrorCode value, ErrorCode mask) noexcept { return (value & mask) == mask; }
} // namespace EnumBitOps

constexpr bool failed(ErrorCode e) noexcept { return e != ErrorCode::Success; }
constexpr bool isFatal(ErrorCode e) noexcept { return EnumBitOps::hasAll(e, ErrorCode::FatalBit); }

// A controller status number becomes a controller error; status 0 is success.
constexpr ErrorCode controllerError(std::uint16_t status) noexcept {
    return status == 0 ? ErrorCode::Success : ErrorCode(std::uint64_t(ErrorCode::ControllerBit) | status);
}
// An errno value becomes a system error (widened as a signed 32-bit number first).
constexpr ErrorCode systemError(int err) noexcept {
    return ErrorCode(std::uint64_t(ErrorCode::SystemBit) | std::uint64_t(std::int64_t(std::int32_t(err))));
}

struct VersionInfo {
    std::uint16_t major = 0, minor = 0, patch = 0, build = 0;
    friend constexpr bool operator==(const VersionInfo&, const VersionInfo&) = default;
};

// The controller's CONNECT mode number, passed through as it stands.
enum class ConnectMode : std::uint32_t {};

enum class ConnectionType : std::uint32_t { TCP = 1, SOFTCT = 2, Frix7 = 4 };

// 0 error (value is an ErrorCode), 1 warning, 2 information.
enum class EventType : std::uint32_t { Error = 0, Warning = 1, Information = 2 };

using EventCallback = std::function<void(EventType, std::uint64_t, std::string_view)>;

class IEventLogger {
public:
    virtual void AddLogEvent(EventType type, std::uint64_t value, std::string_view text) = 0;
    virtual const EventCallback& eventLogger() const = 0;

protected:
    ~IEventLogger() = default;
};

} // namespace Vaxo::Ubrix::Shared
