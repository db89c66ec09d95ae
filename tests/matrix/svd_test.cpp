// SPDX-License-Identifier: Apache-2.0
// Singular value decomposition: U diag(W) V' rebuilds the input and U and V
// are orthonormal; the four layouts agree bit for bit and the sorting forms
// move values and vectors together; the iteration limit, NaN and infinity,
// and the argument checks give their statuses; and every build gives the
// same bits. The values themselves, over every shape, rank deficiency and
// a condition of 1e6, are checked against numpy in svd_test.py.
#include <algorithm>
#include <atomic>

#include "matrix_test.hpp"

namespace alloc {
extern std::atomic<bool> fail;
}

namespace {

using Dense = std::vector<double>;  // row-major

struct Result {
    ZelStatus status;
    Dense u, w, v;
};

// One call of any of the eight forms on a. The D2 forms share the padded
// step of the test matrices (width + 3) for the source, U and V.
enum Form { kD2, kD2L, kD2I, kD2LI };
Result run(const Dense& a, int h, int w, Form form, bool sort, int nIter = 60) {
    mt::Mat<double> src(h, w), u(h, w), v(w, w);
    std::copy(a.begin(), a.end(), src.v.begin());
    src.sync(), u.sync(), v.sync();
    Result r{zelStsNoErr, Dense(size_t(h) * w), Dense(w, -1.0), Dense(size_t(w) * w)};
    double* W = r.w.data();
    const int st = src.step;
    switch (form) {
        case kD2:
            r.status = (sort ? zelsSVDSort_64f_D2 : zelsSVD_64f_D2)(src.cp(), u.p(), h, W, v.p(), w, st, nIter);
            break;
        case kD2I:
            r.status = (sort ? zelsSVDSort_64f_D2_I : zelsSVD_64f_D2_I)(src.p(), h, W, v.p(), w, st, nIter);
            break;
        case kD2L: r.status = (sort ? zelsSVDSort_64f_D2L : zelsSVD_64f_D2L)(src.ct(), u.t(), h, W, v.t(), w, nIter); break;
        case kD2LI: r.status = (sort ? zelsSVDSort_64f_D2L_I : zelsSVD_64f_D2L_I)(src.t(), h, W, v.t(), w, nIter); break;
    }
    const bool table = form == kD2L || form == kD2LI;
    mt::Mat<double>& out = form == kD2I || form == kD2LI ? src : u;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) r.u[size_t(y) * w + x] = table ? out.rows[y][x] : out.d2[size_t(y) * st + x];
    for (int y = 0; y < w; ++y)
        for (int x = 0; x < w; ++x) r.v[size_t(y) * w + x] = table ? v.rows[y][x] : v.d2[size_t(y) * st + x];
    return r;
}

// U diag(W) V' rebuilds a; V is orthonormal, and so are the columns of U
// that carry a value (all of them when the matrix is at least as tall as wide).
void expectDecomposition(const Dense& a, int h, int w, const Result& r, double scale) {
    ASSERT_EQ(r.status, zelStsNoErr);
    const double tol = 1e-13 * (h + w) * std::max(scale, 1e-300);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            double s = 0;
            for (int k = 0; k < w; ++k) s += r.u[size_t(y) * w + k] * r.w[k] * r.v[size_t(x) * w + k];
            EXPECT_NEAR(s, a[size_t(y) * w + x], tol) << "rebuilt " << y << "," << x;
        }
    for (int k = 0; k < w; ++k) EXPECT_GE(r.w[k], 0.0);
    for (int i = 0; i < w; ++i)
        for (int j = 0; j < w; ++j) {
            double vv = 0, uu = 0;
            for (int k = 0; k < w; ++k) vv += r.v[size_t(k) * w + i] * r.v[size_t(k) * w + j];
            for (int k = 0; k < h; ++k) uu += r.u[size_t(k) * w + i] * r.u[size_t(k) * w + j];
            EXPECT_NEAR(vv, i == j ? 1.0 : 0.0, 1e-13 * w) << "V'V " << i << "," << j;
            if (h >= w || (r.w[i] > 1e-10 * scale && r.w[j] > 1e-10 * scale)) {
                EXPECT_NEAR(uu, i == j ? 1.0 : 0.0, 1e-13 * h) << "U'U " << i << "," << j;
            }
        }
}

TEST(SVD, LayoutsAgreeAndSortingMovesVectorsWithValues) {
    const int h = 11, w = 7;
    Dense a(size_t(h) * w);
    zt::fillUniform(a.data(), a.size(), -1.0, 1.0);
    const Result ref = run(a, h, w, kD2, false);
    expectDecomposition(a, h, w, ref, 1.0);
    for (Form f : {kD2L, kD2I, kD2LI}) {
        const Result r = run(a, h, w, f, false);
        EXPECT_EQ(r.status, zelStsNoErr);
        mt::expectSame(r.w.data(), ref.w.data(), w, "W");
        mt::expectSame(r.u.data(), ref.u.data(), r.u.size(), "U");
        mt::expectSame(r.v.data(), ref.v.data(), r.v.size(), "V");
    }
    for (Form f : {kD2, kD2L, kD2I, kD2LI}) {
        const Result s = run(a, h, w, f, true);
        EXPECT_EQ(s.status, zelStsNoErr);
        for (int k = 0; k + 1 < w; ++k) EXPECT_GE(s.w[k], s.w[k + 1]);
        for (int k = 0; k < w; ++k) {
            // The unsorted position of this value carries the same columns, bit for bit.
            const int from = int(std::find(ref.w.begin(), ref.w.end(), s.w[k]) - ref.w.begin());
            ASSERT_LT(from, w);
            for (int y = 0; y < h; ++y) EXPECT_EQ(zt::bits(s.u[size_t(y) * w + k]), zt::bits(ref.u[size_t(y) * w + from]));
            for (int y = 0; y < w; ++y) EXPECT_EQ(zt::bits(s.v[size_t(y) * w + k]), zt::bits(ref.v[size_t(y) * w + from]));
        }
    }
}

TEST(SVD, ZeroDiagonalAndTheIterationLimit) {
    // A zero matrix converges at once: every value 0.
    const Result z = run(Dense(12, 0.0), 4, 3, kD2LI, false, 1);
    EXPECT_EQ(z.status, zelStsNoErr);
    for (double x : z.w) EXPECT_EQ(x, 0.0);
    // A diagonal matrix needs no sweep; its negative value comes out positive, the sign in V.
    const Dense d = {3, 0, 0, 0, -2, 0, 0, 0, 0.5};
    const Result r = run(d, 3, 3, kD2, true, 1);
    expectDecomposition(d, 3, 3, r, 3.0);
    EXPECT_EQ(r.w, (Dense{3, 2, 0.5}));
    // A full matrix needs sweeps: one round is not enough, a few are.
    Dense a(25);
    zt::fillUniform(a.data(), a.size(), -1.0, 1.0);
    EXPECT_EQ(run(a, 5, 5, kD2L, false, 1).status, zelStsSvdCnvgErr);
    EXPECT_EQ(run(a, 5, 5, kD2L, false, 2).status, zelStsSvdCnvgErr);
    expectDecomposition(a, 5, 5, run(a, 5, 5, kD2L, false, 30), 1.0);
}

// Every build (vector, portable, 32-bit) must give these very bits: the
// digest of U, W and V for a fixed matrix from an integer generator.
TEST(SVD, SameBitsOnEveryBuild) {
    const int h = 9, w = 7;
    Dense a(size_t(h) * w);
    unsigned x = 2024;
    for (double& e : a) e = double((x = x * 1103515245u + 12345u) >> 8) * 0x1p-24 - 0.5;
    const Result r = run(a, h, w, kD2L, true);
    uint64_t digest = 1469598103934665603ull;
    for (const Dense* part : {&r.u, &r.w, &r.v})
        for (double e : *part) digest = (digest ^ zt::bits(e)) * 1099511628211ull;
    EXPECT_EQ(digest, 0xc3d7e6049739628aull) << std::hex << digest;
}

TEST(SVD, NonFiniteInputAndArgumentChecks) {
    double a[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, u[12], w[3], v[9];
    const double* at[4] = {a, a + 3, a + 6, a + 9};
    double* ut[4] = {u, u + 3, u + 6, u + 9};
    double* vt[3] = {v, v + 3, v + 6};
    std::fill(u, u + 12, -9.0), std::fill(w, w + 3, -9.0), std::fill(v, v + 9, -9.0);
    for (double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        a[7] = bad;
        EXPECT_EQ(zelsSVD_64f_D2(a, u, 4, w, v, 3, 3, 30), zelStsSvdCnvgErr);
        EXPECT_EQ(zelsSVDSort_64f_D2L(at, ut, 4, w, vt, 3, 30), zelStsSvdCnvgErr);
    }
    a[7] = 8;
    zt::expectStatuses({
        {zelsSVD_64f_D2(a, u, 0, w, nullptr, 3, 2, 0), zelStsNullPtrErr},
        {zelsSVD_64f_D2(a, u, 4, w, v, 3, 3, 0), zelStsSizeErr},
        {zelsSVD_64f_D2(a, u, 4, w, v, 3, 2, 30), zelStsSizeErr},
        {zelsQRTransColumn_64f_D2L(vt, 3, 3, 0, 3, 1.0, 0.0), zelStsSizeErr},
    });
    alloc::fail = true;
    EXPECT_EQ(zelsSVDSort_64f_D2(a, u, 4, w, v, 3, 3, 30), zelStsMemAllocErr);
    alloc::fail = false;
    zt::expectUntouched(u, 12, -9.0);
    zt::expectUntouched(w, 3, -9.0);
    zt::expectUntouched(v, 9, -9.0);
}

}  // namespace
