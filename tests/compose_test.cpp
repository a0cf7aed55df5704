// SPDX-License-Identifier: Apache-2.0
// New containers, and the boundaries that they are made with.

#include <functional>
#include <thread>
#include <unordered_set>

#include "foundation/Psdk.h"
#include "tests/node_support.h"

namespace {

// The content expected of a multipart, "B" being its boundary.
std::string multipart(const std::string& subtype, const std::string& params = "") {
    return "Content-Type: multipart/" + subtype + ";| boundary=\"B\"" + params + "|multipart/" +
           subtype + ";;B;;;;;||";
}

const char kMessage[] =
    "Content-Type: message/rfc822; charset=utf-8|message/rfc822;utf-8;;;;;;|\xC3\xA4|";

TEST(Compose, EmptiesTheNodeFirst) {
    using Node = MimeMessage2;
    XString text;
    text.setFromUtf8("\xC3\xA4");
    const std::pair<std::string, std::function<void(Node&)>> kRows[] = {
        {multipart("mixed"), [](Node& n) { n.newMultipartMixed(noLog); }},
        {multipart("related"), [](Node& n) { n.newMultipartRelated(noLog); }},
        {multipart("alternative"), [](Node& n) { n.newMultipartAlternative(noLog); }},
        {multipart("report"), [](Node& n) { n.newMultipartReport(nullptr, noLog); }},
        {multipart("report", "; report-type=a-b"),
         [](Node& n) { n.newMultipartReport(" A-b ", noLog); }},
        {kMessage, [&](Node& n) { n.newMessageRfc822(text, noLog); }},
        {kMessage, [](Node& n) { n.newMessageRfc822Sb(n.m_filename = sb("\xC3\xA4"), noLog); }},
    };
    for (const auto& [content, make] : kRows) {
        const NodePtr node = fromText(
            crlf("Subject: x|Content-Type: multipart/signed; boundary=b; protocol=\"a/b\"; name=n|"
                 "Content-Disposition: attachment; filename=\xC3\xA4|Content-ID: <i>||"
                 "--b||one|--b||two|--b--|"));
        const std::string before = contentOf(*node);
        node->m_magic = 0;
        make(*node);
        node->m_magic = 0xa4ee21fb;
        EXPECT_EQ(contentOf(*node), before) << "without marker";
        for (int i = 0; i < 2; ++i) {
            const std::string old = str(node->m_contentType.m_boundary);
            make(*node);
            const StringBuffer& made = node->m_contentType.m_boundary;
            StringBuffer now = sb(contentOf(*node));
            if (str(made) != old) now.replaceAllOccurances(made.getString(), "B");
            EXPECT_EQ(barred(str(now)), content);
        }
    }
}

// -- Boundaries

std::string boundary() {
    StringBuffer out = sb("old");
    EXPECT_TRUE(Psdk::generateBoundary(out, noLog));
    return str(out);
}

// RFC 2046 5.1.1: characters of a boundary.  Of one length, of one case and all different, so
// none is the prefix or suffix of another.
TEST(Boundary, UniqueAcrossThreads) {
    constexpr size_t kEach = 25'000;
    std::vector<std::string> made[4];
    std::vector<std::thread> threads;
    for (auto& list : made)
        threads.emplace_back([&list] {
            for (size_t i = 0; i < kEach; ++i) list.push_back(boundary());
        });
    for (std::thread& thread : threads) thread.join();
    const size_t size = made[0][0].size();
    EXPECT_LE(size, 70u);
    std::unordered_set<std::string> seen;
    for (const auto& list : made)
        for (const std::string& one : list) {
            ASSERT_EQ(one.find_first_not_of("0123456789abcdef=_-"), std::string::npos) << one;
            ASSERT_EQ(one.size(), size);
            ASSERT_NE(one.find("=_"), std::string::npos) << "could stand in an encoded body";
            ASSERT_TRUE(seen.insert(one).second) << one;
        }
    EXPECT_EQ(seen.size(), 4 * kEach);
}

}  // namespace
