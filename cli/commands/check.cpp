// SPDX-License-Identifier: Apache-2.0
// Command `check`: what is wrong with each message, a line a finding; with --json a document a
// message, with --sarif one for all; and --explain, what a kind of finding means.

#include <algorithm>
#include <new>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/json_document.h"
#include "mimetree/findings.hpp"
#include "mimetree/version.h"

namespace {

using Json = nlohmann::ordered_json;
using mimetree::Finding;
using mimetree::FindingKind;
using mimetree::Severity;

struct CheckOptions {
    bool json = false;
    bool sarif = false;
    std::string explain;
};

constexpr unsigned kLineWidth = 78;

ExitStatus statusOf(const std::vector<Finding>& findings) {
    ExitStatus status = kDone;
    for (const Finding& finding : findings) {
        if (finding.severity == Severity::warning) status = std::max(status, kWarned);
        if (finding.severity == Severity::critical) status = kCritical;
    }
    return status;
}

// -- For people

Colour colourOf(Severity severity) {
    return severity == Severity::info ? Colour::Dim : Colour::Yellow;
}

std::string lineOf(const std::string& name, const Finding& finding, const Output& out) {
    const std::string severity(mimetree::severity_name(finding.severity));
    std::string line = oneLine(name) + ":" + std::to_string(finding.line) + ": " +
                       out.coloured(colourOf(finding.severity), severity) + " " +
                       std::string(finding.id) + " " + std::string(finding.name) + ": " +
                       oneLine(finding.sentence);
    if (!finding.part.empty()) line += " (part " + finding.part + ")";
    if (finding.more) line += " (and " + std::to_string(finding.more) + " more)";
    return line + "\n";
}

std::string wrapped(std::string_view text) {
    std::string lines;
    size_t column = 0;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        const bool isFull = column != 0 && column + 1 + word.size() > kLineWidth;
        if (column != 0) lines += isFull ? '\n' : ' ';
        column = isFull || column == 0 ? word.size() : column + 1 + word.size();
        lines += word;
    }
    return lines + "\n";
}

ExitStatus explain(const std::string& name, Output& out) {
    const FindingKind* const kind = mimetree::finding_kind(name);
    if (!kind) {
        out.error("no finding " + name + " (see docs/findings.md)");
        return kBadUsage;
    }
    out.write(std::string(kind->id) + " " + std::string(kind->name) + " (" +
              std::string(mimetree::severity_name(kind->severity)) + ")\n\n" +
              wrapped(kind->explanation) + "\n" + std::string(kind->reference) + "\n");
    return kDone;
}

// -- For programs

Json jsonOf(const Finding& finding) {
    return {{"id", finding.id},
            {"name", finding.name},
            {"severity", mimetree::severity_name(finding.severity)},
            {"offset", finding.offset},
            {"line", finding.line},
            {"part", finding.part},
            {"sentence", finding.sentence},
            {"more", finding.more}};
}

std::string documentOf(const std::string& name, const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) list.push_back(jsonOf(finding));
    return jsonText({{"path", name}, {"findings", std::move(list)}}) + "\n";
}

// SARIF 2.1.0 3.27.10.
const char* levelOf(Severity severity) {
    return severity == Severity::critical  ? "error"
           : severity == Severity::warning ? "warning"
                                           : "note";
}

// RFC 3986: SARIF names files by their URIs.
std::string uriOf(const std::string& path) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string uri;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (kPlain.find(c) != kPlain.npos) uri += c;
        else (uri += '%').append({kHex[byte >> 4], kHex[byte & 15]});
    }
    return uri;
}

Json sarifRules() {
    Json rules = Json::array();
    for (const FindingKind& kind : mimetree::finding_kinds())
        rules.push_back({{"id", kind.id},
                         {"name", kind.name},
                         {"fullDescription", {{"text", kind.explanation}}},
                         {"help", {{"text", kind.reference}}},
                         {"defaultConfiguration", {{"level", levelOf(kind.severity)}}}});
    return rules;
}

Json sarifOf(const std::string& name, const Finding& finding) {
    const Json region = {{"startLine", finding.line}, {"byteOffset", finding.offset}};
    const Json place = {{"artifactLocation", {{"uri", uriOf(name)}}}, {"region", region}};
    return {{"ruleId", finding.id},
            {"ruleIndex", finding.number - 1},
            {"level", levelOf(finding.severity)},
            {"message", {{"text", finding.sentence}}},
            {"locations", Json::array({Json{{"physicalLocation", place}}})},
            {"properties", {{"part", finding.part}, {"more", finding.more}}}};
}

// The document begins in front of the first message and ends behind the last.
class Sarif {
public:
    void begin(Output& out) const {
        const Json driver = {
            {"name", "mimetree"}, {"version", MIMETREE_VERSION}, {"rules", sarifRules()}};
        out.write(
            "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\","
            "\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":" +
            jsonText(driver) + "},\"columnKind\":\"unicodeCodePoints\",\"results\":[");
    }
    void add(const std::string& name, const std::vector<Finding>& findings, Output& out) {
        for (const Finding& finding : findings) {
            out.write((m_isFirst ? "\n" : ",\n") + jsonText(sarifOf(name, finding)));
            m_isFirst = false;
        }
    }
    void end(Output& out) const { out.write("\n]}]}\n"); }

private:
    bool m_isFirst = true;
};

std::string textOf(const std::string& name, const std::vector<Finding>& findings,
                   const CheckOptions& options, const Output& out) {
    if (options.json) return documentOf(name, findings);
    std::string lines;
    for (const Finding& finding : findings) lines += lineOf(name, finding, out);
    return lines;
}

InTurn check(const InputMessage& message, const CheckOptions& options, Sarif& sarif, Output& out) {
    auto findings = mimetree::findings(message.mail, message.nested);
    if (!findings) throw std::bad_alloc();
    const ExitStatus status = statusOf(*findings);
    if (!options.sarif) {
        out.write(textOf(message.name, *findings, options, out));
        return [status](Output&) { return status; };
    }
    return [name = message.name, list = *std::move(findings), status, &sarif](Output& to) {
        sarif.add(name, list, to);
        return status;
    };
}

ExitStatus checkAll(const CommonOptions& common, const CheckOptions& options, Output& out) {
    Sarif sarif;
    if (options.sarif) sarif.begin(out);
    const ExitStatus status = forEachMessageInTurn(common, out, Heading::None,
                                                   [&](const InputMessage& message, Output& to) {
                                                       return check(message, options, sarif, to);
                                                   });
    if (options.sarif) sarif.end(out);
    return status;
}

}  // namespace

Run addCheck(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<CheckOptions>();
    addMessages(app, common);
    app.get_option("FILE")->required(false);
    addClosed(app, common);
    CLI::Option* const json =
        app.add_flag("--json", options->json, "one JSON document a message, one line each");
    app.add_flag("--sarif", options->sarif, "one SARIF 2.1.0 document, for CI systems")
        ->excludes(json);
    app.add_option("--explain", options->explain, "tell what a finding means, by name or number")
        ->type_name("NAME");
    app.footer(
        "Status: 0 when nothing is wrong or worth a note only, 3 for warnings, 4 when another\n"
        "reader may see a different message.  docs/findings.md lists the findings.");
    return [options, &common](Output& out) {
        if (!options->explain.empty()) return explain(options->explain, out);
        if (!common.paths.empty()) return checkAll(common, *options, out);
        out.error("FILE is required (see mimetree check --help)");
        return kBadUsage;
    };
}
