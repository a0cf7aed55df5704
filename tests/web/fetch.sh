#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Fetches what package.json names into build/web/fetched.  Status 1 where the registry cannot be reached.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$here/../../build/web/fetched"
cd "$here/../../build/web/fetched"
cmp -s "$here/package.json" done.json && exit
cp "$here/package.json" .
PUPPETEER_SKIP_DOWNLOAD=1 timeout 300 npm install --prefix . --omit=optional --no-audit --no-fund \
    --no-package-lock --fetch-retries=1 --loglevel=error
cp package.json done.json
