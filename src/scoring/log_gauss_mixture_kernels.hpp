// SPDX-License-Identifier: Apache-2.0
// Arithmetic of mixture evaluation (zelsLogGaussMixture): the log-likelihood
// of a frame under a whole diagonal mixture, log of the sum over y of
// exp(val[y] - S[y] / 2), and of many frames under the Gaussians that a bit
// table selects for each of them.
//
// A score is that of the multi-mixture kernels (plain members) or of
// single-vector scoring (IdVar and Select members), run through the
// frame-scoring kernels with row accessors, but for the plain loop of
// IdVar_32f_D2; a fold is a log-add of the single or the double set. What
// is decided here is the order in which scores meet:
//   - plain members: blocks of 100 Gaussians, each block folded by the
//     lane-order log-sum, a later block with the running value in front;
//   - IdVar_32f_D2: its scores folded one by one from the first, by the
//     scalar fold in double;
//   - Select, tuned: per frame, in order of the Gaussian, by the fast fold,
//     in one of two lane orders (small table, large table).
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>
#include <type_traits>

#include "frame/toolkit.h"
#include "scoring/log_domain_kernels.hpp"
#include "scoring/log_gauss_multimix_kernels.hpp"

namespace zel::gauss::mix {

using namespace acc;

// ---- The scores, named by their formula ------------------------------------------------
// Each is run on rows that say what meets what: for the plain members the
// mean rows against the frame (mean minus frame, as the multi-mixture
// kernels take it), for the IdVar and Select members the frame against the
// mean rows (frame minus mean, as single-vector scoring takes it). k holds
// one constant per row; `out` takes the scores.

// Row y of W as one vector, or no weights.
template <class W>
auto weightRow(W w, int y) {
    if constexpr (kWeighted<W>) return SameRow<typename W::Elem>{w(y)};
    else return w;
}

// -S * 0.5 + k in the precision of the data: the multi-mixture score of
// single precision, and the single-vector IdVar score of double precision.
struct HalfPlusConst {
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        halfPlusConst(r, count, k, out);
    }
};

// (2 * k - S) * 0.5 in single precision, the single-vector score; below
// width 4 the terms come off 2 * k one by one, column by column.
struct TwiceConstThenHalf {
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        if (r.width >= 4) {
            halfOfSumPlusTwice(r, count, k, out);
            return;
        }
        for (int y = 0; y < count; ++y)
            columnSums(SameRow<float>{r.x(y)}, SameRow<float>{r.m(y)}, weightRow(r.w, y), r.width, 1,
                       2.0f * constAt<float>(k, y), [&](int, float t) { out(y, t * 0.5f); });
    }
};

// (2 * k - S) * 0.5 in double precision, the multi-mixture score (its own
// loop starts at 1000 rows, beyond a block).
struct MultiMix64f {
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        multiMixScore64f(r, count, k, out);
    }
};

// T * c + k with weights, k - S * c without; c = 2^-(s + 1), clamped.
struct ScaledSum {
    float c;
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        scaled(r, count, c, k, out);
    }
};

// The Low paths plus k.
struct LowScaledSum {
    int scaleFactor;
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        lowScaled(r, count, scaleFactor, k, out);
    }
};

// k - S by the scale rule of frame scoring, without weights.
struct IdVarLowScaledSum {
    int scaleFactor;
    template <class R, class K, class Out>
    void operator()(const R& r, int count, K k, Out out) const {
        idVarLowScaled(r, count, scaleFactor, k, out);
    }
};

// ---- Plain members: blocks of 100 Gaussians ----------------------------------------

constexpr int kBlock = 100;

inline float logSumOf(const float* p, int n) {
    float r;
    ownLogSum_32f(p, &r, n);
    return r;
}
inline double logSumOf(const double* p, int n) {
    double r;
    ownLogSum_64f(p, &r, n);
    return r;
}

template <class T>
using StoreOf = std::conditional_t<std::is_same_v<T, float>, Store32f, Store64f>;

// The log-sum of the scores of `height` Gaussians, the rows of r. Each block
// of at most 100 is copied from pVal to the scratch behind its first element
// and scored in place, the constants read before their scores are written.
// The first block is folded from its first score; a later one with the
// running value in the scratch's first element, so that it is the first
// operand. The lane order of the log-sum thus restarts with every block.
template <class R, class T, class Score>
T blockLogSum(const R& r, const T* pVal, int height, Score score) {
    alignas(32) T scratch[kBlock + 1];
    T* const s = scratch + 1;
    T running = T(0);
    for (int first = 0; first < height; first += kBlock) {
        const int n = height - first < kBlock ? height - first : kBlock;
        for (int i = 0; i < n; ++i) s[i] = pVal[first + i];
        score(r.from(first), n, RowConst<T>{s}, StoreOf<T>{s});
        if (first == 0) {
            running = logSumOf(s, n);
        } else {
            scratch[0] = running;
            running = logSumOf(scratch, n + 1);
        }
    }
    return running;
}

// ---- IdVar_32f_D2: the scores folded one by one ------------------------------------

// (2 * v - S) * 0.5 in single precision, S summed from 0 column by column,
// four rows at a time and then the rest. The first score is the running
// value; each further one is folded into it, in row order, by the scalar
// fold in double with the single set's coefficients, rounded to single.
inline float idVarOneByOne(const float* x, BlockRows<float> mean, int width, const float* pVal, int height) {
    float running = 0.0f;
    auto take = [&](int y, float s) {
        const float g = (2.0f * pVal[y] - s) * 0.5f;
        running = y == 0 ? g : static_cast<float>(logd::foldHorner<logd::Set32>(g, running));
    };
    int y = 0;
    for (; y + 4 <= height; y += 4) {
        const float* m0 = mean(y);
        const float* m1 = mean(y + 1);
        const float* m2 = mean(y + 2);
        const float* m3 = mean(y + 3);
        float s0 = 0.0f, s1 = 0.0f, s2 = 0.0f, s3 = 0.0f;
        for (int j = 0; j < width; ++j) {
            const float d0 = x[j] - m0[j], d1 = x[j] - m1[j], d2 = x[j] - m2[j], d3 = x[j] - m3[j];
            s0 = s0 + d0 * d0;
            s1 = s1 + d1 * d1;
            s2 = s2 + d2 * d2;
            s3 = s3 + d3 * d3;
        }
        take(y, s0);
        take(y + 1, s1);
        take(y + 2, s2);
        take(y + 3, s3);
    }
    for (; y < height; ++y) {
        const float* m = mean(y);
        float s = 0.0f;
        for (int j = 0; j < width; ++j) {
            const float d = x[j] - m[j];
            s = s + d * d;
        }
        take(y, s);
    }
    return running;
}

// ---- Select members: the selection table ---------------------------------------------

// Bytes of a row of the table: one bit per Gaussian, packed from the most
// significant bit.
inline ptrdiff_t selectRowBytes(int nGauss) { return (static_cast<ptrdiff_t>(nGauss) + 7) / 8; }

inline bool selected(const Zel8u* row, int g) { return (row[g >> 3] & (0x80u >> (g & 7))) != 0; }

// The selected Gaussians of a row, in increasing order, up to four at a
// time; the bits of the last byte past nGauss are not Gaussians and are
// not read.
class SelectedGaussians {
public:
    SelectedGaussians() = default;
    SelectedGaussians(const Zel8u* row, int nGauss)
        : row_(row), bytes_(selectRowBytes(nGauss)), lastMask_(0xFF00u >> (nGauss % 8 == 0 ? 8 : nGauss % 8)) {
        load();
    }
    // The next (up to) four into g, and their number: fewer than four only
    // at the end of the row.
    int next4(int32_t* g) {
        int n = 0;
        while (n < 4) {
            while (bits_ == 0) {
                if (++byte_ >= bytes_) return n;
                load();
            }
            const int k = std::countl_zero(static_cast<uint8_t>(bits_));
            g[n++] = static_cast<int32_t>(byte_ * 8 + k);
            bits_ &= ~(0x80u >> k);
        }
        return n;
    }

private:
    void load() { bits_ = row_[byte_] & (byte_ == bytes_ - 1 ? lastMask_ : 0xFFu); }
    const Zel8u* row_ = nullptr;
    ptrdiff_t bytes_ = 0;
    unsigned lastMask_ = 0;
    ptrdiff_t byte_ = 0;
    unsigned bits_ = 0;
};

// ---- Select members: the general path ----------------------------------------------

// Gaussian by Gaussian, and within each frame by frame: a selected pair is
// scored by `score(f, g)`, stored if it is the frame's first, else folded
// into pDst[f] by the accurate log-add of one element. The counters are 16
// bits wide: after 65536 selections a frame's count is 0 again, so that a
// further score replaces its running value, and without one the frame gets
// noneValue.
template <class Score>
void generalSelect(const Zel8u* pSelect, int nGauss, Zel32f* pDst, int height, Zel32f noneValue, uint16_t* count,
                   Score score) {
    const ptrdiff_t rowBytes = selectRowBytes(nGauss);
    for (int f = 0; f < height; ++f) {
        count[f] = 0;
        pDst[f] = static_cast<Zel32f>(logd::Set32::kFloorValue);
    }
    for (int g = 0; g < nGauss; ++g)
        for (int f = 0; f < height; ++f) {
            if (!selected(pSelect + f * rowBytes, g)) continue;
            Zel32f s = score(f, g);
            if (count[f] == 0) pDst[f] = s;
            else ownLogAdd_32f_Accurate(&s, pDst + f, 1);
            count[f] = static_cast<uint16_t>(count[f] + 1);
        }
    for (int f = 0; f < height; ++f)
        if (count[f] == 0) pDst[f] = noneValue;
}

// ---- Select members: the tuned paths ---------------------------------------------------

// Row y is row pick[y] of a D2 block: the frames or the Gaussians of a list
// of selected pairs.
template <class T>
struct PickedRows {
    using Elem = T;
    const T* base;
    int step;
    const int32_t* pick;
    const T* operator()(int y) const { return base + static_cast<ptrdiff_t>(pick[y]) * step; }
};

// The small table: up to 20 Gaussians and up to 20 frames (19 for the
// 16-bit member), so at most 400 pairs, listed in a scratch of 2500 words.
constexpr int kSmallMax = 20;
constexpr int kListWords = 2500;
constexpr int kMaxPairs = kSmallMax * kSmallMax;
static_assert(4 * kMaxPairs <= kListWords, "four lists of pairs fit in the scratch");

// The fast fold of the n >= 1 scores of a frame on the small table: in
// order below 4, on two lanes from 4 to 7, on four lanes as ownLogSum_32f
// from 8. Two lanes start as s[0] and s[1], each further pair folds in lane
// by lane, lane 1 folds into lane 0 and an odd last score follows. Lane
// folds are vector code, the folds in order single-element code.
inline float smallTableFold(const float* s, int n) {
    if (n < 4 || n >= 8) return logd::logSum32(s, n);
    using namespace simd;
    F32x4 acc = set4f(s[0], s[1], s[0], s[1]);
    int i = 2;
    for (; i + 2 <= n; i += 2) acc = logd::foldGroup32<false>(set4f(s[i], s[i + 1], s[i], s[i + 1]), acc);
    acc = logd::foldGroup32<false>(lane1ToAll(acc), acc);
    float r = lane<0>(acc);
    if (i < n) r = logd::foldOne32<false>(s[i], r);
    return r;
}

// The fast fold in the lane order of ownLogSum_32f, of scores that arrive in
// groups of four and one last shorter group: below 8 scores from left to
// right; from 8 the groups fold into four lanes, lanes 2 and 3 into 0 and 1,
// lane 1 into lane 0, and the last group follows from left to right.
class LaneOrderSum {
public:
    void put(const float* s, int n) {
        if (n == 4) {
            const F32x4 g = simd::loadu4f(s);
            if (count_ == 0) {
                acc_ = g;
                simd::storeu(head_, g);
            } else {
                acc_ = logd::foldGroup32<false>(g, acc_);
            }
        } else {
            for (int i = 0; i < n; ++i) tail_[i] = s[i];
            tailCount_ = n;
        }
        count_ += n;
    }
    int count() const { return count_; }
    float result() const {
        float r;
        int i = 0;
        if (count_ >= 8) {
            F32x4 a = logd::foldGroup32<false>(simd::highPairToLow(acc_), acc_);
            a = logd::foldGroup32<false>(simd::lane1ToAll(a), a);
            r = simd::lane<0>(a);
        } else if (count_ >= 4) {
            r = head_[0];
            for (int k = 1; k < 4; ++k) r = logd::foldOne32<false>(head_[k], r);
        } else {
            r = tail_[0];
            i = 1;
        }
        for (; i < tailCount_; ++i) r = logd::foldOne32<false>(tail_[i], r);
        return r;
    }

private:
    F32x4 acc_ = simd::zero4f();
    float head_[4] = {};
    float tail_[4] = {};
    int count_ = 0;
    int tailCount_ = 0;
};

// What the tuned paths read: frames and Gaussians in D2 blocks of one step,
// the constants, the table, the single-vector score of the member, and
// whether the aligned kernels may run.
template <class T, class Score>
struct Tuned {
    const T* pSrc;
    const T* pMean;
    const T* pVar;
    int step;
    int width;
    const Zel32f* pVal;
    const Zel8u* pSelect;
    int nGauss;
    bool fast;
    Score score;

    const Zel8u* selectRow(int f) const { return pSelect + f * selectRowBytes(nGauss); }
    PickedRows<T> frames(const int32_t* f) const { return {pSrc, step, f}; }
    PickedRows<T> means(const int32_t* g) const { return {pMean, step, g}; }
    PickedRows<T> vars(const int32_t* g) const { return {pVar, step, g}; }
};

// The small table: every selected pair is listed first, frame by frame, with
// its constant; the list is scored as one dense run of rows with no bit test
// in it; then each frame's run of scores is folded.
template <class T, class Score>
ZelStatus smallTable(const Tuned<T, Score>& t, Zel32f* pDst, int height, Zel32f noneValue) {
    Zel32f* const mem = ownMalloc_32f(kListWords);
    if (!mem) return zelStsMemAllocErr;
    int32_t* const frameOf = reinterpret_cast<int32_t*>(mem);
    int32_t* const gaussOf = frameOf + kMaxPairs;
    float* const val = reinterpret_cast<float*>(gaussOf + kMaxPairs);
    float* const score = val + kMaxPairs;
    int count[kSmallMax];
    int n = 0;
    for (int f = 0; f < height; ++f) {
        pDst[f] = noneValue;
        count[f] = 0;
        SelectedGaussians walk(t.selectRow(f), t.nGauss);
        for (int k; (k = walk.next4(gaussOf + n)) > 0; n += k, count[f] += k)
            for (int i = n; i < n + k; ++i) frameOf[i] = f, val[i] = t.pVal[gaussOf[i]];
    }
    t.score(rows(t.frames(frameOf), t.means(gaussOf), t.vars(gaussOf), t.width, t.fast), n, RowConst<float>{val},
            Store32f{score});
    for (int f = 0, first = 0; f < height; first += count[f], ++f)
        if (count[f] > 0) pDst[f] = smallTableFold(score + first, count[f]);
    ownFree(mem);
    return zelStsNoErr;
}

// The large table, straight from the table, F frames at a time: each takes
// its next four selected Gaussians in turn, scores them at once and folds
// them into its lane-order sum. A frame's folds wait on each other; those
// of the other frames fill the wait.
template <int F, class T, class Score>
void largeTableFrames(const Tuned<T, Score>& t, int f0, Zel32f* pDst) {
    SelectedGaussians walk[F];
    LaneOrderSum sum[F];
    for (int i = 0; i < F; ++i) walk[i] = SelectedGaussians(t.selectRow(f0 + i), t.nGauss);
    for (;;) {
        int32_t g[F][4];
        int n[F], any = 0;
        for (int i = 0; i < F; ++i) any |= n[i] = walk[i].next4(g[i]);
        if (!any) break;
        for (int i = 0; i < F; ++i) {
            if (n[i] == 0) continue;
            alignas(16) float val[4], score[4];
            for (int k = 0; k < n[i]; ++k) val[k] = t.pVal[g[i][k]];
            const SameRow<T> frame{t.pSrc + static_cast<ptrdiff_t>(f0 + i) * t.step};
            t.score(rows(frame, t.means(g[i]), t.vars(g[i]), t.width, t.fast), n[i], RowConst<float>{val},
                    Store32f{score});
            sum[i].put(score, n[i]);
        }
    }
    float r[F];
    for (int i = 0; i < F; ++i) r[i] = sum[i].count() > 0 ? sum[i].result() : 0.0f;
    for (int i = 0; i < F; ++i)
        if (sum[i].count() > 0) pDst[f0 + i] = r[i];
}

template <class T, class Score>
void largeTable(const Tuned<T, Score>& t, Zel32f* pDst, int height, Zel32f noneValue) {
    for (int f = 0; f < height; ++f) pDst[f] = noneValue;
    int f = 0;
    for (; f + 4 <= height; f += 4) largeTableFrames<4>(t, f, pDst);
    for (; f + 2 <= height; f += 2) largeTableFrames<2>(t, f, pDst);
    if (f < height) largeTableFrames<1>(t, f, pDst);
}

}  // namespace zel::gauss::mix
