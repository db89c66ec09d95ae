// SPDX-License-Identifier: Apache-2.0
// The unnormalised autocorrelation on both sides of the switch to the FFT
// path at 856 lags, against a direct sum in long double.
#include <stdio.h>

#include <algorithm>

#include "common.hpp"
#include "frame/toolkit.h"

namespace {

// Relative to lag 0, the largest value. The direct float sums and the FFT
// path both stay near 1e-7; products that wrap around a too short transform
// would be of the order of 1e-2.
constexpr double kTolerance = 1e-5;

TEST(AutoCorr, MatchesDirectSumAroundTheFftSwitch) {
    const struct { int srcLen, dstLen; } cases[] = {
        {1, 1},     {1, 4},     {2, 2},     {5, 3},      {100, 40},   {855, 855},  {855, 900},
        {857, 855}, {3000, 855}, {856, 856}, {857, 856}, {856, 1000}, {857, 2000}, {3000, 2500},
    };
    double worst = 0;
    for (auto c : cases) {
        SCOPED_TRACE(testing::Message() << "srcLen " << c.srcLen << " dstLen " << c.dstLen);
        std::vector<float> x(c.srcLen);
        // An offset keeps every lag well away from zero.
        zt::fillUniform(x.data(), x.size(), -0.7, 1.0);
        std::vector<float> got(c.dstLen + 3, -9.0f);
        ASSERT_EQ(ownAutoCorr_32f(x.data(), c.srcLen, got.data(), c.dstLen), zelStsNoErr);
        const int lags = std::min(c.srcLen, c.dstLen);
        long double lag0 = 0;
        for (float v : x) lag0 += (long double)v * v;
        for (int k = 0; k < lags; ++k) {
            long double want = 0;
            for (int n = 0; n + k < c.srcLen; ++n) want += (long double)x[n] * x[n + k];
            const double err = double(std::fabs(got[k] - want) / lag0);
            EXPECT_LT(err, kTolerance) << "lag " << k;
            worst = std::max(worst, err);
        }
        for (int k = lags; k < c.dstLen; ++k) EXPECT_EQ(zt::bits(got[k]), 0u) << "lag " << k;
        for (int k = c.dstLen; k < c.dstLen + 3; ++k) EXPECT_EQ(got[k], -9.0f);
    }
    printf("largest error relative to lag 0: %.3g\n", worst);
}

TEST(AutoCorr, BadArgumentsLeaveTheOutputAlone) {
    float x[4] = {1, 2, 3, 4}, y[4] = {7, 7, 7, 7};
    zt::expectStatuses({{ownAutoCorr_32f(x, 4, nullptr, 0), zelStsNullPtrErr}, {ownAutoCorr_32f(x, 0, y, 4), zelStsSizeErr},
                        {ownAutoCorr_32f(x, 4, y, -1), zelStsSizeErr}});
    zt::expectUntouched(y, 4, 7.0f);
}

}  // namespace
