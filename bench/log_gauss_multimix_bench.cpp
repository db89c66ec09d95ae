// SPDX-License-Identifier: Apache-2.0
// Multi-mixture scoring beside OpenBLAS sgemm: 1000 frames of 39 features
// against G diagonal Gaussians, every frame-Gaussian pair scored.
//
//   library   zelsLogGaussMultiMix_32f_D2, one call per frame and block of
//             Gaussians: a block (kBlock rows of means and inverse
//             variances, 320 bytes a row) stays in the first-level cache
//             while every frame passes over it, so the model is read from
//             memory once per pass and not once per frame, and the cost per
//             pair does not grow with the model. Before its call
//             the frame's row of results receives the block's constants.
//   sgemm     the same scores as one product, the way large recognisers
//             batch them: [x^2, x, 1] (79 columns per frame) times
//             [-invVar / 2; mean * invVar; const - sum mean^2 * invVar / 2],
//             on one thread. The frame matrix is built inside the timing.
//
// Each iteration times both, one after the other, on the processor time of
// the thread; the counters are the medians over the iterations: pairs per
// second of each, nanoseconds per pair of the library, and "x_sgemm", the
// library's time over sgemm's (below 1 the library is faster). The
// "whole" runs hand each frame all G Gaussians in one call.
#include <benchmark/benchmark.h>
#include <cblas.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <random>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelcore.h"
#include "zelsr.h"

extern "C" void openblas_set_num_threads(int);

namespace {

constexpr int kFrames = 1000;
constexpr int kWidth = 39;
constexpr int kStep = 40;
constexpr int kK = 2 * kWidth + 1;
// 64 Gaussians: 20 KB of means and inverse variances.
constexpr int kBlock = 64;

template <class T>
struct Mem {
    T* p;
    explicit Mem(size_t n) : p(static_cast<T*>(zelMalloc(n * sizeof(T)))) {}
    ~Mem() { zelFree(p); }
    Mem(const Mem&) = delete;
    Mem& operator=(const Mem&) = delete;
};

struct Model {
    int g;
    Mem<float> x{size_t(kFrames) * kStep};
    Mem<float> mean, var, gconst, b, a{size_t(kFrames) * kK}, dst, c;

    explicit Model(int gaussians)
        : g(gaussians), mean(size_t(g) * kStep), var(size_t(g) * kStep), gconst(g), b(size_t(kK) * g),
          dst(size_t(kFrames) * g), c(size_t(kFrames) * g) {
        std::mt19937 r(11);
        std::uniform_real_distribution<float> u(-3, 3), pos(0.1f, 2), k(-60, -20);
        for (size_t i = 0; i < size_t(kFrames) * kStep; ++i) x.p[i] = u(r);
        for (size_t i = 0; i < size_t(g) * kStep; ++i) mean.p[i] = u(r), var.p[i] = pos(r);
        for (int y = 0; y < g; ++y) {
            gconst.p[y] = k(r);
            float c0 = gconst.p[y];
            for (int j = 0; j < kWidth; ++j) {
                const float m = mean.p[size_t(y) * kStep + j], iv = var.p[size_t(y) * kStep + j];
                b.p[size_t(j) * g + y] = -0.5f * iv;
                b.p[size_t(kWidth + j) * g + y] = m * iv;
                c0 -= 0.5f * m * m * iv;
            }
            b.p[size_t(2 * kWidth) * g + y] = c0;
        }
    }

    void library(int block) {
        for (int g0 = 0; g0 < g; g0 += block) {
            const int n = std::min(block, g - g0);
            const float* m = mean.p + size_t(g0) * kStep;
            const float* v = var.p + size_t(g0) * kStep;
            for (int f = 0; f < kFrames; ++f) {
                float* out = dst.p + size_t(f) * g + g0;
                memcpy(out, gconst.p + g0, size_t(n) * sizeof(float));
                zelsLogGaussMultiMix_32f_D2(m, v, kStep, x.p + size_t(f) * kStep, kWidth, out, n);
            }
        }
    }

    void sgemm() {
        for (int f = 0; f < kFrames; ++f) {
            const float* xf = x.p + size_t(f) * kStep;
            float* af = a.p + size_t(f) * kK;
            for (int j = 0; j < kWidth; ++j) af[j] = xf[j] * xf[j], af[kWidth + j] = xf[j];
            af[2 * kWidth] = 1.0f;
        }
        cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, kFrames, g, kK, 1.0f, a.p, kK, b.p, g, 0.0f, c.p, g);
    }
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

template <class F>
double seconds(F f) {
    const double t0 = zb::cpuSeconds();
    f();
    return zb::cpuSeconds() - t0;
}

void BM_MultiMixBesideSgemm(benchmark::State& st, bool blocked, zel::Isa isa) {
    if (isa > zel::bestIsa()) {
        st.SkipWithError("this build or processor lacks the instruction set");
        return;
    }
    const zel::Isa previous = zel::setMaxIsaForTesting(isa);
    openblas_set_num_threads(1);
    Model model(static_cast<int>(st.range(0)));
    const int block = blocked ? kBlock : model.g;
    model.library(block);
    model.sgemm();
    std::vector<double> lib, blas;
    for (auto _ : st) {
        lib.push_back(seconds([&] { model.library(block); }));
        blas.push_back(seconds([&] { model.sgemm(); }));
        benchmark::ClobberMemory();
    }
    const double pairs = double(kFrames) * model.g;
    const double tLib = median(lib), tBlas = median(blas);
    st.counters["lib_pairs/s"] = pairs / tLib;
    st.counters["sgemm_pairs/s"] = pairs / tBlas;
    st.counters["lib_ns/pair"] = 1e9 * tLib / pairs;
    st.counters["x_sgemm"] = tLib / tBlas;
    zel::setMaxIsaForTesting(previous);
}

BENCHMARK_CAPTURE(BM_MultiMixBesideSgemm, blocked_avx512, true, zel::Isa::kAvx512)
    ->RangeMultiplier(4)->Range(64, 16384)->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_MultiMixBesideSgemm, blocked_avx2, true, zel::Isa::kAvx2)
    ->Arg(1024)->Arg(16384)->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_MultiMixBesideSgemm, blocked_baseline, true, zel::Isa::kBaseline)
    ->Arg(1024)->Arg(16384)->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_MultiMixBesideSgemm, whole_avx512, false, zel::Isa::kAvx512)
    ->Arg(1024)->Arg(16384)->Iterations(7)->Unit(benchmark::kMillisecond);

}  // namespace
