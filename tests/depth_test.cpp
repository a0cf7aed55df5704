// SPDX-License-Identifier: Apache-2.0

// Mails that nest deeper, or spread wider, than any honest mail: loading, writing, cloning,
// searching, classifying and destroying them must not cost machine stack.  All of it runs on
// a thread with a small one, on sizes that anything slower than linear would not finish.

#include <pthread.h>

#include <functional>

#include "tests/outline.h"

namespace {

constexpr size_t kStackSize = 512 * 1024;
constexpr unsigned kLevels = 100000, kFewer = 20000, kParts = 200000, kFields = 100000;

void onSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackSize), 0);
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

std::string numbered(unsigned i) { return "b" + std::to_string(i); }
std::string shared(unsigned) { return "same"; }

std::string randomBoundary(unsigned i) {
    static const char kBytes[] = "0123456789abcdefghijklmnopqrstuvwxyz'()+_,./:=?";
    std::minstd_rand random(i + 1);
    random.discard(5);
    std::string text(8 + random() % 60, ' ');
    for (char& c : text) c = kBytes[random() % (sizeof kBytes - 1)];
    return text;
}

enum class Close { Yes, No };

std::string nested(unsigned levels, std::string (*boundary)(unsigned), Close close,
                   const std::string& lineEnd = "\r\n", const std::string& kind = "mixed") {
    std::string mail;
    for (unsigned i = 0; i < levels; ++i)
        mail += "Content-Type: multipart/" + kind + "; boundary=\"" + boundary(i) + "\"\r\n\r\n--" +
                boundary(i) + lineEnd;
    mail += "Content-Type: text/plain\r\n\r\nthe core\r\n";
    for (unsigned i = levels; close == Close::Yes && i > 0; --i)
        mail += "--" + boundary(i - 1) + "--\r\n";
    return mail;
}

std::string unitsOf(std::string text, unsigned times, const char* unit) {
    for (unsigned i = 0; i < times; ++i) text += unit + std::to_string(i % 1000) + "\r\n";
    return text;
}

unsigned depthOf(const MimeMessage2& root) {
    unsigned depth = 0;
    for (const MimeMessage2* node = &root; node->getNumParts() > 0; ++depth)
        node = node->getPart(0);
    return depth;
}

// Everything that walks a whole tree; the clone is as deep and as wide as its source.
void exercise(MimeMessage2& root) {
    LogNull log;
    StringBuffer charset;
    MimeMessage2* parent = nullptr;
    EXPECT_EQ(root.findContentType(&parent, "no/such"), nullptr);
    EXPECT_EQ(root.findByVantrelObjectId(-1), nullptr);
    EXPECT_EQ(root.findMultipartRelated(), nullptr);
    EXPECT_FALSE(root.containsEncryptedParts(log));
    EXPECT_EQ(root.containsSignedParts(log), root.isMultipartSigned(log));
    EXPECT_FALSE(root.find8bitInfo(charset));
    const std::unique_ptr<MimeMessage2> clone(root.cloneMimeMessage(nullptr));
    ASSERT_TRUE(clone);
    EXPECT_EQ(depthOf(*clone), depthOf(root));
    EXPECT_EQ(clone->getNumParts(), root.getNumParts());
    EXPECT_EQ(clone->getNumHeaderFields(), root.getNumHeaderFields());
    EXPECT_EQ(written(*clone), written(root));
    StringBuffer xml;
    EXPECT_TRUE(root.getMimeXml(xml, log));
    const std::unique_ptr<MimeMessage2> back(
        MimeMessage2::createMimeFromXml(xml, "mime_message", false, log));
    ASSERT_TRUE(back);
    EXPECT_EQ(depthOf(*back), depthOf(root));
    EXPECT_EQ(back->getNumParts(), root.getNumParts());
    root.removeHeaderField("X", /*all*/ true, log);
    EXPECT_EQ(root.getNumHeaderFields(), 1);
}

void exerciseBothWays(const std::string& mail, const std::function<void(MimeMessage2&)>& check) {
    onSmallStack([&] {
        for (const As as : {As::Bytes, As::Text}) {
            MimeMessage2 root;
            EXPECT_TRUE(load(root, mail, as));
            check(root);
            exercise(root);
        }
    });
}

}  // namespace

TEST(Depth, NestedMultiparts) {
    const struct {
        const char* what;
        std::string mail;
        unsigned depth;
    } rows[] = {
        {"closed", nested(kLevels, numbered, Close::Yes), kLevels},
        {"the same, never closed", nested(kFewer, randomBoundary, Close::No), kFewer},
        {"one boundary for all", nested(kFewer, shared, Close::Yes), 1},
        {"delimiters end in CR", nested(kFewer, numbered, Close::Yes, "\r"), kFewer},
        {"delimiters end in a blank", nested(kFewer, numbered, Close::Yes, " \r\n"), kFewer},
        {"each signed", nested(kLevels, numbered, Close::No, "\r\n", "signed"), kLevels},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        exerciseBothWays(row.mail,
                         [&](MimeMessage2& root) { EXPECT_EQ(depthOf(root), row.depth); });
    }
}

TEST(Depth, PartsAndFieldsSideBySide) {
    const std::string mail = unitsOf("Content-Type: multipart/mixed; boundary=b\r\n", kFields,
                                     "X: a value,\r\n\tfolded ") +
                             unitsOf("\r\n", kParts, "--b\r\nX: 1\r\n\r\npart ");
    exerciseBothWays(mail + "--b--\r\n", [](MimeMessage2& root) {
        EXPECT_EQ(root.getNumParts(), static_cast<int>(kParts));
    });
}
