// SPDX-License-Identifier: Apache-2.0
// Threads: the toolkit kernels that split their work over two OpenMP threads
// give the bits of one thread, warnings included, and so do the exported
// functions that reach them; two caller threads with states of their own,
// and read-only states shared between them, do not disturb each other. The
// suite also runs this program under ThreadSanitizer.
#include <omp.h>

#include <thread>
#include <vector>

#include "common.hpp"
#include "frame/toolkit.h"

namespace {

// Runs f once with the runtime limited to one thread and once with two.
template <class F>
void serialAndSplit(F f) {
    const int before = omp_get_max_threads();
    omp_set_num_threads(1);
    f(0);
    omp_set_num_threads(2);
    f(1);
    omp_set_num_threads(before);
}

TEST(Threads, SplitKernelsGiveTheBitsOfOneThread) {
    // Lengths above every split threshold, odd so that the last thread takes a remainder.
    const int n = 8193;
    std::vector<float> a(n), b(n), div32[2];
    std::vector<double> c(n), d(n), div64[2], sq[2];
    std::vector<int32_t> ci(2 * n), mag32s[2];
    std::vector<float> cf(2 * n), mag32f[2];
    zt::fillUniform(a.data(), n, -10, 10);
    zt::fillUniform(b.data(), n, -10, 10);
    zt::fillUniform(c.data(), n, -10, 10);
    zt::fillUniform(d.data(), n, -10, 10);
    zt::fillUniform(ci.data(), ci.size(), -30000, 30000);
    zt::fillUniform(cf.data(), cf.size(), -30000, 30000);
    // A division by zero in the last chunk and one in the first.
    a[n - 1] = b[n - 1] = 0.0f, c[17] = d[17] = 0.0;
    ZelStatus st[2][5];
    serialAndSplit([&](int k) {
        div32[k].resize(n), div64[k].resize(n), sq[k] = c, mag32s[k].resize(n), mag32f[k].resize(n);
        st[k][0] = ownDiv_32f(b.data(), a.data(), div32[k].data(), n);
        st[k][1] = ownDiv_64f(d.data(), c.data(), div64[k].data(), n);
        st[k][2] = ownSqrt_64f_I(sq[k].data(), n);
        st[k][3] = ownMagnitude_32fc(cf.data(), mag32f[k].data(), n);
        st[k][4] = ownMagnitude_32sc_Sfs(ci.data(), mag32s[k].data(), n, -3);
    });
    for (int i = 0; i < 5; ++i) EXPECT_EQ(st[0][i], st[1][i]) << i;
    EXPECT_EQ(st[1][0], zelStsDivByZero);
    EXPECT_EQ(st[1][1], zelStsDivByZero);
    EXPECT_EQ(st[1][2], zelStsSqrtNegArg);
    for (int i = 0; i < n; ++i) {
        EXPECT_SAME_BITS(div32[0][i], div32[1][i]);
        EXPECT_SAME_BITS(div64[0][i], div64[1][i]);
        EXPECT_SAME_BITS(sq[0][i], sq[1][i]);
        EXPECT_SAME_BITS(mag32f[0][i], mag32f[1][i]);
        EXPECT_EQ(mag32s[0][i], mag32s[1][i]);
    }
}

// Exported functions that reach the split kernels: a long magnitude bank and
// the one-vector scoring that inverts its variances.
TEST(Threads, ExportsOnSplitKernelsGiveTheBitsOfOneThread) {
    const int win = 8192;
    std::vector<float> frame(win), var(9000), x(9000), mean(9000);
    zt::fillUniform(frame.data(), win, -1, 1);
    zt::fillUniform(var.data(), var.size(), 0.5, 2);
    zt::fillUniform(x.data(), x.size(), -1, 1);
    zt::fillUniform(mean.data(), mean.size(), -1, 1);
    std::vector<float> bands[2];
    float score[2];
    serialAndSplit([&](int k) {
        ZelFBankState_32f* bank = nullptr;
        int order = 0;
        ASSERT_EQ(zelsMelFBankInitAlloc_32f(&bank, &order, win, 16000, 100, 8000, 40, 2595, 700,
                                            zelFBankMelWeights | zelFBankMagnitudeInput),
                  zelStsNoErr);
        bands[k].resize(40);
        EXPECT_EQ(zelsEvalFBank_32f(frame.data(), bands[k].data(), bank), zelStsNoErr);
        zelsFBankFree_32f(bank);
        EXPECT_EQ(zelsLogGaussSingle_DirectVar_32f(x.data(), mean.data(), var.data(), 9000, &score[k], 1.0f),
                  zelStsNoErr);
    });
    for (int i = 0; i < 40; ++i) EXPECT_SAME_BITS(bands[0][i], bands[1][i]);
    EXPECT_SAME_BITS(score[0], score[1]);
}

// Two caller threads, each with banks and lifters of its own (16-bit states
// and magnitude banks write their scratch), sharing a float bank without the
// magnitude flag and a float lifter, which are read-only.
TEST(Threads, TwoCallersWithStatesOfTheirOwn) {
    ZelFBankState_32f* shared = nullptr;
    ZelDCTLifterState_32f* sharedLifter = nullptr;
    int order = 0;
    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&shared, &order, 512, 16000, 100, 8000, 26, 2595, 700, zelFBankMelWeights), 0);
    ASSERT_EQ(zelsDCTLifterInitAlloc_C0_32f(&sharedLifter, 26, 12, 22, 1.0f, 1.0f), 0);
    std::vector<float> spectrum(257), frame(512);
    zt::fillUniform(spectrum.data(), spectrum.size(), 0, 10);
    zt::fillUniform(frame.data(), frame.size(), -1, 1);
    std::vector<Zel16s> frame16(512);
    zt::fillUniform(frame16.data(), frame16.size(), -20000, 20000);

    struct Result {
        std::vector<float> bands = std::vector<float>(26), ceps = std::vector<float>(13);
        std::vector<Zel16s> bands16 = std::vector<Zel16s>(26), ceps16 = std::vector<Zel16s>(13);
        ZelStatus status = 0;
    };
    auto work = [&](Result& r) {
        ZelFBankState_16s* own16 = nullptr;
        ZelDCTLifterState_16s* lifter16 = nullptr;
        int o = 0;
        r.status |= zelsMelFBankInitAlloc_16s(&own16, &o, 512, 16000, 100, 8000, 26, 2595, 700,
                                              zelFBankMelWeights | zelFBankMagnitudeInput);
        r.status |= zelsDCTLifterInitAlloc_16s(&lifter16, 26, 12, 22, 1.0f);
        for (int rep = 0; rep < 50 && r.status == 0; ++rep) {
            r.status |= zelsEvalFBank_32f(spectrum.data(), r.bands.data(), shared);
            r.status |= zelsDCTLifter_32f(r.bands.data(), r.ceps.data(), sharedLifter);
            r.status |= zelsEvalFBank_16s_Sfs(frame16.data(), r.bands16.data(), own16, 4);
            r.status |= zelsDCTLifter_16s_Sfs(r.bands16.data(), r.ceps16.data(), lifter16, 2);
        }
        zelsFBankFree_16s(own16);
        zelsDCTLifterFree_16s(lifter16);
    };
    Result one, two, alone;
    work(alone);
    std::thread t1(work, std::ref(one)), t2(work, std::ref(two));
    t1.join();
    t2.join();
    for (const Result* r : {&one, &two}) {
        EXPECT_EQ(r->status, 0);
        EXPECT_EQ(r->ceps16, alone.ceps16);
        EXPECT_EQ(r->bands16, alone.bands16);
        for (int i = 0; i < 13; ++i) EXPECT_SAME_BITS(r->ceps[i], alone.ceps[i]);
    }
    zelsFBankFree_32f(shared);
    zelsDCTLifterFree_32f(sharedLifter);
}

}  // namespace
