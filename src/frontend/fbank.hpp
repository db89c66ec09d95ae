// SPDX-License-Identifier: Apache-2.0
// The filter-bank records and their row tables. The mel builders of this
// family and the Aurora bank builders fill the same records through the same
// layout helpers, and the evaluation, accessors and release read them.
//
// Sizes are counted with the real width of a pointer: the byte counts of the
// 32-bit library hold where a pointer takes 4 bytes, and grow by the extra
// width of every pointer of a record or row table elsewhere.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "frame/toolkit.h"
#include "zelsr.h"

namespace zel::fbank {

// Kind words at the head of every record, so that a bank of another kind, a
// released one or memory that holds none is refused instead of followed.
constexpr Zel32u kTag32f = 0x46423346u;  // "F3BF"
constexpr Zel32u kTag16s = 0x46423631u;  // "16BF"
constexpr Zel32u kTag32s = 0x46423353u;  // "S3BF"

constexpr int kPointerExtra = int(sizeof(void*)) - 4;

// Weights of bank rows and the Q-format of the 16-bit bank.
constexpr int kCoeffShift16s = 14;

// Left rows are laid out this many elements wider, and their row pointers
// moved on by as many, so that vector code may write ahead of index 0 and
// left element 1 shares the 16-byte alignment of right element 0.
constexpr int kLeftLead = 3;

// The FFT length never exceeds 2^30, so that it fits the int fields.
constexpr int kMaxWinSize = 1 << 30;

// Where a bank's memory came from, and so what its release does.
enum Ownership : Zel8u {
    kCallerMemory = 0,    // an Init builder: the caller releases the block; Free refuses it
    kSeparateBlocks = 1,  // centres, each row table, scratch and plan are zelMalloc blocks of their own
    kOneBlock = 2,        // the record heads one zelMalloc block that holds everything, plan included
};

constexpr int64_t roundUp(int64_t v, int64_t a) { return (v + a - 1) / a * a; }

template <class T>
inline T* alignUp32(void* p) {
    return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(p) + 31) & ~uintptr_t(31));
}

// Row elements are 4 bytes wide in every bank.
constexpr int64_t rowPitch(int width) { return roundUp(width, 8); }

// One block: `rows` row pointers, then from the next 32-byte boundary the
// rows, each `width` elements rounded up to eight. With a block that starts
// 32-byte aligned this is all the block needs; the Aurora formula
// (R + 7 + ((L + 7) & ~7) * R) * 4 for 4-byte pointers.
constexpr int64_t rowTableBytes(int rows, int width) {
    return int64_t(rows) * int64_t(sizeof(void*)) + 28 + 4 * rowPitch(width) * rows;
}

// Lays a row table out in `block` (32-byte aligned), clears all its rows and
// returns the table of row pointers, each moved on by `lead` elements.
template <class W>
W** layoutRowTable(void* block, int rows, int width, int lead) {
    W** table = static_cast<W**>(block);
    W* first = alignUp32<W>(table + rows);
    const int64_t pitch = rowPitch(width);
    memset(first, 0, size_t(4 * pitch * rows));
    for (int r = 0; r < rows; ++r) table[r] = first + r * pitch + lead;
    return table;
}

// Bins and the FFT length of a window: fftLen is the smallest power of two at
// or above winSize, never below 2.
struct FftSize {
    int order;
    int len;
};
constexpr FftSize fftSizeOf(int winSize) {
    FftSize f{1, 2};
    while (f.len < winSize) ++f.order, f.len *= 2;
    return f;
}

// The record of the float and the 16-bit bank. W is the row element type,
// Plan the type of the FFT plan of the magnitude path. A builder clears the record, sets
// its pointers and ownership, lays out both row tables with layoutRowTable
// (left rows fftLen/2 + kLeftLead wide and led by kLeftLead, right rows
// fftLen/2 wide), fills centres and rows, calls initRecord, sets isReady, and
// writes the kind word last.
template <class W, class Plan>
struct Record {
    Zel32u tag;            // kind word; cleared on release
    Zel32s* pCenters;      // c[0] .. c[nFilter + 1]
    W** ppLeftCoeffs;      // nFilter + 2 rows; row i-1 rises into filter i
    W** ppRightCoeffs;     // nFilter + 2 rows; row i-1 falls out of filter i
    Zel32s mode;
    Zel32s fftLen;
    Zel32s fftOrder;
    Zel32s nFilter;
    Zel32s nLinear;
    Zel32f melMul;
    Zel32f melDiv;
    Zel8u isReady;         // the centres are valid
    Zel8u ownsMemory;      // an Ownership
    Plan* pFFTSpec;        // forward real FFT plan, magnitude input only
    W* pWork;              // unfolded spectrum, then its magnitudes; magnitude input only
    Zel8u* pFFTWork;       // the transform's own scratch; magnitude input only
};

}  // namespace zel::fbank

struct ZelFBankState_32f : zel::fbank::Record<Zel32f, ZelFFTSpec_R_32f> {};

struct ZelFBankState_16s : zel::fbank::Record<Zel32s, ZelFFTSpec_R_16s32s> {
    Zel32s coeffShift;  // always 14: the weights are Q14
};

// The integer bank: Q30 weights, rows fftLen/2 wide, no magnitude path and no
// release of its own.
struct ZelFBankState_32s {
    Zel32u tag;
    Zel32s* pCenters;
    Zel32s** ppLeftCoeffs;
    Zel32s** ppRightCoeffs;
    Zel32s mode;
    Zel32s nFilter;
    Zel32s nBins;  // fftLen/2 + 1
};

namespace zel::fbank {

// What differs between the float and the 16-bit bank.
template <class S>
struct Kind;

template <>
struct Kind<ZelFBankState_32f> {
    using Weight = Zel32f;
    using Plan = ZelFFTSpec_R_32f;
    static constexpr Zel32u kTag = kTag32f;
    static constexpr int kRecordBytes32 = 84;  // the record with 4-byte pointers
    static ZelStatus fftGetSize(int order, int* plan, int* init, int* work) {
        return ownFFTGetSize_R_32f(order, 8, zelAlgHintAccurate, plan, init, work);
    }
    static ZelStatus fftInit(Plan** pp, int order, Zel8u* plan, Zel8u* init) {
        return ownFFTInit_R_32f(pp, order, 8, zelAlgHintAccurate, plan, init);
    }
    static ZelStatus fftInitAlloc(Plan** pp, int order) {
        return ownFFTInitAlloc_R_32f(pp, order, 8, zelAlgHintAccurate);
    }
    static ZelStatus fftFree(Plan* p) { return ownFFTFree_R_32f(p); }
    static void setShift(ZelFBankState_32f&) {}
};

template <>
struct Kind<ZelFBankState_16s> {
    using Weight = Zel32s;
    using Plan = ZelFFTSpec_R_16s32s;
    static constexpr Zel32u kTag = kTag16s;
    static constexpr int kRecordBytes32 = 88;
    static ZelStatus fftGetSize(int order, int* plan, int* init, int* work) {
        return ownFFTGetSize_R_16s32s(order, 8, zelAlgHintAccurate, plan, init, work);
    }
    static ZelStatus fftInit(Plan** pp, int order, Zel8u* plan, Zel8u* init) {
        return ownFFTInit_R_16s32s(pp, order, 8, zelAlgHintAccurate, plan, init);
    }
    static ZelStatus fftInitAlloc(Plan** pp, int order) {
        return ownFFTInitAlloc_R_16s32s(pp, order, 8, zelAlgHintAccurate);
    }
    static ZelStatus fftFree(Plan* p) { return ownFFTFree_R_16s32s(p); }
    static void setShift(ZelFBankState_16s& b) { b.coeffShift = kCoeffShift16s; }
};

// The record's share of a size query: its 32-bit size plus the extra width
// of its five pointers, and never less than the record itself.
template <class S>
constexpr int64_t recordBytes() {
    constexpr int64_t formula = Kind<S>::kRecordBytes32 + 5 * kPointerExtra;
    return formula > int64_t(sizeof(S)) ? formula : int64_t(sizeof(S));
}
static_assert(sizeof(void*) != 4 || sizeof(ZelFBankState_32f) <= 84, "the 32-bit record fits its share");
static_assert(sizeof(void*) != 4 || sizeof(ZelFBankState_16s) <= 88, "the 32-bit record fits its share");

// Scratch of the magnitude path, in elements: the unfolded spectrum of
// fftLen + 2 values, then from the next 16-byte boundary fftLen/2 + 1
// magnitudes.
constexpr int magnitudeOffset(int fftLen) { return int(roundUp(int64_t(fftLen) + 2, 4)); }
constexpr int64_t scratchElements(int fftLen) { return magnitudeOffset(fftLen) + fftLen / 2 + 1; }

// The first fields of a float or 16-bit record, as every builder sets them;
// the pointers are the caller's.
template <class S>
void initRecord(S& b, int mode, FftSize fft, int nFilter, int nLinear, Zel32f melMul, Zel32f melDiv) {
    b.mode = mode;
    b.fftLen = fft.len;
    b.fftOrder = fft.order;
    b.nFilter = nFilter;
    b.nLinear = nLinear;
    b.melMul = melMul;
    b.melDiv = melDiv;
    Kind<S>::setShift(b);
}

// Centres as every accessor checks them: all within 0 .. fftLen/2 and in
// ascending order, equal neighbours allowed.
inline bool centresValid(const Zel32s* c, int nFilter, int half) {
    if (c[0] < 0 || c[nFilter + 1] > half) return false;
    for (int i = 1; i <= nFilter + 1; ++i)
        if (c[i] < c[i - 1]) return false;
    return true;
}

}  // namespace zel::fbank
