#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds and runs a consumer in each way that a user can take, with the static and with the shared
# library: of an installed and moved tree by find_package and by mimetree.pc, of a checkout by
# add_subdirectory and FetchContent, and of the single file.  Called by .ci/run.
# usage: consume.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$(realpath "$1")
mkdir -p "$2"
work=$(realpath "$2")
consumer=$source_dir/tests/install

install_and_move() {
    local build=$work/build-$shared stage=$work/stage-$shared
    rm -rf "$prefix" "$stage"
    cmake -G Ninja -S "$source_dir" -B "$build" -DBUILD_SHARED_LIBS="$shared" \
        -DCMAKE_BUILD_TYPE=Release -DMIMETREE_BUILD_TESTS=OFF >/dev/null
    cmake --build "$build"
    cmake --install "$build" --prefix "$stage" >/dev/null
    mv "$stage" "$prefix"
}

# No installed header may need one that is not.
headers_need_no_other() {
    local header
    for header in "$prefix"/include/mimetree/{foundation,mime}/*.h; do
        g++ -std=c++17 -fsyntax-only -I"$prefix/include/mimetree" -include "$header" -x c++ /dev/null
    done
}

by_cmake() {  # HOW OPTION...
    local how=$1
    shift
    cmake -G Ninja -S "$consumer" -B "$work/$how-$shared" -DMIMETREE_BY="$how" \
        -DBUILD_SHARED_LIBS="$shared" "$@" >/dev/null
    cmake --build "$work/$how-$shared"
    "$work/$how-$shared/consumer"
    "$work/$how-$shared/face_consumer"
}

in_c_alone() {
    cmake -G Ninja -S "$consumer/c_alone" -B "$work/c-$shared" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/c-$shared"
    "$work/c-$shared/consumer"
}

by_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --cflags --libs mimetree)
    # shellcheck disable=SC2086
    g++ -std=c++17 "$consumer/consumer.cpp" $flags -o "$work/pkg-$shared"
    LD_LIBRARY_PATH=$lib "$work/pkg-$shared"
    # shellcheck disable=SC2086
    g++ -std=c++20 "$consumer/face_consumer.cpp" $flags -o "$work/pkg-face-$shared"
    LD_LIBRARY_PATH=$lib "$work/pkg-face-$shared"
    [ "$shared" = ON ] || flags=$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --static --cflags --libs mimetree)
    # shellcheck disable=SC2086
    gcc -std=c11 "$consumer/c_consumer.c" $flags -o "$work/pkg-c-$shared"
    LD_LIBRARY_PATH=$lib "$work/pkg-c-$shared"
}

# The single file, by its one command; it takes under half a minute.
by_single_file() {
    local out=$work/single-$shared seconds TIMEFORMAT=%U
    local object=(-c -o mimetree.o) link=(mimetree.o)
    [ $shared = OFF ] || object=(-shared -fPIC -o libmimetree.so) link=(-L. -lmimetree)
    python3 "$source_dir/packaging/amalgamate.py" "$out"
    cd "$out"
    seconds=$({ time g++ -std=c++20 -O2 -Wall -Wextra -Wpedantic -Werror "${object[@]}" mimetree.cpp; } 2>&1) ||
        { echo "$seconds"; return 1; }
    echo "mimetree.cpp: $seconds s"
    [ "${seconds%.*}" -lt 30 ]
    g++ -std=c++17 -DSINGLE_FILE -I. "$consumer/consumer.cpp" "${link[@]}" -o consumer
    LD_LIBRARY_PATH=. ./consumer
    g++ -std=c++20 -DSINGLE_FILE -I. "$consumer/face_consumer.cpp" "${link[@]}" -o face_consumer
    LD_LIBRARY_PATH=. ./face_consumer
    cd - >/dev/null
}

for shared in OFF ON; do
    prefix=$work/prefix-$shared
    install_and_move
    library=$(find "$prefix" -name 'libmimetree.[as]*' | head -1)
    lib=$(dirname "$library")
    bash "$source_dir/tests/public_symbols.sh" "$source_dir" "$library"
    headers_need_no_other
    "$prefix/bin/mimetree" --version

    echo "consumers (shared: $shared)"
    by_cmake find_package -DCMAKE_PREFIX_PATH="$prefix"
    in_c_alone
    by_pkg_config
    by_cmake add_subdirectory -DMIMETREE_SOURCE_DIR="$source_dir"
    by_cmake FetchContent -DMIMETREE_SOURCE_DIR="$source_dir"
    by_single_file
done
