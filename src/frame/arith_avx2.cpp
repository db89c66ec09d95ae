// SPDX-License-Identifier: Apache-2.0
// Magnitudes of complex singles on AVX2, eight at a time, with the bits of
// the baseline kernel (arith.cpp): the same square sum, the same hardware
// estimate of 1/sqrt (the 256-bit form of the same instruction) and the same
// Newton step, and the exact square root below the smallest normal. The
// AVX-512 path takes this kernel too: its own estimate is of another
// precision. Compiled for AVX2 only, and empty in builds without it.
#if defined(ZELSR_HAVE_AVX2)
#include <immintrin.h>

namespace zel::arith::avx2 {

int magnitude32fc(const float* src, float* dst, int n) {
    const __m256 half = _mm256_set1_ps(-0.5f), three = _mm256_set1_ps(3.0f);
    const __m256 minNormal = _mm256_set1_ps(1.17549435e-38f);
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256 a = _mm256_loadu_ps(src + 2 * i), b = _mm256_loadu_ps(src + 2 * i + 8);
        // Elements 0, 1, 4, 5 | 2, 3, 6, 7.
        const __m256 re = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        const __m256 im = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
        const __m256 x = _mm256_add_ps(_mm256_mul_ps(re, re), _mm256_mul_ps(im, im));
        const __m256 y = _mm256_rsqrt_ps(x);
        const __m256 xy = _mm256_mul_ps(x, y);
        const __m256 newton = _mm256_mul_ps(_mm256_mul_ps(xy, half), _mm256_sub_ps(_mm256_mul_ps(xy, y), three));
        const __m256 m = _mm256_blendv_ps(newton, _mm256_sqrt_ps(x), _mm256_cmp_ps(x, minNormal, _CMP_LT_OQ));
        _mm256_storeu_ps(dst + i, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(m), _MM_SHUFFLE(3, 1, 2, 0))));
    }
    return i;
}

}  // namespace zel::arith::avx2

#endif
