// SPDX-License-Identifier: Apache-2.0

// Memory that runs out: every allocation of an operation is refused in turn, once alone and
// once with all that follow.  Nothing may crash or leak, and what answers success is complete.
// The linker sends the engine's calls of malloc and its kin here (see CMakeLists.txt).

#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "tests/node_support.h"

namespace {

long g_live = 0;       // blocks handed out and not given back
long g_countdown = 0;  // the allocation that is refused; 0 is none
bool g_allBehind = false;
long g_refused = 0, g_asked = 0;

bool refuse() {
    ++g_asked;
    if (g_countdown <= 0) return false;
    if (--g_countdown > 0) return false;
    if (g_allBehind) g_countdown = 1;
    ++g_refused;
    return true;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t n);
void* __real_calloc(size_t n, size_t size);
void* __real_realloc(void* p, size_t n);
void __real_free(void* p);

void* __wrap_malloc(size_t n) {
    void* p = refuse() ? nullptr : __real_malloc(n);
    g_live += p != nullptr;
    return p;
}

void* __wrap_calloc(size_t n, size_t size) {
    void* p = refuse() ? nullptr : __real_calloc(n, size);
    g_live += p != nullptr;
    return p;
}

void* __wrap_realloc(void* old, size_t n) {
    void* p = refuse() ? nullptr : __real_realloc(old, n);
    g_live += p != nullptr && old == nullptr;
    return p;
}

void __wrap_free(void* p) {
    g_live -= p != nullptr;
    __real_free(p);
}
}

void* operator new(size_t n, const std::nothrow_t&) noexcept { return __wrap_malloc(n); }
void* operator new(size_t n) {
    void* p = __real_malloc(n);  // the tests' own: never refused
    if (!p) throw std::bad_alloc();
    ++g_live;
    return p;
}
void operator delete(void* p) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t) noexcept { __wrap_free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { __wrap_free(p); }

namespace {

// Runs `operation` as often as it allocates.  It answers whether it claims success, and gives
// what it made; that must then be what it makes when memory suffices.
struct Outcome {
    bool claimsSuccess;
    std::string made;
};

void expectAllOrNothing(const std::function<Outcome()>& operation) {
    g_countdown = 0;
    const Outcome full = operation();
    ASSERT_TRUE(full.claimsSuccess);
    std::string incomplete, leaking;  // the allocations whose refusal does that
    for (bool allBehind : {false, true}) {
        g_allBehind = allBehind;
        g_refused = 1;
        for (long n = 1; g_refused > 0; ++n) {
            const std::string number = std::to_string(n) + (allBehind ? "+ " : " ");
            g_refused = 0;
            const long live = g_live;
            g_countdown = n;
            const bool isLie = [&] {
                const Outcome outcome = operation();
                return outcome.claimsSuccess && outcome.made != full.made;
            }();
            g_countdown = 0;
            if (g_live != live) leaking += number;
            if (isLie) incomplete += number;
        }
    }
    EXPECT_EQ(incomplete, "");
    EXPECT_EQ(leaking, "");
}

// Memory suffices again, for what a test does after its operation.
struct Enough {
    Enough() { g_countdown = 0; }
};

const std::string kInner =
    "Content-Type: multipart/alternative; boundary=\"inner boundary, quite long\"\r\n\r\n"
    "--inner boundary, quite long\r\nContent-Type: text/plain; charset=iso-8859-2; "
    "format=flowed\r\n"
    "Content-Transfer-Encoding: 8bit\r\nContent-ID: "
    "<an.identifier.that.is.long@example.org>\r\n\r\n"
    "\xB1 text in Polish, with a line that goes on for a while and then some more\r\n"
    "--inner boundary, quite long\r\nContent-Type: text/html\r\nContent-Transfer-Encoding: "
    "quoted-printable\r\n\r\n"
    "<html><head><meta charset=3Dkoi8-r></head>=C1=C1=C1 text that is longer than a buffer's "
    "inside</html>\r\n"
    "--inner boundary, quite long--\r\n";

const std::string kSample =
    "Subject: =?iso-8859-1?Q?caf=E9_and_a_lot_of_other_words_in_here?=\r\nFrom: J\xFCrgen "
    "M\xFCller <j@example.org>\r\n"
    "Content-Type: multipart/mixed; boundary=outer-boundary-of-some-length\r\n\r\npreamble\r\n"
    "--outer-boundary-of-some-length\r\n" +
    kInner +
    "\r\n--outer-boundary-of-some-length\r\n"
    "Content-Type: application/octet-stream; name=\"a name that is long "
    "enough.bin\"\r\nContent-Transfer-Encoding: base64\r\n"
    "Content-Disposition: attachment; filename*0*=utf-8''a%20name%20that%20is; "
    "filename*1*=%20long%20enough.bin\r\n\r\n"
    "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4v\r\n"
    "--outer-boundary-of-some-length\r\nContent-Type: multipart/signed; "
    "boundary=sss\r\n\r\n--sss\r\nA: 1\r\n\r\n"
    "signed text\r\n--sss\r\nContent-Type: "
    "application/pkcs7-signature\r\n\r\nsignature\r\n--sss--\r\n"
    "--outer-boundary-of-some-length--\r\n";

// All that a load leaves in a tree.
std::string contentOf(const MimeMessage2& node) {
    std::string text =
        headerOf(node) + "|" + node.getContentType() + ";" + node.getCharset() + ";" +
        str(node.m_contentType.m_boundary) + ";" + str(node.m_contentType.m_name) + ";" +
        str(node.m_disposition) + ";" + str(node.m_filename) + ";" + str(node.m_contentId) + ";" +
        str(node.m_contentTransferEncoding) + "|" + bodyOf(node) + "|" + str(node.m_signedData);
    for (int i = 0; i < node.getNumParts(); ++i)
        if (node.getPart(i)) text += "(" + contentOf(*node.getPart(i)) + ")";
    return text;
}

std::string inDress(const char* lineEnd) {
    std::string text;
    for (char c : kSample)
        if (c == '\n') text += lineEnd;
        else if (c != '\r') text += c;
    return text;
}

TEST(Memory, Load) {
    for (const char* lineEnd : {"\r\n", "\n", "\r"})
        for (bool asText : {false, true}) {
            const std::string mail = inDress(lineEnd);
            const StringBuffer text = sb(mail);
            DataBuffer bytes = db(mail);
            expectAllOrNothing([&] {
                MimeMessage2 node;
                const bool ok = asText ? node.loadMimeComplete(text, noLog, false)
                                       : node.loadMimeCompleteDb(bytes, noLog);
                Enough enough;
                return Outcome{ok, contentOf(node)};
            });
        }
}

TEST(Memory, Clone) {
    const NodePtr node = fromBytes(kSample);
    expectAllOrNothing([&] {
        const NodePtr copy(node->cloneMimeMessage(nullptr));
        Enough enough;
        return Outcome{copy != nullptr, copy ? contentOf(*copy) : ""};
    });
}

TEST(Memory, Write) {
    const NodePtr node = fromBytes(kSample);
    node->setUseMmMessage(true);
    node->addReplaceHeaderFieldUtf8("Subject", "caf\xC3\xA9, and more than fits inside of a buffer",
                                    noLog);
    node->getPart(0)->setContentDisposition("attachment", "caf\xC3\xA9.txt, a name of some length",
                                            noLog);
    expectAllOrNothing([&] {
        DataBuffer out;
        node->getMimeTextDb(out, false, noLog);
        Enough enough;
        return Outcome{!out.failed(), str(out)};
    });
    expectAllOrNothing([&] {
        StringBuffer out;
        const bool ok = node->getMimeTextSb(out, false, noLog);
        Enough enough;
        return Outcome{ok && !out.failed(), str(out)};
    });
    expectAllOrNothing([&] {
        DataBuffer out;
        node->getMimeBodyAll(out, noLog);
        Enough enough;
        return Outcome{!out.failed(), str(out)};
    });
}

// Those without a result must at least survive, and leave the rest of the node alone.
TEST(Memory, Setters) {
    const std::string longText =
        "a text that is a good deal longer than the inside of a buffer, caf\xC3\xA9";
    const std::function<void(MimeMessage2&)> setters[] = {
        [&](MimeMessage2& n) { n.addReplaceHeaderFieldUtf8("Subject", longText.c_str(), noLog); },
        [&](MimeMessage2& n) { n.addHeaderFieldUtf8("X-New", longText.c_str(), false, noLog); },
        [&](MimeMessage2& n) { n.moveHeaderToBottom("Subject", noLog); },
        [&](MimeMessage2& n) { n.setFilenameUtf8(longText.c_str(), noLog); },
        [&](MimeMessage2& n) { n.setContentType("application/pkcs7-mime-and-more", true, noLog); },
        [&](MimeMessage2& n) { n.setCharset("iso-8859-2", noLog); },
        [&](MimeMessage2& n) {
            n.setMimeBodyBinary2(reinterpret_cast<const unsigned char*>(longText.data()), 60,
                                 noLog);
        },
        [&](MimeMessage2& n) { n.setMimeBodyQP(longText.data(), 60, n.m_charset, true, noLog); },
        [&](MimeMessage2& n) {
            n.setSignedData(reinterpret_cast<const unsigned char*>(longText.data()), 60);
        },
        [&](MimeMessage2& n) { n.addPart(MimeMessage2::createNewObject()); },
        [&](MimeMessage2& n) { n.addPartInFront(MimeMessage2::createNewObject()); },
        [&](MimeMessage2& n) {
            XString x;
            x.setFromUtf8(longText.c_str());
            n.setBodyFromPlainText(x, noLog);
        },
        [&](MimeMessage2& n) {
            MimeMessage2 other;
            other.takeMimeMessage(n, noLog);
            n.takeMimeMessage(other, noLog);
        },
        [&](MimeMessage2& n) {
            ExtPtrArray list;
            n.getEmailAddresses("From", list, noLog);
            n.getAndRemoveBccAddresses(list, noLog);
        },
        [&](MimeMessage2& n) {
            StringBuffer out;
            n.getMimeBodyEncoded2(out, noLog);
            n.getMimeBodyQP(out, 1252, noLog);
        },
        [&](MimeMessage2& n) {
            StringBuffer out;
            n.getHeaderFieldUtf8("Subject", out, noLog);
            n.find8bitInfo(out);
        },
        [&](MimeMessage2& n) {
            n.findContentType(nullptr, "text/none");
            n.containsSignedParts(noLog);
        },
    };
    for (size_t i = 0; i < std::size(setters); ++i) {
        SCOPED_TRACE("setter " + std::to_string(i));
        const long live = g_live;
        for (bool allBehind : {false, true})
            for (long n = 1;; ++n) {
                const NodePtr node = fromBytes(kSample);
                g_allBehind = allBehind;
                g_refused = 0;
                g_countdown = n;
                setters[i](*node);
                g_countdown = 0;
                EXPECT_EQ(node->m_magic, 0xa4ee21fbu);
                EXPECT_LE(written(*node).size(), 2 * kSample.size());
                if (g_refused == 0) break;
            }
        EXPECT_EQ(g_live, live) << "leaked";
    }
}

TEST(Memory, TheHookIsInPlace) {
    g_asked = 0;
    fromBytes(kSample);
    EXPECT_GT(g_asked, 20);
}

}  // namespace
