// SPDX-License-Identifier: Apache-2.0
// Arithmetic of single-vector scoring (zelsLogGaussSingle, zelsMahDist*,
// zelsOutProbPreCalc) that the frame-scoring kernels don't already hold.
// Where a single-vector score or distance is the frame sum of one row, the
// wrappers call the kernels of log_gauss_kernels.hpp with a height of 1;
// what is here differs from them:
//   - the 32f64f sums, single elements widened to double;
//   - 16-bit sums against single-precision inverse variances (DirectVar);
//   - the one-row Low sums, which shift the groups after those of eight one
//     by one, and shift L by 15 at most;
//   - the exact 64-bit distance of unaligned 16-bit data;
//   - the quadratic form under a block-diagonal matrix;
//   - the halving of the constant terms.
// Every order of arithmetic below is fixed, and the portable vocabulary
// keeps the lanes, so all builds and both kernels of a pair give the same bits.
#pragma once

#include <stdint.h>

#include <type_traits>

#include "matrix/block_dmatrix.hpp"
#include "scoring/log_gauss_kernels.hpp"

namespace zel::single {

using namespace gauss;  // kernels, loads and the lane operators
using simd::F32x4;
using simd::F64x2;
using simd::I16x8;
using simd::I32x4;

// Runs `run` with std::true_type for the aligned kernel.
template <class Run>
inline void withAlignment(bool aligned, Run run) {
    if (aligned) run(std::true_type{});
    else run(std::false_type{});
}

// S of one vector by the frame kernels: they return -S, summed from +0, and
// 0 - (-S) gives S with a positive zero.
template <bool Aligned, class T>
inline T distanceOneRow(const T* x, const T* m, const T* w, int len) {
    T s = 0;
    floatSums<Aligned>(SameRow<T>{x}, SameRow<T>{m}, SameRow<T>{w}, len, 1, [&](int, T negS) { s = T(0) - negS; });
    return s;
}

// ---- Single elements, double sums (32f64f) -----------------------------------------

// -S of one vector with each element widened to double before the
// difference. Groups of four columns: lane k subtracts the terms of columns
// j + k and j + 2 + k from +0; then lane 0 + lane 1, and the last len modulo
// 4 columns one by one.
template <bool Aligned, bool Weighted>
inline double widenedNegSum(const float* x, const float* m, const float* w, int len) {
    F64x2 acc = simd::zero2d();
    int j = 0;
    for (; j <= len - 4; j += 4) {
        const F32x4 xv = load<Aligned>(x + j), mv = load<Aligned>(m + j);
        const F64x2 dLo = simd::cvtLo2d(xv) - simd::cvtLo2d(mv);
        const F64x2 dHi = simd::cvtHi2d(xv) - simd::cvtHi2d(mv);
        F64x2 wLo = dLo, wHi = dHi;
        if constexpr (Weighted) {
            const F32x4 wv = load<Aligned>(w + j);
            wLo = simd::cvtLo2d(wv), wHi = simd::cvtHi2d(wv);
        }
        acc = acc - term<Weighted>(dLo, wLo);
        acc = acc - term<Weighted>(dHi, wHi);
    }
    double s = simd::lane<0>(acc) + simd::lane<1>(acc);
    for (; j < len; ++j) {
        const double d = double(x[j]) - double(m[j]);
        s = s - term<Weighted>(d, Weighted ? double(w[j]) : d);
    }
    return s;
}

// ---- 16-bit data, single-precision inverse variances (DirectVarScaled) ---------------

// T = -S as the weighted 16-bit frame sums form it (saturated differences in
// groups of eight, lane i taking columns i and i + 4; the exact tail on lane
// 0; lanes 0 + 2 and 1 + 3, then the two), with inverse variances that are
// singles already.
template <bool Aligned>
inline float wideNegSumFloatWeights(const int16_t* x, const int16_t* m, const float* w, int len) {
    F32x4 acc = simd::zero4f();
    int j = 0;
    for (; j <= len - 8; j += 8) {
        const I16x8 d = simd::subSat(load<Aligned>(x + j), load<Aligned>(m + j));
        const F32x4 dLo = simd::cvt4f(simd::widenLo(d));
        const F32x4 dHi = simd::cvt4f(simd::widenHi(d));
        acc = acc - term<true>(dLo, load<Aligned>(w + j));
        acc = acc - term<true>(dHi, load<Aligned>(w + j + 4));
    }
    float lane0 = simd::lane<0>(acc);
    for (; j < len; ++j) {
        const float d = float(x[j]) - float(m[j]);
        lane0 = lane0 - d * d * w[j];
    }
    return (lane0 + simd::lane<2>(acc)) + (simd::lane<1>(acc) + simd::lane<3>(acc));
}

// ---- One-row Low sums ---------------------------------------------------------------

// The shifts of the one-row Low members for s >= 0: H as in frame scoring,
// L right by s up to 15 and by 15 above, where the frame members shift by s.
inline LowShifts singleLowShifts(int s) {
    LowShifts sh = lowShifts(s);
    if (s > 15) sh.lRight = 15;
    return sh;
}

// The Low sum of one vector before the constant term, wrapping in 32 bits.
// The groups of eight accumulate H and L to their end and are shifted once;
// the groups of 4 and 2 columns and the last column (a pair with a zero)
// after them are each shifted by themselves before they are subtracted.
template <bool Aligned>
inline int32_t lowSingleSum(const int16_t* x, const int16_t* m, const int16_t* w, int len, LowShifts sh) {
    I32x4 accH = simd::zero4i(), accL = simd::zero4i(), H, L;
    int j = 0;
    for (; j <= len - 8; j += 8) {
        halfSquarePairs(simd::subSat(load<Aligned>(x + j), load<Aligned>(m + j)), load<Aligned>(w + j), H, L);
        accH = simd::sub(accH, H);
        accL = simd::sub(accL, L);
    }
    I32x4 t = simd::add(shiftH(accH, sh), simd::sra(accL, sh.lRight));
    auto group = [&](I16x8 xv, I16x8 mv, I16x8 wv) {
        halfSquarePairs(simd::subSat(xv, mv), wv, H, L);
        t = simd::sub(t, simd::add(shiftH(H, sh), simd::sra(L, sh.lRight)));
    };
    if (len - j >= 4) {
        group(simd::loadLo4s(x + j), simd::loadLo4s(m + j), simd::loadLo4s(w + j));
        j += 4;
    }
    if (len - j >= 2) {
        group(simd::loadLo2s(x + j), simd::loadLo2s(m + j), simd::loadLo2s(w + j));
        j += 2;
    }
    if (len - j == 1) group(simd::loadLo1s(x + j), simd::loadLo1s(m + j), simd::loadLo1s(w + j));
    return wrapSum(t);
}

// ---- Exact 16-bit distance ----------------------------------------------------------

// The sum of (x - m)^2 * w with exact differences and products, in 64 bits
// (wrapping, which needs more than 2^17 columns of extreme values).
inline int64_t exactDistance(const int16_t* x, const int16_t* m, const int16_t* w, int len) {
    uint64_t s = 0;
    for (int j = 0; j < len; ++j) {
        const int64_t d = int64_t{x[j]} - m[j];
        s += static_cast<uint64_t>(d * d * w[j]);
    }
    return static_cast<int64_t>(s);
}

// ---- The quadratic form under a block-diagonal matrix ---------------------------------

// The products of four columns of a matrix row and of d, added to the lanes:
// four single lanes, or two double lanes taking columns k and then k + 2.
// 16-bit rows and differences are widened to single precision.
inline void addProducts4(F32x4& acc, const float* r, const float* d) { acc = acc + simd::loadu4f(r) * simd::loadu4f(d); }
inline void addProducts4(F64x2& acc, const double* r, const double* d) {
    acc = acc + simd::loadu2d(r) * simd::loadu2d(d);
    acc = acc + simd::loadu2d(r + 2) * simd::loadu2d(d + 2);
}
inline void addProducts4(F64x2& acc, const float* r, const double* d) {
    const F32x4 rv = simd::loadu4f(r);
    acc = acc + simd::cvtLo2d(rv) * simd::loadu2d(d);
    acc = acc + simd::cvtHi2d(rv) * simd::loadu2d(d + 2);
}
inline void addProducts4(F32x4& acc, const int16_t* r, const int16_t* d) {
    acc = acc + simd::cvt4f(simd::load4sTo32(r)) * simd::cvt4f(simd::load4sTo32(d));
}

// The lane sums of R rows: lanes 0 + 2 and 1 + 3, then the two (single), or
// lane 0 + lane 1 (double). Four single rows are transposed first, so that
// one vector addition serves all four.
template <class Acc>
struct DotLanes;
template <>
struct DotLanes<float> {
    using V = F32x4;
    static V zero() { return simd::zero4f(); }
    template <int R>
    static void sum(V* a, float* t) {
        if constexpr (R == 4) {
            simd::transpose4(a[0], a[1], a[2], a[3]);
            const F32x4 s = (a[0] + a[2]) + (a[1] + a[3]);
            t[0] = simd::lane<0>(s), t[1] = simd::lane<1>(s), t[2] = simd::lane<2>(s), t[3] = simd::lane<3>(s);
        } else {
            for (int i = 0; i < R; ++i)
                t[i] = (simd::lane<0>(a[i]) + simd::lane<2>(a[i])) + (simd::lane<1>(a[i]) + simd::lane<3>(a[i]));
        }
    }
};
template <>
struct DotLanes<double> {
    using V = F64x2;
    static V zero() { return simd::zero2d(); }
    template <int R>
    static void sum(V* a, double* t) {
        for (int i = 0; i < R; ++i) t[i] = simd::lane<0>(a[i]) + simd::lane<1>(a[i]);
    }
};

// The dot products of n columns of R rows with d, each in groups of 8, 4, 2
// and 1 columns: the groups of 8 and 4 on lanes, summed across; then the
// pair as r0*d0 + r1*d1, then the last column, each added to the sum. Each
// row keeps its own lanes, so R changes speed, never a result.
template <int R, class Acc, class T, class D>
inline void rowDots(T* const* r, const D* d, int n, Acc* t) {
    using L = DotLanes<Acc>;
    typename L::V acc[R];
    for (int i = 0; i < R; ++i) acc[i] = L::zero();
    int j = 0;
    for (; j <= n - 8; j += 8)
        for (int i = 0; i < R; ++i) {
            addProducts4(acc[i], r[i] + j, d + j);
            addProducts4(acc[i], r[i] + j + 4, d + j + 4);
        }
    if (n - j >= 4) {
        for (int i = 0; i < R; ++i) addProducts4(acc[i], r[i] + j, d + j);
        j += 4;
    }
    L::template sum<R>(acc, t);
    for (int i = 0; i < R; ++i) {
        int k = j;
        if (n - k >= 2) {
            t[i] = t[i] + (Acc(r[i][k]) * Acc(d[k]) + Acc(r[i][k + 1]) * Acc(d[k + 1]));
            k += 2;
        }
        if (n - k == 1) t[i] = t[i] + Acc(r[i][k]) * Acc(d[k]);
    }
}

// S = sum over rows r of d[r] * (row r . d over the row's block), block by
// block and row by row, from 0. Four rows share each load of d.
template <class Acc, class T, class D>
inline Acc blockQuadForm(const blockd::Record<T>& mat, const D* d) {
    Acc s = 0, t[4];
    int row = 0;
    for (int b = 0; b < mat.nBlocks; ++b) {
        const int n = mat.pBlockSizes[b];
        const D* db = d + row;
        const int end = row + n;
        for (; row + 4 <= end; row += 4) {
            rowDots<4>(mat.ppRows + row, db, n, t);
            for (int i = 0; i < 4; ++i) s = s + Acc(d[row + i]) * t[i];
        }
        for (; row < end; ++row) {
            rowDots<1>(mat.ppRows + row, db, n, t);
            s = s + Acc(d[row]) * t[0];
        }
    }
    return s;
}

// ---- Constant terms: a - b / 2 ---------------------------------------------------

template <class T>
inline void halveAndSubtract(const T* a, const T* b, T* dst, int len) {
    for (int i = 0; i < len; ++i) dst[i] = a[i] - b[i] * T(0.5);
}

// In 32-bit integers, wrapping: the groups of four from the start halve b by
// an arithmetic shift, rounding down; the last len modulo 4 elements halve
// b + 1, rounding up.
inline void halveAndSubtract(const int32_t* a, const int32_t* b, int32_t* dst, int len) {
    const int n = len - len % 4;
    int i = 0;
    for (; i < n; ++i) dst[i] = wrap32(int64_t{a[i]} - (b[i] >> 1));
    for (; i < len; ++i) dst[i] = wrap32(int64_t{a[i]} - (wrap32(int64_t{b[i]} + 1) >> 1));
}

}  // namespace zel::single
