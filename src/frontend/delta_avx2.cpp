// SPDX-License-Identifier: Apache-2.0
// The dynamic features on AVX2: eight columns of a row per register. Tail
// columns are loaded under a mask and stored four, two and one at a time, as
// the processor's masked stores are slow. Compiled for AVX2 only, and empty
// in builds without those kernels.
#if defined(ZELSR_HAVE_AVX2)
#include <immintrin.h>
#include <string.h>

#include "frontend/delta_wide.hpp"
#include "frontend/delta_wide_kernels.hpp"

namespace zel::delta::avx2 {
namespace {

inline __m256i lanes(int n) { return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)); }

struct Floats {
    using E = float;
    using V = __m256;
    static constexpr int kLanes = 8;
    static V load(const float* p, int n) { return n == 8 ? _mm256_loadu_ps(p) : _mm256_maskload_ps(p, lanes(n)); }
    static void store(float* p, V v, int n) {
        if (n == 8) return _mm256_storeu_ps(p, v);
        __m128 h = _mm256_castps256_ps128(v);
        if (n & 4) {
            _mm_storeu_ps(p, h);
            h = _mm256_extractf128_ps(v, 1);
            p += 4;
        }
        if (n & 2) {
            _mm_storel_pi(reinterpret_cast<__m64*>(p), h);
            h = _mm_movehl_ps(h, h);
            p += 2;
        }
        if (n & 1) _mm_store_ss(p, h);
    }
    static V kept(V v) { return v; }
    static V splat(float x) { return _mm256_set1_ps(x); }
    static V add(V a, V b) { return _mm256_add_ps(a, b); }
    static V sub(V a, V b) { return _mm256_sub_ps(a, b); }
    static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
};

// 16-bit elements in 32-bit lanes; the store saturates to 16 bits.
struct Shorts {
    using E = int16_t;
    using V = __m256i;
    static constexpr int kLanes = 8;
    static V load(const int16_t* p, int n) {
        __m128i h;
        if (n == 8) {
            h = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        } else {
            int16_t t[8] = {};
            memcpy(t, p, sizeof(int16_t) * size_t(n));
            h = _mm_loadu_si128(reinterpret_cast<const __m128i*>(t));
        }
        return _mm256_cvtepi16_epi32(h);
    }
    static void store(int16_t* p, V v, int n) {
        __m128i h = _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        if (n == 8) return _mm_storeu_si128(reinterpret_cast<__m128i*>(p), h);
        alignas(16) int16_t t[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(t), h);
        memcpy(p, t, sizeof(int16_t) * size_t(n));
    }
    static V kept(V v) { return clamp16(v); }
    static V splat(int32_t x) { return _mm256_set1_epi32(x); }
    static V add(V a, V b) { return _mm256_add_epi32(a, b); }
    static V sub(V a, V b) { return _mm256_sub_epi32(a, b); }
    static V mul(V a, V b) { return _mm256_mullo_epi32(a, b); }
    static V wrap16(V a) { return _mm256_srai_epi32(_mm256_slli_epi32(a, 16), 16); }
    static V clamp16(V a) { return _mm256_min_epi32(_mm256_max_epi32(a, splat(-32768)), splat(32767)); }
    static V shift(V a, int s) {
        if (s >= 0) return _mm256_sra_epi32(a, _mm_cvtsi32_si128(s > 31 ? 31 : s));
        return s < -31 ? _mm256_setzero_si256() : _mm256_sll_epi32(a, _mm_cvtsi32_si128(-s));
    }
};

}  // namespace

#include "frontend/delta_wide_instances.inc"

}  // namespace zel::delta::avx2

#endif
