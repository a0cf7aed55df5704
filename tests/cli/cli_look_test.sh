#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What people see: tree, show, body and headers, on terminals of several widths, on hostile mails
# and in pipes.
# usage: cli_look_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"
samples=$here/../samples
faq=$samples/../../docs/faq.md
export TERM=xterm
unset NO_COLOR PAGER

# --- tree: what fits, in every script

cat >mail.py <<'PY'
from email.message import EmailMessage
names = ["Übersicht der Gäste und aller ihrer Begleiter.pdf", "تقرير المبيعات السنوي للشركة.xlsx",
         "รายงานการประชุมประจำปีของบริษัท.docx", "关于公司年度会议安排的详细通知文件.pdf", "👩‍❤️‍👨🇩🇪👍🏽 Ferien am Meer mit allen ☀️.jpg",
         "회의록 최종 수정본 검토 완료.hwp"]
mail = EmailMessage()
mail["Subject"] = "Namen"
mail.set_content("Text\n")
mail.add_alternative("<p>HTML</p>", subtype="html")
for name in names:
    mail.add_attachment(b"x" * 12345, maintype="application", subtype="octet-stream", filename=name)
open("names", "wb").write(mail.as_bytes())
PY
python3 mail.py
cat >fits.py <<'PY'
# Each line fits, and the sizes of the files end in one column.
import re, sys, unicodedata
columns, text = int(sys.argv[1]), open("out", "rb").read().decode()
def width(s):
    s = re.sub("[\U0001F1E6-\U0001F1FF]{2}", "\u4e00", s)
    s = re.sub("(.)\ufe0f", "\u4e00", s)
    while "\u200d" in s:
        s = re.sub("\u4e00?\u200d.", "", s, count=1)
    s = re.sub("[\U0001F3FB-\U0001F3FF]", "", s)
    return sum(0 if unicodedata.category(c) in ("Mn", "Me", "Cf") else
               2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in s)
ends, rows = set(), text.replace("\r", "").splitlines()
assert len(rows) == 10, rows
for row in rows:
    assert width(row) <= columns, (columns, width(row), row)
    if " kB" in row:
        ends.add(width(row[:row.index(" kB")]))
        assert re.search(r"(pdf|lsx|ocx|jpg|hwp)$", row), row
assert len(ends) == 1, ends
PY
for columns in 40 80 200; do
    export COLUMNS=$columns
    on_terminal tree --color=never names
    ok "tree: fits $columns columns" python3 fits.py $columns
done
unset COLUMNS
ok "tree: nothing is cut where there is room" has "รายงานการประชุมประจำปีของบริษัท.docx"
ok "tree: the body is marked" grep -q '1.1 text/plain.*● body' out
ok "tree: so is its other form" grep -q '1.2 text/html.*○ variant' out
ok "tree: and what is attached" is "$(grep -c '◆ attached' out)" 6
run tree names
ok "tree: nothing is cut in a pipe" has "Übersicht der Gäste und aller ihrer Begleiter.pdf"
ok "tree: no colours in a pipe" hasnt $'\e'
run tree --color=always names
ok "tree: but on demand" has $'\e[36m'
export LC_ALL=C
run tree names
export LC_ALL=C.UTF-8
ok "tree: ASCII lines where the locale is" has '|- 2 application/octet-stream'

# --- what check finds, and files that stand in a text

printf '%s\n' 'From: a@b' 'From: c@d' 'Content-Type: multipart/mixed; boundary=b' '' \
    '--b' 'A : 1' '' 'begin 644 plan.txt' '#86)C' '`' 'end' '--b' '' 'x' '--b--' >found
run tree found
ok "tree: critical findings are marked" grep -q '^multipart/mixed.*!!$' out
ok "tree: so are warnings" grep -q '1 text/plain.* ● body  *!$' out
ok "tree: and nothing else" is "$(grep -c '!' out)" 2
ok "tree: a uuencoded file" grep -q '└─ uuencoded  *3 B  ◆ attached  *plan.txt$' out

# --- every rule has its place in the questions, and samples of the mails

run tree --why "$samples"
sed -n 's/^[^a-z]*\([a-z-]*\): .*/\1/p' out | sort -u >rules
ok "tree --why: rules" [ "$(wc -l <rules)" -ge 8 ]
for rule in $(cat rules); do ok "tree --why: $rule is explained" has "**$rule**" "$faq"; done

# --- nothing in a mail reaches a terminal raw

cat >harmless.py <<'PY'
import re
text = open("out", "rb").read().decode("utf-8")
bad = re.findall("[^\r\n\t\x20-\x7e\u00a0-\U0010ffff]|[\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]", text)
assert not bad, {hex(ord(c)) for c in bad}
assert not re.search("\r[^\n\r]", text)
PY
for command in "tree --why" "show --no-pager" body headers "headers --raw" "headers --get Subject"; do
    on_terminal $command --color=never "$samples"
    ok "harmless: $command" python3 harmless.py
    ok "harmless: $command: all are looked at" [ "$(wc -l <out)" -gt 30 ]
done

printf '%s\n' 'From: "pay\" <a@b>, me" <eve@example.org>' 'To: "" <a@example.org>, b@example.org' '' text >names
run show names
ok "show: a name is no address" is "$(head -2 out | tr -s ' ')" \
    $'From: "pay\\" <a@b>, me" <eve@example.org>\nTo: a@example.org, b@example.org'

# --- files in a text are attachments, and parts and messages within have headers

cat >within <<'MAIL'
Content-Type: message/rfc822
Subject: outer

Subject: inner

above
begin 644 a.txt
#86)C
`
end
below
MAIL
run body within
ok "body: a text without the files in it" is "$(cat out)" $'above\r\nbelow\r'
run show within
ok "show: the same, and tells of them" is "$(tail -5 out | tr -s ' ')" \
    $'above\nbelow\n\nAttachments:\n 1.1 a.txt uuencoded 3 B'
run headers --part 1 --get Subject within
ok "headers --part: of the message that it is" is "$(cat out)" inner
run headers --part 1 --closed --raw within
ok "headers --part: or its own" is "$(tail -1 out)" $'Subject: outer\r'
fails 2 "no part 3 in within" headers --part 3 within

# --- show, and HTML as text

cat >html <<'MAIL'
From: =?utf-8?Q?Zo=C3=AB?= <zoe@example.org>
To: a@example.org
Subject: =?utf-8?Q?B=C3=BCcher?=
Date: Mon, 2 Mar 2026 09:15:00 +0100
Content-Type: multipart/mixed; boundary=x

--x
Content-Type: multipart/alternative; boundary=y

--y

 
--y
Content-Type: multipart/related; boundary=z

--z
Content-Type: text/html; charset=utf-8

<html><head><title>no</title><style>p { no }</style></head><body>
<div style="display: none">preheader</div><h1>Title &amp; more</h1>
<p>A   <b>bold</b>
word&nbsp;and a <a href="https://example.org/?a=1&amp;b=2">link</a>, <a href="#top">none</a>,
the <a href="https://example.org/?a=1&amp;b=2">same</a> and <a href="http://a.example/">a.example</a>.
<ul><li>one<li>two<ol start=9><li>deep<li>deeper</ol></ul>
<blockquote>said<br><br>again</blockquote>
<table><tr><th>Item<th>Price</tr><tr><td>Tea<td>3</tr><tr><td><p>红茶</p><td>12</tr></table>
<table><tr><td><table><tr><td>laid out</table></table>
<img src="cid:p@x" width=9><img src="https://x/y.gif" width=1 height=1><pre>
a  b
 c</pre><script>no()</script>end
--z
Content-Type: image/png; name=plan.png
Content-ID: <p@x>

png
--z--
--y--
--x

last
--x
Content-Type: image/png
Content-Disposition: inline; filename=photo.png

png
--x
Content-Type: message/rfc822

Subject: inner

within
--x
Content-Type: application/pdf; name=paper.pdf

pdf
--x--
MAIL
cat >expected <<'TEXT'
From:    Zoë <zoe@example.org>
To:      a@example.org
Subject: Bücher
Date:    Mon 2026-03-02 08:15:00 UTC (Mon, 2 Mar 2026 09:15:00 +0100)

Title & more

A bold word and a link [1], none, the same [1] and a.example.

* one
* two
  9. deep
  10. deeper

> said
>
> again

Item  Price
Tea   3
红茶  12

laid out

[image: plan.png]

a  b
 c

end

last

[image: photo.png]

── 4 ─────────────────────────────────────────────────────────────────────────
Subject: inner

within

[1] https://example.org/?a=1&b=2

Attachments:
  5  paper.pdf  application/pdf  3 B
TEXT
export TZ=UTC
run show html
if ! grep -q 'this build cannot show' out; then
    ok "show" diff expected out
    run body html
    ok "body: the same text" diff <(sed -n '/^Title/,/^\[1\]/{/^──/d;/^Subject/d;/^\[image: photo/d;p}' expected | tr -s '\n') <(tr -s '\n' <out)
    # Limit: the parser looks through what is open for each end tag.
    python3 -c 'print("Content-Type: text/html\n\n" + "<div>" * 100000 + "</b>" * 200000 + "<ul><li>" * 50000 + "<a href=x>bottom")' >deep
    ok "show: deep HTML in linear time" timeout 60 "$tool" show deep >out
    ok "show: deep HTML to its end" has bottom
fi
fails 1 "no text" body <(printf 'Content-Type: image/png\n\nx\n')
fails 1 "no text" body <(printf 'A: b\n\n \n')

# --- the pager

export PAGER="sed 's/^/paged /' >paged"
on_terminal show "$sample"
ok "pager: status" is "$status" 0
ok "pager: on a terminal" has "paged Liebe Freunde" paged
rm -f paged
export PAGER="touch paged"
on_terminal show --no-pager "$sample"
run show "$sample"
ok "pager: neither with --no-pager nor in a pipe" [ ! -e paged ]
export PAGER="head -1"
on_terminal show "$sample" "$sample" "$sample"
ok "pager: that is left is no failure" is "$status" 0

# --- headers

{ printf 'To: "Last, First" <a@example.org>,\n\tb@example.org (one, two),\n'
  printf '  =?utf-8?Q?C=C3=A9sar,_C.?= <cesar@example.org>, d.with.a.long.name@example.org\n'
  printf 'Received: 1\nSubject: =?utf-8?Q?a=0Ab?=\nReceived: 2\n\n'; } >fields
run headers fields
ok "headers: an address a line" is "$(sed -n 1,4p out)" 'To: "Last, First" <a@example.org>,
    b@example.org (one, two),
    César, C. <cesar@example.org>,
    d.with.a.long.name@example.org'
run headers --get subject --get Received --get X fields
ok "headers --get: in the order asked" is "$(cat out)" 'a\x0Ab
1
2'
run headers -0 --get Subject fields
ok "headers -0: exact" cmp out <(printf 'a\nb\0')
run headers --get X fields
ok "headers --get: none" is "$status" 1

finish
