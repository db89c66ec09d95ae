// SPDX-License-Identifier: Apache-2.0
// Aligned allocation, thread count and processor features.
#include "zelcore_own.h"

#include <stdlib.h>

#ifdef _OPENMP
#include <omp.h>
#endif
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

constexpr size_t kAlign = 64;

uint64_t detectFeatures() {
    uint64_t mask = 0;
#if defined(__x86_64__) || defined(__i386__)
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d)) {
        if (c & bit_SSE4_1) mask |= zelFeatureSSE41;
        // AVX2 also needs the operating system to save the ymm state (OSXSAVE + XCR0).
        // AVX-512 further needs the opmask and zmm states saved (XCR0 bits 5 to 7).
        bool osAvx = false, osAvx512 = false;
        if ((c & bit_OSXSAVE) && (c & bit_AVX)) {
            unsigned lo, hi;
            __asm__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
            osAvx = (lo & 6u) == 6u;
            osAvx512 = (lo & 0xe6u) == 0xe6u;
        }
        if (osAvx && __get_cpuid_count(7, 0, &a, &b, &c, &d)) {
            if (b & bit_AVX2) mask |= zelFeatureAVX2;
            // F, DQ, BW and VL: the subsets the library's 512-bit kernels use.
            const unsigned need = bit_AVX512F | bit_AVX512DQ | bit_AVX512BW | bit_AVX512VL;
            if (osAvx512 && (b & bit_AVX2) && (b & need) == need) mask |= zelFeatureAVX512;
        }
    }
#endif
    return mask;
}

// Read once when the library is loaded; constant afterwards.
const uint64_t gFeatures = detectFeatures();

}  // namespace

extern "C" {

ZELCORE_API void* zelMalloc(size_t size) {
    if (size == 0) return nullptr;
    // aligned_alloc wants a multiple of the alignment.
    size_t rounded = (size + kAlign - 1) & ~(kAlign - 1);
    if (rounded < size) return nullptr;
    return aligned_alloc(kAlign, rounded);
}

ZELCORE_API void zelFree(void* ptr) { free(ptr); }

ZELCORE_API int ownGetNumThreads(void) {
#ifdef _OPENMP
    return omp_get_max_threads();
#else
    return 1;
#endif
}

ZELCORE_API int ownGetFeature(uint64_t mask) {
    return (gFeatures & mask) == mask && mask != 0;
}

}  // extern "C"
