// SPDX-License-Identifier: Apache-2.0
// MCRA noise tracking: the state record in the caller's block, the smoothing
// constants derived from the frame rate in float and in Q31, and the
// per-frame update of the smoothed spectrum, its minima, the speech-presence
// probability and the noise estimate.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include "frame/fixed.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::mcra {

namespace sv = zel::simd;

// A state built for one element type refuses the update of the other.
enum : uint32_t { kTagFloat = 0x4d435246u, kTagFixed = 0x4d435253u };

constexpr int kMinFftLen = 8, kMaxFftLen = 8192;
constexpr int kMinSampFreq = 8000, kMaxSampFreq = 48000;

// T is float in the float state and a Q31 (spectra: plain) integer in the
// fixed one; both are four bytes, so one layout serves both.
// The tag stands first, so that a block of another kind, or a short one, is
// told apart by its first word alone.
template <class T>
struct Record {
    uint32_t tag;
    int32_t sampFreq;
    int32_t fftLen;
    int32_t bits;        // significant bits of fftLen / 2
    int32_t reserved;    // never written
    int32_t hop;         // frame shift in samples
    int32_t windowLen;   // frames per minimum window
    int32_t frameIndex;  // frames since the window began
    int32_t firstFrame;  // 1 until the first update seeds the arrays
    T alphaD;            // noise smoothing
    T alphaP;            // speech-presence smoothing
    T alphaS;            // spectrum smoothing
    T delta;             // ratio threshold: 5.0, or 163840 in Q15
    T* pProb;
    T* pSmooth;
    T* pMin;
    T* pTmp;
};

// The arrays follow the record. With 4-byte pointers it takes 68 bytes and
// the block 16 (fftLen / 2) + 84; wider pointers add their width and the
// padding before them.
template <class T>
constexpr size_t kArraysOffset = sizeof(Record<T>);
static_assert(kArraysOffset<float> == kArraysOffset<int32_t>);
static_assert(sizeof(void*) != 4 || kArraysOffset<float> == 68);

inline int bins(int fftLen) { return fftLen / 2 + 1; }

inline int64_t stateSize(int fftLen) { return int64_t(kArraysOffset<float>) + 16 * (int64_t(fftLen / 2) + 1); }

// Shifts of n until it is zero: 0 for n under 1.
inline int32_t significantBits(int n) {
    int32_t b = 0;
    for (unsigned u = n > 0 ? unsigned(n) : 0u; u != 0; u >>= 1) ++b;
    return b;
}

template <class T>
T* arrayAt(Record<T>* r, int index) {
    unsigned char* base = reinterpret_cast<unsigned char*>(r) + kArraysOffset<T>;
    return reinterpret_cast<T*>(base + size_t(index) * size_t(bins(r->fftLen)) * sizeof(T));
}

// The record's words common to both element types.
template <class T>
void layOut(Record<T>* r, int sampFreq, int fftLen, int hop, uint32_t tag) {
    r->sampFreq = sampFreq;
    r->fftLen = fftLen;
    r->bits = significantBits(fftLen / 2);
    r->hop = hop;
    r->frameIndex = 0;
    r->firstFrame = 1;
    r->pProb = arrayAt(r, 0);
    r->pSmooth = arrayAt(r, 1);
    r->pMin = arrayAt(r, 2);
    r->pTmp = arrayAt(r, 3);
    r->tag = tag;
}

// A ready state of this kind whose arrays still lie where its own fftLen
// puts them; a state copied elsewhere, cleared or of the other kind is not.
template <class T>
Record<T>* ready(void* pState, uint32_t tag) {
    Record<T>* r = static_cast<Record<T>*>(pState);
    if (r->tag != tag || r->fftLen < kMinFftLen || r->fftLen > kMaxFftLen) return nullptr;
    const T* const arrays[4] = {r->pProb, r->pSmooth, r->pMin, r->pTmp};
    for (int i = 0; i < 4; ++i)
        if (arrays[i] != arrayAt(r, i)) return nullptr;
    return r;
}

// ---- Float constants --------------------------------------------------------
// The constants are those of a frame shift of 8 ms (125 frames a second);
// the exponent e rescales them to the actual frame rate.

inline void initFloat(Record<float>* r, int sampFreq, int fftLen, int hop, bool alternative) {
    layOut(r, sampFreq, fftLen, hop, kTagFloat);
    r->delta = 5.0f;
    const float e = (125.0f * float(hop)) / float(sampFreq);
    r->alphaD = float(pow(0.7, double(e)));
    r->alphaS = float(pow(0.8, double(e)));
    r->alphaP = float(pow(0.2, double(e)));
    // The plain builder divides by 2^(bits - 1), the half length only where
    // fftLen is a power of two; the window then disagrees with the hop.
    const double divisor = alternative ? double(hop) : ldexp(1.0, r->bits - 1);
    r->windowLen = int32_t(trunc(((double(sampFreq) * 0.008) / divisor) * 125.0));
}

// ---- Q31 constants ------------------------------------------------------------

// exp(q * e) by a third-order series in Q15, moved to Q31; q is a natural
// logarithm in Q31, e the exponent in Q15. The sum is formed with 1.0 as the
// 16-bit pattern -32768 and kept to 32 bits, which wraps it back to Q15.
inline int32_t seriesExp(int64_t q, int64_t e) {
    const int64_t x = (q * e) >> 31;
    const int64_t h = ((x * x) >> 15) >> 1;
    const int64_t third = 715827883;  // 1/3 in Q31
    const int64_t u = int64_t(uint64_t(third) * uint64_t((h * x) >> 15)) >> 31;
    return wrap32(int64_t(uint64_t(h + x - 32768 + u) << 16));
}

inline int32_t squareQ31(int32_t a) { return int32_t((int64_t(a) * int64_t(a)) >> 31); }

constexpr int64_t kLn07Q31 = -765953610;
constexpr int64_t kLn08Q31 = -479197128;
constexpr int64_t kLn02Over8Q31 = -432030200;
constexpr int32_t kDeltaQ15 = 163840;
constexpr int64_t kPoint004Q32 = 17179869;

inline void initFixed(Record<int32_t>* r, int sampFreq, int fftLen, int hop, bool alternative) {
    layOut(r, sampFreq, fftLen, hop, kTagFixed);
    r->delta = kDeltaQ15;
    const int64_t t = alternative ? ((kPoint004Q32 * sampFreq) / hop) >> 16
                                  : ((kPoint004Q32 * sampFreq) >> 16) >> (r->bits - 1);
    r->windowLen = int32_t(((t + 1) * 125) >> 15);
    const int64_t e = (int64_t(125 * hop) << 15) / sampFreq;
    r->alphaD = seriesExp(kLn07Q31, e);
    r->alphaS = seriesExp(kLn08Q31, e);
    // The series is good for small exponents only: take an eighth of it and
    // square three times.
    int32_t p = seriesExp(kLn02Over8Q31, e);
    for (int i = 0; i < 3; ++i) p = squareQ31(p);
    r->alphaP = p;
}

// ---- Update ------------------------------------------------------------------

template <class T>
void seed(Record<T>* r, const T* pSrc, T* pNoise) {
    const int n = bins(r->fftLen);
    for (int k = 0; k < n; ++k) {
        const T x = pSrc[k];
        r->pSmooth[k] = x;
        r->pMin[k] = x;
        r->pTmp[k] = x;
        pNoise[k] = x;
        r->pProb[k] = T(0);
    }
}

// Rounded to nearest, ties to even, whatever the caller's rounding mode, and
// saturated to 32 bits.
inline int32_t roundSat32(double x) {
    if (x >= 2147483647.0) return kMax32;
    if (!(x > -2147483648.0)) return kMin32;
    const double r = floor(x);
    const double d = x - r;
    const int64_t i = int64_t(r);
    // Branch-free: the fraction of a noise estimate is as good as random.
    return int32_t(i + (int64_t(d > 0.5) | (int64_t(d == 0.5) & i & 1)));
}

// The end of a frame: the window turns over when it was full.
template <class T>
void closeFrame(Record<T>* r, bool turn) {
    r->frameIndex = turn ? 1 : int32_t(uint32_t(r->frameIndex) + 1u);
    r->firstFrame = 0;
}

// Four bins of the float update. Every step is lane-wise, so a short tail
// run through the same body in a padded block gives the same bits.
inline void update4(const float* src, float* smooth, float* minimum, float* tmp, float* prob, float* noise,
                    const Record<float>& r, bool turn) {
    const sv::F32x4 aS = sv::set1(r.alphaS), bS = sv::set1(1.0f - r.alphaS);
    const sv::F32x4 aP = sv::set1(r.alphaP), bP = sv::set1(1.0f - r.alphaP);
    const sv::F32x4 aD = sv::set1(r.alphaD), bD = sv::set1(1.0f - r.alphaD);
    const sv::F32x4 one = sv::set1(1.0f);

    const sv::F32x4 x = sv::loadu4f(src);
    const sv::F32x4 s = sv::add(sv::mul(aS, sv::loadu4f(smooth)), sv::mul(bS, x));
    sv::F32x4 m, t;
    if (turn) {
        m = sv::min(s, sv::loadu4f(tmp));
        t = s;
    } else {
        m = sv::min(sv::loadu4f(minimum), s);
        t = sv::min(sv::loadu4f(tmp), s);
    }
    // Speech is taken as present where the smoothed power stands more than
    // delta above the tracked minimum.
    const sv::F32x4 present = sv::cmpgt(s, sv::mul(sv::set1(r.delta), m));
    const sv::F32x4 p = sv::add(sv::mul(aP, sv::loadu4f(prob)), sv::select(present, bP, sv::zero4f()));
    // Where speech is likely the noise estimate holds still.
    const sv::F32x4 a = sv::add(aD, sv::mul(bD, p));
    const sv::F32x4 nz = sv::add(sv::mul(a, sv::loadu4f(noise)), sv::mul(sv::sub(one, a), x));

    sv::storeu(smooth, s);
    sv::storeu(minimum, m);
    sv::storeu(tmp, t);
    sv::storeu(prob, p);
    sv::storeu(noise, nz);
}

inline void updateFloat(Record<float>* r, const float* pSrc, float* pNoise) {
    if (r->firstFrame) {
        seed(r, pSrc, pNoise);
        closeFrame(r, false);
        return;
    }
    const int n = bins(r->fftLen);
    const bool turn = r->frameIndex == r->windowLen;
    int k = 0;
    for (; k + 4 <= n; k += 4)
        update4(pSrc + k, r->pSmooth + k, r->pMin + k, r->pTmp + k, r->pProb + k, pNoise + k, *r, turn);
    if (k < n) {
        float lanes[6][4] = {};
        float* const arrays[5] = {r->pSmooth + k, r->pMin + k, r->pTmp + k, r->pProb + k, pNoise + k};
        const int rest = n - k;
        for (int i = 0; i < rest; ++i) {
            lanes[0][i] = pSrc[k + i];
            for (int a = 0; a < 5; ++a) lanes[a + 1][i] = arrays[a][i];
        }
        update4(lanes[0], lanes[1], lanes[2], lanes[3], lanes[4], lanes[5], *r, turn);
        for (int i = 0; i < rest; ++i)
            for (int a = 0; a < 5; ++a) arrays[a][i] = lanes[a + 1][i];
    }
    closeFrame(r, turn);
}

// The fixed update: the spectrum smoothing and the minima in integers, the
// probability and the noise in double precision with the Q formats undone
// by 2^-31 and 2^-15, stored rounded to nearest.
inline void updateFixed(Record<int32_t>* r, const int32_t* pSrc, int32_t* pNoise) {
    if (r->firstFrame) {
        seed(r, pSrc, pNoise);
        closeFrame(r, false);
        return;
    }
    const int n = bins(r->fftLen);
    const bool turn = r->frameIndex == r->windowLen;
    constexpr double kQ31 = 1.0 / 2147483648.0, kQ15 = 1.0 / 32768.0;
    // Constants from a far-off frame rate may lie anywhere in 32 bits, so the
    // 64-bit sums wrap rather than overflow.
    const uint64_t aS = uint64_t(int64_t(r->alphaS)), bS = uint64_t(int64_t(kMax32) - r->alphaS);
    const double aP = double(r->alphaP), bP = double(int64_t(kMax32) - r->alphaP);
    const double aD = double(r->alphaD), bD = double(int64_t(kMax32) - r->alphaD);
    const double delta = double(r->delta);
    for (int k = 0; k < n; ++k) {
        const int32_t x = pSrc[k];
        const int32_t s = wrap32(int64_t(aS * uint64_t(int64_t(r->pSmooth[k])) + bS * uint64_t(int64_t(x))) >> 31);
        r->pSmooth[k] = s;
        const int32_t tmp = r->pTmp[k];
        const int32_t lower = turn ? tmp : r->pMin[k];
        const int32_t minimum = s < lower ? s : lower;
        r->pMin[k] = minimum;
        r->pTmp[k] = turn || s < tmp ? s : tmp;
        const bool present = double(s) > double(minimum) * delta * kQ15;
        const double p = double(r->pProb[k]) * aP * kQ31 + (present ? bP : 0.0);
        const double a = aD + p * bD * kQ31;
        const double nz = a * double(pNoise[k]) * kQ31 + (double(kMax32) - a) * double(x) * kQ31;
        r->pProb[k] = roundSat32(p);
        pNoise[k] = roundSat32(nz);
    }
    closeFrame(r, turn);
}

}  // namespace zel::mcra
