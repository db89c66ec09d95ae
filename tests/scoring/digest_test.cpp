// SPDX-License-Identifier: Apache-2.0
// Digests of the scoring families on fixed inputs, held to a table: the
// SSE4.1 build (with its AVX2 and AVX-512 paths), the portable build, the
// 32-bit build and the aarch64 build must all give these bits.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <random>
#include <vector>

#include "digest.hpp"

namespace {

using std::vector;

using zt::Digest;

struct Source : zt::DigestSource {
    Source() : DigestSource(23) {}
};

constexpr int kW = 39, kH = 37, kStep = 40;

uint64_t logDomain() {
    Source s;
    Digest d;
    const auto a32 = s.fill<float>(203, -90, 10), b32 = s.fill<float>(203, -90, 10);
    const auto a64 = s.fill<double>(203, -700, 10), b64 = s.fill<double>(203, -700, 10);
    const auto a16 = s.fill<Zel16s>(203, -30000, 30000), b16 = s.fill<Zel16s>(203, -30000, 30000);
    const auto a32s = s.fill<Zel32s>(203, -2e9, 2e9), b32s = s.fill<Zel32s>(203, -2e9, 2e9);
    for (ZelHintAlgorithm hint : {zelAlgHintFast, zelAlgHintAccurate}) {
        auto y = b32;
        d.add(zelsLogAdd_32f(a32.data(), y.data(), 203, hint)), d.add(y.data(), y.size());
        auto y64 = b64;
        d.add(zelsLogAdd_64f(a64.data(), y64.data(), 203, hint)), d.add(y64.data(), y64.size());
        float r = 0;
        d.add(zelsLogSum_32f(a32.data(), &r, 203, hint)), d.add(&r, 1);
        Zel32s r32 = 0;
        d.add(zelsLogSum_32s_Sfs(a32s.data(), &r32, 203, -20, hint)), d.add(&r32, 1);
        for (int sf : {-3, 0, 2}) {
            auto y16 = b16;
            d.add(zelsLogAdd_16s_Sfs(a16.data(), y16.data(), 203, sf, hint)), d.add(y16.data(), y16.size());
            auto y32s = b32s;
            d.add(zelsLogAdd_32s_Sfs(a32s.data(), y32s.data(), 203, sf - 20, hint)), d.add(y32s.data(), y32s.size());
        }
    }
    auto y64 = a64;
    for (auto& e : y64) e -= 1.0;
    d.add(zelsLogSub_64f(a64.data(), y64.data(), 203)), d.add(y64.data(), y64.size());
    return d.h;
}

uint64_t frameScoring() {
    Source s;
    Digest d;
    const auto x = s.fill<float>(kH * kStep, -4, 4), m = s.fill<float>(kW, -3, 3), v = s.fill<float>(kW, 0.1, 2);
    const auto x64 = s.fill<double>(kH * kStep, -4, 4), m64 = s.fill<double>(kW, -3, 3), v64 = s.fill<double>(kW, 0.1, 2);
    const auto x16 = s.fill<Zel16s>(kH * kStep, -3000, 3000), m16 = s.fill<Zel16s>(kW, -2000, 2000);
    const auto v16 = s.fill<Zel16s>(kW, 1, 200);
    vector<float> y(kH);
    vector<double> y64(kH);
    vector<Zel32s> y32(kH);
    d.add(zelsLogGauss_32f_D2(x.data(), kStep, m.data(), v.data(), kW, y.data(), kH, -3.5f)), d.add(y.data(), kH);
    d.add(zelsLogGauss_64f_D2(x64.data(), kStep, m64.data(), v64.data(), kW, y64.data(), kH, -3.5)), d.add(y64.data(), kH);
    d.add(zelsMahDist_32f_D2(x.data(), kStep, m.data(), v.data(), kW, y.data(), kH)), d.add(y.data(), kH);
    for (int sf : {-2, 0, 5}) {
        d.add(zelsLogGauss_16s32s_D2Sfs(x16.data(), kStep, m16.data(), v16.data(), kW, y32.data(), kH, 1234, sf));
        d.add(y32.data(), kH);
        d.add(zelsLogGauss_Scaled_16s32f_D2(x16.data(), kStep, m16.data(), v16.data(), kW, y.data(), kH, 7.0f, sf));
        d.add(y.data(), kH);
    }
    for (auto& e : y64) e = -1e3;
    d.add(zelsLogGaussMax_IdVar_64f_D2(x64.data(), kStep, m64.data(), kW, y64.data(), kH, -2.0)), d.add(y64.data(), kH);
    return d.h;
}

uint64_t mixtures() {
    Source s;
    Digest d;
    // kH mixture components of width kW against one frame, and kH frames against one component.
    const auto x = s.fill<float>(kW, -4, 4), m = s.fill<float>(kH * kStep, -3, 3), v = s.fill<float>(kH * kStep, 0.1, 2);
    const auto val = s.fill<float>(kH, -9, -1);
    float r = 0;
    d.add(zelsLogGaussMixture_32f_D2(x.data(), m.data(), v.data(), kH, kStep, kW, val.data(), &r)), d.add(&r, 1);
    const auto x16 = s.fill<Zel16s>(kW, -3000, 3000), m16 = s.fill<Zel16s>(kH * kStep, -2000, 2000);
    const auto v16 = s.fill<Zel16s>(kH * kStep, 1, 200);
    auto acc = s.fill<Zel32s>(kH, -1e6, 1e6);
    d.add(zelsLogGaussMultiMix_16s32s_D2Sfs(m16.data(), v16.data(), kStep, x16.data(), kW, acc.data(), kH, 3));
    d.add(acc.data(), kH);
    d.add(zelsLogGaussSingle_32f(x.data(), m.data(), v.data(), kW, &r, -2.5f)), d.add(&r, 1);
    const auto a = s.fill<Zel32s>(kW, -1e5, 1e5), b = s.fill<Zel32s>(kW, -1e5, 1e5);
    vector<Zel32s> c(kW);
    d.add(zelsOutProbPreCalc_32s(a.data(), b.data(), c.data(), kW)), d.add(c.data(), kW);
    return d.h;
}

struct Row {
    const char* family;
    uint64_t (*digest)();
    uint64_t want;
};

// The table every build and processor reproduces.
const Row kTable[] = {
    {"log domain", logDomain, 0xe495679ddac8c819ull},
    {"frame scoring", frameScoring, 0x3fa70d3377d2abadull},
    {"mixtures", mixtures, 0x9c32e7abe997b781ull},
};

}  // namespace

TEST(ScoringDigest, EveryBuildAndProcessorGivesTheTable) {
    for (const Row& r : kTable) {
        const uint64_t got = r.digest();
        EXPECT_EQ(got, r.want) << r.family;
        if (got != r.want) printf("    {\"%s\", ..., 0x%016llxull},\n", r.family, (unsigned long long)got);
    }
}
