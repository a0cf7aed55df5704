#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The command-line program from outside: output, exit statuses, one-line errors, hostile
# values, files that cannot be read and outputs that cannot be written.
# usage: cli_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"

# --- what the commands show

run tree "$sample"
ok "tree: status" is "$status" 0
ok "tree: a line a node" lines 5 out
ok "tree: root" is "$(head -1 out)" "multipart/mixed"
ok "tree: leaf" has '│  ├─ 1.1 text/plain        utf-8       quoted-printable  254 B'
ok "tree: attachment" has 'attached'
ok "tree: decoded file name" has $'\xc3\x9cbersicht der G\xc3\xa4ste'
ok "tree: no colours in a file" hasnt $'\e'

run tree --json "$sample"
ok "json: one line" lines 1 out
ok "json: valid" python3 -m json.tool out /dev/null
cat >facts.py <<'PY'
import json
doc = json.load(open("out"))
nodes = doc["nodes"]
assert [n["part"] for n in nodes] == ["", "1", "1.1", "1.2", "2"], nodes
assert [n["depth"] for n in nodes] == [0, 1, 2, 2, 1]
assert [n["parent"] for n in nodes] == [None, 0, 1, 1, 0]
assert [n["attachment"] for n in nodes] == [False, False, False, False, True]
assert not doc["signed"] and not doc["encrypted"]
to = nodes[0]["addresses"]["To"]
assert to[1] == {"name": "\u5c71\u7530 \u82b1\u5b50", "address": "hanako@example.jp"}, to
assert to[2]["name"] == "Ngata, Wiremu", to
subject = [h["value"] for h in nodes[0]["headers"] if h["name"] == "Subject"]
assert subject[0].startswith("Willkommen, \u03ba"), subject
PY
ok "json: facts" python3 facts.py

run headers "$sample"
ok "headers: decoded" has $'From: Zo\xc3\xab M\xc3\xbcller <zoe@example.org>'
ok "headers: unfolded" is "$(grep -c '^[^ ]' out)" "$(sed '/^\r$/q' "$sample" | grep -c '^[^[:space:]]')"
run headers --raw "$sample"
ok "headers --raw: as stored" cmp out <(sed '/^\r$/,$d' "$sample")

run body "$sample"
ok "body: the plain text" has $'sch\xc3\xb6n, dass'
run body --html "$sample"
ok "body --html: in UTF-8" has $'<p>sch\xc3\xb6n'
run body --part 2 "$sample"
ok "body --part: exact" is "$(head -1 out)" $'name,city\r'
run rewrite "$sample"
ok "rewrite" has 'boundary="=_mixed_1"'
"$tool" rewrite - <out >again 2>err
ok "rewrite: settled, and - is standard input" cmp out again

# --- several messages

mkdir -p tree/b
cp "$sample" tree/a.eml
cp "$sample" tree/b/c.eml
cp "$sample" tree/b.eml
ln -s b tree/link
ln -s a.eml tree/link.eml
run tree tree
ok "directory: sorted, no file twice" \
    is "$(grep '^tree/' out | tr '\n' ' ')" "tree/a.eml tree/b.eml tree/b/c.eml "
run tree --json tree
ok "directory: one document a message" lines 3 out
run headers tree/a.eml missing tree/b.eml
ok "missing among good: status" is "$status" 1
ok "missing among good: named" is "$(cat err)" "mimetree: missing: No such file or directory"
ok "missing among good: the rest is done" is "$(grep -c '^Subject' out)" 2
if [ "$(id -u)" != 0 ]; then
    chmod 0 tree/b
    run tree tree
    ok "unreadable directory: status" is "$status" 1
    ok "unreadable directory: the rest is done" is "$(grep -c '^tree/' out)" 2
    chmod 755 tree/b
fi

# --- mistakes: one line, status 2

fails 2 "required"
fails 2 "no command frobnicate" frobnicate x
fails 2 "FILE" tree
fails 2 "--frobnicate" tree --frobnicate "$sample"
fails 2 "no part 1.10 in $sample" body --part 1.10 "$sample"
fails 2 "no part number" body --part one "$sample"
fails 2 "excludes" body --html --text "$sample"
fails 2 "received 2" rewrite "$sample" "$sample"
fails 2 "no command frobnicate" help frobnicate
for help in --help --version -V help "help tree" "tree --help"; do
    run $help
    ok "$help: status" is "$status" 0
    ok "$help: on stdout" has mimetree
done
ok "tree --help tells of the JSON" has '"nodes"'

# --- what cannot be read: one line, status 1

truncate -s 4G huge
fails 1 "huge: larger than 4 GiB" tree huge
fails 1 "no text/html body" body --html <(printf 'A: b\n\nc\n')
printf 'Content-Type: multipart/mixed; boundary=x\r\n\r\nnothing\r\n' >unbounded
run tree unbounded
ok "no boundary: tolerated" is "$status" 0
fails 1 "unbounded: a multipart/mixed whose boundary is missing: \"x\"" tree --strict unbounded
printf 'Content-Type: multipart/mixed; boundary=A\n\n--A\nContent-Type: multipart/related; boundary=B\n\nx\n--A--\n' >within
run tree --strict within
ok "--strict: a part" is "$status" 1
ok "--strict: which" has 'within: part 1: a multipart/related whose boundary is missing: "B"' err
run tree --strict --log unbounded
ok "--log: the engine's words" has "First boundary string not found." err
ok "--log: indented by context" grep -q '^  [a-zA-Z]*:$' err
printf 'Content-Type: multipart/mixed; boundary="=?utf-8?Q?b=1B?="\r\n\r\nx' >forged
run tree --log forged
ok "--log: values stay on their lines" has 'findBoundary: --b\x1B\x0D\x0A' err

# --- what cannot be written: one line, status 1

for command in "tree" "tree --json" "headers" "body" "rewrite" "--version"; do
    file=$sample; [ "$command" = --version ] && file=
    : >out
    "$tool" $command $file >/dev/full 2>err; status=$?
    ok "/dev/full: $command" is "$status" 1
    ok "/dev/full: one line: $command" lines 1 err
    ok "/dev/full: reason: $command" has "No space left on device" err
done
"$tool" tree "$sample" 2>err >&-; status=$?
ok "closed output" is "$status" 1
# --- hostile values

printf 'Subject: \033]0;title\007 =?utf-8?Q?=1B[2J=0AFrom:_x_=E2=80=AE?=\r\n' >hostile
printf 'Content-Disposition: inline; filename="a\033[31m=?utf-8?Q?=0A?=b"\r\n\r\n\033[2Jbody\302\233\r\n' \
    >>hostile
export TERM=xterm
unset NO_COLOR
for command in "tree --json" headers "headers --raw" body rewrite; do
    NO_COLOR=1 on_terminal $command hostile
    ok "harmless on a terminal: $command" hasnt $'\e'
    ok "harmless on a terminal: $command" hasnt $'\302\233'
    ok "shown on a terminal: $command" grep -qF -e '\x1B' -e '\u001b' out
done
NO_COLOR=1 on_terminal tree hostile
ok "tree: a line a node whatever the name" lines 1 out
ok "tree: NO_COLOR" hasnt $'\e'
on_terminal tree hostile
ok "tree: colours on a terminal" has $'\e[36m'
ok "tree: but none of the message's" hasnt $'\e[31m'
run body hostile
ok "body: exact in a pipe" cmp out <(printf '\033[2Jbody\302\233\r\n')

printf 'From: \377\376 <a@b>\nSubject: \300\200\n\n\377\n' >invalid
run tree --json invalid
ok "json of invalid UTF-8" python3 -m json.tool out /dev/null

# --- nested without end

python3 - >deep <<'PY'
depth = 100_000
lines = []
for i in range(depth):
    lines.append(f"Content-Type: multipart/mixed; boundary=b{i}\r\n\r\n--b{i}\r\n")
lines.append("Content-Type: text/plain\r\n\r\nbottom\r\n")
print("".join(lines), end="")
PY
for command in "tree" "tree --json" "headers" "body" "rewrite"; do
    run $command deep
    ok "100,000 deep: $command" is "$status" 0
    ok "100,000 deep: $command: output of reasonable size" [ "$(wc -c <out)" -lt 100000000 ]
done
run tree deep
ok "100,000 deep: depth as a number" has "(depth 100000)"
ok "100,000 deep: a line a node" lines 100001 out
run body deep
ok "100,000 deep: the text at the bottom" has bottom
run tree --json deep
ok "100,000 deep: valid JSON" python3 -m json.tool out /dev/null

finish
