// SPDX-License-Identifier: Apache-2.0

// Memory that runs out: every allocation of an operation is refused in turn, once alone and
// once with all that follow.  Nothing may crash or leak, and what answers success is complete.
// And how much memory an operation holds at most.
// The linker sends the engine's calls of malloc and its kin here (see CMakeLists.txt).

#include <malloc.h>

#include <algorithm>
#include <functional>
#include <new>

#include "mimetree/mimetree.h"
#include "mimetree/mimetree.hpp"
#include "tests/node_support.h"

namespace {

long g_live = 0;                // blocks handed out and not given back
size_t g_held = 0, g_peak = 0;  // bytes of them now and at most
long g_countdown = 0;           // the allocation that is refused; 0 is none
bool g_allBehind = false;
bool g_alsoNew = false;  // the standard containers of what is tested are refused theirs
long g_refused = 0;

bool refuse() {
    if (g_countdown <= 0 || --g_countdown > 0) return false;
    if (g_allBehind) g_countdown = 1;
    ++g_refused;
    return true;
}

void* counted(void* p) {
    g_live += p != nullptr;
    g_peak = std::max(g_peak, g_held += malloc_usable_size(p));
    return p;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t n);
void* __real_realloc(void* p, size_t n);
void __real_free(void* p);

void* __wrap_malloc(size_t n) { return refuse() ? nullptr : counted(__real_malloc(n)); }
void* __wrap_realloc(void* old, size_t n) {
    if (refuse()) return nullptr;
    g_held -= malloc_usable_size(old);
    g_live -= old != nullptr;
    return counted(__real_realloc(old, n));
}
void __wrap_free(void* p) {
    g_live -= p != nullptr;
    g_held -= malloc_usable_size(p);
    __real_free(p);
}
}

// The tests' own allocations are never refused.
void* operator new(size_t n) {
    void* p = g_alsoNew && refuse() ? nullptr : counted(__real_malloc(n));
    return p ? p : throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept { return __wrap_malloc(n); }
void operator delete(void* p) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t) noexcept { __wrap_free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { __wrap_free(p); }

namespace {

// Runs `operation` until it no longer meets a refusal.  It gives what it made, or nothing if
// it does not claim success; the former must be what it makes when memory suffices.
void expectAllOrNothing(const std::function<std::string()>& operation) {
    const std::string full = operation();
    ASSERT_NE(full, "");
    std::string incomplete, leaking;  // the allocations whose refusal does that
    for (const bool allBehind : {false, true}) {
        g_allBehind = allBehind;
        g_refused = 1;
        for (long n = 1; g_refused > 0; ++n) {
            g_refused = 0;
            const long live = g_live;
            g_countdown = n;
            const bool isLie = [&] {
                const std::string made = operation();
                return made != "" && made != full;
            }();
            g_countdown = 0;
            if (g_live != live) leaking += std::to_string(n) + (allBehind ? "+ " : " ");
            if (isLie) incomplete += std::to_string(n) + (allBehind ? "+ " : " ");
            ASSERT_TRUE(n > 1 || g_refused) << "the hook is not in place";
        }
    }
    EXPECT_EQ(incomplete, "");
    EXPECT_EQ(leaking, "");
}

// What an operation that claims success made.  Memory suffices again from here on.
template <class Show>
std::string outcome(bool claimsSuccess, Show show) {
    g_countdown = 0;
    return claimsSuccess ? show() : "";
}

// No value fits inside of a buffer.
const std::string kSample =
    "Subject: =?iso-8859-1?Q?caf=E9_and_a_lot_of_other_words_in_here?=\r\n"
    "From: J\xFCrgen M\xFCller <j@example.org>\r\n"
    "Content-Type: multipart/mixed; boundary=outer-boundary-of-some-length\r\n\r\npreamble\r\n"
    "--outer-boundary-of-some-length\r\n"
    "Content-Type: multipart/alternative; boundary=\"inner boundary, quite long\"\r\n\r\n"
    "--inner boundary, quite long\r\n"
    "Content-Type: text/plain; charset=iso-8859-2; format=flowed\r\n"
    "Content-ID: <an.identifier.that.is.long@example.org>\r\n\r\n"
    "\xB1 text in Polish, with a line that goes on for a while and then some more\r\n"
    "--inner boundary, quite long\r\n"
    "Content-Type: text/html\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
    "<html><head><meta charset=3Dkoi8-r></head>=C1=C1=C1 text of some length</html>\r\n"
    "--inner boundary, quite long--\r\n\r\n"
    "--outer-boundary-of-some-length\r\n"
    "Content-Type: application/octet-stream; name=\"a name that is long enough.bin\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "Content-Disposition: attachment; filename*0*=utf-8''a%20name%20that%20is; "
    "filename*1*=%20long%20enough.bin\r\n\r\n"
    "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4v\r\n"
    "--outer-boundary-of-some-length\r\n"
    "Content-Type: multipart/signed; boundary=sss\r\n\r\n--sss\r\nA: 1\r\n\r\nsigned text\r\n"
    "--sss\r\nContent-Type: application/pkcs7-signature\r\n\r\nsignature\r\n--sss--\r\n"
    "--outer-boundary-of-some-length--\r\n";

std::string inDress(const char* lineEnd) {
    std::string text;
    for (char c : kSample)
        if (c != '\r') text += c == '\n' ? lineEnd : std::string(1, c);
    return text;
}

TEST(Memory, Load) {
    for (const char* lineEnd : {"\r\n", "\n", "\r"}) {
        const StringBuffer text = sb(inDress(lineEnd));
        DataBuffer bytes = db(inDress(lineEnd));
        for (const bool asText : {false, true})
            expectAllOrNothing([&] {
                MimeMessage2 node;
                const bool ok = asText ? node.loadMimeComplete(text, noLog, false)
                                       : node.loadMimeCompleteDb(bytes, noLog);
                return outcome(ok, [&] { return contentOf(node); });
            });
    }
}

TEST(Memory, CloneAndWrite) {
    const NodePtr node = fromBytes(kSample);
    expectAllOrNothing([&] {
        const NodePtr copy(node->cloneMimeMessage(nullptr));
        return outcome(copy != nullptr, [&] { return contentOf(*copy); });
    });
    node->setUseMmMessage(true);
    node->addReplaceHeaderFieldUtf8("Subject", "caf\xC3\xA9, and more than fits inside", noLog);
    node->getPart(0)->setContentDisposition("attachment", "caf\xC3\xA9.txt, a long name", noLog);
    for (const bool bodyOnly : {false, true})
        expectAllOrNothing([&] {
            DataBuffer out;
            if (bodyOnly) node->getMimeBodyAll(out, noLog);
            else node->getMimeTextDb(out, false, noLog);
            return outcome(!out.failed(), [&] { return str(out); });
        });
}

TEST(Memory, XmlBothWays) {
    const NodePtr node = fromBytes(kSample);
    StringBuffer xml;
    ASSERT_TRUE(node->getMimeXml(xml, noLog));
    expectAllOrNothing([&] {
        StringBuffer out;
        return outcome(node->getMimeXml(out, noLog), [&] { return str(out); });
    });
    expectAllOrNothing([&] {
        const NodePtr made(MimeMessage2::createMimeFromXml(xml, "mime_message", false, noLog));
        return outcome(made != nullptr, [&] { return contentOf(*made); });
    });
}

const std::string kLong =
    "a text a good deal longer than the inside of a buffer, and not ASCII, \xC3\xA9";

void useSetters(MimeMessage2& n) {
    XString x;
    x.setFromUtf8(kLong.c_str());
    MimeMessage2 other;
    n.addReplaceHeaderFieldUtf8("Subject", kLong.c_str(), noLog);
    n.addHeaderFieldUtf8("X-New", kLong.c_str(), false, noLog);
    n.moveHeaderToBottom("Subject", noLog);
    n.setFilenameUtf8(kLong.c_str(), noLog);
    n.setContentType("application/pkcs7-mime-and-more", true, noLog);
    n.setCharset("iso-8859-2", noLog);
    n.setMimeBodyBinary2(raw(kLong), 60, noLog);
    n.setMimeBodyQP(kLong.data(), 60, n.m_charset, true, noLog);
    n.setSignedData(raw(kLong), 60);
    n.addPart(MimeMessage2::createNewObject());
    n.addPartInFront(MimeMessage2::createNewObject());
    n.setBodyFromPlainText(x, noLog);
    other.takeMimeMessage(n, noLog);
    n.takeMimeMessage(other, noLog);
}

void useGetters(MimeMessage2& n) {
    ExtPtrArray list;
    StringBuffer out;
    n.getEmailAddresses("From", list, noLog);
    n.getAndRemoveBccAddresses(list, noLog);
    n.getMimeBodyEncoded2(out, noLog);
    n.getMimeBodyQP(out, 1252, noLog);
    n.getHeaderFieldUtf8("Subject", out, noLog);
    n.find8bitInfo(out);
    n.getMimeStructure(1, 0, out, noLog);
    n.findContentType(nullptr, "text/none");
    n.containsSignedParts(noLog);
}

// What answers false leaves its output as it was.
TEST(Memory, Readers) {
    using Read = bool (*)(MimeMessage2 & n, StringBuffer & out);
    const Read reads[] = {
        [](auto& n, auto& out) { return n.getHeaderFieldValue(1, false, out, noLog); },
        [](auto& n, auto& out) { return n.getHeaderFieldValue(1, true, out, noLog); },
        [](auto& n, auto& out) { return n.m_mimeHeader.getMimeFieldUtf8("X-Folded", out, noLog); },
        [](auto& n, auto& out) {
            return n.getSubFieldUtf8("Content-Type", "boundary", out, noLog);
        },
        [](auto& n, auto& out) { return n.m_mimeHeader.getMimeHeader(out, 0, 0, false, noLog); },
        [](auto& n, auto& out) { return n.getMimeTextSb(out, false, noLog); },
        [](auto& n, auto& out) { return out.takeFromDb(n.getPart(0)->getPart(0)->m_signedData); },
        [](auto& n, auto& out) {
            n.m_mimeBody = n.getPart(1)->m_mimeBody;
            return n.m_mimeBody.failed() ? str(n.m_mimeBody) != "<" : out.append(n.m_mimeBody);
        }};
    for (const Read read : reads)
        expectAllOrNothing([&] {
            const long countdown = g_countdown;
            g_countdown = 0;
            const NodePtr node =
                fromBytes("X-Folded: " + repeated("a folded value\r\n ", 9) + "\r\n" + kSample);
            MimeMessage2& leaf = *node->getPart(0)->getPart(0);
            EXPECT_TRUE(leaf.m_signedData.makeSliceOf(leaf.m_mimeBody, 1, 30));
            StringBuffer out = sb("<");
            node->m_mimeBody.append(out);
            g_countdown = countdown;
            const bool done = read(*node, out);
            g_countdown = 0;
            return done ? str(out) : str(out) == "<" ? "" : "changed";
        });
}

// The face throws nothing, and leaves a message that it cannot change as it was.
TEST(Memory, Face) {
    using namespace mimetree;
    const auto file = std::as_bytes(std::span("\xFF bytes of a file that is attached"));
    const auto shown = [](const Message& m) {
        std::string all(m.text());
        for (const Part& part : m.parts())
            all.append(part.type()).append(part.declared_name()).append(part.charset()) += ';';
        return all + std::string(m.subject());
    };
    using Change = Result<void> (*)(Message & m);
    const Change changes[] = {[](Message& m) { return m.set_text(kLong); },
                              [](Message& m) { return m.set_header("Subject", kLong); },
                              [](Message& m) { return m.set_charset("utf-8"); },
                              [](Message& m) { return m.remove_part(*m.part("1.1")); },
                              [](Message& m) {
                                  return m.add_attachment(std::as_bytes(std::span(kLong)),
                                                          "n\xC3\xA4me, a long one.txt");
                              }};
    const auto refusing = [](auto work) {
        g_alsoNew = true;
        auto made = work();
        g_alsoNew = false;
        return made;
    };
    expectAllOrNothing([&] {
        Result<Message> made = refusing([&] {
            return Builder()
                .from(kLong, "a@example.org")
                .subject(kLong)
                .header("X-Long", kLong)
                .text(kLong)
                .html(kLong)
                .inline_image(file, "cid", "image/png")
                .attach(file, "n\xC3\xA4me, a long one.pdf")
                .charset("koi8-r")
                .build();
        });
        return outcome(bool(made), [&] { return shown(*made); });
    });
    for (const Change change : changes)
        expectAllOrNothing([&] {
            const long countdown = std::exchange(g_countdown, 0);
            Message m = Message::parse(kSample).value();
            EXPECT_TRUE(m.remove_part(*m.part("3")));  // which is signed
            const std::string before = shown(m);
            g_countdown = countdown;
            const Result<void> done = refusing([&] { return change(m); });
            g_countdown = 0;
            const std::string after = shown(m);
            return done ? after : after == before ? "" : "changed";
        });
}

ptrdiff_t readText(void* rest, char* to, size_t size) {
    auto& text = *static_cast<std::string_view*>(rest);
    const size_t n = text.copy(to, size);
    text.remove_prefix(n);
    return static_cast<ptrdiff_t>(n);
}

// A mail out of an mbox through the C interface, walked and brought to XML and back.
TEST(Memory, C) {
    const std::string mbox = "From a@example.org Thu Nov  1 12:34:56 2001\n" + kSample;
    expectAllOrNothing([&] {
        std::string_view rest = mbox;
        uint64_t sum = 0;
        const auto add = [&sum](const char* text) {
            for (; text && *text; ++text) sum = sum * 31 + static_cast<unsigned char>(*text);
        };
        g_alsoNew = true;
        mt_mbox* const box = mt_mbox_from(readText, &rest, "a name that is long", MT_MBOX_RD);
        mt_mbox_next(box);
        mt_message* const message = mt_mbox_message(box, 0);
        for (size_t i = 0; i < mt_message_part_count(message); ++i) {
            const mt_part* const part = mt_message_part(message, i);
            for (const auto ask : {mt_part_type, mt_part_name, mt_part_content_id}) add(ask(part));
            add(mt_part_text(part, nullptr));
            add(mt_part_header(part, "Content-Disposition"));
        }
        add(mt_message_address_name(message, "From", 0));
        char* const from = mt_message_addresses(message, "From");
        add(from);
        size_t size = 0;
        char* const xml = mt_message_to_xml(message, &size);
        mt_message* const again = mt_message_from_xml(xml, size);
        const bool isWhole = from && xml && again && mt_message_ok(message) && mt_mbox_status(box) == MT_OK;
        add(xml);
        add(mt_message_text(again, nullptr));
        const bool isRead = isWhole && mt_message_ok(again);
        mt_free(from);
        mt_free(xml);
        mt_message_free(again);
        mt_message_free(message);
        mt_mbox_free(box);
        g_alsoNew = false;
        return outcome(isRead, [&] { return std::to_string(sum); });
    });
}

// Those without a result must at least survive, and leave the rest of the node alone.
TEST(Memory, Setters) {
    for (const auto use : {useSetters, useGetters})
        expectAllOrNothing([&] {
            const long countdown = g_countdown;
            g_countdown = 0;
            const NodePtr node = fromBytes(kSample);
            g_countdown = countdown;
            use(*node);
            g_countdown = 0;
            EXPECT_EQ(node->m_magic, 0xa4ee21fbu);
            EXPECT_LE(written(*node).size(), 2 * kSample.size());
            return std::string(1, 'x');
        });
}

// A plain answer may be empty, but then the message is no longer ok().
TEST(Memory, FaceReads) {
    using namespace mimetree;
    const std::string attached = replaced(kSample, "text/plain; charset=iso-8859-2; format=flowed",
                                          "Text/Plain; charset=iso-8859-2; name=a.txt\r\n"
                                          "Content-Disposition: attachment");
    for (const std::string& mail : {kSample, attached})
        expectAllOrNothing([&] {
            std::vector<std::string_view> said;
            said.reserve(200);
            const auto say = [&](const Message& m) {
                said = {m.subject(), m.text(), m.html(), m.message_id(),
                        m.header("X-No").value_or("")};
                for (const Address& one : m.from()) said.push_back(one.name);
                for (const Part& part : m.parts())
                    for (const std::string_view text :
                         {part.type(), part.disposition(), part.name(), part.text(), part.path(),
                          part.parameter("boundary").value_or("")})
                        said.push_back(text);
                for (const Part& part : m.attachments()) said.push_back(part.path());
                for (const Header& field : m.headers()) said.push_back(field.value);
                if (const auto part = m.part_by_cid("an.identifier.that.is.long@example.org"))
                    said.push_back(part->path());
            };
            g_alsoNew = true;
            const Result<Message> m = Message::parse(mail);
            if (m) say(*m);
            g_alsoNew = false;
            return outcome(m && m->ok(), [&] {
                std::string all;
                for (const std::string_view text : said) all.append(text) += ';';
                return all;
            });
        });
}

// A message within a message is not passed over, nor is a part of it.
TEST(Memory, FaceLooksThrough) {
    using namespace mimetree;
    const std::string mail = "Content-Type: message/rfc822\r\n\r\n" + kSample;
    expectAllOrNothing([&] {
        g_alsoNew = true;
        const Result<Message> m = Message::parse(mail);
        const auto found = m ? findings(*m) : m.error();
        const auto opened = m ? OpenedParts::of(*m) : m.error();
        g_alsoNew = false;
        return outcome(found && opened, [&] {
            std::string all = std::to_string(opened->size());
            for (const Finding& one : *found) all += "\n" + one.part + " " + one.sentence;
            return all;
        });
    });
}

// Takes bytes without memory of its own.
struct FixedSink final : mimetree::ByteSink {
    explicit FixedSink(std::string& to) : text(&to) {}
    int write(std::string_view bytes) noexcept override { return text->append(bytes), 0; }
    std::string* text;
};

// A From line is the message's, or nothing of it is written; no file is passed over.
TEST(Memory, FaceWritesAnMbox) {
    using namespace mimetree;
    const std::string mail =
        "Return-Path: <somebody.with.a.long.name@example.org>\r\nReceived: by a host whose name is "
        "long; Thu, 5 Nov 2026 10:00:00 +0000\r\n\r\nFrom here\r\nbegin 644 a long name of a "
        "file.txt\r\n#86)C\r\n`\r\nend\r\n";
    expectAllOrNothing([&] {
        std::string written;
        written.reserve(1000);
        auto sink = std::make_unique<FixedSink>(written);
        g_alsoNew = true;
        auto box = MboxWriter::to(std::move(sink), "name");
        const bool isAdded = box && box->add(mail);
        const Result<Message> m = Message::parse(mail);
        const auto found = m ? embedded_files(m->root()) : m.error();
        g_alsoNew = false;
        return outcome(isAdded && found, [&] { return written + found->at(0).name; }) +
               (isAdded || written.empty() ? "" : "written");
    });
}

// A mail of so many bytes: `unit` time and again behind `front`; and what it may take at most,
// in bytes a byte.
struct Growing {
    std::string_view front, unit;
    unsigned allowed = 2;
};

const std::string kLine = "a line of text that is about as long as those of mail are\n";
const std::string kEmptyLines = "--b\n\n" + repeated("\n", 5000);

const Growing kGrowing[] = {
    // Line ends of every kind, repaired or not.
    {"A: 1\n\n", kLine},
    {"A: 1\n\n", "\n"},
    {"A: 1\r\r", "\r"},
    {"A: 1\r\n\r\n", "\n"},
    {"A: 1\r\nB: 2\n\n", "\n\r\n"},
    {"A: 1\r\r\n\r\r\n", "\r\r\n"},
    {"A: \0\r\r\r\n"sv, "\r\n\r"},
    {"Content-Type: multipart/mixed; boundary=b\n\n", kEmptyLines},
    {"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nA: 1\n\n", "\n"},
    {"Content-Type: multipart/signed; boundary=b\n\n--b\nA: 1\n\n", kLine},
    {"Content-Type: multipart/mixed; boundary=b\n\n", kLine},
    // Charsets, with and without a coding.
    {"A: 1\n\n", "\xE9\n"},
    {"A: 1\r\n\r\n", "\xE9"},
    {"Content-Type: text/plain; charset=koi8-r\r\n\r\n", "\xC1\xC2\r\n"},
    {"Content-Type: text/plain; charset=gbk\r\n\r\n", "\xC4\xE3\xBA\xC3\r\n"},
    {"Content-Type: text/plain; charset=utf-16be\r\n\r\n", "\x4E\x2D"},
    {"Content-Type: text/plain; charset=iso-8859-1\n"
     "Content-Transfer-Encoding: quoted-printable\n\n",
     "\xE9"},
    {"Content-Type: text/plain; charset=koi8-r\nContent-Transfer-Encoding: base64\n\n",
     "wcLDxMXGx8jBwsPExcbHyA\n"},
    {"Content-Transfer-Encoding: uuencode\r\n\r\nbegin 644 a\r\n", "#86)C\r\n"},
    // Header values, which are kept twice when the node has a place for them.
    {"Content-Type: multipart/mixed; boundary=\"", "a boundary"},
    {"Content-Type: multipart/mixed; boundary=\"=_alternative\xE9", "\xE9", 3},
    {"Content-Type: text/plain; name=\"", "of a \\\" file?"},
    {"Content-Type: text/plain; name=", "\xE9", 3},
    {"Content-Type: text/plain; name*=utf-8''", "%C3%A9", 3},
    {"Content-ID: <", "\xE9", 3},
    {"Content-ID: <", "a?;"},
    {"Content-Disposition: attachment; filename=\"", "of a \\\" file?"},
    {"Content-Disposition: attachment; filename=", "\xE9 ", 3},
    {"Content-Disposition: attachment; filename*=", "%C3%A9", 3},
    {"Subject: ", "\xE9 "},
    {"", "Name: value\r\n", 3},
    {"A: 1\r\n", "Name: value\n", 4},
};

size_t numNodes(MimeMessage2& node) {
    size_t count = 1;
    for (int i = 0; i < node.getNumParts(); ++i) count += numNodes(*node.getPart(i));
    return count;
}

// Of the text and of what is made of it together.
TEST(Memory, LoadHoldsThreeTimesTheInput) {
    constexpr size_t kSize = 2 << 20, kNode = 1024, kScratch = 64 * 1024;
    for (const Growing& row : kGrowing) {
        std::string text(row.front);
        while (text.size() < kSize) text += row.unit;
        for (const bool asText : {false, true}) {
            const size_t before = g_peak = g_held;
            MimeMessage2 node;
            StringBuffer clue;
            EXPECT_TRUE(node.loadMimeComplete2(text.data(), static_cast<unsigned>(text.size()),
                                               asText, clue, noLog, false));
            EXPECT_LE(g_peak - before,
                      row.allowed * text.size() + kNode * numNodes(node) + kScratch)
                << barred(row.front) << "..." << barred(row.unit.substr(0, 20));
        }
    }
}

// Beside the tree one body or list of mailboxes at a time, and elements only of what is open.
TEST(Memory, XmlInPieces) {
    const std::string parts = "Content-Type: multipart/mixed; boundary=b\r\n\r\n" +
                              repeated("--b\r\nA: 1\r\n\r\na part\r\n", 20000);
    const std::string bytes = "Content-Transfer-Encoding: base64\r\n\r\n" +
                              repeated(repeated("QUJD", 19) + "\r\n", 20000);
    const std::string list = "To: a@example.org" + repeated(",\r\n b@example.org", 20000);
    constexpr size_t kMailbox = 256;
    for (const auto& [mail, mailboxes] : {std::pair(parts, 0u), {bytes, 0}, {list, 20001}}) {
        const NodePtr node = fromBytes(mail);
        std::string xml;
        xml.reserve(20 * mail.size());
        const size_t before = g_peak = g_held;
        EXPECT_TRUE(node->writeMimeXml(
            [](void* to, const char* piece, unsigned size) {
                static_cast<std::string*>(to)->append(piece, size);
                return true;
            },
            &xml, noLog));
        EXPECT_LE(g_peak - before, mail.size() + kMailbox * mailboxes + 256 * 1024);
        StringBuffer whole;
        EXPECT_TRUE(node->getMimeXml(whole, noLog));
        EXPECT_TRUE(xml == str(whole));
        EXPECT_FALSE(
            node->writeMimeXml([](void*, const char*, unsigned) { return false; }, nullptr, noLog));
    }
}

}  // namespace
