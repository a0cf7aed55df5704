#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Installs those Debian packages of cmake/debian-packages.txt that are missing.
# usage: install-packages.sh PURPOSE...      (build, ci, fuzz: the second column of the list)
set -euo pipefail

list=$(dirname "$0")/../cmake/debian-packages.txt

if ! command -v dpkg-query >/dev/null; then
    echo "install-packages: no Debian system; please install what $list names" >&2
    exit 0
fi

missing=()
for purpose in "$@"; do
    while read -r package for rest; do
        [ "$for" = "$purpose" ] || continue
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$state" = installed ] || missing+=("$package")
    done < <(grep -v '^#' "$list")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages: please install as root: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

echo "installing: ${missing[*]}"
"${as_root[@]}" apt-get -q update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -q -y install --no-install-recommends "${missing[@]}"
