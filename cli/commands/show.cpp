// SPDX-License-Identifier: Apache-2.0
// Command `show`: a message as a reader shows it: who, what and when, the text, and what is
// attached.

#include <algorithm>
#include <ctime>
#include <new>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/contained.h"
#include "cli/message/reading.h"
#include "cli/terminal/fill.h"
#include "cli/terminal/grid.h"
#include "cli/terminal/size.h"
#include "cli/terminal/width.h"

namespace {

using mimetree::Message;
using mimetree::OpenedPart;
using mimetree::OpenedParts;

constexpr Column kFileColumns[] = {
    {Column::Side::Left, 0, 0, 0},   // number
    {Column::Side::Left, 0, 1, 12},  // name
    {Column::Side::Left, 1, 0, 0},   // type
    {Column::Side::Right, 0, 0, 0},  // size
};

std::string localTime(const mimetree::Date& date) {
    const std::time_t time = date.time.time_since_epoch().count();
    std::tm parts;
    char text[80];
    if (!localtime_r(&time, &parts)) return {};
    const size_t size = std::strftime(text, sizeof text, "%a %Y-%m-%d %H:%M:%S %Z", &parts);
    return {text, size};
}

// In quotes where a name holds what would look like further addresses.
std::string nameText(const std::string& name) {
    if (name.find_first_of(",;<>\"@") == name.npos) return name;
    std::string text = "\"";
    for (char c : name) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + '"';
}

std::string addressesText(const mimetree::Addresses& list) {
    std::string text;
    for (const mimetree::Address& one : list) {
        if (!text.empty()) text += ", ";
        if (one.name.empty()) text += one.address;
        else text += nameText(one.name) + (one.address.empty() ? "" : " <" + one.address + ">");
    }
    return text;
}

// A carriage return would let the end of a line be written over its beginning.
std::string withoutReturns(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\r') lines += text[at];
        else if (text.substr(at + 1, 1) != "\n") lines += '\n';
    }
    return lines;
}

class MessageView {
public:
    MessageView(const InputMessage& message, Output& out)
        : m_parts(message.opened()),
          m_reading(m_parts, textColumns(out.screen())),
          m_files(kFileColumns),
          m_out(out) {}

    void run() {
        for (const OpenedPart& at : m_parts) {
            if (at.part == at.message->root()) showHeader(at);
            showText(m_reading.textOf(at));
            showText(m_reading.pictureOf(at));
            if (isFile(at)) addFile(at);
            for (const ContainedFile& file : containedFiles(at.part))
                addRow(at, file.name, file.how, file.bytes.size());
        }
        if (m_reading.missesHtml()) showText("[HTML, which this build cannot show: body --html]");
        showText(m_reading.linkLines());
        if (m_hasFiles) {
            m_out.write("\n" + m_out.coloured(Colour::Bold, "Attachments:") + "\n");
            m_files.write(m_out);
        }
    }

private:
    void showHeader(const OpenedPart& at) {
        if (at.parent) showRule(m_parts[*at.parent]);
        const Message& message = *at.message;
        showField("From", addressesText(message.from()));
        showField("To", addressesText(message.to()));
        showField("Cc", addressesText(message.cc()));
        showField("Subject", std::string(message.subject()));
        const std::string written(message.header("Date").value_or(std::string_view()));
        const std::optional<mimetree::Date> date = message.date();
        const std::string local = date ? localTime(*date) : std::string();
        showField("Date", local.empty() ? written : local + " (" + written + ")");
    }

    void showRule(const OpenedPart& at) {
        const char* line = m_out.screen().isAscii ? "-" : "\u2500";
        std::string rule, title = " " + at.number + " ";
        for (size_t i = 0; i < textColumns(m_out.screen()) - title.size() - 2; ++i) rule += line;
        m_out.write("\n" + m_out.coloured(Colour::Dim, line + (line + title) + rule) + "\n");
    }

    void showField(std::string_view name, const std::string& value) {
        if (value.empty()) return;
        const std::string label = padded(std::string(name) + ":", 9);
        const size_t columns =
            m_out.screen().isTerminal ? m_out.screen().columns : std::string::npos;
        std::string lines;
        fill(oneLine(value), columns, label, std::string(label.size(), ' '), lines);
        m_out.write(m_out.coloured(Colour::Cyan, lines.substr(0, label.size())) +
                    lines.substr(label.size()));
    }

    // Behind an empty line, as everything but the header is.
    void showText(const std::string& text) {
        if (text.find_first_not_of(" \t\r\n") == text.npos) return;
        std::string lines = manyLines(withoutReturns(text));
        if (lines.back() != '\n') lines += '\n';
        if (m_out.screen().isTerminal) lines = filledLines(lines, m_out.screen().columns);
        m_out.write("\n" + lines);
    }

    // Messages that are shown themselves are not offered as files, too.
    bool isFile(const OpenedPart& at) const {
        const Place place = m_reading.places().of(at.part);
        const bool isMedia = place == Place::Inline && at.part.rule().name == "embedded" &&
                             !at.part.type().starts_with("image/");
        return (place == Place::Attached || isMedia) && !at.is_opened;
    }

    void addFile(const OpenedPart& at) {
        const std::string_view name = at.part.declared_name();
        addRow(at, name.empty() ? at.part.name() : name, at.part.type(), at.part.bytes().size());
    }

    void addRow(const OpenedPart& at, std::string_view name, std::string_view type, size_t size) {
        m_files.add({{"  ", at.number.empty() ? "-" : at.number, "", Colour::Dim},
                     {"", oneLine(name), "", Colour::Bold},
                     {"", oneLine(type), "", Colour::None},
                     {"", humanSize(size), "", Colour::None}},
                    "");
        m_hasFiles = true;
    }

    const OpenedParts m_parts;
    Reading m_reading;
    Grid m_files;
    bool m_hasFiles = false;
    Output& m_out;
};

}  // namespace

Run addShow(CLI::App& app, CommonOptions& common) {
    addMessages(app, common);
    addClosed(app, common);
    addPager(app, common);
    app.footer(
        "Of several forms of a text the plain one is shown; HTML alone becomes text, with its\n"
        "links numbered and listed below.  On a terminal all goes through $PAGER, or else less.");
    return [&common](Output& out) {
        if (!common.noPager) out.usePager();
        return forEachMessage(common, out, Heading::Name, [](const auto& message, Output& to) {
            MessageView(message, to).run();
            return kDone;
        });
    };
}
