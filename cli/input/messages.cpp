// SPDX-License-Identifier: Apache-2.0
// Loads what MailReader reads and hands it to the command: forEachMessage, called by every
// command that reads mail.

#include "cli/input/messages.h"

#include <algorithm>
#include <new>

#include "cli/input/jobs.h"
#include "cli/input/mail_reader.h"
#include "cli/output/error_log.h"
#include "cli/terminal/progress.h"
#include "face/message/parse.h"
#include "foundation/LogNull.h"

namespace {

// What the messages of a command have in common.
struct Loop {
    const CommonOptions& common;
    Output& out;
    const Heading heading;
    const PrepareMessage& prepare;
    MailReader reader{common};
    Progress progress{[this] { return reader.bytesInAll(); }};
    bool isFirst = true;
    ExitStatus status = kDone;

    void fail(std::string_view name, std::string_view reason) {
        name.empty() ? out.error(reason) : out.error(name, reason);
        status = std::max(status, kFailed);
    }

    void writeHeading(const std::string& name) {
        if (!isFirst) out.write("\n");
        isFirst = false;
        out.write(out.coloured(Colour::Bold, oneLine(name)) + "\n");
    }
};

class MessageJob : public Job {
public:
    MessageJob(Loop& loop, RawMail raw)
        : m_loop(loop), m_raw(std::move(raw)), m_kept(Output::keeping(loop.out)) {}

    void work() override {
        load(m_kept);
        look(m_kept);
    }

    void finish() override {
        m_loop.progress.hide();
        writeHeading();
        m_kept.handOn(m_loop.out);
        finishLooked();
        m_loop.progress.step(m_loop.reader.bytesRead());
    }

    // All of it, when nothing else is under way; what is written is not kept.
    void run() {
        m_loop.progress.hide();
        load(m_loop.out);
        writeHeading();
        look(m_loop.out);
        finishLooked();
        m_loop.progress.step(m_loop.reader.bytesRead());
    }

private:
    template <class Work>
    void attempt(Work work) {
        try {
            if (m_raw.failure.empty()) work();
        } catch (const std::bad_alloc&) {
            m_raw.failure = "out of memory";
        }
    }

    void load(Output& out) {
        attempt([&] {
            m_log = makeLog(m_loop.common, out);
            m_mail.emplace(mimetree::inner::parseMail(
                m_raw.bytes, {m_loop.common.strict, mimetree::SourceBytes::borrow}, *m_log));
            if (!*m_mail) m_raw.failure = m_mail->error().message();
            else if (m_loop.common.strict) tellRefused(out);
        });
    }

    // Within a message, a multipart that is refused leaves an empty part.
    void tellRefused(Output& out) {
        for (const mimetree::Part& part : m_mail->value().parts()) {
            if (!mimetree::inner::isCut(part)) continue;
            out.error(m_raw.name, mimetree::inner::boundaryFault(part));
            m_isRefused = true;
        }
    }

    void writeHeading() {
        if (m_raw.failure.empty() && m_raw.isOneOfSeveral && m_loop.heading == Heading::Name)
            m_loop.writeHeading(m_raw.name);
    }

    void look(Output& out) {
        attempt([&] {
            mimetree::Message& mail = m_mail->value();
            m_message.emplace(InputMessage{m_raw.name, m_raw.bytes, m_raw.fromLine, mail,
                                           mail.node(), *m_log, m_loop.common.nested()});
            m_inTurn = m_loop.prepare(*m_message, out);
        });
    }

    void finishLooked() {
        attempt([&] { m_loop.status = std::max(m_loop.status, m_inTurn(m_loop.out)); });
        if (m_isRefused) m_loop.status = std::max(m_loop.status, kFailed);
        if (!m_raw.failure.empty()) m_loop.fail(m_raw.name, m_raw.failure);
    }

    Loop& m_loop;
    RawMail m_raw;
    Output m_kept;
    bool m_isRefused = false;  // in part
    std::unique_ptr<LogBase> m_log;
    std::optional<mimetree::Result<mimetree::Message>> m_mail;
    std::optional<InputMessage> m_message;
    InTurn m_inTurn;
};

// Messages that go through the pipeline together: one takes no longer than what it costs to hand it
// on, and where another program takes a core away, more than a few of them wait behind it.
class Batch : public Job {
public:
    // Limit: what is held of an archive; a message alone may be larger.
    bool isFull() const { return m_bytes >= kMostBytes || m_jobs.size() >= kMostMessages; }
    bool isEmpty() const { return m_jobs.empty(); }

    void add(Loop& loop, RawMail mail) {
        m_bytes += mail.bytes.size();
        m_jobs.push_back(std::make_unique<MessageJob>(loop, std::move(mail)));
    }

    void work() override {
        for (const auto& job : m_jobs) job->work();
    }

    // Each goes as soon as it was told of.
    void finish() override {
        for (auto& job : m_jobs) {
            job->finish();
            job.reset();
        }
    }

private:
    static constexpr size_t kMostBytes = size_t{256} << 10, kMostMessages = 64;

    std::vector<std::unique_ptr<MessageJob>> m_jobs;
    size_t m_bytes = 0;
};

// A message alone is worked on at once, and its output is not kept.
ExitStatus runAll(Loop& loop) {
    MailReader& reader = loop.reader;
    const auto next = [&](RawMail& mail) { return loop.out.good() && reader.next(mail); };
    const auto nextBatch = [&]() -> std::unique_ptr<Job> {
        auto batch = std::make_unique<Batch>();
        for (RawMail mail; !batch->isFull() && next(mail); mail = {})
            batch->add(loop, std::move(mail));
        return batch->isEmpty() ? nullptr : std::move(batch);
    };
    const unsigned threads = loop.common.jobs ? loop.common.jobs : mostThreads();
    if (threads > 1 && reader.areSeveral()) {
        runJobs(nextBatch, threads);
    } else {
        for (RawMail mail; next(mail); mail = {}) MessageJob(loop, std::move(mail)).run();
    }
    loop.progress.hide();
    if (const std::string text = reader.skipped(); !text.empty()) loop.out.error("skipped " + text);
    return loop.status;
}

PrepareMessage atOnce(const ShowMessage& show) {
    return [&](const InputMessage& message, Output& out) -> InTurn {
        const ExitStatus status = show(message, out);
        return [status](Output&) { return status; };
    };
}

}  // namespace

mimetree::OpenedParts InputMessage::opened() const {
    auto parts = mimetree::OpenedParts::of(mail, nested);
    if (!parts) throw std::bad_alloc();
    return *std::move(parts);
}

ExitStatus forEachMessage(const CommonOptions& common, Output& out, Heading heading,
                          const ShowMessage& show) {
    return forEachMessageInTurn(common, out, heading, atOnce(show));
}

ExitStatus forEachMessageInTurn(const CommonOptions& common, Output& out, Heading heading,
                                const PrepareMessage& prepare) {
    Loop loop{common, out, heading, prepare};
    return runAll(loop);
}

ExitStatus forOneMessage(const CommonOptions& common, Output& out, const ShowMessage& show) {
    const PrepareMessage prepare = atOnce(show);
    Loop loop{common, out, Heading::None, prepare};
    RawMail mail;
    if (!loop.reader.next(mail)) return out.failed(common.paths.front(), "no messages");
    if (mail.failure.empty() && mail.isOneOfSeveral) {
        out.error(common.paths.front(), "several messages; name one, such as " + mail.name);
        return kBadUsage;
    }
    MessageJob(loop, std::move(mail)).run();
    return loop.status;
}

std::unique_ptr<LogBase> makeLog(const CommonOptions& common, Output& out) {
    std::unique_ptr<LogBase> log(common.log ? static_cast<LogBase*>(new ErrorLog(out))
                                            : new LogNull);
    log->m_verbose = common.log;
    if (common.strict) log->m_options.setString("StrictMimeParsing");
    return log;
}
