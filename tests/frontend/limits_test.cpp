// SPDX-License-Identifier: Apache-2.0
// The front-end states at the edges of their sizes and values: counts near
// INT_MAX, a builder handed what its size query refuses, arguments that give
// no bank, and scale factors at the ends of int. Each refusal leaves the
// caller's memory as it was.
#include <limits.h>
#include <math.h>

#include "common.hpp"

namespace {

constexpr unsigned char kFill = 0xa5;

// Caller memory for a builder, every byte a sentinel.
struct Block {
    std::vector<unsigned char> bytes;
    explicit Block(size_t n) : bytes(n, kFill) {}
    template <class T>
    T* as() { return reinterpret_cast<T*>(bytes.data()); }
    bool untouched() const {
        for (unsigned char b : bytes)
            if (b != kFill) return false;
        return true;
    }
};

TEST(FrontEndLimits, FilterCountsNearIntMaxAreSizeErrorsEverywhere) {
    for (int n : {INT_MAX, INT_MAX - 1, INT_MAX - 2, 1 << 28}) {
        for (int mode : {1, 2, 5}) {
            int size = -7;
            EXPECT_EQ(zelsMelFBankGetSize_32f(256, n, mode, &size), zelStsSizeErr) << n;
            EXPECT_EQ(zelsMelFBankGetSize_16s(256, n, mode, &size), zelStsSizeErr) << n;
            EXPECT_EQ(size, -7);
        }
        int size = -7;
        EXPECT_EQ(zelsMelFBankGetSize_32s(256, n, 2, &size), zelStsSizeErr);
        ZelFBankState_32f* f = nullptr;
        ZelFBankState_16s* h = nullptr;
        int order = -7;
        EXPECT_EQ(zelsMelFBankInitAlloc_32f(&f, &order, 256, 16000, 100, 8000, n, 2595, 700, 1), zelStsSizeErr);
        EXPECT_EQ(zelsMelFBankInitAlloc_16s(&h, &order, 256, 16000, 100, 8000, n, 2595, 700, 1), zelStsSizeErr);
        EXPECT_EQ(zelsMelLinFBankInitAlloc_32f(&f, &order, 256, 16000, 100, 8000, n, 1000, 3, 2595, 700, 1),
                  zelStsSizeErr);
        EXPECT_EQ(zelsMelLinFBankInitAlloc_16s(&h, &order, 256, 16000, 100, 8000, n, 1000, 3, 2595, 700, 1),
                  zelStsSizeErr);
        EXPECT_EQ(zelsEmptyFBankInitAlloc_32f(&f, &order, 256, n, 1), zelStsSizeErr);
        EXPECT_EQ(zelsEmptyFBankInitAlloc_16s(&h, &order, 256, n, 1), zelStsSizeErr);
        EXPECT_TRUE(f == nullptr && h == nullptr && order == -7);
    }
}

// The query refuses 2^28 filters of a 256-point window; the builder must
// refuse them too before it lays anything out in the caller's memory.
TEST(FrontEndLimits, BuilderRefusesWhatItsQueryRefuses) {
    const int n = 1 << 28;
    int size = 0;
    ASSERT_EQ(zelsMelFBankGetSize_32f(256, n, 1, &size), zelStsSizeErr);
    Block mem(1 << 16);
    int order = -7;
    EXPECT_EQ(zelsMelFBankInit_32f(mem.as<ZelFBankState_32f>(), &order, 256, 16000, 100, 8000, n, 2595, 700, 1),
              zelStsSizeErr);
    EXPECT_EQ(zelsMelFBankInit_16s(mem.as<ZelFBankState_16s>(), &order, 256, 16000, 100, 8000, n, 2595, 700, 1),
              zelStsSizeErr);
    EXPECT_TRUE(mem.untouched());
    EXPECT_EQ(order, -7);

    ASSERT_EQ(zelsDCTLifterGetSize_MulC0_16s(8193, 13, &size), zelStsSizeErr);
    std::vector<Zel32s> lifter(13, 1 << 16);
    EXPECT_EQ(zelsDCTLifterInit_MulC0_16s(mem.as<ZelDCTLifterState_16s>(), 8193, lifter.data(), 13), zelStsSizeErr);
    EXPECT_TRUE(mem.untouched());
}

TEST(FrontEndLimits, LifterSizesOfHugeLengthsAreSizeErrors) {
    using Query = ZelStatus (*)(int, int, int*);
    for (Query q : {zelsDCTLifterGetSize_32f, zelsDCTLifterGetSize_C0_32f, zelsDCTLifterGetSize_Mul_32f,
                    zelsDCTLifterGetSize_MulC0_32f, zelsDCTLifterGetSize_16s, zelsDCTLifterGetSize_C0_16s,
                    zelsDCTLifterGetSize_Mul_16s, zelsDCTLifterGetSize_MulC0_16s})
        for (int c : {INT_MAX, INT_MAX - 1, 1 << 30, 46341}) {
            int size = -7;
            EXPECT_EQ(q(INT_MAX, c, &size), zelStsSizeErr) << c;
            EXPECT_EQ(size, -7);
        }
}

// Frequencies and mel parameters that pass the argument tests but place no
// centre inside the spectrum: the builder says so and leaves its memory alone.
TEST(FrontEndLimits, BankWithoutCentresLeavesCallerMemoryAlone) {
    const float nan = NAN, inf = INFINITY;
    struct Args {
        float low, high, mul, div;
    };
    // A negative melMul alone mirrors the scale and still gives a bank.
    const Args cases[] = {{nan, 8000, 2595, 700},  {100, nan, 2595, 700},  {100, 8000, 0, 700},
                          {100, 8000, inf, 700},   {100, 8000, nan, 700},  {100, 8000, 2595, 0},
                          {100, 8000, 2595, -1},   {100, 8000, 2595, inf}, {100, 8000, 2595, nan},
                          {100, 8000, -1, -700}};
    for (int mode : {1, 2, 5}) {
        int size = 0;
        ASSERT_EQ(zelsMelFBankGetSize_32f(256, 20, mode, &size), zelStsNoErr);
        int size16 = 0;
        ASSERT_EQ(zelsMelFBankGetSize_16s(256, 20, mode, &size16), zelStsNoErr);
        for (const Args& a : cases) {
            Block mem(size_t(std::max(size, size16)));
            int order = -7;
            const ZelStatus s32 = zelsMelFBankInit_32f(mem.as<ZelFBankState_32f>(), &order, 256, 16000, a.low, a.high,
                                                       20, a.mul, a.div, mode);
            const ZelStatus s16 = zelsMelFBankInit_16s(mem.as<ZelFBankState_16s>(), &order, 256, 16000, a.low, a.high,
                                                       20, a.mul, a.div, mode);
            EXPECT_LT(s32, 0) << a.low << " " << a.high << " " << a.mul << " " << a.div;
            EXPECT_LT(s16, 0);
            EXPECT_TRUE(mem.untouched()) << a.low << " " << a.high << " " << a.mul << " " << a.div << " mode " << mode;
            EXPECT_EQ(order, -7);
        }
    }
}

// Scale factors at the ends of int act as the widest factor of their class.
TEST(FrontEndLimits, AuroraDeltasTakeAnyScaleFactor) {
    std::vector<Zel16s> src(14 * 12), val(39, 3);
    zt::fillUniform(src.data(), src.size(), -3000, 3000);
    for (auto mul : {false, true}) {
        std::vector<Zel16s> a(39 * 12, 0), b(39 * 12, 0);
        auto run = [&](std::vector<Zel16s>& dst, int sf) {
            return mul ? zelsDeltaDeltaMul_Aurora_16s_D2Sfs(src.data(), val.data(), dst.data(), 39, 12, 3, sf)
                       : zelsDeltaDelta_Aurora_16s_D2Sfs(src.data(), dst.data(), 39, 12, 3, sf);
        };
        // INT_MAX agrees with 31 in both of the shifts it feeds, modulo 32.
        ASSERT_EQ(run(a, INT_MAX), zelStsNoErr);
        ASSERT_EQ(run(b, 31), zelStsNoErr);
        EXPECT_EQ(a, b);
        ASSERT_EQ(run(a, INT_MIN), zelStsNoErr);
        ASSERT_EQ(run(b, 0), zelStsNoErr);
        EXPECT_EQ(a, b);
    }
}

}  // namespace
