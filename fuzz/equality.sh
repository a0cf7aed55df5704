#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Compares this engine with that of COMMIT: trees, fields, logs, written mails, XML and what is
# written after changes, over the samples, the mails in the FOLDERs as they are, and MAILS (500,000)
# made of them by chance (SEED=1).  Prints how many mails differ in which aspect, and the first that
# differs with what each engine tells of it; status 1 when one does.
# usage: fuzz/equality.sh COMMIT [FOLDER...]
set -euo pipefail
commit=$(git rev-parse --verify "$1^{commit}")
shift
folders=()
for folder in "$@"; do folders+=("$(realpath "$folder")"); done
cd "$(dirname "$0")/.."
folders=("$PWD/tests/samples" "${folders[@]}")
seed=${SEED:-1} mails=${MAILS:-500000} out=$PWD/build/equality

# The engine of the tree $1 with today's equality.cpp, as $out/$2.
build() {
    cmake -G Ninja -S "$1" -B "$1/build/equality" -DCMAKE_BUILD_TYPE=Release \
        -DMIMETREE_BUILD_TESTS=OFF -DMIMETREE_BUILD_TOOLS=OFF
    cmake --build "$1/build/equality" --target mimetree
    ${CXX:-c++} -std=c++20 -O2 -I"$1" fuzz/equality.cpp "$1/build/equality/libmimetree.a" -o "$out/$2"
}

mkdir -p "$out"
before=$out/$commit
[ -e "$before" ] || { mkdir "$before" && git archive "$commit" | tar -x -C "$before"; }
{ build "$before" before && build . now; } >"$out/build.log" 2>&1 || { tail "$out/build.log"; exit 2; }

for engine in before now; do
    "$out/$engine" digests "$seed" "$mails" "${folders[@]}" >"$out/$engine.digests" &
    pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid"; done

# Aspects in the order in which equality.cpp prints them.
paste -d ' ' "$out"/{before,now}.digests | awk '
    BEGIN { n = split("tree,fields,written,log,text of the log,XML,log of XML,changed", aspect, ",") }
    {
        differs = 0
        for (i = 1; i <= n; ++i)
            if ($(i + 1) != $(i + n + 2)) { differs = 1; if (!count[i]++) first[i] = $1 }
        total += differs
    }
    END {
        printf "%d mails, %d differ\n", NR, total
        for (i = 1; i <= n; ++i)
            if (count[i]) printf "%s: %d, first %s\n", aspect[i], count[i], first[i]
    }' | tee "$out/result"

first=$(sed -n 's/.*, first //p;T;q' "$out/result")
[ -n "$first" ] || exit 0
"$out/now" mail "$seed" "$first" "${folders[@]}" >"$out/first.eml"
echo "What they tell of mail $first, which is $out/first.eml:"
for engine in before now; do
    "$out/$engine" show "$seed" "$first" "${folders[@]}" >"$out/$engine.first"
done
diff "$out"/{before,now}.first | cut -c 1-200 | head -n 40
exit 1
