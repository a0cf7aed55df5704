// SPDX-License-Identifier: Apache-2.0
#pragma once

// RFC 2047: encoded words in header text.

class StringBuffer;

namespace mimetree::inner {

// Appends `text` with its encoded words replaced by what they say, in UTF-8.  Adjacent words
// of one charset are joined before they are converted, since senders cut characters in two;
// white space between two words vanishes, between a word and text it stays.  Words that are
// malformed, or in a charset that is not known, stay as they are.
bool decodeEncodedWords(const char* text, unsigned int size, StringBuffer& out);

// The first word of `text` that decodeEncodedWords replaces; null when there is none.
const char* findEncodedWord(const char* text, unsigned int size, unsigned int& wordSize);

// Appends UTF-8 `text` as encoded words of at most 75 characters, separated by CRLF and a
// blank where the line would pass 76 columns (`column` is where the text starts) and by one
// blank elsewhere.  The charset is `codePage` when that can hold the text, otherwise UTF-8;
// no character is cut.  `forPhrase` restricts Q words to the bytes that RFC 2047 5 (3)
// allows within a display name.  Where not even one character fits behind `column`, the
// words begin with a fold.  Gives the column after the last word; with memory exhausted,
// nothing is appended.
unsigned int appendEncodedWords(const char* text, unsigned int size, int codePage,
                                unsigned int column, bool forPhrase, StringBuffer& out);

}  // namespace mimetree::inner
