#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The package and the examples hold what their types promise.
# usage: types.sh SOURCE_DIR PYTHON
"$2" -c "import mypy" 2>/dev/null || { echo "no mypy: the types are not checked"; exit 77; }
cd "$1" || exit 1
MYPYPATH=python "$2" -m mypy --cache-dir=/dev/null --strict --no-site-packages --ignore-missing-imports python/mimetree examples/python
