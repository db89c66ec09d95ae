// SPDX-License-Identifier: Apache-2.0
// The streaming feature extractor: framing, pre-emphasis, window, FFT, mel
// bank, logarithm, DCT lifter, normalisation and deltas, from the library's
// own primitives. Every frame is computed from its own samples and the
// running sums only, so the block sizes of the input never change a bit.
#include <limits.h>
#include <math.h>
#include <string.h>

#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "frame/toolkit.h"
#include "frontend/features_kernels.hpp"
#include "zelcore.h"
#include "zelsr.h"

using namespace zel;

namespace {

constexpr Zel32u kFeatureTag = 0x5a46454au;  // "ZFEJ"
constexpr Zel32u kFeatureFlushed = 0x5a46464cu;
constexpr int kMaxSamples = 1 << 20;
constexpr double kPi = 3.14159265358979323846;
// Frames are computed a few at a time: the spectra of the block first, then
// one filter-bank pass and one logarithm over all of them, so that each
// stage's tables stay in cache across the block. Every value is the same
// as if the frames came one by one.
constexpr int kBlockFrames = 8;
// Samples converted per step of a long block: the frames of the step then
// read samples that are still in cache.
constexpr int64_t kChunkSamples = 8192;
// Rows of filter energies start on 16 bytes, where the lifter reads fastest.
constexpr int melStride(int nFilter) { return (nFilter + 3) & ~3; }

// A growable array of trivially copyable values from zelMalloc.
template <class T>
struct Buf {
    T* p = nullptr;
    int64_t cap = 0;
    bool reserve(int64_t n) {
        if (n <= cap) return true;
        int64_t want = cap * 2 > n ? cap * 2 : n;
        if (want > (int64_t(INT_MAX) / int64_t(sizeof(T)))) want = n;
        if (n > int64_t(INT_MAX) / int64_t(sizeof(T))) return false;
        T* q = static_cast<T*>(zelMalloc(size_t(want) * sizeof(T)));
        if (!q) return false;
        if (p) memcpy(q, p, size_t(cap) * sizeof(T));
        zelFree(p);
        p = q;
        cap = want;
        return true;
    }
    void release() {
        zelFree(p);
        p = nullptr;
        cap = 0;
    }
};

struct Geometry {
    int frameLen, shift, fftLen, order, nFilter, staticDim, dim, history, lookahead;
    float lowFreq, highFreq;
};

// The first refused field, or -1. `g` receives the derived sizes.
int refusedField(const ZelFeatureConfig& c, Geometry& g) {
    if (!(c.sampleRate > 0.0f) || !(c.sampleRate <= 1e7f)) return 0;
    double fl = floor(double(c.frameLengthMs) * c.sampleRate / 1000.0 + 0.5);
    if (!(fl >= 2.0 && fl <= kMaxSamples)) return 1;
    double fs = floor(double(c.frameShiftMs) * c.sampleRate / 1000.0 + 0.5);
    if (!(fs >= 1.0 && fs <= kMaxSamples)) return 2;
    if (!(c.preemphasis >= 0.0f && c.preemphasis <= 1.0f)) return 3;
    if (c.window < zelFeatureWindowHamming || c.window > zelFeatureWindowPovey) return 4;
    g.frameLen = int(fl);
    g.shift = int(fs);
    int len = 2, order = 1;
    while (len < g.frameLen) len <<= 1, ++order;
    if (c.fftSize != 0) {
        if (c.fftSize < g.frameLen || c.fftSize > kMaxSamples || (c.fftSize & (c.fftSize - 1)) != 0) return 5;
        while (len < c.fftSize) len <<= 1, ++order;
    }
    g.fftLen = len;
    g.order = order;
    if (c.powerSpectrum != 0 && c.powerSpectrum != 1) return 6;
    if (c.numFilters < 1 || c.numFilters > len / 2) return 7;
    const float nyquist = c.sampleRate * 0.5f;
    if (!(c.lowFreq > 0.0f) || !(c.lowFreq < nyquist)) return 8;
    const float high = c.highFreq > 0.0f ? c.highFreq : nyquist + c.highFreq;
    if (!(high > c.lowFreq) || !(high <= nyquist)) return 9;
    g.lowFreq = c.lowFreq;
    g.highFreq = high;
    if (!(c.logFloor > 0.0f) || !(c.logFloor < INFINITY)) return 10;
    if (c.output != zelFeatureMfcc && c.output != zelFeatureFbank) return 11;
    const bool mfcc = c.output == zelFeatureMfcc;
    if (mfcc && (c.numCeps < 1 || c.numCeps >= c.numFilters)) return 12;
    if (mfcc && c.lifter < 0) return 13;
    if (c.energy < zelFeatureEnergyNone || c.energy > zelFeatureEnergyLog || (!mfcc && c.energy == zelFeatureEnergyC0))
        return 14;
    if (c.deltaOrder < 0 || c.deltaOrder > 2) return 15;
    if (c.cmvn < zelFeatureCmvnNone || c.cmvn > zelFeatureCmvnUtterance) return 16;
    if (c.normVariance != 0 && c.normVariance != 1) return 17;
    if (c.cmvn == zelFeatureCmvnSliding && (c.cmvnWindow < 1 || c.cmvnWindow > kMaxSamples)) return 18;
    g.nFilter = c.numFilters;
    g.staticDim = (mfcc ? c.numCeps : c.numFilters) + (c.energy != zelFeatureEnergyNone ? 1 : 0);
    g.dim = g.staticDim * (1 + c.deltaOrder);
    // Rows the streaming delta functions keep as history, and how many of
    // them still wait for later frames after a call.
    g.history = c.deltaOrder == 2 ? 6 : c.deltaOrder == 1 ? 4 : 0;
    g.lookahead = c.deltaOrder == 2 ? 4 : c.deltaOrder == 1 ? 2 : 0;
    return -1;
}

}  // namespace

struct ZelFeatureState {
    Zel32u tag;
    ZelFeatureConfig cfg;
    Geometry g;
    ZelFBankState_32f* bank;
    ZelDCTLifterState_32f* lifter;
    ZelFFTSpec_R_32f* fft;
    Zel8u* fftWork;
    Zel32f* window;    // frameLen
    Zel32f* frame;     // fftLen
    Zel32f* spectrum;  // fftLen + 2, unfolded
    int block;         // frames per block, kBlockFrames unless the transform is long
    Zel32f* power;     // block rows of fftLen / 2 + 1
    Zel32f* mel;       // block rows of nFilter, melStride(nFilter) apart
    Buf<Zel32f> samples;  // samples not yet consumed by a frame
    int64_t nSamples;
    int64_t skip;         // samples still to drop when the shift exceeds the frame
    Buf<Zel32f> statics;  // statics of the current block (or the utterance)
    int64_t nStatics;
    Buf<double> sums;     // sliding normalisation: sum, sum of squares per value
    Buf<Zel32f> ring;     // the last cmvnWindow statics
    int64_t nSeen;
    Buf<Zel32f> rows;     // delta rows: history then the new block
    int64_t nRows;        // rows held in `rows`
    bool deltaBegun;
    Buf<Zel32f> out;      // frames ready to be read
    int64_t outHead, outTail;
};

namespace {

ZelStatus requireState(const ZelFeatureState* p, bool open) {
    if (p->tag == kFeatureTag) return zelStsNoErr;
    if (p->tag == kFeatureFlushed && !open) return zelStsNoErr;
    return zelStsContextMatchErr;
}

void destroy(ZelFeatureState* s) {
    if (s->bank) zelsFBankFree_32f(s->bank);
    if (s->lifter) zelsDCTLifterFree_32f(s->lifter);
    if (s->fft) ownFFTFree_R_32f(s->fft);
    zelFree(s->fftWork);
    zelFree(s->window);
    zelFree(s->frame);
    zelFree(s->spectrum);
    zelFree(s->power);
    zelFree(s->mel);
    s->samples.release();
    s->statics.release();
    s->sums.release();
    s->ring.release();
    s->rows.release();
    s->out.release();
    s->tag = 0;
    zelFree(s);
}

ZelStatus build(ZelFeatureState* s) {
    const ZelFeatureConfig& c = s->cfg;
    const Geometry& g = s->g;
    int order = 0;
    if (ZelStatus st = zelsMelFBankInitAlloc_32f(&s->bank, &order, g.fftLen, c.sampleRate, g.lowFreq, g.highFreq,
                                                 g.nFilter, 1127.0f, 700.0f, zelFBankMelWeights))
        return st;
    if (c.output == zelFeatureMfcc) {
        const bool c0 = c.energy == zelFeatureEnergyC0;
        ZelStatus st;
        if (c.lifter > 0) {
            st = c0 ? zelsDCTLifterInitAlloc_C0_32f(&s->lifter, g.nFilter, c.numCeps, c.lifter, 1.0f, 1.0f)
                    : zelsDCTLifterInitAlloc_32f(&s->lifter, g.nFilter, c.numCeps, c.lifter, 1.0f);
        } else {
            Zel32f* ones = static_cast<Zel32f*>(zelMalloc(sizeof(Zel32f) * size_t(c.numCeps)));
            if (!ones) return zelStsMemAllocErr;
            for (int i = 0; i < c.numCeps; ++i) ones[i] = 1.0f;
            st = c0 ? zelsDCTLifterInitAlloc_MulC0_32f(&s->lifter, g.nFilter, ones, c.numCeps)
                    : zelsDCTLifterInitAlloc_Mul_32f(&s->lifter, g.nFilter, ones, c.numCeps);
            zelFree(ones);
        }
        if (st) return st;
    }
    // No scaling in either direction, as the bank's own magnitude path does.
    if (ZelStatus st = ownFFTInitAlloc_R_32f(&s->fft, g.order, 8, 2)) return st;
    int specSize = 0, initSize = 0, workSize = 0;
    if (ZelStatus st = ownFFTGetSize_R_32f(g.order, 8, 2, &specSize, &initSize, &workSize)) return st;
    s->fftWork = static_cast<Zel8u*>(zelMalloc(size_t(workSize > 0 ? workSize : 1)));
    s->window = static_cast<Zel32f*>(zelMalloc(sizeof(Zel32f) * size_t(g.frameLen)));
    s->frame = static_cast<Zel32f*>(zelMalloc(sizeof(Zel32f) * size_t(g.fftLen)));
    s->spectrum = static_cast<Zel32f*>(zelMalloc(sizeof(Zel32f) * size_t(g.fftLen + 2)));
    s->block = g.fftLen <= 4096 ? kBlockFrames : 1;
    s->power = static_cast<Zel32f*>(zelMalloc(sizeof(Zel32f) * size_t(s->block) * size_t(g.fftLen / 2 + 1)));
    const size_t melSize = sizeof(Zel32f) * size_t(s->block) * size_t(melStride(g.nFilter));
    s->mel = static_cast<Zel32f*>(zelMalloc(melSize));
    if (!s->fftWork || !s->window || !s->frame || !s->spectrum || !s->power || !s->mel) return zelStsMemAllocErr;
    memset(s->mel, 0, melSize);  // the padding of each row is read, never used
    if (!s->samples.reserve(int64_t(g.frameLen) + kChunkSamples)) return zelStsMemAllocErr;
    if (c.cmvn == zelFeatureCmvnSliding &&
        (!s->sums.reserve(2 * int64_t(g.staticDim)) || !s->ring.reserve(int64_t(c.cmvnWindow) * g.staticDim)))
        return zelStsMemAllocErr;
    const int n = g.frameLen;
    for (int j = 0; j < n; ++j) {
        const double hann = 0.5 - 0.5 * cos(2.0 * kPi * j / (n - 1));
        double w = c.window == zelFeatureWindowHamming ? 0.54 - 0.46 * cos(2.0 * kPi * j / (n - 1))
                   : c.window == zelFeatureWindowHann  ? hann
                                                       : pow(hann, 0.85);
        s->window[j] = float(w);
    }
    return zelStsNoErr;
}

void resetStreams(ZelFeatureState* s) {
    s->nSamples = 0;
    s->skip = 0;
    s->nStatics = 0;
    s->nSeen = 0;
    s->nRows = 0;
    s->deltaBegun = false;
    s->outHead = s->outTail = 0;
    if (s->sums.p) memset(s->sums.p, 0, sizeof(double) * size_t(s->sums.cap));
}

// The statics of `count` frames, the first starting at x and each `shift`
// samples after the one before: log mel energies or cepstra, then the
// energy term, `staticDim` values per frame.
void computeStatics(ZelFeatureState* s, const Zel32f* x, int64_t count, Zel32f* dst, bool wide) {
    const ZelFeatureConfig& c = s->cfg;
    const Geometry& g = s->g;
    const int bins = g.fftLen / 2 + 1, nf = g.nFilter, ms = melStride(nf);
    const float floorV = c.logFloor;
    Zel32f logE[kBlockFrames];
    for (int64_t t0 = 0; t0 < count; t0 += s->block) {
        const int b = int(count - t0 < s->block ? count - t0 : s->block);
        for (int i = 0; i < b; ++i) {
            const Zel32f* in = x + (t0 + i) * g.shift;
            if (c.energy == zelFeatureEnergyLog) {
                Zel64f e = 0.0;
                ownDotProd_32f64f(in, in, g.frameLen, &e);
                logE[i] = Zel32f(e);
            }
            features::windowFrame(in, s->window, c.preemphasis, g.frameLen, g.fftLen, s->frame, wide);
            ownFFTFwd_RUnfolded_32f(s->frame, s->spectrum, s->fft, s->fftWork);
            Zel32f* pw = s->power + int64_t(i) * bins;
            if (c.powerSpectrum) {
                features::powerSpectrum(s->spectrum, bins, pw, wide);
            } else {
                ownMagnitude_32fc(s->spectrum, pw, bins);
            }
        }
        Zel32f* __restrict mel = s->mel;
        for (int i = 0; i < b; ++i) zelsEvalFBank_32f(s->power + int64_t(i) * bins, mel + i * ms, s->bank);
        features::lnFloored(mel, b * ms, floorV, wide);
        if (c.energy == zelFeatureEnergyLog) features::lnFloored(logE, b, floorV, wide);
        for (int i = 0; i < b; ++i) {
            Zel32f* row = dst + (t0 + i) * g.staticDim;
            int k;
            if (c.output == zelFeatureMfcc) {
                zelsDCTLifter_32f(mel + i * ms, row, s->lifter);
                k = c.numCeps + (c.energy == zelFeatureEnergyC0 ? 1 : 0);
            } else {
                ownCopy_32f(mel + i * ms, row, nf);
                k = nf;
            }
            if (c.energy == zelFeatureEnergyLog) row[k] = logE[i];
        }
    }
}

// Sliding normalisation of one static row in place: the window's sums are
// kept in double and moved by one frame at a time.
void slideNormalise(ZelFeatureState* s, Zel32f* v) {
    const int d = s->g.staticDim;
    const int64_t w = s->cfg.cmvnWindow;
    double* sum = s->sums.p;
    double* sq = sum + d;
    Zel32f* slot = s->ring.p + (s->nSeen % w) * d;
    if (s->nSeen >= w)
        for (int j = 0; j < d; ++j) sum[j] -= slot[j], sq[j] -= double(slot[j]) * slot[j];
    for (int j = 0; j < d; ++j) sum[j] += v[j], sq[j] += double(v[j]) * v[j], slot[j] = v[j];
    ++s->nSeen;
    const double count = double(s->nSeen < w ? s->nSeen : w);
    for (int j = 0; j < d; ++j) {
        const double mean = sum[j] / count;
        double r = double(v[j]) - mean;
        if (s->cfg.normVariance) {
            const double var = sq[j] / count - mean * mean;
            r = var > 1e-20 ? r / sqrt(var) : 0.0;
        }
        v[j] = Zel32f(r);
    }
}

void utteranceNormalise(ZelFeatureState* s) {
    const int d = s->g.staticDim;
    const int64_t n = s->nStatics;
    if (n == 0) return;
    for (int j = 0; j < d; ++j) {
        double sum = 0.0, sq = 0.0;
        for (int64_t t = 0; t < n; ++t) {
            const double v = s->statics.p[t * d + j];
            sum += v, sq += v * v;
        }
        const double mean = sum / double(n);
        const double var = sq / double(n) - mean * mean;
        for (int64_t t = 0; t < n; ++t) {
            Zel32f* v = s->statics.p + t * d + j;
            double r = double(*v) - mean;
            if (s->cfg.normVariance) r = var > 1e-20 ? r / sqrt(var) : 0.0;
            *v = Zel32f(r);
        }
    }
}

void emit(ZelFeatureState* s, const Zel32f* rows, int64_t count, int step) {
    const int dim = s->g.dim;
    for (int64_t t = 0; t < count; ++t) memcpy(s->out.p + (s->outTail + t) * dim, rows + t * step, sizeof(Zel32f) * dim);
    s->outTail += count;
}

// Runs the statics of the block through the delta stage and moves the rows it
// completes to the output. `last` ends the utterance.
ZelStatus deltaStage(ZelFeatureState* s, bool last) {
    const Geometry& g = s->g;
    const int d = g.staticDim, dim = g.dim;
    if (g.history == 0) {
        emit(s, s->statics.p, s->nStatics, dim);
        s->nStatics = 0;
        return zelStsNoErr;
    }
    const float ds = 1.0f / 10.0f;
    auto call = [&](const Zel32f* src, int height, int mode) {
        return g.history == 6 ? zelsDeltaDelta_Win2_32f_D2(src, d, s->rows.p, dim, height, ds, ds, mode)
                              : zelsDelta_Win2_32f_D2(src, d, s->rows.p, dim, height, ds, mode);
    };
    const int H = g.history, L = g.lookahead;
    if (!s->deltaBegun) {
        if (s->nStatics < H && !last) return zelStsNoErr;  // wait for enough frames to begin
        if (s->nStatics == 0) return zelStsNoErr;
        const int64_t real = s->nStatics;
        // A short utterance repeats its last frame up to the first call's minimum.
        for (int64_t t = real; t < H; ++t) memcpy(s->statics.p + t * d, s->statics.p + (real - 1) * d, sizeof(Zel32f) * d);
        const int64_t n = real < H ? H : real;
        if (ZelStatus st = call(s->statics.p, int(n), zelBeginStream | (last ? zelEndStream : 0))) return st;
        s->deltaBegun = true;
        s->nRows = n;
        emit(s, s->rows.p, last ? real : n - L, dim);
    } else {
        const int64_t n = s->nStatics;
        if (n == 0 && !last) return zelStsNoErr;
        if (ZelStatus st = call(s->statics.p, int(n), last ? zelEndStream : 0)) return st;
        s->nRows = H + n;
        emit(s, s->rows.p + int64_t(H - L) * dim, last ? n + L : n, dim);
    }
    s->nStatics = 0;
    // Keep the last H rows as the next call's history.
    memmove(s->rows.p, s->rows.p + (s->nRows - H) * dim, sizeof(Zel32f) * size_t(H) * dim);
    s->nRows = H;
    return zelStsNoErr;
}

// Room for `frames` more statics, delta rows and output rows, before any
// state changes, so that a refused allocation leaves the stream as it was.
bool reserveFor(ZelFeatureState* s, int64_t frames, bool flushing) {
    const Geometry& g = s->g;
    const bool utt = s->cfg.cmvn == zelFeatureCmvnUtterance;
    // Outside whole-utterance normalisation the delta stage takes the statics
    // after every conversion step, so one step's statics (beside those that
    // wait for the stream to begin) are all that is ever held.
    const int64_t perStep = kChunkSamples / g.shift + 1 + g.history;
    const int64_t held = utt || frames < perStep ? frames : perStep;
    const int64_t staticRows = s->nStatics + held + g.history;
    const int64_t produced = (utt && !flushing) ? 0 : s->nStatics + frames + 2 * int64_t(g.history);
    if (!s->statics.reserve(staticRows * g.staticDim)) return false;
    if (g.history && !s->rows.reserve((g.history + staticRows) * int64_t(g.dim))) return false;
    // Read frames leave the queue's head; keep the queue compact first.
    if (s->outHead > 0) {
        memmove(s->out.p, s->out.p + s->outHead * g.dim, sizeof(Zel32f) * size_t((s->outTail - s->outHead) * g.dim));
        s->outTail -= s->outHead;
        s->outHead = 0;
    }
    return s->out.reserve((s->outTail + produced) * int64_t(g.dim) + 1);
}

template <class T>
ZelStatus accept(ZelFeatureState* s, const T* pSrc, int len) {
    if (ZelStatus st = firstError(requireNonNull(s, pSrc))) return st;
    if (ZelStatus st = requireState(s, true)) return st;
    if (ZelStatus st = requirePositive(len)) return st;
    const Geometry& g = s->g;
    // The frames the whole block completes, so that every buffer is grown
    // before the stream changes.
    const int64_t drop0 = s->skip < len ? s->skip : len;
    const int64_t total = s->nSamples + len - drop0;
    const int64_t frames = total < g.frameLen ? 0 : 1 + (total - g.frameLen) / g.shift;
    if (!reserveFor(s, frames, false)) return zelStsMemAllocErr;
    const bool utterance = s->cfg.cmvn == zelFeatureCmvnUtterance;
    const bool wide = runsAvx2();
    // The samples buffer holds less than a frame between steps, plus one step.
    for (int64_t at = 0; at < len;) {
        const int64_t drop = s->skip < len - at ? s->skip : len - at;
        s->skip -= drop;
        at += drop;
        if (at == len) break;
        const int64_t take = len - at < kChunkSamples ? len - at : kChunkSamples;
        if constexpr (sizeof(T) == 2)
            features::widen16(pSrc + at, int(take), s->samples.p + s->nSamples);
        else
            ownCopy_32f(pSrc + at, s->samples.p + s->nSamples, int(take));
        at += take;
        s->nSamples += take;
        if (s->nSamples < g.frameLen) continue;
        const int64_t n = 1 + (s->nSamples - g.frameLen) / g.shift;
        Zel32f* first = s->statics.p + s->nStatics * g.staticDim;
        computeStatics(s, s->samples.p, n, first, wide);
        if (s->cfg.cmvn == zelFeatureCmvnSliding)
            for (int64_t t = 0; t < n; ++t) slideNormalise(s, first + t * g.staticDim);
        s->nStatics += n;
        const int64_t used = n * g.shift < s->nSamples ? n * g.shift : s->nSamples;
        s->skip += n * g.shift - used;
        memmove(s->samples.p, s->samples.p + used, sizeof(Zel32f) * size_t(s->nSamples - used));
        s->nSamples -= used;
        if (!utterance)
            if (ZelStatus st = deltaStage(s, false)) return st;
    }
    return zelStsNoErr;
}

}  // namespace

ZELSR_API ZelStatus zelsrFeatureDefaultConfig(ZelFeatureConfig* pConfig) {
    if (ZelStatus st = requireNonNull(pConfig)) return st;
    ZelFeatureConfig c;
    memset(&c, 0, sizeof c);
    c.sampleRate = 16000.0f;
    c.frameLengthMs = 25.0f;
    c.frameShiftMs = 10.0f;
    c.preemphasis = 0.97f;
    c.window = zelFeatureWindowHamming;
    c.fftSize = 0;
    c.powerSpectrum = 1;
    c.numFilters = 23;
    c.lowFreq = 20.0f;
    c.highFreq = 0.0f;
    c.logFloor = 1.1920929e-7f;
    c.output = zelFeatureMfcc;
    c.numCeps = 12;
    c.lifter = 22;
    c.energy = zelFeatureEnergyC0;
    c.deltaOrder = 2;
    c.cmvn = zelFeatureCmvnNone;
    c.normVariance = 0;
    c.cmvnWindow = 300;
    *pConfig = c;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureCheckConfig(const ZelFeatureConfig* pConfig, int* pField) {
    if (ZelStatus st = requireNonNull(pConfig, pField)) return st;
    Geometry g;
    *pField = refusedField(*pConfig, g);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureInitAlloc(ZelFeatureState** ppState, const ZelFeatureConfig* pConfig) {
    if (ZelStatus st = requireNonNull(ppState, pConfig)) return st;
    Geometry g;
    if (refusedField(*pConfig, g) >= 0) return zelStsBadArgErr;
    ZelFeatureState* s = static_cast<ZelFeatureState*>(zelMalloc(sizeof(ZelFeatureState)));
    if (!s) return zelStsMemAllocErr;
    memset(static_cast<void*>(s), 0, sizeof *s);
    s->cfg = *pConfig;
    s->g = g;
    if (ZelStatus st = build(s)) {
        destroy(s);
        return st;
    }
    resetStreams(s);
    s->tag = kFeatureTag;
    *ppState = s;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureFree(ZelFeatureState* pState) {
    if (ZelStatus st = requireNonNull(pState)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    destroy(pState);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureGetDim(const ZelFeatureState* pState, int* pDim) {
    if (ZelStatus st = requireNonNull(pState, pDim)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    *pDim = pState->g.dim;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureGetReady(const ZelFeatureState* pState, int* pNumFrames) {
    if (ZelStatus st = requireNonNull(pState, pNumFrames)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    const int64_t n = pState->outTail - pState->outHead;
    *pNumFrames = n > INT_MAX ? INT_MAX : int(n);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureAccept_16s(ZelFeatureState* pState, const Zel16s* pSrc, int len) {
    return accept(pState, pSrc, len);
}

ZELSR_API ZelStatus zelsrFeatureAccept_32f(ZelFeatureState* pState, const Zel32f* pSrc, int len) {
    return accept(pState, pSrc, len);
}

ZELSR_API ZelStatus zelsrFeatureRead(ZelFeatureState* pState, Zel32f* pDst, int dstStep, int maxFrames,
                                     int* pNumRead) {
    if (ZelStatus st = requireNonNull(pState, pDst, pNumRead)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    if (ZelStatus st = firstError(requirePositive(maxFrames), requireStride(dstStep, pState->g.dim))) return st;
    const int64_t avail = pState->outTail - pState->outHead;
    const int n = int(avail < maxFrames ? avail : maxFrames);
    const int dim = pState->g.dim;
    for (int t = 0; t < n; ++t)
        memcpy(pDst + int64_t(t) * dstStep, pState->out.p + (pState->outHead + t) * dim, sizeof(Zel32f) * dim);
    pState->outHead += n;
    *pNumRead = n;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureFlush(ZelFeatureState* pState) {
    if (ZelStatus st = requireNonNull(pState)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    if (pState->tag == kFeatureFlushed) return zelStsNoErr;
    if (!reserveFor(pState, 0, true)) return zelStsMemAllocErr;
    if (pState->cfg.cmvn == zelFeatureCmvnUtterance) utteranceNormalise(pState);
    if (ZelStatus st = deltaStage(pState, true)) return st;
    pState->nSamples = 0;
    pState->tag = kFeatureFlushed;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsrFeatureReset(ZelFeatureState* pState) {
    if (ZelStatus st = requireNonNull(pState)) return st;
    if (ZelStatus st = requireState(pState, false)) return st;
    resetStreams(pState);
    pState->tag = kFeatureTag;
    return zelStsNoErr;
}
