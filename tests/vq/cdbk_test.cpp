// SPDX-License-Identifier: Apache-2.0
// Codebooks: sizes, the builder in caller memory, training results on
// ordinary and degenerate data, checks in order and kinds.
#include "vq_reference.hpp"

namespace {

using vqt::Cdbk16s;
using vqt::Cdbk32f;

TEST(Codebook, SizesAndCallerMemory) {
    const int64_t extra = sizeof(void*) == 8 ? 24 : 0;
    int size = 0;
    // Row stride: width for 1, 2, 4, else step rounded up to 8.
    ASSERT_EQ(zelsCdbkGetSize_32f(4, 6, 10, 10, 1, &size), zelStsNoErr);
    EXPECT_EQ(size, 4 * (4 + 10 + 4 * 10) + 144 + extra);
    ASSERT_EQ(zelsCdbkGetSize_32f(3, 9, 10, 10, 0, &size), zelStsNoErr);
    EXPECT_EQ(size, 4 * (3 + 10 + 16 * 10) + 144 + extra);
    ASSERT_EQ(zelsCdbkGetSize_16s(5, 5, 7, 7, 1, &size), zelStsNoErr);
    EXPECT_EQ(size, 4 * 7 + 176 + 2 * (8 * 7 + 5) + extra);
    zt::expectStatuses({
        {zelsCdbkGetSize_32f(0, 6, 10, 10, 2, nullptr), zelStsCdbkFlagErr},
        {zelsCdbkGetSize_32f(0, 6, 10, 10, 1, nullptr), zelStsNullPtrErr},
        {zelsCdbkGetSize_32f(0, 6, 10, 10, 1, &size), zelStsSizeErr},
        {zelsCdbkGetSize_32f(7, 6, 10, 10, 1, &size), zelStsSizeErr},
        {zelsCdbkGetSize_32f(4, 6, 10, 9, 1, &size), zelStsSizeErr},
        {zelsCdbkGetSize_16s(4, 6, 16384, 16384, 1, &size), zelStsSizeErr},
        {zelsCdbkInit_L2_32f(nullptr, nullptr, 4, 6, 10, 10, 3), zelStsCdbkFlagErr},
    });

    // Rows come back as copied, at every buffer start a pointer may have.
    vqt::Lcg g(8);
    for (int width : {1, 3, 4, 9}) {
        const int step = width + 2, n = 13;
        std::vector<float> src(size_t(n) * step);
        for (auto& v : src) v = g.range(-1, 1);
        ASSERT_EQ(zelsCdbkGetSize_32f(width, step, n, n, 1, &size), zelStsNoErr);
        for (int shift : {0, 8, 24}) {
            std::vector<uint8_t> mem(size_t(size) + 64, 0xCD);
            uint8_t* base = mem.data() + (32 - reinterpret_cast<uintptr_t>(mem.data()) % 32) % 32 + shift;
            std::vector<uint8_t> guard(base + size, mem.data() + mem.size());
            auto* cb = reinterpret_cast<ZelCdbkState_32f*>(base);
            ASSERT_EQ(zelsCdbkInit_L2_32f(cb, src.data(), width, step, n, n, 1), zelStsNoErr);
            // Nothing past the reported size is touched.
            EXPECT_TRUE(std::equal(guard.begin(), guard.end(), base + size));
            int num = 0;
            ASSERT_EQ(zelsGetCdbkSize_32f(cb, &num), zelStsNoErr);
            EXPECT_EQ(num, n);
            std::vector<float> rows(size_t(n) * step, 5.0f);
            ASSERT_EQ(zelsGetCodebook_32f(cb, rows.data(), step), zelStsNoErr);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < step; ++j)
                    EXPECT_EQ(rows[size_t(i) * step + j], j < width ? src[size_t(i) * step + j] : 5.0f);
            EXPECT_EQ(zelsGetCodebook_32f(cb, rows.data(), width - 1), zelStsSizeErr);
            EXPECT_EQ(zelsGetCdbkSize_16s(reinterpret_cast<ZelCdbkState_16s*>(cb), &num), zelStsContextMatchErr);
        }
    }
}

// Training on mixtures: the codebook has the size asked for, its mean
// distortion is no worse than k-means from the true centres would leave by
// much, and every vector's leaf is its nearest codeword or near it.
TEST(Codebook, TrainingOnGaussianMixtures) {
    for (int hint : {2, 3}) {
        vqt::Lcg g(20 + hint);
        const int n = 3000, width = 5, k = 32;
        auto data = vqt::clusters(g, n, width, 8, 10.0f, 1.0f);
        Cdbk32f cb(data.data(), width, width, n, k, hint);
        ASSERT_EQ(cb.status, zelStsNoErr);
        EXPECT_EQ(cb.entries(), k);
        const auto rows = cb.rows(width);
        double total = 0;
        for (int i = 0; i < n; ++i) total += vqt::exhaustive(rows.data(), width, k, &data[size_t(i) * width], width).sq;
        // Eight unit-variance clusters in five dimensions leave about 5 per
        // vector with 8 centroids; 32 must do clearly better.
        EXPECT_LT(total / n, 4.0) << "hint " << hint;
    }
}

TEST(Codebook, DegenerateTrainingData) {
    // All vectors equal: no leaf has a spread, one entry, a warning.
    std::vector<float> same(40 * 3, 2.5f);
    for (int hint : {2, 3}) {
        Cdbk32f cb(same.data(), 3, 3, 40, 8, hint);
        EXPECT_EQ(cb.status, zelStsCdbkSizeWarn);
        EXPECT_EQ(cb.entries(), 1);
        EXPECT_EQ(cb.rows(3)[0], 2.5f);
        // cdbkSize 1: the mean; one vector: itself.
        const float two[] = {1, 2, 3, 5, 6, 7};
        Cdbk32f one(two, 3, 3, 2, 1, hint);
        EXPECT_EQ(one.status, zelStsNoErr);
        EXPECT_EQ(one.rows(3), (std::vector<float>{3, 4, 5}));
        Cdbk32f single(two, 3, 3, 1, 1, hint);
        EXPECT_EQ(single.status, zelStsNoErr);
        EXPECT_EQ(single.rows(3), (std::vector<float>{1, 2, 3}));
    }
    // Two distinct points repeated: two entries exactly at the points.
    std::vector<Zel16s> pairs;
    for (int i = 0; i < 30; ++i) pairs.insert(pairs.end(), {Zel16s(i % 2 ? 100 : -100), 7});
    Cdbk16s c16(pairs.data(), 2, 2, 30, 4, 3);
    EXPECT_EQ(c16.status, zelStsCdbkSizeWarn);
    ASSERT_EQ(c16.entries(), 2);
    auto r = c16.rows(2);
    EXPECT_EQ(std::min(r[0], r[2]), -100);
    EXPECT_EQ(std::max(r[0], r[2]), 100);
    // More codewords than vectors, sizes and weights.
    const float w[] = {1, -1};
    ZelCdbkState_32f* p = reinterpret_cast<ZelCdbkState_32f*>(0x1);
    zt::expectStatuses({
        {zelsCdbkInitAlloc_L2_32f(&p, same.data(), 3, 3, 4, 5, 2), zelStsSizeErr},
        {zelsCdbkInitAlloc_L2_32f(&p, nullptr, 0, 3, 4, 5, 2), zelStsSizeErr},
        {zelsCdbkInitAlloc_WgtL2_32f(&p, same.data(), nullptr, 2, 3, 4, 4, 2), zelStsNullPtrErr},
        {zelsCdbkInitAlloc_WgtL2_32f(&p, same.data(), w, 2, 3, 4, 4, 2), zelStsBadArgErr},
        {zelsCdbkInitAlloc_L2_32f(&p, same.data(), 3, 3, 4, 4, 4), zelStsCdbkFlagErr},
        {zelsCdbkInitAlloc_L2_32f(&p, same.data(), 3, 3, 20000, 16384, 1), zelStsSizeErr},
    });
    EXPECT_EQ(p, reinterpret_cast<ZelCdbkState_32f*>(0x1));
}

TEST(Codebook, FullCodebooksKeepEveryRow) {
    vqt::Lcg g(9);
    std::vector<float> src(30 * 3);
    for (auto& v : src) v = g.range(0, 1);
    Cdbk32f cb(src.data(), 3, 3, 30, 12, 1);
    EXPECT_EQ(cb.status, zelStsCdbkSizeWarn);
    EXPECT_EQ(cb.entries(), 30);
    EXPECT_EQ(cb.rows(3), src);
    // Free: wrong type, twice from caller memory, unknown kind.
    EXPECT_EQ(zelsCdbkFree_16s(reinterpret_cast<ZelCdbkState_16s*>(cb.p)), zelStsContextMatchErr);
    EXPECT_EQ(zelsCdbkFree_32f(nullptr), zelStsNullPtrErr);
    int size;
    ASSERT_EQ(zelsCdbkGetSize_32f(3, 3, 30, 30, 9, &size), zelStsNoErr);
    std::vector<uint64_t> mem(size_t(size) / 8 + 1);
    auto* odd = reinterpret_cast<ZelCdbkState_32f*>(mem.data());
    ASSERT_EQ(zelsCdbkInit_L2_32f(odd, src.data(), 3, 3, 30, 30, 9), zelStsNoErr);
    // A kind no search knows writes nothing and is not released.
    Zel32s idx[2] = {-3, -3};
    EXPECT_EQ(zelsVQ_32f(src.data(), 3, idx, 2, odd), zelStsNoErr);
    EXPECT_EQ(idx[0], -3);
    EXPECT_EQ(zelsCdbkFree_32f(odd), zelStsCdbkKindErr);
}

// Two coinciding clusters: splitting must separate points that only differ
// in their order of arrival; the result still covers both.
TEST(Codebook, SeparatesClustersThatCoincide) {
    std::vector<float> v;
    for (int i = 0; i < 64; ++i) {
        const float a = float(i % 4), b = float((i / 4) % 4);
        v.insert(v.end(), {a, b});
    }
    for (int hint : {2, 3}) {
        Cdbk32f cb(v.data(), 2, 2, 64, 16, hint);
        ASSERT_GE(cb.status, 0);
        const int n = cb.entries();
        const auto rows = cb.rows(2);
        double total = 0;
        for (int i = 0; i < 64; ++i) total += vqt::exhaustive(rows.data(), 2, n, &v[size_t(i) * 2], 2).sq;
        EXPECT_LT(total / 64, 0.5) << "hint " << hint << " entries " << n;
    }
}

}  // namespace

// The training builders refuse a width beyond the step before they set up
// anything for it (unit weights of INT_MAX elements would be 8 GiB, and
// their allocation would fail first on a 32-bit build).
TEST(Codebook, OversizedWidthRefusedBeforeAnyAllocation) {
    std::vector<Zel32f> src(16 * 8, 1.0f);
    std::vector<Zel16s> src16(16 * 8, 1);
    ZelCdbkState_32f* c = reinterpret_cast<ZelCdbkState_32f*>(&src[0]);
    ZelCdbkState_16s* c16 = reinterpret_cast<ZelCdbkState_16s*>(&src16[0]);
    EXPECT_EQ(zelsCdbkInitAlloc_L2_32f(&c, src.data(), 2147483647, 8, 16, 4, 1), zelStsSizeErr);
    EXPECT_EQ(zelsCdbkInitAlloc_L2_16s(&c16, src16.data(), 2147483647, 8, 16, 4, 1), zelStsSizeErr);
    EXPECT_EQ(zelsCdbkInitAlloc_L2_32f(nullptr, src.data(), 2147483647, 8, 16, 4, 1), zelStsNullPtrErr);
    EXPECT_EQ(c, reinterpret_cast<ZelCdbkState_32f*>(&src[0]));
}
