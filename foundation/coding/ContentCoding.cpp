// SPDX-License-Identifier: Apache-2.0

// The transfer codings of ContentCoding: the loops of base64.h and quoted_printable.h with
// buffers of ours around them.  Called wherever a body is set or read; encoded words and
// extended parameter values are in EncodedWords.cpp and StarEncoded.cpp.

#include "foundation/ContentCoding.h"

#include <algorithm>
#include <cstdint>

#include "foundation/DataBuffer.h"
#include "foundation/StringBuffer.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/base64_footer.h"
#include "foundation/coding/quoted_printable.h"

using namespace mimetree::inner;

namespace {

// Each grows the output once, to a bound that is known before, and gives back the rest.  What
// stands in the output itself would move while it is read.

template <class Buffer, class Encode>
bool appendEncoded(const void* data, unsigned int size, uint64_t bound, Buffer& out,
                   Encode encode) {
    if (!data || size == 0) return true;
    if (out.owns(data)) {
        Buffer apart;
        return appendEncoded(data, size, bound, apart, encode) && out.append(apart);
    }
    // Limit: a buffer holds less than 4 GiB.
    if (bound > UINT32_MAX) {
        out.markFailed();
        return false;
    }
    const auto room = static_cast<unsigned int>(bound);
    char* const start = reinterpret_cast<char*>(out.extend(room));
    if (start == nullptr) return false;
    const char* const end = encode(static_cast<const unsigned char*>(data), size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    return true;
}

template <class Decode>
bool appendDecoded(const char* text, unsigned int size, size_t bound, DataBuffer& out,
                   Decode decode) {
    if (size == 0) return true;
    if (out.owns(text)) {
        DataBuffer apart;
        return appendDecoded(text, size, bound, apart, decode) && out.append(apart);
    }
    const auto room = static_cast<unsigned int>(bound);
    unsigned char* const start = out.extend(room);
    if (start == nullptr) return false;
    const unsigned char* const end = decode(text, size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    out.shrinkToFit();
    return true;
}

// Room for text that is decoded piece by piece: for one piece, then for as much as that says of
// the rest, and then for all that the rest may be.  A bound from the beginning would count line
// breaks as text.
class Base64Room {
public:
    Base64Room(DataBuffer& out, const char* text, unsigned int size)
        : m_out(out), m_before(out.getSize()), m_text(text), m_end(text + size) {}

    // Where a piece is to be written that wants `n` bytes; null when memory is exhausted.
    unsigned char* make(const char* at, size_t n) {
        const uint64_t needed = uint64_t{m_out.getSize()} + n;
        if (needed > m_reserved) {
            const uint64_t most = m_out.getSize() + base64::decodedBound(rest(at)) + n;
            m_reserved = at == m_text     ? needed
                         : m_hasEstimated ? most
                                          : std::min(most, std::max(needed, likely(at) + n));
            m_hasEstimated = at != m_text;
            if (!m_out.reserve(static_cast<unsigned>(std::min<uint64_t>(m_reserved, UINT32_MAX))))
                return nullptr;
        }
        return m_out.extend(static_cast<unsigned>(n));
    }

private:
    size_t rest(const char* at) const { return static_cast<size_t>(m_end - at); }

    uint64_t likely(const char* at) const {
        const uint64_t made = m_out.getSize() - m_before;
        const uint64_t more = made * rest(at) / static_cast<size_t>(at - m_text);
        return m_out.getSize() + more + more / 256;
    }

    DataBuffer& m_out;
    const unsigned m_before;
    const char* const m_text;
    const char* const m_end;
    uint64_t m_reserved = 0;
    bool m_hasEstimated = false;
};

constexpr size_t kBase64Piece = 64 * 1024;

bool appendLongBase64(const char* text, unsigned int size, DataBuffer& out) {
    const unsigned before = out.getSize();
    Base64Room room(out, text, size);
    const char* const end = text + size;
    for (const char* p = text; p != end;) {
        const size_t taken = std::min(static_cast<size_t>(end - p), kBase64Piece);
        const size_t n = base64::decodedBound(taken) + base64::kGroupBytes;
        unsigned char* const start = room.make(p, n);
        if (start == nullptr) {
            out.shorten(out.getSize() - before);
            return false;
        }
        const unsigned char* const stop = base64::decodePiece(p, p + taken, end, start);
        out.shorten(static_cast<unsigned int>(n - static_cast<size_t>(stop - start)));
    }
    out.shrinkToFit();
    return true;
}

template <class Buffer>
bool appendBase64(const void* data, unsigned int size, Buffer& out) {
    return appendEncoded(data, size, base64::encodedSize(size), out, base64::encode);
}

// The end of the last CRLF, or `p` when there is none.
const unsigned char* afterLastBreak(const unsigned char* p, const unsigned char* end) {
    for (; end - p >= 2; --end)
        if (end[-2] == '\r' && end[-1] == '\n') return end;
    return p;
}

// Appends lines as long as there is room for whatever comes of them, and for as much of the rest as
// they say, which nobody needs to look at twice then.  Gives where it stopped.
template <class Buffer>
const unsigned char* appendQuotedLines(const unsigned char* data, const unsigned char* end,
                                       Buffer& out) {
    constexpr ptrdiff_t kPiece = 32 * 1024;
    const uint64_t most = quoted_printable::mostEncoded(kPiece);
    const unsigned before = out.getSize();
    const unsigned char* p = data;
    const auto hasRoom = [&] {
        const auto taken = static_cast<uint64_t>(p - data), rest = static_cast<uint64_t>(end - p);
        return out.spare() >= most && out.spare() * taken >= (out.getSize() - before) * rest;
    };
    while (end - p > kPiece && hasRoom()) {
        const unsigned char* const next = afterLastBreak(p, p + kPiece);
        const auto n = static_cast<unsigned>(next - p);
        if (n == 0 || !appendEncoded(p, n, most, out, quoted_printable::encode)) break;
        p = next;
    }
    return p;
}

template <class Buffer>
bool appendQuotedPrintable(const void* text, unsigned int size, Buffer& out) {
    if (!text) return true;
    const unsigned before = out.getSize();
    const auto* const data = static_cast<const unsigned char*>(text);
    const unsigned char* const p = appendQuotedLines(data, data + size, out);
    const unsigned rest = size - static_cast<unsigned>(p - data);
    const uint64_t most = quoted_printable::mostEncoded(rest);
    const uint64_t bound = out.spare() >= most ? most : quoted_printable::encodedBound(p, rest);
    if (appendEncoded(p, rest, bound, out, quoted_printable::encode)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

}  // namespace

bool ContentCoding::encodeBase64(const void* data, unsigned int size, StringBuffer& out) const {
    return appendBase64(data, size, out);
}

bool ContentCoding::encodeBase64(const void* data, unsigned int size, DataBuffer& out) const {
    return appendBase64(data, size, out);
}

bool ContentCoding::decodeBase64ToDb(const char* text, unsigned int size, DataBuffer& out) {
    const auto used = static_cast<unsigned int>(text ? base64::sizeWithoutFooter(text, size) : 0);
    if (used > 4 * kBase64Piece && !out.owns(text)) return appendLongBase64(text, used, out);
    return appendDecoded(text, used, base64::decodedBound(used), out, base64::decode);
}

bool ContentCoding::encodeQuotedPrintable(const void* data, unsigned int size,
                                          StringBuffer& out) const {
    return appendQuotedPrintable(data, size, out);
}

bool ContentCoding::encodeQuotedPrintable(const void* data, unsigned int size,
                                          DataBuffer& out) const {
    return appendQuotedPrintable(data, size, out);
}

bool ContentCoding::decodeQuotedPrintable(const char* text, unsigned int size,
                                          DataBuffer& out) const {
    return !text || appendDecoded(text, size, size, out, quoted_printable::decode);
}
