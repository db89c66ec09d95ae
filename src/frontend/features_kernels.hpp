// SPDX-License-Identifier: Apache-2.0
// Arithmetic of the feature extractor's own stages: pre-emphasis and window,
// the power spectrum, and the floored logarithm of the filter energies. The
// other stages are the library's filter bank, transform, lifter and deltas.
// Written in the vector vocabulary with separate multiplies and adds, so
// every build gives the same bits.
#pragma once

#include <float.h>
#include <math.h>
#include <stdint.h>

#include "simd/simd.hpp"

namespace zel::features {

using simd::F32x4;

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
// fftLen. `f` and `w` are 16-byte aligned.
inline void windowFrame(const float* x, const float* w, float a, int n, int fftLen, float* f) {
    f[0] = (x[0] - a * x[0]) * w[0];
    const int head = n < 4 ? n : 4;
    for (int j = 1; j < head; ++j) f[j] = (x[j] - a * x[j - 1]) * w[j];
    const F32x4 va = simd::set1(a);
    int j = head;
    for (; j + 4 <= n; j += 4) {
        const F32x4 cur = simd::loadu4f(x + j), prev = simd::loadu4f(x + j - 1);
        simd::store(f + j, simd::mul(simd::sub(cur, simd::mul(va, prev)), simd::load4f(w + j)));
    }
    for (; j < n; ++j) f[j] = (x[j] - a * x[j - 1]) * w[j];
    for (; j < fftLen && (j & 3); ++j) f[j] = 0.0f;
    for (; j < fftLen; j += 4) simd::store(f + j, simd::zero4f());
}

// p[k] = re_k^2 + im_k^2 of `bins` interleaved pairs; `sp` is 16-byte aligned.
inline void powerSpectrum(const float* sp, int bins, float* p) {
    int k = 0;
    for (; k + 4 <= bins; k += 4) {
        const F32x4 lo = simd::load4f(sp + 2 * k), hi = simd::load4f(sp + 2 * k + 4);
        const F32x4 re = simd::evenLanes(lo, hi), im = simd::oddLanes(lo, hi);
        simd::storeu(p + k, simd::add(simd::mul(re, re), simd::mul(im, im)));
    }
    for (; k < bins; ++k) p[k] = sp[2 * k] * sp[2 * k] + sp[2 * k + 1] * sp[2 * k + 1];
}

// ln(max(x, floor)) of four positive normal lanes: x = m 2^e with m in
// [sqrt(1/2), sqrt(2)), ln(1 + f) of f = m - 1 by a degree-nine polynomial
// (within about one unit in the last place), plus e ln 2 in two parts.
inline F32x4 lnNormal(F32x4 x) {
    using namespace simd;
    const I32x4 bits = asInt(x);
    I32x4 e = sub(sra(bits, 23), set1(int32_t(127)));
    const F32x4 m = asFloat(sub(bits, sll(e, 23)));  // in [1, 2)
    const F32x4 big = cmple(set1(1.41421356f), m);
    const F32x4 f = sub(select(big, mul(m, set1(0.5f)), m), set1(1.0f));
    const F32x4 ef = add(cvt4f(e), select(big, set1(1.0f), zero4f()));
    const F32x4 z = mul(f, f);
    F32x4 y = set1(7.0376836292e-2f);
    y = add(mul(y, f), set1(-1.1514610310e-1f));
    y = add(mul(y, f), set1(1.1676998740e-1f));
    y = add(mul(y, f), set1(-1.2420140846e-1f));
    y = add(mul(y, f), set1(1.4249322787e-1f));
    y = add(mul(y, f), set1(-1.6668057665e-1f));
    y = add(mul(y, f), set1(2.0000714765e-1f));
    y = add(mul(y, f), set1(-2.4999993993e-1f));
    y = add(mul(y, f), set1(3.3333331174e-1f));
    y = mul(mul(y, f), z);
    y = add(y, mul(ef, set1(-2.12194440e-4f)));
    y = add(y, mul(z, set1(-0.5f)));
    return add(add(f, y), mul(ef, set1(0.693359375f)));
}

// v[i] = ln(max(v[i], floor)) in place; floor > 0. A NaN takes the floor.
// Lanes the polynomial does not cover (subnormal floors, infinities) go
// through the C library's logarithm.
inline void lnFloored(float* v, int len, float floorV) {
    using namespace simd;
    const F32x4 fl = set1(floorV), tiny = set1(FLT_MIN), inf = set1(INFINITY);
    auto one = [&](F32x4 x) {
        x = select(cmpgt(x, fl), x, fl);
        if (movemask(cmplt(x, tiny)) | movemask(cmpeq(x, inf))) {
            float t[4];
            storeu(t, x);
            for (float& u : t) u = logf(u);
            return loadu4f(t);
        }
        return lnNormal(x);
    };
    int i = 0;
    for (; i + 4 <= len; i += 4) storeu(v + i, one(loadu4f(v + i)));
    if (i < len) {
        float t[4] = {floorV, floorV, floorV, floorV};
        for (int k = i; k < len; ++k) t[k - i] = v[k];
        storeu(t, one(loadu4f(t)));
        for (int k = i; k < len; ++k) v[k] = t[k - i];
    }
}

}  // namespace zel::features
