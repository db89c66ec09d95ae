// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the signal-conditioning family: offset compensation, mean
// removal, energy normalisation, sign-change counts, padding, the unit curve,
// inverse roots, sinc, the Gaussian curve, range normalisation and entropy.
// Each formula is written once, over the element type; the vector bodies use
// the vocabulary of src/simd, whose portable form gives the same lanes, so
// every build gives the same bits.
#pragma once

#include <math.h>
#include <stdint.h>
#include <string.h>

#include <type_traits>

#include "frame/fixed.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::cond {

// ---- Offset compensation: y[n] = x[n] - x[n-1] + val * y[n-1] ----------------
// A serial recursion: each output waits for the one before it. In place works
// because the previous input is held in a register before it is overwritten.

inline void compensateOffset(const float* x, float* y, int len, float* prevIn, float prevOut, float val) {
    float last = *prevIn;
    float out = (val * prevOut + x[0]) - last;
    last = x[0];
    y[0] = out;
    for (int n = 1; n < len; ++n) {
        const float xn = x[n];
        out = (xn - last) + val * out;
        last = xn;
        y[n] = out;
    }
    *prevIn = last;
}

// The 16-bit form starts in single precision, then runs in integers with the
// factor in Q12 and each output saturated before it feeds the next.
inline void compensateOffset(const Zel16s* x, Zel16s* y, int len, Zel16s* prevIn, Zel16s prevOut, float val) {
    float first = (float(x[0]) + float(prevOut) * val) - float(*prevIn);
    int32_t out = satRounded16(truncf(first));  // limited, then toward zero; NaN gives -32768
    // The Q12 factor saturates to 32 bits (NaN to the most negative), so the
    // 64-bit recursion cannot overflow whatever val the caller passes.
    const int64_t v12 = satRounded32(nearbyint(double(val) * 4096.0));
    int32_t last = x[0];
    y[0] = Zel16s(out);
    for (int n = 1; n < len; ++n) {
        const int32_t xn = x[n];
        const int64_t e = (int64_t(xn - last) << 12) + int64_t(out) * v12;
        out = sat16(e >> 12);
        last = xn;
        y[n] = Zel16s(out);
    }
    *prevIn = Zel16s(last);
}

// Q15: negative results round toward zero when the product has a fraction.
inline void compensateOffsetQ15(const Zel16s* x, Zel16s* y, int len, Zel16s* prevIn, Zel16s prevOut, Zel16s valQ15) {
    int32_t last = *prevIn, out = prevOut;
    for (int n = 0; n < len; ++n) {
        const int32_t xn = x[n];
        const int64_t prod = int64_t(out) * valQ15;
        const int64_t e = (int64_t(xn - last) << 15) + prod;
        int64_t r = e >> 15;
        if (e < 0 && (prod & 0x7fff) != 0) r += 1;
        out = sat16(r);
        last = xn;
        y[n] = Zel16s(out);
    }
    *prevIn = Zel16s(last);
}

// ---- Mean removal ------------------------------------------------------------
// Short vectors keep the odd rounding step of their kernel; long ones shift
// plainly, so the same data can differ by one between the two.
inline void zeroMean(Zel16s* p, int len) {
    uint32_t s = 0;
    for (int i = 0; i < len; ++i) s += uint32_t(int32_t(p[i]));
    const int64_t twice = 2 * int64_t(int32_t(s));
    const int64_t m = len < 65 ? twice / len : int64_t(trunc(double(twice) / double(len)));
    for (int i = 0; i < len; ++i) {
        int64_t t = 2 * int64_t(p[i]) - m;
        if (len < 65) t += t < 0 ? -1 : (t > 0 ? 1 : 0);
        p[i] = sat16(t >> 1);
    }
}

// ---- Energy normalisation ------------------------------------------------------
// silenceFloor is in decibels; 0.230259 turns it into natural-log units.
constexpr float kDbToNeper = 0.230259f;

// The largest of a strided column, from -FLT_MAX: a NaN never wins, so the
// result does not depend on the order in which lanes are compared.
inline float columnMax(const float* p, int step, int len) {
    using namespace simd;
    float m = -3.4028235e38f;
    int i = 0;
    if (step == 1 && len >= 16) {
        F32x4 a = set1(m), b = a, c = a, d = a;
        for (; i + 16 <= len; i += 16) {
            a = max(loadu4f(p + i), a);
            b = max(loadu4f(p + i + 4), b);
            c = max(loadu4f(p + i + 8), c);
            d = max(loadu4f(p + i + 12), d);
        }
        a = max(max(a, b), max(c, d));
        float l[4];
        storeu(l, a);
        for (float v : l) m = v > m ? v : m;
    }
    for (; i < len; ++i) {
        const float v = p[size_t(i) * step];
        m = v > m ? v : m;
    }
    return m;
}

inline void normEnergy(float* p, int step, int len, float floorDb, float eMax, float scale) {
    using namespace simd;
    const float eMin = eMax - floorDb * kDbToNeper;
    int i = 0;
    if (step == 1) {
        const F32x4 vMax = set1(eMax), vMin = set1(eMin), vScale = set1(scale), one = set1(1.0f);
        for (; i + 4 <= len; i += 4)
            storeu(p + i, sub(one, mul(sub(vMax, max(loadu4f(p + i), vMin)), vScale)));
    }
    for (; i < len; ++i) {
        float& v = p[size_t(i) * step];
        const float x = v > eMin ? v : eMin;
        v = 1.0f - (eMax - x) * scale;
    }
}

// 16-bit: log energies, maxE and silenceFloor in the caller's units, the
// factor and the result in Q15, through the float formula.
inline void normEnergy(Zel16s* p, int step, int len, Zel16s floorDb, Zel16s eMax, Zel16s scaleQ15) {
    const float eMin = float(eMax) - float(floorDb) * kDbToNeper;
    const float scale = float(scaleQ15) * (1.0f / 32768.0f);
    for (int i = 0; i < len; ++i) {
        Zel16s& v = p[size_t(i) * step];
        const float x = float(v) > eMin ? float(v) : eMin;
        v = satRounded16(roundHalfEven((1.0f - (float(eMax) - x) * scale) * 32768.0f));
    }
}

inline Zel16s columnMax(const Zel16s* p, int step, int len) {
    Zel16s m = -32768;
    for (int i = 0; i < len; ++i) m = p[size_t(i) * step] > m ? p[size_t(i) * step] : m;
    return m;
}

// ---- Sign changes ------------------------------------------------------------------
// Products are formed in the element's own type, so a product that underflows
// to zero is no change.
inline int signChanges(const float* x, int len) {
    using namespace simd;
    int n = 1;
    // Lanes count in integers: a true comparison is -1, subtracted.
    I32x4 c0 = zero4i(), c1 = zero4i();
    const F32x4 zero = zero4f();
    for (; n + 8 <= len; n += 8) {
        c0 = sub(c0, asInt(cmplt(mul(loadu4f(x + n), loadu4f(x + n - 1)), zero)));
        c1 = sub(c1, asInt(cmplt(mul(loadu4f(x + n + 4), loadu4f(x + n + 3)), zero)));
    }
    const I32x4 c = add(c0, c1);
    int count = lane<0>(c) + lane<1>(c) + lane<2>(c) + lane<3>(c);
    for (; n < len; ++n) count += x[n] * x[n - 1] < 0.0f;
    return count;
}
inline int signChanges(const Zel16s* x, int len) {
    int count = 0;
    for (int n = 1; n < len; ++n) count += int32_t(x[n]) * int32_t(x[n - 1]) < 0;
    return count;
}

template <class T>
inline int sgn(T v) {
    return (v > 0) - (v < 0);
}
// A step through zero counts half on each side; the final shift drops a lone half.
template <class T>
inline int signChangesCount0(const T* x, int len) {
    int sum = 0;
    for (int n = 1; n < len; ++n) {
        const int d = sgn(x[n]) - sgn(x[n - 1]);
        sum += d < 0 ? -d : d;
    }
    return sum >> 1;
}
// Sign bits compared directly: -0 and +0 differ.
inline int signChangesXor(const float* x, int len) {
    int count = 0;
    uint32_t prev;
    memcpy(&prev, x, 4);
    for (int n = 1; n < len; ++n) {
        uint32_t u;
        memcpy(&u, x + n, 4);
        count += int((u ^ prev) >> 31);
        prev = u;
    }
    return count;
}

// ---- Unit curve: a smooth step from 0 to 2 ------------------------------------------
inline float unitCurve(float x) {
    if (x < 0.0f) return 0.0f;
    if (x < 1.0f) return x * x;
    if (x <= 2.0f) {
        const float d = 2.0f - x;
        return 2.0f - d * d;
    }
    return 2.0f;  // above 2, and NaN, which fails every test
}

// q fractional bits in and 2q in the square; the shift by scaleFactor + 2q
// brings the result to the caller's scale, limited above by 32767.
inline Zel16s unitCurve16(Zel16s x, int q, int scaleFactor) {
    const int32_t one = 1 << q, two = 1 << (q + 1);
    int64_t v;
    if (x >= two)
        v = int64_t(two) << q;
    else if (x < one)
        v = x <= 0 ? 0 : int64_t(x) * x;
    else
        v = (int64_t(two) << q) - int64_t(two - x) * (two - x);
    const int64_t shift = int64_t(scaleFactor) + 2 * q;
    if (shift >= 0)
        v = shift >= 62 ? 0 : v >> shift;
    else
        v = v == 0 ? 0 : (-shift >= 31 ? 32767 : v << -shift);
    return Zel16s(v > 32767 ? 32767 : v);
}

// ---- Inverse root ---------------------------------------------------------------------
// The processor's estimate with one Newton step: (3 - x r r) r / 2. Elements
// below val give val. Returns how many elements reached the root.
namespace detail {
// One vector of roots; lanes below val take val and count in `below` (-1 each).
inline simd::F32x4 recSqrt4(simd::F32x4 x, simd::F32x4 val, simd::I32x4& below) {
    using namespace simd;
    const F32x4 r = rsqrtEstimate(x);
    const F32x4 y = mul(mul(sub(set1(3.0f), mul(mul(x, r), r)), r), set1(0.5f));
    const F32x4 low = cmplt(x, val);
    below = add(below, asInt(low));
    return select(low, val, y);
}
}  // namespace detail

inline int recSqrt(float* p, int len, float val) {
    using namespace simd;
    int i = 0;
    const F32x4 vVal = set1(val);
    I32x4 b0 = zero4i(), b1 = zero4i();
    for (; i + 8 <= len; i += 8) {
        const F32x4 y0 = detail::recSqrt4(loadu4f(p + i), vVal, b0);
        const F32x4 y1 = detail::recSqrt4(loadu4f(p + i + 4), vVal, b1);
        storeu(p + i, y0);
        storeu(p + i + 4, y1);
    }
    for (; i < len; i += 4) {
        // The tail through the same vector operations, padded with val (which
        // counts as reaching the root and is dropped below).
        const int n = len - i < 4 ? len - i : 4;
        float tail[4] = {val, val, val, val};
        memcpy(tail, p + i, sizeof(float) * size_t(n));
        storeu(tail, detail::recSqrt4(loadu4f(tail), vVal, b0));
        memcpy(p + i, tail, sizeof(float) * size_t(n));
    }
    const I32x4 b = add(b0, b1);
    return len + (lane<0>(b) + lane<1>(b) + lane<2>(b) + lane<3>(b));
}

// Fixed point: x and val are integers, the result r is stored as r * 2^-scaleFactor.
template <class D>
inline int recSqrtFixed(const Zel32s* src, D* dst, int len, Zel32s val, int scaleFactor) {
    const double scale = ownScaleValue_64f(scaleFactor);
    int taken = 0;
    for (int i = 0; i < len; ++i) {
        const Zel32s x = src[i];
        double r;
        if (x < val) {
            r = double(val);
        } else {
            r = roundHalfEven(1.0 / sqrt(double(x)) * scale);
            ++taken;
        }
        if constexpr (std::is_same_v<D, Zel16s>)
            dst[i] = satRounded16(r);
        else
            dst[i] = satRounded32(r);
    }
    return taken;
}

// ---- SinC and the Gaussian curve ------------------------------------------------------
// sin(x) / x with the value 1 at zero exactly (a NaN is not zero). Single
// precision is evaluated in double and rounded once.
template <class S, class D>
inline void sinc(const S* src, D* dst, int len) {
    for (int i = 0; i < len; ++i) {
        const double x = double(src[i]);
        dst[i] = src[i] == S(0) ? D(1) : D(sin(x) / x);
    }
}

// exp(y) for y <= 0 in single precision: y = k ln2 + r with |r| <= ln2 / 2,
// exp(r) = 1 + r + r^2 P(r) with a degree-5 minimax P, 2^k put into the exponent. Results below
// the smallest normal number come from the double exp, rounded once.
namespace expc {
constexpr float kLog2e = 1.44269504f;
constexpr float kLn2Hi = 0.693145752f;  // few mantissa bits, so k * kLn2Hi is exact
constexpr float kLn2Lo = 1.42860677e-6f;
constexpr float kP0 = 1.9875691500e-4f, kP1 = 1.3981999507e-3f, kP2 = 8.3334519073e-3f, kP3 = 4.1665795894e-2f,
                kP4 = 1.6666665459e-1f, kP5 = 5.0000001201e-1f;
constexpr float kNormalLimit = -87.0f;
}  // namespace expc

inline simd::F32x4 expNonPositive(simd::F32x4 y) {
    using namespace simd;
    using namespace expc;
    const I32x4 k = cvtRound(mul(y, set1(kLog2e)));
    const F32x4 kf = cvt4f(k);
    const F32x4 r = sub(sub(y, mul(kf, set1(kLn2Hi))), mul(kf, set1(kLn2Lo)));
    F32x4 p = set1(kP0);
    p = add(mul(p, r), set1(kP1));
    p = add(mul(p, r), set1(kP2));
    p = add(mul(p, r), set1(kP3));
    p = add(mul(p, r), set1(kP4));
    p = add(mul(p, r), set1(kP5));
    const F32x4 e = add(add(mul(p, mul(r, r)), r), set1(1.0f));
    return mul(e, asFloat(sll(add(k, set1(int32_t(127))), 23)));
}

inline float expNegSqrScalar(float x) { return float(exp(double(0.0f - x * x))); }

namespace detail {
// exp(-x^2) of four lanes; the vector path when every lane lies in the
// normal range (which also rules out NaN), else each lane in double.
inline void expNegSqr4(const float* src, float* dst) {
    using namespace simd;
    const F32x4 x = loadu4f(src);
    const F32x4 y = sub(zero4f(), mul(x, x));
    if (movemask(cmple(set1(expc::kNormalLimit), y)) == 15) {
        storeu(dst, expNonPositive(y));
    } else {
        for (int k = 0; k < 4; ++k) dst[k] = expNegSqrScalar(src[k]);
    }
}
}  // namespace detail

inline void expNegSqr(const float* src, float* dst, int len) {
    int i = 0;
    // Two vectors an iteration, so that one's polynomial overlaps the other's.
    for (; i + 8 <= len; i += 8) {
        detail::expNegSqr4(src + i, dst + i);
        detail::expNegSqr4(src + i + 4, dst + i + 4);
    }
    for (; i < len; i += 4) {
        const int n = len - i < 4 ? len - i : 4;
        float in[4] = {0, 0, 0, 0}, out[4];
        memcpy(in, src + i, sizeof(float) * size_t(n));
        detail::expNegSqr4(in, out);
        memcpy(dst + i, out, sizeof(float) * size_t(n));
    }
}

template <class S>
inline void expNegSqr(const S* src, double* dst, int len) {
    for (int i = 0; i < len; ++i) {
        const double x = double(src[i]);
        dst[i] = exp(0.0 - x * x);
    }
}

// ---- Range normalisation -------------------------------------------------------------
// Integer results round to nearest, ties to even, and saturate.
template <class D>
inline D storeRange(float v) {
    if constexpr (std::is_same_v<D, float>) {
        return v;
    } else if constexpr (std::is_same_v<D, Zel16s>) {
        return satRounded16(roundHalfEven(v));
    } else {
        const float r = roundHalfEven(v);
        return Zel8u(r >= 255.0f ? 255 : (r > 0.0f ? int(r) : 0));  // NaN gives 0
    }
}

template <class S>
inline void minMax(const S* p, int len, S* pMin, S* pMax) {
    S lo = p[0], hi = p[0];
    for (int i = 1; i < len; ++i) {
        lo = p[i] < lo ? p[i] : lo;
        hi = p[i] > hi ? p[i] : hi;
    }
    *pMin = lo;
    *pMax = hi;
}

// Returns zelStsSingularity when the range is empty (all outputs 0).
template <class S, class D>
inline ZelStatus normalizeInRange(const S* src, D* dst, int len, float mn, float mx, float lowerRatio,
                                  float upperRatio, float range) {
    if (mn == mx) {
        for (int i = 0; i < len; ++i) dst[i] = D(0);
        return zelStsSingularity;
    }
    const float w = mx - mn;
    const float hi = upperRatio * w + mn;
    const float lo = w * lowerRatio + mn;
    const float g = range / (upperRatio * w - w * lowerRatio);
    for (int i = 0; i < len; ++i) {
        const float x = float(src[i]);
        const float c = (x < hi ? x : hi) - lo;
        dst[i] = storeRange<D>((c > 0.0f ? c : 0.0f) * g);
    }
    return zelStsNoErr;
}

// ---- Entropy -------------------------------------------------------------------------
// sum of x log2 x over positive x; zero and NaN elements are skipped.
constexpr float kLn2 = 0.6931472f;

template <class S>
inline bool anyNegative(const S* p, int len) {
    for (int i = 0; i < len; ++i)
        if (p[i] < 0) return true;
    return false;
}

inline float entropy(const float* p, int len) {
    double sum = 0.0;
    for (int i = 0; i < len; ++i)
        if (p[i] > 0.0f) sum += double(p[i]) * log(double(p[i]));
    return float(sum) / kLn2;
}

inline Zel32s entropy(const Zel16s* p, int srcShift, int len, int scaleFactor) {
    const double in = ownScaleValue_64f(srcShift);
    double sum = 0.0;
    for (int i = 0; i < len; ++i)
        if (p[i] > 0) {
            const double x = double(p[i]) * in;
            sum += x * log(x);
        }
    const double r = trunc(sum * ownScaleValue_64f(scaleFactor) / double(kLn2));
    return r >= 2147483647.0 ? 2147483647 : (r <= -2147483648.0 ? INT32_MIN : Zel32s(r));
}

}  // namespace zel::cond
