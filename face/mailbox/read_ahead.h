// SPDX-License-Identifier: Apache-2.0
#pragma once

// The bytes of a source that Mbox is at, as far as it asked for them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "mimetree/mailbox.hpp"

namespace mimetree::inner {

class ReadAhead {
public:
    enum class Fill { done, out_of_memory, too_large };

    explicit ReadAhead(std::unique_ptr<ByteSource> source) noexcept : m_source(std::move(source)) {}
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    ~ReadAhead();

    // Reads until `n` bytes are held, or all that there are: up to the end or a failed read.
    Fill fill(size_t n) noexcept;
    // The same for a chunk more than are held.
    Fill fillMore() noexcept { return fill(m_end - m_begin + 1); }

    std::string_view held() const noexcept { return {m_memory + m_begin, m_end - m_begin}; }
    // The held bytes, to be changed in place, and one behind them.
    char* data() noexcept { return m_memory + m_begin; }
    bool isAtEnd() const noexcept { return m_isAtEnd; }    // nothing follows what is held
    uint64_t offset() const noexcept { return m_offset; }  // of held() in the source
    int failure() const noexcept { return m_failure; }     // the errno that a failed read gave

    void drop(size_t n) noexcept {
        m_begin += n;
        m_offset += n;
    }

private:
    bool makeRoom(size_t n) noexcept;

    std::unique_ptr<ByteSource> m_source;
    char* m_memory = nullptr;
    size_t m_capacity = 0;
    size_t m_begin = 0, m_end = 0;  // what is held
    uint64_t m_offset = 0;
    bool m_isAtEnd = false;
    int m_failure = 0;
};

}  // namespace mimetree::inner
