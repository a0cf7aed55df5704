// SPDX-License-Identifier: Apache-2.0
// Saving leaves to files, in a directory that no name leaves, and names without directories.

#include <filesystem>
#include <fstream>
#include <random>
#include <set>

#include "tests/node_support.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// outer/in/, and what there is below outer: nothing but in/NAME may appear.
class Attachments : public testing::Test {
protected:
    void SetUp() override {
        m_outer = fs::temp_directory_path() / ("mimetree-" + std::to_string(std::random_device()()));
        fs::create_directories(m_outer / "in");
    }
    void TearDown() override { fs::remove_all(m_outer); }

    // The paths listed, then each file as "|path=bytes"; the files are gone then.
    std::string saved(const NodePtr& root, LogBase& log = noLog) {
        XString directory;
        directory.setFromUtf8((m_outer / "in").string().c_str());
        ExtPtrArray listed;
        root->extractPartsToFiles(listed, directory, log);
        std::string text;
        for (int i = 0; i < listed.getSize(); ++i)
            text += (i ? " " : "") + below(pathOf(*static_cast<StringBuffer*>(listed.elementAt(i))));
        std::set<fs::path> files;
        for (const auto& entry : fs::recursive_directory_iterator(m_outer))
            if (entry.is_regular_file()) files.insert(entry.path());
        for (const fs::path& path : files) {
            text += "|" + below(path) + "=" + content(path);
            fs::remove(path);
        }
        return text;
    }
    // In UTF-8, whatever the system's own names are in.
    static fs::path pathOf(const StringBuffer& utf8) {
        const std::string text = str(utf8);
        return std::u8string(text.begin(), text.end());
    }
    static std::string content(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::string below(const fs::path& path) {
        const std::u8string text = path.lexically_relative(m_outer).generic_u8string();
        return {text.begin(), text.end()};
    }

    fs::path m_outer;
};

NodePtr named(std::string_view filename, std::string_view body, const std::string& type = "a/b") {
    NodePtr node = leaf("Content-Type: " + type + "\r\nContent-Disposition: attachment", body);
    node->m_filename = sb(filename);
    return node;
}

template <typename... Parts>
NodePtr mixed(Parts... parts) {
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b");
    (root->addPart(parts.release()), ...);
    root->m_filename = sb("not a leaf's");
    return root;
}

TEST_F(Attachments, InTreeOrder) {
    fs::create_directory(m_outer / "in/taken");
    NodePtr dead = named("dead", "D");
    dead->m_magic = 0;
    EXPECT_EQ(saved(dead), "");
    NodePtr inner = mixed(std::move(dead), named("taken", "T"), leaf("X: y"), named("x", "1st"));
    EXPECT_EQ(saved(mixed(named("z", "A\0\xFF\r\n"sv), std::move(inner), named("x", "2nd"))),
              "in/z in/taken in/x in/x|in/x=2nd|in/z=A\0\xFF\r\n"s);
}

// The number counts the files.  Kept on purpose: text in another charset is not written.
TEST_F(Attachments, MadeUpNamesAndText) {
    EXPECT_EQ(saved(mixed(named("d/", "A"), named("b", "B", "text/plain"),
                          named("/", "C", "text/plain; charset=utf-8"),
                          named("..", "D", "text/plain; charset=iso-8859-1"),
                          named("d/.", "E", "text/plain"))),
              "in/part_1.dat in/b in/part_3.txt in/part_4.txt in/part_5.dat|in/b=B|"
              "in/part_1.dat=A|in/part_3.txt=C|in/part_4.txt=|in/part_5.dat=E");
}

// Whatever a name says: one file, in the directory.
TEST_F(Attachments, Names) {
    const std::pair<std::string, std::string> kRows[] = {
        {"../../x.txt", "x.txt"},
        {"a/b\\c/d", "d"},
        {repeated(".", 5000), "part_1.dat"},
#ifndef _WIN32  // where names have no such bytes
        {"..\xC0\xAF..\xC0\xAFx", "..\xC0\xAF..\xC0\xAFx"},
#endif
        {"a\nb\x1F\x20", "a_b_"},
        {repeated("n", 300) + ".pdf", repeated("n", 251) + ".pdf"},
        {repeated("\xD0\xB6", 200) + ".pdf", repeated("\xD0\xB6", 125) + ".pdf"},
    };
    for (const auto& [name, file] : kRows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(saved(named(name, "body")), "in/" + file + "|in/" + file + "=body");
    }
}

TEST(RelativeFilenames, OnTheWholeTree) {
    static constexpr const char* kRows[][3] = {
        // file name, name, both then
        {"C:\\temp\\report.doc", "../../b.c", "report.doc;b.c"},
        {"b.c", "B.c", "b.c;B.c"},
        {"", "a/", ";"},
    };
    for (const auto& [filename, name, both] : kRows) {
        NodePtr part = leaf("Content-Type: a/b", "x");
        part->setNameUtf8(name, noLog);
        if (*filename) part->setFilenameUtf8(filename, noLog);
        NodePtr root = mixed(std::move(part));
        root->m_subParts.appendPtr(nullptr);
        root->makeAttachmentFilenamesRelative(noLog);
        MimeMessage2& changed = *root->getPart(0);
        changed.cacheAll(noLog);
        EXPECT_EQ(str(changed.m_filename) + ";" + str(changed.m_contentType.m_name), both);
    }
}

}  // namespace
