// SPDX-License-Identifier: Apache-2.0

// The charset that an HTML document declares.

#include "foundation/_zqHtmlHelp.h"
#include "tests/support.h"

namespace {

std::string charsetOf(std::string_view html) {
    const Exact input(html);
    StringBuffer charset;
    _zqHtmlHelp::getCharset(input.data(), input.size(), charset);
    return str(charset);
}

const TextRow kRows[] = {
    {"charset attribute", "<html><head><META CHARSET=\"UTF-8\">", "UTF-8"},
    {"no quotes", "<meta charset=koi8-r>", "koi8-r"},
    {"content first", "<meta content='x/y;charset=\"big5\"' http-equiv=content-type>", "big5"},
    {"no http-equiv", "<meta content=\"text/html; charset=gb2312\">", "gb2312"},
    {"unquoted content is cut at the blank", "<meta content=text/html; charset=x>", "x"},
    {"slash instead of blank", "<meta/charset=utf-8/>", "utf-8"},
    {"second \"charset\" counts", "<meta content=\"charset x; charset = y;z\">", "y"},
    {"quotation without an end", "<meta content=\"text/html; charset='y\">", "y"},
    {"within a comment", "<!-- <meta charset=a> --><meta charset=b>", "b"},
    {"comment without an end", "<!-- <meta charset=a>", ""},
    {"within an attribute", "<p title='<meta charset=a>'><meta charset=b>", "b"},
    {"longer name than body", "<bodyguard><meta charset=a>", "a"},
    {"XML declaration", "<?xml version=\"1.0\" encoding='iso-8859-2'?><html>", "iso-8859-2"},
    {"XML declaration behind a mark", "\xEF\xBB\xBF<?xml encoding='a'?>", "a"},
    {"after the head", "<head></head><meta charset=a>", ""},
    {"in a script", "<script>'<meta charset=a></head>'</script><meta charset=b>", "b"},
    {"title without an end", "<title><meta charset=b>", "b"},
    {"no head, far into a body", "<p>" + std::string(8192, ' ') + "<meta charset=b>", ""},
    {"own element in a head", "<head><x:y>" + std::string(8192, ' ') + "<meta charset=b>", "b"},
};

TEST(HtmlCharset, Rows) { expectRows(kRows, charsetOf); }

}  // namespace
