#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The version stands in include/mimetree/version.h; what cannot read it there must agree with it.  The
# libraries that the program makes use of stand in cli/CMakeLists.txt, and those who name them name all.
# usage: check_versions.sh VERSION-THAT-CMAKE-READ
set -euo pipefail
cd "$(dirname "$0")/.."
version=$(printf '#include "include/mimetree/version.h"\nMIMETREE_VERSION\n' | ${CC:-cc} -E -P - | tr -d '" ')
status=0
expect() {  # WHERE FOUND
    [ "$2" = "$version" ] || { echo "$1 has version '$2', not '$version'" >&2; status=1; }
}
expect CMake "$1"
expect CHANGELOG.md "$(sed -nE '/^## \[[0-9]/{s/^## \[([0-9.]+)\].*/\1/p;q};s/^Becomes ([0-9.]+),.*/\1/p' CHANGELOG.md | head -1)"
expect packaging/vcpkg "$(sed -nE 's/^ *"version": "([0-9.]+)".*/\1/p' packaging/vcpkg/mimetree/vcpkg.json)"
expect packaging/homebrew "$(sed -nE 's/^ *url .*mimetree-([0-9.]+)\.tar\.gz"/\1/p' packaging/homebrew/mimetree.rb)"
for library in $(sed -nE 's/^option\(MIMETREE_.*, by (.*)" ON\)$/\1/p' cli/CMakeLists.txt); do
    grep -qwi "$library" README.md || { echo "README.md does not name $library" >&2; status=1; }
    grep -qi "\"${library#one}\"" packaging/homebrew/mimetree.rb ||
        { echo "packaging/homebrew does not name $library" >&2; status=1; }
done
exit $status
