// SPDX-License-Identifier: Apache-2.0
// The table of the kinds of findings: one row and one function each.  docs/findings.md is made from
// it by gen_findings.py.  Numbers and names stay for ever; a new kind goes to the end.

#include "face/findings/kinds.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace mimetree {

namespace inner::check {

namespace {

constexpr auto kInfo = Severity::info, kWarning = Severity::warning, kCritical = Severity::critical;

// Number, identifier, name, severity, what it offends, explanation; and the check.
constexpr Row kRows[] = {
    {{1, "MT001", "mixed-line-ends", kWarning, "RFC 5322 2.3",
      "Lines of a message end with CRLF, and in a file that was stored on a Unix system with "
      "LF. Here some end with one and some with the other. Readers differ in whether a bare LF "
      "ends a line, and so in where headers, parts and even messages end: what one takes for "
      "text another takes for a header field."},
     mixedLineEnds},
    {{2, "MT002", "bare-carriage-return", kWarning, "RFC 5322 2.3",
      "A CR may only stand in front of an LF. Some readers take a bare CR for a line end and "
      "others for a character; a header field can be hidden behind one. Mail from old Macintosh "
      "systems has nothing else, and is read."},
     bareCarriageReturn},
    {{3, "MT003", "mbox-line", kInfo, "RFC 4155",
      "The line \"From ...\" that separates the messages of an mbox stands in front of the "
      "message. It is no header field, and was skipped. It was left when the message was cut "
      "out of its mailbox."},
     mboxLine},
    {{4, "MT004", "byte-order-mark", kWarning, "RFC 3629 6",
      "An editor put a UTF-8 byte order mark in front of the text. It was skipped; a reader "
      "that does not know it takes the first header field for one with another name, or for "
      "text."},
     byteOrderMark},
    {{5, "MT005", "nul-byte", kWarning, "RFC 5322 4",
      "A NUL byte may stand nowhere in a message. Readers that are written in C end the text "
      "there, others drop it, and filters see what the reader does not show."},
     nulByte},
    {{6, "MT006", "no-header", kWarning, "RFC 5322 3.6",
      "The text has no header field at all, and was taken for the body of a message. Either it "
      "is no mail, or what stands in front keeps its header from being one."},
     noHeader},
    {{7, "MT007", "no-blank-line", kWarning, "RFC 5322 2.1",
      "An empty line ends the header of a message. Without one, all of the text is header: the "
      "body, if there is any, is not shown. The mail was cut short, or a line of its text was "
      "glued to the header."},
     noBlankLine},
    {{8, "MT008", "not-a-field", kWarning, "RFC 5322 2.2",
      "A line of the header is neither a field, a name with a colon, nor the continuation of "
      "one, which begins with a blank. It was kept, and the header read on behind it. Other "
      "readers end the header there, and take the fields below for text."},
     notAField},
    {{9, "MT009", "blank-before-colon", kWarning, "RFC 5322 4.5",
      "A blank between the name of a field and its colon is an obsolete form. It was read as "
      "the field of that name; other readers know no field \"Subject \" or take the line for "
      "text, so that they may see another subject, type or sender."},
     blankBeforeColon},
    {{10, "MT010", "blank-fold", kWarning, "RFC 5322 3.2.2",
      "A folded field has a line with nothing but blanks. It was read on; other readers take "
      "such a line for the end of the header. It may not be made any more (RFC 5322 4.2 has it "
      "as obsolete)."},
     blankFold},
    {{11, "MT011", "empty-field", kInfo, "RFC 5322 3.6.8",
      "A field has a name and no value. That is harmless where the field is free text; it was "
      "left as it is."},
     emptyField},
    {{12, "MT012", "field-without-value", kWarning, "RFC 5322 3.6",
      "A field that needs a value, such as To, Date or Content-Type, has none. It counts as if "
      "it were not there."},
     fieldWithoutValue},
    {{13, "MT013", "repeated-field", kWarning, "RFC 5322 3.6",
      "A field that may stand once stands several times. The first was taken; other readers "
      "take the last, or join them, and so show another subject, date or receiver."},
     repeatedField},
    {{14, "MT014", "repeated-from", kCritical, "RFC 5322 3.6",
      "The message has more than one From field. The addresses of all were joined; other "
      "readers show one of them, and a filter that checks the sender may check the one that is "
      "not shown."},
     repeatedFrom},
    {{15, "MT015", "repeated-content-type", kCritical, "RFC 2045 3",
      "The type of a part is told twice. The first counted; a reader that takes the last sees "
      "another message: other parts, other files, another charset."},
     repeatedContentType},
    {{16, "MT016", "long-header-line", kWarning, "RFC 5322 2.1.1",
      "A line of the header is longer than 998 bytes. Servers may cut it or break it apart "
      "wherever they like. It is to be folded."},
     longHeaderLine},
    {{17, "MT017", "header-8bit", kWarning, "RFC 5322 2.2",
      "A header field has bytes above 127 that are not UTF-8. Headers are ASCII, and other "
      "letters are to be in encoded words (RFC 2047). The charset that the finding names was "
      "taken; other readers take others, or show question marks."},
     headerIn8bit},
    {{18, "MT018", "needs-smtputf8", kInfo, "RFC 6532 3",
      "A header field is in UTF-8 as it stands. That is allowed in internationalised mail only, "
      "which every server on the way must support (SMTPUTF8, RFC 6531); others refuse it or "
      "damage it."},
     needsSmtputf8},
    {{19, "MT019", "encoded-word-malformed", kWarning, "RFC 2047 2",
      "What begins as an encoded word, \"=?charset?Q?\", is none: its end is missing, its "
      "encoding is neither B nor Q, there are blanks in it, or its text is not in that "
      "encoding. It is decoded by some readers and shown as it stands by others."},
     encodedWordMalformed},
    {{20, "MT020", "encoded-word-too-long", kInfo, "RFC 2047 2",
      "An encoded word may have 75 characters. Longer ones are decoded by nearly all readers, "
      "and left alone by a few."},
     encodedWordTooLong},
    {{21, "MT021", "encoded-word-misplaced", kInfo, "RFC 2047 5",
      "An encoded word stands where none is allowed: in a quoted string, an address, a "
      "parameter (RFC 2231 has a form for those) or without a blank beside it. Many programs "
      "write such words and many decode them; strict readers show them as they stand."},
     encodedWordMisplaced},
    {{22, "MT022", "encoded-word-charset", kWarning, "RFC 2047 2",
      "An encoded word names a charset that is not known, and was left as it is."},
     encodedWordCharset},
    {{23, "MT023", "encoded-word-cut", kWarning, "RFC 2047 5",
      "A character was cut in two, so that an encoded word ends within it and the next begins "
      "with its rest. The words were joined before they were decoded; readers that decode them "
      "one by one show damaged characters."},
     encodedWordCutsCharacter},
    {{24, "MT024", "charset-unknown", kWarning, "RFC 2046 4.1.2",
      "The charset of a text is labelled with a name that is not known. The finding says what "
      "it was read as; other readers guess otherwise."},
     charsetUnknown},
    {{25, "MT025", "charset-wrong", kWarning, "RFC 2046 4.1.2",
      "A text is labelled us-ascii and holds bytes above 127. The finding says what it was read "
      "as."},
     charsetWrong},
    {{26, "MT026", "charset-missing", kWarning, "RFC 2046 4.1.2",
      "A text without a charset is ASCII; this one holds bytes above 127. The finding says what "
      "it was read as; other readers guess otherwise."},
     charsetMissing},
    {{27, "MT027", "charset-invalid-bytes", kWarning, "RFC 2046 4.1.2",
      "The text holds bytes that stand for no character of the charset in which it is labelled. "
      "In UTF-8 each was taken for the letter of that number, in others for U+FFFD. The label "
      "is wrong, or the text was damaged or cut within a character."},
     charsetInvalidBytes},
    {{28, "MT028", "charset-really-utf-8", kWarning, "RFC 2046 4.1.2",
      "The text is labelled with another charset and is UTF-8 throughout. It was read as that; "
      "a reader that believes the label shows two or three odd letters for each one beyond "
      "ASCII."},
     relabelledUtf8},
    {{29, "MT029", "charset-really-windows-1252", kInfo, "RFC 2046 4.1.2",
      "The text is labelled iso-8859-1 and has the quotes and dashes of windows-1252, which are "
      "control characters in the other. It was read as the latter, as browsers do."},
     relabelled1252},
    {{30, "MT030", "charset-from-page", kInfo, "RFC 2854 6",
      "The header names no charset for a page of HTML, and the page itself does. That was "
      "believed; a reader that goes by the header takes the page for ASCII."},
     charsetFromMeta},
    {{31, "MT031", "transfer-encoding-unknown", kWarning, "RFC 2045 6.4",
      "The Content-Transfer-Encoding is none of 7bit, 8bit, binary, quoted-printable and "
      "base64. The body was taken as it stands."},
     codingUnknown},
    {{32, "MT032", "transfer-encoding-repeated", kCritical, "RFC 2045 3",
      "The Content-Transfer-Encoding is told twice. The first counted; a reader that takes the "
      "last sees another text or file, which is a way past filters."},
     codingRepeated},
    {{33, "MT033", "multipart-encoded", kCritical, "RFC 2045 6.4",
      "A multipart may not be encoded; only its parts are. The coding was not applied. A reader "
      "that applies it sees other parts."},
     multipartEncoded},
    {{34, "MT034", "message-encoded", kWarning, "RFC 2046 5.2.1",
      "A message within a message may not be encoded; only its parts are. It was decoded and "
      "opened; other readers show it as a file, or not at all."},
     messageEncoded},
    {{35, "MT035", "8bit-in-7bit", kWarning, "RFC 2045 2.7",
      "The body has bytes above 127, though its coding, which is 7bit when none is named, "
      "allows none. They were taken as they are; a server may clear their highest bits."},
     eightBitBody},
    {{36, "MT036", "base64-garbage", kWarning, "RFC 2045 6.8",
      "Between the lines of base64 there are characters that are none of its alphabet. They "
      "were skipped; other readers stop there, or take the body for text."},
     base64Garbage},
    {{37, "MT037", "base64-behind-padding", kCritical, "RFC 2045 6.8",
      "The sign \"=\" ends base64, and there is more of it behind. It was all decoded, as one "
      "piece after the other; other readers end at the first \"=\", or read garbage behind it, "
      "and so see another file. Programs that join encoded pieces make such bodies, and so do "
      "those who hide something."},
     base64BehindPadding},
    {{38, "MT038", "base64-text-behind", kWarning, "RFC 2045 6.8",
      "Plain text stands behind base64: a mailing list or a virus scanner appended it without "
      "looking at the coding. It was left out; other readers decode it to garbage."},
     base64Footer},
    {{39, "MT039", "base64-incomplete", kWarning, "RFC 2045 6.8",
      "Base64 comes in groups of four characters, and the last group is not whole. The padding "
      "was forgotten, or the end is missing."},
     base64Incomplete},
    {{40, "MT040", "quoted-printable-escape", kWarning, "RFC 2045 6.7",
      "In quoted-printable, \"=\" stands in front of two hexadecimal digits or of a line end. "
      "Here it stands in front of something else, and was left as it is. The text was not "
      "encoded at all, or was damaged."},
     quotedPrintableEscape},
    {{41, "MT041", "long-body-line", kInfo, "RFC 5322 2.1.1",
      "A line of the body is longer than 998 bytes. Servers may break it wherever they like, "
      "which damages signatures and pages."},
     longBodyLine},
    {{42, "MT042", "boundary-missing", kCritical, "RFC 2046 5.1.1",
      "A multipart names no boundary, so its parts cannot be told from each other. Its body was "
      "taken for one text; other readers guess the boundary from the body."},
     boundaryMissing},
    {{43, "MT043", "boundary-not-found", kCritical, "RFC 2046 5.1.1",
      "The boundary of a multipart stands nowhere in its body, which was taken for one text. "
      "Other readers show nothing, or guess the boundary from the body."},
     boundaryNotFound},
    {{44, "MT044", "boundary-other-form", kWarning, "RFC 2046 5.1.1",
      "The delimiters between the parts are not a line of two dashes and the boundary that ends "
      "with CRLF, but another form, which the finding names. They were found all the same; a "
      "stricter reader sees no parts."},
     boundaryOtherForm},
    {{45, "MT045", "delimiter-in-line", kCritical, "RFC 2046 5.1.1",
      "A delimiter must begin a line. This one has text in front of it, and separates two parts "
      "all the same. A stricter reader sees one part where there are two."},
     delimiterInLine},
    {{46, "MT046", "boundary-prefix", kWarning, "RFC 2046 5.1.1",
      "One boundary of the message begins with another one. A reader that only compares the "
      "beginning of a line, as it may, ends the outer part at the delimiters of the inner ones."},
     boundaryPrefix},
    {{47, "MT047", "boundary-too-long", kWarning, "RFC 2046 5.1.1",
      "A boundary may have 70 characters. Longer ones are cut or not found by some readers."},
     boundaryTooLong},
    {{48, "MT048", "close-delimiter-missing", kWarning, "RFC 2046 5.1.1",
      "The last part of a multipart is to be ended by a line of two dashes, the boundary and "
      "two dashes. Here the text just ends, or the parts of the multipart outside go on: the "
      "mail was cut short. The last part was taken as far as it goes."},
     closeMissing},
    {{49, "MT049", "delimiter-behind-close", kCritical, "RFC 2046 5.1.1",
      "The close delimiter ends the parts; here more follow behind it. They were read as parts; "
      "other readers do not show them, which is a way to hide a file from a filter or from the "
      "reader."},
     delimiterBehindClose},
    {{50, "MT050", "preamble-text", kWarning, "RFC 2046 5.1.1",
      "Text in front of the first delimiter is not shown by readers that know MIME. This is not "
      "the usual notice for those that do not, but something of its own."},
     hiddenPreamble},
    {{51, "MT051", "epilogue-text", kWarning, "RFC 2046 5.1.1",
      "Text behind the close delimiter is not shown. Mailing lists and virus scanners put their "
      "notices there."},
     hiddenEpilogue},
    {{52, "MT052", "part-too-small", kWarning, "RFC 2046 5.1.1",
      "What stands between two delimiters has less than five bytes, which is too little for a "
      "part with a header, and was dropped."},
     partTooSmall},
    {{53, "MT053", "reader-difference", kCritical, "RFC 2046 5.1.1",
      "A reader that keeps to the standard, with no repairs, takes the message apart into other "
      "parts than were found here. What a filter checked may not be what is shown. The finding "
      "says at which place the two part ways."},
     readerDifference},
    {{54, "MT054", "parameter-repeated", kWarning, "RFC 2045 5.1",
      "A parameter of Content-Type or Content-Disposition stands twice. The finding has the "
      "value of the later one; readers differ in which they take."},
     paramRepeated},
    {{55, "MT055", "boundary-repeated", kCritical, "RFC 2045 5.1",
      "The boundary of a multipart is told twice. A reader that takes the other one finds other "
      "parts, or none."},
     boundaryRepeated},
    {{56, "MT056", "name-conflict", kWarning, "RFC 2183 2.3",
      "A part has two different names, one in Content-Disposition and one in Content-Type. The "
      "former was taken; a reader that takes the latter may open the file with another program."},
     nameConflict},
    {{57, "MT057", "rfc2231-piece-missing", kWarning, "RFC 2231 3",
      "A parameter was cut into numbered pieces, and one of them is missing. What stands in "
      "front of the gap was read."},
     pieceMissing},
    {{58, "MT058", "rfc2231-piece-repeated", kWarning, "RFC 2231 3",
      "A parameter was cut into numbered pieces, and one number stands twice. Readers differ in "
      "which they take."},
     pieceRepeated},
    {{59, "MT059", "content-type-malformed", kWarning, "RFC 2045 5.1",
      "The value of Content-Type is not \"type/subtype\" with parameters behind semicolons. The "
      "finding says what it was read as; a strict reader takes the part for plain text."},
     contentTypeMalformed},
    {{60, "MT060", "name-against-type", kWarning, "RFC 2183 5",
      "The name of a file and its type contradict each other, as with a program that is "
      "labelled as a text or a picture. Which of them counts differs from reader to reader."},
     nameAgainstType},
    {{61, "MT061", "double-extension", kWarning, "RFC 2183 5",
      "The name of a file looks like that of a document, and ends with the extension of a "
      "program, which some systems do not show: \"bill.pdf.exe\"."},
     doubleExtension},
    {{62, "MT062", "name-with-path", kWarning, "RFC 2183 2.3",
      "A file name contains directories. Programs that follow it would write over files "
      "elsewhere. Part::name() gives the name without them."},
     nameWithPath},
    {{63, "MT063", "name-with-control", kWarning, "RFC 2183 2.3",
      "A file name contains control characters, such as line breaks or those that steer a "
      "terminal. Part::name() has others in their place."},
     nameWithControl},
    {{64, "MT064", "name-with-bidi", kWarning, "RFC 2183 5",
      "A file name contains characters that turn the direction of text around, so that "
      "\"gpj.exe\" may be shown as \"exe.jpg\"."},
     nameWithBidi},
    {{65, "MT065", "signed-parts", kWarning, "RFC 1847 2.1",
      "A multipart/signed has exactly two parts, what is signed and the signature. What stands "
      "in further ones is covered by no signature, though it may be shown as if it were."},
     signedParts},
    {{66, "MT066", "single-alternative", kInfo, "RFC 2046 5.1.4",
      "A multipart/alternative with one part offers no choice. It is harmless, and common in "
      "automatic mail."},
     singleAlternative},
    {{67, "MT067", "nested-deep", kWarning, "RFC 2046 5.1",
      "Parts are nested more than 100 deep. No program that people use writes that, and many "
      "readers stop earlier: what is further within is not checked by them, or not shown."},
     nestedDeep},
    {{68, "MT068", "date-missing", kWarning, "RFC 5322 3.6",
      "A message must have a Date field. Readers show the time at which it was received, or "
      "none."},
     dateMissing},
    {{69, "MT069", "date-unreadable", kWarning, "RFC 5322 3.3",
      "The Date field holds no date in any form that is known. Readers show the time at which "
      "the message was received, or none."},
     dateUnreadable},
    {{70, "MT070", "message-id-missing", kInfo, "RFC 5322 3.6.4",
      "A message should have a Message-ID. Without it answers cannot be put in order."},
     messageIdMissing},
    {{71, "MT071", "message-id-malformed", kInfo, "RFC 5322 3.6.4",
      "A Message-ID is one word with an @ in it, in angle brackets. Readers that compare it "
      "otherwise do not put answers in order."},
     messageIdUnreadable},
    {{72, "MT072", "from-missing", kWarning, "RFC 5322 3.6",
      "A message must have a From field: nobody is said to have written it."},
     fromMissing},
    {{73, "MT073", "address-malformed", kWarning, "RFC 5322 3.4.1",
      "What stands in an address field is no address: there is no @, nothing on one side of it, "
      "or characters that no address has. It cannot be answered."},
     addressMalformed},
    {{74, "MT074", "name-looks-like-address", kWarning, "RFC 5322 3.4",
      "The display name of a mailbox is or holds an address of another domain. Many readers "
      "show the name alone, so that the mail seems to come from there."},
     nameLooksLikeAddress},
    {{75, "MT075", "winmail-dat", kInfo, "RFC 2046 5.1.3",
      "Outlook put what is attached into one file of its own form (TNEF), winmail.dat, in place of "
      "a multipart. Few other "
      "readers open it, so that attachments are not seen, and what looks for harmful ones may not "
      "see them either."},
     winmailDat},
};

// Whoever has a number finds the row by it.
constexpr bool areNumbered() {
    for (size_t i = 0; i < std::size(kRows); ++i)
        if (kRows[i].kind.number != i + 1) return false;
    return true;
}
static_assert(areNumbered());

}  // namespace

std::span<const Row> rows() { return kRows; }

}  // namespace inner::check

std::string_view severity_name(Severity severity) noexcept {
    switch (severity) {
        case Severity::info: return "info";
        case Severity::warning: return "warning";
        case Severity::critical: return "critical";
    }
    return "";
}

std::span<const FindingKind> finding_kinds() noexcept {
    static constexpr auto kKinds = [] {
        std::array<FindingKind, std::size(inner::check::kRows)> kinds{};
        for (size_t i = 0; i < kinds.size(); ++i) kinds[i] = inner::check::kRows[i].kind;
        return kinds;
    }();
    return kKinds;
}

const FindingKind* finding_kind(std::string_view name) noexcept {
    using inner::check::isSameWord;
    unsigned number = 0;  // of no kind
    const char* const end = name.data() + name.size();
    if (std::from_chars(name.data(), end, number).ptr != end) number = 0;
    for (const FindingKind& kind : finding_kinds())
        if (number == kind.number || isSameWord(kind.name, name) || isSameWord(kind.id, name))
            return &kind;
    return nullptr;
}

}  // namespace mimetree
