// SPDX-License-Identifier: Apache-2.0
// Split, merge and distance of diagonal Gaussians against their closed
// forms: split then merge gives back the mean and the variance widened by
// the split's spread, the merge constant and the merge cost on both of their
// paths, the Bhattacharyya distance in all four forms, the cluster
// likelihood from accumulated statistics; and the statuses of degenerate
// input and of bad arguments.
#include <vector>

#include "common.hpp"

namespace {

using zt::Buf;

constexpr double kC = 1.8378770664093;

template <class T>
struct Api {
    static constexpr auto split = ZT_MEMBER(T, GaussianSplit);
    static constexpr auto merge = ZT_MEMBER(T, GaussianMerge);
    static constexpr auto dist = ZT_MEMBER(T, GaussianDist);
    static constexpr auto acc = ZT_MEMBER(T, DcsClustLAccumulate);
    static constexpr auto accDirect = ZT_MEMBER(T, DcsClustLAccumulate_DirectVar);
    // The merge cost's element path below this length, its chunked path from it on.
    static constexpr int directBelow = sizeof(T) == 4 ? 13 : 11;
};

template <class T>
class GaussPair : public ::testing::Test {};
using Types = ::testing::Types<Zel32f, Zel64f>;
TYPED_TEST_SUITE(GaussPair, Types);

template <class T>
constexpr double rel() {
    return sizeof(T) == 4 ? 2e-6 : 1e-13;
}

TYPED_TEST(GaussPair, SplitThenMergeRestoresTheGaussian) {
    using T = TypeParam;
    using A = Api<T>;
    for (int len : {1, 4, 7, 39})
        for (int off : {0, 1})
            for (T val : {T(0), T(0.2), T(1)}) {
                Buf<T> m1(len, off), v1(len, off), m2(len), v2(len), mm(len), vm(len);
                zt::fillUniform(m1.data(), len, -5, 5), zt::fillUniform(v1.data(), len, 0.1, 4);
                const std::vector<T> m0(m1.data(), m1.data() + len);
                ASSERT_EQ(A::split(m1.data(), v1.data(), m2.data(), v2.data(), len, val), zelStsNoErr);
                for (int i = 0; i < len; ++i) {
                    EXPECT_EQ(v2[i], v1[i]);
                    const double e = double(val) * std::sqrt(double(v1[i]));
                    EXPECT_NEAR(m1[i], m0[i] + e, rel<T>() * 10);
                    EXPECT_NEAR(m2[i], m0[i] - e, rel<T>() * 10);
                    if (val == T(0)) {
                        EXPECT_EQ(m1[i], m2[i]);
                    }
                }
                T det;
                ASSERT_EQ(A::merge(m1.data(), v1.data(), m2.data(), v2.data(), mm.data(), vm.data(), len, &det, T(3),
                                   T(3)),
                          zelStsNoErr);
                double logs = 0;
                for (int i = 0; i < len; ++i) {
                    EXPECT_NEAR(mm[i], m0[i], rel<T>() * 20);
                    const double want = double(v1[i]) * (1 + double(val) * val);
                    EXPECT_NEAR(vm[i], want, rel<T>() * 100 * want);
                    logs += std::log(double(vm[i]));
                }
                EXPECT_NEAR(det, len * kC - logs, rel<T>() * 100 * len);
            }
}

// The merge cost on its element path and on its chunked path against
// s * (len c - L) subtracted from the weighted constants, with L from the
// merged variances.
TYPED_TEST(GaussPair, DistanceIsTheMergeCost) {
    using T = TypeParam;
    using A = Api<T>;
    for (int len : {1, A::directBelow - 1, A::directBelow, 40}) {
        Buf<T> m1(len), v1(len), m2(len), v2(len), mm(len), vm(len);
        zt::fillUniform(m1.data(), len, -2, 2), zt::fillUniform(m2.data(), len, -2, 2);
        zt::fillUniform(v1.data(), len, 0.2, 3), zt::fillUniform(v2.data(), len, 0.2, 3);
        const T w1 = T(12.5), w2 = T(40), d1 = T(-7.5), d2 = T(3.25);
        double logs = 0;
        for (int i = 0; i < len; ++i) {
            const double s = double(w1) + w2, m = (w1 * double(m1[i]) + w2 * double(m2[i])) / s;
            logs += std::log((w1 * (double(m1[i]) * m1[i] + v1[i]) + w2 * (double(m2[i]) * m2[i] + v2[i])) / s - m * m);
        }
        T r;
        ASSERT_EQ(A::dist(m1.data(), v1.data(), m2.data(), v2.data(), len, &r, w1, d1, w2, d2), zelStsNoErr);
        const double want = double(w1) * d1 + double(w2) * d2 - (double(w1) + w2) * (len * kC - logs);
        EXPECT_NEAR(r, want, rel<T>() * 10 * std::fabs(want));
        // A zero and a negative merged variance on either path.
        v1[0] = v2[0] = T(0), m1[0] = m2[0] = T(0);
        EXPECT_EQ(A::dist(m1.data(), v1.data(), m2.data(), v2.data(), len, &r, w1, d1, w2, d2), zelStsLnZeroArg);
        EXPECT_EQ(r, T(INFINITY));
        v1[0] = v2[0] = T(-1);
        EXPECT_EQ(A::dist(m1.data(), v1.data(), m2.data(), v2.data(), len, &r, w1, d1, w2, d2), zelStsLnNegArg);
        EXPECT_TRUE(std::isnan(r) && std::signbit(r));
    }
}

TYPED_TEST(GaussPair, MergeOfPointMassesAndArgumentOrder) {
    using T = TypeParam;
    using A = Api<T>;
    T m[3] = {T(1), T(2), T(3)}, v0[3] = {T(1), T(0), T(1)}, dm[3], dv[3], det = T(9);
    std::fill(dm, dm + 3, T(7));
    std::fill(dv, dv + 3, T(7));
    EXPECT_EQ(A::merge(m, v0, m, v0, dm, dv, 3, &det, T(1), T(1)), zelStsLnZeroArg);
    EXPECT_EQ(det, T(INFINITY));
    EXPECT_EQ(dv[1], T(0));
    // Single precision stops at the bad element; double writes every one.
    EXPECT_EQ(dv[2], sizeof(T) == 4 ? T(7) : T(1));
    T x[2] = {T(1), T(1)};
    zt::expectStatuses({
        {A::merge(nullptr, x, x, x, x, x, 0, &det, T(1), T(1)), zelStsSizeErr},
        {A::dist(nullptr, x, x, x, 0, &det, T(1), T(1), T(1), T(1)), zelStsSizeErr},
        {A::split(nullptr, x, x, x, 0, T(1)), sizeof(T) == 4 ? zelStsSizeErr : zelStsNullPtrErr},
    });
    EXPECT_EQ(x[0], T(1));
}

// Statistics of one Gaussian of occupation n give back
// -n / 2 (sum of log v + len (1 + log 2 pi)); the plain form reads inverse
// variances.
TYPED_TEST(GaussPair, ClusterLikelihoodOfAccumulatedStatistics) {
    using T = TypeParam;
    using A = Api<T>;
    const int len = 13;
    Buf<T> m(len), v(len), iv(len), sum(len), sqr(len), sumI(len), sqrI(len);
    zt::fillUniform(m.data(), len, -1, 1), zt::fillUniform(v.data(), len, 0.5, 2);
    for (int i = 0; i < len; ++i) iv[i] = T(1) / v[i];
    const T occ = T(250);
    ASSERT_EQ(A::accDirect(m.data(), v.data(), sum.data(), sqr.data(), len, occ), zelStsNoErr);
    ASSERT_EQ(A::acc(m.data(), iv.data(), sumI.data(), sqrI.data(), len, occ), zelStsNoErr);
    double logs = 0;
    for (int i = 0; i < len; ++i) {
        EXPECT_SAME_BITS(sum[i], T(m[i] * occ));
        EXPECT_SAME_BITS(sqr[i], T((m[i] * m[i] + v[i]) * occ));
        EXPECT_SAME_BITS(sqrI[i], T((T(1) / iv[i] + m[i] * m[i]) * occ));
        logs += std::log(double(v[i]));
    }
    const double want = -0.5 * occ * (logs + len * (1 + 1.8378770664093456));
    double r;
    if constexpr (sizeof(T) == 8) {
        ASSERT_EQ(zelsDcsClustLCompute_64f(sum.data(), sqr.data(), len, &r, occ), zelStsNoErr);
    } else {
        ASSERT_EQ(zelsDcsClustLCompute_32f64f(sum.data(), sqr.data(), len, &r, occ), zelStsNoErr);
    }
    EXPECT_NEAR(r, want, (sizeof(T) == 4 ? 1e-4 : 1e-9) * std::fabs(want));
}

TEST(ClusterLikelihood, DegenerateStatistics) {
    double sum[3] = {1, 2, 3}, sqr[3] = {1, 4, 1}, r = 0;  // t: 0, 0, -6 at occ 1
    EXPECT_EQ(zelsDcsClustLCompute_64f(sum, sqr, 3, &r, 0.0), zelStsZeroOcc);
    EXPECT_EQ(r, -1e10);
    EXPECT_EQ(zelsDcsClustLCompute_64f(sum, sqr, 3, &r, 1.0), zelStsLnNegArg);
    EXPECT_SAME_BITS(r, zt::fromBits(0xffc00000u) * 1.0);
    EXPECT_EQ(zelsDcsClustLCompute_64f(sum, sqr, 2, &r, 1.0), zelStsLnZeroArg);
    EXPECT_EQ(r, -INFINITY);
    r = 5;
    zt::expectStatuses({
        {zelsDcsClustLCompute_64f(sum, sqr, 3, &r, -1.0), zelStsNegOccErr},
        {zelsDcsClustLCompute_64f(sum, sqr, 0, &r, -1.0), zelStsSizeErr},
        {zelsDcsClustLCompute_32f64f(nullptr, nullptr, 0, &r, -1.0f), zelStsNullPtrErr},
    });
    EXPECT_EQ(r, 5);
}

// ---- Bhattacharyya -----------------------------------------------------------------------

double bhatReference(const float* m1, const float* v1, const float* m2, const float* v2, int len) {
    double r = 0;
    for (int i = 0; i < len; ++i) {
        const double d = double(m1[i]) - m2[i], s = double(v1[i]) + v2[i];
        r += d * d / (4 * s) + 0.5 * std::log(s / 2) - 0.25 * std::log(double(v1[i]) * v2[i]);
    }
    return r;
}

TEST(Bhattacharyya, AllFormsAgainstTheClosedForm) {
    for (int len : {1, 3, 4, 5, 8, 39, 1030}) {
        Buf<float> m1(len), v1(len), m2(len), v2(len);
        zt::fillUniform(m1.data(), len, 0.5, 3), zt::fillUniform(m2.data(), len, 0.5, 3);
        zt::fillUniform(v1.data(), len, 0.1, 4), zt::fillUniform(v2.data(), len, 0.1, 4);
        float sl1 = 0, sl2 = 0;
        for (int i = 0; i < len; ++i) sl1 += std::log(v1[i]), sl2 += std::log(v2[i]);
        const double want = bhatReference(m1.data(), v1.data(), m2.data(), v2.data(), len);
        // The cut constants put len * 1.8e-7 between the forms and the exact value.
        const double cut = 2e-7 * len;
        float r32, rs32;
        double r64, rs64;
        ASSERT_EQ(zelsBhatDist_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, &r32), zelStsNoErr);
        ASSERT_EQ(zelsBhatDist_32f64f(m1.data(), v1.data(), m2.data(), v2.data(), len, &r64), zelStsNoErr);
        ASSERT_EQ(zelsBhatDistSLog_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, &rs32, sl1, sl2), zelStsNoErr);
        ASSERT_EQ(zelsBhatDistSLog_32f64f(m1.data(), v1.data(), m2.data(), v2.data(), len, &rs64, sl1, sl2),
                  zelStsNoErr);
        EXPECT_NEAR(r64, want, cut + 1e-12 * len);
        EXPECT_NEAR(rs64, want, cut + 1e-5 * len);          // the caller's single-precision log sums
        EXPECT_NEAR(rs32, want, cut + 1e-5 * len);
        EXPECT_NEAR(r32, want, cut + 2e-3 * len);           // two 12-bit reciprocal estimates
    }
    // Equal Gaussians: near, not necessarily at, zero.
    float m[5] = {1, 2, 3, 4, 5}, v[5] = {0.5f, 1, 2, 3, 7}, r;
    ASSERT_EQ(zelsBhatDist_32f(m, v, m, v, 5, &r), zelStsNoErr);
    EXPECT_NEAR(r, 0.0f, 5e-3f);
}

TEST(Bhattacharyya, NonPositiveValuesAndChecks) {
    float m[6] = {1, 1, 1, 1, 1, 1}, v[6] = {1, 1, 1, 1, 1, 1}, n[6] = {1, 1, 1, 1, 1, -2}, z[6] = {1, 1, 1, 1, 0, 1};
    float r = 0;
    double r64 = 0;
    EXPECT_EQ(zelsBhatDist_32f(n, v, m, v, 6, &r), zelStsLnNegArg) << "a negative mean ends the call";
    EXPECT_SAME_BITS(r, zt::fromBits(0xffc00000u));
    EXPECT_EQ(zelsBhatDistSLog_32f64f(m, v, m, z, 6, &r64, 0, 0), zelStsLnZeroArg);
    EXPECT_EQ(r64, INFINITY);
    // The first group holding a value at or below zero decides.
    float zn[6] = {1, 0, 1, 1, -1, 1};
    EXPECT_EQ(zelsBhatDist_32f64f(zn, v, m, v, 6, &r64), zelStsLnZeroArg);
    float nz[6] = {1, 1, 1, 1, 0, 1};
    nz[2] = -1;
    EXPECT_EQ(zelsBhatDistSLog_32f(m, nz, m, v, 6, &r, 0, 0), zelStsLnNegArg);
    r = 3;
    zt::expectStatuses({
        {zelsBhatDist_32f(m, v, m, nullptr, 0, &r), zelStsNullPtrErr},
    });
    EXPECT_EQ(r, 3);
}

// NaN statistics terminate and give NaN results without a status.
TEST(GaussNaN, NaNStatisticsGiveNaNResults) {
    float m[16], v[16], r = 0;
    std::fill(m, m + 16, 1.0f), std::fill(v, v + 16, 1.0f);
    v[12] = NAN;
    double d = 0, sum[2] = {1, NAN}, sqr[2] = {2, 2};
    EXPECT_EQ(zelsBhatDist_32f(m, v, m, v, 16, &r), zelStsNoErr);
    EXPECT_TRUE(std::isnan(r));
    EXPECT_EQ(zelsBhatDistSLog_32f64f(m, v, m, v, 16, &d, 0, 0), zelStsNoErr);
    EXPECT_TRUE(std::isnan(d));
    for (int len : {5, 16}) {
        r = 0;
        EXPECT_EQ(zelsGaussianDist_32f(m, v + 16 - len, m, v, len, &r, 1, 0, 1, 0), zelStsNoErr);
        EXPECT_TRUE(std::isnan(r)) << len;
    }
    EXPECT_EQ(zelsDcsClustLCompute_64f(sum, sqr, 2, &d, 3.0), zelStsNoErr);
    EXPECT_TRUE(std::isnan(d));
}

}  // namespace
