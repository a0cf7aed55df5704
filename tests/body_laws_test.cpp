// SPDX-License-Identifier: Apache-2.0

// The law of loading and saving over charsets, codings, types and bodies of every kind: what a
// leaf shows after loading, it shows after writing and loading again, and what is written
// settles at the second writing.  MIMETREE_LAW_RUNS asks for more mails.

#include <sstream>
#include <vector>

#include "foundation/ContentCoding.h"
#include "tests/node_support.h"
#include "tests/reference/coders.h"

namespace {

// The words of a text, and the empty one.
std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words{""};
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

const std::vector<std::string> kLabels = wordsOf(R"(
    us-ascii utf-8 utf-7 utf-16 utf-16le utf-16be utf-32 utf-32le utf-32be unicode iso-8859-1
    latin1 iso-8859-2 iso-8859-3 iso-8859-4 iso-8859-5 iso-8859-6 iso-8859-7 iso-8859-8
    iso-8859-8-i iso-8859-9 iso-8859-10 iso-8859-11 iso-8859-13 iso-8859-14 iso-8859-15 iso-8859-16
    windows-1250 windows-1251 windows-1252 windows-1253 windows-1254 windows-1255 windows-1256
    windows-1257 windows-1258 windows-874 tis-620 koi8-r koi8-u macintosh x-mac-cyrillic ibm437
    ibm850 ibm852 ibm855 ibm866 shift_jis windows-31j euc-jp iso-2022-jp iso-2022-jp-2 cp50221
    euc-kr uhc ks_c_5601-1987 iso-2022-kr gb2312 gbk gb18030 euc-cn hz-gb-2312 big5 big5-hkscs
    unknown-8bit x-nonsense)");

const std::vector<std::string> kCodings =
    wordsOf("7bit 8bit BINARY base64 quoted-printable uuencode x-uuencode x-unknown");

// clang-format off
const std::vector<std::string> kTypes{
    "", "text/plain", "text/html", "TEXT/Xml", "application/xml", "application/json",
    "application/soap+xml", "application/x; name=\"a.xml\"", "image/png", "image/svg+xml",
    "message/rfc822", "message/x-json", "message/x; a=\"text/\"", "multipart/mixed; boundary=no"};
// clang-format on

const std::vector<std::string> kMarks{"\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF", "\x1B$B", "~{"};

class Maker {
public:
    explicit Maker(unsigned seed) : m_random(seed) {}

    std::string mail() {
        const std::string label = pick(kLabels), type = pick(kTypes);
        // Kept on purpose: a multipart without delimiters gets its coding once more.
        const std::string coding = type.starts_with("multi") ? "8bit" : pick(kCodings);
        const std::string written = oneIn(3) ? pick(kLabels) : label;
        std::string mail;
        if (!type.empty())
            mail += "Content-Type: " + type + (label.empty() ? "" : "; charset=" + label) + "\r\n";
        if (!coding.empty()) mail += "Content-Transfer-Encoding: " + coding + "\r\n";
        if (oneIn(20)) mail += "Content-Disposition: attachment\r\n";
        return mail + "\r\n" + encoded(bodyIn(written), coding);
    }

private:
    unsigned below(unsigned n) { return static_cast<unsigned>(m_random() % n); }
    bool oneIn(unsigned n) { return below(n) == 0; }
    const std::string& pick(const std::vector<std::string>& of) {
        return of[below(unsigned(of.size()))];
    }

    // What the charset holds: what it reads in random bytes, written in it again.
    std::string bodyIn(const std::string& label) {
        const int codePage = _zqCharset::codePageOf(label.data(), unsigned(label.size()));
        const std::string noise = randomBytes(m_random, below(60));
        std::string text = oneIn(4) ? randomBytes(m_random, below(80), "aB 1=.-\r\n\n\t?<&\"\0"sv)
                                    : converted(codePage, 65001, noise);
        if (oneIn(3)) text = head(label) + text;
        text = converted(65001, codePage, text);
        if (oneIn(8)) text = noise;
        if (oneIn(12)) text.insert(0, pick(kMarks));
        if (oneIn(12)) text += std::string(1, '\0');
        if (oneIn(40)) text.insert(0, std::string(8192, 'a'));
        return text;
    }

    std::string head(const std::string& label) {
        std::string named = oneIn(2) ? label : pick(kLabels);
        // Kept on purpose: a zero byte is looked for before the META tag, which may say UTF-16.
        if (named == "unicode" || named.starts_with("utf-16")) named = "utf-8";
        return "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=" +
               named + "\"></head>\r\n";
    }

    // In one of six the coding is only declared.
    std::string encoded(std::string body, const std::string& coding) {
        const unsigned size = static_cast<unsigned>(body.size());
        StringBuffer out;
        if (coding == "base64") ContentCoding().encodeBase64(body.data(), size, out);
        else if (coding == "quoted-printable" && !oneIn(6))
            ContentCoding().encodeQuotedPrintable(body.data(), size, out);
        else if (coding.ends_with("uuencode") && !oneIn(6)) return reference::uuEncode(body);
        if (size == 0 || !out.isEmpty()) return str(out);
        // Kept on purpose: a zero byte makes a text binary only where no coding hides it.
        if (coding == "quoted-printable" || coding == "uuencode") std::erase(body, '\0');
        return body;
    }

    std::mt19937 m_random;
};

using Loader = NodePtr (*)(std::string_view, LogBase&);

void expectLaw(const std::string& mail, Loader load) {
    const NodePtr first = load(mail, noLog);
    const std::string once = written(*first);
    const NodePtr second = load(once, noLog);
    const std::string twice = written(*second);
    const NodePtr third = load(twice, noLog);
    EXPECT_EQ(bodyOf(*second), bodyOf(*first)) << mail << "\n-- " << once;
    EXPECT_EQ(bodyOf(*third), bodyOf(*first)) << mail << "\n-- " << twice;
    EXPECT_EQ(written(*third), twice) << mail;
}

TEST(BodyLaws, LoadAndSaveLoseNothing) {
    Maker maker(6);
    for (int i = 0; i < lawRuns(20000) && !HasFailure(); ++i) {
        const std::string mail = maker.mail();
        expectLaw(mail, fromBytes);
        expectLaw(mail, fromText);
    }
}

}  // namespace
