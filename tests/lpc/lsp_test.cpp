// SPDX-License-Identifier: Apache-2.0
// Line spectral pairs: the grid search at its limits, the 16-bit forms, and
// the order checks of the reconstruction. Both directions are measured against
// long double references with numpy in lsp_test.py, and held to the same bits
// on every build by the digest.
#include <limits.h>

#include "common.hpp"
#include "lpc_reference.hpp"

namespace {

// Odd lengths are read as A(z) = 1 - sum a z^-k, so a stable filter enters
// them negated.
std::vector<float> stableInConvention(int order, double kmax, unsigned seed) {
    std::vector<float> a = lt::stableLp(order, kmax, seed);
    if (order % 2)
        for (float& v : a) v = -v;
    return a;
}

TEST(Lsp, GridLimitsAndMissedRoots) {
    // One coefficient: a single root of P at x = a1 / 1 (P = 2x - 2 a1), Q
    // empty; one cell searches all of [-1, 1].
    const float a1[1] = {0.3f};
    float x[2] = {-9, -9};
    int n = -1;
    ASSERT_EQ(zelsLPToLSP_32f(a1, x, 1, &n, 1, 20), zelStsNoErr);
    EXPECT_EQ(n, 1);
    EXPECT_NEAR(x[0], 0.3f, 1e-6);
    EXPECT_EQ(x[1], -9.0f);
    // len = nInt is the smallest grid allowed; len 2 with a1 + a2 = 1 puts
    // the root of P exactly on the grid point 0, which starts a bisection.
    const float a2[2] = {0.5f, 0.5f};
    ASSERT_EQ(zelsLPToLSP_32f(a2, x, 2, &n, 2, 4), zelStsNoErr);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(x[0], 0.0f);
    // Two roots of P inside one cell are missed: a short count and the
    // roots found so far.
    const float pairs[4] = {0.9f, 0.7f, 0.6f, -0.5f};
    float close[4], x4[4] = {-9, -9, -9, -9};
    ASSERT_EQ(zelsLSPToLP_32f(pairs, close, 4), zelStsNoErr);
    EXPECT_EQ(zelsLPToLSP_32f(close, x4, 4, &n, 4, 10), zelStsLspRootErr);
    EXPECT_LT(n, 4);
    EXPECT_EQ(x4[3], -9.0f);
    // A grid finer than the float spacing stays at 1 up to its last point,
    // and bisections past the float spacing change nothing: both end at once.
    EXPECT_EQ(zelsLPToLSP_32f(close, x4, 4, &n, 1000, 30), zelStsNoErr);
    const std::vector<float> coarse(x4, x4 + 4);
    EXPECT_EQ(zelsLPToLSP_32f(close, x4, 4, &n, 1000, INT_MAX), zelStsNoErr);
    for (int i = 0; i < 4; ++i) EXPECT_SAME_BITS(x4[i], coarse[i]);
    EXPECT_EQ(zelsLPToLSP_32f(close, x4, 4, &n, INT_MAX, INT_MAX), zelStsLspRootErr);
    EXPECT_EQ(n, 0);
    // NaN coefficients find no sign change and end the search.
    const float bad[3] = {NAN, 0.1f, 0.1f};
    EXPECT_EQ(zelsLPToLSP_32f(bad, x4, 3, &n, 64, 4), zelStsLspRootErr);
    EXPECT_EQ(n, 0);
}

TEST(Lsp, SixteenBitFormsScaleAndRound) {
    const std::vector<float> a = stableInConvention(10, 0.6, 7);
    Zel16s a16[10], x16[10], b16[10];
    std::vector<float> aq(10), x(10), b(10);
    for (int i = 0; i < 10; ++i) aq[i] = float(a16[i] = Zel16s(std::lrint(a[i] * 4096))) / 4096;
    int n = 0, n16 = 0;
    ASSERT_EQ(zelsLPToLSP_32f(aq.data(), x.data(), 10, &n, 256, 6), zelStsNoErr);
    ASSERT_EQ(zelsLPToLSP_16s_Sfs(a16, 12, x16, 10, &n16, 256, 6, -14), zelStsNoErr);
    ASSERT_EQ(n16, 10);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(x16[i], Zel16s(std::lround(x[i] * 16384))) << i;
    // Back with 2^14 for 1 into Q12.
    ASSERT_EQ(zelsLSPToLP_16s_Sfs(x16, 14, b16, 10, -12), zelStsNoErr);
    std::vector<float> xq(10);
    for (int i = 0; i < 10; ++i) xq[i] = float(x16[i]) / 16384;
    ASSERT_EQ(zelsLSPToLP_32f(xq.data(), b.data(), 10), zelStsNoErr);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(b16[i], lt::near16(b[i], -12)) << i;
    // Nothing written when no root was found.
    const Zel16s zero[2] = {0, 32767};
    Zel16s out[2] = {5, 5};
    EXPECT_EQ(zelsLPToLSP_16s_Sfs(zero, 0, out, 2, &n, 2, 1, 0), zelStsLspRootErr);
    EXPECT_EQ(n, 0);
    zt::expectUntouched(out, 2, 5);
}

TEST(Lsp, ExtremeSourceShiftsMeetTheEndsOfTheScale) {
    // Any shift past an end of the scale acts as that end, INT_MIN included.
    const std::vector<float> a = stableInConvention(6, 0.6, 3);
    Zel16s a16[6];
    for (int i = 0; i < 6; ++i) a16[i] = Zel16s(std::lrint(a[i] * 4096));
    for (int far : {-1000, 1000}) {
        Zel16s x[6] = {5, 5, 5, 5, 5, 5}, y[6] = {5, 5, 5, 5, 5, 5};
        int n = -1, m = -1;
        const int extreme = far < 0 ? INT_MIN : INT_MAX;
        const ZelStatus s = zelsLPToLSP_16s_Sfs(a16, far, x, 6, &n, 64, 4, -14);
        EXPECT_EQ(zelsLPToLSP_16s_Sfs(a16, extreme, y, 6, &m, 64, 4, -14), s);
        EXPECT_EQ(n, m);
        for (int i = 0; i < 6; ++i) EXPECT_EQ(x[i], y[i]) << far << " " << i;
    }
}

TEST(Lsp, StatusesInOrder) {
    float a[4] = {0.1f, 0.2f, 0.3f, 0.4f}, x[4] = {7, 7, 7, 7};
    Zel16s x16[4] = {7, 7, 7, 7};
    int n = -5;
    const float high[2] = {1.0f, 0.0f}, low[2] = {0.0f, -1.0f}, up[3] = {0.5f, 0.6f, 0.0f}, flat[3] = {0.5f, 0.5f, 0.5f};
    const Zel16s hi16[2] = {4, -4}, over16[2] = {5, 0}, under16[2] = {0, -5};
    zt::expectStatuses({
        {zelsLPToLSP_32f(a, x, 0, nullptr, 0, 0), zelStsNullPtrErr},
        {zelsLPToLSP_32f(a, x, 4, &n, 0, 4), zelStsSizeErr},
        {zelsLPToLSP_32f(a, x, 4, &n, 8, 0), zelStsSizeErr},
        {zelsLPToLSP_32f(a, x, 5, &n, 4, 4), zelStsSizeErr},
        {zelsLSPToLP_32f(high, x, 2), zelStsLspOrderErr},
        {zelsLSPToLP_32f(low, x, 2), zelStsLspOrderErr},
        {zelsLSPToLP_32f(up, x, 3), zelStsLspOrderErr},
        {zelsLSPToLP_16s_Sfs(hi16, 0, x16, 2, 0), zelStsSizeErr},
        {zelsLSPToLP_16s_Sfs(over16, 2, x16, 2, 0), zelStsLspOrderErr},
        {zelsLSPToLP_16s_Sfs(under16, 2, x16, 2, 0), zelStsLspOrderErr},
    });
    EXPECT_EQ(n, -5);
    zt::expectUntouched(x, 4, 7);
    zt::expectUntouched(x16, 4, 7);
    // Equal neighbours pass, and the 16-bit limits are inclusive.
    EXPECT_EQ(zelsLSPToLP_32f(flat, x, 3), zelStsNoErr);
    EXPECT_EQ(zelsLSPToLP_16s_Sfs(hi16, 2, x16, 2, 0), zelStsNoErr);
}

}  // namespace
