// SPDX-License-Identifier: Apache-2.0

// Saving leaves to files, and file names without directories.

#include "foundation/bytes/GrowArray.h"
#include "foundation/_zqFilePath.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// Limit: what file systems take for one name, in bytes.
constexpr unsigned kMaxFileName = 255;

// Cuts a name in front of its extension, and never within a UTF-8 character.
void limitLength(StringBuffer& name) {
    if (name.getSize() <= kMaxFileName) return;
    const char* const text = name.getString();
    unsigned dot = name.getSize();
    while (dot > 0 && text[dot - 1] != '.') --dot;
    StringBuffer extension;
    if (dot > 1 && name.getSize() - dot < 16) extension.append(text + dot - 1);
    unsigned kept = kMaxFileName - extension.getSize();
    while (kept > 0 && (text[kept] & 0xC0) == 0x80) --kept;
    name.shorten(name.getSize() - kept);
    name.append(extension);
}

// Whatever a name says, it names a file in the directory: no directories, no control
// characters, and no blanks or dots at the end, which some systems drop, so that ".. ." would
// be "..".
void makeSafe(StringBuffer& name) {
    name.stripDirectory();
    char* const text = name.getString_rw();
    for (unsigned i = 0; i < name.getSize(); ++i)
        if (static_cast<unsigned char>(text[i]) < 0x20 || text[i] == 0x7F) text[i] = '_';
    limitLength(name);
    while (name.lastChar() == ' ' || name.lastChar() == '.') name.shorten(1);
}

}  // namespace

void MimeMessage2::extractPartsToFiles(ExtPtrArray& savedPaths, XString& directory, LogBase& log) {
    struct Level {
        MimeMessage2* node;
        int next;
    };
    GrowArray<Level, 16> levels;
    const auto visit = [&](MimeMessage2* node) {
        if (!node->isAlive()) return false;
        log.LogDataSb("contentType", node->m_contentType.m_type);
        if (!node->m_disposition.isEmpty()) log.LogDataSb("disposition", node->m_disposition);
        if (!node->m_filename.isEmpty()) log.LogDataSb("filename", node->m_filename);
        if (node->getNumParts() > 0) return levels.push(Level{node, 0});
        if (!node->m_filename.isEmpty()) node->saveToDirectory(savedPaths, directory, log);
        return false;
    };
    visit(this);
    while (!levels.isEmpty()) {
        Level& level = levels.back();
        if (level.next < level.node->getNumParts()) {
            MimeMessage2* child = level.node->getPart(level.next++);
            if (!child) continue;
            log.enterContext("subPart", log.m_verbose);
            if (!visit(child)) log.leaveContext();
            continue;
        }
        levels.pop();
        if (!levels.isEmpty()) log.leaveContext();
    }
}

// The number in a made-up name counts the files of this walk, from 1.
void MimeMessage2::saveToDirectory(ExtPtrArray& savedPaths, const XString& directory,
                                   LogBase& log) {
    const int codePage = m_charset.getCodePage();
    const bool isText = m_contentType.m_type.beginsWith("text/") && codePage != codepage::kNone;
    XString name, path;
    StringBuffer& text = name.getUtf8Sb_rw();
    text.setString(m_filename);
    makeSafe(text);
    if (text.isEmpty()) {
        text.append("part_");
        text.append(savedPaths.getSize() + 1);
        text.append(isText ? ".txt" : ".dat");
    }
    _zqFilePath::CombineDirAndFilename(directory, name, path);
    StringBuffer* const listed = StringBuffer::createNewSB(path.getUtf8());
    if (listed && !savedPaths.appendPtr(listed)) delete listed;
    log.logData("savingFile", path.getUtf8());
    // Kept on purpose: the text of such a part is not written, only its file made.
    if (isText && codePage != codepage::kUtf8) StringBuffer().saveToFileUtf8(path.getUtf8(), &log);
    else m_mimeBody.saveToFileUtf8(path.getUtf8(), &log);
}

// Kept on purpose: a name parameter that changes in letter case only stays.
void MimeMessage2::makeAttachmentFilenamesRelative(LogBase& log) {
    if (!isAlive()) return;
    TreeWalk walk(*this);
    for (MimeMessage2* node = this; node; node = walk.next()) {
        if (!node->isAlive()) continue;
        if (!node->m_filename.isEmpty()) {
            StringBuffer filename(node->m_filename);
            filename.stripDirectory();
            node->setFilenameUtf8(filename.getString(), log);
        }
        if (!node->m_contentType.m_name.isEmpty()) {
            StringBuffer name(node->m_contentType.m_name);
            name.stripDirectory();
            node->setNameUtf8(name.getString(), log);
        }
    }
}
