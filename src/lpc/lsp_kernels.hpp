// SPDX-License-Identifier: Apache-2.0
// Line spectral pairs in the cosine domain: x = cos(w), descending from +1.
// The sum and difference polynomials are kept in half-size form as Chebyshev
// coefficients c[0] = 1, c[1..m], and evaluated without trigonometry.
#pragma once

#include <stdint.h>
#include <string.h>

#include "zelsr.h"

namespace zel::lpc {

// Half-size degrees for an LP vector of length n: even n gives n/2 each;
// odd n, (n + 1)/2 for the sum and (n - 1)/2 for the difference.
inline int sumDegree(int n) { return (n + 1) / 2; }
inline int differenceDegree(int n) { return n / 2; }

// P and Q of pA (a[k] = pA[k-1]). Even n reduces A(z) +- z^-(n+1) A(1/z) by
// (1 + z^-1) and (1 - z^-1) with A(z) = 1 + sum a_k z^-k. Odd n reads
// A(z) = 1 - sum a_k z^-k, the sign of the odd-order coders, and reduces the
// difference by (1 - z^-2); the reconstruction keeps the same asymmetry.
inline void lspPolynomials(const float* pA, int n, float* P, float* Q) {
    auto a = [&](int k) { return pA[k - 1]; };
    P[0] = 1.0f;
    Q[0] = 1.0f;
    if (n % 2 == 0) {
        for (int k = 1; k <= n / 2; ++k) {
            P[k] = (a(k) + a(n + 1 - k)) - P[k - 1];
            Q[k] = (a(k) - a(n + 1 - k)) + Q[k - 1];
        }
        return;
    }
    const int mid = (n + 1) / 2;
    for (int k = 1; k < mid; ++k) P[k] = (0.0f - a(k)) - a(n + 1 - k);
    P[mid] = -2.0f * a(mid);
    if (n >= 3) Q[1] = a(n) - a(1);
    for (int k = 2; k <= (n - 1) / 2; ++k) Q[k] = (Q[k - 2] + a(n + 1 - k)) - a(k);
}

// Half the Chebyshev sum of c[0..m] at x, by the same steps at grid points,
// in the bisection and after a root.
inline float chebyshev(const float* c, int m, float x) {
    if (m == 0) return 0.0f;
    const float t = x + x;
    if (m == 1) return t + c[1];
    float b1 = c[1] + t, b2 = 1.0f;
    for (int i = 2; i <= m - 1; ++i) {
        const float b0 = (t * b1 - b2) + c[i];
        b2 = b1;
        b1 = b0;
    }
    return (c[m] * 0.5f - b2) + b1 * x;
}

// Floats of the search scratch: both polynomials.
inline int64_t lspSearchScratch(int n) { return int64_t(n) + 4; }

// The grid from 1 down to -1 in nInt cells of d = 2 / nInt, built four at a
// time from the base 1 + d, with both ends set exactly. The search only ever
// moves forward through it, so the points are made as it goes, one group of
// four at a time, and a fine grid costs no memory.
class LspGrid {
public:
    explicit LspGrid(int nInt)
        : nInt_(nInt), d_(2.0f / float(nInt)), d2_(d_ * 2.0f), d3_(d_ * 3.0f), d4_(d_ * 4.0f), base_(1.0f + d_) {
        fill();
    }
    float at(int k) {
        if (k == 0) return 1.0f;
        if (k == nInt_) return -1.0f;
        while (k >= first_ + 4) {
            base_ = g_[3];
            first_ += 4;
            fill();
        }
        return g_[k - first_];
    }
    // True once the steps of d no longer change the running value (a grid
    // finer than the float spacing near it): every point from k up to the
    // last interior one then equals at(k).
    bool constantFrom(int k) const {
        return k >= first_ && g_[0] == base_ && g_[1] == base_ && g_[2] == base_ && g_[3] == base_;
    }

private:
    void fill() {
        g_[0] = base_ - d_;
        g_[1] = base_ - d2_;
        g_[2] = base_ - d3_;
        g_[3] = base_ - d4_;
    }
    int nInt_;
    float d_, d2_, d3_, d4_, base_;
    int first_ = 0;  // index of g_[0]
    float g_[4];
};

inline bool sameBits(float a, float b) {
    uint32_t u, v;
    memcpy(&u, &a, 4);
    memcpy(&v, &b, 4);
    return u == v;
}

// Roots of P and Q, alternately, by the grid, nDiv bisections and a secant
// step; returns their number. Each root restarts the search in the same cell
// for the other polynomial, since the roots interleave. A product of exactly
// zero counts as a sign change.
inline int lspSearch(const float* P, int mP, const float* Q, int mQ, int nInt, int nDiv, int len, float* roots) {
    LspGrid g(nInt);
    const float* c[2] = {P, Q};
    const int m[2] = {mP, mQ};
    int which = 0, count = 0, idx = 0;
    float xl = g.at(0);
    float fl = chebyshev(P, mP, xl);
    while (count < len && idx < nInt) {
        ++idx;
        float xr = g.at(idx);
        float fr = chebyshev(c[which], m[which], xr);
        if (!(0.0f >= fr * fl)) {
            xl = xr;
            fl = fr;
            // Equal points ahead repeat this value, whose square is positive:
            // none of them can hold a root, so the walk goes to the last cell.
            if (g.constantFrom(idx) && !(0.0f >= fl * fl) && idx < nInt - 1) idx = nInt - 1;
            continue;
        }
        --idx;
        for (int i = 0; i < nDiv; ++i) {
            const float xm = (xr + xl) * 0.5f;
            const float fm = chebyshev(c[which], m[which], xm);
            const bool left = 0.0f >= fr * fm;
            // Each step is a function of the bracket alone, so a bracket that
            // a step leaves unchanged stays so for the remaining steps.
            if (left ? sameBits(xm, xl) && sameBits(fm, fl) : sameBits(xm, xr) && sameBits(fm, fr)) break;
            if (left) {
                xl = xm;
                fl = fm;
            } else {
                xr = xm;
                fr = fm;
            }
        }
        const float root = xr - (xl - xr) * fr / (fl - fr);
        roots[count++] = root;
        which ^= 1;
        xl = root;
        fl = chebyshev(c[which], m[which], root);
    }
    return count;
}

// Multiplies out the factors (1 - 2 x z^-1 + z^-2) of the pairs x[first],
// x[first + 2], ... (`count` of them) into c[0..count], the first half of a
// symmetric polynomial. `x(i)` reads pair i.
template <class X>
inline void lspProduct(X x, int first, int count, float* c) {
    c[0] = 1.0f;
    if (count == 0) return;
    c[1] = -2.0f * x(first);
    for (int s = 1; s < count; ++s) {
        const float t = x(first + 2 * s) * -2.0f;
        c[s + 1] = c[s] * t + c[s - 1] * 2.0f;
        for (int j = s; j >= 2; --j) c[j] = (t * c[j - 1] + c[j]) + c[j - 2];
        c[1] = c[1] + t;
    }
}

// Floats of the reconstruction scratch: P and Q, each (n / 2) + 3.
inline int64_t lspToLpScratch(int n) { return 2 * (int64_t(n) / 2 + 3); }

// LP vector of length n from its pairs, with the parity conventions of
// lspPolynomials.
template <class X>
inline void lspToLp(X x, int n, float* pA, float* P, float* Q) {
    const int mP = sumDegree(n), mQ = differenceDegree(n);
    lspProduct(x, 0, mP, P);
    lspProduct(x, 1, mQ, Q);
    if (n % 2 == 0) {
        // Multiply back the factors (1 + z^-1) and (1 - z^-1).
        for (int i = n / 2; i >= 1; --i) {
            P[i] = P[i] + P[i - 1];
            Q[i] = Q[i] - Q[i - 1];
        }
        for (int i = 1; i <= n / 2; ++i) {
            pA[i - 1] = (P[i] + Q[i]) * 0.5f;
            pA[n - i] = (P[i] - Q[i]) * 0.5f;
        }
        return;
    }
    // Odd n: A(z) = 1 - sum a z^-k, and Q carries the factor (1 - z^-2).
    const int mid = (n - 1) / 2;
    if (n >= 3) {
        pA[0] = (P[1] + Q[1]) * -0.5f;
        for (int i = 1; i < mid; ++i) {
            pA[i] = ((P[i + 1] + Q[i + 1]) - Q[i - 1]) * -0.5f;
            pA[n - 1 - i] = ((P[i + 1] - Q[i + 1]) + Q[i - 1]) * -0.5f;
        }
        pA[n - 1] = (P[1] - Q[1]) * -0.5f;
    }
    pA[mid] = P[mid + 1] * -0.5f;
}

}  // namespace zel::lpc
