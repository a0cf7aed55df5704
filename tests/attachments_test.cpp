// SPDX-License-Identifier: Apache-2.0
// Saving leaves to files, in a directory that no name leaves, and names without directories.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "foundation/HeaderParams.h"
#include "tests/node_support.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// outer/in/ and the files below outer, by their paths; nothing but in/NAME may appear.
class Attachments : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/mimetree-XXXXXX";
        m_outer = mkdtemp(name);
        fs::create_directory(m_outer / "in");
    }
    void TearDown() override { fs::remove_all(m_outer); }

    std::vector<std::string> extract(MimeMessage2& root, LogBase& log = noLog) {
        XString directory;
        directory.setFromUtf8((m_outer / "in").c_str());
        ExtPtrArray saved;
        root.extractPartsToFiles(saved, directory, log);
        std::vector<std::string> paths;
        for (int i = 0; i < saved.getSize(); ++i) {
            const std::string path = str(*static_cast<StringBuffer*>(saved.elementAt(i)));
            paths.push_back(fs::path(path).lexically_relative(m_outer));
        }
        return paths;
    }

    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(m_outer)) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            found[entry.path().lexically_relative(m_outer)] =
                std::string(std::istreambuf_iterator<char>(in), {});
        }
        return found;
    }

    fs::path m_outer;
};

NodePtr named(std::string_view filename, std::string_view body,
              const std::string& type = "application/octet-stream") {
    StringBuffer disposition = sb("attachment");
    appendHeaderParam("filename", sb(filename), disposition);
    return leaf("Content-Type: " + type + "\r\nContent-Disposition: " + str(disposition), body);
}

NodePtr mixed(std::initializer_list<NodePtr*> parts) {
    NodePtr root = leaf("Content-Type: multipart/mixed; boundary=b");
    for (NodePtr* part : parts) root->addPart(part->release());
    return root;
}

TEST_F(Attachments, InTreeOrderWithTheirBytes) {
    NodePtr a = named("a.pdf", "A\0\xFF\r\n"sv), b = named("b.png", "B"), c = named("c", "C");
    NodePtr text = leaf("Content-Type: text/plain", "no file name"), inner = mixed({&b, &text});
    NodePtr root = mixed({&a, &inner, &c});
    EXPECT_EQ(extract(*root), (std::vector<std::string>{"in/a.pdf", "in/b.png", "in/c"}));
    EXPECT_EQ(files(), (std::map<std::string, std::string>{
                           {"in/a.pdf", "A\0\xFF\r\n"s}, {"in/b.png", "B"}, {"in/c", "C"}}));
}

TEST_F(Attachments, NodeWithPartsSavesNothingOfItsOwn) {
    NodePtr a = named("a", "A"), root = named("root", "R");
    root->addPart(a.release());
    EXPECT_EQ(extract(*root), std::vector<std::string>{"in/a"});
}

TEST_F(Attachments, SameNameIsOverwrittenAndListedTwice) {
    NodePtr a = named("x", "first"), b = named("x", "2nd"), root = mixed({&a, &b});
    EXPECT_EQ(extract(*root), (std::vector<std::string>{"in/x", "in/x"}));
    EXPECT_EQ(files()["in/x"], "2nd");
}

TEST_F(Attachments, Names) {
    struct Row {
        const char* filename;
        const char* path;
    };
    static constexpr Row kRows[] = {
        {"../../x.txt", "in/x.txt"},
        {"/etc/passwd", "in/passwd"},
        {"C:\\temp\\report.doc", "in/report.doc"},
        {"c:report.doc", "in/report.doc"},
        {"..\\..\\x", "in/x"},
        {"a/b\\c/d", "in/d"},
        {"dir/", "in/part_1.dat"},
        {"dir\\", "in/part_1.dat"},
        {"..", "in/part_1.dat"},
        {"../..", "in/part_1.dat"},
        {".", "in/part_1.dat"},
        {"/", "in/part_1.dat"},
        {"~", "in/~"},
        {".profile", "in/.profile"},
        {"...x", "in/...x"},
        {"%2e%2e%2fx", "in/%2e%2e%2fx"},
        {"$HOME;`id`|*", "in/$HOME;`id`|*"},
        {"\xD0\xB6 \xF0\x9F\x98\x80.txt", "in/\xD0\xB6 \xF0\x9F\x98\x80.txt"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.filename);
        NodePtr node = named(row.filename, "body");
        EXPECT_EQ(extract(*node), std::vector<std::string>{row.path});
        EXPECT_EQ(files(), (std::map<std::string, std::string>{{row.path, "body"}}));
        fs::remove(m_outer / row.path);
    }
}

// Whatever they become: one file, in the directory.
TEST_F(Attachments, HostileNamesStayInside) {
    const std::string kNames[] = {
        "a\nb",
        "a\rb",
        "\x1B[31m",
        "\x01",
        " ",
        "  .. ",
        ".. .",
        "../ ",
        "..\xC0\xAF..\xC0\xAFx",
        "x\0/../y"s,
        std::string(300, 'n') + ".pdf",
        std::string(5000, '.'),
        "\x7F",
        "../\t",
        std::string(200, '/') + "x",
        "a." + std::string(400, 'e'),
    };
    for (const std::string& name : kNames) {
        SCOPED_TRACE(name);
        NodePtr node = leaf("Content-Type: a/b", "body");
        node->m_filename = sb(name);
        const std::vector<std::string> paths = extract(*node);
        const auto found = files();
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found.begin()->second, "body");
        EXPECT_EQ(paths, std::vector<std::string>{found.begin()->first});
        EXPECT_EQ(fs::path(paths[0]).parent_path(), "in");
        fs::remove(m_outer / paths[0]);
    }
}

TEST_F(Attachments, LongNameKeepsItsExtensionAndWholeCharacters) {
    std::string name = "x";
    for (int i = 0; i < 200; ++i) name += "\xD0\xB6";
    NodePtr node = named(name + ".pdf", "body");
    const std::string path = extract(*node)[0];
    EXPECT_EQ(path.substr(path.size() - 6), "\xD0\xB6.pdf");
}

TEST_F(Attachments, MadeUpNamesCountTheFiles) {
    NodePtr a = named("d/", "A"), b = named("b", "B"), c = named("d/", "C", "text/plain"),
            d = named("d/", "D", "Text/plain"), root = mixed({&a, &b, &c, &d});
    root->getPart(2)->setCharset("utf-8", noLog);
    EXPECT_EQ(extract(*root), (std::vector<std::string>{"in/part_1.dat", "in/b", "in/part_3.txt",
                                                        "in/part_4.dat"}));
}

// Kept on purpose: the text of such a part is not written.
TEST_F(Attachments, TextInAnotherCharsetIsAnEmptyFile) {
    for (const char* charset : {"", "utf-8", "iso-8859-1", "us-ascii"}) {
        SCOPED_TRACE(charset);
        NodePtr node = named("t.txt", "\xC3\xA4", "text/plain");
        node->setCharset(charset, noLog);
        const bool isKept = node->getCharsetCodePage() % 65001 == 0;
        extract(*node);
        EXPECT_EQ(files()["in/t.txt"], isKept ? "\xC3\xA4" : "");
    }
}

TEST_F(Attachments, FailuresAreListedAndTheRestIsSaved) {
    fs::create_directory(m_outer / "in" / "taken");
    NodePtr a = named("taken", "A"), b = named("b", "B"), root = mixed({&a, &b});
    EXPECT_EQ(extract(*root), (std::vector<std::string>{"in/taken", "in/b"}));
    EXPECT_EQ(files(), (std::map<std::string, std::string>{{"in/b", "B"}}));
}

TEST_F(Attachments, LogTellsOfEachNode) {
    NodePtr a = named("../a", "A", "image/png"), text = leaf("Content-Type: text/plain"),
            root = mixed({&a, &text});
    root->m_subParts.appendPtr(nullptr);
    LogText log;
    extract(*root, log);
    const std::string path = (m_outer / "in" / "a").string();
    EXPECT_EQ(linesOf(log),
              "contentType: multipart/mixed|contentType: image/png|"
              "disposition: attachment|filename: ../a|savingFile: " +
                  path + "|contentType: text/plain|");
}

TEST_F(Attachments, DeadNodesAreSkipped) {
    NodePtr a = named("a", "A"), b = named("b", "B"), root = mixed({&a, &b});
    root->getPart(0)->m_magic = 0;
    EXPECT_EQ(extract(*root), std::vector<std::string>{"in/b"});
    root->getPart(0)->m_magic = 0xa4ee21fb;
    root->m_magic = 0;
    EXPECT_TRUE(extract(*root).empty());
    root->m_magic = 0xa4ee21fb;
}

TEST(RelativeFilenames, OnTheWholeTree) {
    struct Row {
        const char* what;
        const char* filename;
        const char* name;
        const char* newFilename;
        const char* newName;
    };
    static constexpr Row kRows[] = {
        {"both", "C:\\temp\\report.doc", "C:\\temp\\report.doc", "report.doc", "report.doc"},
        {"slashes", "/a/b.c", "../../b.c", "b.c", "b.c"},
        {"nothing to do", "b.c", "B.c", "b.c", "B.c"},
        {"no names", "", "", "", ""},
        {"file name only", "x/y", "", "y", ""},
        {"name only", "", "x/y", "", "y"},
        {"nothing left", "a/..", "a/", "", ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        NodePtr part = leaf("Content-Type: a/b", "x"), root = leaf("Content-Type: multipart/mixed");
        part->setNameUtf8(row.name, noLog);
        if (*row.filename) part->setFilenameUtf8(row.filename, noLog);
        root->addPart(part.release());
        root->m_subParts.appendPtr(nullptr);
        root->makeAttachmentFilenamesRelative(noLog);
        MimeMessage2& changed = *root->getPart(0);
        EXPECT_EQ(str(changed.m_filename), row.newFilename);
        EXPECT_EQ(str(changed.m_contentType.m_name), row.newName);
        changed.cacheAll(noLog);
        EXPECT_EQ(str(changed.m_filename), row.newFilename) << "in the field";
        EXPECT_EQ(str(changed.m_contentType.m_name), row.newName) << "in the field";
    }
}

}  // namespace
