// SPDX-License-Identifier: Apache-2.0

// Golden outlines: what each mail of samples/ becomes when it is loaded as bytes and as text,
// as it stands and with its line ends changed to LF and to CR.  NAME.tree holds one section
// for each outline, headed by the ways of loading that give it; NAME.log what a verbose log is
// told when the mail is loaded as bytes and written.
//
// Where they differ, what was found is put into NAME.tree.new or NAME.log.new in the build
// directory, and the command that shows the difference is printed.  With MIMETREE_ACCEPT=1 in the
// environment they replace the golden instead.

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/outline.h"

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
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

// The ends of lines, from `part` on.
std::string linesFrom(const char* part, const LogText& log) {
    std::istringstream lines(str(log.text()));
    std::string out;
    for (std::string line; std::getline(lines, line);)
        if (const size_t at = line.find(part); at != std::string::npos)
            out += escaped(line.substr(at)) + '\n';
    return out;
}

// All that a log is told when the mail is loaded and written.
std::string logOf(const std::string& mail) {
    MimeMessage2 node;
    LogText log;
    log.m_verbose = true;
    load(node, mail, As::Bytes, log);
    DataBuffer out;
    node.getMimeTextDb(out, /*bodyOnly*/ false, log);
    return linesFrom("", log);
}

std::string outlineOf(const std::string& mail, As as) {
    MimeMessage2 node;
    LogText log;
    const bool loaded = load(node, mail, as, log);
    return (loaded ? "" : "load failed\n") + wholeOutline(node) + linesFrom("ERROR: ", log);
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

// `found` is what a file beside the sample holds; if not, it is left in the build directory.
void expectGolden(const Sample& sample, const std::string& extension, const std::string& found) {
    const std::string golden = sample.path + extension;
    if (isAccepting()) return save(golden, found);
    if (fileContent(golden) == found) return;
    const std::string kept = MIMETREE_OUTPUT_DIR "/" + sample.name + extension + ".new";
    save(kept, found);
    ADD_FAILURE() << "diff " << golden << ' ' << kept;
}

}  // namespace

TEST(Golden, OutlinesAndLogs) {
    const std::vector<Sample> samples = loadSamples();
    ASSERT_FALSE(samples.empty()) << MIMETREE_SAMPLES_DIR;
    for (const Sample& sample : samples) {
        expectGolden(sample, ".tree", sectionsOf(sample.bytes));
        expectGolden(sample, ".log", logOf(sample.bytes));
    }
}
