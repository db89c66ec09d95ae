// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the Aurora noise reduction: the smoothed power spectrum, the
// noise spectrum update, the Wiener gains, the unfolding of the impulse
// response to taps, and the residual filter. Each element form keeps its own
// constants and rounding; the float kernels that use the reciprocal estimate
// run four bins at a time and treat a tail through the same four-lane body,
// so that every bin of a call sees the same instructions.
#pragma once

#include <fenv.h>
#include <initializer_list>
#include <math.h>
#include <stdint.h>
#include <string.h>

#include "frame/fixed.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::aurora {

namespace sv = zel::simd;

// Output samples and taps of one call of the residual filter.
constexpr int kFilterOut = 80;
constexpr int kTaps = 17;
constexpr int kImpulse = 10;

// ---- Helpers -----------------------------------------------------------------

// Runs `body(offset, count)` over [0, len) in blocks of four; the last block
// goes through a padded copy so that the body always works on four lanes.
template <class Body>
inline void inBlocksOfFour(int len, Body body) {
    int i = 0;
    for (; i + 4 <= len; i += 4) body(i, 4);
    if (i < len) body(i, len - i);
}

// Loads `count` (1..4) floats, the missing lanes as `pad`.
inline sv::F32x4 loadPart(const float* p, int count, float pad) {
    if (count == 4) return sv::loadu4f(p);
    float t[4] = {pad, pad, pad, pad};
    memcpy(t, p, size_t(count) * 4);
    return sv::loadu4f(t);
}
inline void storePart(float* p, sv::F32x4 v, int count) {
    if (count == 4) {
        sv::storeu(p, v);
        return;
    }
    float t[4];
    sv::storeu(t, v);
    memcpy(p, t, size_t(count) * 4);
}

// The quiet NaN that an invalid operation such as 0 / 0 produces: with the
// sign bit on x86, without it on ARM. Either is the processor's own answer.
constexpr uint32_t kDefaultNaN = 0xffc00000u;
constexpr uint32_t kDefaultNaNArm = 0x7fc00000u;

inline bool isDefaultNaN(float v) {
    uint32_t u;
    memcpy(&u, &v, 4);
    return u == kDefaultNaN || u == kDefaultNaNArm;
}

// Holds the rounding mode at toward zero for the noise update and gives the
// caller's mode back at the end.
class TowardZeroRounding {
public:
    TowardZeroRounding() : saved_(fegetround()) {
        if (saved_ != FE_TOWARDZERO) fesetround(FE_TOWARDZERO);
    }
    ~TowardZeroRounding() {
        if (saved_ != FE_TOWARDZERO) fesetround(saved_);
    }
    TowardZeroRounding(const TowardZeroRounding&) = delete;
    TowardZeroRounding& operator=(const TowardZeroRounding&) = delete;

private:
    int saved_;
};

// v shifted right by s (left by -s); counts beyond 63 leave the sign or 0.
constexpr int64_t shiftSigned(int64_t v, int s) {
    if (s >= 0) return s > 63 ? (v < 0 ? -1 : 0) : (v >> s);
    return s < -63 ? 0 : int64_t(uint64_t(v) << -s);
}

// ---- Smoothed power spectrum -------------------------------------------------------

// Bin 0 has no imaginary part in the packed layout and the top bin stands in
// element 1, so the first output pairs bin 0 with bin 1 and the last one is
// the top bin alone.
inline void smoothedPower32f(const float* x, float* dst, int len) {
    const int n = len / 4;
    dst[0] = ((x[0] * x[0] + x[2] * x[2]) + x[3] * x[3]) * 0.5f;
    for (int i = 1; i < n; ++i) {
        const float* q = x + 4 * i;
        dst[i] = (((q[0] * q[0] + q[1] * q[1]) + q[2] * q[2]) + q[3] * q[3]) * 0.5f;
    }
    dst[n] = x[1] * x[1];
}

// 16-bit: halved squares summed in 32 bits, where four full-scale values wrap
// to the most negative sum, then clamped.
inline void smoothedPower16s(const Zel16s* x, Zel16s* dst, int len) {
    const int n = len / 4;
    auto half = [](Zel16s v) { return int32_t(v) * int32_t(v) / 2; };
    dst[0] = sat16(int64_t(wrap32(int64_t(half(x[0])) + half(x[2]) + half(x[3]))));
    for (int i = 1; i < n; ++i) {
        const Zel16s* q = x + 4 * i;
        dst[i] = sat16(int64_t(wrap32(int64_t(half(q[0])) + half(q[1]) + half(q[2]) + half(q[3]))));
    }
    const int32_t top = int32_t(x[1]) * int32_t(x[1]);
    dst[n] = Zel16s(top > 32767 ? 32767 : top);
}

// The exact halved squares of the 32-bit forms, summed with wrap-around.
inline int64_t halvedSquares(std::initializer_list<Zel32s> v) {
    uint64_t s = 0;
    for (Zel32s e : v) s += uint64_t(int64_t(e) * int64_t(e)) >> 1;
    return int64_t(s);
}

// The top bin of the 32-bit forms: the square cut to 32 bits and taken as signed.
inline int64_t topSquare(Zel32s x1) { return int64_t(wrap32(int64_t(x1) * int64_t(x1))); }

inline void smoothedPower32s64s(const Zel32s* x, Zel64s* dst, int len, int sf) {
    const int n = len / 4;
    dst[0] = shiftSigned(halvedSquares({x[0], x[2], x[3]}), sf);
    for (int i = 1; i < n; ++i) {
        const Zel32s* q = x + 4 * i;
        dst[i] = shiftSigned(halvedSquares({q[0], q[1], q[2], q[3]}), sf);
    }
    dst[n] = shiftSigned(topSquare(x[1]), sf);
}

// The middle bins in double, rounded to nearest; what a 32-bit integer can't
// hold is stored as the most negative one.
inline Zel32s nearestOrMin32(double v) {
    const double r = roundHalfEven(v);
    return (r >= -2147483648.0 && r < 2147483648.0) ? Zel32s(r) : kMin32;
}

inline void smoothedPower32s(const Zel32s* x, Zel32s* dst, int len, int sf) {
    const int n = len / 4;
    const int64_t e = int64_t(sf) + 1;
    const double scale = ldexp(1.0, -int(e < -1100 ? -1100 : (e > 1100 ? 1100 : e)));
    dst[0] = sat32(shiftSigned(halvedSquares({x[0], x[2], x[3]}), sf));
    for (int i = 1; i < n; ++i) {
        const Zel32s* q = x + 4 * i;
        const double a = q[0], b = q[1], c = q[2], d = q[3];
        dst[i] = nearestOrMin32((((a * a + b * b) + c * c) + d * d) * scale);
    }
    dst[n] = sat32(shiftSigned(topSquare(x[1]), sf));
}

// ---- Noise spectrum update ---------------------------------------------------------

// b (0.9 + 0.1 a / (a + b) (1 + b / (b + 0.1 a))), both divisions by the
// reciprocal estimate; the caller holds the rounding mode at toward zero.
// Zero signal and zero noise give the default NaN, which becomes 0.
inline void noiseUpdate32f(const float* pSrc, const float* pNoise, float* pDst, int len) {
    const sv::F32x4 tenth = sv::set1(0.1f), one = sv::set1(1.0f), nine = sv::set1(0.9f);
    inBlocksOfFour(len, [&](int i, int count) {
        const sv::F32x4 a = loadPart(pSrc + i, count, 1.0f);
        const sv::F32x4 b = loadPart(pNoise + i, count, 1.0f);
        const sv::F32x4 t = sv::mul(tenth, a);
        const sv::F32x4 p = sv::rcpEstimate(sv::add(a, b));
        const sv::F32x4 q = sv::rcpEstimate(sv::add(b, t));
        const sv::F32x4 r = sv::mul(sv::add(sv::mul(sv::add(sv::mul(b, q), one), sv::mul(t, p)), nine), b);
        float out[4];
        sv::storeu(out, r);
        for (int k = 0; k < count; ++k) pDst[i + k] = isDefaultNaN(out[k]) ? 0.0f : out[k];
    });
}

// The integer forms in single precision with true division. I is the
// element type; `guardB` is the divisor of the second quotient as the form
// forms it, `store` narrows the scaled value.
template <class I, class Store>
inline void noiseUpdateInt(const I* pSrc, const I* pNoise, I* pDst, int len, int sf, Store store) {
    const float scale = ownScaleValue_32f(sf);
    for (int i = 0; i < len; ++i) {
        const I a = pSrc[i], b = pNoise[i];
        const float fa = float(a), fb = float(b);
        const int32_t sum = wrap32(int64_t(a) + int64_t(b));
        float second;  // the divisor b + 0.1 a
        bool zero;
        if constexpr (sizeof(I) == 2) {
            second = 0.1f * fa + fb;
            zero = sum == 0 || truncf(second) == 0.0f;
        } else {
            // The guard and the divisor are the integer sum trunc(0.1 a) + b.
            const float t = 0.1f * fa;
            const int32_t ti = (t >= -2147483648.0f && t < 2147483648.0f) ? int32_t(t) : kMin32;
            const int32_t g = wrap32(int64_t(ti) + int64_t(b));
            second = float(g);
            zero = sum == 0 || g == 0;
        }
        if (zero) {
            pDst[i] = 0;
            continue;
        }
        const float v = fb * ((((fa / float(sum)) * 0.1f) * (fb / second + 1.0f)) + 0.9f) * scale;
        pDst[i] = store(v);
    }
}

inline Zel16s narrowNoise16(float v) {
    if (v > 32767.0f) return 32767;
    if (!(v >= -32768.0f)) v = -32768.0f;
    return Zel16s(v);
}

// No saturation upward: 2^31 and beyond, like NaN, give the conversion's
// out-of-range value.
inline Zel32s narrowNoise32(float v) {
    if (!(v < 2147483648.0f)) return kMin32;
    if (!(v >= -2147483648.0f)) v = -2147483648.0f;
    return Zel32s(v);
}

// ---- Wiener filter design ----------------------------------------------------------

// Gain floor of -22 dB as a power ratio.
constexpr float kGainFloor = 0.07943282f;

// One reciprocal estimate of the noise serves both of its divisions. A NaN
// anywhere (no noise at all, say) meets the floor through the maximum.
inline void wiener32f(const float* pSrc, const float* pNoise, const float* pDen, float* pDst, int len) {
    const sv::F32x4 zero = sv::zero4f(), one = sv::set1(1.0f), floor = sv::set1(kGainFloor);
    const sv::F32x4 cNew = sv::set1(0.02f), cOld = sv::set1(0.98f);
    inBlocksOfFour(len, [&](int i, int count) {
        const sv::F32x4 a = loadPart(pSrc + i, count, 1.0f);
        const sv::F32x4 b = loadPart(pNoise + i, count, 1.0f);
        const sv::F32x4 c = loadPart(pDen + i, count, 1.0f);
        const sv::F32x4 r = sv::rcpEstimate(b);
        const sv::F32x4 d = sv::max(sv::sub(a, b), zero);
        const sv::F32x4 s = sv::mul(sv::add(sv::mul(cNew, d), sv::mul(cOld, c)), r);
        const sv::F32x4 w = sv::div(s, sv::add(s, one));
        const sv::F32x4 t = sv::max(sv::mul(sv::mul(w, a), r), floor);
        storePart(pDst + i, sv::div(t, sv::add(t, one)), count);
    });
}

// 16-bit: 64-bit integers, Q12 smoothing, Q14 reciprocal and gain. A
// divisor that the data drives to zero gives a zero quotient.
inline Zel16s wiener16(Zel16s a16, Zel16s b16, Zel16s c16) {
    if (b16 == 0) return 1206;  // the floor's gain in Q14
    const int64_t a = a16, b = b16, c = c16;
    const int64_t d = a - b > 0 ? a - b : 0;
    const int64_t r = 16384 / b;
    const int64_t t = 4014 * c + 82 * d;
    const int64_t u = t * r;
    const int64_t q = u >> 14;
    const int64_t den = q + 4096;
    const int64_t w = den == 0 ? 0 : int64_t(uint64_t(u) & ~uint64_t(0x3fff)) / den;
    int64_t x = int64_t(uint64_t((a * w) >> 14) * uint64_t(r));
    if (x <= 1301) x = 1301;
    return wrap16(int64_t(uint64_t(x) << 7) / ((x >> 7) + 128));
}

// ---- Taps and the residual filter --------------------------------------------------

// The right wing runs one place behind the left, and the second value occurs
// once only: the response is unfolded as the filter expects it.
template <class T>
inline void unfoldTaps(const T* s, T* d) {
    d[8] = s[0];
    d[7] = s[1];
    for (int k = 2; k <= 8; ++k) {
        d[8 - k] = s[k];
        d[7 + k] = s[k];
    }
    d[16] = s[9];
}

// Four outputs a lane each. Every output sums four groups of four products
// in tap order, adds the groups in pairs, then the last tap.
inline void residual32f(const float* x, float* y, const float* h) {
    for (int i = 0; i < kFilterOut; i += 4) {
        sv::F32x4 g[4];
        for (int k = 0; k < 4; ++k) {
            sv::F32x4 acc = sv::mul(sv::loadu4f(x + i + 4 * k), sv::set1(h[4 * k]));
            for (int j = 1; j < 4; ++j)
                acc = sv::add(acc, sv::mul(sv::loadu4f(x + i + 4 * k + j), sv::set1(h[4 * k + j])));
            g[k] = acc;
        }
        const sv::F32x4 sum = sv::add(sv::add(g[0], g[1]), sv::add(g[2], g[3]));
        sv::storeu(y + i, sv::add(sum, sv::mul(sv::loadu4f(x + i + 16), sv::set1(h[16]))));
    }
}

// Products exact in 32 bits and added in neighbouring pairs in 32 bits, as a
// multiply-add pairs them (two full-scale products wrap); the rest in double.
inline void residual16s(const Zel16s* x, Zel16s* y, const Zel16s* h, int sf) {
    const double scale = ownScaleValue_64f(sf);
    for (int i = 0; i < kFilterOut; ++i) {
        const Zel16s* p = x + i;
        double s = 0.0;
        for (int j = 0; j < 16; j += 2)
            s += double(wrap32(int64_t(int32_t(p[j]) * h[j]) + int64_t(int32_t(p[j + 1]) * h[j + 1])));
        s += double(int32_t(p[16]) * h[16]);
        // A zero sum stays zero under any scale, an infinite one included.
        double v = s == 0.0 ? 0.0 : s * scale;
        v = v < -32768.0 ? -32768.0 : (v > 32767.0 ? 32767.0 : v);
        y[i] = Zel16s(roundHalfEven(v));
    }
}

}  // namespace zel::aurora
