// SPDX-License-Identifier: Apache-2.0

// What a node keeps of how its body came.  body_set.cpp notes it, body_get.cpp asks for it.

#include <iterator>
#include <new>
#include <string_view>
#include <utility>

#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// Those that a node needs no memory for.
constexpr std::string_view kUsualCodings[] = {"",       "7bit",   "8bit",
                                              "binary", "base64", "quoted-printable"};
constexpr uint8_t kOther = std::size(kUsualCodings);

uint8_t placeOf(const StringBuffer& coding) {
    uint8_t i = 0;
    for (; i != kOther; ++i)
        if (coding.getSize() == kUsualCodings[i].size() &&
            bytes::equalIgnoreCase(coding.getString(), kUsualCodings[i].data(), coding.getSize()))
            break;
    return i;
}

}  // namespace

MimeMessage2::Received& MimeMessage2::Received::operator=(Received&& other) noexcept {
    stored = other.stored;
    label = other.label;
    codePage = other.codePage;
    m_usualCoding = other.m_usualCoding;
    std::swap(m_rest, other.m_rest);
    return *this;
}

bool MimeMessage2::Received::makeRest() {
    if (!m_rest) m_rest = notingRefusal(new (std::nothrow) Rest);
    return m_rest != nullptr;
}

void MimeMessage2::Received::copyFrom(const Received& other) {
    Received copy;
    copy.stored = other.stored;
    copy.label = other.label;
    copy.codePage = other.codePage;
    copy.m_usualCoding = other.m_usualCoding;
    if (other.m_rest && copy.makeRest()) {
        copy.m_rest->coding = other.m_rest->coding;
        copy.m_rest->bytes = other.m_rest->bytes;
    }
    *this = std::move(copy);
}

void MimeMessage2::Received::noteCoding(const StringBuffer& coding) {
    m_usualCoding = placeOf(coding);
    if (m_usualCoding == kOther && makeRest()) m_rest->coding.setString(coding);
}

bool MimeMessage2::Received::hadCoding(const StringBuffer& coding) const {
    if (placeOf(coding) != m_usualCoding) return false;
    return m_usualCoding != kOther || (m_rest && m_rest->coding.equalsIgnoreCase(coding));
}

void MimeMessage2::Received::takeBytes(DataBuffer& bytes) {
    if (makeRest()) m_rest->bytes.takeData(bytes);
}
