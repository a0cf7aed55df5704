/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MIMETREE_VERSION_H
#define MIMETREE_VERSION_H

/* The version, for C and C++: here and nowhere else.  CMake reads it, and with it the names of the
   library and of the packages; docs/versioning.md says what each number promises. */

#define MIMETREE_VERSION_MAJOR 0
#define MIMETREE_VERSION_MINOR 1
#define MIMETREE_VERSION_PATCH 0

/* "0.1.0" */
#define MIMETREE_VERSION \
    MIMETREE_VERSION_DOTTED(MIMETREE_VERSION_MAJOR, MIMETREE_VERSION_MINOR, MIMETREE_VERSION_PATCH)

/* To compare in #if: MIMETREE_VERSION_NUMBER >= MIMETREE_VERSION_OF(1, 2, 0) */
#define MIMETREE_VERSION_OF(major, minor, patch) ((major)*10000 + (minor)*100 + (patch))
#define MIMETREE_VERSION_NUMBER \
    MIMETREE_VERSION_OF(MIMETREE_VERSION_MAJOR, MIMETREE_VERSION_MINOR, MIMETREE_VERSION_PATCH)

#define MIMETREE_VERSION_DOTTED(major, minor, patch) MIMETREE_VERSION_TEXT(major.minor.patch)
#define MIMETREE_VERSION_TEXT(text) #text

#endif
