// SPDX-License-Identifier: Apache-2.0

// Everything about a mail that the input assembles.

#include "assemble.h"
#include "laws.h"

FUZZ_TARGET(assembled_fuzz) {
    Choices choices(data, size);
    const bool asText = choices.below(2);
    const std::string mail = assembledMail(choices);
    MimeMessage2 message;
    load(message, mail, asText);
    readAll(message);
    checkWriting(message, asText);
    checkXml(message);
    checkLog(mail, asText);
    checkFileNames(message);
}
