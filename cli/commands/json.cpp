// SPDX-License-Identifier: Apache-2.0
// Command `json`: a document a message, on one line, for programs.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/json_document.h"
#include "cli/output/sha256.h"

namespace {

struct With {
    const char* word;
    bool JsonMore::* member;
};

constexpr With kWith[] = {{"text", &JsonMore::text},
                          {"html", &JsonMore::html},
                          {"attachments=base64", &JsonMore::base64},
                          {"attachments=sha256", &JsonMore::sha256}};

std::vector<std::string> wordsOfWith() {
    std::vector<std::string> words;
    for (const With& row : kWith)
        if (row.member != &JsonMore::sha256 || !digestLibrary().empty()) words.push_back(row.word);
    return words;
}

JsonMore moreOf(const std::vector<std::string>& words) {
    JsonMore more;
    for (const std::string& word : words)
        for (const With& row : kWith)
            if (word == row.word) more.*row.member = true;
    return more;
}

}  // namespace

Run addJson(CLI::App& app, CommonOptions& common) {
    const auto with = std::make_shared<std::vector<std::string>>();
    addMessages(app, common);
    addClosed(app, common);
    app.add_option("--with", *with, "these as well, with commas between them")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember(wordsOfWith()));
    app.footer(
        "All that tree --json has, then of each message its subject, date, Message-ID and "
        "addresses,\n"
        "and what extract would save.  Dates are ISO 8601.  docs/json.md tells of the members.");
    return [with, &common](Output& out) {
        const JsonMore more = moreOf(*with);
        return forEachMessage(common, out, Heading::None, [&](const auto& message, Output& to) {
            return showJson(message, &more, to);
        });
    };
}
