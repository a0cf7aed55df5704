// SPDX-License-Identifier: Apache-2.0
// Command `to-xml`: the XML form of a message (docs/xml.md).

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"

namespace {

// What a terminal is shown is looked at as a whole.
bool printXml(const InputMessage& message, Output& out) {
    if (!out.screen().isTerminal) {
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

ExitStatus showXml(const InputMessage& message, Output& out) {
    return printXml(message, out) ? kDone : out.failed(message.name, "out of memory");
}

}  // namespace

Run addToXml(CLI::App& app, CommonOptions& common) {
    addMessage(app, common);
    app.footer("One message a call: several XML documents in a row would not be XML.");
    return [&common](Output& out) { return forOneMessage(common, out, showXml); };
}
