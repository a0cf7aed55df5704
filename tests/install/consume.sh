#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Installs the library, static and shared, moves the tree, and builds a consumer against it by
# find_package and by mimetree.pc; then one by add_subdirectory.  Called by .ci/run.
# usage: consume.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$(realpath "$1")
mkdir -p "$2"
work=$(realpath "$2")
consumer=$source_dir/tests/install

for shared in OFF ON; do
    build=$work/build-$shared stage=$work/stage-$shared prefix=$work/prefix-$shared
    rm -rf "$prefix" "$stage"
    cmake -G Ninja -S "$source_dir" -B "$build" -DBUILD_SHARED_LIBS=$shared \
        -DCMAKE_BUILD_TYPE=Release -DMIMETREE_BUILD_TESTS=OFF >/dev/null
    cmake --build "$build"
    cmake --install "$build" --prefix "$stage" >/dev/null
    mv "$stage" "$prefix"
    library=$(find "$prefix" -name 'libmimetree.[as]*' | head -1)
    lib=$(dirname "$library")
    bash "$source_dir/tests/public_symbols.sh" "$source_dir" "$library"

    # No installed header may need one that is not.
    for header in "$prefix"/include/mimetree/{foundation,mime}/*.h; do
        g++ -std=c++17 -fsyntax-only -I"$prefix/include/mimetree" -include "$header" -x c++ /dev/null
    done

    echo "consumer by find_package (shared: $shared)"
    cmake -G Ninja -S "$consumer" -B "$work/find-$shared" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/find-$shared"
    "$work/find-$shared/consumer"

    echo "consumer by pkg-config (shared: $shared)"
    export PKG_CONFIG_PATH=$lib/pkgconfig
    # shellcheck disable=SC2046
    g++ -std=c++17 "$consumer/consumer.cpp" $(pkg-config --cflags --libs mimetree) \
        -o "$work/pkg-$shared"
    LD_LIBRARY_PATH=$lib "$work/pkg-$shared"

    "$prefix/bin/mimetree" --version
done

echo "consumer by add_subdirectory"
cmake -G Ninja -S "$consumer" -B "$work/sub" -DMIMETREE_SOURCE_DIR="$source_dir" >/dev/null
cmake --build "$work/sub"
"$work/sub/consumer"
