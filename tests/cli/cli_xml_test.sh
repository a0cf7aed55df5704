#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Commands to-xml, from-xml and structure.
# usage: cli_xml_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"

# well_formed FILE
well_formed() {
    if command -v xmllint >/dev/null; then xmllint --noout "$1"
    else python3 -c 'import sys, xml.dom.minidom as d; d.parse(sys.argv[1])' "$1"; fi
}
# tree_of FILE TO: what the engine sees, but for header text and its sizes.
tree_of() { "$tool" tree --json "$1" | python3 -c '
import json, sys
doc = json.load(sys.stdin)
del doc["path"]
readable = ("content-", "from", "to", "cc", "sender", "reply-to", "return-path")
for node in doc["nodes"]:
    for field in node["headers"]:
        if field["name"].lower().startswith(readable): del field["value"]
json.dump(doc, sys.stdout, indent=1)' >"$2"; }

printf 'From: (only) <a&b@c>, =?iso-8859-1?Q?=E9=22x=22?= <q@r>, Group: g@h;\nSubject: ]]> \001\377 <&>"\n' >hostile
printf 'X<y: 1\n1-a: 2\nno field\n_x41_: 3\nX-8: =?8bit?x?\nContent-Type: text/plain; charset=utf-8; a="]]>\001"; a=2 (c)\n' >>hostile
printf '\n]]> <![CDATA[ \001\013 \377 &amp; \r\n' >>hostile
printf 'From: x\n\n' >empty-body
printf 'garbage' >garbage
for file in "$sample" hostile empty-body garbage; do
    run to-xml "$file"
    ok "to-xml: status: $file" is "$status" 0
    cp out message.xml
    ok "to-xml: well-formed: $file" well_formed message.xml
    run from-xml message.xml
    ok "from-xml: status: $file" is "$status" 0
    cp out message.eml
    tree_of "$file" before; tree_of message.eml after
    ok "there and back: $file" diff before after
done
"$tool" to-xml - <"$sample" 2>err | "$tool" from-xml - >out 2>>err; status=$?
ok "a pair of pipes: status" is "$status" 0
ok "a pair of pipes: silent" lines 0 err
tree_of "$sample" before; tree_of out after
ok "a pair of pipes" diff before after

two='<r><mime_message><header><A>1</A></header><body/></mime_message><mime_message/></r>'
run from-xml <(echo "$two")
ok "from-xml: the first of several" is "$(head -1 out)" $'A: 1\r'

fails 2 "received 2" to-xml "$sample" "$sample"
fails 2 "several messages" to-xml .
fails 2 "received 2" from-xml message.xml message.xml
fails 1 "missing: No such file" from-xml missing
fails 1 "line 2, column 4" from-xml <(printf '<a>\n<b></a>\n')
fails 1 "no mime_message element" from-xml <(echo '<a/>')
fails 1 "no mime_message element" from-xml <(echo '<mime_message><header/></mime_message>')
fails 1 "line 1, column 1" from-xml /dev/null
for command in to-xml structure; do
    "$tool" $command "$sample" >/dev/full 2>err; status=$?
    ok "/dev/full: $command" is "$status" 1
    ok "/dev/full: one line: $command" lines 1 err
done
printf 'Subject: \033[31m\nContent-Type: x\033[31m/y\n\n\033[2J\302\233\n' >escapes
for command in to-xml structure "structure --xml"; do
    on_terminal $command escapes
    ok "harmless on a terminal: $command" hasnt $'\e'
done

# --- structure

run structure "$sample"
ok "structure" cmp out <(printf '%s\r\n' multipart/mixed '    multipart/alternative' \
    '        text/plain' '        text/html' '    text/csv')
run structure --xml "$sample"
ok "structure --xml" is "$(sed -n '2p;5p;7p' out)" \
    $'    <multipart-alternative>\r\n    </multipart-alternative>\r\n</multipart-mixed>\r'

# deep LEVELS WIDTH
deep() { python3 - "$@" <<'PY'
import sys
depth, width = map(int, sys.argv[1:])
for i in range(depth): print(f"Content-Type: multipart/mixed; boundary=b{i}\n\n--b{i}")
print(f"Content-Type: text/plain\n\nbottom\n" + f"--b{depth - 1}\nA: 1\n\nx\n" * (width - 1))
PY
}
deep 1000 1 >deep
run structure deep
ok "1,000 deep" is "$status" 0
deep 1001 1 >deep
fails 1 "deep: nested deeper than 1000 levels" structure deep
deep 900 100000 >deep
fails 1 "deep: too many parts" structure --xml deep
deep 100000 1 >deep
fails 1 "deep: nested deeper than 1000 levels" structure --xml deep
run to-xml deep
ok "100,000 deep: to-xml" is "$status" 0
mv out message.xml
ok "100,000 deep: all of it" is "$(grep -c '^<subpart>' message.xml)" 100000
run from-xml message.xml
ok "100,000 deep: from-xml" is "$status" 0
ok "100,000 deep: there and back" is "$(grep -c '^bottom' out) $(grep -c '^Content-Type: m' out)" \
    "1 100000"

finish
