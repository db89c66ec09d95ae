// SPDX-License-Identifier: Apache-2.0
// Accumulating and multi-mixture scoring at a recogniser's shape: 39
// features (rows padded to 40), 1000 frames against one Gaussian for
// zelsLogGaussAdd, one frame against 1000 Gaussians for the multi-mixture
// forms, each beside the straightforward loop on the same data ("x_plain":
// its speed over that loop, measured just before it). zelsLogGaussMax and
// zelsLogGaussAddMultiMix run at the same shapes beside their own loops.
//
// zelsLogGaussMultiMix_32f_D2 reads the mean and the variance matrix and
// nothing else, so it is held against the machine's memory bandwidth,
// measured in the same run by a streaming read and a large memcpy:
// "x_read" is its bytes per second over the streaming read's. 1000
// Gaussians (320 kB) fit in the second-level cache; 400000 (128 MB) fit in
// no cache.
#include <benchmark/benchmark.h>
#include <stdint.h>
#include <string.h>

#include <cmath>
#include <random>
#include <string>

#include "baseline.hpp"
#include "simd/simd.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kWidth = 39;
constexpr int kStep = 40;
constexpr int kRows = 1000;
constexpr int kManyRows = 400000;
constexpr size_t kStreamBytes = size_t(64) << 20;

template <class T>
T* alloc(size_t n) {
    return static_cast<T*>(zelMalloc(n * sizeof(T)));
}

struct Data {
    float* x = alloc<float>(size_t(kManyRows) * kStep);  // frames, or mean rows
    float* var = alloc<float>(size_t(kManyRows) * kStep);
    float* mean = alloc<float>(kStep);  // one Gaussian's mean, or the frame
    float* ivar = alloc<float>(kStep);
    float* val = alloc<float>(kManyRows);
    float* dst = alloc<float>(kManyRows);

    Data() {
        std::mt19937 g(11);
        std::uniform_real_distribution<float> u(-3, 3), pos(0.1f, 2), c(-60, -20);
        for (size_t i = 0; i < size_t(kManyRows) * kStep; ++i) x[i] = u(g), var[i] = pos(g);
        for (int j = 0; j < kStep; ++j) mean[j] = u(g), ivar[j] = pos(g);
        for (int y = 0; y < kManyRows; ++y) val[y] = c(g), dst[y] = c(g);
    }
};
Data& data() {
    static Data d;
    return d;
}

// ---- The straightforward loops ----------------------------------------------------

float quadForm(const float* x, const float* m, const float* v) {
    float s = 0;
    for (int j = 0; j < kWidth; ++j) {
        const float d = x[j] - m[j];
        s += d * d * v[j];
    }
    return s;
}
// log(exp(a) + exp(b)) as the textbook writes it.
float logAdd(float a, float b) {
    const float hi = a > b ? a : b, lo = a > b ? b : a;
    return hi + std::log1p(std::exp(lo - hi));
}
void plainAdd(const float* x, const float* m, const float* v, float* dst, int h, float val) {
    for (int y = 0; y < h; ++y) dst[y] = logAdd(val - 0.5f * quadForm(x + y * kStep, m, v), dst[y]);
}
void plainMax(const float* x, const float* m, const float* v, float* dst, int h, float val) {
    for (int y = 0; y < h; ++y) {
        const float g = val - 0.5f * quadForm(x + y * kStep, m, v);
        if (g > dst[y]) dst[y] = g;
    }
}
void plainAddMultiMix(const float* mean, const float* var, const float* src, const float* val, float* dst, int h) {
    for (int y = 0; y < h; ++y)
        dst[y] = logAdd(val[y] - 0.5f * quadForm(mean + size_t(y) * kStep, src, var + size_t(y) * kStep), dst[y]);
}
void plainMultiMix(const float* mean, const float* var, const float* src, float* dst, int h) {
    for (int y = 0; y < h; ++y) dst[y] -= 0.5f * quadForm(mean + size_t(y) * kStep, src, var + size_t(y) * kStep);
}
void plainMaxMultiMix(const float* mean, const float* var, const float* src, const float* val, float* dst, int h) {
    for (int y = 0; y < h; ++y) {
        const float g = val[y] - 0.5f * quadForm(mean + size_t(y) * kStep, src, var + size_t(y) * kStep);
        if (g > dst[y]) dst[y] = g;
    }
}

// ---- Timing and the ratios ------------------------------------------------------------

// Runs `f` over the benchmark's iterations, each of `rows` rows over `bytes`
// bytes, and returns calls per second.
template <class F>
double run(benchmark::State& state, int rows, double bytes, F f) {
    const double calls = zb::callsPerSecond(state, f);
    const double n = double(state.iterations());
    if (rows) state.counters["rows/s"] = benchmark::Counter(n * rows, benchmark::Counter::kIsRate);
    if (bytes) state.SetBytesProcessed(int64_t(n * bytes));
    return calls;
}

// The streaming read's bytes per second, for the members that read matrices.
double& readRate() {
    static double r = NAN;
    return r;
}

// ---- The machine's bandwidth ---------------------------------------------------------------

// Four independent sums over 64 MB, one 16-byte load each.
void BM_StreamingRead(benchmark::State& st) {
    static float* p = [] {
        float* q = alloc<float>(kStreamBytes / 4);
        for (size_t i = 0; i < kStreamBytes / 4; ++i) q[i] = float(i & 255);
        return q;
    }();
    using namespace zel::simd;
    readRate() = kStreamBytes * run(st, 0, kStreamBytes, [&] {
        F32x4 a = zero4f(), b = a, c = a, d = a;
        for (size_t i = 0; i < kStreamBytes / 4; i += 16) {
            a = add(a, load4f(p + i)), b = add(b, load4f(p + i + 4));
            c = add(c, load4f(p + i + 8)), d = add(d, load4f(p + i + 12));
        }
        benchmark::DoNotOptimize(lane<0>(add(add(a, b), add(c, d))));
    });
}
// 64 MB copied: bytes read plus bytes written.
void BM_Memcpy(benchmark::State& st) {
    static char* from = alloc<char>(kStreamBytes);
    static char* to = alloc<char>(kStreamBytes);
    memset(from, 1, kStreamBytes);
    run(st, 0, 2.0 * kStreamBytes, [&] { memcpy(to, from, kStreamBytes); });
}

// ---- Members and their loops ----------------------------------------------------------------

void BM_Plain_Add_32f(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, kRows, 0, [&] { plainAdd(d.x, d.mean, d.ivar, d.dst, kRows, -20.0f); });
    zb::baselineRatio(st, "accum/add", true, calls);
}
void BM_zelsLogGaussAdd_32f_D2(benchmark::State& st) {
    Data& d = data();
    const double calls =
        run(st, kRows, 0, [&] { zelsLogGaussAdd_32f_D2(d.x, kStep, d.mean, d.ivar, kWidth, d.dst, kRows, -20.0f); });
    zb::baselineRatio(st, "accum/add", false, calls);
}

void BM_Plain_Max_32f(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, kRows, 0, [&] { plainMax(d.x, d.mean, d.ivar, d.dst, kRows, -20.0f); });
    zb::baselineRatio(st, "accum/maxframes", true, calls);
}
void BM_zelsLogGaussMax_32f_D2(benchmark::State& st) {
    Data& d = data();
    const double calls =
        run(st, kRows, 0, [&] { zelsLogGaussMax_32f_D2(d.x, kStep, d.mean, d.ivar, kWidth, d.dst, kRows, -20.0f); });
    zb::baselineRatio(st, "accum/maxframes", false, calls);
}

// The multi-mixture matrices' bytes per call.
constexpr double matrixBytes(int rows) { return 2.0 * rows * kStep * sizeof(float); }

void BM_Plain_MultiMix_32f(benchmark::State& st) {
    Data& d = data();
    const int h = int(st.range(0));
    const double calls = run(st, h, matrixBytes(h), [&] { plainMultiMix(d.x, d.var, d.mean, d.dst, h); });
    zb::baselineRatio(st, "accum/mix" + std::to_string(h), true, calls);
}
void BM_zelsLogGaussMultiMix_32f_D2(benchmark::State& st) {
    Data& d = data();
    const int h = int(st.range(0));
    const double calls =
        run(st, h, matrixBytes(h), [&] { zelsLogGaussMultiMix_32f_D2(d.x, d.var, kStep, d.mean, kWidth, d.dst, h); });
    zb::baselineRatio(st, "accum/mix" + std::to_string(h), false, calls);
    st.counters["x_read"] = calls * matrixBytes(h) / readRate();
}
void BM_Plain_MaxMultiMix_32f(benchmark::State& st) {
    Data& d = data();
    const double calls =
        run(st, kRows, matrixBytes(kRows), [&] { plainMaxMultiMix(d.x, d.var, d.mean, d.val, d.dst, kRows); });
    zb::baselineRatio(st, "accum/max", true, calls);
}
void BM_zelsLogGaussMaxMultiMix_32f_D2(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, kRows, matrixBytes(kRows), [&] {
        zelsLogGaussMaxMultiMix_32f_D2(d.x, d.var, kStep, d.mean, kWidth, d.val, d.dst, kRows);
    });
    zb::baselineRatio(st, "accum/max", false, calls);
}

void BM_Plain_AddMultiMix_32f(benchmark::State& st) {
    Data& d = data();
    const double calls =
        run(st, kRows, matrixBytes(kRows), [&] { plainAddMultiMix(d.x, d.var, d.mean, d.val, d.dst, kRows); });
    zb::baselineRatio(st, "accum/addmix", true, calls);
}
void BM_zelsLogGaussAddMultiMix_32f_D2(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, kRows, matrixBytes(kRows), [&] {
        zelsLogGaussAddMultiMix_32f_D2(d.x, d.var, kStep, d.mean, kWidth, d.val, d.dst, kRows);
    });
    zb::baselineRatio(st, "accum/addmix", false, calls);
}

// The bandwidth first; each plain loop just before the member it is compared with.
BENCHMARK(BM_StreamingRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plain_Add_32f);
BENCHMARK(BM_zelsLogGaussAdd_32f_D2);
BENCHMARK(BM_Plain_Max_32f);
BENCHMARK(BM_zelsLogGaussMax_32f_D2);
BENCHMARK(BM_Plain_MultiMix_32f)->Arg(kRows);
BENCHMARK(BM_zelsLogGaussMultiMix_32f_D2)->Arg(kRows);
BENCHMARK(BM_Plain_MultiMix_32f)->Arg(kManyRows);
BENCHMARK(BM_zelsLogGaussMultiMix_32f_D2)->Arg(kManyRows);
BENCHMARK(BM_Plain_MaxMultiMix_32f);
BENCHMARK(BM_zelsLogGaussMaxMultiMix_32f_D2);
BENCHMARK(BM_Plain_AddMultiMix_32f);
BENCHMARK(BM_zelsLogGaussAddMultiMix_32f_D2);

}  // namespace
