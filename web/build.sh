#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds the package, mimetree-VERSION.tgz, and the page, mimetree.html, in build/web.  Status 77 where
# Emscripten or Node is missing.
set -euo pipefail
cd "$(dirname "$0")/.."
for tool in emcc node npm; do
    command -v $tool >/dev/null || { echo "web: skipped, needs $tool"; exit 77; }
done
[ -f build/web/build.ninja ] ||
    emcmake cmake -G Ninja -S web -B build/web -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/web
cd build/web
rm -f ./*.tgz
npm pack --silent ./package
mkdir -p node_modules && ln -sfn ../package node_modules/mimetree  # for examples and measurements
rm -rf examples && cp -r ../../examples/javascript examples
node ../../web/page/join.mjs package mimetree.html
