// SPDX-License-Identifier: Apache-2.0
// Filter-bank evaluation: 23 mel filters over a 512-point spectrum, and with
// the magnitude flag on 400-sample frames, beside the straightforward loops
// (one accumulator per filter; FFTW and sqrtf for the magnitude case) on the
// same bank and the same data, the library on each instruction set the
// processor has. Counters: calls/s, and for the library its speed over the
// straightforward loop measured just before it ("x_plain").
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <math.h>

#include <random>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

constexpr int kWin = 400, kFftLen = 512, kBins = kFftLen / 2 + 1, kFilters = 23;

// The bank in plain arrays: per filter, its first bin and its weights over
// the whole triangle (rising run, then falling run).
struct PlainBank {
    std::vector<int> first;
    std::vector<std::vector<float>> weights;
};

PlainBank plainCopy(const ZelFBankState_32f* b) {
    std::vector<Zel32s> c(kFilters + 2);
    zelsFBankGetCenters_32f(b, c.data());
    PlainBank p;
    for (int i = 1; i <= kFilters; ++i) {
        std::vector<float> w(c[i + 1] - c[i - 1] + 1);
        zelsFBankGetCoeffs_32f(b, i, w.data());
        p.first.push_back(c[i - 1]);
        p.weights.push_back(w);
    }
    return p;
}

__attribute__((noinline)) void plainEval(const float* x, float* dst, const PlainBank& p) {
    for (int i = 0; i < kFilters; ++i) {
        const float* xs = x + p.first[i];
        const std::vector<float>& w = p.weights[i];
        float s = 0.0f;
        for (size_t j = 0; j < w.size(); ++j) s += w[j] * xs[j];
        dst[i] = s;
    }
}

std::vector<float> randomData(int n, int used) {
    std::mt19937 g(11);
    std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
    std::vector<float> v(n, 0.0f);
    for (int i = 0; i < used; ++i) v[i] = d(g);
    return v;
}

ZelFBankState_32f* bank(int mode) {
    ZelFBankState_32f* b = nullptr;
    int order = 0;
    zelsMelFBankInitAlloc_32f(&b, &order, kWin, 16000.0f, 64.0f, 8000.0f, kFilters, 2595.0f, 700.0f, mode);
    return b;
}

// The library on the instruction set `isa` at most; skipped where the
// processor lacks it.
void BM_EvalFBank_32f_Spectrum(benchmark::State& state, zel::Isa isa) {
    if (zel::bestIsa() < isa) return state.SkipWithError("instruction set not available");
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    ZelFBankState_32f* b = bank(zelFBankMelWeights);
    std::vector<float> x = randomData(kBins, kBins), out(kFilters);
    zb::measure(state, "fbank_spectrum", false, "calls/s", 1, [&] { zelsEvalFBank_32f(x.data(), out.data(), b); });
    zelsFBankFree_32f(b);
    zel::setMaxIsaForTesting(saved);
}

void BM_EvalFBank_PlainLoop_Spectrum(benchmark::State& state) {
    ZelFBankState_32f* b = bank(zelFBankMelWeights);
    PlainBank p = plainCopy(b);
    std::vector<float> x = randomData(kBins, kBins), out(kFilters);
    zb::measure(state, "fbank_spectrum", true, "calls/s", 1, [&] { plainEval(x.data(), out.data(), p); });
    zelsFBankFree_32f(b);
}

void BM_EvalFBank_32f_Magnitude(benchmark::State& state, zel::Isa isa) {
    if (zel::bestIsa() < isa) return state.SkipWithError("instruction set not available");
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    ZelFBankState_32f* b = bank(zelFBankMelWeights | zelFBankMagnitudeInput);
    std::vector<float> frame = randomData(kFftLen, kWin), out(kFilters);
    zb::measure(state, "fbank_magnitude", false, "calls/s", 1, [&] { zelsEvalFBank_32f(frame.data(), out.data(), b); });
    zelsFBankFree_32f(b);
    zel::setMaxIsaForTesting(saved);
}

void BM_EvalFBank_FFTWPlainLoop_Magnitude(benchmark::State& state) {
    ZelFBankState_32f* b = bank(zelFBankMelWeights);
    PlainBank p = plainCopy(b);
    std::vector<float> frame = randomData(kFftLen, kWin), mag(kBins), out(kFilters);
    float* in = fftwf_alloc_real(kFftLen);
    fftwf_complex* bins = fftwf_alloc_complex(kBins);
    fftwf_plan plan = fftwf_plan_dft_r2c_1d(kFftLen, in, bins, FFTW_MEASURE);
    zb::measure(state, "fbank_magnitude", true, "calls/s", 1, [&] {
        for (int t = 0; t < kFftLen; ++t) in[t] = frame[t];
        fftwf_execute(plan);
        for (int k = 0; k < kBins; ++k) mag[k] = sqrtf(bins[k][0] * bins[k][0] + bins[k][1] * bins[k][1]);
        plainEval(mag.data(), out.data(), p);
    });
    fftwf_destroy_plan(plan);
    fftwf_free(bins);
    fftwf_free(in);
    zelsFBankFree_32f(b);
}

}  // namespace

// The plain loops run just before the members they are compared with.
BENCHMARK(BM_EvalFBank_PlainLoop_Spectrum);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Spectrum, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Spectrum, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Spectrum, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_EvalFBank_FFTWPlainLoop_Magnitude);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Magnitude, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Magnitude, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_EvalFBank_32f_Magnitude, avx512, zel::Isa::kAvx512);
