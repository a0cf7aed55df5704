// SPDX-License-Identifier: Apache-2.0
// Findings about the names of files.

#include <algorithm>
#include <iterator>

#include "face/files/harm.h"
#include "face/findings/entity.h"
#include "face/message/tnef.h"
#include "face/message/tree.h"
#include "foundation/zqMimeTypes.h"

namespace mimetree::inner::check {

namespace {

// What runs when it is opened.
constexpr std::string_view kPrograms[] = {"app", "bat", "cmd", "com", "cpl", "dll", "exe", "hta",
                                          "jar", "js",  "jse", "lnk", "msi", "pif", "ps1", "reg",
                                          "scr", "sh",  "vb",  "vbe", "vbs", "wsf", "wsh"};
// What a name may pretend to be.
constexpr std::string_view kDocuments[] = {"avi",  "bmp",  "csv", "doc",  "docx", "gif", "htm",
                                           "html", "jpeg", "jpg", "mov",  "mp3",  "mp4", "odt",
                                           "pdf",  "png",  "ppt", "pptx", "rtf",  "tif", "txt",
                                           "wav",  "webp", "xls", "xlsx", "xml",  "zip"};

template <size_t N>
bool isOneOf(const std::string_view (&list)[N], std::string_view word) {
    return std::any_of(std::begin(list), std::end(list),
                       [&](std::string_view known) { return isSameWord(known, word); });
}

// "pdf" and "exe" of "bill.pdf.exe".
std::string_view extensionOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == name.npos ? std::string_view() : trimmedText(name.substr(dot + 1));
}
std::string_view withoutExtension(std::string_view name) {
    return trimmedText(name.substr(0, name.rfind('.')));
}

std::string_view mainType(std::string_view type) { return type.substr(0, type.find('/')); }

// Types that say what is to be seen or heard; others tell little.
bool isMedia(std::string_view mainType) {
    return mainType == "image" || mainType == "audio" || mainType == "video";
}

std::string_view nameOf(const Entity& e) {
    return e.isLeaf() ? e.part.declared_name() : std::string_view();
}

const char* namePlace(const Entity& e) {
    const ParamField& field = e.disposition.field ? e.disposition : e.type;
    return field.field ? field.field->whole.data() : e.at();
}

template <class Is>
void tellCharacters(const Entity& e, Report& report, std::string_view what, const Is& is) {
    const std::string_view name = nameOf(e);
    for (size_t at = 0; at < name.size();) {
        const Character c = characterAt(name, at);
        if (is(c.codePoint))
            return report(namePlace(e), "the file name ", Quoted(name), " holds ", what);
        at += c.size ? c.size : 1;
    }
}

bool isControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

}  // namespace

void nameAgainstType(const Entity& e, Report& report) {
    const std::string_view name = nameOf(e), extension = extensionOf(name);
    if (extension.empty() || !e.type.field) return;
    const std::string_view own = mainType(e.part.type());
    const std::string known = zqExtensionToContentType(std::string(extension).c_str());
    const std::string_view other = mainType(known);
    const bool isSeen = own == "text" || isMedia(own);
    const bool isProgram = isOneOf(kPrograms, extension) && extension != "sh" && own != "text";
    const bool isHidden = isOneOf(kPrograms, extension) && own == "text" && other != "text" &&
                          !isSameWord(extension, "js") && !isSameWord(extension, "sh");
    const bool isOther =
        isMedia(other) && other != own && !(isMedia(own) && other != "image" && own != "image");
    if (isSeen && (isProgram || isHidden || isOther || isSameWord(extension, "pdf")))
        report(namePlace(e), "the part is labelled ", Quoted(e.part.type()), " and named ",
               Quoted(name));
}

void doubleExtension(const Entity& e, Report& report) {
    const std::string_view name = nameOf(e);
    if (isOneOf(kPrograms, extensionOf(name)) &&
        isOneOf(kDocuments, extensionOf(withoutExtension(name))))
        report(namePlace(e), "the file name ", Quoted(name),
               " looks like that of a document, and is that of a program");
}

void nameWithPath(const Entity& e, Report& report) {
    const std::string_view name = nameOf(e);
    if (name.find_first_of("/\\") != name.npos || name == "..")
        report(namePlace(e), "the file name ", Quoted(name), " leads to another directory");
}

void nameWithControl(const Entity& e, Report& report) {
    tellCharacters(e, report, "control characters", isControl);
}

void nameWithBidi(const Entity& e, Report& report) {
    tellCharacters(e, report, "characters that turn the direction of text",
                   [](char32_t c) { return isHarmful(c) && !isControl(c); });
}

void winmailDat(const Entity& e, Report& report) {
    if (e.isLeaf() && isTnef(e.part))
        report(namePlace(e), "attachments may stand within Outlook's own container ",
               Quoted(nameOf(e)));
}

}  // namespace mimetree::inner::check
