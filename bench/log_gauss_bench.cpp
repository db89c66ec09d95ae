// SPDX-License-Identifier: Apache-2.0
// Gaussian frame scoring at a recogniser's shape: 1000 frames of 39 features
// (rows padded to 40), each member beside the straightforward scalar loop on
// the same data. Counters: frames/s, and for a member its speed over the
// straightforward loop measured just before it ("x_plain"). Members run
// held to the baseline kernels (SSE4.1 on x86-64), then to AVX2 and to
// AVX-512; a run is skipped on a processor without its instruction set.
#include <benchmark/benchmark.h>
#include <stdint.h>

#include <random>
#include <string>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kWidth = 39;
constexpr int kHeight = 1000;
constexpr int kStep = 40;
constexpr int kScale = 12;

template <class T>
T* alloc(size_t n) {
    return static_cast<T*>(zelMalloc(n * sizeof(T)));
}

struct Data {
    float* x = alloc<float>(kHeight * kStep);
    float* mean = alloc<float>(kStep);
    float* var = alloc<float>(kStep);
    int16_t* x16 = alloc<int16_t>(kHeight * kStep);
    int16_t* mean16 = alloc<int16_t>(kStep);
    int16_t* var16 = alloc<int16_t>(kStep);
    float* dst = alloc<float>(kHeight);
    int32_t* dst32 = alloc<int32_t>(kHeight);

    Data() {
        std::mt19937 g(7);
        std::uniform_real_distribution<float> u(-3, 3), pos(0.1f, 2);
        std::uniform_int_distribution<int> s(-3000, 3000), w(1, 64);
        for (int i = 0; i < kHeight * kStep; ++i) x[i] = u(g), x16[i] = int16_t(s(g));
        for (int j = 0; j < kStep; ++j) mean[j] = u(g), var[j] = pos(g), mean16[j] = int16_t(s(g)), var16[j] = int16_t(w(g));
    }
};
const Data& data() {
    static const Data d;
    return d;
}

// ---- The straightforward loops ---------------------------------------------------

void plain32f(const float* x, int step, const float* m, const float* v, int w, float* dst, int h, float val) {
    for (int y = 0; y < h; ++y) {
        float s = 0;
        for (int j = 0; j < w; ++j) {
            float d = x[y * step + j] - m[j];
            s += d * d * v[j];
        }
        dst[y] = val - 0.5f * s;
    }
}
void plainIdVar32f(const float* x, int step, const float* m, int w, float* dst, int h, float val) {
    for (int y = 0; y < h; ++y) {
        float s = 0;
        for (int j = 0; j < w; ++j) {
            float d = x[y * step + j] - m[j];
            s += d * d;
        }
        dst[y] = val - 0.5f * s;
    }
}
void plain16s32s(const int16_t* x, int step, const int16_t* m, const int16_t* v, int w, int32_t* dst, int h, int32_t val,
                 int sf) {
    const float scale = 1.0f / float(1 << (sf + 1));
    for (int y = 0; y < h; ++y) {
        float s = 0;
        for (int j = 0; j < w; ++j) {
            float d = float(x[y * step + j] - m[j]);
            s += d * d * float(v[j]);
        }
        dst[y] = int32_t(float(val) - s * scale);
    }
}
void plainLow16s32s(const int16_t* x, int step, const int16_t* m, const int16_t* v, int w, int32_t* dst, int h,
                    int32_t val, int sf) {
    for (int y = 0; y < h; ++y) {
        int64_t s = 0;
        for (int j = 0; j < w; ++j) {
            int32_t d = x[y * step + j] - m[j];
            s += int64_t(d * d) * v[j];
        }
        dst[y] = val - int32_t(s >> (sf + 1));
    }
}

// ---- Timing and the ratio ----------------------------------------------------------

// Holds the exported functions to one instruction set while it lives.
class OnIsa {
public:
    explicit OnIsa(zel::Isa isa) : previous_(zel::setMaxIsaForTesting(isa)) {}
    ~OnIsa() { zel::setMaxIsaForTesting(previous_); }

private:
    zel::Isa previous_;
};

template <class F>
void measure(benchmark::State& state, const std::string& key, bool plain, F score, zel::Isa isa = zel::bestIsa()) {
    if (isa > zel::bestIsa()) {
        state.SkipWithError("this build or processor lacks the instruction set");
        return;
    }
    const OnIsa on(isa);
    zb::measure(state, "log_gauss/" + key, plain, "frames/s", kHeight, score);
}

void BM_Plain_32f(benchmark::State& st) {
    const Data& d = data();
    measure(st, "32f", true, [&] { plain32f(d.x, kStep, d.mean, d.var, kWidth, d.dst, kHeight, -20.0f); });
}
void BM_zelsLogGauss_32f_D2(benchmark::State& st, zel::Isa isa) {
    const Data& d = data();
    measure(st, "32f", false, [&] { zelsLogGauss_32f_D2(d.x, kStep, d.mean, d.var, kWidth, d.dst, kHeight, -20.0f); }, isa);
}
void BM_Plain_IdVar_32f(benchmark::State& st) {
    const Data& d = data();
    measure(st, "IdVar_32f", true, [&] { plainIdVar32f(d.x, kStep, d.mean, kWidth, d.dst, kHeight, -20.0f); });
}
void BM_zelsLogGauss_IdVar_32f_D2(benchmark::State& st, zel::Isa isa) {
    const Data& d = data();
    measure(st, "IdVar_32f", false,
            [&] { zelsLogGauss_IdVar_32f_D2(d.x, kStep, d.mean, kWidth, d.dst, kHeight, -20.0f); }, isa);
}
void BM_Plain_Low_16s32s(benchmark::State& st) {
    const Data& d = data();
    measure(st, "Low_16s32s", true,
            [&] { plainLow16s32s(d.x16, kStep, d.mean16, d.var16, kWidth, d.dst32, kHeight, -5000, kScale); });
}
void BM_zelsLogGauss_Low_16s32s_D2Sfs(benchmark::State& st, zel::Isa isa) {
    const Data& d = data();
    measure(st, "Low_16s32s", false, [&] {
        zelsLogGauss_Low_16s32s_D2Sfs(d.x16, kStep, d.mean16, d.var16, kWidth, d.dst32, kHeight, -5000, kScale);
    }, isa);
}
void BM_Plain_16s32s(benchmark::State& st) {
    const Data& d = data();
    measure(st, "16s32s", true,
            [&] { plain16s32s(d.x16, kStep, d.mean16, d.var16, kWidth, d.dst32, kHeight, -5000, kScale); });
}
void BM_zelsLogGauss_16s32s_D2Sfs(benchmark::State& st, zel::Isa isa) {
    const Data& d = data();
    measure(st, "16s32s", false, [&] {
        zelsLogGauss_16s32s_D2Sfs(d.x16, kStep, d.mean16, d.var16, kWidth, d.dst32, kHeight, -5000, kScale);
    }, isa);
}

// Each plain loop runs just before the member it is compared with.
BENCHMARK(BM_Plain_32f);
BENCHMARK_CAPTURE(BM_zelsLogGauss_32f_D2, baseline, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsLogGauss_32f_D2, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsLogGauss_32f_D2, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_IdVar_32f);
BENCHMARK_CAPTURE(BM_zelsLogGauss_IdVar_32f_D2, baseline, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsLogGauss_IdVar_32f_D2, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsLogGauss_IdVar_32f_D2, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_Low_16s32s);
BENCHMARK_CAPTURE(BM_zelsLogGauss_Low_16s32s_D2Sfs, baseline, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsLogGauss_Low_16s32s_D2Sfs, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsLogGauss_Low_16s32s_D2Sfs, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_16s32s);
BENCHMARK_CAPTURE(BM_zelsLogGauss_16s32s_D2Sfs, baseline, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsLogGauss_16s32s_D2Sfs, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsLogGauss_16s32s_D2Sfs, avx512, zel::Isa::kAvx512);

}  // namespace
