// The parameter-block fetch reply: arbitrary bytes collected in arbitrary chunks up to the
// 0x00, then decoded as each kind of fetch would decode them. No output may be written past
// its capacity, no mask bit may name an entry the reply did not, and the collector may never
// report more consumed than it was given.
//
// Input: one byte that chooses the fetch (bits 0-1 the kind, bit 2 changed values only,
// bits 3-4 the number of axes - 1, bits 5-7 the block size - 1), then the reply bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "shared/prmblk/PrmBlkReply.h"

using namespace Vaxo::Ubrix::Shared;

namespace {

template <class T>
void decode(std::string_view text, bool changed, unsigned axes, unsigned blockSize, int base) {
    const unsigned capacity = axes * blockSize;
    // Exactly the capacity, so that a write past it is caught.
    std::vector<T> values(capacity);
    std::vector<std::uint64_t> masks(axes, ~std::uint64_t(0));
    const PrmBlkOutput<T> out{values.data(), capacity, changed ? masks.data() : nullptr, axes, blockSize, base};
    const ErrorCode e = decodePrmBlkValues(text, out);
    if (changed && e == ErrorCode::Success && blockSize <= 64)
        for (std::uint64_t m : masks)
            if (m >> blockSize)
                std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const unsigned choice = data[0];
    const bool changed = choice & 4;
    const unsigned axes = 1 + ((choice >> 3) & 3);
    const unsigned blockSize = 1 + (choice >> 5);
    ++data;
    --size;

    PrmBlkReplyText reply;
    const std::size_t step = 1 + choice % 5;
    std::size_t pos = 0;
    while (pos < size && !reply.done()) {
        const std::uint32_t n = std::uint32_t(std::min(step, size - pos));
        std::uint32_t consumed = 0;
        if (reply.feedData(reinterpret_cast<const char*>(data + pos), n, consumed) != ErrorCode::Success)
            return 0;
        if (consumed > n || (reply.done() && data[pos + consumed] != 0))
            std::abort();
        pos += consumed;
        if (consumed == 0 && !reply.done())
            std::abort();
    }

    switch (choice & 3) {
    case 0:
        decode<double>(reply.text(), changed, axes, blockSize, 10);
        break;
    case 1:
        decode<std::uint64_t>(reply.text(), changed, axes, blockSize, 16);
        break;
    case 2:
        decode<std::uint64_t>(reply.text(), changed, axes, blockSize, 10);
        break;
    default: {
        // Program-variable texts: one axis.
        PrmBlkValueArrayT<PrmBlkString> texts;
        std::uint64_t mask = ~std::uint64_t(0);
        const ErrorCode e = decodePrmBlkTexts(reply.text(), texts, blockSize, changed ? &mask : nullptr);
        if (changed && e == ErrorCode::Success && (mask >> blockSize))
            std::abort();
        if (texts.size() < blockSize)
            std::abort();
        break;
    }
    }
    return 0;
}
