// SPDX-License-Identifier: Apache-2.0
// Voice activity: detection rates on a signal whose speech segments are
// known, in both forms, the hangover rules seen through the verdicts, the
// flush at the end of a stream, a record that continues wherever it is
// copied, and the records that are refused.
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

Signal bursts(float noiseLevel) {
    const int frames = 60 + 4 * (80 + 150);
    Signal s{vector<float>(frames * za::kShift), vector<bool>(frames, false)};
    std::mt19937 g(11);
    std::normal_distribution<float> noise(0.0f, noiseLevel);
    for (int f = 0; f < frames; ++f) {
        s.speech[f] = f >= 60 && (f - 60) % 230 < 80;
        for (int i = 0; i < za::kShift; ++i) {
            const int n = f * za::kShift + i;
            s.x[n] = noise(g);
            for (int h = 1; h <= 8 && s.speech[f]; ++h) s.x[n] += 3000.0f / h * float(sin(2 * M_PI * 150.0 * h * n / 8000.0));
        }
    }
    return s;
}

struct Record {
    alignas(8) Zel8u mem[64] = {};
    ZelVADState_Aurora* get() { return reinterpret_cast<ZelVADState_Aurora*>(mem); }
};

// Decisions on frames [from, to) of a signal, the float form into `a` and,
// if given, the integer form into `b`. The integer form takes inputs scaled
// so that a floor times its largest constant stays within 32 bits: Mel
// energies in Q2, samples / 4. `frame` is the caller's window of 200 samples.
void decide(const Signal& s, int from, int to, vector<float>& frame, ZelVADState_Aurora* a, vector<Zel32s>& da,
            ZelVADState_Aurora* b = nullptr, vector<Zel32s>* db = nullptr) {
    for (int f = from; f < to; ++f) {
        memmove(frame.data(), frame.data() + za::kShift, (za::kWin - za::kShift) * 4);
        memcpy(frame.data() + za::kWin - za::kShift, &s.x[size_t(f) * za::kShift], za::kShift * 4);
        float power[za::kBins], mel[za::kBands];
        za::powerSpectrum(frame.data(), power);
        za::logMel(power, mel);
        const float* block = frame.data() + za::kWin - 64;
        Zel32s res = -1;
        EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, a), zelStsNoErr);
        da.push_back(res);
        if (!b) continue;
        Zel16s mel16[25], block16[64];
        for (int k = 0; k < 25; ++k) mel16[k] = Zel16s(lrintf(mel[k] * 4));
        for (int i = 0; i < 64; ++i) block16[i] = Zel16s(lrintf(block[i] / 4));
        EXPECT_EQ(zelsVADDecision_Aurora_16s(mel16, block16, 0, &res, b), zelStsNoErr);
        db->push_back(res);
    }
}

TEST(AuroraVAD, BothFormsMarkSpeechAndSilenceOfAKnownSignalAndFlush) {
    int size = 0;
    ASSERT_EQ(zelsVADGetBufSize_Aurora_16s(&size), zelStsNoErr);
    EXPECT_EQ(size, 64);
    for (float level : {30.0f, 300.0f}) {
        const Signal s = bursts(level);
        Record a, b;
        ASSERT_EQ(zelsVADInit_Aurora_32f(a.get()), zelStsNoErr);
        ASSERT_EQ(zelsVADInit_Aurora_16s(b.get()), zelStsNoErr);
        vector<float> frame(za::kWin, 0.0f);
        vector<Zel32s> d32, d16;
        decide(s, 0, int(s.speech.size()), frame, a.get(), d32, b.get(), &d16);
        for (int form = 0; form < 2; ++form) {
            const vector<Zel32s>& d = form ? d16 : d32;
            for (int f = 0; f < 10; ++f) EXPECT_EQ(d[f], zelVADUndecided) << f;
            // Silence counts from the end of the longest hangover on.
            int speech = 0, hit = 0, silence = 0, alarm = 0, since = 1000;
            for (size_t f = 10; f < d.size(); ++f) {
                EXPECT_TRUE(d[f] == zelVADSpeech || d[f] == zelVADNonSpeech) << f;
                since = s.speech[f] ? 0 : since + 1;
                if (s.speech[f]) ++speech, hit += d[f] == zelVADSpeech;
                if (since > 40 + 7 + 5) ++silence, alarm += d[f] == zelVADSpeech;
            }
            EXPECT_GE(hit, 0.9 * speech) << "noise " << level << ", form " << form;
            EXPECT_LE(alarm, 0.1 * silence) << "noise " << level << ", form " << form;
        }
        // Six decisions, then the flush reports that nothing is left.
        for (int k = 0; k < 7; ++k) {
            Zel32s res = 0;
            ASSERT_EQ(k % 2 ? zelsVADFlush_Aurora_32f(&res, a.get()) : zelsVADFlush_Aurora_16s(&res, a.get()),
                      zelStsNoErr);
            EXPECT_EQ(res == zelVADUndecided, k == 6) << k;
        }
    }
}

TEST(AuroraVAD, ARecordCopiedBetweenBlocksContinuesTheStream) {
    const Signal s = bursts(100.0f);
    const int frames = int(s.speech.size()), cut = 137;
    Record whole, first, second;
    zelsVADInit_Aurora_32f(whole.get());
    zelsVADInit_Aurora_32f(first.get());
    vector<float> w0(za::kWin, 0.0f), w1(za::kWin, 0.0f);
    vector<Zel32s> one, split;
    decide(s, 0, frames, w0, whole.get(), one);
    decide(s, 0, cut, w1, first.get(), split);
    memcpy(second.mem, first.mem, 64);
    memset(first.mem, 0, 64);
    decide(s, cut, frames, w1, second.get(), split);
    EXPECT_EQ(split, one);
}

// Identical frames leave every measure on its floor, so only the hint marks.
vector<Zel32s> hinted(const vector<int>& marks, int frames) {
    Record r;
    zelsVADInit_Aurora_32f(r.get());
    float mel[25], block[64];
    for (int k = 0; k < 25; ++k) mel[k] = 2.0f + 0.1f * k;
    for (int i = 0; i < 64; ++i) block[i] = float((i * 37) % 11) - 5.0f;
    vector<Zel32s> out;
    for (int f = 1; f <= frames; ++f) {
        const bool marked = std::find(marks.begin(), marks.end(), f) != marks.end();
        Zel32s res = 0;
        zelsVADDecision_Aurora_32f(mel, block, marked ? 5 : 4, &res, r.get());
        out.push_back(res);
    }
    return out;
}

int speechFrom(const vector<Zel32s>& d, int frame) {
    int n = 0;
    while (frame + n <= int(d.size()) && d[frame + n - 1] == zelVADSpeech) ++n;
    return n;
}

TEST(AuroraVAD, HangoverFollowsTheRunsOfMarks) {
    // No mark (a hint of 4 marks nothing), no speech.
    const vector<Zel32s> quiet = hinted({}, 60);
    for (int f = 10; f < 60; ++f) EXPECT_EQ(quiet[f], zelVADNonSpeech) << f;
    // Three marks: speech from the third while the run is in the ring, then
    // the short hangover only.
    const vector<Zel32s> three = hinted({20, 21, 22}, 60);
    EXPECT_EQ(three[21 - 1], zelVADNonSpeech);
    EXPECT_EQ(speechFrom(three, 22), 5 + 4);
    // A run of four reloads the long hangover; a first reload before frame 36
    // lengthens it from 23 to 40 frames for good.
    const vector<Zel32s> early = hinted({20, 21, 22, 23, 80, 81, 82, 83}, 160);
    const vector<Zel32s> late = hinted({40, 41, 42, 43}, 120);
    EXPECT_EQ(speechFrom(early, 22), speechFrom(early, 82));
    EXPECT_EQ(speechFrom(late, 42), 1 + 3 + 1 + 23);  // run of 3, run of 4 in the ring, then the count
    EXPECT_EQ(speechFrom(early, 22) - speechFrom(late, 42), 40 - 23);
}

TEST(AuroraVAD, RecordsNoInitPreparedAreRefused) {
    Record r;
    float mel[25] = {}, block[64] = {};
    Zel16s mel16[25] = {}, block16[64] = {};
    Zel32s res = 77;
    ZelVADState_Aurora* st = r.get();
    // Memory that no Init prepared: zeros, and a pattern with the float kind's byte everywhere.
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    EXPECT_EQ(zelsVADFlush_Aurora_32f(&res, st), zelStsContextMatchErr);
    memset(r.mem, 0xa3, 64);
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    // Both Inits prepare the same record; a decision gives it its form.
    ASSERT_EQ(zelsVADInit_Aurora_16s(st), zelStsNoErr);
    Record fresh = r;
    ASSERT_EQ(zelsVADInit_Aurora_32f(st), zelStsNoErr);
    EXPECT_EQ(memcmp(r.mem, fresh.mem, 64), 0);
    ASSERT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsNoErr);
    res = 77;
    Record before = r;
    // A record that holds the float form's measures is not one of the integer form.
    EXPECT_EQ(zelsVADDecision_Aurora_16s(mel16, block16, 0, &res, st), zelStsContextMatchErr);
    EXPECT_EQ(res, 77);
    EXPECT_EQ(memcmp(r.mem, before.mem, 64), 0);
    r.mem[32] = 9;  // a ring position of 9 in a ring of 7
    EXPECT_EQ(zelsVADDecision_Aurora_32f(mel, block, 0, &res, st), zelStsContextMatchErr);
    EXPECT_EQ(res, 77);
}

}  // namespace
