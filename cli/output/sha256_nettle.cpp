// SPDX-License-Identifier: Apache-2.0

#include <nettle/base16.h>
#include <nettle/sha2.h>
#include <nettle/version.h>

#include "cli/output/sha256.h"

#define TEXT_OF(number) #number
#define VERSION_OF(major, minor) "nettle " TEXT_OF(major) "." TEXT_OF(minor)

std::string_view digestLibrary() {
    return VERSION_OF(NETTLE_VERSION_MAJOR, NETTLE_VERSION_MINOR);
}

std::string sha256(std::string_view bytes) {
    sha256_ctx state;
    sha256_init(&state);
    sha256_update(&state, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
    uint8_t digest[SHA256_DIGEST_SIZE];
    sha256_digest(&state, sizeof digest, digest);
    std::string text(BASE16_ENCODE_LENGTH(sizeof digest), '\0');
    base16_encode_update(text.data(), sizeof digest, digest);
    return text;
}
