// SPDX-License-Identifier: Apache-2.0
#pragma once

// What is wrong with a message: what was repaired when it was read, and what other readers may
// take otherwise.
//
//     auto list = mimetree::findings(*message);
//     if (!list) return report(list.error().message());
//     for (const mimetree::Finding& f : *list)
//         std::cout << f.line << ": " << f.name << ": " << f.sentence << '\n';
//
// docs/findings.md lists the kinds.  Numbers and names stay what they are from one version to the
// next; sentences may change.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mimetree/message.hpp"
#include "mimetree/opened.hpp"
#include "mimetree/result.hpp"

namespace mimetree {

// How much a finding matters.
enum class Severity {
    info = 1,      // unusual, and harmless
    warning = 2,   // against a standard, and repaired
    critical = 3,  // another reader may see a different message
};

// "info", "warning" or "critical".
MIMETREE_API std::string_view severity_name(Severity severity) noexcept;

// A kind of finding.  All texts are UTF-8 and stay.
struct FindingKind {
    unsigned number;               // 12; from 1 on
    std::string_view id;           // "MT012"
    std::string_view name;         // "nul-byte"
    Severity severity;             // how much it matters
    std::string_view reference;    // "RFC 5322 2.2", what it offends
    std::string_view explanation;  // what it is, what readers make of it and where it comes from
};

// All kinds, by number; and the one that "nul-byte", "MT012" or "12" names, or null.
MIMETREE_API std::span<const FindingKind> finding_kinds() noexcept;
MIMETREE_API const FindingKind* finding_kind(std::string_view name) noexcept;

// A place where something is wrong.
struct Finding {
    unsigned number;        // of its kind
    std::string_view id;    // "MT012"
    std::string_view name;  // "nul-byte"
    Severity severity;      // how much it matters
    // In Message::source(), or in what Message::write() gives where the message has none.  Within
    // an embedded message that is encoded: where its part begins.
    uint64_t offset;  // bytes in front of it
    uint64_t line;    // from 1
    // As OpenedParts counts parts, "2.1.3"; "" is the message itself.  Of a part that has no number
    // it is that of the nearest around it.
    std::string part;
    std::string sentence;  // one line, what comes out of the mail escaped in it
    // Only the first 20 places of a kind are listed; the last of them says how many follow.
    uint64_t more = 0;
};

// What is wrong with the message, in the order of the places.  Messages within it are opened to a
// depth of 32, unless they are to stay closed.  An error only when memory is exhausted.
MIMETREE_API Result<std::vector<Finding>> findings(const Message& message,
                                                   Nested nested = Nested::opened) noexcept;

}  // namespace mimetree
