/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelcore.h
 * zelcore: the small core library under zelsr (aligned allocation). */
#ifndef ZELCORE_H
#define ZELCORE_H

#include <stddef.h>

/** Marks an exported function of the core library. */
#if defined(_WIN32)
#  define ZELCORE_API __declspec(dllexport)
#else
#  define ZELCORE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Returns a block of at least `size` bytes aligned to 64 bytes, or NULL when
   `size` is 0 or the memory is not there. Release it with zelFree. */
ZELCORE_API void* zelMalloc(size_t size);

/** Releases a block from zelMalloc; NULL is allowed and does nothing. */
ZELCORE_API void zelFree(void* ptr);

#ifdef __cplusplus
}
#endif

#endif /* ZELCORE_H */
