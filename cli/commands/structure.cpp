// SPDX-License-Identifier: Apache-2.0
// Command `structure`: the engine's outline of the content types.

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/nodes.h"

namespace {

struct StructureOptions {
    bool xml = false;
};

// Limit: the outline indents by four blanks a level, so its size is the square of the depth;
// and a message of many parts that are deep already is as bad.
constexpr unsigned kMaxOutlineDepth = 1000;
constexpr size_t kMaxOutlineBlanks = size_t(256) << 20;

const char* outlineFault(const std::vector<Node>& nodes) {
    size_t blanks = 0;
    for (const Node& node : nodes) {
        if (node.depth > kMaxOutlineDepth) return "nested deeper than 1000 levels";
        blanks += size_t(4) * node.depth;
    }
    return blanks > kMaxOutlineBlanks ? "too many parts nested too deep" : nullptr;
}

ExitStatus showStructure(const InputMessage& message, const StructureOptions& options,
                         Output& out) {
    if (const char* fault = outlineFault(nodesOf(message.root)))
        return out.failed(message.name, fault);
    StringBuffer outline;
    message.root.getMimeStructure(options.xml ? 1 : 0, 0, outline, message.log);
    return out.writeMade(outline, message.name);
}

}  // namespace

Run addStructure(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<StructureOptions>();
    addMessages(app, common);
    app.add_flag("--xml", options->xml, "in the manner of XML, with closing lines");
    app.footer(
        "The outline indents by four blanks a level; messages nested deeper than 1000 levels,\n"
        "or whose indentation takes more than 256 MiB, are refused (see tree).");
    return [options, &common](Output& out) {
        return forEachMessage(common, out, Heading::Name, [&](const auto& message, Output& to) {
            return showStructure(message, *options, to);
        });
    };
}
