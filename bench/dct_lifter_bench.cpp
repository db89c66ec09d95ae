// SPDX-License-Identifier: Apache-2.0
// DCT lifter at a front end's shape: 23 log filter-bank values to 13 cepstra,
// 1000 frames a run, beside the straightforward loop over a plain cosine
// table on the same data. Counters: frames/s, and for the library its speed
// over the straightforward loop measured just before it ("x_plain").
#include <benchmark/benchmark.h>
#include <math.h>

#include <random>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

constexpr int kLenDCT = 23, kLenCep = 13, kFrames = 1000;

struct Data {
    std::vector<float> x = std::vector<float>(kFrames * kLenDCT);
    std::vector<float> y = std::vector<float>(kFrames * (kLenCep + 1));
    std::vector<float> cosines = std::vector<float>((kLenCep + 1) * kLenDCT);
    std::vector<float> lifter = std::vector<float>(kLenCep + 1);
    ZelDCTLifterState_32f* state = nullptr;

    Data() {
        std::mt19937 g(7);
        std::uniform_real_distribution<float> u(-5, 20);
        for (float& v : x) v = u(g);
        for (int i = 0; i <= kLenCep; ++i) {
            lifter[i] = float(1.0 + 11.0 * sin(i * 3.14159265358979 / 22));
            for (int j = 0; j < kLenDCT; ++j) cosines[i * kLenDCT + j] = float(cos(3.14159265358979 * i * (j + 0.5) / kLenDCT));
        }
        zelsDCTLifterInitAlloc_C0_32f(&state, kLenDCT, kLenCep, 22, 1.0f, 1.0f);
    }
    ~Data() { zelsDCTLifterFree_32f(state); }
};
Data& data() {
    static Data d;
    return d;
}

void plainLifter(const float* x, float* y, const float* cosines, const float* lifter) {
    for (int i = 1; i <= kLenCep; ++i) {
        float s = 0;
        for (int j = 0; j < kLenDCT; ++j) s += x[j] * cosines[i * kLenDCT + j];
        y[i - 1] = lifter[i] * s;
    }
    float s = 0;
    for (int j = 0; j < kLenDCT; ++j) s += x[j];
    y[kLenCep] = lifter[0] * s;
}

void BM_Plain_DCTLifter_23to13(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "dct_lifter", true, "frames/s", kFrames, [&] {
        for (int f = 0; f < kFrames; ++f)
            plainLifter(&d.x[f * kLenDCT], &d.y[f * (kLenCep + 1)], d.cosines.data(), d.lifter.data());
    });
}
// The library on the instruction set `isa` at most; skipped where the
// processor lacks it.
void BM_zelsDCTLifter_32f_23to13(benchmark::State& st, zel::Isa isa) {
    if (zel::bestIsa() < isa) return st.SkipWithError("instruction set not available");
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    Data& d = data();
    zb::measure(st, "dct_lifter", false, "frames/s", kFrames, [&] {
        for (int f = 0; f < kFrames; ++f) zelsDCTLifter_32f(&d.x[f * kLenDCT], &d.y[f * (kLenCep + 1)], d.state);
    });
    zel::setMaxIsaForTesting(saved);
}

// The plain loop runs just before the members it is compared with.
BENCHMARK(BM_Plain_DCTLifter_23to13);
BENCHMARK_CAPTURE(BM_zelsDCTLifter_32f_23to13, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsDCTLifter_32f_23to13, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsDCTLifter_32f_23to13, avx512, zel::Isa::kAvx512);

}  // namespace
