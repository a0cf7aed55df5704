// SPDX-License-Identifier: Apache-2.0

// The face's Message: what it refuses, what it says of a mail, which parts are the body and
// which are attachments, and what it writes to disk.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "face/message/date.h"
#include "foundation/bytes/utf8.h"
#include "mimetree/mimetree.hpp"
#include "tests/support.h"

using namespace mimetree;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

Message parsed(std::string_view mail) { return Message::parse(mail).value(); }

// Of a part's header or of a leaf, "|" standing for a line break.
std::string leaf(std::string_view header, std::string_view body) {
    return replaced(std::string(header) + "||" + std::string(body), "|", "\r\n");
}

std::string multi(std::string_view subtype, const std::vector<std::string>& parts) {
    static int count = 0;
    const std::string boundary = "b" + std::to_string(++count) + "_";
    std::string text = "Content-Type: multipart/" + std::string(subtype) + "; boundary=" + boundary;
    text += "\r\n\r\n";
    for (const std::string& part : parts) text += "--" + boundary + "\r\n" + part + "\r\n";
    return text + "--" + boundary + "--\r\n";
}

std::string plain(std::string_view body, std::string_view more = "") {
    return leaf("Content-Type: text/plain" + std::string(more), body);
}
std::string html(std::string_view body) { return leaf("Content-Type: text/html", body); }
std::string file(std::string_view type, std::string_view more = "") {
    return leaf("Content-Type: " + std::string(type) + std::string(more), "x");
}

std::string namesOf(Parts parts) {
    std::string names;
    for (const Part& part : parts) names += (names.empty() ? "" : " ") + std::string(part.name());
    return names;
}

TEST(FaceMessage, BodyAndAttachments) {
    const std::string both = multi("alternative", {plain("P"), html("H")});
    const std::string attached = "|Content-Disposition: attachment; filename=";
    const std::string inlined = "|Content-Disposition: inline; filename=";
    const struct {
        std::string_view what;
        std::string mail;
        std::string_view text, html, attachments, inlines;
    } rows[] = {
        {"two forms", both, "P", "H", "", ""},
        {"the better one first", multi("alternative", {html("H"), plain("P")}), "P", "H", "", ""},
        {"the last of a kind", multi("alternative", {plain("1"), plain("2")}), "2", "", "",
         "part-1.txt"},
        {"an empty text beside HTML", multi("alternative", {plain(" |"), html("H")}), "", "H", "",
         ""},
        {"a footer below HTML is no text of its own",
         multi("alternative", {plain("P"), multi("mixed", {html("H"), plain("foot")})}), "P", "H",
         "", ""},
        {"texts in a row", multi("mixed", {both, plain("Q"), html("I"), plain("R")}), "P\nQ\nR",
         "H\nI", "", ""},
        {"one form alone in a row", multi("mixed", {html("H"), plain("foot")}), "foot", "H", "",
         ""},
        {"signed", multi("signed", {both, file("application/pgp-signature; name=s.asc")}), "P", "H",
         "", "s.asc"},
        {"related", multi("related", {both, file("image/png", "|Content-ID: <i@x>")}), "P", "H", "",
         "part-3.png"},
        {"the root of related",
         multi("related; start=\"<r@x>\"",
               {html("frame"), leaf("Content-Type: text/html|Content-ID: <r@x>", "H")}),
         "", "H", "", "part-1.html"},
        {"a first text with a name", plain("P", "; name=body.txt"), "P", "", "", ""},
        {"a further text with a name", multi("mixed", {plain("P"), plain("Q", "; name=q.txt")}),
         "P", "", "q.txt", ""},
        {"an inline text with a name", multi("mixed", {plain("P"), plain("Q", inlined + "q.txt")}),
         "P\nQ", "", "", ""},
        {"an attached text", multi("mixed", {plain("P", attached + "p.txt"), plain("Q")}), "Q", "",
         "p.txt", ""},
        {"an unknown disposition",
         multi("mixed", {plain("P"), file("image/png", "|Content-Disposition: odd")}), "P", "",
         "part-2.png", ""},
        {"an inline picture", multi("mixed", {plain("P"), file("image/png", inlined + "a.png")}),
         "P", "", "", "a.png"},
        {"an inline document",
         multi("mixed", {plain("P"), file("application/pdf", inlined + "a.pdf")}), "P", "", "a.pdf",
         ""},
        {"a picture", multi("mixed", {plain("P"), file("image/png")}), "P", "", "part-2.png", ""},
        {"an invitation",
         multi("mixed",
               {multi("alternative", {plain("P"), file("text/calendar")}), file("text/calendar")}),
         "P", "", "part-3.ics", "part-2.ics"},
        {"text of an unknown kind", multi("mixed", {plain("P"), file("text/x-diff")}), "P\nx", "",
         "", ""},
        {"a message is not looked into",
         multi("mixed", {plain("P"), leaf("Content-Type: message/rfc822", plain("Q"))}), "P", "",
         "part-2.eml", ""},
        {"an uuencoded text",
         multi("mixed", {plain("P"), plain("Q", "|Content-Transfer-Encoding: x-uuencode")}), "P",
         "", "part-2.txt", ""},
        {"an uuencoded text that says its name",
         multi("mixed", {plain("P"), plain("x|begin 644 a/b.txt|#8V%T|`|end|",
                                           "|Content-Transfer-Encoding: X-UUE")}),
         "P", "", "b.txt", ""},
        {"a multipart without its boundary",
         leaf("Content-Type: multipart/mixed; boundary=no", "P"), "P", "", "", ""},
        {"no header", "P\r\n\r\nQ", "P\r\n\r\nQ", "", "", ""},
    };
    for (const auto& row : rows) {
        const Message m = parsed(row.mail);
        EXPECT_EQ(m.text(), row.text) << row.what;
        EXPECT_EQ(m.html(), row.html) << row.what;
        EXPECT_EQ(namesOf(m.attachments()), row.attachments) << row.what;
        EXPECT_EQ(namesOf(m.inline_parts()), row.inlines) << row.what;
    }
}

TEST(FaceMessage, WhatIsNoMail) {
    const std::string one = "From a@b.example Thu Jan  1 00:00:00 1970\nSubject: 1\n\ntext\n";
    const struct {
        std::string mail;
        int code;  // 0: it is one
    } rows[] = {
        {"", int(Errc::not_mail)},
        {"\r\n \r\n", int(Errc::not_mail)},
        {"\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s, int(Errc::not_mail)},
        {"\x7F"
         "ELF\2\1\1\0\0\n\nNote: x"s,
         int(Errc::not_mail)},
        {"%PDF-1.4\n1 0 obj\nstream\n\x1\x2", int(Errc::not_mail)},
        {one + "\n" + one, int(Errc::is_mbox)},
        {one, 0},
        {"Subject: binary\n\n\0\1\2"s, 0},
        {"junk\nSubject: binary\n\n\0\1\2"s, 0},
        {"plain text, caf\xE9", 0},
    };
    const fs::path path = fs::temp_directory_path() / ("face_message_" + std::to_string(getpid()));
    for (const auto& row : rows) {
        std::ofstream(path, std::ios::binary) << row.mail;
        const Result<Message> m = Message::read(path.string());
        EXPECT_EQ(m ? 0 : int(m.error().code()), row.code) << row.mail;
        EXPECT_TRUE(m || m.error().message().starts_with(path.string() + ": "));
    }
    EXPECT_FALSE(Message::read(path.string() + '\0'));
    fs::remove(path);
    const Result<Message> missing = Message::read(path.string());
    EXPECT_EQ(missing.error().message(), path.string() + ": No such file or directory");
    EXPECT_FALSE(parsed("a: b\n\nc").root().save(path.string() + '\0'));
    EXPECT_EQ(Message::parse("Content-Type: multipart/mixed; boundary=x\r\n\r\ny", {.strict = true})
                  .error()
                  .code(),
              Errc::damaged);
    EXPECT_DEATH((void)missing.value(), "No such file");
}

TEST(FaceMessage, MailInUtf16) {
    const std::string mail = "Subject: caf\xC3\xA9\r\n\r\n\xC3\xA9\r\n";
    for (const int codePage : {1200, 1201}) {
        const Message m = parsed(converted(65001, codePage, "\xEF\xBB\xBF" + mail));
        EXPECT_EQ(std::string(m.subject()) + std::string(m.text()), "caf\xC3\xA9\xC3\xA9\r\n");
    }
    EXPECT_EQ(Message::parse("\xFF\xFE\1\0"s).error().code(), Errc::not_mail);
}

TEST(FaceMessage, Fields) {
    const Message m = parsed(
        "Subject: =?utf-8?Q?caf=C3=A9?=\r\n more\r\nFrom: \"Other, Ann\" <ann@example.org>\r\n"
        "To: a@example.org\r\nnot a field\r\nTO: G: b@example.org, =?utf-8?Q?=C3=A9?= <c@d>;\r\n"
        "Message-ID: <x@example.org>\r\nX-Odd: \xE9\r\n\r\n");
    EXPECT_EQ(m.subject(), "caf\xC3\xA9 more");
    EXPECT_EQ(m.from().text(), "Other, Ann <ann@example.org>");
    EXPECT_EQ(m.to().text(), "a@example.org, b@example.org, \xC3\xA9 <c@d>");
    EXPECT_EQ(m.cc().first().address, "");
    EXPECT_EQ(m.message_id(), "x@example.org");
    EXPECT_EQ(m.header("x-odd"), "\xC3\xA9");
    EXPECT_EQ(m.header("x-none"), std::nullopt);
    EXPECT_EQ(m.headers().size(), 6u);
    EXPECT_EQ(m.headers()[0].raw, "=?utf-8?Q?caf=C3=A9?=\r\n more");
    EXPECT_EQ(m.headers()[3].name, "TO");
}

// Texts are UTF-8 whatever came.
TEST(FaceMessage, TextsAreUtf8) {
    const struct {
        std::string_view header, body, text;
    } rows[] = {
        {"Content-Type: text/plain; charset=koi8-r", "\xC1", "\xD0\xB0"},
        {"Content-Type: text/plain; charset=koi8-r|Content-Disposition: attachment", "\xC1",
         "\xD0\xB0"},
        {"Content-Type: text/plain; charset=iso-2022-jp|Content-Disposition: attachment",
         "\x1B$B$\"\x1B(B", "\xE3\x81\x82"},
        {"Content-Disposition: attachment", "\xE9 \x93 \xC3\xA9", "\xC3\xA9 \xE2\x80\x9C \xC3\xA9"},
        {"Content-Type: text/plain; charset=utf-8|Content-Disposition: attachment", "\xC3\xA9\xE9",
         "\xC3\xA9\xC3\xA9"},
        {"Content-Type: application/octet-stream", "\xE9", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(parsed(leaf(row.header, row.body)).root().text(), row.text) << row.header;
}

// uuencode is no coding of MIME: what is written back stays as it came.
TEST(FaceMessage, Uuencode) {
    for (const char* coding : {"x-uuencode", "X-UUE", "uue"}) {
        const std::string mail =
            leaf("Content-Type: text/plain; charset=koi8-r|Content-Transfer-Encoding: " +
                     std::string(coding),
                 "begin 644 \xE9.txt|\"P<$`|`|end|");
        Message m = parsed(mail);
        EXPECT_EQ(m.root().file_bytes().value(), "\xC1\xC1");
        EXPECT_EQ(m.root().text(), "\xD0\xB0\xD0\xB0");
        EXPECT_EQ(m.root().declared_name(), "\xD0\x98.txt");  // in its charset
        EXPECT_TRUE(m.set_charset("utf-8"));
        EXPECT_NE(m.write().value().find("koi8-r"), std::string::npos);
    }
    const Message none = parsed(leaf("Content-Transfer-Encoding: x-uuencode", "no begin line"));
    EXPECT_EQ(none.root().file_bytes().value(), "no begin line");
}

// It is an empty message, and as good as any other.
TEST(FaceMessage, MovedFrom) {
    Message m = parsed(multi("mixed", {plain("P"), file("image/png")}));
    const Message other = std::move(m);
    EXPECT_EQ(other.attachments().size(), 1u);
    EXPECT_EQ(std::string(m.subject()) + std::string(m.text()) + m.from().text(), "");
    EXPECT_FALSE(m.date() || m.header("Subject") || m.part("1") || m.part_by_cid("x"));
    EXPECT_EQ(m.parts().size(), 1u);
    EXPECT_EQ(m.root().bytes().size() + m.attachments().size() + m.body_parts().size(), 1u);
    EXPECT_TRUE(m.ok() && m.root().file_bytes() && m.set_header("Subject", "new"));
    EXPECT_TRUE(m.set_text("new") && m.add_attachment(std::span<const std::byte>(), "a"));
    EXPECT_EQ(parsed(m.write().value()).subject(), "new");
    Builder builder;
    builder.subject("a");
    EXPECT_EQ(Builder(std::move(builder)).build().value().subject(), "a");
    EXPECT_EQ(builder.text("b").build().value().subject(), "");
}

TEST(FaceMessage, MessagesInside) {
    const std::string inner = "Subject: inner\r\n\r\ntext";
    const std::string base64 = "U3ViamVjdDogaW5uZXINCg0KdGV4dA==";
    const Message m = parsed(multi(
        "mixed", {leaf("Content-Type: message/rfc822", inner),
                  leaf("Content-Type: Message/RFC822|Content-Transfer-Encoding: base64", base64),
                  multi("digest", {"\r\n" + inner}), plain("no message")}));
    for (const char* path : {"1", "2", "3.1"})
        EXPECT_EQ(m.part(path)->message().value().subject(), "inner") << path;
    EXPECT_EQ(m.part("4")->message().error().code(), Errc::not_found);
    for (const char* path : {"5", "0", "1.1", ".", "x", "1.", "4294967297"})
        EXPECT_FALSE(m.part(path)) << path;
}

std::string numbersOf(const OpenedParts& parts) {
    std::string numbers;
    for (const OpenedPart& at : parts) {
        numbers += std::string(at.depth, '.') + at.number + " ";
        EXPECT_TRUE(at.number.empty() || parts.find(at.number)->part == at.part) << at.number;
    }
    return numbers;
}

TEST(FaceMessage, MessagesInsideAreOpened) {
    const std::string inner = multi("mixed", {plain("a"), plain("b")}), leaf1 = plain("c");
    const std::string global = leaf("Content-Type: message/global", leaf1);
    const Message m =
        parsed(multi("mixed", {leaf("Content-Type: message/rfc822", inner), global,
                               leaf("Content-Type: message/rfc822", "\0\1"),
                               multi("digest", {"\r\n" + leaf1, plain("no message")})}));
    EXPECT_EQ(numbersOf(OpenedParts::of(m).value()),
              " .1 .. ...1.1 ...1.2 .2 ..2.1 .3 .4 ..4.1 ...4.1.1 ..4.2 ");
    EXPECT_EQ(numbersOf(OpenedParts::of(m, Nested::closed).value()), " .1 .2 .3 .4 ..4.1 ..4.2 ");
    const Message alone = parsed(leaf("Content-Type: message/rfc822", inner));
    EXPECT_EQ(numbersOf(OpenedParts::of(alone).value()), " . ..1.1 ..1.2 ");

    std::string deep = leaf1;
    for (int i = 0; i < 1000; ++i) deep.insert(0, "Content-Type: message/rfc822\r\n\r\n");
    EXPECT_LE(OpenedParts::of(parsed(deep)).value().size(), 33u);
}

TEST(FaceMessage, FilesWithinATextInUuencode) {
    const std::string file = "begin 644 ../a.txt\n#86)C\n`\nend\n", none = "begin 644 the day\n";
    const auto namesIn = [](const Message& m) {
        std::string names;
        const auto files = embedded_files(m.root());
        for (const EmbeddedFile& found : *files) {
            names += found.name + "=" + found.bytes + " ";
            EXPECT_TRUE(found.lines.starts_with("begin 644") && found.lines.ends_with("\nend\n"));
        }
        return names;
    };
    EXPECT_EQ(namesIn(parsed(plain(none + "hello\n" + file + "so\n" + file))),
              "a.txt=abc a.txt=abc ");
    EXPECT_EQ(namesIn(parsed(plain(none + "\nend\n" + file.substr(0, 25)))), "");
    EXPECT_EQ(namesIn(parsed(leaf("Content-Type: text/html", file))), "");
}

TEST(FaceMessage, FindsByContentId) {
    const Message m =
        parsed(multi("related", {html("H"), file("image/png", "|Content-ID: <a%b@x>")}));
    for (const char* cid : {"a%b@x", "<a%b@x>", "cid:a%b@x", "CID:a%25b@x"})
        EXPECT_EQ(m.part_by_cid(cid)->path(), "2") << cid;
    EXPECT_FALSE(m.part_by_cid(""));
}

TEST(FaceMessage, Dates) {
    using namespace std::chrono;
    const auto dateOf = [](const std::string& text) {
        return parsed("Date: " + text + "\r\n\r\n").date();
    };
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        const sys_seconds time(seconds(random() % 2147000000u));  // to 2038: as far as any time_t
        const int zone = static_cast<int>(random() % 1560) - 780;
        const std::time_t local = time.time_since_epoch().count() + zone * 60;
        const std::tm* const tm = std::gmtime(&local);
        const std::string day = std::to_string(tm->tm_mday);
        const std::string form[] = {"%a, %d %b %Y %H:%M:%S",
                                    day + " %b %Y %H:%M:%S",
                                    "%a,\r\n " + day + " (x(\\))) %b %Y %H : %M : %S",
                                    "%a %b  " + day + " %H:%M:%S %Y@",
                                    "%a %b " + day + " %H:%M:%S@ %Y",
                                    "%A, %d-%b-%y %H:%M:%S@",
                                    "%Y-%m-%dT%H:%M:%S.5@"};
        char text[80], offset[16];
        std::strftime(text, sizeof text, form[i % 7].c_str(), tm);
        std::snprintf(offset, sizeof offset, " %c%02d%02d", zone < 0 ? '-' : '+',
                      std::abs(zone) / 60, std::abs(zone) % 60);
        const std::optional<Date> date =
            dateOf(replaced(text, "@", offset) + (i % 7 < 3 ? offset : ""));
        ASSERT_TRUE(date) << text << offset;
        EXPECT_EQ(date->time, time) << text << offset;
        EXPECT_EQ(date->zone, minutes(zone));
        EXPECT_EQ(inner::parseDate(std::string(text) + offset).has_value(), i % 7 < 3);
    }
    const std::string_view kSame = "Sun, 06 Nov 1994 08:49:37 +0000";
    for (const char* text :
         {"Sun Nov  6 08:49:37 1994", "Sun Nov 6 08:49:37 GMT 1994",
          "Sunday, 06-Nov-94 08:49:37 GMT", "06-Nov-1994 08:49:37 UT", "1994-11-06T08:49:37Z",
          "1994-11-06 08:49:37.25+00:00", "1994-11-06T10:49:37,5+02",
          "Sun, 6 November 1994 03.49.37 -0500 Eastern Time", "6 Nov 1994 09:49:37 GMT+1",
          "Sun, 6 Nov 1994 08:49:37 (GMT) +0000 (a (b))"})
        EXPECT_EQ(dateOf(text)->time, dateOf(std::string(kSame))->time) << text;
    for (const char* text : {"", "yesterday", "6 Nov 1994", "1994-11-06", "1994-13-06 08:49:37",
                             "11/06/1994 08:49:37", "Sun Nov 31 08:49:37 1994", "08:49:37 08:49:37",
                             "6 7 8 Nov 08:49:37", "1994-11-06T08:49:37+1:2:3", "6 Nov 1994 8:4"})
        EXPECT_FALSE(dateOf(text)) << text;
    for (const char* zone : {"-0000", "Z", "a", "XYZ", ""})
        EXPECT_FALSE(dateOf("1 Jan 70 00:00 " + std::string(zone))->zone_known) << zone;
    for (const char* zone : {"+0000", "GMT", "ut", "EST"})
        EXPECT_TRUE(dateOf("1 Jan 70 00:00 " + std::string(zone))->zone_known) << zone;
}

// Every name goes into the directory and nowhere else, and nothing that is there is touched.
TEST(FaceMessage, SavesNewFilesOnly) {
    const fs::path top = fs::temp_directory_path() / ("face_save_" + std::to_string(getpid()));
    fs::create_directories(top / "in");
    std::ofstream(top / "victim") << "mine";
    std::error_code hasNoLinks;
    fs::create_symlink(top / "victim", top / "in" / "victim", hasNoLinks);
    fs::create_symlink(top / "nowhere", top / "in" / "link", hasNoLinks);
    std::vector<std::string> parts;
    for (const char* name :
         {"../victim", "/etc/passwd", "..", "link", "CON", ".profile", "a/b\\\\c"})
        for (int i = 0; i < 100; ++i)
            parts.push_back(file("application/x", "; name=\"" + std::string(name) + "\""));
    const Message m = parsed(multi("mixed", parts));
    std::set<std::string> paths;
    for (const Part& part : m.attachments()) paths.insert(part.save((top / "in").string()).value());
    EXPECT_EQ(paths.size(), parts.size());
    for (const std::string& path : paths)
        EXPECT_EQ(fs::canonical(path).parent_path(), fs::canonical(top / "in"));
    EXPECT_EQ(fs::file_size(top / "victim"), 4u);
    fs::create_directory_symlink(top / "in", top / "dir", hasNoLinks);  // the caller's own will do
    EXPECT_TRUE(m.attachments()[0].save((top / "dir").string()));
    EXPECT_FALSE(fs::exists(top / "nowhere"));
    EXPECT_TRUE(fs::exists(top / "in" / "_CON (100)"));
    EXPECT_EQ(m.attachments()[0].save((top / "victim").string()).error().code(), Errc::io);
    fs::remove_all(top);
}

// What holds for every message.
void expectLaws(const Message& m, const std::string& what) {
    size_t leaves = 0, children = 0;
    for (const Part& part : m.parts()) {
        children += part.children().size();
        leaves += part.children().empty();
        EXPECT_FALSE(part.is_body() && part.is_attachment()) << what;
        EXPECT_TRUE(part.depth() > 32 || m.part(part.path()) == part) << what;
        EXPECT_EQ(part.name().find_first_of("/\\\r\n\t"), std::string_view::npos) << what;
        EXPECT_FALSE(part.name().empty()) << what;
        for (const std::string_view text :
             {part.text(), part.name(), part.header("Subject").value_or("")})
            EXPECT_EQ(inner::utf8::validPrefix(raw(text), text.size()), text.size()) << what;
    }
    EXPECT_EQ(children + 1, m.parts().size()) << what;
    EXPECT_LE(m.attachments().size() + m.inline_parts().size(), leaves) << what;
    EXPECT_TRUE(m.ok()) << what;
}

TEST(FaceMessage, LawsOverTheSamples) {
    for (const auto& entry : fs::recursive_directory_iterator(MIMETREE_SAMPLES_DIR))
        if (entry.path().extension() == ".eml")
            if (const Result<Message> m = Message::read(entry.path().string()))
                expectLaws(*m, entry.path().string());
}

TEST(FaceMessage, DeepAndWide) {
    std::string deep, wide = "Content-Type: multipart/mixed; boundary=w\r\n\r\n";
    for (int i = 0; i < 300000; ++i) {
        const std::string boundary = "b" + std::to_string(i) + "_";
        deep += "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary +
                "\r\n";
    }
    for (int i = 0; i < 200000; ++i) wide += "--w\r\nA: 1\r\n\r\nsome text\r\n";
    for (const std::string& mail : {deep + "\r\ntext", wide}) {
        const Message m = parsed(mail);
        EXPECT_GE(m.parts().size(), 200001u);
        EXPECT_FALSE(m.text().empty());
        EXPECT_EQ(m.attachments().size(), 0u);
        EXPECT_NE(m.parts().back().name(), "");
    }
}

}  // namespace
