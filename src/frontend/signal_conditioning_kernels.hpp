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
#include "frontend/signal_conditioning_lanes.hpp"
#include "frontend/signal_conditioning_wide.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::cond {

// The baseline lane vocabulary of the bodies in signal_conditioning_lanes.hpp:
// four lanes of the 128-bit vocabulary (SSE4.1, or the portable lanes).
struct Lanes4 {
    static constexpr int kLanes = 4;
    static constexpr bool kSuccessors = false;
    using F = simd::F32x4;
    using I = simd::I32x4;
    using M = simd::F32x4;
    using Counter = simd::I32x4;

    static F set1(float x) { return simd::set1(x); }
    static I seti(int32_t x) { return simd::set1(x); }
    static F loadu(const float* p) { return simd::loadu4f(p); }
    static void storeu(float* p, F a) { simd::storeu(p, a); }
    static F add(F a, F b) { return simd::add(a, b); }
    static F sub(F a, F b) { return simd::sub(a, b); }
    static F mul(F a, F b) { return simd::mul(a, b); }
    static F max(F a, F b) { return simd::max(a, b); }
    static M lt(F a, F b) { return simd::cmplt(a, b); }
    static M le(F a, F b) { return simd::cmple(a, b); }
    static M andM(M a, M b) { return simd::select(a, b, a); }
    static bool all(M m) { return simd::movemask(m) == 15; }
    static unsigned bits(M m) { return unsigned(simd::movemask(m)); }
    static F select(M m, F a, F b) { return simd::select(m, a, b); }
    static F rsqrt(F a) { return simd::rsqrtEstimate(a); }
    static I cvtRound(F a) { return simd::cvtRound(a); }
    static F cvtF(I a) { return simd::cvt4f(a); }
    static I addI(I a, I b) { return simd::add(a, b); }
    static I sll(I a, int n) { return simd::sll(a, n); }
    static F asFloat(I a) { return simd::asFloat(a); }
    // A true comparison is -1 in every lane's count, subtracted.
    static Counter noCount() { return simd::zero4i(); }
    static Counter count(Counter c, M m) { return simd::sub(c, simd::asInt(m)); }
    static int total(Counter c) { return simd::lane<0>(c) + simd::lane<1>(c) + simd::lane<2>(c) + simd::lane<3>(c); }
};

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
// result does not depend on the order in which lanes are compared. A
// contiguous column goes through sixteen running maxima first, folded here
// as the 128-bit max folds them: pairwise, then lanes 0 to 3 in order.
inline float columnMax(const float* p, int step, int len, const LaneKernels& k) {
    float m = -3.4028235e38f;
    int i = 0;
    if (step == 1 && len >= lanes::kMaxLanes) {
        float acc[lanes::kMaxLanes];
        i = k.columnMax16(p, len, acc);
        const auto mx = [](float a, float b) { return a > b ? a : b; };
        for (int j = 0; j < 4; ++j) {
            const float v = mx(mx(acc[j], acc[j + 4]), mx(acc[j + 8], acc[j + 12]));
            m = v > m ? v : m;
        }
    }
    for (; i < len; ++i) {
        const float v = p[size_t(i) * step];
        m = v > m ? v : m;
    }
    return m;
}

inline void normEnergy(float* p, int step, int len, float floorDb, float eMax, float scale, const LaneKernels& k) {
    const float eMin = eMax - floorDb * kDbToNeper;
    int i = 0;
    if (step == 1) {
        i = k.normEnergy(p, len, eMin, eMax, scale);
        i += lanes::normEnergy<Lanes4>(p + i, len - i, eMin, eMax, scale);
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
inline int signChanges(const float* x, int len, const LaneKernels& k) {
    int n = 1, m = 1;
    int count = k.signChanges(x, len, &n);
    count += lanes::signChanges<Lanes4>(x + n - 1, len - (n - 1), &m);
    n += m - 1;
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
// The formula is in signal_conditioning_lanes.hpp; the tail goes through it
// padded.
inline void unitCurve(const float* src, float* dst, int len, const LaneKernels& k) {
    int i = k.unitCurve(src, dst, len);
    i += lanes::unitCurve<Lanes4>(src + i, dst + i, len - i);
    if (i < len) {
        const int n = len - i;
        float t[4] = {0, 0, 0, 0};
        memcpy(t, src + i, sizeof(float) * size_t(n));
        lanes::unitCurve<Lanes4>(t, t, 4);
        memcpy(dst + i, t, sizeof(float) * size_t(n));
    }
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
inline int recSqrt(float* p, int len, float val, const LaneKernels& k) {
    int below = 0;
    int i = k.recSqrt(p, len, val, &below);
    i += lanes::recSqrt<Lanes4>(p + i, len - i, val, &below);
    if (i < len) {
        // The tail through the same vector operations, padded with val (which
        // does not count as below and is dropped).
        const int n = len - i;
        float tail[8] = {val, val, val, val, val, val, val, val};
        memcpy(tail, p + i, sizeof(float) * size_t(n));
        lanes::recSqrt<Lanes4>(tail, 8, val, &below);
        memcpy(p + i, tail, sizeof(float) * size_t(n));
    }
    return len - below;
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

// exp(-x^2) in single precision: the vector formula of
// signal_conditioning_lanes.hpp where a whole group of four lies in its
// range, else each element of the group from the double exp, rounded once.
inline void expNegSqr(const float* src, float* dst, int len, const LaneKernels& k) {
    int i = k.expNegSqr(src, dst, len);
    i += lanes::expNegSqr<Lanes4>(src + i, dst + i, len - i, expNegSqrGroup);
    if (i < len) {
        // The tail as one group, padded with zeros.
        const int n = len - i;
        float in[4] = {0, 0, 0, 0}, out[4];
        memcpy(in, src + i, sizeof(float) * size_t(n));
        lanes::expNegSqr<Lanes4>(in, out, 4, expNegSqrGroup);
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
