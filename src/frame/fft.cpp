// SPDX-License-Identifier: Apache-2.0
// The private real FFT: sizes, states, the forward transform in two layouts,
// the inverse from the packed layout, and the 16-bit wrapper.
#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include "core/zelcore_own.h"
#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "frame/fft.hpp"
#include "frame/fft_kernels.hpp"
#include "frame/fft_wide.hpp"
#include "frame/toolkit.h"

namespace zel::fft {
namespace {

// ---- The constant table of orders up to 10 ----------------------------------

// Chains for M = 512 and M = 256 (every shorter M is a tail of one of them),
// and the split twiddles of every M from 2 to 512, one after the other.
constexpr int64_t kTopM = int64_t(1) << (kStaticTableOrder - 1);

constexpr int64_t splitOffset(int64_t m) {
    int64_t offset = 0;
    for (int64_t k = 2; k < m; k *= 2) offset += splitFloats(k);
    return offset;
}

struct StaticTwiddles {
    alignas(64) float chainOdd[chainFloats(kTopM)];
    alignas(64) float chainEven[chainFloats(kTopM / 2)];
    alignas(64) float split[splitOffset(2 * kTopM)];
};

constexpr StaticTwiddles makeStaticTwiddles() {
    StaticTwiddles t{};
    fillChain(t.chainOdd, kTopM);
    fillChain(t.chainEven, kTopM / 2);
    for (int64_t m = 2; m <= kTopM; m *= 2) fillSplit(t.split + splitOffset(m), m);
    return t;
}

// Built by the compiler: no initialisation at run time and nothing to race on.
constexpr StaticTwiddles kStatic = makeStaticTwiddles();

const float* staticChain(int64_t m) {
    const bool odd = (m & 0x55555555) == 0;  // log2(m) odd
    const float* chain = odd ? kStatic.chainOdd : kStatic.chainEven;
    for (int64_t n = odd ? kTopM : kTopM / 2; n > m; n /= 4) chain += passSectionFloats(n);
    return chain;
}

const float* staticSplit(int64_t m) { return kStatic.split + splitOffset(m); }

// ---- Sizes -----------------------------------------------------------------

constexpr int64_t roundUp(int64_t v, int64_t a) { return (v + a - 1) / a * a; }

template <class T>
T* alignUp(void* p, uintptr_t a) {
    return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(p) + a - 1) & ~(a - 1));
}

constexpr int64_t kHeader32f = roundUp(sizeof(ZelFFTSpec_R_32f), 64);
constexpr int64_t kHeader16s = roundUp(sizeof(ZelFFTSpec_R_16s32s), 64);

// Bytes: 64 to align the record, the record, and the tables of orders above 10.
constexpr int64_t specBytes32f(int order) {
    const int64_t m = (int64_t(1) << order) / 2;
    const int64_t tables = order > kStaticTableOrder ? 4 * (chainFloats(m) + splitFloats(m)) : 0;
    return 64 + kHeader32f + tables;
}

// Two split buffers of N/2 complex values each, and 64 to align them.
constexpr int64_t workBytes32f(int order) {
    return order < kFirstTableOrder ? 0 : 8 * (int64_t(1) << order) + 64;
}

constexpr int64_t specBytes16s(int order) { return 64 + kHeader16s + specBytes32f(order); }

// 32 to round pWork up, the N samples as floats, then the transform's own scratch.
constexpr int64_t workBytes16s(int order) { return 32 + 4 * (int64_t(1) << order) + workBytes32f(order); }

ZelStatus checkOrderFlag(int order, int flag) {
    if (order < 0 || order > kMaxOrder) return zelStsFftOrderErr;
    if (flag != 1 && flag != 2 && flag != 4 && flag != 8) return zelStsFftFlagErr;
    return zelStsNoErr;
}

// ---- Transforms --------------------------------------------------------------

// Bins 0 and N/2 in the packed or the unfolded layout.
void storeEdges(float* pDst, int64_t m, float x0, float xm, bool unfolded) {
    pDst[0] = x0;
    if (unfolded) {
        pDst[1] = 0.0f;
        pDst[2 * m] = xm;
        pDst[2 * m + 1] = 0.0f;
    } else {
        pDst[1] = xm;
    }
}

// The passes after the first, from buffer x to buffer y and back; returns
// the buffer that holds the result.
float* remainingPasses(float* x, float* y, int64_t m, const float* chain) {
    chain += passSectionFloats(m);
    int64_t s = 4;
    for (int64_t n = m / 4; n >= 4; n /= 4, s *= 4) {
        if (n == 8) {
            lastPass8(x, x + m, y, y + m, s);
        } else if (n == 4) {
            lastPass4(x, x + m, y, y + m, s);
        } else {
            middlePass(x, x + m, y, y + m, n, s, chain);
            chain += passSectionFloats(n);
        }
        float* t = x;
        x = y;
        y = t;
    }
    return x;
}

// Forward transform of order 5 and more; s0 is the output scale. Bins 0 and
// N/2 are real and come from the first complex value alone.
void forwardVector(const ZelFFTSpec_R_32f& plan, const float* pSrc, float* pDst, float* work, float s0,
                   bool unfolded) {
    const int64_t m = (int64_t(1) << plan.order) / 2;
    const float* z = nullptr;
#if defined(ZELSR_HAVE_AVX512)
    if (plan.isa == int(Isa::kAvx512))
        z = avx512::forward(pSrc, pDst, work, m, plan.pPassTwiddles, plan.pSplitTwiddles, 0.5f * s0);
#endif
#if defined(ZELSR_HAVE_AVX2)
    if (plan.isa == int(Isa::kAvx2))
        z = avx2::forward(pSrc, pDst, work, m, plan.pPassTwiddles, plan.pSplitTwiddles, 0.5f * s0);
#endif
    if (z == nullptr) {
        float* a = work;
        float* b = work + 2 * m;
        firstPass(InterleavedIn{pSrc}, a, a + m, m, plan.pPassTwiddles);
        z = remainingPasses(a, b, m, plan.pPassTwiddles);
        splitForward(z, z + m, pDst, m, plan.pSplitTwiddles, 0.5f * s0);
    }
    storeEdges(pDst, m, (z[0] + z[m]) * s0, (z[0] - z[m]) * s0, unfolded);
}

void inverseVector(const ZelFFTSpec_R_32f& plan, const float* pSrc, float* pDst, float* work, float sc) {
    const int64_t m = (int64_t(1) << plan.order) / 2;
#if defined(ZELSR_HAVE_AVX512)
    if (plan.isa == int(Isa::kAvx512)) {
        avx512::inverse(pSrc, pDst, work, m, plan.pPassTwiddles, plan.pSplitTwiddles, sc);
        return;
    }
#endif
#if defined(ZELSR_HAVE_AVX2)
    if (plan.isa == int(Isa::kAvx2)) {
        avx2::inverse(pSrc, pDst, work, m, plan.pPassTwiddles, plan.pSplitTwiddles, sc);
        return;
    }
#endif
    float* a = work;
    float* b = work + 2 * m;
    splitInverse(pSrc, b, b + m, m, plan.pSplitTwiddles, sc);
    b[0] = (pSrc[0] - pSrc[1]) * sc;
    b[m] = (pSrc[0] + pSrc[1]) * sc;
    firstPass(SplitIn{b, b + m}, a, a + m, m, plan.pPassTwiddles);
    const float* y = remainingPasses(a, b, m, plan.pPassTwiddles);
    interleaveExchanged(y, y + m, pDst, m);
}

// Orders 0 to 4 on the stack, on the scalar path.
void forwardSmall(const ZelFFTSpec_R_32f& plan, const float* pSrc, float* pDst, float s0, bool unfolded) {
    const int64_t n = int64_t(1) << plan.order;
    if (n == 1) {
        pDst[0] = pSrc[0] * s0;
        if (unfolded) pDst[1] = pDst[2] = 0.0f;
        return;
    }
    const int64_t m = n / 2;
    float a[16], b[16];
    for (int64_t j = 0; j < m; ++j) a[j] = pSrc[2 * j], a[m + j] = pSrc[2 * j + 1];
    const float* z = scalarComplex(a, b, m, staticChain(m));
    scalarSplitForward(z, z + m, pDst, m, staticSplit(m), 0.5f * s0);
    storeEdges(pDst, m, (z[0] + z[m]) * s0, (z[0] - z[m]) * s0, unfolded);
}

void inverseSmall(const ZelFFTSpec_R_32f& plan, const float* pSrc, float* pDst, float sc) {
    const int64_t n = int64_t(1) << plan.order;
    if (n == 1) {
        pDst[0] = pSrc[0] * sc;
        return;
    }
    const int64_t m = n / 2;
    float a[16], b[16];
    scalarSplitInverse(pSrc, a, a + m, m, staticSplit(m), sc);
    a[0] = (pSrc[0] - pSrc[1]) * sc;
    a[m] = (pSrc[0] + pSrc[1]) * sc;
    const float* y = scalarComplex(a, b, m, staticChain(m));
    for (int64_t j = 0; j < m; ++j) pDst[2 * j] = y[m + j], pDst[2 * j + 1] = y[j];
}

ZelStatus checkTransform(const void* pSrc, const void* pDst, const ZelFFTSpec_R_32f* pSpec) {
    if (ZelStatus s = requireNonNull(pSrc, pDst, pSpec)) return s;
    if (pSpec->tag != kTag32f) return zelStsContextMatchErr;
    return zelStsNoErr;
}

// Scratch of a transform: the caller's, or a block for this call only.
class Scratch {
public:
    Scratch(const ZelFFTSpec_R_32f& plan, Zel8u* pWork) : owned_(nullptr), p_(nullptr) {
        if (plan.workSize == 0) return;
        if (pWork == nullptr) pWork = owned_ = ownMalloc_8u(plan.workSize);
        if (pWork != nullptr) p_ = alignUp<float>(pWork, 64);
    }
    ~Scratch() { ownFree(owned_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    float* get() const { return p_; }

private:
    Zel8u* owned_;
    float* p_;
};

// A state of either kind in a block of its own, which its Free releases.
template <class Plan, class Init>
ZelStatus initAlloc(Plan** ppSpec, int order, int flag, int hint, int64_t (*bytes)(int), Init init) {
    if (ZelStatus s = firstError(requireNonNull(ppSpec), checkOrderFlag(order, flag))) return s;
    Zel8u* block = ownMalloc_8u(int(bytes(order)));
    if (block == nullptr) return zelStsMemAllocErr;
    Plan* plan = nullptr;
    init(&plan, order, flag, hint, block, nullptr);
    plan->ownsMemory = 1;
    *ppSpec = plan;
    return zelStsNoErr;
}

ZelStatus forward(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork, bool unfolded) {
    if (ZelStatus s = checkTransform(pSrc, pDst, pSpec)) return s;
    const ZelFFTSpec_R_32f& plan = *pSpec;
    const float s0 = plan.doScaleFwd ? plan.scale : 1.0f;
    if (plan.order < kFirstTableOrder) {
        forwardSmall(plan, pSrc, pDst, s0, unfolded);
        return zelStsNoErr;
    }
    Scratch scratch(plan, pWork);
    float* work = scratch.get();
    if (work == nullptr) return zelStsMemAllocErr;
    forwardVector(plan, pSrc, pDst, work, s0, unfolded);
    return zelStsNoErr;
}

}  // namespace
}  // namespace zel::fft

using namespace zel;
using namespace zel::fft;

ZelStatus ownFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pInitSize, int* pWorkSize) {
    (void)hint;
    if (ZelStatus s = firstError(requireNonNull(pSpecSize, pInitSize, pWorkSize), checkOrderFlag(order, flag)))
        return s;
    *pSpecSize = int(specBytes32f(order));
    *pInitSize = 0;  // the tables are built in the state itself
    *pWorkSize = int(workBytes32f(order));
    return zelStsNoErr;
}

// pInitMem is not used: the size query reports 0 bytes for it, so it may be null.
ZelStatus ownFFTInit_R_32f(ZelFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Zel8u* pSpecMem,
                           Zel8u* pInitMem) {
    (void)pInitMem;
    if (ZelStatus s = firstError(requireNonNull(ppSpec, pSpecMem), checkOrderFlag(order, flag))) return s;
    ZelFFTSpec_R_32f* plan = alignUp<ZelFFTSpec_R_32f>(pSpecMem, 64);
    const int64_t n = int64_t(1) << order;
    const int64_t m = n / 2;
    plan->tag = kTag32f;
    plan->order = order;
    plan->doScaleFwd = flag == 1 || flag == 4;
    plan->doScaleInv = flag == 2 || flag == 4;
    plan->scale = flag == 4 ? float(1.0 / sqrt(double(n))) : float(1.0 / double(n));
    plan->hint = hint;
    plan->workSize = int(workBytes32f(order));
    plan->ownsMemory = 0;
    plan->numThreads = ownGetNumThreads();
    plan->isa = int(activeIsa());
    plan->pPassTwiddles = nullptr;
    plan->pSplitTwiddles = nullptr;
    plan->pBlock = pSpecMem;
    if (order > kStaticTableOrder) {
        float* tables = reinterpret_cast<float*>(reinterpret_cast<Zel8u*>(plan) + kHeader32f);
        fillChain(tables, m);
        fillSplit(tables + chainFloats(m), m);
        plan->pPassTwiddles = tables;
        plan->pSplitTwiddles = tables + chainFloats(m);
    } else if (order >= kFirstTableOrder) {
        plan->pPassTwiddles = staticChain(m);
        plan->pSplitTwiddles = staticSplit(m);
    }
    *ppSpec = plan;
    return zelStsNoErr;
}

ZelStatus ownFFTInitAlloc_R_32f(ZelFFTSpec_R_32f** ppSpec, int order, int flag, int hint) {
    return initAlloc(ppSpec, order, flag, hint, specBytes32f, ownFFTInit_R_32f);
}

ZelStatus ownFFTFree_R_32f(ZelFFTSpec_R_32f* pSpec) {
    if (pSpec == nullptr) return zelStsNullPtrErr;
    if (pSpec->tag != kTag32f) return zelStsContextMatchErr;
    pSpec->tag = 0;
    if (pSpec->ownsMemory) ownFree(pSpec->pBlock);
    return zelStsNoErr;
}

ZelStatus ownFFTFwd_R_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork) {
    return forward(pSrc, pDst, pSpec, pWork, false);
}

ZelStatus ownFFTFwd_RUnfolded_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork) {
    return forward(pSrc, pDst, pSpec, pWork, true);
}

ZelStatus ownFFTInv_R_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork) {
    if (ZelStatus s = checkTransform(pSrc, pDst, pSpec)) return s;
    const ZelFFTSpec_R_32f& plan = *pSpec;
    const float sc = plan.doScaleInv ? plan.scale : 1.0f;
    if (plan.order < kFirstTableOrder) {
        inverseSmall(plan, pSrc, pDst, sc);
        return zelStsNoErr;
    }
    Scratch scratch(plan, pWork);
    float* work = scratch.get();
    if (work == nullptr) return zelStsMemAllocErr;
    inverseVector(plan, pSrc, pDst, work, sc);
    return zelStsNoErr;
}

// ---- The 16-bit wrapper ------------------------------------------------------

ZelStatus ownFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pInitSize, int* pWorkSize) {
    (void)hint;
    if (ZelStatus s = firstError(requireNonNull(pSpecSize, pInitSize, pWorkSize), checkOrderFlag(order, flag)))
        return s;
    *pSpecSize = int(specBytes16s(order));
    *pInitSize = 0;
    *pWorkSize = int(workBytes16s(order));
    return zelStsNoErr;
}

ZelStatus ownFFTInit_R_16s32s(ZelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Zel8u* pSpecMem,
                              Zel8u* pInitMem) {
    (void)pInitMem;
    if (ZelStatus s = firstError(requireNonNull(ppSpec, pSpecMem), checkOrderFlag(order, flag))) return s;
    ZelFFTSpec_R_16s32s* plan = alignUp<ZelFFTSpec_R_16s32s>(pSpecMem, 64);
    ZelFFTSpec_R_32f* inner = nullptr;
    ownFFTInit_R_32f(&inner, order, flag, hint, reinterpret_cast<Zel8u*>(plan) + kHeader16s, nullptr);
    plan->tag = kTag16s32s;
    plan->order = order;
    plan->ownsMemory = 0;
    plan->workSize = int(workBytes16s(order));
    plan->reserved = 0;
    plan->pSpec32f = inner;
    plan->pBlock = pSpecMem;
    *ppSpec = plan;
    return zelStsNoErr;
}

ZelStatus ownFFTInitAlloc_R_16s32s(ZelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint) {
    return initAlloc(ppSpec, order, flag, hint, specBytes16s, ownFFTInit_R_16s32s);
}

ZelStatus ownFFTFree_R_16s32s(ZelFFTSpec_R_16s32s* pSpec) {
    if (pSpec == nullptr) return zelStsNullPtrErr;
    if (pSpec->tag != kTag16s32s) return zelStsContextMatchErr;
    pSpec->tag = 0;
    pSpec->pSpec32f->tag = 0;
    if (pSpec->ownsMemory) ownFree(pSpec->pBlock);
    return zelStsNoErr;
}

// N samples in, the unfolded spectrum of N + 2 values out, each rounded to
// nearest after scaling by 2^-scaleFactor.
ZelStatus ownFFTFwd_R_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pDst, const ZelFFTSpec_R_16s32s* pSpec, int scaleFactor,
                                 Zel8u* pWork) {
    if (pSpec == nullptr) return zelStsNullPtrErr;
    if (pSpec->tag != kTag16s32s) return zelStsContextMatchErr;
    if (ZelStatus s = requireNonNull(pSrc, pDst)) return s;
    Zel8u* owned = nullptr;
    if (pWork == nullptr) {
        pWork = owned = ownMalloc_8u(pSpec->workSize);
        if (pWork == nullptr) return zelStsMemAllocErr;
    }
    const int n = 1 << pSpec->order;
    float* buf = alignUp<float>(pWork, 32);
    Zel8u* innerWork = reinterpret_cast<Zel8u*>(buf + n);
    ZelStatus status = ownConvert_16s32f(pSrc, buf, n);
    if (status == zelStsNoErr) status = ownFFTFwd_R_32f(buf, buf, pSpec->pSpec32f, innerWork);
    if (status == zelStsNoErr) status = ownConvert_32f32s_Sfs(buf, pDst, n, 1, scaleFactor);
    if (status == zelStsNoErr) {
        // The packed layout holds bin N/2 in element 1; the unfolded one at N.
        if (n > 1) pDst[n] = pDst[1];
        pDst[1] = 0;
        pDst[n + 1] = 0;
    }
    ownFree(owned);
    return status;
}
