// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the filter banks: the mel scale, the centres and weights of
// the builders (one source for the float rows and the Q14 rows), the Q30
// integer bank, and the evaluation kernels.
#pragma once

#include <math.h>
#include <stdint.h>

#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "frontend/fbank.hpp"
#include "simd/simd.hpp"

namespace zel::fbank {

namespace sv = zel::simd;

// ---- The mel scale -------------------------------------------------------------

// The exported conversions take the reciprocal once; logarithm and
// exponential run in double and only the final product is rounded to single.
inline float linearToMel(float f, double melMul, double recipDiv) {
    return float(melMul * log(1.0 + double(f) * recipDiv));
}
inline float melToLinear(float m, double melDiv, double recipMul) {
    return float(melDiv * (exp(double(m) * recipMul) - 1.0));
}

// The builders' scale: mel(f) = single(melMul * ln(1 + f / melDiv)), the
// logarithm's argument and result in double.
struct MelScale {
    float melMul, melDiv;
    float binHz;  // sampFreq / fftLen
    float fftLen, sampFreq;

    float mel(float f) const { return float(double(melMul) * log(1.0 + double(f) / double(melDiv))); }
    // The mel value of FFT bin k.
    float melOfBin(int k) const {
        return float(double(melMul) * log(1.0 + double(k) * double(binHz) / double(melDiv)));
    }
    // The bin position of a mel value: fftLen / sampFreq * melDiv * single(exp(m / melMul) - 1).
    float binOfMel(float m) const {
        const float e = float(exp(double(m) / double(melMul)) - 1.0);
        return float(double(fftLen) / double(sampFreq) * double(melDiv) * double(e));
    }
};

inline MelScale melScale(float melMul, float melDiv, float sampFreq, int fftLen) {
    return MelScale{melMul, melDiv, sampFreq / float(fftLen), float(fftLen), sampFreq};
}

// i * span / parts + base, formed in double and rounded once.
inline float evenlySpaced(int i, float span, int parts, float base) {
    return float(double(i) * double(span) / double(parts) + double(base));
}

// ---- Weights ------------------------------------------------------------------

// The hardware's truncating conversion: out of range and NaN give the most
// negative integer.
inline Zel32s truncHw(float v) { return sv::lane<0>(sv::cvtTrunc(sv::set1(v))); }

// Float rows hold the ratios as they are; Q14 rows scale the numerator by
// 16384 before the division and truncate, and form the lines by integer
// division.
template <class W>
struct Weights;

template <>
struct Weights<Zel32f> {
    static Zel32f ratio(float num, float den) { return num / den; }
    static Zel32f line(int num, int w) { return float(num) / float(w); }
    static Zel32f nonNegative(Zel32f v) { return v < 0.0f ? 0.0f : v; }
};

template <>
struct Weights<Zel32s> {
    static Zel32s ratio(float num, float den) { return truncHw((num * 16384.0f) / den); }
    static Zel32s line(int num, int w) { return Zel32s((int64_t(num) << kCoeffShift16s) / w); }
    static Zel32s nonNegative(Zel32s v) { return v < 0 ? 0 : v; }
};

// Straight lines in bin number: the rising run starts at c[i-1] itself and
// reaches exactly 1 at the centre, the falling run starts at (w-1)/w past it
// and ends at 1/w. Neither end falls to zero.
template <class W>
void lineRows(W* left, W* right, const Zel32s* c, int i) {
    const int wl = c[i] - c[i - 1] + 1;
    for (int j = 0; j < wl; ++j) left[j] = Weights<W>::line(j + 1, wl);
    const int wr = c[i + 1] - c[i] + 1;
    for (int j = 0; j < wr - 1; ++j) right[j] = Weights<W>::line(wr - 1 - j, wr);
}

// The rows of a plain mel bank. m holds the nFilter + 2 mel centres.
template <class W>
void melBankRows(W* const* left, W* const* right, const Zel32s* c, const float* m, int nFilter, bool binWeights,
                 const MelScale& s) {
    using P = Weights<W>;
    for (int i = 1; i <= nFilter; ++i) {
        W* l = left[i - 1];
        W* r = right[i - 1];
        if (binWeights) {
            lineRows(l, r, c, i);
            continue;
        }
        // Element 0 stays 0. Centres are truncated, so a weight may pass 1 a little.
        float d = m[i] - m[i - 1];
        for (int k = c[i - 1] + 1; k <= c[i]; ++k) l[k - c[i - 1]] = P::ratio(s.melOfBin(k) - m[i - 1], d);
        d = m[i + 1] - m[i];
        for (int k = c[i] + 1; k <= c[i + 1]; ++k) r[k - c[i] - 1] = P::ratio(m[i + 1] - s.melOfBin(k), d);
    }
}

// The rows of a mixed bank. f holds the frequencies of the linear centres
// 0 .. nLinear (0 .. nFilter + 1 when all filters are linear).
template <class W>
void melLinBankRows(W* const* left, W* const* right, const Zel32s* c, const float* f, int nFilter, int nLinear,
                    bool binWeights, const MelScale& s) {
    using P = Weights<W>;
    const bool allLinear = nLinear == nFilter;
    if (binWeights) {
        for (int i = 1; i <= nFilter; ++i) lineRows(left[i - 1], right[i - 1], c, i);
        return;
    }
    // Rising runs on the mel scale between the linear frequencies, from element 0.
    auto risingMel = [&](int i) {
        const float a = s.mel(f[i - 1]), b = s.mel(f[i]);
        W* l = left[i - 1];
        for (int k = c[i - 1]; k <= c[i]; ++k) l[k - c[i - 1]] = P::nonNegative(P::ratio(s.melOfBin(k) - a, b - a));
    };
    const int lastMel = allLinear ? nFilter : nLinear - 1;
    for (int i = 1; i <= lastMel; ++i) {
        risingMel(i);
        const float b = s.mel(f[i]), e = s.mel(f[i + 1]);
        W* r = right[i - 1];
        for (int k = c[i] + 1; k <= c[i + 1]; ++k) r[k - c[i] - 1] = P::nonNegative(P::ratio(e - s.melOfBin(k), e - b));
    }
    if (allLinear) return;
    // The filter at the seam keeps its mixed falling side: a bin number less a
    // mel value, over the bin distance. Most of the run clamps to zero; banks
    // must come out as they always have.
    const int i = nLinear;
    risingMel(i);
    W* r = right[i - 1];
    const float top = float(c[i + 1]), width = float(c[i + 1] - c[i]);
    for (int k = c[i] + 1; k <= c[i + 1]; ++k) r[k - c[i] - 1] = P::nonNegative(P::ratio(top - s.melOfBin(k), width));
    for (int j = nLinear + 1; j <= nFilter; ++j) lineRows(left[j - 1], right[j - 1], c, j);
}

// ---- Float evaluation --------------------------------------------------------------

// Eight accumulators of one filter: lane t of lo is accumulator t, lane t of
// hi accumulator t + 4.
struct Acc8 {
    sv::F32x4 lo, hi;
};

inline Acc8 zeroAcc() { return Acc8{sv::zero4f(), sv::zero4f()}; }

inline void addOne(Acc8& a, float x, float w) { a.lo = sv::addLane0(a.lo, x * w); }

// A run in blocks of eight, element 8n + t into accumulator t, and what is
// left one by one into accumulator 0.
inline void addRun(Acc8& a, const float* x, const float* w, int n) {
    int j = 0;
    for (; j + 8 <= n; j += 8) {
        a.lo = sv::add(a.lo, sv::mul(sv::loadu4f(x + j), sv::loadu4f(w + j)));
        a.hi = sv::add(a.hi, sv::mul(sv::loadu4f(x + j + 4), sv::loadu4f(w + j + 4)));
    }
    for (; j < n; ++j) addOne(a, x[j], w[j]);
}

// Two runs over the same bins, each grouped exactly as addRun groups it, so
// that every spectrum element is loaded once for both filters.
inline void addRunPair(Acc8& a, const float* wa, Acc8& b, const float* wb, const float* x, int n) {
    int j = 0;
    for (; j + 8 <= n; j += 8) {
        const sv::F32x4 x0 = sv::loadu4f(x + j), x1 = sv::loadu4f(x + j + 4);
        a.lo = sv::add(a.lo, sv::mul(x0, sv::loadu4f(wa + j)));
        a.hi = sv::add(a.hi, sv::mul(x1, sv::loadu4f(wa + j + 4)));
        b.lo = sv::add(b.lo, sv::mul(x0, sv::loadu4f(wb + j)));
        b.hi = sv::add(b.hi, sv::mul(x1, sv::loadu4f(wb + j + 4)));
    }
    for (; j < n; ++j) {
        addOne(a, x[j], wa[j]);
        addOne(b, x[j], wb[j]);
    }
}

// ((a0 + a4) + (a2 + a6)) + ((a1 + a5) + (a3 + a7)).
inline float fold(const Acc8& a) {
    const sv::F32x4 u = sv::add(a.lo, a.hi);
    const sv::F32x4 v = sv::add(u, sv::highPairToLow(u));
    return sv::lane<0>(v) + sv::lane<1>(v);
}

// One pass over the bins. Filter i sums its left element 0 at c[i-1] first,
// then the rest of its rising run, then its falling run; while the falling run
// of filter i walks c[i] + 1 .. c[i+1], the rising run of filter i + 1 walks
// the same bins. An empty falling run reads nothing, so a run that ends on the
// top bin never reaches past the spectrum.
inline void evalBank32f(const float* x, float* dst, const Zel32s* c, const float* const* left,
                        const float* const* right, int nFilter) {
    Acc8 cur = zeroAcc();
    addOne(cur, x[c[0]], left[0][0]);
    addRun(cur, x + c[0] + 1, left[0] + 1, c[1] - c[0]);
    for (int i = 1; i < nFilter; ++i) {
        Acc8 next = zeroAcc();
        addOne(next, x[c[i]], left[i][0]);
        addRunPair(cur, right[i - 1], next, left[i] + 1, x + c[i] + 1, c[i + 1] - c[i]);
        dst[i - 1] = fold(cur);
        cur = next;
    }
    addRun(cur, x + c[nFilter] + 1, right[nFilter - 1], c[nFilter + 1] - c[nFilter]);
    dst[nFilter - 1] = fold(cur);
}

// ---- Integer evaluation --------------------------------------------------------------

// Exact sums in 64 bits, filter by filter; `product` forms one term. The sums
// wrap rather than overflow, so the order of the terms cannot matter.
template <class X, class Product, class Store>
void evalBankInt(const X* x, const Zel32s* c, const Zel32s* const* left, const Zel32s* const* right, int nFilter,
                 Product product, Store store) {
    for (int i = 1; i <= nFilter; ++i) {
        uint64_t s = 0;
        const Zel32s* l = left[i - 1];
        const Zel32s* r = right[i - 1];
        const X* xl = x + c[i - 1];
        const X* xr = x + c[i] + 1;
        for (int j = 0; j <= c[i] - c[i - 1]; ++j) s += uint64_t(product(xl[j], l[j]));
        for (int j = 0; j < c[i + 1] - c[i]; ++j) s += uint64_t(product(xr[j], r[j]));
        store(i - 1, int64_t(s));
    }
}

// A 64-bit total shifted by a signed count: right, toward minus infinity, for
// s > 0; left, wrapping, for s < 0. A count of 64 or more leaves the sign on
// the right and nothing on the left.
constexpr int64_t shiftTotal(int64_t v, int64_t s) {
    if (s >= 64) return v < 0 ? -1 : 0;
    if (s >= 0) return v >> s;
    if (s <= -64) return 0;
    return int64_t(uint64_t(v) << -s);
}

// The Q30 bank's output: the total shifted by the scale factor (a positive
// overflow upward gives the largest 64-bit value, a negative total is not
// limited), then by 22 more with bit 21 added, limited above to the largest
// 32-bit value and cut to 32 bits below.
constexpr Zel32s q30Output(int64_t total, int scaleFactor) {
    if (scaleFactor > 0) {
        total >>= scaleFactor;
    } else if (scaleFactor < 0) {
        const int up = -scaleFactor;
        total = total > (INT64_MAX >> up) ? INT64_MAX : int64_t(uint64_t(total) << up);
    }
    const int64_t r = (total >> 22) + ((total >> 21) & 1);
    return r > kMax32 ? kMax32 : wrap32(r);
}

// ---- The Q30 integer bank ---------------------------------------------------------

namespace q30 {

constexpr int64_t kLn2Q31 = 1488522236;
constexpr int64_t kLog2eQ31 = 3098164009;
constexpr int64_t kOneQ22 = int64_t(1) << 22;
constexpr int64_t kLimitQ22 = 2147483647;

// ln(1 + 2^-k) and ln(1 - 2^-k) in Q31, nearest, k = 1 .. 32.
constexpr int64_t kLnOnePlus[32] = {
    870729689, 479197128, 252937143, 130190384, 66081634, 33294987, 16712019, 8372267,
    4190213,   2096129,   1048320,   524224,    262128,   131068,   65535,    32768,
    16384,     8192,      4096,      2048,      1024,     512,      256,      128,
    64,        32,        16,        8,         4,        2,        1,        0};
constexpr int64_t kLnOneMinus[32] = {
    -1488522236, -617792546, -286756482, -138595419, -68179810, -33819339, -16843095, -8405035,
    -4198405,    -2098177,   -1048832,   -524352,    -262160,   -131076,   -65537,    -32768,
    -16384,      -8192,      -4096,      -2048,      -1024,     -512,      -256,      -128,
    -64,         -32,        -16,        -8,         -4,        -2,        -1,        -1};

// ln of a positive Q22 value, in Q22: the exponent, then 31 fraction bits of
// log2 by repeated squaring of the Q29 mantissa.
constexpr int64_t lnQ22(int64_t v) {
    int n = 63 - __builtin_clzll(uint64_t(v));
    int64_t y = n > 29 ? v >> (n - 29) : v << (29 - n);
    int64_t fraction = 0;
    for (int k = 0; k < 31; ++k) {
        y = (y * y) >> 29;
        fraction <<= 1;
        if (y >= 0x40000000) {
            fraction |= 1;
            y >>= 1;
        }
    }
    return (kLn2Q31 * (n - 22) + ((kLn2Q31 * fraction) >> 31)) >> 9;
}

// exp(z) for a Q31 z in [0, ln 2), in Q31, by shift and add.
constexpr int64_t expQ31(int64_t z) {
    int64_t x = int64_t(1) << 31;
    for (int k = 1; k <= 32; ++k) {
        if (z > kLnOnePlus[k - 1]) {
            z -= kLnOnePlus[k - 1];
            x += x >> k;
        } else if (z < kLnOneMinus[k - 1]) {
            z -= kLnOneMinus[k - 1];
            x -= x >> k;
        }
    }
    return x;
}

// Centre bins of the integer bank. Frequencies in hertz, melMul and melDiv
// in Q15. Products wrap rather than overflow: arguments at the far ends of
// their ranges give centres that the builder then refuses.
inline void centres(Zel32s* c, int nFilter, int fftLen, int sampFreq, int lowFreq, int highFreq, Zel32s melMul,
                    Zel32s melDiv) {
    const int64_t mulQ22 = int64_t(melMul) << 7, divQ22 = int64_t(melDiv) << 7;
    const int64_t lnDiv = lnQ22(divQ22);
    const int64_t melLow = (melMul * (lnQ22((int64_t(lowFreq) << 22) + divQ22) - lnDiv)) >> 15;
    const int64_t melHigh = (melMul * (lnQ22((int64_t(highFreq) << 22) + divQ22) - lnDiv)) >> 15;
    const int64_t range = melHigh - melLow;
    const int64_t k = (divQ22 * ((int64_t(fftLen) << 22) / sampFreq)) >> 22;
    const int64_t parts = nFilter + 1;
    for (int i = 0; i <= nFilter + 1; ++i) {
        const int64_t m = (range * i + melLow * parts) / parts;
        const int64_t t = (m << 22) / mulQ22;
        const int64_t u = (kLog2eQ31 * t) >> 22;  // log2 of the ratio, Q31
        const int64_t whole = u >> 31;
        const int64_t z = (kLn2Q31 * (u & 0x7fffffff)) >> 31;
        const int64_t x = expQ31(z);
        const int64_t down = 9 - whole;  // Q31 to Q22, times 2^whole
        int64_t xq = down <= 0 ? kLimitQ22 : (down > 63 ? 0 : x >> down);
        if (xq > kLimitQ22) xq = kLimitQ22;
        const int64_t v = int64_t(uint64_t(k) * uint64_t(xq - kOneQ22)) >> 22;
        c[i] = Zel32s((v >> 22) + ((v >> 21) & 1));
    }
}

// Line rows in Q30: the centre element is exactly 1.
inline void rows(Zel32s* const* left, Zel32s* const* right, const Zel32s* c, int nFilter) {
    for (int i = 1; i <= nFilter; ++i) {
        const int64_t wl = c[i] - c[i - 1] + 1;
        for (int64_t j = 0; j < wl; ++j) left[i - 1][j] = Zel32s(((j + 1) << 30) / wl);
        const int64_t wr = c[i + 1] - c[i] + 1;
        for (int64_t j = 0; j < wr - 1; ++j) right[i - 1][j] = Zel32s(((wr - 1 - j) << 30) / wr);
    }
}

}  // namespace q30

}  // namespace zel::fbank
