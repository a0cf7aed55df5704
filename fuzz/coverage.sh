#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Which lines of the engine the fuzz targets reach with what they have learnt so far
# (build/fuzz/corpus), the samples and the finds.  build/coverage/lines.txt has each line.
# usage: fuzz/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/coverage
cmake -G Ninja -B $out -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="-O1 -fprofile-instr-generate -fcoverage-mapping" >/dev/null
cmake --build $out --target replay

mkdir -p $out/seeds/load_fuzz build/fuzz/corpus
cp tests/samples/*/*.eml $out/seeds/load_fuzz
rm -f $out/*.profraw
for folder in build/fuzz/corpus fuzz/finds $out/seeds; do
    LLVM_PROFILE_FILE=$out/%p.profraw $out/fuzz/replay $folder >$out/replay.log ||
        [ -z "$(ls -A $folder)" ]
    tail -n 1 $out/replay.log
done
llvm-profdata merge -o $out/profile $out/*.profraw
cov() { local what=$1; shift; llvm-cov "$what" $out/fuzz/replay -instr-profile=$out/profile "$@" foundation mime; }
cov show >$out/lines.txt
cov export -summary-only | python3 -c '
import json, os, sys
files = [(os.path.relpath(f["filename"]), f["summary"]["lines"]) for f in json.load(sys.stdin)["data"][0]["files"]]
for folder in "foundation", "mime":
    lines = [l for name, l in files if name.startswith(folder + "/")]
    count, covered = sum(l["count"] for l in lines), sum(l["covered"] for l in lines)
    print("%s/: %d of %d lines, %.1f %%" % (folder, covered, count, 100 * covered / count))
print("Most lines never reached:")
for name, l in sorted(files, key=lambda f: f[1]["covered"] - f[1]["count"])[:8]:
    print("  %s: %d of %d" % (name, l["count"] - l["covered"], l["count"]))'
