// SPDX-License-Identifier: Apache-2.0

#include "foundation/_zqCharset.h"
#include "foundation/_zqContentType.h"
#include "tests/support.h"

namespace {

using Field = StringBuffer _zqContentType::*;
constexpr std::pair<const char*, Field> kFields[] = {
    {"name", &_zqContentType::m_name},        {"protocol", &_zqContentType::m_protocol},
    {"micalg", &_zqContentType::m_micalg},    {"boundary", &_zqContentType::m_boundary},
    {"smime", &_zqContentType::m_smimeType},  {"sub", &_zqContentType::m_subType},
    {"report", &_zqContentType::m_reportType}};

// "type[name=value][...]" of what is set.
std::string show(const _zqContentType& record, const _zqCharset& charset) {
    std::string out = str(record.m_type);
    if (*charset.getName()) out += std::string("[charset=") + charset.getName() + "]";
    for (const auto& [name, field] : kFields)
        if (!(record.*field).isEmpty())
            out += std::string("[") + name + "=" + str(record.*field) + "]";
    return out + (record.m_formatFlowed ? "[flowed]" : "");
}

struct Loaded {
    _zqContentType record;
    _zqCharset charset;

    std::string load(const std::string& value) {
        LogNull log;
        const Exact exact(std::string_view(value.c_str(), value.size() + 1));
        record.loadFromMimeHeaderValue(exact.data(), charset, log);
        return show(record, charset);
    }
    std::string build() const {
        LogNull log;
        StringBuffer out;
        record.buildMimeHeaderValue(out, charset, false, false, log);
        return str(out);
    }
};

const std::string kAll =
    "multipart/x; Name=n; PROTOCOL=p/q; micalg=m; boundary=\"b b\"; smime-type=s; type=\"t/u\";"
    " report-type=r; charset=us-ascii; format=Flowed; delsp=yes";
const std::string kAllShown =
    "multipart/x[charset=us-ascii][name=n][protocol=p/q][micalg=m][boundary=b b][smime=s][sub=t/u]"
    "[report=r][flowed]";

const TextRow kLoadRows[] = {
    {"every parameter", kAll, kAllShown},
    {"blanks around the slash", " a / b ;charset=utf-8", "a/b[charset=utf-8]"},
    {"comments", "(a) a(b)/(c;\\)d) b (e(f)); charset=utf-8 (g)", "a/b[charset=utf-8]"},
    {"missing semicolon, other name", "text/html\r\n report-type=x", "text/html[report=x]"},
    {"words behind the type", "text/html and more; name=x", "text/html[name=x]"},
    {"words that are no type", "pdf  file; name=x", "pdf file[name=x]"},
    {"quoted value", " \"a/b; charset=utf-8; boundary=x\" ", "a/b[charset=utf-8][boundary=x]"},
    {"format in quotes", "text/plain; format=\" flowed \"", "text/plain[flowed]"},
    {"charset keeps its case", "a/b; charset=\" Utf-8\t\"", "a/b[charset=Utf-8]"},
    {"charset with a semicolon", "a/b; charset=\"utf-8;\"", "a/b[charset=utf-8]"},
    {"charset in quotes twice", R"(a/b; charset="\"utf-8\"")", "a/b[charset=utf-8]"},
    {"charset with its name", "a/b; charset=charset=\"charset=utf-8\"", "a/b[charset=utf-8]"},
    {"charset with a remark", "a/b; charset=\"us-ascii (Plain text)\"", "a/b[charset=us-ascii]"},
    {"charset name twice", "a/b; charset=\"utf-8, utf-8\"", "a/b[charset=utf-8]"},
};

TEST(ContentType, Load) {
    Loaded loaded;
    expectRows(kLoadRows, [&](const std::string& in) {
        loaded.load(kAll);  // must leave no trace
        return loaded.load(in);
    });
}

TEST(ContentType, BuildAndCopy) {
    Loaded loaded;
    EXPECT_EQ(loaded.build(), "text/plain");
    loaded.load(kAll);
    EXPECT_EQ(
        loaded.build(),
        "multipart/x; charset=us-ascii; format=flowed; name=\"n\"; protocol=\"p/q\"; micalg=m;"
        " boundary=\"b b\"; smime-type=s; type=\"t/u\"; report-type=r");
    _zqContentType copy;
    copy.copyFrom(loaded.record);
    copy.copyFrom(copy);
    EXPECT_EQ(show(copy, loaded.charset), kAllShown);
}

TEST(ContentType, WhatIsBuiltReadsBack) {
    std::mt19937 random(3);
    for (int round = 0; round < 5000; ++round) {
        Loaded first, second;
        first.record.m_type.setString("x/y");
        for (const auto& [name, field] : kFields)
            first.record.*field =
                sb(randomBytes(random, random() % 12, "aZ/;:=\"\\ '%*(<[?,-\t\x7F") +
                   (random() % 4 ? "" : "\xE2\x82\xAC"));
        first.record.m_formatFlowed = round % 2;
        if (round % 3) first.charset.setByName("utf-8");
        EXPECT_EQ(second.load(first.build()), show(first.record, first.charset));
        EXPECT_EQ(second.build(), first.build());
    }
}

// Most values are read by a strict reader; what it refuses, such as the parameter behind, by one
// that tolerates everything.
TEST(ContentType, StrictAndTolerantReadersAgree) {
    std::mt19937 random(11);
    const std::vector<std::string> names = {"charset", "name", "boundary", "Format", "type", "x"};
    const std::vector<std::string> texts = {"utf-8", "a b", "flowed",   "b=1'2",
                                            "",      "a;b", "us-ascii "};
    for (int round = lawRuns(3000); round--;) {
        std::string value = random() % 9 ? "text/html" : "text /html";
        for (auto n = random() % 4; n; --n) {
            const std::string& text = texts[random() % texts.size()];
            value += (random() % 3 ? "; " : ";\t") + names[random() % names.size()] + "=";
            value += random() % 2 ? text : "\"" + text + "\"";
        }
        EXPECT_EQ(Loaded().load(value), Loaded().load(value + "; y=\"\\z\"")) << value;
    }
}

}  // namespace
