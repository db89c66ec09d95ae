// SPDX-License-Identifier: Apache-2.0
// The dynamic features on AVX-512: sixteen columns of a row per register,
// the tail columns under a mask. Compiled for AVX-512 only, and empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX512)
#include <immintrin.h>

#include "frontend/delta_wide.hpp"
#include "frontend/delta_wide_kernels.hpp"

namespace zel::delta::avx512 {
namespace {

inline __mmask16 lanes(int n) { return static_cast<__mmask16>((1u << n) - 1u); }

struct Floats {
    using E = float;
    using V = __m512;
    static constexpr int kLanes = 16;
    static V load(const float* p, int n) { return _mm512_maskz_loadu_ps(lanes(n), p); }
    static void store(float* p, V v, int n) { _mm512_mask_storeu_ps(p, lanes(n), v); }
    static V kept(V v) { return v; }
    static V splat(float x) { return _mm512_set1_ps(x); }
    static V add(V a, V b) { return _mm512_add_ps(a, b); }
    static V sub(V a, V b) { return _mm512_sub_ps(a, b); }
    static V mul(V a, V b) { return _mm512_mul_ps(a, b); }
};

// 16-bit elements in 32-bit lanes; the store saturates to 16 bits.
struct Shorts {
    using E = int16_t;
    using V = __m512i;
    static constexpr int kLanes = 16;
    static V load(const int16_t* p, int n) { return _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(lanes(n), p)); }
    static void store(int16_t* p, V v, int n) { _mm512_mask_cvtsepi32_storeu_epi16(p, lanes(n), v); }
    static V kept(V v) { return clamp16(v); }
    static V splat(int32_t x) { return _mm512_set1_epi32(x); }
    static V add(V a, V b) { return _mm512_add_epi32(a, b); }
    static V sub(V a, V b) { return _mm512_sub_epi32(a, b); }
    static V mul(V a, V b) { return _mm512_mullo_epi32(a, b); }
    static V wrap16(V a) { return _mm512_srai_epi32(_mm512_slli_epi32(a, 16), 16); }
    static V clamp16(V a) { return _mm512_min_epi32(_mm512_max_epi32(a, splat(-32768)), splat(32767)); }
    static V shift(V a, int s) {
        if (s >= 0) return _mm512_sra_epi32(a, _mm_cvtsi32_si128(s > 31 ? 31 : s));
        return s < -31 ? _mm512_setzero_si512() : _mm512_sll_epi32(a, _mm_cvtsi32_si128(-s));
    }
};

}  // namespace

#include "frontend/delta_wide_instances.inc"

}  // namespace zel::delta::avx512

#endif
