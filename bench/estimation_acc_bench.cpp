// SPDX-License-Identifier: Apache-2.0
// Streaming accumulators of Gaussian re-estimation on 100,000 frames of 39
// features (15.6 MB, far beyond the caches): zelsMeanVarAcc_32f called once
// per frame with the frame's posterior, and zelsAccCovarianceMatrix_32f64f_D2
// over the whole block, each beside the straightforward loop on the same
// data ("x_plain": its speed over that loop, measured just before it).
//
// Both read each frame once, so they are held against a copy of the same
// 15.6 MB in the same run: "x_copy" is the frames' bytes per second over the
// copy's. The covariance does 780 multiply-adds in double per frame on top
// of its reads, so arithmetic, not memory, sets its pace.
#include <benchmark/benchmark.h>
#include <string.h>

#include <random>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kDim = 39;
constexpr int kFrames = 100000;
constexpr size_t kFrameBytes = size_t(kFrames) * kDim * sizeof(float);

template <class T>
T* alloc(size_t n) {
    return static_cast<T*>(zelMalloc(n * sizeof(T)));
}

struct Data {
    float* x = alloc<float>(size_t(kFrames) * kDim);
    float* copy = alloc<float>(size_t(kFrames) * kDim);
    float* post = alloc<float>(kFrames);
    float mean[kDim], meanAcc[kDim], varAcc[kDim];
    double cov[kDim * kDim];

    Data() {
        std::mt19937 g(5);
        std::uniform_real_distribution<float> u(-10, 10), p(0, 1);
        for (size_t i = 0; i < size_t(kFrames) * kDim; ++i) x[i] = u(g);
        for (int t = 0; t < kFrames; ++t) post[t] = p(g);
        for (int j = 0; j < kDim; ++j) mean[j] = u(g), meanAcc[j] = varAcc[j] = 0;
        memset(cov, 0, sizeof cov);
    }
};
Data& data() {
    static Data d;
    return d;
}

double& copyRate() {
    static double r = 0;
    return r;
}

// Times `f` and sets the frames' byte rate and its ratio to the copy's.
template <class F>
double run(benchmark::State& st, F f) {
    const double calls = zb::callsPerSecond(st, f);
    st.SetBytesProcessed(int64_t(double(st.iterations()) * kFrameBytes));
    if (copyRate() > 0) st.counters["x_copy"] = calls * kFrameBytes / copyRate();
    return calls;
}

// ---- The straightforward loops ----------------------------------------------------------

void plainMeanVarAcc(const float* x, const float* mean, float* meanAcc, float* varAcc, float w) {
    for (int j = 0; j < kDim; ++j) {
        const float d = x[j] - mean[j];
        meanAcc[j] += d * w;
        varAcc[j] += d * d * w;
    }
}
void plainCovariance(const float* x, const float* mean, double* cov) {
    for (int t = 0; t < kFrames; ++t) {
        const float* row = x + size_t(t) * kDim;
        for (int i = 0; i < kDim; ++i)
            for (int j = 0; j <= i; ++j) cov[i * kDim + j] += double(row[i] - mean[i]) * double(row[j] - mean[j]);
    }
    for (int i = 0; i < kDim; ++i)
        for (int j = 0; j < i; ++j) cov[j * kDim + i] = cov[i * kDim + j];
}

// ---- Cases ------------------------------------------------------------------------------

void BM_Estimation_CopyFrames(benchmark::State& st) {
    Data& d = data();
    const double calls = zb::callsPerSecond(st, [&] { memcpy(d.copy, d.x, kFrameBytes); });
    st.SetBytesProcessed(int64_t(double(st.iterations()) * kFrameBytes));
    copyRate() = calls * kFrameBytes;
}

void BM_Plain_MeanVarAcc_32f(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, [&] {
        for (int t = 0; t < kFrames; ++t) plainMeanVarAcc(d.x + size_t(t) * kDim, d.mean, d.meanAcc, d.varAcc, d.post[t]);
    });
    zb::baselineRatio(st, "estimation/meanvar", true, calls);
}
void BM_zelsMeanVarAcc_32f(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, [&] {
        for (int t = 0; t < kFrames; ++t)
            zelsMeanVarAcc_32f(d.x + size_t(t) * kDim, d.mean, d.meanAcc, d.varAcc, kDim, d.post[t]);
    });
    zb::baselineRatio(st, "estimation/meanvar", false, calls);
}

void BM_Plain_AccCovariance_32f64f(benchmark::State& st) {
    Data& d = data();
    const double calls = run(st, [&] { plainCovariance(d.x, d.mean, d.cov); });
    zb::baselineRatio(st, "estimation/cov", true, calls);
}
// Argument 0: the baseline (SSE4.1) kernels only; 1: AVX2 where the
// processor has it.
void BM_zelsAccCovarianceMatrix_32f64f_D2(benchmark::State& st) {
    Data& d = data();
    const zel::Isa previous = zel::setMaxIsaForTesting(st.range(0) ? zel::Isa::kAvx2 : zel::Isa::kBaseline);
    st.SetLabel(zel::runsAvx2() ? "AVX2" : "baseline");
    const double calls =
        run(st, [&] { zelsAccCovarianceMatrix_32f64f_D2(d.x, kDim, kFrames, d.mean, d.cov, kDim, kDim, 1.0); });
    zel::setMaxIsaForTesting(previous);
    zb::baselineRatio(st, "estimation/cov", false, calls);
}

// The copy first; each plain loop just before the member it is compared with.
BENCHMARK(BM_Estimation_CopyFrames)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plain_MeanVarAcc_32f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_zelsMeanVarAcc_32f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plain_AccCovariance_32f64f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_zelsAccCovarianceMatrix_32f64f_D2)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_zelsAccCovarianceMatrix_32f64f_D2)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
