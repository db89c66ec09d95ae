// SPDX-License-Identifier: Apache-2.0
// Forward real FFT of the private toolkit beside FFTW's single-precision real
// transform (r2c, FFTW_MEASURE), on the same data and lengths 64 to 4096.
// The toolkit runs once per instruction set (the plan takes the set of the
// moment of its init) and reports its speed over FFTW's as "x_fftw".
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <random>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
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

std::string key(int order) { return "fft" + std::to_string(order); }

void BM_Zelsr(benchmark::State& state, zel::Isa isa) {
    const int order = int(state.range(0));
    if (zel::bestIsa() < isa) {
        state.SkipWithError("instruction set not available");
        return;
    }
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    const int n = 1 << order;
    ZelFFTSpec_R_32f* plan = nullptr;
    const ZelStatus st = ownFFTInitAlloc_R_32f(&plan, order, 8, 0);
    zel::setMaxIsaForTesting(saved);
    if (st != zelStsNoErr) {
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
    const double rate = zb::callsPerSecond(state, [&] {
        ownFFTFwd_R_32f(x, y, plan, work);
        benchmark::DoNotOptimize(y);
    });
    if (auto it = zb::baselineRates().find(key(order)); it != zb::baselineRates().end())
        state.counters["x_fftw"] = rate / it->second;
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
    zb::baselineRates()[key(int(state.range(0)))] = zb::callsPerSecond(state, [&] {
        fftwf_execute(plan);
        benchmark::DoNotOptimize(y);
    });
    fftwf_destroy_plan(plan);
    fftwf_free(y);
    fftwf_free(x);
}

// Each length runs FFTW, then zelsr on each instruction set, side by side.
const int registered = [] {
    for (int order = 6; order <= 12; ++order) {
        benchmark::RegisterBenchmark("FftFwdR/fftw", BM_Fftw)->Arg(order);
        benchmark::RegisterBenchmark("FftFwdR/zelsr_sse41", BM_Zelsr, zel::Isa::kBaseline)->Arg(order);
        benchmark::RegisterBenchmark("FftFwdR/zelsr_avx2", BM_Zelsr, zel::Isa::kAvx2)->Arg(order);
        benchmark::RegisterBenchmark("FftFwdR/zelsr_avx512", BM_Zelsr, zel::Isa::kAvx512)->Arg(order);
    }
    return 0;
}();

}  // namespace
