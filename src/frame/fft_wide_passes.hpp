// SPDX-License-Identifier: Apache-2.0
// The passes of the real FFT over vectors of W = 4, 8 or 16 lanes, for the
// AVX2 and AVX-512 kernel files. They do what the 128-bit passes of
// fft_kernels.hpp do, through the same butterfly templates, with W lanes
// where those have four: every output element comes from the same operations
// on the same operands in the same order, so all paths give the same bits.
//
// A lane type V provides kW, load, store, set1, zero, add, sub, mul and:
//   loadBlocks(p, stride)   W/4 runs of four floats at p, p + stride, ...
//   loadDeinterleaved(p, re, im)   W complex values of an interleaved array
//   storeInterleaved(p, a, b)      a0 b0 a1 b1 ... as 2W floats
//   reverse(a)              the lanes in reverse order
//   transpose4(a, b, c, d)  a 4x4 transpose within each run of four lanes
//   storeGrouped(p, y)      run g of y[r] to p + 16g + 4r
//   spreadGroups(p, o)      p[o + g] in the four lanes of run g
// Only files compiled for those instruction sets include this header, each
// with lane types of its own namespace, so the instances never mix.
#pragma once

#include <stdint.h>

#include "frame/fft_butterflies.hpp"

namespace zel::fft::wide {

template <class V>
inline Cx<V> loadCx(const float* re, const float* im, int64_t i) {
    return {V::load(re + i), V::load(im + i)};
}
template <class V>
inline void storeCx(float* re, float* im, int64_t i, Cx<V> v) {
    V::store(re + i, v.re);
    V::store(im + i, v.im);
}
template <class V>
inline Cx<V> reversed(Cx<V> v) {
    return {V::reverse(v.re), V::reverse(v.im)};
}

template <class V>
struct InterleavedIn {
    const float* p;
    Cx<V> load(int64_t i) const {
        Cx<V> c;
        V::loadDeinterleaved(p + 2 * i, c.re, c.im);
        return c;
    }
};

template <class V>
struct SplitIn {
    const float* re;
    const float* im;
    Cx<V> load(int64_t i) const { return loadCx<V>(re, im, i); }
};

// Twiddle r of W consecutive values of p from p0 on (p0 a multiple of 4).
template <class V>
inline Cx<V> passTwiddles(const float* section, int64_t p0, int r) {
    const float* w = section + 24 * (p0 >> 2) + 8 * (r - 1);
    return {V::loadBlocks(w, 24), V::loadBlocks(w + 4, 24)};
}

// Twiddle r of one value p in every lane.
template <class V>
inline Cx<V> passTwiddle(const float* section, int64_t p, int r) {
    const float* w = section + 24 * (p >> 2) + 8 * (r - 1) + (p & 3);
    return {V::set1(w[0]), V::set1(w[4])};
}

// The first pass (length n, stride 1): lanes are W consecutive p; output r of
// p goes to 4p + r. Needs n/4 to be a multiple of W.
template <class V, class In>
inline void firstPass(In in, float* yr, float* yi, int64_t n, const float* section) {
    const int64_t n1 = n / 4;
    for (int64_t p = 0; p < n1; p += V::kW) {
        Cx<V> y[4];
        butterfly4(in.load(p), in.load(p + n1), in.load(p + 2 * n1), in.load(p + 3 * n1), y);
        y[1] = cmul(y[1], passTwiddles<V>(section, p, 1));
        y[2] = cmul(y[2], passTwiddles<V>(section, p, 2));
        y[3] = cmul(y[3], passTwiddles<V>(section, p, 3));
        V::transpose4(y[0].re, y[1].re, y[2].re, y[3].re);
        V::transpose4(y[0].im, y[1].im, y[2].im, y[3].im);
        const V re[4] = {y[0].re, y[1].re, y[2].re, y[3].re}, im[4] = {y[0].im, y[1].im, y[2].im, y[3].im};
        V::storeGrouped(yr + 4 * p, re);
        V::storeGrouped(yi + 4 * p, im);
    }
}

// A middle pass whose stride s is a multiple of W: lanes are consecutive q
// that share the twiddles of p.
template <class V>
inline void middlePass(const float* xr, const float* xi, float* yr, float* yi, int64_t n, int64_t s,
                       const float* section) {
    const int64_t n1 = n / 4;
    for (int64_t p = 0; p < n1; ++p) {
        const Cx<V> w1 = passTwiddle<V>(section, p, 1), w2 = passTwiddle<V>(section, p, 2),
                    w3 = passTwiddle<V>(section, p, 3);
        const SplitIn<V> in{xr + s * p, xi + s * p};
        float* outR = yr + 4 * s * p;
        float* outI = yi + 4 * s * p;
        for (int64_t q = 0; q < s; q += V::kW) {
            Cx<V> y[4];
            butterfly4(in.load(q), in.load(q + s * n1), in.load(q + 2 * s * n1), in.load(q + 3 * s * n1), y);
            storeCx(outR, outI, q, y[0]);
            storeCx(outR, outI, q + s, cmul(y[1], w1));
            storeCx(outR, outI, q + 2 * s, cmul(y[2], w2));
            storeCx(outR, outI, q + 3 * s, cmul(y[3], w3));
        }
    }
}

// The middle pass of stride 4: run g of the lanes holds the four q of value
// p + g, so one vector covers W/4 values of p. Needs n/4 to be a multiple of W/4.
template <class V>
inline void middlePassStride4(const float* xr, const float* xi, float* yr, float* yi, int64_t n,
                              const float* section) {
    const int64_t n1 = n / 4;
    for (int64_t p = 0; p < n1; p += V::kW / 4) {
        const SplitIn<V> in{xr + 4 * p, xi + 4 * p};
        Cx<V> y[4];
        butterfly4(in.load(0), in.load(4 * n1), in.load(8 * n1), in.load(12 * n1), y);
        const float* w = section + 24 * (p >> 2);
        for (int r = 1; r <= 3; ++r) {
            const Cx<V> wr{V::spreadGroups(w + 8 * (r - 1), int(p & 3)), V::spreadGroups(w + 8 * (r - 1) + 4, int(p & 3))};
            y[r] = cmul(y[r], wr);
        }
        const V re[4] = {y[0].re, y[1].re, y[2].re, y[3].re}, im[4] = {y[0].im, y[1].im, y[2].im, y[3].im};
        V::storeGrouped(yr + 16 * p, re);
        V::storeGrouped(yi + 16 * p, im);
    }
}

// The last pass of length 4 (stride s, a multiple of W), all twiddles 1.
template <class V>
inline void lastPass4(const float* xr, const float* xi, float* yr, float* yi, int64_t s) {
    const SplitIn<V> in{xr, xi};
    for (int64_t q = 0; q < s; q += V::kW) {
        Cx<V> y[4];
        butterfly4(in.load(q), in.load(q + s), in.load(q + 2 * s), in.load(q + 3 * s), y);
        for (int r = 0; r < 4; ++r) storeCx(yr, yi, q + r * s, y[r]);
    }
}

// The last pass of length 8 (stride s, a multiple of W).
template <class V>
inline void lastPass8(const float* xr, const float* xi, float* yr, float* yi, int64_t s) {
    const SplitIn<V> in{xr, xi};
    const V c = V::set1(0.70710678118654752f);
    for (int64_t q = 0; q < s; q += V::kW) {
        Cx<V> x[8], even[4], odd[4];
        for (int j = 0; j < 8; ++j) x[j] = in.load(q + j * s);
        radix8(x, c, V::zero(), even, odd);
        for (int r = 0; r < 4; ++r) {
            storeCx(yr, yi, q + 2 * r * s, even[r]);
            storeCx(yr, yi, q + (2 * r + 1) * s, odd[r]);
        }
    }
}

// The splits for bins k0 .. m/2 in groups of W bins, as long as a whole
// group fits; returns the first bin left over. Each group stores its mirrors
// after its own bins, so bin m/2, which the last group holds twice, keeps
// the mirror's value as on every path.
template <class V>
inline int64_t splitForward(const float* zr, const float* zi, float* pDst, int64_t m, const float* tw, float h,
                            int64_t k0) {
    int64_t k = k0;
    for (; k + V::kW - 1 <= m / 2; k += V::kW) {
        const int64_t km = m - k - (V::kW - 1);
        const float* w = tw + 8 * ((k - 1) >> 2);
        Cx<V> xk, xmk;
        splitStep(loadCx<V>(zr, zi, k), reversed(loadCx<V>(zr, zi, km)), Cx<V>{V::loadBlocks(w, 8), V::loadBlocks(w + 4, 8)},
                  V::set1(h), xk, xmk);
        V::storeInterleaved(pDst + 2 * k, xk.re, xk.im);
        V::storeInterleaved(pDst + 2 * km, V::reverse(xmk.re), V::reverse(xmk.im));
    }
    return k;
}

template <class V>
inline int64_t splitInverse(const float* pSrc, float* re, float* im, int64_t m, const float* tw, float sc, int64_t k0) {
    const InterleavedIn<V> in{pSrc};
    int64_t k = k0;
    for (; k + V::kW - 1 <= m / 2; k += V::kW) {
        const int64_t km = m - k - (V::kW - 1);
        const float* w = tw + 8 * ((k - 1) >> 2);
        Cx<V> zk, zmk;
        unsplitStep(in.load(k), reversed(in.load(km)), Cx<V>{V::loadBlocks(w, 8), V::loadBlocks(w + 4, 8)},
                    V::set1(sc), zk, zmk);
        storeCx(re, im, k, Cx<V>{zk.im, zk.re});
        storeCx(re, im, km, Cx<V>{V::reverse(zmk.im), V::reverse(zmk.re)});
    }
    return k;
}

// The passes after the first, with the widest lanes that each pass allows:
// W for strides of W and more, runs of four for stride 4, else N (four lanes).
template <class V, class N>
inline float* remainingPasses(float* x, float* y, int64_t m, const float* chain) {
    chain += passSectionFloats(m);
    int64_t s = 4;
    for (int64_t n = m / 4; n >= 4; n /= 4, s *= 4) {
        const bool wide = s % V::kW == 0;
        if (n == 8) {
            wide ? lastPass8<V>(x, x + m, y, y + m, s) : lastPass8<N>(x, x + m, y, y + m, s);
        } else if (n == 4) {
            wide ? lastPass4<V>(x, x + m, y, y + m, s) : lastPass4<N>(x, x + m, y, y + m, s);
        } else {
            if (wide)
                middlePass<V>(x, x + m, y, y + m, n, s, chain);
            else
                middlePassStride4<V>(x, x + m, y, y + m, n, chain);
            chain += passSectionFloats(n);
        }
        float* t = x;
        x = y;
        y = t;
    }
    return x;
}

template <class V, class N>
inline const float* forward(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain,
                            const float* split, float h) {
    float* a = work;
    float* b = work + 2 * m;
    if ((m / 4) % V::kW == 0)
        firstPass<V>(InterleavedIn<V>{pSrc}, a, a + m, m, chain);
    else
        firstPass<N>(InterleavedIn<N>{pSrc}, a, a + m, m, chain);
    const float* z = remainingPasses<V, N>(a, b, m, chain);
    const int64_t k = splitForward<V>(z, z + m, pDst, m, split, h, 1);
    splitForward<N>(z, z + m, pDst, m, split, h, k);
    return z;
}

template <class V, class N>
inline void inverse(const float* pSrc, float* pDst, float* work, int64_t m, const float* chain, const float* split,
                    float sc) {
    float* a = work;
    float* b = work + 2 * m;
    const int64_t k = splitInverse<V>(pSrc, b, b + m, m, split, sc, 1);
    splitInverse<N>(pSrc, b, b + m, m, split, sc, k);
    b[0] = (pSrc[0] - pSrc[1]) * sc;
    b[m] = (pSrc[0] + pSrc[1]) * sc;
    if ((m / 4) % V::kW == 0)
        firstPass<V>(SplitIn<V>{b, b + m}, a, a + m, m, chain);
    else
        firstPass<N>(SplitIn<N>{b, b + m}, a, a + m, m, chain);
    const float* y = remainingPasses<V, N>(a, b, m, chain);
    // Back to interleaved samples: x[2j] = im[j], x[2j+1] = re[j].
    for (int64_t j = 0; j < m; j += V::kW) V::storeInterleaved(pDst + 2 * j, V::load(y + m + j), V::load(y + j));
}

}  // namespace zel::fft::wide
