// Raw deflate (no zlib or gzip wrapper) of uploaded file data, one stream per file.
#pragma once

#include <cstddef>
#include <vector>

#include <zlib.h>

namespace Vaxo::Ubrix::Shared {

class Deflater {
public:
    Deflater() = default;
    ~Deflater();
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    // Level 1 (fastest) to 9 (smallest). Returns zlib's status: Z_OK on success.
    int init(int level);
    // Compresses `length` bytes and appends what deflate produced to `out` (possibly nothing);
    // `finish` ends the stream. Returns Z_OK or zlib's error status.
    int compress(const unsigned char* data, std::size_t length, bool finish, std::vector<unsigned char>& out);

private:
    z_stream m_stream{};
    bool m_active = false;
};

} // namespace Vaxo::Ubrix::Shared
