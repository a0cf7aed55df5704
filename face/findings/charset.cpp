// SPDX-License-Identifier: Apache-2.0
// Findings about the charsets of texts: what the label says, what the bytes are, and what the
// text was read as.

#include "face/findings/entity.h"
#include "face/message/tree.h"
#include "foundation/ContentCoding.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/bytes.h"
#include "foundation/charset/code_pages.h"

namespace mimetree::inner::check {

namespace {

int codePageOf(std::string_view label) {
    return _zqCharset::codePageOf(label.data(), static_cast<unsigned>(label.size()));
}

// What is known of the charset of a text.
struct Label {
    explicit Label(const Entity& e) {
        const Param* const param = e.type.find("charset");
        isText = e.isTextLeaf();
        text = param ? trimmedText(param->written) : std::string_view();
        place = param ? param->place : e.type.field ? e.type.field->whole.data() : e.at();
        codePage = codePageOf(text);
        usedCodePage = e.part.node().m_charset.getCodePage();
        used = e.part.node().m_charset.getName();
        const std::string_view body = view(e.part.node().m_mimeBody);
        isHigh = !bytes::isAscii(body.data(), body.size());
    }
    bool isRead(int as) const { return isText && codePage != as && usedCodePage == as; }

    bool isText;
    std::string_view text;
    const char* place;
    int codePage;
    int usedCodePage;
    std::string_view used;
    bool isHigh;  // beyond ASCII once it was read
};

std::string_view usedOr(const Label& label, std::string_view other) {
    return label.usedCodePage && !label.used.empty() ? label.used : other;
}

// The bytes of a text as they came out of the coding.
bool isValidUtf8(const Entity& e) {
    const std::string_view raw = e.body();
    const auto size = static_cast<unsigned>(raw.size());
    DataBuffer decoded;
    if (e.coding == "base64") ContentCoding::decodeBase64ToDb(raw.data(), size, decoded);
    else if (e.coding == "quoted-printable")
        ContentCoding().decodeQuotedPrintable(raw.data(), size, decoded);
    const std::string_view text = e.isIdentity() ? raw : view(decoded);
    return isUtf8(text);
}

bool holdsReplacement(const Entity& e) {
    return view(e.part.node().m_mimeBody).find("\xEF\xBF\xBD") != std::string_view::npos;
}

}  // namespace

void charsetUnknown(const Entity& e, Report& report) {
    const Label label(e);
    if (!label.isText || label.text.empty() || label.codePage) return;
    report(label.place, "the charset ", Quoted(label.text), " is not known; the text was read as ",
           usedOr(label, label.isHigh ? "it stands" : "us-ascii"));
}

void charsetWrong(const Entity& e, Report& report) {
    const Label label(e);
    if (!label.isText || label.codePage != codepage::kAscii || !label.isHigh) return;
    const bool isRelabelled = label.usedCodePage != codepage::kAscii;
    report(label.place, "the text is not in us-ascii, as its label says, and was read as ",
           isRelabelled ? label.used : std::string_view("iso-8859-1"));
}

void charsetMissing(const Entity& e, Report& report) {
    const Label label(e);
    if (!label.isText || !label.text.empty() || !label.isHigh) return;
    if (e.part.type() == "text/html" && label.usedCodePage && label.usedCodePage != codepage::kUtf8)
        return;  // it said so itself
    report(label.place, "the text is beyond ASCII and names no charset; it was read as ",
           usedOr(label, "iso-8859-1"));
}

void charsetInvalidBytes(const Entity& e, Report& report) {
    const Label label(e);
    if (!label.isText || !label.isHigh || !label.codePage || label.usedCodePage != label.codePage)
        return;
    const bool isUtf8 = label.codePage == codepage::kUtf8;
    if (isUtf8 ? !isValidUtf8(e) : holdsReplacement(e))
        report(e.body().data(), "the text holds bytes that are none of ", Quoted(label.text));
}

void relabelledUtf8(const Entity& e, Report& report) {
    const Label label(e);
    if (label.isRead(codepage::kUtf8) && label.codePage && label.codePage != codepage::kAscii)
        report(label.place, "the text is in UTF-8, and not in ", Quoted(label.text),
               " as its label says");
}

void relabelled1252(const Entity& e, Report& report) {
    const Label label(e);
    if (label.isRead(codepage::kWindows1252) && label.codePage &&
        label.codePage != codepage::kAscii)
        report(label.place, "the text is in windows-1252, and not in ", Quoted(label.text),
               " as its label says");
}

void charsetFromMeta(const Entity& e, Report& report) {
    const Label label(e);
    if (label.isText && label.text.empty() && e.part.type() == "text/html" && label.usedCodePage &&
        label.isHigh)
        report(label.place, "the page alone says that it is in ", Quoted(label.used));
}

}  // namespace mimetree::inner::check
