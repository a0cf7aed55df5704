// SPDX-License-Identifier: Apache-2.0
// findings(): one walk for the message, and one for each message in it, outermost first, so that
// no more than one of their trees is there at a time.

#include "mimetree/findings.hpp"

#include "face/findings/walk.h"
#include "face/message/tree.h"
#include "face/result/attempt.h"

namespace mimetree {

namespace {

using inner::check::Origin;
using inner::check::Report;
using inner::check::Walk;

// Limit: each level of messages in messages costs a reading of all that is in it.
constexpr unsigned kMaxDepth = 32;

// What is no message has no findings of its own.
void walkThrough(const Origin& origin, Report& report, std::vector<Origin>& found) {
    const auto message = Message::parse(origin.text, {.source = SourceBytes::borrow});
    if (!message || message->source().data() != origin.text.data()) return;
    Walk(*message, origin, report).run(found);
}

std::vector<Finding> findingsOf(const Message& message, std::string_view source, Nested nested) {
    Report report;
    std::vector<Origin> level, next;
    Origin origin;
    origin.text = source;
    Walk(message, origin, report).run(next);
    if (nested == Nested::closed) next.clear();
    while (!next.empty() && next.front().depth <= kMaxDepth) {
        level.swap(next);
        next.clear();
        for (const Origin& embedded : level) walkThrough(embedded, report, next);
    }
    return report.take(source);
}

// The message as it would be written, read again: the places are those in its bytes.
Result<std::vector<Finding>> findingsOfWritten(const Message& message, Nested nested) {
    const Result<std::string> written = message.write();
    if (!written) return written.error();
    const auto again = Message::parse(*written, {.source = SourceBytes::borrow});
    if (!again) return std::vector<Finding>();
    return findingsOf(*again, *written, nested);
}

}  // namespace

Result<std::vector<Finding>> findings(const Message& message, Nested nested) noexcept {
    return inner::attempt([&]() -> Result<std::vector<Finding>> {
        if (message.source().empty()) return findingsOfWritten(message, nested);
        return findingsOf(message, message.source(), nested);
    });
}

}  // namespace mimetree
