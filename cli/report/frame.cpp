// SPDX-License-Identifier: Apache-2.0
// The mail's HTML is not taken apart: whatever a browser makes of it stands in a sandbox without
// any permission and under a policy that loads nothing.  Some elements escape the policy, for links
// connect ahead, also where following them is forbidden, and frames may hold links in another coat;
// so they lose their names.

#include "cli/report/frame.h"

#include <algorithm>

#include "cli/report/markup.h"
#include "cli/report/pictures.h"
#include "foundation/bytes/bytes.h"

namespace bytes = mimetree::inner::bytes;

namespace {

// Limit: of a URL, which might not end.  RFC 5322 2.1.1: what it names is no longer than a line.
constexpr size_t kLongestUrl = 3 * 998;

struct Renamed {
    std::string_view tag, as;
};

// To what may stand where they may, and ends or formats as they do.
constexpr Renamed kRenamed[] = {
    {"<link", "<meta"}, {"<area", "<wbr"}, {"<a", "<u"}, {"</a", "</u"}, {"<iframe", "<iframed"}};
constexpr std::string_view kTagNameEnds = " \t\r\n\f/>";

// Shows where links were; in front of the mail's styles.
constexpr std::string_view kStyleOfLinks = "<style>u[href]{color:#00e}</style>";

bool startsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           bytes::equalIgnoreCase(text.data(), word.data(), word.size());
}

class FrameWriter {
public:
    FrameWriter(const mimetree::Message& message, const Sink& sink)
        : m_html(message.html()), m_pictures(message), m_sink(sink) {}

    void run() {
        while (m_at < m_html.size()) {
            const size_t next = std::min(m_html.find_first_of("<cC", m_at), m_html.size());
            writeValue(m_html.substr(m_at, next - m_at), m_sink);
            m_at = next;
            if (m_at < m_html.size() && !renamed() && !pictured()) {
                writeValue(m_html.substr(m_at, 1), m_sink);
                ++m_at;
            }
        }
    }

private:
    bool renamed() {
        for (const Renamed& row : kRenamed) {
            const std::string_view rest = m_html.substr(m_at);
            if (!startsWith(rest, row.tag)) continue;
            if (rest.size() > row.tag.size() &&
                kTagNameEnds.find(rest[row.tag.size()]) == rest.npos)
                continue;
            writeValue(row.as, m_sink);
            m_at += row.tag.size();
            return true;
        }
        return false;
    }

    // A URL in an attribute or a style, not in what is read.
    bool pictured() {
        constexpr std::string_view kScheme = "cid:", kBefore = "\"'=( \t\r\n";
        if (!startsWith(m_html.substr(m_at), kScheme)) return false;
        if (m_at == 0 || kBefore.find(m_html[m_at - 1]) == kBefore.npos) return false;
        const std::string_view rest = m_html.substr(m_at + kScheme.size(), kLongestUrl);
        const std::string_view url = rest.substr(0, rest.find_first_of("\"'()<> \t\r\n"));
        if (!m_pictures.write(url, m_sink)) return false;
        m_at += kScheme.size() + url.size();
        return true;
    }

    const std::string_view m_html;
    Pictures m_pictures;
    const Sink& m_sink;
    size_t m_at = 0;
};

}  // namespace

void writeFrame(const mimetree::Message& message, const Sink& sink) {
    sink(
        "<iframe sandbox=\"\" referrerpolicy=\"no-referrer\" tabindex=\"0\" "
        "title=\"HTML of the message\" srcdoc=\"");
    writeValue("<meta charset=\"utf-8\"><meta http-equiv=\"Content-Security-Policy\" content=\"" +
                   std::string(kPolicy) +
                   "\"><meta name=\"referrer\" content=\"no-referrer\">"
                   "<meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">" +
                   std::string(kStyleOfLinks),
               sink);
    FrameWriter(message, sink).run();
    sink("\"></iframe>\n");
}
