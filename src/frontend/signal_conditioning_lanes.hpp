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
// estimate), cvtRound, cvtF, addI, sll, asFloat, noCount, count, total.
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

// ---- Sign changes: products x[n] * x[n-1] below zero ------------------------
// From n = 1 over whole pairs of vectors; *next is the first n not counted.
template <class V>
inline int signChanges(const float* x, int len, int* next) {
    const typename V::F zero = V::set1(0.0f);
    typename V::Counter c0 = V::noCount(), c1 = V::noCount();
    int n = 1;
    for (; n + 2 * V::kLanes <= len; n += 2 * V::kLanes) {
        c0 = V::count(c0, V::lt(V::mul(V::loadu(x + n), V::loadu(x + n - 1)), zero));
        c1 = V::count(c1, V::lt(V::mul(V::loadu(x + n + V::kLanes), V::loadu(x + n + V::kLanes - 1)), zero));
    }
    *next = n;
    return V::total(c0) + V::total(c1);
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

template <class V>
inline typename V::F expNonPositive(typename V::F y) {
    using namespace expc;
    const typename V::I k = V::cvtRound(V::mul(y, V::set1(kLog2e)));
    const typename V::F kf = V::cvtF(k);
    const typename V::F r = V::sub(V::sub(y, V::mul(kf, V::set1(kLn2Hi))), V::mul(kf, V::set1(kLn2Lo)));
    typename V::F p = V::set1(kP0);
    p = V::add(V::mul(p, r), V::set1(kP1));
    p = V::add(V::mul(p, r), V::set1(kP2));
    p = V::add(V::mul(p, r), V::set1(kP3));
    p = V::add(V::mul(p, r), V::set1(kP4));
    p = V::add(V::mul(p, r), V::set1(kP5));
    const typename V::F e = V::add(V::add(V::mul(p, V::mul(r, r)), r), V::set1(1.0f));
    return V::mul(e, V::asFloat(V::sll(V::addI(k, V::seti(127)), 23)));
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
        for (int j = V::kLanes; j < n; j += V::kLanes) ok = V::andM(ok, inNormalRange<V>(negSqr<V>(V::loadu(src + i + j))));
        if (V::all(ok)) {
            for (int j = 0; j < n; j += V::kLanes)
                V::storeu(dst + i + j, expNonPositive<V>(negSqr<V>(V::loadu(src + i + j))));
            continue;
        }
        for (int j = 0; j < n; j += V::kLanes) {
            const float* s = src + i + j;
            float* d = dst + i + j;
            const typename V::F y = negSqr<V>(V::loadu(s));
            const unsigned bits = V::bits(inNormalRange<V>(y));
            float out[V::kLanes];
            V::storeu(out, expNonPositive<V>(y));
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
