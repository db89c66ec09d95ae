// SPDX-License-Identifier: Apache-2.0
// Scoring at the edges: the rounding of the Low sums where a row is shifted
// group by group, and scale factors at the ends of int.
#include <limits.h>

#include <vector>

#include "common.hpp"

namespace {

// A row of 15 columns whose only differences are 2 at columns 0 (weight 2),
// 8, 12 and 14 (weight 1): every square is 4, so h = 0 and l = 2. The groups
// of 8, 4, 2 and 1 columns hold L sums of 4, 2, 2 and 2, all on pair 0.
// With s = 3, a row shifted once gives 100 + (-10 >> 3) = 98; a row shifted
// group by group 100 + (-4 >> 3) + 3 * (-2 >> 3) = 96.
struct GroupRow {
    static constexpr int kWidth = 15, kHeight = 3, kScale = 3;
    std::vector<Zel16s> x = std::vector<Zel16s>(kWidth * kHeight, 7);
    std::vector<Zel16s> mean = std::vector<Zel16s>(kWidth, 7), zero = std::vector<Zel16s>(kWidth, 0);
    std::vector<Zel16s> var = std::vector<Zel16s>(kWidth * kHeight, 1);
    GroupRow() {
        for (int y = 0; y < kHeight; ++y) {
            for (int c : {0, 8, 12, 14}) x[y * kWidth + c] = 9;
            var[y * kWidth] = 2;
        }
    }
    const Zel16s* row(int y) const { return x.data() + y * kWidth; }
};

TEST(LowGroups, LastRowOfAnOddHeightShiftsOncePerGroup) {
    GroupRow g;
    const int w = GroupRow::kWidth, h = GroupRow::kHeight, s = GroupRow::kScale;
    const std::vector<Zel32s> want{98, 98, 96};
    const std::vector<Zel32f> wantF{98.0f, 98.0f, 96.0f};
    std::vector<Zel32s> d(h);
    std::vector<Zel32f> f(h);
    const std::vector<Zel32s> val(h, 100);
    const std::vector<Zel32f> valF(h, 100.0f);

    EXPECT_EQ(zelsLogGauss_Low_16s32s_D2Sfs(g.x.data(), w, g.mean.data(), g.var.data(), w, d.data(), h, 100, s), 0);
    EXPECT_EQ(d, want);
    EXPECT_EQ(zelsLogGauss_LowScaled_16s32f_D2(g.x.data(), w, g.mean.data(), g.var.data(), w, f.data(), h, 100, s), 0);
    EXPECT_EQ(f, wantF);

    d.assign(h, INT_MIN);
    EXPECT_EQ(zelsLogGaussMax_Low_16s32s_D2Sfs(g.x.data(), w, g.mean.data(), g.var.data(), w, d.data(), h, 100, s), 0);
    EXPECT_EQ(d, want);
    f.assign(h, -1e30f);
    EXPECT_EQ(zelsLogGaussMax_LowScaled_16s32f_D2(g.x.data(), w, g.mean.data(), g.var.data(), w, f.data(), h, 100, s),
              0);
    EXPECT_EQ(f, wantF);

    // Multi-mixture: the rows are means, the frame is the common mean; the
    // difference changes sign, the squares do not.
    d = val;
    EXPECT_EQ(zelsLogGaussMultiMix_Low_16s32s_D2Sfs(g.x.data(), g.var.data(), w, g.mean.data(), w, d.data(), h, s), 0);
    EXPECT_EQ(d, want);
    f = valF;
    EXPECT_EQ(zelsLogGaussMultiMix_LowScaled_16s32f_D2(g.x.data(), g.var.data(), w, g.mean.data(), w, f.data(), h, s),
              0);
    EXPECT_EQ(f, wantF);
    d.assign(h, INT_MIN);
    EXPECT_EQ(zelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(g.x.data(), g.var.data(), w, g.mean.data(), w, val.data(),
                                                       d.data(), h, s),
              0);
    EXPECT_EQ(d, want);
    f.assign(h, -1e30f);
    EXPECT_EQ(zelsLogGaussMaxMultiMix_LowScaled_16s32f_D2(g.x.data(), g.var.data(), w, g.mean.data(), w, valF.data(),
                                                          f.data(), h, s),
              0);
    EXPECT_EQ(f, wantF);
}

TEST(LowGroups, OneVectorShiftsEachLaterGroupByItself) {
    GroupRow g;
    Zel32s r = 0;
    Zel32f f = 0;
    EXPECT_EQ(zelsLogGaussSingle_Low_16s32s_Sfs(g.row(0), g.mean.data(), g.var.data(), GroupRow::kWidth, &r, 100,
                                                GroupRow::kScale),
              0);
    EXPECT_EQ(r, 96);
    EXPECT_EQ(zelsLogGaussSingle_LowScaled_16s32f(g.row(0), g.mean.data(), g.var.data(), GroupRow::kWidth, &f, 100.0f,
                                                  GroupRow::kScale),
              0);
    EXPECT_EQ(f, 96.0f);
}

// -INT_MIN has no int: the factor acts as any other beyond the clamp.
TEST(ScoringLimits, LogAddTakesTheMostNegativeScaleFactor) {
    std::vector<Zel16s> a16{-300, 5, 7000, -32768}, b16{12, -9, 100, 32767}, c16 = b16;
    std::vector<Zel32s> a32{-300, 5, 7000, INT_MIN}, b32{12, -9, 100, INT_MAX}, c32 = b32;
    for (int hint : {0, 1, 2}) {
        auto d16 = b16, e16 = c16;
        auto d32 = b32, e32 = c32;
        EXPECT_EQ(zelsLogAdd_16s_Sfs(a16.data(), d16.data(), 4, INT_MIN, ZelHintAlgorithm(hint)), 0);
        EXPECT_EQ(zelsLogAdd_16s_Sfs(a16.data(), e16.data(), 4, -100000, ZelHintAlgorithm(hint)), 0);
        EXPECT_EQ(d16, e16);
        EXPECT_EQ(zelsLogAdd_32s_Sfs(a32.data(), d32.data(), 4, INT_MIN, ZelHintAlgorithm(hint)), 0);
        EXPECT_EQ(zelsLogAdd_32s_Sfs(a32.data(), e32.data(), 4, -100000, ZelHintAlgorithm(hint)), 0);
        EXPECT_EQ(d32, e32);
    }
}

}  // namespace
