// SPDX-License-Identifier: Apache-2.0

// The face's Builder and the changing functions of Message: what is asked for is what is read
// back, in the message at hand as in its bytes; and what cannot be written is refused.

#include <gtest/gtest.h>

#include <filesystem>

#include "mimetree/mimetree.hpp"
#include "tests/support.h"

using namespace mimetree;
using namespace std::chrono;

namespace {

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

std::string charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string crlf(std::string_view text) {
    StringBuffer out = sb(text);
    out.allToCRLF();
    return str(out);
}

// What somebody may type in any script, with what means something in a header.
class Typist {
public:
    explicit Typist(unsigned seed) : m_random(seed) {}

    unsigned below(unsigned n) { return static_cast<unsigned>(m_random() % n); }

    std::string word() {
        static constexpr std::pair<char32_t, char32_t> kScripts[] = {
            {'a', 'z'},       {0xC0, 0xFF},     {0x391, 0x3A1},   {0x410, 0x44F},
            {0x5D0, 0x5EA},   {0x627, 0x63A},   {0x905, 0x939},   {0xE01, 0xE2E},
            {0x4E00, 0x9FA5}, {0x3041, 0x3093}, {0xAC00, 0xD7A3}, {0x1F600, 0x1F64F},
        };
        static const char* const kMarks[] = {
            "\"",   "\\",  ",", ";",  ":",   "@",  "<x@y>", "()",  "[a]",  "=?utf-8?q?a?=",
            "=?=",  "%41", "'", "*0", "a=b", "--", "&amp;", "=20", "a  b", "it's",
            "From "};
        if (below(4) == 0) return kMarks[below(std::size(kMarks))];
        const auto [first, last] = kScripts[below(std::size(kScripts))];
        std::string text;
        for (unsigned n = 1 + below(9); n-- > 0;) text += character(first + below(last - first));
        return text;
    }

    // With blanks at its ends, too.
    std::string line(unsigned words) {
        std::string text = word();
        for (unsigned n = below(words); n-- > 0;) text += " " + word();
        if (below(9) == 0) text.insert(0, below(2) ? " " : "\t ");
        return text;
    }

    std::string text() {
        static const char* const kBreaks[] = {"\n", "\r\n", "\r", "\n\n", " \n", "\n.\n"};
        std::string all;
        for (unsigned n = below(6); n-- > 0;) all += line(30) + kBreaks[below(6)];
        return below(3) == 0 ? all + repeated("x", below(1200)) : all;
    }

    std::string bytes() { return randomBytes(m_random, below(300)); }

private:
    std::mt19937 m_random;
};

struct File {
    std::string name, bytes;
    bool operator==(const File&) const = default;
};

// What a message is asked to say.
struct Wish {
    std::string subject, note, text, html;
    std::vector<std::pair<std::string, std::string>> to;
    std::vector<File> files, pictures;
    bool operator==(const Wish&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Wish& w) {
    out << "subject " << w.subject << "\nnote " << w.note << "\ntext " << w.text << "\nhtml "
        << w.html;
    for (const auto& [name, address] : w.to) out << "\nto " << name << " <" << address << ">";
    for (const File& file : w.files) out << "\nfile " << file.name << " " << file.bytes.size();
    for (const File& file : w.pictures) out << "\npicture " << file.name << file.bytes.size();
    return out;
}

Wish readOut(const Message& m) {
    Wish found{std::string(m.subject()),
               std::string(m.header("X-Note").value_or("none")),
               std::string(m.text()),
               std::string(m.html()),
               {},
               {},
               {}};
    for (const Address& a : m.to()) found.to.emplace_back(a.name, a.address);
    for (const Part& part : m.attachments())
        found.files.push_back({std::string(part.declared_name()), charsOf(part.bytes())});
    for (const Part& part : m.inline_parts())
        if (!part.content_id().empty())
            found.pictures.push_back({std::string(part.content_id()), charsOf(part.bytes())});
    return found;
}

std::string written(const Message& m) { return m.write().value(); }

// In the message, in its bytes, and in theirs: strict lines, and nothing changes any more.
void expectSays(const Message& m, const Wish& wish) {
    EXPECT_EQ(readOut(m), wish);
    const std::string bytes = written(m);
    const Message again = Message::parse(bytes, {.strict = true}).value();
    EXPECT_EQ(readOut(again), wish) << bytes;
    EXPECT_EQ(written(again), bytes);
    EXPECT_TRUE(again.header("MIME-Version") && again.date() && again.message_id() != "");
    for (size_t at = 0, end; (end = bytes.find("\r\n", at)) != bytes.npos; at = end + 2) {
        EXPECT_LE(end - at, 998u);
        EXPECT_EQ(bytes.substr(at, end - at).find_first_of("\r\n"), std::string::npos);
    }
}

const char* const kCharsets[] = {"us-ascii", "iso-8859-1", "koi8-r", "shift_jis",
                                 "gb18030",  "utf-8",      "utf-16", "iso-2022-jp"};

Wish wished(Typist& typist) {
    Wish wish{typist.line(20), typist.line(20), {}, {}, {}, {}, {}};
    for (unsigned n = 1 + typist.below(3); n-- > 0;)
        wish.to.emplace_back(typist.below(3) ? typist.line(6) : "", "a@example.org");
    for (unsigned n = typist.below(3); n-- > 0;)
        wish.files.push_back({typist.line(6), typist.bytes()});
    if (typist.below(4)) wish.text = typist.text() + "a text";
    if (typist.below(2)) {
        wish.html = "<p>" + typist.text();
        for (unsigned n = typist.below(3); n-- > 0;)
            wish.pictures.push_back({"p" + std::to_string(n) + "@x", typist.bytes()});
    }
    return wish;
}

Message built(const Wish& wish, Typist& typist) {
    Builder b;
    b.from("M\xC3\xBCller, J", "j@example.org").subject(wish.subject);
    for (const auto& [name, address] : wish.to) b.to(name, address);
    b.header("X-Note", wish.note);
    if (!wish.text.empty()) b.text(wish.text);
    if (!wish.html.empty()) b.html(wish.html);
    for (const File& file : wish.pictures)
        b.inline_image(bytesOf(file.bytes), file.name, "image/x");
    for (const File& file : wish.files)
        b.attach(bytesOf(file.bytes), file.name, typist.below(2) ? "application/x" : "");
    if (typist.below(2)) b.charset(kCharsets[typist.below(std::size(kCharsets))]);
    else if (typist.below(3) == 0) b.encoding(typist.below(2) ? "base64" : "quoted-printable");
    return b.build().value();
}

// As it is read back.
Wish withCrlf(Wish wish) {
    wish.text = crlf(wish.text);
    wish.html = crlf(wish.html);
    return wish;
}

TEST(FaceBuilder, SaysWhatWasAskedFor) {
    for (unsigned seed = 0; seed < static_cast<unsigned>(lawRuns(300)); ++seed) {
        SCOPED_TRACE(seed);
        Typist typist(seed);
        const Wish wish = wished(typist);
        expectSays(built(wish, typist), withCrlf(wish));
        if (HasFailure()) break;
    }
}

struct ErrorRow {
    const char* reason;
    void (*ask)(Builder& b);
};

const ErrorRow kErrors[] = {
    {"no address", [](Builder& b) { b.from("ann"); }},
    {"no address", [](Builder& b) { b.to("Ann <a b@x.org>"); }},
    {"no address", [](Builder& b) { b.cc("Ann", "a..b@x.org"); }},
    {"no address", [](Builder& b) { b.bcc(" "); }},
    {"no address", [](Builder& b) { b.bcc("a:"); }},
    {"no address", [](Builder& b) { b.header("Reply-To", "nobody"); }},
    {"no address", [](Builder& b) { b.from("a b@c.d"); }},
    {"no address", [](Builder& b) { b.from("b@c.d a"); }},
    {"no address", [](Builder& b) { b.from("a@b.c; d@e.f"); }},
    {"no address", [](Builder& b) { b.from("Ann <a@b.c"); }},
    {"no address", [](Builder& b) { b.from("<a@b.c> <d@e.f>"); }},
    {"no address", [](Builder& b) { b.from("<@x:a@b.c>"); }},
    {"no address", [](Builder& b) { b.from("a@b.c, (Ann"); }},
    {"no address", [](Builder& b) { b.to("Team: a@b.c, d@e.f;"); }},
    {"more than one address", [](Builder& b) { b.header("Sender", "a@x, b@x"); }},
    {"needs 8 bits", [](Builder& b) { b.to("\xC3\xA9@x.org"); }},
    {"line break", [](Builder& b) { b.subject("a\r\nBcc: x@y"); }},
    {"line break", [](Builder& b) { b.to("a\n", "a@x.org"); }},
    {"line break", [](Builder& b) { b.header("X-A", "a\r"); }},
    {"line break", [](Builder& b) { b.attach(bytesOf("x"), "a\n.txt"); }},
    {"control character", [](Builder& b) { b.subject("a\x1B"); }},
    {"not in UTF-8", [](Builder& b) { b.subject("\xFF"); }},
    {"the text is not in UTF-8", [](Builder& b) { b.text("\xC3"); }},
    {"no header field", [](Builder& b) { b.header("a b", "x"); }},
    {"no header field", [](Builder& b) { b.header("a:b", "x"); }},
    {"no header field", [](Builder& b) { b.header("", "x"); }},
    {"not for header()", [](Builder& b) { b.header("content-language", "de"); }},
    {"more than one Subject", [](Builder& b) { b.subject("a").header("SUBJECT", "b"); }},
    {"more than one Date", [](Builder& b) { b.date({}).date({}); }},
    {"more than one text", [](Builder& b) { b.text("a").text("b"); }},
    {"no MIME-Version", [](Builder& b) { b.header("MIME-Version", "2.0"); }},
    {"no message ID", [](Builder& b) { b.message_id("a b@c"); }},
    {"no message ID", [](Builder& b) { b.header("References", "<a@b> c"); }},
    {"no content ID", [](Builder& b) { b.inline_image(bytesOf("x"), "a>", "image/x"); }},
    {"two pictures",
     [](Builder& b) {
         b.inline_image(bytesOf("x"), "a", "image/x").inline_image(bytesOf("x"), "<a>", "image/x");
     }},
    {"no type", [](Builder& b) { b.inline_image(bytesOf("x"), "a", "image"); }},
    {"no type", [](Builder& b) { b.attach(bytesOf("x"), "a", "a/b; c=d"); }},
    {"no type of a file", [](Builder& b) { b.attach(bytesOf("x"), "a", "Multipart/Mixed"); }},
    {"No such file", [](Builder& b) { b.attach("/none/such"); }},
    {"no charset", [](Builder& b) { b.charset("klingon").to("a"); }},
    {"no encoding", [](Builder& b) { b.encoding("uuencode"); }},
    {"7bit cannot", [](Builder& b) { b.text("\xC3\xA9").encoding("7BIT"); }},
    {"998 bytes", [](Builder& b) { b.text(repeated("x", 999)).encoding("8bit"); }},
    {"no line can hold", [](Builder& b) { b.header("List-Help", repeated("x", 999)); }},
    {"cannot hold text in utf-16",
     [](Builder& b) { b.text("a").charset("utf-16").encoding("quoted-printable"); }},
    {"date is out", [](Builder& b) { b.date(sys_days(year(1899) / 12 / 31)); }},
    {"date is out",
     [](Builder& b) { b.date(sys_days(year(9999) / 12 / 31) + hours(23), hours(1)); }},
    {"date is out", [](Builder& b) { b.date(sys_seconds::max()); }},
    {"no date", [](Builder& b) { b.header("date", "Sun Nov  6 08:49:37 1994"); }},
    {"no date", [](Builder& b) { b.header("Date", "6 Nov 1994 08:49:37"); }},
    {"zone", [](Builder& b) { b.date({}, hours(24)); }},
};

// The first error counts, and afterwards the builder is empty.
TEST(FaceBuilder, RefusesWhatReadersWouldNotTake) {
    for (const ErrorRow& row : kErrors) {
        SCOPED_TRACE(row.reason);
        Builder b;
        row.ask(b);
        const Result<Message> made = b.build();
        ASSERT_FALSE(made);
        EXPECT_NE(made.error().message().find(row.reason), std::string::npos)
            << made.error().message();
        EXPECT_EQ(made.error().message().find_first_of("\r\n"), std::string::npos);
        EXPECT_EQ(b.text("x").build().value().text(), "x");
    }
}

struct Form {
    const char* what;
    void (*ask)(Builder& b);
    std::vector<std::string_view> lines;  // of what is written
};

const Form kForms[] = {
    {"date",
     [](Builder& b) { b.date(sys_seconds(seconds(951782399)), minutes(-210)); },
     {"Date: Mon, 28 Feb 2000 20:29:59 -0330"}},
    {"addresses",
     [](Builder& b) {
         b.from("\"Doe, J\" <j@x.org>, k@x.org")
             .to("Doe, J", "j@x.org")
             .cc(", \"x, <y\" (a, (b)) <j@x.org>,,a@[1:2] (Ann),")
             .reply_to("\"a b\"@[1.2.3.4]");
     },
     {"From: \"Doe, J\" <j@x.org>, k@x.org", "Sender: \"Doe, J\" <j@x.org>",
      "To: \"Doe, J\" <j@x.org>", "Cc: \"x, <y\" <j@x.org>, Ann <a@[1:2]>",
      "Reply-To: \"a b\"@[1.2.3.4]"}},
    {"nobody",
     [](Builder& b) { b.to("Undisclosed recipients: ;"); },
     {"To: Undisclosed recipients: ;"}},
    {"IDs",
     [](Builder& b) { b.message_id("a@b").header("references", "<c@d>  e@f"); },
     {"Message-ID: <a@b>", "references: <c@d> <e@f>"}},
    {"pictures without HTML",
     [](Builder& b) { b.text("t").inline_image(bytesOf("x"), "a", "image/x"); },
     {"Content-Disposition: inline", "Content-ID: <a>", "Content-Type: image/x"}},
    {"attached message",
     [](Builder& b) {
         b.text("t").attach(bytesOf("A: b\n\n\xC3"), "a.eml", "message/rfc822").encoding("8bit");
     },
     {"Content-Type: message/rfc822", "Content-Transfer-Encoding: 8bit", "\xC3"}},
    {"a charset that cannot hold it",
     [](Builder& b) { b.text("\xD0\xB6").charset("latin1"); },
     {"Content-Type: text/plain; charset=utf-8"}},
};

TEST(FaceBuilder, Writes) {
    for (const Form& form : kForms) {
        Builder b;
        form.ask(b);
        const std::string mail = written(b.build().value());
        for (const std::string_view line : form.lines)
            EXPECT_NE(mail.find(std::string(line) + "\r\n"), std::string::npos) << line << mail;
    }
}

// -- Changes

using Change = void (*)(Message& m, Wish& wish, Typist& typist);

const Change kChanges[] = {
    [](Message& m, Wish& wish, Typist& typist) {
        wish.subject = typist.line(9);
        EXPECT_TRUE(m.set_header("subject", wish.subject));
    },
    [](Message& m, Wish& wish, Typist&) {
        EXPECT_EQ(m.remove_header("x-note"), wish.note != "none");
        wish.note = "none";
    },
    [](Message& m, Wish& wish, Typist& typist) {
        wish.text = typist.text() + "new";
        EXPECT_TRUE(m.set_text(wish.text));
        wish.text = crlf(wish.text);
    },
    [](Message& m, Wish& wish, Typist& typist) {
        wish.files.push_back({typist.line(5), typist.bytes()});
        EXPECT_TRUE(m.add_attachment(bytesOf(wish.files.back().bytes), wish.files.back().name));
    },
    [](Message& m, Wish& wish, Typist& typist) {
        if (wish.files.empty()) return;
        const unsigned i = typist.below(static_cast<unsigned>(wish.files.size()));
        const Part part = m.attachments()[i];
        const bool isRoot = part == m.root();
        EXPECT_EQ(bool(m.remove_part(part)), !isRoot);
        if (!isRoot) wish.files.erase(wish.files.begin() + i);
    },
    [](Message& m, Wish&, Typist& typist) {
        EXPECT_TRUE(m.set_charset(kCharsets[typist.below(std::size(kCharsets))]));
    },
};

TEST(FaceChange, SaysWhatWasAskedFor) {
    for (unsigned seed = 0; seed < static_cast<unsigned>(lawRuns(300)); ++seed) {
        SCOPED_TRACE(seed);
        Typist typist(seed);
        Wish wish = wished(typist);
        Message m = built(wish, typist);
        wish = withCrlf(wish);
        for (int i = 0; i < 6; ++i) {
            const unsigned change = typist.below(std::size(kChanges));
            SCOPED_TRACE(change);
            kChanges[change](m, wish, typist);
            if (typist.below(2)) m = Message::parse(written(m)).value();
            expectSays(m, wish);
            if (HasFailure()) return;
        }
    }
}

// What does not go changes nothing.
TEST(FaceChange, AllOrNothing) {
    const std::string sealed =
        "From: a@b\r\nContent-Type: multipart/signed; protocol=\"application/pgp-signature\"; "
        "boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=iso-8859-1\r\n\r\n\xE9\r\n"
        "--b\r\nContent-Type: application/pgp-signature\r\n\r\nx\r\n--b--\r\n";
    Message m = Message::parse(sealed).value();
    const Message other = Message::parse(sealed).value();
    EXPECT_FALSE(m.set_text("x"));
    EXPECT_FALSE(m.remove_part(*m.part("2")));
    EXPECT_FALSE(m.remove_part(m.root()));
    EXPECT_EQ(m.remove_part(*other.part("1")).error().code(), Errc::not_found);
    EXPECT_FALSE(m.set_header("To", "nobody"));
    EXPECT_FALSE(m.set_header("Content-Type", "text/plain"));
    EXPECT_FALSE(m.set_charset("klingon"));
    EXPECT_FALSE(m.add_attachment("/none/such"));
    EXPECT_FALSE(m.remove_header("content-type"));
    EXPECT_TRUE(m.set_charset("utf-8"));
    EXPECT_EQ(written(m), sealed);
    EXPECT_TRUE(m.add_attachment(bytesOf("x"), "x.bin"));
    EXPECT_NE(written(m).find(sealed.substr(sealed.find("--b\r\n"))), std::string::npos);
}

// What came so that only tolerant readers find its parts, or is in what few read, is mended.
TEST(FaceChange, WritesWhatStrictReadersTake) {
    Message m = Message::parse(
                    "Content-Type: multipart/mixed boundary==b\r\n\r\n--=b\r\n"
                    "Content-Type: text/plain; format=flowed; charset=unicode-1-1-utf-7\r\n\r\nx "
                    "\r\n--=b--\r\n")
                    .value();
    ASSERT_TRUE(m.set_text("\xC3\xA9\n"));
    EXPECT_EQ(written(m),
              "Content-Type: multipart/mixed; boundary=\"=b\"\r\n"
              "MIME-Version: 1.0\r\n\r\n--=b\r\nContent-Type: text/plain; charset=utf-8\r\n"
              "Content-Transfer-Encoding: quoted-printable\r\n\r\n=C3=A9\r\n\r\n--=b--\r\n");
}

// What the sample mails keep when the text is set, a file attached, and taken away again.
TEST(FaceChange, KeepsTheRestOfSamples) {
    int changed = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(MIMETREE_SAMPLES_DIR)) {
        if (entry.path().extension() != ".eml") continue;
        SCOPED_TRACE(entry.path().filename());
        Result<Message> m = Message::read(entry.path().string());
        if (!m) continue;
        Wish wish = readOut(*m);
        const std::string html = wish.html;
        if (!m->set_text("t\xC3\xA9xt")) continue;
        ++changed;
        wish.text = "t\xC3\xA9xt";
        EXPECT_EQ(readOut(*m), wish);
        ASSERT_TRUE(m->add_attachment(bytesOf("\xFF"), "last"));
        wish.files.push_back({"last", "\xFF"});
        EXPECT_EQ(readOut(*m), wish);
        m = Message::parse(written(*m));
        EXPECT_EQ(m->text(), wish.text);
        EXPECT_EQ(m->attachments().size(), wish.files.size());
        ASSERT_TRUE(m->remove_part(m->attachments().back()));
        EXPECT_EQ(m->attachments().size() + 1, wish.files.size());
    }
    EXPECT_GT(changed, 50);
}

}  // namespace
