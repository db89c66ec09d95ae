// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the split, merge and distance of diagonal Gaussians and of
// the cluster statistics. Means and variances are plain vectors; var here
// is a plain variance unless a member says it takes inverse ones.
#pragma once

#include <math.h>

#include <cmath>
#include <initializer_list>

#include "simd/simd.hpp"

namespace zel::est {

// log(2 pi) in the two forms the family keeps: cut to 13 decimals for merge
// and distance, fully rounded for the cluster likelihood.
constexpr double kLog2PiCut = 1.8378770664093;
constexpr double kLog2Pi = 1.8378770664093456;
// log 4 and log 2 of the Bhattacharyya distance, cut to six decimals.
constexpr double kLog4Cut = 1.386294;
constexpr double kLog2Cut = 0.693147;

// ---- Split ---------------------------------------------------------------------

// e = val * sqrt(var) in the element type (C = T) or with the root in double
// and e narrowed (C = double).
template <class T, class C>
void split(T* mean1, const T* var1, T* mean2, T* var2, int len, T val) {
    for (int i = 0; i < len; ++i) {
        const T v = var1[i];
        const T e = T(C(val) * std::sqrt(C(v)));
        var2[i] = v;
        const T m = mean1[i];
        mean2[i] = m - e;
        mean1[i] = m + e;
    }
}

// ---- Moments of a merge --------------------------------------------------------

struct Moments {
    double mean, var;
};

// Moment matching of two weighted Gaussians in double, s = weight1 + weight2.
inline Moments merged(double m1, double v1, double m2, double v2, double w1, double w2, double s) {
    const double m = (w1 * m1 + w2 * m2) / s;
    const double v = ((m1 * m1 + v1) * w1 + (m2 * m2 + v2) * w2) / s - m * m;
    return {m, v};
}

// ---- Cluster statistics ------------------------------------------------------------

template <class T, bool DirectVar>
void clusterStats(const T* mean, const T* var, T* sum, T* sqr, int len, T occ) {
    for (int i = 0; i < len; ++i) {
        const T m = mean[i];
        sum[i] = m * occ;
        if constexpr (DirectVar) sqr[i] = (m * m + var[i]) * occ;
        else sqr[i] = (T(1) / var[i] + m * m) * occ;
    }
}

// ---- Bhattacharyya ---------------------------------------------------------------

// The range test over all four vectors, in groups of four elements and a
// tail: 0 if every value is positive, else the verdict of the first group
// that holds a value at or below 0 (-1: it holds a negative one).
inline int rangeVerdict(const float* m1, const float* v1, const float* m2, const float* v2, int len) {
    for (int g = 0; g < len; g += 4) {
        const int end = len - g < 4 ? len : g + 4;
        bool nonPositive = false, negative = false;
        for (int i = g; i < end; ++i)
            for (const float x : {m1[i], v1[i], m2[i], v2[i]}) {
                nonPositive |= x <= 0.0f;
                negative |= x < 0.0f;
            }
        if (negative) return -1;
        if (nonPositive) return 1;
    }
    return 0;
}

// A = sum of (m1 - m2)^2 / (v1 + v2), in the element order, in C.
template <class C>
C meanTerm(const float* m1, const float* v1, const float* m2, const float* v2, int len) {
    C a = C(0);
    for (int i = 0; i < len; ++i) {
        const C d = C(m1[i]) - C(m2[i]);
        a += d * d / (C(v1[i]) + C(v2[i]));
    }
    return a;
}

// (v1 + v2)^2 / (v1 * v2) as r + 2 + 1 / r with r = v2 / v1, both quotients
// from the processor's reciprocal estimate (exact reciprocals in the
// portable build).
inline void bhatRatios(const float* v1, const float* v2, float* t, int len) {
    namespace sv = zel::simd;
    const sv::F32x4 two = sv::set1(2.0f);
    int i = 0;
    for (; i + 4 <= len; i += 4) {
        const sv::F32x4 r = sv::mul(sv::rcpEstimate(sv::loadu4f(v1 + i)), sv::loadu4f(v2 + i));
        sv::storeu(t + i, sv::add(sv::add(r, two), sv::rcpEstimate(r)));
    }
    for (; i < len; ++i) {
        const sv::F32x4 r = sv::mul(sv::rcpEstimate(sv::set1(v1[i])), sv::set1(v2[i]));
        t[i] = sv::lane<0>(sv::add(sv::add(r, two), sv::rcpEstimate(r)));
    }
}

// Products of four elements per slot, the tail multiplied into the last
// full slot (into slot 0, started at 1, when there is none). Returns the
// number of slots to sum: max(len / 4, 1). `term(i)` is the factor of
// element i, `group(i)` the factor of the four elements from i.
template <class Term, class Group>
int slotProducts(int len, double* slot, Term term, Group group) {
    const int full = len / 4;
    for (int g = 0; g < full; ++g) slot[g] = group(4 * g);
    const int last = full > 0 ? full - 1 : 0;
    if (full == 0) slot[0] = 1.0;
    for (int i = 4 * full; i < len; ++i) slot[last] *= term(i);
    return full > 0 ? full : 1;
}

}  // namespace zel::est
