// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a check looks at: an entity of the tree beside the bytes that it was read from.  Each kind
// of finding is one function here and one row in kinds.cpp.

#include <string>
#include <string_view>
#include <vector>

#include "face/findings/cutter.h"
#include "face/findings/raw_text.h"
#include "face/findings/report.h"
#include "mimetree/message.hpp"

namespace mimetree::inner::check {

// A parameter as it stands in a field.
struct Param {
    std::string name;          // in lower case, stars included
    std::string_view written;  // without quotes
    const char* place;
};

// The value of Content-Type or Content-Disposition.
struct ParamField {
    const Field* field = nullptr;  // null when there is none
    std::string mainValue;         // "text/plain", as written
    bool isFollowedWell = true;    // by a ";" or nothing
    std::vector<Param> params;

    const Param* find(std::string_view name) const;
};

// One entity: a message, a multipart or a leaf.
struct Entity {
    Entity(const Origin& o, const Part& p) : origin(&o), part(p) {}

    const Origin* origin;  // of its message
    Part part;
    bool isMessage = false;  // the root of a message
    unsigned depth = 0;      // in its message
    std::string_view whole;
    HeaderPlace place;
    std::vector<Field> fields;
    ParamField type;
    ParamField disposition;
    std::string coding;  // Content-Transfer-Encoding in lower case; "" when there is none

    // Of a multipart, once its parts were walked through; null when no delimiter was found.
    const Cut* cut = nullptr;
    // Of a message: the boundaries that are in use in it.
    const std::vector<std::string_view>* boundaries = nullptr;

    std::string_view body() const { return place.body; }
    bool isLeaf() const { return !part.is_multipart(); }
    bool isTextLeaf() const;
    // Whether the text of the message that is in stands in that of the outermost.
    bool isPartOfOuterText() const { return !origin->decoded; }
    bool isIdentity() const;  // not encoded
    const char* at() const { return whole.data(); }
    const Field* field(std::string_view name) const;  // the first
};

Entity makeEntity(const Origin& origin, const Part& part, std::string_view whole,
                  const HeaderPlace& place);

using Check = void(const Entity& e, Report& report);

// lines.cpp
Check mixedLineEnds, bareCarriageReturn, mboxLine, byteOrderMark, nulByte;
// header.cpp
Check noHeader, noBlankLine, notAField, blankBeforeColon, blankFold, emptyField, fieldWithoutValue,
    repeatedField, repeatedFrom, repeatedContentType, longHeaderLine, headerIn8bit, needsSmtputf8;
// words.cpp
Check encodedWordMalformed, encodedWordTooLong, encodedWordMisplaced, encodedWordCharset,
    encodedWordCutsCharacter;
// charset.cpp
Check charsetUnknown, charsetWrong, charsetMissing, charsetInvalidBytes, relabelledUtf8,
    relabelled1252, charsetFromMeta;
// coding.cpp
Check codingUnknown, codingRepeated, multipartEncoded, messageEncoded, eightBitBody, base64Garbage,
    base64BehindPadding, base64Footer, base64Incomplete, quotedPrintableEscape, longBodyLine;
// boundary.cpp
Check boundaryMissing, boundaryNotFound, boundaryOtherForm, delimiterInLine, boundaryPrefix,
    boundaryTooLong, closeMissing, delimiterBehindClose, hiddenPreamble, hiddenEpilogue,
    partTooSmall, readerDifference;
// params.cpp
Check paramRepeated, boundaryRepeated, nameConflict, pieceMissing, pieceRepeated,
    contentTypeMalformed;
// names.cpp
Check nameAgainstType, doubleExtension, nameWithPath, nameWithControl, nameWithBidi, winmailDat;
// structure.cpp
Check signedParts, singleAlternative, nestedDeep;
// message.cpp
Check dateMissing, dateUnreadable, messageIdMissing, messageIdUnreadable, fromMissing,
    addressMalformed, nameLooksLikeAddress;

}  // namespace mimetree::inner::check
