// SPDX-License-Identifier: Apache-2.0
// Command `from-xml`: the message that an XML form describes (docs/xml.md).

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/mail_reader.h"
#include "cli/input/messages.h"

namespace {

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

ExitStatus fromXml(const CommonOptions& common, Output& out) {
    const std::string& path = common.paths.front();
    const std::unique_ptr<LogBase> engineLog = makeLog(common, out);
    FirstError log(*engineLog);
    StringBuffer xml;
    {
        std::string bytes;
        if (const char* reason = readWhole(path, bytes)) return out.failed(path, reason);
        if (!xml.appendN(bytes.data(), static_cast<unsigned>(bytes.size())))
            return out.failed(path, "out of memory");
    }
    const std::unique_ptr<MimeMessage2> message(
        MimeMessage2::createMimeFromXml(xml, "mime_message", /*addPreamble*/ false, log));
    if (!message)
        return out.failed(
            path, log.text().empty() ? "no mime_message element with header and body" : log.text());
    DataBuffer mail;
    message->getMimeTextDb(mail, /*bodyOnly*/ false, log);
    const ExitStatus status = out.writeMade(mail, path);
    return log.text().empty() ? status : out.failed(path, log.text());
}

}  // namespace

Run addFromXml(CLI::App& app, CommonOptions& common) {
    addFile(app, common, "XML as to-xml writes it; - for stdin");
    app.footer("Of several messages in one document, the first is written.");
    return [&common](Output& out) { return fromXml(common, out); };
}
