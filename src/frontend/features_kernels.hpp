// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the feature extractor's own stages: pre-emphasis and window,
// the power spectrum, and the floored logarithm of the filter energies (the
// formulas are in features_lanes.hpp, here on four lanes; features_avx2.cpp
// has them on eight). The other stages are the library's filter bank,
// transform, lifter and deltas.
#pragma once

#include <stdint.h>

#include "frontend/features_lanes.hpp"
#include "simd/simd.hpp"

namespace zel::features {

// The 128-bit vocabulary as the lanes of features_lanes.hpp.
struct Lanes4 {
    using F = simd::F32x4;
    using I = simd::I32x4;
    static constexpr int kWidth = 4;
    static F loadu(const float* p) { return simd::loadu4f(p); }
    static void storeu(float* p, F a) { simd::storeu(p, a); }
    static F set1(float x) { return simd::set1(x); }
    static I set1i(int32_t x) { return simd::set1(x); }
    static F zero() { return simd::zero4f(); }
    static F add(F a, F b) { return simd::add(a, b); }
    static F sub(F a, F b) { return simd::sub(a, b); }
    static F mul(F a, F b) { return simd::mul(a, b); }
    static I sub(I a, I b) { return simd::sub(a, b); }
    static I sra(I a, int n) { return simd::sra(a, n); }
    static I sll(I a, int n) { return simd::sll(a, n); }
    static F cvt(I a) { return simd::cvt4f(a); }
    static F asFloat(I a) { return simd::asFloat(a); }
    static I asInt(F a) { return simd::asInt(a); }
    static F cmplt(F a, F b) { return simd::cmplt(a, b); }
    static F cmple(F a, F b) { return simd::cmple(a, b); }
    static F cmpgt(F a, F b) { return simd::cmpgt(a, b); }
    static F cmpeq(F a, F b) { return simd::cmpeq(a, b); }
    static F select(F m, F a, F b) { return simd::select(m, a, b); }
    static int movemask(F m) { return simd::movemask(m); }
    // Four (re, im) pairs into their real and imaginary parts.
    static void splitPairs(const float* p, F& re, F& im) {
        const F lo = simd::loadu4f(p), hi = simd::loadu4f(p + 4);
        re = simd::evenLanes(lo, hi);
        im = simd::oddLanes(lo, hi);
    }
};

// Samples as single precision; every 16-bit value converts exactly.
inline void widen16(const int16_t* x, int len, float* y) {
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        const simd::I16x8 v = simd::loadu8s(x + i);
        simd::storeu(y + i, simd::cvt4f(simd::widenLo(v)));
        simd::storeu(y + i + 4, simd::cvt4f(simd::widenHi(v)));
    }
    for (; i < len; ++i) y[i] = float(x[i]);
}

// f[j] = (x[j] - a x[j-1]) w[j], with x[-1] taken as x[0]; zero from n to
// fftLen. `wide`: the vector part on AVX2.
inline void windowFrame(const float* x, const float* w, float a, int n, int fftLen, float* f, bool wide);
// p[k] = re_k^2 + im_k^2 of `bins` interleaved pairs.
inline void powerSpectrum(const float* sp, int bins, float* p, bool wide);
// v[i] = ln(max(v[i], floor)) in place; floor > 0. A NaN takes the floor.
inline void lnFloored(float* v, int len, float floorV, bool wide);

namespace avx2 {
int window(const float* x, const float* w, float a, int j, int n, float* f);
int power(const float* sp, int bins, float* p);
void lnFloored(float* v, int len, float floorV);
}  // namespace avx2

inline void windowFrame(const float* x, const float* w, float a, int n, int fftLen, float* f, bool wide) {
    f[0] = (x[0] - a * x[0]) * w[0];
    const int head = n < 8 ? n : 8;
    for (int j = 1; j < head; ++j) f[j] = (x[j] - a * x[j - 1]) * w[j];
#if defined(ZELSR_HAVE_AVX2)
    int j = wide ? avx2::window(x, w, a, head, n, f) : lanes::window<Lanes4>(x, w, a, head, n, f);
#else
    (void)wide;
    int j = lanes::window<Lanes4>(x, w, a, head, n, f);
#endif
    for (; j < n; ++j) f[j] = (x[j] - a * x[j - 1]) * w[j];
    for (; j < fftLen; ++j) f[j] = 0.0f;
}

inline void powerSpectrum(const float* sp, int bins, float* p, bool wide) {
#if defined(ZELSR_HAVE_AVX2)
    int k = wide ? avx2::power(sp, bins, p) : lanes::power<Lanes4>(sp, bins, p);
#else
    (void)wide;
    int k = lanes::power<Lanes4>(sp, bins, p);
#endif
    for (; k < bins; ++k) p[k] = sp[2 * k] * sp[2 * k] + sp[2 * k + 1] * sp[2 * k + 1];
}

inline void lnFloored(float* v, int len, float floorV, bool wide) {
#if defined(ZELSR_HAVE_AVX2)
    if (wide) return avx2::lnFloored(v, len, floorV);
#endif
    (void)wide;
    lanes::lnFloored<Lanes4>(v, len, floorV);
}

}  // namespace zel::features
