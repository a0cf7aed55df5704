// SPDX-License-Identifier: Apache-2.0
// Command `rewrite`: the message as the engine writes it.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"

namespace {

ExitStatus showRewritten(const InputMessage& message, Output& out) {
    DataBuffer text;
    message.root.getMimeTextDb(text, /*bodyOnly*/ false, message.log);
    if (text.failed()) {
        out.error(message.name, "out of memory");
        return kFailed;
    }
    out.writeContent(view(text));
    return kDone;
}

}  // namespace

Run addRewrite(CLI::App& app, CommonOptions& common) {
    addFile(app, common, "message; - for stdin");
    return [&common](Output& out) {
        return forEachMessage(common, out, Heading::Name, showRewritten);
    };
}
