// SPDX-License-Identifier: Apache-2.0

// Finds the charset that an HTML document declares.  Called when a text/html leaf is loaded
// without a charset of its own and when its body is re-encoded.  The search is the prescan of the
// HTML standard: comments are skipped, tags are read attribute by attribute, all else is passed
// over; each byte is looked at once.

#include "foundation/_zqHtmlHelp.h"

#include <string_view>

#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

using std::string_view;

// Limit: a head whose declaration comes later than this is not searched for it.  Heads with long
// style sheets in front of their META tags stay well below.
constexpr size_t kSearched = 8192;

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

string_view metaCharset(Cursor in) {
    while (!in.atEnd()) {
        in.take([](char c) { return c != '<'; });
        if (beginsWith(in.rest(), "<!--")) {
            in.skip(2);  // the "--" of "<!-->" opens and closes
            in.skipPast("-->");
            continue;
        }
        in.skip(1);
        const bool isEndTag = in.here() == '/';
        if (isEndTag) in.skip(1);
        if (!isLetter(in.here())) {
            if (isEndTag || in.here() == '!' || in.here() == '?') in.skipPast(">");
            continue;
        }
        const string_view name = in.take(isTagName);
        if (!isEndTag && equals(name, "body")) break;
        if (!isEndTag && equals(name, "meta")) {
            const string_view charset = charsetInMeta(in);
            if (!charset.empty()) return charset;
            continue;
        }
        for (Attribute attribute; readAttribute(in, attribute);) {
        }
    }
    return {};
}

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
    string_view head = string_view(html, size).substr(0, kSearched);
    if (size > kSearched) head = head.substr(0, head.rfind('>') + 1);  // no tag is cut
    string_view found = metaCharset(Cursor(head));
    if (found.empty()) found = xmlEncoding(head);
    charset.appendN(found.data(), static_cast<unsigned int>(found.size()));
}
