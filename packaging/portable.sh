#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds the library with its tests, all in one program, for other machines and with other
# libraries, and runs it there or in an emulator.
# usage: portable.sh SOURCE_DIR WORK_DIR [KIND...]
set -euo pipefail
cd "$1"
mkdir -p "$2"
work=$(realpath "$2")
shift 2
gtest=/usr/src/googletest/googletest

# KIND, compiler with its flags, flags of the linker, and what runs the program (- for nothing).
kinds() {
    cat <<'ROWS'
aarch64  clang++ --target=aarch64-linux-gnu|-static|qemu-aarch64
s390x    clang++ --target=s390x-linux-gnu|-static|qemu-s390x
i386     g++ -m32|-static|-
libc++   clang++ -stdlib=libc++|-stdlib=libc++|-
gcc      g++|-pthread|-
mingw    x86_64-w64-mingw32-g++-posix -Wa,-mbig-obj|-static|env WINEDEBUG=-all wine
ROWS
}

build() {  # KIND COMPILER LINKING
    local out=$work/$1
    mkdir -p "$out"
    export compile="$2 -std=c++20 -O1 -I. -Iinclude -I$gtest -I$gtest/include
        -DMIMETREE_SAMPLES_DIR=\"$PWD/tests/samples\" -DMIMETREE_OUTPUT_DIR=\"$out\"" out
    # memory_test.cpp takes malloc from the linker, which not each of these has.
    find foundation mime face tests -name '*.cpp' ! -name memory_test.cpp ! -path 'tests/install/*' \
        -print0 | xargs -0 -P 2 -I{} bash -c '
        object=$out/$(tr / _ <<<"{}").o
        [ "$object" -nt "{}" ] || $compile -c "{}" -o "$object" || exit 255'
    $2 -std=c++20 -O1 -I$gtest -I$gtest/include -c $gtest/src/gtest-all.cc -o "$out/gtest.o"
    $2 "$out"/*.o $3 -o "$out/tests.exe"  # as Windows wants it
}

run() {  # KIND RUNNER
    local runner=()
    [ "$2" = - ] || read -ra runner <<<"$2"
    (cd tests && "${runner[@]}" "$work/$1/tests.exe" --gtest_brief=1)
}

[ $# -gt 0 ] || set -- $(kinds | cut -d' ' -f1)
for kind in "$@"; do
    IFS='|' read -r compiler linking runner < <(kinds | sed -n "s/^$kind  *//p")
    echo "=== $kind: $compiler"
    build "$kind" "$compiler" "$linking"
    run "$kind" "$runner"
done
