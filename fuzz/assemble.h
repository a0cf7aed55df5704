// SPDX-License-Identifier: Apache-2.0
#pragma once

// A well-made mail whose types, boundaries, charsets, codings and line ends a row of choices
// decides, damaged in a few places: it gets past the first checks.

#include "mail_words.h"
#include "target.h"

inline constexpr const char* kBoundaries[] = {"b",   "bb", "b-", "--", "=_alternative 0",
                                              "b c", "B",  ""};

inline std::string entity(Choices& choices, unsigned depth) {
    const char* const end = choices.pick(kLineEnds);
    const std::string type = choices.pick(kTypes), boundary = choices.pick(kBoundaries);
    const bool isMultipart = type.rfind("multipart", 0) == 0;
    std::string text = "Content-Type: " + type;
    if (isMultipart) text += "; boundary=\"" + boundary + "\"";
    else if (choices.below(2)) text += std::string("; charset=") + choices.pick(kCharsets);
    text += end;
    if (choices.below(2))
        text += std::string("Content-Transfer-Encoding: ") + choices.pick(kCodings) + end;
    if (choices.below(4) == 0)
        text += "Content-Disposition: attachment; filename=" + choices.bytes(9) + end;
    text += end;
    if (!isMultipart || depth > 6) {
        for (unsigned words = choices.below(12); words; --words) text += choices.pick(kMailWords);
        return text + choices.bytes(choices.below(40));
    }
    for (unsigned parts = choices.below(4); parts; --parts)
        text += "--" + (choices.below(8) ? boundary : choices.pick(kBoundaries)) + end +
                entity(choices, depth + 1) + end;
    return text + "--" + boundary + (choices.below(3) ? "--" : "") + end;
}

inline void damage(Choices& choices, std::string& mail) {
    for (unsigned n = choices.below(4); n && !mail.empty(); --n) {
        const size_t at = (choices.byte() * 256u + choices.byte()) % mail.size();
        const size_t length = choices.below(9);
        mail.replace(at, length, choices.pick(kMailWords));
    }
}

inline std::string assembledMail(Choices& choices) {
    std::string mail = choices.below(8) ? "" : "From a@b Mon Jan  1 00:00:00 2001\r\n";
    mail += "Subject: " + choices.bytes(12) + "\r\nMIME-Version: 1.0\r\n" + entity(choices, 0);
    damage(choices, mail);
    return mail;
}
