// SPDX-License-Identifier: Apache-2.0
// Conversions between the parameter sets of linear prediction: cepstrum,
// reflection coefficients and the area-ratio and tilt measures. LP vectors
// have the sign of A(z) = 1 + sum a_k z^-k; reflection vectors have
// a[m] = -k[m] at each stage.
#pragma once

#include <math.h>
#include <stdint.h>
#include <string.h>

#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::lpc {

namespace sv = zel::simd;

// ---- LP <-> cepstrum ---------------------------------------------------------

// Single-precision 1/n for n = 1 .. 24: short vectors multiply by it, longer
// ones divide, so lengths 21 and 22 differ in the last bits.
constexpr int kReciprocalUpTo = 21;
inline float reciprocalOf(int n) {
    static const float table[24] = {1.0f / 1,  1.0f / 2,  1.0f / 3,  1.0f / 4,  1.0f / 5,  1.0f / 6,
                                    1.0f / 7,  1.0f / 8,  1.0f / 9,  1.0f / 10, 1.0f / 11, 1.0f / 12,
                                    1.0f / 13, 1.0f / 14, 1.0f / 15, 1.0f / 16, 1.0f / 17, 1.0f / 18,
                                    1.0f / 19, 1.0f / 20, 1.0f / 21, 1.0f / 22, 1.0f / 23, 1.0f / 24};
    return table[n - 1];
}

// Index m (1-based) from which the weighted element's address, that of
// x[start + step * (m - 1)], is a multiple of 16 bytes; the eight-lane run
// starts there.
inline int firstAlignedTerm(const float* x, int start, int step) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(x) + uintptr_t(start) * sizeof(float);
    if (a & 3u) return 1;
    const int offset = int((a & 15u) / 4);  // floats past the last boundary
    return 1 + (step > 0 ? (4 - offset) & 3 : offset);
}

// The sum over m = 1 .. n-1 of term(m). From n = 9 on, terms from `first`
// run in eight lanes (term first + 8t + s in lane s), folded as
// (l0 + l4, l1 + l5, l2 + l6, l3 + l7) and then pairwise; the terms before
// and after that run go in singly in rising m, the folded lanes between them.
template <class Term>
inline float recursionSum(int n, int first, Term term) {
    float s = 0.0f;
    int m = 1;
    if (n >= 9 && first + 8 <= n) {
        for (; m < first; ++m) s = s + term(m);
        float l[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        for (; m + 8 <= n; m += 8)
            for (int t = 0; t < 8; ++t) l[t] = l[t] + term(m + t);
        const float f0 = l[0] + l[4], f1 = l[1] + l[5], f2 = l[2] + l[6], f3 = l[3] + l[7];
        s = s + ((f0 + f1) + (f2 + f3));
    }
    for (; m < n; ++m) s = s + term(m);
    return s;
}

// y[n] = 0 - (x[n] + (1/n) sum over m of (n - m) x[.] y[.]), n = 1 .. len,
// with x[m] y[n-m] towards the cepstrum and x[n-m] y[m] back to LP; the
// products are ordered weight * x, then * y. No zeroth term.
template <bool ToCepstrum>
inline void cepstrumRecursion(const float* x, float* y, int len) {
    for (int n = 1; n <= len; ++n) {
        float s;
        if constexpr (ToCepstrum) {
            s = recursionSum(n, firstAlignedTerm(x, 0, 1),
                             [&](int m) { return (float(n - m) * x[m - 1]) * y[n - m - 1]; });
        } else {
            s = recursionSum(n, firstAlignedTerm(x, n - 2, -1),
                             [&](int m) { return (float(n - m) * x[n - m - 1]) * y[m - 1]; });
        }
        const float scaled = len <= kReciprocalUpTo ? s * reciprocalOf(n) : s / float(n);
        y[n - 1] = 0.0f - (x[n - 1] + scaled);
    }
}

// ---- LP <-> reflection ---------------------------------------------------------

// Step-down from the top; `a` is a working copy of the LP vector, consumed.
// Only |k| = 1 exactly fails (zelStsUnstableLpErr), with the coefficients
// above it already in pK; |k| above 1 runs on and is the caller's to see.
inline ZelStatus lpToReflection(float* a, float* pK, int len) {
    for (int m = len; m >= 1; --m) {
        const float k = 0.0f - a[m - 1];
        pK[m - 1] = k;
        if (k == 1.0f || k == -1.0f) return zelStsUnstableLpErr;
        const float q = 1.0f / (1.0f - k * k);
        // Pairs j and m - j update from each other's old values.
        for (int j = 1, h = m - 1; j <= h; ++j, --h) {
            const float aj = a[j - 1], ah = a[h - 1];
            a[j - 1] = (k * ah + aj) * q;
            if (h != j) a[h - 1] = (k * aj + ah) * q;
        }
    }
    return zelStsNoErr;
}

// Step-up: b[i] = -k[i], b[j] = a[j] - a[i-1-j] k[i]. Updated in pairs inside
// pA itself, each k read before its stage writes, so pK may be pA.
inline void reflectionToLp(const float* pK, float* pA, int len) {
    for (int i = 0; i < len; ++i) {
        const float k = pK[i];
        for (int j = 0, h = i - 1; j <= h; ++j, --h) {
            const float aj = pA[j], ah = pA[h];
            pA[j] = aj - ah * k;
            if (h != j) pA[h] = ah - aj * k;
        }
        pA[i] = 0.0f - k;
    }
}

// ---- Area ratios and tilts ----------------------------------------------------
// Quotients by the reciprocal estimate and one Newton step, four elements at
// a time; a tail of one to three elements goes through the same vector body.

// Lanes whose Newton product d * r has no value (a zero or infinite d), the
// processor's invalid case, as a bit mask.
inline int invalidLanes(sv::F32x4 d, sv::F32x4 dr) {
    return sv::movemask(sv::cmpeq(d, d)) & ~sv::movemask(sv::cmpeq(dr, dr)) & 15;
}

// Calls body(i, count) over blocks of four; the last block may be short and
// the body loads and stores it through a padded copy.
template <class Body>
inline void forBlocks(int len, Body body) {
    int i = 0;
    for (; i + 4 <= len; i += 4) body(i, 4);
    if (i < len) body(i, len - i);
}

template <class T>
inline sv::F32x4 loadPart(const T* p, int count) {
    float t[4] = {0, 0, 0, 0};
    for (int j = 0; j < count; ++j) t[j] = float(p[j]);
    return sv::loadu4f(t);
}
inline void storePart(float* p, sv::F32x4 v, int count) {
    float t[4];
    sv::storeu(t, v);
    for (int j = 0; j < count; ++j) p[j] = t[j];
}

// (1 - k) / (1 + k), with `one` standing for 1 (2^srcShift in the 16-bit
// form); a NaN result becomes +inf. Adds the invalid lanes to `bad`.
inline sv::F32x4 areaRatio(sv::F32x4 k, sv::F32x4 one, int& bad) {
    const sv::F32x4 d = sv::add(k, one);
    const sv::F32x4 r = sv::rcpEstimate(d);
    const sv::F32x4 dr = sv::mul(d, r);
    bad |= invalidLanes(d, dr);
    const sv::F32x4 q = sv::mul(sv::sub(sv::set1(2.0f), dr), sv::mul(r, sv::sub(one, k)));
    return sv::select(sv::cmpeq(q, q), q, sv::set1(INFINITY));
}

// (|s1| - |s2|) / (|s1| + |s2|); NaNs stay.
inline sv::F32x4 absTilt(sv::F32x4 s1, sv::F32x4 s2, int& bad) {
    const sv::F32x4 a1 = sv::abs(s1), a2 = sv::abs(s2);
    const sv::F32x4 d = sv::add(a1, a2);
    const sv::F32x4 r = sv::rcpEstimate(d);
    const sv::F32x4 dr = sv::mul(d, r);
    bad |= invalidLanes(d, dr);
    return sv::mul(sv::mul(sv::sub(sv::set1(2.0f), dr), sv::sub(a1, a2)), r);
}

// (|s1| - |s2|) / (s1 + s2): magnitudes over signed values, as the measure
// is defined; NaNs stay.
inline sv::F32x4 tilt(sv::F32x4 s1, sv::F32x4 s2, int& bad) {
    const sv::F32x4 d = sv::add(s1, s2);
    const sv::F32x4 r = sv::rcpEstimate(d);
    const sv::F32x4 dr = sv::mul(d, r);
    bad |= invalidLanes(d, dr);
    return sv::mul(sv::mul(sv::sub(sv::abs(s1), sv::abs(s2)), r), sv::sub(sv::set1(2.0f), dr));
}

// (1 - k) / (1 + k) of k limited to [-thresh, thresh] (a NaN becomes
// -thresh), before the logarithm. The denominator stays in [1 - thresh,
// 1 + thresh], so it is never zero.
inline sv::F32x4 limitedAreaRatio(sv::F32x4 k, float thresh) {
    k = sv::min(sv::max(k, sv::set1(-thresh)), sv::set1(thresh));
    const sv::F32x4 two = sv::set1(2.0f);
    const sv::F32x4 d = sv::add(k, sv::set1(1.0f));
    const sv::F32x4 r = sv::rcpEstimate(d);
    return sv::mul(sv::mul(sv::sub(two, sv::mul(d, r)), sv::sub(two, d)), r);
}

// The running product of (one - k) / (one + k). A k of exactly -one turns the
// product into infinities from there on (with zelStsDivByZero), and a later k
// of exactly +one ends it: infinity times zero has no value, so the rest are
// the NaN 0xffc00000. `kAt(i)` reads input i, `put(i, p)` stores output i.
// Returns the status.
template <class K, class Put>
inline ZelStatus trueAreaRatio(K kAt, int len, float one, Put put) {
    ZelStatus status = zelStsNoErr;
    float p = 1.0f;
    int i = 0;
    for (; i < len; ++i) {
        const float v = kAt(i);
        if (v == -one) break;
        p = p * (one - v) / (v + one);
        put(i, p);
    }
    for (; i < len; ++i) {
        const float v = kAt(i);
        if (v < -one || v > one) {
            p = p < 0.0f ? INFINITY : -INFINITY;
        } else if (v == -one) {
            status = zelStsDivByZero;
            p = p > 0.0f ? INFINITY : -INFINITY;
        } else if (v == one) {
            break;
        } else {
            p = p > 0.0f ? INFINITY : -INFINITY;
        }
        put(i, p);
    }
    uint32_t nanBits = 0xffc00000u;
    float nan;
    memcpy(&nan, &nanBits, 4);
    for (; i < len; ++i) put(i, nan);
    return status;
}

}  // namespace zel::lpc
