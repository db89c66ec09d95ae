// SPDX-License-Identifier: Apache-2.0
// MCRA noise tracking: the size of the caller's block, the two builders in
// both element types, and the per-frame noise update.
#include "frame/checks.hpp"
#include "noise/mcra_kernels.hpp"

using namespace zel;
using namespace zel::mcra;

namespace {

ZelStatus requireFftLen(int fftLen) { return require(fftLen >= kMinFftLen && fftLen <= kMaxFftLen, zelStsSizeErr); }
ZelStatus requireSampFreq(int sampFreq) {
    return require(sampFreq >= kMinSampFreq && sampFreq <= kMaxSampFreq, zelStsRangeErr);
}

ZelStatus querySize(int fftLen, int* pSize) {
    if (ZelStatus s = firstError(requireNonNull(pSize), requireFftLen(fftLen))) return s;
    *pSize = int(stateSize(fftLen));
    return zelStsNoErr;
}

// The plain builder frames with a hop of half the FFT length.
template <class T, class Build>
ZelStatus init(int sampFreq, int fftLen, ZelMCRAState* pState, Build build) {
    if (ZelStatus s = firstError(requireNonNull(pState), requireSampFreq(sampFreq), requireFftLen(fftLen))) return s;
    build(reinterpret_cast<Record<T>*>(pState), sampFreq, fftLen, fftLen / 2, false);
    return zelStsNoErr;
}

template <class T, class Build>
ZelStatus altInit(int sampFreq, int fftLen, int hop, ZelMCRAState* pState, Build build) {
    if (ZelStatus s = firstError(requireNonNull(pState),
                                 require(sampFreq >= kMinSampFreq && sampFreq <= kMaxSampFreq && hop >= 1 &&
                                             hop <= fftLen / 2,
                                         zelStsRangeErr),
                                 requireFftLen(fftLen)))
        return s;
    build(reinterpret_cast<Record<T>*>(pState), sampFreq, fftLen, hop, true);
    return zelStsNoErr;
}

template <class T, class Update>
ZelStatus update(const T* pSrc, ZelMCRAState* pState, T* pNoise, uint32_t tag, Update step) {
    if (ZelStatus s = requireNonNull(pSrc, pState, pNoise)) return s;
    Record<T>* r = ready<T>(pState, tag);
    if (!r) return zelStsContextMatchErr;
    step(r, pSrc, pNoise);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsGetSizeMCRA_32f(int fftLen, int* pSize) { return querySize(fftLen, pSize); }
ZELSR_API ZelStatus zelsGetSizeMCRA_32s(int fftLen, int* pSize) { return querySize(fftLen, pSize); }

ZELSR_API ZelStatus zelsInitMCRA_32f(int sampFreq, int fftLen, ZelMCRAState* pState) {
    return init<float>(sampFreq, fftLen, pState, initFloat);
}
ZELSR_API ZelStatus zelsInitMCRA_32s(int sampFreq, int fftLen, ZelMCRAState* pState) {
    return init<int32_t>(sampFreq, fftLen, pState, initFixed);
}
ZELSR_API ZelStatus zelsAltInitMCRA_32f(int sampFreq, int fftLen, int hop, ZelMCRAState* pState) {
    return altInit<float>(sampFreq, fftLen, hop, pState, initFloat);
}
ZELSR_API ZelStatus zelsAltInitMCRA_32s(int sampFreq, int fftLen, int hop, ZelMCRAState* pState) {
    return altInit<int32_t>(sampFreq, fftLen, hop, pState, initFixed);
}

ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32f_I(const Zel32f* pSrc, ZelMCRAState* pState, Zel32f* pNoise) {
    return update<float>(pSrc, pState, pNoise, kTagFloat, updateFloat);
}
ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32s_I(const Zel32s* pSrc, ZelMCRAState* pState, Zel32s* pNoise) {
    return update<int32_t>(pSrc, pState, pNoise, kTagFixed, updateFixed);
}

}  // extern "C"
