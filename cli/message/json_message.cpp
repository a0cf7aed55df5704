// SPDX-License-Identifier: Apache-2.0
// Writes as it goes, so that no text and no attachment is held in another form.

#include "cli/message/json_message.h"

#include <cstdio>
#include <utility>

#include "cli/message/files.h"
#include "cli/message/json_document.h"
#include "cli/output/sha256.h"
#include "cli/output/sink.h"

using mimetree::Message;
using mimetree::OpenedPart;
using mimetree::OpenedParts;

namespace {

using Json = nlohmann::ordered_json;
using namespace std::chrono;

struct AddressMember {
    const char* member;
    const char* field;
};

constexpr AddressMember kAddressMembers[] = {
    {"from", "From"}, {"sender", "Sender"}, {"replyTo", "Reply-To"},
    {"to", "To"},     {"cc", "Cc"},         {"bcc", "Bcc"}};

// RFC 3339 5.6, which is ISO 8601; null for years that it has no form for.
Json timeOf(sys_seconds time, minutes zone, bool isZoneKnown) {
    const sys_seconds local = time + zone;
    const auto day = floor<days>(local);
    const year_month_day date(day);
    const hh_mm_ss clock(local - day);
    const int year = static_cast<int>(date.year());
    if (year < 0 || year > 9999) return nullptr;
    char text[64];
    int size = std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", year,
                             static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                             static_cast<int>(clock.hours().count()),
                             static_cast<int>(clock.minutes().count()),
                             static_cast<int>(clock.seconds().count()));
    const int east = static_cast<int>(zone.count()), away = east < 0 ? -east : east;
    if (!isZoneKnown) size += std::snprintf(text + size, sizeof text - 32, "Z");
    else
        size += std::snprintf(text + size, sizeof text - 32, "%c%02d:%02d", east < 0 ? '-' : '+',
                              away / 60, away % 60);
    return std::string(text, static_cast<size_t>(size));
}

Json factsOf(const Message& message) {
    const std::optional<mimetree::Date> date = message.date();
    return {
        {"subject", message.subject()},
        {"date", date ? timeOf(date->time, date->zone, date->zone_known) : Json(nullptr)},
        {"dateUtc", date ? timeOf(date->time, {}, /*isZoneKnown*/ false) : Json(nullptr)},
        {"messageId", message.message_id()},
    };
}

class Writer {
public:
    Writer(const JsonMore& more, Output& out) : m_more(more), m_out(out) {}

    void writeMessage(const char* opening, const Message& message) {
        writeMembers(opening, factsOf(message));
        for (const AddressMember& row : kAddressMembers)
            writeAddresses(row.member, message.addresses(row.field));
        if (m_more.text) writeText("text", message.text());
        if (m_more.html) writeText("html", message.html());
    }

    void writeAttachments(const OpenedParts& parts) {
        const char* separator = "";
        m_out.write(",\"attachments\":[");
        for (size_t i = 0; i < parts.size(); ++i)
            forEachFile(parts[i].part, Wanted::Files, [&](const File& file) {
                m_out.write(std::exchange(separator, ","));
                writeAttachment(parts[i], i, file);
            });
        m_out.write("]");
    }

private:
    void writeMembers(const char* opening, const Json& object) {
        const std::string text = jsonText(object);
        m_out.write(opening + text.substr(1, text.size() - 2));
    }

    void writeAddresses(const char* member, mimetree::Addresses addresses) {
        const char* separator = "";
        m_out.write(",\"" + std::string(member) + "\":[");
        for (const mimetree::Address& one : addresses) {
            m_out.write(separator + jsonText({{"name", one.name}, {"address", one.address}}));
            separator = ",";
        }
        m_out.write("]");
    }

    void writeText(const char* member, std::string_view text) {
        m_out.write(",\"" + std::string(member) + "\":");
        writeJsonString(text, m_sink);
    }

    void writeAttachment(const OpenedPart& at, size_t node, const File& file) {
        m_out.write("{\"node\":" + std::to_string(node));
        writeMembers(",", {{"part", jsonPartNumber(at)},
                           {"name", file.name},
                           {"contentType", file.type},
                           {"size", file.bytes.size()}});
        if (m_more.sha256) writeMembers(",", {{"sha256", sha256(file.bytes)}});
        if (m_more.base64) {
            m_out.write(",\"base64\":\"");
            writeBase64(file.bytes, m_sink);
            m_out.write("\"");
        }
        m_out.write("}");
    }

    const JsonMore& m_more;
    Output& m_out;
    const Sink m_sink = [this](std::string_view text) { m_out.write(text); };
};

}  // namespace

void writeJsonMessage(const char* opening, const Message& message, const JsonMore& more,
                      Output& out) {
    Writer(more, out).writeMessage(opening, message);
}

void writeJsonAttachments(const OpenedParts& parts, const JsonMore& more, Output& out) {
    Writer(more, out).writeAttachments(parts);
}
