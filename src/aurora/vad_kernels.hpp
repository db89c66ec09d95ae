// SPDX-License-Identifier: Apache-2.0
// The Aurora voice activity decision: three measures of a frame (block
// variance, frame energy, low-band energy) against adaptive noise floors,
// seven frames of marks in a ring, and two hangover counters. The float and
// the integer form share the record, the ring and the verdict; each keeps
// its own constants for the measures.
#pragma once

#include <stdint.h>
#include <string.h>

#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "zelsr.h"

// The record of 64 bytes, field by field. A measure is a single in the float
// form and a 32-bit integer in the 16-bit form.
union ZelVADMeasure {
    Zel32f f;
    Zel32s i;
};

struct ZelVADState_Aurora {
    Zel16s flagEnergy;
    Zel16s flagLowBand;
    Zel16s flagVariance;
    Zel16s energyLatch;     // set for good once an early frame looked like speech
    ZelVADMeasure meanEnergy;
    ZelVADMeasure floorLowBand;
    ZelVADMeasure floorEnergy;
    ZelVADMeasure floorVariance;
    ZelVADMeasure lowBandLast;
    ZelVADMeasure lowBandCopy;  // written and never read
    Zel32s ringIndex;       // slot of the ring written last
    Zel32s flushMark;       // -1 until the flush starts
    Zel32s hangLength;      // what hangCount is reloaded with
    Zel32s hangCount;       // long hangover
    Zel32s shortHang;       // short hangover
    Zel8u ring[7];          // marks of the last seven frames
    Zel8u kind;             // which form initialised the record
    Zel32s frameCount;      // frames seen, flush calls included
};

static_assert(sizeof(ZelVADState_Aurora) == 64, "the record is 64 bytes");

namespace zel::vad {

constexpr int kStateBytes = 64;
constexpr int kMelBands = 25;
constexpr int kBlock = 64;
constexpr int kRing = 7;

// The kind byte stands in the one byte the fields leave free; together with
// the ranges every valid record keeps (ring marks 0 or 1, ring positions
// within the ring, the two hangover lengths) it tells a record from memory
// that never held one. A record fresh from Init is the same for both forms;
// the first decision gives it the kind of its form, whose measures it then
// holds.
constexpr Zel8u kKindFresh = 0xa0;
constexpr Zel8u kKind32f = 0xa3;
constexpr Zel8u kKind16s = 0xa6;

constexpr Zel32s kSpeech = 1, kNonSpeech = 2, kUndecided = 4;

inline bool wellFormed(const ZelVADState_Aurora& s) {
    if (s.ringIndex < 0 || s.ringIndex >= kRing || s.flushMark < -1 || s.flushMark >= kRing) return false;
    if (s.hangLength != 23 && s.hangLength != 40) return false;
    if (s.frameCount < 0) return false;
    for (Zel8u m : s.ring)
        if (m > 1) return false;
    return true;
}

inline void reset(ZelVADState_Aurora& s) {
    s.flagEnergy = 0;
    s.energyLatch = 0;
    s.meanEnergy.i = 0;
    s.floorLowBand.i = 0;
    s.floorEnergy.i = 0;
    s.floorVariance.i = 0;
    s.lowBandLast.i = 0;
    s.ringIndex = 0;
    s.flushMark = -1;
    s.hangLength = 23;
    s.hangCount = 0;
    s.shortHang = 0;
    memset(s.ring, 0, sizeof s.ring);
    s.frameCount = 0;
    s.kind = kKindFresh;
}

// Frames seen; the count stops short of overflow, where nothing reads it
// any more but "15 or more".
inline int nextFrame(ZelVADState_Aurora& s) {
    if (s.frameCount < kMax32) ++s.frameCount;
    return s.frameCount;
}

inline int nextSlot(int i) { return i + 1 == kRing ? 0 : i + 1; }

// Longest run of marks, reading the ring oldest first: from the slot after
// `last` round to `last`.
inline int longestRun(const Zel8u* ring, int last) {
    int best = 0, run = 0;
    for (int k = 1; k <= kRing; ++k) {
        run = ring[(last + k) % kRing] ? run + 1 : 0;
        if (run > best) best = run;
    }
    return best;
}

// Counters that may go below zero in the flush wrap instead of overflowing.
constexpr Zel32s minusOne(Zel32s v) { return Zel32s(uint32_t(v) - 1u); }

// Ring, run and hangover: the part of a decision shared by both forms.
inline Zel32s verdict(ZelVADState_Aurora& s, int n, bool marked) {
    s.ringIndex = nextSlot(s.ringIndex);
    s.ring[s.ringIndex] = marked ? 1 : 0;
    const int r = longestRun(s.ring, s.ringIndex);
    // The reload takes the length as it stood: a first burst before frame 36
    // reloads 23 and lengthens later ones to 40.
    if (r >= 4) {
        s.hangCount = s.hangLength;
        if (n < 36) s.hangLength = 40;
    }
    if (r < 3) {
        if (s.hangCount != 0) s.hangCount = minusOne(s.hangCount);
        if (s.shortHang != 0) s.shortHang = minusOne(s.shortHang);
    } else {
        s.shortHang = 5;
    }
    return (s.shortHang == 0 && s.hangCount == 0 && r < 3) ? kNonSpeech : kSpeech;
}

// One flush step: the marks stay, the ring is read from one slot further on,
// and the counters are decremented without a floor.
inline Zel32s flushStep(ZelVADState_Aurora& s) {
    const int n = nextFrame(s);
    if (s.flushMark == -1) s.flushMark = s.ringIndex;
    s.ringIndex = nextSlot(s.ringIndex);
    if (s.ringIndex == s.flushMark || n < 11) return kUndecided;
    const int r = longestRun(s.ring, s.ringIndex);
    if (r >= 4) {
        s.hangCount = minusOne(s.hangLength);
        if (n < 36) s.hangLength = 40;
    } else {
        s.hangCount = minusOne(s.hangCount);
    }
    s.shortHang = minusOne(r < 3 ? s.shortHang : 5);
    return (s.shortHang < 1 && s.hangCount < 1 && r < 3) ? kNonSpeech : kSpeech;
}

// ---- Float measures ----------------------------------------------------------------

inline float maxf(float a, float b) { return a > b ? a : b; }

// Moves a floor towards a measure x that lies near it, and down quickly when
// x falls well under it.
inline float trackFloor(float f, float x, float hiBound, float loBound, bool loInclusive, float slowBound) {
    if (x < hiBound * f && x > loBound * f) f = 0.8f * f + 0.2f * x;
    if (loInclusive ? !(x > slowBound * f) : (x < slowBound * f)) f = 0.97f * f + 0.03f * x;
    return f;
}

inline bool measures32f(ZelVADState_Aurora& s, const float* pMel, const float* pFrame, int n) {
    float sum = 0.0f, squares = 0.0f, mel = 0.0f;
    ownSum_32f(pFrame, kBlock, &sum, zelAlgHintAccurate);
    ownDotProd_32f(pFrame, pFrame, kBlock, &squares);
    ownSum_32f(pMel, kMelBands, &mel, zelAlgHintAccurate);

    // Mean square less squared mean of the block.
    const float v = squares * 0.015625f - (sum * sum) * 0.00024414063f;
    if (n < 15) s.floorVariance.f = maxf(s.floorVariance.f, v);
    s.floorVariance.f = trackFloor(s.floorVariance.f, v, 1.5f, 0.85f, false, 0.25f);
    s.flagVariance = v > 1.65f * s.floorVariance.f;

    const float e = mel * mel - 3.0f;
    if (n == 1) s.floorEnergy.f = e;
    if (n < 15) {
        s.meanEnergy.f = (float(n - 1) * s.meanEnergy.f + e) * 1.1f / float(n);
        if (e / s.meanEnergy.f > 2.5f) s.energyLatch = 1;
        if (s.energyLatch == 0) s.floorEnergy.f = maxf(s.floorEnergy.f, e);
    }
    s.floorEnergy.f = trackFloor(s.floorEnergy.f, e, 1.5f, 0.75f, true, 0.5f);
    s.flagEnergy = e > 1.65f * s.floorEnergy.f;

    const float b = ((pMel[1] + pMel[2]) + pMel[3]) / 3.0f;
    const float low = 0.75f * b + 0.25f * s.lowBandLast.f;
    s.lowBandLast.f = b;
    s.lowBandCopy.f = b;
    if (n < 15) s.floorLowBand.f = maxf(s.floorLowBand.f, low);
    s.floorLowBand.f = trackFloor(s.floorLowBand.f, low, 1.5f, 0.75f, true, 0.5f);
    s.flagLowBand = low > 3.25f * s.floorLowBand.f;
    return s.flagEnergy || s.flagLowBand || s.flagVariance;
}

// ---- Integer measures --------------------------------------------------------------

// A floor times a constant, in 32 bits with wrap-around, shifted.
constexpr int64_t scaledFloor(Zel32s f, int32_t k, int shift) { return int64_t(wrap32(int64_t(f) * k) >> shift); }

inline bool measures16s(ZelVADState_Aurora& s, const Zel16s* pMel, const Zel16s* pFrame, int n) {
    Zel32s sum = 0, mel = 0;
    Zel64s squares = 0;
    ownSum_16s32s_Sfs(pFrame, kBlock, &sum, 0);
    ownDotProd_16s64s(pFrame, pFrame, kBlock, &squares);
    ownSum_16s32s_Sfs(pMel, kMelBands, &mel, 0);

    // 4096 times the block variance.
    const int64_t v = 64 * squares - int64_t(wrap32(int64_t(sum) * sum));
    Zel32s& fv = s.floorVariance.i;
    if (n < 15 && v > fv) fv = wrap32(v);
    if (v < scaledFloor(fv, 48, 5) && v > scaledFloor(fv, 27, 5)) fv = wrap32(scaledFloor(fv, 26, 5) + ((6 * v) >> 5));
    // The measure enters the slow update whole, not scaled by 1/32.
    if (v < scaledFloor(fv, 8, 5)) fv = wrap32(scaledFloor(fv, 31, 5) + v);
    s.flagVariance = v > scaledFloor(fv, 53, 5);

    const int64_t e = wrap32(int64_t(wrap32(int64_t(mel) * mel)) - 3);
    Zel32s& fe = s.floorEnergy.i;
    if (n == 1) fe = Zel32s(e);
    if (n < 15) {
        const int64_t mean = ((int64_t(n - 1) * s.meanEnergy.i + e) * 141 / n) >> 7;
        s.meanEnergy.i = wrap32(mean);
        // A zero mean answers as the float form's division would: an
        // infinite ratio for a positive measure, no ratio otherwise.
        const int64_t m = s.meanEnergy.i;
        const bool high = m == 0 ? e > 0 : (e * 128) / m > 320;
        if (high) s.energyLatch = 1;
        if (s.energyLatch == 0 && e > fe) fe = Zel32s(e);
    }
    if (e < scaledFloor(fe, 192, 7) && e > scaledFloor(fe, 96, 7))
        fe = wrap32(scaledFloor(fe, 102, 7) + ((26 * e) >> 7));
    if (e <= scaledFloor(fe, 64, 7)) fe = wrap32(scaledFloor(fe, 124, 7) + ((4 * e) >> 7));
    s.flagEnergy = e > scaledFloor(fe, 211, 7);

    const Zel32s b = wrap32(int64_t(341) * (int64_t(pMel[1]) + pMel[2] + pMel[3]));
    const int64_t low = ((3 * int64_t(b)) >> 2) + ((8 * int64_t(s.lowBandLast.i)) >> 5);
    s.lowBandLast.i = b;
    s.lowBandCopy.i = b;
    Zel32s& fl = s.floorLowBand.i;
    if (n < 15 && low > fl) fl = wrap32(low);
    if (low < scaledFloor(fl, 48, 5) && low > scaledFloor(fl, 24, 5))
        fl = wrap32(scaledFloor(fl, 102, 7) + ((26 * low) >> 7));
    if (low <= scaledFloor(fl, 16, 5)) fl = wrap32(scaledFloor(fl, 124, 7) + (low >> 5));
    s.flagLowBand = low > scaledFloor(fl, 416, 7);
    return s.flagEnergy || s.flagLowBand || s.flagVariance;
}

}  // namespace zel::vad
