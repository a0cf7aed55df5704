// SPDX-License-Identifier: Apache-2.0

// Tells all that one engine makes of a stream of mails, so that two engines can be compared
// (equality.sh): the mails of some folders as they are, then as many that are made of them and of
// the fuzzers' words by chance.  Public headers alone, for older engines are to compile with it.
// usage: equality digests SEED COUNT [FOLDER...]    a line a mail, a number an aspect
//        equality show    SEED NUMBER [FOLDER...]   what makes the numbers of one mail
//        equality mail    SEED NUMBER [FOLDER...]   that mail itself

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <vector>

#include "assemble.h"
#include "foundation/LogNull.h"
#include "foundation/LogText.h"
#include "foundation/_zqEmailAddress.h"
#include "mime/MimeMessage2.h"

namespace {

namespace fs = std::filesystem;

// ---- What is told ------------------------------------------------------------------------------

constexpr const char* kAspects[] = {"tree", "fields",    "written", "log", "text of the log",
                                    "XML",  "XML's log", "changed"};
enum Aspect { Tree, Fields, Written, Log, LogsText, Xml, XmlsLog, Changed };

class Description {
public:
    explicit Description(bool isShown) : m_isShown(isShown) {}

    void add(Aspect aspect, const char* what, const void* bytes, size_t size) {
        uint64_t& told = m_digests[aspect];
        told = digest(digest(told ^ size, what, std::strlen(what)), bytes, size);
        if (m_isShown) show(aspect, what, bytes, size);
    }
    void add(Aspect aspect, const char* what, const StringBuffer& text) {
        add(aspect, what, text.getString(), text.getSize());
    }
    void add(Aspect aspect, const char* what, const DataBuffer& data) {
        add(aspect, what, data.getData2(), data.getSize());
    }
    void add(Aspect aspect, const char* what, int64_t number) {
        const std::string text = std::to_string(number);
        add(aspect, what, text.data(), text.size());
    }

    void printDigests() const {
        for (const uint64_t digest : m_digests) std::printf(" %016" PRIx64, digest);
        std::puts("");
    }

private:
    static uint64_t digest(uint64_t state, const void* bytes, size_t size) {
        const char* p = static_cast<const char*>(bytes);
        for (; size; size -= std::min(size, sizeof state), p += sizeof state) {
            uint64_t word = 0;
            std::memcpy(&word, p, std::min(size, sizeof word));
            state = (state ^ word) * 0x9E3779B97F4A7C15u;
            state ^= state >> 29;
        }
        return state;
    }

    static void show(Aspect aspect, const char* what, const void* bytes, size_t size) {
        std::printf("%s: %s: ", kAspects[aspect], what);
        const unsigned char* const p = static_cast<const unsigned char*>(bytes);
        for (size_t i = 0; i < size; ++i) {
            if (p[i] >= 0x20 && p[i] < 0x7F && p[i] != '\\') std::putchar(p[i]);
            else std::printf("\\x%02X", p[i]);
            if (p[i] == '\n') std::printf("\n    ");
        }
        std::puts("");
    }

    const bool m_isShown;
    uint64_t m_digests[std::size(kAspects)] = {};
};

// Tells each line apart from how LogText spells it.
class ToldLog : public LogText {
public:
    ToldLog(Aspect aspect, Description& told) : m_aspect(aspect), m_told(told) {}

    void logError(const char* text) override {
        tell("error", text);
        LogText::logError(text);
    }
    void logInfo(const char* text) override {
        tell("info", text);
        LogText::logInfo(text);
    }
    void enterContext(const char* name, bool verbose) override {
        tell("context", name);
        LogText::enterContext(name, verbose);
    }
    void leaveContext() override {
        tell("left", "");
        LogText::leaveContext();
    }
    void logData(const char* name, const char* value) override {
        tell(name, value);
        LogText::logData(name, value);
    }

private:
    void tell(const char* what, const char* text) {
        m_told.add(m_aspect, what, text ? text : "", text ? std::strlen(text) : 0);
    }

    const Aspect m_aspect;
    Description& m_told;
};

void tellProperties(MimeMessage2& node, LogBase& log, Description& told) {
    const _zqContentType& type = node.m_contentType;
    const struct {
        const char* what;
        const StringBuffer& text;
    } texts[] = {{"type", type.m_type},
                 {"name", type.m_name},
                 {"boundary", type.m_boundary},
                 {"protocol", type.m_protocol},
                 {"micalg", type.m_micalg},
                 {"smime-type", type.m_smimeType},
                 {"subtype", type.m_subType},
                 {"report-type", type.m_reportType},
                 {"disposition", node.m_disposition},
                 {"file name", node.m_filename},
                 {"coding", node.m_contentTransferEncoding},
                 {"id", node.m_contentId}};
    for (const auto& each : texts) told.add(Tree, each.what, each.text);
    StringBuffer charset;
    node.getCharset2(charset);
    told.add(Tree, "charset", charset);
    told.add(Tree, "code page", node.getCharsetCodePage());
    told.add(Tree, "code page of the header", node.getHeaderDetectedCP());
    told.add(Tree, "parts", node.getNumParts());
    const bool flags[] = {type.m_formatFlowed,        node.m_modified,
                          node.isAttachment(log),     node.isMultipartSigned(log),
                          node.isSmimeEncrypted(log), node.isSignedData(log),
                          node.isEnvelopedData(log),  node.isSignaturePart(log)};
    told.add(Tree, "flags", flags, sizeof flags);
    told.add(Tree, "body", node.getMimeBodyDb());
    told.add(Tree, "signed", node.getSignedData());
}

void tellAddresses(const MimeMessage2& node, const char* name, LogBase& log, Description& told) {
    ExtPtrArray addresses;
    node.getEmailAddresses(name, addresses, log);
    for (int i = 0; i < addresses.getSize(); ++i) {
        const auto* const address = static_cast<_zqEmailAddress*>(addresses.elementAt(i));
        told.add(Fields, "display name", address->m_displayName.getUtf8Sb());
        told.add(Fields, "address", address->m_address.getUtf8Sb());
    }
}

void tellFields(const MimeMessage2& node, LogBase& log, Description& told) {
    for (int i = 0; i < node.getNumHeaderFields(); ++i) {
        StringBuffer name, raw, decoded;
        node.getHeaderFieldName(i, name, log);
        node.getHeaderFieldValue(i, /*decode*/ false, raw, log);
        node.getHeaderFieldValue(i, /*decode*/ true, decoded, log);
        told.add(Fields, "field", name);
        told.add(Fields, "raw", raw);
        told.add(Fields, "decoded", decoded);
    }
    for (const char* name : {"From", "To", "Cc"}) tellAddresses(node, name, log, told);
    StringBuffer parameters;
    node.getSubFieldUtf8("Content-Type", "name", parameters, log);
    node.getSubFieldUtf8("Content-Disposition", "filename", parameters, log);
    told.add(Fields, "parameters", parameters);
    StringBuffer header;
    node.getMimeHeader(header, log);
    told.add(Fields, "header", header);
}

void tellNodes(MimeMessage2& root, LogBase& log, Description& told) {
    std::vector<MimeMessage2*> open{&root};
    while (!open.empty()) {
        MimeMessage2& node = *open.back();
        open.pop_back();
        tellProperties(node, log, told);
        tellFields(node, log, told);
        StringBuffer encoded;
        node.getMimeBodyEncoded2(encoded, log);
        told.add(Written, "encoded body", encoded);
        for (int i = node.getNumParts(); i-- > 0;) open.push_back(node.getPart(i));
    }
}

void tellWritten(const MimeMessage2& message, Aspect aspect, LogBase& log, Description& told) {
    DataBuffer out;
    message.getMimeTextDb(out, /*bodyOnly*/ false, log);
    told.add(aspect, "mail", out);
}

void tellXml(MimeMessage2& message, bool isVerbose, Description& told) {
    ToldLog log(XmlsLog, told);
    log.m_verbose = isVerbose;
    StringBuffer outline, xml;
    message.getMimeStructure(1, 0, outline, log);
    message.getMimeXml(xml, log);
    told.add(Xml, "outline", outline);
    told.add(Xml, "document", xml);
    MimeMessage2* const back = MimeMessage2::createMimeFromXml(xml, "mime_message", false, log);
    told.add(Xml, "is read", back != nullptr);
    if (back) tellWritten(*back, Xml, log, told);
    VantrelObject::deleteObject(back);
}

void tellChanged(MimeMessage2& message, const std::string& words, LogBase& log, Description& told) {
    message.addReplaceHeaderFieldUtf8("Subject", words.c_str(), log);
    message.addHeaderFieldUtf8("To", words.c_str(), /*allowEmpty*/ false, log);
    message.setNameUtf8(words.c_str(), log);
    message.setFilenameUtf8(words.c_str(), log);
    message.convert8Bit(log);
    message.makeBinarySafeForString();
    tellWritten(message, Changed, log, told);
    message.setMimeBodyQP(words.data(), static_cast<unsigned>(words.size()), message.m_charset,
                          /*isText*/ true, log);
    message.setContentEncoding("quoted-printable", log);
    message.collapseMultiple("Received", log);
    tellWritten(message, Changed, log, told);
}

// ---- The mails ---------------------------------------------------------------------------------

class Mails {
public:
    Mails(unsigned seed, char** folders, char** end) : m_seed(seed) {
        std::vector<fs::path> paths;
        for (; folders != end; ++folders)
            for (const auto& entry : fs::recursive_directory_iterator(*folders))
                if (entry.is_regular_file()) paths.push_back(entry.path());
        std::sort(paths.begin(), paths.end());
        for (const fs::path& path : paths) {
            std::ostringstream text;
            text << std::ifstream(path, std::ios::binary).rdbuf();
            m_files.push_back(text.str());
        }
    }

    size_t files() const { return m_files.size(); }

    std::string mail(size_t number) {
        m_random.seed(m_seed * 1000003u + number);
        if (number < m_files.size()) return m_files[number];
        if (m_files.empty() || below(3) == 0) return assembled();
        return mutated();
    }

    // For what is set; of the mail that was made last.
    std::string words() {
        std::string text;
        for (size_t n = below(8); n; --n) text += kMailWords[below(std::size(kMailWords))];
        return text;
    }

    size_t below(size_t n) { return m_random() % n; }

private:
    std::string assembled() {
        uint8_t bytes[600];
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(m_random());
        Choices choices(bytes, sizeof bytes);
        std::string mail = below(3) ? assembledMail(choices) : "Subject: " + words();
        for (const char* name : {"To: ", "Content-Type: ", "Content-Disposition: attachment; "})
            if (below(3) == 0) mail = name + words() + "\r\n" + mail;
        for (size_t n = below(4) ? 0 : below(8); n; --n) mail = wrapped(mail);
        if (below(3) == 0) mutate(mail);
        return mail;
    }

    std::string wrapped(const std::string& mail) {
        const std::string boundary = kBoundaries[below(std::size(kBoundaries))],
                          dashes = "--" + boundary, end = kLineEnds[below(std::size(kLineEnds))];
        return "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n" + dashes +
               end + mail + end + dashes + (below(3) ? "--" : "") + end;
    }

    // Limit: of large files only a piece is read, so that many mails can be.
    std::string mutated() {
        constexpr size_t kMost = 8000;
        std::string mail = m_files[below(m_files.size())];
        if (mail.size() > kMost) mail.resize(kMost);
        for (size_t n = 1 + below(5); n; --n) mutate(mail);
        if (below(10) == 0) mail.erase(std::remove(mail.begin(), mail.end(), '\r'), mail.end());
        return mail;
    }

    // Headers, which stand in front, are changed more often than bodies.
    void mutate(std::string& mail) {
        const size_t at = below(1 + (below(2) ? std::min(mail.size(), kFront) : mail.size()));
        switch (below(6)) {
            case 0: mail.insert(at, 1, static_cast<char>(m_random())); break;
            case 1: mail.erase(at, 1 + below(9)); break;
            case 2: mail.replace(at, below(9), kMailWords[below(std::size(kMailWords))]); break;
            case 3: mail.insert(at, kMailWords[below(std::size(kMailWords))]); break;
            case 4: mail.insert(at, mail.substr(below(mail.size() + 1), below(300))); break;
            default: mail.insert(at, piece()); break;
        }
    }

    std::string piece() {
        if (m_files.empty()) return words();
        const std::string& other = m_files[below(m_files.size())];
        return other.substr(below(std::min(other.size(), kFront) + 1), below(300));
    }

    static constexpr size_t kFront = 3000;
    const unsigned m_seed;
    std::vector<std::string> m_files;
    std::mt19937_64 m_random;
};

// ---- Both together -----------------------------------------------------------------------------

void tellLoaded(const std::string& mail, bool asText, Mails& chance, Description& told) {
    ToldLog log(Log, told);
    log.m_verbose = chance.below(8) != 0;
    if (chance.below(8) == 0) log.m_options.setString("StrictMimeParsing");
    StringBuffer clue;
    MimeMessage2 message;
    const bool isLoaded = message.loadMimeComplete2(mail.data(), static_cast<unsigned>(mail.size()),
                                                    asText, clue, log, chance.below(8) == 0);
    told.add(Tree, "loaded", isLoaded);
    told.add(Tree, "clue", clue);
    told.add(Tree, "really windows-1252", b_WasReally1252);
    tellNodes(message, log, told);
    tellWritten(message, Written, log, told);
    tellXml(message, log.m_verbose, told);
    told.add(LogsText, "text", log.text());
    LogNull quiet;
    tellChanged(message, chance.words(), quiet, told);
}

void describe(const std::string& mail, Mails& chance, Description& told) {
    for (const bool asText : {false, true}) tellLoaded(mail, asText, chance, told);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 3 ? argv[1] : "";
    if (task != "digests" && task != "show" && task != "mail") {
        std::cerr << "usage: equality digests|show|mail SEED COUNT|NUMBER [FOLDER...]\n";
        return 2;
    }
    Mails mails(static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)), argv + 4, argv + argc);
    const size_t number = std::strtoul(argv[3], nullptr, 10);
    if (task == "digests")
        for (size_t i = 0; i < mails.files() + number; ++i) {
            Description told(/*isShown*/ false);
            describe(mails.mail(i), mails, told);
            std::printf("%zu", i);
            told.printDigests();
        }
    else if (task == "show") {
        Description told(/*isShown*/ true);
        describe(mails.mail(number), mails, told);
    } else std::cout << mails.mail(number);
}
