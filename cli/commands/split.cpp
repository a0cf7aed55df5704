// SPDX-License-Identifier: Apache-2.0
// Command `split`: an archive into a Maildir or into files, the messages as they are.

#include <unistd.h>

#include <array>
#include <cctype>
#include <chrono>
#include <cstring>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/mail_reader.h"
#include "cli/input/overlap.h"
#include "cli/terminal/progress.h"
#include "face/files/folder.h"
#include "face/mailbox/from_line.h"

using mimetree::inner::Directory;
using mimetree::inner::Folder;

namespace {

// Where messages go; a function answers 0 or the errno value that tells why not.
class Target {
public:
    virtual ~Target() = default;
    virtual int open() = 0;
    virtual int save(const RawMail& mail, size_t number) = 0;
};

std::string padded(size_t number) {
    const std::string digits = std::to_string(number);
    return std::string(8 - std::min<size_t>(8, digits.size()), '0') + digits;
}

class FilesTarget : public Target {
public:
    explicit FilesTarget(const std::string& path) : m_folder(path, Folder::Mode::Write) {}
    int open() override { return m_folder.error(); }
    int save(const RawMail& mail, size_t number) override {
        std::string name = padded(number) + ".eml";
        return m_folder.save(name, mail.bytes);
    }

private:
    Folder m_folder;
};

std::string hostName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || !name[0]) return "localhost";
    std::string text = name.data();
    for (char& c : text)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '-') c = '_';
    return text;
}

// What mail programs keep in the header of a message in an mbox, as a Maildir has it.
struct Flags {
    bool isOld = false;
    std::string letters;  // in the order of ASCII
};

Flags flagsOf(std::string_view bytes) {
    constexpr std::pair<char, char> kLetters[] = {
        {'T', 'D'}, {'F', 'F'}, {'A', 'R'}, {'R', 'S'}, {'D', 'T'}};
    const auto header = mimetree::Message::parse(mimetree::inner::headerOf(bytes));
    if (!header) return {};
    const std::string_view status = header->header("Status").value_or(std::string_view());
    const std::string_view more = header->header("X-Status").value_or(std::string_view());
    Flags flags{status.find_first_of("OR") != status.npos, {}};
    for (const auto& [letter, flag] : kLetters)
        if ((letter == 'R' ? status : more).find(letter) != status.npos) flags.letters += flag;
    return flags;
}

// A file is written in tmp/ and moved when it is whole, so that no mail program sees a part of
// it.  Names sort as the messages came.
class MaildirTarget : public Target {
public:
    explicit MaildirTarget(const std::string& path) : m_path(path) {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
        const auto rest = std::chrono::floor<std::chrono::microseconds>(now - seconds);
        m_front = std::to_string(seconds.count()) + ".M" + std::to_string(rest.count()) + "P" +
                  std::to_string(getpid()) + "Q";
        m_back = "." + hostName();
    }

    int open() override {
        if (const int error = Directory::make(m_path)) return error;
        const std::pair<const char*, Directory*> folders[] = {
            {"tmp", &m_tmp}, {"new", &m_new}, {"cur", &m_cur}};
        for (const auto& [name, directory] : folders) {
            const std::string path = m_path + "/" + name;
            if (const int error = Directory::make(path)) return error;
            if (const int error = directory->open(path)) return error;
        }
        return 0;
    }

    int save(const RawMail& mail, size_t number) override {
        const std::string name = m_front + padded(number) + m_back;
        const Flags flags = flagsOf(mail.bytes);
        const bool isSeen = flags.isOld || !flags.letters.empty();
        if (const int error = m_tmp.create(name, mail.bytes, std::nullopt)) return error;
        return m_tmp.move(name, isSeen ? m_cur : m_new,
                          isSeen ? name + ":2," + flags.letters : name);
    }

private:
    const std::string m_path;
    std::string m_front, m_back;  // of a file's name
    Directory m_tmp, m_new, m_cur;
};

ExitStatus splitInto(Target& target, const CommonOptions& common, Output& out) {
    MailReader reader(common);
    Progress progress([&] { return reader.bytesInAll(); });
    ExitStatus status = kDone;
    size_t number = 0;
    RawMail mail;
    while (reader.next(mail)) {
        progress.hide();
        if (!mail.failure.empty()) {
            out.error(mail.name, mail.failure);
            status = kFailed;
        } else if (const int error = target.save(mail, ++number)) {
            return out.failed(common.output, std::strerror(error));
        }
        progress.step(reader.bytesRead());
    }
    progress.hide();
    if (const std::string text = reader.skipped(); !text.empty()) out.error("skipped " + text);
    out.write(oneLine(common.output) + "  " + std::to_string(number) +
              (number == 1 ? " message\n" : " messages\n"));
    return status;
}

ExitStatus split(const CommonOptions& common, bool isIntoFiles, Output& out) {
    const std::string& directory = common.output;
    if (isOutputRead(common)) {
        out.error(directory, "would be read as well; name another directory");
        return kBadUsage;
    }
    std::unique_ptr<Target> target;
    if (isIntoFiles) target = std::make_unique<FilesTarget>(directory);
    else target = std::make_unique<MaildirTarget>(directory);
    if (const int error = target->open()) return out.failed(directory, std::strerror(error));
    return splitInto(*target, common, out);
}

}  // namespace

Run addSplit(CLI::App& app, CommonOptions& common) {
    const auto isIntoFiles = std::make_shared<bool>(false);
    addMessages(app, common);
    app.add_option("-o,--output", common.output, "the directory, made when missing")
        ->required()
        ->type_name("DIR");
    app.add_flag("--files", *isIntoFiles, "00000001.eml and so on, in place of a Maildir");
    app.footer(
        "The messages stay as they are, byte by byte, but for the quoting of the mbox: join makes\n"
        "the same mbox again, if it made it.  Names sort as the messages came.  In a Maildir,\n"
        "Status and X-Status become flags in the names, and mail without them is new.  No file\n"
        "that is there is written to.");
    return [isIntoFiles, &common](Output& out) { return split(common, *isIntoFiles, out); };
}
