// The controller's answer to a block fetch, without a socket: the reply text is collected
// byte by byte up to its 0x00 (which is left for the standard response), then decoded into
// the caller's outputs. The text is "v0,v1,..." for a fetch of all values and
// "index:value,..." for a fetch of the changed ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <vaxo/Types.hpp>

#include "shared/prmblk/ParamBlocks.h"

namespace Vaxo::Ubrix::Shared {

// Where the values of a numeric fetch go. The changed masks are one 64-bit word per addressed
// axis; null for a fetch of all values.
template <class T>
struct PrmBlkOutput {
    T* values = nullptr;
    unsigned capacity = 0;
    std::uint64_t* masks = nullptr;
    unsigned axes = 1;       // how many axes the request addressed (at least 1)
    unsigned blockSize = 0;  // entries of the block
    int base = 10;           // 64-bit words: 16 or 10
};

// Blanks and line ends trimmed from both ends of a reply item.
std::string_view trimSpace(std::string_view s) noexcept;

// Collects a fetch reply's text. The 0x00 that ends it is not consumed; a text longer than
// the limit is not a fetch reply and gives BadResponse.
class PrmBlkReplyText {
public:
    static constexpr std::size_t kMaxText = 4u << 20;

    ErrorCode feedData(const char* data, std::uint32_t length, std::uint32_t& consumed);
    bool done() const noexcept { return m_done; }
    const std::string& text() const noexcept { return m_text; }
    void reset() noexcept {
        m_text.clear();
        m_done = false;
    }

private:
    std::string m_text;
    bool m_done = false;
};

// Decodes a fetch reply text into the output: all values in block order, or "index:value"
// items. Any index below the capacity is written to output index. The index counts across the
// addressed axes: it belongs to axis index / block size, the last addressed axis taking every
// index beyond, and sets bit (index - axis x block size) mod 64 of that axis's mask; for one
// axis that is bit (index mod 64), at or above the block size too. Outputs not named keep their
// contents. BufferTooSmall at or past the capacity, BadResponse for a malformed item.
ErrorCode decodePrmBlkValues(std::string_view text, const PrmBlkOutput<double>& out);
ErrorCode decodePrmBlkValues(std::string_view text, const PrmBlkOutput<std::uint64_t>& out);
// Program-variable texts: in block order into the block's string values, or by index.
ErrorCode decodePrmBlkTexts(std::string_view text, PrmBlkValueArrayT<PrmBlkString>& values, unsigned blockSize,
                            std::uint64_t* mask);

} // namespace Vaxo::Ubrix::Shared
