#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds with Debian's flags and makes the packages; lintian finds nothing but the listed tags.
# usage: build.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir=$(realpath "$1")
mkdir -p "$2"
build=$(realpath "$2")

# The same packages from the same commit.
if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
    SOURCE_DATE_EPOCH=$(git -C "$source_dir" log -1 --format=%ct)
fi
export SOURCE_DATE_EPOCH
# libytnef is under the GPL, which the packages are to be free of.
CXXFLAGS="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)" \
    LDFLAGS=$(dpkg-buildflags --get LDFLAGS) \
    cmake -G Ninja -S "$source_dir" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
    -DMIMETREE_BUILD_TESTS=OFF -DMIMETREE_BUILD_PYTHON=ON -DMIMETREE_YTNEF=OFF \
    -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)" >/dev/null
cmake --build "$build"
cd "$build"
rm -f ./*.deb ./*.tar.gz
cpack >cpack.log || { cat cpack.log; exit 1; }
tags=$(grep -v '^#' "$source_dir/packaging/debian/lintian-tags" | paste -sd,)
lintian --allow-root --fail-on error,warning --suppress-tags "$tags" ./*.deb
ls -l ./*.deb ./*.tar.gz
