// SPDX-License-Identifier: Apache-2.0
// Wave processing and blind equalization: pointers first, then the length
// where there is one, then one kernel of wave_kernels.hpp.
#include "aurora/wave_kernels.hpp"
#include "frame/checks.hpp"

using namespace zel;
using namespace zel::wave;

extern "C" {

ZELSR_API ZelStatus zelsWaveProcessing_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst) {
    if (ZelStatus s = requireNonNull(pSrc, pDst)) return s;
    Zel32f w[kFrame];
    waveWeights<Float>(pSrc, w);
    for (int i = 0; i < kFrame; ++i) pDst[i] = w[i] * pSrc[i];
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsWaveProcessing_Aurora_16s(const Zel16s* pSrc, Zel16s* pDst) {
    if (ZelStatus s = requireNonNull(pSrc, pDst)) return s;
    Zel16s w[kFrame];
    waveWeights<Fixed>(pSrc, w);
    // Q5 weights: the product is scaled back by 2^-5, rounded and saturated.
    return ownMul_16s_Sfs(w, pSrc, pDst, kFrame, 5);
}

ZELSR_API ZelStatus zelsBlindEqualization_Aurora_32f(const Zel32f* pRefCep, Zel32f* pCep, Zel32f* pBias, int len,
                                                    Zel32f energy) {
    if (ZelStatus s = firstError(requireNonNull(pRefCep, pCep, pBias), requirePositive(len))) return s;
    equalize32f(pRefCep, pCep, pBias, len, energy);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsBlindEqualization_Aurora_16s(const Zel16s* pRefCep, Zel16s* pCep, Zel16s* pBias, int len,
                                                    int energy) {
    if (ZelStatus s = firstError(requireNonNull(pRefCep, pCep, pBias), requirePositive(len))) return s;
    equalize16s(pRefCep, pCep, pBias, len, energy);
    return zelStsNoErr;
}

}  // extern "C"
