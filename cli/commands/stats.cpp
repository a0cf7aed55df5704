// SPDX-License-Identifier: Apache-2.0
// Command `stats`: what there is in an archive.  Each message is looked at by itself, in any
// thread, and what was seen is added up in their order.

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <set>
#include <unordered_map>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/files.h"
#include "cli/message/json_document.h"
#include "cli/terminal/fill.h"
#include "cli/terminal/grid.h"
#include "cli/terminal/size.h"
#include "cli/terminal/width.h"
#include "foundation/bytes/bytes.h"
#include "mimetree/findings.hpp"

using mimetree::OpenedPart;

namespace {

using Json = nlohmann::ordered_json;

struct StatsOptions {
    bool json = false;
    size_t top = 10;
    std::string by = "count";
};

struct Tally {
    uint64_t count = 0, bytes = 0;

    void add(const Tally& other) {
        count += other.count;
        bytes += other.bytes;
    }
};

using Named = std::pair<std::string, Tally>;

// Limit: of names, and of bytes of a name, that are told apart; hostile mail has them without end.
constexpr size_t kMostNames = 1 << 16;
constexpr size_t kLongestName = 200;

// That of the character at text[at], or the end.
size_t startOfCharacter(std::string_view text, size_t at) {
    if (at >= text.size()) return text.size();
    while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    return at;
}

class Counter {
public:
    void add(std::string name, const Tally& tally) {
        if (name.empty()) name = "(none)";
        name.resize(startOfCharacter(name, kLongestName));
        const auto known = m_tallies.find(name);
        if (known != m_tallies.end()) known->second.add(tally);
        else if (m_tallies.size() < kMostNames) m_tallies.emplace(std::move(name), tally);
        else m_others.add(tally);
    }

    size_t size() const { return m_tallies.size(); }

    // The first by count or size, and the rest as one.
    std::vector<Named> top(const StatsOptions& options) const {
        std::vector<Named> list(m_tallies.begin(), m_tallies.end());
        const bool isBySize = options.by == "size";
        const auto isBefore = [&](const Named& a, const Named& b) {
            const uint64_t one = isBySize ? a.second.bytes : a.second.count;
            const uint64_t other = isBySize ? b.second.bytes : b.second.count;
            return one != other ? one > other : a.first < b.first;
        };
        std::ranges::sort(list, isBefore);
        Tally rest = m_others;
        for (; list.size() > options.top; list.pop_back()) rest.add(list.back().second);
        if (rest.count > 0) list.emplace_back("(others)", rest);
        return list;
    }

private:
    std::unordered_map<std::string, Tally> m_tallies;
    Tally m_others;
};

struct Attachment {
    uint64_t size;
    std::string name, type, message;
};

// -- Sizes of messages, by powers of two

constexpr uint64_t kSmallest = 1000;
constexpr size_t kBuckets = 24;

size_t bucketOf(uint64_t size) {
    const auto doublings = std::bit_width(size > 0 ? (size - 1) / kSmallest : 0);
    return std::min(static_cast<size_t>(doublings), kBuckets - 1);
}

uint64_t endOf(size_t bucket) { return kSmallest << bucket; }

// -- What there is

struct SeenPart {
    std::string type, charset, coding;
    uint64_t size;
    bool isLeaf, isRoot;
};

// In one message.
struct Seen {
    uint64_t size;
    std::string sender;
    std::vector<SeenPart> parts;
    std::vector<Attachment> files;
    std::set<std::string> findings;
};

std::string lowered(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = mimetree::inner::bytes::lower(c);
    return lower;
}

Seen look(const InputMessage& message) {
    Seen seen{message.bytes.size(), lowered(message.mail.from().first().address), {}, {}, {}};
    const mimetree::OpenedParts parts = message.opened();
    for (const OpenedPart& at : parts) {
        const mimetree::Part& part = at.part;
        const uint64_t size = part.bytes().size();
        seen.parts.push_back({std::string(part.type()), lowered(part.charset()),
                              std::string(part.encoding()), size, part.children().empty(),
                              part.depth() == 0});
        forEachFile(part, Wanted::Files, [&](File file) {
            seen.files.push_back(
                {file.bytes.size(), std::move(file.name), std::string(file.type), message.name});
        });
    }
    const auto findings = mimetree::findings(message.mail, message.nested);
    if (!findings) throw std::bad_alloc();
    for (const mimetree::Finding& finding : *findings)
        seen.findings.insert(std::string(finding.id) + " " + std::string(finding.name));
    return seen;
}

struct Totals {
    uint64_t messages = 0, bytes = 0, smallest = 0, largest = 0;
    uint64_t parts = 0, nested = 0;
    Tally attachments;
    std::array<uint64_t, kBuckets> sizes{};
    Counter types, charsets, codings, senders, findings;
    std::vector<Attachment> files;  // the largest

    void add(Seen&& seen, size_t mostFiles) {
        smallest = messages == 0 ? seen.size : std::min(smallest, seen.size);
        largest = std::max(largest, seen.size);
        messages += 1;
        bytes += seen.size;
        sizes[bucketOf(seen.size)] += 1;
        senders.add(std::move(seen.sender), {1, seen.size});
        for (SeenPart& part : seen.parts) add(part);
        for (Attachment& file : seen.files) add(std::move(file), mostFiles);
        for (const std::string& finding : seen.findings) findings.add(finding, {1, seen.size});
    }

private:
    void add(SeenPart& part) {
        parts += 1;
        nested += part.isRoot;
        types.add(part.type, {1, part.size});
        if (!part.isLeaf) return;
        codings.add(std::move(part.coding), {1, part.size});
        if (part.type.starts_with("text/")) charsets.add(std::move(part.charset), {1, part.size});
    }

    // Of equal ones, those that came first.
    void add(Attachment&& file, size_t most) {
        attachments.add({1, file.size});
        const auto place =
            std::ranges::upper_bound(files, file.size, std::greater(), &Attachment::size);
        if (place == files.end() && files.size() >= most) return;
        files.insert(place, std::move(file));
        if (files.size() > most) files.pop_back();
    }
};

struct List {
    const char* title;
    const char* member;  // in JSON
    Counter Totals::*counter;
};

constexpr List kLists[] = {{"Types", "types", &Totals::types},
                           {"Charsets of texts", "charsets", &Totals::charsets},
                           {"Transfer codings", "codings", &Totals::codings},
                           {"Senders", "senders", &Totals::senders},
                           {"Messages with findings", "findings", &Totals::findings}};

// -- For people

std::string counted(uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void showSummary(const Totals& totals, Output& out) {
    std::string text = counted(totals.messages, "message") + ", " + humanSize(totals.bytes);
    if (totals.messages > 0)
        text += "; the smallest " + humanSize(totals.smallest) + ", the average " +
                humanSize(totals.bytes / totals.messages) + ", the largest " +
                humanSize(totals.largest);
    text += "\n" + counted(totals.parts, "part") + ", " +
            counted(totals.nested - totals.messages, "message") + " within messages, " +
            counted(totals.attachments.count, "attachment") + " of " +
            humanSize(totals.attachments.bytes) + "\n";
    out.write(filledLines(text, textColumns(out.screen())));
}

void showTitle(const char* title, Output& out) {
    out.write("\n" + out.coloured(Colour::Bold, title) + "\n");
}

Cell cell(std::string text, Colour colour = Colour::None) {
    return {"", std::move(text), "", colour};
}

// Numbers stand below those of the other lists.
Cell number(const std::string& text) { return cell(paddedLeft(text, 9)); }

constexpr Column kNumber = {Column::Side::Right, 0, 0, 0};
constexpr Column kText = {Column::Side::Left, 0, 1, 8};

constexpr Column kListRow[] = {kNumber, kNumber, kText};
constexpr Column kFileRow[] = {kNumber,
                               {Column::Side::Left, 0, 1, 24},  // name
                               {Column::Side::Left, 1, 3, 4},   // type
                               {Column::Side::Left, 0, 2, 8}};  // message

// Where there is no room, "pdf" of "application/pdf".
Cell typeCell(const std::string& type) {
    const std::string shown = oneLine(type);
    return {"", shown, shown.substr(shown.find('/') + 1), Colour::None};
}

// Up to so many columns, and one for what there is little of.
std::string barOf(uint64_t count, uint64_t most, const Screen& screen) {
    const size_t left =
        screen.isTerminal ? screen.columns - std::min<size_t>(screen.columns, 24) : 40;
    const uint64_t columns = std::clamp<uint64_t>(left, 8, 40);
    std::string bar;
    for (uint64_t n = (count * columns + most - 1) / most; n > 0; --n)
        bar += screen.isAscii ? "#" : "\u2588";
    return bar;
}

void showSizes(const Totals& totals, Output& out) {
    const uint64_t most = *std::ranges::max_element(totals.sizes);
    if (most == 0) return;
    showTitle("Sizes of messages", out);
    Grid grid(kListRow);
    uint64_t left = totals.messages;
    for (size_t i = 0; left > 0; ++i) {
        const uint64_t count = totals.sizes[i];
        if (count == 0 && left == totals.messages) continue;
        left -= count;
        grid.add({number("to " + humanSize(endOf(i))), number(std::to_string(count)),
                  cell(barOf(count, most, out.screen()), Colour::Green)},
                 "");
    }
    grid.write(out);
}

void showList(const char* title, const std::vector<Named>& list, Output& out) {
    if (list.empty()) return;
    showTitle(title, out);
    Grid grid(kListRow);
    for (const auto& [name, tally] : list)
        grid.add({number(std::to_string(tally.count)), number(humanSize(tally.bytes)),
                  cell(oneLine(name))},
                 "");
    grid.write(out);
}

void showFiles(const Totals& totals, Output& out) {
    if (totals.files.empty()) return;
    showTitle("Largest attachments", out);
    Grid grid(kFileRow);
    for (const Attachment& file : totals.files)
        grid.add({number(humanSize(file.size)), cell(oneLine(file.name), Colour::Bold),
                  typeCell(file.type), cell(oneLine(file.message), Colour::Cyan)},
                 "");
    grid.write(out);
}

void showText(const Totals& totals, const StatsOptions& options, Output& out) {
    showSummary(totals, out);
    showSizes(totals, out);
    for (const List& list : kLists) showList(list.title, (totals.*list.counter).top(options), out);
    showFiles(totals, out);
}

// -- For programs

Json jsonOf(const Totals& totals, const StatsOptions& options) {
    Json json = {
        {"messages", totals.messages},
        {"bytes", totals.bytes},
        {"smallest", totals.smallest},
        {"largest", totals.largest},
        {"parts", totals.parts},
        {"messagesWithin", totals.nested - totals.messages},
        {"attachments", {{"count", totals.attachments.count}, {"bytes", totals.attachments.bytes}}},
        {"sizes", Json::array()}};
    for (size_t i = 0; i < kBuckets; ++i)
        if (totals.sizes[i] > 0)
            json["sizes"].push_back({{"upTo", endOf(i)}, {"messages", totals.sizes[i]}});
    for (const List& list : kLists) {
        Json& rows = json[list.member] = Json::array();
        for (const auto& [name, tally] : (totals.*list.counter).top(options))
            rows.push_back({{"name", name}, {"count", tally.count}, {"bytes", tally.bytes}});
    }
    Json& files = json["largestAttachments"] = Json::array();
    for (const Attachment& file : totals.files)
        files.push_back({{"bytes", file.size},
                         {"name", file.name},
                         {"contentType", file.type},
                         {"path", file.message}});
    return json;
}

ExitStatus stats(const CommonOptions& common, const StatsOptions& options, Output& out) {
    Totals totals;
    const ExitStatus status = forEachMessageInTurn(
        common, out, Heading::None, [&](const InputMessage& message, Output&) -> InTurn {
            const auto seen = std::make_shared<Seen>(look(message));
            return [&, seen](Output&) {
                totals.add(std::move(*seen), options.top);
                return kDone;
            };
        });
    if (options.json) out.write(jsonText(jsonOf(totals, options)) + "\n");
    else showText(totals, options, out);
    return status;
}

}  // namespace

Run addStats(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<StatsOptions>();
    addMessages(app, common);
    addClosed(app, common);
    app.add_flag("--json", options->json, "one JSON document");
    app.add_option("--top", options->top, "how many rows a list has (10)")
        ->type_name("N")
        ->check(CLI::Range(1, 65536));
    app.add_option("--by", options->by, "what the lists go by: count (which it is) or size")
        ->type_name("count|size")
        ->check(CLI::IsMember({"count", "size"}));
    app.footer(
        "Sizes of messages are those in the archive, sizes of parts those of what they hold,\n"
        "decoded.  Parts of messages within messages count, too.  A list ends with the sum of "
        "what\n"
        "is not in it; more than 65536 different names are not told apart.");
    return [options, &common](Output& out) { return stats(common, *options, out); };
}
