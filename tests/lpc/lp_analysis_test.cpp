// SPDX-License-Identifier: Apache-2.0
// LP analysis on a known all-pole process, the covariance method against its
// one-sided system, the 16-bit rounding, and the statuses. Durbin and Schur
// are checked against scipy's Toeplitz solver in lp_analysis_test.py, and the
// other builds are held to the same bits by the digest.
#include <algorithm>

#include "common.hpp"
#include "lpc_reference.hpp"

namespace {


TEST(LpAnalysis, FrameMethodsRecoverAKnownAllPoleProcess) {
    // x[n] = 1.3 x[n-1] - 0.8 x[n-2] + 0.2 x[n-3] + e[n]: A(z) = 1 - 1.3 z^-1 + 0.8 z^-2 - 0.2 z^-3.
    const double ar[3] = {1.3, -0.8, 0.2};
    const std::vector<float> x = lt::arProcess(ar, 3, 8000);
    float a[3], neg[3], cov[3];
    ASSERT_EQ(zelsLinearPrediction_Auto_32f(x.data(), int(x.size()), a, 3), zelStsNoErr);
    ASSERT_EQ(zelsLinearPredictionNeg_Auto_32f(x.data(), int(x.size()), neg, 3), zelStsNoErr);
    ASSERT_EQ(zelsLinearPrediction_Cov_32f(x.data(), int(x.size()), cov, 3), zelStsNoErr);
    for (int i = 0; i < 3; ++i) {
        // Estimation error of 8000 samples, not arithmetic, sets the bound.
        EXPECT_NEAR(a[i], -ar[i], 0.05) << i;
        EXPECT_NEAR(cov[i], ar[i], 0.05) << i;
        EXPECT_SAME_BITS(neg[i], 0.0f - a[i]);
    }
}

TEST(LpAnalysis, CovarianceMethodSolvesItsOneSidedSystem) {
    // The row-dependent sum ranges matter most when order is close to len.
    // order = len is legal for both methods: the autocorrelation's top lag is
    // then zero, and the covariance system is singular (its last row sums
    // nothing), which runs on to NaNs with zelStsNoErr.
    for (int len : {5, 40, 400}) {
        for (int order : {1, 4, 5, 12, 13, 32}) {
            if (order > len) continue;
            SCOPED_TRACE(testing::Message() << "len " << len << " order " << order);
            const std::vector<float> x = lt::colouredNoise(len, 0.6);
            std::vector<float> c(order), a(order);
            ASSERT_EQ(zelsLinearPrediction_Cov_32f(x.data(), len, c.data(), order), zelStsNoErr);
            ASSERT_EQ(zelsLinearPrediction_Auto_32f(x.data(), len, a.data(), order), zelStsNoErr);
            const std::vector<long double> want = lt::covarianceSolve(x, order);
            if (order == len) {
                EXPECT_TRUE(std::isnan(c[order - 1]));
                continue;
            }
            for (int i = 0; i < order; ++i) EXPECT_NEAR(c[i], double(want[i]), 2e-2 * (1 + std::fabs(double(want[i])))) << i;
        }
    }
}

TEST(LpAnalysis, SixteenBitFormsRoundTheFloatResultAndSaturate) {
    std::vector<Zel16s> x(240);
    std::vector<float> xs(240);
    const std::vector<float> xf = lt::colouredNoise(240, 0.7);
    for (int i = 0; i < 240; ++i) xs[i] = x[i] = Zel16s(std::lrint(xf[i] * 3000));
    const std::vector<float> Rl = lt::autocorrOf(xs, 11);
    Zel16s R16[11];
    float R[11];
    for (int i = 0; i <= 10; ++i) R[i] = R16[i] = Zel16s(std::lrint(Rl[i] / Rl[0] * 20000));
    for (int sf : {-12, -20, 0}) {
        SCOPED_TRACE(sf);
        float f[5][10], e[2], e16[2];
        Zel16s g[5][10];
        zelsLinearPrediction_Auto_32f(xs.data(), 240, f[0], 10);
        zelsLinearPredictionNeg_Auto_32f(xs.data(), 240, f[1], 10);
        zelsLinearPrediction_Cov_32f(xs.data(), 240, f[2], 10);
        zelsDurbin_32f(R, f[3], 10, &e[0]);
        zelsSchur_32f(R, f[4], 10, &e[1]);
        ASSERT_EQ(zelsLinearPrediction_Auto_16s_Sfs(x.data(), 240, g[0], 10, sf), zelStsNoErr);
        ASSERT_EQ(zelsLinearPredictionNeg_Auto_16s_Sfs(x.data(), 240, g[1], 10, sf), zelStsNoErr);
        ASSERT_EQ(zelsLinearPrediction_Cov_16s_Sfs(x.data(), 240, g[2], 10, sf), zelStsNoErr);
        ASSERT_EQ(zelsDurbin_16s_Sfs(R16, g[3], 10, &e16[0], sf), zelStsNoErr);
        ASSERT_EQ(zelsSchur_16s_Sfs(R16, g[4], 10, &e16[1], sf), zelStsNoErr);
        EXPECT_EQ(e16[0], e[0]);  // the error energy stays float and unscaled
        EXPECT_EQ(e16[1], e[1]);
        for (int m = 0; m < 5; ++m)
            for (int i = 0; i < 10; ++i) EXPECT_EQ(g[m][i], lt::near16(f[m][i], sf)) << m << " " << i;
    }
    // Halves go to even, and the 16-bit range saturates.
    const Zel16s R2[2] = {4, 2}, R3[2] = {4, -2};  // a1 = -0.5 and +0.5
    Zel16s out;
    float e;
    const struct { const Zel16s* R; int sf; Zel16s want; } cases[] = {
        {R2, 0, 0}, {R2, -1, -1}, {R2, -17, -32768}, {R3, -16, 32767}};
    for (auto c : cases) {
        ASSERT_EQ(zelsDurbin_16s_Sfs(c.R, &out, 1, &e, c.sf), zelStsNoErr);
        EXPECT_EQ(out, c.want) << c.sf;
        ASSERT_EQ(zelsSchur_16s_Sfs(c.R, &out, 1, &e, c.sf), zelStsNoErr);
        EXPECT_EQ(out, c.want) << c.sf;
    }
}

TEST(LpAnalysis, StatusesComeInTheirOrderAndFailuresWriteNothingUnsaid) {
    float R[4] = {1, 0.5f, 0.2f, 0.1f}, a[4], e = -3;
    Zel16s R16[4] = {100, 50, 20, 10}, a16[4];
    zt::expectStatuses({
        {zelsDurbin_32f(nullptr, a, 0, nullptr), zelStsNullPtrErr},
        {zelsDurbin_32f(R, a, 0, nullptr), zelStsSizeErr},
        {zelsDurbin_32f(R, a, 3, nullptr), zelStsNullPtrErr},
        {zelsSchur_32f(R, nullptr, -1, &e), zelStsNullPtrErr},
        {zelsLinearPrediction_Cov_32f(R, 3, a, 4), zelStsSizeErr},
        {zelsLinearPrediction_Auto_16s_Sfs(R16, 2, a16, 3, 0), zelStsSizeErr},
    });

    // R[0] at zero, and |R[1]| = R[0] (zero error after stage 1): nothing written.
    for (float r1 : {0.0f, 1.0f, -1.0f}) {
        const float Rz[3] = {r1 == 0.0f ? 0.0f : 1.0f, r1, 0.5f};
        float out[2] = {9, 9}, err = -3;
        EXPECT_EQ(zelsDurbin_32f(Rz, out, 2, &err), zelStsLpcCalcErr);
        EXPECT_EQ(out[0], 9.0f);
        EXPECT_EQ(err, -3.0f);
    }
    // A later stage that fails keeps what it reached, but no error energy.
    const float Rlate[3] = {1.0f, 0.5f, -0.5f};  // k2 = -1
    float late[2] = {9, 9}, err = -3;
    EXPECT_EQ(zelsDurbin_32f(Rlate, late, 2, &err), zelStsLpcCalcErr);
    EXPECT_EQ(late[0], -0.5f);
    EXPECT_EQ(err, -3.0f);
    // Schur has no energy test: R[0] = 0 runs on to infinities.
    const float R0[3] = {0.0f, 1.0f, 0.5f};
    float k[2];
    EXPECT_EQ(zelsSchur_32f(R0, k, 2, &err), zelStsNoErr);
    EXPECT_TRUE(std::isinf(k[0]));

    // A frame of zeros: the plain form fails untouched, the Neg form negates
    // what pDst held, the 16-bit form leaves pDst alone.
    const float zeros[8] = {};
    const Zel16s zeros16[8] = {};
    float p[3] = {1, -2, 3};
    EXPECT_EQ(zelsLinearPrediction_Auto_32f(zeros, 8, p, 3), zelStsLpcCalcErr);
    EXPECT_EQ(p[0], 1.0f);
    EXPECT_EQ(zelsLinearPredictionNeg_Auto_32f(zeros, 8, p, 3), zelStsLpcCalcErr);
    EXPECT_EQ(p[0], -1.0f);
    EXPECT_EQ(p[1], 2.0f);
    Zel16s q[3] = {5, 5, 5};
    EXPECT_EQ(zelsLinearPredictionNeg_Auto_16s_Sfs(zeros16, 8, q, 3, 0), zelStsLpcCalcErr);
    zt::expectUntouched(q, 3, 5);
}

TEST(LpAnalysis, NonFiniteSamplesGiveADefinedResult) {
    // A NaN or an infinity passes the energy tests (they fail only at or
    // below zero) and comes out as NaN coefficients with zelStsNoErr.
    for (float bad : {NAN, INFINITY}) {
        std::vector<float> x = lt::colouredNoise(100, 0.5);
        x[37] = bad;
        float a[10], c[10];
        EXPECT_EQ(zelsLinearPrediction_Auto_32f(x.data(), 100, a, 10), zelStsNoErr);
        EXPECT_TRUE(std::isnan(a[9]));
        EXPECT_EQ(zelsLinearPrediction_Cov_32f(x.data(), 100, c, 10), zelStsNoErr);
        EXPECT_TRUE(std::isnan(c[0]));
    }
}

}  // namespace
