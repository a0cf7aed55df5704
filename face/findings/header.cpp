// SPDX-License-Identifier: Apache-2.0
// Findings about header fields, whatever their values mean.

#include <algorithm>
#include <iterator>

#include "face/findings/entity.h"
#include "face/message/tree.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner::check {

namespace {

// RFC 5322 3.6: those that stand once, and what must be in them.
struct FieldRule {
    std::string_view name;
    bool needsValue;
};
constexpr FieldRule kOnceFields[] = {
    {"Date", true},
    {"Sender", true},
    {"Reply-To", true},
    {"To", true},
    {"Cc", true},
    {"Bcc", false},
    {"Message-ID", true},
    {"In-Reply-To", true},
    {"References", true},
    {"Subject", false},
    {"MIME-Version", true},
    {"Content-ID", true},
    {"Content-Disposition", true},
};
// Those have kinds of their own when they are repeated.
constexpr std::string_view kGravestFields[] = {"From", "Content-Type", "Content-Transfer-Encoding"};

const FieldRule* ruleOf(std::string_view name) {
    const auto* const rule =
        std::find_if(std::begin(kOnceFields), std::end(kOnceFields),
                     [&](const FieldRule& known) { return isSameWord(known.name, name); });
    return rule == std::end(kOnceFields) ? nullptr : rule;
}

bool isGravest(std::string_view name) {
    return std::any_of(std::begin(kGravestFields), std::end(kGravestFields),
                       [&](std::string_view known) { return isSameWord(known, name); });
}

bool needsValue(std::string_view name) {
    const FieldRule* const rule = ruleOf(name);
    return rule ? rule->needsValue : isGravest(name);
}

bool isAscii(std::string_view text) { return bytes::isAscii(text.data(), text.size()); }

// Of every field of that name but the first.
void tellEachFurther(const Entity& e, std::string_view name, Report& report) {
    const Field* const first = e.field(name);
    if (!first) return;
    for (const Field* field = first + 1; field != e.fields.data() + e.fields.size(); ++field)
        if (isSameWord(field->name, name))
            report(field->whole.data(), "the field ", field->name, " stands once more");
}

bool isHeaderless(const Entity& e) { return e.isMessage && e.fields.empty(); }

}  // namespace

void noHeader(const Entity& e, Report& report) {
    if (isHeaderless(e)) report(e.at(), "there is no header field: all of it was taken for text");
}

// RFC 2046 5.1.1: a part may end with its header, and what has a blank line in front of the
// delimiter often does.
void noBlankLine(const Entity& e, Report& report) {
    const bool isText = std::any_of(e.fields.begin(), e.fields.end(),
                                    [](const Field& field) { return field.name.empty(); });
    if (!e.place.hasBlankLine && (e.isMessage || isText))
        report(e.at() + e.whole.size(), "no blank line ends the header: all of it is header");
}

void notAField(const Entity& e, Report& report) {
    for (const Field& field : e.fields)
        if (field.name.empty())
            report(field.whole.data(), "the line ", Quoted(field.whole), " is no header field");
}

void blankBeforeColon(const Entity& e, Report& report) {
    for (const Field& field : e.fields)
        if (!field.name.empty() && bytes::isBlank(field.whole[field.name.size()]))
            report(field.whole.data() + field.name.size(), "a blank stands between ",
                   Quoted(field.name), " and its colon");
}

void blankFold(const Entity& e, Report& report) {
    for (const Field& field : e.fields) {
        const char* const end = field.whole.data() + field.whole.size();
        for (const char* p = field.whole.data(); p != end;) {
            const std::string_view line = lineAt(p, end);
            if (p != field.whole.data() && !line.empty() && isBlankText(line))
                report(p, "a line of the field ", Quoted(field.name), " is blank");
            p = line.data() + line.size() + (line.data() + line.size() != end);
        }
    }
}

void emptyField(const Entity& e, Report& report) {
    for (const Field& field : e.fields)
        if (!field.name.empty() && isBlankText(field.value) && !ruleOf(field.name) &&
            !isGravest(field.name))
            report(field.whole.data(), "the field ", Quoted(field.name), " is empty");
}

void fieldWithoutValue(const Entity& e, Report& report) {
    for (const Field& field : e.fields)
        if (!field.name.empty() && isBlankText(field.value) && needsValue(field.name))
            report(field.whole.data(), "the field ", Quoted(field.name),
                   " needs a value and has none");
}

void repeatedField(const Entity& e, Report& report) {
    std::vector<const FieldRule*> seen;
    for (const Field& field : e.fields) {
        const FieldRule* const rule = field.name.empty() ? nullptr : ruleOf(field.name);
        if (!rule || (!e.isMessage && !isSameWord(field.name.substr(0, 8), "Content-"))) continue;
        if (std::find(seen.begin(), seen.end(), rule) == seen.end()) seen.push_back(rule);
        else report(field.whole.data(), "the field ", rule->name, " stands once more");
    }
}

void repeatedFrom(const Entity& e, Report& report) {
    if (e.isMessage) tellEachFurther(e, "From", report);
}

void repeatedContentType(const Entity& e, Report& report) {
    tellEachFurther(e, "Content-Type", report);
}

void longHeaderLine(const Entity& e, Report& report) {
    for (const Field& field : e.fields) {
        const char* const end = field.whole.data() + field.whole.size();
        for (const char* p = field.whole.data(); end - p > static_cast<ptrdiff_t>(kLongestLine);) {
            const std::string_view line = lineAt(p, end);
            if (line.size() > kLongestLine)
                report(p, "a line of the header has ", line.size(), " bytes");
            p = line.data() + line.size() + (line.data() + line.size() != end);
        }
    }
}

void headerIn8bit(const Entity& e, Report& report) {
    for (const Field& field : e.fields) {
        if (isAscii(field.whole) || isUtf8(field.whole)) continue;
        const char* const charset = _zqCharset::nameOf(e.part.node().m_mimeHeader.getDetectedCP());
        report(field.whole.data(), "the field ", Quoted(field.name),
               " holds bytes above 127, which were read as ",
               std::string_view(charset ? charset : "windows-1252"));
    }
}

void needsSmtputf8(const Entity& e, Report& report) {
    for (const Field& field : e.fields)
        if (!isAscii(field.whole) && isUtf8(field.whole))
            return report(field.whole.data(), "the field ", Quoted(field.name),
                          " is in UTF-8, for which every server on the way needs SMTPUTF8");
}

}  // namespace mimetree::inner::check
