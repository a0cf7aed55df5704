// SPDX-License-Identifier: Apache-2.0

// The sample mails and the tree outline: for golden_test.cpp, which compares outlines with
// files, and laws_test.cpp, which compares them with each other.

#include "tests/outline.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr size_t kExcerpt = 60;

// FNV-1a, 64 bits.
uint64_t hashOf(std::string_view bytes) {
    uint64_t hash = 0xcbf29ce484222325u;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    return hash;
}

std::string format(const char* pattern, unsigned value) {
    char text[32];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

// Size, hash and, for the eye, the beginning.
std::string described(std::string_view bytes) {
    char text[48];
    std::snprintf(text, sizeof text, "%zu:%016llx", bytes.size(),
                  static_cast<unsigned long long>(hashOf(bytes)));
    const bool isLong = bytes.size() > kExcerpt;
    return text + (" \"" + escaped(bytes.substr(0, kExcerpt))) + (isLong ? "\"..." : "\"");
}

void add(std::string& line, const char* name, std::string_view value) {
    if (!value.empty()) line += std::string(" ") + name + "=\"" + escaped(value) + '"';
}

std::string nodeLine(const MimeMessage2& node) {
    std::string line = node.m_contentType.m_type.isEmpty() ? "(none)" : node.getContentType();
    add(line, "boundary", str(node.m_contentType.m_boundary));
    add(line, "name", str(node.m_contentType.m_name));
    add(line, "charset", node.getCharset());
    if (node.getCharsetCodePage() != 0)
        line += "(" + std::to_string(node.getCharsetCodePage()) + ")";
    add(line, "coding", node.getContentEncoding());
    add(line, "disposition", node.getDisposition());
    add(line, "file", str(node.m_filename));
    add(line, "id", str(node.m_contentId));
    if (node.getFormatFlowed()) line += " flowed";
    line += " fields=" + std::to_string(node.getNumHeaderFields());
    if (node.getHeaderDetectedCP() != 0)
        line += " headerCP=" + std::to_string(node.getHeaderDetectedCP());
    if (node.getNumParts() == 0 || !node.getMimeBodyDb().isEmpty())
        line += " body=" + described(str(node.getMimeBodyDb()));
    if (!node.getSignedData().isEmpty()) line += " signed=" + described(str(node.getSignedData()));
    return line;
}

void addNodes(const MimeMessage2& node, unsigned depth, std::string& out) {
    out += std::string(2 * depth, ' ') + nodeLine(node) + '\n';
    for (int i = 0; i < node.getNumParts(); ++i) addNodes(*node.getPart(i), depth + 1, out);
}

}  // namespace

std::vector<Sample> loadSamples() {
    namespace fs = std::filesystem;
    std::vector<Sample> samples;
    for (const auto& entry : fs::recursive_directory_iterator(MIMETREE_SAMPLES_DIR)) {
        if (entry.path().extension() != ".eml") continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const fs::path path = fs::path(entry.path()).replace_extension();
        samples.push_back({path.lexically_relative(MIMETREE_SAMPLES_DIR).generic_string(),
                           path.generic_string(),
                           std::string(std::istreambuf_iterator<char>(file), {})});
    }
    std::sort(samples.begin(), samples.end(),
              [](const Sample& a, const Sample& b) { return a.name < b.name; });
    return samples;
}

bool load(MimeMessage2& node, std::string_view mail, As as, LogBase& log) {
    if (as == As::Text) return node.loadMimeComplete(sb(mail), log, /*inputIsUtf8*/ false);
    DataBuffer bytes = db(mail);
    return node.loadMimeCompleteDb(bytes, log);
}

bool load(MimeMessage2& node, std::string_view mail, As as) {
    LogNull log;
    return load(node, mail, as, log);
}

std::vector<MimeMessage2*> nodesOf(MimeMessage2& node) {
    std::vector<MimeMessage2*> nodes, waiting{&node};
    while (!waiting.empty()) {
        MimeMessage2* next = waiting.back();
        waiting.pop_back();
        nodes.push_back(next);
        for (int i = next->getNumParts() - 1; i >= 0; --i) waiting.push_back(next->getPart(i));
    }
    return nodes;
}

std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == '\r') out += "\\r";
        else if (c == '\n') out += "\\n";
        else if (c == '\t') out += "\\t";
        else if (c == '\\') out += "\\\\";
        else if (byte < 0x20 || byte > 0x7E) out += format("\\x%02x", byte);
        else out += c;
    }
    return out;
}

std::string wholeOutline(const MimeMessage2& root) {
    std::string out;
    addNodes(root, 0, out);
    LogNull log;
    for (int i = 0; i < root.getNumHeaderFields(); ++i) {
        StringBuffer name, value;
        root.getHeaderFieldName(i, name, log);
        root.getHeaderFieldValue(i, /*decode*/ true, value, log);
        out += "| " + escaped(str(name)) + ": " + escaped(str(value)) + '\n';
    }
    return out;
}
