// SPDX-License-Identifier: Apache-2.0
// LP analysis: the Levinson-Durbin and Schur recursions on an autocorrelation
// sequence, and the covariance method's normal equations. Single precision
// throughout; each sum keeps the order of additions written here, so every
// build gives the same bits.
#pragma once

#include <stdint.h>

#include "zelsr.h"

namespace zel::lpc {

// ---- Levinson-Durbin -------------------------------------------------------
// R[0..order] in, a[1..order] of A(z) = 1 + sum a_k z^-k out (a[k] at
// pA[k - 1]), the final prediction error in *pErr. `scratch` holds `order`
// floats for the simultaneous update. Both energy tests fail only at or below
// zero, so a NaN runs through to a NaN result.

// R[i] + sum over j = 1 .. i-1 of a[j] R[i-j], in two running sums: one from
// R[i] over the odd j, one from 0 over the even j; the odd leftover last.
inline float durbinSum(const float* R, const float* a, int i) {
    float odd = R[i], even = 0.0f;
    int j = 1;
    for (; j + 1 <= i - 1; j += 2) {
        odd = odd + a[j - 1] * R[i - j];
        even = even + a[j] * R[i - j - 1];
    }
    float s = odd + even;
    if (j == i - 1) s = s + a[j - 1] * R[1];
    return s;
}

// One stage from i on: reflection, new top coefficient, error, then the
// simultaneous update of a[1..i-1] from the copy in `scratch`.
inline bool durbinStages(const float* R, float* a, int from, int order, float& E, float* scratch) {
    for (int i = from; i <= order; ++i) {
        const float k = durbinSum(R, a, i) / E;
        a[i - 1] = 0.0f - k;
        E = E * (1.0f - k * k);
        if (E <= 0.0f) return false;
        for (int j = 0; j < i - 1; ++j) scratch[j] = a[j];
        for (int j = 1; j <= i - 1; ++j) a[j - 1] = scratch[j - 1] - k * scratch[i - j - 1];
    }
    return true;
}

// Orders 9 to 12 spell the first four stages out with their own orders of
// addition and no scratch: the short predictors of speech coders run here.
inline bool durbinFirstFour(const float* R, float* a, float& E) {
    float k = (R[2] + R[1] * a[0]) / E;
    float a1 = a[0];
    a[1] = 0.0f - k;
    E = E * (1.0f - k * k);
    if (E <= 0.0f) return false;
    a[0] = a1 - k * a1;

    float a2 = a[1];
    a1 = a[0];
    k = ((R[1] * a2 + R[3]) + R[2] * a1) / E;
    a[2] = 0.0f - k;
    E = E * (1.0f - k * k);
    if (E <= 0.0f) return false;
    a[0] = a1 - k * a2;
    a[1] = a2 - k * a1;

    a1 = a[0];
    a2 = a[1];
    const float a3 = a[2];
    k = (((R[2] * a2 + R[4]) + R[1] * a3) + R[3] * a1) / E;
    a[3] = 0.0f - k;
    E = E * (1.0f - k * k);
    if (E <= 0.0f) return false;
    a[0] = a1 - k * a3;
    a[1] = a2 - k * a2;
    a[2] = a3 - k * a1;
    return true;
}

// zelStsNoErr or zelStsLpcCalcErr; on failure `a` holds what was reached and
// *pErr is left alone.
inline ZelStatus durbin(const float* R, float* a, int order, float* pErr, float* scratch) {
    if (R[0] <= 0.0f) return zelStsLpcCalcErr;
    const float k = R[1] / R[0];
    float E = R[0] * (1.0f - k * k);
    if (E <= 0.0f) return zelStsLpcCalcErr;
    a[0] = 0.0f - k;
    bool ok;
    if (order >= 9 && order <= 12)
        ok = durbinFirstFour(R, a, E) && durbinStages(R, a, 5, order, E, scratch);
    else
        ok = durbinStages(R, a, 2, order, E, scratch);
    if (!ok) return zelStsLpcCalcErr;
    *pErr = E;
    return zelStsNoErr;
}

// ---- Schur -----------------------------------------------------------------
// Reflection coefficients k[m] = pK[m - 1] with the sign of a[m]. U and V are
// the two generator rows, each `order` + 1 floats, index 0 unused. No pivot
// test: a zero in U[m] runs on as infinities and NaNs.
inline void schur(const float* R, float* pK, int order, float* pErr, float* U, float* V) {
    U[1] = R[0];
    for (int j = 2; j <= order; ++j) U[j] = R[j - 1];
    for (int j = 1; j <= order; ++j) V[j] = R[j];
    float k = 0.0f;
    for (int m = 1; m <= order; ++m) {
        k = (0.0f - V[m]) / U[m];
        // Downwards, so that each pair of updates reads values this stage
        // has not touched yet.
        for (int j = order; j >= m + 1; --j) {
            const float v = V[j - 1], u = U[j - 1];
            V[j] = V[j] + k * U[j];
            U[j] = u + k * v;
        }
        pK[m - 1] = k;
    }
    *pErr = V[order] * k + U[order];
}

// ---- Covariance method -------------------------------------------------------

// Sums of `count` terms term(n): more than eight run in eight lanes (term
// 8q + t in lane t), folded as (l0 + l4, l1 + l5, l2 + l6, l3 + l7) and then
// pairwise, before the tail comes in singly in rising n; eight or fewer run
// in rising n from zero.
template <class Acc, class Term>
inline Acc laneSum(int count, Term term) {
    if (count <= 8) {
        Acc s = 0;
        for (int n = 0; n < count; ++n) s = s + term(n);
        return s;
    }
    Acc l[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    int n = 0;
    for (; n + 8 <= count; n += 8)
        for (int t = 0; t < 8; ++t) l[t] = l[t] + term(n + t);
    const Acc f0 = l[0] + l[4], f1 = l[1] + l[5], f2 = l[2] + l[6], f3 = l[3] + l[7];
    Acc s = (f0 + f1) + (f2 + f3);
    for (; n < count; ++n) s = s + term(n);
    return s;
}

// Floats of the one working block of the covariance method for order p:
// the matrix (its lower triangle turns into L in place), D, w, the right
// side and the forward solution.
inline int64_t covarianceBlock(int p) { return int64_t(p) * p + 4 * int64_t(p); }

// Predictor of order p by the one-sided covariance sums and an LDL^T
// factorisation without pivoting; a singular system runs on as infinities.
inline void covariance(const float* x, int N, float* a, int p, float* block) {
    float* C = block;  // row i at C + i * p; L[i][j] replaces C[i][j] for j < i
    float* D = C + int64_t(p) * p;
    float* w = D + p;
    float* r = w + p;
    float* y = r + p;
    for (int i = 0; i < p; ++i) {
        const int count = N - i - 1;  // n = 0 .. N-i-2; the range depends on the row alone
        r[i] = laneSum<float>(count, [&](int n) { return x[n] * x[n + i + 1]; });
        for (int j = 0; j <= i; ++j)
            C[int64_t(i) * p + j] = float(laneSum<double>(count, [&](int n) { return double(x[n] * x[n + i - j]); }));
    }
    D[0] = C[0];
    for (int i = 1; i < p; ++i) {
        float* Li = C + int64_t(i) * p;
        for (int j = 0; j < i; ++j) {
            const float* Lj = C + int64_t(j) * p;
            const float t = Li[j] - laneSum<float>(j, [&](int k) { return w[k] * Lj[k]; });
            Li[j] = t / D[j];
            w[j] = Li[j] * D[j];
        }
        D[i] = Li[i] - laneSum<float>(i, [&](int k) { return w[k] * Li[k]; });
    }
    for (int i = 0; i < p; ++i) {
        const float* Li = C + int64_t(i) * p;
        y[i] = r[i] - laneSum<float>(i, [&](int k) { return Li[k] * y[k]; });
    }
    for (int i = p - 1; i >= 0; --i) {
        const int above = p - 1 - i;
        a[i] = y[i] / D[i] - laneSum<float>(above, [&](int n) { return C[int64_t(i + 1 + n) * p + i] * a[i + 1 + n]; });
    }
}

}  // namespace zel::lpc
