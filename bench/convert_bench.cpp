// SPDX-License-Identifier: Apache-2.0
// Float to 32-bit integer conversion with rounding to nearest and a scale
// factor, beside the straightforward loop over lrintf.
#include <benchmark/benchmark.h>
#include <math.h>

#include <random>
#include <vector>

#include "frame/toolkit.h"

namespace {

std::vector<float> sourceData(int n) {
    std::mt19937 g(7);
    std::uniform_real_distribution<float> d(-1e6f, 1e6f);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

void BM_Convert_32f32s_Sfs(benchmark::State& state) {
    const int n = int(state.range(0));
    auto src = sourceData(n);
    std::vector<Zel32s> dst(n);
    for (auto _ : state) {
        ownConvert_32f32s_Sfs(src.data(), dst.data(), n, 1, 3);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

__attribute__((noinline)) void plainConvert(const float* src, Zel32s* dst, int n, int sf) {
    const float scale = ldexpf(1.0f, -sf);
    for (int i = 0; i < n; ++i) {
        float v = src[i] * scale;
        dst[i] = v >= 2147483648.0f ? 2147483647 : (v < -2147483648.0f ? (-2147483647 - 1) : (Zel32s)lrintf(v));
    }
}

void BM_Convert_PlainLoop(benchmark::State& state) {
    const int n = int(state.range(0));
    auto src = sourceData(n);
    std::vector<Zel32s> dst(n);
    for (auto _ : state) {
        plainConvert(src.data(), dst.data(), n, 3);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace

BENCHMARK(BM_Convert_32f32s_Sfs)->Arg(1024)->Arg(65536);
BENCHMARK(BM_Convert_PlainLoop)->Arg(1024)->Arg(65536);
