# SPDX-License-Identifier: Apache-2.0
include(FindPlainLibrary)
find_plain_library(RE2 re2/re2.h re2)
