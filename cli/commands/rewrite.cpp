// SPDX-License-Identifier: Apache-2.0
// Command `rewrite`: the message as the engine writes it.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"

namespace {

ExitStatus showRewritten(const InputMessage& message, Output& out) {
    DataBuffer text;
    message.root.getMimeTextDb(text, /*bodyOnly*/ false, message.log);
    return out.writeMade(text, message.name);
}

}  // namespace

Run addRewrite(CLI::App& app, CommonOptions& common) {
    addMessage(app, common);
    return [&common](Output& out) { return forOneMessage(common, out, showRewritten); };
}
