// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the engine needs to know about HTML.

#include "foundation/export.h"

class LogBase;
class StringBuffer;

class MIMETREE_API _zqHtmlHelp {
public:
    // Appends the charset that the document declares in a META tag of its head, whether as
    // <meta charset=...> or within http-equiv content="...; charset=...".  Nothing is
    // appended when there is none.  `log` may be null.
    static void getCharset(const StringBuffer& html, StringBuffer& charset, LogBase* log);

    // The same for a document that stands in a byte run.
    static void getCharset(const char* html, unsigned int size, StringBuffer& charset);
};
