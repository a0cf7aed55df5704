// SPDX-License-Identifier: Apache-2.0
// Findings about the encoded words (RFC 2047) of a header.

#include <algorithm>
#include <cstring>

#include "face/findings/entity.h"
#include "face/message/tree.h"
#include "foundation/ContentCoding.h"
#include "foundation/EncodingConvert.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/utf8.h"
#include "foundation/charset/code_pages.h"
#include "foundation/header/header_fields.h"

namespace mimetree::inner::check {

namespace {

constexpr ByteSet kCharsetBytes = kTokenBytes.without("?").with("*");
constexpr ByteSet kBase64Word = ByteSet("+/=").range('A', 'Z').range('a', 'z').range('0', '9');
constexpr ByteSet kBreak("\r\n");
// RFC 2047 2.
constexpr size_t kLongestWord = 75;
// What may stand beside a word without a blank: in comments, and between mailboxes.
constexpr ByteSet kBeforeWord(" \t\r\n(,:;\""), kBehindWord(" \t\r\n),;\"<");

// "=?charset?encoding?text?=", or what looks like the beginning of one.
struct Word {
    std::string_view whole;
    std::string_view charset;  // without the language (RFC 2231 5)
    char encoding = '\0';      // 'B', 'Q', or what else stands there
    std::string_view text;
    bool isClosed = false;

    bool isRight() const {
        return isClosed && (encoding == 'B' || encoding == 'Q') &&
               text.find_first_of(" \t\r\n") == text.npos && hasRightText();
    }

private:
    bool hasRightText() const {
        if (encoding == 'B')
            return std::all_of(text.begin(), text.end(), [](char c) { return kBase64Word.has(c); });
        for (size_t at = 0; (at = text.find('=', at)) != text.npos; at += 3)
            if (at + 2 >= text.size() || bytes::hexValue(text[at + 1]) < 0 ||
                bytes::hexValue(text[at + 2]) < 0)
                return false;
        return true;
    }
};

// Goes through the words of a value.
class Words {
public:
    explicit Words(std::string_view value) : m_value(value) {}

    bool next(Word& word) {
        for (;;) {
            m_at = m_value.find("=?", m_at);
            if (m_at == m_value.npos) return false;
            const bool isWord = read(m_value.substr(m_at), word);
            m_at += isWord ? word.whole.size() : 2;
            if (isWord) return true;
        }
    }

private:
    // `text` begins with "=?".  Without an end, the word ends with its line.
    bool read(std::string_view text, Word& word) {
        size_t at = 2;
        while (at < text.size() && kCharsetBytes.has(text[at])) ++at;
        if (at == 2 || at + 2 >= text.size() || text[at] != '?' || text[at + 2] != '?')
            return false;
        word.charset = text.substr(2, at - 2);
        word.charset = word.charset.substr(0, word.charset.find('*'));
        word.encoding = static_cast<char>(bytes::lower(text[at + 1]) & ~0x20);
        const std::string_view rest = text.substr(at + 3);
        size_t size = 0;
        while (size < rest.size() && !kBreak.has(rest[size]) &&
               !rest.substr(size).starts_with("?="))
            ++size;
        word.isClosed = rest.substr(size).starts_with("?=");
        word.text = rest.substr(0, size);
        word.whole = text.substr(0, at + 3 + word.text.size() + 2 * word.isClosed);
        return true;
    }

    const std::string_view m_value;
    size_t m_at = 0;
};

// Hands every word of the header to `take`, with its field.  In values such as URLs, which hold
// "=?" of their own, none is looked for.
template <class Take>
void eachWord(const Entity& e, const Take& take) {
    for (const Field& field : e.fields) {
        if (field.name.empty() || field.value.find("=?") == field.value.npos ||
            grammarOf(field.name.data(), field.name.size()) == FieldGrammar::Opaque)
            continue;
        Words words(field.value);
        for (Word word; words.next(word);) take(field, word);
    }
}

template <class Take>
void eachRightWord(const Entity& e, const Take& take) {
    eachWord(e, [&](const Field& field, const Word& word) {
        if (word.isRight()) take(field, word);
    });
}

int codePageOf(const Word& word) {
    return _zqCharset::codePageOf(word.charset.data(), static_cast<unsigned>(word.charset.size()));
}

void decode(const Word& word, DataBuffer& out) {
    const auto size = static_cast<unsigned>(word.text.size());
    if (word.encoding == 'B') ContentCoding::decodeBase64ToDb(word.text.data(), size, out);
    else ContentCoding().decodeQuotedPrintable(word.text.data(), size, out);
}

// RFC 2047 5: each word holds whole characters.
bool cutsCharacter(const Word& word) {
    DataBuffer decoded;
    decode(word, decoded);
    const int codePage = codePageOf(word);
    const unsigned char* const p = decoded.getData2();
    const size_t size = decoded.getSize();
    if (codePage == codepage::kUtf8) {
        if (size && (p[0] & 0xC0) == 0x80) return true;
        const size_t valid = size ? utf8::validPrefix(p, size) : 0;
        return valid < size && utf8::isCutSequence(p + valid, size - valid);
    }
    if (!codePage || EncodingConvert::canBeInPlace(codePage)) return false;
    LogNull log;
    DataBuffer text;
    EncodingConvert::EncConvert(codePage, codepage::kUtf8, p, decoded.getSize(), text, log);
    return view(text).ends_with("\xEF\xBF\xBD");
}

// Whether a value up to some place leaves a quoted string or an angle bracket open.
class Nesting {
public:
    void goTo(const char* place) {
        for (; m_at != place; ++m_at) {
            if (m_inQuotes && *m_at == '\\' && m_at + 1 != place) ++m_at;
            else if (*m_at == '"') m_inQuotes = !m_inQuotes;
            else if (!m_inQuotes && (*m_at == '<' || *m_at == '>')) m_inAngles = *m_at == '<';
        }
    }
    void begin(const char* value) {
        m_at = value;
        m_inQuotes = m_inAngles = false;
    }
    bool isOpen() const { return m_inQuotes || m_inAngles; }

private:
    const char* m_at = nullptr;
    bool m_inQuotes = false, m_inAngles = false;
};

bool touchesText(const Field& field, const Word& word) {
    const char* const begin = field.value.data();
    const char* const from = word.whole.data();
    const char* const to = from + word.whole.size();
    return (from != begin && !kBeforeWord.has(from[-1])) ||
           (to != begin + field.value.size() && !kBehindWord.has(*to));
}

}  // namespace

void encodedWordMalformed(const Entity& e, Report& report) {
    eachWord(e, [&](const Field& field, const Word& word) {
        if (!word.isRight())
            report(word.whole.data(), "the encoded word ", Quoted(word.whole), " in ",
                   Quoted(field.name), " is malformed");
    });
}

void encodedWordTooLong(const Entity& e, Report& report) {
    eachRightWord(e, [&](const Field& field, const Word& word) {
        if (word.whole.size() > kLongestWord)
            report(word.whole.data(), "an encoded word in ", field.name, " has ", word.whole.size(),
                   " characters");
    });
}

void encodedWordMisplaced(const Entity& e, Report& report) {
    const Field* current = nullptr;
    Nesting nesting;
    eachRightWord(e, [&](const Field& field, const Word& word) {
        if (current != &field) nesting.begin(field.value.data());
        current = &field;
        const FieldGrammar grammar = grammarOf(field.name.data(), field.name.size());
        const bool isListId = isSameWord(field.name, "List-Id");  // a phrase begins it
        const bool isStructured = grammar == FieldGrammar::Structured && !isListId;
        const bool isParameter = grammar == FieldGrammar::Params;
        const bool isAddress =
            isListId || grammar == FieldGrammar::Addresses || grammar == FieldGrammar::XmlAddresses;
        if (isAddress) nesting.goTo(word.whole.data());
        if (isStructured || isParameter || (isAddress && nesting.isOpen()) ||
            touchesText(field, word))
            report(word.whole.data(), "the encoded word ", Quoted(word.whole), " in ",
                   Quoted(field.name), " stands where none may");
    });
}

void encodedWordCharset(const Entity& e, Report& report) {
    eachRightWord(e, [&](const Field& field, const Word& word) {
        if (!codePageOf(word))
            report(word.whole.data(), "an encoded word in ", field.name, " is in ",
                   Quoted(word.charset), ", which is not known, and was left as it is");
    });
}

void encodedWordCutsCharacter(const Entity& e, Report& report) {
    eachRightWord(e, [&](const Field& field, const Word& word) {
        if (cutsCharacter(word))
            report(word.whole.data(), "the encoded word ", Quoted(word.whole), " in ",
                   Quoted(field.name), " ends or begins within a character");
    });
}

}  // namespace mimetree::inner::check
