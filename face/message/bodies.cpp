// SPDX-License-Identifier: Apache-2.0
// What a reader shows of a message, and what it offers as a file.  Three walks over the list of
// parts, none of them recursive: which leaves are texts, what each container has to offer (from
// the back, so that children come first), and what of it is shown (from the front).

#include "face/message/bodies.h"

#include <algorithm>
#include <iterator>

#include "face/message/tree.h"
#include "face/message/uuencode.h"

namespace mimetree {

namespace {

// What a part has to show.
enum Offer : uint8_t { kNothing = 0, kPlain = 1, kHtml = 2 };

enum class Container { Mixed, Alternative, Related, Signed };

Container containerOf(std::string_view type) {
    if (type == "multipart/alternative") return Container::Alternative;
    if (type == "multipart/related") return Container::Related;
    if (type == "multipart/signed") return Container::Signed;
    return Container::Mixed;
}

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// Text for programs, which nobody reads as it stands.
bool isData(std::string_view type) {
    return isOneOf(type, {"text/calendar", "text/vcard", "text/x-vcard", "text/directory",
                          "text/csv", "text/tab-separated-values", "text/xml", "text/css",
                          "text/javascript", "text/ecmascript", "text/rtf", "text/rfc822-headers",
                          "text/x-amp-html", "text/watch-html"});
}

bool isMedia(std::string_view type) {
    return type.starts_with("image/") || type.starts_with("audio/") || type.starts_with("video/") ||
           type.starts_with("font/");
}

bool isSignature(std::string_view type) {
    return isOneOf(type, {"application/pgp-signature", "application/pkcs7-signature",
                          "application/x-pkcs7-signature"});
}

// Tolerated: "inline filename=x", where a semicolon is missing.
bool isInline(const Part& part) { return part.disposition().starts_with("inline"); }

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n\f\v") == std::string_view::npos;
}

// The rules in the order of RuleId, each with what it makes of a part.
struct RuleRow {
    RuleId id;
    Role role;
    Rule rule;
};

constexpr RuleRow kRules[] = {
    {RuleId::Container, Role::Container, {"container", "holds parts"}},
    {RuleId::EmptyText, Role::Container, {"empty-text", "an empty text beside another form"}},
    {RuleId::InlineText, Role::Body, {"inline-text", "a text that is no attachment"}},
    {RuleId::OtherText, Role::Body, {"other-text", "text of another kind, shown as plain text"}},
    {RuleId::BestForm, Role::Body, {"best-form", "the best form of an alternative"}},
    {RuleId::RelatedRoot, Role::Body, {"related-root", "the root of a multipart/related"}},
    {RuleId::SignedText, Role::Body, {"signed-text", "what is signed"}},
    {RuleId::Undivided, Role::Body, {"undivided", "a multipart without its boundary, shown whole"}},
    {RuleId::Declared, Role::Attachment, {"declared", "Content-Disposition says so"}},
    {RuleId::NamedText, Role::Attachment, {"named-text", "a text with a file name"}},
    {RuleId::NotShown, Role::Attachment, {"not-shown", "nothing that a text shows"}},
    {RuleId::OtherForm, Role::Inline, {"other-form", "another form of what is shown"}},
    {RuleId::Embedded, Role::Inline, {"embedded", "belongs into the text"}},
    {RuleId::Signature, Role::Inline, {"signature", "signs what is shown"}},
};
constexpr bool isInFront(const RuleRow& a, const RuleRow& b) { return a.id < b.id; }
static_assert(std::is_sorted(std::begin(kRules), std::end(kRules), isInFront) &&
              std::size(kRules) == static_cast<size_t>(RuleId::Signature) + 1);

const RuleRow& rowOf(RuleId id) { return kRules[static_cast<size_t>(id)]; }

class BodyRule {
public:
    explicit BodyRule(Tree& tree)
        : m_tree(tree), m_slots(tree.slots()), m_parts(tree.parts()), m_offers(m_slots.size()) {}

    Views run() {
        findTexts();
        gatherOffers();
        Views views;
        views.rules.reserve(m_slots.size());
        std::vector<bool> shown(m_slots.size());
        views.texts = show(kPlain, shown);
        views.htmls = show(kHtml, shown);
        for (uint32_t i = 0; i < m_slots.size(); ++i) {
            views.rules.push_back(ruleOf(i, shown[i]));
            const Role role = roleOf(views.rules.back());
            if (role == Role::Attachment) views.attachments.push_back(m_parts[i]);
            if (role == Role::Inline) views.inlineParts.push_back(m_parts[i]);
        }
        for (std::vector<Part>* list :
             {&views.attachments, &views.inlineParts, &views.texts, &views.htmls})
            list->shrink_to_fit();
        return views;
    }

private:
    bool isLeaf(uint32_t i) const { return m_slots[i].childCount == 0; }
    bool isRoot(uint32_t i) const { return i == 0; }

    bool isIn(uint32_t i, Container container) const {
        return !isRoot(i) && containerOf(m_parts[m_slots[i].parent].type()) == container;
    }

    // RFC 2183 2.8: a disposition that is not known is that of an attachment.
    // Tolerated: an unknown one of a text without a name, which is but a mistake.
    bool isDeclaredFile(const Part& part) const {
        const std::string_view disposition = part.disposition();
        if (disposition.empty() || isInline(part)) return false;
        return disposition.starts_with("attachment") || !part.is_text() ||
               !part.declared_name().empty();
    }

    // Tolerated: a multipart that could not be taken apart, which is shown as it stands.
    // RFC 2046 4.1.4: text of an unknown subtype is shown as plain text, but not in place of
    // what has a better form.
    Offer kindOf(uint32_t i) const {
        const Part& part = m_parts[i];
        const std::string_view type = part.type();
        if (part.is_multipart()) return part.bytes().empty() ? kNothing : kPlain;
        if (!part.is_text() || inner::isUuencoded(part.node())) return kNothing;
        if (type == "text/html") return kHtml;
        if (type == "text/plain") return kPlain;
        return isData(type) || isIn(i, Container::Alternative) ? kNothing : kPlain;
    }

    // A name makes a text a file, unless it is the first text of the message or stands where
    // only bodies do.
    bool isNamedFile(uint32_t i, bool isFirst) const {
        return !isFirst && !m_parts[i].declared_name().empty() && !isInline(m_parts[i]) &&
               !isIn(i, Container::Alternative) && !isIn(i, Container::Related);
    }

    void findTexts() {
        bool isFirst = true;
        for (uint32_t i = 0; i < m_slots.size(); ++i) {
            if (!isLeaf(i) || isDeclaredFile(m_parts[i])) continue;
            const Offer kind = kindOf(i);
            if (kind == kNothing || isNamedFile(i, isFirst)) continue;
            m_offers[i] = kind;
            isFirst = false;
        }
    }

    bool isEmptyText(uint32_t i) const { return isLeaf(i) && isBlank(m_parts[i].text()); }

    void gatherOffers() {
        m_isEmpty.resize(m_slots.size());
        for (uint32_t i = 0; i < m_slots.size(); ++i)
            m_isEmpty[i] = m_offers[i] != kNothing && isEmptyText(i);
        for (uint32_t i = static_cast<uint32_t>(m_slots.size()); i-- > 1;) {
            const uint32_t parent = m_slots[i].parent;
            if (!m_isEmpty[i]) m_offers[parent] |= m_offers[i];
        }
    }

    uint8_t offerOf(const Part& part) const {
        const uint32_t i = m_tree.indexOf(part);
        return m_isEmpty[i] ? uint8_t{kNothing} : m_offers[i];
    }

    // The last of the best forms (RFC 2046 5.1.4); null when there is none.  Plain text that
    // comes without HTML is better than a footer below HTML.
    const Part* best(Parts children, Offer wanted) const {
        const Part* exact = nullptr;
        const Part* good = nullptr;
        const Part* any = nullptr;
        for (const Part& child : children) {
            const uint8_t offer = offerOf(child);
            if (offer == kPlain) exact = &child;
            if (offer & wanted) good = &child;
            if (offer) any = &child;
        }
        if (wanted == kPlain && exact) return exact;
        return good ? good : any;
    }

    // RFC 2387 3.2: the part that "start" names, or else the first.
    // Tolerated: a root that shows nothing, the first one that does taking its place.
    const Part* relatedRoot(const Part& related, Parts children) const {
        const Part* root = &children.front();
        const std::string_view start = related.parameter("start").value_or(std::string_view());
        const auto isNamed = [&](const Part& child) {
            return !child.content_id().empty() &&
                   start.find(child.content_id()) != std::string_view::npos;
        };
        if (const auto at = std::find_if(children.begin(), children.end(), isNamed);
            !start.empty() && at != children.end())
            root = &*at;
        if (offerOf(*root)) return root;
        const auto at = std::find_if(children.begin(), children.end(),
                                     [&](const Part& child) { return offerOf(child) != 0; });
        return at == children.end() ? root : &*at;
    }

    // The leaves that are shown to somebody who prefers `wanted`, in reading order.
    std::vector<Part> show(Offer wanted, std::vector<bool>& shown) const {
        std::vector<Part> texts;
        std::vector<bool> visible(m_slots.size());
        visible[0] = true;
        for (uint32_t i = 0; i < m_slots.size(); ++i) {
            if (!visible[i] || !m_offers[i]) continue;
            if (isLeaf(i)) {
                texts.push_back(m_parts[i]);
                shown[i] = true;
                continue;
            }
            const Parts children = m_parts[i].children();
            const Part* only = nullptr;
            switch (containerOf(m_parts[i].type())) {
                case Container::Mixed:
                    for (const Part& child : children) visible[m_tree.indexOf(child)] = true;
                    continue;
                case Container::Alternative: only = best(children, wanted); break;
                case Container::Related: only = relatedRoot(m_parts[i], children); break;
                case Container::Signed: only = &children.front(); break;
            }
            if (only) visible[m_tree.indexOf(*only)] = true;
        }
        return texts;
    }

    RuleId ruleOf(uint32_t i, bool isShown) const {
        if (isShown) return shownBy(i);
        const Part& part = m_parts[i];
        if (!isLeaf(i) || part.is_multipart()) return RuleId::Container;
        if (isDeclaredFile(part)) return RuleId::Declared;
        if (m_offers[i]) return m_isEmpty[i] ? RuleId::EmptyText : RuleId::OtherForm;
        return pieceBy(i).value_or(isNamedText(part) ? RuleId::NamedText : RuleId::NotShown);
    }

    bool isNamedText(const Part& part) const {
        return part.is_text() && !isData(part.type()) && !part.declared_name().empty();
    }

    RuleId shownBy(uint32_t i) const {
        const std::string_view type = m_parts[i].type();
        if (m_parts[i].is_multipart()) return RuleId::Undivided;
        if (isIn(i, Container::Alternative)) return RuleId::BestForm;
        if (isIn(i, Container::Related)) return RuleId::RelatedRoot;
        if (isIn(i, Container::Signed)) return RuleId::SignedText;
        return isOneOf(type, {"text/plain", "text/html"}) ? RuleId::InlineText : RuleId::OtherText;
    }

    // Of what belongs to the body: the other forms of an alternative, the pieces of a compound
    // document, media that are to be seen where they stand, and signatures.
    std::optional<RuleId> pieceBy(uint32_t i) const {
        const Part& part = m_parts[i];
        const bool isRelated = isIn(i, Container::Related), isSigned = isIn(i, Container::Signed);
        const bool hasId = !isRoot(i) && !part.content_id().empty();
        const bool isHere = isMedia(part.type()) && (isInline(part) || hasId || isRelated);
        std::optional<RuleId> rule;
        if (isIn(i, Container::Alternative)) {
            if (part.declared_name().empty()) rule = RuleId::OtherForm;
        } else if (isSigned) {
            if (isSignature(part.type())) rule = RuleId::Signature;
        } else if (isHere || (isRelated && (hasId || part.type() == "text/css"))) {
            rule = RuleId::Embedded;
        }
        return rule;
    }

    Tree& m_tree;
    const std::vector<Tree::Slot>& m_slots;
    const Parts m_parts;
    std::vector<uint8_t> m_offers;  // of a container, what is in it but for empty texts
    std::vector<bool> m_isEmpty;
};

std::string joined(const std::vector<Part>& texts) {
    std::string whole;
    for (const Part& part : texts) {
        const std::string_view text = part.text();
        if (!whole.empty() && whole.back() != '\n' && !text.empty())
            whole += whole.find("\r\n") != std::string::npos ? "\r\n" : "\n";
        whole += text;
    }
    return whole;
}

}  // namespace

Role roleOf(RuleId rule) { return rowOf(rule).role; }

Views viewsOf(Tree& tree) { return BodyRule(tree).run(); }

const Views& Tree::views() {
    if (!m_views) m_views = std::make_unique<Views>(viewsOf(*this));
    return *m_views;
}

std::string_view Tree::joinedText(std::string_view type, const std::vector<Part>& shown) {
    std::vector<Part> texts;
    for (const Part& part : shown)
        if ((part.type() == "text/html") == (type == "text/html")) texts.push_back(part);
    if (texts.empty()) return {};
    if (texts.size() == 1) return texts.front().text();
    return text(Kind::Text, 0, type, [&] { return std::optional(joined(texts)); })
        .value_or(std::string_view());
}

std::string_view Message::text() const noexcept {
    return tree().answer([&] { return tree().joinedText("text/plain", tree().views().texts); });
}

std::string_view Message::html() const noexcept {
    return tree().answer([&] { return tree().joinedText("text/html", tree().views().htmls); });
}

Parts Message::attachments() const noexcept {
    return tree().answer([&]() -> Parts { return tree().views().attachments; });
}

Parts Message::inline_parts() const noexcept {
    return tree().answer([&]() -> Parts { return tree().views().inlineParts; });
}

Parts Message::body_parts(TextKind preferred) const noexcept {
    return tree().answer([&]() -> Parts {
        return preferred == TextKind::plain ? tree().views().texts : tree().views().htmls;
    });
}

bool Part::is_attachment() const noexcept {
    return m_tree->answer(
        [&] { return roleOf(m_tree->views().rules[m_index]) == Role::Attachment; });
}

bool Part::is_body() const noexcept {
    return m_tree->answer([&] { return roleOf(m_tree->views().rules[m_index]) == Role::Body; });
}

Rule Part::rule() const noexcept {
    return m_tree->answer([&] { return rowOf(m_tree->views().rules[m_index]).rule; });
}

}  // namespace mimetree
