// SPDX-License-Identifier: Apache-2.0
//
// Laws of address lists and parameters: what the setters were given is what is read, at once
// and after writing and loading, with as many mailboxes and parameters as were asked for.
// More runs find more: MIMETREE_LAW_RUNS.

#include "foundation/coding/EncodedWords.h"
#include "tests/node_support.h"

using namespace mimetree::inner;

namespace {

constexpr std::string_view kScripts[] = {
    "J\xC3\xB6rg",      "\xCE\xA9\xCE\xBC", "\xD0\x9F\xD0\xB5",         "\xD7\xA9\xD7\x9C",
    "\xD8\xB9\xD8\xB1", "\xE0\xA4\xA8",     "\xE0\xB8\x81\xE0\xB8\xA3", "\xE6\x97\xA5\xE6\x9C\xAC",
    "\xED\x95\x9C",     "\xF0\x9F\x98\x80"};
constexpr std::string_view kPlain[] = {"Joe", "Q.", "a", "42", "_", "-", " ", " ", "  "};
constexpr std::string_view kHostile[] = {
    ",",           ";",     ":",           "<",       ">",   "@",  "(",  ")",
    "[",           "]",     ".",           "'",       "*",   "=",  "''", "<x@y>",
    "utf-8''",     "name=", "; charset=x", "<[[0]]>", "%41", "=?", "?=", "=?a, e@x, ?=",
    "=?utf-8?Q?a", "?Q?b?="};
constexpr std::string_view kQuotes[] = {"\"", "\\", "\\\"", "\";"};

bool holdsWord(const std::string& text) {
    unsigned size;
    return findEncodedWord(text.data(), static_cast<unsigned>(text.size()), size) != nullptr;
}

// Without blanks at its ends; encoded words, which every reader decodes, are left out.
std::string anyText(std::mt19937& random, bool withQuotes) {
    const auto pick = [&](const auto& of) { return of[random() % std::size(of)]; };
    std::string text;
    const std::string_view script = pick(kScripts);
    const bool isAscii = random() % 2;
    for (auto n = 1 + random() % (random() % 8 ? 8 : 60); n; --n) {
        const auto kind = random() % 8;
        text += kind < 3                  ? pick(kPlain)
                : kind < 5 && !isAscii    ? script
                : kind < 7 || !withQuotes ? pick(kHostile)
                                          : pick(kQuotes);
    }
    text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    text.erase(text.find_last_not_of(' ') + 1);
    return holdsWord(text) ? "word" : text;
}

std::string addMailbox(std::mt19937& random, std::string& list) {
    static constexpr const char* kAddresses[] = {
        "a@b", "a.b+c=d@e-f.gh", "\"a, <b\"@c", "x@[IPv6:1::2]", "\xC3\xB6@\xC3\xA4.de", ""};
    const std::string address = kAddresses[random() % std::size(kAddresses)];
    std::string name = random() % 5 && !address.empty() ? "" : "Joe";
    if (random() % 5) name = anyText(random, true);
    if (name.empty() && address.empty()) name = "J";
    if (name.empty()) {
        list += address;
    } else if (random() % 9 == 0 && !address.empty()) {
        name = std::string(kScripts[random() % std::size(kScripts)]) + " x";
        list += address + " (" + name + ")";
    } else {
        list += inQuotes(name) + (random() % 4 ? " <" : "<") + address + ">";
    }
    return name + "<" + address + ">";
}

TEST(StructuredLaws, MailboxesAreThoseThatWereSet) {
    static constexpr const char* kFields[] = {"From",      "To",           "Reply-To", "X-Rcpt-To",
                                              "Errors-To", "delivered-to", "Resent-Cc"};
    std::mt19937 random(1);
    for (int i = lawRuns(4000); i > 0 && !testing::Test::HasFailure(); --i) {
        std::string list, expected;
        for (auto n = 1 + random() % 4; n; --n) {
            const bool isGroup = random() % 6 == 0;
            if (isGroup) list += inQuotes("g" + anyText(random, true)) + ":";
            for (auto m = isGroup ? random() % 3 : 1; m; --m) {
                expected += addMailbox(random, list);
                if (m > 1) list += ", ";
            }
            list += isGroup ? ";" : "";
            if (n > 1) list += random() % 4 ? ", " : ",";
        }
        SCOPED_TRACE(list);
        const char* field = kFields[random() % std::size(kFields)];
        MimeMessage2 node;
        node.m_charset.setByCodePage(random() % 2 ? 65001 : 28591);
        node.addReplaceHeaderFieldUtf8(field, list.c_str(), noLog);
        EXPECT_EQ(mailboxesOf(node, field), expected);
        const std::string text = headerOf(node);
        const NodePtr again = fromBytes(text + "\r\n\r\nbody");
        EXPECT_EQ(mailboxesOf(*again, field), expected) << text;
        EXPECT_EQ(again->m_mimeHeader.getNumFields(), 1) << text;
    }
}

TEST(StructuredLaws, ParametersAreThoseThatWereSet) {
    std::mt19937 random(2);
    for (int i = lawRuns(8000); i > 0 && !testing::Test::HasFailure(); --i) {
        // A file name stands in its field as it is, where a quote would end it.
        const std::string file = anyText(random, false), name = anyText(random, true);
        SCOPED_TRACE(file + "\n" + name);
        MimeMessage2 node;
        node.setFilenameUtf8(file.c_str(), noLog);
        node.setContentType("text/plain", name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                            noLog);
        EXPECT_EQ(str(node.m_filename), file);
        const std::string text = headerOf(node);
        const NodePtr again = fromBytes(text + "\r\n\r\nbody");
        StringBuffer param;
        again->getSubFieldUtf8("Content-Type", "name", param, noLog);
        EXPECT_EQ(str(again->m_filename), file) << text;
        EXPECT_EQ(str(again->m_contentType.m_name), name) << text;
        EXPECT_EQ(str(param), name) << text;
        EXPECT_TRUE(sb(text).is7bit(0)) << text;
        EXPECT_EQ(again->getCharsetCodePage(), 0) << text;
    }
}

}  // namespace
