// SPDX-License-Identifier: Apache-2.0
// The AVX2 table of the signal-conditioning lane bodies
// (signal_conditioning_lanes.hpp): eight lanes of the baseline's arithmetic,
// so every element gets the baseline's bits. The exported functions choose
// this table once per call and finish the tails themselves.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in builds
// without those kernels.
#if defined(ZELSR_HAVE_AVX2)

#include <immintrin.h>
#include <stdint.h>

#include "frontend/signal_conditioning_lanes.hpp"
#include "frontend/signal_conditioning_wide.hpp"

namespace zel::cond::avx2 {

namespace {

// Eight lanes, each the lane of the 128-bit vocabulary: the same
// instructions at twice the width (the reciprocal root estimate included,
// which the processor gives alike at both widths).
struct Lanes8 {
    static constexpr int kLanes = 8;
    // Moving lanes across the two halves costs more than a second load.
    static constexpr bool kSuccessors = false;
    using F = __m256;
    using I = __m256i;
    using M = __m256;
    using Counter = __m256i;

    static F set1(float x) { return _mm256_set1_ps(x); }
    static I seti(int32_t x) { return _mm256_set1_epi32(x); }
    static F loadu(const float* p) { return _mm256_loadu_ps(p); }
    static void storeu(float* p, F a) { _mm256_storeu_ps(p, a); }
    static F add(F a, F b) { return _mm256_add_ps(a, b); }
    static F sub(F a, F b) { return _mm256_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static F max(F a, F b) { return _mm256_max_ps(a, b); }
    static M lt(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LT_OS); }
    static M le(F a, F b) { return _mm256_cmp_ps(a, b, _CMP_LE_OS); }
    static M andM(M a, M b) { return _mm256_and_ps(a, b); }
    static bool all(M m) { return _mm256_movemask_ps(m) == 0xff; }
    static unsigned bits(M m) { return unsigned(_mm256_movemask_ps(m)); }
    static F select(M m, F a, F b) { return _mm256_blendv_ps(b, a, m); }
    static F rsqrt(F a) { return _mm256_rsqrt_ps(a); }
    static I cvtRound(F a) { return _mm256_cvtps_epi32(a); }
    static F cvtF(I a) { return _mm256_cvtepi32_ps(a); }
    static I addI(I a, I b) { return _mm256_add_epi32(a, b); }
    static I sll(I a, int n) { return _mm256_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    static F asFloat(I a) { return _mm256_castsi256_ps(a); }
    static Counter noCount() { return _mm256_setzero_si256(); }
    static Counter count(Counter c, M m) { return _mm256_sub_epi32(c, _mm256_castps_si256(m)); }
    static int total(Counter c) {
        __m128i s = _mm_add_epi32(_mm256_castsi256_si128(c), _mm256_extracti128_si256(c, 1));
        s = _mm_add_epi32(s, _mm_shuffle_epi32(s, _MM_SHUFFLE(1, 0, 3, 2)));
        s = _mm_add_epi32(s, _mm_shuffle_epi32(s, _MM_SHUFFLE(2, 3, 0, 1)));
        return _mm_cvtsi128_si32(s);
    }
};

int columnMax16(const float* p, int len, float* acc) { return lanes::columnMax16<Lanes8>(p, len, acc); }
int normEnergy(float* p, int len, float eMin, float eMax, float scale) {
    return lanes::normEnergy<Lanes8>(p, len, eMin, eMax, scale);
}
int signChanges(const float* x, int len, int* next) { return lanes::signChanges<Lanes8>(x, len, next); }
int recSqrt(float* p, int len, float val, int* below) { return lanes::recSqrt<Lanes8>(p, len, val, below); }
int expNegSqr(const float* src, float* dst, int len) {
    return lanes::expNegSqr<Lanes8>(src, dst, len, expNegSqrGroup);
}
int unitCurve(const float* src, float* dst, int len) { return lanes::unitCurve<Lanes8>(src, dst, len); }

}  // namespace

const LaneKernels kLaneKernels = {columnMax16, normEnergy, signChanges, recSqrt, expNegSqr, unitCurve};

}  // namespace zel::cond::avx2

#endif
