// SPDX-License-Identifier: Apache-2.0
// Commands `to-xml`, `from-xml` (the XML form of a message, docs/xml.md, and back) and
// `structure` (the engine's outline of the content types).

#include <filesystem>
#include <memory>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/input.h"
#include "cli/nodes.h"

namespace {

// Limit: the outline indents by four blanks a level, so its size is the square of the depth;
// and a message of many parts that are deep already is as bad.
constexpr unsigned kMaxOutlineDepth = 1000;
constexpr size_t kMaxOutlineBlanks = size_t(256) << 20;

ExitStatus failed(const std::string& path, std::string_view reason) {
    reportError(path, reason);
    return kFailed;
}

// What a terminal is shown is looked at as a whole.
bool printXml(const Message& message, Output& out) {
    if (!out.isTerminal()) {
        const auto write = [](void* context, const char* piece, unsigned int size) {
            Output& to = *static_cast<Output*>(context);
            to.write({piece, size});
            return to.good();
        };
        return message.root.writeMimeXml(write, &out, message.log) || !out.good();
    }
    StringBuffer xml;
    if (!message.root.getMimeXml(xml, message.log)) return false;
    out.writeContent(view(xml));
    return true;
}

ExitStatus showXml(const Message& message, const Options&, Output& out) {
    return printXml(message, out) ? kDone : failed(message.path, "out of memory");
}

// Remembers the first error, and hands everything on.
class FirstError : public LogBase {
public:
    explicit FirstError(LogBase& next) : m_next(next) { m_verbose = next.m_verbose; }

    void logError(const char* text) override {
        if (m_text.empty()) m_text = view(text);
        m_next.logError(text);
    }
    void logInfo(const char* text) override { m_next.logInfo(text); }
    void enterContext(const char* name, bool verbose) override {
        m_next.enterContext(name, verbose);
    }
    void leaveContext() override { m_next.leaveContext(); }
    void logData(const char* name, const char* value) override { m_next.logData(name, value); }

    const std::string& text() const { return m_text; }

private:
    LogBase& m_next;
    std::string m_text;
};

const char* outlineFault(const std::vector<Node>& nodes) {
    size_t blanks = 0;
    for (const Node& node : nodes) {
        if (node.depth > kMaxOutlineDepth) return "nested deeper than 1000 levels";
        blanks += size_t(4) * node.depth;
    }
    return blanks > kMaxOutlineBlanks ? "too many parts nested too deep" : nullptr;
}

ExitStatus showStructure(const Message& message, const Options& options, Output& out) {
    if (const char* fault = outlineFault(nodesOf(message.root))) return failed(message.path, fault);
    StringBuffer outline;
    message.root.getMimeStructure(options.xml ? 1 : 0, 0, outline, message.log);
    if (outline.failed()) return failed(message.path, "out of memory");
    out.writeContent(view(outline));
    return kDone;
}

}  // namespace

void addToXmlOptions(CLI::App& app, Options& options) {
    addFile(app, options, "message; - for stdin");
    app.footer("One message a call: several XML documents in a row would not be XML.");
}

// Several documents in a row are no XML, so a directory is refused as several paths are.
ExitStatus toXml(const Options& options, Output& out) {
    std::error_code ignored;
    if (std::filesystem::is_directory(options.paths.front(), ignored)) {
        reportError("to-xml takes one message, and " + options.paths.front() + " is a directory");
        return kBadUsage;
    }
    return forEachMessage(options, out, Heading::None, showXml);
}

void addFromXmlOptions(CLI::App& app, Options& options) {
    addFile(app, options, "XML as to-xml writes it; - for stdin");
    app.footer("Of several messages in one document, the first is written.");
}

ExitStatus fromXml(const Options& options, Output& out) {
    const std::string& path = options.paths.front();
    const std::unique_ptr<LogBase> engineLog = makeLog(options);
    FirstError log(*engineLog);
    StringBuffer xml;
    {
        DataBuffer bytes;
        if (const char* reason = readWhole(path, bytes)) return failed(path, reason);
        if (!xml.takeFromDb(bytes)) return failed(path, "out of memory");
    }
    const std::unique_ptr<MimeMessage2> message(
        MimeMessage2::createMimeFromXml(xml, "mime_message", /*addPreamble*/ false, log));
    if (!message)
        return failed(
            path, log.text().empty() ? "no mime_message element with header and body" : log.text());
    DataBuffer mail;
    message->getMimeTextDb(mail, /*bodyOnly*/ false, log);
    if (mail.failed()) return failed(path, "out of memory");
    out.writeContent(view(mail));
    return log.text().empty() ? kDone : failed(path, log.text());
}

void addStructureOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_flag("--xml", options.xml, "in the manner of XML, with closing lines");
    app.footer(
        "The outline indents by four blanks a level; messages nested deeper than 1000 levels,\n"
        "or whose indentation takes more than 256 MiB, are refused (see tree).");
}

ExitStatus structure(const Options& options, Output& out) {
    return forEachMessage(options, out, Heading::Path, showStructure);
}
