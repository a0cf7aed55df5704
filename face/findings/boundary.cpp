// SPDX-License-Identifier: Apache-2.0
// Findings about the parts of multiparts: their boundaries, and what stands outside of them.

#include <algorithm>

#include "face/findings/entity.h"
#include "face/message/tree.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner::check {

namespace {

// RFC 2046 5.1.1.
constexpr size_t kLongestBoundary = 70;

// Limit: what a preamble says to readers without MIME is not longer.
constexpr size_t kUsualPreamble = 1000;

std::string_view boundaryOf(const Entity& e) {
    return view(e.part.node().m_contentType.m_boundary);
}

const char* typePlace(const Entity& e) {
    return e.type.field ? e.type.field->whole.data() : e.at();
}

bool holdsIgnoringCase(std::string_view text, std::string_view word) {
    return bytes::findIgnoreCase(text.data(), text.size(), word.data(), word.size()) != nullptr;
}

// "This is a multi-part message in MIME format."
bool isUsualPreamble(std::string_view text) {
    return text.size() <= kUsualPreamble && !holdsIgnoringCase(text, "\nContent-") &&
           (holdsIgnoringCase(text, "MIME") || holdsIgnoringCase(text, "multi"));
}

std::string_view nameOf(DelimiterForm form) {
    switch (form) {
        case DelimiterForm::Lf: return "with LF among lines that end with CRLF";
        case DelimiterForm::Cr: return "with a bare carriage return";
        case DelimiterForm::Padded: return "with a blank behind it";
        case DelimiterForm::Respaced: return "with a blank in it, and without its dashes";
        case DelimiterForm::Unconverted: return "in bytes beyond ASCII";
        default: return "";
    }
}

}  // namespace

void boundaryMissing(const Entity& e, Report& report) {
    if (e.part.is_multipart() && boundaryOf(e).empty())
        report(typePlace(e), "the multipart has no boundary, and was taken for text");
}

void boundaryNotFound(const Entity& e, Report& report) {
    if (e.part.is_multipart() && !boundaryOf(e).empty() && !e.cut)
        report(e.at(), "the boundary ", Quoted(boundaryOf(e)), " is nowhere in the body");
}

void boundaryOtherForm(const Entity& e, Report& report) {
    if (e.cut && e.cut->form != DelimiterForm::Crlf)
        report(e.cut->firstAt, "the boundary ", Quoted(e.cut->boundary), " was only found ",
               nameOf(e.cut->form));
}

void delimiterInLine(const Entity& e, Report& report) {
    if (!e.cut) return;
    for (const char* const place : e.cut->midLine)
        report(place, "a delimiter of ", Quoted(e.cut->boundary), " stands within a line");
}

// RFC 2046 5.1.1: a reader may compare no more than the beginning of a line.
void boundaryPrefix(const Entity& e, Report& report) {
    if (!e.isMessage || !e.boundaries) return;
    std::vector<std::string_view> sorted(*e.boundaries);
    std::sort(sorted.begin(), sorted.end());
    for (size_t i = 0; i + 1 < sorted.size(); ++i)
        if (sorted[i] != sorted[i + 1] && sorted[i + 1].starts_with(sorted[i]))
            report(e.body().data(), "the boundary ", Quoted(sorted[i]), " begins another one, ",
                   Quoted(sorted[i + 1]));
}

void boundaryTooLong(const Entity& e, Report& report) {
    const Param* const boundary = e.type.find("boundary");
    if (e.part.is_multipart() && boundary && boundary->written.size() > kLongestBoundary)
        report(boundary->place, "the boundary has ", boundary->written.size(), " characters");
}

void closeMissing(const Entity& e, Report& report) {
    if (e.cut && !e.cut->closeAt)
        report(e.at() + e.whole.size(), "no close delimiter ends the parts between ",
               Quoted(e.cut->boundary));
}

void delimiterBehindClose(const Entity& e, Report& report) {
    if (!e.cut) return;
    for (const char* const place : e.cut->behind)
        report(place, "a part begins behind the close delimiter of ", Quoted(e.cut->boundary));
}

void hiddenPreamble(const Entity& e, Report& report) {
    if (!e.cut) return;
    const std::string_view text = trimmedText(e.cut->preamble);
    if (!text.empty() && !isUsualPreamble(text))
        report(text.data(), "the text ", Quoted(text), " in front of the parts is not shown");
}

void hiddenEpilogue(const Entity& e, Report& report) {
    if (!e.cut) return;
    const std::string_view text = trimmedText(e.cut->epilogue);
    if (!text.empty())
        report(text.data(), "the text ", Quoted(text), " behind the parts is not shown");
}

void partTooSmall(const Entity& e, Report& report) {
    if (!e.cut) return;
    for (const std::string_view part : e.cut->tooSmall)
        report(part.data(), "what stands between two delimiters, ", Quoted(part),
               ", is too small to be a part");
}

// A reader that keeps to RFC 2046: delimiters begin lines, blanks may follow them, a close
// delimiter ends the parts, and one is there.
void readerDifference(const Entity& e, Report& report) {
    const bool isMultipart = e.part.is_multipart();
    const Cut* const cut = e.cut;
    if (isMultipart && !cut)
        return report(typePlace(e),
                      "a strict reader refuses the multipart, which was taken for text");
    if (!cut) return;
    const auto tell = [&](const char* place, std::string_view what) {
        if (place) report(place, "a strict reader finds other parts: ", what);
    };
    const auto first = [](const std::vector<const char*>& places) {
        return places.empty() ? nullptr : places.front();
    };
    const bool isOdd =
        cut->form == DelimiterForm::Respaced || cut->form == DelimiterForm::Unconverted;
    tell(first(cut->midLine), "a delimiter stands within a line");
    tell(first(cut->behind), "the parts end with the first close delimiter");
    tell(first(cut->unseen), "a delimiter that ends otherwise than the others was passed over");
    tell(isOdd ? cut->firstAt : nullptr, "the boundary is not that of the header");
    tell(cut->closeAt ? nullptr : e.at() + e.whole.size(),
         "the last part has no end, and is refused or cut off");
}

}  // namespace mimetree::inner::check
