// SPDX-License-Identifier: Apache-2.0
// Log-domain addition against the straightforward loop over log1p(exp(d)),
// on the same 4096 pairs in the same binary. Each zelsr case also reports
// "vs_loop": how many times faster than its plain loop it ran, timed here.
#include <benchmark/benchmark.h>
#include <string.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include "zelsr.h"

namespace {

constexpr int kLen = 4096;

// Differences spread over every regime and beyond the cut.
struct Data {
    std::vector<float> a, b, work;
    Data() : a(kLen), b(kLen), work(kLen) {
        std::mt19937 g(7);
        std::uniform_real_distribution<float> u(-20.0f, 0.0f);
        for (int i = 0; i < kLen; ++i) a[i] = u(g), b[i] = u(g);
    }
    // pSrcDst is refilled before each call, so every call sees the same data.
    float* fresh() {
        memcpy(work.data(), b.data(), kLen * sizeof(float));
        return work.data();
    }
};
Data& data() {
    static Data d;
    return d;
}

void plainLogAdd(const float* a, float* b, int n) {
    for (int i = 0; i < n; ++i) {
        const float m = std::max(a[i], b[i]), d = std::min(a[i], b[i]) - m;
        b[i] = static_cast<float>(m + std::log1p(std::exp(static_cast<double>(d))));
    }
}

float plainLogSum(const float* p, int n) {
    float r = p[0];
    for (int i = 1; i < n; ++i) {
        const float m = std::max(p[i], r), d = std::min(p[i], r) - m;
        r = static_cast<float>(m + std::log1p(std::exp(static_cast<double>(d))));
    }
    return r;
}

// Best time of a call, over a few rounds.
template <class F>
double secondsPerCall(F f) {
    double best = 1e30;
    for (int round = 0; round < 5; ++round) {
        const auto t0 = std::chrono::steady_clock::now();
        for (int k = 0; k < 50; ++k) f();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count() / 50);
    }
    return best;
}

template <class F, class G>
void run(benchmark::State& state, F call, G plain) {
    for (auto _ : state) call();
    state.SetItemsProcessed(state.iterations() * kLen);
    state.counters["vs_loop"] = secondsPerCall(plain) / secondsPerCall(call);
}

void BM_LogAdd_32f_Accurate(benchmark::State& state) {
    Data& d = data();
    run(state, [&] { benchmark::DoNotOptimize(zelsLogAdd_32f(d.a.data(), d.fresh(), kLen, zelAlgHintAccurate)); },
        [&] { plainLogAdd(d.a.data(), d.fresh(), kLen); benchmark::ClobberMemory(); });
}

void BM_LogAdd_32f_Fast(benchmark::State& state) {
    Data& d = data();
    run(state, [&] { benchmark::DoNotOptimize(zelsLogAdd_32f(d.a.data(), d.fresh(), kLen, zelAlgHintFast)); },
        [&] { plainLogAdd(d.a.data(), d.fresh(), kLen); benchmark::ClobberMemory(); });
}

void BM_LogAdd_PlainLog1pExpLoop(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) {
        plainLogAdd(d.a.data(), d.fresh(), kLen);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLen);
}

void BM_LogSum_32f(benchmark::State& state) {
    Data& d = data();
    float r = 0;
    run(state, [&] { benchmark::DoNotOptimize(zelsLogSum_32f(d.a.data(), &r, kLen, zelAlgHintNone)); },
        [&] { benchmark::DoNotOptimize(plainLogSum(d.a.data(), kLen)); });
}

void BM_LogSum_PlainLog1pExpLoop(benchmark::State& state) {
    Data& d = data();
    for (auto _ : state) benchmark::DoNotOptimize(plainLogSum(d.a.data(), kLen));
    state.SetItemsProcessed(state.iterations() * kLen);
}

}  // namespace

BENCHMARK(BM_LogAdd_32f_Accurate);
BENCHMARK(BM_LogAdd_32f_Fast);
BENCHMARK(BM_LogAdd_PlainLog1pExpLoop);
BENCHMARK(BM_LogSum_32f);
BENCHMARK(BM_LogSum_PlainLog1pExpLoop);
