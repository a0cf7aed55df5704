// SPDX-License-Identifier: Apache-2.0

#include "laws.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "foundation/LogNull.h"
#include "foundation/LogText.h"

void load(MimeMessage2& message, const std::string& text, bool asText) {
    LogText log;
    StringBuffer clue;
    message.loadMimeComplete2(text.data(), static_cast<unsigned>(text.size()), asText, clue, log,
                              /*inputIsUtf8*/ false);
}

std::string written(const MimeMessage2& message) {
    LogNull log;
    DataBuffer out;
    message.getMimeTextDb(out, /*bodyOnly*/ false, log);
    return bytesOf(out);
}

void readAll(MimeMessage2& message) {
    LogNull log;
    ExtPtrArray addresses;
    for (const char* name : {"From", "To", "Cc"}) message.getEmailAddresses(name, addresses, log);
    StringBuffer out;
    for (int i = 0; i < message.getNumHeaderFields(); ++i) {
        message.getHeaderFieldName(i, out, log);
        message.getHeaderFieldValue(i, /*decode*/ true, out, log);
    }
    message.getSubFieldUtf8("Content-Type", "name", out, log);
    message.getHtmlBodyObject(log);
    message.containsSignedParts(log);
    message.containsEncryptedParts(log);
    message.find8bitInfo(out);
    message.isAttachment(log);
    DataBuffer body;
    message.getHtmlBody(body, log);
}

// Labels are added while text is read, delimiters may be made up by what stands around them: a
// few rounds bring a message to rest, and then it stays.
void checkWriting(const MimeMessage2& first, bool asText) {
    std::string text = written(first);
    for (int round = 0; round < 8; ++round) {
        MimeMessage2 again;
        load(again, text, asText);
        std::string next = written(again);
        if (next == text) return;
        require(next.size() < 4 * text.size() + 4096, "what is written does not swell");
        text.swap(next);
    }
}

// Number of nodes, depth first, without recursion.
static std::vector<int> shapeOf(const MimeMessage2& root) {
    std::vector<int> shape;
    std::vector<const MimeMessage2*> open{&root};
    while (!open.empty()) {
        const MimeMessage2* const node = open.back();
        open.pop_back();
        shape.push_back(node->getNumParts());
        for (int i = node->getNumParts(); i-- > 0;) open.push_back(node->getPart(i));
    }
    return shape;
}

void checkXml(MimeMessage2& message) {
    LogNull log;
    StringBuffer xml;
    require(message.getMimeXml(xml, log), "every tree has an XML form");
    StringBuffer outline;
    message.getMimeStructure(1, 0, outline, log);
    MimeMessage2* const back = MimeMessage2::createMimeFromXml(xml, "mime_message", false, log);
    require(back != nullptr, "its XML form is read");
    require(shapeOf(*back) == shapeOf(message), "XML gives back the parts");
    VantrelObject::deleteObject(back);
}

namespace {

// Counts the lines that it is told.
class CountingLog : public LogText {
public:
    CountingLog() { m_verbose = true; }

    void logError(const char* text) override {
        ++lines;
        LogText::logError(text);
    }
    void logInfo(const char* text) override {
        ++lines;
        LogText::logInfo(text);
    }
    void enterContext(const char* name, bool isVerbose) override {
        ++lines;
        LogText::enterContext(name, isVerbose);
    }
    void logData(const char* name, const char* value) override {
        ++lines;
        LogText::logData(name, value);
    }

    std::ptrdiff_t lines = 0;
};

}  // namespace

void checkLog(const std::string& text, bool asText) {
    CountingLog log;
    StringBuffer clue;
    MimeMessage2 message;
    message.loadMimeComplete2(text.data(), static_cast<unsigned>(text.size()), asText, clue, log,
                              /*inputIsUtf8*/ false);
    const std::string told = bytesOf(log.text());
    require(std::count(told.begin(), told.end(), '\n') == log.lines, "no log line is forged");
    require(told.find('\r') == std::string::npos, "nor written over");
}

void checkFileNames(MimeMessage2& message) {
    const std::string folder = "/dev/null/";  // where no file can be made
    XString directory;
    directory.setFromUtf8(folder.c_str());
    LogNull log;
    ExtPtrArray paths;
    message.extractPartsToFiles(paths, directory, log);
    for (int i = 0; i < paths.getSize(); ++i) {
        const std::string path = bytesOf(*static_cast<StringBuffer*>(paths.elementAt(i)));
        const std::string name = path.substr(std::min(path.size(), folder.size()));
        require(path.rfind(folder, 0) == 0 && name.find('/') == std::string::npos &&
                    !name.empty() && name != "." && name != "..",
                "a file stays in its folder");
        require(name.size() < 256, "its name is no longer than file systems take");
    }
}
