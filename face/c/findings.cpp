// SPDX-License-Identifier: Apache-2.0
// The C interface to what is wrong with a message.

#include "face/c/handles.h"

using mimetree::Finding;
using mimetree::FindingKind;
using mimetree::Severity;

static_assert(MT_INFO == int(Severity::info) && MT_WARNING == int(Severity::warning) &&
              MT_CRITICAL == int(Severity::critical));

namespace {

// Stands for those that are not there.
const Finding& findingAt(const mt_findings* findings, size_t i) {
    static const Finding kNone{0, "", "", Severity::info, 0, 0, "", ""};
    return findings && i < findings->list.size() ? findings->list[i] : kNone;
}

// The texts of kinds are literals, which end with NUL.
const char* textOf(const char* name, std::string_view FindingKind::*text) {
    const FindingKind* const kind = mimetree::finding_kind(mimetree::inner::c::orEmpty(name));
    return kind ? (kind->*text).data() : nullptr;
}

}  // namespace

mt_findings* mt_message_findings(const mt_message* message) {
    if (!message) return mimetree::inner::c::refuseNull(), nullptr;
    return mimetree::inner::c::give<mt_findings>(mimetree::findings(message->message));
}

void mt_findings_free(mt_findings* findings) { delete findings; }

size_t mt_findings_count(const mt_findings* findings) {
    return findings ? findings->list.size() : 0;
}

unsigned mt_findings_number(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).number;
}

const char* mt_findings_id(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).id.data();
}

const char* mt_findings_name(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).name.data();
}

mt_severity mt_findings_severity(const mt_findings* findings, size_t i) {
    return static_cast<mt_severity>(findingAt(findings, i).severity);
}

uint64_t mt_findings_offset(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).offset;
}

uint64_t mt_findings_line(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).line;
}

const char* mt_findings_part(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).part.c_str();
}

const char* mt_findings_sentence(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).sentence.c_str();
}

uint64_t mt_findings_more(const mt_findings* findings, size_t i) {
    return findingAt(findings, i).more;
}

const char* mt_finding_explanation(const char* name_or_id) {
    return textOf(name_or_id, &FindingKind::explanation);
}

const char* mt_finding_reference(const char* name_or_id) {
    return textOf(name_or_id, &FindingKind::reference);
}
