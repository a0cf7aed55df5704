// SPDX-License-Identifier: Apache-2.0
// Command `join`: messages as they are, into an mbox.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/mail_reader.h"
#include "cli/terminal/progress.h"

using mimetree::MboxWriter;

namespace {

// Output keeps the error of a write, and tells of it at the end.
class OutputSink : public mimetree::ByteSink {
public:
    explicit OutputSink(Output& out) : m_out(out) {}
    int write(std::string_view bytes) noexcept override { return m_out.writeContent(bytes), 0; }

private:
    Output& m_out;
};

mimetree::Result<MboxWriter> openWriter(const std::string& file, Output& out) {
    return file.empty() ? MboxWriter::to(std::make_unique<OutputSink>(out), "standard output")
                        : MboxWriter::create(file);
}

ExitStatus failed(const mimetree::Error& error, Output& out) {
    out.error(error.message());
    return kFailed;
}

ExitStatus join(const CommonOptions& common, Output& out) {
    auto writer = openWriter(common.output, out);
    if (!writer) return failed(writer.error(), out);
    MailReader reader(common);
    Progress progress([&] { return reader.bytesInAll(); });
    ExitStatus status = kDone;
    RawMail mail;
    while (out.good() && reader.next(mail)) {
        progress.hide();
        if (!mail.failure.empty()) {
            out.error(mail.name, mail.failure);
            status = kFailed;
        } else if (const auto added = writer->add(mail.bytes); !added) {
            return failed(added.error(), out);
        }
        progress.step(reader.bytesRead());
    }
    progress.hide();
    if (const std::string text = reader.skipped(); !text.empty()) out.error("skipped " + text);
    const auto closed = writer->close();
    return closed ? status : failed(closed.error(), out);
}

}  // namespace

Run addJoin(CLI::App& app, CommonOptions& common) {
    addMessages(app, common);
    app.add_option("-o,--output", common.output, "a new file, in place of standard output")
        ->type_name("FILE");
    app.footer(
        "The mbox has kind rd (\"From \" within a message becomes \">From \"), and the messages "
        "in\n"
        "it are as they were, byte by byte: split gives them back.  The line in front of each has\n"
        "sender and date out of Return-Path or From, and the first Received or Date.  A file that\n"
        "is there is not written to.");
    return [&common](Output& out) { return join(common, out); };
}
