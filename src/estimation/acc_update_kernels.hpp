// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the accumulators and updates of Gaussian re-estimation.
//
// Nearly every function here is element-wise: each output element is a
// fixed formula of the same element of the inputs, so the vector kernels
// that the compiler forms from these loops give the same bits as the scalar
// tail and as the portable build (contraction is off, and no sum is
// reordered). Where a result depends on an order — a weight sum, a column
// sum, the covariance accumulation — the order is the rows' and the
// elements' own, left to right, and the loops keep it.
//
// Templates over the element type T serve the 32-bit and 64-bit members; C
// is the type a formula computes in where it differs from the storage.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include <limits>

#include "frame/fixed.hpp"
#include "simd/simd.hpp"

namespace zel::est {

// ---- Occupation counts -----------------------------------------------------

// A count at or below the smallest normal number of its type counts as zero.
template <class T>
constexpr bool isZeroOcc(T occ) {
    return (occ < T(0) ? -occ : occ) <= std::numeric_limits<T>::min();
}

// ---- Moments of one frame --------------------------------------------------

// The vector of each element type and its loads and stores; `Aligned`
// picks the load and store instructions and nothing else.
template <class T>
struct Lanes;
template <>
struct Lanes<float> {
    using V = simd::F32x4;
    static constexpr int kWidth = 4;
};
template <>
struct Lanes<double> {
    using V = simd::F64x2;
    static constexpr int kWidth = 2;
};
template <bool Aligned>
inline simd::F32x4 load(const float* p) {
    if constexpr (Aligned) return simd::load4f(p); else return simd::loadu4f(p);
}
template <bool Aligned>
inline simd::F64x2 load(const double* p) {
    if constexpr (Aligned) return simd::load2d(p); else return simd::loadu2d(p);
}
template <bool Aligned, class V, class T>
inline void store(T* p, V v) {
    if constexpr (Aligned) simd::store(p, v); else simd::storeu(p, v);
}

// Walks len elements eight at a time, then four, then one: `vec(i)` handles
// one vector from element i, `one(i)` a single element. Every element gets
// the same formula either way, so the split changes no result.
template <class T, class Vec, class One>
inline void byEight(int len, Vec vec, One one) {
    constexpr int w = Lanes<T>::kWidth;
    int i = 0;
    for (; i + 8 <= len; i += 8)
        for (int k = 0; k < 8; k += w) vec(i + k);
    if (i + 4 <= len) {
        for (int k = 0; k < 4; k += w) vec(i + k);
        i += 4;
    }
    // At most three elements remain: no loop, so the compiler adds no
    // vector version of it, with the alias tests that would need.
    switch (len - i) {
        case 3: one(i + 2); [[fallthrough]];
        case 2: one(i + 1); [[fallthrough]];
        case 1: one(i); break;
        default: break;
    }
}

// d = x - mean, t = d * val: meanAcc += t, varAcc += d * t.
template <bool Aligned, class T>
void meanVarAcc(const T* x, const T* mean, T* meanAcc, T* varAcc, int len, T val) {
    const auto v = simd::set1(val);
    byEight<T>(
        len,
        [=](int i) {
            const auto d = simd::sub(load<Aligned>(x + i), load<Aligned>(mean + i));
            const auto t = simd::mul(d, v);
            store<Aligned>(meanAcc + i, simd::add(load<Aligned>(meanAcc + i), t));
            store<Aligned>(varAcc + i, simd::add(load<Aligned>(varAcc + i), simd::mul(d, t)));
        },
        [=](int i) {
            const T d = x[i] - mean[i];
            const T t = d * val;
            meanAcc[i] += t;
            varAcc[i] += d * t;
        });
}

// ---- Updates ---------------------------------------------------------------

// Single precision multiplies by the reciprocal formed once; double divides
// each element (fewer roundings where it costs least).
template <class T>
struct Scaled {
    T occ, r;
    explicit Scaled(T o) : occ(o), r(T(1) / o) {}
    T operator()(T a) const {
        if constexpr (sizeof(T) == 4) return a * r;
        else return a / occ;
    }
};

template <class T>
void updateMean(const T* meanAcc, T* mean, int len, T meanOcc) {
    const Scaled<T> by(meanOcc);
    for (int i = 0; i < len; ++i) mean[i] += by(meanAcc[i]);
}

// Returns the number of floored elements. Single precision keeps a NaN
// (it floors only where x <= floor holds); double stores x only where it
// lies above the floor, so a NaN is floored.
template <class T>
int updateVar(const T* meanAcc, const T* varAcc, const T* varFloor, T* var, int len, T meanOcc, T varOcc) {
    const Scaled<T> byMean(meanOcc), byVar(varOcc);
    int floored = 0;
    for (int i = 0; i < len; ++i) {
        const T m = byMean(meanAcc[i]);
        const T x = byVar(varAcc[i]) - m * m;
        bool low;
        if constexpr (sizeof(T) == 4) low = x <= varFloor[i];
        else low = !(x > varFloor[i]);
        var[i] = low ? varFloor[i] : x;
        floored += low;
    }
    return floored;
}

template <class T>
int updateWeight(const T* weightAcc, T* weight, int len, T* weightSum, T weightOcc, T weightFloor) {
    const T r = T(1) / weightOcc;
    int floored = 0;
    T sum = T(0);
    for (int i = 0; i < len; ++i) {
        T w = weightAcc[i] * r;
        const bool low = w <= weightFloor;
        if (low) w = weightFloor;
        weight[i] = w;
        sum += w;
        floored += low;
    }
    *weightSum = sum;
    return floored;
}

// ---- New variance ----------------------------------------------------------

// (var - mean^2 * val1) * val2 with the mean squared in single precision and
// the rest in C.
template <class C>
inline C newVar(float mean, float var, float val1, float val2) {
    const float m2 = mean * mean;
    return (C(var) - C(m2) * C(val1)) * C(val2);
}

// ---- Column sums -------------------------------------------------------------

// Columns go in blocks whose sums stay on the stack while all rows pass;
// each sum runs down its column in row order, in single precision.
constexpr int kColumnBlock = 64;

// `load(j)` gives the starting sums of column j, `store(j, sum, sumSq)` takes
// the finished ones.
template <class S, class Load, class Store>
void columnSums(const S* src, int step, int height, int width, Load load, Store store) {
    float sum[kColumnBlock], sq[kColumnBlock];
    for (int j0 = 0; j0 < width; j0 += kColumnBlock) {
        const int n = width - j0 < kColumnBlock ? width - j0 : kColumnBlock;
        for (int k = 0; k < n; ++k) load(j0 + k, sum[k], sq[k]);
        for (int y = 0; y < height; ++y) {
            const S* row = src + ptrdiff_t(y) * step + j0;
            for (int k = 0; k < n; ++k) {
                const float x = float(row[k]);
                sum[k] += x;
                sq[k] += x * x;
            }
        }
        for (int k = 0; k < n; ++k) store(j0 + k, sum[k], sq[k]);
    }
}

// ---- Covariance ----------------------------------------------------------------

// val scales the whole lower triangle, earlier contents included, and each
// product is mirrored above the diagonal.
template <class Dst>
void scaleAndMirror(Dst dst, int width, double val) {
    for (int i = 0; i < width; ++i) {
        double* row = dst(i);
        for (int j = 0; j <= i; ++j) {
            const double v = row[j] * val;
            row[j] = v;
            dst(j)[i] = v;
        }
    }
}

// ---- Weighted sums -------------------------------------------------------------

// The two coefficients of the weighted sum: c1 = weight1 * q, c2 = q * weight2
// in the plain form, c1 = q, c2 = weight2 * q in the Half form.
template <class C>
struct Coefficients {
    C c1, c2;
};
template <class C>
Coefficients<C> coefficients(C weight1, C weight2, C s, bool half) {
    const C q = C(1) / s;
    if (half) return {q, weight2 * q};
    return {weight1 * q, q * weight2};
}

template <class T, class C, class Store>
void weightedSum(const T* a, const T* b, int len, Coefficients<C> c, Store store) {
    for (int i = 0; i < len; ++i) store(i, C(a[i]) * c.c1 + C(b[i]) * c.c2);
}

// With a zero weight sum only the sign of the plain weighted sum v survives.
enum class SignOf { Zero, Positive, Negative };
template <class C>
SignOf signOf(C v) {
    return v > C(0) ? SignOf::Positive : (v < C(0) ? SignOf::Negative : SignOf::Zero);
}

}  // namespace zel::est
