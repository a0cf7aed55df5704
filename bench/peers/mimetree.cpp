// SPDX-License-Identifier: Apache-2.0

// This engine, measured as the others are.

#include "../walk.h"
#include "foundation/DataBuffer.h"
#include "peer.h"

namespace {

uint64_t load(std::string_view mail) { return loadAndWalk(mail.data(), mail.size()); }

void* keep(std::string_view mail) {
    auto* const message = new MimeMessage2;
    loadBytes(*message, mail.data(), static_cast<unsigned>(mail.size()));
    return message;
}

uint64_t write(void* kept) {
    LogNull log;
    DataBuffer out;
    static_cast<MimeMessage2*>(kept)->getMimeTextDb(out, /*bodyOnly*/ false, log);
    return out.getSize();
}

void drop(void* kept) { delete static_cast<MimeMessage2*>(kept); }

}  // namespace

int main(int argc, char** argv) { return measureAll({load, keep, write, drop}, argc, argv); }
