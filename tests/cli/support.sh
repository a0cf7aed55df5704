# SPDX-License-Identifier: Apache-2.0
# What the tests of the program share: source it with the program's path.  They run in a
# directory of their own, which goes at the end, and count failures.
set -u
export LC_ALL=C.UTF-8
tool=$(realpath "$1")
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
sample=$here/../../examples/welcome.eml
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

# ok WHAT COMMAND...: the command must succeed.
ok() {
    "${@:2}" && return
    echo "FAILED: $1"
    echo "  status $status; stdout:"; head -c 1500 out | sed 's/^/    /'
    echo "  stderr:"; head -c 1500 err | sed 's/^/    /'
    failures=$((failures + 1))
}
run() { "$tool" "$@" >out 2>err </dev/null; status=$?; }
is() { [ "$1" = "$2" ]; }
has() { grep -qF -- "$1" "${2:-out}"; }
hasnt() { ! has "$@"; }
lines() { [ "$(wc -l <"$2")" -eq "$1" ]; }

# fails STATUS TEXT ARGS...: nothing on stdout, one line on stderr that holds TEXT.
fails() {
    run "${@:3}"
    ok "status $1: ${*:3}" is "$status" "$1"
    ok "one line: ${*:3}" lines 1 err
    ok "says $2: ${*:3}" has "$2" err
    ok "nothing on stdout: ${*:3}" lines 0 out
}

# on_terminal ARGS...: stdout is a terminal; what it received goes to `out`.
on_terminal() {
    python3 -c 'import os, pty, sys; sys.exit(os.waitstatus_to_exitcode(pty.spawn(sys.argv[1:])))' \
        "$tool" "$@" >out 2>err </dev/null
    status=$?
}

finish() {
    [ "$failures" -eq 0 ] && echo "all passed"
    exit $((failures > 0))
}
