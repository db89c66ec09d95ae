// SPDX-License-Identifier: Apache-2.0
// Accumulators and updates: each against a double-precision reference over
// lengths that cross the vector widths, at aligned and misaligned starts;
// floors and zero or negative occupations with their statuses; the Gaussian
// constant as frame scoring consumes it; the rounding that the alignment of
// the 16-bit and 32-bit integer members selects; and the argument checks.
#include <vector>

#include "common.hpp"
#include "frame/dispatch.hpp"

namespace {

using zt::Buf;

constexpr int kLens[] = {1, 3, 4, 7, 8, 9, 15, 16, 17, 39, 64, 100};

// Relative closeness to a double reference, for results formed in single
// precision over a few roundings.
template <class T>
void expectNear(T got, double want, double rel, const char* what, int i) {
    EXPECT_NEAR(double(got), want, rel * (1.0 + std::fabs(want))) << what << " element " << i;
}
template <class T>
constexpr double tol() {
    return sizeof(T) == 4 ? 2e-6 : 1e-14;
}

// ---- Frame moments and the three updates -------------------------------------------

template <class T>
struct Api {
    static constexpr auto meanVarAcc = ZT_MEMBER(T, MeanVarAcc);
    static constexpr auto updateMean = ZT_MEMBER(T, UpdateMean);
    static constexpr auto updateVar = ZT_MEMBER(T, UpdateVar);
    static constexpr auto updateWeight = ZT_MEMBER(T, UpdateWeight);
    static constexpr auto gconst = ZT_MEMBER(T, UpdateGConst);
    static constexpr auto gconstDirect = ZT_MEMBER(T, UpdateGConst_DirectVar);
    static constexpr auto weightedSum = ZT_MEMBER(T, WeightedSum);
    static constexpr auto weightedSumHalf = ZT_MEMBER(T, WeightedSumHalf);
};

template <class T>
class Estimation : public ::testing::Test {};
using Types = ::testing::Types<Zel32f, Zel64f>;
TYPED_TEST_SUITE(Estimation, Types);

// A whole re-estimation of one Gaussian: frames accumulated around the old
// mean, then new mean and variance, against the weighted moments in double.
TYPED_TEST(Estimation, AccumulateThenUpdateGivesWeightedMoments) {
    using T = TypeParam;
    using A = Api<T>;
    for (int len : kLens)
        for (int off : {0, 1}) {
            const int frames = 40;
            Buf<T> x(size_t(frames) * len), mean(len, off), macc(len, off), vacc(len, off), var(len, off),
                floor(len, off);
            std::vector<double> w(frames), s1(len), s2(len);
            zt::fillUniform(x.data(), x.size(), -5, 5);
            zt::fillUniform(mean.data(), len, -1, 1);
            macc.fill(T(0)), vacc.fill(T(0)), floor.fill(T(1e-6));
            double occ = 0;
            for (int f = 0; f < frames; ++f) {
                w[f] = zt::uniformd(0.05, 1.0);
                occ += T(w[f]);
                ASSERT_EQ(A::meanVarAcc(x.data() + f * len, mean.data(), macc.data(), vacc.data(), len, T(w[f])),
                          zelStsNoErr);
                for (int i = 0; i < len; ++i) {
                    const double d = double(x[f * len + i]) - double(mean[i]);
                    s1[i] += double(T(w[f])) * d, s2[i] += double(T(w[f])) * d * d;
                }
            }
            for (int i = 0; i < len; ++i) {
                expectNear(macc[i], s1[i], 20 * tol<T>(), "mean accumulator", i);
                expectNear(vacc[i], s2[i], 20 * tol<T>(), "variance accumulator", i);
            }
            std::vector<T> oldMean(mean.data(), mean.data() + len);
            ASSERT_EQ(A::updateVar(macc.data(), vacc.data(), floor.data(), var.data(), len, T(occ), T(occ)),
                      zelStsNoErr);
            ASSERT_EQ(A::updateMean(macc.data(), mean.data(), len, T(occ)), zelStsNoErr);
            for (int i = 0; i < len; ++i) {
                const double m = double(macc[i]) / double(T(occ));
                expectNear(mean[i], double(oldMean[i]) + m, 4 * tol<T>(), "mean", i);
                expectNear(var[i], double(vacc[i]) / double(T(occ)) - m * m, 40 * tol<T>(), "variance", i);
            }
        }
}

// Flooring: the status tells all-floored from partly floored; a NaN is kept
// by single precision and floored by double precision.
TYPED_TEST(Estimation, FloorsAndTheirStatus) {
    using T = TypeParam;
    using A = Api<T>;
    const int len = 9;
    Buf<T> macc(len), vacc(len), floor(len), var(len), wacc(len), weight(len);
    macc.fill(T(0)), vacc.fill(T(0.5)), floor.fill(T(1)), wacc.fill(T(0.001));
    EXPECT_EQ(A::updateVar(macc.data(), vacc.data(), floor.data(), var.data(), len, T(1), T(1)), zelStsResFloor);
    zt::expectUntouched(var.data(), len, T(1));
    vacc[4] = T(3);
    EXPECT_EQ(A::updateVar(macc.data(), vacc.data(), floor.data(), var.data(), len, T(1), T(1)), zelStsNoErr);
    EXPECT_EQ(var[4], T(3));
    EXPECT_EQ(var[3], T(1));
    vacc[4] = T(NAN);
    EXPECT_EQ(A::updateVar(macc.data(), vacc.data(), floor.data(), var.data(), len, T(1), T(1)),
              sizeof(T) == 4 ? zelStsNoErr : zelStsResFloor);
    EXPECT_EQ(std::isnan(var[4]), sizeof(T) == 4);

    T sum = T(-1);
    EXPECT_EQ(A::updateWeight(wacc.data(), weight.data(), len, &sum, T(1), T(0.01)), zelStsResFloor);
    EXPECT_NEAR(double(sum), 0.09, 1e-6);
    wacc[0] = T(8);
    EXPECT_EQ(A::updateWeight(wacc.data(), weight.data(), len, &sum, T(10), T(0.01)), zelStsNoErr);
    EXPECT_EQ(weight[0], T(8) * (T(1) / T(10)));
    EXPECT_EQ(weight[1], T(0.01));
    T want = T(0);
    for (int i = 0; i < len; ++i) want += weight[i];
    EXPECT_EQ(sum, want);
}

// Occupation counts: negative is an error before zero is a warning, the
// smallest normal number counts as zero, and nothing is written for either.
TYPED_TEST(Estimation, OccupationCountsAndNothingWrittenOnError) {
    using T = TypeParam;
    using A = Api<T>;
    const int len = 5;
    Buf<T> acc(len), floor(len), out(len);
    acc.fill(T(1)), floor.fill(T(0)), out.fill(T(7));
    const T tiny = std::numeric_limits<T>::min(), sub = tiny / T(4), neg = T(-1);
    T sum = T(7);
    zt::expectStatuses({
        {A::updateMean(acc.data(), out.data(), len, sub), zelStsZeroOcc},
        {A::updateMean(acc.data(), out.data(), len, tiny), zelStsZeroOcc},
        {A::updateMean(acc.data(), out.data(), len, -sub), zelStsNegOccErr},
        {A::updateMean(acc.data(), out.data(), 0, neg), zelStsSizeErr},
        {A::updateMean(nullptr, out.data(), 0, neg), zelStsNullPtrErr},
        {A::updateVar(acc.data(), acc.data(), floor.data(), out.data(), len, T(0), neg), zelStsNegOccErr},
        {A::updateVar(acc.data(), acc.data(), floor.data(), out.data(), len, neg, T(0)), zelStsNegOccErr},
        {A::updateVar(acc.data(), acc.data(), floor.data(), out.data(), len, T(1), T(0)), zelStsZeroOcc},
        {A::updateWeight(acc.data(), out.data(), len, &sum, T(0), T(0)), zelStsZeroOcc},
        {A::updateWeight(acc.data(), out.data(), len, &sum, neg, T(0)), zelStsNegOccErr},
    });
    zt::expectUntouched(out.data(), len, T(7));
    EXPECT_EQ(sum, T(7));
    // Just above the threshold the update runs.
    EXPECT_EQ(A::updateMean(acc.data(), out.data(), len, tiny * T(2)), zelStsNoErr);
}

// ---- The Gaussian constant ------------------------------------------------------------

// G = len log 2pi + sum of log var, from inverse or plain variances, across
// chunk boundaries and with subnormal and huge elements; and val = -G / 2
// makes frame scoring the exact log density.
TYPED_TEST(Estimation, GaussianConstantMatchesLogDeterminant) {
    using T = TypeParam;
    using A = Api<T>;
    for (int len : {1, 5, 511, 512, 513, 1100}) {
        Buf<T> var(len), inv(len);
        zt::fillUniform(var.data(), len, 0.01, 50);
        if (len > 4) var[1] = std::numeric_limits<T>::denorm_min() * T(3), var[3] = std::numeric_limits<T>::max();
        double logs = 0;
        zt::fillUniform(inv.data(), len, 0.01, 50);
        for (int i = 0; i < len; ++i) logs += std::log(double(var[i]));
        double invLogs = 0;
        for (int i = 0; i < len; ++i) invLogs += std::log(double(inv[i]));
        T g = T(0), gInv = T(0);
        ASSERT_EQ(A::gconstDirect(var.data(), len, &g), zelStsNoErr);
        ASSERT_EQ(A::gconst(inv.data(), len, &gInv), zelStsNoErr);
        const double lenC = double(T(len * 1.8378770664093));
        EXPECT_NEAR(double(g), lenC + logs, (sizeof(T) == 4 ? 1e-6 : 1e-12) * (std::fabs(lenC) + std::fabs(logs)) + 1e-9);
        EXPECT_NEAR(double(gInv), lenC - invLogs,
                    (sizeof(T) == 4 ? 1e-6 : 1e-12) * (std::fabs(lenC) + std::fabs(invLogs)) + 1e-9);
    }
    // Scoring with val = -G / 2 gives log N(x; m, v) for a frame.
    const int width = 39;
    Buf<float> x(width), m(width), v(width), iv(width);
    zt::fillUniform(x.data(), width, -2, 2), zt::fillUniform(m.data(), width, -2, 2);
    zt::fillUniform(v.data(), width, 0.2, 3);
    double want = 0;
    for (int j = 0; j < width; ++j) {
        iv[j] = 1.0f / v[j];
        const double d = double(x[j]) - m[j];
        want += -0.5 * (std::log(2 * M_PI * double(v[j])) + d * d / double(v[j]));
    }
    float g, score;
    ASSERT_EQ(zelsUpdateGConst_32f(iv.data(), width, &g), zelStsNoErr);
    ASSERT_EQ(zelsLogGauss_32f_D2(x.data(), width, m.data(), iv.data(), width, &score, 1, -g / 2), zelStsNoErr);
    EXPECT_NEAR(score, want, 1e-4 * std::fabs(want));
}

TYPED_TEST(Estimation, GaussianConstantOfBadVariances) {
    using T = TypeParam;
    using A = Api<T>;
    T v[6] = {T(1), T(2), T(0), T(-1), T(3), T(4)};
    T det = T(0);
    EXPECT_EQ(A::gconst(v, 6, &det), zelStsLnZeroArg);
    EXPECT_EQ(det, T(INFINITY));
    EXPECT_EQ(A::gconstDirect(v + 3, 3, &det), zelStsLnNegArg);
    EXPECT_SAME_BITS(det, T(zt::fromBits(0xffc00000u)));  // widened in double precision
    v[0] = T(-0.0);
    EXPECT_EQ(A::gconst(v, 6, &det), zelStsLnZeroArg) << "a negative zero is a zero";
    v[0] = T(NAN);
    EXPECT_EQ(A::gconst(v, 2, &det), zelStsNoErr);
    EXPECT_TRUE(std::isnan(det));
    v[0] = T(INFINITY);
    EXPECT_EQ(A::gconstDirect(v, 2, &det), zelStsNoErr);
    EXPECT_EQ(det, T(INFINITY));
}

// ---- Weighted sums --------------------------------------------------------------------

TYPED_TEST(Estimation, WeightedSumsAndZeroWeightSum) {
    using T = TypeParam;
    using A = Api<T>;
    const int len = 13;
    Buf<T> a(len, 1), b(len), d(len);
    zt::fillUniform(a.data(), len, -9, 9), zt::fillUniform(b.data(), len, -9, 9);
    const T w1 = T(0.3), w2 = T(1.7);
    ASSERT_EQ(A::weightedSum(a.data(), b.data(), d.data(), len, w1, w2), zelStsNoErr);
    for (int i = 0; i < len; ++i)
        expectNear(d[i], (double(a[i]) * w1 + double(b[i]) * w2) / (double(w1) + w2), 4 * tol<T>(), "sum", i);
    ASSERT_EQ(A::weightedSumHalf(a.data(), b.data(), d.data(), len, w1, w2), zelStsNoErr);
    for (int i = 0; i < len; ++i) expectNear(d[i], (double(a[i]) + double(b[i]) * w2) / (double(w1) + w2), 4 * tol<T>(), "half", i);

    T x[3] = {T(1), T(2), T(-3)}, y[3] = {T(1), T(5), T(-3)};
    EXPECT_EQ(A::weightedSum(x, y, d.data(), 3, T(1), T(-1)), zelStsDivByZero);
    EXPECT_SAME_BITS(d[0], T(zt::fromBits(0xffc00000u)));
    EXPECT_EQ(d[1], T(-INFINITY));
    EXPECT_TRUE(std::isnan(d[2]));
    EXPECT_EQ(A::weightedSumHalf(x, y, d.data(), 3, T(-2), T(2)), zelStsDivByZero);
    EXPECT_EQ(d[1], T(INFINITY));
}

// ---- Single-precision-only members --------------------------------------------------

// The 16-bit weighted sum rounds on its vector path (len >= 8, aligned) and
// truncates on the scalar one.
TEST(EstimationFixed, WeightedSum16sRoundingFollowsThePath) {
    Buf<Zel16s> a(16), b(16), d(16), u(17, 1);
    a.fill(1), b.fill(2);
    ASSERT_EQ(zelsWeightedSum_16s(a.data(), b.data(), d.data(), 16, 0.5f, 0.5f), zelStsNoErr);
    zt::expectUntouched(d.data(), 16, 2);  // 1.5 to even
    ASSERT_EQ(zelsWeightedSum_16s(a.data(), b.data(), d.data(), 7, 0.5f, 0.5f), zelStsNoErr);
    zt::expectUntouched(d.data(), 7, 1);  // short: truncated
    ASSERT_EQ(zelsWeightedSum_16s(a.data(), b.data(), u.data(), 16, 0.5f, 0.5f), zelStsNoErr);
    zt::expectUntouched(u.data(), 16, 1);  // misaligned: truncated
    a.fill(30000), b.fill(30000);
    ASSERT_EQ(zelsWeightedSumHalf_16s(a.data(), b.data(), d.data(), 16, 0.5f, 0.5f), zelStsNoErr);
    zt::expectUntouched(d.data(), 16, 32767);  // 30000 + 30000 * 0.5 saturates
    a[0] = 5, b[0] = -5, a[1] = -1, b[1] = -1, a[2] = 3, b[2] = 3;
    ASSERT_EQ(zelsWeightedSum_16s(a.data(), b.data(), d.data(), 3, 2.0f, -2.0f), zelStsDivByZero);
    EXPECT_EQ(d[0], 32767);
    EXPECT_EQ(d[1], 0);
    EXPECT_EQ(d[2], 0);
}

TEST(EstimationFixed, NewVarForms) {
    const int len = 19;
    Buf<float> m(len), v(len), d(len);
    zt::fillUniform(m.data(), len, -3, 3), zt::fillUniform(v.data(), len, 5, 30);
    const float a = 0.9f, b = 1.25f;
    ASSERT_EQ(zelsNewVar_32f(m.data(), v.data(), d.data(), len, a, b), zelStsNoErr);
    for (int i = 0; i < len; ++i) {
        const float m2 = m[i] * m[i];
        EXPECT_SAME_BITS(d[i], float((double(v[i]) - double(m2) * a) * b));
    }
    ASSERT_EQ(zelsNewVar_32f_I(m.data(), v.data(), len, a, b), zelStsNoErr);
    for (int i = 0; i < len; ++i) EXPECT_NEAR(v[i], d[i], 4e-6 * std::fabs(d[i]));

    // 32-bit integers: (10 - 2 * 2 * 1) * 0.25 = 1.5 rounds to 2 when aligned,
    // truncates to 1 otherwise; a scale factor of -1 doubles first.
    Buf<Zel32s> mi(8), vi(8), di(8), ui(9, 1);
    mi.fill(2), vi.fill(10);
    ASSERT_EQ(zelsNewVar_32s_Sfs(mi.data(), vi.data(), di.data(), 8, 1.0f, 0.25f, 0), zelStsNoErr);
    zt::expectUntouched(di.data(), 8, 2);
    ASSERT_EQ(zelsNewVar_32s_Sfs(mi.data(), vi.data(), ui.data(), 8, 1.0f, 0.25f, 0), zelStsNoErr);
    zt::expectUntouched(ui.data(), 8, 1);
    ASSERT_EQ(zelsNewVar_32s_ISfs(mi.data(), vi.data(), 8, 1.0f, 1e30f, -1), zelStsNoErr);
    zt::expectUntouched(vi.data(), 8, 2147483647);
}

TEST(EstimationFixed, ScaleLM) {
    const float src[4] = {-5, 0.5f, 3, NAN};
    float d[4];
    ASSERT_EQ(zelsScaleLM_32f(src, d, 4, -1.0f, 2.0f, 10.0f), zelStsNoErr);
    EXPECT_EQ(d[0], 8.0f);
    EXPECT_EQ(d[1], 11.0f);
    EXPECT_EQ(d[2], 16.0f);
    EXPECT_EQ(d[3], 8.0f);
    const Zel16s s16[3] = {-30000, 32767, 100};
    Zel32s d32[3];
    ASSERT_EQ(zelsScaleLM_16s32s(s16, d32, 3, -100, 32767, 2147483647), zelStsNoErr);
    EXPECT_EQ(d32[0], int32_t(uint32_t(-100 * 32767) + 2147483647u));
    EXPECT_EQ(d32[1], int32_t(uint32_t(32767 * 32767) + 2147483647u)) << "wraps";
    EXPECT_EQ(zelsScaleLM_16s32s(s16, nullptr, 3, 0, 1, 0), zelStsNullPtrErr);
}

// ---- Column sums -------------------------------------------------------------------------

TEST(EstimationColumns, SumMeanVarAgainstDoubleSums) {
    for (int width : {1, 5, 8, 70})
        for (int height : {1, 3, 9}) {
            const int step = width + 3;
            Buf<float> x(size_t(step) * height), s(width), q(width);
            Buf<Zel16s> x16(size_t(step) * height);
            Buf<Zel32s> s32(width), q32(width);
            zt::fillUniform(x.data(), x.size(), -4, 4), zt::fillUniform(x16.data(), x16.size(), -300, 300);
            ASSERT_EQ(zelsSumMeanVar_32f(x.data(), step, height, s.data(), q.data(), width), zelStsNoErr);
            ASSERT_EQ(zelsSumMeanVar_32f_I(x.data(), step, height, s.data(), q.data(), width), zelStsNoErr);
            for (int j = 0; j < width; ++j) {  // twice the sums: the in-place form adds
                double a = 0, b = 0;
                for (int y = 0; y < height; ++y) a += x[y * step + j], b += double(x[y * step + j]) * x[y * step + j];
                EXPECT_NEAR(s[j], 2 * a, 1e-5 * (1 + std::fabs(a)) * height);
                EXPECT_NEAR(q[j], 2 * b, 1e-6 * (1 + b) * height);
            }
            // 16-bit sums are exact in single precision here; scale factor 1 halves and rounds to even.
            ASSERT_EQ(zelsSumMeanVar_16s32s_Sfs(x16.data(), step, height, s32.data(), q32.data(), width, 1), zelStsNoErr);
            for (int j = 0; j < width; ++j) {
                int64_t a = 0, b = 0;
                for (int y = 0; y < height; ++y) a += x16[y * step + j], b += x16[y * step + j] * x16[y * step + j];
                EXPECT_EQ(s32[j], int32_t(std::nearbyint(double(a) / 2)));
                EXPECT_EQ(q32[j], int32_t(std::nearbyint(double(b) / 2)));
            }
        }
    float s[2];
    zt::expectStatuses({
        {zelsSumMeanVar_32f(nullptr, 1, 1, s, s, 2), zelStsStrideErr},
        {zelsSumMeanVar_32f(nullptr, 2, 1, s, s, 2), zelStsNullPtrErr},
        {zelsSumMeanVar_16s32s_Sfs(nullptr, 0, 1, nullptr, nullptr, 1, 0), zelStsStrideErr},
    });
}

// ---- Covariance -------------------------------------------------------------------------------

template <class S>
void covarianceCase(int width, int height, double val) {
    const int step = width + 1, dstStep = width + 2;
    Buf<S> x(size_t(step) * height), m(width);
    Buf<double> dst(size_t(dstStep) * width), dstL(size_t(width) * width);
    zt::fillUniform(x.data(), x.size(), -100, 100), zt::fillUniform(m.data(), width, -50, 50);
    for (int i = 0; i < width; ++i)
        for (int j = 0; j < width; ++j) dst[i * dstStep + j] = dstL[i * width + j] = j <= i ? 1.0 : -99.0;
    std::vector<const S*> rows(height);
    std::vector<double*> dRows(width);
    for (int y = 0; y < height; ++y) rows[y] = x.data() + y * step;
    for (int i = 0; i < width; ++i) dRows[i] = dstL.data() + i * width;
    ZelStatus s, sL;
    if constexpr (std::is_same_v<S, float>) {
        s = zelsAccCovarianceMatrix_32f64f_D2(x.data(), step, height, m.data(), dst.data(), width, dstStep, val);
        sL = zelsAccCovarianceMatrix_32f64f_D2L(rows.data(), height, m.data(), dRows.data(), width, val);
    } else {
        s = zelsAccCovarianceMatrix_16s64f_D2(x.data(), step, height, m.data(), dst.data(), width, dstStep, val);
        sL = zelsAccCovarianceMatrix_16s64f_D2L(rows.data(), height, m.data(), dRows.data(), width, val);
    }
    ASSERT_EQ(s, zelStsNoErr);
    ASSERT_EQ(sL, zelStsNoErr);
    for (int i = 0; i < width; ++i)
        for (int j = 0; j < width; ++j) {
            const int lo = std::max(i, j), hi = std::min(i, j);
            double want = 1;
            for (int y = 0; y < height; ++y) {
                const double di = double(S(x[y * step + lo] - m[lo])), dj = double(S(x[y * step + hi] - m[hi]));
                want += di * dj;
            }
            want *= val;
            const double got = dst[i * dstStep + j];
            EXPECT_NEAR(got, want, 1e-12 * height * 1e4) << i << "," << j;
            EXPECT_SAME_BITS(got, dstL[i * width + j]);
            EXPECT_SAME_BITS(got, dst[j * dstStep + i]);
        }
}

// On every instruction set this processor has (the digest test holds them
// to the same bits).
TEST(EstimationCovariance, LowerTriangleScaledAndMirrored) {
    for (zel::Isa isa : {zel::Isa::kBaseline, zel::Isa::kAvx2}) {
        const zel::Isa previous = zel::setMaxIsaForTesting(isa);
        for (int width : {1, 2, 5, 39})
            for (int height : {1, 3, 4, 9}) {
                covarianceCase<float>(width, height, 1.0);
                covarianceCase<Zel16s>(width, height, 0.25);
            }
        covarianceCase<float>(515, 5, 0.5);  // differences beyond the local scratch
        zel::setMaxIsaForTesting(previous);
    }
}

TEST(EstimationCovariance, ChecksAndSecondCallRescales) {
    float x[4] = {1, 2, 3, 4}, m[2] = {0, 0};
    double d[4] = {0, 0, 0, 0};
    ASSERT_EQ(zelsAccCovarianceMatrix_32f64f_D2(x, 2, 2, m, d, 2, 2, 2.0), zelStsNoErr);
    EXPECT_EQ(d[1], 2 * (1 * 2 + 3 * 4));
    ASSERT_EQ(zelsAccCovarianceMatrix_32f64f_D2(x, 2, 1, m, d, 2, 2, 2.0), zelStsNoErr);
    EXPECT_EQ(d[3], 2 * (2 * (4 + 16) + 4)) << "earlier sums scaled again";
    double sentinel[4] = {5, 5, 5, 5};
    zt::expectStatuses({
        {zelsAccCovarianceMatrix_32f64f_D2(x, 1, 2, m, sentinel, 2, 2, 1.0), zelStsStrideErr},
        {zelsAccCovarianceMatrix_32f64f_D2(x, 2, 2, m, sentinel, 2, 1, 1.0), zelStsStrideErr},
        {zelsAccCovarianceMatrix_32f64f_D2(nullptr, 1, 2, m, sentinel, 2, 2, 1.0), zelStsNullPtrErr},
        {zelsAccCovarianceMatrix_32f64f_D2(x, 1, 0, m, sentinel, 2, 2, 1.0), zelStsSizeErr},
    });
    zt::expectUntouched(sentinel, 4, 5.0);
}

}  // namespace
