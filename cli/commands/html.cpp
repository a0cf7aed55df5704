// SPDX-License-Identifier: Apache-2.0
// Command `html`: the message as a page for a browser.

#include <cerrno>
#include <cstring>
#include <fstream>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/report/report.h"

namespace {

ExitStatus writePage(const InputMessage& message, const std::string& path, Output& out) {
    if (path.empty()) {
        writeReport(message, [&](std::string_view text) { out.write(text); });
        return kDone;
    }
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    if (file) writeReport(message, [&](std::string_view text) { file << text; });
    file.close();
    if (file) return kDone;
    return out.failed(path, std::strerror(errno ? errno : EIO));
}

}  // namespace

Run addHtml(CLI::App& app, CommonOptions& common) {
    const auto path = std::make_shared<std::string>();
    addMessage(app, common);
    addClosed(app, common);
    app.add_option("-o,--output", *path, "the page; standard output without")->type_name("PAGE");
    app.footer(
        "One file that needs no other: headers, texts, HTML, pictures, attachments to save, parts\n"
        "and findings.  In the page no script runs, no form is sent and nothing is fetched: the\n"
        "mail's HTML is in a sandbox, its links lead nowhere, and remote pictures are missing.");
    return [path, &common](Output& out) {
        return forOneMessage(common, out, [&](const auto& message, Output& to) {
            return writePage(message, *path, to);
        });
    };
}
