// SPDX-License-Identifier: Apache-2.0

// Golden outlines: what each mail of samples/ becomes when it is loaded as bytes and as text,
// as it stands and with its line ends changed to LF and to CR.  NAME.tree holds one section
// for each outline, headed by the ways of loading that give it.
//
// Where they differ, the outlines found are put into NAME.tree.new in the build directory, and
// the command that shows the difference is printed.  With MIMETREE_ACCEPT=1 in the environment they
// replace the golden instead.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/LogText.h"
#include "tests/outline.h"
#include "tests/support.h"

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

// Only the line ends of pure text can be changed without changing what it says.
bool canBeDressed(const std::string& mail) {
    return mail.find('\0') == std::string::npos && contains(mail, "\n") &&
           !contains(replaced(mail, "\r\n", "\n"), "\r");
}

std::vector<std::pair<std::string, std::string>> dressings(const std::string& mail) {
    std::vector<std::pair<std::string, std::string>> all{{"", mail}};
    if (!canBeDressed(mail)) return all;
    const std::string lf = replaced(mail, "\r\n", "\n");
    all.emplace_back("-lf", lf);
    all.emplace_back("-cr", replaced(lf, "\n", "\r"));
    return all;
}

std::string errorLines(const LogText& log) {
    std::istringstream lines(str(log.text()));
    std::string out;
    for (std::string line; std::getline(lines, line);)
        if (const size_t at = line.find("ERROR: "); at != std::string::npos)
            out += line.substr(at) + '\n';
    return out;
}

std::string outlineOf(const std::string& mail, As as) {
    MimeMessage2 node;
    LogText log;
    const bool loaded = load(node, mail, as, log);
    return (loaded ? "" : "load failed\n") + wholeOutline(node) + errorLines(log);
}

std::string sectionsOf(const std::string& mail) {
    std::vector<std::pair<std::string, std::string>> sections;  // ways of loading, outline
    const auto file = [&](const std::string& way, const std::string& outline) {
        for (auto& [ways, known] : sections) {
            if (known != outline) continue;
            ways += ' ' + way;
            return;
        }
        sections.emplace_back(way, outline);
    };
    for (const auto& [dress, dressed] : dressings(mail)) {
        file("bytes" + dress, outlineOf(dressed, As::Bytes));
        file("text" + dress, outlineOf(dressed, As::Text));
    }
    std::string out;
    for (const auto& [ways, outline] : sections)
        out += '[' + (sections.size() == 1 ? "all" : ways) + "]\n" + outline;
    return out;
}

std::string fileContent(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void save(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

bool isAccepting() {
    const char* accept = std::getenv("MIMETREE_ACCEPT");
    return accept && std::string(accept) == "1";
}

}  // namespace

TEST(Golden, Outlines) {
    const std::vector<Sample> samples = loadSamples();
    ASSERT_FALSE(samples.empty()) << MIMETREE_SAMPLES_DIR;
    for (const Sample& sample : samples) {
        SCOPED_TRACE(sample.name);
        const std::string golden = sample.path + ".tree";
        const std::string found = sectionsOf(sample.bytes);
        if (isAccepting()) {
            save(golden, found);
            continue;
        }
        const std::string expected = fileContent(golden);
        if (expected == found) continue;
        const std::string kept = MIMETREE_OUTPUT_DIR "/" + sample.name + ".tree.new";
        save(kept, found);
        ADD_FAILURE() << "diff " << golden << ' ' << kept;
    }
}
