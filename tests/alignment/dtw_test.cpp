// SPDX-License-Identifier: Apache-2.0
// Dynamic time warping against a plain program over the whole cost matrix,
// its band and beam limits, the precision of the local distance, and the
// integer forms.
#include <algorithm>
#include <vector>

#include "common.hpp"

namespace {

constexpr float kNoPath = 3.4028235e38f;

// A plain dynamic program in double over the whole cost matrix, with the
// band written out cell by cell and no pruning.
double plainCost(const std::vector<float>& a, int ha, const std::vector<float>& b, int hb, int w, int delta) {
    const bool swap = ha < hb;
    const std::vector<float>& R = swap ? b : a;
    const std::vector<float>& C = swap ? a : b;
    const int n = std::max(ha, hb), m = std::min(ha, hb);
    const int dl = std::max(0, std::min(delta, m - 1));
    auto inBand = [&](int i, int j) {
        int u = 3 * i < 2 * m - n ? dl + 2 * i : m + dl + int(std::floor((i - n - 1) / 2.0));
        int l = 3 * i > 2 * (2 * n - m) - 2 ? m - 2 * n - dl + 2 * i + 1 : i / 2 - dl;
        return j >= std::max(l, 0) && j <= std::min(u, m - 1);
    };
    auto dist = [&](int i, int j) {
        double s = 0;
        for (int k = 0; k < w; ++k) s += double(R[i * w + k] - C[j * w + k]) * (R[i * w + k] - C[j * w + k]);
        return std::sqrt(s);
    };
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> prev(m, inf), cur(m, inf);
    for (int j = 0; j <= dl; ++j) prev[j] = dist(0, j);
    if (n == 1) return inf;
    for (int i = 1; i < n; ++i) {
        for (int j = 0; j < m; ++j) {
            cur[j] = inf;
            if (!inBand(i, j)) continue;
            double p = prev[j];
            if (j >= 1) p = std::min(p, prev[j - 1]);
            if (j >= 2) p = std::min(p, prev[j - 2]);
            if (p < inf) cur[j] = p + dist(i, j);
        }
        std::swap(prev, cur);
    }
    return *std::min_element(prev.begin(), prev.end());
}

std::vector<const float*> rowsOf(const std::vector<float>& v, int h, int w) {
    std::vector<const float*> t(h);
    for (int y = 0; y < h; ++y) t[y] = v.data() + y * w;
    return t;
}

float costD2L(const std::vector<float>& a, int ha, const std::vector<float>& b, int hb, int w, int delta,
              float beam) {
    auto ta = rowsOf(a, ha, w), tb = rowsOf(b, hb, w);
    float d = -1;
    EXPECT_EQ(zelsDTW_L2_32f_D2L(ta.data(), ha, tb.data(), hb, w, &d, delta, beam), zelStsNoErr);
    return d;
}

TEST(DTW, MatchesPlainProgramOnRandomSequences) {
    // Widths on both sides of the change from single to double sums.
    for (int trial = 0; trial < 400; ++trial) {
        const int ha = zt::uniformi(1, 64), hb = zt::uniformi(1, 64), w = zt::uniformi(1, 20);
        const int delta = zt::uniformi(0, 70);
        std::vector<float> a(ha * w), b(hb * w);
        zt::fillUniform(a.data(), a.size(), -2.0, 2.0);
        zt::fillUniform(b.data(), b.size(), -2.0, 2.0);
        const double want = plainCost(a, ha, b, hb, w, delta);
        const float got = costD2L(a, ha, b, hb, w, delta, 1e30f);
        if (std::isinf(want))
            EXPECT_EQ(got, kNoPath) << ha << "x" << hb;
        else
            EXPECT_NEAR(got, want, 1e-5 * want + 1e-6) << ha << "x" << hb << " w " << w << " delta " << delta;

        // The block layout, with gaps between rows, gives the same bits.
        const int step = w + 3;
        std::vector<float> ba(ha * step, NAN), bb(hb * step, NAN);
        for (int y = 0; y < ha; ++y) std::copy_n(&a[y * w], w, &ba[y * step]);
        for (int y = 0; y < hb; ++y) std::copy_n(&b[y * w], w, &bb[y * step]);
        float blk = -1;
        ASSERT_EQ(zelsDTW_L2_32f_D2(ba.data(), ha, bb.data(), hb, w, step, &blk, delta, 1e30f), zelStsNoErr);
        EXPECT_SAME_BITS(blk, got);

        // Pruning only removes paths; where heights differ, order is free.
        EXPECT_GE(costD2L(a, ha, b, hb, w, delta, zt::uniform(0.0f, 2.0f)), got);
        if (ha != hb) {
            EXPECT_SAME_BITS(costD2L(b, hb, a, ha, w, delta, 1e30f), got);
        }
    }
}

// Identical sequences align at zero cost even with no band and no beam, and
// past the stack limits of the work block; a single row, or a sequence more
// than twice as long as the other, has no path; a band of the column count
// or more acts as count - 1.
TEST(DTW, BandAndBeamLimits) {
    const int w = 2;
    std::vector<float> a(900 * w), b(30 * w);
    zt::fillUniform(a.data(), a.size(), -1.0, 1.0);
    zt::fillUniform(b.data(), b.size(), -1.0, 1.0);
    EXPECT_EQ(costD2L(a, 40, a, 40, w, 0, -5.0f), 0.0f);
    EXPECT_EQ(costD2L(a, 900, a, 900, w, 10, 1.0f), 0.0f);
    EXPECT_EQ(costD2L(a, 1, a, 40, w, 50, 1e30f), kNoPath);
    EXPECT_EQ(costD2L(a, 40, a, 15, w, 0, 1e30f), kNoPath);
    EXPECT_SAME_BITS(costD2L(a, 40, b, 30, w, 29, 1e30f), costD2L(a, 40, b, 30, w, 1000, 1e30f));
}

TEST(DTW, LocalDistanceSumsInSingleUpToThirteenElements) {
    // Two rows against one column: the cost is d(0, 0) + d(1, 0), each the
    // square root of its sum of squares, single up to 13 elements, double above.
    for (int w = 1; w <= 24; ++w) {
        std::vector<float> a(2 * w), b(w);
        zt::fillUniform(a.data(), a.size(), -100.0, 100.0);
        zt::fillUniform(b.data(), b.size(), -100.0, 100.0);
        auto dist = [&](const float* x) {
            float s = 0;
            double sd = 0;
            for (int k = 0; k < w; ++k) s += (x[k] - b[k]) * (x[k] - b[k]), sd += double((x[k] - b[k]) * (x[k] - b[k]));
            return w <= 13 ? std::sqrt(s) : float(std::sqrt(sd));
        };
        const float want = dist(a.data()) + dist(a.data() + w);
        EXPECT_SAME_BITS(costD2L(a, 2, b, 1, w, 0, 1e30f), want);
    }
}

// The integer forms convert, run the float engine and round the cost by the
// scale factor to nearest; no path saturates.
template <class T, class D2, class D2L>
void integerForm(int lo, int hi, D2 d2, D2L d2l) {
    const int h1 = 23, h2 = 31, w = 5, step = 7;
    std::vector<T> v1(h1 * step), v2(h2 * step);
    zt::fillUniform(v1.data(), v1.size(), lo, hi);
    zt::fillUniform(v2.data(), v2.size(), lo, hi);
    std::vector<float> f1(h1 * w), f2(h2 * w);
    std::vector<const T*> t1(h1), t2(h2);
    for (int y = 0; y < h1; ++y) t1[y] = &v1[y * step], std::copy_n(t1[y], w, &f1[y * w]);
    for (int y = 0; y < h2; ++y) t2[y] = &v2[y * step], std::copy_n(t2[y], w, &f2[y * w]);
    const float c = costD2L(f1, h1, f2, h2, w, 4, 300.0f);
    for (int sf : {-2, 0, 3}) {
        Zel32s a = 0, b = 0;
        EXPECT_EQ(d2(v1.data(), h1, v2.data(), h2, w, step, &a, 4, 300, sf), zelStsNoErr);
        EXPECT_EQ(d2l(t1.data(), h1, t2.data(), h2, w, &b, 4, 300, sf), zelStsNoErr);
        EXPECT_EQ(a, Zel32s(std::nearbyint(double(c) * std::ldexp(1.0, -sf)))) << sf;
        EXPECT_EQ(b, a);
    }
    Zel32s none = 0;
    EXPECT_EQ(d2(v1.data(), 1, v2.data(), 1, w, step, &none, 0, 0, 0), zelStsNoErr);
    EXPECT_EQ(none, 2147483647);
}

TEST(DTW, IntegerFormsRunTheFloatEngine) {
    integerForm<Zel8u>(0, 255, zelsDTW_L2_8u32s_D2Sfs, zelsDTW_L2_8u32s_D2LSfs);
    integerForm<Zel16s>(-3000, 3000, zelsDTW_L2Low_16s32s_D2Sfs, zelsDTW_L2Low_16s32s_D2LSfs);
}

// Pointers before sizes, and the row step against the width.
TEST(DTW, ChecksInOrder) {
    float a[8] = {0}, d = 7.0f;
    const float* t[2] = {a, a + 4};
    const Zel8u u[8] = {0};
    zt::expectStatuses({
        {zelsDTW_L2_32f_D2L(t, 0, t, 2, 4, nullptr, 0, 0), zelStsNullPtrErr},
        {zelsDTW_L2_32f_D2(a, 2, a, 2, 4, 3, &d, 0, 0), zelStsSizeErr},
        {zelsDTW_L2_8u32s_D2Sfs(u, 2, u, -1, 4, 4, nullptr, 0, 0, 0), zelStsNullPtrErr},
    });
}

}  // namespace
