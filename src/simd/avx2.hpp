// SPDX-License-Identifier: Apache-2.0
// AVX2 part of the vector vocabulary, for the files compiled with -mavx2
// (named *_avx2.cpp) and for nothing else.
//
// A 256-bit register is used as two 128-bit halves that never exchange
// lanes: each half holds the four lanes that the 128-bit kernels keep for one
// row, and every operation here is the lane-wise 128-bit operation done on
// both halves at once. So a kernel that keeps one row per half gives the same
// bits as the SSE4.1 and portable builds.
//
// Everything lives in its own namespace, and a file that includes this header
// must not include the 128-bit vocabulary (simd.hpp) or anything built on it:
// an inline function compiled here with AVX encodings could otherwise be
// merged by the linker with the SSE4.1 copy of another file, and run on a
// processor without AVX.
#pragma once

#if !defined(__AVX2__)
#error "avx2.hpp belongs to files compiled for AVX2"
#endif

#include <immintrin.h>
#include <stdint.h>

// Claims the name of the 128-bit vocabulary's vector type, so that a file
// that includes both headers fails to compile, whichever comes first.
namespace zel::simd {
using F32x4 = struct NotInFilesCompiledForAvx2;
}

namespace zel::simd::avx2 {

struct F32x8 { __m256 v; };
struct I32x8 { __m256i v; };
struct I16x16 { __m256i v; };

// ---- single precision, two halves of four lanes
inline F32x8 zero8f() { return {_mm256_setzero_ps()}; }
inline F32x8 set1(float x) { return {_mm256_set1_ps(x)}; }
// Four elements from `lo` into the low half and four from `hi` into the high
// half: the same columns of two rows. No alignment is needed.
inline F32x8 loadPair(const float* lo, const float* hi) {
    return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(lo)), _mm_loadu_ps(hi), 1)};
}
// Eight consecutive elements: loadPair(p, p + 4) in one load.
inline F32x8 loadu8f(const float* p) { return {_mm256_loadu_ps(p)}; }
// The same four elements in both halves: a vector that every row shares.
inline F32x8 loadBoth(const float* p) { return {_mm256_broadcast_ps(reinterpret_cast<const __m128*>(p))}; }
inline F32x8 add(F32x8 a, F32x8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline F32x8 sub(F32x8 a, F32x8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline F32x8 mul(F32x8 a, F32x8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline F32x8 div(F32x8 a, F32x8 b) { return {_mm256_div_ps(a.v, b.v)}; }

// In each half, rows a, b, c, d of a 4x4 matrix become its columns, as the
// 128-bit transpose does.
inline void transpose4(F32x8& a, F32x8& b, F32x8& c, F32x8& d) {
    const __m256 t0 = _mm256_unpacklo_ps(a.v, b.v), t1 = _mm256_unpackhi_ps(a.v, b.v);
    const __m256 t2 = _mm256_unpacklo_ps(c.v, d.v), t3 = _mm256_unpackhi_ps(c.v, d.v);
    a.v = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
    b.v = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
    c.v = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
    d.v = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
}

// ---- 32-bit integers
// Toward zero; NaN and values outside the 32-bit range give -2147483648.
inline I32x8 cvtTrunc(F32x8 a) { return {_mm256_cvttps_epi32(a.v)}; }
inline F32x8 cvt8f(I32x8 a) { return {_mm256_cvtepi32_ps(a.v)}; }

// ---- 16-bit integers
// Eight elements of `lo` and of `hi` into the two halves.
inline I16x16 loadPair(const int16_t* lo, const int16_t* hi) {
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lo));
    return {_mm256_inserti128_si256(_mm256_castsi128_si256(l), _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1)};
}
inline I16x16 loadBoth(const int16_t* p) {
    return {_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)))};
}
inline I16x16 subSat(I16x16 a, I16x16 b) { return {_mm256_subs_epi16(a.v, b.v)}; }
// Pairwise a0*b0 + a1*b1 into the four 32-bit lanes of each half.
inline I32x8 madd(I16x16 a, I16x16 b) { return {_mm256_madd_epi16(a.v, b.v)}; }
// The low and the high four 16-bit lanes of each half, sign-extended.
inline I32x8 widenLo(I16x16 a) { return {_mm256_srai_epi32(_mm256_unpacklo_epi16(a.v, a.v), 16)}; }
inline I32x8 widenHi(I16x16 a) { return {_mm256_srai_epi32(_mm256_unpackhi_epi16(a.v, a.v), 16)}; }

// ---- stores
inline void storeu(float* p, F32x8 a) { _mm256_storeu_ps(p, a.v); }
inline void storeu(int32_t* p, I32x8 a) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.v); }

}  // namespace zel::simd::avx2
