/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MIMETREE_EXPORT_H
#define MIMETREE_EXPORT_H

/* MIMETREE_API marks what the shared library exports; all else in it is hidden.  Users of the
   shared library define MIMETREE_SHARED, and its own build MIMETREE_BUILDING besides, which
   the CMake targets do by themselves. */

#ifndef MIMETREE_API
#if defined(_WIN32) && defined(MIMETREE_SHARED)
#ifdef MIMETREE_BUILDING
#define MIMETREE_API __declspec(dllexport)
#else
#define MIMETREE_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define MIMETREE_API __attribute__((visibility("default")))
#else
#define MIMETREE_API
#endif
#endif

/* MIMETREE_ENUM marks the enumerations for which callers in C may hand in any number, as C++ has to
   be told. */
#ifdef __cplusplus
#define MIMETREE_ENUM : unsigned
#else
#define MIMETREE_ENUM
#endif

#endif
