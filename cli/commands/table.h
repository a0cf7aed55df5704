// SPDX-License-Identifier: Apache-2.0
#pragma once

// The program's commands.  A further one is a source in this folder and two lines: its function,
// declared below, and its row in table.cpp.  --help, the man page, completion and the README's
// list are made from the table.  No command includes anything of another; what several need
// stands in
//
//     cli/input/     FILE arguments and what they name, as a stream of messages
//     cli/message/   the parts of a message, messages within messages included
//     cli/report/    the page that html writes
//     cli/text/      HTML as text, patterns in texts
//     cli/terminal/  widths of text, rows that fit, the pager, the progress line
//     cli/output/    writing, checked; escaping; colours; error lines
//
// A source has the shape
//
//     namespace {
//     struct CountOptions { bool leaves = false; };
//
//     // One message, in any thread: all that is known stands in the arguments.
//     ExitStatus showCount(const InputMessage& message, const CountOptions& options, Output& out) {
//         ...
//         out.write(oneLine(message.name) + "\n");
//         return kDone;
//     }
//     }  // namespace
//
//     Run addCount(CLI::App& app, CommonOptions& common) {
//         const auto options = std::make_shared<CountOptions>();
//         addMessages(app, common);
//         app.add_flag("--leaves", options->leaves, "only parts without parts");
//         return [options, &common](Output& out) {
//             return forEachMessage(common, out, Heading::Name, [&](const auto& message, Output&
//             to) {
//                 return showCount(message, *options, to);
//             });
//         };
//     }
//
// What must be done in the order of the messages, and by one thread at a time (sums, files that
// are made, anything beside `out`), goes into forEachMessageInTurn (input/messages.h).
// message.opened() is the list of parts, those of messages within it too: declare addClosed() with
// it.  message.name is "archive.mbox#17" in an mbox; message.bytes are the message alone, and
// message.fromLine is what stood before it.  A command for one message alone uses addMessage() and
// forOneMessage().  Options that take several values need allow_extra_args(false), or CLI11 takes
// "[a]" for a list.  A source that needs a library which a build may lack has a twin that does
// without (gzip_zlib.cpp, gzip_none.cpp), and a line in versionText (command_line.cpp).
// Errors are told by out.error(message.name, reason), never on stderr directly.

#include <functional>
#include <span>

#include "cli/input/options.h"
#include "cli/output/output.h"

namespace CLI {
class App;
}

// Does what a command line asked for, reports errors itself and answers the exit status.
using Run = std::function<ExitStatus(Output& out)>;

struct Example {
    const char* what;
    const char* line;  // as it is typed
};

struct Command {
    const char* name;
    const char* arguments;  // as the README's list shows them
    const char* summary;
    Example examples[3];
    // Adds FILE, options and a footer to the command's line, and answers what runs it once the
    // line was read.
    Run (*add)(CLI::App& app, CommonOptions& common);
};

std::span<const Command> commands();

Run addBody(CLI::App& app, CommonOptions& common);
Run addCheck(CLI::App& app, CommonOptions& common);
Run addCompose(CLI::App& app, CommonOptions& common);
Run addConvert(CLI::App& app, CommonOptions& common);
Run addExtract(CLI::App& app, CommonOptions& common);
Run addFromXml(CLI::App& app, CommonOptions& common);
Run addGrep(CLI::App& app, CommonOptions& common);
Run addHeaders(CLI::App& app, CommonOptions& common);
Run addHtml(CLI::App& app, CommonOptions& common);
Run addJoin(CLI::App& app, CommonOptions& common);
Run addJson(CLI::App& app, CommonOptions& common);
Run addRewrite(CLI::App& app, CommonOptions& common);
Run addShow(CLI::App& app, CommonOptions& common);
Run addSplit(CLI::App& app, CommonOptions& common);
Run addStats(CLI::App& app, CommonOptions& common);
Run addStructure(CLI::App& app, CommonOptions& common);
Run addToXml(CLI::App& app, CommonOptions& common);
Run addTree(CLI::App& app, CommonOptions& common);
