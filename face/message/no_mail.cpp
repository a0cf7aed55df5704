// SPDX-License-Identifier: Apache-2.0
// Judges an input by its front, before the engine makes a tree of whatever it is.  parse.cpp
// asks.

#include "face/message/no_mail.h"

#include <algorithm>

#include "face/mailbox/separator.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

constexpr ByteSet kSpace(" \t\r\n");
// What no text holds, in whatever charset: ISO 2022 needs ESC, SO and SI, and old systems end a
// text with SUB.
constexpr ByteSet kBinary = ByteSet().range('\0', '\x1F').without("\t\n\v\f\r\b\x0E\x0F\x1A\x1B");

// Limit: how far an input that begins with no header is looked at.
constexpr size_t kFront = 16384;

bool isBreak(char c) { return c == '\r' || c == '\n'; }

std::string_view lineOf(std::string_view text) {
    return text.substr(0, size_t(std::find_if(text.begin(), text.end(), isBreak) - text.begin()));
}

std::string_view behindLine(std::string_view text) {
    text.remove_prefix(lineOf(text).size());
    text.remove_prefix(text.starts_with("\r\n") ? 2 : !text.empty());
    return text;
}

std::string_view withoutBlanks(std::string_view text) {
    while (!text.empty() && kSpace.has(text.front())) text.remove_prefix(1);
    return text;
}

// Junk may stand in front of a header, but only text: within a picture or a program there is
// always something that looks like a field.
bool beginsWithHeader(std::string_view front) {
    if (isFieldLine(front)) return true;
    for (; !front.empty(); front = behindLine(front)) {
        const std::string_view line = lineOf(front);
        for (const char c : line)
            if (kBinary.has(c)) return false;
        const size_t colon = line.find(':');
        if (isFieldLine(line) && line.substr(colon + 1, 1) == " ") return true;
    }
    return false;
}

bool isBinary(std::string_view front) {
    for (const char c : front)
        if (kBinary.has(c)) return true;
    return false;
}

}  // namespace

std::string_view behindFront(std::string_view input) {
    if (input.starts_with("\xEF\xBB\xBF")) input.remove_prefix(3);
    input = withoutBlanks(input);
    return beginsMessage(input, LineBefore::start_of_file) ? withoutBlanks(behindLine(input))
                                                           : input;
}

bool hasNoHeader(std::string_view input) {
    if (isFieldLine(input)) return false;  // nearly every mail
    input = behindFront(input);
    for (; !input.empty() && !isBreak(input.front()); input = behindLine(input))
        if (isFieldLine(input)) return false;
    return true;
}

bool isFieldLine(std::string_view line) {
    size_t end = 0;
    while (end < line.size() && kFieldNameBytes.has(line[end])) ++end;
    if (end == 0) return false;
    while (end < line.size() && bytes::isBlank(line[end])) ++end;
    return end < line.size() && line[end] == ':';
}

std::optional<Error> whyNoMail(std::string_view input) {
    if (isFieldLine(input)) return std::nullopt;  // nearly every mail
    const std::string_view front = behindFront(input).substr(0, kFront);
    if (withoutBlanks(input).empty()) return Error(Errc::not_mail, "empty: no mail message");
    if (!beginsWithHeader(front) && isBinary(front))
        return Error(Errc::not_mail, "not a mail message: neither text nor a header in front");
    if (holdsSeveralMessages(input))
        return Error(Errc::is_mbox, "an mbox of several messages, which Mbox reads");
    return std::nullopt;
}

}  // namespace mimetree::inner
