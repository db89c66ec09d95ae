// SPDX-License-Identifier: Apache-2.0
// Signal conditioning on 4096 samples, each member beside the straightforward
// loop on the same data, measured just before it ("x_plain"). The members
// with wide paths run once per instruction set (sse41, avx2, avx512), each
// against the same straightforward loop.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

constexpr int kLen = 4096;

struct Data {
    std::vector<float> x = std::vector<float>(kLen), y = std::vector<float>(kLen), work = std::vector<float>(kLen);
    Data() {
        std::mt19937 g(3);
        std::uniform_real_distribution<float> u(-3, 3);
        for (float& v : x) v = u(g);
    }
};
Data& data() {
    static Data d;
    return d;
}

// Runs `f` with the exported functions held to `isa`; false (and the
// benchmark skipped) when this processor lacks it.
template <class F>
bool onIsa(benchmark::State& st, zel::Isa isa, F f) {
    if (zel::bestIsa() < isa) {
        st.SkipWithError("instruction set not available");
        return false;
    }
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    f();
    zel::setMaxIsaForTesting(saved);
    return true;
}

void BM_Plain_CompensateOffset(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "offset", true, "samples/s", kLen, [&] {
        float prev = 0, out = 0;
        for (int n = 0; n < kLen; ++n) {
            out = d.x[n] - prev + 0.97f * out;
            prev = d.x[n];
            d.y[n] = out;
        }
        benchmark::DoNotOptimize(d.y.data());
    });
}
void BM_zelsCompensateOffset_32f(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "offset", false, "samples/s", kLen, [&] {
        float prev = 0;
        zelsCompensateOffset_32f(d.x.data(), d.y.data(), kLen, &prev, 0.0f, 0.97f);
    });
}

void plainNormEnergy(float* p, int len, float floorDb, float scale) {
    float mx = -3.4028235e38f;
    for (int i = 0; i < len; ++i) mx = p[i] > mx ? p[i] : mx;
    const float mn = mx - floorDb * 0.230259f;
    for (int i = 0; i < len; ++i) p[i] = 1.0f - (mx - (p[i] > mn ? p[i] : mn)) * scale;
}
void BM_Plain_NormEnergy(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "energy", true, "samples/s", kLen, [&] {
        d.work = d.x;
        plainNormEnergy(d.work.data(), kLen, 50.0f, 0.1f);
    });
}
void BM_zelsNormEnergy_32f(benchmark::State& st, zel::Isa isa) {
    Data& d = data();
    onIsa(st, isa, [&] {
        zb::measure(st, "energy", false, "samples/s", kLen, [&] {
            d.work = d.x;
            zelsNormEnergy_32f(d.work.data(), 1, kLen, 50.0f, 0.1f);
        });
    });
}

void BM_Plain_SignChangeRate(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "sign", true, "samples/s", kLen, [&] {
        int c = 0;
        for (int n = 1; n < kLen; ++n) c += d.x[n] * d.x[n - 1] < 0.0f;
        benchmark::DoNotOptimize(c);
    });
}
void BM_zelsSignChangeRate_32f(benchmark::State& st, zel::Isa isa) {
    Data& d = data();
    onIsa(st, isa, [&] {
        zb::measure(st, "sign", false, "samples/s", kLen, [&] {
            float r;
            zelsSignChangeRate_32f(d.x.data(), kLen, &r);
            benchmark::DoNotOptimize(r);
        });
    });
}

void BM_Plain_RecSqrt(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "rsqrt", true, "samples/s", kLen, [&] {
        for (int i = 0; i < kLen; ++i) {
            const float v = std::fabs(d.x[i]) + 0.25f;
            d.y[i] = v >= 0.5f ? 1.0f / std::sqrt(v) : 0.5f;
        }
        benchmark::DoNotOptimize(d.y.data());
    });
}
void BM_zelsRecSqrt_32f(benchmark::State& st, zel::Isa isa) {
    Data& d = data();
    for (int i = 0; i < kLen; ++i) d.work[i] = std::fabs(d.x[i]) + 0.25f;
    std::vector<float> in = d.work;
    onIsa(st, isa, [&] {
        zb::measure(st, "rsqrt", false, "samples/s", kLen, [&] {
            // The plain loop reads and writes as much: a source and a destination.
            std::copy(in.begin(), in.end(), d.y.begin());
            zelsRecSqrt_32f(d.y.data(), kLen, 0.5f);
        });
    });
}

void BM_Plain_ExpNegSqr(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "expnegsqr", true, "samples/s", kLen, [&] {
        for (int i = 0; i < kLen; ++i) d.y[i] = std::exp(0.0f - d.x[i] * d.x[i]);
        benchmark::DoNotOptimize(d.y.data());
    });
}
void BM_zelsExpNegSqr_32f(benchmark::State& st, zel::Isa isa) {
    Data& d = data();
    onIsa(st, isa, [&] {
        zb::measure(st, "expnegsqr", false, "samples/s", kLen,
                    [&] { zelsExpNegSqr_32f(d.x.data(), d.y.data(), kLen); });
    });
}

void BM_Plain_UnitCurve(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "unitcurve", true, "samples/s", kLen, [&] {
        for (int i = 0; i < kLen; ++i) {
            const float x = d.x[i];
            float y = 2.0f;
            if (x < 0.0f)
                y = 0.0f;
            else if (x < 1.0f)
                y = x * x;
            else if (x <= 2.0f)
                y = 2.0f - (2.0f - x) * (2.0f - x);
            d.y[i] = y;
        }
        benchmark::DoNotOptimize(d.y.data());
    });
}
void BM_zelsUnitCurve_32f(benchmark::State& st, zel::Isa isa) {
    Data& d = data();
    onIsa(st, isa, [&] {
        zb::measure(st, "unitcurve", false, "samples/s", kLen, [&] { zelsUnitCurve_32f(d.x.data(), d.y.data(), kLen); });
    });
}

}  // namespace

BENCHMARK(BM_Plain_CompensateOffset);
BENCHMARK(BM_zelsCompensateOffset_32f);
BENCHMARK(BM_Plain_NormEnergy);
BENCHMARK_CAPTURE(BM_zelsNormEnergy_32f, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsNormEnergy_32f, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsNormEnergy_32f, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_SignChangeRate);
BENCHMARK_CAPTURE(BM_zelsSignChangeRate_32f, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsSignChangeRate_32f, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsSignChangeRate_32f, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_RecSqrt);
BENCHMARK_CAPTURE(BM_zelsRecSqrt_32f, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsRecSqrt_32f, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsRecSqrt_32f, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_ExpNegSqr);
BENCHMARK_CAPTURE(BM_zelsExpNegSqr_32f, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsExpNegSqr_32f, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsExpNegSqr_32f, avx512, zel::Isa::kAvx512);
BENCHMARK(BM_Plain_UnitCurve);
BENCHMARK_CAPTURE(BM_zelsUnitCurve_32f, sse41, zel::Isa::kBaseline);
BENCHMARK_CAPTURE(BM_zelsUnitCurve_32f, avx2, zel::Isa::kAvx2);
BENCHMARK_CAPTURE(BM_zelsUnitCurve_32f, avx512, zel::Isa::kAvx512);
