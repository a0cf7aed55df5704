// SPDX-License-Identifier: Apache-2.0
// Command `compose`: a message from texts, files and header values of the command line.  The
// tree is built from its leaves upwards, with the levels that it needs, and gets the header of
// the message last.  Mistakes in the arguments are found first; what fails later is thrown.

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>

#include "foundation/EncodingConvert.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/coding/EncodedWords.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/Psdk.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/_zqUrlEncode.h"
#include "foundation/_zqUtf.h"
#include "foundation/charset/code_pages.h"
#include "foundation/zqMimeTypes.h"
#include "foundation/zqStrings.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/input.h"
#include "cli/wire.h"

using namespace mimetree::inner;

namespace {

using Part = std::unique_ptr<MimeMessage2>;
using Parts = std::vector<Part>;

constexpr const char* kTo7bit = "needs 8 bits; --encoding 8bit allows them";

Part newPart() {
    Part part(MimeMessage2::createNewObject());
    if (!part) throw std::bad_alloc();
    return part;
}

[[noreturn]] void fail(const std::string& what, const std::string& reason) {
    throw std::runtime_error(what + ": " + reason);
}

bool isUtf8(std::string_view text) {
    return _zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<unsigned>(text.size()), 0);
}

StringBuffer buffer(std::string_view text) {
    StringBuffer s;
    if (!s.appendN(text.data(), static_cast<unsigned>(text.size()))) throw std::bad_alloc();
    return s;
}

std::string baseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// A file name or an argument as header text.  Tolerated: bytes that are not UTF-8, which count
// as ISO-8859-1.  Limit: a line break would begin a field of its own.
std::string headerText(const std::string& argument, LogBase& log) {
    DataBuffer utf8;
    if (!EncodingConvert::EncConvert(codepage::kUtf8, codepage::kUtf8,
                                     reinterpret_cast<const unsigned char*>(argument.data()),
                                     static_cast<unsigned>(argument.size()), utf8, log))
        throw std::bad_alloc();
    std::string text(view(utf8));
    std::replace(text.begin(), text.end(), '\r', ' ');
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// Encoded words of so few bytes that each fits on a line with ' name="' in front of it.
std::string encodedWords(std::string_view text) {
    constexpr size_t kBytes = 39;
    StringBuffer words;
    while (!text.empty()) {
        size_t n = std::min(kBytes, text.size());
        while (n < text.size() && (text[n] & 0xC0) == 0x80) --n;
        if (!words.isEmpty()) words.appendChar(' ');
        appendEncodedWords(text.data(), static_cast<unsigned>(n), codepage::kUtf8, /*column*/ 0,
                           /*forPhrase*/ true, words);
        text.remove_prefix(n);
    }
    if (words.failed()) throw std::bad_alloc();
    return std::string(view(words));
}

// -- Mistakes in the arguments

std::string nameOf(const std::string& header) { return header.substr(0, header.find(':')); }

// RFC 5322 2.2: printable ASCII without the colon.
bool hasFieldName(const std::string& header) {
    const std::string name = nameOf(header);
    return !name.empty() && name.size() < header.size() &&
           std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
}

constexpr const char* kOwnFields[] = {"MIME-Version", "Content-Type", "Content-Transfer-Encoding"};

// RFC 5322 3.6.
constexpr const char* kOnceOnly[] = {"Date",       "From",        "Sender",    "Reply-To",
                                     "To",         "Cc",          "Bcc",       "Subject",
                                     "Message-ID", "In-Reply-To", "References"};

size_t timesGiven(const ComposeOptions& options, const std::string& name) {
    const std::pair<const char*, bool> fields[] = {{"From", !options.from.empty()},
                                                   {"To", !options.to.empty()},
                                                   {"Cc", !options.cc.empty()},
                                                   {"Bcc", !options.bcc.empty()},
                                                   {"Subject", !options.subject.empty()}};
    size_t times = 0;
    for (const auto& [field, isGiven] : fields) times += isGiven && name == field;
    for (const std::string& header : options.headers)
        times += zqStrEqualsIgnoreCase(nameOf(header).c_str(), name.c_str());
    return times;
}

std::string mistakeInHeaders(const ComposeOptions& options) {
    for (const std::string& header : options.headers)
        if (!hasFieldName(header)) return "\"" + header + "\" is no header field";
    for (const char* name : kOwnFields)
        if (timesGiven(options, name)) return std::string(name) + " is not for --header to set";
    for (const char* name : kOnceOnly)
        if (timesGiven(options, name) > 1) return std::string("more than one ") + name;
    return {};
}

std::string mistakeIn(const ComposeOptions& options) {
    if (options.text == "-" && options.html == "-") return "standard input holds one text only";
    for (const auto& paths : {options.attachments, options.inlines})
        if (std::find(paths.begin(), paths.end(), "-") != paths.end())
            return "standard input has no file name (- is for --text or --html)";
    std::map<std::string, int> names;
    for (const std::string& path : options.inlines)
        if (++names[baseName(path)] > 1) return "two inline files named " + baseName(path);
    return mistakeInHeaders(options);
}

// -- Addresses

constexpr ByteSet kLetters = ByteSet().range('a', 'z').range('A', 'Z').range('0', '9');
constexpr ByteSet kPlainName = kLetters.with(" -'_");
constexpr ByteSet kCharset = kLetters.with("-_+.:");
constexpr ByteSet kWordText = kLetters.with("!*+-/=_");
constexpr ByteSet kAtoms = kLetters.with("!#$%&'*+-/=?^_`{|}~.").range('\x80', '\xFF');
constexpr ByteSet kLiteral = kLetters.with(".:-");
constexpr ByteSet kQuotable = ByteSet().range(' ', '~').range('\x80', '\xFF').without("\"\\");

bool consistsOf(std::string_view text, const ByteSet& set) {
    return std::all_of(text.begin(), text.end(), [&](char c) { return set.has(c); });
}

// RFC 2047 2, 5 (3): "=?charset?Q?text?=" with nothing in it that a phrase does not allow.
bool isEncodedWord(std::string_view word) {
    if (!word.starts_with("=?") || !word.ends_with("?=") || word.size() < 8) return false;
    word = word.substr(2, word.size() - 4);
    const size_t mark = word.find('?');
    if (mark == 0 || mark + 2 >= word.size() || word[mark + 2] != '?') return false;
    return consistsOf(word.substr(0, mark), kCharset) &&
           std::string_view("BbQq").find(word[mark + 1]) != std::string_view::npos &&
           consistsOf(word.substr(mark + 3), kWordText);
}

bool isAllEncoded(std::string_view name) {
    size_t end = 0;
    for (; (end = name.find(' ')) != std::string_view::npos; name.remove_prefix(end + 1))
        if (!isEncodedWord(name.substr(0, end))) return false;
    return isEncodedWord(name);
}

// RFC 5322 3.4: a name of plain words stands as it is, any other between quotes.  Encoded
// words would not be read between quotes; only what is nothing else is safe without.
std::string displayName(std::string_view name) {
    if (isAllEncoded(name) || consistsOf(name, kPlainName)) return std::string(name);
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

bool isEnclosed(std::string_view text, char open, char close, const ByteSet& set) {
    return text.size() > 2 && text.front() == open && text.back() == close &&
           consistsOf(text.substr(1, text.size() - 2), set);
}

// RFC 5322 3.4.1: what every reader takes for one address.  Tolerated: a local part alone,
// and dots anywhere.
bool isAddress(std::string_view spec) {
    const size_t at = std::min(spec.rfind('@'), spec.size());
    const std::string_view local = spec.substr(0, at);
    const std::string_view domain = spec.substr(std::min(at + 1, spec.size()));
    return !local.empty() && (at == spec.size()) == domain.empty() &&
           spec.find("=?") == std::string_view::npos &&
           (consistsOf(local, kAtoms) || isEnclosed(local, '"', '"', kQuotable)) &&
           (consistsOf(domain, kAtoms) || isEnclosed(domain, '[', ']', kLiteral));
}

std::string mailbox(const _zqEmailAddress& address) {
    const std::string_view name = view(address.m_displayName.getUtf8Sb());
    const std::string spec(view(address.m_address.getUtf8Sb()));
    return name.empty() ? spec : displayName(name) + " <" + spec + ">";
}

// Written anew from what was understood, so that a quote or bracket which one argument leaves
// open cannot swallow the next.
std::string addressList(const std::vector<std::string>& arguments, LogBase& log) {
    std::string list;
    for (const std::string& argument : arguments) {
        ExtPtrArray found;
        _zqEmailAddress::parseAndLoadList(headerText(argument, log).c_str(), found, 0, log);
        bool isGood = found.getSize() != 0;
        for (int i = 0; i < found.getSize(); ++i) {
            const auto& address = *static_cast<const _zqEmailAddress*>(found.elementAt(i));
            isGood = isGood && isAddress(view(address.m_address.getUtf8Sb()));
            list += (list.empty() ? "" : ", ") + mailbox(address);
        }
        if (!isGood) fail("\"" + argument + "\"", "no address");
    }
    return list;
}

// -- Made-up values

// RFC 5322 3.3.
std::string dateNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    char text[64];
    if (!localtime_r(&now, &local)) throw std::runtime_error("no local time");
    return {text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S %z", &local)};
}

// Unique, of hexadecimal digits and a dot: it stands in URLs as it is (RFC 2392 2).
std::string token(LogBase& log) {
    StringBuffer boundary;
    if (!Psdk::generateBoundary(boundary, log)) throw std::bad_alloc();
    std::string text(view(boundary));
    text.erase(0, text.find_first_not_of("-=_"));
    std::replace(text.begin(), text.end(), '_', '.');
    return text;
}

// The domain of the first sender where it can stand in a msg-id (RFC 5322 3.6.4) and in a URL.
std::string hostOf(const std::string& from) {
    const std::string rest = from.substr(std::min(from.size(), from.find('@') + 1));
    const std::string host = rest.substr(0, rest.find_first_of(">,"));
    const bool isGood = !host.empty() && host.front() != '.' && host.back() != '.' &&
                        host.find("..") == std::string::npos &&
                        std::all_of(host.begin(), host.end(), [](char c) {
                            return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                                   (c >= 'a' && c <= 'z') || c == '-' || c == '.';
                        });
    return isGood && from.find('@') != std::string::npos ? host : "localhost";
}

// -- The message

class Composer {
public:
    Composer(const ComposeOptions& options, LogBase& log)
        : m_options(options),
          m_log(log),
          m_from(addressList(options.from, log)),
          m_host(hostOf(m_from)) {}

    Part make();

private:
    using NewMultipart = void (MimeMessage2::*)(LogBase&);

    StringBuffer readText(const std::string& path);
    Part textPart(const std::string& path, const char* type);
    void chooseCharset(MimeMessage2& part, const std::string& path, const StringBuffer& text);
    void chooseCoding(MimeMessage2& part, const std::string& path);
    Part filePart(const std::string& path, const char* disposition);
    void setFileName(MimeMessage2& part, const char* disposition, const StringBuffer& name);
    Part inlinePart(const std::string& path);
    void linkInlineFiles(StringBuffer& html) const;
    Part wrap(Parts parts, NewMultipart newMultipart);
    void addHeader(MimeMessage2& root);

    const ComposeOptions& m_options;
    LogBase& m_log;
    const std::string m_from, m_host;
    std::map<std::string, std::string> m_contentIds;  // of file names
};

StringBuffer Composer::readText(const std::string& path) {
    DataBuffer bytes;
    if (const char* reason = readWhole(path, bytes)) fail(path, reason);
    if (!isUtf8(view(bytes))) fail(path, "not in UTF-8");
    StringBuffer text;
    text.takeFromDb(bytes);
    if (text.beginsWith("\xEF\xBB\xBF")) text.removeFront(3);
    if (!text.allToCRLF()) throw std::bad_alloc();
    return text;
}

void Composer::chooseCharset(MimeMessage2& part, const std::string& path,
                             const StringBuffer& text) {
    const std::string& wanted = m_options.charset;
    part.setCharset(!wanted.empty()  ? wanted.c_str()
                    : text.is7bit(0) ? "us-ascii"
                                     : "utf-8",
                    m_log);
    if (!EncodingConvert::canHold(part.getCharsetCodePage(), text.getString(), text.getSize()))
        fail(path, "the charset " + wanted + " cannot hold this text");
}

void Composer::chooseCoding(MimeMessage2& part, const std::string& path) {
    const DataBuffer bytes = wireBytes(part, m_log);
    const WireFacts facts = factsOf(view(bytes));
    std::string coding = m_options.encoding;
    if (coding.empty()) coding = facts.is7bit && facts.fitsLines() ? "7bit" : shorterCoding(bytes);
    if (coding == "7bit" && !facts.is7bit) fail(path, "7bit cannot hold this text");
    if ((coding == "7bit" || coding == "8bit") && !facts.fitsLines())
        fail(path, coding + " cannot hold lines of more than 998 bytes, nor zero bytes");
    part.setContentEncoding(coding.c_str(), m_log);
}

Part Composer::textPart(const std::string& path, const char* type) {
    XString text;
    if (!path.empty()) text.getUtf8Sb_rw() = readText(path);
    if (std::string_view(type) == "text/html") linkInlineFiles(text.getUtf8Sb_rw());
    Part part = newPart();
    chooseCharset(*part, path, text.getUtf8Sb());
    part->setBodyFromPlainText(text, m_log);
    part->setContentType(type, /*refresh*/ true, m_log);
    chooseCoding(*part, path);
    return part;
}

// HTML names an inline file "cid:NAME", as it is or percent-encoded; of names that begin
// alike, the longest counts.
void Composer::linkInlineFiles(StringBuffer& html) const {
    std::map<std::string, std::string> ids;
    for (const auto& [name, id] : m_contentIds) {
        StringBuffer encoded;
        _zqUrlEncode::urlEncode3(reinterpret_cast<const unsigned char*>(name.data()),
                                 static_cast<unsigned>(name.size()), encoded);
        ids[name] = ids[std::string(view(encoded))] = id;
    }
    const std::string_view text = view(html);
    std::string linked;
    for (size_t at = 0; at < text.size() && !ids.empty();) {
        const size_t url = std::min(text.find("cid:", at), text.size());
        const size_t name = std::min(url + 4, text.size());
        linked += text.substr(at, name - at);
        at = name;
        const auto fits = [&](const auto& id) { return text.substr(at).starts_with(id.first); };
        const auto found = std::find_if(ids.rbegin(), ids.rend(), fits);
        if (name == text.size() || found == ids.rend()) continue;
        linked += found->second;
        at += found->first.size();
    }
    if (!ids.empty()) html = buffer(linked);
}

// RFC 2046 5.1, 5.2.1: no composite type may stand in base64, which alone keeps the bytes.
Part Composer::filePart(const std::string& path, const char* disposition) {
    DataBuffer bytes;
    if (const char* reason = readWhole(path, bytes)) fail(path, reason);
    const std::string name = headerText(baseName(path), m_log);
    const size_t dot = name.rfind('.');
    std::string type = zqExtensionToContentType(dot == std::string::npos ? "" : name.c_str() + dot);
    if (type.starts_with("message/") || type.starts_with("multipart/"))
        type = "application/octet-stream";
    Part part = newPart();
    if (type.starts_with("text/") && isUtf8(view(bytes)))
        part->setCharset(bytes.is7bit() ? "us-ascii" : "utf-8", m_log);
    part->setContentType(type.c_str(), /*refresh*/ true, m_log);
    part->setMimeBodyBinary2(bytes.getData2(), bytes.getSize(), m_log);
    part->setContentEncoding("base64", m_log);
    setFileName(*part, disposition, buffer(name));
    return part;
}

// RFC 2231 first.  Tolerated: readers that know nothing but encoded words in the name of the
// content type, against RFC 2047 5 (3).  A quote is escaped within them, as some decode them
// before they look for the end of the value.
void Composer::setFileName(MimeMessage2& part, const char* disposition, const StringBuffer& name) {
    // setContentDisposition would put the name between quotes, whatever it holds.
    StringBuffer value = buffer(disposition);
    appendHeaderParam("filename", name, value);
    part.addReplaceHeaderFieldUtf8("Content-Disposition", value.getString(), m_log);
    if (!value.containsSubstring("filename*")) return;
    StringBuffer type, text(name);
    text.replaceAllOccurances("\"", "\\\"");
    part.getHeaderFieldUtf8("Content-Type", type, m_log);
    type.append3("; name=\"", encodedWords(view(text)).c_str(), "\"");
    if (type.failed() || text.failed()) throw std::bad_alloc();
    part.addReplaceHeaderFieldUtf8("Content-Type", type.getString(), m_log);
}

Part Composer::inlinePart(const std::string& path) {
    const std::string id = token(m_log) + "@" + m_host;
    m_contentIds[baseName(path)] = id;
    Part part = filePart(path, "inline");
    part->addHeaderFieldUtf8("Content-ID", ("<" + id + ">").c_str(), /*allowEmpty*/ false, m_log);
    return part;
}

// None for none, and a single part as it is.
Part Composer::wrap(Parts parts, NewMultipart newMultipart) {
    if (parts.empty()) return nullptr;
    if (parts.size() == 1) return std::move(parts.front());
    Part whole = newPart();
    (whole.get()->*newMultipart)(m_log);
    // RFC 2387 3.1: the type of the part that refers to the others.
    if (whole->isMultipartRelated()) whole->setSubType(parts.front()->getContentType(), m_log);
    for (Part& part : parts) {
        // RFC 2045 6.4: a multipart with 8-bit parts is 8-bit itself.
        if (part->m_contentTransferEncoding.equals("8bit"))
            whole->setContentEncoding("8bit", m_log);
        whole->addPart(part.release());
    }
    return whole;
}

Part Composer::make() {
    Parts texts, related, mixed, files;
    for (const std::string& path : m_options.inlines) files.push_back(inlinePart(path));
    const bool hasFiles = !files.empty() || !m_options.attachments.empty();
    if (!m_options.text.empty() || (m_options.html.empty() && !hasFiles))
        texts.push_back(textPart(m_options.text, "text/plain"));
    if (!m_options.html.empty()) texts.push_back(textPart(m_options.html, "text/html"));
    if (Part text = wrap(std::move(texts), &MimeMessage2::newMultipartAlternative))
        related.push_back(std::move(text));
    std::move(files.begin(), files.end(), std::back_inserter(related));
    if (Part body = wrap(std::move(related), &MimeMessage2::newMultipartRelated))
        mixed.push_back(std::move(body));
    for (const std::string& path : m_options.attachments)
        mixed.push_back(filePart(path, "attachment"));
    Part root = wrap(std::move(mixed), &MimeMessage2::newMultipartMixed);
    addHeader(*root);
    return root;
}

// RFC 5322 3.6: fields of the message first, those of its body behind them.
void Composer::addHeader(MimeMessage2& root) {
    const auto add = [&](const std::string& name, const std::string& value) {
        root.addHeaderFieldUtf8(name.c_str(), value.c_str(), /*allowEmpty*/ false, m_log);
    };
    add("From", m_from);
    add("To", addressList(m_options.to, m_log));
    add("Cc", addressList(m_options.cc, m_log));
    add("Bcc", addressList(m_options.bcc, m_log));
    add("Subject", headerText(m_options.subject, m_log));
    if (!timesGiven(m_options, "Date")) add("Date", dateNow());
    if (!timesGiven(m_options, "Message-ID"))
        add("Message-ID", "<" + token(m_log) + "@" + m_host + ">");
    for (const std::string& header : m_options.headers) {
        const std::string value = headerText(header.substr(header.find(':') + 1), m_log);
        root.addHeaderFieldUtf8(nameOf(header).c_str(), value.c_str(), /*allowEmpty*/ true, m_log);
    }
    add("MIME-Version", "1.0");
    for (const char* name :
         {"Content-Type", "Content-Transfer-Encoding", "Content-Disposition", "Content-ID"})
        root.moveHeaderToBottom(name, m_log);
}

// RFC 6532: what no 7-bit form exists for, such as the address itself, stays UTF-8.
void checkHeader(const MimeMessage2& root, LogBase& log) {
    StringBuffer header;
    root.getMimeHeader(header, log);
    const std::string_view text = view(header);
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find("\r\n", at), text.size());
        if (!factsOf(text.substr(at, end - at)).is7bit)
            fail(std::string(text.substr(at, end - at)), kTo7bit);
        at = end + 2;
    }
}

void addList(CLI::App& app, const char* name, std::vector<std::string>& list, const char* type,
             const char* what) {
    app.add_option(name, list, what)->type_name(type)->allow_extra_args(false);
}

// Several behind one option, without what CLI11 calls extra arguments: it would then take the
// name "[a]" for a list.
void addFileList(CLI::App& app, const char* name, std::vector<std::string>& list,
                 const char* what) {
    app.add_option(name, list, what)
        ->type_name("FILE ...")
        ->expected(1, 1'000'000)
        ->allow_extra_args(false);
}

}  // namespace

void addComposeOptions(CLI::App& app, Options& options) {
    ComposeOptions& compose = options.compose;
    addList(app, "--from", compose.from, "LIST", "the sender: addr, or 'Name <addr>'");
    addList(app, "--to", compose.to, "LIST", "recipients; this and the next may be repeated");
    addList(app, "--cc", compose.cc, "LIST", "those who get a copy");
    addList(app, "--bcc", compose.bcc, "LIST", "those who get one unseen; the field is written");
    app.add_option("--subject", compose.subject, "what it is about")->type_name("TEXT");
    app.add_option("--text", compose.text, "the plain text, in UTF-8; - for stdin")
        ->type_name("FILE");
    app.add_option("--html", compose.html, "the HTML text, in UTF-8; - for stdin")
        ->type_name("FILE");
    addFileList(app, "--attach", compose.attachments, "attachments");
    addFileList(app, "--inline", compose.inlines, "files that the HTML shows as \"cid:NAME\"");
    addList(app, "--header", compose.headers, "'Name: value'", "a further field, repeatable");
    addCharset(app, compose.charset, "of the texts; us-ascii or utf-8 when not given");
    app.add_option("--encoding", compose.encoding, "of the texts; the shortest when not given")
        ->type_name("CODING")
        ->check(CLI::IsMember({"7bit", "8bit", "quoted-printable", "base64"}));
    app.footer(
        "The message goes to standard output, in 7 bits unless --encoding 8bit is given.  Date\n"
        "and Message-ID are made where --header does not give them, types are told by file names.\n"
        "HTML refers to an inline file by cid: and its name without directories, as it is or\n"
        "percent-encoded; the Content-ID that was made for the file takes the place of the name.");
}

ExitStatus compose(const Options& options, Output& out) {
    const std::string mistake = mistakeIn(options.compose);
    if (!mistake.empty()) {
        reportError(mistake + " (see mimetree compose --help)");
        return kBadUsage;
    }
    const std::unique_ptr<LogBase> log = makeLog(options);
    const Part message = Composer(options.compose, *log).make();
    if (options.compose.encoding != "8bit") checkHeader(*message, *log);
    DataBuffer text;
    message->getMimeTextDb(text, /*bodyOnly*/ false, *log);
    if (text.failed()) throw std::bad_alloc();
    out.writeContent(view(text));
    return kDone;
}
