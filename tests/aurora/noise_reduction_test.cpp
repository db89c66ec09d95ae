// SPDX-License-Identifier: Apache-2.0
// Aurora noise reduction: every step against its formula in double precision
// (or exactly where the form is integer), the wrap and saturation rules of the
// fixed-point forms, the rounding mode handed back, and the check orders.
#include <fenv.h>
#include <limits.h>
#include <math.h>

#include <vector>

#include "common.hpp"

namespace {

using std::vector;

TEST(AuroraSpectrum, FloatAndIntegerFormsFollowThePackedLayout) {
    for (int len : {4, 260}) {
        const int n = len / 4;
        zt::Buf<Zel32f> x(len), y(n + 2);
        zt::fillUniform(x.data(), len, -100.0, 100.0);
        y.fill(-7.0f);
        ASSERT_EQ(zelsSmoothedPowerSpectrumAurora_32f(x.data(), y.data(), len), zelStsNoErr);
        auto sq = [&](int i) { return double(x[i]) * x[i]; };
        for (int i = 0; i < n; ++i) {  // bin 0 packs the Nyquist value in place of its imaginary part
            const double want = (sq(4 * i) + (i ? sq(4 * i + 1) : 0) + sq(4 * i + 2) + sq(4 * i + 3)) / 2;
            EXPECT_NEAR(y[i], want, 1e-6 * want) << i;
        }
        EXPECT_EQ(y[n], float(sq(1)));
        EXPECT_SAME_BITS(y[n + 1], -7.0f);  // len / 4 + 1 outputs and no more
    }
    // 16 bits: halved squares wrap when four are full scale; the top bin clamps.
    Zel16s x16[8] = {100, 300, -200, 7, -32768, -32768, -32768, -32768}, y16[3];
    ASSERT_EQ(zelsSmoothedPowerSpectrumAurora_16s(x16, y16, 8), zelStsNoErr);
    EXPECT_EQ(y16[0], 100 * 100 / 2 + 200 * 200 / 2 + 49 / 2);
    EXPECT_EQ(y16[1], -32768);
    EXPECT_EQ(y16[2], 32767);
    // 32 bits: exact halved squares in 64 bits; out of the 32-bit range the
    // sum is not saturated, and the top bin is cut to 32 bits (65536^2 is 0).
    Zel32s x32[8] = {3, 65536, 5, -7, 2000000000, -2000000000, 123456, -1}, y32[3];
    Zel64s y64[3];
    ASSERT_EQ(zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(x32, y64, 8, 2), zelStsNoErr);
    const int64_t big = int64_t(2000000000) * 2000000000 / 2;
    EXPECT_EQ(y64[0], (9 / 2 + 25 / 2 + 49 / 2) >> 2);
    EXPECT_EQ(y64[1], (big + big + int64_t(123456) * 123456 / 2) >> 2);
    EXPECT_EQ(y64[2], 0);
    ASSERT_EQ(zelsSmoothedPowerSpectrumAurora_32s_Sfs(x32, y32, 8, 1), zelStsNoErr);
    EXPECT_EQ(y32[0], (9 / 2 + 25 / 2 + 49 / 2) >> 1);
    EXPECT_EQ(y32[1], -2147483647 - 1);
}

// b (0.9 + 0.1 a / (a + b) (1 + b / (b + 0.1 a))) in double.
double noiseRef(double a, double b) { return b * (0.9 + 0.1 * a / (a + b) * (1 + b / (b + 0.1 * a))); }

TEST(AuroraNoise, UpdateWithinTheReciprocalEstimateAndGuards) {
    const int len = 67;
    zt::Buf<Zel32f> a(len, 1), b(len), y(len);
    zt::fillUniform(a.data(), len, 0.0, 1e4);
    zt::fillUniform(b.data(), len, 1e-3, 1e4);
    a[5] = b[5] = 0.0f;
    fesetround(FE_UPWARD);
    ASSERT_EQ(zelsNoiseSpectrumUpdate_Aurora_32f(a.data(), b.data(), y.data(), len), zelStsNoErr);
    EXPECT_EQ(fegetround(), FE_UPWARD);
    fesetround(FE_TONEAREST);
    for (int i = 0; i < len; ++i)  // two estimates of 1.5 * 2^-12 each
        EXPECT_NEAR(y[i], i == 5 ? 0.0 : noiseRef(a[i], b[i]), 1e-3 * y[i]) << i;

    // Integer forms: single precision and truncation; a guard of zero (a + b,
    // or 0.1 a + b truncated) gives 0; saturation, and the 32-bit conversion's
    // out-of-range value above 2^31.
    Zel16s a16[5] = {1000, 0, 5, -5, 30000}, b16[5] = {2000, 0, -5, 0, 30000}, y16[5];
    ASSERT_EQ(zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(a16, b16, y16, 5, -1), zelStsNoErr);
    EXPECT_NEAR(y16[0], 2 * noiseRef(1000, 2000), 1.0);
    EXPECT_EQ(std::vector<Zel16s>(y16 + 1, y16 + 5), (std::vector<Zel16s>{0, 0, 0, 32767}));
    Zel32s a32[2] = {2000000000, 1000}, b32[2] = {2000000000, 3000}, y32[2];
    ASSERT_EQ(zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(a32, b32, y32, 2, -4), zelStsNoErr);
    EXPECT_EQ(y32[0], -2147483647 - 1);
    EXPECT_NEAR(y32[1], 16 * noiseRef(1000, 3000), 1.0);
}

TEST(AuroraWiener, GainsFollowTheFormulaAndNeverFallUnderTheFloor) {
    const int len = 65;
    zt::Buf<Zel32f> a(len), b(len), c(len), g(len);
    zt::fillUniform(a.data(), len, 0.0, 1e5);
    zt::fillUniform(b.data(), len, 1.0, 1e4);
    zt::fillUniform(c.data(), len, 0.0, 1e5);
    b[3] = 0.0f;  // no noise: the floor
    ASSERT_EQ(zelsWienerFilterDesign_Aurora_32f(a.data(), b.data(), c.data(), g.data(), len), zelStsNoErr);
    for (int i = 0; i < len; ++i) {
        const double d = std::max(0.0, double(a[i]) - b[i]), s = (0.02 * d + 0.98 * c[i]) / b[i];
        const double t = i == 3 ? 0.07943282 : std::max(s / (s + 1) * a[i] / b[i], 0.07943282);
        EXPECT_NEAR(g[i], t / (t + 1), 2e-3 * t / (t + 1)) << i;
    }
    // Q14: the floor for zero noise, under 1 for a large ratio, and the float
    // gain within the coarse steps of the integer one.
    vector<Zel16s> a16 = {0, 30000, 1000, 5000, 20000, 800}, b16 = {0, 1, 400, 300, 2000, 900},
                   c16 = {0, 30000, 800, 6000, 15000, 100}, g16(6);
    ASSERT_EQ(zelsWienerFilterDesign_Aurora_16s(a16.data(), b16.data(), c16.data(), g16.data(), 6), zelStsNoErr);
    EXPECT_EQ(g16[0], 1206);
    EXPECT_TRUE(g16[1] > 16000 && g16[1] < 16384) << g16[1];
    for (int i = 2; i < 6; ++i) {
        float fa = a16[i], fb = b16[i], fc = c16[i], fg;
        zelsWienerFilterDesign_Aurora_32f(&fa, &fb, &fc, &fg, 1);
        EXPECT_NEAR(g16[i] / 16384.0, fg, 0.03) << i;
    }
}

TEST(AuroraFilter, TapsUnfoldAndTheResidualFilterSums) {
    float s[10], t[17];
    Zel16s s16[10], t16[17];
    for (int k = 0; k < 10; ++k) s[k] = float(k + 1), s16[k] = Zel16s(k + 1);
    ASSERT_EQ(zelsTabsCalculation_Aurora_32f(s, t), zelStsNoErr);
    ASSERT_EQ(zelsTabsCalculation_Aurora_16s(s16, t16), zelStsNoErr);
    const float want[17] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 3, 4, 5, 6, 7, 8, 9, 10};
    for (int k = 0; k < 17; ++k) EXPECT_TRUE(t[k] == want[k] && t16[k] == want[k]) << k;

    zt::Buf<Zel32f> x(96), y(80), h(17);
    zt::fillUniform(x.data(), 96, -1000.0, 1000.0);
    zt::fillUniform(h.data(), 17, -1.0, 1.0);
    ASSERT_EQ(zelsResidualFilter_Aurora_32f(x.data(), y.data(), h.data()), zelStsNoErr);
    for (int i = 0; i < 80; ++i) {
        double want = 0, mag = 0;
        for (int j = 0; j < 17; ++j) want += double(x[i + j]) * h[j], mag += fabs(double(x[i + j]) * h[j]);
        EXPECT_NEAR(y[i], want, 1e-6 * mag) << i;
    }
    // 16 bits: two full-scale products wrap in their pair; rounding ties to even.
    vector<Zel16s> x16(96, 0), y16(80), h16(17, 0);
    x16[0] = x16[1] = h16[0] = h16[1] = -32768;
    x16[20] = 3, h16[16] = 1;  // output 4: 3 * 2^-1 = 1.5 -> 2
    x16[22] = 5;               // output 6: 5 / 2 = 2.5 -> 2
    ASSERT_EQ(zelsResidualFilter_Aurora_16s_Sfs(x16.data(), y16.data(), h16.data(), 1), zelStsNoErr);
    EXPECT_EQ(y16[0], -32768);  // 2^30 + 2^30 wraps to -2^31
    EXPECT_EQ(y16[4], 2);
    EXPECT_EQ(y16[6], 2);
}

TEST(AuroraChecks, PointersThenLengthAndExtremeScaleFactors) {
    float a[8] = {1, 2, 3, 4, 5, 6, 7, 8}, y[8] = {-3, -3, -3, -3, -3, -3, -3, -3};
    Zel16s s16[8] = {}, y16[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    Zel32s s32[8] = {};
    zt::expectStatuses({
        {zelsSmoothedPowerSpectrumAurora_32f(nullptr, y, 0), zelStsNullPtrErr},
        {zelsSmoothedPowerSpectrumAurora_32f(a, y, 2), zelStsSizeErr},  // lengths are multiples of 4
        {zelsSmoothedPowerSpectrumAurora_16s(s16, y16, 6), zelStsSizeErr},
        {zelsSmoothedPowerSpectrumAurora_32s_Sfs(s32, s32, -4, 0), zelStsSizeErr},
        {zelsNoiseSpectrumUpdate_Aurora_32f(a, nullptr, y, 0), zelStsNullPtrErr},
        {zelsWienerFilterDesign_Aurora_32f(a, a, nullptr, y, -1), zelStsNullPtrErr},
    });
    zt::expectUntouched(y, 8, -3.0f);
    zt::expectUntouched(y16, 8, 9);

    // Scale factors at the ends of int give defined results (the sanitizer build watches).
    vector<Zel16s> x16(96, 300), o16(96);
    vector<Zel32s> x32(96, 70000), o32(96);
    vector<Zel64s> o64(96);
    for (int sf : {INT_MIN, -2000, -130, 64, 2000, INT_MAX}) {
        EXPECT_EQ(zelsSmoothedPowerSpectrumAurora_32s_Sfs(x32.data(), o32.data(), 8, sf), zelStsNoErr);
        EXPECT_EQ(zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(x32.data(), o64.data(), 8, sf), zelStsNoErr);
        EXPECT_EQ(zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(x16.data(), x16.data(), o16.data(), 4, sf), zelStsNoErr);
        EXPECT_EQ(zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(x32.data(), x32.data(), o32.data(), 4, sf), zelStsNoErr);
        EXPECT_EQ(zelsResidualFilter_Aurora_16s_Sfs(x16.data(), o16.data(), x16.data(), sf), zelStsNoErr);
        EXPECT_EQ(o16[0], sf < 0 ? 32767 : 0);
    }
}

}  // namespace
