// SPDX-License-Identifier: Apache-2.0
// Builder: each call checks and keeps a piece, and build() makes the tree of them from its
// leaves upwards, with the levels that it needs, the header of the message last.

#include "mimetree/builder.hpp"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "face/builder/failure.h"
#include "face/builder/leaves.h"
#include "face/builder/mailboxes.h"
#include "face/builder/values.h"
#include "face/builder/wire.h"
#include "face/message/tree.h"
#include "foundation/EncodingConvert.h"
#include "foundation/bytes/bytes.h"

namespace mimetree {

using namespace inner;

namespace {

// RFC 5322 3.6: those of the message in this order, all others behind them.
constexpr const char* kInFront[] = {"From", "Sender",  "Reply-To", "To",        "Cc",
                                    "Bcc",  "Subject", "Date",     "Message-ID"};

struct Field {
    std::string name;
    std::vector<std::string> values;  // of addresses, one a mailbox
};

std::string joined(const std::vector<std::string>& values) {
    std::string all;
    for (const std::string& value : values) all += (all.empty() ? "" : ", ") + value;
    return all;
}

std::string lowerCase(std::string_view name) {
    std::string lower(name);
    for (char& c : lower) c = bytes::lower(c);
    return lower;
}

void moveAll(Nodes& from, Nodes& to) {
    std::move(from.begin(), from.end(), std::back_inserter(to));
    from.clear();
}

void checkText(const char* what, std::string_view text) {
    if (text.size() >= 0xFFFFFFFFu) fail("larger than 4 GiB", Errc::too_large);
    if (!isUtf8(text)) fail(std::string("the ") + what + " is not in UTF-8");
}

}  // namespace

struct Builder::Plan {
    Result<void> state;  // the first error
    std::vector<Field> fields;
    std::unordered_map<std::string, size_t> onces;  // where those are that may stand once
    std::unordered_set<std::string> cids;           // of the pictures
    std::optional<std::string> text, html;
    Nodes pictures, files;
    TextForm form;

    template <class Step>
    static Builder& add(Builder& builder, Step step) noexcept {
        Plan* const plan = builder.m_plan.get();
        if (plan && plan->state) plan->state = answerOf([&] { step(*plan); });
        return builder;
    }

    Field* find(std::string_view once);
    Field& append(std::string_view name, std::vector<std::string> values);
    void addMailboxes(const char* name, std::vector<std::string> mailboxes);
    void addField(std::string_view name, std::string value);
    void addPicture(File file, std::string_view cid);
    void setText(std::optional<std::string>& where, const char* what, std::string_view given);
    void makeFields();
    NodePtr textLeaf(std::string_view content, const char* type) const;
    NodePtr body();
    void addHeader(MimeMessage2& root) const;
    NodePtr message();
};

// -- Fields

Field* Builder::Plan::find(std::string_view once) {
    const auto found = onces.find(lowerCase(once));
    return found == onces.end() ? nullptr : &fields[found->second];
}

Field& Builder::Plan::append(std::string_view name, std::vector<std::string> values) {
    if (standsOnce(name)) onces.emplace(lowerCase(name), fields.size());
    return fields.emplace_back(Field{std::string(name), std::move(values)});
}

void Builder::Plan::addMailboxes(const char* name, std::vector<std::string> mailboxes) {
    Field* const other = find(name);
    Field& field = other ? *other : append(name, {});
    std::move(mailboxes.begin(), mailboxes.end(), std::back_inserter(field.values));
}

void Builder::Plan::addField(std::string_view name, std::string value) {
    if (const Field* const other = find(name)) fail("more than one " + other->name);
    append(name, {std::move(value)});
}

// RFC 5322 3.6.2: several authors need a sender.
void Builder::Plan::makeFields() {
    const Field* const from = find("From");
    const std::string author = from ? from->values.front() : std::string();
    if (from && from->values.size() > 1 && !find("Sender")) addField("Sender", author);
    if (!find("Date")) addField("Date", dateNow());
    if (!find("Message-ID")) addField("Message-ID", "<" + token() + "@" + hostOf(author) + ">");
    if (!find("MIME-Version")) addField("MIME-Version", "1.0");
}

void Builder::Plan::addHeader(MimeMessage2& root) const {
    const auto add = [&](const Field& field) {
        const bool allowEmpty = !standsOnce(field.name);
        root.addHeaderFieldUtf8(field.name.c_str(), joined(field.values).c_str(), allowEmpty,
                                silentLog);
    };
    const auto isIn = [](const Field& field) {
        return [&field](const char* name) { return isSameName(field.name, name); };
    };
    for (const char* name : kInFront)
        for (const Field& field : fields)
            if (isSameName(field.name, name)) add(field);
    for (const Field& field : fields)
        if (std::none_of(std::begin(kInFront), std::end(kInFront), isIn(field))) add(field);
    for (const char* name :
         {"Content-Type", "Content-Transfer-Encoding", "Content-Disposition", "Content-ID"})
        root.moveHeaderToBottom(name, silentLog);
}

// -- Parts

void Builder::Plan::setText(std::optional<std::string>& where, const char* what,
                            std::string_view given) {
    if (where) fail(std::string("more than one ") + what);
    checkText(what, given);
    where = given;
}

void Builder::Plan::addPicture(File file, std::string_view cid) {
    file.contentId = contentId(cid);
    if (!cids.insert(file.contentId).second) fail("two pictures are called " + std::string(cid));
    pictures.push_back(fileLeaf(file));
}

NodePtr Builder::Plan::textLeaf(std::string_view content, const char* type) const {
    NodePtr leaf = newNode();
    setLeafText(*leaf, content, type, form);
    return leaf;
}

NodePtr Builder::Plan::body() {
    Nodes texts, shown, all;
    const bool hasFiles = !pictures.empty() || !files.empty();
    if (text || (!html && !hasFiles)) texts.push_back(textLeaf(text.value_or(""), "text/plain"));
    if (html) texts.push_back(textLeaf(*html, "text/html"));
    if (NodePtr part = wrapped(std::move(texts), &MimeMessage2::newMultipartAlternative))
        shown.push_back(std::move(part));
    if (html) moveAll(pictures, shown);
    if (NodePtr part = wrapped(std::move(shown), &MimeMessage2::newMultipartRelated))
        all.push_back(std::move(part));
    moveAll(pictures, all);  // those that no HTML shows
    moveAll(files, all);
    return wrapped(std::move(all), &MimeMessage2::newMultipartMixed);
}

NodePtr Builder::Plan::message() {
    constexpr const char* kHint = "; encoding(\"8bit\") allows them";
    const Bits bits = form.coding == "8bit" ? Bits::Eight : Bits::Seven;
    makeFields();
    NodePtr root = body();
    if (is8bit(*root) && bits == Bits::Seven)
        fail(std::string("an attached message needs 8 bits") + kHint);
    addHeader(*root);
    StringBuffer header;
    root->getMimeHeader(header, silentLog);
    checkHeader(viewOf(header), bits, kHint);
    return root;
}

// -- The face

Builder::Builder() noexcept : m_plan(new (std::nothrow) Plan) {}
Builder::Builder(Builder&& other) noexcept
    : m_plan(std::exchange(other.m_plan, std::move(Builder().m_plan))) {}
Builder& Builder::operator=(Builder&& other) noexcept {
    m_plan = std::exchange(other.m_plan, std::move(Builder().m_plan));
    return *this;
}
Builder::~Builder() = default;

Builder& Builder::from(std::string_view mailboxes) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("From", mailboxesOf(mailboxes)); });
}
Builder& Builder::to(std::string_view mailboxes) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("To", mailboxesOf(mailboxes)); });
}
Builder& Builder::cc(std::string_view mailboxes) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("Cc", mailboxesOf(mailboxes)); });
}
Builder& Builder::bcc(std::string_view mailboxes) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("Bcc", mailboxesOf(mailboxes)); });
}
Builder& Builder::reply_to(std::string_view mailboxes) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("Reply-To", mailboxesOf(mailboxes)); });
}
Builder& Builder::from(std::string_view name, std::string_view address) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("From", {mailboxOf(name, address)}); });
}
Builder& Builder::to(std::string_view name, std::string_view address) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("To", {mailboxOf(name, address)}); });
}
Builder& Builder::cc(std::string_view name, std::string_view address) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("Cc", {mailboxOf(name, address)}); });
}
Builder& Builder::bcc(std::string_view name, std::string_view address) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addMailboxes("Bcc", {mailboxOf(name, address)}); });
}
Builder& Builder::reply_to(std::string_view name, std::string_view address) noexcept {
    return Plan::add(*this,
                     [&](Plan& p) { p.addMailboxes("Reply-To", {mailboxOf(name, address)}); });
}

Builder& Builder::subject(std::string_view subject) noexcept { return header("Subject", subject); }

Builder& Builder::date(std::chrono::sys_seconds time, std::chrono::minutes zone) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.addField("Date", dateOf(time, zone)); });
}

Builder& Builder::message_id(std::string_view id) noexcept { return header("Message-ID", id); }

Builder& Builder::header(std::string_view name, std::string_view value) noexcept {
    return Plan::add(*this, [&](Plan& p) {
        checkFieldName(std::string(name), "header()");
        p.addField(name, fieldValue(std::string(name), value));
    });
}

Builder& Builder::text(std::string_view text) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.setText(p.text, "text", text); });
}

Builder& Builder::html(std::string_view html) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.setText(p.html, "HTML text", html); });
}

Builder& Builder::attach(const std::string& path, std::string_view name,
                         std::string_view type) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.files.push_back(attachedFile(path, name, type)); });
}

Builder& Builder::attach(std::span<const std::byte> bytes, std::string_view name,
                         std::string_view type) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.files.push_back(attachedFile(bytes, name, type)); });
}

Builder& Builder::inline_image(const std::string& path, std::string_view cid,
                               std::string_view type) noexcept {
    return Plan::add(*this, [&](Plan& p) {
        const DataBuffer bytes = fileBytes(path);
        p.addPicture({viewOf(bytes), fileNameOf(path), std::string(type), "inline"}, cid);
    });
}

Builder& Builder::inline_image(std::span<const std::byte> bytes, std::string_view cid,
                               std::string_view type) noexcept {
    return Plan::add(*this, [&](Plan& p) {
        p.addPicture({viewOf(bytes), "", std::string(type), "inline"}, cid);
    });
}

Builder& Builder::charset(std::string_view charset) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.form.charset = charsetOf(charset).getName(); });
}

Builder& Builder::encoding(std::string_view encoding) noexcept {
    return Plan::add(*this, [&](Plan& p) { p.form.coding = codingOf(encoding); });
}

Result<Message> Builder::build() noexcept {
    const Builder taken(std::move(*this));
    Plan* const plan = taken.m_plan.get();
    if (!plan) return outOfMemory();
    if (!plan->state) return copyOf(plan->state.error());
    return answerOf([&] { return Message(std::make_unique<Tree>(plan->message())); });
}

}  // namespace mimetree
