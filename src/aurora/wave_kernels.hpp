// SPDX-License-Identifier: Apache-2.0
// Wave processing and blind equalization of the Aurora front end. Wave
// processing finds the pitch-like energy peaks of a 200-sample frame in its
// smoothed Teager energy and weights the stretch after each peak up against
// the rest; the float and the 16-bit form share the search and the layout of
// the weights, and differ in arithmetic and weight values. Blind
// equalization pulls a cepstral vector towards a reference with a step that
// grows with the frame's energy.
#pragma once

#include <math.h>
#include <stdint.h>

#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "zelsr.h"

namespace zel::wave {

constexpr int kFrame = 200;
constexpr int kMaxPeaks = 20;   // on either side of the main peak
constexpr int kMinGap = 25;     // samples between two peaks at least
constexpr int kRightEnd = 175;  // no peak is sought past a start at or beyond this
constexpr int kRightSpan = 55;  // samples a right search covers away from the edge
constexpr int kLeftReach = 79;  // how far back a left search may start

// What the two forms put into the shared flow.
struct Float {
    using Sample = Zel32f;
    using Energy = Zel32f;
    using Weight = Zel32f;
    static constexpr Weight kBackground = 0.8f, kRaised = 1.2f, kEdge = 1.0f;
    static Energy teager(float x, float prev, float next) { return fabsf(x * x - prev * next); }
    static Energy teagerEnd(float x, float neighbour) { return fabsf((x - neighbour) * x); }
    static Energy add(Energy a, Energy b) { return a + b; }
    static Energy sub(Energy a, Energy b) { return a - b; }
    static Energy five(Energy a) { return 5.0f * a; }
    static int share(int d) { return int(0.8f * float(d)); }  // 80% of a distance, truncated
};

// 16-bit: 32-bit products, energies bounded to the largest int, running sums
// that wrap (a loud frame may wrap them negative, and the search then works
// on the wrapped values), 27/32 for 0.8 and weights in Q5.
struct Fixed {
    using Sample = Zel16s;
    using Energy = Zel32s;
    using Weight = Zel16s;
    static constexpr Weight kBackground = 27, kRaised = 38, kEdge = 32;
    static Energy bounded(int64_t v) {
        const int64_t a = v < 0 ? -v : v;
        return Energy(a > kMax32 ? kMax32 : a);
    }
    static Energy teager(int32_t x, int32_t prev, int32_t next) {
        return bounded(int64_t(x * x) - int64_t(prev * next));
    }
    static Energy teagerEnd(int32_t x, int32_t neighbour) { return bounded(int64_t(x - neighbour) * x); }
    static Energy add(Energy a, Energy b) { return wrap32(int64_t(a) + b); }
    static Energy sub(Energy a, Energy b) { return wrap32(int64_t(a) - b); }
    static Energy five(Energy a) { return wrap32(int64_t(a) * 5); }
    static int share(int d) { return (27 * d) >> 5; }
};

// The first largest of n values from `from`, as an absolute index. A NaN is
// never the largest, so the index always lies inside the window.
template <class E>
inline int firstLargest(const E* s, int from, int n) {
    int best = from;
    for (int i = from + 1; i < from + n; ++i)
        if (s[i] > s[best]) best = i;
    return best;
}

// Teager energy smoothed over nine samples, the end samples standing in for
// those beyond the frame, as a running sum.
template <class P>
inline void smoothedEnergy(const typename P::Sample* x, typename P::Energy* S) {
    using E = typename P::Energy;
    E e[kFrame];
    e[0] = P::teagerEnd(x[0], x[1]);
    for (int i = 1; i < kFrame - 1; ++i) e[i] = P::teager(x[i], x[i - 1], x[i + 1]);
    e[kFrame - 1] = P::teagerEnd(x[kFrame - 1], x[kFrame - 2]);
    auto at = [&](int i) { return e[i < 0 ? 0 : (i >= kFrame ? kFrame - 1 : i)]; };
    S[0] = P::add(P::add(P::add(P::add(P::five(e[0]), e[1]), e[2]), e[3]), e[4]);
    for (int i = 0; i + 1 < kFrame; ++i) S[i + 1] = P::add(P::sub(S[i], at(i - 4)), at(i + 5));
}

// Peaks in ascending order; returns their count. Each search starts at least
// kMinGap samples away from the peak before it, so both walks end.
template <class E>
inline int findPeaks(const E* S, Zel16s* P) {
    Zel16s right[kMaxPeaks], left[kMaxPeaks];
    int nRight = 0, nLeft = 0;
    const int p0 = firstLargest(S, 0, kFrame);
    for (int p = p0; p < kRightEnd && nRight < kMaxPeaks;) {
        const int span = p < kFrame - kRightSpan - kMinGap + 1 ? kRightSpan : kRightEnd - p;
        p = firstLargest(S, p + kMinGap, span);
        right[nRight++] = Zel16s(p);
    }
    for (int p = p0; p > kMinGap && nLeft < kMaxPeaks;) {
        const int w = p < kLeftReach ? p : kLeftReach;
        p = firstLargest(S, p - w, w - kMinGap + 1);
        left[nLeft++] = Zel16s(p);
    }
    int m = 0;
    for (int i = nLeft - 1; i >= 0; --i) P[m++] = left[i];
    P[m++] = Zel16s(p0);
    for (int i = 0; i < nRight; ++i) P[m++] = right[i];
    return m;
}

// Raised stretches from four samples before each peak over 80% of the way
// to the next one, with a sample of 1.0 on either side of each stretch.
template <class P>
inline void peakWeights(const Zel16s* peaks, int count, typename P::Weight* W) {
    for (int i = 0; i < kFrame; ++i) W[i] = P::kBackground;
    const int m = count - 1;
    for (int i = 0; i < m; ++i) {
        const int a = peaks[i] - 4 > 0 ? peaks[i] - 4 : 0;
        const int b = peaks[i] + P::share(peaks[i + 1] - peaks[i]) - 4;
        for (int k = a; k < b; ++k) W[k] = P::kRaised;
        const int e = a < b ? b : a;
        if (a > 0) W[a - 1] = W[a] = P::kEdge;
        W[e - 1] = W[e] = P::kEdge;
    }
    const int a = peaks[m] - 4;
    int b = peaks[m] + P::share(peaks[m] - peaks[m - 1]) - 4;
    if (b > kFrame) b = kFrame;
    for (int k = a; k < b; ++k) W[k] = P::kRaised;
    const int e = a < b ? b : a;
    if (a < kFrame - 2) W[a - 1] = W[a] = P::kEdge;
    if (e < kFrame) W[e - 1] = W[e] = P::kEdge;
}

template <class P>
inline void waveWeights(const typename P::Sample* x, typename P::Weight* W) {
    typename P::Energy S[kFrame];
    smoothedEnergy<P>(x, S);
    Zel16s peaks[2 * kMaxPeaks + 1];
    const int count = findPeaks(S, peaks);
    peakWeights<P>(peaks, count, W);
}

// ---- Blind equalization ------------------------------------------------------------

inline void equalize32f(const float* ref, float* cep, float* bias, int len, float energy) {
    float g = energy - 3.296875f;
    g = g > 0.0f ? g : 0.0f;  // a NaN energy gives no step
    g = (g < 1.0f ? g : 1.0f) * 0.0087890625f;
    for (int i = 0; i < len; ++i) {
        const float r = ref[i], b = bias[i];
        const float y = cep[i] - b;
        cep[i] = y;
        bias[i] = b + g * (y - r);
    }
}

// The energy has 6 fractional bits, the gain 16.
inline void equalize16s(const Zel16s* ref, Zel16s* cep, Zel16s* bias, int len, int energy) {
    int64_t w = int64_t(energy) - 211;
    w = w < 0 ? 0 : (w > 64 ? 64 : w);
    const int64_t g = 9 * w;
    for (int i = 0; i < len; ++i) {
        const int32_t r = ref[i], b = bias[i];
        const int32_t y = int32_t(cep[i]) - b;
        cep[i] = sat16(y);
        bias[i] = sat16(b + ((g * (y - r)) >> 16));
    }
}

}  // namespace zel::wave
