// SPDX-License-Identifier: Apache-2.0
// Dynamic time warping of two sequences of 39-element feature vectors (a few
// seconds of cepstra with deltas) beside the plain dynamic program: every
// cell of the cost matrix in double precision, with the same three moves.
// The library runs its band (delta frames around the parallelogram) without
// and with a beam.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

namespace {

constexpr int kWidth = 39;

struct Pair {
    int n, m;
    std::vector<float> a, b;
};

// The second sequence is the first at 0.9 speed, with some noise, so that
// the alignment has a clear path as in real use.
Pair makePair(int n) {
    std::mt19937 g(5);
    std::normal_distribution<float> d(0.0f, 1.0f);
    Pair p;
    p.n = n;
    p.m = int(n * 0.9);
    p.a.resize(size_t(p.n) * kWidth);
    p.b.resize(size_t(p.m) * kWidth);
    // A slowly changing trajectory, sampled at two speeds.
    std::vector<float> base(size_t(n + 2) * kWidth);
    for (float& v : base) v = d(g);
    for (int i = 1; i < n + 2; ++i)
        for (int k = 0; k < kWidth; ++k) base[i * kWidth + k] = 0.8f * base[(i - 1) * kWidth + k] + 0.6f * base[i * kWidth + k];
    for (int i = 0; i < p.n; ++i)
        for (int k = 0; k < kWidth; ++k) p.a[i * kWidth + k] = base[i * kWidth + k];
    for (int j = 0; j < p.m; ++j)
        for (int k = 0; k < kWidth; ++k) p.b[j * kWidth + k] = base[int(j / 0.9) * kWidth + k] + 0.1f * d(g);
    return p;
}

double plainDtw(const Pair& p, std::vector<double>& D) {
    const int n = p.n, m = p.m;
    const double inf = std::numeric_limits<double>::infinity();
    D.assign(size_t(n) * m, inf);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < m; ++j) {
            double s = 0;
            for (int k = 0; k < kWidth; ++k) {
                const double d = double(p.a[i * kWidth + k]) - p.b[j * kWidth + k];
                s += d * d;
            }
            double prev = i == 0 ? 0.0 : D[(i - 1) * m + j];
            if (i > 0 && j >= 1) prev = std::min(prev, D[(i - 1) * m + j - 1]);
            if (i > 0 && j >= 2) prev = std::min(prev, D[(i - 1) * m + j - 2]);
            D[i * m + j] = std::sqrt(s) + prev;
        }
    return *std::min_element(D.end() - m, D.end());
}

void BM_Plain(benchmark::State& state) {
    const Pair p = makePair(int(state.range(0)));
    std::vector<double> D;
    zb::measure(state, "dtw" + std::to_string(p.n), true, "frames", p.n, [&] {
        benchmark::DoNotOptimize(plainDtw(p, D));
    });
}

void BM_Zelsr(benchmark::State& state) {
    const Pair p = makePair(int(state.range(0)));
    const int delta = int(state.range(1));
    const float beam = state.range(2) ? float(state.range(2)) : 1e30f;
    float cost = 0;
    zb::measure(state, "dtw" + std::to_string(p.n), false, "frames", p.n, [&] {
        zelsDTW_L2_32f_D2(p.a.data(), p.n, p.b.data(), p.m, kWidth, kWidth, &cost, delta, beam);
        benchmark::DoNotOptimize(cost);
    });
}

const int registered = [] {
    for (int n : {200, 600}) {
        benchmark::RegisterBenchmark("DTW/plain", BM_Plain)->Args({n});
        benchmark::RegisterBenchmark("DTW/zelsr_band", BM_Zelsr)->Args({n, n / 10, 0});
        benchmark::RegisterBenchmark("DTW/zelsr_band_beam", BM_Zelsr)->Args({n, n / 10, 40});
    }
    return 0;
}();

}  // namespace
