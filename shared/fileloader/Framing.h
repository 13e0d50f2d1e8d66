// The framing of the file-transfer link: control bytes, the escapes of file data, the remote
// destination kinds and the request headers.
//
// Destination kinds (GetDestination), decided by the remote name:
//   "SD:<name>"      kind 1: a file on the controller's memory card; <name> goes as is.
//   "/<path>", or a name with a '/' inside
//                    kind 3: a file in the controller's file system by path; a leading '/' is
//                    dropped.
//   anything else    kind 2: an item of the program directory.
// An empty bare name, one longer than 255 bytes, or one with a control byte (below 0x20, or
// 0x7F), a '"' or a '\' fails with BadArgument.
//
// Headers (the bytes the controller sees first):
//   kind 1: SOH "SD:" name STX
//   kind 2: SOH "00" flags storage name STX
//   kind 3: SOH "00" flags storage 0x1F "1" 0x1F name STX
// flags is '0' + (2: option 1 set; the item runs at power-up) + (1: compressed, when
// compression and option 2 are both set) + (4: a download request, see below); storage is
// '0' + the storage byte (option 3).
//
// A download sends the header of its destination with flag 4 and nothing else; the memory
// card's header has no flags digit, so a card file cannot be asked for (NotSupported), nor can
// a compressed upload to the card be announced. The controller answers STX "FILE" ETX, the
// escaped file data, then STX "CRC=<hex>" ETX; or STX "ABORT" ETX when it cannot send the file.
// (Each text may be opened by a second STX too.)
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

inline constexpr char kSOH = 0x01;
inline constexpr char kSTX = 0x02;
inline constexpr char kETX = 0x03;
inline constexpr char kESC = '\\';
inline constexpr char kSEP = 0x1F;

inline constexpr std::uint8_t kFlagAutorun = 2;
inline constexpr std::uint8_t kFlagCompressed = 1;
inline constexpr std::uint8_t kFlagDownload = 4;

// The letter an escaped data byte is sent as, or 0 for a byte that goes bare.
constexpr char escapeLetter(unsigned char c) noexcept {
    switch (c) {
    case '\\': return '\\';
    case 0x01: return 'h';
    case 0x02: return 's';
    case 0x03: return 'e';
    default: return 0;
    }
}

// The data byte an escape letter stands for; -1 for an unknown letter.
constexpr int unescapeLetter(char c) noexcept {
    switch (c) {
    case '\\': return '\\';
    case 'h': return 0x01;
    case 's': return 0x02;
    case 'e': return 0x03;
    default: return -1;
    }
}

// Writes the escaped form of `data` to `out`, which has room for 2 * length bytes; returns the
// number of bytes written.
std::size_t escapeInto(char* out, const unsigned char* data, std::size_t length) noexcept;
// Appends the escaped form of `data` to `out`.
void appendEscaped(std::string& out, const unsigned char* data, std::size_t length);

// Splits a remote name into its destination kind (1, 2 or 3) and the bare name.
ErrorCode GetDestination(std::string_view remote, int& kind, std::string& bareName);

// The request header of a destination.
std::string makeHeader(int kind, std::string_view bareName, std::uint8_t flags, std::uint8_t storage);

} // namespace Vaxo::Ubrix::Shared
