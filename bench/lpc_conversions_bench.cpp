// SPDX-License-Identifier: Apache-2.0
// LP to line spectral pairs at orders 10 and 16 (a grid of 128 cells, four
// bisections), and LP to cepstrum at order 12, 1000 vectors a run, each
// beside a straightforward loop on the same vectors: for the pairs, the
// full sum and difference polynomials evaluated through cosines of the
// frequency on the same grid and with the same bisections; for the cepstrum,
// the textbook recursion. Counters: vectors/s and "x_plain".
#include <benchmark/benchmark.h>
#include <math.h>

#include <random>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

namespace {

constexpr int kVectors = 1000, kMaxOrder = 16, kGrid = 128, kBisections = 4;

// Stable LP vectors from random reflection coefficients.
struct Vectors {
    std::vector<float> a[kMaxOrder + 1];
    std::vector<float> out = std::vector<float>(kMaxOrder + 1);
    Vectors() {
        std::mt19937 g(5);
        std::uniform_real_distribution<float> u(-0.8f, 0.8f);
        for (int order : {10, 12, 16}) {
            a[order].resize(kVectors * order);
            for (int v = 0; v < kVectors; ++v) {
                std::vector<float> k(order);
                for (float& x : k) x = u(g);
                zelsReflectionToLP_32f(k.data(), &a[order][v * order], order);
            }
        }
    }
};
Vectors& vectors() {
    static Vectors v;
    return v;
}

// Sum and difference polynomials of A(z) = 1 + sum a z^-k at frequency w,
// as cosine sums over their symmetric halves.
float symmetricAt(const std::vector<float>& c, float w) {
    const int deg = int(c.size()) - 1;
    float s = 0;
    for (int k = 0; k < deg / 2; ++k) s += 2 * c[k] * cosf((deg / 2.0f - k) * w);
    if (deg % 2 == 0) s += c[deg / 2];
    return s;
}
float antisymmetricAt(const std::vector<float>& c, float w) {
    const int deg = int(c.size()) - 1;
    float s = 0;
    for (int k = 0; k < (deg + 1) / 2; ++k) s += 2 * c[k] * sinf((deg / 2.0f - k) * w);
    return s;
}

int plainLsp(const float* a, int n, float* x) {
    std::vector<float> p(n + 2), q(n + 2);
    for (int k = 0; k <= n + 1; ++k) {
        const float lo = k == 0 ? 1 : (k <= n ? a[k - 1] : 0);
        const float hi = n + 1 - k == 0 ? 1 : (n + 1 - k <= n ? a[n - k] : 0);
        p[k] = lo + hi;
        q[k] = lo - hi;
    }
    int count = 0;
    const float step = 3.14159265f / kGrid;
    for (int which = 0; which < 2; ++which) {
        auto f = [&](float w) { return which == 0 ? symmetricAt(p, w) : antisymmetricAt(q, w); };
        float wl = 1e-4f, fl = f(wl);
        for (int i = 1; i <= kGrid; ++i) {
            float wr = i == kGrid ? 3.14149265f : i * step, fr = f(wr);
            if (fl * fr <= 0) {
                float lo = wl, flo = fl, hi = wr;
                for (int b = 0; b < kBisections; ++b) {
                    const float m = 0.5f * (lo + hi), fm = f(m);
                    if (flo * fm <= 0) hi = m; else { lo = m; flo = fm; }
                }
                x[count++] = cosf(0.5f * (lo + hi));
            }
            wl = wr;
            fl = fr;
        }
    }
    return count;
}

void plainCepstrum(const float* a, float* c, int n) {
    for (int i = 1; i <= n; ++i) {
        float s = 0;
        for (int m = 1; m < i; ++m) s += (i - m) * a[m - 1] * c[i - m - 1];
        c[i - 1] = -(a[i - 1] + s / i);
    }
}

void BM_Plain_LPToLSP(benchmark::State& st) {
    Vectors& v = vectors();
    const int order = int(st.range(0));
    zb::measure(st, "lsp_" + std::to_string(order), true, "vectors/s", kVectors, [&] {
        for (int i = 0; i < kVectors; ++i) plainLsp(&v.a[order][i * order], order, v.out.data());
    });
}
void BM_zelsLPToLSP_32f(benchmark::State& st) {
    Vectors& v = vectors();
    const int order = int(st.range(0));
    int n = 0;
    zb::measure(st, "lsp_" + std::to_string(order), false, "vectors/s", kVectors, [&] {
        for (int i = 0; i < kVectors; ++i)
            zelsLPToLSP_32f(&v.a[order][i * order], v.out.data(), order, &n, kGrid, kBisections);
    });
}
void BM_Plain_LPToCepstrum(benchmark::State& st) {
    Vectors& v = vectors();
    zb::measure(st, "cepstrum_12", true, "vectors/s", kVectors, [&] {
        for (int i = 0; i < kVectors; ++i) plainCepstrum(&v.a[12][i * 12], v.out.data(), 12);
    });
}
void BM_zelsLPToCepstrum_32f(benchmark::State& st) {
    Vectors& v = vectors();
    zb::measure(st, "cepstrum_12", false, "vectors/s", kVectors, [&] {
        for (int i = 0; i < kVectors; ++i) zelsLPToCepstrum_32f(&v.a[12][i * 12], v.out.data(), 12);
    });
}

// The plain loop runs just before the member it is compared with.
BENCHMARK(BM_Plain_LPToLSP)->Arg(10);
BENCHMARK(BM_zelsLPToLSP_32f)->Arg(10);
BENCHMARK(BM_Plain_LPToLSP)->Arg(16);
BENCHMARK(BM_zelsLPToLSP_32f)->Arg(16);
BENCHMARK(BM_Plain_LPToCepstrum);
BENCHMARK(BM_zelsLPToCepstrum_32f);

}  // namespace
