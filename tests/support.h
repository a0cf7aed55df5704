// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the tests share: the engine's buffers to and from standard strings, inputs that end
// exactly where their memory does, rows of input and output, and made-up texts.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/utf8.h"

inline std::string str(const StringBuffer& s) { return std::string(s.getString(), s.getSize()); }

inline std::string str(const DataBuffer& d) {
    return std::string(reinterpret_cast<const char*>(d.getData2()), d.getSize());
}

inline StringBuffer sb(std::string_view text) {
    StringBuffer s;
    s.appendN(text.data(), static_cast<unsigned>(text.size()));
    return s;
}

inline DataBuffer db(std::string_view bytes) {
    DataBuffer d;
    d.append(bytes.data(), static_cast<unsigned>(bytes.size()));
    return d;
}

// A heap copy of exactly the text's size, so that the sanitizer sees one byte too far.
class Exact {
public:
    explicit Exact(std::string_view text) : m_size(text.size()), m_data(new char[text.size()]) {
        if (m_size) std::memcpy(m_data.get(), text.data(), m_size);
    }
    const char* data() const { return m_data.get(); }
    unsigned size() const { return static_cast<unsigned>(m_size); }

private:
    size_t m_size;
    std::unique_ptr<char[]> m_data;
};

// From memory that ends where the text does.
inline std::string converted(int from, int to, std::string_view text) {
    const Exact in(text);
    DataBuffer out;
    LogNull log;
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    EXPECT_TRUE(EncodingConvert::EncConvert(from, to, p, in.size(), out, log));
    return str(out);
}

// A character in UTF-8.
inline std::string character(char32_t c) {
    unsigned char text[4] = {};
    const auto size = static_cast<size_t>(mimetree::inner::utf8::put(c, text) - text);
    return std::string(reinterpret_cast<const char*>(text), size);
}

inline std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

inline const unsigned char* raw(std::string_view s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

// What a function makes of a text.
struct TextRow {
    const char* what;
    std::string in, out;
};

template <class Rows, class Function>
void expectRows(const Rows& rows, Function function) {
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(function(row.in), row.out);
    }
}

inline std::string repeated(std::string_view s, size_t n) {
    std::string all;
    while (n--) all += s;
    return all;
}

// `n` bytes of an alphabet, or of all values when it is empty.
inline std::string randomBytes(std::mt19937& random, size_t n, std::string_view alphabet = "") {
    std::string text(n, '\0');
    for (char& c : text) {
        const auto value = random();
        c = alphabet.empty() ? static_cast<char>(value) : alphabet[value % alphabet.size()];
    }
    return text;
}

// How often a law is tried: `usual`, or what the environment asks for.
inline int lawRuns(int usual) {
    const char* asked = std::getenv("MIMETREE_LAW_RUNS");
    return asked ? std::atoi(asked) : usual;
}
