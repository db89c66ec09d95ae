// SPDX-License-Identifier: Apache-2.0
// DCT lifter: size queries, builders in caller memory and allocating ones,
// release, and the per-frame evaluation in float and 16-bit forms.
#include <limits.h>

#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "frame/toolkit.h"
#include "frontend/dct_lifter_kernels.hpp"
#include "frontend/dct_lifter_wide.hpp"
#include "zelcore.h"

using namespace zel;
using namespace zel::lifter;

namespace {

enum class SizeRule { Float, Fixed, FixedNarrow };

int64_t sizeBy(SizeRule rule, int lenDCT, int lenCepstrum) {
    switch (rule) {
        case SizeRule::Float: return sizeFloat(lenDCT, lenCepstrum);
        case SizeRule::Fixed: return sizeFixed(lenDCT, lenCepstrum);
        default: return sizeFixedNarrow(lenDCT, lenCepstrum);
    }
}

// Lengths shared by queries and builders; a state whose size does not fit an
// int could not have been queried, so it is a size error as well.
// The narrow rows of the 32-bit-integer builder stop at 8192, in its query
// and in the builder alike. Every size holds 4 * lenDCT * (lenCepstrum + 1)
// bytes of rows, and that product, which fits 64 bits, is tested before any
// formula is evaluated, so that no formula can overflow.
ZelStatus checkLengths(SizeRule rule, int lenDCT, int lenCepstrum) {
    if (ZelStatus s = firstError(requirePositive(lenDCT, lenCepstrum), require(lenCepstrum <= lenDCT, zelStsSizeErr),
                                 require(rule != SizeRule::FixedNarrow || lenDCT <= 8192, zelStsSizeErr),
                                 require(int64_t(lenDCT) * (int64_t(lenCepstrum) + 1) <= INT_MAX / 4, zelStsSizeErr)))
        return s;
    return require(sizeBy(rule, lenDCT, lenCepstrum) <= INT_MAX, zelStsSizeErr);
}

ZelStatus querySize(SizeRule rule, int lenDCT, int lenCepstrum, int* pSize) {
    if (ZelStatus s = firstError(requireNonNull(pSize), checkLengths(rule, lenDCT, lenCepstrum))) return s;
    *pSize = int(sizeBy(rule, lenDCT, lenCepstrum));
    return zelStsNoErr;
}

bool hasSine(Flavour f) { return f == Flavour::Sine || f == Flavour::SineC0; }

ZelStatus checkRecipe(const Recipe& s, SizeRule rule) {
    const bool hasTable = !hasSine(s.flavour);
    const void* table = s.table32s ? static_cast<const void*>(s.table32s) : static_cast<const void*>(s.table32f);
    return firstError(require(!hasTable || table != nullptr, zelStsNullPtrErr),
                      require(!hasSine(s.flavour) || s.nLifter >= 1, zelStsSizeErr),
                      checkLengths(rule, s.lenDCT, s.lenCepstrum));
}

ZelStatus initIn(void* pState, const Recipe& recipe) {
    // The one narrow-row builder is the one that reads 32-bit integers.
    const SizeRule rule = !recipe.fixed ? SizeRule::Float : (recipe.table32s ? SizeRule::FixedNarrow : SizeRule::Fixed);
    if (ZelStatus s = firstError(requireNonNull(pState), checkRecipe(recipe, rule))) return s;
    build(pState, recipe, false);
    return zelStsNoErr;
}

template <class State>
ZelStatus initAlloc(State** ppState, const Recipe& recipe) {
    const SizeRule rule = recipe.fixed ? SizeRule::Fixed : SizeRule::Float;
    if (ZelStatus s = firstError(requireNonNull(ppState), checkRecipe(recipe, rule))) return s;
    void* mem = zelMalloc(size_t(sizeBy(rule, recipe.lenDCT, recipe.lenCepstrum)));
    if (!mem) return zelStsMemAllocErr;
    build(mem, recipe, true);
    *ppState = static_cast<State*>(mem);
    return zelStsNoErr;
}

const Record* ready(const void* pState, uint32_t tag) {
    const Record* r = static_cast<const Record*>(pState);
    return r->tag == tag ? r : nullptr;
}

ZelStatus release(void* pState, uint32_t tag) {
    if (ZelStatus s = requireNonNull(pState)) return s;
    if (!ready(pState, tag)) return zelStsContextMatchErr;
    Record* r = static_cast<Record*>(pState);
    r->tag = kTagNone;
    if (r->ownsMemory) zelFree(r);
    return zelStsNoErr;
}

// One frame on the widest kernels this call may use; `Src` is the baseline
// kernel's source, for processors without them.
template <class Src>
void frame(const typename Src::T* src, float* dst, const Record& r) {
    [[maybe_unused]] const Isa isa = activeIsa();
#if defined(ZELSR_HAVE_AVX512)
    if (isa >= Isa::kAvx512) return avx512::cepstrum(src, dst, r);
#endif
#if defined(ZELSR_HAVE_AVX2)
    if (isa >= Isa::kAvx2) return avx2::cepstrum(src, dst, r);
#endif
    cepstrum<Src>(src, dst, r);
}

template <class Src>
ZelStatus evalFixed(const typename Src::T* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState, int scaleFactor) {
    if (ZelStatus s = requireNonNull(pState, pSrc, pDst)) return s;
    const Record* r = ready(pState, kTagFixed);
    if (!r) return zelStsContextMatchErr;
    frame<Src>(pSrc, r->pOut, *r);
    return ownConvert_32f16s_Sfs(r->pOut, pDst, r->lenCepstrum + r->hasC0, 1, scaleFactor);
}

Recipe sine(bool fixed, int lenDCT, int lenCepstrum, int nLifter, Zel32f val) {
    return {fixed, Flavour::Sine, lenDCT, lenCepstrum, nLifter, val, 0.0f, nullptr, nullptr};
}
Recipe sineC0(bool fixed, int lenDCT, int lenCepstrum, int nLifter, Zel32f val, Zel32f val0) {
    return {fixed, Flavour::SineC0, lenDCT, lenCepstrum, nLifter, val, val0, nullptr, nullptr};
}
Recipe mul(bool fixed, Flavour f, int lenDCT, const Zel32f* pLifter, int lenCepstrum) {
    return {fixed, f, lenDCT, lenCepstrum, -1, 0.0f, 0.0f, pLifter, nullptr};
}

}  // namespace

extern "C" {

// ---- Size queries: one body for the four float names, one for three of
// the 16-bit names, and one for the narrow rows of the 32-bit-integer builder.

ZELSR_API ZelStatus zelsDCTLifterGetSize_32f(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Float, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_C0_32f(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Float, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Float, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Float, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_16s(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Fixed, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_C0_16s(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Fixed, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::Fixed, lenDCT, lenCepstrum, pSize);
}
ZELSR_API ZelStatus zelsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCepstrum, int* pSize) {
    return querySize(SizeRule::FixedNarrow, lenDCT, lenCepstrum, pSize);
}

// ---- Builders in caller memory.

ZELSR_API ZelStatus zelsDCTLifterInit_32f(ZelDCTLifterState_32f* pState, int lenDCT, int lenCepstrum, int nLifter,
                                          Zel32f val) {
    return initIn(pState, sine(false, lenDCT, lenCepstrum, nLifter, val));
}
ZELSR_API ZelStatus zelsDCTLifterInit_C0_32f(ZelDCTLifterState_32f* pState, int lenDCT, int lenCepstrum,
                                             int nLifter, Zel32f val, Zel32f val0) {
    return initIn(pState, sineC0(false, lenDCT, lenCepstrum, nLifter, val, val0));
}
ZELSR_API ZelStatus zelsDCTLifterInit_Mul_32f(ZelDCTLifterState_32f* pState, int lenDCT, const Zel32f* pLifter,
                                              int lenCepstrum) {
    return initIn(pState, mul(false, Flavour::Mul, lenDCT, pLifter, lenCepstrum));
}
ZELSR_API ZelStatus zelsDCTLifterInit_MulC0_32f(ZelDCTLifterState_32f* pState, int lenDCT, const Zel32f* pLifter,
                                                int lenCepstrum) {
    return initIn(pState, mul(false, Flavour::MulC0, lenDCT, pLifter, lenCepstrum));
}
ZELSR_API ZelStatus zelsDCTLifterInit_16s(ZelDCTLifterState_16s* pState, int lenDCT, int lenCepstrum, int nLifter,
                                          Zel32f val) {
    return initIn(pState, sine(true, lenDCT, lenCepstrum, nLifter, val));
}
ZELSR_API ZelStatus zelsDCTLifterInit_C0_16s(ZelDCTLifterState_16s* pState, int lenDCT, int lenCepstrum,
                                             int nLifter, Zel32f val, Zel32f val0) {
    return initIn(pState, sineC0(true, lenDCT, lenCepstrum, nLifter, val, val0));
}
ZELSR_API ZelStatus zelsDCTLifterInit_Mul_16s(ZelDCTLifterState_16s* pState, int lenDCT, const Zel32f* pLifter,
                                              int lenCepstrum) {
    return initIn(pState, mul(true, Flavour::Mul, lenDCT, pLifter, lenCepstrum));
}
// The one builder that reads its multipliers as 32-bit integers.
ZELSR_API ZelStatus zelsDCTLifterInit_MulC0_16s(ZelDCTLifterState_16s* pState, int lenDCT, const Zel32s* pLifter,
                                                int lenCepstrum) {
    return initIn(pState, {true, Flavour::MulC0, lenDCT, lenCepstrum, -1, 0.0f, 0.0f, nullptr, pLifter});
}

// ---- Allocating builders: one block of the queried size.

ZELSR_API ZelStatus zelsDCTLifterInitAlloc_32f(ZelDCTLifterState_32f** ppState, int lenDCT, int lenCepstrum,
                                               int nLifter, Zel32f val) {
    return initAlloc(ppState, sine(false, lenDCT, lenCepstrum, nLifter, val));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_C0_32f(ZelDCTLifterState_32f** ppState, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zel32f val, Zel32f val0) {
    return initAlloc(ppState, sineC0(false, lenDCT, lenCepstrum, nLifter, val, val0));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_Mul_32f(ZelDCTLifterState_32f** ppState, int lenDCT,
                                                   const Zel32f* pLifter, int lenCepstrum) {
    return initAlloc(ppState, mul(false, Flavour::Mul, lenDCT, pLifter, lenCepstrum));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_MulC0_32f(ZelDCTLifterState_32f** ppState, int lenDCT,
                                                     const Zel32f* pLifter, int lenCepstrum) {
    return initAlloc(ppState, mul(false, Flavour::MulC0, lenDCT, pLifter, lenCepstrum));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_16s(ZelDCTLifterState_16s** ppState, int lenDCT, int lenCepstrum,
                                               int nLifter, Zel32f val) {
    return initAlloc(ppState, sine(true, lenDCT, lenCepstrum, nLifter, val));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_C0_16s(ZelDCTLifterState_16s** ppState, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zel32f val, Zel32f val0) {
    return initAlloc(ppState, sineC0(true, lenDCT, lenCepstrum, nLifter, val, val0));
}
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_Mul_16s(ZelDCTLifterState_16s** ppState, int lenDCT,
                                                   const Zel32f* pLifter, int lenCepstrum) {
    return initAlloc(ppState, mul(true, Flavour::Mul, lenDCT, pLifter, lenCepstrum));
}
// Unlike its Init namesake, this one reads single-precision multipliers.
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_MulC0_16s(ZelDCTLifterState_16s** ppState, int lenDCT,
                                                     const Zel32f* pLifter, int lenCepstrum) {
    return initAlloc(ppState, mul(true, Flavour::MulC0, lenDCT, pLifter, lenCepstrum));
}

// ---- Release.

ZELSR_API ZelStatus zelsDCTLifterFree_32f(ZelDCTLifterState_32f* pState) { return release(pState, kTagFloat); }
ZELSR_API ZelStatus zelsDCTLifterFree_16s(ZelDCTLifterState_16s* pState) { return release(pState, kTagFixed); }

// ---- Evaluation.

ZELSR_API ZelStatus zelsDCTLifter_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelDCTLifterState_32f* pState) {
    if (ZelStatus s = requireNonNull(pState, pSrc, pDst)) return s;
    const Record* r = ready(pState, kTagFloat);
    if (!r) return zelStsContextMatchErr;
    if (isAligned16(pSrc))
        frame<AlignedFloats>(pSrc, pDst, *r);
    else
        frame<UnalignedFloats>(pSrc, pDst, *r);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsDCTLifter_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                          int scaleFactor) {
    return evalFixed<Shorts>(pSrc, pDst, pState, scaleFactor);
}
ZELSR_API ZelStatus zelsDCTLifter_32s16s_Sfs(const Zel32s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                             int scaleFactor) {
    return evalFixed<Ints>(pSrc, pDst, pState, scaleFactor);
}

}  // extern "C"
