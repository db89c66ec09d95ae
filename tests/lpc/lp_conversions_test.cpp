// SPDX-License-Identifier: Apache-2.0
// LP conversions: round trips on stable filters, the cepstrum and spectrum
// against the filter's frequency response, the area-ratio and tilt measures
// against their formulas, and the statuses and 16-bit rules.
#include <complex>

#include "common.hpp"
#include "lpc_reference.hpp"

namespace {

using cld = std::complex<long double>;

// A(e^jw) = 1 + sum a_k e^-jwk, in long double.
cld responseOf(const std::vector<float>& a, long double w) {
    cld s = 1;
    for (size_t k = 0; k < a.size(); ++k) s += (long double)a[k] * std::polar(1.0L, -w * (long double)(k + 1));
    return s;
}

TEST(LpConversions, RoundTripsOnStableFiltersOfOrdersOneTo32) {
    for (int order = 1; order <= 32; ++order) {
        SCOPED_TRACE(order);
        const std::vector<float> a = lt::stableLp(order, 0.7, unsigned(order));
        std::vector<float> k(order), back(order), c(order), back2(order);
        ASSERT_EQ(zelsLPToReflection_32f(a.data(), k.data(), order), zelStsNoErr);
        ASSERT_EQ(zelsReflectionToLP_32f(k.data(), back.data(), order), zelStsNoErr);
        ASSERT_EQ(zelsLPToCepstrum_32f(a.data(), c.data(), order), zelStsNoErr);
        ASSERT_EQ(zelsCepstrumToLP_32f(c.data(), back2.data(), order), zelStsNoErr);
        for (int i = 0; i < order; ++i) {
            EXPECT_LE(std::fabs(k[i]), 0.7f + 1e-4f);
            // Step-down divides by 1 - k^2 >= 0.51 per stage, so its rounding
            // grows with the order.
            EXPECT_NEAR(back[i], a[i], 2e-5 * (1 + std::fabs(a[i])) * order) << i;
            EXPECT_NEAR(back2[i], a[i], 1e-6 * (1 + std::fabs(a[i])) * order) << i;
        }
    }
}

TEST(LpConversions, CepstrumIsTheLogOfTheAllPoleResponse) {
    // ln |1 / A(e^jw)| = sum c_n cos(nw) for a minimum-phase A, c0 = 0.
    // Lengths 21 and 22 take the reciprocal table and the division.
    for (int len : {1, 3, 9, 21, 22, 60}) {
        SCOPED_TRACE(len);
        // Poles well inside the circle, so that 21 terms of the series converge.
        std::vector<float> a = lt::stableLp(std::min(len, 4), 0.5, 3);
        a.resize(len, 0.0f);
        std::vector<float> c(len + 1, -5.0f);
        ASSERT_EQ(zelsLPToCepstrum_32f(a.data(), c.data(), len), zelStsNoErr);
        EXPECT_EQ(c[len], -5.0f);
        EXPECT_EQ(c[0], -a[0]);
        if (len < 21) continue;  // too short a series; 21 and 22 are bounded by its truncation
        for (long double w : {0.1L, 0.9L, 2.0L, 3.0L}) {
            long double sum = 0;
            for (int n = 1; n <= len; ++n) sum += (long double)c[n - 1] * cosl(w * n);
            EXPECT_NEAR(double(sum), double(-logl(std::abs(responseOf(a, w)))), len < 60 ? 3e-4 : 2e-6) << double(w);
        }
    }
}

TEST(LpConversions, SpectrumIsTheInverseResponseMagnitude) {
    for (int order : {1, 2, 3, 6, 7, 9}) {
        const int len = std::min(10, (2 << order) - 1), bins = 1 << order, N = 2 << order;
        SCOPED_TRACE(order);
        std::vector<float> a = lt::stableLp(len, 0.7, 11);
        std::vector<float> s(bins + 2, -5.0f);
        const float val = -1.0f;  // standing in for the leading 1 at bin 0 only
        ASSERT_EQ(zelsLPToSpectrum_32f(a.data(), len, s.data(), order, val), zelStsNoErr);
        for (int b = 0; b < bins; ++b) {
            const long double w = 2 * 3.14159265358979323846L * b / N;
            cld A = responseOf(a, w) - cld(1);
            if (b == 0) A -= cld(val);
            const double want = double(1 / std::abs(A));
            EXPECT_NEAR(s[b], want, 2e-5 * want) << b;
        }
        EXPECT_EQ(s[bins], -5.0f);
    }
    // A zero magnitude: the division route's stored value, then infinities.
    const float zeros[3] = {};
    float out[8];
    EXPECT_EQ(zelsLPToSpectrum_32f(zeros, 3, out, 2, 0.0f), zelStsDivByZero);
    for (int b = 0; b < 4; ++b) EXPECT_EQ(out[b], 2139095040.0f);
    EXPECT_EQ(zelsLPToSpectrum_32f(zeros, 3, out, 3, 0.0f), zelStsDivByZero);
    for (int b = 0; b < 8; ++b) EXPECT_EQ(out[b], INFINITY);
    const Zel16s z16[3] = {}, one16[3] = {4096, 0, 0};
    Zel16s o16[8];
    EXPECT_EQ(zelsLPToSpectrum_16s_Sfs(z16, 3, o16, 3, 0, 0), zelStsDivByZero);
    EXPECT_EQ(o16[0], 32767);
    // |a1 e^-jw| = 4096 everywhere, minus val = 8192 at bin 0.
    EXPECT_EQ(zelsLPToSpectrum_16s_Sfs(one16, 3, o16, 3, -4096, -20), zelStsNoErr);
    EXPECT_EQ(o16[1], 256);
    EXPECT_EQ(o16[0], 128);
}

TEST(LpConversions, AreaRatiosAndTiltsFollowTheirFormulasOnEveryTail) {
    for (int len = 1; len <= 13; ++len) {
        SCOPED_TRACE(len);
        std::vector<float> k(len), s2(len), ar(len + 1, 9), lar(len + 1, 9), at(len + 1, 9), t(len + 1, 9);
        zt::fillUniform(k.data(), len, -0.95, 0.95);
        zt::fillUniform(s2.data(), len, -0.95, 0.95);
        ASSERT_EQ(zelsReflectionToAR_32f(k.data(), ar.data(), len), zelStsNoErr);
        ASSERT_EQ(zelsReflectionToLAR_32f(k.data(), lar.data(), len, 0.5f), zelStsNoErr);
        ASSERT_EQ(zelsReflectionToAbsTilt_32f(k.data(), s2.data(), at.data(), len), zelStsNoErr);
        ASSERT_EQ(zelsReflectionToTilt_32f(k.data(), s2.data(), t.data(), len), zelStsNoErr);
        for (int i = 0; i < len; ++i) {
            const double kv = k[i], kc = std::clamp(kv, -0.5, 0.5), a1 = std::fabs(kv), a2 = std::fabs(double(s2[i]));
            const double want[4] = {(1 - kv) / (1 + kv), std::log((1 - kc) / (1 + kc)), (a1 - a2) / (a1 + a2),
                                    (a1 - a2) / (kv + s2[i])};
            const float got[4] = {ar[i], lar[i], at[i], t[i]};
            for (int f = 0; f < 4; ++f) EXPECT_NEAR(got[f], want[f], 1e-5 * (1 + std::fabs(want[f]))) << f << " " << i;
        }
        EXPECT_EQ(ar[len], 9.0f);
        EXPECT_EQ(t[len], 9.0f);
    }
    // Zero denominators: a warning, +inf for the ratio, NaN left in the tilts.
    const float k[5] = {-1.0f, 0.5f, 0.0f, NAN, 0.2f}, s2[5] = {1.0f, -0.5f, 0.0f, 0.3f, 0.1f};
    float ar[5], t[5], at[5], lar[5];
    EXPECT_EQ(zelsReflectionToAR_32f(k, ar, 5), zelStsDivByZero);
    EXPECT_EQ(ar[0], INFINITY);
    EXPECT_EQ(ar[3], INFINITY);
    EXPECT_EQ(zelsReflectionToTilt_32f(k, s2, t, 5), zelStsDivByZero);
    EXPECT_TRUE(std::isnan(t[2]) && std::isnan(t[3]));
    EXPECT_EQ(zelsReflectionToAbsTilt_32f(k, s2, at, 5), zelStsDivByZero);
    EXPECT_TRUE(std::isnan(at[2]));
    EXPECT_NEAR(at[0], 0.0f, 1e-6);
    EXPECT_EQ(zelsReflectionToLAR_32f(k, lar, 5, 0.9f), zelStsNoErr);
    EXPECT_NEAR(lar[3], std::log(1.9 / 0.1), 1e-5);  // NaN limited to -thresh
}

TEST(LpConversions, TrueAreaRatioRunsAProductThroughItsPoles) {
    const float nan = zt::fromBits(0xffc00000u);
    struct Case {
        std::vector<float> k, want;
        ZelStatus status;
    } cases[] = {
        {{0.5f, 1.0f, 0.5f}, {1.0f / 3, 0.0f, 0.0f}, zelStsNoErr},
        {{-1.0f, 0.5f, 1.0f, 0.5f}, {INFINITY, INFINITY, nan, nan}, zelStsDivByZero},
        {{0.5f, -1.0f, 2.0f, 0.0f}, {1.0f / 3, INFINITY, -INFINITY, -INFINITY}, zelStsDivByZero},
        // Long vectors follow the same rules.
        {{0, 0, 0, 0, 0, 0, 0, 0.5f, -1.0f, 0.25f, 1.0f}, {1, 1, 1, 1, 1, 1, 1, 1.0f / 3, INFINITY, INFINITY, nan, nan},
         zelStsDivByZero},
    };
    for (auto& c : cases) {
        std::vector<float> got(c.k.size());
        const int len = int(c.k.size());
        EXPECT_EQ(zelsReflectionToTrueAR_32f(c.k.data(), got.data(), len), c.status);
        for (int i = 0; i < len; ++i) EXPECT_SAME_BITS(got[i], c.want[i]) << i;
    }
    // 16-bit: 2^12 stands for 1, products truncated and saturated.
    const Zel16s k16[3] = {2048, -4096, 0};
    Zel16s o16[3];
    EXPECT_EQ(zelsReflectionToTrueAR_16s_Sfs(k16, 12, o16, 3, -10), zelStsDivByZero);
    EXPECT_EQ(o16[0], 341);  // 1024 / 3 truncated
    EXPECT_EQ(o16[1], 32767);
}

TEST(LpConversions, SixteenBitScalingAndRounding) {
    // A Q12 LP vector goes with scaleFactor -12 and meets the float result.
    const std::vector<float> a = lt::stableLp(10, 0.8, 5);
    Zel16s a16[10], c16[10], k16[10], b16[10];
    std::vector<float> aq(10), c(10), k(10);
    for (int i = 0; i < 10; ++i) aq[i] = float(a16[i] = Zel16s(std::lrint(a[i] * 1024))) / 4096;
    zelsLPToCepstrum_32f(aq.data(), c.data(), 10);
    zelsLPToReflection_32f(aq.data(), k.data(), 10);
    ASSERT_EQ(zelsLPToCepstrum_16s_Sfs(a16, c16, 10, -12), zelStsNoErr);
    ASSERT_EQ(zelsLPToReflection_16s_Sfs(a16, k16, 10, -12), zelStsNoErr);
    ASSERT_EQ(zelsReflectionToLP_16s_Sfs(k16, b16, 10, -12), zelStsNoErr);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(c16[i], lt::near16(c[i], -12)) << i;
        EXPECT_EQ(k16[i], Zel16s(std::lround(k[i] * 4096))) << i;
        EXPECT_NEAR(b16[i], a16[i], 2) << i;
    }
    // Reflection: halves away from zero, and 16 bits cut without saturation
    // (k = -a1 = 32768 wraps to -32768).
    const Zel16s half[2] = {0, 1};  // a2 = 1 * 2^-1 = 0.5 -> k2 = -0.5
    Zel16s out[2];
    ASSERT_EQ(zelsLPToReflection_16s_Sfs(half, out, 2, -1), zelStsNoErr);
    EXPECT_EQ(out[1], -1);
    const Zel16s big[1] = {-32768};
    ASSERT_EQ(zelsLPToReflection_16s_Sfs(big, out, 1, -12), zelStsNoErr);
    EXPECT_EQ(out[0], -32768);
    // Area ratios and tilts saturate; the LAR truncates.
    const Zel16s kk[2] = {-4000, 3000}, s2[2] = {1000, -3000};
    Zel16s ar[2], lar[2], at[2];
    ASSERT_EQ(zelsReflectionToAR_16s_Sfs(kk, 12, ar, 2, -12), zelStsNoErr);
    EXPECT_EQ(ar[0], 32767);
    EXPECT_NEAR(ar[1], 4096.0 * 1096 / 7096, 1);
    ASSERT_EQ(zelsReflectionToLAR_16s_Sfs(kk, 12, lar, 2, 0.5f, -8), zelStsNoErr);
    EXPECT_EQ(lar[0], Zel16s(std::trunc(std::log(3.0) * 256)));
    EXPECT_EQ(zelsReflectionToAbsTilt_16s_Sfs(kk, s2, at, 2, -10), zelStsNoErr);
    EXPECT_EQ(at[0], Zel16s(std::lrint(1024 * 3000.0 / 5000)));
    EXPECT_EQ(at[1], 0);
    EXPECT_EQ(zelsReflectionToTilt_16s_Sfs(kk, s2, at, 2, -10), zelStsDivByZero);
    EXPECT_EQ(at[0], Zel16s(std::lrint(1024 * 3000.0 / -3000)));
}

TEST(LpConversions, StatusesAndNothingWrittenOnError) {
    float x[4] = {0.1f, 0.2f, 0.3f, 0.4f}, y[4] = {7, 7, 7, 7};
    Zel16s x16[4] = {1, 2, 3, 4}, y16[4] = {7, 7, 7, 7};
    zt::expectStatuses({
        {zelsLPToSpectrum_32f(x, 4, y, 1, 0.0f), zelStsSizeErr},  // len = N
        {zelsLPToSpectrum_32f(x, 4, y, 40, 0.0f), zelStsFftOrderErr},
        {zelsReflectionToLAR_32f(x, y, 4, 1.0f), zelStsRangeErr},
        {zelsReflectionToLAR_16s_Sfs(x16, 0, y16, 4, 0.0f, 0), zelStsRangeErr},
        {zelsReflectionToLAR_32f(x, y, 4, NAN), zelStsRangeErr},
    });
    zt::expectUntouched(y, 4, 7);
    zt::expectUntouched(y16, 4, 7);
    // A reflection coefficient of exactly 1 stops the step-down at once; the
    // float form keeps what it found, the 16-bit form writes nothing.
    const float unstable[3] = {0.2f, 0.1f, -1.0f};
    EXPECT_EQ(zelsLPToReflection_32f(unstable, y, 3), zelStsUnstableLpErr);
    EXPECT_EQ(y[2], 1.0f);
    EXPECT_EQ(y[1], 7.0f);
    const Zel16s unstable16[2] = {0, 4096};
    EXPECT_EQ(zelsLPToReflection_16s_Sfs(unstable16, y16, 2, -12), zelStsUnstableLpErr);
    zt::expectUntouched(y16, 4, 7);
    // Beyond 1 is no error.
    const float beyond[2] = {0.0f, -1.5f};
    EXPECT_EQ(zelsLPToReflection_32f(beyond, y, 2), zelStsNoErr);
    EXPECT_EQ(y[1], 1.5f);
}

}  // namespace
