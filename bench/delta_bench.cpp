// SPDX-License-Identifier: Apache-2.0
// Dynamic features at a front end's shape: 13 statics, their deltas and
// delta-deltas of radius two over 1000 frames in one call, beside the
// straightforward clamped-window loops on the same data. Counters: frames/s,
// and for the library its speed over the plain loops measured just before
// it ("x_plain").
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

constexpr int kWidth = 13, kFrames = 1000, kStep = 3 * kWidth;
constexpr float kScale = 0.1f, kScale2 = 0.1f;

struct Data {
    std::vector<float> x = std::vector<float>(kFrames * kWidth);
    std::vector<float> dst = std::vector<float>(kFrames * kStep);
    Data() {
        std::mt19937 g(7);
        std::uniform_real_distribution<float> u(-10, 10);
        for (float& v : x) v = u(g);
    }
};
Data& data() {
    static Data d;
    return d;
}

// Statics, then each delta block from the block before it, with clamped rows.
void plainDeltaDelta(const float* x, float* dst) {
    for (int t = 0; t < kFrames; ++t)
        for (int j = 0; j < kWidth; ++j) dst[t * kStep + j] = x[t * kWidth + j];
    for (int block = 1; block <= 2; ++block) {
        const float s = block == 1 ? kScale : kScale2;
        for (int t = 0; t < kFrames; ++t) {
            auto at = [&](int k, int j) { return dst[std::clamp(t + k, 0, kFrames - 1) * kStep + (block - 1) * kWidth + j]; };
            for (int j = 0; j < kWidth; ++j) {
                float d2 = at(2, j) - at(-2, j);
                dst[t * kStep + block * kWidth + j] = ((at(1, j) - at(-1, j)) + d2 + d2) * s;
            }
        }
    }
}

void BM_Plain_DeltaDelta_Win2_13x1000(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "delta", true, "frames/s", kFrames, [&] { plainDeltaDelta(d.x.data(), d.dst.data()); });
}
// The library on the instruction set `isa` at most; skipped where the
// processor lacks it.
void BM_zelsDeltaDelta_Win2_32f_D2_13x1000(benchmark::State& st, zel::Isa isa) {
    if (zel::bestIsa() < isa) return st.SkipWithError("instruction set not available");
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    Data& d = data();
    zb::measure(st, "delta", false, "frames/s", kFrames, [&] {
        zelsDeltaDelta_Win2_32f_D2(d.x.data(), kWidth, d.dst.data(), kStep, kFrames, kScale, kScale2,
                                   zelBeginStream | zelEndStream);
    });
    zel::setMaxIsaForTesting(saved);
}

// The plain loops run just before the members they are compared with.
BENCHMARK(BM_Plain_DeltaDelta_Win2_13x1000);
BENCHMARK_CAPTURE(BM_zelsDeltaDelta_Win2_32f_D2_13x1000, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsDeltaDelta_Win2_32f_D2_13x1000, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsDeltaDelta_Win2_32f_D2_13x1000, avx512, zel::Isa::kAvx512);

}  // namespace
