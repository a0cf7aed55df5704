// SPDX-License-Identifier: Apache-2.0
// New containers, and the boundaries that they are made with.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <unordered_set>

#include "foundation/ContentCoding.h"
#include "foundation/Psdk.h"
#include "tests/node_support.h"

namespace {

using NewMultipart = void (MimeMessage2::*)(LogBase&);

std::string boundaryOf(const MimeMessage2& node) { return str(node.m_contentType.m_boundary); }

std::string field(const MimeMessage2& node, const char* name) {
    StringBuffer value;
    node.getHeaderFieldUtf8(name, value, noLog);
    return str(value);
}

// A node with all that a container must lose.
NodePtr busyNode() {
    NodePtr node = fromText(
        "Subject: x\r\nContent-Type: multipart/signed; boundary=b; protocol=\"a/b\"; name=n\r\n"
        "Content-Disposition: attachment; filename=f\r\nContent-ID: <i>\r\n\r\n"
        "--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\n");
    EXPECT_EQ(node->getNumParts(), 2);
    return node;
}

TEST(Compose, Multiparts) {
    struct Row {
        const char* type;
        NewMultipart make;
    };
    static constexpr Row kRows[] = {
        {"multipart/mixed", &MimeMessage2::newMultipartMixed},
        {"multipart/related", &MimeMessage2::newMultipartRelated},
        {"multipart/alternative", &MimeMessage2::newMultipartAlternative},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.type);
        NodePtr node = busyNode();
        (node.get()->*row.make)(noLog);
        const std::string first = boundaryOf(*node);
        EXPECT_EQ(node->getNumParts(), 0);
        EXPECT_TRUE(bodyOf(*node).empty() && node->m_filename.isEmpty() &&
                    node->m_contentId.isEmpty());
        EXPECT_EQ(field(*node, "Content-Type"),
                  std::string(row.type) + "; boundary=\"" + first + "\"");
        EXPECT_EQ(node->getNumHeaderFields(), 1);
        (node.get()->*row.make)(noLog);
        EXPECT_NE(boundaryOf(*node), first);
    }
}

TEST(Compose, MultipartReadsBackWithItsParts) {
    NodePtr node = busyNode();
    node->newMultipartMixed(noLog);
    node->addPart(leaf("Content-Type: text/plain", "one").release());
    node->addPart(leaf("Content-Type: text/plain", "two").release());
    EXPECT_EQ(outline(*fromBytes(written(*node))), "[one|two]");
}

TEST(Compose, Report) {
    NodePtr node = busyNode();
    node->newMultipartReport(" Delivery-STATUS ", noLog);
    EXPECT_STREQ(node->getContentType(), "multipart/report");
    EXPECT_EQ(str(node->m_contentType.m_reportType), "delivery-status");
    StringBuffer kind;
    EXPECT_TRUE(node->getSubFieldUtf8("Content-Type", "report-type", kind, noLog));
    EXPECT_EQ(str(kind), "delivery-status");
    EXPECT_EQ(node->getNumParts(), 0);
    const std::string first = boundaryOf(*node);
    node->newMultipartReport(nullptr, noLog);
    EXPECT_TRUE(node->m_contentType.m_reportType.isEmpty());
    EXPECT_NE(boundaryOf(*node), first);
}

TEST(Compose, AttachedMessage) {
    for (const char* text : {"", "Subject: a\r\n\r\nbody", "Subject: \xC3\xA4\r\n\r\n\xC3\xA4"}) {
        SCOPED_TRACE(text);
        NodePtr a = busyNode(), b = busyNode();
        XString x;
        x.setFromUtf8(text);
        StringBuffer s = sb(text);
        a->newMessageRfc822(x, noLog);
        b->newMessageRfc822Sb(s, noLog);
        EXPECT_STREQ(a->getContentType(), "message/rfc822");
        EXPECT_EQ(bodyOf(*a), text);
        EXPECT_EQ(written(*a), written(*b));
        EXPECT_EQ(a->getNumParts(), 0);
    }
}

TEST(Compose, AttachedMessageFromItsOwnBody) {
    NodePtr node = leaf("Content-Type: text/plain", "A: b\r\n\r\nc");
    StringBuffer body = sb(bodyOf(*node));
    node->newMessageRfc822Sb(body, noLog);
    EXPECT_EQ(bodyOf(*node), "A: b\r\n\r\nc");
}

TEST(Compose, DeadNodesStayAsTheyAre) {
    NodePtr node = leaf("Content-Type: text/plain", "x");
    node->m_magic = 0;
    XString text;
    StringBuffer sbText;
    node->newMultipartMixed(noLog);
    node->newMultipartRelated(noLog);
    node->newMultipartAlternative(noLog);
    node->newMultipartReport("a", noLog);
    node->newMessageRfc822(text, noLog);
    node->newMessageRfc822Sb(sbText, noLog);
    node->m_magic = 0xa4ee21fb;
    EXPECT_EQ(bodyOf(*node), "x");
    EXPECT_STREQ(node->getContentType(), "text/plain");
}

// -- Boundaries

std::string boundary() {
    StringBuffer out = sb("old");
    EXPECT_TRUE(Psdk::generateBoundary(out, noLog));
    return str(out);
}

// RFC 2045 5.1: a token needs no quotes in a parameter; RFC 2046 5.1.1 wants bcharsnospace.
bool isToken(const std::string& s) {
    return std::all_of(s.begin(), s.end(), [](char c) {
        return c > ' ' && c < 0x7F && !std::strchr("()<>@,;:\\\"/[]?=", c);
    });
}

std::string lower(std::string s) {
    for (char& c : s) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return s;
}

TEST(Boundary, UniqueAcrossThreads) {
    constexpr size_t kThreads = 4, kEach = 25'000;
    std::vector<std::string> made[kThreads];
    std::vector<std::thread> threads;
    for (auto& list : made)
        threads.emplace_back([&list] {
            for (size_t i = 0; i < kEach; ++i) list.push_back(boundary());
        });
    for (std::thread& thread : threads) thread.join();
    std::unordered_set<std::string> seen;
    std::unordered_set<size_t> sizes;
    for (const auto& list : made)
        for (const std::string& one : list) {
            ASSERT_TRUE(isToken(one)) << one;
            ASSERT_LE(one.size(), 70u);
            sizes.insert(one.size());
            ASSERT_TRUE(seen.insert(lower(one)).second) << one;
        }
    // Of one length and all different, so none is the prefix or suffix of another.
    EXPECT_EQ(sizes.size(), 1u);
    EXPECT_EQ(seen.size(), kThreads * kEach);
}

TEST(Boundary, OccursInNoEncodedText) {
    std::mt19937 random(5);
    const ContentCoding coding;
    for (int i = 0; i < 300; ++i) {
        const std::string mark = "--" + boundary();
        std::string data = mark + "\r\n" + mark + "--\r\n";
        for (int n = 0; n < 200; ++n) data += static_cast<char>(random());
        data.insert(random() % 100, mark);
        StringBuffer base64, quoted;
        coding.encodeBase64(data.data(), static_cast<unsigned>(data.size()), base64);
        coding.encodeQuotedPrintable(data.data(), static_cast<unsigned>(data.size()), quoted);
        EXPECT_FALSE(base64.containsSubstring(mark.c_str()));
        EXPECT_FALSE(quoted.containsSubstring(mark.c_str()));
    }
}

}  // namespace
