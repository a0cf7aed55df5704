#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# The README's C++ program must be examples/read_message.cpp (less its SPDX line).
# usage: readme_example.sh SOURCE_DIR
diff <(sed -n '/^```cpp$/,/^```$/{//!p}' "$1/README.md") <(tail -n +2 "$1/examples/read_message.cpp")
