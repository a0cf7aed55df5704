#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Commands compose and convert; tests/interop has what other readers make of composed mail.
# usage: cli_compose_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"

# shape: the content types of the message in `out`, a line.
shape() { "$tool" tree out | grep -oE '^[^a-z]*[a-z]+/[a-z0-9-]+' | sed 's/.* //' | tr '\n' ' '; }
crlf() { sed 's/$/\r/' "$@"; }
field() { sed '/^\r$/,$d' out | grep -qxF -- "$1"$'\r'; }

# --- compose: structure

printf 'Gr\303\274\303\237e\n' >text
printf '<img src="cid:a b.png"><img src="cid:a%%20b.png"><i>cid:a</i><b>cid:a.b</b>' >html
printf '\211PNG\n' >'a b.png'
cp 'a b.png' a
cp 'a b.png' a.b
cp 'a b.png' '[list]'
while IFS='|' read -r args expected; do
    run compose --from a@example.org $args
    ok "compose $args: status" is "$status" 0
    ok "compose $args: shape" is "$(shape)" "$expected "
done <<'ROWS'
|text/plain
--text text|text/plain
--html html|text/html
--text text --html html|multipart/alternative text/plain text/html
--html html --inline a|multipart/related text/html application/octet-stream
--text text --html html --inline a a.b|multipart/related multipart/alternative text/plain text/html application/octet-stream application/octet-stream
--attach a|application/octet-stream
--attach a [list] --attach a|multipart/mixed application/octet-stream application/octet-stream application/octet-stream
--text text --attach a|multipart/mixed text/plain application/octet-stream
--text text --html html --inline a --attach text|multipart/mixed multipart/related multipart/alternative text/plain text/html application/octet-stream application/octet-stream
ROWS

run compose --from 'A <a@example.org>' --html html --inline 'a b.png' a a.b
ok "inline: related names its root's type" has 'type="text/html"'
"$tool" tree --json out >tree.json
"$tool" body --html out >shown.html
cat >links.py <<'PY'
import json, re
nodes = json.load(open("tree.json"))["nodes"]
ids = {n["filename"]: n["contentId"] for n in nodes if n["contentId"]}
assert all(re.fullmatch(r"<[0-9a-f.]+@example\.org>", i) for i in ids.values()), ids
one, two, three, four = re.findall(r"cid:([^\"<]*)", open("shown.html").read())
assert one == two == ids["a b.png"][1:-1], (one, two)
assert three == ids["a"][1:-1] and four == ids["a.b"][1:-1], (three, four)
PY
ok "inline: HTML refers to the Content-IDs" python3 links.py

# --- compose: header

run compose --from a@example.org --to 'b@x, "C, D" <c@x>' --to e@x --cc f@x --bcc g@x --subject 's' \
    --header 'X-A: 1' --header 'X-A: 2' --header 'Reply-To: r@x' --header 'X-Empty:'
for line in 'To: b@x, "C, D" <c@x>, e@x' 'Cc: f@x' 'Bcc: g@x' 'Subject: s' 'X-A: 1' 'X-A: 2' \
    'Reply-To: r@x' 'MIME-Version: 1.0' 'X-Empty: '; do
    ok "compose: $line" field "$line"
done
ok "compose: Message-ID" grep -qE '^Message-ID: <[0-9a-f.]+@example\.org>' out
run compose --to '"=?a, evil@x, ?=" <a@b>, =?utf-8?Q?=C3=A9?= <c@d>, =?x?Q?a b?= <e@f>'
ok "compose: quotes but for encoded words" \
    field 'To: "=?a, evil@x, ?=" <a@b>, =?utf-8?Q?=C3=A9?= <c@d>, "=?x?Q?a b?=" <e@f>'
cp a $'\303\251".x'
run compose --attach $'\303\251".x'
ok "compose: file name for old readers" has 'name="=?utf-8?B?w6lcIi54?="'
TZ=XYZ-5:45 run compose --subject x
ok "compose: local zone" grep -qE '^Date: (Mon|Tue|Wed|Thu|Fri|Sat|Sun), [0-9]{2} [A-Z][a-z]{2} [0-9]{4} [0-9:]{8} \+0545' out
run compose --header 'Date: Mon, 1 Jan 2001 00:00:00 +0000' --header 'message-id: <a@b>'
ok "compose: Date is the one given" is "$(grep -ci '^date:' out)" 1
ok "compose: Message-ID is the one given" is "$(grep -ci '^message-id:' out)" 1
for break in $'\n' $'\r\n' $'\r' $'\n '; do
    evil="x${break}Evil: y@z"
    cp a "a${break}Evil: n"
    run compose --from "\"$evil\" <a@b>" --to "\"$evil\" <a@b>" --subject "$evil" --header "X-Y: $evil" \
        --attach "a${break}Evil: n"
    ok "compose: no line break makes a field" is "$(grep -c '^Evil' out)" 0
    ok "compose: and what was typed is there" has "X-Y: x"
done

# --- compose: texts

run compose --text text --encoding 8bit
ok "compose: 8bit as asked" has $'Gr\303\274'
ok "compose: CRLF" is "$(tail -1 out)" $'Gr\303\274\303\237e\r'
run compose --text text --html html --encoding 8bit
ok "compose: 8-bit multipart is labelled" field "Content-Transfer-Encoding: 8bit"
run compose --text text --charset iso-8859-1
ok "compose: charset" has 'Gr=FC=DFe'
run compose --text text --charset us-ascii
ok "compose: utf-8 where the charset cannot hold it" has 'charset=utf-8'
printf '\357\273\277plain\n' >marked
run compose --text marked
ok "compose: byte-order mark is no text" is "$(tail -1 out)" $'plain\r'
"$tool" compose --text - <text >out 2>err
ok "compose: standard input, and base64 where it is shorter" has 'R3LDvMOfZQ0K'
ok "compose --help tells of cid:" grep -q 'cid:' <("$tool" compose --help)

printf '\377' >latin1
python3 -c 'print("x" * 999)' >long
fails 1 "missing: No such file" compose --text missing
fails 1 "missing: No such file" compose --text text --attach missing
fails 1 "missing: No such file" compose --html html --inline missing
fails 1 "not in UTF-8" compose --text latin1
fails 1 "7bit cannot hold" compose --text text --encoding 7bit
fails 1 "998 bytes" compose --text long --encoding 7bit
for address in '' 'Name <>' '<a,b@x>' 'two words' local 'a..b@x'; do
    fails 1 "no address" compose --to "$address"
done
fails 1 "needs 8 bits" compose --from $'\303\274@x'
fails 2 'no charset "x-none"' compose --charset x-none
fails 2 "--encoding" compose --encoding binary
fails 2 "one text only" compose --text - --html -
fails 2 "no file name" compose --attach -
fails 2 "two inline files named a" compose --html html --inline a ./a
fails 2 "no header field" compose --header 'no field'
fails 2 "no header field" compose --header $'A\nEvil: x'
fails 2 "not for --header" compose --header 'content-type: text/html'
fails 2 "more than one To" compose --to a@b --header 'TO: c@d'
fails 2 "not expected" compose extra
fails 2 "compose needs" compose
run compose --from $'\303\274@x' --encoding 8bit
ok "compose: 8-bit address as asked" is "$status" 0

# --- convert

{
    printf 'From: J\303\266rg <a@b>\nX-N: 1\nX-N: \303\244\nContent-Type: multipart/mixed; boundary=B\n'
    printf 'Content-Transfer-Encoding: 8bit\n\n--B\n'
    printf 'Content-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: 8bit\n\nh\351llo\n--B\n'
    printf 'Content-Type: text/html; charset=utf-8\nContent-Transfer-Encoding: base64\n\nPGI+w6k8L2I+DQo=\n--B\n'
    printf 'Content-Type: image/png\nContent-Transfer-Encoding: binary\n'
    printf 'Content-Disposition: attachment; filename=x.png\n\n\211P\377\n--B\n'
    printf 'Content-Type: text/plain; charset=iso-8859-1\nContent-Disposition: attachment\n\nl\351\n--B\n'
    printf 'Content-Type: message/rfc822\nContent-Transfer-Encoding: 8bit\n\n'
    printf 'Subject: \303\251\nContent-Type: text/plain; charset=iso-8859-1\n\ninn\351r\n--B\n'
    printf 'Content-Type: text/plain\n\nunnamed \351\n--B--\n'
} | crlf >mail

# converted ARGS...: a conversion that says nothing, with the tree before and after.
converted() {
    run convert "${@:2}" "$1"
    ok "convert ${*:2}: status" is "$status" 0
    ok "convert ${*:2}: silent" lines 0 err
}
leaves() {
    "$tool" tree --json "${1:-out}" | python3 -c '
import json, sys
for node in json.load(sys.stdin)["nodes"]:
    print(node["contentType"], "charset=" + node["charset"], node["encoding"])'
}

converted mail --to-7bit
ok "to-7bit: ASCII" is "$(tr -d '\000-\177' <out | wc -c)" 0
ok "to-7bit: bodies as before" cmp <("$tool" body --part 1 out) <("$tool" body --part 1 mail)
ok "to-7bit: binary as before" cmp <("$tool" body --part 3 out) <("$tool" body --part 3 mail)
ok "to-7bit: fields in step" is "$(grep -a '^Content-Transfer' out | tr -d '\r' | cut -d' ' -f2 | tr '\n' ' ')" \
    "7bit quoted-printable base64 base64 quoted-printable 7bit quoted-printable quoted-printable "
ok "to-7bit: both fields of a name" has 'X-N: =?utf-8?B?w6Q=?='
ok "to-7bit: no charset becomes utf-8" has 'unnamed =C3=A9'
cp out mail7
converted mail7 --to-7bit
ok "to-7bit: nothing more to do" cmp out mail7

converted mail7 --to-8bit
ok "to-8bit: texts" is "$(leaves | grep -c '8bit')" 5
ok "to-8bit: binaries stay" is "$(leaves | grep -c 'base64')" 1
ok "to-8bit: bytes" grep -qa $'^h\351llo\r' out
python3 - >mail-long <<'PY'
import base64
head = "Content-Type: text/plain\r\nContent-Transfer-Encoding: base64\r\n"
for i, text in enumerate([b"x" * 999, b"nul\0", b"cr\rlf\n", b"x" * 998 + b"\r\n"]):
    if i == 0: print("Content-Type: multipart/mixed; boundary=B\r\n\r\n--B", end="\r\n")
    print(head + "\r\n" + base64.encodebytes(text).decode().replace("\n", "\r\n") + "--B" + "--" * (i == 3), end="\r\n")
PY
converted mail-long --to-8bit
ok "to-8bit: only lines that may be sent so" is "$(leaves | grep -oE 'base64|8bit' | tr '\n' ' ')" \
    "8bit base64 base64 8bit 8bit "

converted mail --charset utf-8
ok "charset: in step" is "$(leaves | grep -c 'charset=utf-8')" 3
ok "charset: attached text too" grep -qa $'^l\303\251\r' out
converted mail --charset utf-16
ok "charset: a coding for zero bytes" is "$(leaves | grep -c 'utf-16.*base64')" 3
run convert mail --charset koi8-r
ok "charset: what cannot hold it becomes utf-8" is "$(leaves | grep -c 'charset=utf-8')" 3
ok "charset: and is told" lines 4 err

converted mail --remove-attachments
ok "remove-attachments" is "$("$tool" tree --closed out | wc -l)" 5
converted mail --only 'text/*'
ok "only: a pattern" is "$("$tool" tree out | grep -c '^[^ ]* [0-9] text/')" 4
converted mail --only TEXT/html image/png
ok "only: two types" is "$(shape)" "multipart/mixed text/html image/png "
converted mail --only video/mp4
ok "only: nothing is left but the header" is "$(shape)" "text/plain "
ok "only: the header stays" has 'X-N: 1'
converted mail --remove-attachments --only 'text/*' --charset utf-8 --to-7bit
ok "combined" is "$(leaves | tail -3 | grep -cE 'charset=utf-8 +(base64|quoted)')" 3
{
    printf 'Content-Type: multipart/mixed; boundary=A\n\n--A\n'
    printf 'Content-Type: multipart/mixed; boundary=B\n\n--B\nContent-Type: a/b\n\n1\n--B--\n\n--A\nContent-Type: text/plain\n\nsecond\n--A--\n'
} | crlf >nested
converted nested --only text/plain
ok "only: an emptied multipart goes, one with a child stays" is "$(shape)" "multipart/mixed text/plain "

printf 'Content-Type: multipart/digest; boundary=A\n\n--A\n\nSubject: \303\251\n\n\303\251\n--A--\n' | crlf >digest
converted digest --to-7bit --charset utf-16
ok "a digest holds messages" has 'Subject: =?utf-8?B?w6k=?='

for protocol in pkcs7 pgp; do
    {
        printf 'Content-Type: multipart/mixed; boundary=A\n\n--A\n'
        printf 'Content-Type: multipart/signed; boundary=S; protocol="application/%s-signature"\n\n' $protocol
        printf -- '--S\nContent-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n\n'
        printf 'h=e9llo=20\n--S\nContent-Type: application/%s-signature\nContent-Disposition: attachment\n\nAAAA\n--S--\n' $protocol
        printf '\n--A\nContent-Type: text/plain; charset=utf-8\n\n\303\244\n--A--\n'
    } | crlf >signed
    run convert signed --to-7bit --charset iso-8859-2 --remove-attachments
    ok "$protocol: told" lines 1 err
    ok "$protocol: which part" has "signed: part 1: signed or encrypted, left as it is" err
    ok "$protocol: every byte as it was" cmp <(sed -n '/--S/,/--S--/p' out) <(sed -n '/--S/,/--S--/p' signed)
    ok "$protocol: the rest is done" has '=E4'
done

fails 2 "nothing to convert" convert mail
fails 2 "excludes" convert mail --to-7bit --to-8bit
fails 2 "no charset" convert mail --charset x-none
fails 2 "no type like" convert mail --only text
fails 1 "missing: No such file" convert missing --to-7bit
for command in "compose --text text" "convert mail --to-7bit"; do
    "$tool" $command >/dev/full 2>err; status=$?
    ok "/dev/full: $command" is "$status" 1
done
finish
