// SPDX-License-Identifier: Apache-2.0
#pragma once

// A set of byte values that reads like the grammar it comes from:
//   constexpr ByteSet kToken = ByteSet().range('!', '~').without("()<>@,;:\\\"/[]?=");

namespace mimetree::inner {

class ByteSet {
public:
    constexpr ByteSet() = default;
    constexpr explicit ByteSet(const char* members) { put(members, true); }

    constexpr ByteSet range(char first, char last) const {
        ByteSet set = *this;
        for (unsigned c = static_cast<unsigned char>(first); c <= static_cast<unsigned char>(last);
             ++c)
            set.m_has[c] = true;
        return set;
    }
    constexpr ByteSet with(const char* members) const {
        ByteSet set = *this;
        set.put(members, true);
        return set;
    }
    constexpr ByteSet without(const char* members) const {
        ByteSet set = *this;
        set.put(members, false);
        return set;
    }
    constexpr bool has(char c) const { return m_has[static_cast<unsigned char>(c)]; }

private:
    constexpr void put(const char* members, bool value) {
        for (; *members; ++members) m_has[static_cast<unsigned char>(*members)] = value;
    }

    bool m_has[256] = {};
};

// RFC 2045 5.1: a token is any printable US-ASCII byte that is not a tspecial.
constexpr ByteSet kTokenBytes = ByteSet().range('!', '~').without("()<>@,;:\\\"/[]?=");

// RFC 5322 3.6.8: a field name is printable US-ASCII without the colon.
constexpr ByteSet kFieldNameBytes = ByteSet().range('!', '~').without(":");

}  // namespace mimetree::inner
