#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The programs of examples/, examples/c or examples/python do what they say.
# usage: examples_test.sh DIRECTORY_OF_PROGRAMS [INTERPRETER EXTENSION]
set -euo pipefail
programs=$1 interpreter=${2:-} extension=${3:-}
run() { $interpreter "$programs/$1$extension" "${@:2}"; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
printf '\x89PNG\r\n\x1a\n' > logo.png
echo "the report" > report.txt
run build_mail logo.png report.txt > mail.eml
diff <(run show_text mail.eml) <(printf 'Here it is.\r\n')
[ "$(run save_attachments mail.eml out)" = out/report.txt ]
cmp out/report.txt report.txt
run change_charset mail.eml us-ascii > ascii.eml
grep -qi 'charset="\?us-ascii' ascii.eml
for i in $(seq 200); do
    printf 'From ann@example.org Thu Nov  1 12:34:56 2001\nSubject: mail %d\n\n>From here\n\n' "$i"
done > archive.mbox
diff <(run read_mbox archive.mbox) <(for i in $(seq 200); do echo "$i: mail $i"; done)
! run show_text archive.mbox 2> reason
grep -q mbox reason
