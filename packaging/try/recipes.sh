#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Runs the steps of the vcpkg port, the Conan recipe and the Homebrew formula, with their tools
# played by small stand-ins, and builds a consumer against what each installed.
# usage: recipes.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$(realpath "$1")
rm -rf "$2"
mkdir -p "$2"
work=$(realpath "$2")
here=$source_dir/packaging/try

consume() {  # NAME
    cmake -G Ninja -S "$source_dir/tests/install" -B "$work/$1/consumer" \
        -DMIMETREE_BY=find_package -DCMAKE_PREFIX_PATH="$work/$1/package" >/dev/null
    cmake --build "$work/$1/consumer" >/dev/null
    "$work/$1/consumer/consumer"
    echo "$1: a consumer builds and runs"
}

cmake -DPORT_DIR="$source_dir/packaging/vcpkg/mimetree" -DWORK="$work/vcpkg" \
    -P "$here/vcpkg_stub.cmake"
consume vcpkg
python3 "$here/conan_stub.py" "$source_dir/packaging/conan/conanfile.py" "$work/conan"
consume conan
mkdir -p "$work/brew"
ruby "$here/brew_stub.rb" "$source_dir/packaging/homebrew/mimetree.rb" "$source_dir" "$work/brew"
consume brew
