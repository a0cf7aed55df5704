// SPDX-License-Identifier: Apache-2.0

// What is wrong with a mail: whatever it is, a list that is no longer than it may be, of places in
// the mail, in sentences of one line in which nothing of it stands raw.

#include <string_view>

#include "face/files/harm.h"
#include "laws.h"
#include "mail_words.h"
#include "mimetree/mimetree.hpp"

namespace {

void checkFinding(const mimetree::Finding& finding, size_t size) {
    require(finding.offset <= size && finding.line > 0, "a finding has a place in the mail");
    require(mimetree::inner::withoutHarm(finding.sentence, '\0') == finding.sentence,
            "a sentence holds nothing harmful");
    require(mimetree::finding_kind(finding.id)->name == finding.name, "a kind is in the table");
}

void check(std::string_view mail) {
    const auto message = mimetree::Message::parse(mail, {.source = mimetree::SourceBytes::borrow});
    if (!message) return;
    const auto findings = mimetree::findings(*message);
    require(findings.has_value(), "there are findings");
    require(findings->size() <= 20 * mimetree::finding_kinds().size(), "findings are bounded");
    for (const mimetree::Finding& finding : *findings)
        checkFinding(finding, message->source().size());
}

}  // namespace

FUZZ_TARGET(findings_fuzz) {
    Choices choices(data, size);
    const bool isSqueezed = choices.byte() & 1;
    check(isSqueezed ? squeezed(choices) : choices.rest());
}
