// SPDX-License-Identifier: Apache-2.0
// Arithmetic of Gaussian frame scoring: the quadratic form
//
//     S = sum over j of (x[j] - mean[j])^2 * w[j]
//
// of many rows x against one diagonal Gaussian, in each of the ways the
// family forms it. A kernel computes the raw sum of each row and hands it,
// with the row's index, to a sink that finishes the score (adds the constant
// term, scales, converts) and stores it. The accumulating and multi-mixture
// families reuse the kernels with sinks of their own; the multi-mixture
// members pass the mean rows as x and the frame as the mean, since their
// difference is taken mean minus frame.
//
// Every kernel is a template over
//   - the rows of the source, the mean and the weights (row accessors: a D2
//     block, a D2L table of row pointers, or one vector serving every row),
//     so that D2 and D2L members are two instantiations of one source;
//   - `Aligned`, which picks aligned or unaligned loads and nothing else, so
//     the two kernels of a pair give the same bits;
//   - the number of rows R that share each load of the mean and the weights.
//     Each row keeps its own lanes, so R changes speed, never a result.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "frame/dispatch.hpp"
#include "frame/fixed.hpp"
#include "scoring/log_gauss_rows.hpp"
#include "scoring/log_gauss_wide.hpp"
#include "simd/simd.hpp"

namespace zel::gauss {

using simd::F32x4;
using simd::F64x2;
using simd::I16x8;
using simd::I32x4;

// ---- Loads and the scalar twins of the lane operations -------------------------

template <bool Aligned>
inline F32x4 load(const float* p) {
    if constexpr (Aligned) return simd::load4f(p); else return simd::loadu4f(p);
}
template <bool Aligned>
inline F64x2 load(const double* p) {
    if constexpr (Aligned) return simd::load2d(p); else return simd::loadu2d(p);
}
template <bool Aligned>
inline I16x8 load(const int16_t* p) {
    if constexpr (Aligned) return simd::load8s(p); else return simd::loadu8s(p);
}

// Lane arithmetic written as formulas, so that a column of the tail, a lane
// vector, and four rows finished together run the same source. A scalar
// operand stands for all four lanes. Where rows are finished together, lane
// r holds row r, and a sink may take the four results as one vector.
inline F32x4 operator+(F32x4 a, F32x4 b) { return simd::add(a, b); }
inline F32x4 operator-(F32x4 a, F32x4 b) { return simd::sub(a, b); }
inline F32x4 operator*(F32x4 a, F32x4 b) { return simd::mul(a, b); }
inline F32x4 operator/(F32x4 a, F32x4 b) { return simd::div(a, b); }
inline F32x4 operator+(F32x4 a, float b) { return simd::add(a, simd::set1(b)); }
inline F32x4 operator-(F32x4 a, float b) { return simd::sub(a, simd::set1(b)); }
inline F32x4 operator*(F32x4 a, float b) { return simd::mul(a, simd::set1(b)); }
inline F32x4 operator/(F32x4 a, float b) { return simd::div(a, simd::set1(b)); }
inline F32x4 operator+(float a, F32x4 b) { return simd::add(simd::set1(a), b); }
inline F32x4 operator-(float a, F32x4 b) { return simd::sub(simd::set1(a), b); }
inline F64x2 operator+(F64x2 a, F64x2 b) { return simd::add(a, b); }
inline F64x2 operator-(F64x2 a, F64x2 b) { return simd::sub(a, b); }
inline F64x2 operator*(F64x2 a, F64x2 b) { return simd::mul(a, b); }

// (x - mean)^2 * w, the square first; without weights just the square.
template <bool Weighted, class V>
inline V term(V d, V w) {
    if constexpr (Weighted) return d * d * w;
    else return d * d;
}

// The sum of four 32-bit lanes, wrapping.
inline int32_t wrapSum(I32x4 a) {
    return static_cast<int32_t>(static_cast<uint32_t>(simd::lane<0>(a)) + static_cast<uint32_t>(simd::lane<1>(a)) +
                                static_cast<uint32_t>(simd::lane<2>(a)) + static_cast<uint32_t>(simd::lane<3>(a)));
}

// ---- Four rows at once ---------------------------------------------------------------

inline void put(float* p, float v) { *p = v; }
inline void put(float* p, F32x4 v) { simd::storeu(p, v); }
inline void put(double* p, double v) { *p = v; }
inline void put(int32_t* p, int32_t v) { *p = v; }
inline void put(int32_t* p, I32x4 v) { simd::storeu(p, v); }

// Element k of each of four rows, as one vector.
inline F32x4 column(const float* const* p, int k) { return simd::set4f(p[0][k], p[1][k], p[2][k], p[3][k]); }
inline F32x4 column(const int16_t* const* p, int k) {
    return simd::set4f(static_cast<float>(p[0][k]), static_cast<float>(p[1][k]), static_cast<float>(p[2][k]),
                       static_cast<float>(p[3][k]));
}

// Hands the results of rows y0 to y0 + 3 to a sink: as one vector if it
// takes one, else lane by lane.
template <class Sink>
inline void emit4(Sink& sink, int y0, F32x4 v) {
    if constexpr (std::is_invocable_v<Sink&, int, F32x4>) {
        sink(y0, v);
    } else {
        sink(y0, simd::lane<0>(v));
        sink(y0 + 1, simd::lane<1>(v));
        sink(y0 + 2, simd::lane<2>(v));
        sink(y0 + 3, simd::lane<3>(v));
    }
}

// ---- Whole row blocks on the wide kernels ------------------------------------------

// Where the processor has AVX2 or AVX-512, the kernels below hand the whole
// blocks of rows of a call (8 or 16 rows) to the wide kernels of
// log_gauss_wide_kernels.hpp, chosen once per call, and finish their sums
// with their own sinks; the rows after the last whole block stay here. The
// wide kernels keep each row's lanes and fold, so a row's bits do not depend
// on the path.
template <class T>
RowRef rowRef(BlockRows<T> r) {
    return {r.base, nullptr, static_cast<ptrdiff_t>(r.step) * static_cast<ptrdiff_t>(sizeof(T))};
}
template <class T>
RowRef rowRef(TableRows<T> r) {
    return {nullptr, reinterpret_cast<const void* const*>(r.rows), 0};
}
template <class T>
RowRef rowRef(SameRow<T> r) {
    return {r.p, nullptr, 0};
}
inline RowRef rowRef(NoWeights) { return {nullptr, nullptr, 0}; }
// The rows from row y0 on, as rows 0, 1, ...
inline RowRef rowsAt(RowRef r, int y0) {
    if (r.table) return {nullptr, r.table + y0, 0};
    if (r.pitch == 0) return r;
    return {static_cast<const char*>(r.base) + y0 * r.pitch, nullptr, r.pitch};
}

// Accessors that the wide kernels can reach; others (the picked rows of the
// mixture shortlists, say) stay on the baseline kernels.
template <class A>
inline constexpr bool kWideRow = requires(A a) { rowRef(a); };
template <class... A>
inline constexpr bool kWideRows = (kWideRow<A> && ...);

// Scores per wide call: the sums of a chunk wait on the stack for their sink.
constexpr int kWideChunk = 256;

enum class WideIsa { kNone, kAvx2, kAvx512 };
inline WideIsa wideIsa() {
    if constexpr (kBuiltWithAvx2) {
        if (runsAvx512()) return WideIsa::kAvx512;
        if (runsAvx2()) return WideIsa::kAvx2;
    }
    return WideIsa::kNone;
}
inline int wideBlockRows(WideIsa isa) { return isa == WideIsa::kAvx512 ? avx512::kBlockRows : avx2::kBlockRows; }

// Runs `kernel(first, n, buffer)` over the rows 0 to done - 1 in chunks and
// hands each chunk's sums to `take(first, n, buffer)`.
template <class T, class Kernel, class Take>
inline void wideChunks(int done, Kernel kernel, Take take) {
    alignas(64) T buf[kWideChunk];
    for (int y0 = 0; y0 < done; y0 += kWideChunk) {
        const int n = done - y0 < kWideChunk ? done - y0 : kWideChunk;
        kernel(y0, n, buf);
        take(y0, n, buf);
    }
}

// The single-precision sums of the whole blocks; returns the rows done.
template <class X, class M, class W, class Sink>
inline int wideFloatRows(X x, M m, W w, int width, int height, Sink& sink) {
    if constexpr (kBuiltWithAvx2 && kWideRows<X, M, W> && std::is_same_v<typename X::Elem, float>) {
        const WideIsa isa = wideIsa();
        if (isa == WideIsa::kNone) return 0;
        const int done = height - height % wideBlockRows(isa);
        wideChunks<float>(
            done,
            [&](int y0, int n, float* out) {
                const RowRef xr = rowsAt(rowRef(x), y0), mr = rowsAt(rowRef(m), y0), wr = rowsAt(rowRef(w), y0);
                if (isa == WideIsa::kAvx512) avx512::floatSums(xr, mr, wr, width, n, out);
                else avx2::floatSums(xr, mr, wr, width, n, out);
            },
            [&](int y0, int n, const float* sums) {
                for (int i = 0; i < n; i += 4) emit4(sink, y0 + i, simd::loadu4f(sums + i));
            });
        return done;
    }
    return 0;
}

// ---- The family's conversions ----------------------------------------------------

// The family's own scale rule, for a division by 2^(s + 1): k = |s + 1| and
// p = 1 shifted left by k modulo 32 in a 32-bit integer, as a single. For
// s + 1 >= 0 a sum is divided by p, otherwise multiplied. There is no clamp:
// k = 31 gives p = -2147483648.0, which flips the sign, and k = 32 gives 1.
struct GaussScale {
    float p;
    bool divides;

    explicit GaussScale(int s) {
        const int32_t k1 = wrap32(int64_t{s} + 1);
        const uint32_t k = k1 < 0 ? 0u - static_cast<uint32_t>(k1) : static_cast<uint32_t>(k1);
        p = static_cast<float>(static_cast<int32_t>(1u << (k & 31u)));
        divides = k1 >= 0;
    }
    template <class V>
    V apply(V t) const {
        return divides ? t / p : t * p;
    }
};

// c = 2^-(s + 1) of the Scaled members, through the clamped helper; s + 1 is
// formed in 32 bits.
inline float scaledFactor(int s) { return ownScaleValue_32f(wrap32(int64_t{s} + 1)); }

// Conversion toward zero as the processor does it: NaN and values outside
// the 32-bit range give -2147483648, with no saturation.
inline int32_t truncOrMin32(float r) {
    if (!(r >= -2147483648.0f && r < 2147483648.0f)) return kMin32;
    return static_cast<int32_t>(r);
}
inline I32x4 truncOrMin32(F32x4 r) { return simd::cvtTrunc(r); }

// ---- Single and double precision ----------------------------------------------

template <class T>
struct Lanes;
template <>
struct Lanes<float> {
    using V = F32x4;
    static constexpr int kCount = 4;
    static V zero() { return simd::zero4f(); }
    // Lanes 0 + 2 and 1 + 3, then the two.
    static float sum(V a) {
        return (simd::lane<0>(a) + simd::lane<2>(a)) + (simd::lane<1>(a) + simd::lane<3>(a));
    }
};
template <>
struct Lanes<double> {
    using V = F64x2;
    static constexpr int kCount = 2;
    static V zero() { return simd::zero2d(); }
    static double sum(V a) { return simd::lane<0>(a) + simd::lane<1>(a); }
};

// -S of R rows from y0 on. Each lane subtracts the terms of its columns from
// +0 over the groups of kCount columns; the lanes are then summed, and the
// last width modulo kCount columns are subtracted one by one.
template <int R, bool Aligned, class X, class M, class W, class Sink>
inline void floatRows(X x, M m, W w, int width, int y0, Sink& sink) {
    using T = typename X::Elem;
    using L = Lanes<T>;
    constexpr bool kW = kWeighted<W>;
    const T* xr[R];
    const T* mr[R];
    const T* wr[R];
    typename L::V acc[R];
    for (int r = 0; r < R; ++r) {
        xr[r] = x(y0 + r);
        mr[r] = m(y0 + r);
        wr[r] = static_cast<const T*>(w(y0 + r));
        acc[r] = L::zero();
    }
    int j = 0;
    for (; j <= width - L::kCount; j += L::kCount)
        for (int r = 0; r < R; ++r) {
            const typename L::V d = load<Aligned>(xr[r] + j) - load<Aligned>(mr[r] + j);
            acc[r] = acc[r] - term<kW>(d, kW ? load<Aligned>(wr[r] + j) : d);
        }
    if constexpr (R == 4 && std::is_same_v<T, float>) {
        // Transposed, lane r holds row r: the lane sums of four rows are three
        // additions, and the tail and the sink serve four rows at once.
        simd::transpose4(acc[0], acc[1], acc[2], acc[3]);
        F32x4 s = (acc[0] + acc[2]) + (acc[1] + acc[3]);
        for (int k = j; k < width; ++k) {
            const F32x4 d = column(xr, k) - column(mr, k);
            s = s - term<kW>(d, kW ? column(wr, k) : d);
        }
        emit4(sink, y0, s);
    } else {
        for (int r = 0; r < R; ++r) {
            T s = L::sum(acc[r]);
            for (int k = j; k < width; ++k) {
                const T d = xr[r][k] - mr[r][k];
                s = s - term<kW>(d, kW ? wr[r][k] : d);
            }
            sink(y0 + r, s);
        }
    }
}

// -S of every row: four rows at a time, then two, then one in single
// precision; two, then one in double precision.
template <bool Aligned, class X, class M, class W, class Sink>
inline void floatSums(X x, M m, W w, int width, int height, Sink sink) {
    int y = wideFloatRows(x, m, w, width, height, sink);
    if constexpr (sizeof(typename X::Elem) == 4)
        for (; y + 4 <= height; y += 4) floatRows<4, Aligned>(x, m, w, width, y, sink);
    for (; y + 2 <= height; y += 2) floatRows<2, Aligned>(x, m, w, width, y, sink);
    if (y < height) floatRows<1, Aligned>(x, m, w, width, y, sink);
}

// The short loop of the single-precision members below width 4: from
// `start`, subtract each column's term in column order.
template <class X, class M, class W, class Sink>
inline void columnSums(X x, M m, W w, int width, int height, typename X::Elem start, Sink sink) {
    using T = typename X::Elem;
    constexpr bool kW = kWeighted<W>;
    for (int y = 0; y < height; ++y) {
        const T* xr = x(y);
        const T* mr = m(y);
        const T* wr = static_cast<const T*>(w(y));
        T r = start;
        for (int k = 0; k < width; ++k) {
            const T d = xr[k] - mr[k];
            r = r - term<kW>(d, kW ? wr[k] : d);
        }
        sink(y, r);
    }
}

// ---- 16-bit data, single-precision lanes --------------------------------------------

// The sums of the non-Low members, of the Low members for scale factors
// below 0, and of the IdVar members but IdVarLow_16s32s. Differences are
// saturated to 16 bits in groups of eight columns and widened to single
// precision. With weights, lane i subtracts the terms of columns i and then
// i + 4 of each group, so the sum is T = -S. Without weights, the 32-bit
// pair sums d0*d0 + d1*d1 (a pair of -32768 wraps) are widened and added on
// lane i for pair i, so the sum is S. The last width modulo 8 columns take
// the exact difference, as a single, one column at a time into lane 0.
// Finally lanes 0 + 2 and 1 + 3, then the two.
template <int R, bool Aligned, class X, class M, class W, class Sink>
inline void wideRows(X x, M m, W w, int width, int y0, Sink& sink) {
    constexpr bool kW = kWeighted<W>;
    const int16_t* xr[R];
    const int16_t* mr[R];
    const int16_t* wr[R];
    F32x4 acc[R];
    for (int r = 0; r < R; ++r) {
        xr[r] = x(y0 + r);
        mr[r] = m(y0 + r);
        wr[r] = static_cast<const int16_t*>(w(y0 + r));
        acc[r] = simd::zero4f();
    }
    int j = 0;
    for (; j <= width - 8; j += 8)
        for (int r = 0; r < R; ++r) {
            const I16x8 d = simd::subSat(load<Aligned>(xr[r] + j), load<Aligned>(mr[r] + j));
            if constexpr (kW) {
                const I16x8 wv = load<Aligned>(wr[r] + j);
                const F32x4 dLo = simd::cvt4f(simd::widenLo(d));
                const F32x4 dHi = simd::cvt4f(simd::widenHi(d));
                acc[r] = acc[r] - term<true>(dLo, simd::cvt4f(simd::widenLo(wv)));
                acc[r] = acc[r] - term<true>(dHi, simd::cvt4f(simd::widenHi(wv)));
            } else {
                acc[r] = acc[r] + simd::cvt4f(simd::madd(d, d));
            }
        }
    // A tail column's difference is exact as a difference of singles, since
    // it needs at most 17 bits.
    auto tail = [&](auto lane0, auto xk, auto mk, auto wk) {
        const auto d = xk - mk;
        if constexpr (kW) return lane0 - term<true>(d, wk);
        else return lane0 + term<false>(d, d);
    };
    if constexpr (R == 4) {
        // Transposed, lane r holds row r, as in floatRows.
        simd::transpose4(acc[0], acc[1], acc[2], acc[3]);
        for (int k = j; k < width; ++k)
            acc[0] = tail(acc[0], column(xr, k), column(mr, k), kW ? column(wr, k) : acc[0]);
        emit4(sink, y0, (acc[0] + acc[2]) + (acc[1] + acc[3]));
    } else {
        for (int r = 0; r < R; ++r) {
            float lane0 = simd::lane<0>(acc[r]);
            for (int k = j; k < width; ++k)
                lane0 = tail(lane0, static_cast<float>(xr[r][k]), static_cast<float>(mr[r][k]),
                             kW ? static_cast<float>(wr[r][k]) : 0.0f);
            sink(y0 + r, (lane0 + simd::lane<2>(acc[r])) + (simd::lane<1>(acc[r]) + simd::lane<3>(acc[r])));
        }
    }
}

// Four rows at a time, then two, then one; each row keeps its own lanes.
template <bool Aligned, class X, class M, class W, class Sink>
inline void wideSums(X x, M m, W w, int width, int height, Sink sink) {
    int y = 0;
    if constexpr (kBuiltWithAvx2 && kWideRows<X, M, W>) {
        const WideIsa isa = wideIsa();
        if (isa != WideIsa::kNone && width >= 8) {
            y = height - height % wideBlockRows(isa);
            wideChunks<float>(
                y,
                [&](int y0, int n, float* out) {
                    const RowRef xr = rowsAt(rowRef(x), y0), mr = rowsAt(rowRef(m), y0), wr = rowsAt(rowRef(w), y0);
                    if (isa == WideIsa::kAvx512) avx512::wideSums(xr, mr, wr, width, n, out);
                    else avx2::wideSums(xr, mr, wr, width, n, out);
                },
                [&](int y0, int n, const float* sums) {
                    for (int i = 0; i < n; i += 4) emit4(sink, y0 + i, simd::loadu4f(sums + i));
                });
        }
    }
    for (; y + 4 <= height; y += 4) wideRows<4, Aligned>(x, m, w, width, y, sink);
    for (; y + 2 <= height; y += 2) wideRows<2, Aligned>(x, m, w, width, y, sink);
    if (y < height) wideRows<1, Aligned>(x, m, w, width, y, sink);
}

// ---- 16-bit data, 32-bit integer lanes: the Low members ---------------------------

// Shift counts of the Low kernels for a scale factor s >= 0. The H sums move
// left by 15 - s for s up to 15 and right by s - 15 above; the L sums move
// right by s. Arithmetic right shifts of 32 or more keep only the sign, as
// the processor's do.
struct LowShifts {
    int hLeft;
    int hRight;
    int lRight;
};
inline LowShifts lowShifts(int s) {
    if (s <= 15) return {15 - s, 0, s};
    return {0, s - 15 > 31 ? 31 : s - 15, s > 31 ? 31 : s};
}
inline I32x4 shiftH(I32x4 h, LowShifts sh) { return simd::sll(simd::sra(h, sh.hRight), sh.hLeft); }

// One group's share of a row when it is shifted by itself: the group's H and
// L sums over its column pairs, negated as the row subtracts them, and then
// shifted, so that the right shifts round the group's contribution down.
inline uint32_t shiftedGroup(I32x4 H, I32x4 L, LowShifts sh) {
    const int32_t h = static_cast<int32_t>(0u - static_cast<uint32_t>(wrapSum(H)));
    const int32_t l = static_cast<int32_t>(0u - static_cast<uint32_t>(wrapSum(L)));
    return (static_cast<uint32_t>(h >> sh.hRight) << sh.hLeft) + static_cast<uint32_t>(l >> sh.lRight);
}

// Each saturated difference is squared in 32 bits and split into its high 16
// bits h and its low 16 bits halved, l, so that h * 2^15 + l is half the
// square, rounded down. Per column pair: H = h0*w0 + h1*w1, L = l0*w0 + l1*w1.
inline void halfSquarePairs(I16x8 d, I16x8 w, I32x4& H, I32x4& L) {
    H = simd::madd(simd::mulhi(d, d), w);
    L = simd::madd(simd::srl(simd::mullo(d, d), 1), w);
}

// The Low sums of R rows, before the constant term. Columns go in groups of
// 8, then 4, then 2, then 1 (a pair with a zero); pair i of a group feeds
// lane i. Without PerGroup the lanes subtract H and L, wrapping, to the end
// of the row, and are shifted once. With PerGroup (the last row of an odd
// height) each group (each run of 8 columns, then the 4, the 2 and the last
// column) is shifted once, as shiftedGroup forms it, so L is rounded down
// once per group and not once per column pair.
template <int R, bool Aligned, bool PerGroup, class X, class M, class W, class Sink>
inline void lowRows(X x, M m, W w, int width, int y0, LowShifts sh, Sink& sink) {
    const int16_t* xr[R];
    const int16_t* mr[R];
    const int16_t* wr[R];
    I32x4 accH[R];
    I32x4 accL[R];
    uint32_t groups[R];
    for (int r = 0; r < R; ++r) {
        xr[r] = x(y0 + r);
        mr[r] = m(y0 + r);
        wr[r] = w(y0 + r);
        accH[r] = simd::zero4i();
        accL[r] = simd::zero4i();
        groups[r] = 0;
    }
    auto group = [&](int r, I16x8 xv, I16x8 mv, I16x8 wv) {
        I32x4 H, L;
        halfSquarePairs(simd::subSat(xv, mv), wv, H, L);
        if constexpr (PerGroup) {
            groups[r] += shiftedGroup(H, L, sh);
        } else {
            accH[r] = simd::sub(accH[r], H);
            accL[r] = simd::sub(accL[r], L);
        }
    };
    int j = 0;
    for (; j <= width - 8; j += 8)
        for (int r = 0; r < R; ++r)
            group(r, load<Aligned>(xr[r] + j), load<Aligned>(mr[r] + j), load<Aligned>(wr[r] + j));
    if (width - j >= 4) {
        for (int r = 0; r < R; ++r)
            group(r, simd::loadLo4s(xr[r] + j), simd::loadLo4s(mr[r] + j), simd::loadLo4s(wr[r] + j));
        j += 4;
    }
    if (width - j >= 2) {
        for (int r = 0; r < R; ++r)
            group(r, simd::loadLo2s(xr[r] + j), simd::loadLo2s(mr[r] + j), simd::loadLo2s(wr[r] + j));
        j += 2;
    }
    if (width - j == 1)
        for (int r = 0; r < R; ++r)
            group(r, simd::loadLo1s(xr[r] + j), simd::loadLo1s(mr[r] + j), simd::loadLo1s(wr[r] + j));
    for (int r = 0; r < R; ++r) {
        if constexpr (PerGroup)
            sink(y0 + r, static_cast<int32_t>(groups[r]));
        else
            sink(y0 + r, wrapSum(simd::add(shiftH(accH[r], sh), simd::sra(accL[r], sh.lRight))));
    }
}

// The width from which the wide Low kernels take the rows. A wide row pays
// for adding its blocks and for its last columns, which go by the short
// groups of the rows here, one row at a time; measured at 1000 rows, the
// rows here, two at a time, are faster below this width (at 16 and 39
// columns) and slower from it on (64 to 256 columns).
constexpr int kWideLowWidth = 64;

// Rows in pairs; the last row of an odd height shifts per group.
template <bool Aligned, class X, class M, class W, class Sink>
inline void lowSums(X x, M m, W w, int width, int height, int scaleFactor, Sink sink) {
    const LowShifts sh = lowShifts(scaleFactor);
    int y = 0;
    if constexpr (kBuiltWithAvx2 && kWideRows<X, M, W>) {
        const WideIsa isa = wideIsa();
        if (isa != WideIsa::kNone && width >= kWideLowWidth) {
            y = height - height % 2;
            const WideShifts wsh{sh.hLeft, sh.hRight, sh.lRight};
            wideChunks<int32_t>(
                y,
                [&](int y0, int n, int32_t* out) {
                    const RowRef xr = rowsAt(rowRef(x), y0), mr = rowsAt(rowRef(m), y0), wr = rowsAt(rowRef(w), y0);
                    if (isa == WideIsa::kAvx512) avx512::lowSums(xr, mr, wr, width, n, wsh, out);
                    else avx2::lowSums(xr, mr, wr, width, n, wsh, out);
                },
                [&](int y0, int n, const int32_t* sums) {
                    for (int i = 0; i < n; ++i) sink(y0 + i, sums[i]);
                });
        }
    }
    for (; y + 2 <= height; y += 2) lowRows<2, Aligned, false>(x, m, w, width, y, sh, sink);
    if (y < height) lowRows<1, Aligned, true>(x, m, w, width, y, sh, sink);
}

// ---- 16-bit data, integers throughout: IdVarLow_16s32s ---------------------------

// With k = s + 1 (in 32 bits), each pair sum of squares, and each square of
// the tail, is shifted right by k for k >= 0 and left by -k otherwise,
// before it is subtracted; so every pair, and every tail column, rounds down
// on its own. Left shifts of 32 or more give 0.
struct PairShift {
    int right;
    int left;
};
inline PairShift pairShift(int s) {
    const int32_t k = wrap32(int64_t{s} + 1);
    if (k >= 0) return {k > 31 ? 31 : k, 0};
    const int64_t left = -int64_t{k};
    return {0, left > 32 ? 32 : static_cast<int>(left)};
}
inline I32x4 shifted(I32x4 v, PairShift sh) { return simd::sll(simd::sra(v, sh.right), sh.left); }
inline int32_t shifted(int32_t v, PairShift sh) {
    v >>= sh.right;
    return sh.left >= 32 ? 0 : static_cast<int32_t>(static_cast<uint32_t>(v) << sh.left);
}

// -(the shifted sum of squares) of R rows, before the constant term: groups
// of eight saturated columns as pairs, then the tail columns with their exact
// differences squared in 32 bits, wrapping.
template <int R, bool Aligned, class X, class M, class Sink>
inline void idLowRows(X x, M m, int width, int y0, PairShift sh, Sink& sink) {
    const int16_t* xr[R];
    const int16_t* mr[R];
    I32x4 acc[R];
    for (int r = 0; r < R; ++r) {
        xr[r] = x(y0 + r);
        mr[r] = m(y0 + r);
        acc[r] = simd::zero4i();
    }
    int j = 0;
    for (; j <= width - 8; j += 8)
        for (int r = 0; r < R; ++r) {
            const I16x8 d = simd::subSat(load<Aligned>(xr[r] + j), load<Aligned>(mr[r] + j));
            acc[r] = simd::sub(acc[r], shifted(simd::madd(d, d), sh));
        }
    for (int r = 0; r < R; ++r) {
        uint32_t s = static_cast<uint32_t>(wrapSum(acc[r]));
        for (int k = j; k < width; ++k) {
            const int32_t d = int32_t{xr[r][k]} - mr[r][k];
            s -= static_cast<uint32_t>(shifted(wrap32(int64_t{d} * d), sh));
        }
        sink(y0 + r, static_cast<int32_t>(s));
    }
}

template <bool Aligned, class X, class M, class Sink>
inline void idLowSums(X x, M m, int width, int height, int scaleFactor, Sink sink) {
    const PairShift sh = pairShift(scaleFactor);
    int y = 0;
    if constexpr (kBuiltWithAvx2 && kWideRows<X, M>) {
        const WideIsa isa = wideIsa();
        if (isa != WideIsa::kNone) {
            y = height;
            wideChunks<int32_t>(
                y,
                [&](int y0, int n, int32_t* out) {
                    const RowRef xr = rowsAt(rowRef(x), y0), mr = rowsAt(rowRef(m), y0);
                    if (isa == WideIsa::kAvx512) avx512::idLowSums(xr, mr, width, n, sh.right, sh.left, out);
                    else avx2::idLowSums(xr, mr, width, n, sh.right, sh.left, out);
                },
                [&](int y0, int n, const int32_t* sums) {
                    for (int i = 0; i < n; ++i) sink(y0 + i, sums[i]);
                });
        }
    }
    for (; y + 2 <= height; y += 2) idLowRows<2, Aligned>(x, m, width, y, sh, sink);
    if (y < height) idLowRows<1, Aligned>(x, m, width, y, sh, sink);
}

}  // namespace zel::gauss
