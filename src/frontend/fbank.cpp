// SPDX-License-Identifier: Apache-2.0
// Filter banks: size queries, builders in caller memory and allocating ones,
// evaluation, the accessors of centres and weights, release, and the mel
// scale conversions. Each export checks its arguments in the family's order
// and hands over to one kernel of fbank_kernels.hpp.
#include <string.h>

#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "frontend/fbank.hpp"
#include "frontend/fbank_kernels.hpp"
#include "zelcore.h"

using namespace zel;
using namespace zel::fbank;

namespace {

// ---- Argument checks --------------------------------------------------------------

// Bits other than the magnitude flag spell exactly one weight mode.
constexpr ZelStatus requireMode(int mode) {
    const int weights = mode & ~zelFBankMagnitudeInput;
    return require(weights == zelFBankMelWeights || weights == zelFBankBinWeights, zelStsMelFlagErr);
}

// The window of a float or 16-bit bank: its FFT length must fit an int.
constexpr ZelStatus requireWindow(int winSize) {
    return require(winSize >= 1 && winSize <= kMaxWinSize, zelStsSizeErr);
}

// The window of the integer bank.
constexpr ZelStatus requireWindow32s(int winSize) { return require(winSize >= 32 && winSize <= 8192, zelStsSizeErr); }

// Frequencies are tested as "not above" and "below", so a NaN passes, as it always has.
ZelStatus checkMelArgs(int winSize, Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter, int mode) {
    return firstError(requireWindow(winSize), requirePositive(nFilter),
                      require(!(sampFreq <= 0.0f), zelStsSizeErr), require(!(lowFreq <= 0.0f), zelStsSizeErr),
                      require(!(highFreq < lowFreq || highFreq > sampFreq * 0.5f), zelStsMelFreqErr),
                      requireMode(mode));
}

template <class S>
ZelStatus requireKind(const S* b) {
    return require(b->tag == Kind<S>::kTag, zelStsContextMatchErr);
}

// The centre accessors are one body for the float and the 16-bit bank.
template <class F>
ZelStatus withFloatOr16(const void* p, F f) {
    const Zel32u tag = *static_cast<const Zel32u*>(p);
    if (tag == kTag32f) return f(*static_cast<const ZelFBankState_32f*>(p));
    if (tag == kTag16s) return f(*static_cast<const ZelFBankState_16s*>(p));
    return zelStsContextMatchErr;
}
template <class F>
ZelStatus withFloatOr16(void* p, F f) {
    const Zel32u tag = *static_cast<const Zel32u*>(p);
    if (tag == kTag32f) return f(*static_cast<ZelFBankState_32f*>(p));
    if (tag == kTag16s) return f(*static_cast<ZelFBankState_16s*>(p));
    return zelStsContextMatchErr;
}

// ---- Memory of the float and 16-bit banks ---------------------------------------------

// Bytes of each block of a bank, in the order they follow the record in caller memory.
struct Blocks {
    FftSize fft;
    int nFilter;
    bool magnitude;
    int64_t plan, init, work, scratch;  // magnitude input only
    int64_t centres, mel, left, right, pos;
};

constexpr int rowsOf(int nFilter) { return nFilter + 2; }

template <class S>
ZelStatus blocksOf(int winSize, int nFilter, int mode, Blocks& z) {
    z = Blocks{};
    z.fft = fftSizeOf(winSize);
    z.nFilter = nFilter;
    z.magnitude = (mode & zelFBankMagnitudeInput) != 0;
    if (z.magnitude) {
        int plan = 0, init = 0, work = 0;
        if (ZelStatus s = Kind<S>::fftGetSize(z.fft.order, &plan, &init, &work)) return s;
        z.plan = plan, z.init = init, z.work = work;
        z.scratch = 4 * scratchElements(z.fft.len);
    }
    const int64_t list = 4 * int64_t(rowsOf(nFilter));
    z.centres = z.mel = z.pos = list;
    z.left = rowTableBytes(rowsOf(nFilter), z.fft.len / 2 + kLeftLead);
    z.right = rowTableBytes(rowsOf(nFilter), z.fft.len / 2);
    return zelStsNoErr;
}

// The size query's formula, every pointer at its real width.
template <class S>
int64_t formulaBytes(const Blocks& z) {
    const int64_t n4 = 4 * int64_t(z.nFilter);
    int64_t total = recordBytes<S>();
    if (z.magnitude) total += z.plan + z.init + z.work + 96 + 8 * int64_t(z.fft.len) + 64;
    total += (n4 + 44) + (n4 + 40) + (z.left + 32) + (z.right + 32) + (n4 + 40);
    return total;
}

// What Init takes from caller memory however it is aligned: each block may
// need 31 bytes to reach its 32-byte boundary.
template <class S>
int64_t worstBytes(const Blocks& z) {
    int64_t total = int64_t(sizeof(S));
    if (z.magnitude) total += z.plan + z.init + z.work + z.scratch + 4 * 31;
    total += z.centres + z.mel + z.left + z.right + z.pos + 5 * 31;
    return total;
}

// Carves 32-byte aligned blocks out of caller memory, one after the other.
struct Carver {
    Zel8u* next;
    Zel8u* take(int64_t bytes) {
        Zel8u* b = alignUp32<Zel8u>(next);
        next = b + bytes;
        return b;
    }
};

Zel8u* allocBytes(int64_t bytes) { return bytes > kMax32 ? nullptr : ownMalloc_8u(int(bytes < 1 ? 1 : bytes)); }

template <class S>
void setTables(S& b, void* left, void* right, int nFilter, int fftLen) {
    using W = typename Kind<S>::Weight;
    b.ppLeftCoeffs = layoutRowTable<W>(left, rowsOf(nFilter), fftLen / 2 + kLeftLead, kLeftLead);
    b.ppRightCoeffs = layoutRowTable<W>(right, rowsOf(nFilter), fftLen / 2, 0);
}

// Releases every block that an allocating builder obtained, so far as it got.
template <class S>
void releaseBank(S* b) {
    if (b->ownsMemory == kOneBlock) {
        b->tag = 0;
        b->isReady = 0;
        ownFree(b);
        return;
    }
    if (b->pFFTSpec != nullptr) Kind<S>::fftFree(b->pFFTSpec);
    ownFree(b->pWork);
    ownFree(b->ppLeftCoeffs);
    ownFree(b->ppRightCoeffs);
    ownFree(b->pCenters);
    b->tag = 0;
    b->isReady = 0;
    b->pFFTSpec = nullptr;
    b->pWork = nullptr;
    b->pFFTWork = nullptr;
    b->ppLeftCoeffs = b->ppRightCoeffs = nullptr;
    b->pCenters = nullptr;
    ownFree(b);
}

// A cleared record and its blocks from zelMalloc; the transform's scratch
// follows the bank's own in one block.
template <class S>
ZelStatus allocBank(const Blocks& z, S** ppBank) {
    using W = typename Kind<S>::Weight;
    S* b = reinterpret_cast<S*>(allocBytes(sizeof(S)));
    if (b == nullptr) return zelStsMemAllocErr;
    memset(static_cast<void*>(b), 0, sizeof(S));
    b->ownsMemory = kSeparateBlocks;
    *ppBank = b;
    b->pCenters = reinterpret_cast<Zel32s*>(allocBytes(z.centres));
    Zel8u* left = allocBytes(z.left);
    Zel8u* right = allocBytes(z.right);
    b->ppLeftCoeffs = reinterpret_cast<W**>(left);
    b->ppRightCoeffs = reinterpret_cast<W**>(right);
    if (b->pCenters == nullptr || left == nullptr || right == nullptr) return zelStsMemAllocErr;
    memset(b->pCenters, 0, size_t(z.centres));
    setTables(*b, left, right, z.nFilter, z.fft.len);
    if (z.magnitude) {
        const int64_t own = roundUp(z.scratch, 32);
        Zel8u* scratch = allocBytes(own + z.work);
        if (scratch == nullptr) return zelStsMemAllocErr;
        memset(scratch, 0, size_t(own));
        b->pWork = reinterpret_cast<W*>(scratch);
        b->pFFTWork = scratch + own;
        if (ZelStatus s = Kind<S>::fftInitAlloc(&b->pFFTSpec, z.fft.order)) return s;
    }
    return zelStsNoErr;
}

// ---- Builders ----------------------------------------------------------------------

struct MelArgs {
    int winSize;
    Zel32f sampFreq, lowFreq, highFreq;
    int nFilter;
    Zel32f melMul, melDiv;
    int mode;
    Zel32f linFreq;  // the mixed bank only
    int nLinear;
};

constexpr int kTruncate = 0, kNearest = 1;

// Positions to centre bins: truncated for mel weights, nearest for line weights.
void toCentres(const float* pos, Zel32s* c, int n, int mode) {
    ownConvert_32f32s_Sfs(pos, c, n, (mode & zelFBankBinWeights) ? kNearest : kTruncate, 0);
}

// Ends a build: the record's fields, and the kind word last, so that a bank
// whose build failed is never taken for a bank.
template <class S>
ZelStatus finishBank(S& b, const MelArgs& a, int nLinear) {
    const FftSize fft = fftSizeOf(a.winSize);
    initRecord(b, a.mode, fft, a.nFilter, nLinear, a.melMul, a.melDiv);
    b.isReady = 1;
    b.tag = Kind<S>::kTag;
    return zelStsNoErr;
}

// Centres and weights of a plain mel bank into a record whose blocks are in
// place; m and pos hold nFilter + 2 values each. Arguments that pass the
// checks but give centres outside the spectrum (NaN frequencies, mel
// parameters that overflow) are refused before any row is written.
template <class S>
ZelStatus buildMel(S& b, const MelArgs& a, float* m, float* pos) {
    const FftSize fft = fftSizeOf(a.winSize);
    const MelScale s = melScale(a.melMul, a.melDiv, a.sampFreq, fft.len);
    const float melLow = s.mel(a.lowFreq), melHigh = s.mel(a.highFreq);
    const float range = melHigh - melLow;
    for (int i = 0; i <= a.nFilter + 1; ++i) {
        m[i] = evenlySpaced(i, range, a.nFilter + 1, melLow);
        pos[i] = s.binOfMel(m[i]);
    }
    toCentres(pos, b.pCenters, a.nFilter + 2, a.mode);
    if (!centresValid(b.pCenters, a.nFilter, fft.len / 2)) return zelStsMelFreqErr;
    melBankRows(b.ppLeftCoeffs, b.ppRightCoeffs, b.pCenters, m, a.nFilter, (a.mode & zelFBankBinWeights) != 0, s);
    return finishBank(b, a, a.nFilter);
}

// Linear centres up to linFreq, then mel-spaced ones; f receives the linear
// frequencies. The seam centre c[nLinear] is converted twice, the second
// time from the mel side, and keeps that value.
template <class S>
ZelStatus buildMelLin(S& b, const MelArgs& a, float* f, float* pos) {
    const FftSize fft = fftSizeOf(a.winSize);
    const MelScale s = melScale(a.melMul, a.melDiv, a.sampFreq, fft.len);
    const float perHz = float(fft.len) / a.sampFreq;
    const float span = a.linFreq - a.lowFreq;
    Zel32s* c = b.pCenters;
    if (a.nLinear == a.nFilter) {
        for (int i = 0; i <= a.nFilter + 1; ++i) {
            f[i] = evenlySpaced(i, span, a.nFilter + 1, a.lowFreq);
            pos[i] = f[i] * perHz;
        }
        toCentres(pos, c, a.nFilter + 2, a.mode);
    } else {
        for (int i = 0; i <= a.nLinear; ++i) {
            f[i] = evenlySpaced(i, span, a.nLinear, a.lowFreq);
            pos[i] = f[i] * perHz;
        }
        toCentres(pos, c, a.nLinear + 1, a.mode);
        const float melLin = s.mel(a.linFreq);
        const float melSpan = s.mel(a.highFreq) - melLin;
        for (int i = a.nLinear; i <= a.nFilter + 1; ++i)
            pos[i] = s.binOfMel(evenlySpaced(i - a.nLinear, melSpan, a.nFilter - a.nLinear + 1, melLin));
        toCentres(pos + a.nLinear, c + a.nLinear, a.nFilter + 2 - a.nLinear, a.mode);
    }
    if (!centresValid(c, a.nFilter, fft.len / 2)) return zelStsMelFreqErr;
    melLinBankRows(b.ppLeftCoeffs, b.ppRightCoeffs, c, f, a.nFilter, a.nLinear, (a.mode & zelFBankBinWeights) != 0,
                   s);
    return finishBank(b, a, a.nLinear);
}

template <class S>
ZelStatus sizeQuery(int winSize, int nFilter, int mode, int* pSize) {
    if (ZelStatus s = firstError(requireNonNull(pSize), requireWindow(winSize), requirePositive(nFilter),
                                 requireMode(mode)))
        return s;
    Blocks z;
    if (ZelStatus s = blocksOf<S>(winSize, nFilter, mode, z)) return s;
    const int64_t formula = formulaBytes<S>(z), worst = worstBytes<S>(z);
    const int64_t total = formula > worst ? formula : worst;
    if (total > kMax32) return zelStsSizeErr;
    *pSize = int(total);
    return zelStsNoErr;
}

template <class S>
ZelStatus melInit(S* pFBank, int* pFFTOrder, const MelArgs& a) {
    using W = typename Kind<S>::Weight;
    if (ZelStatus s = firstError(requireNonNull(pFBank, pFFTOrder),
                                 checkMelArgs(a.winSize, a.sampFreq, a.lowFreq, a.highFreq, a.nFilter, a.mode)))
        return s;
    Blocks z;
    if (ZelStatus s = blocksOf<S>(a.winSize, a.nFilter, a.mode, z)) return s;
    // The record stays unrecognisable until the build has succeeded.
    memset(static_cast<void*>(pFBank), 0, sizeof(S));
    S& b = *pFBank;
    Carver mem{reinterpret_cast<Zel8u*>(pFBank) + sizeof(S)};
    if (z.magnitude) {
        Zel8u* plan = mem.take(z.plan);
        Zel8u* init = mem.take(z.init);
        b.pFFTWork = mem.take(z.work);
        b.pWork = reinterpret_cast<W*>(mem.take(z.scratch));
        memset(b.pWork, 0, size_t(z.scratch));
        if (ZelStatus s = Kind<S>::fftInit(&b.pFFTSpec, z.fft.order, plan, init)) return s;
    }
    b.pCenters = reinterpret_cast<Zel32s*>(mem.take(z.centres));
    float* m = reinterpret_cast<float*>(mem.take(z.mel));
    Zel8u* left = mem.take(z.left);
    Zel8u* right = mem.take(z.right);
    float* pos = reinterpret_cast<float*>(mem.take(z.pos));
    setTables(b, left, right, a.nFilter, z.fft.len);
    if (ZelStatus s = buildMel(b, a, m, pos)) return s;
    *pFFTOrder = z.fft.order;
    return zelStsNoErr;
}

// The allocating builders: blocks from zelMalloc, two temporaries of
// nFilter + 2 values for the build, and everything released again on failure.
template <class S, class Build>
ZelStatus allocBuild(S** ppFBank, int* pFFTOrder, const MelArgs& a, Build build) {
    Blocks z;
    if (ZelStatus s = blocksOf<S>(a.winSize, a.nFilter, a.mode, z)) return s;
    S* b = nullptr;
    ZelStatus s = allocBank(z, &b);
    float* t1 = ownMalloc_32f(a.nFilter + 2);
    float* t2 = ownMalloc_32f(a.nFilter + 2);
    if (s == zelStsNoErr && (t1 == nullptr || t2 == nullptr)) s = zelStsMemAllocErr;
    if (s == zelStsNoErr) s = build(*b, a, t1, t2);
    ownFree(t1);
    ownFree(t2);
    if (s != zelStsNoErr) {
        if (b != nullptr) releaseBank(b);
        return s;
    }
    *ppFBank = b;
    *pFFTOrder = z.fft.order;
    return zelStsNoErr;
}

template <class S>
ZelStatus melInitAlloc(S** ppFBank, int* pFFTOrder, const MelArgs& a) {
    if (ZelStatus s = firstError(requireNonNull(ppFBank, pFFTOrder),
                                 checkMelArgs(a.winSize, a.sampFreq, a.lowFreq, a.highFreq, a.nFilter, a.mode)))
        return s;
    return allocBuild(ppFBank, pFFTOrder, a, [](S& b, const MelArgs& m, float* t1, float* t2) {
        return buildMel(b, m, t1, t2);
    });
}

// The mixed builder tests all sizes at once, then frequencies, then the mode.
// Its pointers are tested last: there is nothing to report them before.
template <class S>
ZelStatus melLinInitAlloc(S** ppFBank, int* pFFTOrder, const MelArgs& a) {
    const bool badSize = requireWindow(a.winSize) != zelStsNoErr || a.nFilter < 1 || a.sampFreq <= 0.0f ||
                         a.lowFreq <= 0.0f || a.nLinear <= 0 || a.nLinear > a.nFilter;
    const bool badFreq = a.linFreq < a.lowFreq || a.highFreq < a.linFreq || a.highFreq > a.sampFreq * 0.5f;
    if (ZelStatus s = firstError(require(!badSize, zelStsSizeErr), require(!badFreq, zelStsMelFreqErr),
                                 requireMode(a.mode), requireNonNull(ppFBank, pFFTOrder)))
        return s;
    return allocBuild(ppFBank, pFFTOrder, a, [](S& b, const MelArgs& m, float* t1, float* t2) {
        return buildMelLin(b, m, t1, t2);
    });
}

// A cleared bank without a plan: it stores mode 1, so evaluation would never
// use one, and the magnitude flag only changes what the caller is told.
template <class S>
ZelStatus emptyInitAlloc(S** ppFBank, int* pFFTOrder, int winSize, int nFilter) {
    if (ZelStatus s = firstError(requireWindow(winSize), requirePositive(nFilter), requireNonNull(ppFBank, pFFTOrder)))
        return s;
    Blocks z;
    if (ZelStatus s = blocksOf<S>(winSize, nFilter, zelFBankMelWeights, z)) return s;
    S* b = nullptr;
    if (ZelStatus s = allocBank(z, &b)) {
        if (b != nullptr) releaseBank(b);
        return s;
    }
    initRecord(*b, zelFBankMelWeights, z.fft, nFilter, nFilter, 0.0f, 1.0f);
    b->tag = Kind<S>::kTag;
    *ppFBank = b;
    *pFFTOrder = z.fft.order;
    return zelStsNoErr;
}

// ---- Evaluation ---------------------------------------------------------------------

template <class S>
ZelStatus checkEval(const void* pSrc, const void* pDst, const S* pFBank) {
    if (ZelStatus s = requireNonNull(pSrc, pDst, pFBank)) return s;
    if (ZelStatus s = requireKind(pFBank)) return s;
    return firstError(requireNonNull(pFBank->pCenters), require(pFBank->isReady != 0, zelStsFBankFlagErr));
}

ZelStatus evalFloat(const Zel32f* pSrc, Zel32f* pDst, const ZelFBankState_32f& b) {
    const Zel32f* x = pSrc;
    if (b.mode & zelFBankMagnitudeInput) {
        Zel32f* spectrum = b.pWork;
        Zel32f* magnitude = b.pWork + magnitudeOffset(b.fftLen);
        if (ZelStatus s = ownFFTFwd_RUnfolded_32f(pSrc, spectrum, b.pFFTSpec, b.pFFTWork)) return s;
        if (ZelStatus s = ownMagnitude_32fc(spectrum, magnitude, b.fftLen / 2 + 1)) return s;
        x = magnitude;
    }
    evalBank32f(x, pDst, b.pCenters, b.ppLeftCoeffs, b.ppRightCoeffs, b.nFilter);
    return zelStsNoErr;
}

// The 16-bit bank: exact sums of Q14 weight times sample, shifted by
// scaleFactor + 14. With the magnitude flag the spectrum and its magnitudes
// each carry a gain of 8, so the shift grows by 6; `wrapProducts` forms each
// magnitude-weight product in 32 bits first.
template <class Out, class Narrow>
ZelStatus eval16(const Zel16s* pSrc, Out* pDst, const ZelFBankState_16s& b, int scaleFactor, bool wrapProducts,
                 Narrow narrow) {
    const int64_t shift = int64_t(scaleFactor) + b.coeffShift;
    const Zel32s* c = b.pCenters;
    if (!(b.mode & zelFBankMagnitudeInput)) {
        evalBankInt(
            pSrc, c, b.ppLeftCoeffs, b.ppRightCoeffs, b.nFilter, [](Zel16s x, Zel32s w) { return int64_t(x) * w; },
            [&](int i, int64_t t) { pDst[i] = narrow(shiftTotal(t, shift)); });
        return zelStsNoErr;
    }
    Zel32s* spectrum = b.pWork;
    Zel32s* magnitude = b.pWork + magnitudeOffset(b.fftLen);
    if (ZelStatus s = ownFFTFwd_R_16s32s_Sfs(pSrc, spectrum, b.pFFTSpec, -3, b.pFFTWork)) return s;
    if (ZelStatus s = ownMagnitude_32sc_Sfs(spectrum, magnitude, b.fftLen / 2 + 1, -3)) return s;
    auto store = [&](int i, int64_t t) { pDst[i] = narrow(shiftTotal(t, shift + 6)); };
    if (wrapProducts)
        evalBankInt(
            magnitude, c, b.ppLeftCoeffs, b.ppRightCoeffs, b.nFilter,
            [](Zel32s x, Zel32s w) { return int64_t(wrap32(int64_t(x) * w)); }, store);
    else
        evalBankInt(
            magnitude, c, b.ppLeftCoeffs, b.ppRightCoeffs, b.nFilter, [](Zel32s x, Zel32s w) { return int64_t(x) * w; },
            store);
    return zelStsNoErr;
}

// ---- Accessors ------------------------------------------------------------------------

inline Zel32f coeffToFloat(Zel32f w) { return w; }
inline Zel32f coeffToFloat(Zel32s w) { return float(w) * 6.103515625e-5f; }

inline void coeffFromFloat(Zel32f v, Zel32f* w) { *w = v; }
// 2^31, the upper limit, converts to the most negative integer: an
// over-large positive coefficient turns negative, as it always has.
inline void coeffFromFloat(Zel32f v, Zel32s* w) {
    float q = v * 16384.0f;
    q = q < -2147483648.0f ? -2147483648.0f : q;
    q = q > 2147483648.0f ? 2147483648.0f : q;
    *w = truncHw(q);
}

// One filter as a row of floats: the rising run, then the falling run. Past
// the last filter there is no next centre, and the falling run is empty.
template <class S>
ZelStatus getCoeffs(const S* pFBank, int filterIndex, Zel32f* pCoeffs) {
    if (ZelStatus s = requireNonNull(pFBank, pCoeffs)) return s;
    if (ZelStatus s = requireKind(pFBank)) return s;
    const S& b = *pFBank;
    if (ZelStatus s = firstError(require(b.isReady != 0, zelStsFBankFlagErr),
                                 require(filterIndex >= 1 && filterIndex <= b.nFilter + 1, zelStsSizeErr)))
        return s;
    const Zel32s* c = b.pCenters;
    const int i = filterIndex;
    const int nl = c[i] - c[i - 1] + 1;
    const int nr = (i <= b.nFilter ? c[i + 1] : c[i]) - c[i];
    for (int j = 0; j < nl; ++j) pCoeffs[j] = coeffToFloat(b.ppLeftCoeffs[i - 1][j]);
    for (int j = 0; j < nr; ++j) pCoeffs[nl + j] = coeffToFloat(b.ppRightCoeffs[i - 1][j]);
    return zelStsNoErr;
}

template <class S>
ZelStatus setCoeffs(S* pFBank, int filterIndex, const Zel32f* pCoeffs) {
    if (ZelStatus s = requireNonNull(pFBank, pCoeffs)) return s;
    if (ZelStatus s = requireKind(pFBank)) return s;
    S& b = *pFBank;
    if (ZelStatus s = firstError(require(b.isReady != 0, zelStsFBankFlagErr),
                                 require(filterIndex >= 1 && filterIndex <= b.nFilter, zelStsSizeErr)))
        return s;
    const Zel32s* c = b.pCenters;
    const int i = filterIndex;
    const int nl = c[i] - c[i - 1] + 1;
    const int nr = c[i + 1] - c[i];
    for (int j = 0; j < nl; ++j) coeffFromFloat(pCoeffs[j], &b.ppLeftCoeffs[i - 1][j]);
    for (int j = 0; j < nr; ++j) coeffFromFloat(pCoeffs[nl + j], &b.ppRightCoeffs[i - 1][j]);
    return zelStsNoErr;
}

// nFilter + 2 centres travel as 2 * nFilter + 4 16-bit units.
void copyCentres(const Zel32s* from, Zel32s* to, int nFilter) {
    ownCopy_16s(reinterpret_cast<const Zel16s*>(from), reinterpret_cast<Zel16s*>(to), 2 * nFilter + 4);
}

ZelStatus getCenters(const void* pFBank, Zel32s* pCenters) {
    if (ZelStatus s = requireNonNull(pFBank, pCenters)) return s;
    return withFloatOr16(pFBank, [&](const auto& b) -> ZelStatus {
        if (ZelStatus s = firstError(require(b.isReady != 0, zelStsFBankFlagErr),
                                     require(centresValid(b.pCenters, b.nFilter, b.fftLen / 2), zelStsFBankFlagErr)))
            return s;
        copyCentres(b.pCenters, pCenters, b.nFilter);
        return zelStsNoErr;
    });
}

// The one accessor that does not ask for a ready bank: it makes it ready.
ZelStatus setCenters(void* pFBank, const Zel32s* pCenters) {
    if (ZelStatus s = requireNonNull(pFBank, pCenters)) return s;
    return withFloatOr16(pFBank, [&](auto& b) -> ZelStatus {
        if (!centresValid(pCenters, b.nFilter, b.fftLen / 2)) return zelStsFBankFlagErr;
        copyCentres(pCenters, b.pCenters, b.nFilter);
        b.isReady = 1;
        return zelStsNoErr;
    });
}

template <class S>
ZelStatus freeBank(S* pFBank) {
    if (ZelStatus s = requireNonNull(pFBank)) return s;
    if (ZelStatus s = requireKind(pFBank)) return s;
    // A bank in caller memory is the caller's to release.
    if (pFBank->ownsMemory != kSeparateBlocks && pFBank->ownsMemory != kOneBlock) return zelStsContextMatchErr;
    releaseBank(pFBank);
    return zelStsNoErr;
}

ZelStatus checkScale(const Zel32f* pSrc, const Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv) {
    return firstError(requireNonNull(pSrc, pDst), requirePositive(len), require(!(melMul <= 0.0f), zelStsSizeErr),
                      require(!(melDiv <= 0.0f), zelStsSizeErr));
}

// ---- The Q30 integer bank ---------------------------------------------------------------

struct Blocks32s {
    FftSize fft;
    int nFilter;
    int64_t centres, left, right;
};

Blocks32s blocks32s(int winSize, int nFilter) {
    Blocks32s z{fftSizeOf(winSize), nFilter, 0, 0, 0};
    z.centres = 4 * int64_t(rowsOf(nFilter));
    z.left = z.right = rowTableBytes(rowsOf(nFilter), z.fft.len / 2);
    return z;
}

// The formula of the 32-bit library, plus the extra width of the record's
// three pointers and of both tables of row pointers.
int64_t formulaBytes32s(const Blocks32s& z) {
    const int64_t e = 4 * int64_t(z.nFilter), h = z.fft.len / 2;
    const int64_t t = int64_t(rowsOf(z.nFilter)) * 4 * h;
    return e + 96 + 9 * (e + 8) + (9 * (e + 8) + t) + t + 64 + int64_t(kPointerExtra) * (3 + 2 * rowsOf(z.nFilter));
}

int64_t worstBytes32s(const Blocks32s& z) {
    return int64_t(sizeof(ZelFBankState_32s)) + z.centres + z.left + z.right + 3 * 31;
}

// Every left run must fit its row of fftLen/2 elements.
bool runsFit32s(const Zel32s* c, int nFilter, int half) {
    for (int i = 1; i <= nFilter; ++i)
        if (c[i] - c[i - 1] >= half) return false;
    return true;
}

}  // namespace

// ================================================================================
// Exports
// ================================================================================

extern "C" {

ZELSR_API ZelStatus zelsMelFBankGetSize_32f(int winSize, int nFilter, int mode, int* pSize) {
    return sizeQuery<ZelFBankState_32f>(winSize, nFilter, mode, pSize);
}

ZELSR_API ZelStatus zelsMelFBankGetSize_16s(int winSize, int nFilter, int mode, int* pSize) {
    return sizeQuery<ZelFBankState_16s>(winSize, nFilter, mode, pSize);
}

ZELSR_API ZelStatus zelsMelFBankGetSize_32s(int winSize, int nFilter, int mode, int* pSize) {
    if (ZelStatus s = firstError(requireNonNull(pSize), require(nFilter >= 1, zelStsSizeErr),
                                 requireWindow32s(winSize), require(mode == zelFBankBinWeights, zelStsMelFlagErr)))
        return s;
    const Blocks32s z = blocks32s(winSize, nFilter);
    // One filter fewer than the builder accepts.
    if (nFilter > z.fft.len / 2) return zelStsSizeErr;
    const int64_t formula = formulaBytes32s(z), worst = worstBytes32s(z);
    *pSize = int(formula > worst ? formula : worst);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsMelFBankInit_32f(ZelFBankState_32f* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode) {
    return melInit(pFBank, pFFTOrder,
                   MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, 0, 0});
}

ZELSR_API ZelStatus zelsMelFBankInit_16s(ZelFBankState_16s* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode) {
    return melInit(pFBank, pFFTOrder,
                   MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, 0, 0});
}

ZELSR_API ZelStatus zelsMelFBankInit_32s(ZelFBankState_32s* pFBank, int* pFFTOrder, int winSize, int sampFreq,
                                         int lowFreq, int highFreq, int nFilter, Zel32s melMul, Zel32s melDiv,
                                         int mode) {
    if (ZelStatus s = firstError(
            requireNonNull(pFBank, pFFTOrder),
            require(nFilter >= 1 && highFreq >= 1 && requireWindow32s(winSize) == zelStsNoErr, zelStsSizeErr),
            require(mode == zelFBankBinWeights, zelStsMelFlagErr),
            require(sampFreq >= 1 && sampFreq <= 48000 && lowFreq >= 0, zelStsSizeErr),
            require(highFreq > lowFreq && highFreq <= 24000, zelStsMelFreqErr),
            require(melDiv >= 524289 && melDiv <= 268435455 && melMul >= 524289 && melMul <= 1073741823,
                    zelStsBadArgErr)))
        return s;
    const Blocks32s z = blocks32s(winSize, nFilter);
    const int half = z.fft.len / 2;
    if (nFilter > half + 1) return zelStsSizeErr;
    memset(static_cast<void*>(pFBank), 0, sizeof(ZelFBankState_32s));
    Carver mem{reinterpret_cast<Zel8u*>(pFBank) + sizeof(ZelFBankState_32s)};
    ZelFBankState_32s& b = *pFBank;
    b.pCenters = reinterpret_cast<Zel32s*>(mem.take(z.centres));
    b.ppLeftCoeffs = layoutRowTable<Zel32s>(mem.take(z.left), rowsOf(nFilter), half, 0);
    b.ppRightCoeffs = layoutRowTable<Zel32s>(mem.take(z.right), rowsOf(nFilter), half, 0);
    q30::centres(b.pCenters, nFilter, z.fft.len, sampFreq, lowFreq, highFreq, melMul, melDiv);
    // Nothing bounds highFreq by sampFreq / 2 here, so centres can pass the spectrum.
    if (!centresValid(b.pCenters, nFilter, half) || !runsFit32s(b.pCenters, nFilter, half)) return zelStsMelFreqErr;
    q30::rows(b.ppLeftCoeffs, b.ppRightCoeffs, b.pCenters, nFilter);
    b.mode = mode;
    b.nFilter = nFilter;
    b.nBins = half + 1;
    b.tag = kTag32s;
    *pFFTOrder = z.fft.order;
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsMelFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode) {
    return melInitAlloc(ppFBank, pFFTOrder,
                        MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, 0, 0});
}

ZELSR_API ZelStatus zelsMelFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode) {
    return melInitAlloc(ppFBank, pFFTOrder,
                        MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, 0, 0});
}

ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode) {
    return melLinInitAlloc(ppFBank, pFFTOrder,
                           MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, linFreq,
                                   nLinear});
}

ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode) {
    return melLinInitAlloc(ppFBank, pFFTOrder,
                           MelArgs{winSize, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode, linFreq,
                                   nLinear});
}

ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode) {
    (void)mode;  // not checked: the bank stores mode 1 whatever was passed
    return emptyInitAlloc(ppFBank, pFFTOrder, winSize, nFilter);
}

ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode) {
    (void)mode;
    return emptyInitAlloc(ppFBank, pFFTOrder, winSize, nFilter);
}

ZELSR_API ZelStatus zelsEvalFBank_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFBankState_32f* pFBank) {
    if (ZelStatus s = checkEval(pSrc, pDst, pFBank)) return s;
    return evalFloat(pSrc, pDst, *pFBank);
}

ZELSR_API ZelStatus zelsEvalFBank_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, const ZelFBankState_16s* pFBank,
                                          int scaleFactor) {
    if (ZelStatus s = checkEval(pSrc, pDst, pFBank)) return s;
    return eval16(pSrc, pDst, *pFBank, scaleFactor, true, [](int64_t v) { return sat16(v); });
}

ZELSR_API ZelStatus zelsEvalFBank_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pDst, const ZelFBankState_16s* pFBank,
                                             int scaleFactor) {
    if (ZelStatus s = checkEval(pSrc, pDst, pFBank)) return s;
    return eval16(pSrc, pDst, *pFBank, scaleFactor, false, [](int64_t v) { return sat32(v); });
}

ZELSR_API ZelStatus zelsEvalFBank_32s_Sfs(const Zel32s* pSrc, Zel32s* pDst, const ZelFBankState_32s* pFBank,
                                          int scaleFactor) {
    if (ZelStatus s = requireNonNull(pSrc, pDst, pFBank)) return s;
    if (ZelStatus s = require(pFBank->tag == kTag32s, zelStsContextMatchErr)) return s;
    if (ZelStatus s = require(scaleFactor >= -31 && scaleFactor <= 31, zelStsBadArgErr)) return s;
    const ZelFBankState_32s& b = *pFBank;
    if (b.nFilter < 1) return zelStsNoErr;
    evalBankInt(
        pSrc, b.pCenters, b.ppLeftCoeffs, b.ppRightCoeffs, b.nFilter,
        [](Zel32s x, Zel32s w) { return (int64_t(x) * w) >> 8; },
        [&](int i, int64_t t) { pDst[i] = q30Output(t, scaleFactor); });
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsFBankFree_32f(ZelFBankState_32f* pFBank) { return freeBank(pFBank); }
ZELSR_API ZelStatus zelsFBankFree_16s(ZelFBankState_16s* pFBank) { return freeBank(pFBank); }

ZELSR_API ZelStatus zelsFBankGetCenters_32f(const ZelFBankState_32f* pFBank, Zel32s* pCenters) {
    return getCenters(pFBank, pCenters);
}
ZELSR_API ZelStatus zelsFBankGetCenters_16s(const ZelFBankState_16s* pFBank, Zel32s* pCenters) {
    return getCenters(pFBank, pCenters);
}
ZELSR_API ZelStatus zelsFBankSetCenters_32f(ZelFBankState_32f* pFBank, const Zel32s* pCenters) {
    return setCenters(pFBank, pCenters);
}
ZELSR_API ZelStatus zelsFBankSetCenters_16s(ZelFBankState_16s* pFBank, const Zel32s* pCenters) {
    return setCenters(pFBank, pCenters);
}

ZELSR_API ZelStatus zelsFBankGetCoeffs_32f(const ZelFBankState_32f* pFBank, int filterIndex, Zel32f* pCoeffs) {
    return getCoeffs(pFBank, filterIndex, pCoeffs);
}
ZELSR_API ZelStatus zelsFBankGetCoeffs_16s(const ZelFBankState_16s* pFBank, int filterIndex, Zel32f* pCoeffs) {
    return getCoeffs(pFBank, filterIndex, pCoeffs);
}
ZELSR_API ZelStatus zelsFBankSetCoeffs_32f(ZelFBankState_32f* pFBank, int filterIndex, const Zel32f* pCoeffs) {
    return setCoeffs(pFBank, filterIndex, pCoeffs);
}
ZELSR_API ZelStatus zelsFBankSetCoeffs_16s(ZelFBankState_16s* pFBank, int filterIndex, const Zel32f* pCoeffs) {
    return setCoeffs(pFBank, filterIndex, pCoeffs);
}

ZELSR_API ZelStatus zelsLinearToMel_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv) {
    if (ZelStatus s = checkScale(pSrc, pDst, len, melMul, melDiv)) return s;
    const double recip = 1.0 / double(melDiv);
    for (int i = 0; i < len; ++i) pDst[i] = linearToMel(pSrc[i], melMul, recip);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsMelToLinear_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv) {
    if (ZelStatus s = checkScale(pSrc, pDst, len, melMul, melDiv)) return s;
    const double recip = 1.0 / double(melMul);
    for (int i = 0; i < len; ++i) pDst[i] = melToLinear(pSrc[i], melDiv, recip);
    return zelStsNoErr;
}

}  // extern "C"
