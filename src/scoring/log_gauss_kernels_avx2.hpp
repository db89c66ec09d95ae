// SPDX-License-Identifier: Apache-2.0
// AVX2 kernels of Gaussian frame scoring, for files compiled for AVX2 only.
//
// They give the same bits as the kernels of log_gauss_kernels.hpp: each row
// keeps the four lanes, the order of additions and the fold that it has
// there; only more rows are computed at once. Rows go in blocks of eight:
// register q holds row q in its low half and row q + 4 in its high half, so
// that one 256-bit operation does the work of two 128-bit ones. After the
// column groups the four registers are transposed within their halves, and
// lane r of a vector then belongs to row r of the block: the fold over the
// lanes, the tail columns and the results serve eight rows at once.
//
// The kernels take whole blocks only; a caller leaves the last height
// modulo 8 rows to the baseline kernels, which are faster for so few. A
// sink takes `(y0, v)`: the results of rows y0 to y0 + 7, lane r for row
// y0 + r.
//
// Loads need no alignment here, and no aligned twin of a kernel is kept:
// with these instructions both run at the same speed.
#pragma once

#include "scoring/log_gauss_rows.hpp"
#include "simd/avx2.hpp"

namespace zel::gauss::avx2 {

using simd::avx2::F32x8;
using simd::avx2::I16x16;
using simd::avx2::I32x8;

inline F32x8 operator+(F32x8 a, F32x8 b) { return simd::avx2::add(a, b); }
inline F32x8 operator-(F32x8 a, F32x8 b) { return simd::avx2::sub(a, b); }
inline F32x8 operator*(F32x8 a, F32x8 b) { return simd::avx2::mul(a, b); }
inline F32x8 operator/(F32x8 a, F32x8 b) { return simd::avx2::div(a, b); }
inline F32x8 operator+(F32x8 a, float b) { return simd::avx2::add(a, simd::avx2::set1(b)); }
inline F32x8 operator-(F32x8 a, float b) { return simd::avx2::sub(a, simd::avx2::set1(b)); }
inline F32x8 operator*(F32x8 a, float b) { return simd::avx2::mul(a, simd::avx2::set1(b)); }
inline F32x8 operator/(F32x8 a, float b) { return simd::avx2::div(a, simd::avx2::set1(b)); }
inline F32x8 operator+(float a, F32x8 b) { return simd::avx2::add(simd::avx2::set1(a), b); }
inline F32x8 operator-(float a, F32x8 b) { return simd::avx2::sub(simd::avx2::set1(a), b); }

// (x - mean)^2 * w, the square first; without weights just the square.
template <bool Weighted>
inline F32x8 term(F32x8 d, F32x8 w) {
    if constexpr (Weighted) return d * d * w;
    else return d * d;
}

// ---- Blocks of rows ------------------------------------------------------------

// Rows y0 to y0 + 7 of an accessor; weights that are not there give null
// pointers.
template <class T, class A>
struct Block {
    const T* p[8];
    Block(A a, int y0) {
        for (int i = 0; i < 8; ++i) p[i] = static_cast<const T*>(a(y0 + i));
    }
    // Columns j onward of rows q and q + 4, or of the shared vector in both
    // halves.
    template <class V>
    V at(int q, int j) const {
        if constexpr (kShared<A>) return simd::avx2::loadBoth(p[0] + j);
        else return simd::avx2::loadPair(p[q] + j, p[q + 4] + j);
    }
};

// (c0 + c2) + (c1 + c3) lane by lane after the transpose: for each row, its
// lanes 0 + 2 and 1 + 3, then the two, as the 128-bit kernels fold.
inline F32x8 foldLanes(F32x8 c0, F32x8 c1, F32x8 c2, F32x8 c3) { return (c0 + c2) + (c1 + c3); }

// ---- Single precision -----------------------------------------------------------

// Columns base to base + 3 of a block, as four vectors whose lane r is row
// r; for a shared vector, each column in every lane.
template <class A>
inline void columns4(const Block<float, A>& b, int base, F32x8 (&c)[4]) {
    if constexpr (kShared<A>) {
        for (int k = 0; k < 4; ++k) c[k] = simd::avx2::set1(b.p[0][base + k]);
    } else {
        for (int q = 0; q < 4; ++q) c[q] = b.template at<F32x8>(q, base);
        simd::avx2::transpose4(c[0], c[1], c[2], c[3]);
    }
}

// -S of rows 0 to height - 1 (a multiple of 8), for width 4 and up, as
// floatRows of log_gauss_kernels.hpp forms it in single precision: each lane
// subtracts the terms of its columns from +0 over the groups of four, the
// lanes are folded, and the last width modulo 4 columns are subtracted one
// by one.
template <class X, class M, class W, class Sink>
inline void floatSums(X x, M m, W w, int width, int height, Sink sink) {
    constexpr bool kW = kWeighted<W>;
    for (int y0 = 0; y0 < height; y0 += 8) {
        const Block<float, X> xb(x, y0);
        const Block<float, M> mb(m, y0);
        const Block<float, W> wb(w, y0);
        F32x8 acc[4];
        for (F32x8& a : acc) a = simd::avx2::zero8f();
        int j = 0;
        for (; j <= width - 4; j += 4)
            for (int q = 0; q < 4; ++q) {
                const F32x8 d = xb.template at<F32x8>(q, j) - mb.template at<F32x8>(q, j);
                acc[q] = acc[q] - term<kW>(d, kW ? wb.template at<F32x8>(q, j) : d);
            }
        simd::avx2::transpose4(acc[0], acc[1], acc[2], acc[3]);
        F32x8 s = foldLanes(acc[0], acc[1], acc[2], acc[3]);
        if (j < width) {
            // The tail ends the row's last four columns, which lie inside the
            // row since width >= 4.
            const int base = width - 4;
            F32x8 xc[4], mc[4], wc[4];
            columns4(xb, base, xc);
            columns4(mb, base, mc);
            if constexpr (kW) columns4(wb, base, wc);
            // A loop of fixed length keeps the columns in registers.
            for (int k = 0; k < 4; ++k)
                if (base + k >= j) {
                    const F32x8 d = xc[k] - mc[k];
                    s = s - term<kW>(d, kW ? wc[k] : d);
                }
        }
        sink(y0, s);
    }
}

// ---- 16-bit data, single-precision lanes ----------------------------------------

// Columns base to base + 7 of a block as singles, as eight vectors whose lane
// r is row r; for a shared vector, each column in every lane.
template <class A>
inline void columns8(const Block<int16_t, A>& b, int base, F32x8 (&c)[8]) {
    if constexpr (kShared<A>) {
        for (int k = 0; k < 8; ++k) c[k] = simd::avx2::set1(static_cast<float>(b.p[0][base + k]));
    } else {
        for (int q = 0; q < 4; ++q) {
            const I16x16 v = b.template at<I16x16>(q, base);
            c[q] = simd::avx2::cvt8f(simd::avx2::widenLo(v));
            c[q + 4] = simd::avx2::cvt8f(simd::avx2::widenHi(v));
        }
        simd::avx2::transpose4(c[0], c[1], c[2], c[3]);
        simd::avx2::transpose4(c[4], c[5], c[6], c[7]);
    }
}

// The sums of wideRows in log_gauss_kernels.hpp for rows 0 to height - 1 (a
// multiple of 8), for width 8 and up: the differences saturated to 16 bits
// in groups of eight and widened to single precision; with weights T = -S by
// columns i and i + 4 of each group on lane i, without weights S by 32-bit
// pair sums; the last width modulo 8 columns with their exact differences
// into lane 0; then the fold.
template <class X, class M, class W, class Sink>
inline void wideSums(X x, M m, W w, int width, int height, Sink sink) {
    using simd::avx2::cvt8f;
    constexpr bool kW = kWeighted<W>;
    for (int y0 = 0; y0 < height; y0 += 8) {
        const Block<int16_t, X> xb(x, y0);
        const Block<int16_t, M> mb(m, y0);
        const Block<int16_t, W> wb(w, y0);
        F32x8 acc[4];
        for (F32x8& a : acc) a = simd::avx2::zero8f();
        int j = 0;
        for (; j <= width - 8; j += 8)
            for (int q = 0; q < 4; ++q) {
                const I16x16 d = simd::avx2::subSat(xb.template at<I16x16>(q, j), mb.template at<I16x16>(q, j));
                if constexpr (kW) {
                    const I16x16 wv = wb.template at<I16x16>(q, j);
                    acc[q] = acc[q] - term<true>(cvt8f(simd::avx2::widenLo(d)), cvt8f(simd::avx2::widenLo(wv)));
                    acc[q] = acc[q] - term<true>(cvt8f(simd::avx2::widenHi(d)), cvt8f(simd::avx2::widenHi(wv)));
                } else {
                    acc[q] = acc[q] + cvt8f(simd::avx2::madd(d, d));
                }
            }
        simd::avx2::transpose4(acc[0], acc[1], acc[2], acc[3]);
        if (j < width) {
            // The tail ends the row's last eight columns, which lie inside
            // the row since width >= 8. A difference of singles is exact
            // here, since it needs at most 17 bits.
            const int base = width - 8;
            F32x8 xc[8], mc[8], wc[8];
            columns8(xb, base, xc);
            columns8(mb, base, mc);
            if constexpr (kW) columns8(wb, base, wc);
            for (int k = 0; k < 8; ++k)
                if (base + k >= j) {
                    const F32x8 d = xc[k] - mc[k];
                    if constexpr (kW) acc[0] = acc[0] - term<true>(d, wc[k]);
                    else acc[0] = acc[0] + term<false>(d, d);
                }
        }
        sink(y0, foldLanes(acc[0], acc[1], acc[2], acc[3]));
    }
}

}  // namespace zel::gauss::avx2
