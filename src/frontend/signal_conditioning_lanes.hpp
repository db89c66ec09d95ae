// SPDX-License-Identifier: Apache-2.0
// The lane-independent bodies of the signal-conditioning family, written once
// over a lane vocabulary V and instantiated for every instruction set: with
// four lanes in the baseline kernels (signal_conditioning_kernels.hpp), with
// eight in signal_conditioning_avx2.cpp and sixteen in
// signal_conditioning_avx512.cpp. Each lane computes its element with the
// same operations in the same order whatever the width, so every path gives
// the bits of the baseline one.
//
// A body runs over whole vectors only and returns how far it got; the
// baseline kernel finishes the rest, so tails are handled in one place.
// Everything here is a template over V, so that no compiled copy is shared
// between instruction sets.
//
// V supplies: kLanes; types F (floats), I (32-bit integers), M (a lane mask)
// and Counter (a running count of set mask lanes); set1, seti, loadu, storeu,
// add, sub, mul, max (the first operand where it is greater, else the
// second, so a NaN never wins against the second), lt, le, andM, all, bits
// (one bit per lane, lane 0 lowest), select, rsqrt (the processor's
// estimate), cvtRound, cvtF, addI, sll, asFloat, noCount, count, total; and
// kSuccessors, with, where it is true, successors(a, b) (lanes 1 to
// kLanes - 1 of a, then lane 0 of b) and loadFirst(p, n) (n elements, at
// most kLanes, the other lanes 0, nothing read past them).
#pragma once

#include <stdint.h>

namespace zel::cond::lanes {

// ---- Energy normalisation: 1 - (eMax - max(x, eMin)) * scale -----------------
template <class V>
inline int normEnergy(float* p, int len, float eMin, float eMax, float scale) {
    const typename V::F vMax = V::set1(eMax), vMin = V::set1(eMin), vScale = V::set1(scale), one = V::set1(1.0f);
    int i = 0;
    for (; i + V::kLanes <= len; i += V::kLanes)
        V::storeu(p + i, V::sub(one, V::mul(V::sub(vMax, V::max(V::loadu(p + i), vMin)), vScale)));
    return i;
}

// The largest element of a contiguous column is searched in sixteen running
// maxima, element 16k + j in maximum j, whatever the width; they are folded
// in the baseline kernel. Ties keep the running value, so the sign of a zero
// maximum depends on this order, which is why every width keeps it.
constexpr int kMaxLanes = 16;

// The sixteen maxima of runs of 16 from -FLT_MAX into `acc`; returns the
// elements done.
template <class V>
inline int columnMax16(const float* p, int len, float* acc) {
    constexpr int kRegs = kMaxLanes / V::kLanes;
    typename V::F m[kRegs];
    for (int r = 0; r < kRegs; ++r) m[r] = V::set1(-3.4028235e38f);
    int i = 0;
    for (; i + kMaxLanes <= len; i += kMaxLanes)
        for (int r = 0; r < kRegs; ++r) m[r] = V::max(V::loadu(p + i + r * V::kLanes), m[r]);
    for (int r = 0; r < kRegs; ++r) V::storeu(acc + r * V::kLanes, m[r]);
    return i;
}

// ---- Unit curve: 0 below 0, x^2 below 1, 2 - (2 - x)^2 up to 2, else 2 ------
// The branches become selections from the last test to the first; a NaN
// fails every test and keeps 2.
template <class V>
inline int unitCurve(const float* src, float* dst, int len) {
    const typename V::F zero = V::set1(0.0f), one = V::set1(1.0f), two = V::set1(2.0f);
    int i = 0;
    for (; i + V::kLanes <= len; i += V::kLanes) {
        const typename V::F x = V::loadu(src + i);
        const typename V::F d = V::sub(two, x);
        typename V::F r = V::select(V::le(x, two), V::sub(two, V::mul(d, d)), two);
        r = V::select(V::lt(x, one), V::mul(x, x), r);
        V::storeu(dst + i, V::select(V::lt(x, zero), zero, r));
    }
    return i;
}

// ---- Sign changes: products x[n] * x[n-1] below zero ------------------------
// From n = 1 over whole vectors; *next is the first n not counted.
// Where V moves lanes and masks loads cheaply (kSuccessors), each element is
// loaded once: the vector of x[n] is the vector of x[n-1] moved down one lane
// with the first lane of the next one, so that loads stop being the limit;
// and the last products take masked vectors.
template <class V>
inline int signChanges(const float* x, int len, int* next) {
    constexpr int L = V::kLanes;
    const typename V::F zero = V::set1(0.0f);
    typename V::Counter c0 = V::noCount(), c1 = V::noCount();
    int n = 1;
    if constexpr (V::kSuccessors) {
        typename V::Counter c2 = V::noCount(), c3 = V::noCount();
        if (n + 5 * L - 1 <= len) {
            typename V::F prev = V::loadu(x + n - 1);
            // Four vectors a step; their reads end at x[n + 5L - 2].
            for (; n + 5 * L - 1 <= len; n += 4 * L) {
                const typename V::F a = V::loadu(x + n + L - 1), b = V::loadu(x + n + 2 * L - 1),
                                    c = V::loadu(x + n + 3 * L - 1), d = V::loadu(x + n + 4 * L - 1);
                c0 = V::count(c0, V::lt(V::mul(V::successors(prev, a), prev), zero));
                c1 = V::count(c1, V::lt(V::mul(V::successors(a, b), a), zero));
                c2 = V::count(c2, V::lt(V::mul(V::successors(b, c), b), zero));
                c3 = V::count(c3, V::lt(V::mul(V::successors(c, d), c), zero));
                prev = d;
            }
        }
        // The last products a vector at a time, the final one masked: lanes
        // past the end are 0 * 0.
        for (; n < len; n += L) {
            const int m = len - n < L ? len - n : L;
            c1 = V::count(c1, V::lt(V::mul(V::loadFirst(x + n, m), V::loadFirst(x + n - 1, m)), zero));
        }
        *next = len > 1 ? len : 1;
        return V::total(c0) + V::total(c1) + V::total(c2) + V::total(c3);
    } else {
        typename V::Counter c2 = V::noCount(), c3 = V::noCount();
        for (; n + 4 * L <= len; n += 4 * L) {
            c0 = V::count(c0, V::lt(V::mul(V::loadu(x + n), V::loadu(x + n - 1)), zero));
            c1 = V::count(c1, V::lt(V::mul(V::loadu(x + n + L), V::loadu(x + n + L - 1)), zero));
            c2 = V::count(c2, V::lt(V::mul(V::loadu(x + n + 2 * L), V::loadu(x + n + 2 * L - 1)), zero));
            c3 = V::count(c3, V::lt(V::mul(V::loadu(x + n + 3 * L), V::loadu(x + n + 3 * L - 1)), zero));
        }
        for (; n + L <= len; n += L) c0 = V::count(c0, V::lt(V::mul(V::loadu(x + n), V::loadu(x + n - 1)), zero));
        *next = n;
        return V::total(c0) + V::total(c1) + V::total(c2) + V::total(c3);
    }
}

// ---- Inverse root: (3 - x r r) r / 2 from the estimate r; below val gives val --
template <class V>
inline typename V::F recSqrtLanes(typename V::F x, typename V::F val, typename V::Counter& below) {
    const typename V::F r = V::rsqrt(x);
    const typename V::F y = V::mul(V::mul(V::sub(V::set1(3.0f), V::mul(V::mul(x, r), r)), r), V::set1(0.5f));
    const typename V::M low = V::lt(x, val);
    below = V::count(below, low);
    return V::select(low, val, y);
}

// Whole pairs of vectors in place; adds the elements below val to *below and
// returns the elements done.
template <class V>
inline int recSqrt(float* p, int len, float val, int* below) {
    const typename V::F vVal = V::set1(val);
    typename V::Counter b0 = V::noCount(), b1 = V::noCount();
    int i = 0;
    for (; i + 2 * V::kLanes <= len; i += 2 * V::kLanes) {
        const typename V::F y0 = recSqrtLanes<V>(V::loadu(p + i), vVal, b0);
        const typename V::F y1 = recSqrtLanes<V>(V::loadu(p + i + V::kLanes), vVal, b1);
        V::storeu(p + i, y0);
        V::storeu(p + i + V::kLanes, y1);
    }
    *below += V::total(b0) + V::total(b1);
    return i;
}

// ---- exp(y) for y in the normal range below 0 -----------------------------------
// y = k ln2 + r with |r| <= ln2 / 2, exp(r) = 1 + r + r^2 P(r) with a degree-5
// minimax P, and 2^k put into the exponent.
namespace expc {
constexpr float kLog2e = 1.44269504f;
constexpr float kLn2Hi = 0.693145752f;  // few mantissa bits, so k * kLn2Hi is exact
constexpr float kLn2Lo = 1.42860677e-6f;
constexpr float kP0 = 1.9875691500e-4f, kP1 = 1.3981999507e-3f, kP2 = 8.3334519073e-3f, kP3 = 4.1665795894e-2f,
                kP4 = 1.6666665459e-1f, kP5 = 5.0000001201e-1f;
// Below this the result would leave the normal range; such lanes go through
// the double exp instead.
constexpr float kNormalLimit = -87.0f;
}  // namespace expc

// K vectors at once, step by step, so that their chains of dependent
// operations overlap.
template <class V, int K>
inline void expNonPositive(typename V::F (&y)[K]) {
    using namespace expc;
    using F = typename V::F;
    typename V::I k[K];
    F r[K], p[K];
    for (int q = 0; q < K; ++q) k[q] = V::cvtRound(V::mul(y[q], V::set1(kLog2e)));
    for (int q = 0; q < K; ++q) {
        const F kf = V::cvtF(k[q]);
        r[q] = V::sub(V::sub(y[q], V::mul(kf, V::set1(kLn2Hi))), V::mul(kf, V::set1(kLn2Lo)));
    }
    for (int q = 0; q < K; ++q) p[q] = V::add(V::mul(V::set1(kP0), r[q]), V::set1(kP1));
    for (int q = 0; q < K; ++q) p[q] = V::add(V::mul(p[q], r[q]), V::set1(kP2));
    for (int q = 0; q < K; ++q) p[q] = V::add(V::mul(p[q], r[q]), V::set1(kP3));
    for (int q = 0; q < K; ++q) p[q] = V::add(V::mul(p[q], r[q]), V::set1(kP4));
    for (int q = 0; q < K; ++q) p[q] = V::add(V::mul(p[q], r[q]), V::set1(kP5));
    for (int q = 0; q < K; ++q) {
        const F e = V::add(V::add(V::mul(p[q], V::mul(r[q], r[q])), r[q]), V::set1(1.0f));
        y[q] = V::mul(e, V::asFloat(V::sll(V::addI(k[q], V::seti(127)), 23)));
    }
}

// 0 - x * x, and the lanes where it lies in the vector formula's range (a NaN
// does not).
template <class V>
inline typename V::F negSqr(typename V::F x) {
    return V::sub(V::set1(0.0f), V::mul(x, x));
}
template <class V>
inline typename V::M inNormalRange(typename V::F y) {
    return V::le(V::set1(expc::kNormalLimit), y);
}

// exp(-x^2) over whole vectors; returns the elements done. The vector formula
// serves each group of four elements (counted from src) whose every lane lies
// in the normal range; any other group goes to `group`, which computes four
// elements in double. A run of elements is first tested as a whole, so the
// common case runs without a call in its loop; in place works because each
// group's inputs are read before its outputs are written.
template <class V, class Group>
inline int expNegSqr(const float* src, float* dst, int len, Group group) {
    constexpr int kRun = 64;
    static_assert(kRun % V::kLanes == 0 && V::kLanes % 4 == 0);
    const int whole = len - len % V::kLanes;
    for (int i = 0; i < whole; i += kRun) {
        const int n = whole - i < kRun ? whole - i : kRun;
        typename V::M ok = inNormalRange<V>(negSqr<V>(V::loadu(src + i)));
        for (int j = V::kLanes; j < n; j += V::kLanes)
            ok = V::andM(ok, inNormalRange<V>(negSqr<V>(V::loadu(src + i + j))));
        if (V::all(ok)) {
            constexpr int K = 4;
            int j = 0;
            for (; j + K * V::kLanes <= n; j += K * V::kLanes) {
                typename V::F y[K];
                for (int q = 0; q < K; ++q) y[q] = negSqr<V>(V::loadu(src + i + j + q * V::kLanes));
                expNonPositive<V, K>(y);
                for (int q = 0; q < K; ++q) V::storeu(dst + i + j + q * V::kLanes, y[q]);
            }
            for (; j < n; j += V::kLanes) {
                typename V::F y[1] = {negSqr<V>(V::loadu(src + i + j))};
                expNonPositive<V, 1>(y);
                V::storeu(dst + i + j, y[0]);
            }
            continue;
        }
        for (int j = 0; j < n; j += V::kLanes) {
            const float* s = src + i + j;
            float* d = dst + i + j;
            typename V::F y[1] = {negSqr<V>(V::loadu(s))};
            const unsigned bits = V::bits(inNormalRange<V>(y[0]));
            expNonPositive<V, 1>(y);
            float out[V::kLanes];
            V::storeu(out, y[0]);
            for (int g = 0; g < V::kLanes; g += 4) {
                if (((bits >> g) & 15u) == 15u) {
                    for (int k = 0; k < 4; ++k) d[g + k] = out[g + k];
                } else {
                    group(s + g, d + g);
                }
            }
        }
    }
    return whole;
}

}  // namespace zel::cond::lanes
