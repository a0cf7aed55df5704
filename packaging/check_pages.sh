#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What is made from the program's table of commands: the man page is clean, completion answers in
# the shells that are there, and the README lists the commands as the table does.
# usage: check_pages.sh MIMETREE-PAGES README
set -euo pipefail
pages=$(realpath "$1") readme=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
for name in mimetree.1 mimetree.bash _mimetree mimetree.fish README.md; do
    "$pages" $name $name 2026-01-01
done
mkdir mails && touch mails/a.eml "mails/two words.eml"
status=0

# What each shell offers behind these words, sorted and on one line.
rows=(
    'mimetree to|to-xml'
    'mimetree --ver|--version'
    'mimetree tree --js|--json'
    'mimetree compose --encoding 7|7bit'
    'mimetree extract --output mai|mails/'
    'mimetree tree mails/two|mails/two words.eml'
)

in_bash() {
    # shellcheck disable=SC2016
    bash --norc -c 'source ./mimetree.bash
        compopt() { :; }
        COMP_WORDS=($1) COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _mimetree
        printf "%s\n" "${COMPREPLY[@]}"' - "$1" | sed 's,^mails$,mails/,'
}

in_fish() {
    fish --no-config -c "source ./mimetree.fish; complete -C '$1'" | cut -f1
}

# zsh completes at a terminal only: one is made, and what stands on the line then is read.
in_zsh() {
    zsh -f <<ZSH
zmodload zsh/zpty
zpty z zsh -f
typeset -g out line
send() { zpty -w z "\$1" }
send 'PS1=; fpath=("$work" \$fpath); autoload -U compinit; compinit -D -u; zstyle ":completion:*" menu no'
send 'bindkey "^X" show; show() { print -r -- "<\$BUFFER>" >"$work/line" }; zle -N show; print READY'
while zpty -r z line; do [[ \$line == *READY* && \$line != *print* ]] && break; done
zpty -n -w z "$1"\$'\t\x18'
for i in {1..100}; do [[ -s "$work/line" ]] && break; sleep 0.1; done
zpty -d z
ZSH
    sed -E 's/^<(.*)>$/\1/; s/ $//; s/\\ / /g' "$work/line"
    rm -f "$work/line"
}

check() {  # SHELL WORDS WANTED FOUND
    [ "$4" = "$3" ] || { echo "$1: '$2' completes to '$4', not '$3'" >&2; status=1; }
}

for shell in bash fish zsh; do
    command -v $shell >/dev/null || { echo "skipped: no $shell here"; continue; }
    for row in "${rows[@]}"; do
        words=${row%%|*} wanted=${row#*|}
        [ $shell != zsh ] || wanted="${words% *} $wanted"
        check $shell "$words" "$wanted" "$(in_$shell "$words" | sort | paste -sd' ')"
    done
done

if command -v mandoc >/dev/null; then mandoc -Tlint -W warning mimetree.1 || status=1
else echo "skipped: no mandoc here"
fi

while IFS= read -r line; do
    grep -qxF -- "$line" "$readme" || { echo "the README lacks: $line" >&2; status=1; }
done <README.md
exit $status
