#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds the fuzz targets with clang and runs each of them for SECONDS; what they learn stays in
# build/fuzz/corpus and is the start of the next run.  A find is left in build/fuzz: mend the
# fault, and keep the file, made small, in fuzz/finds/TARGET/.
# FUZZ_RUNS=n stops each after n inputs, the same ones each time.
# usage: fuzz/run.sh SECONDS [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=$1
shift
cmake -G Ninja -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="-O1 -g1" -DMIMETREE_BUILD_FUZZ=ON -DMIMETREE_BUILD_TESTS=OFF \
    -DMIMETREE_BUILD_TOOLS=OFF >/dev/null
cmake --build build/fuzz
[ $# -gt 0 ] || set -- $(cd fuzz && printf '%s\n' *_fuzz.cpp | sed 's/\.cpp$//')

run_target() {
    local corpus=build/fuzz/corpus/$1 seeds=()
    mkdir -p "$corpus"
    [ "$1" != load_fuzz ] || seeds=(tests/samples/*)
    [ ! -d "fuzz/finds/$1" ] || seeds+=("fuzz/finds/$1")
    local same=()
    [ -z "${FUZZ_RUNS:-}" ] || same=(-runs="$FUZZ_RUNS" -seed=1)
    if ! "build/fuzz/fuzz/$1" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
        -artifact_prefix=build/fuzz/ -dict=fuzz/mail.dict "${same[@]}" "$corpus" "${seeds[@]}" \
        >"$corpus.log" 2>&1; then
        tail -n 40 "$corpus.log" >&2
        echo "$1: a find" >&2
        return 1
    fi
    sed -n "s/^#\([0-9]*\).*DONE *cov: \([0-9]*\).*/$1: \1 executions, \2 edges/p" "$corpus.log"
}
export -f run_target
export seconds
printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} bash -c 'run_target {}'
