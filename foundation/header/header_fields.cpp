// SPDX-License-Identifier: Apache-2.0

// What stands in which field: HeaderWriter.cpp writes by it, and header_xml.cpp and
// mime/xml/xml_in.cpp know by it which fields are told address by address.

#include "foundation/header/header_fields.h"

#include <cstring>

#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

struct FieldRow {
    const char* name;  // in lower case; a "*" stands for any rest
    FieldGrammar grammar;
};

// The first row that matches decides.  RFC 2047 5: structured fields have no place for
// encoded words; RFC 6532 3.2 lets them hold UTF-8.  RFC 2919 2: a List-Id is a phrase and
// an identifier in brackets.
constexpr FieldRow kFields[] = {
    {"apparently-to", FieldGrammar::Addresses},
    {"arc-*", FieldGrammar::Structured},
    {"authentication-results", FieldGrammar::Structured},
    {"auto-submitted", FieldGrammar::Structured},
    {"bcc", FieldGrammar::XmlAddresses},
    {"cc", FieldGrammar::XmlAddresses},
    {"content-disposition", FieldGrammar::Params},
    {"content-id", FieldGrammar::Structured},
    {"content-language", FieldGrammar::Structured},
    {"content-location", FieldGrammar::Opaque},
    {"content-md5", FieldGrammar::Structured},
    {"content-transfer-encoding", FieldGrammar::Structured},
    {"content-type", FieldGrammar::Params},
    {"date", FieldGrammar::Structured},
    {"delivered-to", FieldGrammar::Addresses},
    {"disposition-notification-to", FieldGrammar::Addresses},
    {"dkim-signature", FieldGrammar::Structured},
    {"domainkey-signature", FieldGrammar::Structured},
    {"envelope-to", FieldGrammar::Addresses},
    {"errors-to", FieldGrammar::Addresses},
    {"from", FieldGrammar::XmlAddresses},
    {"in-reply-to", FieldGrammar::Structured},
    {"list-id", FieldGrammar::Addresses},
    {"list-*", FieldGrammar::Structured},
    {"mail-copies-to", FieldGrammar::Addresses},
    {"mail-followup-to", FieldGrammar::Addresses},
    {"message-id", FieldGrammar::Structured},
    {"mime-version", FieldGrammar::Structured},
    {"received", FieldGrammar::Structured},
    {"received-spf", FieldGrammar::Structured},
    {"references", FieldGrammar::Structured},
    {"reply-to", FieldGrammar::XmlAddresses},
    {"resent-date", FieldGrammar::Structured},
    {"resent-message-id", FieldGrammar::Structured},
    {"resent-*", FieldGrammar::Addresses},
    {"return-path", FieldGrammar::XmlAddresses},
    {"return-receipt-to", FieldGrammar::Addresses},
    {"sender", FieldGrammar::XmlAddresses},
    {"to", FieldGrammar::XmlAddresses},
    {"x-rcpt-to", FieldGrammar::XmlAddresses},
    {"zqx-bounce-address", FieldGrammar::XmlAddresses},
};

bool matches(const FieldRow& row, const char* name, size_t size) {
    const size_t n = std::strlen(row.name);
    if (row.name[n - 1] == '*') return size >= n && bytes::equalIgnoreCase(name, row.name, n - 1);
    return size == n && bytes::equalIgnoreCase(name, row.name, n);
}

}  // namespace

FieldGrammar mimetree::inner::grammarOf(const char* name, size_t size) {
    for (const FieldRow& row : kFields)
        if (matches(row, name, size)) return row.grammar;
    return FieldGrammar::Unstructured;
}

bool mimetree::inner::isXmlAddressField(const char* tag) {
    return tag && grammarOf(tag, std::strlen(tag)) == FieldGrammar::XmlAddresses;
}
