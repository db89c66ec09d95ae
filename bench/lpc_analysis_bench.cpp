// SPDX-License-Identifier: Apache-2.0
// LP analysis by the autocorrelation method on 400-sample frames at orders
// 12 and 24, 100 frames a run, beside the straightforward loop (a direct lag
// sum and the textbook Levinson-Durbin recursion) on the same frames.
// Counters: frames/s, and for the library its speed over the loop ("x_plain").
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

namespace {

constexpr int kLen = 400, kFrames = 100;

struct Frames {
    std::vector<float> x = std::vector<float>(kFrames * kLen);
    std::vector<float> a = std::vector<float>(64);
    Frames() {
        std::mt19937 g(3);
        std::normal_distribution<float> e(0, 1);
        float prev = 0;
        for (float& v : x) v = prev = 0.9f * prev + e(g);
    }
};
Frames& frames() {
    static Frames f;
    return f;
}

void plainLinearPrediction(const float* x, int len, float* a, int order) {
    float R[64], tmp[64];
    for (int k = 0; k <= order; ++k) {
        float s = 0;
        for (int n = 0; n + k < len; ++n) s += x[n] * x[n + k];
        R[k] = s;
    }
    float E = R[0];
    for (int i = 1; i <= order; ++i) {
        float s = R[i];
        for (int j = 1; j < i; ++j) s += a[j - 1] * R[i - j];
        const float k = -s / E;
        for (int j = 1; j < i; ++j) tmp[j - 1] = a[j - 1] + k * a[i - j - 1];
        for (int j = 1; j < i; ++j) a[j - 1] = tmp[j - 1];
        a[i - 1] = k;
        E *= 1 - k * k;
    }
}

void BM_Plain_LinearPrediction_Auto(benchmark::State& st) {
    Frames& f = frames();
    const int order = int(st.range(0));
    zb::measure(st, "lpc_auto_" + std::to_string(order), true, "frames/s", kFrames, [&] {
        for (int i = 0; i < kFrames; ++i) plainLinearPrediction(&f.x[i * kLen], kLen, f.a.data(), order);
    });
}
void BM_zelsLinearPrediction_Auto_32f(benchmark::State& st) {
    Frames& f = frames();
    const int order = int(st.range(0));
    zb::measure(st, "lpc_auto_" + std::to_string(order), false, "frames/s", kFrames, [&] {
        for (int i = 0; i < kFrames; ++i) zelsLinearPrediction_Auto_32f(&f.x[i * kLen], kLen, f.a.data(), order);
    });
}

// The plain loop runs just before the member it is compared with.
BENCHMARK(BM_Plain_LinearPrediction_Auto)->Arg(12);
BENCHMARK(BM_zelsLinearPrediction_Auto_32f)->Arg(12);
BENCHMARK(BM_Plain_LinearPrediction_Auto)->Arg(24);
BENCHMARK(BM_zelsLinearPrediction_Auto_32f)->Arg(24);

}  // namespace
