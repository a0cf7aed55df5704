// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parsed value of a Content-Type field (RFC 2045 5).  The charset parameter is not kept
// here but in the node's _zqCharset, which is filled on parsing and read on building.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class LogBase;
class _zqCharset;

class MIMETREE_API _zqContentType {
public:
    _zqContentType() = default;
    _zqContentType(const _zqContentType&) = delete;
    _zqContentType& operator=(const _zqContentType&) = delete;

    // All texts empty, all flags off; the same as another's.
    void clear();
    void copyFrom(const _zqContentType& other);

    // Parses a value whose encoded words are decoded already.  The type keeps its letter
    // case.  `charset` is reset first, then set from the charset parameter; a name that is
    // not known leaves it empty.  Parameters may be quoted, split and percent-encoded
    // (RFC 2231).  A backslash in a quoted string stands for itself unless a double quote
    // follows, so that "C:\temp\report.doc" survives.
    void loadFromMimeHeaderValue(const char* value, _zqCharset& charset, LogBase& log);

    // The same for `size` bytes, none of which is NUL and which are not the record's own.
    void loadFromMimeHeaderValue(const char* value, unsigned int size, _zqCharset& charset,
                                 LogBase& log);

    // The same, which spoils `value`: what is long moves out of it.
    void loadFromMimeHeaderValue(StringBuffer& value, _zqCharset& charset, LogBase& log);

    // Appends a value built from the fields, "text/plain" standing for an empty type, with a
    // charset parameter when `charset` holds one.  Values that are no tokens are quoted;
    // those that a quoted string cannot carry unchanged are written as RFC 2231 asks.  What
    // is written here reads back the same.  The two flags are reserved.
    void buildMimeHeaderValue(StringBuffer& out, const _zqCharset& charset, bool reserved1,
                              bool reserved2, LogBase& log) const;

    // True for a pointer into one of the texts.
    bool holds(const char* p) const;

    StringBuffer m_type;          // "text/plain", as written
    StringBuffer m_name;          // name
    StringBuffer m_protocol;      // protocol (RFC 1847)
    StringBuffer m_micalg;        // micalg (RFC 1847)
    StringBuffer m_boundary;      // boundary (RFC 2046 5.1); loading makes it one line
    StringBuffer m_smimeType;     // smime-type (RFC 8551)
    StringBuffer m_subType;       // type (RFC 2387)
    StringBuffer m_reportType;    // report-type (RFC 6522)
    bool m_formatFlowed = false;  // format=flowed (RFC 3676)

private:
    void loadTolerantly(const char* value, const char* end, StringBuffer* own, _zqCharset& charset,
                        LogBase& log);
    bool loadUsual(const char* p, const char* end, _zqCharset& charset);
    bool storeUsual(unsigned int param, const char* p, const char* end, _zqCharset& charset);
};
