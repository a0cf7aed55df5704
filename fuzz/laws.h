// SPDX-License-Identifier: Apache-2.0
#pragma once

// What holds for every mail.

#include "mime/MimeMessage2.h"
#include "target.h"

inline std::string bytesOf(const StringBuffer& s) { return {s.getString(), s.getSize()}; }
inline std::string bytesOf(const DataBuffer& d) {
    return d.getSize() ? std::string(reinterpret_cast<const char*>(d.getData2()), d.getSize())
                       : std::string();
}

void load(MimeMessage2& message, const std::string& text, bool asText);
std::string written(const MimeMessage2& message);

// Asks everything that can be asked without a change.
void readAll(MimeMessage2& message);

// Writing and reading again comes to rest, and what is written never swells.
void checkWriting(const MimeMessage2& message, bool asText);

// XML gives back a tree of the same shape with as many fields.
void checkXml(MimeMessage2& message);

// A verbose log of the load has the lines that it was told, and no other.
void checkLog(const std::string& text, bool asText);

// Attachments become files of the folder that was named.
void checkFileNames(MimeMessage2& message);
