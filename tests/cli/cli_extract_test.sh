#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Command extract: hostile file names, names in use, links, charsets, dates, failures.
# usage: cli_extract_test.sh PROGRAM
. "$(dirname "$0")/support.sh" "$1"

# message NAME...: writes to `mail` a message with an attachment of each name.
message() { python3 - "$@" <<'PY' >mail
import os, sys, urllib.parse
out = sys.stdout.buffer
out.write(b"Date: Fri, 21 Nov 1997 09:55:06 -0600\r\n"
          b"Content-Type: multipart/mixed; boundary=b\r\n\r\n")
for name in sys.argv[1:]:
    quoted = urllib.parse.quote_from_bytes(os.fsencode(name).replace(b"\\0", b"\0"), safe="")
    out.write(b"--b\r\nContent-Type: application/pdf\r\n"
              b"Content-Disposition: attachment; filename*=utf-8''" + quoted.encode() +
              b"\r\n\r\n" + b"bytes\r\n")
out.write(b"--b--\r\n")
PY
}
names() { python3 -c '
import json
for line in open("out"): [print(f["path"]) for f in json.loads(line)["files"]]'; }
everything() { find . -newer mark ! -name out ! -name err | LC_ALL=C sort; }

# --- names: as sent, and as the file is called

mkdir inner
rows=(
    '../../up.txt'              'up.txt'
    '..\..\up2.txt'             'up2.txt'
    '/etc/passwd'               'passwd'
    'C:\temp\report.doc'        'report.doc'
    'C:drive.txt'               'drive.txt'
    'a:b:c.txt'                 'c.txt'
    'dir/'                      'part-7.pdf'
    '..'                        'part-8.pdf'
    '.. .'                      'part-9.pdf'
    '.'                         'part-10.pdf'
    ' . '                       'part-11.pdf'
    'a\0b.txt'                  'a_b.txt'
    $'line\r\nbreak\t\e[31m'    'line__break__[31m'
    $'bidi\u202Etxt.exe'        'bidi_txt.exe'
    $'bad\xff\xc0\xafutf.txt'   $'bad\u00ff\u00c0\u00afutf.txt'
    'blank.txt . . '            'blank.txt'
    'nul'                       '_nul'
    'CON.txt'                   '_CON.txt'
    'com1 .tar.gz'              '_com1 .tar.gz'
    'COM10'                     'COM10'
    '-rf'                       '_-rf'
    '.bash_profile'             '_.bash_profile'
    $'Gr\u00fc\u00dfe \u5c71.txt' $'Gr\u00fc\u00dfe \u5c71.txt'
    "$(printf 'x%.0s' {1..4000}).jpeg" "$(printf 'x%.0s' {1..250}).jpeg"
    "$(printf '\u5c71%.0s' {1..1333}).x" "$(printf '\u5c71%.0s' {1..84}).x"
    "$(printf 'y%.0s' {1..4000})" "$(printf 'y%.0s' {1..255})"
    "z.$(printf 'z%.0s' {1..4000})" "z.$(printf 'z%.0s' {1..253})"
)
sent=() expected=()
for ((i = 0; i < ${#rows[@]}; i += 2)); do
    sent+=("${rows[i]}") expected+=("inner/deep/${rows[i + 1]}")
done
message "${sent[@]}"
touch -d '1 hour ago' mark
run extract --json --dry-run -o inner/deep mail
ok "dry run: status" is "$status" 0
ok "names" diff <(printf '%s\n' "${expected[@]}") <(names)
ok "dry run: makes nothing" is "$(ls -A inner)" ""
cp out planned
run extract --json -o inner/deep mail
ok "names: status" is "$status" 0
ok "names: json says the same as in a dry run" cmp out planned
find inner -type f | LC_ALL=C sort >made
ok "names: these files and no others" diff <(printf '%s\n' "${expected[@]}" | LC_ALL=C sort) made
ok "names: nothing elsewhere" is "$(find . -newer mark -type f ! -path './inner/*' | LC_ALL=C sort |
    tr '\n' ' ')" "./err ./made ./mail ./out ./planned "
ok "names: bytes" is "$(cat inner/deep/up.txt)" bytes
ok "date of the message" is "$(stat -c %Y inner/deep/up.txt)" 880127706
run extract -o plain mail
ok "text: a line a file" lines 27 out
ok "text: path and size" is "$(head -1 out)" "plain/up.txt  5 bytes"

# --- names in use

message a.txt A.txt a.txt noext noext "$(printf 'x%.0s' {1..300}).txt" "$(printf 'x%.0s' {1..300}).txt"
mkdir used
echo mine >victim
ln -s ../victim used/a.txt
ln -s nowhere "used/a (2).txt"
echo mine >used/noext
mkdir "used/noext (2)"
long=$(printf 'x%.0s' {1..251}) cut=$(printf 'x%.0s' {1..247})
cat >wanted <<END
used/a (3).txt
used/A.txt
used/a (4).txt
used/noext (3)
used/noext (4)
used/$long.txt
used/$cut (2).txt
END
run extract --json --dry-run -o used mail
ok "in use: dry run" diff wanted <(names)
run extract --json -o used mail
ok "in use" diff wanted <(names)
ok "in use: files stay" is "$(cat used/noext)" mine
ok "in use: links are not followed" is "$(cat victim)" mine
ok "in use: dangling links neither" [ ! -e used/nowhere ]
message $(printf 'same.txt %.0s' {1..3000})
run extract -o same mail
ok "3,000 of one name" is "$(tail -1 out)" "same/same (3000).txt  5 bytes"

# --- what is an attachment

cat >kinds <<'END'
Date: 1 Jan 70 00:00 GMT
Content-Type: multipart/mixed; boundary=b

--b
Content-Type: text/plain; charset=iso-8859-1; name=body.txt
Content-Transfer-Encoding: quoted-printable

Gr=FC=DFe
--b
Content-Type: text/html; charset=utf-8

<p>Hello</p>
--b
Content-Type: text/plain

a second text without a name
--b
Content-Type: text/plain; charset=iso-8859-1; name="notes"
Content-Transfer-Encoding: quoted-printable

=E4
--b
Content-Type: text/plain; charset=iso-8859-1
Content-Disposition: attachment; filename=raw.txt
Content-Transfer-Encoding: quoted-printable

=E4
--b
Content-Type: message/rfc822

Subject: inner

text
--b
Content-Type: message/rfc822; name=fwd.txt

Subject: inner

text
--b
Content-Type: image/png
Content-Transfer-Encoding: base64

AAECAw==
--b
Content-Type: application/json; charset=iso-8859-1; name=raw.json
Content-Transfer-Encoding: quoted-printable

=C3=A4=E4
--b
Content-Type: x-unknown/type

x
--b--
END
run extract -o kinds-out kinds
ok "kinds: status" is "$status" 0
ok "kinds: attachments" is "$(ls kinds-out | LC_ALL=C sort | tr '\n' ' ')" \
    "fwd.txt.eml notes part-10.bin part-6.eml part-8.png raw.json raw.txt "
ok "kinds: text in its charset" cmp kinds-out/notes <(printf '\xe4')
ok "kinds: attached text as it came" cmp kinds-out/raw.txt <(printf '\xe4')
ok "kinds: what is no text as it came" cmp kinds-out/raw.json <(printf '\xc3\xa4\xe4')
ok "kinds: bytes" cmp kinds-out/part-8.png <(printf '\0\1\2\3')
ok "kinds: a message whole" has "Subject: inner" kinds-out/part-6.eml
ok "kinds: an old date" is "$(stat -c %Y kinds-out/notes)" 0
run extract --all --closed -o all-out kinds
ok "all: every leaf" is "$(ls all-out | wc -l)" 10
ok "all: the text in its charset" cmp all-out/body.txt <(printf 'Gr\xfc\xdfe')
printf 'Content-Type: application/pdf\n\nx' >one
run extract -o one-out one one
ok "messages share names" is "$(ls one-out | tr '\n' ' ')" "part-1 (2).pdf part-1.pdf "

# --- dates: as sent, and in seconds; empty for what is none

while IFS='|' read -r date seconds; do
    printf 'Date: %s\nContent-Type: application/pdf\n\nx' "$date" >dated
    rm -rf dated-out
    run extract -o dated-out dated
    got=$(stat -c %Y dated-out/part-1.pdf)
    [ -z "$seconds" ] && [ "$got" -gt "$(($(date +%s) - 600))" ] && continue
    ok "date: $date" is "$got" "$seconds"
done <<'END'
Mon, 31 Dec 2001 23:59:60 +0100 (CET)|1009839600
 (a (nested\) ) comment)1 (x)Mar 2024 (y) 00:00:00 GMT|1709251200
29 Feb 2000 12:00 -0030|951827400
Thu,13 Feb 1969 23:32 -0330|-27723480
1 jan 99 0:00:00 EST|915166800
1 Jan 49 00:00:00 PDT|2493097200
1 Jan 104 00:00:00 Z|1072915200
1 Jan 2000 00:00:00 XYZ|946684800
29 Feb 2001 12:00:00 +0000|
1 Jan 2000 24:00:00 +0000|
1 Jan 2000 00:60:00 +0000|
1 Foo 2000 00:00:00 +0000|
1 Jan 2000 00:00:00|946684800
1 Jan 2000 00:00+0100|946681200
1 Jan 2000 00:00:00 +00000|
1 Jan 2000 00:00:00 +0090|
1 Jan 2000 00:00:00 +0000 more|946684800
1 Jan 99999999999999999999 00:00:00 +0000|
yesterday|
|
END

# --- failures: one line, status 1, the rest done

echo >file
fails 2 "--output" extract mail
fails 1 "file: Not a directory" extract -o file mail
fails 1 "no/such: No such file or directory" extract -o no/such mail
python3 - >big <<'PY'
print("Content-Type: multipart/mixed; boundary=b\n")
for size in (10, 100_000, 20):
    print(f"--b\nContent-Type: application/pdf; name={size}\n\n" + "x" * size)
print("--b--")
PY
(ulimit -f 20; "$tool" extract -o limited big >out 2>err </dev/null); status=$?
ok "too large: status" is "$status" 1
ok "too large: one line" lines 1 err
ok "too large: named" has "limited/100000: File too large" err
ok "too large: the rest is done, and no half file" is "$(ls limited | tr '\n' ' ')" "10 20 "
# A path that is too long is named, not passed over.
python3 -c 'import os
for _ in range(25): os.makedirs("deep" + "x" * 200); os.chdir("deep" + "x" * 200)'
fails 1 "File name too long" extract -o limited "deep$(printf 'x%.0s' {1..200})"
if [ "$(id -u)" != 0 ]; then
    mkdir -m 555 closed
    fails 1 "closed/10: Permission denied" extract -o closed <(head -4 big)
fi
run extract -o gone missing mail
ok "missing among good: status" is "$status" 1
ok "missing among good: the rest is done" [ -s gone/same.txt ]

finish
