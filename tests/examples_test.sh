#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The programs of examples/, or of examples/c, do what they say.
# usage: examples_test.sh DIRECTORY_OF_PROGRAMS
set -euo pipefail
programs=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
printf '\x89PNG\r\n\x1a\n' > logo.png
echo "the report" > report.txt
"$programs/build_mail" logo.png report.txt > mail.eml
diff <("$programs/show_text" mail.eml) <(printf 'Here it is.\r\n')
[ "$("$programs/save_attachments" mail.eml out)" = out/report.txt ]
cmp out/report.txt report.txt
"$programs/change_charset" mail.eml us-ascii > ascii.eml
grep -qi 'charset="\?us-ascii' ascii.eml
for i in $(seq 200); do
    printf 'From ann@example.org Thu Nov  1 12:34:56 2001\nSubject: mail %d\n\n>From here\n\n' "$i"
done > archive.mbox
diff <("$programs/read_mbox" archive.mbox) <(for i in $(seq 200); do echo "$i: mail $i"; done)
! "$programs/show_text" archive.mbox 2> reason
grep -q mbox reason
