// SPDX-License-Identifier: Apache-2.0
// Dynamic time warping: one single-precision engine over tables of row
// pointers. The block layout builds those tables; the integer forms convert
// their vectors to singles first and the cost back to a scaled integer.
#include <stdint.h>
#include <string.h>

#include <type_traits>

#include "alignment/dtw_kernels.hpp"
#include "frame/checks.hpp"
#include "frame/toolkit.h"
#include "zelcore.h"

using namespace zel;

namespace {

// Memory that lives on the stack up to `Bytes` and comes from the library's
// allocator above that; released on every exit.
template <size_t Bytes>
class Scratch {
public:
    void* get(int64_t bytes) {
        if (bytes <= int64_t(Bytes)) return local_;
        if (uint64_t(bytes) > SIZE_MAX / 2) return nullptr;
        heap_ = zelMalloc(size_t(bytes));
        return heap_;
    }
    ~Scratch() { zelFree(heap_); }

private:
    alignas(16) unsigned char local_[Bytes];
    void* heap_ = nullptr;
};

// Both sequences as singles behind row pointers; the longer one gives the rows.
ZelStatus run(const float* const* mSrc1, int height1, const float* const* mSrc2, int height2, int width, int delta,
              float beam, float* pCost) {
    const bool swap = height1 < height2;
    const float* const* rows = swap ? mSrc2 : mSrc1;
    const float* const* cols = swap ? mSrc1 : mSrc2;
    const int n = swap ? height2 : height1, m = swap ? height1 : height2;

    Scratch<dtw::kStackElements * 4> work;
    Scratch<4096> columns;
    if (dtw::blockFloats(m, width) > (int64_t(1) << 40)) return zelStsMemAllocErr;
    void* mem = work.get(dtw::workElements(n, m) * 4);
    float* blocks = static_cast<float*>(columns.get(dtw::blockFloats(m, width) * 4));
    if (!mem || !blocks) return zelStsMemAllocErr;
    float* D = static_cast<float*>(mem);
    float* d = D + dtw::rowFloats(m);
    int32_t* upper = reinterpret_cast<int32_t*>(D + 2 * dtw::rowFloats(m));
    int32_t* lower = upper + dtw::tableInts(n);
    dtw::interleave(cols, m, width, blocks);
    *pCost = dtw::align(rows, n, blocks, m, width, delta, beam, D, d, upper, lower);
    return zelStsNoErr;
}

ZelStatus checks(const void* pSrc1, int height1, const void* pSrc2, int height2, int width, int step,
                 const void* pDist) {
    return firstError(requireNonNull(pSrc1, pSrc2, pDist), requirePositive(height1, height2, width),
                      require(step >= width, zelStsSizeErr));
}

// Row pointers into a block: row y at pSrc + y * step.
template <class T>
void rowTable(const T* pSrc, int height, int step, const T** table) {
    for (int y = 0; y < height; ++y) table[y] = pSrc + int64_t(y) * step;
}

ZelStatus blockFloat(const Zel32f* pSrc1, int height1, const Zel32f* pSrc2, int height2, int width, int step,
                     Zel32f* pDist, int delta, Zel32f beam) {
    if (ZelStatus s = checks(pSrc1, height1, pSrc2, height2, width, step, pDist)) return s;
    Scratch<2048> tables;
    auto** t = static_cast<const float**>(tables.get((int64_t(height1) + height2) * int64_t(sizeof(float*))));
    if (!t) return zelStsMemAllocErr;
    rowTable(pSrc1, height1, step, t);
    rowTable(pSrc2, height2, step, t + height1);
    return run(t, height1, t + height1, height2, width, delta, beam, pDist);
}

void widen(const Zel8u* p, float* q, int len) { ownConvert_8u32f(p, q, len); }
void widen(const Zel16s* p, float* q, int len) { ownConvert_16s32f(p, q, len); }

// The integer forms: singles in one allocated block behind one table of row
// pointers, the engine, then the cost rounded to nearest and scaled.
// `Rows` is a table of row pointers (D2L) or a block with a step (D2).
template <class T, class Row1, class Row2>
ZelStatus integerForm(Row1 row1, int height1, Row2 row2, int height2, int width, Zel32s* pDist, int delta,
                      int beam, int scaleFactor) {
    const int64_t heights = int64_t(height1) + height2;
    // Beyond 2^40 elements no allocation can succeed; the test also keeps the
    // byte count below from overflowing.
    if (heights * int64_t(width) > (int64_t(1) << 40)) return zelStsMemAllocErr;
    const int64_t bytes = heights * int64_t(sizeof(float*)) + heights * int64_t(width) * 4 + 16;
    if (uint64_t(bytes) > SIZE_MAX / 2) return zelStsMemAllocErr;
    void* mem = zelMalloc(size_t(bytes));
    if (!mem) return zelStsMemAllocErr;
    auto** table = static_cast<const float**>(mem);
    float* copy = reinterpret_cast<float*>((reinterpret_cast<uintptr_t>(table + heights) + 15) & ~uintptr_t(15));
    for (int y = 0; y < height1; ++y, copy += width) {
        widen(row1(y), copy, width);
        table[y] = copy;
    }
    for (int y = 0; y < height2; ++y, copy += width) {
        widen(row2(y), copy, width);
        table[height1 + y] = copy;
    }
    float cost = 0.0f;
    ZelStatus s = run(table, height1, table + height1, height2, width, delta, float(beam), &cost);
    zelFree(mem);
    if (s) return s;
    return ownConvert_32f32s_Sfs(&cost, pDist, 1, 1, scaleFactor);
}

template <class T>
ZelStatus tableInteger(const T** mSrc1, int height1, const T** mSrc2, int height2, int width, Zel32s* pDist,
                       int delta, int beam, int scaleFactor) {
    if (ZelStatus s = checks(mSrc1, height1, mSrc2, height2, width, width, pDist)) return s;
    return integerForm<T>([=](int y) { return mSrc1[y]; }, height1, [=](int y) { return mSrc2[y]; }, height2,
                          width, pDist, delta, beam, scaleFactor);
}

template <class T>
ZelStatus blockInteger(const T* pSrc1, int height1, const T* pSrc2, int height2, int width, int step,
                       Zel32s* pDist, int delta, int beam, int scaleFactor) {
    if (ZelStatus s = checks(pSrc1, height1, pSrc2, height2, width, step, pDist)) return s;
    return integerForm<T>([=](int y) { return pSrc1 + int64_t(y) * step; }, height1,
                          [=](int y) { return pSrc2 + int64_t(y) * step; }, height2, width, pDist, delta, beam,
                          scaleFactor);
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsDTW_L2_32f_D2L(const Zel32f** mSrc1, int height1, const Zel32f** mSrc2, int height2,
                                       int width, Zel32f* pDist, int delta, Zel32f beam) {
    if (ZelStatus s = checks(mSrc1, height1, mSrc2, height2, width, width, pDist)) return s;
    return run(mSrc1, height1, mSrc2, height2, width, delta, beam, pDist);
}

ZELSR_API ZelStatus zelsDTW_L2_32f_D2(const Zel32f* pSrc1, int height1, const Zel32f* pSrc2, int height2,
                                      int width, int step, Zel32f* pDist, int delta, Zel32f beam) {
    return blockFloat(pSrc1, height1, pSrc2, height2, width, step, pDist, delta, beam);
}

ZELSR_API ZelStatus zelsDTW_L2_8u32s_D2LSfs(const Zel8u** mSrc1, int height1, const Zel8u** mSrc2, int height2,
                                            int width, Zel32s* pDist, int delta, int beam, int scaleFactor) {
    return tableInteger(mSrc1, height1, mSrc2, height2, width, pDist, delta, beam, scaleFactor);
}

ZELSR_API ZelStatus zelsDTW_L2_8u32s_D2Sfs(const Zel8u* pSrc1, int height1, const Zel8u* pSrc2, int height2,
                                           int width, int step, Zel32s* pDist, int delta, int beam,
                                           int scaleFactor) {
    return blockInteger(pSrc1, height1, pSrc2, height2, width, step, pDist, delta, beam, scaleFactor);
}

ZELSR_API ZelStatus zelsDTW_L2Low_16s32s_D2LSfs(const Zel16s** mSrc1, int height1, const Zel16s** mSrc2,
                                                int height2, int width, Zel32s* pDist, int delta, int beam,
                                                int scaleFactor) {
    return tableInteger(mSrc1, height1, mSrc2, height2, width, pDist, delta, beam, scaleFactor);
}

ZELSR_API ZelStatus zelsDTW_L2Low_16s32s_D2Sfs(const Zel16s* pSrc1, int height1, const Zel16s* pSrc2,
                                               int height2, int width, int step, Zel32s* pDist, int delta,
                                               int beam, int scaleFactor) {
    return blockInteger(pSrc1, height1, pSrc2, height2, width, step, pDist, delta, beam, scaleFactor);
}

}  // extern "C"
