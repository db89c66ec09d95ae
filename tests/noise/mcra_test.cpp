// SPDX-License-Identifier: Apache-2.0
// MCRA noise tracking: the order of range and size checks, refused states,
// the constants of the frame rate, the same bits on every build, and the
// tracking behaviour on synthetic power spectra: white noise, a level that
// steps up, and a tone burst standing for speech.
#include <math.h>

#include <vector>

#include "digest.hpp"
#include "noise/mcra_kernels.hpp"

namespace {

using zel::mcra::Record;

// A block of the queried size, filled with a sentinel byte.
struct Block {
    std::vector<unsigned char> bytes;
    explicit Block(int fftLen) {
        int size = 0;
        EXPECT_EQ(zelsGetSizeMCRA_32f(fftLen, &size), zelStsNoErr);
        bytes.assign(size_t(size), 0xA5);
    }
    ZelMCRAState* state() { return reinterpret_cast<ZelMCRAState*>(bytes.data()); }
    template <class T>
    Record<T>& record() { return *reinterpret_cast<Record<T>*>(bytes.data()); }
};

TEST(Mcra, RangesBeforeSizesAndStatesOfOtherKinds) {
    int size = -1;
    Block b(256);
    const std::vector<unsigned char> before = b.bytes;
    zt::expectStatuses({
        {zelsGetSizeMCRA_32s(7, &size), zelStsSizeErr},
        {zelsGetSizeMCRA_32f(8193, &size), zelStsSizeErr},
        {zelsInitMCRA_32s(7999, 4, b.state()), zelStsRangeErr},
        {zelsInitMCRA_32f(48001, 256, b.state()), zelStsRangeErr},
        {zelsInitMCRA_32s(16000, 8193, b.state()), zelStsSizeErr},
        // A bad hop is reported before a bad length.
        {zelsAltInitMCRA_32f(16000, 4, 0, b.state()), zelStsRangeErr},
        {zelsAltInitMCRA_32s(16000, 20000, 10001, b.state()), zelStsRangeErr},
        {zelsAltInitMCRA_32s(16000, 256, 129, b.state()), zelStsRangeErr},
        {zelsAltInitMCRA_32f(16000, 20000, 100, b.state()), zelStsSizeErr},
    });
    EXPECT_EQ(size, -1);
    EXPECT_TRUE(b.bytes == before);

    // The size grows by 16 bytes per pair of samples from 84 with 4-byte
    // pointers; wider ones take more.
    int s8 = 0, s9 = 0, s4096 = 0;
    zelsGetSizeMCRA_32s(8, &s8), zelsGetSizeMCRA_32f(9, &s9), zelsGetSizeMCRA_32f(4096, &s4096);
    if (sizeof(void*) == 4)
        EXPECT_EQ(s8, 64 + 84);
    else
        EXPECT_GE(s8, 64 + 84 + 16);
    EXPECT_EQ(s9, s8);
    EXPECT_EQ(s4096 - s8, 16 * (2048 - 4));

    // Updates refuse a state of the other kind, one never built, or a moved one.
    std::vector<float> x(129, 1.0f), noise(129, -7.0f);
    std::vector<int32_t> xi(129, 1), noisei(129, -7);
    ASSERT_EQ(zelsInitMCRA_32f(16000, 256, b.state()), zelStsNoErr);
    Block fresh(256), moved(256);
    moved.bytes = b.bytes;
    zt::expectStatuses({
        {zelsUpdateNoisePSDMCRA_32s_I(xi.data(), b.state(), noisei.data()), zelStsContextMatchErr},
        {zelsUpdateNoisePSDMCRA_32f_I(x.data(), fresh.state(), noise.data()), zelStsContextMatchErr},
        {zelsUpdateNoisePSDMCRA_32f_I(x.data(), moved.state(), noise.data()), zelStsContextMatchErr},
    });
    EXPECT_EQ(noise[0], -7.0f);
    EXPECT_EQ(noisei[0], -7);
}

TEST(Mcra, ConstantsFollowTheFrameRateInBothForms) {
    // 8000 Hz with 256-point frames: a window of 62 frames in both forms.
    Block f(256), q(256), odd(300);
    zelsInitMCRA_32f(8000, 256, f.state()), zelsInitMCRA_32s(8000, 256, q.state());
    EXPECT_EQ(f.record<float>().windowLen, 62);
    EXPECT_EQ(q.record<int32_t>().windowLen, 62);
    // A length that is not a power of two keeps the window of its bit count.
    zelsInitMCRA_32f(16000, 300, odd.state());
    EXPECT_EQ(odd.record<float>().windowLen, 125);

    // The fixed constants approximate the float ones by a short series.
    for (int hop : {64, 80, 128, 160, 256}) {
        ASSERT_EQ(zelsAltInitMCRA_32f(16000, 512, hop, f.state()), zelStsNoErr);
        ASSERT_EQ(zelsAltInitMCRA_32s(16000, 512, hop, q.state()), zelStsNoErr);
        const Record<float>& rf = f.record<float>();
        const Record<int32_t>& rq = q.record<int32_t>();
        const double e = 125.0 * hop / 16000.0;
        EXPECT_NEAR(rf.alphaD, pow(0.7, e), 1e-6);
        EXPECT_NEAR(rf.alphaP, pow(0.2, e), 1e-6);
        EXPECT_NEAR(rq.alphaD / 2147483648.0, rf.alphaD, 0.02) << hop;
        EXPECT_NEAR(rq.alphaS / 2147483648.0, pow(0.8, e), 0.02) << hop;
        EXPECT_NEAR(rq.alphaP / 2147483648.0, rf.alphaP, 0.02) << hop;
        EXPECT_EQ(rq.windowLen, rf.windowLen) << hop;
    }
}

// Both forms over lengths whose bin counts leave every tail of a vector of
// four, and frames that turn the minimum window: the same bits on every build
// (the tracking itself is measured below).
TEST(Mcra, SameBitsOnEveryBuild) {
    zt::Digest dg;
    zt::DigestSource src(31);
    for (int fftLen : {8, 10, 12, 14, 256}) {
        const int n = fftLen / 2 + 1;
        Block f(fftLen), q(fftLen);
        dg.add(zelsAltInitMCRA_32f(16000, fftLen, 2, f.state()));
        dg.add(zelsAltInitMCRA_32s(16000, fftLen, 2, q.state()));
        std::vector<float> noise(n);
        std::vector<int32_t> noisei(n);
        for (int frame = 0; frame < 60; ++frame) {
            const double level = frame % 20 < 5 ? 4e4 : 1e3;
            std::vector<float> x = src.fill<float>(n, 0, level);
            std::vector<int32_t> xi = src.fill<int32_t>(n, 0, level);
            dg.add(zelsUpdateNoisePSDMCRA_32f_I(x.data(), f.state(), noise.data())), dg.add(noise.data(), n);
            dg.add(zelsUpdateNoisePSDMCRA_32s_I(xi.data(), q.state(), noisei.data())), dg.add(noisei.data(), n);
        }
    }
    EXPECT_EQ(dg.h, 0xf82fc320a36f746cull) << std::hex << dg.h;
}

// Tracking on 125 frames a second (16 kHz, 256-point frames) in both forms;
// the fixed form sees the same spectra rounded to integers. Frames of power
// are exponentially distributed about the true power of each bin, as the
// periodogram of Gaussian noise is.
TEST(Mcra, TracksWhiteNoiseStepsAndIgnoresToneBursts) {
    for (bool fixed : {false, true}) {
        SCOPED_TRACE(fixed ? "32s" : "32f");
        const int n = 129;
        Block b(256);
        ASSERT_EQ(fixed ? zelsInitMCRA_32s(16000, 256, b.state()) : zelsInitMCRA_32f(16000, 256, b.state()), 0);
        const int L = b.record<float>().windowLen;
        ASSERT_EQ(L, 125);
        std::mt19937 g(99);
        std::exponential_distribution<double> e(1.0);
        std::vector<double> power(n);
        for (int k = 0; k < n; ++k) power[k] = 1e5 * (1.0 + 9.0 * k / (n - 1));  // a 10 dB tilt
        std::vector<float> x(n), noise(n);
        std::vector<int32_t> xi(n), noisei(n);
        double worstTone = 0;

        // Runs `frames` frames (a tone 20 dB up in bins 20..29 if asked);
        // the estimate over true power per bin, averaged from frame `from` on.
        auto run = [&](int frames, int from, bool tone) {
            std::vector<double> ratio(n, 0.0);
            for (int f = 0; f < frames; ++f) {
                for (int k = 0; k < n; ++k) x[k] = float(power[k] * e(g) + (tone && k >= 20 && k < 30 ? 100 * power[k] : 0));
                if (fixed) {
                    for (int k = 0; k < n; ++k) xi[k] = int32_t(lrintf(x[k]));
                    EXPECT_EQ(zelsUpdateNoisePSDMCRA_32s_I(xi.data(), b.state(), noisei.data()), zelStsNoErr);
                    for (int k = 0; k < n; ++k) noise[k] = float(noisei[k]), x[k] = float(xi[k]);
                } else {
                    EXPECT_EQ(zelsUpdateNoisePSDMCRA_32f_I(x.data(), b.state(), noise.data()), zelStsNoErr);
                }
                for (int k = 0; k < n && f >= from; ++k) ratio[k] += noise[k] / power[k] / (frames - from);
                for (int k = 20; k < 30 && tone; ++k) worstTone = fmax(worstTone, noise[k] / (100 * power[k]));
            }
            return ratio;
        };
        auto expectNear = [&](const std::vector<double>& ratio, double perBin) {
            double all = 0;
            for (int k = 0; k < n; ++k) {
                EXPECT_NEAR(ratio[k], 1.0, perBin) << k;
                all += ratio[k] / n;
            }
            EXPECT_NEAR(all, 1.0, 0.05);
        };

        // The first frame is copied out.
        run(1, 1, false);
        EXPECT_TRUE(noise == x);
        // Stationary noise. A bin seeded low holds its minimum down until a
        // window begun after the seed has closed; from two windows and 25
        // frames on, the estimate averaged over 200 frames lies within 25% of
        // the true power in every bin, and within 5% over all bins.
        expectNear(run(2 * L + 25 + 200, 2 * L + 25, false), 0.25);

        // A tone burst of 40 frames (speech against the noise floor) raises
        // the estimate in its bins by less than a tenth of the tone's power,
        // where plain smoothing would reach it.
        run(40, 40, true);
        EXPECT_LT(worstTone, 0.1);

        // A level that steps up by 10 dB: the minimum needs one whole window
        // begun after the step, so the estimate holds for up to two windows,
        // then follows: over the next 100 frames within 30% in every bin.
        for (double& p : power) p *= 10.0;
        expectNear(run(2 * L + 25 + 100, 2 * L + 25, false), 0.3);
    }
}

}  // namespace
