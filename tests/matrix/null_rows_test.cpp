// SPDX-License-Identifier: Apache-2.0
// A null row anywhere in a row table is refused like a null table, before
// anything is written.
#include <gtest/gtest.h>

#include <vector>

#include "zelsr.h"

namespace {

// A table of `rows` rows of 8 elements, row `hole` null.
template <class T>
struct Rows {
    std::vector<T> data;
    std::vector<T*> ptr;
    Rows(int rows, int hole) : data(size_t(rows) * 8, T(1)), ptr(size_t(rows)) {
        for (int y = 0; y < rows; ++y) ptr[size_t(y)] = y == hole ? nullptr : &data[size_t(y) * 8];
    }
    const T** in() { return const_cast<const T**>(ptr.data()); }
    T** out() { return ptr.data(); }
};

TEST(MatrixNullRows, RefusedWithOutputsUntouched) {
    for (int hole : {0, 3}) {
        Rows<Zel32f> m(4, hole);
        std::vector<Zel32f> dst(8, -7.0f), vec(8, 1.0f);
        EXPECT_EQ(zelsSumRow_32f_D2L(m.in(), 8, dst.data(), 4), zelStsNullPtrErr);
        EXPECT_EQ(zelsSumColumn_32f_D2L(m.in(), 4, dst.data(), 8), zelStsNullPtrErr);
        EXPECT_EQ(zelsMatVecMul_32f_D2L(m.in(), vec.data(), 8, dst.data(), 4), zelStsNullPtrErr);
        EXPECT_EQ(zelsNormalizeColumn_32f_D2L(m.out(), 4, vec.data(), vec.data(), 8), zelStsNullPtrErr);
        for (Zel32f v : dst) EXPECT_EQ(v, -7.0f);

        // The decomposition: a hole in the source, in U and in V.
        Rows<Zel64f> a(4, -1), u(4, -1), v(4, -1), bad(4, hole);
        std::vector<Zel64f> w(8, -7.0);
        EXPECT_EQ(zelsSVD_64f_D2L(bad.in(), u.out(), 4, w.data(), v.out(), 4, 10), zelStsNullPtrErr);
        EXPECT_EQ(zelsSVD_64f_D2L(a.in(), bad.out(), 4, w.data(), v.out(), 4, 10), zelStsNullPtrErr);
        EXPECT_EQ(zelsSVD_64f_D2L(a.in(), u.out(), 4, w.data(), bad.out(), 4, 10), zelStsNullPtrErr);
        EXPECT_EQ(zelsQRTransColumn_64f_D2L(bad.out(), 4, 4, 0, 1, 0.6, 0.8), zelStsNullPtrErr);
        EXPECT_EQ(zelsMulColumn_64f_D2L(bad.out(), 4, 4, 0, 0, 2.0), zelStsNullPtrErr);
        for (Zel64f x : w) EXPECT_EQ(x, -7.0);
        for (Zel64f x : u.data) EXPECT_EQ(x, 1.0);
    }
}

}  // namespace

// The sample variances need two rows; no height, INT_MIN included, wraps
// past that test.
TEST(MatrixVariances, HeightsBelowTwoRefused) {
    std::vector<Zel32f> m(16, 1.0f), mean(8, 1.0f), var(8, -7.0f);
    std::vector<Zel16s> m16(16, 1), mean16(8, 1), var16(8, -7);
    std::vector<Zel32s> var32(8, -7);
    for (int height : {1, 0, -2147483647 - 1}) {
        EXPECT_EQ(zelsVarColumn_32f_D2(m.data(), height, 8, mean.data(), var.data(), 8), zelStsSizeErr);
        EXPECT_EQ(zelsMeanVarColumn_32f_D2(m.data(), height, 8, mean.data(), var.data(), 8), zelStsSizeErr);
        EXPECT_EQ(zelsMeanVarColumn_16s32s_D2Sfs(m16.data(), height, 8, var32.data(), var32.data(), 8, 0),
                  zelStsSizeErr);
    }
    for (Zel32f v : var) EXPECT_EQ(v, -7.0f);
    for (Zel32s v : var32) EXPECT_EQ(v, -7);
}
