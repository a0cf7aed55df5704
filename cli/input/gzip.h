// SPDX-License-Identifier: Apache-2.0
#pragma once

// Decompression of gzip (RFC 1952) by zlib: gzip_zlib.cpp, or gzip_none.cpp in a build without.

#include <memory>
#include <string_view>

#include "mimetree/mailbox.hpp"

bool isGzip(std::string_view front);

class GzipSource : public mimetree::ByteSource {
public:
    // What is read from now on belongs to another message.
    virtual void beginMessage() noexcept {}
};

// What `from` holds, decompressed; several members behind each other are one.
std::unique_ptr<GzipSource> unzipped(std::unique_ptr<mimetree::ByteSource> from);

// The errors of its reads, in front of all that the system has.
constexpr int kGzipDamaged = 1'000'001;
constexpr int kGzipBomb = 1'000'002;
constexpr int kGzipUnknown = 1'000'003;

// "zlib 1.2.13", or "" in a build without.
std::string_view gzipLibrary();
