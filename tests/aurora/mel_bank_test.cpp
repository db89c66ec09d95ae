// SPDX-License-Identifier: Apache-2.0
// The Aurora Mel banks: centres from the mel scale in double precision,
// every weight read back through the filter-bank evaluation and compared with
// triangles computed here, the sizes of the queries, builds in unaligned
// caller memory, and the kinds that evaluation and release refuse.
#include <math.h>

#include <vector>

#include "common.hpp"

namespace {

using std::vector;

// Centre bins, from the mel scale in double precision.
vector<int> centres(double lowEdge, int count, bool low) {
    auto mel = [](double f) { return 2595.0 * log10(1.0 + f / 700.0); };
    const double step = (mel(4000) - mel(lowEdge)) / (low ? 24 : 4);
    vector<int> c;
    for (int i = 0; i < count; ++i) {
        const double bin = 128.0 / 8000 * 700 * (pow(10.0, (i * step + mel(lowEdge)) / 2595) - 1);
        c.push_back(int(nearbyint(std::min(bin, 64.0))));
    }
    return c;
}

// Weights of each filter over the 65 bins: triangles between neighbouring
// centres, the Low bank's first filter on bin 0 and each Low filter of area 1.
vector<vector<double>> reference(bool low) {
    const vector<int> c = low ? centres(1, 27, true) : centres(80, 5, false);
    vector<vector<double>> w;
    if (low) w.push_back(vector<double>(65, 0.0)), w[0][0] = 1.0;
    for (int m = 1; m + 1 < int(c.size()) && int(w.size()) < (low ? 25 : 3); ++m) {
        vector<double> f(65, 0.0);
        double sum = 0;
        for (int k = c[m - 1] + 1; k <= c[m]; ++k) sum += f[k] = double(k - c[m - 1]) / (c[m] - c[m - 1]);
        for (int k = c[m] + 1; k < c[m + 1]; ++k) sum += f[k] = 1.0 - double(k - c[m]) / (c[m + 1] - c[m]);
        if (low && sum > 0)
            for (double& v : f) v /= sum;
        w.push_back(f);
    }
    return w;
}

// Evaluates a bank on unit vectors: column k of the weights.
template <class S, class Eval>
vector<vector<double>> weightsOf(const S* bank, int nFilter, Eval eval) {
    vector<vector<double>> w(nFilter, vector<double>(65));
    for (int k = 0; k < 65; ++k) {
        vector<double> col = eval(bank, k);
        for (int i = 0; i < nFilter; ++i) w[i][k] = col[i];
    }
    return w;
}

vector<double> eval32f(const ZelFBankState_32f* b, int k) {
    vector<float> x(65, 0.0f), y(25, 0.0f);
    x[k] = 1.0f;
    EXPECT_EQ(zelsEvalFBank_32f(x.data(), y.data(), b), zelStsNoErr);
    return vector<double>(y.begin(), y.end());
}

// A unit of 16384 at bin k returns the Q14 weight.
vector<double> eval16s(const ZelFBankState_16s* b, int k) {
    vector<Zel16s> x(65, 0), y(25, 0);
    x[k] = 16384;
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x.data(), y.data(), b, 0), zelStsNoErr);
    return vector<double>(y.begin(), y.end());
}

TEST(AuroraMelBank, CentresAndWeightsInBothFormsAndBothBuilders) {
    for (bool low : {true, false}) {
        const int nFilter = low ? 25 : 3;
        const vector<vector<double>> want = reference(low);
        ZelFBankState_32f* b32 = nullptr;
        ZelFBankState_16s* b16 = nullptr;
        ASSERT_EQ(low ? zelsMelFBankInitAllocLow_Aurora_32f(&b32) : zelsMelFBankInitAllocHigh_Aurora_32f(&b32),
                  zelStsNoErr);
        ASSERT_EQ(low ? zelsMelFBankInitAllocLow_Aurora_16s(&b16) : zelsMelFBankInitAllocHigh_Aurora_16s(&b16),
                  zelStsNoErr);
        const auto w32 = weightsOf(b32, nFilter, eval32f);
        const auto w16 = weightsOf(b16, nFilter, eval16s);
        for (int i = 0; i < nFilter; ++i)
            for (int k = 0; k < 65; ++k) {
                EXPECT_NEAR(w32[i][k], want[i][k], 1e-6) << "low " << low << " filter " << i << " bin " << k;
                // Q14 ramps and their normalisation each truncate.
                EXPECT_NEAR(w16[i][k] / 16384, want[i][k], 3.0 / 16384) << "low " << low << " filter " << i;
            }

        // Centres as the filter-bank accessor reports them: the Low table moved up one place.
        vector<Zel32s> c(nFilter + 2);
        ASSERT_EQ(zelsFBankGetCenters_32f(b32, c.data()), zelStsNoErr);
        const vector<int> ref = low ? centres(1, 27, true) : centres(80, 5, false);
        for (int i = 0; i < nFilter + 2; ++i) EXPECT_EQ(c[i], low ? (i == 0 ? 0 : ref[i - 1]) : ref[i]) << i;

        // A build in caller memory, at any offset, is the same bank; the
        // release of the filter-bank family leaves that memory to the caller.
        int size = 0, size16 = 0;
        ASSERT_EQ(low ? zelsMelFBankGetSizeLow_Aurora_32f(&size) : zelsMelFBankGetSizeHigh_Aurora_32f(&size), 0);
        ASSERT_EQ(low ? zelsMelFBankGetSizeLow_Aurora_16s(&size16) : zelsMelFBankGetSizeHigh_Aurora_16s(&size16), 0);
        if (sizeof(void*) == 4) {
            EXPECT_EQ(std::pair(size, size16), low ? std::pair(15532, 15536) : std::pair(3124, 3128));
        }
        for (int offset : {0, 8, 24}) {  // aligned for a pointer, not for the rows
            vector<Zel8u> mem(size + 64 + 16, 0xa5);
            Zel8u* at = reinterpret_cast<Zel8u*>((reinterpret_cast<uintptr_t>(mem.data()) + 63) & ~uintptr_t(63)) + offset;
            auto* own = reinterpret_cast<ZelFBankState_32f*>(at);
            ASSERT_EQ(low ? zelsMelFBankInitLow_Aurora_32f(own) : zelsMelFBankInitHigh_Aurora_32f(own), zelStsNoErr);
            EXPECT_EQ(weightsOf(own, nFilter, eval32f), w32) << offset;
            for (size_t j = (at - mem.data()) + size; j < mem.size(); ++j) ASSERT_EQ(mem[j], 0xa5) << "past the size";
            EXPECT_EQ(zelsFBankFree_32f(own), zelStsContextMatchErr);
        }
        vector<Zel8u> mem16(size16 + 32);
        auto* own16 = reinterpret_cast<ZelFBankState_16s*>(mem16.data() + 8);
        ASSERT_EQ(low ? zelsMelFBankInitLow_Aurora_16s(own16) : zelsMelFBankInitHigh_Aurora_16s(own16), zelStsNoErr);
        EXPECT_EQ(weightsOf(own16, nFilter, eval16s), w16);

        EXPECT_EQ(zelsFBankFree_32f(b32), zelStsNoErr);
        EXPECT_EQ(zelsFBankFree_16s(b16), zelStsNoErr);
    }
}

// A 16-bit bank is no float bank, and memory that never held a bank is none.
TEST(AuroraMelBank, WrongKindsAreRefused) {
    ZelFBankState_16s* b16 = nullptr;
    ASSERT_EQ(zelsMelFBankInitAllocHigh_Aurora_16s(&b16), zelStsNoErr);
    float x[65] = {}, y[3] = {5, 5, 5};
    EXPECT_EQ(zelsEvalFBank_32f(x, y, reinterpret_cast<ZelFBankState_32f*>(b16)), zelStsContextMatchErr);
    EXPECT_EQ(zelsFBankFree_32f(reinterpret_cast<ZelFBankState_32f*>(b16)), zelStsContextMatchErr);
    vector<Zel8u> zeros(4096, 0);
    EXPECT_EQ(zelsEvalFBank_32f(x, y, reinterpret_cast<ZelFBankState_32f*>(zeros.data())), zelStsContextMatchErr);
    zt::expectUntouched(y, 3, 5.0f);
    EXPECT_EQ(zelsFBankFree_16s(b16), zelStsNoErr);
}

}  // namespace
