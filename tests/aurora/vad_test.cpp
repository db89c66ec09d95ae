// SPDX-License-Identifier: Apache-2.0
// Voice activity: detection rates on a signal whose speech segments are
// known, the hangover rules seen through the verdicts, the flush at the end
// of a stream, a record that continues anywhere it is copied, and the
// records that are refused.
#include <math.h>

#include <random>
#include <vector>

#include "chain.hpp"
#include "common.hpp"

namespace {

using std::vector;
namespace za = zt::aurora;

// Harmonic bursts of 150 Hz in white noise at 8 kHz; `speech` marks the frames of 80 samples inside a burst.
struct Signal {
    vector<float> x;
    vector<bool> speech;
};

Signal bursts(float noiseLevel, uint32_t seed) {
    const int silence0 = 60, burst = 80, gap = 150, count = 4;
    const int frames = silence0 + count * (burst + gap);
    Signal s{vector<float>(frames * za::kShift), vector<bool>(frames, false)};
    std::mt19937 g(seed);
    std::normal_distribution<float> noise(0.0f, noiseLevel);
    for (int f = 0; f < frames; ++f) {
        const int t = f - silence0;
        const bool on = t >= 0 && t % (burst + gap) < burst;
        s.speech[f] = on;
        for (int i = 0; i < za::kShift; ++i) {
            const int n = f * za::kShift + i;
            float v = noise(g);
            if (on)
                for (int h = 1; h <= 8; ++h) v += 3000.0f / h * float(sin(2 * M_PI * 150.0 * h * n / 8000.0));
            s.x[n] = v;
        }
    }
    return s;
}

// Decisions of the float form on a signal, one frame of 80 samples at a
// time; `frame` is the caller's window of the last 200 samples.
vector<Zel32s> decide32f(const vector<float>& x, ZelVADState_Aurora* st, vector<float>& frame) {
    vector<Zel32s> out;
    for (size_t f = 0; f * za::kShift < x.size(); ++f) {
        memmove(frame.data(), frame.data() + za::kShift, (za::kWin - za::kShift) * 4);
        memcpy(frame.data() + za::kWin - za::kShift, &x[f * za::kShift], za::kShift * 4);
        float power[za::kBins], mel[za::kBands];
        za::powerSpectrum(frame.data(), power);
        za::logMel(power, mel);
        Zel32s res = -1;
        EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, frame.data() + za::kWin - 64, 0, &res, st), zelStsNoErr);
        out.push_back(res);
    }
    return out;
}

ZelVADState_Aurora* record(vector<Zel8u>& mem) {
    int size = 0;
    EXPECT_EQ(zelsVADGetBufSize_Aurora_32f(&size), zelStsNoErr);
    EXPECT_EQ(size, 64);
    mem.assign(size, 0);
    return reinterpret_cast<ZelVADState_Aurora*>(mem.data());
}

TEST(AuroraVAD, MarksSpeechAndSilenceOfAKnownSignalAndFlushes) {
    for (float level : {30.0f, 300.0f}) {
        const Signal s = bursts(level, 11);
        vector<Zel8u> mem;
        ZelVADState_Aurora* st = record(mem);
        ASSERT_EQ(zelsVADInit_Aurora_32f(st), zelStsNoErr);
        vector<float> frame(za::kWin, 0.0f);
        const vector<Zel32s> d = decide32f(s.x, st, frame);
        for (int f = 0; f < 10; ++f) EXPECT_EQ(d[f], zelVADUndecided) << f;
        // Silence counts from the end of the longest hangover on.
        int speech = 0, hit = 0, silence = 0, alarm = 0, sinceSpeech = 1000;
        for (size_t f = 10; f < d.size(); ++f) {
            EXPECT_TRUE(d[f] == zelVADSpeech || d[f] == zelVADNonSpeech) << f;
            sinceSpeech = s.speech[f] ? 0 : sinceSpeech + 1;
            if (s.speech[f]) ++speech, hit += d[f] == zelVADSpeech;
            if (!s.speech[f] && sinceSpeech > 40 + 7 + 5) ++silence, alarm += d[f] == zelVADSpeech;
        }
        EXPECT_GE(hit, 0.9 * speech) << "noise " << level;
        EXPECT_LE(alarm, 0.1 * silence) << "noise " << level;
        // Six decisions, then the flush reports that nothing is left.
        for (int k = 0; k < 6; ++k) {
            Zel32s res = 0;
            ASSERT_EQ(zelsVADFlush_Aurora_32f(&res, st), zelStsNoErr);
            EXPECT_TRUE(res == zelVADSpeech || res == zelVADNonSpeech) << k;
        }
        Zel32s res = 0;
        ASSERT_EQ(zelsVADFlush_Aurora_16s(&res, st), zelStsNoErr);
        EXPECT_EQ(res, zelVADUndecided);
    }
}

// Identical frames leave every measure on its floor, so only the hint marks.
vector<Zel32s> hinted(const vector<int>& marks, int frames) {
    vector<Zel8u> mem;
    ZelVADState_Aurora* st = record(mem);
    zelsVADInit_Aurora_32f(st);
    float mel[25], block[64];
    for (int k = 0; k < 25; ++k) mel[k] = 2.0f + 0.1f * k;
    for (int i = 0; i < 64; ++i) block[i] = float((i * 37) % 11) - 5.0f;
    vector<Zel32s> out;
    for (int f = 1; f <= frames; ++f) {
        const bool marked = std::find(marks.begin(), marks.end(), f) != marks.end();
        Zel32s res = 0;
        zelsVADDecision_Aurora_32f(mel, block, marked ? 5 : 4, &res, st);
        out.push_back(res);
    }
    return out;
}

int speechAfter(const vector<Zel32s>& d, int frame) {
    int n = 0;
    while (frame + n < int(d.size()) && d[frame + n] == zelVADSpeech) ++n;
    return n;
}

TEST(AuroraVAD, HangoverFollowsTheRunsOfMarks) {
    // No mark, no speech; the hint of 4 marks nothing.
    const vector<Zel32s> quiet = hinted({}, 60);
    for (int f = 10; f < 60; ++f) EXPECT_EQ(quiet[f], zelVADNonSpeech) << f;
    // Three marks: speech through the short hangover only, while the run is
    // in the ring and five frames after.
    const vector<Zel32s> three = hinted({20, 21, 22}, 60);
    EXPECT_EQ(three[20], zelVADNonSpeech);  // frame 21: a run of two
    EXPECT_EQ(speechAfter(three, 21), 5 + 4);
    // A run of four reloads the long hangover on each of the four frames it
    // stays in the ring. Its first reload before frame 36 lengthens the
    // hangover from 23 to 40 frames for good; a first burst from frame 36 on
    // leaves it at 23.
    const vector<Zel32s> early = hinted({20, 21, 22, 23, 80, 81, 82, 83}, 160);
    const vector<Zel32s> late = hinted({40, 41, 42, 43, 100, 101, 102, 103}, 180);
    EXPECT_EQ(speechAfter(early, 21), speechAfter(early, 81));
    EXPECT_EQ(speechAfter(late, 41), speechAfter(late, 101));
    EXPECT_EQ(speechAfter(early, 21) - speechAfter(late, 41), 40 - 23);
    EXPECT_EQ(speechAfter(late, 41), 1 + 3 + 1 + 23);  // run of 3, run of 4 in the ring, then the count
}

TEST(AuroraVAD, IntegerFormAgreesAndCopiedRecordsContinue) {
    const Signal s = bursts(100.0f, 5);
    vector<Zel8u> m32, m16;
    ZelVADState_Aurora* a = record(m32);
    ZelVADState_Aurora* b = record(m16);
    zelsVADInit_Aurora_32f(a);
    zelsVADInit_Aurora_16s(b);
    vector<float> w0(za::kWin, 0.0f), w1(za::kWin, 0.0f);
    const vector<Zel32s> whole = decide32f(s.x, a, w0);

    // The same stream in two blocks, the record moved to other memory between them.
    vector<Zel8u> m1, m2;
    ZelVADState_Aurora* r1 = record(m1);
    zelsVADInit_Aurora_32f(r1);
    const size_t cut = 137 * za::kShift;
    vector<Zel32s> split = decide32f(vector<float>(s.x.begin(), s.x.begin() + cut), r1, w1);
    ZelVADState_Aurora* r2 = record(m2);
    memcpy(r2, r1, 64);
    const vector<Zel32s> rest = decide32f(vector<float>(s.x.begin() + cut, s.x.end()), r2, w1);
    split.insert(split.end(), rest.begin(), rest.end());
    EXPECT_EQ(split, whole);

    // The integer measures, on inputs scaled so that a floor times its
    // largest constant stays within 32 bits: Mel energies in Q2, samples / 4.
    vector<float> frame(za::kWin, 0.0f);
    int agree = 0, total = 0;
    for (size_t f = 0; f < whole.size(); ++f) {
        memmove(frame.data(), frame.data() + za::kShift, (za::kWin - za::kShift) * 4);
        memcpy(frame.data() + za::kWin - za::kShift, &s.x[f * za::kShift], za::kShift * 4);
        float power[za::kBins], mel[za::kBands];
        za::powerSpectrum(frame.data(), power);
        za::logMel(power, mel);
        Zel16s mel16[25], block16[64];
        for (int k = 0; k < 25; ++k) mel16[k] = Zel16s(lrintf(mel[k] * 4));
        for (int i = 0; i < 64; ++i) block16[i] = Zel16s(lrintf(frame[za::kWin - 64 + i] / 4));
        Zel32s res = 0;
        ASSERT_EQ(zelsVADDecision_Aurora_16s(mel16, block16, 0, &res, b), zelStsNoErr);
        if (f < 10) EXPECT_EQ(res, zelVADUndecided);
        else ++total, agree += res == whole[f];
    }
    EXPECT_GE(agree, 0.9 * total);
}

TEST(AuroraVAD, NullPointersAndRecordsNoInitPreparedAreRefused) {
    vector<Zel8u> mem;
    ZelVADState_Aurora* st = record(mem);
    float mel[25] = {}, block[64] = {};
    Zel16s mel16[25] = {}, block16[64] = {};
    Zel32s res = 77;
    // Memory that no Init prepared: zeros, and a plausible-looking pattern.
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    EXPECT_EQ(zelsVADFlush_Aurora_32f(&res, st), zelStsContextMatchErr);
    memset(mem.data(), 0xa3, 64);
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    ASSERT_EQ(zelsVADInit_Aurora_32f(st), zelStsNoErr);
    const vector<Zel8u> before = mem;
    zt::expectStatuses({
        {zelsVADGetBufSize_Aurora_16s(nullptr), zelStsNullPtrErr},
        {zelsVADInit_Aurora_16s(nullptr), zelStsNullPtrErr},
        {zelsVADDecision_Aurora_32f(nullptr, block, 0, &res, st), zelStsNullPtrErr},
        {zelsVADDecision_Aurora_32f(mel, nullptr, 0, &res, st), zelStsNullPtrErr},
        {zelsVADDecision_Aurora_32f(mel, block, 0, nullptr, st), zelStsNullPtrErr},
        {zelsVADDecision_Aurora_32f(mel, block, 0, &res, nullptr), zelStsNullPtrErr},
        {zelsVADDecision_Aurora_16s(mel16, block16, 0, &res, nullptr), zelStsNullPtrErr},
        // A record of the float form is not one of the integer form.
        {zelsVADDecision_Aurora_16s(mel16, block16, 0, &res, st), zelStsContextMatchErr},
        {zelsVADFlush_Aurora_32f(nullptr, st), zelStsNullPtrErr},
        {zelsVADFlush_Aurora_16s(&res, nullptr), zelStsNullPtrErr},
    });
    EXPECT_EQ(res, 77);
    EXPECT_EQ(mem, before);
    // A record corrupted past its ranges is refused as well.
    mem[32] = 9;  // ring position 9 of 7
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    EXPECT_EQ(res, 77);
}

}  // namespace
