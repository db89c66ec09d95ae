// SPDX-License-Identifier: Apache-2.0
// Mixture evaluation at a recogniser's shape: a 32-component mixture of 39
// features (rows padded to 40). zelsLogGaussMixture_32f_D2 scores one frame
// at a time, 256 frames per iteration; zelsLogGaussMixture_Select_32f_D2
// takes 100 frames per call with a shortlist of 8 Gaussians a frame (as a
// decoder's Gaussian selection leaves it) or all 32. Each runs beside the
// straightforward loop on the same data: every selected score as a plain
// sum, then max + log of the sum of exp ("x_plain": its speed over that
// loop, measured just before it).
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>

#include "baseline.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kGauss = 32;
constexpr int kWidth = 39;
constexpr int kStep = 40;
constexpr int kFrames = 256;
constexpr int kBatch = 100;
constexpr int kSelectBytes = (kGauss + 7) / 8;

template <class T>
T* alloc(size_t n) {
    return static_cast<T*>(zelMalloc(n * sizeof(T)));
}

struct Data {
    float* mean = alloc<float>(kGauss * kStep);
    float* ivar = alloc<float>(kGauss * kStep);
    float* val = alloc<float>(kGauss);
    float* frames = alloc<float>(kFrames * kStep);
    float* dst = alloc<float>(kFrames);
    Zel8u* shortlist = alloc<Zel8u>(kBatch * kSelectBytes);
    Zel8u* all = alloc<Zel8u>(kBatch * kSelectBytes);

    Data() {
        std::mt19937 g(5);
        std::normal_distribution<float> n(0.0f, 1.0f);
        std::uniform_real_distribution<float> iv(0.5f, 2.0f), c(-60.0f, -40.0f);
        for (int i = 0; i < kGauss * kStep; ++i) mean[i] = n(g), ivar[i] = iv(g);
        for (int y = 0; y < kGauss; ++y) val[y] = c(g);
        for (int i = 0; i < kFrames * kStep; ++i) frames[i] = n(g);
        for (int f = 0; f < kBatch; ++f)
            for (int b = 0; b < kSelectBytes; ++b) {
                all[f * kSelectBytes + b] = 0xFF;
                shortlist[f * kSelectBytes + b] = 0;
            }
        for (int f = 0; f < kBatch; ++f)
            for (int k = 0; k < 8; ++k) {
                const int gi = (f * 7 + k * 5) % kGauss;  // 8 distinct Gaussians
                shortlist[f * kSelectBytes + gi / 8] |= Zel8u(0x80 >> gi % 8);
            }
    }
};
Data& data() {
    static Data d;
    return d;
}

// ---- The straightforward loops ----------------------------------------------------

float score(const float* x, int g, const Data& d) {
    const float *m = d.mean + g * kStep, *v = d.ivar + g * kStep;
    float s = 0;
    for (int j = 0; j < kWidth; ++j) s += (x[j] - m[j]) * (x[j] - m[j]) * v[j];
    return d.val[g] - 0.5f * s;
}
// log of the sum of exp of n scores, as the textbook writes it.
float logSumExp(const float* s, int n) {
    float top = s[0];
    for (int i = 1; i < n; ++i) top = s[i] > top ? s[i] : top;
    float sum = 0;
    for (int i = 0; i < n; ++i) sum += std::exp(s[i] - top);
    return top + std::log(sum);
}
float plainMixture(const float* x, const Data& d) {
    float s[kGauss];
    for (int g = 0; g < kGauss; ++g) s[g] = score(x, g, d);
    return logSumExp(s, kGauss);
}
void plainSelect(const Zel8u* sel, Data& d) {
    for (int f = 0; f < kBatch; ++f) {
        float s[kGauss];
        int n = 0;
        for (int g = 0; g < kGauss; ++g)
            if (sel[f * kSelectBytes + g / 8] & (0x80 >> g % 8)) s[n++] = score(d.frames + f * kStep, g, d);
        d.dst[f] = n ? logSumExp(s, n) : -1e30f;
    }
}

// ---- Members and their loops ----------------------------------------------------------------

void BM_Plain_Mixture_32f(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "mixture", true, "frames/s", kFrames, [&] {
        for (int f = 0; f < kFrames; ++f) d.dst[f] = plainMixture(d.frames + f * kStep, d);
    });
}
void BM_zelsLogGaussMixture_32f_D2(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "mixture", false, "frames/s", kFrames, [&] {
        for (int f = 0; f < kFrames; ++f)
            zelsLogGaussMixture_32f_D2(d.frames + f * kStep, d.mean, d.ivar, kGauss, kStep, kWidth, d.val, d.dst + f);
    });
}

// Argument: the Gaussians selected per frame, 8 or 32.
const Zel8u* table(const Data& d, int perFrame) { return perFrame == kGauss ? d.all : d.shortlist; }

std::string key(benchmark::State& st) { return "mixture/select" + std::to_string(st.range(0)); }

void BM_Plain_Select_32f(benchmark::State& st) {
    Data& d = data();
    const Zel8u* sel = table(d, int(st.range(0)));
    zb::measure(st, key(st), true, "frames/s", kBatch, [&] { plainSelect(sel, d); });
}
void BM_zelsLogGaussMixture_Select_32f_D2(benchmark::State& st) {
    Data& d = data();
    const Zel8u* sel = table(d, int(st.range(0)));
    zb::measure(st, key(st), false, "frames/s", kBatch, [&] {
        zelsLogGaussMixture_Select_32f_D2(d.frames, d.mean, d.ivar, kStep, kWidth, d.val, sel, kGauss, d.dst, kBatch,
                                          -1e30f);
    });
}

// Each plain loop just before the member it is compared with.
BENCHMARK(BM_Plain_Mixture_32f);
BENCHMARK(BM_zelsLogGaussMixture_32f_D2);
BENCHMARK(BM_Plain_Select_32f)->Arg(8);
BENCHMARK(BM_zelsLogGaussMixture_Select_32f_D2)->Arg(8);
BENCHMARK(BM_Plain_Select_32f)->Arg(kGauss);
BENCHMARK(BM_zelsLogGaussMixture_Select_32f_D2)->Arg(kGauss);

}  // namespace
