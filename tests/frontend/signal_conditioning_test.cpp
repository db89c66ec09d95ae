// SPDX-License-Identifier: Apache-2.0
// Signal conditioning against double-precision references, over lengths around
// the vector width, in place and out of place, with the family's statuses.
#include <cmath>
#include <vector>

#include "common.hpp"

namespace {

using zt::Buf;

// Units in the last place between a single and an exact value.
double ulps(float got, double want) {
    const double ulp = std::ldexp(1.0, std::ilogb(std::fabs(want) > 1e-37 ? want : 1e-37) - 23);
    return std::fabs(double(got) - want) / ulp;
}

TEST(CompensateOffset, RecursionAcrossCallsAndInPlace) {
    const int len = 37;
    std::vector<float> x(len), whole(len), parts(len);
    zt::fillUniform(x.data(), len, -1000, 1000);
    const float val = 0.97f;
    float prev = 3.0f, prevWhole = 3.0f;
    ASSERT_EQ(zelsCompensateOffset_32f(x.data(), whole.data(), len, &prevWhole, 5.0f, val), zelStsNoErr);
    EXPECT_EQ(prevWhole, x[len - 1]);
    // The same stream in three calls: the caller carries dst0 = last output.
    float dst0 = 5.0f;
    for (int at : {0, 10, 11}) {
        const int n = at == 0 ? 10 : (at == 10 ? 1 : len - 11);
        ASSERT_EQ(zelsCompensateOffset_32f(x.data() + at, parts.data() + at, n, &prev, dst0, val), zelStsNoErr);
        dst0 = parts[at + n - 1];
    }
    // The first sample of a call adds in its own order, so the stream in parts
    // agrees with one call to rounding, not to the bit: to a few units in the
    // last place of the inputs (up to 1000), whatever the size of the output.
    for (int i = 0; i < len; ++i) EXPECT_NEAR(parts[i], whole[i], 5e-4) << i;
    // Against the recursion in double.
    double y = 5.0, last = 3.0;
    for (int i = 0; i < len; ++i) {
        y = x[i] - last + val * y;
        last = x[i];
        EXPECT_NEAR(whole[i], y, 1e-3) << i;
    }
    float p2 = 3.0f;
    ASSERT_EQ(zelsCompensateOffset_32f_I(x.data(), len, &p2, 5.0f, val), zelStsNoErr);
    for (int i = 0; i < len; ++i) EXPECT_SAME_BITS(x[i], whole[i]);
}

TEST(CompensateOffset, SixteenBitForms) {
    const int len = 200;
    std::vector<Zel16s> x(len), y(len), yi(len);
    zt::fillUniform(x.data(), len, -32768, 32767);
    // Q15: exact integer recursion, negative results rounding toward zero.
    Zel16s prev = 100, prevRef = 100;
    const Zel16s q = 31785;
    ASSERT_EQ(zelsCompensateOffsetQ15_16s(x.data(), y.data(), len, &prev, -7, q), zelStsNoErr);
    long long out = -7;
    for (int i = 0; i < len; ++i) {
        const long long prod = out * q, e = ((long long)(x[i] - prevRef) << 15) + prod;
        long long r = (long long)std::floor(double(e) / 32768.0);
        if (e < 0 && prod % 32768 != 0) r += 1;
        out = r > 32767 ? 32767 : (r < -32768 ? -32768 : r);
        prevRef = x[i];
        ASSERT_EQ(y[i], out) << i;
    }
    EXPECT_EQ(prev, x[len - 1]);
    yi = x;
    prev = 100;
    ASSERT_EQ(zelsCompensateOffsetQ15_16s_I(yi.data(), len, &prev, -7, q), zelStsNoErr);
    EXPECT_EQ(yi, y);
    // 16s with a float factor, where nothing saturates: the float form to rounding.
    zt::fillUniform(x.data(), len, -8000, 8000);
    std::vector<float> xf(x.begin(), x.end()), yf(len);
    float pf = 100;
    Zel16s p16 = 100;
    ASSERT_EQ(zelsCompensateOffset_16s(x.data(), y.data(), len, &p16, 0, 0.5f), zelStsNoErr);
    ASSERT_EQ(zelsCompensateOffset_32f(xf.data(), yf.data(), len, &pf, 0, 0.5f), zelStsNoErr);
    for (int i = 0; i < len; ++i) EXPECT_NEAR(y[i], std::fmax(-32768.f, std::fmin(32767.f, yf[i])), 2.0) << i;
}

TEST(CompensateOffset, SixteenBitFormWithExtremeFactors) {
    // A factor beyond the Q12 range saturates instead of overflowing the
    // recursion; the outputs are then the rails, whatever the factor's size.
    std::vector<Zel16s> x(16, 1000), y(16), ref(16);
    Zel16s p = 0;
    ASSERT_EQ(zelsCompensateOffset_16s(x.data(), ref.data(), 16, &p, 1, 1e6f), zelStsNoErr);
    for (float val : {3.0e38f, INFINITY}) {
        p = 0;
        ASSERT_EQ(zelsCompensateOffset_16s(x.data(), y.data(), 16, &p, 1, val), zelStsNoErr);
        EXPECT_EQ(y, ref);
    }
    for (float val : {-INFINITY, NAN}) {
        p = 0;
        ASSERT_EQ(zelsCompensateOffset_16s(x.data(), y.data(), 16, &p, 1, val), zelStsNoErr);
        for (int i = 1; i < 16; ++i) EXPECT_TRUE(y[i] == 32767 || y[i] == -32768) << i;
    }
}

TEST(ZeroMean, ShortAndLongPathsDifferAsDocumented) {
    // Mean 0 exactly: t = 2x. Short vectors move odd t away from zero and
    // negative even ones one lower; long ones shift plainly.
    std::vector<Zel16s> shortV = {-1, 1, -2, 2}, longV(65, 0);
    ASSERT_EQ(zelsZeroMean_16s(shortV.data(), 4), zelStsNoErr);
    EXPECT_EQ(shortV, (std::vector<Zel16s>{-2, 1, -3, 2}));
    longV[0] = -2, longV[1] = 2;
    ASSERT_EQ(zelsZeroMean_16s(longV.data(), 65), zelStsNoErr);
    EXPECT_EQ(longV[0], -2);
    EXPECT_EQ(longV[1], 2);
    std::vector<Zel16s> v(300);
    zt::fillUniform(v.data(), v.size(), -1000, 3000);
    std::vector<Zel16s> orig = v;
    ASSERT_EQ(zelsZeroMean_16s(v.data(), 300), zelStsNoErr);
    double mean = 0;
    for (Zel16s s : orig) mean += s;
    mean /= 300;
    for (int i = 0; i < 300; ++i) EXPECT_NEAR(v[i], orig[i] - mean, 1.0);
    zt::expectStatuses({{zelsZeroMean_16s(nullptr, 0), zelStsSizeErr}, {zelsZeroMean_16s(nullptr, 3), zelStsNullPtrErr}});
}

TEST(NormEnergy, AgainstDoubleAndStridedEqualsContiguous) {
    for (int len : {1, 3, 4, 7, 8, 9, 17, 64, 101}) {
        std::vector<float> e(len), strided(2 * len, -99.0f);
        zt::fillUniform(e.data(), len, -20, 40);
        for (int i = 0; i < len; ++i) strided[2 * i] = e[i];
        const std::vector<float> orig = e;
        ASSERT_EQ(zelsNormEnergy_32f(e.data(), 1, len, 50.0f, 0.1f), zelStsNoErr);
        ASSERT_EQ(zelsNormEnergy_32f(strided.data(), 2, len, 50.0f, 0.1f), zelStsNoErr);
        double mx = -1e300;
        for (float v : orig) mx = std::max(mx, double(v));
        const double floorE = mx - 50.0 * 0.230259;
        for (int i = 0; i < len; ++i) {
            EXPECT_NEAR(e[i], 1 - (mx - std::max(double(orig[i]), floorE)) * 0.1, 2e-6) << len << "/" << i;
            EXPECT_SAME_BITS(strided[2 * i], e[i]);
            EXPECT_EQ(strided[2 * i + 1], -99.0f);
        }
        if (len == 1) {
            EXPECT_EQ(e[0], 1.0f);
        }
    }
    // Real time: the caller's maximum, a frame at a time.
    float frame[3] = {1, 2, 3};
    ASSERT_EQ(zelsNormEnergy_RT_32f(frame, 1, 3, 10.0f, 5.0f, 0.5f), zelStsNoErr);
    EXPECT_NEAR(frame[2], 1 - (5 - 3) * 0.5, 1e-6);
    Zel16s f16[3] = {10, 20, 30};
    ASSERT_EQ(zelsNormEnergy_16s(f16, 1, 3, 100, 16384), zelStsNoErr);
    EXPECT_EQ(f16[2], 32767);                                     // 1.0 saturates in Q15
    EXPECT_EQ(f16[0], -32768);                                    // 1 - 20 * 0.5 saturates below
    zt::expectStatuses({{zelsNormEnergy_32f(frame, 0, 3, 1, 1), zelStsSizeErr},
                        {zelsNormEnergy_32f(nullptr, 0, 0, 1, 1), zelStsNullPtrErr},
                        {zelsNormEnergy_RT_16s(f16, 1, 0, 1, 1, 1), zelStsSizeErr}});
}

TEST(SignChangeRate, CountsAroundTheVectorWidth) {
    for (int len = 1; len <= 21; ++len) {
        Buf<float> x(len, 1);
        std::vector<Zel16s> s(len);
        for (int i = 0; i < len; ++i) {
            x[i] = zt::uniform(-1, 1);
            if (i % 5 == 3) x[i] = 0.0f;
            s[i] = Zel16s(x[i] * 1000);
        }
        int plain = 0, plain16 = 0, halves = 0;
        for (int n = 1; n < len; ++n) {
            plain += double(x[n]) * x[n - 1] < 0;
            plain16 += s[n] * s[n - 1] < 0;
            halves += std::abs((x[n] > 0) - (x[n] < 0) - ((x[n - 1] > 0) - (x[n - 1] < 0)));
        }
        float r = -1, r0 = -1;
        Zel32s r16 = -1;
        ASSERT_EQ(zelsSignChangeRate_32f(x.data(), len, &r), zelStsNoErr);
        ASSERT_EQ(zelsSignChangeRate_Count0_32f(x.data(), len, &r0), zelStsNoErr);
        ASSERT_EQ(zelsSignChangeRate_16s(s.data(), len, &r16), zelStsNoErr);
        EXPECT_EQ(r, plain) << len;
        EXPECT_EQ(r0, halves >> 1) << len;
        EXPECT_EQ(r16, plain16) << len;
    }
    // A product that underflows is no change; Xor sees signed zeros.
    const float tiny[2] = {1e-30f, -1e-30f}, zeros[3] = {0.0f, -0.0f, 0.0f};
    float r = -1;
    ASSERT_EQ(zelsSignChangeRate_32f(tiny, 2, &r), zelStsNoErr);
    EXPECT_EQ(r, 0.0f);
    ASSERT_EQ(zelsSignChangeRateXor_32f(zeros, 3, &r), zelStsNoErr);
    EXPECT_EQ(r, 2.0f);
    const Zel16s steps[4] = {5, 0, -5, 7};  // two halves, then one whole
    Zel32s c = -1;
    ASSERT_EQ(zelsSignChangeRate_Count0_16s(steps, 4, &c), zelStsNoErr);
    EXPECT_EQ(c, 2);
}

double want16(double v) { return v < 0 ? 0 : v < 1 ? v * v : v < 2 ? 2 - (2 - v) * (2 - v) : 2; }

TEST(UnitCurveAndPadding, BranchesAndFixedPoint) {
    const float in[8] = {-1.0f, 0.5f, 1.0f, 1.5f, 2.0f, 3.0f, NAN, 0.0f};
    float out[8];
    ASSERT_EQ(zelsUnitCurve_32f(in, out, 8), zelStsNoErr);
    const float want[8] = {0, 0.25f, 1, 1.75f, 2, 2, 2, 0};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], want[i]) << i;
    // q = 8: the float curve at x / 256, brought back to q fractional bits.
    std::vector<Zel16s> x(600), y(600);
    for (int i = 0; i < 600; ++i) x[i] = Zel16s(i - 50);
    ASSERT_EQ(zelsUnitCurve_16s_Sfs(x.data(), 8, y.data(), 600, -8), zelStsNoErr);
    for (int i = 0; i < 600; ++i)
        EXPECT_NEAR(y[i], 256.0 * want16(x[i] / 256.0), 1.0) << i;
    ASSERT_EQ(zelsUnitCurve_16s_ISfs(x.data(), 15, 600, 0), zelStsNoErr);  // q out of range clears
    for (Zel16s v : x) ASSERT_EQ(v, 0);

    Buf<float> dst(9);
    dst.fill(7);
    ASSERT_EQ(zelsCopyWithPadding_32f(in, 5, dst.data(), 9), zelStsNoErr);
    EXPECT_EQ(dst[3], 1.5f);
    EXPECT_EQ(dst[8], 0.0f);
    dst.fill(7);
    EXPECT_EQ(zelsCopyWithPadding_32f(in, 5, dst.data(), 4), zelStsSizeErr);
    zt::expectUntouched(dst.data(), 9, 7.0f);
}

TEST(ElementaryFunctions, RecSqrtSinCExpNegSqr) {
    for (int len = 1; len <= 19; ++len) {
        Buf<float> x(len, len % 2), r(len), sc(len), g(len);
        zt::fillUniform(x.data(), len, -12, 12);
        x[0] = len == 7 ? 0.0f : x[0];
        for (int i = 0; i < len; ++i) r[i] = std::fabs(x[i]) + 0.5f;
        const std::vector<float> rin(r.data(), r.data() + len);
        bool allBelow = true;
        for (float v : rin) allBelow = allBelow && v < 1.0f;
        ASSERT_EQ(zelsRecSqrt_32f(r.data(), len, 1.0f), allBelow ? zelStsSingularity : zelStsNoErr);
        ASSERT_EQ(zelsSinC_32f(x.data(), sc.data(), len), zelStsNoErr);
        ASSERT_EQ(zelsExpNegSqr_32f(x.data(), g.data(), len), zelStsNoErr);
        for (int i = 0; i < len; ++i) {
            if (rin[i] >= 1.0f) EXPECT_NEAR(r[i], 1 / std::sqrt(double(rin[i])), 2e-7);
            else EXPECT_EQ(r[i], 1.0f);
            const double xi = x[i];
            EXPECT_LE(ulps(sc[i], xi == 0 ? 1.0 : std::sin(xi) / xi), 0.5 + 1e-9) << xi;
            const float sq = x[i] * x[i];
            EXPECT_LE(ulps(g[i], std::exp(-double(sq))), 1.0) << xi;
        }
    }
    // Underflowing and special values of the Gaussian curve, in place.
    float sp[6] = {9.5f, 10.0f, 13.2f, INFINITY, NAN, -0.0f};
    ASSERT_EQ(zelsExpNegSqr_32f_I(sp, 6), zelStsNoErr);
    EXPECT_EQ(sp[0], float(std::exp(-double(9.5f * 9.5f))));
    EXPECT_EQ(sp[3], 0.0f);
    EXPECT_TRUE(std::isnan(sp[4]));
    EXPECT_EQ(sp[5], 1.0f);
    double d[2] = {0.0, 2.0}, dd[2];
    ASSERT_EQ(zelsSinC_64f(d, dd, 2), zelStsNoErr);
    EXPECT_EQ(dd[0], 1.0);
    EXPECT_EQ(dd[1], std::sin(2.0) / 2.0);
    // All below val: zelStsSingularity with val written; a bad val writes nothing.
    float low[5] = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f};
    EXPECT_EQ(zelsRecSqrt_32f(low, 5, 2.0f), zelStsSingularity);
    EXPECT_EQ(low[4], 2.0f);
    EXPECT_EQ(zelsRecSqrt_32f(low, 5, 0.0f), zelStsBadArgErr);
    EXPECT_EQ(zelsRecSqrt_32f(low, 5, NAN), zelStsBadArgErr);
    Zel32s xi[3] = {4, 1, 100};
    Zel16s yi[3];
    ASSERT_EQ(zelsRecSqrt_32s16s_Sfs(xi, yi, 3, 2, -10), zelStsNoErr);
    EXPECT_EQ(yi[0], 512);  // 1/2 in Q10
    EXPECT_EQ(yi[1], 2);    // below val
    EXPECT_EQ(yi[2], 102);  // 0.1 * 1024, rounded
}

TEST(NormalizeInRange, FloatAndIntegerResults) {
    const int len = 23;
    std::vector<float> x(len), y(len);
    zt::fillUniform(x.data(), len, -5, 15);
    x[3] = -5.0f, x[9] = 15.0f;
    ASSERT_EQ(zelsNormalizeInRange_32f(x.data(), y.data(), len, 0.1f, 0.9f, 255.0f), zelStsNoErr);
    std::vector<Zel8u> y8(len);
    ASSERT_EQ(zelsNormalizeInRangeMinMax_32f8u(x.data(), y8.data(), len, -5, 15, 0.1f, 0.9f, 255.0f), zelStsNoErr);
    for (int i = 0; i < len; ++i) {
        const double lo = -5 + 2.0, hi = -5 + 18.0;
        const double want = std::max(std::min(double(x[i]), hi) - lo, 0.0) * 255.0 / 16.0;
        EXPECT_NEAR(y[i], want, 1e-4) << i;
        EXPECT_NEAR(y8[i], want, 0.5 + 1e-4) << i;
    }
    std::vector<Zel16s> s = {100, 100, 100};
    EXPECT_EQ(zelsNormalizeInRange_16s_I(s.data(), 3, 0.0f, 1.0f, 1000.0f), zelStsSingularity);
    EXPECT_EQ(s, (std::vector<Zel16s>{0, 0, 0}));
    std::fill(y.begin(), y.end(), 7.0f);
    zt::expectStatuses({{zelsNormalizeInRange_32f(x.data(), y.data(), len, 0.5f, 0.5f, 1), zelStsBadArgErr},
                        {zelsNormalizeInRange_32f(x.data(), y.data(), len, -0.1f, 0.5f, 1), zelStsBadArgErr},
                        {zelsNormalizeInRange_32f(x.data(), y.data(), len, 0.1f, 1.5f, 1), zelStsBadArgErr},
                        {zelsNormalizeInRange_32f(x.data(), y.data(), len, 0.1f, 0.5f, NAN), zelStsBadArgErr},
                        {zelsNormalizeInRangeMinMax_32f(x.data(), y.data(), len, 2, 1, 0.1f, 0.5f, 1), zelStsBadArgErr},
                        {zelsNormalizeInRange_32f(x.data(), nullptr, 0, 0.1f, 0.5f, 1), zelStsNullPtrErr}});
    zt::expectUntouched(y.data(), len, 7.0f);
}

TEST(Entropy, BitsOfADistributionAndNegativeElements) {
    const float p[5] = {0.5f, 0.25f, 0.125f, 0.125f, 0.0f};
    float h = 0;
    ASSERT_EQ(zelsEntropy_32f(p, 5, &h), zelStsNoErr);
    EXPECT_NEAR(h, -1.75, 1e-6);
    const Zel16s q[4] = {128, 64, 32, 32};  // the same distribution in Q8
    Zel32s hq = 0;
    ASSERT_EQ(zelsEntropy_16s32s_Sfs(q, 8, 4, &hq, -10), zelStsNoErr);
    EXPECT_EQ(hq, -1791);  // -1.75 in Q10 is -1792; the rounded divisor leaves it just above, truncated
    const float neg[3] = {0.5f, -0.1f, 0.6f};
    ASSERT_EQ(zelsEntropy_32f(neg, 3, &h), zelStsLnNegArg);
    EXPECT_EQ(zt::bits(h), 0xffc00000u);
    const Zel16s neg16[2] = {3, -1};
    hq = 77;
    EXPECT_EQ(zelsEntropy_16s32s_Sfs(neg16, 0, 2, &hq, 0), zelStsLnNegArg);
    EXPECT_EQ(hq, 77);
}

TEST(SignalConditioning, CheckOrders) {
    Zel16s v[4] = {1, 2, 3, 4}, out[4] = {9, 9, 9, 9}, prev = 0;
    float f[4] = {1, 2, 3, 4}, pf = 0;
    zt::expectStatuses({
        {zelsCompensateOffset_32f(f, nullptr, 0, &pf, 0, 1), zelStsNullPtrErr},
        {zelsCompensateOffset_32f(f, f, 0, &pf, 0, 1), zelStsSizeErr},
        {zelsCompensateOffsetQ15_16s(v, out, 65536, &prev, 0, 1), zelStsSizeErr},
        {zelsCompensateOffsetQ15_16s(v, out, 4, &prev, 0, -1), zelStsBadArgErr},
        {zelsCompensateOffsetQ15_16s(v, nullptr, 65536, &prev, 0, -1), zelStsNullPtrErr},
        {zelsSignChangeRate_16s(v, -1, nullptr), zelStsNullPtrErr},
        {zelsSinC_32f(f, f, INT32_MIN), zelStsSizeErr},
        {zelsUnitCurve_16s_Sfs(v, 3, out, 0, 0), zelStsSizeErr},
    });
    zt::expectUntouched(out, 4, 9);
    EXPECT_EQ(prev, 0);
}

}  // namespace
