// SPDX-License-Identifier: Apache-2.0
// Decompression by zlib, a piece at a time.

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <new>

#include "cli/input/gzip.h"

namespace {

constexpr size_t kReadSize = size_t{64} << 10;

// RFC 1952 2.3.1, with zlib's sign that gzip and nothing else is expected.
constexpr int kWindowBits = 15 + 16;

// Limit: a message that grows more than a hundredfold is believed for so long only, and refused
// long before it has filled the memory.
constexpr uint64_t kMostGrown = uint64_t{256} << 20;
constexpr uint64_t kMostGrowth = 100;

class ZlibSource : public GzipSource {
public:
    explicit ZlibSource(std::unique_ptr<mimetree::ByteSource> from) : m_from(std::move(from)) {
        if (inflateInit2(&m_stream, kWindowBits) != Z_OK) throw std::bad_alloc();
    }
    ZlibSource(const ZlibSource&) = delete;
    ZlibSource& operator=(const ZlibSource&) = delete;
    ~ZlibSource() override { inflateEnd(&m_stream); }

    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        m_stream.next_out = reinterpret_cast<Bytef*>(to);
        m_stream.avail_out = static_cast<uInt>(std::min(size, size_t{1} << 30));
        const uInt wanted = m_stream.avail_out;
        while (m_stream.avail_out == wanted) {
            if (m_stream.avail_in == 0 && !m_isAtEnd)
                if (const std::ptrdiff_t error = fill()) return error;
            if (!inflateSome()) return -kGzipDamaged;
            const bool isStuck = m_isAtEnd && m_stream.avail_in == 0;
            if (isStuck && m_stream.avail_out == wanted) return m_isBetween ? 0 : -kGzipDamaged;
        }
        m_out += wanted - m_stream.avail_out;
        const bool isBomb = m_out > kMostGrown && m_out / kMostGrowth > m_in;
        return isBomb ? -kGzipBomb : static_cast<std::ptrdiff_t>(wanted - m_stream.avail_out);
    }

    void beginMessage() noexcept override { m_in = m_out = 0; }

private:
    std::ptrdiff_t fill() noexcept {
        const std::ptrdiff_t got = m_from->read(m_input, sizeof m_input);
        if (got < 0) return got;
        m_isAtEnd = got == 0;
        m_in += static_cast<uint64_t>(got);
        m_stream.next_in = reinterpret_cast<Bytef*>(m_input);
        m_stream.avail_in = static_cast<uInt>(got);
        return 0;
    }

    // RFC 1952 2.2: members follow each other.  Tolerated: zeros behind the last, of a tape.
    bool inflateSome() noexcept {
        if (m_isBetween) {
            while (m_stream.avail_in > 0 && *m_stream.next_in == 0)
                ++m_stream.next_in, --m_stream.avail_in;
            if (m_stream.avail_in == 0) return true;
            inflateReset(&m_stream);
        }
        const int done = inflate(&m_stream, Z_NO_FLUSH);
        m_isBetween = done == Z_STREAM_END;
        return done == Z_OK || done == Z_STREAM_END || done == Z_BUF_ERROR;
    }

    const std::unique_ptr<mimetree::ByteSource> m_from;
    z_stream m_stream{};
    char m_input[kReadSize];
    bool m_isAtEnd = false;
    bool m_isBetween = false;  // two members, or behind the last
    uint64_t m_in = 0, m_out = 0;
};

}  // namespace

std::unique_ptr<GzipSource> unzipped(std::unique_ptr<mimetree::ByteSource> from) {
    return std::make_unique<ZlibSource>(std::move(from));
}

std::string_view gzipLibrary() { return "zlib " ZLIB_VERSION; }
