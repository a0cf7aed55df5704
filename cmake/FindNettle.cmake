# SPDX-License-Identifier: Apache-2.0
include(FindPlainLibrary)
find_plain_library(Nettle nettle/sha2.h nettle)
