#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Compares the mt_* symbols of the shared library with the stored description, x86_64.abi.  What is
# incompatible needs a new soname (docs/versioning.md); after what was added, and after a new
# soname, --store writes the description anew.
# usage: check.sh SOURCE_DIR WORK_DIR [--store]
set -euo pipefail
source_dir=$(realpath "$1") stored=$(realpath "$1")/packaging/abi/x86_64.abi
rules=$source_dir/packaging/abi/c_interface.ini
mkdir -p "$2"
work=$(realpath "$2")

cmake -G Ninja -S "$source_dir" -B "$work" -DBUILD_SHARED_LIBS=ON -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_FLAGS="-ffile-prefix-map=$source_dir/=" \
    -DMIMETREE_BUILD_TESTS=OFF -DMIMETREE_BUILD_TOOLS=OFF >/dev/null
cmake --build "$work" --target mimetree
# No paths of this machine (nor above).
abidw --suppressions "$rules" --no-corpus-path --no-comp-dir-path \
    --exported-interfaces-only "$work/libmimetree.so" --out-file "$work/all.abi"
python3 "$source_dir/packaging/abi/reduce.py" "$work/all.abi" "$work/now.abi"

if [ "${3:-}" = --store ]; then
    cp "$work/now.abi" "$stored"
else
    abidiff --no-show-locs --no-added-syms "$stored" "$work/now.abi" ||
        { echo "the C interface changed or lost something" >&2; exit 1; }
    abidiff --no-show-locs "$stored" "$work/now.abi" ||
        { echo "the C interface grew: packaging/abi/check.sh . $2 --store" >&2; exit 1; }
    echo "the C interface is as stored: $(grep -c '<elf-symbol' "$stored") symbols"
fi
