// SPDX-License-Identifier: Apache-2.0
// Command `tree`: a line a part, drawn as a tree and aligned.  With --json, the document of
// json_document.h.

#include <algorithm>
#include <map>
#include <new>
#include <string>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/contained.h"
#include "cli/message/json_document.h"
#include "cli/message/places.h"
#include "cli/terminal/grid.h"
#include "cli/terminal/size.h"
#include "mimetree/findings.hpp"

namespace {

using mimetree::OpenedPart;
using mimetree::OpenedParts;
using mimetree::Part;

struct TreeOptions {
    bool json = false;
    bool why = false;
};

// Limit: a message nested without end would make the indentation quadratic.
constexpr unsigned kMaxLevels = 40;

constexpr Column kColumns[] = {
    {Column::Side::Left, 0, 2, 12},  // guides, number and type
    {Column::Side::Left, 2, 0, 0},   // charset
    {Column::Side::Left, 1, 0, 0},   // transfer coding
    {Column::Side::Right, 0, 0, 0},  // size
    {Column::Side::Left, 3, 0, 0},   // what it is to a reader
    {Column::Side::Left, 0, 0, 0},   // what check finds
    {Column::Side::Left, 0, 1, 8},   // name
};

struct Guides {
    const char *past, *open, *branch, *last;
};
constexpr Guides kLines = {"   ", "\u2502  ", "\u251C\u2500 ", "\u2514\u2500 "};
constexpr Guides kAsciiLines = {"   ", "|  ", "|- ", "`- "};

struct Mark {
    const char* word;
    const char* sign;
    const char* asciiSign;
    Colour colour;
};

Mark markOf(Place place) {
    switch (place) {
        case Place::Body: return {"body", "\u25CF", "*", Colour::Green};
        case Place::Variant: return {"variant", "\u25CB", "o", Colour::None};
        case Place::Inline: return {"inline", "\u25CB", "o", Colour::None};
        case Place::Attached: return {"attached", "\u25C6", "+", Colour::Yellow};
        case Place::None: break;
    }
    return {"", "", "", Colour::None};
}

Colour colourOf(std::string_view type) {
    if (type.starts_with("text/")) return Colour::Cyan;
    if (type.starts_with("message/")) return Colour::Yellow;
    if (type.starts_with("application/")) return Colour::Blue;
    return type.starts_with("multipart/") ? Colour::None : Colour::Magenta;
}

std::string cellText(std::string_view text) {
    std::string line = oneLine(text);
    std::ranges::replace(line, '\t', ' ');
    return line;
}

class TreeDrawing {
public:
    TreeDrawing(const InputMessage& message, const TreeOptions& options, Output& out)
        : m_message(message),
          m_parts(message.opened()),
          m_places(m_parts),
          m_options(options),
          m_out(out),
          m_guides(out.screen().isAscii ? kAsciiLines : kLines),
          m_levels(out.screen().isTerminal
                       ? std::clamp(static_cast<unsigned>(out.screen().columns / 6), 2u, kMaxLevels)
                       : kMaxLevels) {}

    void run() {
        findLastChildren();
        findFindings();
        Grid grid(kColumns);
        for (size_t i = 0; i < m_parts.size(); ++i) {
            const OpenedPart& at = m_parts[i];
            if (at.depth > 0 && at.depth <= m_levels) {
                m_isOpen.resize(at.depth);
                m_isOpen[at.depth - 1] = m_lastChildren[*at.parent] != i;
            }
            grid.add(cellsOf(at), m_options.why ? noteOf(at) : std::string());
            addContained(at, grid);
        }
        grid.write(m_out);
    }

private:
    void findLastChildren() {
        m_lastChildren.resize(m_parts.size());
        for (size_t i = 1; i < m_parts.size(); ++i) m_lastChildren[*m_parts[i].parent] = i;
    }

    // The worst of each part.
    void findFindings() {
        const auto list = mimetree::findings(m_message.mail, m_message.nested);
        if (!list) throw std::bad_alloc();
        for (const mimetree::Finding& finding : *list) {
            mimetree::Severity& worst =
                m_worst.try_emplace(finding.part, finding.severity).first->second;
            worst = std::max(worst, finding.severity);
        }
    }

    Cell findingCell(const OpenedPart& at) const {
        const auto found = m_worst.find(at.number);
        if (found == m_worst.end() || (at.number.empty() && at.parent)) return {};
        if (found->second == mimetree::Severity::critical) return {"", "!!", "", Colour::Red};
        const bool isWarning = found->second == mimetree::Severity::warning;
        return {"", isWarning ? "!" : "", "", Colour::Yellow};
    }

    void addContained(const OpenedPart& at, Grid& grid) const {
        const std::vector<ContainedFile> files = containedFiles(at.part);
        for (const ContainedFile& file : files) {
            const bool isLast = &file == &files.back();
            const std::string lead = linesAbove(std::min(at.depth, m_levels)) +
                                     (isLast ? m_guides.last : m_guides.branch);
            grid.add({{lead, std::string(file.how), "", Colour::None},
                      {},
                      {},
                      {"", humanSize(file.bytes.size()), "", Colour::None},
                      markCell(Place::Attached),
                      {},
                      {"", cellText(file.name), "", Colour::Bold}},
                     "");
        }
    }

    Cell markCell(Place place) const {
        const Mark mark = markOf(place);
        const std::string sign = m_out.screen().isAscii ? mark.asciiSign : mark.sign;
        return {"", sign + (sign.empty() ? "" : " ") + mark.word, sign, mark.colour};
    }

    // The lines of the levels above that go on.
    std::string linesAbove(unsigned levels) const {
        std::string text;
        for (unsigned i = 0; i < levels && i < m_isOpen.size(); ++i)
            text += m_isOpen[i] ? m_guides.open : m_guides.past;
        return text;
    }

    std::string leadOf(const OpenedPart& at) const {
        if (at.depth == 0) return {};
        const std::string number = at.number.empty() ? "" : at.number + " ";
        if (at.depth > m_levels)
            return linesAbove(m_levels) + "(depth " + std::to_string(at.depth) + ") " + number;
        return linesAbove(at.depth - 1) +
               (m_isOpen[at.depth - 1] ? m_guides.branch : m_guides.last) + number;
    }

    // A charset matters for texts, and a coding where it changes the bytes.
    std::vector<Cell> cellsOf(const OpenedPart& at) const {
        const Part& part = at.part;
        const bool isLeaf = part.children().empty();
        const bool isPlain =
            part.encoding() == "7bit" || part.encoding() == "8bit" || part.encoding() == "binary";
        return {
            {leadOf(at), cellText(part.type()), cellText(part.type()), colourOf(part.type())},
            {"", isLeaf && part.is_text() ? cellText(part.charset()) : "", "", Colour::None},
            {"", isLeaf && !isPlain ? cellText(part.encoding()) : "", "", Colour::None},
            {"", isLeaf ? humanSize(part.bytes().size()) : "", "", Colour::None},
            markCell(m_places.of(part)),
            findingCell(at),
            {"", nameOf(at), "", Colour::Bold},
        };
    }

    // A message that has no name is told by its subject.
    std::string nameOf(const OpenedPart& at) const {
        if (const std::string_view name = at.part.declared_name(); !name.empty())
            return cellText(name);
        if (!at.is_opened) return {};
        const Part& root = (&at + 1)->part;  // what is_opened promises
        const std::string_view subject = root.header("Subject").value_or(std::string_view());
        return subject.empty() ? std::string() : '"' + cellText(subject) + '"';
    }

    std::string noteOf(const OpenedPart& at) const {
        if (!at.part.children().empty()) return {};
        const mimetree::Rule rule = at.part.rule();
        return linesAbove(std::min(at.depth, m_levels)) + "   " + std::string(rule.name) + ": " +
               std::string(rule.what);
    }

    const InputMessage& m_message;
    const OpenedParts m_parts;
    const Places m_places;
    const TreeOptions& m_options;
    Output& m_out;
    const Guides& m_guides;
    const unsigned m_levels;                            // that are drawn
    std::map<std::string, mimetree::Severity> m_worst;  // finding, by part
    std::vector<size_t> m_lastChildren;                 // of each part; 0 without any
    std::vector<bool> m_isOpen;                         // whether more follows on each level
};

ExitStatus showTree(const InputMessage& message, const TreeOptions& options, Output& out) {
    if (options.json) return showJson(message, nullptr, out);
    TreeDrawing(message, options, out).run();
    return kDone;
}

}  // namespace

Run addTree(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<TreeOptions>();
    addMessages(app, common);
    addClosed(app, common);
    CLI::Option* json =
        app.add_flag("--json", options->json, "one JSON document a message, one line each");
    app.add_flag("--why", options->why, "by which rule a part is body or attachment")
        ->excludes(json);
    app.footer(
        "Marked are the body (what a reader shows), variants of it (the HTML beside the text),\n"
        "what is inline (pictures in the text) and what is attached; \"!\" and \"!!\" tell of "
        "warnings\n"
        "and of critical findings of check.  On a terminal, lines are\n"
        "made to fit: charset and coding go first, then names are cut in the middle.\n"
        "\n"
        "JSON: \"nodes\" is a flat list, each node before its children.  \"depth\" counts from\n"
        "0 at the root, \"parent\" is an index into the list (null at the root), and \"part\" is\n"
        "the number that body --part takes: \"\" at the root, \"1.2\" for the second child of its\n"
        "first child, null below depth 32 and for a multipart that is the whole of a message "
        "within\n"
        "another.");
    return [options, &common](Output& out) {
        const Heading heading = options->json ? Heading::None : Heading::Name;
        return forEachMessage(common, out, heading, [&](const auto& message, Output& to) {
            return showTree(message, *options, to);
        });
    };
}
