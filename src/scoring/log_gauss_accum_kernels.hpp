// SPDX-License-Identifier: Apache-2.0
// What the accumulating (zelsLogGaussMax, zelsLogGaussAdd) and multi-mixture
// families share: the frame-scoring kernels run over a range of rows, the
// formulas that finish a score from a kernel's sum and a constant term, and
// the ways of taking a score into the running value (store, keep the larger,
// fold in the log domain).
//
// A score is formed by the kernels of log_gauss_kernels.hpp; only the last
// step differs between families. The constant term is one value (a frame
// against one Gaussian) or one value per row (one frame against many
// Gaussians); a finishing formula reads it through a constant accessor, so
// that the frame and the multi-mixture members are instantiations of one
// source.
#pragma once

#include <stdint.h>

#include <type_traits>

#include "frame/checks.hpp"
#include "scoring/scoring_checks.hpp"
#include "frame/fixed.hpp"
#include "scoring/log_domain.hpp"
#include "scoring/log_gauss_kernels.hpp"

namespace zel::gauss::acc {

// ---- Rows from a first row on --------------------------------------------------

template <class T>
BlockRows<T> from(BlockRows<T> r, int first) {
    return {r(first), r.step};
}
template <class T>
TableRows<T> from(TableRows<T> r, int first) {
    return {r.rows + first};
}
template <class T>
SameRow<T> from(SameRow<T> r, int) {
    return r;
}
inline NoWeights from(NoWeights w, int) { return w; }

// ---- Kernel choice -----------------------------------------------------------------

// A D2 step keeps 16-byte rows when it is a multiple of 8 (16-bit data) or
// of 4 (single and double precision).
template <class T>
constexpr int kStepMultiple = sizeof(T) == 2 ? 8 : 4;

template <class T>
bool aligned(BlockRows<T> r, int, int multiple = kStepMultiple<T>) {
    return isAligned16(r.base) && r.step % multiple == 0;
}
template <class T>
bool aligned(TableRows<T> r, int height) {
    return ownRowsAligned(r.rows, height) == 0;
}
template <class T>
bool aligned(SameRow<T> v, int) {
    return isAligned16(v.p);
}
inline bool aligned(NoWeights, int) { return true; }

// The rows to score: row y of x against row y of m, weighted by row y of w.
// Frame members pass the frames as x and one Gaussian as m and w; the
// multi-mixture members pass the mean rows as x, the frame as m and the
// variance rows as w, so that the difference is mean minus frame. `fast`
// picks the aligned kernel, which gives the same bits as the other.
template <class X, class M, class W>
struct Rows {
    X x;
    M m;
    W w;
    int width;
    bool fast;
    static constexpr bool kWeighted = gauss::kWeighted<W>;
    Rows from(int first) const { return {acc::from(x, first), acc::from(m, first), acc::from(w, first), width, fast}; }
};
template <class X, class M, class W>
Rows<X, M, W> rows(X x, M m, W w, int width, bool fast) {
    return {x, m, w, width, fast};
}

template <class R, class Sink>
void floatRun(const R& r, int count, Sink sink) {
    if (r.fast) floatSums<true>(r.x, r.m, r.w, r.width, count, sink);
    else floatSums<false>(r.x, r.m, r.w, r.width, count, sink);
}
template <class R, class Sink>
void wideRun(const R& r, int count, Sink sink) {
    if (r.fast) wideSums<true>(r.x, r.m, r.w, r.width, count, sink);
    else wideSums<false>(r.x, r.m, r.w, r.width, count, sink);
}
template <class R, class Sink>
void lowRun(const R& r, int count, int scaleFactor, Sink sink) {
    if (r.fast) lowSums<true>(r.x, r.m, r.w, r.width, count, scaleFactor, sink);
    else lowSums<false>(r.x, r.m, r.w, r.width, count, scaleFactor, sink);
}
template <class R, class Sink>
void idLowRun(const R& r, int count, int scaleFactor, Sink sink) {
    if (r.fast) idLowSums<true>(r.x, r.m, r.width, count, scaleFactor, sink);
    else idLowSums<false>(r.x, r.m, r.width, count, scaleFactor, sink);
}

// ---- Constant terms -------------------------------------------------------------------

// One constant for every row, in the precision of the score.
template <class T>
struct OneConst {
    T v;
};
// One constant per row, read from Src and converted to T.
template <class T, class Src = T>
struct RowConst {
    const Src* p;
};

// The constant of row y, or of rows y to y + 3 when a kernel finishes four
// rows at once (V = F32x4).
template <class V, class T>
V constAt(OneConst<T> k, int) {
    if constexpr (std::is_same_v<V, F32x4>) return simd::set1(k.v);
    else return k.v;
}
template <class V, class T, class Src>
V constAt(RowConst<T, Src> k, int y) {
    if constexpr (!std::is_same_v<V, F32x4>) return static_cast<T>(k.p[y]);
    else if constexpr (std::is_same_v<Src, float>) return simd::loadu4f(k.p + y);
    else return simd::cvt4f(simd::loadu4i(k.p + y));
}

// The element type of a lane value, for constants in its precision.
template <class V>
struct ElemOf {
    using type = V;
};
template <>
struct ElemOf<F32x4> {
    using type = float;
};
template <class V>
using Elem = typename ElemOf<V>::type;

// ---- Sinks ------------------------------------------------------------------------------

// Finishes a kernel's sum with `finish` and hands the score to `out`. It
// takes four rows as one vector only where `out` does, so that a kernel
// falls back to row-by-row for the others.
template <class Finish, class Out>
struct Sink {
    Finish finish;
    Out out;
    template <class V>
        requires std::is_invocable_v<const Out&, int, std::invoke_result_t<const Finish&, int, V>>
    void operator()(int y, V v) const {
        out(y, finish(y, v));
    }
};
template <class Finish, class Out>
Sink<Finish, Out> sink(Finish f, Out o) {
    return {f, o};
}

// ---- Finishing formulas --------------------------------------------------------------------

// -S * 0.5 + k in the precision of the data.
template <class R, class K, class Out>
void halfPlusConst(const R& r, int count, K k, Out out) {
    floatRun(r, count, sink([k](int y, auto negS) {
        using V = decltype(negS);
        return negS * Elem<V>(0.5) + constAt<V>(k, y);
    }, out));
}

// (-S + 2 * k) * 0.5 in the precision of the data.
template <class R, class K, class Out>
void halfOfSumPlusTwice(const R& r, int count, K k, Out out) {
    floatRun(r, count, sink([k](int y, auto negS) {
        using V = decltype(negS);
        return (negS + constAt<V>(k, y) * Elem<V>(2)) * Elem<V>(0.5);
    }, out));
}

// Scaled and IdVarScaled: c = 2^-(s + 1) from the clamped helper; T * c + k
// with weights (T = -S), k - S * c without.
template <class R, class K, class Out>
void scaled(const R& r, int count, float c, K k, Out out) {
    if constexpr (R::kWeighted)
        wideRun(r, count, sink([=](int y, auto t) { return t * c + constAt<decltype(t)>(k, y); }, out));
    else
        wideRun(r, count, sink([=](int y, auto s) { return constAt<decltype(s)>(k, y) - s * c; }, out));
}

// LowScaled: below scale factor 0, k + T by the family's scale rule; from 0
// on, the integer Low sum as a single, plus k.
template <class R, class K, class Out>
void lowScaled(const R& r, int count, int scaleFactor, K k, Out out) {
    if (scaleFactor < 0) {
        const GaussScale rule(scaleFactor);
        wideRun(r, count, sink([=](int y, auto t) { return constAt<decltype(t)>(k, y) + rule.apply(t); }, out));
    } else {
        lowRun(r, count, scaleFactor,
               sink([=](int y, int32_t sum) { return static_cast<float>(sum) + constAt<float>(k, y); }, out));
    }
}

// IdVarLowScaled: k - S by the scale rule.
template <class R, class K, class Out>
void idVarLowScaled(const R& r, int count, int scaleFactor, K k, Out out) {
    const GaussScale rule(scaleFactor);
    wideRun(r, count, sink([=](int y, auto s) { return constAt<decltype(s)>(k, y) - rule.apply(s); }, out));
}

// 16s32s with the scale rule: T by the rule plus k as a single, truncated
// toward zero without saturation.
template <class R, class K, class Out>
void ruleFixed(const R& r, int count, int scaleFactor, K k, Out out) {
    const GaussScale rule(scaleFactor);
    wideRun(r, count, sink([=](int y, auto t) { return truncOrMin32(rule.apply(t) + constAt<decltype(t)>(k, y)); }, out));
}

// The integer Low sums (scale factor 0 and above) plus k, wrapping.
template <class R, class K, class Out>
void lowFixed(const R& r, int count, int scaleFactor, K k, Out out) {
    lowRun(r, count, scaleFactor,
           sink([=](int y, int32_t sum) { return wrap32(int64_t{sum} + constAt<int32_t>(k, y)); }, out));
}

// The IdVarLow integer sums plus k, wrapping.
template <class R, class K, class Out>
void idLowFixed(const R& r, int count, int scaleFactor, K k, Out out) {
    idLowRun(r, count, scaleFactor,
             sink([=](int y, int32_t sum) { return wrap32(int64_t{sum} + constAt<int32_t>(k, y)); }, out));
}

// ---- Taking a score into the running value -------------------------------------------------

// Stores the score, as frame scoring does into pDst.
struct Store32f {
    float* p;
    void operator()(int y, float g) const { p[y] = g; }
    void operator()(int y, F32x4 g) const { simd::storeu(p + y, g); }
};
struct Store64f {
    double* p;
    void operator()(int y, double g) const { p[y] = g; }
};
struct Store32s {
    int32_t* p;
    void operator()(int y, int32_t g) const { p[y] = g; }
    void operator()(int y, I32x4 g) const { simd::storeu(p + y, g); }
};

// The score replaces the running value only if it is greater: an equal
// score, or a NaN on either side, leaves it.
struct KeepLarger32f {
    float* p;
    void operator()(int y, float g) const {
        if (g > p[y]) p[y] = g;
    }
    void operator()(int y, F32x4 g) const {
        const F32x4 old = simd::loadu4f(p + y);
        simd::storeu(p + y, simd::select(simd::cmpgt(g, old), g, old));
    }
};
struct KeepLarger64f {
    double* p;
    void operator()(int y, double g) const {
        if (g > p[y]) p[y] = g;
    }
};
// Both sides as 32-bit integers: the running value keeps its exact value.
struct KeepLarger32s {
    int32_t* p;
    void operator()(int y, int32_t g) const {
        if (g > p[y]) p[y] = g;
    }
};

// A 32-bit running value compared in single precision: it is converted to
// a single, the larger of it and the score is taken and truncated back. So a
// running value of more than 24 significant bits is rounded even where it
// wins. An integer score goes through single precision first.
struct KeepLargerAsSingle {
    int32_t* p;
    void operator()(int y, float g) const {
        const float old = static_cast<float>(p[y]);
        p[y] = truncOrMin32(g > old ? g : old);
    }
    void operator()(int y, int32_t g) const { (*this)(y, static_cast<float>(g)); }
};

// The clamp of the 32-bit Max members' score to -2^31 .. 2^31 before it is
// compared. A NaN score becomes -2^31, which never wins.
inline float clampScore(float g) {
    g = g > -2147483648.0f ? g : -2147483648.0f;
    return g < 2147483648.0f ? g : 2147483648.0f;
}
template <class Out>
struct Clamped {
    Out out;
    void operator()(int y, float g) const { out(y, clampScore(g)); }
};
template <class Out>
Clamped<Out> clamped(Out o) {
    return {o};
}

// ---- Folding in the log domain -------------------------------------------------------------

inline void logAddInto(const float* scores, float* pSrcDst, int n) { ownLogAdd_32f_Accurate(scores, pSrcDst, n); }
inline void logAddInto(const double* scores, double* pSrcDst, int n) { ownLogAdd_64f(scores, pSrcDst, n); }

// Rows in blocks of at most kBlock: `score(first, n, scratch)` scores rows
// first to first + n - 1 into the scratch, which is then folded into
// pSrcDst, scratch first. The block's scores stay in the first-level cache
// between the two passes, and the fold runs on full vector groups whatever
// the width.
template <int kBlock, class T, class Score>
void foldBlocks(T* pSrcDst, int height, Score score) {
    alignas(32) T scratch[kBlock];
    for (int first = 0; first < height; first += kBlock) {
        const int n = height - first < kBlock ? height - first : kBlock;
        score(first, n, scratch);
        logAddInto(scratch, pSrcDst + first, n);
    }
}

}  // namespace zel::gauss::acc
