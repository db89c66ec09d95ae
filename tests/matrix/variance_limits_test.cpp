// SPDX-License-Identifier: Apache-2.0
// Sample variances at the smallest heights.
#include <vector>

#include "common.hpp"

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
