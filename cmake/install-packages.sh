#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Installs those Debian packages of cmake/debian-packages.txt that are missing.  Status 1 when one
# cannot be had; the others are installed all the same.
# usage: install-packages.sh PURPOSE...      (build, ci, ...: the second column of the list)
set -euo pipefail

list=$(dirname "$0")/../cmake/debian-packages.txt

if ! command -v dpkg-query >/dev/null; then
    echo "install-packages: no Debian system; please install what $list names" >&2
    exit 0
fi

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

missing=()
for purpose in "$@"; do
    while read -r package for rest; do
        [ "$for" != "$purpose" ] || is_installed "$package" || missing+=("$package")
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

install() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -y install --no-install-recommends "$@"
}

echo "installing: ${missing[*]}"
"${as_root[@]}" apt-get -q update || true  # the lists that are there may do
install "${missing[@]}" && exit
status=0
for package in "${missing[@]}"; do
    install "$package" >/dev/null 2>&1 ||
        { echo "install-packages: $package cannot be had" >&2; status=1; }
done
exit $status
