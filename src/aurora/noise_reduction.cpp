// SPDX-License-Identifier: Apache-2.0
// The stateless steps of the Aurora noise reduction: smoothed power
// spectrum, noise spectrum update, Wiener filter design, taps and residual
// filter. Pointers are tested first, in one test, the length after them;
// then one kernel of noise_reduction_kernels.hpp runs.
#include "aurora/noise_reduction_kernels.hpp"
#include "frame/checks.hpp"

using namespace zel;
using namespace zel::aurora;

namespace {

// The spectrum arrives packed, four values for every two bins.
constexpr ZelStatus requireSpectrumLength(int len) { return require(len >= 1 && len % 4 == 0, zelStsSizeErr); }

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireSpectrumLength(len))) return s;
    smoothedPower32f(pSrc, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_16s(const Zel16s* pSrc, Zel16s* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireSpectrumLength(len))) return s;
    smoothedPower16s(pSrc, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32s_Sfs(const Zel32s* pSrc, Zel32s* pDst, int len,
                                                           int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireSpectrumLength(len))) return s;
    smoothedPower32s(pSrc, pDst, len, scaleFactor);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(const Zel32s* pSrc, Zel64s* pDst, int len,
                                                              int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireSpectrumLength(len))) return s;
    smoothedPower32s64s(pSrc, pDst, len, scaleFactor);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_32f(const Zel32f* pSrc, const Zel32f* pSrcNoise, Zel32f* pDst,
                                                      int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcNoise, pDst), requirePositive(len))) return s;
    TowardZeroRounding towardZero;
    noiseUpdate32f(pSrc, pSrcNoise, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Zel16s* pSrc, const Zel16s* pSrcNoise,
                                                          Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcNoise, pDst), requirePositive(len))) return s;
    noiseUpdateInt(pSrc, pSrcNoise, pDst, len, scaleFactor, narrowNoise16);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Zel32s* pSrc, const Zel32s* pSrcNoise,
                                                          Zel32s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcNoise, pDst), requirePositive(len))) return s;
    noiseUpdateInt(pSrc, pSrcNoise, pDst, len, scaleFactor, narrowNoise32);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsWienerFilterDesign_Aurora_32f(const Zel32f* pSrc, const Zel32f* pNoise, const Zel32f* pDen,
                                                     Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pNoise, pDen, pDst), requirePositive(len))) return s;
    wiener32f(pSrc, pNoise, pDen, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsWienerFilterDesign_Aurora_16s(const Zel16s* pSrc, const Zel16s* pNoise, const Zel16s* pDen,
                                                     Zel16s* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pNoise, pDen, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = wiener16(pSrc[i], pNoise[i], pDen[i]);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsTabsCalculation_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst) {
    if (ZelStatus s = requireNonNull(pSrc, pDst)) return s;
    unfoldTaps(pSrc, pDst);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsTabsCalculation_Aurora_16s(const Zel16s* pSrc, Zel16s* pDst) {
    if (ZelStatus s = requireNonNull(pSrc, pDst)) return s;
    unfoldTaps(pSrc, pDst);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsResidualFilter_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst, const Zel32f* pTaps) {
    if (ZelStatus s = requireNonNull(pSrc, pDst, pTaps)) return s;
    residual32f(pSrc, pDst, pTaps);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsResidualFilter_Aurora_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, const Zel16s* pTaps,
                                                     int scaleFactor) {
    if (ZelStatus s = requireNonNull(pSrc, pDst, pTaps)) return s;
    residual16s(pSrc, pDst, pTaps, scaleFactor);
    return zelStsNoErr;
}

}  // extern "C"
