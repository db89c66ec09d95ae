// SPDX-License-Identifier: Apache-2.0
// Kernels of the private real FFT.
//
// A real transform of N = 2M points is a complex transform of the M values
// z[j] = x[2j] + i x[2j+1], followed by a split that separates the spectra of
// the even and the odd samples. The complex transform is a Stockham
// decimation in frequency: radix-4 passes of lengths M, M/4, ..., and at the
// end one radix-2 pass when log2(M) is odd (a radix-8 pass in place of the
// last radix-4 and the radix-2 on the vector path). Stockham passes read one
// buffer and write the other, so the result comes out in natural order and
// no bit reversal is needed.
//
// Inside the transform complex values are kept split: real parts in one
// array, imaginary parts in another. A vector then holds four butterflies'
// worth of real (or imaginary) parts, and a complex product is four
// multiplies and two additions with no shuffles.
//
// Every butterfly is written once, as a template over the lane type: a float
// for the scalar path of small orders, a simd::F32x4 for the vector path.
// The order of every operation is fixed here, and the portable vocabulary
// gives the same lanes as the SSE4.1 one, so both builds give the same bits.
#pragma once

#include <stdint.h>

#include "frame/fft_butterflies.hpp"
#include "simd/simd.hpp"

namespace zel::fft {

using simd::F32x4;

// ---- Twiddle factors -------------------------------------------------------

struct CosSin {
    double c, s;
};

// cos and sin of 2 pi k / n for n a power of two, in double precision.
// The angle is reduced exactly through the fraction k / n to at most pi / 4,
// where the Taylor series converges within an ulp, so a quarter, a half or
// an eighth of a turn gives exact zeros, ones and equal parts. It can be
// evaluated by the compiler, which builds the library's constant table; the
// tables of larger orders come from the same formula at init.
constexpr CosSin turn(int64_t k, int64_t n) {
    k &= n - 1;
    const int64_t quadrant = (4 * k) / n;
    int64_t r = 4 * k - quadrant * n;  // angle within the quadrant: (r / n) * pi / 2
    const bool complement = 2 * r > n;
    if (complement) r = n - r;
    const double x = double(r) / double(n) * 1.5707963267948966;
    const double x2 = x * x;
    double s = 1.0, c = 1.0;
    // Horner form of the series, to x^21 and x^20.
    for (int i = 20; i >= 2; i -= 2) {
        s = 1.0 - x2 / double((i) * (i + 1)) * s;
        c = 1.0 - x2 / double((i - 1) * i) * c;
    }
    s *= x;
    if (complement) {
        const double t = s;
        s = c;
        c = t;
    }
    switch (quadrant) {
        case 1: return {-s, c};
        case 2: return {-c, -s};
        case 3: return {s, -c};
        default: return {c, s};
    }
}

// Table layouts. A radix-4 pass of length n needs W^p, W^2p and W^3p for
// p < n/4, with W = exp(-2 pi i / n). They are kept in blocks of four values
// of p: the real parts of W^p for the four lanes, their imaginary parts, then
// the same for W^2p and W^3p, 24 floats a block. Lanes past n/4 hold 1.
// The passes of one transform have lengths M, M/4, M/16, ..., 4 or 8, and
// their sections follow each other in that order (a chain). A chain of a
// longer transform with the same parity of log2(M) contains the chains of
// all shorter ones as tails.

constexpr int64_t chainFloats(int64_t m) {
    int64_t total = 0;
    for (int64_t n = m; n >= 4; n /= 4) total += passSectionFloats(n);
    return total;
}

// The split of a transform of N = 2M points needs W^k for k = 1..M/2, with
// W = exp(-2 pi i / N), in groups of four: four real parts, four imaginary.
constexpr int64_t splitFloats(int64_t m) { return m < 2 ? 0 : 8 * ((m / 2 + 3) / 4); }

constexpr void fillPassSection(float* t, int64_t n) {
    const int64_t n1 = n / 4;
    const int64_t blocks = (n1 + 3) / 4;
    for (int64_t b = 0; b < blocks; ++b) {
        for (int j = 0; j < 4; ++j) {
            const int64_t p = 4 * b + j < n1 ? 4 * b + j : 0;
            for (int r = 1; r <= 3; ++r) {
                const CosSin w = turn(r * p, n);
                t[24 * b + 8 * (r - 1) + j] = float(w.c);
                t[24 * b + 8 * (r - 1) + 4 + j] = float(-w.s);
            }
        }
    }
}

constexpr void fillChain(float* t, int64_t m) {
    for (int64_t n = m; n >= 4; n /= 4) {
        fillPassSection(t, n);
        t += passSectionFloats(n);
    }
}

constexpr void fillSplit(float* t, int64_t m) {
    const int64_t half = m / 2;
    const int64_t groups = (half + 3) / 4;
    for (int64_t g = 0; g < groups; ++g) {
        for (int j = 0; j < 4; ++j) {
            const int64_t k = 1 + 4 * g + j <= half ? 1 + 4 * g + j : 0;
            const CosSin w = turn(k, 2 * m);
            t[8 * g + j] = float(w.c);
            t[8 * g + 4 + j] = float(-w.s);
        }
    }
}

// Twiddle r (1..3) of value p in a pass section.
inline Cx<float> twiddle(const float* section, int64_t p, int r) {
    const float* w = section + 24 * (p >> 2) + 8 * (r - 1) + (p & 3);
    return {w[0], w[4]};
}

// Split twiddle of bin k (1..m/2).
inline Cx<float> splitTwiddle(const float* tw, int64_t k) {
    const float* w = tw + 8 * ((k - 1) >> 2) + ((k - 1) & 3);
    return {w[0], w[4]};
}

// ---- Scalar path: every length, used below order 5 -----------------------

// One Stockham pass of length n (radix 4, or radix 2 when n is 2) and
// stride s on split arrays.
inline void scalarPass(const float* xr, const float* xi, float* yr, float* yi, int64_t n, int64_t s,
                       const float* section) {
    if (n == 2) {
        for (int64_t q = 0; q < s; ++q) {
            const Cx<float> a{xr[q], xi[q]}, b{xr[q + s], xi[q + s]};
            const Cx<float> y0 = a + b, y1 = a - b;
            yr[q] = y0.re, yi[q] = y0.im;
            yr[q + s] = y1.re, yi[q + s] = y1.im;
        }
        return;
    }
    const int64_t n1 = n / 4;
    for (int64_t p = 0; p < n1; ++p) {
        const Cx<float> w1 = twiddle(section, p, 1), w2 = twiddle(section, p, 2), w3 = twiddle(section, p, 3);
        for (int64_t q = 0; q < s; ++q) {
            Cx<float> y[4];
            auto in = [&](int64_t i) { return Cx<float>{xr[q + s * (p + i * n1)], xi[q + s * (p + i * n1)]}; };
            butterfly4(in(0), in(1), in(2), in(3), y);
            y[1] = cmul(y[1], w1);
            y[2] = cmul(y[2], w2);
            y[3] = cmul(y[3], w3);
            for (int r = 0; r < 4; ++r) {
                yr[q + s * (4 * p + r)] = y[r].re;
                yi[q + s * (4 * p + r)] = y[r].im;
            }
        }
    }
}

// The complex transform of m points held in buffer a; buffer b is the other
// half of the ping-pong. Returns the buffer that holds the result.
inline float* scalarComplex(float* a, float* b, int64_t m, const float* chain) {
    float* x = a;
    float* y = b;
    int64_t s = 1;
    for (int64_t n = m; n >= 2; n /= 4) {
        scalarPass(x, x + m, y, y + m, n, s, chain);
        if (n >= 4) chain += passSectionFloats(n);
        s *= 4;
        float* t = x;
        x = y;
        y = t;
    }
    return x;
}

// Forward split of the complex spectrum z (split arrays of m points) into
// bins 1..m-1 of the interleaved real spectrum at pDst[2k]. Bins 0 and m are
// the caller's.
inline void scalarSplitForward(const float* zr, const float* zi, float* pDst, int64_t m, const float* tw, float h) {
    for (int64_t k = 1; k <= m / 2; ++k) {
        Cx<float> xk, xmk;
        splitStep(Cx<float>{zr[k], zi[k]}, Cx<float>{zr[m - k], zi[m - k]}, splitTwiddle(tw, k), h, xk, xmk);
        pDst[2 * k] = xk.re, pDst[2 * k + 1] = xk.im;
        pDst[2 * (m - k)] = xmk.re, pDst[2 * (m - k) + 1] = xmk.im;
    }
}

// Inverse split of bins 1..m-1 of the packed spectrum. The complex inverse
// runs as a forward transform with real and imaginary parts exchanged, so Z
// is stored exchanged: its imaginary parts in `re`, its real parts in `im`.
inline void scalarSplitInverse(const float* pSrc, float* re, float* im, int64_t m, const float* tw, float sc) {
    for (int64_t k = 1; k <= m / 2; ++k) {
        const Cx<float> a{pSrc[2 * k], pSrc[2 * k + 1]}, b{pSrc[2 * (m - k)], pSrc[2 * (m - k) + 1]};
        Cx<float> zk, zmk;
        unsplitStep(a, b, splitTwiddle(tw, k), sc, zk, zmk);
        re[k] = zk.im, im[k] = zk.re;
        re[m - k] = zmk.im, im[m - k] = zmk.re;
    }
}

// ---- Vector path: M of 16 and more -----------------------------------------

// Four complex values from an interleaved array (re, im, re, im, ...).
struct InterleavedIn {
    const float* p;
    Cx<F32x4> load(int64_t i) const {
        const F32x4 lo = simd::loadu4f(p + 2 * i), hi = simd::loadu4f(p + 2 * i + 4);
        return {simd::evenLanes(lo, hi), simd::oddLanes(lo, hi)};
    }
};

// Four complex values from split arrays.
struct SplitIn {
    const float* re;
    const float* im;
    Cx<F32x4> load(int64_t i) const { return {simd::loadu4f(re + i), simd::loadu4f(im + i)}; }
};

inline Cx<F32x4> loadTwiddle(const float* w) { return {simd::loadu4f(w), simd::loadu4f(w + 4)}; }
inline Cx<F32x4> broadcast(Cx<float> w) { return {simd::set1(w.re), simd::set1(w.im)}; }
inline void storeSplit(float* yr, float* yi, int64_t i, Cx<F32x4> v) {
    simd::storeu(yr + i, v.re);
    simd::storeu(yi + i, v.im);
}

// The first pass: length n = M, stride 1. Lanes are four consecutive p, each
// with its own twiddles; output r of value p goes to 4p + r, so a transpose
// turns the four outputs into four contiguous vectors.
template <class In>
inline void firstPass(In in, float* yr, float* yi, int64_t n, const float* section) {
    const int64_t n1 = n / 4;
    for (int64_t b = 0; b < n1 / 4; ++b) {
        const int64_t p = 4 * b;
        Cx<F32x4> y[4];
        butterfly4(in.load(p), in.load(p + n1), in.load(p + 2 * n1), in.load(p + 3 * n1), y);
        const float* w = section + 24 * b;
        y[1] = cmul(y[1], loadTwiddle(w));
        y[2] = cmul(y[2], loadTwiddle(w + 8));
        y[3] = cmul(y[3], loadTwiddle(w + 16));
        simd::transpose4(y[0].re, y[1].re, y[2].re, y[3].re);
        simd::transpose4(y[0].im, y[1].im, y[2].im, y[3].im);
        for (int r = 0; r < 4; ++r) storeSplit(yr, yi, 4 * p + 4 * r, y[r]);
    }
}

// A middle pass: length n of 8 or more, stride s of 4 or more. Lanes are four
// consecutive q that share the twiddles of p.
inline void middlePass(const float* xr, const float* xi, float* yr, float* yi, int64_t n, int64_t s,
                       const float* section) {
    const int64_t n1 = n / 4;
    for (int64_t p = 0; p < n1; ++p) {
        const Cx<F32x4> w1 = broadcast(twiddle(section, p, 1));
        const Cx<F32x4> w2 = broadcast(twiddle(section, p, 2));
        const Cx<F32x4> w3 = broadcast(twiddle(section, p, 3));
        const SplitIn in{xr + s * p, xi + s * p};
        float* outR = yr + 4 * s * p;
        float* outI = yi + 4 * s * p;
        for (int64_t q = 0; q < s; q += 4) {
            Cx<F32x4> y[4];
            butterfly4(in.load(q), in.load(q + s * n1), in.load(q + 2 * s * n1), in.load(q + 3 * s * n1), y);
            storeSplit(outR, outI, q, y[0]);
            storeSplit(outR, outI, q + s, cmul(y[1], w1));
            storeSplit(outR, outI, q + 2 * s, cmul(y[2], w2));
            storeSplit(outR, outI, q + 3 * s, cmul(y[3], w3));
        }
    }
}

// The last pass when log2(M) is even: length 4, stride M/4, all twiddles 1.
inline void lastPass4(const float* xr, const float* xi, float* yr, float* yi, int64_t s) {
    const SplitIn in{xr, xi};
    for (int64_t q = 0; q < s; q += 4) {
        Cx<F32x4> y[4];
        butterfly4(in.load(q), in.load(q + s), in.load(q + 2 * s), in.load(q + 3 * s), y);
        for (int r = 0; r < 4; ++r) storeSplit(yr, yi, q + r * s, y[r]);
    }
}

// The last pass when log2(M) is odd and M is 32 or more: length 8, stride
// M/8, which does the work of a radix-4 and a radix-2 pass in one sweep over
// the data.
inline void lastPass8(const float* xr, const float* xi, float* yr, float* yi, int64_t s) {
    const SplitIn in{xr, xi};
    const F32x4 c = simd::set1(0.70710678118654752f);
    for (int64_t q = 0; q < s; q += 4) {
        Cx<F32x4> x[8], even[4], odd[4];
        for (int j = 0; j < 8; ++j) x[j] = in.load(q + j * s);
        radix8(x, c, simd::zero4f(), even, odd);
        for (int r = 0; r < 4; ++r) {
            storeSplit(yr, yi, q + 2 * r * s, even[r]);
            storeSplit(yr, yi, q + (2 * r + 1) * s, odd[r]);
        }
    }
}

// The vector forms of the splits: bins k = 1 + 4g .. 4 + 4g in the lanes,
// for every group g < m/8, and their mirrors m - k loaded and stored in
// reversed lane order.
inline void splitForward(const float* zr, const float* zi, float* pDst, int64_t m, const float* tw, float h) {
    const SplitIn in{zr, zi};
    for (int64_t g = 0; g < m / 8; ++g) {
        const int64_t k = 1 + 4 * g, km = m - k - 3;
        const Cx<F32x4> b = in.load(km);
        Cx<F32x4> xk, xmk;
        splitStep(in.load(k), {simd::reverse(b.re), simd::reverse(b.im)}, loadTwiddle(tw + 8 * g), simd::set1(h),
                  xk, xmk);
        const F32x4 yr = simd::reverse(xmk.re), yi = simd::reverse(xmk.im);
        simd::storeu(pDst + 2 * k, simd::interleaveLo(xk.re, xk.im));
        simd::storeu(pDst + 2 * k + 4, simd::interleaveHi(xk.re, xk.im));
        simd::storeu(pDst + 2 * km, simd::interleaveLo(yr, yi));
        simd::storeu(pDst + 2 * km + 4, simd::interleaveHi(yr, yi));
    }
}

inline void splitInverse(const float* pSrc, float* re, float* im, int64_t m, const float* tw, float sc) {
    const InterleavedIn in{pSrc};
    for (int64_t g = 0; g < m / 8; ++g) {
        const int64_t k = 1 + 4 * g, km = m - k - 3;
        const Cx<F32x4> b = in.load(km);
        Cx<F32x4> zk, zmk;
        unsplitStep(in.load(k), {simd::reverse(b.re), simd::reverse(b.im)}, loadTwiddle(tw + 8 * g), simd::set1(sc),
                    zk, zmk);
        storeSplit(re, im, k, {zk.im, zk.re});
        storeSplit(re, im, km, {simd::reverse(zmk.im), simd::reverse(zmk.re)});
    }
}

// The result of the exchanged transform back to interleaved samples:
// x[2j] = im[j], x[2j+1] = re[j], for j < m.
inline void interleaveExchanged(const float* re, const float* im, float* pDst, int64_t m) {
    for (int64_t u = 0; u < m / 4; ++u) {
        const F32x4 r = simd::loadu4f(re + 4 * u), i = simd::loadu4f(im + 4 * u);
        simd::storeu(pDst + 8 * u, simd::interleaveLo(i, r));
        simd::storeu(pDst + 8 * u + 4, simd::interleaveHi(i, r));
    }
}

}  // namespace zel::fft
