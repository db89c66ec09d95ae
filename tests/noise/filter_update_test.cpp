// SPDX-License-Identifier: Apache-2.0
// Suppression gains: the length and gain ranges with untouched outputs,
// negative ratios, the ends of the tables. Accuracy against the exact gains is checked with scipy
// in filter_update_test.py.
#include <math.h>

#include <vector>

#include "common.hpp"

namespace {

// Lengths run from 1 to 65535. A Wiener gain outside 0..1 (or NaN) anywhere
// is refused before any output is written; the fixed form can tell only
// negative ones.
TEST(FilterUpdate, LengthRangeAndGainRangeBeforeAnyOutput) {
    std::vector<float> a(65536, 0.25f), b(65536, 2.0f), d(65536, -3.0f);
    std::vector<int32_t> ai(65536, 1 << 30), bi(65536, 1 << 15), di(65536, -3);
    zt::expectStatuses({
        {zelsFilterUpdateWiener_32f(a.data(), d.data(), 65536), zelStsLengthRangeErr},
        {zelsFilterUpdateEMNS_32s(ai.data(), bi.data(), di.data(), 0), zelStsLengthRangeErr},
        {zelsFilterUpdateWiener_32f(b.data(), d.data(), 65535), zelStsNoErr},
        {zelsFilterUpdateEMNS_32f(a.data(), b.data(), d.data(), 65535), zelStsNoErr},
        {zelsFilterUpdateWiener_32s(bi.data(), di.data(), 65535), zelStsNoErr},
        {zelsFilterUpdateEMNS_32s(ai.data(), bi.data(), di.data(), 65535), zelStsNoErr},
    });
    EXPECT_EQ(d[65535], -3.0f);
    EXPECT_EQ(di[65535], -3);
    d.assign(100, -3.0f), di.assign(100, -3);
    for (float bad : {-0.001f, 1.001f, NAN}) {
        a[70] = bad;
        EXPECT_EQ(zelsFilterUpdateEMNS_32f(a.data(), b.data(), d.data(), 100), zelStsRangeErr);
    }
    ai[99] = -1;
    EXPECT_EQ(zelsFilterUpdateEMNS_32s(ai.data(), bi.data(), di.data(), 100), zelStsRangeErr);
    zt::expectUntouched(d.data(), 100, -3.0f);
    zt::expectUntouched(di.data(), 100, -3);
}

TEST(FilterUpdate, NegativeAndZeroRatios) {
    // A negative ratio gives gain 0 and a status, every other gain is still
    // written, and a ratio of 0 gives 0 without one; in place works.
    float x[5] = {1.0f, -2.0f, 0.0f, 3.0f, -1e-30f}, y[2] = {0.0f, 3.0f};
    EXPECT_EQ(zelsFilterUpdateWiener_32f(y, y, 2), zelStsNoErr);
    EXPECT_TRUE(y[0] == 0.0f && y[1] == 0.75f);
    EXPECT_EQ(zelsFilterUpdateWiener_32f(x, x, 5), zelStsBadArgErr);
    EXPECT_TRUE(x[0] == 0.5f && x[1] == 0.0f && x[2] == 0.0f && x[3] == 0.75f && x[4] == 0.0f);

    const int32_t v[4] = {1 << 15, -1, 0, 1 << 30};
    int32_t g[4];
    EXPECT_EQ(zelsFilterUpdateWiener_32s(v, g, 4), zelStsBadArgErr);
    EXPECT_TRUE(g[0] == 1 << 30 && g[1] == 0 && g[2] == 0 && g[3] == 2147483647);
}

TEST(FilterUpdate, EmnsTableEnds) {
    // A product too small to register takes the largest factor, w * (2^31 - 1).
    const float w[2] = {1e-3f, 0.0f}, g[2] = {1e-6f, 50.0f};
    float d[2];
    EXPECT_EQ(zelsFilterUpdateEMNS_32f(w, g, d, 2), zelStsNoErr);
    EXPECT_EQ(d[0], 1e-3f * 2147483648.0f);
    EXPECT_EQ(d[1], 0.0f);
    const int32_t wi[2] = {1000, 1 << 30}, gi[2] = {-5, 1 << 22};
    int32_t di[2];
    EXPECT_EQ(zelsFilterUpdateEMNS_32s(wi, gi, di, 2), zelStsNoErr);
    EXPECT_EQ(di[0], 2147483647);  // saturated
    // Ratio 128 clamps to 100: the factor is then about 1, the gain about w.
    EXPECT_NEAR(di[1] / 2147483648.0, 0.5 * 1.005, 0.005);
}

}  // namespace
