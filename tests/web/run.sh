#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: run.sh BUILT COMMAND...     runs it where web/build.sh has built; else status 77
[ -f "$1/package/mimetree.wasm" ] || { echo "skipped: no $1/package (make web)"; exit 77; }
shift
exec "$@"
