// SPDX-License-Identifier: Apache-2.0
// The real FFT's passes on AVX2: eight lanes where a pass's stride allows,
// four (in VEX encoding) where it does not. Compiled with -mavx2 only.
#if defined(ZELSR_HAVE_AVX2)
#include <immintrin.h>

#include "frame/fft_wide.hpp"
#include "frame/fft_wide_passes.hpp"

namespace zel::fft::avx2 {
namespace {

#include "frame/fft_lanes4.inc"

struct L8 {
    __m256 v;
    static constexpr int kW = 8;
    static L8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
    static void store(float* p, L8 a) { _mm256_storeu_ps(p, a.v); }
    static L8 set1(float x) { return {_mm256_set1_ps(x)}; }
    static L8 zero() { return {_mm256_setzero_ps()}; }
    static L8 loadBlocks(const float* p, int64_t stride) {
        return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(p)), _mm_loadu_ps(p + stride), 1)};
    }
    static void loadDeinterleaved(const float* p, L8& re, L8& im) {
        const __m256 lo = _mm256_loadu_ps(p), hi = _mm256_loadu_ps(p + 8);
        // The shuffles work within halves; the 64-bit permute puts the pairs in order.
        const __m256 e = _mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0));
        const __m256 o = _mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1));
        re.v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(e), _MM_SHUFFLE(3, 1, 2, 0)));
        im.v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(o), _MM_SHUFFLE(3, 1, 2, 0)));
    }
    static void storeInterleaved(float* p, L8 a, L8 b) {
        const __m256 lo = _mm256_unpacklo_ps(a.v, b.v), hi = _mm256_unpackhi_ps(a.v, b.v);
        _mm256_storeu_ps(p, _mm256_permute2f128_ps(lo, hi, 0x20));
        _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(lo, hi, 0x31));
    }
    static L8 reverse(L8 a) { return {_mm256_permutevar8x32_ps(a.v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))}; }
    static void transpose4(L8& a, L8& b, L8& c, L8& d) {
        const __m256 t0 = _mm256_unpacklo_ps(a.v, b.v), t1 = _mm256_unpackhi_ps(a.v, b.v);
        const __m256 t2 = _mm256_unpacklo_ps(c.v, d.v), t3 = _mm256_unpackhi_ps(c.v, d.v);
        a.v = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
        b.v = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
        c.v = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
        d.v = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
    }
    static void storeGrouped(float* p, const L8 (&y)[4]) {
        _mm256_storeu_ps(p, _mm256_permute2f128_ps(y[0].v, y[1].v, 0x20));
        _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(y[2].v, y[3].v, 0x20));
        _mm256_storeu_ps(p + 16, _mm256_permute2f128_ps(y[0].v, y[1].v, 0x31));
        _mm256_storeu_ps(p + 24, _mm256_permute2f128_ps(y[2].v, y[3].v, 0x31));
    }
    static L8 spreadGroups(const float* p, int o) {
        const __m256i idx = _mm256_setr_epi32(o, o, o, o, o + 1, o + 1, o + 1, o + 1);
        return {_mm256_permutevar8x32_ps(_mm256_castps128_ps256(_mm_loadu_ps(p)), idx)};
    }
};
inline L8 add(L8 a, L8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline L8 sub(L8 a, L8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline L8 mul(L8 a, L8 b) { return {_mm256_mul_ps(a.v, b.v)}; }

}  // namespace

const float* forward(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split,
                     float h) {
    return wide::forward<L8, L4>(pSrc, pDst, work, m, chain, split, h);
}

void inverse(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split,
             float sc) {
    wide::inverse<L8, L4>(pSrc, pDst, work, m, chain, split, sc);
}

}  // namespace zel::fft::avx2

#endif  // ZELSR_HAVE_AVX2
