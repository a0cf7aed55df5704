// SPDX-License-Identifier: Apache-2.0

// GMime 3: texts are asked for in UTF-8, everything else decoded.  The input is not copied.

#include <gmime/gmime.h>

#include "peer.h"

namespace {

struct Kept {
    GByteArray input;
    GMimeMessage* message;
};

void* keep(std::string_view mail) {
    auto* const bytes = reinterpret_cast<guint8*>(const_cast<char*>(mail.data()));
    auto* const kept = new Kept{{bytes, static_cast<guint>(mail.size())}, nullptr};
    GMimeStream* const stream = g_mime_stream_mem_new();
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream), FALSE);
    g_mime_stream_mem_set_byte_array(GMIME_STREAM_MEM(stream), &kept->input);
    GMimeParser* const parser = g_mime_parser_new_with_stream(stream);
    kept->message = g_mime_parser_construct_message(parser, nullptr);
    g_object_unref(parser);
    g_object_unref(stream);
    return kept;
}

void drop(void* kept) {
    g_object_unref(static_cast<Kept*>(kept)->message);
    delete static_cast<Kept*>(kept);
}

uint64_t decoded(GMimeObject* object) {
    uint64_t sum = 0;
    if (GMIME_IS_MULTIPART(object)) {
        auto* const parts = GMIME_MULTIPART(object);
        for (int i = 0; i < g_mime_multipart_get_count(parts); ++i)
            sum += decoded(g_mime_multipart_get_part(parts, i));
    } else if (GMIME_IS_MESSAGE_PART(object)) {
        auto* const inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
        if (inner) sum = decoded(g_mime_message_get_mime_part(inner));
    } else if (GMIME_IS_TEXT_PART(object)) {
        char* const text = g_mime_text_part_get_text(GMIME_TEXT_PART(object));
        if (text) sum = std::strlen(text);
        g_free(text);
    } else if (GMIME_IS_PART(object)) {
        GMimeStream* const out = g_mime_stream_mem_new();
        g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(GMIME_PART(object)), out);
        sum = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(out))->len;
        g_object_unref(out);
    }
    return sum;
}

uint64_t load(std::string_view mail) {
    void* const kept = keep(mail);
    const uint64_t sum = decoded(g_mime_message_get_mime_part(static_cast<Kept*>(kept)->message));
    drop(kept);
    return sum;
}

uint64_t write(void* kept) {
    static GMimeFormatOptions* const crlf = [] {
        GMimeFormatOptions* const options = g_mime_format_options_new();
        g_mime_format_options_set_newline_format(options, GMIME_NEWLINE_FORMAT_DOS);
        return options;
    }();
    GMimeStream* const out = g_mime_stream_mem_new();
    g_mime_object_write_to_stream(GMIME_OBJECT(static_cast<Kept*>(kept)->message), crlf, out);
    const uint64_t written = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(out))->len;
    g_object_unref(out);
    return written;
}

}  // namespace

int main(int argc, char** argv) {
    g_mime_init();
    return measureAll({load, keep, write, drop}, argc, argv);
}
