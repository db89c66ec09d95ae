// SPDX-License-Identifier: Apache-2.0
// SSE4.1 implementation of the vector vocabulary.
#pragma once

#include <smmintrin.h>
#include <stdint.h>

namespace zel::simd {

constexpr bool kVectorISA = true;

struct F32x4 { __m128 v; };
struct F64x2 { __m128d v; };
struct I32x4 { __m128i v; };
struct I16x8 { __m128i v; };

// ---- single precision, four lanes
inline F32x4 load4f(const float* p) { return {_mm_load_ps(p)}; }
inline F32x4 loadu4f(const float* p) { return {_mm_loadu_ps(p)}; }
inline void store(float* p, F32x4 a) { _mm_store_ps(p, a.v); }
inline void storeu(float* p, F32x4 a) { _mm_storeu_ps(p, a.v); }
inline F32x4 set1(float x) { return {_mm_set1_ps(x)}; }
inline F32x4 set4f(float l0, float l1, float l2, float l3) { return {_mm_setr_ps(l0, l1, l2, l3)}; }
inline F32x4 zero4f() { return {_mm_setzero_ps()}; }
inline F32x4 add(F32x4 a, F32x4 b) { return {_mm_add_ps(a.v, b.v)}; }
inline F32x4 sub(F32x4 a, F32x4 b) { return {_mm_sub_ps(a.v, b.v)}; }
inline F32x4 mul(F32x4 a, F32x4 b) { return {_mm_mul_ps(a.v, b.v)}; }
inline F32x4 div(F32x4 a, F32x4 b) { return {_mm_div_ps(a.v, b.v)}; }
inline F32x4 sqrt(F32x4 a) { return {_mm_sqrt_ps(a.v)}; }
// min and max return the second operand when either is NaN, as the instructions do.
inline F32x4 min(F32x4 a, F32x4 b) { return {_mm_min_ps(a.v, b.v)}; }
inline F32x4 max(F32x4 a, F32x4 b) { return {_mm_max_ps(a.v, b.v)}; }
// Comparisons give all-ones lanes where true.
inline F32x4 cmplt(F32x4 a, F32x4 b) { return {_mm_cmplt_ps(a.v, b.v)}; }
inline F32x4 cmple(F32x4 a, F32x4 b) { return {_mm_cmple_ps(a.v, b.v)}; }
inline F32x4 cmpgt(F32x4 a, F32x4 b) { return {_mm_cmpgt_ps(a.v, b.v)}; }
inline F32x4 cmpeq(F32x4 a, F32x4 b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
// Lanes of `a` where `mask` is set, else of `b`.
inline F32x4 select(F32x4 mask, F32x4 a, F32x4 b) { return {_mm_blendv_ps(b.v, a.v, mask.v)}; }
inline int movemask(F32x4 m) { return _mm_movemask_ps(m.v); }
template <int i>
inline float lane(F32x4 a) {
    return _mm_cvtss_f32(_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(i, i, i, i)));
}
// Hardware estimates: 1/x and 1/sqrt(x) to about 12 bits. They differ between
// processors; the portable header computes them exactly.
inline F32x4 rcpEstimate(F32x4 a) { return {_mm_rcp_ps(a.v)}; }
inline F32x4 rsqrtEstimate(F32x4 a) { return {_mm_rsqrt_ps(a.v)}; }

// ---- double precision, two lanes
inline F64x2 load2d(const double* p) { return {_mm_load_pd(p)}; }
inline F64x2 loadu2d(const double* p) { return {_mm_loadu_pd(p)}; }
inline void store(double* p, F64x2 a) { _mm_store_pd(p, a.v); }
inline void storeu(double* p, F64x2 a) { _mm_storeu_pd(p, a.v); }
inline F64x2 set1(double x) { return {_mm_set1_pd(x)}; }
inline F64x2 zero2d() { return {_mm_setzero_pd()}; }
inline F64x2 add(F64x2 a, F64x2 b) { return {_mm_add_pd(a.v, b.v)}; }
inline F64x2 sub(F64x2 a, F64x2 b) { return {_mm_sub_pd(a.v, b.v)}; }
inline F64x2 mul(F64x2 a, F64x2 b) { return {_mm_mul_pd(a.v, b.v)}; }
inline F64x2 div(F64x2 a, F64x2 b) { return {_mm_div_pd(a.v, b.v)}; }
inline F64x2 sqrt(F64x2 a) { return {_mm_sqrt_pd(a.v)}; }
inline F64x2 min(F64x2 a, F64x2 b) { return {_mm_min_pd(a.v, b.v)}; }
inline F64x2 max(F64x2 a, F64x2 b) { return {_mm_max_pd(a.v, b.v)}; }
inline F64x2 cmplt(F64x2 a, F64x2 b) { return {_mm_cmplt_pd(a.v, b.v)}; }
inline F64x2 select(F64x2 mask, F64x2 a, F64x2 b) { return {_mm_blendv_pd(b.v, a.v, mask.v)}; }
inline int movemask(F64x2 m) { return _mm_movemask_pd(m.v); }
template <int i>
inline double lane(F64x2 a) {
    return _mm_cvtsd_f64(i == 0 ? a.v : _mm_unpackhi_pd(a.v, a.v));
}
// Two singles widened to doubles: lanes 0 and 1 of `a`.
inline F64x2 cvtLo2d(F32x4 a) { return {_mm_cvtps_pd(a.v)}; }
inline F64x2 cvtHi2d(F32x4 a) { return {_mm_cvtps_pd(_mm_movehl_ps(a.v, a.v))}; }

// ---- 32-bit integers
inline I32x4 load4i(const int32_t* p) { return {_mm_load_si128(reinterpret_cast<const __m128i*>(p))}; }
inline I32x4 loadu4i(const int32_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
inline void store(int32_t* p, I32x4 a) { _mm_store_si128(reinterpret_cast<__m128i*>(p), a.v); }
inline void storeu(int32_t* p, I32x4 a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.v); }
inline I32x4 set1(int32_t x) { return {_mm_set1_epi32(x)}; }
inline I32x4 zero4i() { return {_mm_setzero_si128()}; }
inline I32x4 add(I32x4 a, I32x4 b) { return {_mm_add_epi32(a.v, b.v)}; }
inline I32x4 sub(I32x4 a, I32x4 b) { return {_mm_sub_epi32(a.v, b.v)}; }
inline I32x4 mullo(I32x4 a, I32x4 b) { return {_mm_mullo_epi32(a.v, b.v)}; }
inline I32x4 min(I32x4 a, I32x4 b) { return {_mm_min_epi32(a.v, b.v)}; }
inline I32x4 max(I32x4 a, I32x4 b) { return {_mm_max_epi32(a.v, b.v)}; }
inline I32x4 sra(I32x4 a, int n) { return {_mm_sra_epi32(a.v, _mm_cvtsi32_si128(n))}; }
inline I32x4 sll(I32x4 a, int n) { return {_mm_sll_epi32(a.v, _mm_cvtsi32_si128(n))}; }
template <int i>
inline int32_t lane(I32x4 a) { return _mm_extract_epi32(a.v, i); }
// Rounds by the current rounding mode (the conversions force nearest).
inline I32x4 cvtRound(F32x4 a) { return {_mm_cvtps_epi32(a.v)}; }
inline I32x4 cvtTrunc(F32x4 a) { return {_mm_cvttps_epi32(a.v)}; }
inline F32x4 cvt4f(I32x4 a) { return {_mm_cvtepi32_ps(a.v)}; }
inline F32x4 asFloat(I32x4 a) { return {_mm_castsi128_ps(a.v)}; }
inline I32x4 asInt(F32x4 a) { return {_mm_castps_si128(a.v)}; }

// ---- 16-bit integers
inline I16x8 load8s(const int16_t* p) { return {_mm_load_si128(reinterpret_cast<const __m128i*>(p))}; }
inline I16x8 loadu8s(const int16_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
inline void store(int16_t* p, I16x8 a) { _mm_store_si128(reinterpret_cast<__m128i*>(p), a.v); }
inline void storeu(int16_t* p, I16x8 a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.v); }
inline I16x8 set1(int16_t x) { return {_mm_set1_epi16(x)}; }
inline I16x8 subSat(I16x8 a, I16x8 b) { return {_mm_subs_epi16(a.v, b.v)}; }
inline I16x8 addSat(I16x8 a, I16x8 b) { return {_mm_adds_epi16(a.v, b.v)}; }
// Pairwise a0*b0 + a1*b1 ... into four 32-bit lanes (wraps only for -32768^2 twice).
inline I32x4 madd(I16x8 a, I16x8 b) { return {_mm_madd_epi16(a.v, b.v)}; }
// Sign-extends the low and high four lanes to 32 bits.
inline I32x4 widenLo(I16x8 a) { return {_mm_cvtepi16_epi32(a.v)}; }
inline I32x4 widenHi(I16x8 a) { return {_mm_cvtepi16_epi32(_mm_unpackhi_epi64(a.v, a.v))}; }
// Saturating narrow of two 32-bit vectors into eight 16-bit lanes.
inline I16x8 packSat(I32x4 lo, I32x4 hi) { return {_mm_packs_epi32(lo.v, hi.v)}; }

}  // namespace zel::simd

// ---- lane rearrangements of single-precision vectors (real FFT)
namespace zel::simd {

// a0 b0 a1 b1 and a2 b2 a3 b3.
inline F32x4 interleaveLo(F32x4 a, F32x4 b) { return {_mm_unpacklo_ps(a.v, b.v)}; }
inline F32x4 interleaveHi(F32x4 a, F32x4 b) { return {_mm_unpackhi_ps(a.v, b.v)}; }
// Even lanes a0 a2 b0 b2 and odd lanes a1 a3 b1 b3 of the pair (a, b).
inline F32x4 evenLanes(F32x4 a, F32x4 b) { return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(2, 0, 2, 0))}; }
inline F32x4 oddLanes(F32x4 a, F32x4 b) { return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 1, 3, 1))}; }
// a3 a2 a1 a0.
inline F32x4 reverse(F32x4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
// Rows a, b, c, d of a 4x4 matrix become its columns.
inline void transpose4(F32x4& a, F32x4& b, F32x4& c, F32x4& d) { _MM_TRANSPOSE4_PS(a.v, b.v, c.v, d.v); }

}  // namespace zel::simd

// ---- 16-bit products and partial loads (Gaussian frame scoring)
namespace zel::simd {

inline I16x8 zero8s() { return {_mm_setzero_si128()}; }
// Low and high 16 bits of the signed 32-bit products, lane by lane.
inline I16x8 mullo(I16x8 a, I16x8 b) { return {_mm_mullo_epi16(a.v, b.v)}; }
inline I16x8 mulhi(I16x8 a, I16x8 b) { return {_mm_mulhi_epi16(a.v, b.v)}; }
// Logical right shift of the 16-bit lanes; a count above 15 clears them.
inline I16x8 srl(I16x8 a, int n) { return {_mm_srl_epi16(a.v, _mm_cvtsi32_si128(n))}; }
// The first 4, 2 or 1 elements into the low lanes, the others zero. They
// read no further than those elements, so a row's end can lie on a page end.
inline I16x8 loadLo4s(const int16_t* p) { return {_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))}; }
inline I16x8 loadLo2s(const int16_t* p) {
    int32_t w;
    __builtin_memcpy(&w, p, 4);
    return {_mm_cvtsi32_si128(w)};
}
inline I16x8 loadLo1s(const int16_t* p) { return {_mm_cvtsi32_si128(static_cast<uint16_t>(*p))}; }

}  // namespace zel::simd

// ---- double comparisons, narrowing and lane moves (log-domain arithmetic)
namespace zel::simd {

inline F64x2 cmple(F64x2 a, F64x2 b) { return {_mm_cmple_pd(a.v, b.v)}; }
inline F64x2 cmpeq(F64x2 a, F64x2 b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
// lo0 lo1 hi0 hi1, each rounded to single by the current rounding mode.
inline F32x4 narrowPair(F64x2 lo, F64x2 hi) { return {_mm_movelh_ps(_mm_cvtpd_ps(lo.v), _mm_cvtpd_ps(hi.v))}; }
// a2 a3 a2 a3: the upper pair moved onto the lower one.
inline F32x4 highPairToLow(F32x4 a) { return {_mm_movehl_ps(a.v, a.v)}; }
// a1 in every lane.
inline F32x4 lane1ToAll(F32x4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(1, 1, 1, 1))}; }
// a1 a1.
inline F64x2 highLaneToLow(F64x2 a) { return {_mm_unpackhi_pd(a.v, a.v)}; }

}  // namespace zel::simd

// ---- four 16-bit values in 32-bit lanes (DCT lifter, dynamic features)
namespace zel::simd {

// Four 16-bit values, sign-extended to 32 bits; reads those 8 bytes only.
inline I32x4 load4sTo32(const int16_t* p) {
    return {_mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))};
}
// The four lanes saturated to 16 bits and stored as 8 bytes.
inline void store4sSat(int16_t* p, I32x4 a) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(a.v, a.v));
}

}  // namespace zel::simd

// ---- one lane of a running sum (filter-bank evaluation)
namespace zel::simd {

// x added to lane 0 only; lanes 1 to 3 pass unchanged.
inline F32x4 addLane0(F32x4 a, float x) { return {_mm_add_ss(a.v, _mm_set_ss(x))}; }

}  // namespace zel::simd
