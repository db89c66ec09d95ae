// SPDX-License-Identifier: Apache-2.0
// The real FFT's passes on AVX-512: sixteen lanes where a pass's stride
// allows, four where it does not. Compiled for AVX-512 only.
#if defined(ZELSR_HAVE_AVX512)
#include <immintrin.h>

#include "frame/fft_wide.hpp"
#include "frame/fft_wide_passes.hpp"

namespace zel::fft::avx512 {
namespace {

#include "frame/fft_lanes4.inc"

struct L16 {
    __m512 v;
    static constexpr int kW = 16;
    static L16 load(const float* p) { return {_mm512_loadu_ps(p)}; }
    static void store(float* p, L16 a) { _mm512_storeu_ps(p, a.v); }
    static L16 set1(float x) { return {_mm512_set1_ps(x)}; }
    static L16 zero() { return {_mm512_setzero_ps()}; }
    static L16 loadBlocks(const float* p, int64_t stride) {
        __m512 v = _mm512_castps128_ps512(_mm_loadu_ps(p));
        v = _mm512_insertf32x4(v, _mm_loadu_ps(p + stride), 1);
        v = _mm512_insertf32x4(v, _mm_loadu_ps(p + 2 * stride), 2);
        return {_mm512_insertf32x4(v, _mm_loadu_ps(p + 3 * stride), 3)};
    }
    static void loadDeinterleaved(const float* p, L16& re, L16& im) {
        const __m512 lo = _mm512_loadu_ps(p), hi = _mm512_loadu_ps(p + 16);
        const __m512i even = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        const __m512i odd = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
        re.v = _mm512_permutex2var_ps(lo, even, hi);
        im.v = _mm512_permutex2var_ps(lo, odd, hi);
    }
    static void storeInterleaved(float* p, L16 a, L16 b) {
        const __m512i lo = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        const __m512i hi = _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
        _mm512_storeu_ps(p, _mm512_permutex2var_ps(a.v, lo, b.v));
        _mm512_storeu_ps(p + 16, _mm512_permutex2var_ps(a.v, hi, b.v));
    }
    static L16 reverse(L16 a) {
        return {_mm512_permutexvar_ps(_mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0), a.v)};
    }
    static void transpose4(L16& a, L16& b, L16& c, L16& d) {
        const __m512 t0 = _mm512_unpacklo_ps(a.v, b.v), t1 = _mm512_unpackhi_ps(a.v, b.v);
        const __m512 t2 = _mm512_unpacklo_ps(c.v, d.v), t3 = _mm512_unpackhi_ps(c.v, d.v);
        a.v = _mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
        b.v = _mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
        c.v = _mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
        d.v = _mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
    }
    // A 4x4 transpose of runs of four: run g of y[r] to p + 16g + 4r.
    static void storeGrouped(float* p, const L16 (&y)[4]) {
        const __m512 t0 = _mm512_shuffle_f32x4(y[0].v, y[1].v, _MM_SHUFFLE(1, 0, 1, 0));
        const __m512 t1 = _mm512_shuffle_f32x4(y[0].v, y[1].v, _MM_SHUFFLE(3, 2, 3, 2));
        const __m512 t2 = _mm512_shuffle_f32x4(y[2].v, y[3].v, _MM_SHUFFLE(1, 0, 1, 0));
        const __m512 t3 = _mm512_shuffle_f32x4(y[2].v, y[3].v, _MM_SHUFFLE(3, 2, 3, 2));
        _mm512_storeu_ps(p, _mm512_shuffle_f32x4(t0, t2, _MM_SHUFFLE(2, 0, 2, 0)));
        _mm512_storeu_ps(p + 16, _mm512_shuffle_f32x4(t0, t2, _MM_SHUFFLE(3, 1, 3, 1)));
        _mm512_storeu_ps(p + 32, _mm512_shuffle_f32x4(t1, t3, _MM_SHUFFLE(2, 0, 2, 0)));
        _mm512_storeu_ps(p + 48, _mm512_shuffle_f32x4(t1, t3, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static L16 spreadGroups(const float* p, int o) {
        const __m512i idx = _mm512_add_epi32(_mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3),
                                             _mm512_set1_epi32(o));
        return {_mm512_permutexvar_ps(idx, _mm512_castps128_ps512(_mm_loadu_ps(p)))};
    }
};
inline L16 add(L16 a, L16 b) { return {_mm512_add_ps(a.v, b.v)}; }
inline L16 sub(L16 a, L16 b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline L16 mul(L16 a, L16 b) { return {_mm512_mul_ps(a.v, b.v)}; }

}  // namespace

const float* forward(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split,
                     float h) {
    return wide::forward<L16, L4>(pSrc, pDst, work, m, chain, split, h);
}

void inverse(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split,
             float sc) {
    wide::inverse<L16, L4>(pSrc, pDst, work, m, chain, split, sc);
}

}  // namespace zel::fft::avx512

#endif  // ZELSR_HAVE_AVX512
