// SPDX-License-Identifier: Apache-2.0
// Mbox and Maildir: what programs write comes back as it was, and nothing is lost.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "face/mailbox/separator.h"
#include "mimetree/mailbox.hpp"

namespace fs = std::filesystem;
using namespace std::string_literals;
using mimetree::Mbox;
using mimetree::MboxKind;
using mimetree::RawMessage;
using mimetree::inner::LineBefore;

namespace {

constexpr const char* kFromLine = "From ann@example.org Thu Nov  1 12:34:56 2001";

// Gives a text in pieces of one size, and an error where `good` bytes are read.
class Pieces final : public mimetree::ByteSource {
public:
    Pieces(std::string_view text, size_t piece, size_t good = SIZE_MAX)
        : m_text(text), m_piece(piece), m_good(good) {}
    std::ptrdiff_t read(char* to, size_t size) noexcept override {
        if (m_good == 0) return -EIO;
        const size_t n = std::min({size, m_piece, m_text.size(), m_good});
        m_text.copy(to, n);
        m_text.remove_prefix(n);
        m_good -= n;
        return static_cast<std::ptrdiff_t>(n);
    }

private:
    std::string_view m_text;
    size_t m_piece, m_good;
};

Mbox mbox_of(std::string_view text, MboxKind kind, size_t piece = 1 << 16) {
    return Mbox::from(std::make_unique<Pieces>(text, piece), "box", kind).value();
}

std::vector<std::string> read_all(std::string_view text, MboxKind kind, size_t piece = 1 << 16) {
    Mbox box = mbox_of(text, kind, piece);
    std::vector<std::string> mails;
    uint64_t covered = 0;
    for (const RawMessage& raw : box) {
        mails.emplace_back(raw.bytes);
        EXPECT_EQ(raw.number, mails.size());
        EXPECT_EQ(raw.offset, covered);
        covered += raw.size;
    }
    EXPECT_TRUE(box.ok());
    EXPECT_EQ(covered, text.size());
    return mails;
}

struct Style {
    MboxKind written, read;
    const char* lineEnd;
};

std::string mail_of(std::mt19937& random, const Style& style) {
    static constexpr const char* kLines[] = {
        "From the beginning", ">From here", ">>From there", "",    "text",
        "From: nobody",       ">",          "From ",        "Fro", kFromLine,
        "Content-Length: 7"};
    // What no quoting tells apart: with kind none only what begins no message is kept.
    const size_t choices = style.written == MboxKind::none ? 9 : std::size(kLines);
    const std::string end = style.lineEnd;
    std::string body;
    for (unsigned n = random() % 8; n > 0; --n) {
        std::string line = kLines[random() % choices];
        // The same line stands for two under this kind.
        if (style.written == MboxKind::o && line.starts_with(">From")) line += "!", line[0] = '|';
        body += line + end;
    }
    std::string header = "Subject: a mail" + end;
    if (style.written == MboxKind::content_length)
        header += "Content-Length: " + std::to_string(body.size()) + end;
    return header + end + body;
}

void write_mail(std::string& box, const std::string& mail, const Style& style) {
    box += kFromLine + std::string(style.lineEnd);
    for (size_t at = 0; at < mail.size();) {
        const size_t stop = mail.find('\n', at) + 1;
        const std::string_view line = std::string_view(mail).substr(at, stop - at);
        const size_t quotes = line.find_first_not_of('>');
        const bool is_from = line.substr(std::min(quotes, line.size())).starts_with("From ");
        if (is_from && (style.written == MboxKind::rd || (style.written == MboxKind::o && !quotes)))
            box += '>';
        box += line;
        at = stop;
    }
    box += style.lineEnd;
}

TEST(Mbox, GivesBackWhatWasWrittenAtEachBufferSize) {
    std::mt19937 random(7);
    for (const char* lineEnd : {"\n", "\r\n"})
        for (const Style style : {Style{MboxKind::rd, MboxKind::rd, lineEnd},
                                  {MboxKind::o, MboxKind::o, lineEnd},
                                  {MboxKind::content_length, MboxKind::content_length, lineEnd},
                                  {MboxKind::none, MboxKind::none, lineEnd},
                                  {MboxKind::rd, MboxKind::automatic, lineEnd},
                                  {MboxKind::content_length, MboxKind::automatic, lineEnd}})
            for (int round = 0; round < 20; ++round) {
                std::vector<std::string> mails;
                std::string box;
                for (int i = 0; i < 10; ++i) {
                    mails.push_back(mail_of(random, style));
                    write_mail(box, mails.back(), style);
                }
                for (const size_t piece : {1u, 3u, 64u, 1000u, 100000u})
                    ASSERT_EQ(read_all(box, style.read, piece), mails) << box;
            }
}

// A text of such lines, with any line ends or none.
std::string bytes_of(std::mt19937& random) {
    static const std::string kPieces[] = {"From ",
                                          ">From ",
                                          ">>",
                                          kFromLine,
                                          "\n",
                                          "\n",
                                          "\r\n",
                                          "\r",
                                          "\n\n",
                                          "text",
                                          "\0"s,
                                          "\t",
                                          "\xE9",
                                          "Subject: x\n",
                                          "Content-Length: 7\n",
                                          "Content-Length: 1\n",
                                          "A: b\n\nc\n"};
    std::string text;
    for (unsigned n = random() % 8; n > 0; --n) text += kPieces[random() % std::size(kPieces)];
    return text;
}

class StringSink final : public mimetree::ByteSink {
public:
    explicit StringSink(std::string& to) : m_to(to) {}
    int write(std::string_view bytes) noexcept override { return m_to += bytes, 0; }

private:
    std::string& m_to;
};

std::string written(const std::vector<std::string>& mails) {
    std::string box;
    auto writer = mimetree::MboxWriter::to(std::make_unique<StringSink>(box), "box").value();
    for (const std::string& mail : mails) writer.add(mail).value();
    return box;
}

TEST(Mbox, WriterWritesWhatIsReadAgainWhateverTheBytes) {
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::string> mails(1 + random() % 4);
        for (std::string& mail : mails) mail = bytes_of(random);
        if (round % 4 == 0) mails.front().insert(0, "\0\x01\xFF"s);
        const std::string box = written(mails);
        ASSERT_EQ(read_all(box, MboxKind::automatic), mails) << box;
        ASSERT_EQ(read_all(box, MboxKind::rd), mails) << box;
    }
}

TEST(Mbox, WriterTakesTheFromLineOutOfTheHeader) {
    const char* const rows[][2] = {
        {"", "MAILER-DAEMON Thu Jan  1 00:00:00 1970"},
        {"From: A <a@b>\nDate: Thu, 1 Nov 2001 00:34:56 +0100\n", "a@b Wed Oct 31 23:34:56 2001"},
        {"From: a@b\nReturn-Path: <c@d>\n", "c@d Thu Jan  1 00:00:00 1970"},
        {"From: a@b\nReturn-Path: <>\n", "MAILER-DAEMON Thu Jan  1 00:00:00 1970"},
        {"Return-Path: <\"c d\"@e>\n", "MAILER-DAEMON Thu Jan  1 00:00:00 1970"},
        {"Received: from a (b; c)\n by d; 2 Nov 2001 01:02:03 -0000\nReceived: ; 3 Nov 2001 0:0 "
         "GMT\n"
         "Date: 4 Nov 2001 00:00 +0000\n",
         "MAILER-DAEMON Fri Nov  2 01:02:03 2001"},
        {"Date: Sat, 1 Jan 0000 00:30:00 +0100\n", "MAILER-DAEMON Thu Jan  1 00:00:00 1970"},
    };
    for (const auto& [header, line] : rows) {
        const std::string box = written({std::string(header) + "\n"});
        EXPECT_EQ(box.substr(0, box.find('\n')), "From "s + line) << header;
    }
}

TEST(Mbox, WriterMakesNewFilesOnly) {
    const std::string path = testing::TempDir() + "mimetree_new.mbox";
    fs::remove(path);
    auto writer = mimetree::MboxWriter::create(path).value();
    writer.add("A: 1\n\nx").value();
    writer.close().value();
    EXPECT_FALSE(writer.add("B: 2\n"));
    EXPECT_FALSE(mimetree::MboxWriter::create(path));
    Mbox box = Mbox::open(path).value();
    EXPECT_TRUE(box.next());
    EXPECT_EQ(box.current().bytes, "A: 1\n\nx");
    EXPECT_FALSE(box.next());
    fs::remove(path);
}

TEST(Mbox, LargeMessagesComeWhole) {
    const Style style{MboxKind::rd, MboxKind::rd, "\n"};
    std::vector<std::string> mails;
    std::string box;
    for (const unsigned lines : {1u, 40000u, 3u, 90000u, 90000u, 2u}) {
        mails.push_back("Subject: large\n\n");
        for (unsigned i = 0; i < lines; ++i)
            mails.back() += "From here to " + std::to_string(i) + "\n";
        write_mail(box, mails.back(), style);
    }
    EXPECT_EQ(read_all(box, MboxKind::automatic), mails);
}

struct LineRow {
    const char* text;
    bool at_start, after_blank, after_text;
};

constexpr LineRow kLineRows[] = {
    {"From ann@example.org Thu Nov  1 12:34:56 2001\nTo: x", true, true, true},
    {"From ann@example.org Thu Nov  1 12:34:56 2001\r\nTo: x", true, true, true},
    {"From ann@example.org Thu Nov  1 12:34:56 2001\ntext", true, true, false},
    {"From ann@example.org Thu Nov  1 12:34:56 2001", true, true, false},
    {"From 123@xxx Mon Jan 01 12:34:56 +0000 2018\nX: y", true, true, true},
    {"From - Thu Nov 01 12:34:56 2001\nX: y", true, true, true},
    {"From ???@??? Thu Nov 01 12:34:56 2001\nX: y", true, true, true},
    {"From MAILER-DAEMON Thu Nov  1 12:34 2001 +0100\nX: y", true, true, true},
    {"From a Thu Nov  1 12:34:56 MET DST 2001 remote from b\nX: y", true, true, true},
    {"From ann@example.org Thu, 1 Nov 2001 12:34:56 -0500 (EST)\nX: y", true, true, true},
    {"From ann at example.org  Thu Nov  1 12:34:56 2001\nX: y", true, true, true},
    {"From \"Ann Other\"@example.org Thu Nov  1 12:34:56 2001\nX: y", true, true, true},
    {"From Ann Other <ann@example.org> Thu Nov  1 12:34:56 2001\nX: y", true, true, true},
    {"From  Thu Nov  1 12:34:56 2001\nX: y", true, true, true},
    {"From ann@example.org 2001-11-01 12:34:56\nX: y", true, true, true},
    {"From ann@example.org 2001-11-01T12:34:56Z\nX: y", true, true, true},
    {"From ann@example.org jeu. nov. 1 12:34:56 2001\nX: y", true, true, false},
    {"From ann@example.org\nX: y", true, true, false},
    {"From ann@example.org\ntext", false, false, false},
    {"From nobody\nX: y", true, false, false},
    {"From the beginning\ntext", false, false, false},
    {"From the office at Thu Nov  1 12:34:56 2001\ntext", false, false, false},
    {"From Monday to Friday, 12:34 to 15:00\nX: y", true, false, false},
    {"From: ann@example.org\nX: y", false, false, false},
    {"from ann@example.org Thu Nov  1 12:34:56 2001\nTo: x", false, false, false},
};

TEST(Mbox, KnowsALineThatBeginsAMessage) {
    using mimetree::inner::beginsMessage;
    for (const LineRow& row : kLineRows) {
        EXPECT_EQ(beginsMessage(row.text, LineBefore::start_of_file), row.at_start) << row.text;
        EXPECT_EQ(beginsMessage(row.text, LineBefore::blank_line), row.after_blank) << row.text;
        EXPECT_EQ(beginsMessage(row.text, LineBefore::text), row.after_text) << row.text;
    }
}

struct BoxRow {
    const char* what;
    MboxKind kind;
    std::string text;
    std::vector<std::string> mails;
};

TEST(Mbox, ReadsOddFiles) {
    const std::string from = kFromLine + std::string("\n");
    const std::string a = "A: 1\n\nx\n", b = "B: 2\n\ny\n";
    const std::string three = "A: 1\nContent-Length: 3\n\n";
    const BoxRow rows[] = {
        {"nothing", MboxKind::automatic, "", {}},
        {"no blank lines", MboxKind::automatic, from + a + from + b, {a, b}},
        {"cut in a body",
         MboxKind::automatic,
         from + a + "\n" + from + "B: 2\n\ny",
         {a, "B: 2\n\ny"}},
        {"cut in a From line",
         MboxKind::automatic,
         from + a + "\nFrom ann@e",
         {a + "\nFrom ann@e"}},
        {"a mail alone", MboxKind::automatic, a, {a}},
        {"text in front", MboxKind::automatic, "x\n\n" + from + b, {"x\n", b}},
        {"two From lines", MboxKind::automatic, from + from + a, {from + a}},
        {"messages without anything", MboxKind::automatic, from + "\n" + from, {"", ""}},
        {"too short a length",
         MboxKind::automatic,
         from + three + "xxxx\n\n" + from + b,
         {three + "xxxx\n", b}},
        {"too long a length",
         MboxKind::content_length,
         from + three + "\n\n" + from + b,
         {three + "\n", b}},
        {"a length behind the end", MboxKind::content_length, from + three + "x", {three + "x"}},
        {"no length where it is wanted",
         MboxKind::content_length,
         from + a + "\n" + from + b,
         {a, b}},
        {"a length without the last line end",
         MboxKind::content_length,
         from + three + "abc\n\n" + from + b,
         {three + "abc", b}},
        {"quoted, and a length of before",
         MboxKind::automatic,
         from + "Content-Length: 6\n\n>From \n\n" + from + b,
         {"Content-Length: 6\n\nFrom \n", b}},
    };
    for (const BoxRow& row : rows) EXPECT_EQ(read_all(row.text, row.kind), row.mails) << row.what;
}

TEST(Mbox, AFailedReadIsToldBehindTheMessagesBefore) {
    const std::string one = kFromLine + std::string("\nA: 1\n\nbody\n\n");
    const std::string text = one + one + one + one;
    const size_t sign = strlen(kFromLine) + 1;  // of the next message
    for (size_t good = 1; good <= text.size(); ++good) {
        Mbox box = Mbox::from(std::make_unique<Pieces>(text, 5, good), "box").value();
        size_t whole = 0;
        for (const RawMessage& raw : box) whole += raw.bytes == "A: 1\n\nbody\n";
        EXPECT_GE(whole, good < sign ? 0 : (good - sign) / one.size()) << good;
        EXPECT_LE(whole, good / one.size()) << good;
        EXPECT_EQ(box.error().code(), mimetree::Errc::io);
    }
    EXPECT_EQ(Mbox::open("/none/such").error().code(), mimetree::Errc::io);
    EXPECT_EQ(Mbox::open("/").error().code(), mimetree::Errc::io);
    EXPECT_EQ(Mbox::from(std::make_unique<Pieces>("", 1), "a", MboxKind(5)).error().code(),
              mimetree::Errc::invalid_argument);
    EXPECT_EQ(Mbox::from(std::make_unique<Pieces>(std::string_view("\x7F"
                                                                   "ELF\0",
                                                                   5),
                                                  5),
                         "a")
                  .error()
                  .code(),
              mimetree::Errc::not_mail);
}

void put_file(const fs::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

// What is no file to read; Windows has but directories.
#ifdef _WIN32
constexpr char kInfo[] = ";2,";
void put_pipe(const fs::path& path) { fs::create_directory(path); }
void put_loop(const fs::path& path) { fs::create_directory(path); }
#else
constexpr char kInfo[] = ":2,";
void put_pipe(const fs::path& path) { mkfifo(path.c_str(), 0600); }
void put_loop(const fs::path& path) { fs::create_symlink(path.filename(), path); }
#endif

TEST(Maildir, ReadsFilesByNameAndPassesOverWhatIsNone) {
    const fs::path dir = fs::temp_directory_path() / ("maildir" + std::to_string(getpid()));
    for (const char* name : {"new", "cur", "tmp", ".Sub/cur"}) fs::create_directories(dir / name);
    put_file(dir / "new/3.a", "new");
    put_file(dir / ("cur/1.a"s + kInfo + "FS"), "first");
    put_file(dir / ("cur/2.a"s + kInfo), "second");
    put_file(dir / "cur/4.a", "moved");
    put_file(dir / "cur/5.a", "deleted");
    put_file(dir / "cur/.hidden", "x");
    put_file(dir / "tmp/0.a", "x");
    put_pipe(dir / "cur/6.pipe");
    put_loop(dir / "cur/7.loop");
    auto box = mimetree::Maildir::open(dir.string()).value();
    fs::rename(dir / "cur/4.a", dir / ("cur/4.a"s + kInfo + "R"));
    fs::remove(dir / "cur/5.a");
    std::vector<std::string> got;
    for (const RawMessage& raw : box)
        got.push_back(std::to_string(raw.number) + std::string(raw.bytes) + std::string(raw.flags));
    EXPECT_EQ(got, (std::vector<std::string>{"1firstFS", "2second", "3new", "4movedR"}));
    EXPECT_EQ(box.skipped(), 3u);
    EXPECT_FALSE(box.ok());
    EXPECT_NE(box.error().message().find("7.loop"), std::string::npos);
    EXPECT_FALSE(mimetree::Maildir::open((dir / "cur").string()).has_value());
    EXPECT_FALSE(mimetree::Maildir::open(dir.string() + '\0').has_value());
    fs::remove_all(dir);
}

}  // namespace
