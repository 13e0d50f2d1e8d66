// Raw deflate of uploaded file data (see Deflater.h).
#include "shared/fileloader/Deflater.h"

namespace Vaxo::Ubrix::Shared {

Deflater::~Deflater() {
    if (m_active)
        deflateEnd(&m_stream);
}

int Deflater::init(int level) {
    if (m_active) {
        deflateEnd(&m_stream);
        m_active = false;
    }
    m_stream = z_stream{};
    int rc = deflateInit2(&m_stream, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    m_active = rc == Z_OK;
    return rc;
}

int Deflater::compress(const unsigned char* data, std::size_t length, bool finish, std::vector<unsigned char>& out) {
    if (!m_active)
        return Z_STREAM_ERROR;
    m_stream.next_in = const_cast<unsigned char*>(data);
    m_stream.avail_in = static_cast<uInt>(length);
    const int flush = finish ? Z_FINISH : Z_NO_FLUSH;
    for (;;) {
        std::size_t used = out.size();
        std::size_t room = deflateBound(&m_stream, m_stream.avail_in) + 64;
        out.resize(used + room);
        m_stream.next_out = out.data() + used;
        m_stream.avail_out = static_cast<uInt>(room);
        int rc = deflate(&m_stream, flush);
        out.resize(used + (room - m_stream.avail_out));
        if (rc == Z_STREAM_END)
            return Z_OK;
        if (rc != Z_OK && rc != Z_BUF_ERROR)
            return rc;
        if (!finish && m_stream.avail_in == 0 && m_stream.avail_out != 0)
            return Z_OK;
        if (rc == Z_BUF_ERROR && m_stream.avail_out != 0)
            return rc; // no progress possible
    }
}

} // namespace Vaxo::Ubrix::Shared
