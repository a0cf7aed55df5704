// SPDX-License-Identifier: Apache-2.0

// Transfer codings and charset conversions of this engine beside GMime, GLib, ICU, iconv and
// modpbase64, on a megabyte of each; rates count input.  Prints lines as peer.h's programs do:
//   CODER OPERATION MB/s WRITTEN

#include <gmime/gmime.h>
#include <iconv.h>
#include <modp_b64.h>
#include <unicode/ucnv.h>

#include <algorithm>

#include "../workloads.h"
#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"
#include "foundation/_zqUtf.h"
#include "peer.h"

namespace {

std::vector<unsigned char> g_room(8 << 20);

const unsigned char* bytes(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}
unsigned size(const std::string& s) { return static_cast<unsigned>(s.size()); }

template <class Pass>
void coder(const std::string& name, const std::string& operation, const std::string& input,
           Pass pass) {
    measure(name + " " + operation, static_cast<double>(input.size()),
            [&]() -> uint64_t { return static_cast<uint64_t>(pass()); });
}

// Lines of 76 characters for a coder that knows no line breaks.
size_t modpDecode(const std::string& text) {
    char* out = reinterpret_cast<char*>(g_room.data());
    for (size_t at = 0; at < text.size(); at += 78)
        out += modp_b64_decode(out, &text[at], std::min<size_t>(76, text.size() - at));
    return static_cast<size_t>(out - reinterpret_cast<char*>(g_room.data()));
}

size_t modpEncode(const std::string& data) {
    char* out = reinterpret_cast<char*>(g_room.data());
    for (size_t at = 0; at < data.size(); at += 57) {
        out += modp_b64_encode(out, &data[at], std::min<size_t>(57, data.size() - at));
        *out++ = '\r';
        *out++ = '\n';
    }
    return static_cast<size_t>(out - reinterpret_cast<char*>(g_room.data()));
}

void base64Coders(const std::string& data) {
    StringBuffer encoded;
    ContentCoding().encodeBase64(data.data(), size(data), encoded);
    const std::string text(encoded.getString(), encoded.getSize());
    DataBuffer out;
    coder("mimetree", "base64-decode", text, [&] {
        out.shorten(out.getSize());
        ContentCoding::decodeBase64ToDb(text.data(), size(text), out);
        return out.getSize();
    });
    coder("gmime", "base64-decode", text, [&] {
        int state = 0;
        guint32 save = 0;
        return g_mime_encoding_base64_decode_step(bytes(text), text.size(), g_room.data(), &state,
                                                  &save);
    });
    coder("glib", "base64-decode", text, [&] {
        int state = 0;
        guint save = 0;
        return g_base64_decode_step(text.data(), static_cast<gssize>(text.size()), g_room.data(),
                                    &state, &save);
    });
    coder("modpbase64", "base64-decode", text, [&] { return modpDecode(text); });
    coder("mimetree", "base64-encode", data, [&] {
        encoded.weakClear();
        ContentCoding().encodeBase64(data.data(), size(data), encoded);
        return encoded.getSize();
    });
    coder("gmime", "base64-encode", data, [&] {
        int state = 0;
        guint32 save = 0;
        return g_mime_encoding_base64_encode_close(bytes(data), data.size(), g_room.data(), &state,
                                                   &save);
    });
    coder("modpbase64", "base64-encode", data, [&] { return modpEncode(data); });
}

void quotedPrintableCoders(const std::string& data, const std::string& kind) {
    StringBuffer encoded;
    ContentCoding().encodeQuotedPrintable(data.data(), size(data), encoded);
    const std::string text(encoded.getString(), encoded.getSize());
    DataBuffer out;
    coder("mimetree", "qp-decode-" + kind, text, [&] {
        out.shorten(out.getSize());
        ContentCoding().decodeQuotedPrintable(text.data(), size(text), out);
        return out.getSize();
    });
    coder("gmime", "qp-decode-" + kind, text, [&] {
        int state = 0;
        guint32 save = 0;
        return g_mime_encoding_quoted_decode_step(bytes(text), text.size(), g_room.data(), &state,
                                                  &save);
    });
    coder("mimetree", "qp-encode-" + kind, data, [&] {
        encoded.weakClear();
        ContentCoding().encodeQuotedPrintable(data.data(), size(data), encoded);
        return encoded.getSize();
    });
    coder("gmime", "qp-encode-" + kind, data, [&] {
        int state = -1;
        guint32 save = 0;
        return g_mime_encoding_quoted_encode_close(bytes(data), data.size(), g_room.data(), &state,
                                                   &save);
    });
}

size_t iconvPass(iconv_t cd, const std::string& text) {
    char *from = const_cast<char*>(text.data()), *to = reinterpret_cast<char*>(g_room.data());
    size_t left = text.size(), room = g_room.size();
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    iconv(cd, &from, &left, &to, &room);
    return g_room.size() - room;
}

int32_t icuPass(UConverter* target, UConverter* source, const std::string& text) {
    char* const start = reinterpret_cast<char*>(g_room.data());
    char* to = start;
    const char* from = text.data();
    UErrorCode error = U_ZERO_ERROR;
    ucnv_convertEx(target, source, &to, start + g_room.size(), &from, from + text.size(), nullptr,
                   nullptr, nullptr, nullptr, true, true, &error);
    return static_cast<int32_t>(to - start);
}

void conversion(const std::string& operation, int fromPage, int toPage, const char* from,
                const char* to, const std::string& text) {
    DataBuffer out;
    LogNull log;
    coder("mimetree", operation, text, [&] {
        out.shorten(out.getSize());
        EncodingConvert::EncConvert(fromPage, toPage, bytes(text), size(text), out, log);
        return out.getSize();
    });
    const iconv_t cd = iconv_open(to, from);
    coder("iconv", operation, text, [&] { return iconvPass(cd, text); });
    iconv_close(cd);
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const source = ucnv_open(from, &error);
    UConverter* const target = ucnv_open(to, &error);
    coder("icu", operation, text, [&] { return icuPass(target, source, text); });
    ucnv_close(source);
    ucnv_close(target);
}

struct Charset {
    const char* name;
    int codePage;
};

constexpr Charset kCharsets[] = {{"iso-8859-1", 28591}, {"windows-1252", 1252}, {"utf-16le", 1200},
                                 {"gb2312", 936},       {"big5", 950},          {"euc-kr", 949},
                                 {"shift_jis", 932},    {"euc-jp", 51932}};

}  // namespace

int main() {
    g_mime_init();
    base64Coders(makeCodecText("random"));
    quotedPrintableCoders(makeCodecText("western"), "text");
    quotedPrintableCoders(makeCodecText("gb2312"), "gb2312");
    const std::string utf8 = makeCodecText("western");
    coder("mimetree", "utf8-check", utf8,
          [&] { return _zqUtf::isValidUtf8(bytes(utf8), size(utf8), 0); });
    coder("glib", "utf8-check", utf8,
          [&] { return g_utf8_validate(utf8.data(), static_cast<gssize>(utf8.size()), nullptr); });
    for (const Charset& charset : kCharsets) {
        const std::string text = makeCodecText(charset.name);
        conversion(std::string(charset.name) + "-to-utf8", charset.codePage, 65001, charset.name,
                   "utf-8", text);
        DataBuffer unicode;
        LogNull log;
        EncodingConvert::EncConvert(charset.codePage, 65001, bytes(text), size(text), unicode, log);
        conversion(
            "utf8-to-" + std::string(charset.name), 65001, charset.codePage, "utf-8", charset.name,
            std::string(reinterpret_cast<const char*>(unicode.getData2()), unicode.getSize()));
    }
}
