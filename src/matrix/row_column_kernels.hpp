// SPDX-License-Identifier: Apache-2.0
// Row and column kernels over a table of feature vectors. Every kernel is one
// template over the element type and the layout: a layout is a row accessor
// (`Block`, rows one behind the other at a step, or `Table`, a table of row
// pointers), so the D2 and D2L members of a family are two instantiations of
// the same arithmetic.
//
// Orders of addition, fixed here and on every build:
// - A column reduction adds the rows of a column one after the other from
//   row 0. Columns go in groups of up to twelve vectors with
//   the row loop inside; the blocks change which columns share a pass,
//   never the order within a column, so a column's sum is that of the plain
//   loop, bit for bit.
// - A row reduction (row sums, matrix times vector) runs eight single (four
//   double) lanes over the row: lane l adds elements l, l + 8, l + 16, ...
//   up to the last whole group of four (two) elements. The lanes are then
//   folded as ((a0 + a4) + (a1 + a5)) + ((a2 + a6) + (a3 + a7)), and the
//   last width modulo 4 (2) elements are added one by one. A processor with
//   wider registers can keep these eight lanes in one.
// - Integer sums of products are exact (64 bits, or 128 where 32-bit
//   products could overflow 64) and are scaled by a shift at the end.
// Loads are unaligned, so alignment selects nothing and changes no result.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "frame/fixed.hpp"
#include "simd/simd.hpp"

namespace zel::mat {

// ---- Row accessors ----------------------------------------------------------------

// Element x of row y is base[y * step + x]. T may be const.
template <class T>
struct Block {
    T* base;
    int step;
    T* operator()(int y) const { return base + static_cast<ptrdiff_t>(y) * step; }
};

// Element x of row y is rows[y][x].
template <class T>
struct Table {
    T* const* rows;
    T* operator()(int y) const { return rows[y]; }
};

template <class T>
Block<T> block(T* p, int step) {
    return {p, step};
}
template <class T>
Table<T> table(T* const* rows) {
    return {rows};
}

// ---- Lanes of the accumulating type -------------------------------------------------

// Vector lanes for accumulator type A reading source type S; `ok` is false
// where a pair has no vector form and the plain loop is the kernel.
template <class A, class S>
struct Lanes {
    static constexpr bool ok = false;
};
template <>
struct Lanes<float, float> {
    static constexpr bool ok = true;
    static constexpr int n = 4;
    using V = simd::F32x4;
    static V zero() { return simd::zero4f(); }
    static V set(float x) { return simd::set1(x); }
    static V load(const float* p) { return simd::loadu4f(p); }
    static void store(float* p, V v) { simd::storeu(p, v); }
};
template <>
struct Lanes<float, int16_t> : Lanes<float, float> {
    // Reads exactly four elements, so a row may end on a page boundary.
    static V load(const int16_t* p) { return simd::cvt4f(simd::load4sTo32(p)); }
};
template <>
struct Lanes<double, double> {
    static constexpr bool ok = true;
    static constexpr int n = 2;
    using V = simd::F64x2;
    static V zero() { return simd::zero2d(); }
    static V set(double x) { return simd::set1(x); }
    static V load(const double* p) { return simd::loadu2d(p); }
    static void store(double* p, V v) { simd::storeu(p, v); }
};

// ---- Column reductions -----------------------------------------------------------------

// What a column reduction gathers for column j: s = the sum of t = (w[i] times)
// x[i][j], and, if asked, q = the sum of t times x[i][j]. The results go to
// out(j, s, q) column by column.
// One pass over the rows for K vectors of columns at the given offsets. The
// last offset may overlap the one before it (a row's last columns, read as
// a whole vector that ends at the width); its columns then come out twice
// with the same bits, and only those from `done` on go to `out`.
template <int K, class A, class S, bool W, bool Q, class Rows, class Out>
void columnGroup(Rows rows, int height, const int* off, const A* wgt, Out& out, int& done) {
    using L = Lanes<A, S>;
    using V = typename L::V;
    constexpr int n = L::n;
    V s[K], q[K];
    for (int k = 0; k < K; ++k) s[k] = q[k] = L::zero();
    for (int i = 0; i < height; ++i) {
        const S* r = rows(i);
        V w = L::zero();
        if constexpr (W) w = L::set(wgt[i]);
        for (int k = 0; k < K; ++k) {
            const V x = L::load(r + off[k]);
            const V t = W ? simd::mul(w, x) : x;
            s[k] = simd::add(s[k], t);
            if constexpr (Q) q[k] = simd::add(q[k], simd::mul(t, x));
        }
    }
    for (int k = 0; k < K; ++k) {
        A sb[n], qb[n];
        L::store(sb, s[k]);
        L::store(qb, q[k]);
        for (int c = done > off[k] ? done - off[k] : 0; c < n; ++c) out(off[k] + c, sb[c], qb[c]);
        done = off[k] + n;
    }
}

template <int K, class A, class S, bool W, bool Q, class Rows, class Out>
void columnGroupOf(int count, Rows rows, int height, const int* off, const A* wgt, Out& out, int& done) {
    if (count == K)
        columnGroup<K, A, S, W, Q>(rows, height, off, wgt, out, done);
    else if constexpr (K > 1)
        columnGroupOf<K - 1, A, S, W, Q>(count, rows, height, off, wgt, out, done);
}

// Every column of a table at least one vector wide. The columns are cut
// into as few groups as the registers allow (twelve vectors, six when the
// squares are summed as well), of nearly equal size, so that each pass over
// the rows keeps enough independent sums in flight; the last vector ends at
// the width and may overlap the one before it.
template <class A, class S, bool W, bool Q, class Rows, class Out>
void columnVectors(Rows rows, int height, int width, const A* wgt, Out& out) {
    constexpr int n = Lanes<A, S>::n, kMax = Q ? 6 : 12;
    const int vectors = (width + n - 1) / n;
    const int groups = (vectors + kMax - 1) / kMax;
    int next = 0, done = 0;
    for (int g = 0; g < groups; ++g) {
        const int count = vectors / groups + (g < vectors % groups ? 1 : 0);
        int off[kMax];
        for (int k = 0; k < count; ++k, next += n) off[k] = next + n <= width ? next : width - n;
        columnGroupOf<kMax, A, S, W, Q>(count, rows, height, off, wgt, out, done);
    }
}

// The plain form of the same arithmetic, eight columns at a time so that
// each row is still read in one pass; it serves the types without vector
// lanes and tables narrower than a vector.
template <class A, class S, bool W, bool Q, class Rows, class Out>
void columnPlain(Rows rows, int height, int j, int width, const A* wgt, Out& out) {
    constexpr int B = 8;
    for (; j < width; j += B) {
        const int nc = width - j < B ? width - j : B;
        A s[B] = {}, q[B] = {};
        for (int i = 0; i < height; ++i) {
            const S* r = rows(i) + j;
            for (int c = 0; c < nc; ++c) {
                const A x = static_cast<A>(r[c]);
                const A t = W ? static_cast<A>(wgt[i] * x) : x;
                s[c] = static_cast<A>(s[c] + t);
                if constexpr (Q) q[c] = static_cast<A>(q[c] + static_cast<A>(t * x));
            }
        }
        for (int c = 0; c < nc; ++c) out(j + c, s[c], q[c]);
    }
}

template <class A, class S, bool W, bool Q, class Rows, class Out>
void columnReduce(Rows rows, int height, int width, const A* wgt, Out out) {
    if constexpr (Lanes<A, S>::ok) {
        if (width >= Lanes<A, S>::n) {
            columnVectors<A, S, W, Q>(rows, height, width, wgt, out);
            return;
        }
    }
    columnPlain<A, S, W, Q>(rows, height, 0, width, wgt, out);
}

// ---- Row reductions ---------------------------------------------------------------------

// The lane fold of a row reduction: two vectors of n lanes, lane l of the
// second standing for lane n + l of the row.
inline float foldLanes(simd::F32x4 a, simd::F32x4 b) {
    const simd::F32x4 t = simd::add(a, b);
    return (simd::lane<0>(t) + simd::lane<1>(t)) + (simd::lane<2>(t) + simd::lane<3>(t));
}
inline double foldLanes(simd::F64x2 a, simd::F64x2 b) {
    const simd::F64x2 t = simd::add(a, b);
    return simd::lane<0>(t) + simd::lane<1>(t);
}

// The sums of R rows (times the vector v if kMul) over width elements, into
// out[0..R). The rows share each load of v.
template <int R, bool kMul, class A, class S>
inline __attribute__((always_inline)) void rowSums(const S* const* x, const S* v, int width, A* out) {
    using L = Lanes<A, S>;
    using V = typename L::V;
    constexpr int n = L::n;
    V a[R], b[R];
    for (int r = 0; r < R; ++r) a[r] = b[r] = L::zero();
    int j = 0;
    for (; j + 2 * n <= width; j += 2 * n) {
        V v0 = L::zero(), v1 = L::zero();
        if constexpr (kMul) {
            v0 = L::load(v + j);
            v1 = L::load(v + j + n);
        }
        for (int r = 0; r < R; ++r) {
            V x0 = L::load(x[r] + j), x1 = L::load(x[r] + j + n);
            if constexpr (kMul) {
                x0 = simd::mul(x0, v0);
                x1 = simd::mul(x1, v1);
            }
            a[r] = simd::add(a[r], x0);
            b[r] = simd::add(b[r], x1);
        }
    }
    if (j + n <= width) {
        V v0 = L::zero();
        if constexpr (kMul) v0 = L::load(v + j);
        for (int r = 0; r < R; ++r) {
            V x0 = L::load(x[r] + j);
            if constexpr (kMul) x0 = simd::mul(x0, v0);
            a[r] = simd::add(a[r], x0);
        }
        j += n;
    }
    if constexpr (std::is_same_v<A, float> && R == 4) {
        // Four rows fold together: after a transpose, lane r of each vector
        // belongs to row r, and the same pairwise fold and the tail run on
        // all four rows at once, in the same order as one row alone.
        simd::F32x4 t0 = simd::add(a[0], b[0]), t1 = simd::add(a[1], b[1]), t2 = simd::add(a[2], b[2]),
                    t3 = simd::add(a[3], b[3]);
        simd::transpose4(t0, t1, t2, t3);
        simd::F32x4 res = simd::add(simd::add(t0, t1), simd::add(t2, t3));
        if (j < width && width >= n) {
            // The last elements from a whole vector that ends at the width,
            // turned so that each of them serves the four rows at once.
            const int e = width - n;
            simd::F32x4 y[4];
            for (int r = 0; r < 4; ++r) y[r] = L::load(x[r] + e);
            if constexpr (kMul) {
                const simd::F32x4 ve = L::load(v + e);
                for (int r = 0; r < 4; ++r) y[r] = simd::mul(y[r], ve);
            }
            simd::transpose4(y[0], y[1], y[2], y[3]);
            for (int k = j - e; k < n; ++k) res = simd::add(res, y[k]);
            j = width;
        }
        for (int k = j; k < width; ++k) {
            simd::F32x4 e = simd::set4f(float(x[0][k]), float(x[1][k]), float(x[2][k]), float(x[3][k]));
            if constexpr (kMul) e = simd::mul(e, simd::set1(float(v[k])));
            res = simd::add(res, e);
        }
        simd::storeu(out, res);
        return;
    }
    for (int r = 0; r < R; ++r) {
        A t = foldLanes(a[r], b[r]);
        for (int k = j; k < width; ++k) {
            const A e = static_cast<A>(x[r][k]);
            t += kMul ? static_cast<A>(e * static_cast<A>(v[k])) : e;
        }
        out[r] = t;
    }
}

// Every row of the table reduced: out(i, sum of row i).
template <bool kMul, class A, class Rows, class S, class Out>
void rowReduce(Rows rows, const S* v, int width, int height, Out out) {
    int i = 0;
    A res[4];
    for (; i + 4 <= height; i += 4) {
        const S* x[4] = {rows(i), rows(i + 1), rows(i + 2), rows(i + 3)};
        rowSums<4, kMul, A>(x, v, width, res);
        for (int r = 0; r < 4; ++r) out(i + r, res[r]);
    }
    for (; i < height; ++i) {
        const S* x[1] = {rows(i)};
        rowSums<1, kMul, A>(x, v, width, res);
        out(i, res[0]);
    }
}

// ---- Exact integer sums of products ----------------------------------------------------

// A signed 128-bit accumulator made of two 64-bit words, for sums of 32-bit
// products, which 64 bits cannot hold beyond a few terms. It works the same
// on 32-bit builds, which have no 128-bit integer type.
struct Wide {
    uint64_t lo = 0;
    int64_t hi = 0;
    void add(int64_t v) {
        const uint64_t u = static_cast<uint64_t>(v);
        const uint64_t sum = lo + u;
        hi += (v < 0 ? -1 : 0) + (sum < lo ? 1 : 0);
        lo = sum;
    }
    bool fits64() const { return hi == (static_cast<int64_t>(lo) < 0 ? -1 : 0); }
};

// The shift rule on an exact sum, saturating on the way: s > 0 shifts right
// arithmetically (toward minus infinity), s < 0 shifts left.
inline int64_t shiftSat64(int64_t v, int s) {
    if (s >= 0) return s > 63 ? (v < 0 ? -1 : 0) : (v >> s);
    const int l = -s > 63 ? 63 : -s;
    const int64_t lim = INT64_MAX >> l;
    if (v > lim) return INT64_MAX;
    if (v < -lim) return INT64_MIN;
    return static_cast<int64_t>(static_cast<uint64_t>(v) << l);
}
inline int64_t shiftSat64(const Wide& w, int s) {
    if (w.fits64()) return shiftSat64(static_cast<int64_t>(w.lo), s);
    // Beyond 64 bits: only a right shift of at least the excess can bring
    // the value back into range.
    if (s > 0) {
        Wide t = w;
        for (int k = s > 127 ? 127 : s; k > 0;) {
            const int m = k > 32 ? 32 : k;
            t.lo = (t.lo >> m) | (static_cast<uint64_t>(t.hi) << (64 - m));
            t.hi >>= m;
            k -= m;
        }
        if (t.fits64()) return static_cast<int64_t>(t.lo);
    }
    return w.hi < 0 ? INT64_MIN : INT64_MAX;
}

template <class D>
D shiftSatTo(int64_t v, int s) {
    const int64_t r = shiftSat64(v, s);
    return std::is_same_v<D, int16_t> ? static_cast<D>(sat16(r)) : static_cast<D>(sat32(r));
}
template <class D>
D shiftSatTo(const Wide& w, int s) {
    const int64_t r = shiftSat64(w, s);
    return std::is_same_v<D, int16_t> ? static_cast<D>(sat16(r)) : static_cast<D>(sat32(r));
}

// The exact accumulator for products of S: 64 bits for 16-bit data, 128 for 32-bit.
template <class S>
using ExactSum = std::conditional_t<sizeof(S) == 2, int64_t, Wide>;
inline void accumulate(int64_t& acc, int64_t p) { acc += p; }
inline void accumulate(Wide& acc, int64_t p) { acc.add(p); }

// pDst[i] = sum over j of x[i][j] times v[j], exactly, then shifted and saturated.
template <class D, class S, class Rows>
void matVecExact(Rows rows, const S* v, int width, D* pDst, int height, int scaleFactor) {
    for (int i = 0; i < height; ++i) {
        const S* x = rows(i);
        ExactSum<S> acc{};
        for (int j = 0; j < width; ++j) accumulate(acc, int64_t(x[j]) * int64_t(v[j]));
        pDst[i] = shiftSatTo<D>(acc, scaleFactor);
    }
}

// pDst[j] = sum over i of v[i] times x[i][j], exactly; eight columns share a
// pass over the rows.
template <class D, class S, class Rows>
void vecMatExact(const S* v, Rows rows, int height, D* pDst, int width, int scaleFactor) {
    constexpr int B = 8;
    for (int j = 0; j < width; j += B) {
        const int nc = width - j < B ? width - j : B;
        ExactSum<S> acc[B] = {};
        for (int i = 0; i < height; ++i) {
            const S* x = rows(i) + j;
            for (int c = 0; c < nc; ++c) accumulate(acc[c], int64_t(v[i]) * int64_t(x[c]));
        }
        for (int c = 0; c < nc; ++c) pDst[j + c] = shiftSatTo<D>(acc[c], scaleFactor);
    }
}

// ---- Element-wise updates of a table ---------------------------------------------------

// x[i][j] = (x[i][j] - m[j]) * v[j] in single precision.
template <class Rows>
void normalizeColumns(Rows rows, int height, const float* m, const float* v, int width) {
    for (int i = 0; i < height; ++i) {
        float* x = rows(i);
        for (int j = 0; j < width; ++j) x[j] = (x[j] - m[j]) * v[j];
    }
}

// 16-bit: the 32-bit product (x - m) * v, shifted by scaleFactor without
// rounding, saturated to 16 bits. The product always fits in 32 bits.
template <class Rows>
void normalizeColumns(Rows rows, int height, const int16_t* m, const int16_t* v, int width, int scaleFactor) {
    for (int i = 0; i < height; ++i) {
        int16_t* x = rows(i);
        for (int j = 0; j < width; ++j) {
            const int32_t p = (int32_t(x[j]) - int32_t(m[j])) * int32_t(v[j]);
            x[j] = static_cast<int16_t>(sat16(shiftSat64(p, scaleFactor)));
        }
    }
}

// Every row minus the vector p; 16-bit differences saturate.
template <class T, class Rows>
void subRows(const T* p, int width, Rows rows, int height) {
    for (int i = 0; i < height; ++i) {
        T* x = rows(i);
        for (int j = 0; j < width; ++j) {
            if constexpr (std::is_same_v<T, int16_t>)
                x[j] = subSat16(x[j], p[j]);
            else
                x[j] = x[j] - p[j];
        }
    }
}

// ---- Gathers -----------------------------------------------------------------------------

template <class T, class SrcRows, class DstRows>
void copyColumns(SrcRows src, int width, DstRows dst, int height) {
    for (int i = 0; i < height; ++i) __builtin_memcpy(dst(i), src(i), size_t(width) * sizeof(T));
}

// dst[k] = src[pIndex[k]] in every row. An index outside the source row
// stops the call in the first row, with the elements before it written.
template <class T, class SrcRows, class DstRows>
bool copyColumnsIndirect(SrcRows src, int srcLen, DstRows dst, const int32_t* pIndex, int dstLen, int height) {
    for (int i = 0; i < height; ++i) {
        const T* s = src(i);
        T* d = dst(i);
        for (int k = 0; k < dstLen; ++k) {
            const int32_t ix = pIndex[k];
            if (i == 0 && (ix < 0 || ix >= srcLen)) return false;
            d[k] = s[ix];
        }
    }
    return true;
}

// ---- Rank selection ------------------------------------------------------------------------

// The element of rank N in descending order of a[0..len), by a quickselect
// that reorders a. Elements at or above the pivot gather on the left, and a
// run of values equal to the pivot is stepped over at once, so that many
// equal values do not slow it down. NaN compares below nothing, so the
// result is then of no defined rank; the scans are bounded and the range
// shrinks every round, so the search always ends.
template <class T>
T nthMax(T* a, int len, int N) {
    int lo = 0, hi = len - 1;
    while (lo < hi) {
        const T pivot = a[lo];
        int l = lo + 1, h = hi;
        for (;;) {
            while (l <= h && !(a[l] < pivot)) ++l;
            while (h >= l && a[h] < pivot) --h;
            if (l >= h) break;
            const T t = a[l];
            a[l] = a[h];
            a[h] = t;
        }
        const int p = l - 1;  // the last of the left part
        a[lo] = a[p];
        a[p] = pivot;
        int q = p;
        while (q > lo && a[q - 1] == pivot) --q;
        if (N >= q && N <= p) return pivot;
        if (N < q)
            hi = q - 1;
        else
            lo = p + 1;
    }
    return a[lo];
}

// ---- Column operations of the decomposition (double precision) ---------------------------
// A column is read from row `row` to the last; the sums run down the column.

template <class Rows>
double sumColumnAbs(Rows m, int height, int col, int row) {
    double s = 0.0;
    for (int r = row; r < height; ++r) s += fabs(m(r)[col]);
    return s;
}
// Scales that part of the column by val in place; the sum of squares of the scaled values.
template <class Rows>
double sumColumnSqr(Rows m, int height, int col, int row, double val) {
    double s = 0.0;
    for (int r = row; r < height; ++r) {
        double* p = m(r) + col;
        const double x = *p * val;
        *p = x;
        s += x * x;
    }
    return s;
}
template <class Rows>
double dotProdColumn(Rows m, int height, int col1, int col2, int row) {
    double s = 0.0;
    for (int r = row; r < height; ++r) s += m(r)[col1] * m(r)[col2];
    return s;
}
template <class Rows>
void mulColumn(Rows m, int height, int col, int row, double val) {
    for (int r = row; r < height; ++r) m(r)[col] *= val;
}
// m[r][col2] += m[r][col1] * val.
template <class Rows>
void addMulColumn(Rows m, int height, int col1, int col2, int row, double val) {
    for (int r = row; r < height; ++r) {
        double* x = m(r);
        x[col2] += x[col1] * val;
    }
}
// The plane rotation of two columns over all rows:
// col2 = c * col2 + s * col1, col1 = col1 * c - col2 * s.
template <class Rows>
void qrTransColumn(Rows m, int height, int col1, int col2, double c, double s) {
    for (int r = 0; r < height; ++r) {
        double* x = m(r);
        const double t = x[col2] * s;
        x[col2] = c * x[col2] + s * x[col1];
        x[col1] = x[col1] * c - t;
    }
}

inline double sumRowAbs(const double* p, int len) {
    double s = 0.0;
    for (int k = 0; k < len; ++k) s += fabs(p[k]);
    return s;
}
inline double sumRowSqr(double* p, int len, double val) {
    double s = 0.0;
    for (int k = 0; k < len; ++k) {
        const double x = p[k] * val;
        p[k] = x;
        s += x * x;
    }
    return s;
}
inline void addMulRow(const double* pSrc, double* pSrcDst, int len, double val) {
    for (int k = 0; k < len; ++k) pSrcDst[k] += pSrc[k] * val;
}

}  // namespace zel::mat
