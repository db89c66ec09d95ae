// SPDX-License-Identifier: Apache-2.0
// The AVX-512 table of the signal-conditioning lane bodies
// (signal_conditioning_lanes.hpp): sixteen lanes of the baseline's
// arithmetic, so every element gets the baseline's bits. Masks live in mask
// registers and counts are taken from them. The reciprocal root comes from
// the 256-bit estimate on each half: the 512-bit instruction estimates to
// other bits than the baseline's.
//
// This file is compiled for AVX-512 (see CMakeLists.txt) and is empty in
// builds without those kernels.
#if defined(ZELSR_HAVE_AVX512)

// GCC 12 takes the undefined source operand of its 512-bit intrinsics for an
// uninitialised variable.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include <immintrin.h>
#include <stdint.h>

#include "frontend/signal_conditioning_lanes.hpp"
#include "frontend/signal_conditioning_wide.hpp"

namespace zel::cond::avx512 {

namespace {

struct Lanes16 {
    static constexpr int kLanes = 16;
    static constexpr bool kSuccessors = true;
    using F = __m512;
    using I = __m512i;
    using M = __mmask16;
    using Counter = int;

    static F set1(float x) { return _mm512_set1_ps(x); }
    static I seti(int32_t x) { return _mm512_set1_epi32(x); }
    static F loadu(const float* p) { return _mm512_loadu_ps(p); }
    static F loadFirst(const float* p, int n) { return _mm512_maskz_loadu_ps(__mmask16((1u << n) - 1u), p); }
    static void storeu(float* p, F a) { _mm512_storeu_ps(p, a); }
    static F add(F a, F b) { return _mm512_add_ps(a, b); }
    static F sub(F a, F b) { return _mm512_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm512_mul_ps(a, b); }
    static F max(F a, F b) { return _mm512_max_ps(a, b); }
    static F successors(F a, F b) {
        return _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(b), _mm512_castps_si512(a), 1));
    }
    static M lt(F a, F b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OS); }
    static M le(F a, F b) { return _mm512_cmp_ps_mask(a, b, _CMP_LE_OS); }
    static M andM(M a, M b) { return M(a & b); }
    static bool all(M m) { return m == 0xffff; }
    static unsigned bits(M m) { return m; }
    static F select(M m, F a, F b) { return _mm512_mask_blend_ps(m, b, a); }
    static F rsqrt(F a) {
        const __m256 lo = _mm256_rsqrt_ps(_mm512_castps512_ps256(a));
        const __m256 hi = _mm256_rsqrt_ps(_mm512_extractf32x8_ps(a, 1));
        return _mm512_insertf32x8(_mm512_castps256_ps512(lo), hi, 1);
    }
    static I cvtRound(F a) { return _mm512_cvtps_epi32(a); }
    static F cvtF(I a) { return _mm512_cvtepi32_ps(a); }
    static I addI(I a, I b) { return _mm512_add_epi32(a, b); }
    static I sll(I a, int n) { return _mm512_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    static F asFloat(I a) { return _mm512_castsi512_ps(a); }
    static Counter noCount() { return 0; }
    static Counter count(Counter c, M m) { return c + _mm_popcnt_u32(m); }
    static int total(Counter c) { return c; }
};

int columnMax16(const float* p, int len, float* acc) { return lanes::columnMax16<Lanes16>(p, len, acc); }
int normEnergy(float* p, int len, float eMin, float eMax, float scale) {
    return lanes::normEnergy<Lanes16>(p, len, eMin, eMax, scale);
}
int signChanges(const float* x, int len, int* next) { return lanes::signChanges<Lanes16>(x, len, next); }
int recSqrt(float* p, int len, float val, int* below) { return lanes::recSqrt<Lanes16>(p, len, val, below); }
int expNegSqr(const float* src, float* dst, int len) {
    return lanes::expNegSqr<Lanes16>(src, dst, len, expNegSqrGroup);
}
int unitCurve(const float* src, float* dst, int len) { return lanes::unitCurve<Lanes16>(src, dst, len); }

}  // namespace

const LaneKernels kLaneKernels = {columnMax16, normEnergy, signChanges, recSqrt, expNegSqr, unitCurve};

}  // namespace zel::cond::avx512

#endif
