// SPDX-License-Identifier: Apache-2.0
// Command `grep`: the messages in which a pattern stands, once all is decoded.

#include <algorithm>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/text/html.h"
#include "cli/text/pattern.h"
#include "foundation/bytes/bytes.h"
#include "mimetree/embedded.hpp"

using mimetree::Header;
using mimetree::OpenedPart;
namespace bytes = mimetree::inner::bytes;

namespace {

struct GrepOptions {
    std::string pattern;
    std::vector<std::string> headers;  // "Subject", "Subject=pattern"
    bool text = false;
    bool attachmentName = false;
    bool regex = false;
    bool namesOnly = false;
    bool countOnly = false;
    bool invert = false;
    bool endsWithNul = false;
};

// Limit: as many bytes of a line are shown on each side of what was found.
constexpr size_t kContext = 100;

// Where something was found: in a line, behind a label such as "Subject: ".
struct Hit {
    std::string label;
    std::string before, found, after;
};

bool isInCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

std::string_view lastOf(std::string_view text) {
    size_t at = text.size() - std::min(text.size(), kContext);
    while (at > 0 && at < text.size() && isInCharacter(text[at])) ++at;
    return text.substr(at);
}

std::string_view firstOf(std::string_view text) {
    size_t end = std::min(text.size(), kContext);
    while (end > 0 && end < text.size() && isInCharacter(text[end])) --end;
    return text.substr(0, end);
}

// The text that a reader sees, in lines as they were written, and where its links lead to.
std::string shownText(const mimetree::Part& part) {
    if (part.type() != "text/html" || htmlLibrary().empty()) return std::string(part.text());
    constexpr size_t kUnfilled = 1 << 20;
    Links links;
    std::string text = htmlText(part.text(), {kUnfilled, {}}, links);
    for (const std::string& url : links.list()) text += url + "\n";
    return text;
}

// The ends of lines are one byte, which "$" stands in front of.
std::string withPlainLineEnds(std::string text) {
    if (text.find('\r') == text.npos) return text;
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at)
        if (text[at] != '\r') plain += text[at];
        else if (text[at + 1] != '\n') plain += '\n';
    return plain;
}

// The names of what is attached, or stands in a text as a file.
std::vector<std::string> namesIn(const mimetree::Part& part) {
    std::vector<std::string> names;
    if (!part.declared_name().empty()) names.emplace_back(part.declared_name());
    auto files = mimetree::embedded_files(part);
    if (!files) throw std::bad_alloc();
    for (mimetree::EmbeddedFile& file : *files) names.push_back(std::move(file.name));
    return names;
}

// The first line of the place, and what stands around it there.
Hit hitAt(std::string label, std::string_view text, size_t at, size_t size) {
    const size_t begin = at == 0 ? 0 : text.find_last_of("\r\n", at - 1) + 1;
    std::string_view before = text.substr(begin, at - begin);
    before.remove_prefix(std::min(before.find_first_not_of(" \t"), before.size()));
    const std::string_view rest = text.substr(at, text.find_first_of("\r\n", at) - at);
    const std::string_view found = rest.substr(0, size), after = rest.substr(found.size());
    const std::string_view left = lastOf(before), right = firstOf(after);
    return {std::move(label), (left.size() < before.size() ? "..." : "") + std::string(left),
            std::string(firstOf(found)),
            std::string(right) + (right.size() < after.size() ? "..." : "")};
}

// A pattern and where it may stand.
class Condition {
public:
    struct Places {
        bool headers = true, texts = true, names = true;
        std::vector<std::string> fields;  // of the headers; empty for all
    };

    Condition(const std::string& pattern, Pattern::Kind kind, Places places)
        : m_pattern(pattern, kind), m_places(std::move(places)) {}

    // Why it cannot be looked for; empty when it can.
    std::string mistake() const { return m_pattern.mistake(); }

    std::optional<Hit> findIn(const mimetree::OpenedParts& parts) const {
        for (const OpenedPart& at : parts)
            if (std::optional<Hit> hit = findIn(at)) return hit;
        return std::nullopt;
    }

private:
    std::optional<Hit> findIn(const OpenedPart& at) const {
        if (m_places.headers && at.part.depth() == 0)
            for (const Header& header : at.part.headers())
                if (isMeant(header.name))
                    if (auto hit = find(header.value, std::string(header.name) + ": ")) return hit;
        if (m_places.texts && !at.part.text().empty())
            if (auto hit = find(withPlainLineEnds(shownText(at.part)), "")) return hit;
        if (m_places.names)
            for (const std::string& name : namesIn(at.part))
                if (auto hit = find(name, "")) return hit;
        return std::nullopt;
    }

    bool isMeant(std::string_view name) const {
        const auto& fields = m_places.fields;
        return fields.empty() || std::ranges::any_of(fields, [&](const std::string& field) {
                   return field.size() == name.size() &&
                          bytes::equalIgnoreCase(name.data(), field.data(), name.size());
               });
    }

    std::optional<Hit> find(std::string_view text, std::string label) const {
        const std::optional<Pattern::Place> place = m_pattern.find(text);
        if (!place) return std::nullopt;
        return hitAt(std::move(label), text, place->at, place->size);
    }

    Pattern m_pattern;
    Places m_places;
};

using Conditions = std::vector<Condition>;

// What the first condition found, if all found something.
std::optional<Hit> findAll(const Conditions& conditions, const mimetree::OpenedParts& parts) {
    std::optional<Hit> first;
    for (const Condition& condition : conditions) {
        std::optional<Hit> hit = condition.findIn(parts);
        if (!hit) return std::nullopt;
        if (!first) first = std::move(hit);
    }
    return first;
}

void show(const std::string& name, const std::optional<Hit>& hit, const GrepOptions& options,
          Output& out) {
    if (options.countOnly) return;
    const bool hasLine = hit && !options.namesOnly;
    const bool hasNul = options.endsWithNul && !out.screen().isTerminal;
    out.write(hasNul ? name + '\0' : out.coloured(Colour::Cyan, oneLine(name)));
    if (hasLine)
        out.write((hasNul ? "" : ": ") + oneLine(hit->label + hit->before) +
                  out.coloured(Colour::Bold, oneLine(hit->found)) + oneLine(hit->after));
    if (hasLine || !hasNul) out.write("\n");
}

ExitStatus search(const CommonOptions& common, const Conditions& conditions,
                  const GrepOptions& options, Output& out) {
    uint64_t found = 0;
    const ExitStatus status = forEachMessageInTurn(
        common, out, Heading::None, [&](const InputMessage& message, Output& to) -> InTurn {
            const std::optional<Hit> hit = findAll(conditions, message.opened());
            const bool isShown = hit.has_value() != options.invert;
            if (isShown) show(message.name, hit, options, to);
            return [&found, isShown](Output&) {
                found += isShown;
                return kDone;
            };
        });
    if (options.countOnly) out.write(std::to_string(found) + "\n");
    return found > 0 ? status : std::max(status, kNothingFound);
}

// Every --header with a pattern of its own is a condition.  PATTERN is one, too, unless there is
// nothing left for it to do; the other options say where it may stand.
class Wanted {
public:
    explicit Wanted(const GrepOptions& options) : m_options(options) {
        for (const std::string& header : options.headers) {
            const size_t mark = std::min(header.find('='), header.size());
            const std::string field = header.substr(0, mark);
            if (mark + 1 < header.size())
                add(header.substr(mark + 1), {true, false, false, {field}});
            else m_fields.push_back(field);
        }
    }

    bool needsPattern() const {
        const bool isLimited = !m_fields.empty() || m_options.text || m_options.attachmentName;
        return m_conditions.empty() || isLimited;
    }

    void addPattern(const std::string& pattern) {
        const bool isLimited = !m_fields.empty() || m_options.text || m_options.attachmentName;
        add(pattern, {!isLimited || !m_fields.empty(), !isLimited || m_options.text,
                      !isLimited || m_options.attachmentName, m_fields});
    }

    const Conditions& conditions() const { return m_conditions; }

    std::string mistake() const {
        for (const Condition& condition : m_conditions)
            if (std::string text = condition.mistake(); !text.empty()) return text;
        return {};
    }

private:
    void add(const std::string& pattern, Condition::Places places) {
        m_conditions.emplace_back(pattern,
                                  m_options.regex ? Pattern::Kind::Regex : Pattern::Kind::Words,
                                  std::move(places));
    }

    const GrepOptions& m_options;
    std::vector<std::string> m_fields;  // for PATTERN
    Conditions m_conditions;
};

ExitStatus badUsage(const std::string& mistake, Output& out) {
    out.error(mistake + " (see mimetree grep --help)");
    return kBadUsage;
}

// The first argument is a FILE where no PATTERN is needed.
ExitStatus grep(CommonOptions common, const GrepOptions& options, Output& out) {
    Wanted wanted(options);
    if (wanted.needsPattern()) wanted.addPattern(options.pattern);
    else common.paths.insert(common.paths.begin(), options.pattern);
    if (common.paths.empty()) return badUsage("grep needs a FILE, or - for stdin", out);
    if (const std::string mistake = wanted.mistake(); !mistake.empty())
        return badUsage(mistake, out);
    return search(common, wanted.conditions(), options, out);
}

}  // namespace

Run addGrep(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<GrepOptions>();
    app.add_option("PATTERN", options->pattern, "what to find, in any letter case")
        ->required()
        ->type_name("");
    addMessages(app, common);
    app.get_option("FILE")->required(false);
    addClosed(app, common);
    app.add_option("--header", options->headers,
                   "find PATTERN in this field only; or, with =PATTERN, what must be in it")
        ->type_name("NAME[=PATTERN]")
        ->allow_extra_args(false);
    app.add_flag("--text", options->text, "find PATTERN in texts only");
    app.add_flag("--attachment-name", options->attachmentName, "in names of attachments only");
    app.add_flag("-E,--regex", options->regex, "patterns are regular expressions, as RE2 has them");
    app.add_flag("-l,--names", options->namesOnly, "only the names of messages");
    app.add_flag("-c,--count", options->countOnly, "only how many messages there are");
    app.add_flag("-v,--invert", options->invert, "the messages in which nothing is found");
    app.add_flag("-0,--null", options->endsWithNul, "a NUL behind each name, which is not escaped");
    app.footer(
        "PATTERN is looked for in header fields, texts and names of attachments, decoded, of the\n"
        "message and those within it; in HTML, in what a reader sees and where links lead to.\n"
        "For each message, the first line that has it is shown.\n"
        "--header, --text and --attachment-name add up; a --header NAME=PATTERN is a condition\n"
        "besides, and with nothing but such there is no other PATTERN.  In a regular expression,\n"
        "^ and $ stand for the ends of a line, and (?-i) for letters as they are.\n"
        "Exit status: 0 when something was found; 1 when nothing was, or, with a line on standard\n"
        "error, when a message could not be read.");
    return [options, &common](Output& out) { return grep(common, *options, out); };
}
