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
// Comparisons (all ones where true, false for NaN, as the 128-bit ones),
// selection, the sign bits, and the even and odd lanes of a then b within
// each half.
inline F32x8 cmplt(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OS)}; }
inline F32x8 cmple(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OS)}; }
inline F32x8 cmpgt(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OS)}; }
inline F32x8 cmpeq(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }
inline F32x8 select(F32x8 mask, F32x8 a, F32x8 b) { return {_mm256_blendv_ps(b.v, a.v, mask.v)}; }
inline int movemask(F32x8 m) { return _mm256_movemask_ps(m.v); }
inline F32x8 evenLanes(F32x8 a, F32x8 b) { return {_mm256_shuffle_ps(a.v, b.v, _MM_SHUFFLE(2, 0, 2, 0))}; }
inline F32x8 oddLanes(F32x8 a, F32x8 b) { return {_mm256_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 1, 3, 1))}; }

// ---- 32-bit integers
// Toward zero; NaN and values outside the 32-bit range give -2147483648.
inline I32x8 cvtTrunc(F32x8 a) { return {_mm256_cvttps_epi32(a.v)}; }
inline F32x8 cvt8f(I32x8 a) { return {_mm256_cvtepi32_ps(a.v)}; }
inline I32x8 set1(int32_t x) { return {_mm256_set1_epi32(x)}; }
inline I32x8 sub(I32x8 a, I32x8 b) { return {_mm256_sub_epi32(a.v, b.v)}; }
inline I32x8 sra(I32x8 a, int n) { return {_mm256_sra_epi32(a.v, _mm_cvtsi32_si128(n))}; }
inline I32x8 sll(I32x8 a, int n) { return {_mm256_sll_epi32(a.v, _mm_cvtsi32_si128(n))}; }
inline F32x8 asFloat(I32x8 a) { return {_mm256_castsi256_ps(a.v)}; }
inline I32x8 asInt(F32x8 a) { return {_mm256_castps_si256(a.v)}; }

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

// The vocabulary of the block kernels (log_gauss_wide_kernels.hpp), as one
// type that a kernel template takes: two blocks of four 32-bit lanes (or
// eight 16-bit lanes) per register. avx512.hpp has the same with four.
struct Blocks {
    static constexpr int kBlocks = 2;
    using F = __m256;
    using I = __m256i;

    // ---- single precision
    static F zero() { return _mm256_setzero_ps(); }
    static F set1(float x) { return _mm256_set1_ps(x); }
    // 4 * kBlocks consecutive elements: block k holds elements 4k to 4k + 3.
    static F loadu(const float* p) { return _mm256_loadu_ps(p); }
    // Four elements from each of p[0] and p[1], into blocks 0 and 1.
    static F loadBlocks(const float* const* p) {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(p[0])), _mm_loadu_ps(p[1]), 1);
    }
    // The first n elements (n below 4 * kBlocks), the others zero; the masked
    // load reads nothing past them, so a row may end on a page end.
    static F loadFirst(const float* p, int n) {
        const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        return _mm256_maskload_ps(p, _mm256_cmpgt_epi32(_mm256_set1_epi32(n), lane));
    }
    // The same four elements in every block.
    static F loadEvery(const float* p) { return _mm256_broadcast_ps(reinterpret_cast<const __m128*>(p)); }
    static F add(F a, F b) { return _mm256_add_ps(a, b); }
    static F sub(F a, F b) { return _mm256_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static void storeu(float* p, F a) { _mm256_storeu_ps(p, a); }
    // Block g of t[k] and block k of t[g] change places.
    static void transposeBlocks(F (&t)[2]) {
        const F a = _mm256_permute2f128_ps(t[0], t[1], 0x20);
        t[1] = _mm256_permute2f128_ps(t[0], t[1], 0x31);
        t[0] = a;
    }
    // Lane r of block k moves to lane kBlocks * r + k.
    static F blocksToRows(F a) { return _mm256_permutevar8x32_ps(a, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)); }
    // In each block, rows a, b, c, d of a 4x4 matrix become its columns.
    static void transpose4(F& a, F& b, F& c, F& d) {
        const F t0 = _mm256_unpacklo_ps(a, b), t1 = _mm256_unpackhi_ps(a, b);
        const F t2 = _mm256_unpacklo_ps(c, d), t3 = _mm256_unpackhi_ps(c, d);
        a = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
        b = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
        c = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
        d = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
    }

    // ---- 16-bit integers
    static I loadu(const int16_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static I loadBlocks(const int16_t* const* p) {
        const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p[0]));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(l), _mm_loadu_si128(reinterpret_cast<const __m128i*>(p[1])), 1);
    }
    static I loadEvery(const int16_t* p) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static I subSat(I a, I b) { return _mm256_subs_epi16(a, b); }
    static I madd(I a, I b) { return _mm256_madd_epi16(a, b); }
    static I widenLo(I a) { return _mm256_srai_epi32(_mm256_unpacklo_epi16(a, a), 16); }
    static I widenHi(I a) { return _mm256_srai_epi32(_mm256_unpackhi_epi16(a, a), 16); }
    static F cvt(I a) { return _mm256_cvtepi32_ps(a); }
    static I mulhi(I a, I b) { return _mm256_mulhi_epi16(a, b); }
    static I mullo(I a, I b) { return _mm256_mullo_epi16(a, b); }
    static I srl1(I a) { return _mm256_srli_epi16(a, 1); }

    // ---- 32-bit integers
    static I zeroI() { return _mm256_setzero_si256(); }
    static I add32(I a, I b) { return _mm256_add_epi32(a, b); }
    static I sub32(I a, I b) { return _mm256_sub_epi32(a, b); }
    // Arithmetic right and left shifts by a count from 0 up; a left shift by
    // 32 or more clears, a right shift of 32 or more keeps only the sign.
    static I sra32(I a, int n) { return _mm256_sra_epi32(a, _mm_cvtsi32_si128(n)); }
    static I sll32(I a, int n) { return _mm256_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    // The two blocks added lane by lane, wrapping.
    static __m128i sumBlocks(I a) { return _mm_add_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1)); }
};

}  // namespace zel::simd::avx2
