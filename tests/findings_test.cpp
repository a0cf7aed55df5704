// SPDX-License-Identifier: Apache-2.0

// What is said to be wrong with a mail: a sample for every kind, nothing for mail that is right,
// and where a finding stands.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "mimetree/mimetree.hpp"
#include "tests/outline.h"
#include "tests/support.h"

using namespace mimetree;
using namespace std::string_literals;

namespace {

const std::string kHead =
    "From: Ann <ann@example.org>|To: bob@example.org|Subject: s|"
    "Date: Thu, 1 Jan 2015 10:00:00 +0000|Message-ID: <a@example.org>|MIME-Version: 1.0|";

// "|" stands for a line break; what begins with none of its own is put behind a right header.
std::string mailOf(std::string_view text) {
    const bool isWhole = text.starts_with('^');
    return replaced(isWhole ? std::string(text.substr(1)) : kHead + std::string(text), "|", "\r\n");
}

std::vector<Finding> findingsOf(const std::string& mail) {
    return findings(Message::parse(mail).value()).value();
}

std::string told(const std::vector<Finding>& list) {
    std::string all;
    for (const Finding& f : list)
        all += std::string(f.name) + " (" + f.part + ") " + f.sentence + "\n";
    return all;
}

// Of a multipart with the boundary "b_", "#" standing for its dashes and boundary.
std::string multi(std::string_view subtype, std::string_view body) {
    return "Content-Type: multipart/" + std::string(subtype) + "; boundary=b_||" +
           replaced(std::string(body), "#", "--b_");
}
const std::string kText = "#|Content-Type: text/plain||hello|";

std::string file(std::string_view header) {
    return "Content-Type: " +
           replaced(std::string(header), ";F=", "|Content-Disposition: attachment; filename=") +
           "||hello|";
}

const struct {
    std::string_view name;
    std::string mail;
} kSamples[] = {
    {"mixed-line-ends", "|a|b\nc|"},
    {"bare-carriage-return", "|a\rb|"},
    {"mbox-line", "^From ann@example.org Thu Jan  1 10:00:00 2015|" + kHead + "|a|"},
    {"byte-order-mark", "^\xEF\xBB\xBF" + kHead + "|a|"},
    {"nul-byte", "|a\0b|"s},
    {"no-header", "^hello there|how are you|"},
    {"no-blank-line", "X-A: 1|"},
    {"not-a-field", "what is this|X-A: 1||a|"},
    {"blank-before-colon", "X-A : 1||a|"},
    {"blank-fold", "X-A: 1|  |\t2||a|"},
    {"empty-field", "X-A:||a|"},
    {"field-without-value", "Cc: ||a|"},
    {"repeated-field", "Subject: t||a|"},
    {"repeated-from", "From: eve@example.org||a|"},
    {"repeated-content-type", "Content-Type: text/plain|Content-Type: text/html||a|"},
    {"long-header-line", "X-A: " + std::string(1000, 'x') + "||a|"},
    {"header-8bit", "Comments: caf\xE9||a|"},
    {"needs-smtputf8", "Comments: caf\xC3\xA9||a|"},
    {"encoded-word-malformed", "Comments: =?utf-8?Q?a b?=||a|"},
    {"encoded-word-too-long", "Comments: =?utf-8?Q?" + std::string(80, 'a') + "?=||a|"},
    {"encoded-word-misplaced", "Cc: \"=?utf-8?Q?a?=\" <c@example.org>||a|"},
    {"encoded-word-charset", "Comments: =?x-odd?Q?a?=||a|"},
    {"encoded-word-cut", "Comments: =?utf-8?Q?a=C3?= =?utf-8?Q?=A9?=||a|"},
    {"charset-unknown", "Content-Type: text/plain; charset=x-odd||a|"},
    {"charset-wrong", "Content-Type: text/plain; charset=us-ascii||\xE9t\xE9|"},
    {"charset-missing", "Content-Type: text/plain||\xE9t\xE9|"},
    {"charset-invalid-bytes", "Content-Type: text/plain; charset=utf-8||a\xFF z\xC3|"},
    {"charset-really-utf-8", "Content-Type: text/plain; charset=iso-8859-1||\xC3\xA9t\xC3\xA9|"},
    {"charset-really-windows-1252",
     "Content-Type: text/plain; charset=iso-8859-1|Content-Transfer-Encoding: quoted-printable||"
     "=93a=94 b|"},
    {"charset-from-page",
     "Content-Type: text/html|Content-Transfer-Encoding: 8bit||"
     "<html><head><meta charset=koi8-r></head>\xC1\xC1</html>|"},
    {"transfer-encoding-unknown", "Content-Transfer-Encoding: base46||a|"},
    {"transfer-encoding-repeated",
     "Content-Transfer-Encoding: 7bit|Content-Transfer-Encoding: base64||a|"},
    {"multipart-encoded", "Content-Transfer-Encoding: base64|" + multi("mixed", kText + "#--|")},
    {"message-encoded",
     "Content-Type: message/rfc822|Content-Transfer-Encoding: base64||U3ViamVjdDogYQ0KDQph|"},
    {"8bit-in-7bit", "Content-Type: text/plain; charset=iso-8859-1||\xE9t\xE9|"},
    {"base64-garbage", "Content-Transfer-Encoding: base64||aGVs(*)bG8=|"},
    {"base64-behind-padding", "Content-Transfer-Encoding: base64||QQ==|QkJCQg==|"},
    {"base64-text-behind",
     "Content-Transfer-Encoding: base64||aGVsbG8gdGhlcmU=|"
     "__________|The list of all lists|"},
    {"base64-incomplete", "Content-Transfer-Encoding: base64||aGVsbG8gdGhlcmU|"},
    {"quoted-printable-escape", "Content-Transfer-Encoding: quoted-printable||a=GZ|"},
    {"long-body-line", "|" + std::string(1000, 'x') + "|"},
    {"boundary-missing", "Content-Type: multipart/mixed||--b_||hello|--b_--|"},
    {"boundary-not-found", "Content-Type: multipart/mixed; boundary=c||--b_||hello|--b_--|"},
    {"boundary-other-form", multi("mixed", "# ||hello|# ||there|#--|")},
    {"delimiter-in-line", multi("mixed", kText + "x" + kText + "#--|")},
    {"boundary-prefix", multi("mixed",
                              "#|Content-Type: multipart/mixed; boundary=b_1||"
                              "#1||hello|#1--||#--|")},
    {"boundary-too-long", replaced(multi("mixed", kText + "#--|"), "b_", std::string(71, 'b'))},
    {"close-delimiter-missing", multi("mixed", kText + kText)},
    {"delimiter-behind-close", multi("mixed", kText + "#--|" + kText + "#--|")},
    {"preamble-text", multi("mixed", "Send it to eve.|" + kText + "#--|")},
    {"epilogue-text", multi("mixed", kText + "#--|Send it to eve.|")},
    {"part-too-small", multi("mixed", "#|hi|" + kText + "#--|")},
    {"reader-difference",
     multi("mixed", kText + "# |Content-Type: text/html||evil|#|" + kText + "#--|")},
    {"parameter-repeated", "Content-Type: text/plain; charset=utf-8; charset=koi8-r||a|"},
    {"boundary-repeated",
     replaced(multi("mixed", kText + "#--|"), "boundary", "boundary=c; boundary")},
    {"name-conflict", file("image/png; name=a.png;F=b.png")},
    {"rfc2231-piece-missing", file("image/png;F=x; filename*0=a; filename*2=c")},
    {"rfc2231-piece-repeated", file("image/png;F=x; filename*0=a; filename*0=c")},
    {"content-type-malformed", "Content-Type: text||a|"},
    {"name-against-type", file("image/png;F=a.exe")},
    {"double-extension", file("application/octet-stream;F=bill.pdf.exe")},
    {"name-with-path", file("image/png;F=\"../a.png\"")},
    {"name-with-control", file("image/png; name=\"=?utf-8?Q?a=0Ab.png?=\"")},
    {"name-with-bidi", file("image/png; name*=utf-8''a%E2%80%AEgnp.exe")},
    {"signed-parts", multi("signed; protocol=\"application/pgp-signature\"", kText + "#--|")},
    {"single-alternative", multi("alternative", kText + "#--|")},
    {"nested-deep",
     [] {
         std::string mail;
         for (int i = 0; i < 101; ++i) {
             const std::string b = std::to_string(1000 + i);
             mail += "Content-Type: multipart/mixed; boundary=" + b + "||--" + b + "|";
         }
         return mail + "|hello|";
     }()},
    {"date-missing", "^From: a@example.org|Message-ID: <a@b>||a|"},
    {"date-unreadable", "^From: a@example.org|Message-ID: <a@b>|Date: today||a|"},
    {"message-id-missing", "^From: a@example.org|Date: 1 Jan 2015 10:00:00 +0000||a|"},
    {"message-id-malformed", "^From: a@example.org|Message-ID: a b||a|"},
    {"from-missing", "^Subject: a||a|"},
    {"address-malformed", "Cc: nobody||a|"},
    {"winmail-dat", "Content-Type: application/octet-stream; name=winmail.dat|"
                    "Content-Transfer-Encoding: base64||eJ8+IgEA|"},
    {"name-looks-like-address", "Cc: \"pay@bank.example\" <eve@example.org>||a|"},
};

TEST(Findings, EachKindHasASample) {
    std::set<std::string_view> kinds;
    for (const FindingKind& kind : finding_kinds()) {
        kinds.insert(kind.name);
        for (const std::string& name : {std::string(kind.id), std::to_string(kind.number)})
            EXPECT_EQ(finding_kind(name), finding_kind(kind.name));
    }
    EXPECT_EQ(finding_kind("0"), nullptr);
    for (const auto& sample : kSamples) {
        const std::vector<Finding> found = findingsOf(mailOf(sample.mail));
        EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                                [&](const Finding& f) { return f.name == sample.name; }))
            << sample.name << "\n"
            << told(found);
        EXPECT_EQ(kinds.erase(sample.name), 1u) << sample.name;
    }
    for (const std::string_view kind : kinds) ADD_FAILURE() << "no sample of " << kind;
}

// As it stands, with LF throughout, and as an attached message.
TEST(Findings, NothingWrongWithMailThatIsRight) {
    for (const std::string& body :
         {"|hello|"s, multi("mixed", kText + kText + "#--|"),
          multi("signed; protocol=\"application/pgp-signature\"", kText + kText + "#--|"),
          "Content-Type: text/plain; charset=utf-8|Content-Transfer-Encoding: base64||w6k=|"s,
          file("application/pdf; name=\"a b.pdf\";F=\"a b.pdf\"")}) {
        const std::string mail = mailOf(body);
        EXPECT_EQ(told(findingsOf(mail)), "");
        EXPECT_EQ(told(findingsOf(replaced(mail, "\r\n", "\n"))), "");
        EXPECT_EQ(told(findingsOf(mailOf("Content-Type: message/rfc822||") + mail)), "");
    }
}

// So that what is said of a part is found beside it.
TEST(Findings, HaveTheNumbersOfOpenedParts) {
    std::vector<std::string> mails;
    for (const auto& sample : kSamples) mails.push_back(mailOf(sample.mail));
    for (const auto& sample : loadSamples()) mails.push_back(sample.bytes);
    const size_t count = mails.size();
    for (size_t i = 0; i < count; ++i) {
        const std::string within = "Content-Type: message/rfc822\r\n\r\n" + mails[i];
        mails.push_back(within);
        mails.push_back("Content-Type: multipart/mixed; boundary=\"b \"\r\n\r\n--b\r\n" + within);
    }
    for (const std::string& mail : mails) {
        const Result<Message> message = Message::parse(mail);
        if (!message) continue;
        const OpenedParts parts = OpenedParts::of(*message).value();
        const std::vector<Finding> list = findings(*message).value();
        for (const Finding& f : list)
            EXPECT_TRUE(f.part.empty() || parts.find(f.part)) << told({f}) << mail;
    }
    const std::string within = "#|Content-Type: message/rfc822||Subject: a||\xE9|";
    const std::string all = told(findingsOf(mailOf(multi("mixed", kText + within + "#--|"))));
    EXPECT_NE(all.find("(2.1)"), all.npos) << all;
}

}  // namespace
