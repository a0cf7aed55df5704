#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The single file is made and is well-formed: no name of one source clashes with one of another,
# and the header alone suits C11, C++17 and C++20.
# usage: check_single_file.sh COMPILER WORK_DIR
set -euo pipefail
python3 "$(dirname "$0")/amalgamate.py" "$2"
cd "$2"
for standard in c11 c++17 c++20; do
    language=${standard%%[0-9]*}
    "$1" -std=$standard -Wall -Wextra -fsyntax-only -x "$language" mimetree.h
done
"$1" -std=c++20 -fsyntax-only mimetree.cpp
