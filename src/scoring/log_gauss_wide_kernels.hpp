// SPDX-License-Identifier: Apache-2.0
// The wide kernels of Gaussian scoring, written once over a block vocabulary
// V (simd::avx2::Blocks with two 128-bit blocks per register, or
// simd::avx512::Blocks with four) and instantiated in the AVX2 and AVX-512
// files only. Every function is a template over V, so that the two
// instruction sets never share a compiled copy.
//
// Rows go in blocks of N = 4 * kBlocks. Accumulator q holds row
// kBlocks * q + k in block k, with the four lanes that the 128-bit kernels
// keep for that row; after the column groups the accumulators are transposed
// within their blocks, so that lane r of block k holds the sum of that same
// row, and one permutation puts the sums in row order. An accumulator's rows
// are neighbours in memory, so reading them in turn runs forward through the
// matrices, which the processor's prefetchers follow once the matrices have
// left the cache.
//
// The groups of columns are read a row at a time: one full-width load of a
// row holds kBlocks consecutive groups, one per block. Their terms are formed
// at full width, and a transpose of whole blocks across kBlocks rows turns
// them into one group of kBlocks rows per register, which is subtracted in
// column order. So each row's lanes see their terms in the order of the
// 128-bit kernels, while the loads and the products run at the full width
// and only the terms are moved between blocks.
//
// Nothing is read past a row's width: the full-width loads stop at the last
// whole run of groups; after it, single precision loads only the elements
// left (masked loads), and 16-bit data goes group by group and takes its
// tail columns from the row's last eight elements, which lie in the row.
#pragma once

#include <stdint.h>

#include "scoring/log_gauss_wide.hpp"

namespace zel::gauss::wide {

// (x - mean)^2 * w, the square first; without weights just the square.
template <class V, bool Weighted>
inline typename V::F term(typename V::F d, typename V::F w) {
    if constexpr (Weighted) return V::mul(V::mul(d, d), w);
    else return V::mul(d, d);
}

// The row pointers of one block of rows.
template <class V, class T>
struct BlockPtrs {
    static constexpr int kN = 4 * V::kBlocks;
    const T* p[kN];
    // A shared vector needs only p[0]; strided rows are a base and a
    // pitch, with no test per row.
    BlockPtrs(const RowRef& r, int y0, bool onlyFirst = false) {
        if (r.table) {
            for (int i = 0; i < kN; ++i) p[i] = static_cast<const T*>(r.table[y0 + i]);
        } else if (onlyFirst || r.pitch == 0) {
            for (int i = 0; i < kN; ++i) p[i] = static_cast<const T*>(r.base);
        } else {
            const char* b = static_cast<const char*>(r.base) + y0 * r.pitch;
            for (int i = 0; i < kN; ++i) p[i] = reinterpret_cast<const T*>(b + i * r.pitch);
        }
    }
    // The row that accumulator q holds in block k.
    static constexpr int rowOf(int q, int k) { return V::kBlocks * q + k; }
    // Columns j onward of the rows of accumulator q, in blocks 0, 1, ...
    const T* const* strided(int q, int j, const T* (&buf)[V::kBlocks]) const {
        for (int k = 0; k < V::kBlocks; ++k) buf[k] = p[rowOf(q, k)] + j;
        return buf;
    }
};

// ---- Single precision ----------------------------------------------------------

// -S of one block from y0 on, as floatRows of log_gauss_kernels.hpp forms it:
// each lane subtracts its columns' terms from +0 over the groups of four,
// the lanes are folded as (0 + 2) + (1 + 3), and the last width modulo 4
// columns are subtracted one by one. The columns after the last full-width
// load come in one load that stops at the row's end; its whole groups go
// into the lanes, and its last, partial group holds the tail columns, which
// the same transpose as the lanes' puts into the layout of the folded sums.
// Accumulator q takes all the columns of its rows before accumulator q + 1
// starts, so a block's rows are read in their order in memory.
template <class V, bool MShared, bool WShared, bool Weighted>
void floatBlock(const RowRef& xr, const RowRef& mr, const RowRef& wr, int width, int y0, float* out) {
    using F = typename V::F;
    constexpr int Q = V::kBlocks;
    const BlockPtrs<V, float> x(xr, y0), m(mr, y0, MShared), w(wr, y0, WShared || !Weighted);
    F acc[4], tail[4];
    for (F& a : acc) a = V::zero();
    // The terms of columns j to j + n - 1 of the rows of accumulator q, one
    // group of kBlocks rows per register.
    auto terms = [&](int q, int j, int n, F mv, F wv, F (&t)[Q]) {
        auto load = [n](const float* p) { return n == 4 * V::kBlocks ? V::loadu(p) : V::loadFirst(p, n); };
        for (int k = 0; k < Q; ++k) {
            const int r = x.rowOf(q, k);
            const F d = V::sub(load(x.p[r] + j), MShared ? mv : load(m.p[r] + j));
            F wk{};
            if constexpr (Weighted) wk = WShared ? wv : load(w.p[r] + j);
            t[k] = term<V, Weighted>(d, wk);
        }
        V::transposeBlocks(t);
    };
    const int full = width - width % (4 * Q), rest = width - full, groups = rest / 4, tailCols = rest % 4;
    for (int q = 0; q < 4; ++q) {
        for (int j = 0; j < full; j += 4 * Q) {
            F mv{}, wv{};
            if constexpr (MShared) mv = V::loadu(m.p[0] + j);
            if constexpr (Weighted && WShared) wv = V::loadu(w.p[0] + j);
            F t[Q];
            terms(q, j, 4 * Q, mv, wv, t);
            for (int g = 0; g < Q; ++g) acc[q] = V::sub(acc[q], t[g]);
        }
        if (rest > 0) {
            F mv{}, wv{};
            if constexpr (MShared) mv = V::loadFirst(m.p[0] + full, rest);
            if constexpr (Weighted && WShared) wv = V::loadFirst(w.p[0] + full, rest);
            F t[Q];
            terms(q, full, rest, mv, wv, t);
            // Loops of fixed length with tests keep t in registers.
            for (int g = 0; g < Q; ++g) {
                if (g < groups) acc[q] = V::sub(acc[q], t[g]);
                if (g == groups) tail[q] = t[g];
            }
        }
    }
    V::transpose4(acc[0], acc[1], acc[2], acc[3]);
    F s = V::add(V::add(acc[0], acc[2]), V::add(acc[1], acc[3]));
    if (tailCols > 0) {
        V::transpose4(tail[0], tail[1], tail[2], tail[3]);
        for (int c = 0; c < 4; ++c)
            if (c < tailCols) s = V::sub(s, tail[c]);
    }
    V::storeu(out + y0, V::blocksToRows(s));
}

template <class V, bool MShared, bool WShared, bool Weighted>
void floatBlocks(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    for (int y0 = 0; y0 < rows; y0 += 4 * V::kBlocks) floatBlock<V, MShared, WShared, Weighted>(x, m, w, width, y0, out);
}

// Picks the instantiation for the sharing of the mean and the weights; a
// frame against one Gaussian shares both, one frame against many Gaussians
// shares the frame (passed as the mean).
template <class V>
void floatSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    const bool weighted = w.base != nullptr || w.table != nullptr;
    if (!weighted) {
        if (m.shared()) floatBlocks<V, true, true, false>(x, m, w, width, rows, out);
        else floatBlocks<V, false, true, false>(x, m, w, width, rows, out);
    } else if (m.shared()) {
        if (w.shared()) floatBlocks<V, true, true, true>(x, m, w, width, rows, out);
        else floatBlocks<V, true, false, true>(x, m, w, width, rows, out);
    } else {
        if (w.shared()) floatBlocks<V, false, true, true>(x, m, w, width, rows, out);
        else floatBlocks<V, false, false, true>(x, m, w, width, rows, out);
    }
}

// ---- 16-bit data, single-precision lanes ------------------------------------------

// Columns base to base + 7 of the rows of a block as singles, as eight
// registers whose lane r is row r.
template <class V, bool Shared>
inline void columns8(const BlockPtrs<V, int16_t>& b, int base, typename V::F (&c)[8]) {
    if constexpr (Shared) {
        for (int k = 0; k < 8; ++k) c[k] = V::set1(static_cast<float>(b.p[0][base + k]));
    } else {
        const int16_t* buf[V::kBlocks];
        for (int q = 0; q < 4; ++q) {
            const typename V::I v = V::loadBlocks(b.strided(q, base, buf));
            c[q] = V::cvt(V::widenLo(v));
            c[q + 4] = V::cvt(V::widenHi(v));
        }
        V::transpose4(c[0], c[1], c[2], c[3]);
        V::transpose4(c[4], c[5], c[6], c[7]);
    }
}

// The sums of wideRows in log_gauss_kernels.hpp for one block: differences
// saturated to 16 bits in groups of eight and widened to single precision;
// with weights lane i subtracts the terms of columns i and then i + 4 of
// each group (T = -S); without, the 32-bit pair sums are added on lane i for
// pair i (S); the last width modulo 8 columns with their exact differences
// into lane 0; then the fold.
template <class V, bool MShared, bool WShared, bool Weighted>
void wideBlock(const RowRef& xr, const RowRef& mr, const RowRef& wr, int width, int y0, float* out) {
    using F = typename V::F;
    using I = typename V::I;
    constexpr int Q = V::kBlocks;
    const BlockPtrs<V, int16_t> x(xr, y0), m(mr, y0, MShared), w(wr, y0, WShared || !Weighted);
    F acc[4];
    for (F& a : acc) a = V::zero();
    // One group of eight columns of kBlocks rows, in whatever arrangement of
    // blocks the loads gave: the terms of its low and high halves, or its
    // pair sums.
    auto groupTerms = [](I d, I wv, F& lo, F& hi) {
        if constexpr (Weighted) {
            lo = term<V, true>(V::cvt(V::widenLo(d)), V::cvt(V::widenLo(wv)));
            hi = term<V, true>(V::cvt(V::widenHi(d)), V::cvt(V::widenHi(wv)));
        } else {
            lo = V::cvt(V::madd(d, d));
            hi = lo;
        }
    };
    auto take = [](F a, F lo, F hi) {
        if constexpr (Weighted) return V::sub(V::sub(a, lo), hi);
        else return V::add(a, lo);
    };
    int j = 0;
    for (; j + 8 * Q <= width; j += 8 * Q) {
        I mv{}, wv{};
        if constexpr (MShared) mv = V::loadu(m.p[0] + j);
        if constexpr (Weighted && WShared) wv = V::loadu(w.p[0] + j);
        for (int q = 0; q < 4; ++q) {
            F lo[Q], hi[Q];
            for (int k = 0; k < Q; ++k) {
                const int r = x.rowOf(q, k);
                const I d = V::subSat(V::loadu(x.p[r] + j), MShared ? mv : V::loadu(m.p[r] + j));
                I wk{};
                if constexpr (Weighted) wk = WShared ? wv : V::loadu(w.p[r] + j);
                groupTerms(d, wk, lo[k], hi[k]);
            }
            V::transposeBlocks(lo);
            if constexpr (Weighted) V::transposeBlocks(hi);
            for (int g = 0; g < Q; ++g) acc[q] = take(acc[q], lo[g], hi[g]);
        }
    }
    for (; j + 8 <= width; j += 8) {
        const int16_t* buf[Q];
        I mv{}, wv{};
        if constexpr (MShared) mv = V::loadEvery(m.p[0] + j);
        if constexpr (Weighted && WShared) wv = V::loadEvery(w.p[0] + j);
        for (int q = 0; q < 4; ++q) {
            const I d = V::subSat(V::loadBlocks(x.strided(q, j, buf)), MShared ? mv : V::loadBlocks(m.strided(q, j, buf)));
            I wk{};
            if constexpr (Weighted) wk = WShared ? wv : V::loadBlocks(w.strided(q, j, buf));
            F lo, hi;
            groupTerms(d, wk, lo, hi);
            acc[q] = take(acc[q], lo, hi);
        }
    }
    V::transpose4(acc[0], acc[1], acc[2], acc[3]);
    if (j < width) {
        // The row's last eight columns, inside the row since width >= 8. A
        // difference of singles is exact here: it needs at most 17 bits.
        const int base = width - 8;
        F xc[8], mc[8], wc[8];
        columns8<V, false>(x, base, xc);
        columns8<V, MShared>(m, base, mc);
        if constexpr (Weighted) columns8<V, WShared>(w, base, wc);
        for (int k = 0; k < 8; ++k)
            if (base + k >= j) {
                const F d = V::sub(xc[k], mc[k]);
                if constexpr (Weighted) acc[0] = V::sub(acc[0], term<V, true>(d, wc[k]));
                else acc[0] = V::add(acc[0], term<V, false>(d, d));
            }
    }
    V::storeu(out + y0, V::blocksToRows(V::add(V::add(acc[0], acc[2]), V::add(acc[1], acc[3]))));
}

template <class V, bool MShared, bool WShared, bool Weighted>
void wideBlocks(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    for (int y0 = 0; y0 < rows; y0 += 4 * V::kBlocks) wideBlock<V, MShared, WShared, Weighted>(x, m, w, width, y0, out);
}

template <class V>
void wideSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out) {
    const bool weighted = w.base != nullptr || w.table != nullptr;
    if (!weighted) {
        if (m.shared()) wideBlocks<V, true, true, false>(x, m, w, width, rows, out);
        else wideBlocks<V, false, true, false>(x, m, w, width, rows, out);
    } else if (m.shared()) {
        if (w.shared()) wideBlocks<V, true, true, true>(x, m, w, width, rows, out);
        else wideBlocks<V, true, false, true>(x, m, w, width, rows, out);
    } else {
        if (w.shared()) wideBlocks<V, false, true, true>(x, m, w, width, rows, out);
        else wideBlocks<V, false, false, true>(x, m, w, width, rows, out);
    }
}

// ---- 16-bit data, 32-bit integer lanes ------------------------------------------------

// The first 4, 2 or 1 elements into the low lanes, the others zero; they read
// no further than those elements.
template <class V>
inline __m128i loadFirst(const int16_t* p, int n) {
    if (n == 8) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (n == 4) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    if (n == 2) {
        int32_t v;
        __builtin_memcpy(&v, p, 4);
        return _mm_cvtsi32_si128(v);
    }
    return _mm_cvtsi32_si128(static_cast<uint16_t>(*p));
}

template <class V>
inline int32_t wrapSum(__m128i a) {
    const __m128i s = _mm_add_epi32(a, _mm_shuffle_epi32(a, _MM_SHUFFLE(1, 0, 3, 2)));
    return _mm_cvtsi128_si32(_mm_add_epi32(s, _mm_shuffle_epi32(s, _MM_SHUFFLE(2, 3, 0, 1))));
}

// The Low sums of one row, each row shifted once: column pairs feed lane i
// for pair i of a group of eight (pairs 0 and 1 for the group of four, 0 for
// the last pair and the last column), H and L subtracted with wrap-around,
// then per lane H shifted left by hLeft after an arithmetic right shift by
// hRight, L arithmetically right by lRight, and the lanes summed. Integer
// sums do not depend on their order, so the groups of a full-width load
// accumulate in their own blocks and the blocks are added lane by lane at
// the end.
template <class V>
int32_t lowRow(const int16_t* x, const int16_t* m, const int16_t* w, int width, WideShifts sh) {
    using I = typename V::I;
    constexpr int kCols = 8 * V::kBlocks;
    I accH = V::zeroI(), accL = V::zeroI();
    int j = 0;
    for (; j + kCols <= width; j += kCols) {
        const I d = V::subSat(V::loadu(x + j), V::loadu(m + j));
        const I wv = V::loadu(w + j);
        accH = V::sub32(accH, V::madd(V::mulhi(d, d), wv));
        accL = V::sub32(accL, V::madd(V::srl1(V::mullo(d, d)), wv));
    }
    __m128i h = V::sumBlocks(accH), l = V::sumBlocks(accL);
    for (int n = 8; n >= 1; n /= 2)
        while (width - j >= n) {
            const __m128i d = _mm_subs_epi16(loadFirst<V>(x + j, n), loadFirst<V>(m + j, n));
            const __m128i wv = loadFirst<V>(w + j, n);
            h = _mm_sub_epi32(h, _mm_madd_epi16(_mm_mulhi_epi16(d, d), wv));
            l = _mm_sub_epi32(l, _mm_madd_epi16(_mm_srli_epi16(_mm_mullo_epi16(d, d), 1), wv));
            j += n;
            if (n < 8) break;
        }
    h = _mm_sll_epi32(_mm_sra_epi32(h, _mm_cvtsi32_si128(sh.hRight)), _mm_cvtsi32_si128(sh.hLeft));
    l = _mm_sra_epi32(l, _mm_cvtsi32_si128(sh.lRight));
    return wrapSum<V>(_mm_add_epi32(h, l));
}

template <class V>
void lowSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, WideShifts sh, int32_t* out) {
    for (int y = 0; y < rows; ++y)
        out[y] = lowRow<V>(x.row<int16_t>(y), m.row<int16_t>(y), w.row<int16_t>(y), width, sh);
}

// The IdVarLow sums of one row: each saturated pair sum of squares shifted
// by itself and subtracted, then the tail columns squared exactly, shifted
// and subtracted, all wrapping; the order does not matter to integers.
template <class V>
int32_t idLowRow(const int16_t* x, const int16_t* m, int width, int right, int left) {
    using I = typename V::I;
    constexpr int kCols = 8 * V::kBlocks;
    I acc = V::zeroI();
    int j = 0;
    for (; j + kCols <= width; j += kCols) {
        const I d = V::subSat(V::loadu(x + j), V::loadu(m + j));
        acc = V::sub32(acc, V::sll32(V::sra32(V::madd(d, d), right), left));
    }
    __m128i a = V::sumBlocks(acc);
    for (; j + 8 <= width; j += 8) {
        const __m128i d = _mm_subs_epi16(loadFirst<V>(x + j, 8), loadFirst<V>(m + j, 8));
        a = _mm_sub_epi32(a, _mm_sll_epi32(_mm_sra_epi32(_mm_madd_epi16(d, d), _mm_cvtsi32_si128(right)),
                                           _mm_cvtsi32_si128(left)));
    }
    uint32_t s = static_cast<uint32_t>(wrapSum<V>(a));
    for (; j < width; ++j) {
        const int32_t d = int32_t{x[j]} - m[j];
        const int32_t sq = static_cast<int32_t>(static_cast<uint32_t>(d) * static_cast<uint32_t>(d)) >> right;
        s -= left >= 32 ? 0u : static_cast<uint32_t>(sq) << left;
    }
    return static_cast<int32_t>(s);
}

template <class V>
void idLowSums(const RowRef& x, const RowRef& m, int width, int rows, int right, int left, int32_t* out) {
    for (int y = 0; y < rows; ++y) out[y] = idLowRow<V>(x.row<int16_t>(y), m.row<int16_t>(y), width, right, left);
}

}  // namespace zel::gauss::wide
