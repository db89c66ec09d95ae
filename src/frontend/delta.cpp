// SPDX-License-Identifier: Apache-2.0
// Dynamic features: the streaming delta and delta-delta windows with their
// begin and end flags, the Aurora window, and the in-place regression.
#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "frontend/delta_kernels.hpp"
#include "frontend/delta_wide.hpp"

using namespace zel;
using namespace zel::delta;

namespace {

constexpr int kBegin = zelBeginStream, kEnd = zelEndStream;

// Rows that a begin call must bring before the first steady step.
constexpr int kHistoryWin1 = 2, kHistoryWin2 = 4, kHistoryDDWin1 = 3, kHistoryDDWin2 = 6, kHistoryAurora = 8;

// The steady rows of a stream on the widest kernels this call may use,
// chosen once; false leaves them to the baseline loop.
template <int A, int B, class SM, class DM, class EM>
auto wideSteady(const SM& sm, const DM& dm, const EM& em) {
    const Isa isa = activeIsa();
    return [isa, &sm, &dm, &em](const auto& rows) {
        (void)rows;
#if defined(ZELSR_HAVE_AVX512)
        if (isa >= Isa::kAvx512) return avx512::steady<A, B>(rows, sm, dm, em), true;
#endif
#if defined(ZELSR_HAVE_AVX2)
        if (isa >= Isa::kAvx2) return avx2::steady<A, B>(rows, sm, dm, em), true;
#endif
        return false;
    };
}

// Streaming checks, in their order: pointers, sizes, the step against the
// blocks of a row, and a begin call with too few frames.
template <class... P>
ZelStatus checkStream(int width, int64_t rowLen, int dstStep, int height, int mode, int history, const P*... ptrs) {
    return firstError(requireNonNull(ptrs...), require(width >= 1 && height >= 0, zelStsSizeErr),
                      require(height > 0 || (mode & kEnd), zelStsSizeErr),
                      require(int64_t(dstStep) >= rowLen, zelStsStrideErr),
                      require(!(mode & kBegin) || height >= history, zelStsSizeErr));
}

template <int A, class E, class SM, class DM>
ZelStatus runDelta(const E* pSrc, const void* pVal, int width, E* pDst, int dstStep, int height, int mode,
                   const SM& sm, const DM& dm, int sf) {
    constexpr int history = A == 1 ? kHistoryWin1 : kHistoryWin2;
    if (ZelStatus s = checkStream(width, 2 * int64_t(width), dstStep, height, mode, history, pSrc, pDst, pVal))
        return s;
    stream<A, 0>(pSrc, width, pDst, dstStep, height, mode, history, sm, dm, dm, sf, wideSteady<A, 0>(sm, dm, dm));
    return zelStsNoErr;
}

template <int A, class E, class SM, class DM, class EM>
ZelStatus runDeltaDelta(const E* pSrc, const void* pVal, int width, E* pDst, int dstStep, int height, int mode,
                        const SM& sm, const DM& dm, const EM& em, int sf) {
    constexpr int history = A == 1 ? kHistoryDDWin1 : kHistoryDDWin2;
    if (ZelStatus s = checkStream(width, 3 * int64_t(width), dstStep, height, mode, history, pSrc, pDst, pVal))
        return s;
    stream<A, A>(pSrc, width, pDst, dstStep, height, mode, history, sm, dm, em, sf, wideSteady<A, A>(sm, dm, em));
    return zelStsNoErr;
}

// Forms without multipliers have no pVal to test; a non-null stand-in keeps one check list.
const void* const kNoTable = &kNoTable;

template <bool Mul, class E>
ZelStatus runAurora(const E* pSrc, const E* pVal, E* pDst, int dstStep, int height, int mode, int sf) {
    const void* table = Mul ? static_cast<const void*>(pVal) : kNoTable;
    if (ZelStatus s = checkStream(1, 3 * kAuroraWidth, dstStep, height, mode, kHistoryAurora, pSrc, pDst, table))
        return s;
    auroraStream<Mul>(pSrc, pVal, pDst, dstStep, height, mode, sf);
    return zelStsNoErr;
}

template <class E, class M>
ZelStatus runEval(E* p, const void* pVal, int height, int step, int width, int offset, int winSize, const M& m,
                  int sf) {
    if (ZelStatus s = firstError(requireNonNull(p, pVal),
                                 require(height >= 1 && width >= 1 && winSize >= 1 && offset >= 0 &&
                                             int64_t(height) >= 2 * int64_t(winSize),
                                         zelStsSizeErr),
                                 require(int64_t(step) >= int64_t(offset) + 2 * int64_t(width), zelStsStrideErr)))
        return s;
    [[maybe_unused]] const InPlaceRows<E> rows{p, height, step, width, offset, winSize, sf & 31};
    [[maybe_unused]] const Isa isa = activeIsa();
#if defined(ZELSR_HAVE_AVX512)
    if (isa >= Isa::kAvx512) return avx512::evalDelta(rows, m), zelStsNoErr;
#endif
#if defined(ZELSR_HAVE_AVX2)
    if (isa >= Isa::kAvx2) return avx2::evalDelta(rows, m), zelStsNoErr;
#endif
    evalDelta(p, height, step, width, offset, winSize, m, sf);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- Delta, radius one and two.

ZELSR_API ZelStatus zelsDelta_Win1_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep, int height,
                                          Zel32f deltaScale, int mode) {
    return runDelta<1>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<float>{deltaScale}, 0);
}
ZELSR_API ZelStatus zelsDelta_Win2_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep, int height,
                                          Zel32f deltaScale, int mode) {
    return runDelta<2>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<float>{deltaScale}, 0);
}
ZELSR_API ZelStatus zelsDelta_Win1_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep, int height,
                                             Zel16s deltaScale, int mode, int scaleFactor) {
    return runDelta<1>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<Zel16s>{deltaScale},
                       scaleFactor);
}
ZELSR_API ZelStatus zelsDelta_Win2_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep, int height,
                                             Zel16s deltaScale, int mode, int scaleFactor) {
    return runDelta<2>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<Zel16s>{deltaScale},
                       scaleFactor);
}

// ---- Delta and delta-delta.

ZELSR_API ZelStatus zelsDeltaDelta_Win1_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep,
                                               int height, Zel32f deltaScale, Zel32f deltaDeltaScale, int mode) {
    return runDeltaDelta<1>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<float>{deltaScale},
                            Splat<float>{deltaDeltaScale}, 0);
}
ZELSR_API ZelStatus zelsDeltaDelta_Win2_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep,
                                               int height, Zel32f deltaScale, Zel32f deltaDeltaScale, int mode) {
    return runDeltaDelta<2>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<float>{deltaScale},
                            Splat<float>{deltaDeltaScale}, 0);
}
ZELSR_API ZelStatus zelsDeltaDelta_Win1_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep,
                                                  int height, Zel16s deltaScale, Zel16s deltaDeltaScale, int mode,
                                                  int scaleFactor) {
    return runDeltaDelta<1>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<Zel16s>{deltaScale},
                            Splat<Zel16s>{deltaDeltaScale}, scaleFactor);
}
ZELSR_API ZelStatus zelsDeltaDelta_Win2_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep,
                                                  int height, Zel16s deltaScale, Zel16s deltaDeltaScale, int mode,
                                                  int scaleFactor) {
    return runDeltaDelta<2>(pSrc, kNoTable, width, pDst, dstStep, height, mode, Copy{}, Splat<Zel16s>{deltaScale},
                            Splat<Zel16s>{deltaDeltaScale}, scaleFactor);
}

// ---- Multipliers per element: statics pVal[j], deltas pVal[width + j],
// delta-deltas pVal[2 * width + j]; differences are of the multiplied rows.

ZELSR_API ZelStatus zelsDeltaMul_Win1_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                             int dstStep, int height, int mode) {
    return runDelta<1>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<float>{pVal},
                       Table<float>{pVal, width}, 0);
}
ZELSR_API ZelStatus zelsDeltaMul_Win2_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                             int dstStep, int height, int mode) {
    return runDelta<2>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<float>{pVal},
                       Table<float>{pVal, width}, 0);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win1_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                                  int dstStep, int height, int mode) {
    return runDeltaDelta<1>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<float>{pVal},
                            Table<float>{pVal, width}, Table<float>{pVal, 2 * ptrdiff_t(width)}, 0);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win2_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                                  int dstStep, int height, int mode) {
    return runDeltaDelta<2>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<float>{pVal},
                            Table<float>{pVal, width}, Table<float>{pVal, 2 * ptrdiff_t(width)}, 0);
}
ZELSR_API ZelStatus zelsDeltaMul_Win1_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width, Zel16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor) {
    return runDelta<1>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<Zel16s>{pVal},
                       Table<Zel16s>{pVal, width}, scaleFactor);
}
ZELSR_API ZelStatus zelsDeltaMul_Win2_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width, Zel16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor) {
    return runDelta<2>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<Zel16s>{pVal},
                       Table<Zel16s>{pVal, width}, scaleFactor);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win1_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width,
                                                     Zel16s* pDst, int dstStep, int height, int mode,
                                                     int scaleFactor) {
    return runDeltaDelta<1>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<Zel16s>{pVal},
                            Table<Zel16s>{pVal, width}, Table<Zel16s>{pVal, 2 * ptrdiff_t(width)}, scaleFactor);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win2_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width,
                                                     Zel16s* pDst, int dstStep, int height, int mode,
                                                     int scaleFactor) {
    return runDeltaDelta<2>(pSrc, pVal, width, pDst, dstStep, height, mode, Table<Zel16s>{pVal},
                            Table<Zel16s>{pVal, width}, Table<Zel16s>{pVal, 2 * ptrdiff_t(width)}, scaleFactor);
}

// ---- The Aurora window.

ZELSR_API ZelStatus zelsDeltaDelta_Aurora_32f_D2(const Zel32f* pSrc, Zel32f* pDst, int dstStep, int height,
                                                 int mode) {
    return runAurora<false>(pSrc, static_cast<const Zel32f*>(nullptr), pDst, dstStep, height, mode, 0);
}
ZELSR_API ZelStatus zelsDeltaDelta_Aurora_16s_D2Sfs(const Zel16s* pSrc, Zel16s* pDst, int dstStep, int height,
                                                    int mode, int scaleFactor) {
    return runAurora<false>(pSrc, static_cast<const Zel16s*>(nullptr), pDst, dstStep, height, mode, scaleFactor);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, Zel32f* pDst,
                                                    int dstStep, int height, int mode) {
    return runAurora<true>(pSrc, pVal, pDst, dstStep, height, mode, 0);
}
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, Zel16s* pDst,
                                                       int dstStep, int height, int mode, int scaleFactor) {
    return runAurora<true>(pSrc, pVal, pDst, dstStep, height, mode, scaleFactor);
}

// ---- In place.

ZELSR_API ZelStatus zelsEvalDelta_32f_D2(Zel32f* pSrcDst, int height, int step, int width, int offset, int winSize,
                                         Zel32f scale) {
    return runEval(pSrcDst, kNoTable, height, step, width, offset, winSize, Splat<float>{scale}, 0);
}
ZELSR_API ZelStatus zelsEvalDelta_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, int width, int offset,
                                            int winSize, Zel16s scale, int scaleFactor) {
    return runEval(pSrcDst, kNoTable, height, step, width, offset, winSize, Splat<Zel16s>{scale}, scaleFactor);
}
ZELSR_API ZelStatus zelsEvalDeltaMul_32f_D2(Zel32f* pSrcDst, int height, int step, const Zel32f* pVal, int width,
                                            int offset, int winSize) {
    return runEval(pSrcDst, pVal, height, step, width, offset, winSize, Table<float>{pVal}, 0);
}
ZELSR_API ZelStatus zelsEvalDeltaMul_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, const Zel16s* pVal,
                                               int width, int offset, int winSize, int scaleFactor) {
    return runEval(pSrcDst, pVal, height, step, width, offset, winSize, Table<Zel16s>{pVal}, scaleFactor);
}

}  // extern "C"
