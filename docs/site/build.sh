#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Builds the site into build/docs; fails where a page or a comment has a fault, or a public name of the
# face or the C interface none.  The engine's own headers may leave a name to speak for itself.
set -euo pipefail
cd "$(dirname "$0")/../.."
rm -rf build/docs && mkdir -p build/docs
doxygen docs/site/Doxyfile 2>&1
if grep -vE '/(foundation|mime)/[^:]*:[0-9]+: warning: .* is not documented' build/docs/warnings.log
then exit 1
fi
echo "build/docs/index.html"
