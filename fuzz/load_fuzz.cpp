// SPDX-License-Identifier: Apache-2.0

// A mail from the input: as bytes or as text, raw, or put together from the words that mail is
// made of, which reaches the parsers far more often.

#include "laws.h"
#include "mail_words.h"

FUZZ_TARGET(load_fuzz) {
    Choices choices(data, size);
    const uint8_t dress = choices.byte();
    const bool isSqueezed = dress & 1, asText = dress & 2;
    MimeMessage2 message;
    const std::string mail = isSqueezed ? squeezed(choices) : choices.rest();
    load(message, mail, asText);
    readAll(message);
    checkWriting(message, asText);
    checkXml(message);
    checkLog(mail, asText);
}
