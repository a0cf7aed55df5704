// SPDX-License-Identifier: Apache-2.0
// Command `headers`: the header fields of each message, decoded or as they were read; all of
// them, or the values of some for scripts.

#include <algorithm>
#include <optional>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/terminal/width.h"
#include "foundation/bytes/bytes.h"

namespace {

using mimetree::Header;
using mimetree::Part;

struct HeadersOptions {
    std::optional<std::string> part;
    bool raw = false;
    std::vector<std::string> names;  // --get
    bool nul = false;
};

// RFC 5322 3.6: the fields that hold lists of addresses.
constexpr const char* kAddressLists[] = {"From",      "Reply-To",   "To",
                                         "Cc",        "Bcc",        "Resent-To",
                                         "Resent-Cc", "Resent-Bcc", "Mail-Followup-To"};

// Longer lists stand one address a line.
constexpr size_t kLongLine = 78;

bool isName(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           mimetree::inner::bytes::equalIgnoreCase(a.data(), b.data(), a.size());
}

bool isAddressList(std::string_view name) {
    return std::ranges::any_of(kAddressLists, [&](const char* list) { return isName(name, list); });
}

// An address of a list ends at a comma outside of quotes and comments; names may have commas in
// front of the "@" once they are decoded.
std::vector<std::string_view> addressesIn(std::string_view list) {
    std::vector<std::string_view> found;
    size_t begin = 0;
    int comments = 0;
    bool isQuoted = false, hasAt = false;
    for (size_t at = 0; at < list.size(); ++at) {
        const char c = list[at];
        if (c == '\\') ++at;
        else if (c == '"' && comments == 0) isQuoted = !isQuoted;
        else if (!isQuoted && c == '(') ++comments;
        else if (!isQuoted && c == ')') comments = std::max(0, comments - 1);
        else if (c == '@') hasAt = true;
        else if (!isQuoted && comments == 0 && c == ',' && hasAt) {
            found.push_back(list.substr(begin, at + 1 - begin));
            begin = std::min(list.find_first_not_of(' ', at + 1), list.size());
            hasAt = false;
        }
    }
    found.push_back(list.substr(begin));
    return found;
}

// Folds leave tabs behind, with blanks around them: one blank is enough.
std::string withoutTabs(std::string_view value) {
    std::string text;
    while (!value.empty()) {
        const size_t blanks = std::min(value.find_first_not_of(" \t"), value.size());
        const std::string_view run = value.substr(0, blanks);
        text += run.find('\t') == run.npos ? run : std::string_view(" ");
        value.remove_prefix(blanks);
        const size_t word = std::min(value.find_first_of(" \t"), value.size());
        text += value.substr(0, word);
        value.remove_prefix(word);
    }
    return text;
}

void showDecoded(const Header& field, Output& out) {
    const std::string name = oneLine(field.name), value = oneLine(withoutTabs(field.value));
    const std::string indent(columnsOf(name) + 2, ' '), nextLine = "\n" + indent;
    std::string text = out.coloured(Colour::Cyan, name + ":");
    if (!isAddressList(field.name) || indent.size() + columnsOf(value) <= kLongLine) {
        text += (value.empty() ? "" : " ") + value;
    } else {
        std::string_view separator = " ";
        for (std::string_view address : addressesIn(value)) {
            text.append(separator).append(address);
            separator = nextLine;
        }
    }
    out.write(text + "\n");
}

void showRaw(MimeMessage2& node, int index, Output& out) {
    StringBuffer field;
    node.m_mimeHeader.getFieldText(index, field);
    field.append("\r\n");
    out.writeContent(view(field));
}

// With NUL behind each, values are exact.
void showValue(const Header& field, const HeadersOptions& options, Output& out) {
    const std::string value = options.raw ? std::string(field.raw) : withoutTabs(field.value);
    if (options.nul && !out.screen().isTerminal) out.write(value + '\0');
    else out.write((options.raw ? manyLines(value) : oneLine(value)) + "\n");
}

ExitStatus showValues(const Part& part, const HeadersOptions& options, Output& out) {
    bool isFound = false;
    for (const std::string& name : options.names)
        for (const Header& field : part.headers()) {
            if (!isName(field.name, name)) continue;
            showValue(field, options, out);
            isFound = true;
        }
    return isFound ? kDone : kFailed;
}

ExitStatus showFields(const Part& part, const HeadersOptions& options, Output& out) {
    if (!options.names.empty()) return showValues(part, options, out);
    if (options.raw) {
        for (int i = 0; i < part.node().getNumHeaderFields() && out.good(); ++i)
            showRaw(part.node(), i, out);
    } else {
        for (const Header& field : part.headers()) showDecoded(field, out);
    }
    return kDone;
}

// RFC 3501 6.4.5: the header of a part that is a message is that of the message within it.
ExitStatus showHeaders(const InputMessage& message, const HeadersOptions& options, Output& out) {
    if (!options.part) return showFields(message.mail.root(), options, out);
    const mimetree::OpenedParts parts = message.opened();
    if (const mimetree::OpenedPart* at = parts.find(*options.part))
        return showFields(at[at->is_opened ? 1 : 0].part, options, out);
    out.error("no part " + *options.part + " in " + message.name);
    return kBadUsage;
}

}  // namespace

Run addHeaders(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<HeadersOptions>();
    addMessages(app, common);
    addClosed(app, common);
    addPart(app, options->part,
            "of the part with this number; of the message that it is, unless --closed");
    app.add_flag("--raw", options->raw, "as stored, neither decoded nor unfolded");
    CLI::Option* get =
        app.add_option("--get", options->names, "only the values of this field, one a line")
            ->type_name("FIELD")
            ->expected(1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_flag("-0,--null", options->nul, "a NUL instead of a line break behind each value")
        ->needs(get);
    app.footer(
        "Lists of addresses that are longer than a line stand one address a line.  --get may be\n"
        "given several times; fields that a message has not give no line, and the status is 1 "
        "when\n"
        "it has none of them.");
    return [options, &common](Output& out) {
        const Heading heading = options->names.empty() ? Heading::Name : Heading::None;
        return forEachMessage(common, out, heading, [&](const auto& message, Output& to) {
            return showHeaders(message, *options, to);
        });
    };
}
