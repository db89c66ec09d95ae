// SPDX-License-Identifier: Apache-2.0
// Row and column kernels against plain references: column statistics and
// vector-matrix products bit for bit against the row-by-row loop; row sums
// and matrix-vector products bit for bit against the eight-lane order and
// within a rounding bound of the exact sum; exact integer products with the
// shift rule and saturation; in-place updates, gathers, rank selection and
// the decomposition's column operations. Sizes sweep the vector widths and
// their tails, in both layouts with unaligned rows and poisoned padding.
#include <algorithm>
#include <atomic>
#include <functional>
#include <numeric>

#include "matrix_test.hpp"

namespace alloc {
extern std::atomic<bool> fail;
}

namespace {

using mt::Mat;
using mt::expectSame;

const int kWidths[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 23, 31, 32, 33, 40, 50, 61};
const int kHeights[] = {1, 2, 3, 4, 5, 9};

// ---- References ------------------------------------------------------------------------------------

// Sequential sums down every column: s = sum of (w[i] *) x, q = sum of that times x.
template <class A, class T>
void columnRef(const Mat<T>& m, const A* w, std::vector<A>& s, std::vector<A>& q) {
    s.assign(m.w, A(0));
    q.assign(m.w, A(0));
    for (int j = 0; j < m.w; ++j)
        for (int i = 0; i < m.h; ++i) {
            const A x = A(m.at(i, j));
            const A t = w ? A(w[i] * x) : x;
            s[j] = s[j] + t;
            q[j] = q[j] + A(t * x);
        }
}

// The row order of the library: 2n lanes over the whole groups of n, folded pairwise, then the tail.
template <class A, class T>
A rowRef(const T* x, const T* v, int width) {
    constexpr int n = sizeof(A) == 4 ? 4 : 2;
    A acc[2 * n] = {};
    int j = 0;
    for (; j + n <= width; j += n)
        for (int k = 0; k < n; ++k) acc[j % (2 * n) + k] += v ? A(A(x[j + k]) * A(v[j + k])) : A(x[j + k]);
    A t[n];
    for (int k = 0; k < n; ++k) t[k] = acc[k] + acc[k + n];
    A r = n == 4 ? (t[0] + t[1]) + (t[2] + t[3]) : t[0] + t[1];
    for (; j < width; ++j) r += v ? A(A(x[j]) * A(v[j])) : A(x[j]);
    return r;
}

// Runs a member's D2 and D2L calls, each into its own output, and compares both with want.
template <class D, class F2, class FL>
void layouts(const std::vector<D>& want, const char* what, F2 d2, FL d2l) {
    std::vector<D> a(want.size(), D(-7)), b(want.size(), D(-7));
    EXPECT_EQ(d2(a.data()), zelStsNoErr) << what;
    EXPECT_EQ(d2l(b.data()), zelStsNoErr) << what;
    expectSame(a.data(), want.data(), want.size(), what);
    expectSame(b.data(), want.data(), want.size(), what);
}
#define D2_AND_D2L(T, d2call, d2lcall) [&](T* o) { return d2call; }, [&](T* o) { return d2lcall; }

// ---- Column statistics -----------------------------------------------------------------------------

// One member's sums in both layouts; the 16-bit member also by the near rule, scaled.
template <class T, class A, class D, class F2, class FL>
void checkColumnSums(int h, int w, size_t off, const char* what, F2 d2, FL d2l) {
    Mat<T> m(h, w, 3, off);
    m.random(-1000, 1000);
    std::vector<A> s, q;
    columnRef<A>(m, static_cast<const A*>(nullptr), s, q);
    layouts(s, what, D2_AND_D2L(D, d2(m.cp(), h, m.step, o, w), d2l(m.ct(), h, o, w)));
    if constexpr (std::is_same_v<T, Zel16s>)
        for (int sf : {-1, 3}) {
            std::vector<Zel32s> want(w);
            for (int j = 0; j < w; ++j) want[j] = mt::nearRef32(s[j], sf);
            layouts(want, "SumColumn_16s32s", D2_AND_D2L(Zel32s, zelsSumColumn_16s32s_D2Sfs(m.cp(), h, m.step, o, w, sf),
                                                          zelsSumColumn_16s32s_D2LSfs(m.ct(), h, o, w, sf)));
        }
}

TEST(ColumnKernels, SumsMatchTheRowByRowLoop) {
    for (int h : kHeights)
        for (int w : kWidths)
            for (size_t off : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "h=" << h << " w=" << w << " off=" << off);
                checkColumnSums<float, float, float>(h, w, off, "SumColumn_32f", zelsSumColumn_32f_D2, zelsSumColumn_32f_D2L);
                checkColumnSums<double, double, double>(h, w, off, "SumColumn_64f", zelsSumColumn_64f_D2,
                                                        zelsSumColumn_64f_D2L);
                checkColumnSums<Zel16s, float, float>(h, w, off, "SumColumn_16s32f", zelsSumColumn_16s32f_D2,
                                                      zelsSumColumn_16s32f_D2L);
            }
}

TEST(ColumnKernels, MeansVariancesAndProductsMatchTheRowByRowLoop) {
    for (int h : {2, 3, 8})
        for (int w : kWidths) {
            SCOPED_TRACE(testing::Message() << "h=" << h << " w=" << w);
            Mat<float> m(h, w);
            m.random(-10, 10);
            std::vector<float> s, q, ws, wq, wgt(h);
            zt::fillUniform(wgt.data(), h, 0.0, 1.0);
            columnRef<float>(m, static_cast<const float*>(nullptr), s, q);
            columnRef<float>(m, wgt.data(), ws, wq);
            const float inv = float(1.0 / h), rinv = float(1.0 / (h - 1));
            std::vector<float> mean(w), var(w), mean0(w), var0(w), wvar(w), wvar0(w), added(w);
            for (int j = 0; j < w; ++j) {
                mean[j] = s[j] * inv;
                mean0[j] = float(j) - 1.5f;  // an arbitrary given mean
                var[j] = (q[j] + float(-h) * (mean[j] * mean[j])) * rinv;
                var0[j] = (q[j] + float(-h) * (mean0[j] * mean0[j])) * rinv;
                wvar[j] = wq[j] - ws[j] * ws[j];
                wvar0[j] = wq[j] - mean0[j] * mean0[j];
                added[j] = float(j) + s[j];
            }
            const float* m0 = mean0.data();
            const float* pw = wgt.data();
            layouts(mean, "MeanColumn", D2_AND_D2L(float, zelsMeanColumn_32f_D2(m.cp(), h, m.step, o, w),
                                                   zelsMeanColumn_32f_D2L(m.ct(), h, o, w)));
            layouts(var0, "VarColumn", D2_AND_D2L(float, zelsVarColumn_32f_D2(m.cp(), h, m.step, m0, o, w),
                                                  zelsVarColumn_32f_D2L(m.ct(), h, m0, o, w)));
            std::vector<float> mv(w);
            layouts(var, "MeanVarColumn", D2_AND_D2L(float, zelsMeanVarColumn_32f_D2(m.cp(), h, m.step, mv.data(), o, w),
                                                     zelsMeanVarColumn_32f_D2L(m.ct(), h, mv.data(), o, w)));
            expectSame(mv.data(), mean.data(), w, "MeanVarColumn mean");
            // Weighted statistics and the vector-matrix product share the weighted column sum.
            layouts(ws, "WeightedMeanColumn", D2_AND_D2L(float, zelsWeightedMeanColumn_32f_D2(m.cp(), m.step, pw, h, o, w),
                                                         zelsWeightedMeanColumn_32f_D2L(m.ct(), pw, h, o, w)));
            layouts(ws, "VecMatMul", D2_AND_D2L(float, zelsVecMatMul_32f_D2(pw, m.cp(), m.step, h, o, w),
                                                zelsVecMatMul_32f_D2L(pw, m.ct(), h, o, w)));
            layouts(wvar0, "WeightedVarColumn",
                    D2_AND_D2L(float, zelsWeightedVarColumn_32f_D2(m.cp(), m.step, pw, h, m0, o, w),
                               zelsWeightedVarColumn_32f_D2L(m.ct(), pw, h, m0, o, w)));
            layouts(wvar, "WeightedMeanVarColumn",
                    D2_AND_D2L(float, zelsWeightedMeanVarColumn_32f_D2(m.cp(), m.step, pw, h, mv.data(), o, w),
                               zelsWeightedMeanVarColumn_32f_D2L(m.ct(), pw, h, mv.data(), o, w)));
            expectSame(mv.data(), ws.data(), w, "WeightedMeanVarColumn mean");
            // AddAllRowSum adds the finished column sum to what the output holds.
            layouts(added, "AddAllRowSum", D2_AND_D2L(float, (std::iota(o, o + w, 0.0f), zelsAddAllRowSum_32f_D2(m.cp(), m.step, h, o, w)),
                                                      (std::iota(o, o + w, 0.0f), zelsAddAllRowSum_32f_D2L(m.ct(), h, o, w))));
        }
}

TEST(ColumnKernels, DoubleWeightsAreNotNormalised) {
    for (int w : kWidths) {
        Mat<double> m(6, w);
        m.random(-5, 5);
        std::vector<double> wgt(6, 2.0 / 6), s, q, mean(w);
        columnRef<double>(m, wgt.data(), s, q);
        for (int j = 0; j < w; ++j) q[j] -= s[j] * s[j];
        layouts(q, "WeightedMeanVarColumn_64f",
                D2_AND_D2L(double, zelsWeightedMeanVarColumn_64f_D2(m.cp(), m.step, wgt.data(), 6, mean.data(), o, w),
                           zelsWeightedVarColumn_64f_D2L(m.ct(), wgt.data(), 6, s.data(), o, w)));
        // Weights summing to 2 give twice the mean.
        for (int j = 0; j < w; ++j) {
            double plain = 0;
            for (int i = 0; i < 6; ++i) plain += m.at(i, j);
            EXPECT_NEAR(mean[j], 2 * plain / 6, 1e-12);
        }
    }
}

TEST(ColumnKernels, SixteenBitMeansAndVariances) {
    for (int w : {1, 5, 8, 13, 33}) {
        const int h = 7;
        Mat<Zel16s> m(h, w);
        m.random(-32768, 32767);
        std::vector<float> s, q;
        columnRef<float>(m, static_cast<const float*>(nullptr), s, q);
        std::vector<Zel16s> mean16(w), var16(w), got(w), got2(w), srcMean(w);
        std::vector<Zel32s> mean32(w), var32(w), g32(w), g32b(w);
        const float inv = float(1.0 / h), rinv = float(1.0 / (h - 1));
        for (int j = 0; j < w; ++j) {
            double es = 0, eq = 0;
            for (int i = 0; i < h; ++i) es += m.at(i, j), eq += double(m.at(i, j)) * m.at(i, j);
            const double dm = es / h, dv = (eq - h * dm * dm) / (h - 1);
            mean32[j] = Zel32s(std::nearbyint(dm));
            var32[j] = Zel32s(std::min(2147483647.0, std::nearbyint(dv / 4)));  // scaleFactor 2
            const float fm = s[j] * inv;
            mean16[j] = Zel16s(std::clamp(std::nearbyint(fm), -32768.0f, 32767.0f));
            var16[j] = Zel16s(std::clamp(std::nearbyint((q[j] + float(-h) * (fm * fm)) * rinv * 0x1p-20f), -32768.0f,
                                         32767.0f));
            srcMean[j] = mean16[j];
        }
        EXPECT_EQ(zelsMeanColumn_16s_D2(m.cp(), h, m.step, got.data(), w), zelStsNoErr);
        EXPECT_EQ(zelsMeanColumn_16s_D2L(m.ct(), h, got2.data(), w), zelStsNoErr);
        expectSame(got.data(), mean16.data(), w, "MeanColumn_16s");
        expectSame(got2.data(), mean16.data(), w, "MeanColumn_16s D2L");
        EXPECT_EQ(zelsMeanVarColumn_16s_D2Sfs(m.cp(), h, m.step, got.data(), got2.data(), w, 20), zelStsNoErr);
        expectSame(got.data(), mean16.data(), w, "MeanVarColumn_16s mean");
        expectSame(got2.data(), var16.data(), w, "MeanVarColumn_16s var");
        // Scale 0 saturates the variance of full-range data.
        EXPECT_EQ(zelsVarColumn_16s_D2LSfs(m.ct(), h, srcMean.data(), got.data(), w, 0), zelStsNoErr);
        for (int j = 0; j < w; ++j) EXPECT_EQ(got[j], 32767);
        EXPECT_EQ(zelsMeanVarColumn_16s32s_D2Sfs(m.cp(), h, m.step, g32.data(), g32b.data(), w, 2), zelStsNoErr);
        expectSame(g32.data(), mean32.data(), w, "MeanVarColumn_16s32s mean");
        for (int j = 0; j < w; ++j) EXPECT_NEAR(g32b[j], var32[j], 1) << j;
        EXPECT_EQ(zelsMeanVarColumn_16s16s32s_D2L(m.ct(), h, got.data(), g32b.data(), w), zelStsNoErr);
        for (int j = 0; j < w; ++j) {
            EXPECT_EQ(got[j], Zel16s(mean32[j]));
            EXPECT_NEAR(double(g32b[j]), std::min(2147483647.0, double(var32[j]) * 4), 4.0);
        }
    }
}

// ---- Row reductions -----------------------------------------------------------------------------------

// One member's row sums: bit for bit the lane order, both layouts, and
// within the rounding bound of the exact sum (the 16-bit member by the near rule).
template <class T, class A, class D, class F2, class FL>
void checkRowSums(int h, int w, size_t off, F2 d2, FL d2l) {
    Mat<T> m(h, w, 3, off);
    m.random(-1000, 1000);
    std::vector<D> got(h), got2(h);
    EXPECT_EQ(d2(m.cp(), w, m.step, got.data(), h), zelStsNoErr);
    EXPECT_EQ(d2l(m.ct(), w, got2.data(), h), zelStsNoErr);
    for (int i = 0; i < h; ++i) {
        const A want = rowRef<A>(&m.v[size_t(i) * w], static_cast<const T*>(nullptr), w);
        if constexpr (std::is_same_v<D, Zel32s>) {
            EXPECT_EQ(got[i], mt::nearRef32(want, 1));
        } else {
            EXPECT_EQ(zt::bits(got[i]), zt::bits(D(want))) << "row " << i;
            double exact = 0, mag = 0;
            for (int j = 0; j < w; ++j) exact += double(m.at(i, j)), mag += std::fabs(double(m.at(i, j)));
            EXPECT_LE(std::fabs(double(got[i]) - exact), w * std::numeric_limits<A>::epsilon() * mag);
        }
    }
    expectSame(got2.data(), got.data(), h, "SumRow D2L");
}

TEST(RowKernels, SumsFollowTheLaneOrderAndStayWithinTheBound) {
    auto sfs = [](const Zel16s* p, int w, int step, Zel32s* d, int h) { return zelsSumRow_16s32s_D2Sfs(p, w, step, d, h, 1); };
    auto sfsL = [](const Zel16s** p, int w, Zel32s* d, int h) { return zelsSumRow_16s32s_D2LSfs(p, w, d, h, 1); };
    for (int h : kHeights)
        for (int w : kWidths)
            for (size_t off : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "h=" << h << " w=" << w << " off=" << off);
                checkRowSums<float, float, float>(h, w, off, zelsSumRow_32f_D2, zelsSumRow_32f_D2L);
                checkRowSums<double, double, double>(h, w, off, zelsSumRow_64f_D2, zelsSumRow_64f_D2L);
                checkRowSums<Zel16s, float, float>(h, w, off, zelsSumRow_16s32f_D2, zelsSumRow_16s32f_D2L);
                checkRowSums<Zel16s, float, Zel32s>(h, w, off, sfs, sfsL);
            }
}

TEST(RowKernels, MatVecMulFollowsTheLaneOrder) {
    for (int h : kHeights)
        for (int w : kWidths) {
            SCOPED_TRACE(testing::Message() << "h=" << h << " w=" << w);
            Mat<float> m(h, w);
            m.random(-1, 1);
            zt::Buf<float> v(w, 1);
            zt::fillUniform(v.data(), w, -1.0, 1.0);
            std::vector<float> got(h), got2(h), want(h);
            for (int i = 0; i < h; ++i) want[i] = rowRef<float>(&m.v[size_t(i) * w], v.data(), w);
            EXPECT_EQ(zelsMatVecMul_32f_D2(m.cp(), m.step, v.data(), w, got.data(), h), zelStsNoErr);
            EXPECT_EQ(zelsMatVecMul_32f_D2L(m.ct(), v.data(), w, got2.data(), h), zelStsNoErr);
            expectSame(got.data(), want.data(), h, "MatVecMul D2");
            expectSame(got2.data(), want.data(), h, "MatVecMul D2L");
        }
}

// ---- Integer products --------------------------------------------------------------------------------

int64_t shiftRef(int64_t v, int s) { return s >= 0 ? (s > 63 ? (v < 0 ? -1 : 0) : v >> s) : v * (int64_t(1) << -s); }

TEST(IntegerProducts, ExactSumsShiftedAndSaturated) {
    for (int w : {1, 3, 8, 17}) {
        const int h = 5;
        Mat<Zel16s> m(h, w);
        m.random(-32768, 32767);
        Mat<Zel32s> m32(h, w);
        m32.random(-100000, 100000);
        std::vector<Zel16s> v16(std::max(w, h));
        std::vector<Zel32s> v32(std::max(w, h));
        zt::fillUniform(v16.data(), v16.size(), -32768, 32767);
        zt::fillUniform(v32.data(), v32.size(), -100000, 100000);
        for (int sf : {-2, 0, 3, 15, 70}) {
            SCOPED_TRACE(testing::Message() << "w=" << w << " sf=" << sf);
            std::vector<Zel16s> g16(h), g16b(h), c16(w);
            std::vector<Zel32s> g32(h), g32b(h), c32(w), c32b(w);
            EXPECT_EQ(zelsMatVecMul_16s_D2Sfs(m.cp(), m.step, v16.data(), w, g16.data(), h, sf), zelStsNoErr);
            EXPECT_EQ(zelsMatVecMul_16s_D2LSfs(m.ct(), v16.data(), w, g16b.data(), h, sf), zelStsNoErr);
            EXPECT_EQ(zelsMatVecMul_16s32s_D2Sfs(m.cp(), m.step, v16.data(), w, g32.data(), h, sf), zelStsNoErr);
            EXPECT_EQ(zelsMatVecMul_32s_D2LSfs(m32.ct(), v32.data(), w, g32b.data(), h, sf), zelStsNoErr);
            for (int i = 0; i < h; ++i) {
                int64_t e16 = 0, e32 = 0;
                for (int j = 0; j < w; ++j)
                    e16 += int64_t(m.at(i, j)) * v16[j], e32 += int64_t(m32.at(i, j)) * v32[j];
                const int64_t r16 = shiftRef(e16, sf), r32 = shiftRef(e32, sf);
                EXPECT_EQ(g16[i], Zel16s(std::clamp<int64_t>(r16, -32768, 32767)));
                EXPECT_EQ(g16b[i], g16[i]);
                EXPECT_EQ(g32[i], Zel32s(std::clamp<int64_t>(r16, INT32_MIN, INT32_MAX)));
                EXPECT_EQ(g32b[i], Zel32s(std::clamp<int64_t>(r32, INT32_MIN, INT32_MAX)));
            }
            EXPECT_EQ(zelsVecMatMul_16s_D2LSfs(v16.data(), m.ct(), h, c16.data(), w, sf), zelStsNoErr);
            EXPECT_EQ(zelsVecMatMul_16s32s_D2Sfs(v16.data(), m.cp(), m.step, h, c32.data(), w, sf), zelStsNoErr);
            EXPECT_EQ(zelsVecMatMul_32s_D2Sfs(v32.data(), m32.cp(), m32.step, h, c32b.data(), w, sf), zelStsNoErr);
            for (int j = 0; j < w; ++j) {
                int64_t e16 = 0, e32 = 0;
                for (int i = 0; i < h; ++i) e16 += int64_t(v16[i]) * m.at(i, j), e32 += int64_t(v32[i]) * m32.at(i, j);
                EXPECT_EQ(c16[j], Zel16s(std::clamp<int64_t>(shiftRef(e16, sf), -32768, 32767)));
                EXPECT_EQ(c32[j], Zel32s(std::clamp<int64_t>(shiftRef(e16, sf), INT32_MIN, INT32_MAX)));
                EXPECT_EQ(c32b[j], Zel32s(std::clamp<int64_t>(shiftRef(e32, sf), INT32_MIN, INT32_MAX)));
            }
        }
    }
}

TEST(IntegerProducts, ThirtyTwoBitSumsBeyondSixtyFourBits) {
    // Four products of (2^31 - 1)^2 sum to 2^64 - 2^34 + 4.
    const Zel32s big = INT32_MAX;
    Zel32s m[4] = {big, big, big, big}, v[4] = {big, big, big, big}, vn[4] = {-big, -big, -big, -big};
    Zel32s r = 0;
    EXPECT_EQ(zelsMatVecMul_32s_D2Sfs(m, 4, v, 4, &r, 1, 40), zelStsNoErr);
    EXPECT_EQ(r, (1 << 24) - 1);
    EXPECT_EQ(zelsMatVecMul_32s_D2Sfs(m, 4, vn, 4, &r, 1, 40), zelStsNoErr);
    EXPECT_EQ(r, -(1 << 24));
    EXPECT_EQ(zelsMatVecMul_32s_D2Sfs(m, 4, v, 4, &r, 1, 0), zelStsNoErr);
    EXPECT_EQ(r, INT32_MAX);
    EXPECT_EQ(zelsVecMatMul_32s_D2Sfs(vn, m, 1, 4, &r, 1, -5), zelStsNoErr);
    EXPECT_EQ(r, INT32_MIN);
}

// ---- In-place updates and gathers ----------------------------------------------------------------------

TEST(Updates, NormalizeAndSubRowInBothLayouts) {
    for (int w : {1, 4, 9, 16, 21}) {
        const int h = 3;
        Mat<float> f(h, w);
        f.random(-10, 10);
        std::vector<float> mean(w), var(w), want(f.v);
        zt::fillUniform(mean.data(), w, -1.0, 1.0);
        zt::fillUniform(var.data(), w, 0.5, 2.0);
        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j) want[size_t(i) * w + j] = (f.at(i, j) - mean[j]) * var[j];
        EXPECT_EQ(zelsNormalizeColumn_32f_D2(f.p(), f.step, h, mean.data(), var.data(), w), zelStsNoErr);
        EXPECT_EQ(zelsNormalizeColumn_32f_D2L(f.t(), h, mean.data(), var.data(), w), zelStsNoErr);
        f.expectBoth(want, "NormalizeColumn_32f");

        f.sync();
        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j) want[size_t(i) * w + j] = f.at(i, j) - mean[j];
        EXPECT_EQ(zelsSubRow_32f_D2(mean.data(), w, f.p(), f.step, h), zelStsNoErr);
        EXPECT_EQ(zelsSubRow_32f_D2L(mean.data(), w, f.t(), h), zelStsNoErr);
        f.expectBoth(want, "SubRow_32f");

        Mat<Zel16s> s(h, w);
        s.random(-32768, 32767);
        std::vector<Zel16s> m16(w), v16(w), w16(s.v);
        zt::fillUniform(m16.data(), w, -32768, 32767);
        zt::fillUniform(v16.data(), w, -32768, 32767);
        for (int sf : {-3, 0, 12, 40}) {
            s.sync();
            for (int i = 0; i < h; ++i)
                for (int j = 0; j < w; ++j) {
                    const int64_t p = (int64_t(s.at(i, j)) - m16[j]) * v16[j];
                    w16[size_t(i) * w + j] = Zel16s(std::clamp<int64_t>(shiftRef(p, sf), -32768, 32767));
                }
            EXPECT_EQ(zelsNormalizeColumn_16s_D2Sfs(s.p(), s.step, h, m16.data(), v16.data(), w, sf), zelStsNoErr);
            EXPECT_EQ(zelsNormalizeColumn_16s_D2LSfs(s.t(), h, m16.data(), v16.data(), w, sf), zelStsNoErr);
            s.expectBoth(w16, "NormalizeColumn_16s");
        }
        s.sync();
        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j)
                w16[size_t(i) * w + j] = Zel16s(std::clamp(int(s.at(i, j)) - int(m16[j]), -32768, 32767));
        EXPECT_EQ(zelsSubRow_16s_D2(m16.data(), w, s.p(), s.step, h), zelStsNoErr);
        EXPECT_EQ(zelsSubRow_16s_D2L(m16.data(), w, s.t(), h), zelStsNoErr);
        s.expectBoth(w16, "SubRow_16s");
    }
}

template <class T, class D2, class D2L>
void checkIndirect(D2 d2, D2L d2l) {
    const int h = 4, srcLen = 9, dstLen = 6;
    Mat<T> src(h, srcLen), d(h, dstLen);
    src.random(-100, 100);
    d.sync();
    const Zel32s idx[dstLen] = {8, 0, 3, 3, 7, 1};
    std::vector<T> want(size_t(h) * dstLen);
    for (int i = 0; i < h; ++i)
        for (int k = 0; k < dstLen; ++k) want[size_t(i) * dstLen + k] = src.at(i, idx[k]);
    EXPECT_EQ(d2(src.cp(), srcLen, src.step, d.p(), idx, dstLen, d.step, h), zelStsNoErr);
    EXPECT_EQ(d2l(src.ct(), srcLen, d.t(), idx, dstLen, h), zelStsNoErr);
    d.expectBoth(want, "CopyColumn_Indirect");
}

TEST(Gathers, CopyColumnAndIndirectCopies) {
    checkIndirect<Zel16s>(zelsCopyColumn_Indirect_16s_D2, zelsCopyColumn_Indirect_16s_D2L);
    checkIndirect<Zel32f>(zelsCopyColumn_Indirect_32f_D2, zelsCopyColumn_Indirect_32f_D2L);
    checkIndirect<Zel64f>(zelsCopyColumn_Indirect_64f_D2, zelsCopyColumn_Indirect_64f_D2L);
    for (int w : {1, 7, 8, 19}) {
        Mat<float> a(3, w), b(3, w);
        a.random(-1, 1);
        b.sync();
        EXPECT_EQ(zelsCopyColumn_32f_D2(a.cp(), w, b.p(), a.step, 3), zelStsNoErr);
        for (int i = 0; i < 3; ++i) expectSame(b.p() + i * b.step, a.v.data() + i * w, w, "CopyColumn_32f");
        Mat<Zel16s> c(2, w), d(2, w);
        c.random(-999, 999);
        EXPECT_EQ(zelsCopyColumn_16s_D2(c.cp(), w, d.p(), c.step, 2), zelStsNoErr);
        for (int i = 0; i < 2; ++i) expectSame(d.p() + i * d.step, c.v.data() + i * w, w, "CopyColumn_16s");
    }
    // A bad index stops the first row where it stands, the elements before it written.
    float src[4] = {1, 2, 3, 4}, dst[4] = {9, 9, 9, 9};
    const Zel32s bad[4] = {3, 2, 4, 0};
    EXPECT_EQ(zelsCopyColumn_Indirect_32f_D2(src, 4, 4, dst, bad, 4, 4, 1), zelStsSizeErr);
    EXPECT_EQ(dst[0], 4.0f);
    EXPECT_EQ(dst[1], 3.0f);
    EXPECT_EQ(dst[2], 9.0f);
}

TEST(Gathers, AddNRowsPicksRowsByTwoIndices) {
    const int height = 6, width = 5, offset = 2, step = 9;
    std::vector<float> src(height * step);
    zt::fillUniform(src.data(), src.size(), -3.0, 3.0);
    const Zel32s ind[3] = {4, 0, 1};
    const Zel16u add[3] = {1, 2, 0};
    std::vector<float> got(width, -7.0f), want(width);
    for (int j = 0; j < width; ++j) {
        const float s = (src[5 * step + offset + j] + src[2 * step + offset + j]) + src[1 * step + offset + j];
        want[j] = 0.25f + s;
    }
    EXPECT_EQ(zelsAddNRows_32f_D2(src.data(), height, offset, step, ind, add, 3, got.data(), width, 0.25f), zelStsNoErr);
    expectSame(got.data(), want.data(), width, "AddNRows");
    const Zel32s out[3] = {4, 4, 1};  // 4 + 2 is past the last row
    std::vector<float> keep(width, -7.0f);
    EXPECT_EQ(zelsAddNRows_32f_D2(src.data(), height, offset, step, out, add, 3, keep.data(), width, 0.25f),
              zelStsSizeErr);
    zt::expectUntouched(keep.data(), width, -7.0f);
    EXPECT_EQ(zelsAddNRows_32f_D2(src.data(), height, offset, offset + width - 1, ind, add, 3, keep.data(), width, 0.f),
              zelStsStrideErr);
}

// ---- Rank selection ----------------------------------------------------------------------------------------

template <class T, class F>
void checkNthMax(std::vector<T> a, F nthMax) {
    std::vector<T> sorted(a);
    std::sort(sorted.begin(), sorted.end(), std::greater<T>());
    const std::vector<T> before(a);
    for (int n = 0; n < int(a.size()); ++n) {
        T r{};
        EXPECT_EQ(nthMax(a.data(), int(a.size()), n, &r), zelStsNoErr);
        EXPECT_EQ(r, sorted[n]) << "rank " << n << " of " << a.size();
    }
    EXPECT_EQ(a, before);  // the source is not reordered
}

TEST(NthMaxElement, EveryRankOfRandomRepeatedAndEqualValues) {
    for (int len : {1, 2, 3, 10, 57}) {
        std::vector<float> f(len);
        std::vector<double> d(len);
        std::vector<Zel32s> i(len), few(len), same(len, -4);
        zt::fillUniform(f.data(), len, -1.0, 1.0);
        zt::fillUniform(d.data(), len, -1.0, 1.0);
        zt::fillUniform(i.data(), len, INT32_MIN / 2, INT32_MAX / 2);
        zt::fillUniform(few.data(), len, 0, 3);
        checkNthMax(f, zelsNthMaxElement_32f);
        checkNthMax(d, zelsNthMaxElement_64f);
        for (const auto& v : {i, few, same}) checkNthMax(v, zelsNthMaxElement_32s);
    }
    // With NaN the ranks are not defined, but the call ends with an element of the vector.
    const float withNaN[5] = {1, std::nanf(""), 3, 2, std::nanf("")};
    for (int n = 0; n < 5; ++n) {
        float r = -1;
        EXPECT_EQ(zelsNthMaxElement_32f(withNaN, 5, n, &r), zelStsNoErr);
        EXPECT_TRUE(std::isnan(r) || r == 1 || r == 2 || r == 3);
    }
}

// ---- Column operations of the decomposition ------------------------------------------------------------------

TEST(DecompositionKernels, ColumnAndRowOperations) {
    const int h = 7, w = 4;
    Mat<double> m(h, w);
    m.random(-2, 2);
    std::vector<double> ref(m.v);
    auto R = [&](int y, int x) -> double& { return ref[size_t(y) * w + x]; };
    double got = 0, want = 0;
    EXPECT_EQ(zelsSumColumnAbs_64f_D2L(m.ct(), w, h, &got, 2, 3), zelStsNoErr);
    for (int r = 3; r < h; ++r) want += std::fabs(R(r, 2));
    EXPECT_SAME_BITS(got, want);
    EXPECT_EQ(zelsDotProdColumn_64f_D2L(m.ct(), w, h, &got, 1, 3, 2), zelStsNoErr);
    want = 0;
    for (int r = 2; r < h; ++r) want += R(r, 1) * R(r, 3);
    EXPECT_SAME_BITS(got, want);
    EXPECT_EQ(zelsSumColumnSqr_64f_D2L(m.t(), w, h, &got, 0, 1, 0.5), zelStsNoErr);
    want = 0;
    for (int r = 1; r < h; ++r) R(r, 0) *= 0.5, want += R(r, 0) * R(r, 0);
    EXPECT_SAME_BITS(got, want);
    EXPECT_EQ(zelsMulColumn_64f_D2L(m.t(), w, h, 3, 5, -3.0), zelStsNoErr);
    for (int r = 5; r < h; ++r) R(r, 3) *= -3.0;
    EXPECT_EQ(zelsAddMulColumn_64f_D2L(m.t(), w, h, 0, 2, 0, 1.5), zelStsNoErr);
    for (int r = 0; r < h; ++r) R(r, 2) += R(r, 0) * 1.5;
    const double c = 0.6, s = 0.8;
    EXPECT_EQ(zelsQRTransColumn_64f_D2L(m.t(), w, h, 1, 3, c, s), zelStsNoErr);
    for (int r = 0; r < h; ++r) {
        const double t = R(r, 3) * s;
        R(r, 3) = c * R(r, 3) + s * R(r, 1);
        R(r, 1) = R(r, 1) * c - t;
    }
    for (int y = 0; y < h; ++y) expectSame(m.rows[y], &ref[size_t(y) * w], w, "column operations");

    double row[5] = {1, -2, 3, -4, 5}, acc[5] = {1, 1, 1, 1, 1};
    EXPECT_EQ(zelsSumRowAbs_64f(row, 5, &got), zelStsNoErr);
    EXPECT_EQ(got, 15.0);
    EXPECT_EQ(zelsSumRowSqr_64f(row, 5, &got, 2.0), zelStsNoErr);
    EXPECT_EQ(got, 220.0);
    EXPECT_EQ(row[4], 10.0);
    EXPECT_EQ(zelsAddMulRow_64f(row, acc, 5, 0.5), zelStsNoErr);
    EXPECT_EQ(acc[1], -1.0);
}

// ---- The order of each family's argument checks -------------------------------------------------------------
// (Null pointers, bad sizes and untouched outputs of every member alone are the hostile driver's.)

TEST(Checks, EachFamilysOrder) {
    float a[16] = {}, out[4];
    Zel16s s16[16] = {}, o16[4];
    Zel32s o32[4];
    double d[16] = {}, dout;
    double* dt[2] = {d, d + 8};
    const Zel32s idx[2] = {0, 1};
    const Zel16u add[2] = {0, 0};
    const int intMin = -2147483647 - 1;
    for (float& x : out) x = -5.0f;
    zt::expectStatuses({
        // Size before stride.
        {zelsSumRow_32f_D2(a, 4, 3, out, 0), zelStsSizeErr},
        {zelsVecMatMul_16s_D2Sfs(s16, s16, 3, 2, o16, 4, 0), zelStsStrideErr},
        // MeanColumn and VarColumn: stride, then null, then size.
        {zelsMeanColumn_32f_D2(nullptr, 2, 3, out, 4), zelStsStrideErr},
        {zelsMeanColumn_16s_D2(s16, 0, 4, nullptr, 4), zelStsNullPtrErr},
        // The sample variances need two rows (no height wraps past that test), before the stride.
        {zelsMeanVarColumn_32f_D2(a, 1, 3, out, out, 4), zelStsSizeErr},
        {zelsVarColumn_32f_D2(a, intMin, 4, a, out, 4), zelStsSizeErr},
        {zelsMeanVarColumn_16s16s32s_D2(s16, 2, 3, o16, o32, 4), zelStsStrideErr},
        // Weighted: stride before size.
        {zelsWeightedMeanColumn_32f_D2(a, 3, a, 0, out, 4), zelStsStrideErr},
        // AddNRows: the offset is one of the sizes.
        {zelsAddNRows_32f_D2(a, 2, -1, 1, idx, add, 2, out, 4, 0.f), zelStsSizeErr},
        // Indirect copies: srcLen, srcStep, dstLen, dstStep, height.
        {zelsCopyColumn_Indirect_32f_D2(a, 4, 3, out, idx, 0, 0, 0), zelStsStrideErr},
        {zelsCopyColumn_Indirect_32f_D2(a, 2, 3, out, idx, 0, 0, 0), zelStsSizeErr},
        {zelsCopyColumn_Indirect_32f_D2(a, 2, 3, out, idx, 2, 1, 0), zelStsStrideErr},
        // NthMax: a rank outside the vector.
        {zelsNthMaxElement_64f(d, 3, 3, &dout), zelStsBadArgErr},
        {zelsNthMaxElement_32s(o32, 3, -1, o32), zelStsBadArgErr},
        // Decomposition columns: columns and the starting row inside the matrix.
        {zelsMulColumn_64f_D2L(dt, 2, 2, 1, 2, 1.0), zelStsSizeErr},
        {zelsAddMulColumn_64f_D2L(dt, 2, 0, 0, 0, 0, 1.0), zelStsSizeErr},
    });
    zt::expectUntouched(out, 4, -5.0f);

    alloc::fail = true;
    EXPECT_EQ(zelsNthMaxElement_32f(a, 4, 0, out), zelStsMemAllocErr);
    alloc::fail = false;
    zt::expectUntouched(out, 4, -5.0f);
}

}  // namespace
