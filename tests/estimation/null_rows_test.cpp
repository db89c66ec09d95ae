// SPDX-License-Identifier: Apache-2.0
// The covariance accumulator refuses a null row in either table, before any
// element of the matrix is updated.
#include <gtest/gtest.h>

#include <vector>

#include "zelsr.h"

TEST(CovarianceNullRows, RefusedWithMatrixUntouched) {
    std::vector<Zel32f> src(4 * 3, 1.0f), mean(3, 0.5f);
    std::vector<Zel64f> acc(3 * 3, -7.0);
    for (int hole : {0, 2}) {
        const Zel32f* s[4];
        Zel64f* d[3];
        for (int y = 0; y < 4; ++y) s[y] = &src[size_t(y) * 3];
        for (int y = 0; y < 3; ++y) d[y] = &acc[size_t(y) * 3];
        s[hole] = nullptr;
        EXPECT_EQ(zelsAccCovarianceMatrix_32f64f_D2L(s, 4, mean.data(), d, 3, 1.0), zelStsNullPtrErr);
        s[hole] = &src[0];
        d[hole] = nullptr;
        EXPECT_EQ(zelsAccCovarianceMatrix_32f64f_D2L(s, 4, mean.data(), d, 3, 1.0), zelStsNullPtrErr);
    }
    for (Zel64f v : acc) EXPECT_EQ(v, -7.0);
}
