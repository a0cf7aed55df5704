#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds the site into build/docs; fails where a page or a comment has a fault, or a public name none.
set -euo pipefail
cd "$(dirname "$0")/../.."
rm -rf build/docs && mkdir -p build/docs
doxygen docs/site/Doxyfile 2>&1
if [ -s build/docs/warnings.log ]; then
    cat build/docs/warnings.log
    exit 1
fi
echo "build/docs/index.html"
