// SPDX-License-Identifier: Apache-2.0
// The DCT lifter's per-frame sums on wide registers, written once over a
// vocabulary K of kB blocks of four lanes (two for AVX2, four for AVX-512)
// and a source S that gives four elements as singles, and instantiated in
// the AVX2 and AVX-512 files only; both live in those files' namespaces, so
// the instruction sets never share a compiled copy.
//
// The sums are those of the baseline kernel, term for term and in its order:
// - a grouped row keeps its four lanes in one block; a register holds kB
//   rows, and one load of 4 * kB floats of a group's stretch gives their
//   column four. Four registers at a time are transposed within their blocks,
//   so that register m holds lane m of 4 * kB rows, and lane 0 takes the tail
//   products and the lanes are added 0, 1, 2, 3 for all of them at once;
// - a row after the last group sums in eight lanes, which are the eight
//   consecutive elements of one 256-bit register, and ends as the baseline
//   kernel ends it;
// - coefficient 0 adds its elements one by one.
#pragma once

#include <immintrin.h>
#include <stddef.h>
#include <stdint.h>

#include "frontend/dct_lifter_record.hpp"

namespace zel::lifter::wide {

// One unit of L registers (L <= 4) of grouped rows, the first at `row`
// (the index of its row less one is the index of its result).
template <class K, class S, int L>
inline void unit(const typename S::T* src, float* dst, const float* w, const float* const* rows, int row, int count,
                 int n, __m128 tail) {
    using F = typename K::F;
    constexpr int kB = K::kBlocks;
    const int full4 = n & ~3;
    const float* base[4];
    F a[4];
    for (int u = 0; u < 4; ++u) {
        a[u] = K::zero();
        base[u] = u < L ? rows[row + u * kB] : nullptr;
    }
#pragma GCC unroll 4
    for (int j = 0; j < full4; j += 4) {
        const F x = K::every(S::four(src + j));
        for (int u = 0; u < L; ++u) a[u] = K::add(a[u], K::mul(x, K::loadu(base[u] + 4 * j)));
    }
    K::transpose4(a[0], a[1], a[2], a[3]);
    if (const int rest = n - full4) {
        const F t = K::every(tail);
        F q[4];
        for (int u = 0; u < 4; ++u) q[u] = u < L ? K::mul(t, K::loadu(base[u] + 4 * full4)) : K::zero();
        K::transpose4(q[0], q[1], q[2], q[3]);
        a[0] = K::add(a[0], q[0]);
        if (rest > 1) a[0] = K::add(a[0], q[1]);
        if (rest > 2) a[0] = K::add(a[0], q[2]);
    }
    const F sum = K::rowOrder(K::add(K::add(K::add(a[0], a[1]), a[2]), a[3]));
    K::storeFirst(dst + row - 1, K::mul(K::loadFirst(w + row, count), sum), count);
}

template <class K, class S>
void cepstrum(const typename S::T* src, float* dst, const Record& st) {
    constexpr int kB = K::kBlocks;
    const int n = st.lenDCT, c = st.lenCepstrum;
    const float* w = st.pLifter;
    const float* const* rows = st.ppCos;
    const int full4 = n & ~3, full8 = n & ~7;

    if (st.hasC0) {
        // Row 0 is all ones: the sum takes the elements as they are.
        float sum = 0.0f;
#pragma GCC unroll 8
        for (int j = 0; j < n; ++j) sum += S::one(src + j);
        dst[c] = w[0] * sum;
    }
    const int grouped = c & ~3;
    for (int i = grouped + 1; i <= c; ++i) {
        const float* row = rows[i];
        __m256 acc = _mm256_setzero_ps();
        for (int j = 0; j < full8; j += 8) acc = _mm256_add_ps(acc, _mm256_mul_ps(S::eight(src + j), _mm256_load_ps(row + j)));
        alignas(32) float l[8], t[8];
        // The lanes and the tail products go through memory and come back
        // as operands of the additions. Taken out of the registers they
        // would cost a shuffle each, on the units that the grouped rows'
        // transposes keep busy; the empty statements keep the compiler from
        // making shuffles of these reads.
        _mm256_store_ps(l, acc);
        __asm__("" : "+m"(l));
        float l0 = l[0] + l[4];
        // The tail products at once, then added one by one.
        if (const int rest = n - full8) {
            _mm256_store_ps(t, _mm256_mul_ps(S::first(src + full8, rest), _mm256_load_ps(row + full8)));
            __asm__("" : "+m"(t));
#pragma GCC unroll 8
            for (int j = 0; j < rest; ++j) l0 += t[j];
        }
        const float sum = (((((l0 + l[2]) + l[6]) + l[1]) + l[5]) + l[3]) + l[7];
        dst[i - 1] = w[i] * sum;
    }

    __m128 tail = _mm_setzero_ps();
    if (const int rest = n - full4) {
        const typename S::T* p = src + full4;
        tail = _mm_setr_ps(S::one(p), rest > 1 ? S::one(p + 1) : 0.0f, rest > 2 ? S::one(p + 2) : 0.0f, 0.0f);
    }
    const int regs = grouped / kB;
    for (int q = 0; q < regs; q += 4) {
        const int row = 1 + q * kB, count = (regs - q < 4 ? regs - q : 4) * kB;
        switch (regs - q) {
            case 1: unit<K, S, 1>(src, dst, w, rows, row, count, n, tail); break;
            case 2: unit<K, S, 2>(src, dst, w, rows, row, count, n, tail); break;
            case 3: unit<K, S, 3>(src, dst, w, rows, row, count, n, tail); break;
            default: unit<K, S, 4>(src, dst, w, rows, row, count, n, tail); break;
        }
    }
}

// Sources: four or eight elements as singles, or one alone.
template <class K>
struct Floats {
    using T = float;
    static __m128 four(const float* p) { return _mm_loadu_ps(p); }
    static __m256 eight(const float* p) { return _mm256_loadu_ps(p); }
    // The first n elements (n below 8), zeros after them; nothing past them is read.
    static __m256 first(const float* p, int n) { return K::first8(p, n); }
    static float one(const float* p) { return *p; }
};
template <class K>
struct Shorts {
    using T = int16_t;
    static __m128 four(const int16_t* p) {
        return _mm_cvtepi32_ps(_mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
    }
    static __m256 eight(const int16_t* p) {
        return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    static __m256 first(const int16_t* p, int n) {
        int16_t t[8] = {};
        for (int j = 0; j < n; ++j) t[j] = p[j];
        return eight(t);
    }
    static float one(const int16_t* p) { return float(*p); }
};
template <class K>
struct Ints {
    using T = int32_t;
    static __m128 four(const int32_t* p) { return _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))); }
    static __m256 eight(const int32_t* p) {
        return _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    static __m256 first(const int32_t* p, int n) {
        int32_t t[8] = {};
        for (int j = 0; j < n; ++j) t[j] = p[j];
        return eight(t);
    }
    static float one(const int32_t* p) { return float(*p); }
};

}  // namespace zel::lifter::wide
