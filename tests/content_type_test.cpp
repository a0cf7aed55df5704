// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <random>

#include "foundation/LogNull.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqContentType.h"
#include "tests/support.h"

namespace {

// "type[name=value][...]" of what is set.
std::string show(const _zqContentType& record, const _zqCharset& charset) {
    std::string out = str(record.m_type);
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty()) out += std::string("[") + name + "=" + value + "]";
    };
    add("charset", charset.getName());
    add("name", str(record.m_name));
    add("protocol", str(record.m_protocol));
    add("micalg", str(record.m_micalg));
    add("boundary", str(record.m_boundary));
    add("smime", str(record.m_smimeType));
    add("sub", str(record.m_subType));
    add("report", str(record.m_reportType));
    add("flowed", record.m_formatFlowed ? "yes" : "");
    return out;
}

struct Loaded {
    _zqContentType record;
    _zqCharset charset;

    std::string load(const char* value) {
        LogNull log;
        record.loadFromMimeHeaderValue(value, charset, log);
        return show(record, charset);
    }
    std::string build() const {
        LogNull log;
        StringBuffer out;
        record.buildMimeHeaderValue(out, charset, false, false, log);
        return str(out);
    }
};

struct Row {
    const char *what, *in, *out;
};

constexpr Row kLoadRows[] = {
    {"type keeps its case", "Text/HTML", "Text/HTML"},
    {"null", nullptr, ""},
    {"empty", "", ""},
    {"blanks alone", " \t", ""},
    {"parameters alone", "; charset=utf-8", "[charset=utf-8]"},
    {"every parameter",
     "multipart/x; Name=n; PROTOCOL=p/q; micalg=m; boundary=\"b b\"; smime-type=s; type=\"t/u\";"
     " report-type=r; charset=us-ascii; format=Flowed; delsp=yes",
     "multipart/x[charset=us-ascii][name=n][protocol=p/q][micalg=m][boundary=b b][smime=s][sub=t/u]"
     "[report=r][flowed=yes]"},
    {"first of a name wins", "a/b; name=x; charset=utf-8; Name=y; charset=us-ascii",
     "a/b[charset=utf-8][name=x]"},
    {"RFC 2231", "a/b; name*=utf-8''%C3%B6; type*0=x; type*1=\"y\"", "a/b[name=\xC3\xB6][sub=xy]"},
    {"plain before RFC 2231", "a/b; name*=utf-8''x; name=y; name*0=z", "a/b[name=y]"},
    {"charset in RFC 2231", "a/b; charset*=us-ascii'en'utf-8", "a/b[charset=utf-8]"},
    {"Windows path", R"(a/b; name="C:\temp\new.doc")", R"(a/b[name=C:\temp\new.doc])"},
    {"blanks around the slash", " text / plain ;charset=utf-8", "text/plain[charset=utf-8]"},
    {"comments", "(a) text(b)/(c;\\)d) html (e(f)); charset=utf-8 (g)", "text/html[charset=utf-8]"},
    {"comment that is never closed", "text/html (a; charset=utf-8", "text/html[charset=utf-8]"},
    {"missing semicolon", "text/html charset=utf-8; name=x", "text/html[charset=utf-8][name=x]"},
    {"missing semicolon, other name", "text/html\r\n report-type=x", "text/html[report=x]"},
    {"words behind the type", "text/html and more; name=x", "text/html[name=x]"},
    {"words that are no type", "pdf  file; name=x", "pdf file[name=x]"},
    {"quoted type", "\"text/html\"; boundary=\"x\"", "text/html[boundary=x]"},
    {"quoted value", " \"text/html; charset=utf-8; boundary=x\" ",
     "text/html[charset=utf-8][boundary=x]"},
    {"format in quotes", "text/plain; format=\" flowed \"", "text/plain[flowed=yes]"},
    {"format=fixed", "text/plain; format=fixed", "text/plain"},
    {"unknown charset", "text/plain; charset=x-unknown; charset=utf-8", "text/plain"},
    {"charset keeps its case", "a/b; charset=\" Utf-8\t\"", "a/b[charset=Utf-8]"},
    {"charset with a semicolon", "a/b; charset=\"utf-8;\"", "a/b[charset=utf-8]"},
    {"charset in quotes twice", R"(a/b; charset="\"utf-8\"")", "a/b[charset=utf-8]"},
    {"charset in single quotes", "a/b; charset='utf-8'", "a/b[charset=utf-8]"},
    {"charset with its name", "a/b; charset=charset=\"charset=utf-8\"", "a/b[charset=utf-8]"},
    {"charset with a remark", "a/b; charset=\"us-ascii (Plain text)\"", "a/b[charset=us-ascii]"},
    {"charset name twice", "a/b; charset=\"utf-8, utf-8\"", "a/b[charset=utf-8]"},
};

TEST(ContentType, Load) {
    Loaded loaded;
    for (const Row& row : kLoadRows) {
        SCOPED_TRACE(row.what);
        loaded.load(kLoadRows[5].in);  // must leave no trace
        EXPECT_EQ(loaded.load(row.in), row.out);
    }
}

constexpr Row kBuildRows[] = {
    {"empty", "", "text/plain"},
    {"order and quotes", kLoadRows[5].in,
     "multipart/x; charset=us-ascii; format=flowed; name=\"n\"; protocol=\"p/q\"; micalg=m;"
     " boundary=\"b b\"; smime-type=s; type=\"t/u\"; report-type=r"},
};

TEST(ContentType, Build) {
    for (const Row& row : kBuildRows) {
        SCOPED_TRACE(row.what);
        Loaded loaded;
        loaded.load(row.in);
        EXPECT_EQ(loaded.build(), row.out);
    }
}

TEST(ContentType, WhatIsBuiltReadsBack) {
    std::mt19937 random(3);
    constexpr std::string_view kBytes = "aZ/;:=\"\\ '%*(<[?,-\t\x7F";
    constexpr const char* kWide[] = {"\xC3\xB6", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
    const auto text = [&] {
        StringBuffer s;
        for (auto n = random() % 12; n; --n) {
            if (random() % 16 == 0) s.append(kWide[random() % 3]);
            else s.appendChar(kBytes[random() % kBytes.size()]);
        }
        return s;
    };
    for (int round = 0; round < 5000; ++round) {
        Loaded first, second;
        first.record.m_type.setString("x/y");
        for (StringBuffer _zqContentType::*field :
             {&_zqContentType::m_name, &_zqContentType::m_protocol, &_zqContentType::m_micalg,
              &_zqContentType::m_boundary, &_zqContentType::m_smimeType, &_zqContentType::m_subType,
              &_zqContentType::m_reportType})
            first.record.*field = text();
        first.record.m_formatFlowed = round % 2;
        if (round % 3) first.charset.setByName("utf-8");
        EXPECT_EQ(second.load(first.build().c_str()), show(first.record, first.charset));
        EXPECT_EQ(second.build(), first.build());
    }
}

TEST(ContentType, CopyFrom) {
    Loaded loaded;
    const std::string all = loaded.load(kLoadRows[5].in);
    _zqContentType copy;
    copy.m_name.setString("old");
    copy.copyFrom(loaded.record);
    copy.copyFrom(copy);
    EXPECT_EQ(show(copy, loaded.charset), all);
    loaded.record.clear();
    EXPECT_EQ(show(loaded.record, _zqCharset()), "");
}

// Would take minutes with a search for each parameter.
TEST(ContentType, ManyParametersTakeLinearTime) {
    for (const char* param : {"; x=\"y\"", "; boundary=b", "; name*7=x", "; (", "; charset=\"", "(",
                              " a", " /", "\"", "; a=\\\""}) {
        std::string value = "a";
        for (int i = 0; i < 100000; ++i) value += param;
        Loaded loaded;
        loaded.load((value + "; report-type=x").c_str());
    }
}

TEST(ContentType, AnyBytes) {
    std::mt19937 random(9);
    constexpr std::string_view kBytes = "texthtml//;;==\"\"(())\\ \t\r\n*'0%charsetname\xC3";
    for (int round = 0; round < 20000; ++round) {
        std::string value;
        for (auto n = random() % 40; n; --n) value += kBytes[random() % kBytes.size()];
        const Exact exact(std::string_view(value.c_str(), value.size() + 1));
        Loaded loaded;
        loaded.load(exact.data());
    }
}

}  // namespace
