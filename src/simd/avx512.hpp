// SPDX-License-Identifier: Apache-2.0
// AVX-512 part of the vector vocabulary, for the files compiled for AVX-512
// (named *_avx512.cpp) and for nothing else.
//
// A 512-bit register is used as four 128-bit blocks. Lane-wise operations
// never move a value between blocks, so a kernel that keeps one row's four
// lanes in each block gives the bits of the 128-bit kernels; only
// `loadBlocks`, `transposeBlocks` and the full-width loads say which row or
// which group of columns a block holds.
//
// As with avx2.hpp, a file that includes this header must not include the
// 128-bit vocabulary (simd.hpp) or anything built on it.
#pragma once

#if !defined(__AVX512F__) || !defined(__AVX512BW__) || !defined(__AVX512DQ__)
#error "avx512.hpp belongs to files compiled for AVX-512"
#endif

#include <immintrin.h>
#include <stdint.h>

// Claims the name of the 128-bit vocabulary's vector type, so that a file
// that includes both headers fails to compile, whichever comes first.
namespace zel::simd {
using F32x4 = struct NotInFilesCompiledForAvx512;
}

namespace zel::simd::avx512 {

// The vocabulary of the block kernels, as one type that a kernel template
// takes: four blocks of four 32-bit lanes (or eight 16-bit lanes) per
// register. avx2.hpp has the same with two blocks.
struct Blocks {
    static constexpr int kBlocks = 4;
    using F = __m512;
    using I = __m512i;

    // ---- single precision
    static F zero() { return _mm512_setzero_ps(); }
    static F set1(float x) { return _mm512_set1_ps(x); }
    // 4 * kBlocks consecutive elements: block k holds elements 4k to 4k + 3.
    static F loadu(const float* p) { return _mm512_loadu_ps(p); }
    // Four elements from each of p[0] to p[3], into blocks 0 to 3.
    static F loadBlocks(const float* const* p) {
        F v = _mm512_castps128_ps512(_mm_loadu_ps(p[0]));
        v = _mm512_insertf32x4(v, _mm_loadu_ps(p[1]), 1);
        v = _mm512_insertf32x4(v, _mm_loadu_ps(p[2]), 2);
        return _mm512_insertf32x4(v, _mm_loadu_ps(p[3]), 3);
    }
    // The first n elements (n below 4 * kBlocks), the others zero; nothing
    // past them is read, so a row may end on a page end.
    static F loadFirst(const float* p, int n) { return _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << n) - 1), p); }
    // The same four elements in every block.
    static F loadEvery(const float* p) { return _mm512_broadcast_f32x4(_mm_loadu_ps(p)); }
    static F add(F a, F b) { return _mm512_add_ps(a, b); }
    static F sub(F a, F b) { return _mm512_sub_ps(a, b); }
    static F mul(F a, F b) { return _mm512_mul_ps(a, b); }
    static void storeu(float* p, F a) { _mm512_storeu_ps(p, a); }

    // Block g of t[k] and block k of t[g] change places: four registers that
    // each hold four groups of one row become four that each hold one group
    // of four rows.
    static void transposeBlocks(F (&t)[4]) {
        const F a = _mm512_shuffle_f32x4(t[0], t[1], _MM_SHUFFLE(1, 0, 1, 0));
        const F b = _mm512_shuffle_f32x4(t[0], t[1], _MM_SHUFFLE(3, 2, 3, 2));
        const F c = _mm512_shuffle_f32x4(t[2], t[3], _MM_SHUFFLE(1, 0, 1, 0));
        const F d = _mm512_shuffle_f32x4(t[2], t[3], _MM_SHUFFLE(3, 2, 3, 2));
        t[0] = _mm512_shuffle_f32x4(a, c, _MM_SHUFFLE(2, 0, 2, 0));
        t[1] = _mm512_shuffle_f32x4(a, c, _MM_SHUFFLE(3, 1, 3, 1));
        t[2] = _mm512_shuffle_f32x4(b, d, _MM_SHUFFLE(2, 0, 2, 0));
        t[3] = _mm512_shuffle_f32x4(b, d, _MM_SHUFFLE(3, 1, 3, 1));
    }
    // Lane r of block k moves to lane kBlocks * r + k.
    static F blocksToRows(F a) {
        return _mm512_permutexvar_ps(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), a);
    }
    // In each block, rows a, b, c, d of a 4x4 matrix become its columns, as
    // the 128-bit transpose does.
    static void transpose4(F& a, F& b, F& c, F& d) {
        const F t0 = _mm512_unpacklo_ps(a, b), t1 = _mm512_unpackhi_ps(a, b);
        const F t2 = _mm512_unpacklo_ps(c, d), t3 = _mm512_unpackhi_ps(c, d);
        a = _mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
        b = _mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
        c = _mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
        d = _mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
    }

    // ---- 16-bit integers
    // 8 * kBlocks consecutive elements.
    static I loadu(const int16_t* p) { return _mm512_loadu_si512(p); }
    static I loadBlocks(const int16_t* const* p) {
        I v = _mm512_castsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p[0])));
        v = _mm512_inserti32x4(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p[1])), 1);
        v = _mm512_inserti32x4(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p[2])), 2);
        return _mm512_inserti32x4(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p[3])), 3);
    }
    static I loadEvery(const int16_t* p) {
        return _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static I subSat(I a, I b) { return _mm512_subs_epi16(a, b); }
    // Pairwise a0*b0 + a1*b1 into 32-bit lanes (wraps only for -32768^2 twice).
    static I madd(I a, I b) { return _mm512_madd_epi16(a, b); }
    // The low and the high four 16-bit lanes of each block, sign-extended.
    static I widenLo(I a) { return _mm512_srai_epi32(_mm512_unpacklo_epi16(a, a), 16); }
    static I widenHi(I a) { return _mm512_srai_epi32(_mm512_unpackhi_epi16(a, a), 16); }
    static F cvt(I a) { return _mm512_cvtepi32_ps(a); }
    static I mulhi(I a, I b) { return _mm512_mulhi_epi16(a, b); }
    static I mullo(I a, I b) { return _mm512_mullo_epi16(a, b); }
    // Logical right shift of the 16-bit lanes by one.
    static I srl1(I a) { return _mm512_srli_epi16(a, 1); }

    // ---- 32-bit integers
    static I zeroI() { return _mm512_setzero_si512(); }
    static I add32(I a, I b) { return _mm512_add_epi32(a, b); }
    static I sub32(I a, I b) { return _mm512_sub_epi32(a, b); }
    // Arithmetic right and left shifts by a count from 0 up; a left shift by
    // 32 or more clears, a right shift of 32 or more keeps only the sign.
    static I sra32(I a, int n) { return _mm512_sra_epi32(a, _mm_cvtsi32_si128(n)); }
    static I sll32(I a, int n) { return _mm512_sll_epi32(a, _mm_cvtsi32_si128(n)); }
    // The four blocks added lane by lane, wrapping.
    static __m128i sumBlocks(I a) {
        const __m256i h = _mm256_add_epi32(_mm512_castsi512_si256(a), _mm512_extracti64x4_epi64(a, 1));
        return _mm_add_epi32(_mm256_castsi256_si128(h), _mm256_extracti128_si256(h, 1));
    }
};

}  // namespace zel::simd::avx512
