// SPDX-License-Identifier: Apache-2.0
// Reads HTML with libxml2, as a stream of tags and texts out of which HtmlLayout makes lines: a
// tree would be as deep as the HTML, and nobody needs it.

#include <libxml/HTMLparser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlversion.h>

#include <algorithm>
#include <memory>
#include <new>

#include "cli/text/html.h"
#include "cli/text/html_layout.h"
#include "foundation/bytes/bytes.h"

namespace {

// Limit: the parser looks through all elements that are open for each end tag.  Where more are,
// which no mail needs, it begins anew with none; it is fed small pieces so that this is seen soon.
constexpr int kMostOpen = 300;
constexpr size_t kPieceSize = 512;

std::string_view view(const xmlChar* text) {
    return text ? reinterpret_cast<const char*>(text) : std::string_view();
}

// Nothing is thrown through the parser, which is C.
template <class Work>
void guarded(void* layout, Work work) noexcept {
    auto& target = *static_cast<HtmlLayout*>(layout);
    try {
        work(target);
    } catch (...) {
        target.fail();
    }
}

void onStart(void* layout, const xmlChar* name, const xmlChar** attributes) {
    guarded(layout, [&](HtmlLayout& to) {
        HtmlAttributes list;
        for (; attributes && attributes[0]; attributes += 2)
            list.push_back({view(attributes[0]), view(attributes[1])});
        to.open(view(name), list);
    });
}

void onEnd(void* layout, const xmlChar*) {
    guarded(layout, [](HtmlLayout& to) { to.close(); });
}

void onText(void* layout, const xmlChar* text, int size) {
    guarded(layout, [&](HtmlLayout& to) {
        to.addText({reinterpret_cast<const char*>(text), static_cast<size_t>(size)});
    });
}

htmlSAXHandler handler() {
    htmlSAXHandler sax = {};
    sax.startElement = onStart;
    sax.endElement = onEnd;
    sax.characters = onText;
    sax.ignorableWhitespace = onText;
    sax.cdataBlock = onText;
    return sax;
}

struct FreeParser {
    void operator()(htmlParserCtxtPtr parser) const {
        if (parser->myDoc) xmlFreeDoc(parser->myDoc);
        htmlFreeParserCtxt(parser);
    }
};
using Parser = std::unique_ptr<htmlParserCtxt, FreeParser>;

Parser makeParser(HtmlLayout& layout) {
    htmlSAXHandler sax = handler();
    Parser parser(
        htmlCreatePushParserCtxt(&sax, &layout, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8));
    if (!parser) throw std::bad_alloc();
    xmlSwitchEncoding(parser.get(), XML_CHAR_ENCODING_UTF8);  // Latin-1 is the default
    htmlCtxtUseOptions(parser.get(), HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                         HTML_PARSE_RECOVER | HTML_PARSE_IGNORE_ENC);
    constexpr std::string_view kStart = "<html><body>";  // never closed: see withoutEnds
    htmlParseChunk(parser.get(), kStart.data(), kStart.size(), /*terminate*/ 0);
    return parser;
}

// Up to the next tag, but for a start of some size.
size_t pieceOf(std::string_view html) {
    return std::min(html.find('<', std::min(kPieceSize, html.size())), html.size());
}

void feed(std::string_view html, HtmlLayout& layout) {
    Parser parser = makeParser(layout);
    while (!html.empty()) {
        const size_t size = pieceOf(html);
        htmlParseChunk(parser.get(), html.data(), static_cast<int>(size), /*terminate*/ 0);
        html.remove_prefix(size);
        if (parser->nameNr <= kMostOpen) continue;
        htmlParseChunk(parser.get(), nullptr, 0, /*terminate*/ 1);  // what it holds back
        parser = makeParser(layout);
        layout.closeAll();
    }
    htmlParseChunk(parser.get(), nullptr, 0, /*terminate*/ 1);
}

bool endsDocument(std::string_view tag) {
    using mimetree::inner::bytes::equalIgnoreCase;
    return tag.size() >= 6 &&
           (equalIgnoreCase(tag.data(), "</body", 6) || equalIgnoreCase(tag.data(), "</html", 6));
}

// Tolerated: text behind the end, as mailing lists add it, where the parser stops; and NUL, which
// is the end to it.
std::string withoutEnds(std::string_view html) {
    std::string text;
    text.reserve(html.size());
    while (!html.empty()) {
        const size_t tag = std::min(html.find("</"), html.size());
        text += html.substr(0, tag);
        html.remove_prefix(tag);
        const size_t skipped = endsDocument(html) ? std::min(html.find('>'), html.size() - 1) + 1 : 0;
        if (skipped == 0) text += html.substr(0, 2);
        html.remove_prefix(std::min(skipped ? skipped : 2, html.size()));
    }
    std::ranges::replace(text, '\0', ' ');
    return text;
}

}  // namespace

std::string htmlLibrary() { return "libxml2 " LIBXML_DOTTED_VERSION; }

std::string htmlText(std::string_view html, const HtmlForm& form, Links& links) {
    [[maybe_unused]] static const bool isReady = (xmlInitParser(), true);
    HtmlLayout layout(form, links);
    feed(withoutEnds(html), layout);
    return layout.finish();
}
