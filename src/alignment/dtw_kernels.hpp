// SPDX-License-Identifier: Apache-2.0
// Dynamic time warping: the banded, beam-pruned dynamic program over one row
// of accumulated cost, updated in place, and its Euclidean local distance.
// Everything runs in single precision; the integer forms convert their input
// to floats before they get here.
#pragma once

#include <float.h>
#include <math.h>
#include <stdint.h>

#include "simd/simd.hpp"

namespace zel::dtw {

namespace sv = zel::simd;

// The cost of an alignment that could not be completed.
constexpr float kNoPath = 3.4028235e38f;
// Added to the beam so that a beam of 0 still keeps the row's best columns.
constexpr float kBeamFloor = 1.1920929e-7f;
// Up to this width the squares are summed in single precision; wider
// vectors sum them in double, where a long sum would otherwise lose bits.
constexpr int kNarrowWidth = 13;

// Work block sizes in elements: two rows of floats and two band tables.
inline int64_t rowFloats(int m) { return (int64_t(m) + 8) & ~int64_t(3); }
inline int64_t tableInts(int n) { return (int64_t(n) + 3) & ~int64_t(3); }
inline int64_t workElements(int n, int m) { return 2 * (rowFloats(m) + tableInts(n)); }
// Up to this many elements the work block lives on the stack.
constexpr int64_t kStackElements = 512;
// The columns, four at a time with their elements interleaved, so that one
// row vector meets four columns in one pass: ceil(m / 4) blocks of width * 4.
inline int64_t blockFloats(int m, int width) { return ((int64_t(m) + 3) >> 2) * int64_t(width) * 4; }

inline void interleave(const float* const* cols, int m, int width, float* blocks) {
    for (int b = 0; 4 * b < m; ++b)
        for (int k = 0; k < width; ++k)
            for (int lane = 0; lane < 4; ++lane) {
                const int j = 4 * b + lane;
                blocks[(int64_t(b) * width + k) * 4 + lane] = j < m ? cols[j][k] : 0.0f;
            }
}

// Euclidean distances of row vector x to the columns of blocks b0 to b1,
// into d[4 b0] to d[4 b1 + 3]. The differences and squares are singles; each
// lane sums its own column in element order, in single precision up to
// kNarrowWidth elements and in double above.
inline void distanceBlocks(const float* x, const float* blocks, int width, int b0, int b1, float* d) {
    for (int b = b0; b <= b1; ++b) {
        const float* c = blocks + int64_t(b) * width * 4;
        if (width <= kNarrowWidth) {
            sv::F32x4 s = sv::zero4f();
            for (int k = 0; k < width; ++k) {
                const sv::F32x4 t = sv::sub(sv::set1(x[k]), sv::loadu4f(c + 4 * k));
                s = sv::add(s, sv::mul(t, t));
            }
            sv::storeu(d + 4 * b, sv::sqrt(s));
        } else {
            sv::F64x2 lo = sv::zero2d(), hi = sv::zero2d();
            for (int k = 0; k < width; ++k) {
                const sv::F32x4 t = sv::sub(sv::set1(x[k]), sv::loadu4f(c + 4 * k));
                const sv::F32x4 q = sv::mul(t, t);
                lo = sv::add(lo, sv::cvtLo2d(q));
                hi = sv::add(hi, sv::cvtHi2d(q));
            }
            sv::storeu(d + 4 * b, sv::narrowPair(sv::sqrt(lo), sv::sqrt(hi)));
        }
    }
}

// The band of the parallelogram with slopes 2 and 1/2 from the origin and
// towards the far corner, widened by `delta` on both sides. Row i may hold
// columns lower[i] to upper[i].
inline void band(int n, int m, int delta, int32_t* upper, int32_t* lower) {
    for (int i = 0; i < n; ++i) {
        int u = (3 * int64_t(i) < 2 * int64_t(m) - n) ? delta + 2 * i : m + delta + ((i - n - 1) >> 1);
        if (u >= m) u = m - 1;
        int l = (3 * int64_t(i) > 2 * (2 * int64_t(n) - m) - 2) ? m - 2 * n - delta + 2 * i + 1 : (i >> 1) - delta;
        if (l < 0) l = 0;
        upper[i] = u;
        lower[i] = l;
    }
}

// The cost of the best alignment of `rows` (n vectors) with the m columns
// interleaved in `blocks` (m <= n). `D` and `d` hold rowFloats(m) floats
// each, `upper` and `lower` tableInts(n) integers.
inline float align(const float* const* rows, int n, const float* blocks, int m, int width, int delta, float beam,
                   float* D, float* d, int32_t* upper, int32_t* lower) {
    // A negative band width would leave row 0 empty; it counts as 0.
    const int dl = delta < 0 ? 0 : (delta < m ? delta : m - 1);
    band(n, m, dl, upper, lower);

    // Row 0: the path may begin at any of the first dl + 1 columns.
    distanceBlocks(rows[0], blocks, width, 0, dl >> 2, d);
    for (int j = 0; j <= dl; ++j) D[j] = d[j];
    if (n == 1) return kNoPath;

    int start = 0, count = dl + 1;
    const float margin = (beam > 0.0f ? beam : 0.0f) + kBeamFloor;
    float best = kNoPath;
    for (int i = 1; i < n; ++i) {
        int c = upper[i] - start + 1;
        if (c > count + 2) c = count + 2;
        const int lastLive = start + count - 1;  // top live column of row i - 1
        if (c > 0) distanceBlocks(rows[i], blocks, width, start >> 2, (start + c - 1) >> 2, d);
        // From the top down, so that D[j - 1] and D[j - 2] still hold row i - 1.
        for (int j = start + c - 1; j >= start; --j) {
            float prev = j <= lastLive ? D[j] : kNoPath;
            if (j - 1 >= start && j - 1 <= lastLive && D[j - 1] < prev) prev = D[j - 1];
            if (j - 2 >= start && j - 2 <= lastLive && D[j - 2] < prev) prev = D[j - 2];
            D[j] = d[j] + prev;
        }
        if (start < lower[i]) {
            c -= lower[i] - start;
            start = lower[i];
        }
        best = kNoPath;
        if (c > 0) {
            best = D[start];
            for (int j = start + 1; j < start + c; ++j)
                if (D[j] < best) best = D[j];
        }
        if (best >= kNoPath) return best;
        // Columns further than the beam above the row's best are dropped from
        // both ends; a comparison that is not true (NaN) ends each scan.
        const float limit = best + margin;
        while (c > 1 && D[start + c - 1] > limit) --c;
        while (c > 1 && D[start] > limit) {
            ++start;
            --c;
        }
        count = c;
    }
    return best;
}

}  // namespace zel::dtw
