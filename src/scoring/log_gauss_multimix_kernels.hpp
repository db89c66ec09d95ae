// SPDX-License-Identifier: Apache-2.0
// The loop that the double-precision multi-mixture members run from 1000
// rows on, in place of the frame-scoring kernel. It computes the same
// (2 * v - S) * 0.5 and differs only in the association of the additions.
#pragma once

#include "scoring/log_gauss_accum_kernels.hpp"

namespace zel::gauss::acc {

// The rows from which the double members take their own loop.
constexpr int kManyRows = 1000;

// Each row's sum starts at 2 * v on the first of two sums; columns 2i and
// 2i + 1 come off the first and the second, which are then added, and the
// last column of an odd width comes off alone; the result is times 0.5.
// Rows go in groups of four, so that each element of the frame, loaded
// once, serves four rows; the remaining rows go one by one.
template <int R, class X, class M, class W, class K, class Out>
void twiceConstRows(X x, M m, W w, int width, int y0, K k, Out out) {
    const double* xr[R];
    const double* wr[R];
    double even[R];
    double odd[R];
    for (int r = 0; r < R; ++r) {
        xr[r] = x(y0 + r);
        wr[r] = w(y0 + r);
        even[r] = constAt<double>(k, y0 + r) * 2.0;
        odd[r] = 0.0;
    }
    const double* src = m(y0);
    int j = 0;
    for (; j + 2 <= width; j += 2) {
        const double s0 = src[j];
        const double s1 = src[j + 1];
        for (int r = 0; r < R; ++r) {
            const double d0 = xr[r][j] - s0;
            const double d1 = xr[r][j + 1] - s1;
            even[r] = even[r] - d0 * d0 * wr[r][j];
            odd[r] = odd[r] - d1 * d1 * wr[r][j + 1];
        }
    }
    for (int r = 0; r < R; ++r) {
        double s = even[r] + odd[r];
        if (j < width) {
            const double d = xr[r][j] - src[j];
            s = s - d * d * wr[r][j];
        }
        out(y0 + r, s * 0.5);
    }
}

template <class X, class M, class W, class K, class Out>
void twiceConstSums(X x, M m, W w, int width, int height, K k, Out out) {
    int y = 0;
    for (; y + 4 <= height; y += 4) twiceConstRows<4>(x, m, w, width, y, k, out);
    for (; y < height; ++y) twiceConstRows<1>(x, m, w, width, y, k, out);
}

// The double members' score, (2 * v - S) * 0.5, by the kernel the height
// calls for.
template <class R, class K, class Out>
void multiMixScore64f(const R& r, int height, K k, Out out) {
    if (height >= kManyRows) twiceConstSums(r.x, r.m, r.w, r.width, height, k, out);
    else halfOfSumPlusTwice(r, height, k, out);
}

}  // namespace zel::gauss::acc
