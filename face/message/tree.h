// SPDX-License-Identifier: Apache-2.0
#pragma once

// The state of a message: the engine's tree, the list of its parts, and the texts that were
// handed out as views.  All but the tree is made when it is asked for first, and goes when the
// message is changed.

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "face/message/bodies.h"
#include "face/result/attempt.h"
#include "foundation/LogNull.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "mime/MimeMessage2.h"
#include "mimetree/message.hpp"

namespace mimetree {

inline std::string_view view(const StringBuffer& s) { return {s.getString(), s.getSize()}; }
inline std::string_view view(const DataBuffer& d) {
    return {reinterpret_cast<const char*>(d.getData2()), d.getSize()};
}

namespace inner {

// Of an identifier such as "<a@b>".
std::string_view withoutAngles(std::string_view id);

}  // namespace inner

struct Tree {
    // Null stands for memory that ran out.
    explicit Tree(std::unique_ptr<MimeMessage2> root);

    // One entry a node, a parent before its children; entry 0 is the root.
    struct Slot {
        MimeMessage2* node;
        uint32_t parent = 0;
        uint32_t firstChild = 0;  // in m_children
        uint32_t childCount = 0;
        uint32_t depth = 0;
        uint32_t number = 0;  // among the parent's children, from 1
        uint32_t leaf = 0;    // leaves up to here, itself included
    };

    MimeMessage2& node(uint32_t index) const { return index == 0 ? *m_root : *m_slots[index].node; }
    const std::vector<Slot>& slots();
    Parts parts();
    Parts children(uint32_t index);
    bool isInDigest(uint32_t index);
    static uint32_t indexOf(const Part& part) { return part.m_index; }
    static Tree& of(const Part& part) { return *part.m_tree; }
    const Views& views();
    std::string_view joinedText(std::string_view type, const std::vector<Part>& shown);

    // Everything that was handed out is void, and the source is another message's.
    void changed();

    static Message messageOf(std::unique_ptr<Tree> tree);

    // What the message was read from: a copy, its own from now on, or the caller's.
    void keepSource(std::string_view source);
    void takeSource(DataBuffer& source);
    void borrowSource(std::string_view source) { m_source = source; }
    std::string_view source() const { return m_source; }

    // What `work`, which may throw, gives; an empty answer when memory runs out, from which on
    // ok() is false.
    template <class Work>
    auto answer(Work work) noexcept -> decltype(work()) {
        try {
            const inner::MemoryWatch watch;
            auto made = work();
            if (!watch.wasRefused()) return made;
        } catch (...) {
            inner::MemoryWatch::noteRefusal();  // for an operation that this is a part of
        }
        m_ok = false;
        return {};
    }

    // A text that is made once by `make`, which gives an optional<std::string>; views of it stay
    // good.  `kind` and `name` tell the texts of a part apart.
    enum class Kind : char {
        Type,
        Charset,
        Encoding,
        Disposition,
        Parameter,
        Name,
        Path,
        Field,
        Text,
        Uudecoded,
        UuName,
        Terminated,
        WithoutNul
    };
    template <class Make>
    std::optional<std::string_view> text(Kind kind, uint32_t part, std::string_view name,
                                         Make make) {
        return answer([&]() -> std::optional<std::string_view> {
            std::string key(1, static_cast<char>(kind));
            key.append(reinterpret_cast<const char*>(&part), sizeof part).append(name);
            if (const auto found = m_texts.find(key); found != m_texts.end()) return found->second;
            const inner::MemoryWatch watch;
            std::optional<std::string> made = make();
            if (!made || watch.wasRefused()) return std::nullopt;
            return m_texts.emplace(std::move(key), std::move(*made)).first->second;
        });
    }

    // A copy of a view that was handed out, with a NUL behind it, which a view need not have.
    std::string_view terminated(std::string_view text);
    // The same with U+FFFD in the place of each NUL in it.
    std::string_view withoutNul(std::string_view text);

    // `text` as it stands when it is in lower case already.
    std::string_view lowerCase(Kind kind, uint32_t part, std::string_view text);

    std::span<const Header> headers(uint32_t index);
    Addresses addresses(std::string_view field);
    std::optional<Part> partByCid(std::string_view cid);

    LogNull m_log;
    bool m_ok = true;
    std::unique_ptr<MimeMessage2> m_root;

private:
    struct Fields {
        std::string text;  // what the views of the list point into
        std::vector<Header> list;
    };

    template <class Make>
    std::string_view madeOf(std::string_view view, Kind kind, Make make);
    void buildSlots();
    void countLeaves();
    void buildParts();

    DataBuffer m_sourceBytes;  // unless they are borrowed
    std::string_view m_source;
    std::vector<Slot> m_slots;
    std::vector<Part> m_parts;     // in the order of m_slots
    std::vector<Part> m_children;  // those of one node stand together
    std::unique_ptr<Views> m_views;
    std::optional<std::unordered_map<std::string_view, Part>> m_byContentId;
    std::unordered_map<std::string, std::string> m_texts;
    std::unordered_map<uint32_t, Fields> m_fields;
    std::unordered_map<std::string, std::vector<Address>> m_addresses;
};

}  // namespace mimetree
