#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Installs the packages in a fresh root of Debian, runs the program there, and builds and runs a
# consumer of the library by pkg-config.  Needs mmdebstrap, root, and the mirror of this machine.
# usage: clean_root.sh SOURCE_DIR DIR_OF_PACKAGES
set -euo pipefail
source_dir=$(realpath "$1") packages=$(realpath "$2")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
# shellcheck source=/dev/null
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
files=("$packages"/*.deb "$source_dir/tests/install/consumer.cpp" "$source_dir/examples/welcome.eml")
mmdebstrap --quiet --variant=apt --include=g++,pkg-config,man-db "$suite" "$root" \
    --customize-hook="copy-in ${files[*]} /root" \
    --customize-hook='chroot "$1" sh -c "apt-get -q -y --no-install-recommends install /root/*.deb"' \
    --customize-hook='chroot "$1" sh -euc "
        cd /root
        mimetree --version
        mimetree tree welcome.eml
        man mimetree | head -4
        test -f /usr/share/bash-completion/completions/mimetree
        g++ -std=c++17 consumer.cpp -o consumer \$(pkg-config --cflags --libs mimetree)
        ./consumer
        ldd consumer | grep -q libmimetree.so.
        python3 -c \"import mimetree, sys; print(mimetree.parse(sys.argv[1]), mimetree.__version__)\" \
            welcome.eml
        apt-get -q -y purge libmimetree-dev mimetree >/dev/null
        echo in the clean root all is well"'
