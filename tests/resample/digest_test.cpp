// SPDX-License-Identifier: Apache-2.0
// One digest of resampler and time-warping results that every build (vector,
// portable, 32-bit) must reproduce bit for bit.
#include <vector>

#include "digest.hpp"
#include "frame/dispatch.hpp"

namespace {

// Integer-generated samples, the same on every build.
struct Lcg {
    uint32_t s = 12345;
    int32_t next() { return int32_t((s = s * 1664525u + 1013904223u) >> 16) - 32768; }
    float unit() { return float(next()) / 32768.0f; }
};

uint64_t digest() {
    zt::Digest dg;
    Lcg g;
    const int n = 3000, pad = 200;
    std::vector<float> x(n + 2 * pad);
    std::vector<Zel16s> x16(n + 2 * pad);
    for (int i = 0; i < n + 2 * pad; ++i) x16[i] = Zel16s(g.next()), x[i] = x16[i] / 32768.0f;
    std::vector<float> y(4 * n);
    std::vector<Zel16s> y16(4 * n);
    int cnt = 0;
    for (int hint : {zelAlgHintFast, zelAlgHintAccurate}) {
        ZelResamplingPolyphaseFixed *f = nullptr, *f16 = nullptr;
        EXPECT_EQ(zelsResamplePolyphaseFixedInitAlloc_32f(&f, 44100, 16000, 58, 0.9f, 7.5f, hint), zelStsNoErr);
        EXPECT_EQ(zelsResamplePolyphaseFixedInitAlloc_16s(&f16, 8000, 11025, 40, 0.9f, 7.5f, hint), zelStsNoErr);
        double t = pad + 0.3;
        EXPECT_EQ(zelsResamplePolyphaseFixed_32f(f, x.data(), n, y.data(), 0.9f, &t, &cnt), zelStsNoErr);
        dg.add(y.data(), cnt);
        dg.add(&t, 1);
        t = pad;
        EXPECT_EQ(zelsResamplePolyphaseFixed_16s(f16, x16.data(), n, y16.data(), 0.9f, &t, &cnt), zelStsNoErr);
        dg.add(y16.data(), cnt);
        zelsResamplePolyphaseFixedFree_32f(f);
        zelsResamplePolyphaseFixedFree_16s(f16);

        ZelResamplingPolyphase *r = nullptr, *r16 = nullptr;
        EXPECT_EQ(zelsResamplePolyphaseInitAlloc_32f(&r, 40.0f, 64, 0.9f, 7.5f, hint), zelStsNoErr);
        EXPECT_EQ(zelsResamplePolyphaseInitAlloc_16s(&r16, 40.0f, 64, 0.9f, 7.5f, hint), zelStsNoErr);
        for (double factor : {0.37, 1.0, 1.61}) {
            t = pad + 0.25;
            EXPECT_EQ(zelsResamplePolyphase_32f(r, x.data(), n, y.data(), factor, 1.0f, &t, &cnt), zelStsNoErr);
            dg.add(y.data(), cnt);
            dg.add(&t, 1);
            t = pad + 0.25;
            EXPECT_EQ(zelsResamplePolyphase_16s(r16, x16.data(), n, y16.data(), factor, 1.0f, &t, &cnt),
                      zelStsNoErr);
            dg.add(y16.data(), cnt);
        }
        zelsResamplePolyphaseFree_32f(r);
        zelsResamplePolyphaseFree_16s(r16);
    }
    for (int w : {5, 13, 14, 39}) {
        std::vector<float> a(70 * w), b(55 * w);
        for (float& v : a) v = g.unit();
        for (float& v : b) v = g.unit();
        for (int delta : {0, 7, 100}) {
            float cost = 0;
            EXPECT_EQ(zelsDTW_L2_32f_D2(a.data(), 70, b.data(), 55, w, w, &cost, delta, 2.5f), zelStsNoErr);
            dg.add(&cost, 1);
        }
    }
    return dg.h;
}

// On the best instruction set of the processor, and on the baseline one.
TEST(Digest, SameBitsOnEveryBuildAndPath) {
    EXPECT_EQ(digest(), 17898561835073536149ull);
    const zel::Isa previous = zel::setMaxIsaForTesting(zel::Isa::kBaseline);
    EXPECT_EQ(digest(), 17898561835073536149ull);
    zel::setMaxIsaForTesting(previous);
}

}  // namespace
