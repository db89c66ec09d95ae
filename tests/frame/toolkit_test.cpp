// SPDX-License-Identifier: Apache-2.0
// The toolkit's conversions, reductions and element-wise kernels.
#include <fenv.h>
#include <omp.h>

#include "common.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"

using namespace zt;

namespace {

const int kModes[] = {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO};

// Reference roundings, written out in double.
long long refRound(double v, int rnd) {
    if (rnd == 0) return (long long)std::trunc(v);
    if (rnd == 1) {
        double f = std::floor(v), d = v - f;
        return (long long)((d > 0.5 || (d == 0.5 && std::fmod(f, 2.0) != 0.0)) ? f + 1 : f);
    }
    return (long long)std::trunc(v + (v < 0 ? -0.5 : 0.5));
}

}  // namespace

TEST(Convert, EveryRuleInEveryCallerModeAndTheModeRestored) {
    // Halves, near-halves, negatives, and lengths that reach the vector body and its tail.
    std::vector<float> src = {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, -2.5f, 0.49999997f, -0.49999997f, 3.7f, -3.7f, 7.0f, 0.0f, -0.0f};
    for (int i = 0; i < 40; ++i) src.push_back(uniform(-1000.0f, 1000.0f));
    const int n = int(src.size());
    // The expected values are formed at round-to-nearest: the conversions hold that mode
    // whatever the caller's is.
    auto expected = [&](int rnd, int sf, int i) {
        float scaled = src[i] * std::ldexp(1.0f, -sf);
        return rnd == 2 || rnd == 7 ? (long long)std::trunc(scaled + (scaled < 0 ? -0.5f : 0.5f)) : refRound(scaled, rnd);
    };
    for (int mode : kModes) {
        for (int rnd : {0, 1, 2, 7}) {
            for (int sf : {0, 1, -2}) {
                std::vector<long long> want(n), wantWide(n);
                for (int i = 0; i < n; ++i) {
                    want[i] = expected(rnd, sf, i);
                    wantWide[i] = refRound(double(src[i]) * std::ldexp(1.0, -sf), rnd == 7 ? 2 : rnd);
                }
                std::vector<Zel32s> d32(n), w32(n);
                std::vector<Zel16s> d16(n);
                std::vector<double> wide(src.begin(), src.end());
                ASSERT_EQ(fesetround(mode), 0);
                ASSERT_EQ(ownConvert_32f32s_Sfs(src.data(), d32.data(), n, rnd, sf), zelStsNoErr);
                ASSERT_EQ(ownConvert_32f16s_Sfs(src.data(), d16.data(), n, rnd, sf), zelStsNoErr);
                ASSERT_EQ(ownConvert_64f32s_Sfs(wide.data(), w32.data(), n, rnd, sf), zelStsNoErr);
                EXPECT_EQ(fegetround(), mode);
                fesetround(FE_TONEAREST);
                for (int i = 0; i < n; ++i) {
                    EXPECT_EQ(d32[i], want[i]) << "x=" << src[i] << " rnd=" << rnd << " sf=" << sf << " mode=" << mode;
                    EXPECT_EQ(d16[i], std::clamp<long long>(want[i], -32768, 32767));
                    EXPECT_EQ(w32[i], wantWide[i]);
                }
            }
        }
    }
    fesetround(FE_TONEAREST);
}

TEST(Convert, SaturationAndScaleClamps) {
    const float big[] = {2147483520.0f, 2147483648.0f, 3e9f, -2147483648.0f, -3e9f, INFINITY, -INFINITY, NAN, 5.0f};
    Zel32s d[9];
    for (int rnd : {0, 1, 2}) {
        ASSERT_EQ(ownConvert_32f32s_Sfs(big, d, 9, rnd, 0), zelStsNoErr);
        // NaN gives the most negative value, as the processor's conversion does.
        EXPECT_EQ(std::vector<Zel32s>(d, d + 8), (std::vector<Zel32s>{2147483520, INT32_MAX, INT32_MAX, INT32_MIN,
                                                                      INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN}));
    }
    const double wide[] = {2147483647.4, 2147483647.5, -2147483648.6, 1e300};
    Zel32s w[4];
    ASSERT_EQ(ownConvert_64f32s_Sfs(wide, w, 4, 1, 0), zelStsNoErr);
    EXPECT_EQ(std::vector<Zel32s>(w, w + 4), (std::vector<Zel32s>{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MAX}));

    // 2^-s is clamped to s in -128..150 (single) and -1024..1087 (double).
    EXPECT_EQ(ownScaleValue_32f(200), ownScaleValue_32f(150));
    EXPECT_EQ(ownScaleValue_32f(150), 0.0f);  // 2^-150 is half the smallest denormal, ties to zero
    EXPECT_EQ(ownScaleValue_32f(149), std::ldexp(1.0f, -149));
    EXPECT_TRUE(std::isinf(ownScaleValue_32f(-128)));
    EXPECT_EQ(ownScaleValue_32f(-127), std::ldexp(1.0f, 127));
    EXPECT_EQ(ownScaleValue_32f(-500), ownScaleValue_32f(-128));
    EXPECT_EQ(ownScaleValue_64f(2000), 0.0);
    EXPECT_EQ(ownScaleValue_64f(1074), std::ldexp(1.0, -1074));
    EXPECT_TRUE(std::isinf(ownScaleValue_64f(-5000)));
    const Zel16s s16[] = {3, -32768};
    Zel32f f[2];
    ASSERT_EQ(ownConvert_16s32f_Sfs(s16, f, 2, 200), zelStsNoErr);
    EXPECT_EQ(f[0], 0.0f);
    ASSERT_EQ(ownConvert_16s32f_Sfs(s16, f, 2, 2), zelStsNoErr);
    EXPECT_EQ(std::vector<Zel32f>(f, f + 2), (std::vector<Zel32f>{0.75f, -8192.0f}));
}

TEST(Convert, FixedPointRules) {
    using namespace zel;
    // Halves to even, shifts toward minus infinity, saturation at both widths.
    const std::pair<int64_t, int64_t> cases[] = {
        {nearSat32(2.5f, 0), 2},        {nearSat32(3.5f, 0), 4},     {nearSat32(5.0f, 1), 2},
        {nearSat32(3e9f, 0), INT32_MAX}, {nearSat16(-40000.0f, 0), -32768}, {truncSat32(-7.9, 0), -7},
        {truncSat16(1e6, 0), 32767},    {shiftSat32(-7, 1), -4},     {shiftSat32(3, -2), 12},
        {shiftSat32(int64_t(1) << 40, 0), INT32_MAX}, {shiftSat16(-100000, 0), -32768}};
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].first, cases[i].second) << "case " << i;
}

TEST(Mul16s, RoundingAndSaturationAcrossScaleFactors) {
    const Zel16s a[] = {3, -3, 5, 32767, -32768, -32768, 100, 1, 0};
    const Zel16s b[] = {1, 1, 1, 32767, -32768, 32767, -100, 1, 9};
    const int n = 9;
    for (int sf : {-20, -16, -15, -3, 0, 1, 2, 15, 30, 31}) {
        Zel16s d[n];
        ASSERT_EQ(ownMul_16s_Sfs(a, b, d, n, sf), zelStsNoErr);
        for (int i = 0; i < n; ++i) {
            long double p = (long double)a[i] * b[i] * std::ldexp(1.0L, -sf);
            long double f = std::floor(p), r = p - f;
            long double q = (r > 0.5L || (r == 0.5L && std::fmod(f, 2.0L) != 0)) ? f + 1 : f;
            long long want = sf > 30 ? 0 : std::clamp<long long>((long long)q, -32768, 32767);
            EXPECT_EQ(d[i], want) << a[i] << "*" << b[i] << " sf=" << sf;
        }
    }
}

TEST(Reductions, SumsDotsAndExtremes) {
    for (int len : {1, 3, 4, 5, 17, 64}) {
        Buf<Zel32f> x(len, 1), y(len, 3);
        fillUniform(x.data(), len, -10, 10);
        fillUniform(y.data(), len, -10, 10);
        long double sum = 0, dot = 0;
        for (int i = 0; i < len; ++i) {
            sum += x[i];
            dot += (long double)x[i] * y[i];
        }
        Zel32f fast, acc, dp;
        Zel64f dpw;
        ASSERT_EQ(ownSum_32f(x.data(), len, &fast, 1), zelStsNoErr);
        ASSERT_EQ(ownSum_32f(x.data(), len, &acc, 2), zelStsNoErr);
        ASSERT_EQ(ownDotProd_32f(x.data(), y.data(), len, &dp), zelStsNoErr);
        ASSERT_EQ(ownDotProd_32f64f(x.data(), y.data(), len, &dpw), zelStsNoErr);
        EXPECT_EQ(acc, (float)sum);  // singles summed in double are exact at these lengths
        EXPECT_NEAR(fast, (double)sum, 1e-4 * len);
        EXPECT_NEAR(dp, (double)dot, 1e-3 * len);
        EXPECT_NEAR(dpw, (double)dot, 1e-9 * len);
    }
    const Zel32f v[] = {1, 5, -2, 5, -2, 3};
    Zel32f m;
    int k = -1;
    ASSERT_EQ(ownMaxIndx_32f(v, 6, &m, &k), zelStsNoErr);
    EXPECT_EQ(std::pair(m, k), std::pair(5.0f, 1));  // the first of equal values
    ASSERT_EQ(ownMinIndx_32f(v, 6, &m, &k), zelStsNoErr);
    EXPECT_EQ(std::pair(m, k), std::pair(-2.0f, 2));
    EXPECT_EQ(ownMaxIndx_32f(v, 6, &m, nullptr), zelStsNoErr);

    const Zel16s s[] = {32767, 32767, 32767, -5};
    Zel32s sum;
    ASSERT_EQ(ownSum_16s32s_Sfs(s, 4, &sum, 1), zelStsNoErr);
    EXPECT_EQ(sum, 49148);  // 98296 / 2
    ASSERT_EQ(ownSum_16s32s_Sfs(s, 4, &sum, -20), zelStsNoErr);
    EXPECT_EQ(sum, 2147483647);
    Zel64s dp64;
    ASSERT_EQ(ownDotProd_16s64s(s, s, 4, &dp64), zelStsNoErr);
    EXPECT_EQ(dp64, 3LL * 32767 * 32767 + 25);
}

TEST(Threaded, SplitResultsEqualSerialWarningsIncluded) {
    omp_set_num_threads(2);
    // Lengths on both sides of each threshold, odd so that the last thread takes a remainder;
    // the only zero divisor / negative root sits in the last element, which only the second thread sees.
    for (int len : {1023, 1025, 4095, 4097, 9001}) {
        std::vector<float> a(len), b(len), d(len);
        std::vector<double> a64(len), b64(len), d64(len), r64(len);
        for (int i = 0; i < len; ++i) {
            a[i] = uniform(-5, 5);
            b[i] = uniform(0.5f, 5);
            a64[i] = a[i];
            b64[i] = b[i];
            r64[i] = uniformd(0, 100);
        }
        b[len - 1] = 0;
        b64[len - 1] = 0;
        r64[len - 1] = -1;
        std::vector<double> sq = r64;
        EXPECT_EQ(ownDiv_32f(a.data(), b.data(), d.data(), len), zelStsDivByZero);
        EXPECT_EQ(ownDiv_64f(a64.data(), b64.data(), d64.data(), len), zelStsDivByZero);
        EXPECT_EQ(ownSqrt_64f_I(sq.data(), len), zelStsSqrtNegArg);
        for (int i = 0; i < len; ++i) {
            EXPECT_SAME_BITS(d[i], a[i] / b[i]);
            EXPECT_SAME_BITS(d64[i], a64[i] / b64[i]);
            EXPECT_SAME_BITS(sq[i], std::sqrt(r64[i]));
        }
        b[len - 1] = 1;
        EXPECT_EQ(ownDiv_32f(a.data(), b.data(), d.data(), len), zelStsNoErr);

        // Magnitudes: the split gives what the calling thread gives on each piece.
        std::vector<Zel32f> c(2 * len), mag(len), one(1);
        std::vector<Zel32s> ci(2 * len), magi(len), onei(1);
        for (int i = 0; i < 2 * len; ++i) {
            c[i] = uniform(-100, 100);
            ci[i] = uniformi(-100000, 100000);
        }
        ASSERT_EQ(ownMagnitude_32fc(c.data(), mag.data(), len), zelStsNoErr);
        ASSERT_EQ(ownMagnitude_32sc_Sfs(ci.data(), magi.data(), len, 2), zelStsNoErr);
        for (int i = 0; i < len; i += 97) {
            ASSERT_EQ(ownMagnitude_32fc(&c[2 * i], one.data(), 1), zelStsNoErr);
            EXPECT_SAME_BITS(mag[i], one[0]);
            ASSERT_EQ(ownMagnitude_32sc_Sfs(&ci[2 * i], onei.data(), 1, 2), zelStsNoErr);
            EXPECT_EQ(magi[i], onei[0]);
        }
    }
}

TEST(Magnitude, EstimateWithNewtonStepIsCloseAndTinyValuesExact) {
    std::vector<Zel32f> c, m(6);
    c = {3, 4, 1e-20f, 0, 0, 0, 1e-19f, 1e-19f, -5, 12, 1e18f, 1e18f};
    ASSERT_EQ(ownMagnitude_32fc(c.data(), m.data(), 6), zelStsNoErr);
    for (int i = 0; i < 6; ++i) {
        float x = c[2 * i] * c[2 * i] + c[2 * i + 1] * c[2 * i + 1];
        double want = std::sqrt(double(x));
        EXPECT_NEAR(m[i], want, want * 2e-6) << i;
    }
    EXPECT_EQ(m[1], std::sqrt(1e-20f * 1e-20f));  // x below the smallest normal: exact root
    const Zel32s ci[] = {3, 4, 0, 0, -2147483647, 0};
    Zel32s mi[3];
    // Saturation, a shift past every bit, and 2.5 to even.
    for (auto [sf, want] : {std::pair{-31, std::vector<Zel32s>{INT32_MAX, 0, INT32_MAX}}, {33, {0, 0, 0}},
                            {1, {2, 0, 1073741824}}}) {
        ASSERT_EQ(ownMagnitude_32sc_Sfs(ci, mi, 3, sf), zelStsNoErr);
        EXPECT_EQ(std::vector<Zel32s>(mi, mi + 3), want) << sf;
    }
}

TEST(ElementWise, ConstantsLogarithmsAndMinimum) {
    double v[] = {1, NAN, -3};
    ASSERT_EQ(ownMulC_64f_I(0.0, v, 3), zelStsNoErr);
    EXPECT_EQ(v[1], 0.0);  // a zero constant clears, NaN included
    EXPECT_EQ(ownDivC_64f_I(0.0, v, 3), zelStsDivByZeroErr);
    float f[] = {NAN, 2};
    ASSERT_EQ(ownMulC_32f_I(1.0f, f, 2), zelStsNoErr);
    EXPECT_TRUE(std::isnan(f[0]));
    const float ln[] = {1, 0, 2};
    float out[3];
    EXPECT_EQ(ownLn_32f(ln, out, 3), zelStsLnZeroArg);
    EXPECT_EQ(out[1], -INFINITY);
    const float lnNeg[] = {0, -1};
    EXPECT_EQ(ownLn_32f(lnNeg, out, 2), zelStsLnNegArg);
    EXPECT_EQ(bits(out[1]), 0xffc00000u);
    float a[] = {1, 5, 3, 8, 0, -1}, b[] = {2, 4, 3, 9, 1, -2};
    ASSERT_EQ(ownMinEvery_32f_I(a, b, 6), zelStsNoErr);
    EXPECT_EQ(std::vector<float>(b, b + 6), (std::vector<float>{1, 4, 3, 8, 0, -2}));
}

TEST(BadInput, StatusesAndOutputsUntouched) {
    float f[4] = {7, 7, 7, 7};
    Zel32s d[4] = {7, 7, 7, 7};
    expectStatuses({{ownConvert_32f32s_Sfs(nullptr, d, 4, 1, 0), zelStsNullPtrErr},
                    {ownConvert_32f32s_Sfs(f, d, 0, 1, 0), zelStsSizeErr},
                    {ownSum_32f(f, -1, f, 1), zelStsSizeErr},
                    {ownDiv_32f(f, nullptr, f, 4), zelStsNullPtrErr},
                    {ownSet_32f(1.0f, f, 0), zelStsSizeErr},
                    {ownDivC_64f_I(0.0, nullptr, 4), zelStsNullPtrErr}});
    expectUntouched(f, 4, 7);
    expectUntouched(d, 4, 7);
    EXPECT_EQ(ownMalloc_32f(0), nullptr);
    EXPECT_EQ(ownMalloc_64f(-3), nullptr);
}
