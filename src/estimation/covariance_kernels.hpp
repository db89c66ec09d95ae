// SPDX-License-Identifier: Apache-2.0
// The accumulation of the covariance: pDst[i][j] += d[i] * d[j] for j <= i,
// d = row - mean, frame after frame.
//
// Compiled once per instruction set: the includer names its target with
// ZELSR_EST_TARGET (base or avx2) and everything here lands in
// zel::est::<target>, so a copy compiled with AVX encodings can never be
// merged with the baseline one. The loops are plain C++ whose additions keep
// their order; with contraction off, the vectors the compiler forms for each
// target give the same bits.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifndef ZELSR_EST_TARGET
#error "define ZELSR_EST_TARGET (base or avx2) before including covariance_kernels.hpp"
#endif

namespace zel::est::ZELSR_EST_TARGET {

// Frames as a D2 block (table null) or a D2L table of row pointers.
template <class S>
struct SrcRows {
    const S* base;
    int step;
    const S* const* table;
    const S* operator()(int y) const { return table ? table[y] : base + ptrdiff_t(y) * step; }
};
// Rows of the matrix, in either layout.
struct DstRows {
    double* base;
    int step;
    double* const* table;
    double* operator()(int i) const { return table ? table[i] : base + ptrdiff_t(i) * step; }
};

// The difference of a frame and the mean as the accumulation holds it: in
// single precision and widened for float frames, exact for 16-bit ones.
inline double difference(float x, float m) { return double(x - m); }
inline double difference(int16_t x, int16_t m) { return double(int32_t(x) - int32_t(m)); }

// Four frames at a time share each load and store of a matrix row; their
// products are still added one frame after another, as the frames come.
constexpr int kCovRows = 4;

// d holds kCovRows * width doubles of scratch. Only the lower triangle is
// defined afterwards: the caller mirrors it.
template <class S>
void accumulateCovariance(SrcRows<S> src, int height, const S* mean, DstRows dst, int width, double* d) {
    for (int y0 = 0; y0 < height; y0 += kCovRows) {
        const int rows = height - y0 < kCovRows ? height - y0 : kCovRows;
        for (int r = 0; r < rows; ++r) {
            const S* x = src(y0 + r);
            for (int j = 0; j < width; ++j) d[r * width + j] = difference(x[j], mean[j]);
        }
        const double* __restrict d0 = d;
        const double* __restrict d1 = d + width;
        const double* __restrict d2 = d + 2 * width;
        const double* __restrict d3 = d + 3 * width;
        for (int i = 0; i < width; ++i) {
            double* __restrict out = dst(i);
            // Each matrix row runs on past the diagonal to a multiple of four
            // columns (within the width), so that the vector loop has no
            // remainder but at the matrix's right edge. What lands above the
            // diagonal is overwritten when the triangle is mirrored.
            const int end = (i + 4) & ~3;
            const int n = end < width ? end : width;
            switch (rows) {
                case 4: {
                    const double a = d0[i], b = d1[i], c = d2[i], e = d3[i];
                    for (int j = 0; j < n; ++j) out[j] = (((out[j] + a * d0[j]) + b * d1[j]) + c * d2[j]) + e * d3[j];
                    break;
                }
                case 3: {
                    const double a = d0[i], b = d1[i], c = d2[i];
                    for (int j = 0; j < n; ++j) out[j] = ((out[j] + a * d0[j]) + b * d1[j]) + c * d2[j];
                    break;
                }
                case 2: {
                    const double a = d0[i], b = d1[i];
                    for (int j = 0; j < n; ++j) out[j] = (out[j] + a * d0[j]) + b * d1[j];
                    break;
                }
                default: {
                    const double a = d0[i];
                    for (int j = 0; j < n; ++j) out[j] += a * d0[j];
                }
            }
        }
    }
}

}  // namespace zel::est::ZELSR_EST_TARGET
