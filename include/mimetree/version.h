/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MIMETREE_VERSION_H
#define MIMETREE_VERSION_H

/** @file
   The version, for C and C++: here and nowhere else.  CMake reads it, and with it the names of the
   library and of the packages; docs/versioning.md says what each number promises. */

/** The first number. */
#define MIMETREE_VERSION_MAJOR 0
/** The second. */
#define MIMETREE_VERSION_MINOR 1
/** The third. */
#define MIMETREE_VERSION_PATCH 0

/** All three as a text, "0.1.0". */
#define MIMETREE_VERSION \
    MIMETREE_VERSION_DOTTED(MIMETREE_VERSION_MAJOR, MIMETREE_VERSION_MINOR, MIMETREE_VERSION_PATCH)

/** To compare in a condition: MIMETREE_VERSION_NUMBER >= MIMETREE_VERSION_OF(1, 2, 0) */
#define MIMETREE_VERSION_OF(major, minor, patch) ((major)*10000 + (minor)*100 + (patch))
/** The version in the form of #MIMETREE_VERSION_OF. */
#define MIMETREE_VERSION_NUMBER \
    MIMETREE_VERSION_OF(MIMETREE_VERSION_MAJOR, MIMETREE_VERSION_MINOR, MIMETREE_VERSION_PATCH)

/** @cond */
#define MIMETREE_VERSION_DOTTED(major, minor, patch) MIMETREE_VERSION_TEXT(major.minor.patch)
#define MIMETREE_VERSION_TEXT(text) #text
/** @endcond */

#endif
