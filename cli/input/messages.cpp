// SPDX-License-Identifier: Apache-2.0
// Loads what MailReader reads and hands it to the command: forEachMessage, called by every
// command that reads mail.

#include "cli/input/messages.h"

#include <algorithm>
#include <new>

#include "cli/input/mail_reader.h"
#include "cli/output/error_log.h"
#include "face/message/parse.h"
#include "foundation/LogNull.h"

namespace {

class MessageLoop {
public:
    MessageLoop(const CommonOptions& common, Output& out, Heading heading,
                const PrepareMessage& prepare)
        : m_common(common), m_out(out), m_heading(heading), m_prepare(prepare) {}

    ExitStatus run() {
        MailReader reader(m_common);
        for (RawMail raw; m_out.good() && reader.next(raw);) show(raw);
        return m_status;
    }

private:
    void show(const RawMail& raw) {
        try {
            if (raw.failure.empty()) load(raw);
            else fail(raw.name, raw.failure);
        } catch (const std::bad_alloc&) {
            fail(raw.name, "out of memory");
        }
    }

    void load(const RawMail& raw) {
        const std::unique_ptr<LogBase> log = makeLog(m_common, m_out);
        auto root = mimetree::inner::loadTree(raw.bytes, {m_common.strict}, *log);
        if (!root) return fail(raw.name, root.error().message());
        const auto mail = mimetree::Message::adopt(root->release());
        if (!mail) return fail(raw.name, mail.error().message());
        if (raw.isOneOfSeveral && m_heading == Heading::Name) writeHeading(raw.name);
        const InTurn inTurn =
            m_prepare({raw.name, raw.bytes, *mail, mail->node(), *log, m_common.nested()}, m_out);
        m_status = std::max(m_status, inTurn(m_out));
    }

    void writeHeading(const std::string& name) {
        if (!m_isFirst) m_out.write("\n");
        m_isFirst = false;
        m_out.write(m_out.coloured(Colour::Bold, oneLine(name)) + "\n");
    }

    void fail(std::string_view name, std::string_view reason) {
        m_out.error(name, reason);
        m_status = std::max(m_status, kFailed);
    }

    const CommonOptions& m_common;
    Output& m_out;
    const Heading m_heading;
    const PrepareMessage& m_prepare;
    bool m_isFirst = true;
    ExitStatus m_status = kDone;
};

}  // namespace

mimetree::OpenedParts InputMessage::opened() const {
    auto parts = mimetree::OpenedParts::of(mail, nested);
    if (!parts) throw std::bad_alloc();
    return *std::move(parts);
}

ExitStatus forEachMessage(const CommonOptions& common, Output& out, Heading heading,
                          const ShowMessage& show) {
    return forEachMessageInTurn(common, out, heading,
                                [&](const InputMessage& message, Output& to) -> InTurn {
                                    const ExitStatus status = show(message, to);
                                    return [status](Output&) { return status; };
                                });
}

ExitStatus forEachMessageInTurn(const CommonOptions& common, Output& out, Heading heading,
                                const PrepareMessage& prepare) {
    return MessageLoop(common, out, heading, prepare).run();
}

std::unique_ptr<LogBase> makeLog(const CommonOptions& common, Output& out) {
    std::unique_ptr<LogBase> log(common.log ? static_cast<LogBase*>(new ErrorLog(out))
                                            : new LogNull);
    log->m_verbose = common.log;
    if (common.strict) log->m_options.setString("StrictMimeParsing");
    return log;
}
