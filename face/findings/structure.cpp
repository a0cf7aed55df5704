// SPDX-License-Identifier: Apache-2.0
// Findings about how parts stand together.

#include "face/findings/entity.h"

namespace mimetree::inner::check {

namespace {

// Limit: deeper than any mail that people write; many readers stop earlier.
constexpr unsigned kDeep = 100;

}  // namespace

void signedParts(const Entity& e, Report& report) {
    if (e.part.type() == "multipart/signed" && e.part.children().size() != 2)
        report(e.at(), "the multipart/signed has ", e.part.children().size(),
               " parts, and not two");
}

void singleAlternative(const Entity& e, Report& report) {
    if (e.part.type() == "multipart/alternative" && e.part.children().size() == 1)
        report(e.at(), "the multipart/alternative has one part");
}

void nestedDeep(const Entity& e, Report& report) {
    if (e.depth == kDeep + 1) report(e.at(), "parts are nested more than ", size_t{kDeep}, " deep");
}

}  // namespace mimetree::inner::check
