// SPDX-License-Identifier: Apache-2.0

// Finds the charset that an HTML document declares.  Called when a text/html leaf is loaded
// without a charset of its own and when its body is re-encoded.  The search is the prescan of the
// HTML standard, but to the end of the head however long that is: comments, scripts and styles
// are skipped, tags are read attribute by attribute, all else is passed over.

#include "foundation/_zqHtmlHelp.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

using std::string_view;

// Tolerated: a declaration behind what belongs into the body, where there are neither </head> nor
// <body>.  Limit: so far only, as a page is not scanned whole for what its head must say.
constexpr std::ptrdiff_t kSearchedBody = 8192;

bool isSpace(char c) { return bytes::isSpace(c) || c == '\f'; }

bool isLetter(char c) { return bytes::lower(c) >= 'a' && bytes::lower(c) <= 'z'; }

bool equals(string_view a, string_view b) {
    return a.size() == b.size() && bytes::equalIgnoreCase(a.data(), b.data(), a.size());
}

bool beginsWith(string_view text, string_view prefix) {
    return equals(text.substr(0, prefix.size()), prefix);
}

string_view trimmed(string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

// Reads from the front of a text.
class Cursor {
public:
    explicit Cursor(string_view text) : m_rest(text) {}

    bool atEnd() const { return m_rest.empty(); }
    char here() const { return m_rest.empty() ? '\0' : m_rest.front(); }
    string_view rest() const { return m_rest; }
    void skip(size_t n) { m_rest.remove_prefix(n < m_rest.size() ? n : m_rest.size()); }

    // To behind the next occurrence, or to the end.
    void skipPast(string_view what) {
        const size_t at = m_rest.find(what);
        skip(at == string_view::npos ? m_rest.size() : at + what.size());
    }

    // To the next such character, or to the end.
    void skipTo(char c) { skip(m_rest.find(c)); }

    template <class Predicate>
    string_view take(Predicate isPart) {
        size_t n = 0;
        while (n < m_rest.size() && isPart(m_rest[n])) ++n;
        const string_view taken = m_rest.substr(0, n);
        skip(n);
        return taken;
    }
    void skipSpace() { take(isSpace); }

    // A value in quotes of either kind, or one that `isPart` describes.  A quotation without
    // an end goes to the end.
    template <class Predicate>
    string_view takeValue(Predicate isPart) {
        const char quote = here();
        if (quote != '"' && quote != '\'') return take(isPart);
        skip(1);
        const string_view value = take([quote](char c) { return c != quote; });
        skip(1);
        return value;
    }

private:
    string_view m_rest;
};

struct Attribute {
    string_view name, value;
};

// False at the end of the tag, which is then skipped.
bool readAttribute(Cursor& in, Attribute& attribute) {
    in.take([](char c) { return isSpace(c) || c == '/'; });
    if (in.atEnd() || in.here() == '>') {
        in.skip(1);
        return false;
    }
    const size_t sign = in.here() == '=' ? 1 : 0;  // a name may begin with one
    const char* const start = in.rest().data();
    in.skip(sign);
    const size_t n =
        in.take([](char c) { return !isSpace(c) && c != '=' && c != '>' && c != '/'; }).size();
    attribute = {{start, sign + n}, {}};
    in.skipSpace();
    if (in.here() != '=') return true;
    in.skip(1);
    in.skipSpace();
    attribute.value = in.takeValue([](char c) { return !isSpace(c) && c != '>'; });
    // Tolerated: "<meta charset=utf-8/>", where the slash is part of the value by the letter.
    if (in.here() == '>' && !attribute.value.empty() && attribute.value.back() == '/')
        attribute.value.remove_suffix(1);
    return true;
}

// The charset within a Content-Type value, as "text/html; charset=utf-8".
string_view charsetInContent(string_view content) {
    constexpr string_view kName = "charset";
    for (;;) {
        const char* const hit =
            bytes::findIgnoreCase(content.data(), content.size(), kName.data(), kName.size());
        if (!hit) return {};
        content.remove_prefix(static_cast<size_t>(hit - content.data()) + kName.size());
        Cursor in(content);
        in.skipSpace();
        if (in.here() != '=') continue;
        in.skip(1);
        in.skipSpace();
        return trimmed(in.takeValue([](char c) { return !isSpace(c) && c != ';'; }));
    }
}

// Reads the attributes of a META tag; empty when it declares no charset.
// Tolerated: "content" without http-equiv, and name="Content-Type" in its place.
string_view charsetInMeta(Cursor& in) {
    string_view own, inContent;
    bool isOfOtherKind = false;
    for (Attribute attribute; readAttribute(in, attribute);) {
        const string_view name = attribute.name, value = trimmed(attribute.value);
        if (equals(name, "charset") && own.empty()) own = value;
        else if (equals(name, "content") && inContent.empty()) inContent = charsetInContent(value);
        else if (equals(name, "http-equiv") || equals(name, "name"))
            isOfOtherKind = isOfOtherKind || !equals(value, "content-type");
    }
    return !own.empty() ? own : isOfOtherKind ? string_view() : inContent;
}

bool isTagName(char c) { return !isSpace(c) && c != '>' && c != '/'; }

bool isOneOf(string_view name, std::initializer_list<string_view> names) {
    return std::any_of(names.begin(), names.end(), [&](string_view n) { return equals(name, n); });
}

// Walks over the tags of a document until its head ends.
class MetaSearch {
public:
    explicit MetaSearch(string_view html) : m_in(html), m_begin(html.data()) {}

    string_view run() {
        string_view charset;
        while (toTag() && takeTag(charset)) {
        }
        return charset;
    }

private:
    bool toTag() {
        m_in.skipTo('<');
        return !m_in.atEnd() && (!m_isInBody || m_in.rest().data() - m_begin < kSearchedBody);
    }

    // False when a charset was found, or the head ends.
    bool takeTag(string_view& charset) {
        if (beginsWith(m_in.rest(), "<!--")) {
            m_in.skip(2);  // the "--" of "<!-->" opens and closes
            m_in.skipPast("-->");
            return true;
        }
        m_in.skip(1);
        const bool isEndTag = m_in.here() == '/';
        if (isEndTag) m_in.skip(1);
        if (!isLetter(m_in.here())) {
            if (isEndTag || m_in.here() == '!' || m_in.here() == '?') m_in.skipPast(">");
            return true;
        }
        const string_view name = m_in.take(isTagName);
        return isEndTag ? takeEndTag(name) : takeStartTag(name, charset);
    }

    bool takeEndTag(string_view name) {
        skipAttributes();
        return !equals(name, "head");
    }

    bool takeStartTag(string_view name, string_view& charset) {
        if (isOneOf(name, {"body", "frameset"})) return false;
        if (equals(name, "meta")) {
            charset = charsetInMeta(m_in);
            return charset.empty();
        }
        skipAttributes();
        if (isOneOf(name, {"title", "style", "script"})) skipContent(name);
        else if (equals(name, "head")) m_hasHead = true;
        else if (!m_hasHead && !isOneOf(name, {"html", "base", "link", "noscript", "template"}))
            m_isInBody = true;
        return true;
    }

    void skipAttributes() {
        for (Attribute attribute; readAttribute(m_in, attribute);) {
        }
    }

    // Text and code without tags in it.  Tolerated: content that is never closed counts as none.
    void skipContent(string_view name) {
        if (m_isUnclosed) return;
        const string_view rest = m_in.rest();
        size_t at = 0;
        do {
            at = rest.find("</", at);
            if (at != string_view::npos) at += 2;
        } while (at != string_view::npos && !beginsWith(rest.substr(at), name));
        m_isUnclosed = at == string_view::npos;
        if (!m_isUnclosed) m_in.skip(at - 2);
    }

    Cursor m_in;
    const char* const m_begin;
    bool m_hasHead = false;     // and so an end of its own
    bool m_isInBody = false;    // an element of the body came, though there was no <head>
    bool m_isUnclosed = false;  // content that has no end: nothing more of that kind is skipped
};

// The encoding of the XML declaration with which XHTML may begin.
string_view xmlEncoding(string_view html) {
    if (beginsWith(html, "\xEF\xBB\xBF")) html.remove_prefix(3);
    constexpr string_view kOpening = "<?xml";
    if (!beginsWith(html, kOpening)) return {};
    Cursor in(html.substr(kOpening.size(), html.find('>') - kOpening.size()));
    for (Attribute attribute; readAttribute(in, attribute);)
        if (equals(attribute.name, "encoding")) return trimmed(attribute.value);
    return {};
}

}  // namespace

void _zqHtmlHelp::getCharset(const StringBuffer& html, StringBuffer& charset, LogBase* log) {
    const unsigned int before = charset.getSize();
    getCharset(html.getString(), html.getSize(), charset);
    if (log && charset.getSize() > before)
        log->verboseData("htmlCharset", charset.getString() + before);
}

void _zqHtmlHelp::getCharset(const char* html, unsigned int size, StringBuffer& charset) {
    if (!html) return;
    const string_view document(html, size);
    string_view found = MetaSearch(document).run();
    if (found.empty()) found = xmlEncoding(document);
    charset.appendN(found.data(), static_cast<unsigned int>(found.size()));
}
