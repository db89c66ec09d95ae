/* SPDX-License-Identifier: Apache-2.0 */
// What the core library offers zelsr beyond its public allocation pair:
// the thread count and the processor feature query.
#pragma once

#include <stdint.h>

#include "zelcore.h"

// Feature bits of ownGetFeature.
enum : uint64_t {
    zelFeatureSSE41 = 0x80,   // selects the library's faster path on x86-64
    zelFeatureAVX2 = 0x100,
    zelFeatureAVX512 = 0x200,  // AVX-512 F, DQ, BW and VL, with the OS saving zmm state
};

extern "C" {
// Threads that a parallel region may use: the OpenMP runtime's maximum.
ZELCORE_API int ownGetNumThreads(void);
// Non-zero if every feature in `mask` is present on this processor.
ZELCORE_API int ownGetFeature(uint64_t mask);
}
