// SPDX-License-Identifier: Apache-2.0

#include "foundation/ExtPtrArray.h"
#include "foundation/_zqEmailAddress.h"
#include "tests/support.h"

namespace {

// "name|address" for each mailbox, joined by " ; ", behind what is in the list already.
std::string parse(const std::string& text) {
    const Exact exact(std::string_view(text.c_str(), text.size() + 1));
    ExtPtrArray list;
    LogNull log;
    list.appendPtr(nullptr);
    EXPECT_TRUE(_zqEmailAddress::parseAndLoadList(exact.data(), list, 0, log));
    std::string out;
    for (int i = 1; i < list.getSize(); ++i) {
        auto& one = *static_cast<_zqEmailAddress*>(list.elementAt(i));
        out += i > 1 ? " ; " : "";
        out += str(one.m_displayName.getUtf8Sb()) + "|" + str(one.m_address.getUtf8Sb());
    }
    return out;
}

const TextRow kRows[] = {
    {"quoted and bare words", R"(Dr. "J. R." Bloggs <a@b>)", "Dr. J. R. Bloggs|a@b"},
    {"comment as a name", "a@b ( Joe (of \\) x) Bloggs)", "Joe (of ) x) Bloggs|a@b"},
    {"comments without separators", "a@b (Joe) c@d (Jim)", "Joe|a@b ; Jim|c@d"},
    {"group", "Friends: a@b, Joe <c@d>;, e@f", "|a@b ; Joe|c@d ; |e@f"},
    {"empty group among others", "a@b, Nobody: ; c@d", "|a@b ; |c@d"},
    {"at sign in a group name", "\"a@b\": c@d;", "|c@d"},
    {"group without an end", "\"Fri, ends\": a@b", "|a@b"},
    {"colon behind an address", "a@[v6:2::1], b@c:25", "|a@[v6:2::1] ; |b@c:25"},
    {"route", "Joe <@x,@y:a@b>", "Joe|a@b"},
    {"no separators", "<a@b> <c@d> Joe <e@f>\"x\" <g@h>", "|a@b ; |c@d ; Joe|e@f ; x|g@h"},
    {"missing angles", "Joe Bloggs a@b c@d Jim", "Joe Bloggs|a@b ; Jim|c@d"},
    {"at sign in a name", "Joe @ Work <a@b>", "Joe @ Work|a@b"},
    {"blanks around at signs and dots", "a @ b, < c @ d . e >, f . g. h@i .j . k",
     "|a@b ; |c@d.e ; |f.g.h@i.j.k"},
    {"comments around dots", "J <a@b(x). c>, d@e(y) . f", "J|a@b.c ; y|d@e.f"},
    {"dots of a name", "Joe Q. Bloggs a@b, J. R. Tolkien c@d, e@f. g@h",
     "Joe Q. Bloggs|a@b ; J. R. Tolkien|c@d ; |e@f. ; |g@h"},
    {"comma in a word", "=?u?Q?M=FC, \"H:<?= <a@b>,c@d", "=?u?Q?M=FC, \"H:<?=|a@b ; |c@d"},
    {"encoded word in no coding", "=?x?Z?a, b?= <c@d>", "|=?x?Z?a ; b?=|c@d"},
    {"encoded word made by a comment", "=?u?Q?x(?)a@b?=", "?|=?u?Q?x a@b?="},
    {"encoded word in quotes", "\"=?x?B?YQ==?= b\" <a@b>", "=?x?B?YQ==?= b|a@b"},
    {"folds", "Joe\r\n\tBloggs\r\n <a@b>,\r\n c@d\n", "Joe\tBloggs|a@b ; |c@d"},
    {"quoted local part", R"("a b"@c, <"x>,\"y"@d>)", R"(|"a b"@c ; |"x>,\"y"@d)"},
    {"quote that is never closed", "\"Joe <a@b>, c@d", "Joe|a@b ; |c@d"},
    {"separator closes an angle", "Joe <a@b, Jim <c@d>", "Joe|a@b ; Jim|c@d"},
    {"comment that is never closed", "a@b (Joe, c@d", "Joe|a@b ; |c@d"},
    {"doubled angles", "Joe <<a@b>>, c@d", "Joe|a@b ; |c@d"},
    {"empty angle", "Joe <>, \"J, B\" <>, <>, a@b <>, Jim <> <c@d>",
     "Joe| ; J, B| ; |a@b ; Jim|c@d"},
    {"no address", "Joe Bloggs, \"x, y\", me (z)", "|Joe Bloggs ; |\"x, y\" ; z|me"},
};

TEST(EmailAddress, Rows) { expectRows(kRows, parse); }

}  // namespace
