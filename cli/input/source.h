// SPDX-License-Identifier: Apache-2.0
#pragma once

// The bytes of one FILE, front to back.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cli/input/gzip.h"
#include "mimetree/mailbox.hpp"

// A source whose front can be looked at before it is read.
class Source : public mimetree::ByteSource {
public:
    // About as large as `expected`.
    explicit Source(std::unique_ptr<mimetree::ByteSource> from, uint64_t expected = 0)
        : m_from(std::move(from)), m_expected(expected) {}
    explicit Source(std::unique_ptr<GzipSource> from)
        : m_from(std::move(from)), m_gzip(static_cast<GzipSource*>(m_from.get())) {}

    std::ptrdiff_t read(char* to, size_t size) noexcept override;

    // Up to `size` bytes of what comes next; fewer at the end and after an error.
    std::string_view front(size_t size);

    // What is read from now on belongs to another message.
    void beginMessage() const {
        if (m_gzip) m_gzip->beginMessage();
    }

    // Why a read failed; null if none did.
    const char* error() const;

    // Appends all that is left; why it could not be read, or null.
    const char* readAll(std::string& bytes);

private:
    std::unique_ptr<mimetree::ByteSource> m_from;
    const uint64_t m_expected = 0;
    GzipSource* m_gzip = nullptr;  // m_from, if it is one
    std::string m_front;           // read already
    std::ptrdiff_t m_last = 1;     // what the source answered last
};

// A file, or standard input ("-"), decompressed if it is gzip.  Null, and errno is set, when it
// cannot be opened.  What is read of the file is added to the counter, if one is given.
std::unique_ptr<Source> openSource(const std::string& path,
                                   std::atomic<uint64_t>* counter = nullptr);

// The same for bytes in memory, which must stay.
std::unique_ptr<Source> sourceOf(std::string_view bytes);
