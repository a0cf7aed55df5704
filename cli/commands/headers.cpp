// SPDX-License-Identifier: Apache-2.0
// Command `headers`: the header fields of each message, a line each and decoded, or as they
// were read.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"

namespace {

struct HeadersOptions {
    bool raw = false;
};

void showDecoded(const InputMessage& message, int index, Output& out) {
    StringBuffer name, value;
    message.root.getHeaderFieldName(index, name, message.log);
    message.root.getHeaderFieldValue(index, /*decode*/ true, value, message.log);
    if (!name.isEmpty()) out.write(out.coloured(Colour::Cyan, oneLine(view(name)) + ":") + " ");
    out.write(oneLine(view(value)) + "\n");
}

void showRaw(const InputMessage& message, int index, Output& out) {
    StringBuffer field;
    message.root.m_mimeHeader.getFieldText(index, field);
    field.append("\r\n");
    out.writeContent(view(field));
}

ExitStatus showHeaders(const InputMessage& message, const HeadersOptions& options, Output& out) {
    for (int i = 0; i < message.root.getNumHeaderFields() && out.good(); ++i)
        options.raw ? showRaw(message, i, out) : showDecoded(message, i, out);
    return kDone;
}

}  // namespace

Run addHeaders(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<HeadersOptions>();
    addMessages(app, common);
    app.add_flag("--raw", options->raw, "as stored, neither decoded nor unfolded");
    return [options, &common](Output& out) {
        return forEachMessage(common, out, Heading::Name, [&](const auto& message, Output& to) {
            return showHeaders(message, *options, to);
        });
    };
}
