// SPDX-License-Identifier: Apache-2.0
// The streaming feature extractor: any split of the audio into blocks gives
// the frames of one call, bit for bit, in every configuration family; bad
// configurations and states give their statuses.
#include <random>
#include <vector>

#include "digest.hpp"
#include "frame/dispatch.hpp"
#include "frontend/features_kernels.hpp"

namespace {

struct Extractor {
    ZelFeatureState* s = nullptr;
    explicit Extractor(const ZelFeatureConfig& c) { EXPECT_EQ(zelsrFeatureInitAlloc(&s, &c), zelStsNoErr); }
    ~Extractor() { zelsrFeatureFree(s); }
    void drain(std::vector<float>& out) {
        int dim = 0, ready = 0, got = 0;
        ASSERT_EQ(zelsrFeatureGetDim(s, &dim), zelStsNoErr);
        ASSERT_EQ(zelsrFeatureGetReady(s, &ready), zelStsNoErr);
        if (!ready) return;
        size_t at = out.size();
        out.resize(at + size_t(ready) * dim);
        ASSERT_EQ(zelsrFeatureRead(s, out.data() + at, dim, ready, &got), zelStsNoErr);
        ASSERT_EQ(got, ready);
    }
};

std::vector<short> speechLike(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<float> noise(0.0f, 300.0f);
    std::vector<short> x(n);
    for (int i = 0; i < n; ++i) {
        float tone = 4000.0f * std::sin(0.05f * i + 0.3f * std::sin(0.001f * i)) * (i % 4000 < 2500 ? 1.0f : 0.1f);
        x[i] = short(std::lround(std::max(-32000.0f, std::min(32000.0f, tone + noise(rng)))));
    }
    return x;
}

// Frames from random block sizes (reading between blocks now and then).
std::vector<float> streamed(const ZelFeatureConfig& c, const std::vector<short>& x, unsigned seed, bool asFloat) {
    Extractor e(c);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> size(1, 700);
    std::vector<float> out, xf(x.begin(), x.end());
    for (size_t at = 0; at < x.size();) {
        int n = std::min<int>(size(rng), int(x.size() - at));
        ZelStatus st = asFloat ? zelsrFeatureAccept_32f(e.s, xf.data() + at, n)
                               : zelsrFeatureAccept_16s(e.s, x.data() + at, n);
        EXPECT_EQ(st, zelStsNoErr);
        at += n;
        if (rng() % 3 == 0) e.drain(out);
    }
    EXPECT_EQ(zelsrFeatureFlush(e.s), zelStsNoErr);
    e.drain(out);
    return out;
}

std::vector<float> oneCall(const ZelFeatureConfig& c, const std::vector<short>& x) {
    Extractor e(c);
    std::vector<float> out;
    EXPECT_EQ(zelsrFeatureAccept_16s(e.s, x.data(), int(x.size())), zelStsNoErr);
    EXPECT_EQ(zelsrFeatureFlush(e.s), zelStsNoErr);
    e.drain(out);
    return out;
}

ZelFeatureConfig defaults() {
    ZelFeatureConfig c;
    EXPECT_EQ(zelsrFeatureDefaultConfig(&c), zelStsNoErr);
    return c;
}

TEST(Features, AnyBlockSizesGiveTheFramesOfOneCall) {
    std::vector<ZelFeatureConfig> configs;
    ZelFeatureConfig c = defaults();
    configs.push_back(c);  // MFCC, c0, deltas and delta-deltas
    c.output = zelFeatureFbank, c.energy = zelFeatureEnergyLog, c.deltaOrder = 1, c.window = zelFeatureWindowPovey;
    configs.push_back(c);
    c = defaults();
    c.cmvn = zelFeatureCmvnSliding, c.normVariance = 1, c.cmvnWindow = 37, c.powerSpectrum = 0, c.lifter = 0;
    configs.push_back(c);
    c.cmvn = zelFeatureCmvnUtterance, c.energy = zelFeatureEnergyNone, c.deltaOrder = 0;
    configs.push_back(c);
    c = defaults();
    c.frameShiftMs = 40.0f, c.window = zelFeatureWindowHann, c.fftSize = 1024;  // the shift exceeds the frame
    configs.push_back(c);
    c = defaults();
    // Frames longer than the extractor's conversion step, and a transform
    // long enough to be taken one frame at a time.
    c.frameLengthMs = 600.0f, c.frameShiftMs = 130.0f, c.fftSize = 16384;
    configs.push_back(c);
    const std::vector<short> x = speechLike(16000 * 2 + 123, 7);
    for (size_t k = 0; k < configs.size(); ++k) {
        SCOPED_TRACE(k);
        const std::vector<float> whole = oneCall(configs[k], x);
        ASSERT_FALSE(whole.empty());
        for (unsigned seed = 1; seed <= 3; ++seed) {
            const std::vector<float> parts = streamed(configs[k], x, seed, seed == 3);
            ASSERT_EQ(parts.size(), whole.size());
            EXPECT_EQ(0, memcmp(parts.data(), whole.data(), sizeof(float) * whole.size()));
        }
    }
}

TEST(Features, FrameCountsAndShortUtterances) {
    ZelFeatureConfig c = defaults();  // 400-sample frames every 160
    for (int n : {399, 400, 559, 560, 1200, 16000}) {
        const std::vector<float> f = oneCall(c, speechLike(n, 3));
        const int expect = n < 400 ? 0 : 1 + (n - 400) / 160;
        EXPECT_EQ(f.size(), size_t(expect) * 39) << n;
        for (float v : f) ASSERT_TRUE(std::isfinite(v));
    }
}

TEST(Features, StaticsMatchTheirPrimitivesAndSlidingWindowOfOneZeroes) {
    // Without deltas or normalisation, MFCC frames are the DCT lifter of the
    // fbank frames of the same audio.
    ZelFeatureConfig c = defaults();
    c.deltaOrder = 0;
    c.energy = zelFeatureEnergyC0;
    const std::vector<short> x = speechLike(8000, 11);
    std::vector<float> mfcc = oneCall(c, x);
    c.output = zelFeatureFbank, c.energy = zelFeatureEnergyNone;
    std::vector<float> fb = oneCall(c, x);
    ZelDCTLifterState_32f* lifter = nullptr;
    ASSERT_EQ(zelsDCTLifterInitAlloc_C0_32f(&lifter, 23, 12, 22, 1.0f, 1.0f), zelStsNoErr);
    ASSERT_EQ(mfcc.size() / 13, fb.size() / 23);
    for (size_t t = 0; t < fb.size() / 23; ++t) {
        float cep[13];
        ASSERT_EQ(zelsDCTLifter_32f(fb.data() + t * 23, cep, lifter), zelStsNoErr);
        EXPECT_EQ(0, memcmp(cep, mfcc.data() + t * 13, sizeof cep));
    }
    zelsDCTLifterFree_32f(lifter);
    c.cmvn = zelFeatureCmvnSliding, c.cmvnWindow = 1;
    for (float v : oneCall(c, x)) ASSERT_EQ(v, 0.0f);
}

TEST(Features, RefusedConfigurationsAndStates) {
    struct Bad {
        int field;
        void (*set)(ZelFeatureConfig&);
    };
    const Bad bad[] = {
        {0, [](ZelFeatureConfig& c) { c.sampleRate = 0.0f; }},
        {1, [](ZelFeatureConfig& c) { c.frameLengthMs = NAN; }},
        {2, [](ZelFeatureConfig& c) { c.frameShiftMs = 0.0f; }},
        {3, [](ZelFeatureConfig& c) { c.preemphasis = 1.5f; }},
        {4, [](ZelFeatureConfig& c) { c.window = 3; }},
        {5, [](ZelFeatureConfig& c) { c.fftSize = 500; }},
        {7, [](ZelFeatureConfig& c) { c.numFilters = 0; }},
        {8, [](ZelFeatureConfig& c) { c.lowFreq = 0.0f; }},
        {9, [](ZelFeatureConfig& c) { c.highFreq = 9000.0f; }},
        {10, [](ZelFeatureConfig& c) { c.logFloor = 0.0f; }},
        {12, [](ZelFeatureConfig& c) { c.numCeps = 23; }},
        {14, [](ZelFeatureConfig& c) { c.output = zelFeatureFbank, c.energy = zelFeatureEnergyC0; }},
        {15, [](ZelFeatureConfig& c) { c.deltaOrder = 3; }},
        {18, [](ZelFeatureConfig& c) { c.cmvn = zelFeatureCmvnSliding, c.cmvnWindow = 0; }},
    };
    for (const Bad& b : bad) {
        ZelFeatureConfig c = defaults();
        b.set(c);
        int field = 99;
        EXPECT_EQ(zelsrFeatureCheckConfig(&c, &field), zelStsNoErr);
        EXPECT_EQ(field, b.field);
        ZelFeatureState* s = reinterpret_cast<ZelFeatureState*>(&field);
        EXPECT_EQ(zelsrFeatureInitAlloc(&s, &c), zelStsBadArgErr);
        EXPECT_EQ(s, reinterpret_cast<ZelFeatureState*>(&field));  // nothing written
    }
    ZelFeatureConfig c = defaults();
    Extractor e(c);
    short pcm[500] = {};
    float dst[39];
    int n = -1;
    EXPECT_EQ(zelsrFeatureAccept_16s(e.s, pcm, 0), zelStsSizeErr);
    EXPECT_EQ(zelsrFeatureRead(e.s, dst, 38, 1, &n), zelStsStrideErr);
    EXPECT_EQ(zelsrFeatureAccept_16s(e.s, pcm, 500), zelStsNoErr);
    EXPECT_EQ(zelsrFeatureFlush(e.s), zelStsNoErr);
    EXPECT_EQ(zelsrFeatureAccept_16s(e.s, pcm, 500), zelStsContextMatchErr);
    EXPECT_EQ(zelsrFeatureRead(e.s, dst, 39, 1, &n), zelStsNoErr);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(zelsrFeatureReset(e.s), zelStsNoErr);
    EXPECT_EQ(zelsrFeatureAccept_16s(e.s, pcm, 500), zelStsNoErr);
    std::vector<Zel32u> junk(64, 0x12345678u);
    EXPECT_EQ(zelsrFeatureFlush(reinterpret_cast<ZelFeatureState*>(junk.data())), zelStsContextMatchErr);
}

// The instruction sets this build and processor can run.
std::vector<bool> widths() {
    std::vector<bool> w{false};
    if (zel::kBuiltWithAvx2 && zel::bestIsa() >= zel::Isa::kAvx2) w.push_back(true);
    return w;
}

TEST(Features, FlooredLogarithmIsWithinTwoUnitsOfTheExactOne) {
    std::vector<float> x;
    for (double v = 1e-37; v < 3e38; v *= 1.0137) x.push_back(float(v));
    for (float v : {1.0f, 2.0f, 0.5f, 1.41421354f, 1.41421366f, 0.70710677f, 1.0000001f, 0.99999994f}) x.push_back(v);
    for (bool wide : widths()) {
        std::vector<float> y = x;
        zel::features::lnFloored(y.data(), int(y.size()), 1e-37f, wide);
        for (size_t i = 0; i < x.size(); ++i) {
            const double exact = std::log(double(x[i]));
            const double ulp = std::max(
                double(std::nextafter(std::fabs(float(exact)), INFINITY) - std::fabs(float(exact))), 1e-45);
            ASSERT_LE(std::fabs(y[i] - exact), 2.0 * ulp) << x[i];
        }
        // The floor takes NaN and what lies below it; subnormal floors and
        // infinities keep their exact logarithms, in any lane of a vector.
        float v[11] = {7.0f, NAN, -3.0f, 0.0f, 1e-40f, INFINITY, 7.0f, 7.0f, 7.0f, 1e-40f, 2.0f};
        zel::features::lnFloored(v, 11, 1e-42f, wide);
        for (int i : {1, 2, 3}) EXPECT_EQ(v[i], logf(1e-42f));
        EXPECT_EQ(v[4], logf(1e-40f));
        EXPECT_EQ(v[9], logf(1e-40f));
        EXPECT_EQ(v[5], INFINITY);
        EXPECT_NEAR(v[0], std::log(7.0), 1e-6);
        EXPECT_NEAR(v[10], std::log(2.0), 1e-6);
    }
}

// Every build, processor and instruction set gives these frames bit for bit
// (the default configuration takes no square roots, so no processor
// estimate enters).
TEST(Features, EveryBuildGivesTheSameFrames) {
    const zel::Isa previous = zel::setMaxIsaForTesting(zel::Isa::kAvx512);
    for (zel::Isa isa : {zel::Isa::kBaseline, zel::Isa::kAvx2, zel::Isa::kAvx512}) {
        zel::setMaxIsaForTesting(isa);
        ZelFeatureConfig c = defaults();
        zt::Digest d;
        zt::DigestSource src(77);
        const std::vector<short> x = src.fill<short>(16000, -8000, 8000);
        std::vector<float> f = oneCall(c, x);
        d.add(f.data(), f.size());
        c.output = zelFeatureFbank, c.energy = zelFeatureEnergyLog, c.deltaOrder = 0, c.window = zelFeatureWindowPovey;
        f = oneCall(c, x);
        d.add(f.data(), f.size());
        EXPECT_EQ(d.h, 0x0422ee25df545a5cull) << std::hex << d.h << " on path " << static_cast<int>(isa);
    }
    zel::setMaxIsaForTesting(previous);
}

}  // namespace
