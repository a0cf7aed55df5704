// SPDX-License-Identifier: Apache-2.0
// Command `headers`: the header fields of each message, a line each and decoded, or as they
// were read.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/input.h"

namespace {

void showDecoded(const Message& message, int index, Output& out) {
    StringBuffer name, value;
    message.root.getHeaderFieldName(index, name, message.log);
    message.root.getHeaderFieldValue(index, /*decode*/ true, value, message.log);
    if (!name.isEmpty()) out.write(out.coloured(Colour::Cyan, oneLine(view(name)) + ":") + " ");
    out.write(oneLine(view(value)) + "\n");
}

void showRaw(const Message& message, int index, Output& out) {
    StringBuffer field;
    message.root.m_mimeHeader.getFieldText(index, field);
    field.append("\r\n");
    out.writeContent(view(field));
}

ExitStatus showHeaders(const Message& message, const Options& options, Output& out) {
    for (int i = 0; i < message.root.getNumHeaderFields() && out.good(); ++i)
        options.raw ? showRaw(message, i, out) : showDecoded(message, i, out);
    return kDone;
}

}  // namespace

void addHeadersOptions(CLI::App& app, Options& options) {
    addMessages(app, options);
    app.add_flag("--raw", options.raw, "as stored, neither decoded nor unfolded");
}

ExitStatus headers(const Options& options, Output& out) {
    return forEachMessage(options, out, Heading::Path, showHeaders);
}
