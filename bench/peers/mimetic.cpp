// SPDX-License-Identifier: Apache-2.0

// mimetic: leaves are decoded, but it converts no charset, checks no text, and leaves a digest's
// messages closed: it does less than the others on mails that have these.

#include <mimetic/mimetic.h>

#include <sstream>

#include "peer.h"

namespace {

template <class Decoder>
uint64_t decodedSize(const std::string& body) {
    std::string bytes;
    bytes.reserve(body.size());
    Decoder decoder;
    mimetic::decode(body.begin(), body.end(), decoder, std::back_inserter(bytes));
    return bytes.size();
}

uint64_t decoded(mimetic::MimeEntity& entity) {
    auto& parts = entity.body().parts();
    uint64_t sum = 0;
    for (mimetic::MimeEntity* part : parts) sum += decoded(*part);
    if (!parts.empty()) return sum;
    const std::string& coding = entity.header().contentTransferEncoding().mechanism();
    if (coding == "base64") return decodedSize<mimetic::Base64::Decoder>(entity.body());
    if (coding == "quoted-printable") return decodedSize<mimetic::QP::Decoder>(entity.body());
    return entity.body().size();
}

void* keep(std::string_view mail) { return new mimetic::MimeEntity(mail.begin(), mail.end()); }

uint64_t load(std::string_view mail) {
    mimetic::MimeEntity entity(mail.begin(), mail.end());
    return decoded(entity);
}

uint64_t write(void* kept) {
    std::ostringstream out;
    out << *static_cast<mimetic::MimeEntity*>(kept);
    return out.str().size();
}

void drop(void* kept) { delete static_cast<mimetic::MimeEntity*>(kept); }

}  // namespace

int main(int argc, char** argv) { return measureAll({load, keep, write, drop}, argc, argv); }
