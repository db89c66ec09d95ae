// SPDX-License-Identifier: Apache-2.0
// Entry points of the real FFT's AVX2 and AVX-512 kernels. A plan records at
// init which of them its transforms take; the baseline file calls them with
// the plan's tables and scratch, and keeps the bins 0 and N/2 for itself.
#pragma once

#include <stdint.h>

namespace zel::fft {

#define ZELSR_FFT_WIDE_ENTRY_POINTS                                                                          \
    /* The forward transform of M = N/2 >= 16 complex values into bins 1 .. M-1 of pDst at output scale    \
       2h; returns the complex spectrum (split arrays of M values) for the edges. */                       \
    const float* forward(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain,        \
                         const float* split, float h);                                                     \
    /* The inverse transform from the packed spectrum, scaled by sc. */                                    \
    void inverse(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split, \
                 float sc);

namespace avx2 {
ZELSR_FFT_WIDE_ENTRY_POINTS
}
namespace avx512 {
ZELSR_FFT_WIDE_ENTRY_POINTS
}

#undef ZELSR_FFT_WIDE_ENTRY_POINTS

}  // namespace zel::fft
