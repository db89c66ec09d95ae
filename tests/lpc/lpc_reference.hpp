// SPDX-License-Identifier: Apache-2.0
// Long double references and test signals for the linear-prediction tests.
#pragma once

#include <math.h>

#include <random>
#include <vector>

#include "zelsr.h"

namespace lt {

// x[n] = sum ar[k] x[n-1-k] + e[n] from unit Gaussian e, after a settling run.
inline std::vector<float> arProcess(const double* ar, int p, int len, unsigned seed = 99) {
    std::mt19937 g(seed);
    std::normal_distribution<double> e(0.0, 1.0);
    std::vector<double> h(p, 0.0);
    std::vector<float> x;
    for (int n = 0; n < len + 500; ++n) {
        double v = e(g);
        for (int k = 0; k < p; ++k) v += ar[k] * h[k];
        for (int k = p - 1; k > 0; --k) h[k] = h[k - 1];
        h[0] = v;
        if (n >= 500) x.push_back(float(v));
    }
    return x;
}

// First-order coloured noise, seeded per length.
inline std::vector<float> colouredNoise(int len, double rho) { return arProcess(&rho, 1, len, 7919u + unsigned(len)); }

inline std::vector<float> autocorrOf(const std::vector<float>& x, int lags) {
    std::vector<float> R(lags);
    for (int k = 0; k < lags; ++k) {
        long double s = 0;
        for (size_t n = 0; n + k < x.size(); ++n) s += (long double)x[n] * x[n + k];
        R[k] = float(s);
    }
    return R;
}

// The one-sided covariance system (sums over n = 0 .. N-i-2 for row i),
// symmetric from its lower triangle, by Gaussian elimination.
inline std::vector<long double> covarianceSolve(const std::vector<float>& x, int p) {
    const int N = int(x.size());
    std::vector<std::vector<long double>> C(p, std::vector<long double>(p + 1, 0));
    for (int i = 0; i < p; ++i) {
        for (int n = 0; n <= N - i - 2; ++n) C[i][p] += (long double)x[n] * x[n + i + 1];
        for (int j = 0; j <= i; ++j) {
            long double s = 0;
            for (int n = 0; n <= N - i - 2; ++n) s += (long double)x[n] * x[n + i - j];
            C[i][j] = s;
            C[j][i] = s;
        }
    }
    for (int c = 0; c < p; ++c)
        for (int r = c + 1; r < p; ++r) {
            const long double f = C[r][c] / C[c][c];
            for (int k = c; k <= p; ++k) C[r][k] -= f * C[c][k];
        }
    std::vector<long double> a(p);
    for (int i = p - 1; i >= 0; --i) {
        long double s = C[i][p];
        for (int k = i + 1; k < p; ++k) s -= C[i][k] * a[k];
        a[i] = s / C[i][i];
    }
    return a;
}

// Round to nearest with ties to even of v * 2^-s, saturated to 16 bits.
inline Zel16s near16(float v, int s) {
    const double r = nearbyint(double(v * ldexpf(1.0f, -s)));
    return Zel16s(r > 32767 ? 32767 : (r < -32768 ? -32768 : r));
}

// A stable A(z) = 1 + sum a z^-k of the given order from random reflection
// coefficients of magnitude up to kmax (step-up in long double).
inline std::vector<float> stableLp(int order, double kmax, unsigned seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<double> u(-kmax, kmax);
    std::vector<long double> a;
    for (int i = 0; i < order; ++i) {
        const long double k = u(g);
        std::vector<long double> b(a);
        b.push_back(k);
        for (int j = 0; j < i; ++j) b[j] = a[j] + k * a[i - 1 - j];
        a = b;
    }
    return std::vector<float>(a.begin(), a.end());
}

}  // namespace lt
