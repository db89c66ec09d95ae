// SPDX-License-Identifier: Apache-2.0
// Forward real FFT of the private toolkit beside FFTW's single-precision real
// transform (r2c, FFTW_MEASURE), on the same data and lengths 64 to 4096.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <random>
#include <vector>

#include "frame/toolkit.h"
#include "zelcore.h"

namespace {

std::vector<float> signal(int n) {
    std::mt19937 g(7);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> x(n);
    for (float& v : x) v = d(g);
    return x;
}

void BM_Zelsr(benchmark::State& state) {
    const int order = int(state.range(0));
    const int n = 1 << order;
    ZelFFTSpec_R_32f* plan = nullptr;
    if (ownFFTInitAlloc_R_32f(&plan, order, 8, 0) != zelStsNoErr) {
        state.SkipWithError("no plan");
        return;
    }
    int specSize, initSize, workSize;
    ownFFTGetSize_R_32f(order, 8, 0, &specSize, &initSize, &workSize);
    Zel8u* work = static_cast<Zel8u*>(zelMalloc(workSize > 0 ? workSize : 1));
    float* x = static_cast<float*>(zelMalloc(4 * n));
    float* y = static_cast<float*>(zelMalloc(4 * (n + 2)));
    const std::vector<float> s = signal(n);
    std::copy(s.begin(), s.end(), x);
    for (auto _ : state) {
        ownFFTFwd_R_32f(x, y, plan, work);
        benchmark::DoNotOptimize(y);
        benchmark::ClobberMemory();
    }
    zelFree(y);
    zelFree(x);
    zelFree(work);
    ownFFTFree_R_32f(plan);
}

void BM_Fftw(benchmark::State& state) {
    const int n = 1 << int(state.range(0));
    float* x = fftwf_alloc_real(n);
    fftwf_complex* y = fftwf_alloc_complex(n / 2 + 1);
    fftwf_plan plan = fftwf_plan_dft_r2c_1d(n, x, y, FFTW_MEASURE);
    // Planning with FFTW_MEASURE overwrites the input, so fill it afterwards.
    const std::vector<float> s = signal(n);
    std::copy(s.begin(), s.end(), x);
    for (auto _ : state) {
        fftwf_execute(plan);
        benchmark::DoNotOptimize(y);
        benchmark::ClobberMemory();
    }
    fftwf_destroy_plan(plan);
    fftwf_free(y);
    fftwf_free(x);
}

// Each length runs zelsr, then FFTW, so the pair stands side by side.
const int registered = [] {
    for (int order = 6; order <= 12; ++order) {
        benchmark::RegisterBenchmark("FftFwdR/zelsr", BM_Zelsr)->Arg(order);
        benchmark::RegisterBenchmark("FftFwdR/fftw", BM_Fftw)->Arg(order);
    }
    return 0;
}();

}  // namespace
