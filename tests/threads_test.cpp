// SPDX-License-Identifier: Apache-2.0

// Different trees on different threads, at once: what each thread makes of the samples is what one
// thread alone makes of them.  Under the thread sanitizer this also says that nothing is shared
// but what is meant to be.

#include <thread>

#include "foundation/Psdk.h"
#include "tests/outline.h"

namespace {

constexpr int kThreads = 4;

// Everything that the engine does with a mail, told as text.
std::string through(const std::string& mail) {
    MimeMessage2 node;
    load(node, mail, As::Text);
    StringBuffer xml, boundary;
    node.getMimeXml(xml, noLog);
    Psdk::generateBoundary(boundary, noLog);
    NodePtr back(MimeMessage2::createMimeFromXml(xml, "mime_message", false, noLog));
    NodePtr copy(node.cloneMimeMessage(nullptr));
    return written(node) + str(xml) + (copy ? written(*copy) : "") + (back ? written(*back) : "");
}

std::vector<std::string> allThrough(const std::vector<Sample>& samples) {
    std::vector<std::string> all;
    for (const Sample& sample : samples) all.push_back(through(sample.bytes));
    return all;
}

template <class Work>
void onThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

TEST(Threads, TreesOfTheirOwnDoNotMeet) {
    const std::vector<Sample> samples = loadSamples();
    std::vector<std::string> made[kThreads];
    onThreads([&](int i) { made[i] = allThrough(samples); });
    const std::vector<std::string> alone = allThrough(samples);
    for (const auto& one : made) EXPECT_EQ(one, alone);
}

// The signed bytes of nested signatures are slices of one block; each slice may be changed, and
// the last to go frees it, on whatever thread its node has come to.
TEST(Threads, SlicesOfOneBlockMayPartOnSeveral) {
    std::string mail;
    for (int i = 0; i < kThreads; ++i)
        mail += "Content-Type: multipart/signed; boundary=b" + std::to_string(i) + "\r\n\r\n--b" +
                std::to_string(i) + "\r\n";
    MimeMessage2 root;
    load(root, mail + "\r\nsigned text\r\n", As::Bytes);
    std::vector<NodePtr> levels;
    for (MimeMessage2* at = root.extractPart(0); at; at = at->extractPart(0))
        levels.emplace_back(at);
    ASSERT_GE(levels.size(), size_t{2});
    onThreads([&](int i) {
        if (size_t(i) >= levels.size()) return;
        const unsigned size = levels[size_t(i)]->m_signedData.getSize();
        levels[size_t(i)]->m_signedData.appendChar('!');
        EXPECT_EQ(levels[size_t(i)]->getSignedData().getSize(), size + 1);
        levels[size_t(i)].reset();
    });
}

}  // namespace
