// SPDX-License-Identifier: Apache-2.0
// The singular value decomposition A = U diag(W) V' of a height by width
// matrix in double precision: Householder bidiagonalisation, accumulation
// of the two transformations, and implicit-shift QR sweeps on the
// bidiagonal, in the classic one-sided arrangement that works on columns.
// It is written on the column and row kernels of the matrix family, with
// the layout of U and V as template parameters (Block or Table rows).
#pragma once

#include <math.h>

#include "matrix/row_column_kernels.hpp"
#include "zelsr.h"

namespace zel::mat {

// Whether every element of the height by width matrix is finite.
template <class Rows>
bool allFinite(Rows a, int height, int width) {
    for (int r = 0; r < height; ++r) {
        const double* x = a(r);
        for (int c = 0; c < width; ++c)
            if (!isfinite(x[c])) return false;
    }
    return true;
}

// sqrt(a^2 + b^2) without overflow or underflow of the squares: arguments
// at or above 2^510, or at or below 2^-510, are scaled by 2^-510 or 2^510
// first.
inline double guardedHypot(double a, double b) {
    constexpr double kBig = 0x1p510, kSmall = 0x1p-510;
    const double fa = fabs(a), fb = fabs(b);
    const double m = fa > fb ? fa : fb;
    if (m >= kBig) {
        const double x = a * kSmall, y = b * kSmall;
        return sqrt(x * x + y * y) * kBig;
    }
    if (m <= kSmall) {
        const double x = a * kBig, y = b * kBig;
        return sqrt(x * x + y * y) * kSmall;
    }
    return sqrt(a * a + b * b);
}

// |a| with the sign of b (b = 0 counts as positive).
inline double withSignOf(double a, double b) { return b >= 0.0 ? fabs(a) : -fabs(a); }

// The decomposition in place: A in `u` becomes U; w gets width values and
// v the width by width V. rv1 is a working vector of width elements.
// Returns zelStsSvdCnvgErr when a value needs nIter rounds, or when the
// norm of the bidiagonal form is not finite (no sweep could then meet the
// convergence test).
template <class URows, class VRows>
ZelStatus svdInPlace(URows u, int height, double* w, VRows v, int width, int nIter, double* rv1) {
    const int m = height, n = width;
    double g = 0.0, scale = 0.0, anorm = 0.0;
    int l = 0;

    // 1. Householder reduction to bidiagonal form.
    for (int i = 0; i < n; ++i) {
        l = i + 1;
        rv1[i] = scale * g;
        g = 0.0;
        scale = 0.0;
        if (i < m) {
            scale = sumColumnAbs(u, m, i, i);
            if (scale != 0.0) {
                const double s = sumColumnSqr(u, m, i, i, 1.0 / scale);
                const double f = u(i)[i];
                g = -withSignOf(sqrt(s), f);
                const double h = f * g - s;
                u(i)[i] = f - g;
                for (int j = l; j < n; ++j) addMulColumn(u, m, i, j, i, dotProdColumn(u, m, i, j, i) / h);
                mulColumn(u, m, i, i, scale);
            }
        }
        w[i] = scale * g;
        g = 0.0;
        scale = 0.0;
        if (i < m && i != n - 1) {
            double* ai = u(i);
            scale = sumRowAbs(ai + l, n - l);
            if (scale != 0.0) {
                const double s = sumRowSqr(ai + l, n - l, 1.0 / scale);
                const double f = ai[l];
                g = -withSignOf(sqrt(s), f);
                const double h = f * g - s;
                ai[l] = f - g;
                for (int k = l; k < n; ++k) rv1[k] = ai[k] / h;
                for (int j = l; j < m; ++j) {
                    double* aj = u(j);
                    double d = 0.0;
                    for (int k = l; k < n; ++k) d += aj[k] * ai[k];
                    addMulRow(rv1 + l, aj + l, n - l, d);
                }
                for (int k = l; k < n; ++k) ai[k] *= scale;
            }
        }
        // NaN wins the maximum, so a NaN anywhere reaches the test below.
        const double t = fabs(w[i]) + fabs(rv1[i]);
        anorm = (t > anorm || t != t) ? t : anorm;
    }
    if (!isfinite(anorm)) return zelStsSvdCnvgErr;

    // 2. Right-hand transformations into V, from the last row up.
    for (int i = n - 1; i >= 0; --i) {
        if (i < n - 1) {
            if (g != 0.0) {
                const double* ai = u(i);
                // Two divisions keep a tiny a[i][l] * g from underflowing.
                for (int j = l; j < n; ++j) v(j)[i] = (ai[j] / ai[l]) / g;
                for (int j = l; j < n; ++j) {
                    double s = 0.0;
                    for (int k = l; k < n; ++k) s += ai[k] * v(k)[j];
                    addMulColumn(v, n, i, j, l, s);
                }
            }
            for (int j = l; j < n; ++j) v(i)[j] = v(j)[i] = 0.0;
        }
        v(i)[i] = 1.0;
        g = rv1[i];
        l = i;
    }

    // 3. Left-hand transformations into U.
    for (int i = (m < n ? m : n) - 1; i >= 0; --i) {
        l = i + 1;
        g = w[i];
        double* ai = u(i);
        for (int j = l; j < n; ++j) ai[j] = 0.0;
        if (g != 0.0) {
            g = 1.0 / g;
            for (int j = l; j < n; ++j) {
                const double f = (dotProdColumn(u, m, i, j, l) / ai[i]) * g;
                addMulColumn(u, m, i, j, i, f);
            }
            mulColumn(u, m, i, i, g);
        } else {
            for (int j = i; j < m; ++j) u(j)[i] = 0.0;
        }
        ai[i] += 1.0;
    }

    // 4. Diagonalisation of the bidiagonal form, one value at a time from
    // the last. The tests against anorm are exact: a term is negligible
    // when adding it does not change anorm.
    for (int k = n - 1; k >= 0; --k) {
        for (int iter = 1;; ++iter) {
            bool cancel = true;
            int nm = 0;
            for (l = k; l >= 0; --l) {
                nm = l - 1;
                // rv1[0] is always 0, so the split is at row 0 at the latest.
                if (l == 0 || fabs(rv1[l]) + anorm == anorm) {
                    cancel = false;
                    break;
                }
                if (fabs(w[nm]) + anorm == anorm) break;
            }
            if (cancel) {
                // w[nm] is negligible: chase rv1[l] out with rotations from the left.
                double c = 0.0, s = 1.0;
                for (int i = l; i <= k; ++i) {
                    const double f = s * rv1[i];
                    rv1[i] = c * rv1[i];
                    if (fabs(f) + anorm == anorm) break;
                    const double gg = w[i];
                    const double h = guardedHypot(f, gg);
                    w[i] = h;
                    c = gg / h;
                    s = -f / h;
                    qrTransColumn(u, m, i, nm, c, s);
                }
            }
            double z = w[k];
            if (l == k) {
                if (z < 0.0) {
                    w[k] = -z;
                    mulColumn(v, n, k, 0, -1.0);
                }
                break;
            }
            if (iter == nIter) return zelStsSvdCnvgErr;

            // Shift from the bottom 2 by 2 minor.
            double x = w[l];
            nm = k - 1;
            double y = w[nm];
            g = rv1[nm];
            double h = rv1[k];
            double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
            g = guardedHypot(f, 1.0);
            f = ((x - z) * (x + z) + h * ((y / (f + withSignOf(g, f))) - h)) / x;

            // One QR sweep from l to k.
            double c = 1.0, s = 1.0;
            for (int j = l; j <= nm; ++j) {
                const int i = j + 1;
                g = rv1[i];
                y = w[i];
                h = s * g;
                g = c * g;
                z = guardedHypot(f, h);
                rv1[j] = z;
                c = f / z;
                s = h / z;
                f = x * c + g * s;
                g = g * c - x * s;
                h = y * s;
                y = y * c;
                qrTransColumn(v, n, i, j, c, s);
                z = guardedHypot(f, h);
                w[j] = z;
                if (z != 0.0) {
                    c = f / z;
                    s = h / z;
                }
                f = c * g + s * y;
                x = c * y - s * g;
                qrTransColumn(u, m, i, j, c, s);
            }
            rv1[l] = 0.0;
            rv1[k] = f;
            w[k] = x;
        }
    }
    return zelStsNoErr;
}

// The values in descending order by selection (the first maximum of the
// rest each time), and the columns of U and V permuted to match, row by row
// through the buffer `row` of width elements. `index` holds width entries.
template <class URows, class VRows>
void svdSort(URows u, int height, double* w, VRows v, int width, int* index, double* row) {
    for (int k = 0; k < width; ++k) index[k] = k;
    for (int k = 0; k < width; ++k) {
        int best = k;
        for (int j = k + 1; j < width; ++j)
            if (w[j] > w[best]) best = j;
        const double t = w[k];
        w[k] = w[best];
        w[best] = t;
        const int ti = index[k];
        index[k] = index[best];
        index[best] = ti;
    }
    auto permute = [&](auto rows, int nRows) {
        for (int r = 0; r < nRows; ++r) {
            double* x = rows(r);
            for (int k = 0; k < width; ++k) row[k] = x[index[k]];
            for (int k = 0; k < width; ++k) x[k] = row[k];
        }
    };
    permute(u, height);
    permute(v, width);
}

}  // namespace zel::mat
