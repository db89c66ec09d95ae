// Dynamic features at a front end's shape: 13 statics, their deltas and
// delta-deltas of radius two over 1000 frames in one call, beside the
// straightforward clamped-window loops on the same data. Counters: frames/s,
// and for the library its speed over the plain loops measured just before
// it ("x_plain").
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <random>
#include <vector>

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

double cpuSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double plainRate = 0;

template <class F>
void measure(benchmark::State& state, bool plain, F run) {
    const double t0 = cpuSeconds();
    for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
    }
    const double fps = double(state.iterations()) * kFrames / (cpuSeconds() - t0);
    state.counters["frames/s"] = benchmark::Counter(double(state.iterations()) * kFrames, benchmark::Counter::kIsRate);
    if (plain)
        plainRate = fps;
    else if (plainRate > 0)
        state.counters["x_plain"] = fps / plainRate;
}

void BM_Plain_DeltaDelta_Win2_13x1000(benchmark::State& st) {
    Data& d = data();
    measure(st, true, [&] { plainDeltaDelta(d.x.data(), d.dst.data()); });
}
void BM_zelsDeltaDelta_Win2_32f_D2_13x1000(benchmark::State& st) {
    Data& d = data();
    measure(st, false, [&] {
        zelsDeltaDelta_Win2_32f_D2(d.x.data(), kWidth, d.dst.data(), kStep, kFrames, kScale, kScale2,
                                   zelBeginStream | zelEndStream);
    });
}

// The plain loops run just before the member they are compared with.
BENCHMARK(BM_Plain_DeltaDelta_Win2_13x1000);
BENCHMARK(BM_zelsDeltaDelta_Win2_32f_D2_13x1000);

}  // namespace
