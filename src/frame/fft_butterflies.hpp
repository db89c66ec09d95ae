// SPDX-License-Identifier: Apache-2.0
// The arithmetic of the real FFT's butterflies, written once as templates
// over the lane type: a float on the scalar path, a vector of four, eight or
// sixteen lanes on the vector paths. Every path runs these same templates,
// and each lane of a wider vector does exactly what one lane of a narrower
// one does, so every instruction set gives the same bits.
//
// The header includes no vector vocabulary: the AVX2 and AVX-512 kernel
// files include it with lane types of their own.
#pragma once

#include <stdint.h>

namespace zel::fft {

// Floats of the twiddle section of a radix-4 pass of length n (see
// fft_kernels.hpp for the layout): blocks of 24 for four values of p.
constexpr int64_t passSectionFloats(int64_t n) { return 24 * ((n / 4 + 3) / 4); }

// ---- Lanes and complex values ----------------------------------------------

// Scalar forms of the vocabulary, so that one template serves both lane types.
inline float add(float a, float b) { return a + b; }
inline float sub(float a, float b) { return a - b; }
inline float mul(float a, float b) { return a * b; }

template <class V>
struct Cx {
    V re, im;
};

template <class V>
inline Cx<V> operator+(Cx<V> a, Cx<V> b) { return {add(a.re, b.re), add(a.im, b.im)}; }
template <class V>
inline Cx<V> operator-(Cx<V> a, Cx<V> b) { return {sub(a.re, b.re), sub(a.im, b.im)}; }
template <class V>
inline Cx<V> cmul(Cx<V> x, Cx<V> w) {
    return {sub(mul(x.re, w.re), mul(x.im, w.im)), add(mul(x.re, w.im), mul(x.im, w.re))};
}

// Radix-4 butterfly of a decimation in frequency, before the twiddles:
// y0 = a + b + c + d, y1 = a - ib - c + id, y2 = a - b + c - d, y3 = a + ib - c - id.
template <class V>
inline void butterfly4(Cx<V> a, Cx<V> b, Cx<V> c, Cx<V> d, Cx<V> (&y)[4]) {
    const Cx<V> t0 = a + c, t1 = a - c, t2 = b + d, t3 = b - d;
    y[0] = t0 + t2;
    y[1] = {add(t1.re, t3.im), sub(t1.im, t3.re)};
    y[2] = t0 - t2;
    y[3] = {sub(t1.re, t3.im), add(t1.im, t3.re)};
}

// One step of the forward split. a = Z[k] and b = Z[m-k] of the complex
// spectrum, w = W^k with W = exp(-2 pi i / 2m), h = 0.5 times the output
// scale. E = (a + conj b) h is the spectrum of the even samples, and
// D = (a - conj b) h that of the odd ones times i; X[k] = E + W^k (-i D), and
// the mirror X[m-k] = conj(E - W^k (-i D)).
template <class V>
inline void splitStep(Cx<V> a, Cx<V> b, Cx<V> w, V h, Cx<V>& xk, Cx<V>& xmk) {
    const V er = mul(add(a.re, b.re), h), ei = mul(sub(a.im, b.im), h);
    const V dr = mul(sub(a.re, b.re), h), di = mul(add(a.im, b.im), h);
    const V tr = add(mul(w.re, di), mul(w.im, dr)), ti = sub(mul(w.im, di), mul(w.re, dr));
    xk = {add(er, tr), add(ei, ti)};
    xmk = {sub(er, tr), sub(ti, ei)};
}

// One step of the inverse split. a = X[k] and b = X[m-k] of the packed
// spectrum, w = W^k, sc the output scale. Z[k] = E + i O with
// E = (a + conj b) sc and O = (a - conj b) sc conj(W^k); the mirror is
// Z[m-k] = conj(E) + i conj(O).
template <class V>
inline void unsplitStep(Cx<V> a, Cx<V> b, Cx<V> w, V sc, Cx<V>& zk, Cx<V>& zmk) {
    const V er = mul(add(a.re, b.re), sc), ei = mul(sub(a.im, b.im), sc);
    const V dr = mul(sub(a.re, b.re), sc), di = mul(add(a.im, b.im), sc);
    const V orr = add(mul(dr, w.re), mul(di, w.im)), oi = sub(mul(di, w.re), mul(dr, w.im));
    zk = {sub(er, oi), add(ei, orr)};
    zmk = {add(er, oi), sub(orr, ei)};
}

// The radix-8 step of the last pass when log2(M) is odd: a radix-2 step
// with the eighth roots of unity (c = sqrt(1/2)), then two radix-4
// butterflies: the even outputs from the sums, the odd ones from the
// differences.
template <class V>
inline void radix8(const Cx<V> (&x)[8], V c, V zero, Cx<V> (&even)[4], Cx<V> (&odd)[4]) {
    Cx<V> sum[4], dif[4];
    for (int j = 0; j < 4; ++j) {
        sum[j] = x[j] + x[j + 4];
        dif[j] = x[j] - x[j + 4];
    }
    // dif[j] times exp(-2 pi i j / 8).
    const Cx<V> d1 = dif[1], d2 = dif[2], d3 = dif[3];
    dif[1] = {mul(add(d1.re, d1.im), c), mul(sub(d1.im, d1.re), c)};
    dif[2] = {d2.im, sub(zero, d2.re)};
    dif[3] = {mul(sub(d3.im, d3.re), c), mul(sub(zero, add(d3.re, d3.im)), c)};
    butterfly4(sum[0], sum[1], sum[2], sum[3], even);
    butterfly4(dif[0], dif[1], dif[2], dif[3], odd);
}

}  // namespace zel::fft
