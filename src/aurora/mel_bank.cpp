// SPDX-License-Identifier: Apache-2.0
// The Low and High Mel banks of the Aurora noise reduction: size queries,
// builders in caller memory and allocating ones. The banks are float and
// 16-bit filter-bank records; the filter-bank evaluation, accessors and
// release of the front end serve them unchanged.
#include <string.h>

#include "aurora/mel_bank_kernels.hpp"
#include "frame/checks.hpp"
#include "frame/toolkit.h"
#include "frontend/fbank.hpp"
#include "zelcore.h"

using namespace zel;
using namespace zel::aurora;

namespace {

// Bytes of the blocks that follow the record, in the order they are laid out.
struct Blocks {
    int64_t centres, temp, rising, falling;
};

constexpr Blocks blocksOf(const MelBankShape& s) {
    return Blocks{4 * int64_t(s.nTable), 4 * int64_t(s.nCentres), fb::rowTableBytes(rowsOf(s), kHalf + fb::kLeftLead),
                  fb::rowTableBytes(rowsOf(s), kHalf)};
}

// The query's sum: the record, the centre table allowance, a work allowance,
// each row table with 32 bytes to reach its boundary, and the work allowance
// once more. Pointers count at their real width.
template <class S>
constexpr int64_t formulaBytes(const MelBankShape& s) {
    const Blocks z = blocksOf(s);
    return fb::recordBytes<S>() + s.binAllowance + s.workAllowance + (z.rising + 32) + (z.falling + 32) +
           s.workAllowance;
}

// What the builder takes from memory however it is aligned: each block may
// need 31 bytes to reach its 32-byte boundary.
template <class S>
constexpr int64_t worstBytes(const MelBankShape& s) {
    const Blocks z = blocksOf(s);
    return int64_t(sizeof(S)) + z.centres + 2 * z.temp + z.rising + z.falling + 5 * 31;
}

template <class S>
constexpr int bankBytes(const MelBankShape& s) {
    const int64_t f = formulaBytes<S>(s), w = worstBytes<S>(s);
    return int(f > w ? f : w);
}

static_assert(sizeof(void*) != 4 || formulaBytes<ZelFBankState_32f>(kLowBank) == 15532, "Low bank size");
static_assert(sizeof(void*) != 4 || formulaBytes<ZelFBankState_16s>(kHighBank) == 3128, "High bank size");

// Carves 32-byte aligned blocks out of the bank's memory, one after the other.
struct Carver {
    Zel8u* next;
    Zel8u* take(int64_t bytes) {
        Zel8u* b = fb::alignUp32<Zel8u>(next);
        next = b + bytes;
        return b;
    }
};

// Builds a bank in `mem`, which holds bankBytes<S>(shape) bytes. The record
// is cleared first and recognised only once the build is complete.
template <class S>
S* build(void* mem, const MelBankShape& shape, fb::Ownership owner) {
    using W = typename fb::Kind<S>::Weight;
    S* b = static_cast<S*>(mem);
    memset(static_cast<void*>(b), 0, sizeof(S));
    const Blocks z = blocksOf(shape);
    Carver carve{static_cast<Zel8u*>(mem) + sizeof(S)};
    Zel32s* table = reinterpret_cast<Zel32s*>(carve.take(z.centres));
    float* mel = reinterpret_cast<float*>(carve.take(z.temp));
    W** rising = fb::layoutRowTable<W>(carve.take(z.rising), rowsOf(shape), kHalf + fb::kLeftLead, fb::kLeftLead);
    W** falling = fb::layoutRowTable<W>(carve.take(z.falling), rowsOf(shape), kHalf, 0);
    float* pos = reinterpret_cast<float*>(carve.take(z.temp));

    ownZero_8u(reinterpret_cast<Zel8u*>(table), int(z.centres));
    centrePositions(shape, mel, pos);
    ownConvert_32f32s_Sfs(pos, table, shape.nCentres, 1, 0);
    melBankRows(shape, rising, falling, table);
    // The evaluation reads the Low bank's first filter from bin 0 to bin 0.
    if (shape.lowBank) {
        ownMove_32s(table, table + 1, shape.nCentres);
        table[0] = 0;
    }

    b->pCenters = table;
    b->ppLeftCoeffs = rising;
    b->ppRightCoeffs = falling;
    b->mode = zelFBankBinWeights;
    b->fftLen = kFftLen;
    b->nFilter = shape.nFilter;
    b->nLinear = shape.nFilter;
    b->melMul = 2595.0f;
    b->melDiv = 700.0f;
    fb::Kind<S>::setShift(*b);
    b->ownsMemory = owner;
    b->isReady = 1;
    b->tag = fb::Kind<S>::kTag;
    return b;
}

template <class S>
ZelStatus getSize(const MelBankShape& shape, int* pSize) {
    if (ZelStatus s = requireNonNull(pSize)) return s;
    *pSize = bankBytes<S>(shape);
    return zelStsNoErr;
}

template <class S>
ZelStatus initIn(S* pFBank, const MelBankShape& shape) {
    if (ZelStatus s = requireNonNull(pFBank)) return s;
    build<S>(pFBank, shape, fb::kCallerMemory);
    return zelStsNoErr;
}

// One block holds the whole bank, so the release of the filter-bank family
// frees it with one call, and a failed allocation leaves nothing behind.
template <class S>
ZelStatus initAlloc(S** ppFBank, const MelBankShape& shape) {
    if (ZelStatus s = requireNonNull(ppFBank)) return s;
    void* mem = zelMalloc(size_t(bankBytes<S>(shape)));
    if (mem == nullptr) return zelStsMemAllocErr;
    *ppFBank = build<S>(mem, shape, fb::kOneBlock);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsMelFBankGetSizeLow_Aurora_32f(int* pSize) { return getSize<ZelFBankState_32f>(kLowBank, pSize); }
ZELSR_API ZelStatus zelsMelFBankGetSizeLow_Aurora_16s(int* pSize) { return getSize<ZelFBankState_16s>(kLowBank, pSize); }
ZELSR_API ZelStatus zelsMelFBankGetSizeHigh_Aurora_32f(int* pSize) {
    return getSize<ZelFBankState_32f>(kHighBank, pSize);
}
ZELSR_API ZelStatus zelsMelFBankGetSizeHigh_Aurora_16s(int* pSize) {
    return getSize<ZelFBankState_16s>(kHighBank, pSize);
}

ZELSR_API ZelStatus zelsMelFBankInitLow_Aurora_32f(ZelFBankState_32f* pFBank) { return initIn(pFBank, kLowBank); }
ZELSR_API ZelStatus zelsMelFBankInitLow_Aurora_16s(ZelFBankState_16s* pFBank) { return initIn(pFBank, kLowBank); }
ZELSR_API ZelStatus zelsMelFBankInitHigh_Aurora_32f(ZelFBankState_32f* pFBank) { return initIn(pFBank, kHighBank); }
ZELSR_API ZelStatus zelsMelFBankInitHigh_Aurora_16s(ZelFBankState_16s* pFBank) { return initIn(pFBank, kHighBank); }

ZELSR_API ZelStatus zelsMelFBankInitAllocLow_Aurora_32f(ZelFBankState_32f** ppFBank) {
    return initAlloc(ppFBank, kLowBank);
}
ZELSR_API ZelStatus zelsMelFBankInitAllocLow_Aurora_16s(ZelFBankState_16s** ppFBank) {
    return initAlloc(ppFBank, kLowBank);
}
ZELSR_API ZelStatus zelsMelFBankInitAllocHigh_Aurora_32f(ZelFBankState_32f** ppFBank) {
    return initAlloc(ppFBank, kHighBank);
}
ZELSR_API ZelStatus zelsMelFBankInitAllocHigh_Aurora_16s(ZelFBankState_16s** ppFBank) {
    return initAlloc(ppFBank, kHighBank);
}

}  // extern "C"
